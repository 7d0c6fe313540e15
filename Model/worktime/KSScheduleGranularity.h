// KSScheduleGranularity: how finely a schedule places start and end dates.
//
// Exact keeps any moment; Hours rounds a time of day up to the next whole hour; Days
// allows a start only at a day's first working moment and an end only at its last.
#pragma once

#include <cstdint>

namespace kestrum {

enum KSScheduleGranularity : std::int32_t {
    KSScheduleGranularityExact = 0,
    KSScheduleGranularityHours = 1,
    KSScheduleGranularityDays = 2,
};

}  // namespace kestrum
