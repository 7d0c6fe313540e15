#include "cli/DateText.h"

#include <chrono>
#include <cmath>
#include <cstdio>

namespace kestrum::cli {

std::string isoLocalDateTime(const KSDateTime& date) {
    using namespace std::chrono;
    if (date.isNull()) return {};
    std::int64_t day = date.dayNumber();
    long seconds = std::lround(date.timeOfDay());
    if (seconds >= 86400) {
        day += seconds / 86400;
        seconds %= 86400;
    }
    // Day 0 of the model is 1 January 2001.
    year_month_day civil{sys_days{2001y / January / 1} + days{day}};
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02ld:%02ld:%02ld",
                  static_cast<int>(civil.year()), static_cast<unsigned>(civil.month()),
                  static_cast<unsigned>(civil.day()), seconds / 3600, seconds / 60 % 60,
                  seconds % 60);
    return text;
}

std::string workingHoursText(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%gh", std::round(seconds / 360.0) / 10.0);
    return text;
}

}  // namespace kestrum::cli
