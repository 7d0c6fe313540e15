// KSCalendar: a named list of calendar events that a schedule turns into exceptions.
//
// A time-off calendar removes its events' hours from the days they cover; an overtime
// calendar (isOvertime) adds them. When any calendar changes, the schedule throws its
// exceptions away and makes them again by applying each calendar in turn, so the events
// are the stored truth. An editable calendar records undo steps through the schedule's
// delegate; one that is not editable comes from outside and records none.
//
// Repeating events, the text form (internalChangeString) and subtraction of events come
// with the calendar work; this class holds what schedules need of it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class KSCalendarEvent;
class KSSchedule;
class KSUndoManager;

class KSCalendar : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // initWithSchedule:
    explicit KSCalendar(KSSchedule* schedule = nullptr);
    ~KSCalendar() override;
    static std::shared_ptr<KSCalendar> calendarWithSchedule(KSSchedule* schedule);

    KSSchedule* schedule() const { return nonretainedSchedule_; }
    void setSchedule(KSSchedule* schedule) { nonretainedSchedule_ = schedule; }
    // "Time Off" and "Overtime" are the two special names.
    const std::string& name() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }
    bool isEditable() const { return isEditable_; }
    void setEditable(bool editable) { isEditable_ = editable; }
    // True: events add working time; false: they remove it.
    bool isOvertime() const { return isOvertime_; }
    void setOvertime(bool overtime) { isOvertime_ = overtime; }

    const std::vector<std::shared_ptr<KSCalendarEvent>>& events() const { return events_; }
    // Takes the event (whatever calendar it had), with undo, and tells the schedule.
    void addEvent(const std::shared_ptr<KSCalendarEvent>& event);
    void removeEvent(const std::shared_ptr<KSCalendarEvent>& event);
    // Replaces all events, with undo of the old list.
    void _setEvents(std::vector<std::shared_ptr<KSCalendarEvent>> events);
    void removeAllEvents() { _setEvents({}); }

    // Applies each event, in order of start, to the schedule's exceptions.
    void applyCalendarToSchedule(KSSchedule& schedule) const;
    // Hooks around a change of one of the events.
    void calendarEventWillChange(KSCalendarEvent& event);
    void calendarEventDidChange(KSCalendarEvent& event);

    // Null for a calendar that is not editable, else the schedule delegate's.
    KSUndoManager* undoManager() const;

private:
    template <class F>
    void registerUndo(F&& action);
    void tellSchedule();

    KSSchedule* nonretainedSchedule_ = nullptr;
    std::string name_;
    std::vector<std::shared_ptr<KSCalendarEvent>> events_;
    bool isEditable_ = true;
    bool isOvertime_ = false;
};

}  // namespace kestrum
