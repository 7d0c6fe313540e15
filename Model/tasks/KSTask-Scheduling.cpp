// KSTask: schedule type, the date setters, the leveled date, and recomputation in the
// scenario's edit cycle.
#include "Model/engine/KSIssue.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSNotificationCenter.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"
#include "Platform/styles/HLStyle.h"

namespace kestrum {

// --- Schedule type ------------------------------------------------------------------------------

KSScheduleType KSTask::scheduleType() const {
    // A group follows the plan's anchor.
    if (_isGroupTask()) return _planHasFixedEndDate() ? scheduleTypeALAP : scheduleTypeASAP;
    return scheduleType_;
}

void KSTask::setScheduleType(KSScheduleType type) {
    if (!_isUndoingOrRedoing() && !flags_.isLoading) {
        if (flags_.isSplitChunk) {
            KSTask* next = nextSplitChunk();
            KSTask* previous = previousSplitChunk();
            if (type != scheduleTypeASAP) {
                if (next) {
                    setNoLaterThanConstraintDate(next->endDate());
                    setNoLaterThanConstrainedTaskEnd(KSConstrainedTaskEndEnd);
                }
                if (previous) setNoLaterThanConstraintDate(KSDateTime());
            } else {
                if (previous) {
                    setNoEarlierThanConstraintDate(previous->startDate());
                    setNoEarlierThanConstrainedTaskEnd(KSConstrainedTaskEndStart);
                }
                // The no-later date is cleared here too, as on the other branch.
                if (next) setNoLaterThanConstraintDate(KSDateTime());
            }
        }
        if (isSplitTask_) delaySplitRejoining();
        KSTaskList children;
        _childrenTasks(children);
        for (const auto& child : children)
            child->setScheduleType(type);
    }
    if (children()) return;
    if (!undoableSetter<KSTask>()
             .key("scheduleType")
             .set(scheduleType_, type, &KSTask::setScheduleType))
        return;
    setResourceLeveledDate(KSDateTime());
    invalidateStartDate();
    invalidateEndDate();
}

KSValue KSTask::scheduleTypeNumber() const {
    if (_isGroupTask()) return KSValue();
    return KSValue(static_cast<long long>(scheduleType()));
}

void KSTask::setScheduleTypeNumber(const KSValue& number) {
    if (number.isNull()) return;
    setScheduleType(number.intValue() == scheduleTypeALAP ? scheduleTypeALAP : scheduleTypeASAP);
    if (!_isGroupTask() || weak_from_this().expired()) return;
    // A group's cell shows no type of its own: it is told to read again once the edit
    // has passed.
    std::weak_ptr<KSBaseObject> weak = weak_from_this();
    KSRunLoop::current().performAfterDelay(
        sharedFromThis<KSTask>(),
        [weak] {
            if (auto self = std::static_pointer_cast<KSTask>(weak.lock()))
                self->_swapScheduleTypeNumberBackToNil();
        },
        0.0);
}

void KSTask::_swapScheduleTypeNumberBackToNil() {
    willChangeValueForKey("scheduleTypeNumber");
    didChangeValueForKey("scheduleTypeNumber");
}

// --- Setting dates
// -------------------------------------------------------------------------------- The milestone
// rows are crosswise on purpose: a milestone is one point, so the date given for its derived side
// binds the opposite slot.

void KSTask::setStartDate(const KSDateTime& date) {
    if (date.isNull()) return;
    if (isAsSoonAsPossible()) {
        setResourceLeveledDate(KSDateTime());
        setNoEarlierThanConstraintDate(date);
        setNoEarlierThanConstrainedTaskEnd(KSConstrainedTaskEndStart);
    } else if (isMilestone()) {
        setNoLaterThanConstraintDate(date);
        setNoLaterThanConstrainedTaskEnd(KSConstrainedTaskEndEnd);
    } else {
        // Moving the derived start of an ALAP task changes its effort.
        _setEffortBasedOnStartDate(date);
    }
    if (isStartDateLocked()) setStartLockedDate(startDate());
    setUndoActionName("Set Start Date");
}

void KSTask::setEndDate(const KSDateTime& date) {
    if (date.isNull()) return;
    if (isAsLateAsPossible()) {
        setResourceLeveledDate(KSDateTime());
        setNoLaterThanConstraintDate(date);
        setNoLaterThanConstrainedTaskEnd(KSConstrainedTaskEndEnd);
    } else if (isMilestone()) {
        setNoEarlierThanConstraintDate(date);
        setNoEarlierThanConstrainedTaskEnd(KSConstrainedTaskEndStart);
    } else {
        _setEffortBasedOnEndDate(date);
    }
    if (isEndDateLocked()) setEndLockedDate(endDate());
    setUndoActionName("Set End Date");
}

void KSTask::setDesiredStartDate(const KSDateTime& date) {
    if (date.isNull()) return;
    KSDateTime limit = currentStartLimit();
    if (!limit.isNull() && limit.compare(date) > 0) {
        // The limits already hold the task past the date: ask for its end instead.
        setNoLaterThanConstraintDate(endDateForStartDate(date));
        setNoLaterThanConstrainedTaskEnd(KSConstrainedTaskEndEnd);
    } else {
        setNoEarlierThanConstraintDate(date);
        setNoEarlierThanConstrainedTaskEnd(KSConstrainedTaskEndStart);
    }
}

void KSTask::setResourceLeveledDate(const KSDateTime& date) {
    KSDateTime value = date;
    // Only a task with assignments keeps a leveled date.
    if (!flags_.isLoading && (value.isNull() || !hasAssignments())) value = KSDateTime();
    // Equal: two nulls, or two dates of the same moment.
    if (!undoableSetter<KSTask>()
             .key("resourceLeveledDate")
             .set(resourceLeveledDate_, value, &KSTask::setResourceLeveledDate))
        return;
    if (value.isNull()) _setResourceLevelingDelay(0.0);
    invalidateAbsoluteEndLimit();
    invalidateCurrentEndLimit();
    invalidateAbsoluteStartLimit();
    invalidateCurrentStartLimit();
}

void KSTask::clearLevelingForTasks(const KSTaskPointerSet* tasks) {
    KSTask* p = parentTask();
    bool acts = !tasks || tasks->count(this) || (flags_.isSplitChunk && p && tasks->count(p));
    if (acts) {
        if (completed() < 1.0 && !resourceLeveledDate_.isNull())
            setResourceLeveledDate(KSDateTime());
        removeIssuesOfKind(KSIssue::levelingIssueKind());
    }
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        child->clearLevelingForTasks(tasks);
}

// --- Edit cycle
// -----------------------------------------------------------------------------------

void KSTask::_needsSchedulingRecomputation() {
    KSScenario* owner = scenario();
    if (!owner || flags_.willRevalidateSchedule) return;
    flags_.willRevalidateSchedule = 1;
    owner->taskNeedsSchedulingRecomputation(*this);
    // A task that must be scheduled again has changed the plan; the scenario posts its
    // change notice once per pass, after the recomputation it has just asked for.
    if (!flags_.isPrototype) owner->projectDidChange();
}

void KSTask::_recomputeScheduling() {
    KSScenario* owner = scenario();
    if (!owner) return;
    startDate();
    endDate();
    currentStartLimit();
    currentEndLimit();
    earliestPossibleEnd();
    latestPossibleStart();
    absoluteStartLimit();
    absoluteEndLimit();
    if (isHammockTask()) {
        // A hammock's issues are raised from the dates just read, before its effort
        // follows them: setting the effort empties the hammock's date caches, and reading
        // them again in the middle of the pass would fill them from its neighbours'
        // unsettled dates. The effort never moves a hammock's dates, so the issues are
        // the same ones.
        removeIssuesOfKind(KSIssue::schedulingIssueKind());
        _computeSchedulingIssues();
        // A hammock's effort is the result of its dates.
        KSUndoManager* um = undoManager();
        if (um) um->disableUndoRegistration();
        _setEffortBasedOnEndDate(endDate());
        if (um) um->enableUndoRegistration();
    }
    _announceDatesAfterRecompute();
    flags_.willRevalidateSchedule = 0;
    if (owner->rootTask().get() == this) {
        owner->willChangeValueForKey("startDate");
        owner->didChangeValueForKey("startDate");
        owner->willChangeValueForKey("endDate");
        owner->didChangeValueForKey("endDate");
    }
    if (!isHammockTask()) {
        removeIssuesOfKind(KSIssue::schedulingIssueKind());
        _computeSchedulingIssues();
    }
    _checkStyle();
}

void KSTask::_checkStyle() {
    // A chunk shows as its task: it shares the parent's style object.
    if (isSplitChunk()) {
        auto* parentTask = dynamic_cast<KSTask*>(parent());
        std::shared_ptr<HLStyle> shared = parentTask ? parentTask->style() : nullptr;
        if (shared && shared != storedStyle()) {
            willChangeValueForKey("style");
            setStoredStyle(shared);
            didChangeValueForKey("style");
        }
    }
    // The status style (completed, past due) follows the dates just computed.
    std::shared_ptr<HLStyle> current = storedStyle();
    if (!current || !scenario() || endDate_.isNull()) return;
    HLStyleList cascade = cascadeStyles();
    if (cascade == current->cascadeStyles()) return;
    KSUndoManager* um = undoManager();
    if (um) um->disableUndoRegistration();
    willChangeValueForKey("style");
    current->setCascadeStyles(std::move(cascade));
    didChangeValueForKey("style");
    if (um) um->enableUndoRegistration();
}

void KSTask::_announceDatesAfterRecompute() {
    // The announcements follow the change: a signal to re-read. A task nobody observes
    // has nobody to tell (these keys are no tracked attributes).
    if (observationCount() == 0) return;
    static const char* const keys[] = {
        "startDate",          "endDate",          "currentStartLimit", "currentEndLimit",
        "absoluteStartLimit", "absoluteEndLimit", "freeSlack",         "totalSlack"};
    for (const char* key : keys) {
        willChangeValueForKey(key);
        didChangeValueForKey(key);
    }
}

void KSTask::flushQueuedChanges() {
    if (KSScenario* owner = scenario()) owner->recomputeSchedulingForTasks();
}

void KSTask::undoGroupDidOpen() {
    flags_.delayingSplitRejoining = 1;
}

void KSTask::undoGroupWillClose() {
    if (scenario()) enableSplitRejoining();
}

}  // namespace kestrum
