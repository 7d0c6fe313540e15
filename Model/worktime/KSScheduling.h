// KSScheduling: the work-time questions the scheduling engine asks.
//
// A single resource answers them through its KSSchedule; several resources together
// through a work division. Efforts and durations are seconds of working time. A null
// date in gives null out, or 0.0 for a duration. Implementations may reuse internal
// walkers, so calls on one object must not nest.
#pragma once

#include "Model/worktime/KSDateTime.h"

namespace kestrum {

class KSTask;

class KSScheduling {
public:
    virtual ~KSScheduling() = default;

    // True if no work can start before `end`.
    virtual bool offBetweenStartDateAndEndDate(const KSDateTime& start, const KSDateTime& end) = 0;
    // The working time between two dates; negative when they come the wrong way round.
    virtual double durationBetweenStartDateAndEndDate(const KSDateTime& start,
                                                      const KSDateTime& end) = 0;
    // The date on which `effort` seconds of work started at `start` are done.
    virtual KSDateTime endDateForStartDateAndEffort(const KSDateTime& start, double effort) = 0;
    // The date at which `effort` seconds of work must start to be done by `end`.
    virtual KSDateTime startDateForEndDateAndEffort(const KSDateTime& end, double effort) = 0;
    // Fills in the time spent of the task's assignments.
    virtual void setAssignmentTimeSpentForTask(KSTask& task) = 0;
    // The first moment at or after the date at which work can start.
    virtual KSDateTime adjustDateForUseAsStartDate(const KSDateTime& date) = 0;
    // The last moment at or before the date at which work can end.
    virtual KSDateTime adjustDateForUseAsEndDate(const KSDateTime& date) = 0;
    // The first moment any work can happen; null when there is no bound.
    virtual KSDateTime earliestPossibleWorkMoment() = 0;
    // The last moment any work can happen; null when there is no bound.
    virtual KSDateTime latestPossibleWorkMoment() = 0;
};

}  // namespace kestrum
