// What the calendar layer's sources share and nobody else sees: libical's set-up and the
// conversions between platform dates and local wall-clock time.
#pragma once

#include <ctime>

#include "Platform/core/KSValue.h"

namespace kestrum::ancal {

// Makes libical's errors plain return values (never an abort), once per process.
void prepareLibical();
// The local wall-clock time of a date (TZ honoured), whole seconds.
std::tm localTimeOfDate(KSDate date);
// The first moment that the local calendar gives these wall-clock values; out-of-range
// values carry into the next unit.
KSDate dateOfLocalTime(int year, int month, int day, int hour, int minute, int second);

}  // namespace kestrum::ancal
