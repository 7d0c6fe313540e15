#include "Model/worktime/KSDateTime.h"

#include <cmath>

#include "Model/worktime/KSLocalCalendar.h"
#include "Platform/core/KSClock.h"

namespace kestrum {

KSDateTime::KSDateTime(KSDate date) {
    KSLocalDateComponents c = KSLocalCalendar::components(date);
    dayNumber_ = KSLocalCalendar::dayNumberOfCivilDate(c.year, c.month, c.day);
    timeOfDay_ = (c.hour * 60.0 + c.minute) * 60.0 + c.second;
}

KSDateTime KSDateTime::today() {
    return KSDateTime(KSClock::now());
}

KSDate KSDateTime::nsDate() const {
    if (isNull()) return KSDate{};
    KSLocalDateComponents c = KSLocalCalendar::civilDateOfDayNumber(dayNumber_);
    // Whole seconds, carried by the calendar: 86400 is midnight of the next day.
    c.hour = static_cast<int>(timeOfDay_ / 3600.0);
    double rest = timeOfDay_ - c.hour * 3600.0;
    c.minute = static_cast<int>(rest / 60.0);
    c.second = static_cast<int>(rest - c.minute * 60.0);
    return KSLocalCalendar::dateFromComponents(c);
}

int KSDateTime::hour() const {
    return static_cast<int>(std::floor(timeOfDay_ / 3600.0));
}

int KSDateTime::minute() const {
    return static_cast<int>((timeOfDay_ - std::floor(timeOfDay_ / 3600.0) * 3600.0) / 60.0);
}

int KSDateTime::second() const {
    return static_cast<int>(timeOfDay_ - std::floor(timeOfDay_ / 60.0) * 60.0);
}

KSDateTime KSDateTime::dateByAddingTimeInterval(double seconds) const {
    if (isNull()) return {};
    return KSDateTime(nsDate().dateByAddingTimeInterval(seconds));
}

std::string KSDateTime::description() const {
    if (isNull()) return "(null)";
    return KSValue(nsDate()).description();
}

}  // namespace kestrum
