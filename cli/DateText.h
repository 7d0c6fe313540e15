// DateText: the tool's text form of the model's dates.
//
// Dates are written as ISO 8601 local date-times, "2024-06-03T08:00:00", in the time zone
// the plan was made in (the model's dates carry no zone). The very end of a day (24:00)
// is written as 00:00:00 of the next day, the same moment. A missing date is null in JSON
// and "-" in tables.
#pragma once

#include <string>

#include "Model/worktime/KSDateTime.h"

namespace kestrum::cli {

// "YYYY-MM-DDTHH:MM:SS"; "" for a null date.
std::string isoLocalDateTime(const KSDateTime& date);

// Working seconds as hours for people: "24h", "1.5h", "0h".
std::string workingHoursText(double seconds);

}  // namespace kestrum::cli
