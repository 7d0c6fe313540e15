// KSCalendar: a named list of calendar events that a schedule turns into exceptions.
//
// A time-off calendar removes its events' hours from the days they cover; an overtime
// calendar (isOvertime) adds them. When any calendar changes, the schedule throws its
// exceptions away and makes them again by applying each calendar in turn, so the events
// are the stored truth. An editable calendar records undo steps through the schedule's
// delegate; one that is not editable comes from outside (an iCalendar file) and records
// none.
//
// The text form (internalChangeString) is the list of the events' change dictionaries as
// a binary property list in base 64; it crosses the boundary of change tracking, and the
// resource's "timeOffString", "overtimeString" and "otherCalendarsDict" are made of it.
//
//   auto holidays = KSCalendar::calendarWithContentsOfICSFile("holidays.ics", &error);
//   schedule->beginScheduleChanges();
//   schedule->addCalendar(holidays);
//   schedule->finishedScheduleChanges();
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSError.h"

namespace kestrum {

class KSCalendarEvent;
class KSDateTime;
class KSSchedule;
class KSUndoManager;

// The names of the two special calendars of a schedule.
extern const char* const KSTimeOffCalendarName;   // "Time Off"
extern const char* const KSOvertimeCalendarName;  // "Overtime"

class KSCalendar : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    using EventList = std::vector<std::shared_ptr<KSCalendarEvent>>;

    // initWithSchedule: an editable time-off calendar with no name and no events.
    explicit KSCalendar(KSSchedule* schedule = nullptr);
    ~KSCalendar() override;
    // The same, held by a shared_ptr (as calendars must be for undo).
    static std::shared_ptr<KSCalendar> calendarWithSchedule(KSSchedule* schedule);
    // A calendar that is not editable holding the events of an iCalendar file as time off,
    // named by the file's X-WR-CALNAME or else by the file's name without extension. A
    // timed event over several days becomes its part of the first day, the whole days in
    // between and its part of the last day; a repeating one keeps its first day's part.
    // Null and an error (domain "Kestrum", code 1, naming the file and the line) for a
    // file that cannot be read or is malformed.
    static std::shared_ptr<KSCalendar> calendarWithContentsOfICSFile(const std::string& path,
                                                                     KSError* error = nullptr);
    // The same from the text of a file; `path` names it.
    static std::shared_ptr<KSCalendar> calendarWithICSText(std::string_view text,
                                                           std::string_view path,
                                                           KSError* error = nullptr);

    // The schedule the calendar belongs to (not retained), or null.
    KSSchedule* schedule() const { return nonretainedSchedule_; }
    void setSchedule(KSSchedule* schedule) { nonretainedSchedule_ = schedule; }
    // "Time Off" and "Overtime" are the two special names.
    const std::string& name() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }
    // False for a calendar from outside, whose events record no undo; true by default.
    bool isEditable() const { return isEditable_; }
    void setEditable(bool editable) { isEditable_ = editable; }
    // True: events add working time; false: they remove it.
    bool isOvertime() const { return isOvertime_; }
    void setOvertime(bool overtime) { isOvertime_ = overtime; }
    // Set while repeating events are expanded, which silences their change reports.
    bool isGeneratingRepetitionEvents() const { return generatingRepetitionEvents_; }

    // In the order they were added; applying sorts them by start.
    const EventList& events() const { return events_; }
    // Takes the event (whatever calendar it had), with undo, and tells the schedule.
    void addEvent(const std::shared_ptr<KSCalendarEvent>& event);
    // Removes the event by identity, with undo; nothing for a stranger.
    void removeEvent(const std::shared_ptr<KSCalendarEvent>& event);
    // Replaces all events, with undo of the old list.
    void _setEvents(EventList events);
    // _setEvents with an empty list.
    void removeAllEvents() { _setEvents({}); }
    // Takes the time of `event` out of every other event: an event partly covered is
    // shortened, one with the time in its middle is split in two, one wholly covered is
    // removed. The days of a multi-day event outside the given event's days stay as they
    // were, as copies.
    void subtractEvent(const std::shared_ptr<KSCalendarEvent>& event);

    // Applies each event, in order of start, to the schedule's exceptions.
    void applyCalendarToSchedule(KSSchedule& schedule) const;
    // Appends each event that overlaps start to end, and one event for each instance of a
    // repeating event in that range.
    void addEventsAfterStartAndBeforeEnd(const KSDateTime& start, const KSDateTime& end,
                                         EventList& events);
    // Hooks around a change of one of the events; the second drops the text form and tells
    // the schedule, unless repeating events are being expanded.
    void calendarEventWillChange(KSCalendarEvent& event);
    void calendarEventDidChange(KSCalendarEvent& event);

    // The text form of the events, made when first asked for after a change.
    const std::string& internalChangeString() const;
    // Replaces the events by those of a text form (undoable like _setEvents) and keeps the
    // text. Text equal to the present form changes nothing. Text that is not base 64, not a
    // property list or not a list, or with an event that setChangeDictionary refuses,
    // changes nothing: false, a line in the log and `error`. Items of the list that are
    // not dictionaries are passed over.
    bool setInternalChangeString(std::string_view text, KSError* error = nullptr);
    // The events of a text form, each with no calendar; false and `error` as above.
    static bool eventsFromInternalChangeString(std::string_view text, EventList* events,
                                               KSError* error = nullptr);
    // The text form of a list of events (of an empty list: no events).
    static std::string internalChangeStringForEvents(const EventList& events);

    // Null for a calendar that is not editable, else the schedule delegate's.
    KSUndoManager* undoManager() const;

private:
    template <class F>
    void registerUndo(F&& action);
    void eventsDidChange();

    KSSchedule* nonretainedSchedule_ = nullptr;
    std::string name_;
    EventList events_;
    bool isEditable_ = true;
    bool isOvertime_ = false;
    mutable std::string internalChangeString_;
    mutable bool hasInternalChangeString_ = false;
    bool generatingRepetitionEvents_ = false;
};

}  // namespace kestrum
