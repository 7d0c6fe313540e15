// KSTask: date locks and the two constraint slots.
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSNotificationCenter.h"

namespace kestrum {

namespace {
void postStateChange(KSNotificationName name, KSTask* task) {
    KSNotificationCenter::defaultCenter().postNotificationName(name, task);
}
}  // namespace

// --- Locks -------------------------------------------------------------------------------------

bool KSTask::isStartDateLocked() const {
    if (isSplitTask_ && hasChildren()) return childTaskAtIndex(0)->isStartDateLocked();
    return !startLockedDate_.isNull();
}

bool KSTask::isEndDateLocked() const {
    if (isSplitTask_ && hasChildren())
        return childTaskAtIndex(countOfChildren() - 1)->isEndDateLocked();
    return !endLockedDate_.isNull();
}

void KSTask::setIsStartDateLocked(bool flag) {
    if (flag == isStartDateLocked()) return;
    if (flag && _isGroupTask()) {
        KSLog("Not allowing locked start dates");
        return;
    }
    if (isSplitTask_ && hasChildren()) {
        childTaskAtIndex(0)->setIsStartDateLocked(flag);
        postStateChange(KSTaskStartDateStateChangeNotification, this);
        return;
    }
    if (flag) {
        KSDateTime date = startDate();
        // A task held at both ends can only vary its effort.
        if (isEndDateLocked()) setResourceAssignmentType(KSResourceAssignmentFixedDuration);
        setStartLockedDate(date);
        setUndoActionName("Lock Start Date");
    } else {
        setStartLockedDate(KSDateTime());
        setUndoActionName("Unlock Start Date");
    }
    postStateChange(KSTaskStartDateStateChangeNotification, this);
}

void KSTask::setIsEndDateLocked(bool flag) {
    if (flag == isEndDateLocked()) return;
    if (flag && _isGroupTask()) return;
    if (isSplitTask_ && hasChildren()) {
        childTaskAtIndex(countOfChildren() - 1)->setIsEndDateLocked(flag);
        postStateChange(KSTaskEndDateStateChangeNotification, this);
        return;
    }
    if (flag) {
        if (isStartDateLocked()) setResourceAssignmentType(KSResourceAssignmentFixedDuration);
        setEndLockedDate(endDate());
        setUndoActionName("Lock End Date");
    } else {
        setEndLockedDate(KSDateTime());
        setUndoActionName("Unlock End Date");
    }
    postStateChange(KSTaskEndDateStateChangeNotification, this);
}

void KSTask::setStartLockedDate(const KSDateTime& date) {
    if (!date.isNull() && _isGroupTask()) {
        KSLog("can't lock start on group");
        return;
    }
    willChangeValueForKey("startLockedDate");
    registerUndo<KSTask>([old = startLockedDate_](KSTask& t) { t.setStartLockedDate(old); });
    setUndoActionName("Set Start Locked Date");
    startLockedDate_ = date;
    didChangeValueForKey("startLockedDate");
    invalidateStartDate();
    invalidateEndDate();
}

void KSTask::setEndLockedDate(const KSDateTime& date) {
    if (!date.isNull() && _isGroupTask()) {
        KSLog("can't lock end on group");
        return;
    }
    willChangeValueForKey("endLockedDate");
    registerUndo<KSTask>([old = endLockedDate_](KSTask& t) { t.setEndLockedDate(old); });
    setUndoActionName("Set End Locked Date");
    endLockedDate_ = date;
    didChangeValueForKey("endLockedDate");
    invalidateStartDate();
    invalidateEndDate();
}

// --- Constraints ---------------------------------------------------------------------------------

void KSTask::setNoEarlierThanConstraintDate(const KSDateTime& date) {
    KSDateTime value = date;
    if (flags_.isSplitChunk && !flags_.isLoading) {
        // A chunk cannot start before the chunks around it allow; this only raises it.
        if (KSTask* previous = previousSplitChunk())
            value = KSDateTime::laterDate(value, previous->endDate());
        if (KSTask* next = nextSplitChunk()) {
            KSDateTime nextStart = next->startDate();
            if (!nextStart.isNull())
                value = KSDateTime::laterDate(value, startDateForEndDate(nextStart));
        }
    }
    if (isSplitTask_ && hasChildren()) {
        childTaskAtIndex(0)->setNoEarlierThanConstraintDate(date);
        return;
    }
    if (value.isEqualToDate(noEarlierThanConstraintDate_)) return;
    registerUndo<KSTask>(
        [old = noEarlierThanConstraintDate_](KSTask& t) { t.setNoEarlierThanConstraintDate(old); });
    setUndoActionName("Start Constraint");
    willChangeValueForKey("noEarlierThanConstraintDate");
    noEarlierThanConstraintDate_ = value;
    didChangeValueForKey("noEarlierThanConstraintDate");
    invalidateAbsoluteStartLimit();
    invalidateCurrentStartLimit();
}

void KSTask::setNoLaterThanConstraintDate(const KSDateTime& date) {
    KSDateTime value = date;
    if (flags_.isSplitChunk && !flags_.isLoading) {
        if (KSTask* next = nextSplitChunk())
            value = KSDateTime::earlierDate(value, next->startDate());
    }
    if (isSplitTask_ && hasChildren()) {
        childTaskAtIndex(countOfChildren() - 1)->setNoLaterThanConstraintDate(date);
        return;
    }
    if (value.isEqualToDate(noLaterThanConstraintDate_)) return;
    registerUndo<KSTask>(
        [old = noLaterThanConstraintDate_](KSTask& t) { t.setNoLaterThanConstraintDate(old); });
    setUndoActionName("End Constraint");
    willChangeValueForKey("noLaterThanConstraintDate");
    noLaterThanConstraintDate_ = value;
    didChangeValueForKey("noLaterThanConstraintDate");
    invalidateAbsoluteEndLimit();
    invalidateCurrentEndLimit();
}

void KSTask::setNoEarlierThanConstrainedTaskEnd(KSConstrainedTaskEnd end) {
    if (isSplitTask_ && hasChildren()) {
        // The first chunk's no-earlier slot binds its end, whatever was asked.
        childTaskAtIndex(0)->setNoEarlierThanConstrainedTaskEnd(KSConstrainedTaskEndEnd);
        return;
    }
    if (!setUndoableValue<KSTask>(noEarlierThanEnd_, end, "noEarlierThanConstrainedTaskEnd",
                                  "Start Constraint Type",
                                  &KSTask::setNoEarlierThanConstrainedTaskEnd))
        return;
    invalidateAbsoluteStartLimit();
    invalidateCurrentStartLimit();
    invalidateAbsoluteEndLimit();
    invalidateCurrentEndLimit();
}

void KSTask::setNoLaterThanConstrainedTaskEnd(KSConstrainedTaskEnd end) {
    if (isSplitTask_ && hasChildren()) {
        // Passed to the first chunk, not the last.
        childTaskAtIndex(0)->setNoLaterThanConstrainedTaskEnd(end);
        return;
    }
    if (!setUndoableValue<KSTask>(noLaterThanEnd_, end, "noLaterThanConstrainedTaskEnd",
                                  "Start Constraint Type",
                                  &KSTask::setNoLaterThanConstrainedTaskEnd))
        return;
    invalidateAbsoluteStartLimit();
    invalidateCurrentStartLimit();
    invalidateAbsoluteEndLimit();
    invalidateCurrentEndLimit();
}

KSDateTime KSTask::startAfter() const {
    return noEarlierThanEnd_ == KSConstrainedTaskEndStart ? noEarlierThanConstraintDate_
                                                          : KSDateTime();
}

KSDateTime KSTask::endAfter() const {
    return noEarlierThanEnd_ == KSConstrainedTaskEndEnd ? noEarlierThanConstraintDate_
                                                        : KSDateTime();
}

KSDateTime KSTask::startBefore() const {
    return noLaterThanEnd_ == KSConstrainedTaskEndStart ? noLaterThanConstraintDate_ : KSDateTime();
}

KSDateTime KSTask::endBefore() const {
    return noLaterThanEnd_ == KSConstrainedTaskEndEnd ? noLaterThanConstraintDate_ : KSDateTime();
}

// Clearing one end's view leaves a constraint on the other end alone.
void KSTask::setStartAfter(const KSDateTime& date) {
    if (date.isNull() && noEarlierThanEnd_ != KSConstrainedTaskEndStart) return;
    setNoEarlierThanConstraintDate(date);
    setNoEarlierThanConstrainedTaskEnd(KSConstrainedTaskEndStart);
}

void KSTask::setEndAfter(const KSDateTime& date) {
    if (date.isNull() && noEarlierThanEnd_ != KSConstrainedTaskEndEnd) return;
    setNoEarlierThanConstraintDate(date);
    setNoEarlierThanConstrainedTaskEnd(KSConstrainedTaskEndEnd);
}

void KSTask::setStartBefore(const KSDateTime& date) {
    if (date.isNull() && noLaterThanEnd_ != KSConstrainedTaskEndStart) return;
    setNoLaterThanConstraintDate(date);
    setNoLaterThanConstrainedTaskEnd(KSConstrainedTaskEndStart);
}

void KSTask::setEndBefore(const KSDateTime& date) {
    if (date.isNull() && noLaterThanEnd_ != KSConstrainedTaskEndEnd) return;
    setNoLaterThanConstraintDate(date);
    setNoLaterThanConstrainedTaskEnd(KSConstrainedTaskEndEnd);
}

std::string KSTask::localizedNoEarlierThanConstraintTypeName() const {
    return KSLocalizedString(noEarlierThanEnd_ == KSConstrainedTaskEndStart
                                 ? "Start no earlier than"
                                 : "End no earlier than Type");
}

std::string KSTask::localizedNoLaterThanConstraintTypeName() const {
    return KSLocalizedString(noLaterThanEnd_ == KSConstrainedTaskEndStart
                                 ? "Start no later than"
                                 : "End no later than Type");
}

void KSTask::projectStartWillChangeBy(std::int64_t days) {
    // The leveled date and the locks move without undo; the constraints through their
    // setters, with undo.
    resourceLeveledDate_ = resourceLeveledDate_.dateByAddingDays(days);
    startLockedDate_ = startLockedDate_.dateByAddingDays(days);
    endLockedDate_ = endLockedDate_.dateByAddingDays(days);
    setNoEarlierThanConstraintDate(noEarlierThanConstraintDate_.dateByAddingDays(days));
    setNoLaterThanConstraintDate(noLaterThanConstraintDate_.dateByAddingDays(days));
    KSTaskList children;
    _childrenTasks(children);
    for (auto it = children.rbegin(); it != children.rend(); ++it)
        (*it)->projectStartWillChangeBy(days);
    invalidateStartDate();
}

}  // namespace kestrum
