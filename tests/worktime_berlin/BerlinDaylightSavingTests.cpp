// Daylight saving in Europe/Berlin: 2024 shifts on Sunday 31 March and Sunday 27 October.
#include <cstdint>

namespace {
constexpr std::int64_t kSpringDay = 8490;
constexpr std::int64_t kAutumnDay = 8700;
constexpr const char* kZoneName = "Europe/Berlin";
}  // namespace

#include "worktime/DaylightSavingTests.h"
