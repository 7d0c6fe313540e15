// BKCivilDateTime: a wall-clock date and time in the process's local zone, as the date
// formatters read and write it.
//
// Formatting splits a platform date (KSDate, absolute seconds) into these fields and
// hands them to the text layer; parsing gathers fields and composes a platform date. The
// split and the composition go through the C library (localtime_r, mktime), so the zone
// named by TZ is honoured, as everywhere else in the library; civil-day arithmetic goes
// through <chrono>. Out-of-range fields carry on composition: day 32 is in the next
// month, hour 24 the next day's midnight.
#pragma once

#include <cstdint>

#include "Platform/core/KSValue.h"

namespace kestrum {

struct BKCivilDateTime {
    int year = 2001;
    int month = 1;  // 1-12
    int day = 1;    // 1-31
    int hour = 0;
    int minute = 0;
    int second = 0;

    // The local wall-clock fields of `date` (whole seconds, rounded down).
    static BKCivilDateTime fromDate(KSDate date);
    // The first moment the local zone gives these fields; out-of-range fields carry.
    KSDate date() const;

    // Days from 1 January 1970 to this civil date (the time of day is ignored).
    std::int64_t daysSinceEpoch() const;
    // The same time of day on the civil date `days` after 1 January 1970.
    BKCivilDateTime withDaysSinceEpoch(std::int64_t days) const;
    // The same time of day `days` civil days later.
    BKCivilDateTime addingDays(std::int64_t days) const;
    // 0 = Sunday ... 6 = Saturday.
    int weekday() const;
    // Whether the date names a real day (month 1-12, a day of that month) and a time of
    // day from 0:00:00 to 23:59:59.
    bool isValid() const;
    // Days in a month of a year (28 to 31).
    static int daysInMonth(int year, int month);
};

}  // namespace kestrum
