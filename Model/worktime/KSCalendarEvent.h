// KSCalendarEvent: one stretch of time off or overtime in a KSCalendar.
//
// The same window of time (start's time of day to end's time of day) applies on each day
// from the start's day to the end's; an end at time 0 means the end of the day before.
// Setters record undo through the calendar and tell it, which tells the schedule.
#pragma once

#include <memory>
#include <string>

#include "Model/worktime/KSDateTime.h"
#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class KSCalendar;
class KSSchedule;

class KSCalendarEvent : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // initWithCalendar:
    explicit KSCalendarEvent(KSCalendar* calendar = nullptr);
    ~KSCalendarEvent() override;
    static std::shared_ptr<KSCalendarEvent> eventWithStartEndTitle(const KSDateTime& start,
                                                                   const KSDateTime& end,
                                                                   std::string title = {});
    // Same start, end and title; no calendar.
    std::shared_ptr<KSCalendarEvent> copy() const;

    KSCalendar* calendar() const { return nonretainedCalendar_; }
    void setCalendar(KSCalendar* calendar) { nonretainedCalendar_ = calendar; }
    const KSDateTime& start() const { return start_; }
    const KSDateTime& end() const { return end_; }
    // Empty for no title.
    const std::string& title() const { return title_; }
    void setStart(const KSDateTime& start);
    void setEnd(const KSDateTime& end);
    void setTitle(const std::string& title);

    // Adds (overtime calendar) or removes (otherwise) the event's window on each of its
    // days, as exceptions of the schedule.
    void applyEventToSchedule(KSSchedule& schedule) const;
    // By start.
    int compare(const KSCalendarEvent& other) const { return start_.compare(other.start_); }

private:
    // Stores all three fields with one undo step and the calendar's change hooks.
    void _setFields(const KSDateTime& start, const KSDateTime& end, const std::string& title);

    KSCalendar* nonretainedCalendar_ = nullptr;
    KSDateTime start_;
    KSDateTime end_;
    std::string title_;
};

}  // namespace kestrum
