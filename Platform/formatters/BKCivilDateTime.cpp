#include "Platform/formatters/BKCivilDateTime.h"

#include <chrono>
#include <cmath>
#include <ctime>

namespace kestrum {

namespace {

constexpr double kReferenceDateSince1970 = 978307200.0;

// localtime_r need not read TZ itself; tzset once before the first split.
void ensureZoneLoaded() {
    static const bool loaded = [] {
        tzset();
        return true;
    }();
    (void)loaded;
}

namespace chrono = std::chrono;

chrono::year_month_day civilDate(int y, int m, int d) {
    return chrono::year{y} / chrono::month{static_cast<unsigned>(m)} /
           chrono::day{static_cast<unsigned>(d)};
}

}  // namespace

BKCivilDateTime BKCivilDateTime::fromDate(KSDate date) {
    ensureZoneLoaded();
    std::time_t t = static_cast<std::time_t>(std::floor(date.timeIntervalSinceReferenceDate) +
                                             kReferenceDateSince1970);
    std::tm tm{};
    localtime_r(&t, &tm);
    return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

KSDate BKCivilDateTime::date() const {
    ensureZoneLoaded();
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    // Let the zone decide; a time inside a spring gap moves on to the first real moment.
    tm.tm_isdst = -1;
    std::time_t t = mktime(&tm);
    return KSDate{static_cast<double>(t) - kReferenceDateSince1970};
}

std::int64_t BKCivilDateTime::daysSinceEpoch() const {
    // Day 1 of the month plus the day count, so that out-of-range days carry.
    chrono::sys_days first{civilDate(year, month, 1)};
    return first.time_since_epoch().count() + (day - 1);
}

BKCivilDateTime BKCivilDateTime::withDaysSinceEpoch(std::int64_t days) const {
    chrono::year_month_day ymd{chrono::sys_days{chrono::days{days}}};
    BKCivilDateTime moved = *this;
    moved.year = static_cast<int>(ymd.year());
    moved.month = static_cast<int>(static_cast<unsigned>(ymd.month()));
    moved.day = static_cast<int>(static_cast<unsigned>(ymd.day()));
    return moved;
}

BKCivilDateTime BKCivilDateTime::addingDays(std::int64_t days) const {
    return withDaysSinceEpoch(daysSinceEpoch() + days);
}

int BKCivilDateTime::weekday() const {
    // 1 January 1970 was a Thursday.
    std::int64_t w = (daysSinceEpoch() + 4) % 7;
    return static_cast<int>(w < 0 ? w + 7 : w);
}

int BKCivilDateTime::daysInMonth(int y, int m) {
    if (m < 1 || m > 12) return 0;
    chrono::year_month_day_last last{chrono::year{y} / chrono::month{static_cast<unsigned>(m)} /
                                     chrono::last};
    return static_cast<int>(static_cast<unsigned>(last.day()));
}

bool BKCivilDateTime::isValid() const {
    return month >= 1 && month <= 12 && day >= 1 && day <= daysInMonth(year, month) && hour >= 0 &&
           hour <= 23 && minute >= 0 && minute <= 59 && second >= 0 && second <= 59;
}

}  // namespace kestrum
