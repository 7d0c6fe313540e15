// Daylight saving in America/New_York: 2024 shifts on Sunday 10 March and Sunday 3 November.
#include <cstdint>

namespace {
constexpr std::int64_t kSpringDay = 8469;
constexpr std::int64_t kAutumnDay = 8707;
constexpr const char* kZoneName = "America/New_York";
}  // namespace

#include "worktime/DaylightSavingTests.h"
