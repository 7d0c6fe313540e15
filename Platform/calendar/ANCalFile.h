// ANCalFile: the events of an iCalendar (.ics) file, read through libical.
//
// The reader takes one VCALENDAR and gives each of its VEVENTs as a plain record: title,
// start and end in local wall-clock time (times with a time zone or in UTC are converted
// to the process's zone; floating times and dates stand as written), and the canonical
// text of its repetition rule. Cancelled events and overrides of single instances
// (RECURRENCE-ID) are left out; RDATE and EXDATE are not read.
//
// Text that is not a well-formed calendar is refused with an error in ANCalErrorDomain
// naming the file and the line: a line that is no property, BEGIN and END that do not
// pair, a value libical cannot read, a date that does not exist, an unknown time zone, an
// event without a start or ending before it starts, or a repetition rule that
// ANCalRepetition refuses.
//
//   KSError error;
//   if (auto file = ANCalFile::fileWithContentsOfPath("holidays.ics", &error))
//       for (const ANCalFileEvent& event : file->events()) use(event);
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSError.h"

namespace kestrum {

// A local wall-clock date and time of an event.
struct ANCalWallTime {
    int year = 0;
    int month = 0;  // 1-12
    int day = 0;    // 1-31
    int secondsOfDay = 0;
    bool isDate = false;  // a whole day (VALUE=DATE): secondsOfDay is 0
};

// One event of a file.
struct ANCalFileEvent {
    std::string title;  // SUMMARY, unescaped; empty without one
    ANCalWallTime start;
    ANCalWallTime end;  // exclusive: a one-day event of 2 May ends on 3 May at 0:00
    std::string rrule;  // canonical RRULE text; empty for an event that does not repeat
    long line = 0;      // the line of its BEGIN:VEVENT
};

class ANCalFile {
public:
    // The largest file read, in bytes.
    static constexpr std::size_t kMaximumFileSize = 16 * 1024 * 1024;

    // Reads the file at `path`; nothing and an error when it cannot be read or is
    // malformed.
    static std::optional<ANCalFile> fileWithContentsOfPath(const std::string& path,
                                                           KSError* error = nullptr);
    // Reads calendar text; `path` names it in errors.
    static std::optional<ANCalFile> fileWithString(std::string_view text, std::string_view path,
                                                   KSError* error = nullptr);

    // The file's path as given.
    const std::string& path() const { return path_; }
    // X-WR-CALNAME of the calendar, or empty.
    const std::string& calendarName() const { return calendarName_; }
    // The events, in the order of the file.
    const std::vector<ANCalFileEvent>& events() const { return events_; }

private:
    class Reader;

    std::string path_;
    std::string calendarName_;
    std::vector<ANCalFileEvent> events_;
};

}  // namespace kestrum
