// KSSchedulingError: the family of issues the scheduler raises on a task whose dates
// cannot keep every rule: a lock or a constraint behind the prerequisites, constraints
// too close together, a task beyond its group's constraint or the plan's anchor, a
// hammock without both ends, a task outside its resources' work time.
//
// Each class is a handful of overrides (type, text, file, arguments of the long text,
// actions), so the family shares this header. The scheduler raises them in
// KSTask::_computeSchedulingIssues after removing the task's "Scheduling" issues; each
// action repairs the plan through the task's undoable setters.
//
//   auto issue = KSIssue::issueForTask<KSLockedDateVsPrereqsViolation>(*task);
//   issue->performAction("moveLock");   // the lock moves to where the prerequisites allow
#pragma once

#include <string>

#include "Model/engine/KSIssue.h"
#include "Model/worktime/KSDateTime.h"

namespace kestrum {

class KSSchedulingError : public KSIssue {
    KS_DECLARE_CLASS()
public:
    explicit KSSchedulingError(KSTask* task = nullptr) : KSIssue(task) {}
    KSIssueType type() const override { return KSIssueTypeError; }
    std::string issueKind() const override { return schedulingIssueKind(); }

    // Where a lock would hold: the current start limit, or the end that follows from it
    // when the end is locked.
    KSDateTime _moveLockDate() const;
    // The end that follows from the current start limit.
    KSDateTime _moveEndDate() const;
    // The start that leads to _moveEndDate.
    KSDateTime _moveStartDate() const;
};

// "Locked date set before prerequisites complete"; actions "unlock" and "moveLock".
class KSLockedDateVsPrereqsViolation : public KSSchedulingError {
    KS_DECLARE_CLASS()
public:
    using KSSchedulingError::KSSchedulingError;
    std::string shortDescription() const override;
    std::optional<std::string> longDescriptionHTMLFile() const override {
        return "Lock-Prerequisites";
    }
    std::string resultHTMLStringForRawHTMLString(const std::string& rawHTML) const override;
    void performAction(const std::string& action) override;
};

// "Constraints too close together": the no-earlier date comes after the no-later one.
class KSConstraintsTooCloseViolation : public KSSchedulingError {
    KS_DECLARE_CLASS()
public:
    using KSSchedulingError::KSSchedulingError;
    std::string shortDescription() const override;
    std::optional<std::string> longDescriptionHTMLFile() const override {
        return "ConstraintsTooClose";
    }
};

// The no-later constraint hit because of the prerequisites; actions "removeConstraint",
// "moveEndConstraint" and "moveStartConstraint".
class KSConstraintsVsPrereqsViolation : public KSSchedulingError {
    KS_DECLARE_CLASS()
public:
    using KSSchedulingError::KSSchedulingError;
    // "%@ constraint hit due to prerequisites" with the no-later constraint's name.
    std::string shortDescription() const override;
    // "Prerequisites-EndConstraint" when the no-later date binds the end, else
    // "Prerequisites-SNLTConstraint".
    std::optional<std::string> longDescriptionHTMLFile() const override;
    std::string resultHTMLStringForRawHTMLString(const std::string& rawHTML) const override;
    void performAction(const std::string& action) override;
};

// The no-earlier constraint hit because of the dependents (as late as possible); actions
// "removeConstraint" and "moveStartConstraint".
class KSALAPConstraintsVsPrereqsViolation : public KSSchedulingError {
    KS_DECLARE_CLASS()
public:
    using KSSchedulingError::KSSchedulingError;
    // "%@ constraint hit due to dependents" with the no-earlier constraint's name.
    std::string shortDescription() const override;
    // "Prerequisites-FNETConstraint" when the no-earlier date binds the end, else
    // "Prerequisites-StartConstraint".
    std::optional<std::string> longDescriptionHTMLFile() const override;
    std::string resultHTMLStringForRawHTMLString(const std::string& rawHTML) const override;
    void performAction(const std::string& action) override;

private:
    KSDateTime _alapMoveStartDate() const;
};

// "Task ends after group's end constraint date"; actions "resetDesiredEndDate",
// "removeEndDateLock" and "resetGroupEndDate".
class KSDesiredVsGroupEndViolation : public KSSchedulingError {
    KS_DECLARE_CLASS()
public:
    using KSSchedulingError::KSSchedulingError;
    std::string shortDescription() const override;
    std::optional<std::string> longDescriptionHTMLFile() const override {
        return "Scheduled-GroupEnd";
    }
    std::string resultHTMLStringForRawHTMLString(const std::string& rawHTML) const override;
    void performAction(const std::string& action) override;
};

// "Task ends after project's end date"; actions "resetScheduling", "changeProjectEnd".
class KSScheduledVsProjectEndViolation : public KSSchedulingError {
    KS_DECLARE_CLASS()
public:
    using KSSchedulingError::KSSchedulingError;
    std::string shortDescription() const override;
    std::optional<std::string> longDescriptionHTMLFile() const override {
        return "Scheduled-ProjectEnd";
    }
    std::string resultHTMLStringForRawHTMLString(const std::string& rawHTML) const override;
    void performAction(const std::string& action) override;
};

// "Task starts before project's start date"; actions "resetScheduling" and
// "changeProjectEnd" (the same word as on the end side; it moves the plan's start).
class KSScheduledVsProjectStartViolation : public KSSchedulingError {
    KS_DECLARE_CLASS()
public:
    using KSSchedulingError::KSSchedulingError;
    std::string shortDescription() const override;
    std::optional<std::string> longDescriptionHTMLFile() const override {
        return "Scheduled-ProjectStart";
    }
    std::string resultHTMLStringForRawHTMLString(const std::string& rawHTML) const override;
    void performAction(const std::string& action) override;
};

// "Hammock task doesn't have start and end prerequisites"; action "setToTask".
class KSDisconnectedHammockViolation : public KSSchedulingError {
    KS_DECLARE_CLASS()
public:
    using KSSchedulingError::KSSchedulingError;
    std::string shortDescription() const override;
    std::optional<std::string> longDescriptionHTMLFile() const override {
        return "Scheduled-Hammock";
    }
    void performAction(const std::string& action) override;
};

// "Scheduled outside of resource work time".
class KSOutsideScheduleViolation : public KSSchedulingError {
    KS_DECLARE_CLASS()
public:
    using KSSchedulingError::KSSchedulingError;
    std::string shortDescription() const override;
    std::optional<std::string> longDescriptionHTMLFile() const override {
        return "ScheduledOutside";
    }
};

// "Start date doesn't conform to scenario scheduling granularity". Nothing raises it
// today; its text and actions ("asap", "earlierDate", "laterDate", "exactScheduling")
// are kept for plans that carry it.
class KSConstrainedDateVsGranularityViolation : public KSSchedulingError {
    KS_DECLARE_CLASS()
public:
    using KSSchedulingError::KSSchedulingError;
    std::string shortDescription() const override;
    // "DayGranularity-Locked" at day granularity, else "HourGranularity-Locked".
    std::optional<std::string> longDescriptionHTMLFile() const override;
    std::string resultHTMLStringForRawHTMLString(const std::string& rawHTML) const override;
    void performAction(const std::string& action) override;

    // The start date: the later choice offered.
    KSDateTime _laterDate() const;
    // A moment (an hour, or a day at day granularity) before the start, adjusted.
    KSDateTime _earlierDate() const;
};

}  // namespace kestrum
