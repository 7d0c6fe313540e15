// KSLocalCalendar: the Gregorian calendar of the process's local time zone.
//
// It is the one place where platform dates (KSDate, absolute seconds) meet wall-clock
// values. Splitting goes through localtime_r and composing through mktime, so the zone
// named by TZ is honoured; civil-day arithmetic goes through <chrono>. Day numbers count
// civil days from 1 January 2001 (day 0, a Monday), whatever the length of each day.
//
// The calendar object (cachedCalendar) is made once and carries the first weekday and the
// minimum days of the first week; the date helpers are static and keep no state beyond a
// one-entry cache of the last date converted to a day number.
#pragma once

#include <cstdint>

#include "Platform/core/KSValue.h"

namespace kestrum {

// A date split into wall-clock components in the local zone.
struct KSLocalDateComponents {
    int year = 2001;
    int month = 1;  // 1-12
    int day = 1;    // 1-31
    int hour = 0;
    int minute = 0;
    int second = 0;
};

class KSLocalCalendar {
public:
    // The process-wide calendar, made on first use. Its first weekday comes from the
    // preference "FirstDayOfTheWeek" (0 = Sunday) when set, else from the user's locale.
    static KSLocalCalendar& cachedCalendar();
    // The first day of the week, 0-based with 0 = Sunday, as in KSDateTime::weekday().
    static int preferredDayOfTheWeekOffset();

    // 1 = Sunday ... 7 = Saturday.
    int firstWeekday() const { return firstWeekday_; }
    void setFirstWeekday(int weekday) { firstWeekday_ = weekday; }
    // 1-7.
    int minimumDaysInFirstWeek() const { return minimumDaysInFirstWeek_; }
    void setMinimumDaysInFirstWeek(int days) { minimumDaysInFirstWeek_ = days; }

    // --- Calendar operations on absolute times ----------------------------------------
    // Wall-clock components of a date (whole seconds, rounded down).
    static KSLocalDateComponents components(KSDate date);
    // The first moment the calendar assigns to the components; out-of-range values carry
    // (hour 24 is midnight of the next day, day 32 rolls into the next month).
    static KSDate dateFromComponents(const KSLocalDateComponents& components);
    // The date moved by whole civil days, keeping its wall-clock time.
    static KSDate dateByAddingDays(KSDate date, std::int64_t days);

    // --- Day numbers -------------------------------------------------------------------
    // The civil day of a date, counted from 1 January 2001.
    static std::int64_t dayNumberOfDate(KSDate date);
    // Day number of a civil date.
    static std::int64_t dayNumberOfCivilDate(int year, int month, int day);
    // The civil date of a day number.
    static KSLocalDateComponents civilDateOfDayNumber(std::int64_t dayNumber);
    // The first moment of a day number.
    static KSDate dateWithDayNumber(std::int64_t dayNumber);

    // --- Helpers on platform dates ------------------------------------------------------
    // The first moment of the date's day.
    static KSDate dateWithBeginningOfDay(KSDate date);
    // The first moment of the next day.
    static KSDate dateWithBeginningOfNextDay(KSDate date);
    // The date's day at `seconds` of wall-clock time (fractions lost; 86400 carries into
    // midnight of the next day).
    static KSDate dateWithTimeOnSameDay(KSDate date, double seconds);
    // Wall-clock seconds since midnight, whole seconds.
    static double timeOfDay(KSDate date);
    // Absolute seconds since the first moment of the day; differs from timeOfDay on a
    // daylight-saving day.
    static double timeIntervalSinceBeginningOfDay(KSDate date);
    // The first moment of the date's day plus absolute seconds.
    static KSDate dateWithTimeIntervalSinceBeginningOfDay(KSDate date, double seconds);

private:
    KSLocalCalendar();

    int firstWeekday_ = 1;
    int minimumDaysInFirstWeek_ = 1;
};

}  // namespace kestrum
