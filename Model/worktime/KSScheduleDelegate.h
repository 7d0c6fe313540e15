// KSScheduleDelegate: the owner of a schedule (a resource), as the schedule sees it.
//
// The schedule asks it where to record undo steps, tells it around every change, and asks
// for the granularity of dates, the generic schedule to spill over onto when work runs
// out, and the schedules that inherit from this one (which change along with it).
#pragma once

#include <memory>
#include <vector>

namespace kestrum {

class KSSchedule;
class KSUndoManager;

class KSScheduleDelegate {
public:
    virtual ~KSScheduleDelegate() = default;

    // Where the schedule records undo steps; null records nothing.
    virtual KSUndoManager* undoManagerForSchedule(KSSchedule& schedule) = 0;
    // Around every change of the schedule.
    virtual void scheduleWillChange() = 0;
    virtual void scheduleDidChange() = 0;
    // 0 exact, 1 hours, 2 days.
    virtual int scheduleGranularity() = 0;
    // The schedule to continue on when this one runs out of work; may be null.
    virtual std::shared_ptr<KSSchedule> genericWorktimeSchedule() = 0;
    // The schedules that inherit from this one.
    virtual std::vector<std::shared_ptr<KSSchedule>> childSchedules() = 0;
};

}  // namespace kestrum
