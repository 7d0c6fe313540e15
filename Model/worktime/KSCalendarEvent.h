// KSCalendarEvent: one stretch of time off or overtime in a KSCalendar.
//
// The same window of time (the start's time of day to the end's) applies on each day from
// the start's day to the end's; an end at time 0 means the end of the day before. A
// repeating event (with a repetition, an RRULE) applies its window on the day of each
// instance instead, and only for instances before the year 2020.
//
// Setters record undo through the calendar and tell it, which tells the schedule. The
// change dictionary is the event's part of the calendar's text form:
//   "sd" start day, "st" start time (32-bit float), "ed" and "et" the end, "t" the title,
//   "r" the repetition rule; a null date or an empty title or no repetition is left out.
//
// Limits: a multi-day event acts on at most kMaximumDays days (the readers refuse longer
// ones), and its days lie between distantPast and distantFuture.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Model/worktime/KSDateTime.h"
#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSError.h"

namespace kestrum {

class ANCalRepetition;
class KSCalendar;
class KSSchedule;

class KSCalendarEvent : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // The most days one event acts on: a hundred years.
    static constexpr std::int64_t kMaximumDays = 36600;

    // initWithCalendar:
    explicit KSCalendarEvent(KSCalendar* calendar = nullptr);
    ~KSCalendarEvent() override;
    // A new event with no calendar.
    static std::shared_ptr<KSCalendarEvent> eventWithStartEndTitle(
        const KSDateTime& start, const KSDateTime& end, std::string title = {},
        std::shared_ptr<ANCalRepetition> repetition = nullptr);
    // A new event with no calendar read from a change dictionary; null, with `error`, for a
    // dictionary that setChangeDictionary refuses.
    static std::shared_ptr<KSCalendarEvent> eventWithChangeDictionary(
        const KSDictionary& dictionary, KSError* error = nullptr);
    // No calendar; the same start, end, title and repetition (shared).
    std::shared_ptr<KSCalendarEvent> copy() const;

    // The calendar whose list holds the event (not retained), or null.
    KSCalendar* calendar() const { return nonretainedCalendar_; }
    void setCalendar(KSCalendar* calendar) { nonretainedCalendar_ = calendar; }
    // The first moment, and the end: at time 0 it closes the day before.
    const KSDateTime& start() const { return start_; }
    const KSDateTime& end() const { return end_; }
    // Empty for no title.
    const std::string& title() const { return title_; }
    // Null for an event that does not repeat.
    const std::shared_ptr<ANCalRepetition>& repetition() const { return repetition_; }
    // The setters do nothing for the same value; otherwise they record undo, store, and
    // tell the calendar.
    void setStart(const KSDateTime& start);
    void setEnd(const KSDateTime& end);
    void setTitle(const std::string& title);
    void setRepetition(std::shared_ptr<ANCalRepetition> repetition);

    // The dictionary form (see above); cached until the next change.
    const KSDictionary& changeDictionary() const;
    // Replaces every field by those of a change dictionary. A dictionary with a key of the
    // wrong type, a day outside the plan's range, a time outside 0 to 86400, a span of more
    // than kMaximumDays or a rule that cannot be read is refused: false, `error`, and the
    // event stays as it was.
    bool setChangeDictionary(const KSDictionary& dictionary, KSError* error = nullptr);

    // Adds (overtime calendar) or removes (otherwise) the event's window on each of its
    // days, or on the day of each instance before 2020, as exceptions of the schedule.
    void applyEventToSchedule(KSSchedule& schedule) const;
    // Appends the event if it overlaps the range start to end (inclusive, by compare());
    // a repeating event appends a new one-day event for each instance from the range's
    // start (at or after it) to the day before the range's end day.
    void addEventsAfterStartAndBeforeEnd(const KSDateTime& start, const KSDateTime& end,
                                         std::vector<std::shared_ptr<KSCalendarEvent>>& events);
    // By start.
    int compare(const KSCalendarEvent& other) const { return start_.compare(other.start_); }

private:
    // Stores every field with one undo step and the calendar's change hooks.
    void _setFields(const KSDateTime& start, const KSDateTime& end, const std::string& title,
                    const std::shared_ptr<ANCalRepetition>& repetition);
    // The action of this event on one day of the schedule.
    void applyToDay(KSSchedule& schedule, std::int64_t dayNumber, double from, double to) const;

    KSCalendar* nonretainedCalendar_ = nullptr;
    KSDateTime start_;
    KSDateTime end_;
    std::string title_;
    std::shared_ptr<ANCalRepetition> repetition_;
    mutable std::shared_ptr<const KSDictionary> changeDictionary_;
};

}  // namespace kestrum
