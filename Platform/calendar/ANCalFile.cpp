#include "Platform/calendar/ANCalFile.h"

#include <libical/ical.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <tuple>

#include "Platform/calendar/ANCalError.h"
#include "Platform/calendar/ANCalPrivate.h"
#include "Platform/calendar/ANCalRepetition.h"
#include "Platform/core/KSFormat.h"

namespace kestrum {

namespace {

// Components nested deeper than this are refused: libical frees its trees recursively.
constexpr std::size_t kMaximumDepth = 16;

struct ContentLine {
    std::string text;  // unfolded
    long line;         // where it begins
};

// Where the properties that the reader uses stand, for each event of the calendar.
struct EventLines {
    long begin = 0;
    long dtstart = 0;
    long dtend = 0;
    long duration = 0;
    long rrule = 0;
};

struct ComponentDeleter {
    void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};

bool isNameCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-';
}

bool isName(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), isNameCharacter);
}

std::string upper(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return result;
}

// A short, quoted piece of a line for messages.
std::string excerpt(std::string_view text) {
    constexpr std::size_t kLength = 60;
    std::string shown(text.substr(0, kLength));
    if (text.size() > kLength) shown += "\u2026";
    return "\u201c" + shown + "\u201d";
}

bool isUTF8(std::string_view text) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto length = static_cast<std::int32_t>(text.size());
    for (std::int32_t i = 0; i < length;) {
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        if (c < 0) return false;
    }
    return true;
}

bool isRealTime(const icaltimetype& time) {
    if (time.year < 1 || time.year > 9999 || time.month < 1 || time.month > 12) return false;
    if (time.day < 1 || time.day > icaltime_days_in_month(time.month, time.year)) return false;
    if (time.is_date) return true;
    return time.hour >= 0 && time.hour <= 23 && time.minute >= 0 && time.minute <= 59 &&
           time.second >= 0 && time.second <= 60;
}

// Local wall-clock time: a date or a floating time as written, any other through its zone.
ANCalWallTime wallTimeOf(const icaltimetype& time) {
    if (time.is_date) return {time.year, time.month, time.day, 0, true};
    if (!time.zone)
        return {time.year, time.month, time.day, time.hour * 3600 + time.minute * 60 + time.second,
                false};
    auto seconds = static_cast<double>(
        icaltime_as_timet_with_zone(time, const_cast<icaltimezone*>(time.zone)));
    std::tm local = ancal::localTimeOfDate(KSDate::dateWithTimeIntervalSince1970(seconds));
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
            local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec, false};
}

bool isEarlier(const ANCalWallTime& a, const ANCalWallTime& b) {
    return std::tie(a.year, a.month, a.day, a.secondsOfDay) <
           std::tie(b.year, b.month, b.day, b.secondsOfDay);
}

bool hasParameter(icalproperty* property, icalparameter_kind kind) {
    return icalproperty_get_first_parameter(property, kind) != nullptr;
}

}  // namespace

class ANCalFile::Reader {
public:
    Reader(ANCalFile& file, KSError* error) : file_(file), error_(error) {}

    bool read(std::string_view text) {
        if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
        if (!unfold(text)) return false;
        for (const ContentLine& line : lines_) {
            if (!scanLine(line)) return false;
        }
        if (!stack_.empty()) {
            return fail(lastLine_, KSStringWithFormat("BEGIN:%@ of line %ld is never closed.",
                                                      stack_.back().first, stack_.back().second));
        }
        if (!calendarClosed_) return fail(1, "The file holds no calendar (BEGIN:VCALENDAR).");
        icalerror_clear_errno();
        std::unique_ptr<icalcomponent, ComponentDeleter> root(
            icalparser_parse_string(std::string(text).c_str()));
        icalerror_clear_errno();
        if (!root || icalcomponent_isa(root.get()) != ICAL_VCALENDAR_COMPONENT)
            return fail(calendarLine_, "libical finds no calendar in the file.");
        return readCalendar(root.get());
    }

private:
    bool fail(long line, std::string_view message) {
        KSSetError(error_, ANCalFileError(file_.path_, line, message));
        return false;
    }

    // Splits the text into content lines, joining folded lines (a line that begins with a
    // space or a tab goes on from the one before).
    bool unfold(std::string_view text) {
        if (std::size_t nul = text.find('\0'); nul != std::string_view::npos) {
            long line = 1 + static_cast<long>(std::count(text.begin(), text.begin() + nul, '\n'));
            return fail(line, "The line holds a NUL character.");
        }
        long number = 0;
        bool continues = false;
        std::size_t position = 0;
        while (position <= text.size()) {
            std::size_t next = std::min(text.find('\n', position), text.size());
            std::string_view line = text.substr(position, next - position);
            if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
            ++number;
            if (!line.empty() && (line[0] == ' ' || line[0] == '\t')) {
                if (!continues) return fail(number, "A folded line continues no property.");
                lines_.back().text.append(line.substr(1));
            } else if (!line.empty()) {
                lines_.push_back({std::string(line), number});
            }
            continues = !line.empty();
            position = next + 1;
        }
        lastLine_ = lines_.empty() ? 1 : lines_.back().line;
        return true;
    }

    bool scanLine(const ContentLine& content) {
        const std::string& text = content.text;
        // The text of a calendar is UTF-8; titles and names go on into the model as such.
        if (!isUTF8(text)) return fail(content.line, "The line is not UTF-8 text.");
        std::size_t nameEnd = text.find_first_of(";:");
        std::size_t colon = std::string::npos;
        bool quoted = false;
        for (std::size_t i = nameEnd; i != std::string::npos && i < text.size(); ++i) {
            if (text[i] == '"') quoted = !quoted;
            if (text[i] == ':' && !quoted) {
                colon = i;
                break;
            }
        }
        if (colon == std::string::npos || !isName(std::string_view(text).substr(0, nameEnd))) {
            return fail(
                content.line,
                KSStringWithFormat("%@ is not a property of the form NAME:value.", excerpt(text)));
        }
        const std::string name = upper(text.substr(0, nameEnd));
        const std::string value = text.substr(colon + 1);
        if (name == "BEGIN") return begin(upper(value), content.line);
        if (name == "END") return end(upper(value), content.line);
        if (stack_.empty()) return outside(content.line);
        icalerror_clear_errno();
        icalproperty* property = icalproperty_new_from_string(text.c_str());
        icalerror_clear_errno();
        if (!property) {
            return fail(content.line, KSStringWithFormat("The %@ property cannot be read: %@.",
                                                         name, excerpt(text)));
        }
        icalproperty_free(property);
        if (stack_.size() == 2 && stack_.back().first == "VEVENT") return note(name, content.line);
        return true;
    }

    bool begin(const std::string& component, long line) {
        if (!isName(component)) return fail(line, "BEGIN needs the name of a component.");
        if (stack_.empty()) {
            if (calendarClosed_) return outside(line);
            if (component != "VCALENDAR")
                return fail(line, "The file does not begin with BEGIN:VCALENDAR.");
            calendarLine_ = line;
        } else if (component == "VCALENDAR") {
            return fail(line, "A calendar cannot hold another calendar.");
        }
        if (stack_.size() >= kMaximumDepth) return fail(line, "Components are nested too deeply.");
        if (component == "VEVENT" && stack_.size() == 1) eventLines_.push_back({line});
        stack_.emplace_back(component, line);
        return true;
    }

    bool end(const std::string& component, long line) {
        if (stack_.empty()) {
            return fail(line, KSStringWithFormat("END:%@ closes no component.", component));
        }
        if (component != stack_.back().first) {
            return fail(line,
                        KSStringWithFormat("END:%@ does not close BEGIN:%@ of line %ld.", component,
                                           stack_.back().first, stack_.back().second));
        }
        stack_.pop_back();
        if (stack_.empty()) calendarClosed_ = true;
        return true;
    }

    bool outside(long line) {
        return fail(line, calendarClosed_ ? "Text follows the end of the calendar."
                                          : "The file does not begin with BEGIN:VCALENDAR.");
    }

    // Remembers the line of a property of an event that the reader uses.
    bool note(const std::string& name, long line) {
        EventLines& event = eventLines_.back();
        long* slot = name == "DTSTART"    ? &event.dtstart
                     : name == "DTEND"    ? &event.dtend
                     : name == "DURATION" ? &event.duration
                     : name == "RRULE"    ? &event.rrule
                                          : nullptr;
        if (!slot) return true;
        if (*slot) {
            return fail(line, KSStringWithFormat("The event of line %ld has more than one %@.",
                                                 event.begin, name));
        }
        *slot = line;
        return true;
    }

    // The first X-LIC-ERROR that libical left in or under `component`, or null.
    static const char* libicalError(icalcomponent* component) {
        if (icalproperty* error =
                icalcomponent_get_first_property(component, ICAL_XLICERROR_PROPERTY))
            return icalproperty_get_xlicerror(error);
        for (icalcomponent* child =
                 icalcomponent_get_first_component(component, ICAL_ANY_COMPONENT);
             child; child = icalcomponent_get_next_component(component, ICAL_ANY_COMPONENT)) {
            if (const char* message = libicalError(child)) return message;
        }
        return nullptr;
    }

    bool readCalendar(icalcomponent* calendar) {
        std::vector<icalcomponent*> events;
        for (icalcomponent* child = icalcomponent_get_first_component(calendar, ICAL_ANY_COMPONENT);
             child; child = icalcomponent_get_next_component(calendar, ICAL_ANY_COMPONENT)) {
            if (icalcomponent_isa(child) == ICAL_VEVENT_COMPONENT) {
                events.push_back(child);
            } else if (const char* message = libicalError(child)) {
                return fail(calendarLine_, message ? message : "");
            }
        }
        if (events.size() != eventLines_.size())
            return fail(calendarLine_, "libical reads the events of the file differently.");
        for (icalproperty* p = icalcomponent_get_first_property(calendar, ICAL_ANY_PROPERTY); p;
             p = icalcomponent_get_next_property(calendar, ICAL_ANY_PROPERTY)) {
            if (icalproperty_isa(p) == ICAL_XLICERROR_PROPERTY)
                return fail(calendarLine_, icalproperty_get_xlicerror(p));
            if (icalproperty_isa(p) == ICAL_X_PROPERTY && icalproperty_get_x_name(p) &&
                upper(icalproperty_get_x_name(p)) == "X-WR-CALNAME" && icalproperty_get_x(p)) {
                file_.calendarName_ = icalproperty_get_x(p);
            }
        }
        for (std::size_t i = 0; i < events.size(); ++i) {
            if (!readEvent(events[i], eventLines_[i])) return false;
        }
        return true;
    }

    // The start or end of an event, checked: a known zone and a date that exists.
    bool timeOf(icalcomponent* event, icalproperty_kind kind, long line, icaltimetype* time) {
        icalproperty* property = icalcomponent_get_first_property(event, kind);
        *time = kind == ICAL_DTSTART_PROPERTY ? icalcomponent_get_dtstart(event)
                                              : icalcomponent_get_dtend(event);
        icalerror_clear_errno();
        const char* name = kind == ICAL_DTSTART_PROPERTY ? "DTSTART"
                           : kind == ICAL_DTEND_PROPERTY ? "DTEND"
                                                         : "DURATION";
        if (property && hasParameter(property, ICAL_TZID_PARAMETER) && !time->zone) {
            icalparameter* zone = icalproperty_get_first_parameter(property, ICAL_TZID_PARAMETER);
            const char* tzid = icalparameter_get_tzid(zone);
            return fail(line, KSStringWithFormat("The time zone \u201c%@\u201d of %@ is not known.",
                                                 tzid ? tzid : "", name));
        }
        if (icaltime_is_null_time(*time) || !isRealTime(*time))
            return fail(line, KSStringWithFormat("The date of %@ does not exist.", name));
        return true;
    }

    bool readEvent(icalcomponent* event, const EventLines& lines) {
        if (const char* message = libicalError(event)) return fail(lines.begin, message);
        if (icalcomponent_get_status(event) == ICAL_STATUS_CANCELLED) return true;
        if (icalcomponent_get_first_property(event, ICAL_RECURRENCEID_PROPERTY)) return true;
        if (!lines.dtstart) return fail(lines.begin, "The event has no start (DTSTART).");
        if (lines.dtend && lines.duration)
            return fail(lines.duration, "The event has both DTEND and DURATION.");
        icaltimetype start;
        if (!timeOf(event, ICAL_DTSTART_PROPERTY, lines.dtstart, &start)) return false;
        ANCalFileEvent result;
        result.line = lines.begin;
        result.start = wallTimeOf(start);
        if (lines.dtend || lines.duration) {
            long endLine = lines.dtend ? lines.dtend : lines.duration;
            icaltimetype end;
            if (!timeOf(event, lines.dtend ? ICAL_DTEND_PROPERTY : ICAL_DURATION_PROPERTY, endLine,
                        &end)) {
                return false;
            }
            result.end = wallTimeOf(end);
            if (isEarlier(result.end, result.start))
                return fail(endLine, "The event ends before it starts.");
        } else if (start.is_date) {
            // A day without an end is that one day.
            icaltimetype next = start;
            icaltime_adjust(&next, 1, 0, 0, 0);
            result.end = wallTimeOf(next);
        } else {
            result.end = result.start;
        }
        if (const char* summary = icalcomponent_get_summary(event)) result.title = summary;
        if (lines.rrule) {
            icalproperty* rule = icalcomponent_get_first_property(event, ICAL_RRULE_PROPERTY);
            const char* text = rule ? icalproperty_get_value_as_string(rule) : nullptr;
            KSError ruleError;
            auto repetition = ANCalRepetition::repetitionWithRRule(text ? text : "", &ruleError);
            if (!repetition) return fail(lines.rrule, ruleError.localizedDescription());
            result.rrule = repetition->rrule();
        }
        file_.events_.push_back(std::move(result));
        return true;
    }

    ANCalFile& file_;
    KSError* error_;
    std::vector<ContentLine> lines_;
    long lastLine_ = 1;  // where the last content line begins
    std::vector<std::pair<std::string, long>> stack_;
    bool calendarClosed_ = false;
    long calendarLine_ = 1;
    std::vector<EventLines> eventLines_;
};

std::optional<ANCalFile> ANCalFile::fileWithString(std::string_view text, std::string_view path,
                                                   KSError* error) {
    ancal::prepareLibical();
    ANCalFile file;
    file.path_ = std::string(path);
    if (!Reader(file, error).read(text)) return std::nullopt;
    return file;
}

std::optional<ANCalFile> ANCalFile::fileWithContentsOfPath(const std::string& path,
                                                           KSError* error) {
    auto unreadable = [&](std::string_view why) {
        KSDictionary info;
        info.setObjectForKey(
            KSLocalizedDescriptionKey,
            KSValue(KSStringWithFormat("The calendar file \u201c%@\u201d cannot be "
                                       "read: %@",
                                       path, std::string(why))));
        info.setObjectForKey(KSFilePathErrorKey, KSValue(path));
        KSSetError(error, KSError(ANCalErrorDomain, ANCalErrorUnreadableFile, std::move(info)));
        return std::nullopt;
    };
    std::ifstream in(path, std::ios::binary);
    if (!in) return unreadable("it cannot be opened.");
    std::string text;
    char buffer[65536];
    while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
        text.append(buffer, static_cast<std::size_t>(in.gcount()));
        if (text.size() > kMaximumFileSize) return unreadable("it is larger than 16 MB.");
    }
    if (in.bad()) return unreadable("reading it failed.");
    return fileWithString(text, path, error);
}

}  // namespace kestrum
