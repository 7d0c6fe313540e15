// KSTask: the scheduling issues of a task's dates, raised after each recompute.
//
// The dates are left as the rules make them; what cannot hold (a lock or a constraint
// behind the prerequisites, a task beyond its group's constraint or the plan's anchor, a
// hammock without both ends, work outside the resources' time) becomes an issue on the
// task, in a fixed order.
#include "Model/engine/KSSchedulingError.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSScheduling.h"

namespace kestrum {

namespace {

// Both dates set and the first strictly later.
bool later(const KSDateTime& a, const KSDateTime& b) {
    return !a.isNull() && !b.isNull() && a.isLaterThanDate(b);
}

}  // namespace

void KSTask::_computeSchedulingIssues() {
    KSScenario* owner = scenario();
    if (!owner) return;
    bool group = isGroup();
    if (_hasLockedDate() && !group && later(currentStartLimit(), startDate()))
        KSIssue::issueForTask<KSLockedDateVsPrereqsViolation>(*this);

    if (!group && !noLaterThanConstraintDate_.isNull()) {
        KSDateTime noLater = noLaterThanConstraintDate_;
        if (noLaterThanEnd_ == KSConstrainedTaskEndEnd) noLater = startDateForEndDate(noLater);
        KSDateTime noEarlier = noEarlierThanConstraintDate_;
        if (!noEarlier.isNull() && noEarlierThanEnd_ == KSConstrainedTaskEndEnd)
            noEarlier = startDateForEndDate(noEarlier);
        if (later(noEarlier, noLater)) {
            KSIssue::issueForTask<KSConstraintsTooCloseViolation>(*this);
        } else if (later(currentStartLimit(), noLater)) {
            KSIssue::issueForTask<KSConstraintsVsPrereqsViolation>(*this);
        }
    } else if (!group && !noEarlierThanConstraintDate_.isNull()) {
        KSDateTime noEarlier = noEarlierThanConstraintDate_;
        if (noEarlierThanEnd_ == KSConstrainedTaskEndStart)
            noEarlier = endDateForStartDate(noEarlier);
        if (later(noEarlier, currentEndLimit()))
            KSIssue::issueForTask<KSALAPConstraintsVsPrereqsViolation>(*this);
    }

    KSTask* parent = parentTask();
    if (parent && !parent->noLaterThanConstraintDate().isNull()) {
        KSDateTime groupEnd = parent->noLaterThanConstraintDate();
        if (parent->noLaterThanConstrainedTaskEnd() == KSConstrainedTaskEndStart)
            groupEnd = parent->endDateForStartDate(groupEnd);
        if (later(endDate(), groupEnd)) KSIssue::issueForTask<KSDesiredVsGroupEndViolation>(*this);
    }

    if (parent) {
        KSDateTime anchor = owner->fixedDate();
        if (owner->hasFixedEndDate()) {
            if (later(endDate(), anchor))
                KSIssue::issueForTask<KSScheduledVsProjectEndViolation>(*this);
        } else if (later(anchor, startDate())) {
            KSIssue::issueForTask<KSScheduledVsProjectStartViolation>(*this);
        }
        if (isHammockTask() && !_hasBothStartAndEndPrerequisites())
            KSIssue::issueForTask<KSDisconnectedHammockViolation>(*this);
    }

    KSScheduling* work = schedule();
    if (!work) return;
    if (isAsSoonAsPossible()) {
        if (later(endDate(), work->latestPossibleWorkMoment()))
            KSIssue::issueForTask<KSOutsideScheduleViolation>(*this);
    } else if (later(work->earliestPossibleWorkMoment(), startDate())) {
        KSIssue::issueForTask<KSOutsideScheduleViolation>(*this);
    }
}

void KSTask::recursivelyCheckSchedulingIssues() {
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children) {
        child->removeIssuesOfKind(KSIssue::schedulingIssueKind());
        child->_computeSchedulingIssues();
        child->recursivelyCheckSchedulingIssues();
    }
}

}  // namespace kestrum
