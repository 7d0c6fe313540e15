#include "Model/worktime/KSLocalCalendar.h"

#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>

#include <unicode/calendar.h>
#include <unicode/locid.h>

#include "Platform/core/KSUserDefaults.h"

namespace kestrum {

namespace {

constexpr double kReferenceDateSince1970 = 978307200.0;
constexpr const char* kFirstDayOfTheWeekKey = "FirstDayOfTheWeek";

// localtime_r need not read TZ itself; tzset once before the first split.
void ensureZoneLoaded() {
    static const bool loaded = [] {
        tzset();
        return true;
    }();
    (void)loaded;
}

std::chrono::sys_days dayZero() {
    using namespace std::chrono;
    return sys_days{year{2001} / January / 1};
}

// The preference as an integer, or -1 when it is not set.
int firstDayOfTheWeekPreference() {
    KSValue value = KSUserDefaults::standardUserDefaults().objectForKey(kFirstDayOfTheWeekKey);
    if (value.isNull()) return -1;
    int weekday = value.intValue();
    return weekday >= 0 && weekday <= 6 ? weekday : -1;
}

}  // namespace

KSLocalCalendar::KSLocalCalendar() {
    int preference = firstDayOfTheWeekPreference();
    if (preference >= 0) {
        firstWeekday_ = preference + 1;
        return;
    }
    // Copy the user's calendar settings when it is Gregorian too; otherwise keep ours.
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> user(icu::Calendar::createInstance(status));
    if (U_FAILURE(status) || !user) return;
    if (std::string_view(user->getType()) != "gregorian") return;
    UCalendarDaysOfWeek first = user->getFirstDayOfWeek(status);
    if (U_SUCCESS(status)) firstWeekday_ = static_cast<int>(first);
    minimumDaysInFirstWeek_ = user->getMinimalDaysInFirstWeek();
}

KSLocalCalendar& KSLocalCalendar::cachedCalendar() {
    static KSLocalCalendar* calendar = new KSLocalCalendar();
    return *calendar;
}

int KSLocalCalendar::preferredDayOfTheWeekOffset() {
    int preference = firstDayOfTheWeekPreference();
    if (preference >= 0) return preference;
    return cachedCalendar().firstWeekday() - 1;
}

KSLocalDateComponents KSLocalCalendar::components(KSDate date) {
    // A one-entry cache: walks over one date ask for its parts several times in a row.
    thread_local double cachedSeconds = std::nan("");
    thread_local KSLocalDateComponents cached;
    double whole = std::floor(date.timeIntervalSinceReferenceDate);
    if (whole == cachedSeconds) return cached;
    ensureZoneLoaded();
    std::time_t t = static_cast<std::time_t>(whole + kReferenceDateSince1970);
    std::tm tm{};
    localtime_r(&t, &tm);
    KSLocalDateComponents c;
    c.year = tm.tm_year + 1900;
    c.month = tm.tm_mon + 1;
    c.day = tm.tm_mday;
    c.hour = tm.tm_hour;
    c.minute = tm.tm_min;
    c.second = tm.tm_sec;
    cachedSeconds = whole;
    cached = c;
    return c;
}

KSDate KSLocalCalendar::dateFromComponents(const KSLocalDateComponents& c) {
    ensureZoneLoaded();
    std::tm tm{};
    tm.tm_year = c.year - 1900;
    tm.tm_mon = c.month - 1;
    tm.tm_mday = c.day;
    tm.tm_hour = c.hour;
    tm.tm_min = c.minute;
    tm.tm_sec = c.second;
    // Let the zone decide; a time inside a spring gap moves on to the first real moment.
    tm.tm_isdst = -1;
    std::time_t t = mktime(&tm);
    return KSDate{static_cast<double>(t) - kReferenceDateSince1970};
}

KSDate KSLocalCalendar::dateByAddingDays(KSDate date, std::int64_t days) {
    double fraction =
        date.timeIntervalSinceReferenceDate - std::floor(date.timeIntervalSinceReferenceDate);
    KSLocalDateComponents c = components(date);
    KSLocalDateComponents moved =
        civilDateOfDayNumber(dayNumberOfCivilDate(c.year, c.month, c.day) + days);
    moved.hour = c.hour;
    moved.minute = c.minute;
    moved.second = c.second;
    return dateFromComponents(moved).dateByAddingTimeInterval(fraction);
}

std::int64_t KSLocalCalendar::dayNumberOfDate(KSDate date) {
    KSLocalDateComponents c = components(date);
    return dayNumberOfCivilDate(c.year, c.month, c.day);
}

std::int64_t KSLocalCalendar::dayNumberOfCivilDate(int y, int m, int d) {
    using namespace std::chrono;
    sys_days days{year{y} / month{static_cast<unsigned>(m)} / day{1}};
    return (days - dayZero()).count() + (d - 1);
}

KSLocalDateComponents KSLocalCalendar::civilDateOfDayNumber(std::int64_t dayNumber) {
    using namespace std::chrono;
    year_month_day ymd{dayZero() + days{dayNumber}};
    KSLocalDateComponents c;
    c.year = static_cast<int>(ymd.year());
    c.month = static_cast<int>(static_cast<unsigned>(ymd.month()));
    c.day = static_cast<int>(static_cast<unsigned>(ymd.day()));
    return c;
}

KSDate KSLocalCalendar::dateWithDayNumber(std::int64_t dayNumber) {
    return dateFromComponents(civilDateOfDayNumber(dayNumber));
}

KSDate KSLocalCalendar::dateWithBeginningOfDay(KSDate date) {
    KSLocalDateComponents c = components(date);
    KSDate start = dateFromComponents({c.year, c.month, c.day, 0, 0, 0});
    // If the zone put the composed time on the day before, go on to the next midnight.
    KSLocalDateComponents s = components(start);
    if (s.day != c.day) {
        start = start.dateByAddingTimeInterval(86400.0 -
                                               (s.hour * 3600.0 + s.minute * 60.0 + s.second));
    }
    return start;
}

KSDate KSLocalCalendar::dateWithBeginningOfNextDay(KSDate date) {
    KSLocalDateComponents c = components(date);
    return dateFromComponents({c.year, c.month, c.day + 1, 0, 0, 0});
}

KSDate KSLocalCalendar::dateWithTimeOnSameDay(KSDate date, double seconds) {
    KSLocalDateComponents c = components(date);
    int hour = static_cast<int>(seconds / 3600.0);
    double rest = seconds - hour * 3600.0;
    int minute = static_cast<int>(rest / 60.0);
    int second = static_cast<int>(rest - minute * 60.0);
    return dateFromComponents({c.year, c.month, c.day, hour, minute, second});
}

double KSLocalCalendar::timeOfDay(KSDate date) {
    KSLocalDateComponents c = components(date);
    return (c.hour * 60.0 + c.minute) * 60.0 + c.second;
}

double KSLocalCalendar::timeIntervalSinceBeginningOfDay(KSDate date) {
    return date.timeIntervalSinceDate(dateWithBeginningOfDay(date));
}

KSDate KSLocalCalendar::dateWithTimeIntervalSinceBeginningOfDay(KSDate date, double seconds) {
    return dateWithBeginningOfDay(date).dateByAddingTimeInterval(seconds);
}

}  // namespace kestrum
