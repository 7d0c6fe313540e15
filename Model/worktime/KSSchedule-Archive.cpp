// KSSchedule: text and property-list forms, the generic schedule, and the migration of
// old archived exceptions into calendar events.
#include <algorithm>
#include <array>
#include <cmath>

#include <unicode/dtfmtsym.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSCalendarEvent.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLog.h"

namespace kestrum {

namespace {

constexpr std::array<const char*, 7> kDayKeys = {"sunday",   "monday", "tuesday", "wednesday",
                                                 "thursday", "friday", "saturday"};

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> items;
    std::size_t position = 0;
    while (true) {
        std::size_t next = text.find(separator, position);
        if (next == std::string_view::npos) {
            items.push_back(text.substr(position));
            return items;
        }
        items.push_back(text.substr(position, next - position));
        position = next + 1;
    }
}

// The platform's very short standalone weekday symbols, Sunday first.
std::array<std::string, 7> veryShortWeekdaySymbols() {
    std::array<std::string, 7> symbols = {"S", "M", "T", "W", "T", "F", "S"};
    UErrorCode status = U_ZERO_ERROR;
    icu::DateFormatSymbols formatSymbols(icu::Locale::getDefault(), status);
    if (U_FAILURE(status)) return symbols;
    int32_t count = 0;
    const icu::UnicodeString* names = formatSymbols.getWeekdays(
        count, icu::DateFormatSymbols::STANDALONE, icu::DateFormatSymbols::NARROW);
    // ICU numbers weekdays from 1 (Sunday); index 0 is unused.
    if (!names || count < 8) return symbols;
    for (int w = 0; w < 7; ++w) {
        std::string text;
        names[w + 1].toUTF8String(text);
        symbols[w] = text;
    }
    return symbols;
}

}  // namespace

std::string KSSchedule::standardHoursString() const {
    std::string text;
    for (int w = 0; w < 7; ++w) {
        if (w > 0) text += ';';
        text += normalWeek_[w] ? normalWeek_[w]->timeSpansString() : "-";
    }
    return text;
}

void KSSchedule::setStandardHoursString(std::string_view text) {
    std::vector<std::string_view> items = split(text, ';');
    if (items.size() != 7) {
        KSLog("Ignoring standard hours \"%@\": expected seven days", std::string(text));
        return;
    }
    beginScheduleChanges();
    for (int w = 0; w < 7; ++w) {
        if (items[w] == "-") {
            removeScheduleForDayOfTheWeek(w);
        } else {
            // An empty item is a custom day with no work, unlike "-".
            addNewScheduleForDayOfTheWeek(w)->setTimeSpansString(items[w]);
        }
    }
    finishedScheduleChanges();
}

std::string KSSchedule::shortLocalizedWorkHoursDescription() const {
    std::array<std::string, 7> texts;
    for (int w = 0; w < 7; ++w)
        texts[w] = normalScheduleForDayOfTheWeek(w)->localizedShortDescription();
    std::array<std::string, 7> symbols = veryShortWeekdaySymbols();
    std::array<bool, 7> gathered{};
    std::string result;
    for (int w = 0; w < 7; ++w) {
        if (gathered[w] || texts[w].empty()) continue;
        std::array<bool, 7> inGroup{};
        for (int d = w; d < 7; ++d) {
            if (!gathered[d] && texts[d] == texts[w]) inGroup[d] = gathered[d] = true;
        }
        std::string names;
        for (int d = w; d < 7;) {
            if (!inGroup[d]) {
                ++d;
                continue;
            }
            int last = d;
            while (last + 1 < 7 && inGroup[last + 1])
                ++last;
            if (last - d >= 2) {
                names += KSStringWithFormat("%@\u2013%@", symbols[d], symbols[last]);
            } else if (last - d == 1) {
                names += KSStringWithFormat("%@%@", symbols[d], symbols[last]);
            } else {
                names += symbols[d];
            }
            d = last + 1;
        }
        result += KSStringWithFormat("%@\u2009\u2009%@\u2009\u2009", names, texts[w]);
    }
    return result;
}

KSDictionary KSSchedule::archiveDictionary() const {
    KSDictionary archive;
    for (int w = 0; w < 7; ++w) {
        if (normalWeek_[w])
            archive.setObjectForKey(kDayKeys[w], normalWeek_[w]->archiveDictionary());
    }
    if (!exceptions_.empty()) {
        archive.setObjectForKey("exceptions", KSScheduledDay::archiveForScheduledDays(exceptions_));
    }
    return archive;
}

void KSSchedule::loadFromArchive(const KSDictionary& archive) {
    beginScheduleChanges();
    if (const KSValue* standard = archive.find("standard"); standard && standard->isArray()) {
        const KSArray& days = standard->asArray();
        for (std::size_t w = 0; w < 7 && w < days.size(); ++w) {
            if (!days[w].isDictionary()) continue;
            _setCustomScheduleForDayOfTheWeek(
                static_cast<int>(w), KSScheduledDay::dayWithArchive(days[w].asDictionary(), this));
        }
    } else {
        for (int w = 0; w < 7; ++w) {
            const KSValue* day = archive.find(kDayKeys[w]);
            if (!day || !day->isDictionary()) continue;
            _setCustomScheduleForDayOfTheWeek(
                w, KSScheduledDay::dayWithArchive(day->asDictionary(), this));
        }
    }
    finishedScheduleChanges();
}

void KSSchedule::addTimeOffEvent(std::int64_t dayNumber, double from, double to) {
    timeOffCalendar()->addEvent(KSCalendarEvent::eventWithStartEndTitle(KSDateTime(dayNumber, from),
                                                                        KSDateTime(dayNumber, to)));
}

void KSSchedule::applyOldException(const KSDictionary& entry) {
    std::optional<KSDate> date = KSScheduledDay::dateFromPlistValue(entry.objectForKey("date"));
    if (!date) return;
    KSDateTime day(*date);
    std::int64_t n = day.dayNumber();
    std::vector<KSTimeSpan> wanted =
        KSTimeSpan::loadTimeSpansFromArchive(entry.objectForKey("spans").asArray());
    std::stable_sort(wanted.begin(), wanted.end(), [](const KSTimeSpan& a, const KSTimeSpan& b) {
        return a.startTime() < b.startTime();
    });
    const std::vector<KSTimeSpan> normal = scheduleForDay(day)->timeSpans();

    // Time off: the normal hours that the exception does not keep.
    for (const KSTimeSpan& span : normal) {
        if (wanted.empty()) {
            addTimeOffEvent(n, 0.0, 86400.0);
            break;
        }
        double cursor = span.startTime();
        for (const KSTimeSpan& kept : wanted) {
            if (cursor < kept.startTime()) addTimeOffEvent(n, cursor, kept.startTime());
            cursor = std::max(cursor, kept.endTime());
            if (cursor >= span.endTime()) break;
        }
        if (cursor < span.endTime()) addTimeOffEvent(n, cursor, span.endTime());
    }
    // Overtime: the exception's hours beyond the normal ones. The events go to the time-off
    // calendar, which claims them, as old archives have always been read.
    for (const KSTimeSpan& extra : wanted) {
        double cursor = extra.startTime();
        for (const KSTimeSpan& span : normal) {
            if (extra.endTime() < span.startTime()) break;
            if (cursor < span.startTime()) addTimeOffEvent(n, cursor, span.startTime());
            cursor = std::max(cursor, span.endTime());
            if (cursor >= extra.endTime()) break;
        }
        if (cursor < extra.endTime()) addTimeOffEvent(n, cursor, extra.endTime());
    }
}

void KSSchedule::unarchiveScheduleExceptions(const KSDictionary& archive) {
    beginScheduleChanges();
    for (const KSValue& entry : archive.objectForKey("exceptions").asArray()) {
        if (entry.isDictionary()) applyOldException(entry.asDictionary());
    }
    if (exceptions_.empty() && totalDurationForNormalWeek() == 0.0) {
        for (int w = 0; w < 7; ++w)
            _setCustomScheduleForDayOfTheWeek(w, nullptr);
    }
    finishedScheduleChanges();
}

void KSSchedule::fillGenericDay(KSScheduledDay& day, double seconds) {
    // Morning 8-12, then the afternoon from 13 up to midnight, the noon hour, and lastly
    // the time before 8; adjacent spans merge.
    struct Block {
        double start;
        double maximum;
        bool endsAtStart;
    };
    static constexpr Block kBlocks[] = {{28800.0, 14400.0, false},
                                        {46800.0, 39600.0, false},
                                        {43200.0, 3600.0, false},
                                        {28800.0, 28800.0, true}};
    for (const Block& block : kBlocks) {
        if (seconds == 0.0) return;
        double length = std::min(seconds, block.maximum);
        if (block.endsAtStart) {
            day.addSpanFromStartToEnd(block.start - length, block.start);
        } else {
            day.addSpanFromStartToEnd(block.start, block.start + length);
        }
        seconds -= length;
    }
}

std::shared_ptr<KSSchedule> KSSchedule::genericScheduleForHoursPerDayHoursPerWeek(
    float hoursPerDay, float hoursPerWeek) {
    auto generic = schedule();
    for (int w = 0; w < 7; ++w) {
        generic->normalWeek_[w] = KSScheduledDay::dayForSchedule(generic.get());
    }
    if (!(hoursPerDay > 0.0f) || !(hoursPerWeek > 0.0f)) return generic;
    generic->beginScheduleChanges();
    float d = hoursPerDay;
    int full = static_cast<int>(std::floor(hoursPerWeek / d));
    float rest = hoursPerWeek - static_cast<float>(full) * d;
    int days = full + (rest != 0.0f ? 1 : 0);
    if (days >= 8) {
        d = hoursPerWeek / 7.0f;
        days = 7;
    }
    float hours = std::min(24.0f, d);
    // From Monday on; the last day of the walk gets the rest, even when it is 0.
    for (int i = 0, w = 1; i < days; ++i, w = (w + 1) % 7) {
        float dayHours = i == days - 1 ? rest : hours;
        fillGenericDay(*generic->normalWeek_[w], static_cast<double>(dayHours) * 3600.0);
    }
    generic->finishedScheduleChanges();
    return generic;
}

}  // namespace kestrum
