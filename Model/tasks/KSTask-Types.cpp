// KSTask: changes of type (task, milestone, group, hammock) and of split state.
#include <algorithm>

#include "Model/engine/KSCriticalPath.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"

namespace kestrum {

namespace {

// Runs `body` with undo registration off: the type change records its own undo, which
// restores the children list and the chunks as a whole.
template <class F>
void withoutUndo(KSUndoManager* um, F&& body) {
    if (um) um->disableUndoRegistration();
    body();
    if (um) um->enableUndoRegistration();
}

}  // namespace

void KSTask::setTaskType(KSTaskType type) {
    setTaskTypeSplitTask(type, false);
}

void KSTask::setTaskTypeSplitTask(KSTaskType type, bool splitTask) {
    setTaskTypeSplitTaskWithSplitChildren(type, splitTask, std::nullopt);
}

void KSTask::setTaskTypeSplitTaskWithSplitChildren(KSTaskType type, bool splitTask,
                                                   const std::optional<KSTaskList>& splitChildren) {
    if (type == taskType_ && splitTask == isSplitTask_) return;
    if (type == taskTypeHammock && !canBecomeHammock()) return;
    const KSTaskType oldType = taskType_;
    const bool wasSplit = isSplitTask_;
    KSScenario* owner = scenario();
    const bool milestonesChange = type == taskTypeMilestone || oldType == taskTypeMilestone;
    if (milestonesChange && owner) owner->milestonesWillChange();

    bool resetEffort = false;
    // A non-empty group only ever changes its split state.
    if (oldType == taskTypeGroup && hasChildren() && splitTask == wasSplit) return;
    if (oldType == taskTypeHammock) resetEffort = !_hasBothStartAndEndPrerequisites();
    if (oldType == taskTypeMilestone && nonretainedCriticalPathRoot_ && owner) {
        for (const auto& path : owner->criticalPaths()) {
            if (path.get() == nonretainedCriticalPathRoot_) {
                owner->removeCriticalPath(path);
                break;
            }
        }
    }

    willChangeValueForKey("taskType");
    std::optional<KSTaskList> oldChunks;
    if (wasSplit) {
        oldChunks.emplace();
        _childrenTasks(*oldChunks);
    }
    registerUndo<KSTask>([oldType, wasSplit, oldChunks](KSTask& t) {
        t.setTaskTypeSplitTaskWithSplitChildren(oldType, wasSplit, oldChunks);
    });
    taskType_ = type;

    if (splitTask && !isSplitTask_) _becomeSplit(splitChildren);
    if (splitTask != isSplitTask_) _changeSplitState(splitTask);
    if (type == taskTypeGroup) {
        _becomeGroup(wasSplit, splitTask);
    } else if (!splitTask) {
        _changeTypeLeavingGroupOrSplit(type, wasSplit, resetEffort);
    } else if (!wasSplit) {
        // The work moves down to the chunks, and with it the assignments.
        _removeAllAssignments();
    }

    setUndoActionName("Set Task Type");
    if (milestonesChange && owner) owner->milestonesDidChange();
    // The walks from the ends first, while the old dates still say whom they reach; then
    // every cache of the task, since each rule reads the type (a hammock's start limit
    // ignores end-aligned links, a plain task's does not).
    invalidateStartDate();
    invalidateEndDate();
    invalidateAllDates();
    didChangeValueForKey("taskType");
    taskTypeChanged();
}

void KSTask::_becomeSplit(const std::optional<KSTaskList>& splitChildren) {
    setEffortDone(0.0);
    _internalChangeEffort(0.0);
    setNoEarlierThanConstraintDate(KSDateTime());
    setNoLaterThanConstraintDate(KSDateTime());
    willChangeValueForKey("childrenSet");
    KSUndoManager* um = undoManager();
    withoutUndo(um, [this] {
        if (!KSProjectItem::isGroup()) KSProjectItem::setIsGroup(true);
    });
    if (splitChildren) {
        double effortSum = 0.0;
        double doneSum = 0.0;
        for (const auto& chunk : *splitChildren) {
            if (!chunk) continue;
            effortSum += chunk->effort_;
            doneSum += chunk->effortDone_;
            withoutUndo(um, [&] {
                KSProjectItem::insertObjectInChildrenAtIndex(chunk, countOfChildren());
            });
        }
        _internalChangeEffort(effortSum);
        setEffortDone(doneSum);
        for (const auto& chunk : *splitChildren) {
            if (!chunk) continue;
            chunk->_setParent(this);
            chunk->invalidateAllDates();
        }
        _performSplitOrdering();
    }
    didChangeValueForKey("childrenSet");
}

void KSTask::_changeSplitState(bool splitTask) {
    willChangeValueForKey("isSplitTask");
    KSTaskList chunks;
    _childrenTasks(chunks);
    for (const auto& chunk : chunks)
        chunk->willChangeSplitChunkiness();
    isSplitTask_ = splitTask;
    for (const auto& chunk : chunks) {
        if (splitTask)
            chunk->_becomeSplitChunk();
        else
            chunk->_notSplitChunk();
    }
    invalidateAllDates();
    if (KSScenario* owner = scenario()) owner->tasksNeedRenumbering();
    for (const auto& chunk : chunks)
        chunk->didChangeSplitChunkiness();
    didChangeValueForKey("isSplitTask");
}

void KSTask::_becomeGroup(bool wasSplit, bool splitTask) {
    setEffortDone(0.0);
    _unlockBothEnds();
    // A group accepts no link into its end.
    for (const auto& link : std::vector<std::shared_ptr<KSDependency>>(prerequisites_))
        link->setDependentAlignedToEnd(false);
    setResourceLeveledDate(KSDateTime());
    withoutUndo(undoManager(), [this] { KSProjectItem::setIsGroup(true); });
    _removeAllAssignments();
    // A split parent that becomes a group keeps its effort: its chunks become its children.
    if (splitTask || !wasSplit) {
        _internalChangeEffort(0.0);
        setMinEffortEstimate(0.0);
        setExpectedEffortEstimate(0.0);
        setMaxEffortEstimate(0.0);
    }
}

void KSTask::_changeTypeLeavingGroupOrSplit(KSTaskType type, bool wasSplit, bool resetEffort) {
    const double fraction = completed();
    double newEffort = effort_;
    double newDone = effortDone_;
    KSTaskList former;
    _childrenTasks(former);
    if (former.empty()) {
        if (effort_ == 0.0 || resetEffort) {
            newEffort = _planDefaultTaskEffort();
            newDone = fraction * newEffort;
        }
    } else {
        // Leaving a split: the chunks' totals and their outer constraints come back to the
        // task. The first chunk keeps the task's own no-earlier constraint from the split.
        newEffort = 0.0;
        newDone = 0.0;
        for (const auto& chunk : former) {
            newEffort += chunk->effort_;
            newDone += chunk->effortDone_;
        }
        const KSTask& first = *former.front();
        const KSTask& last = *former.back();
        setResourceLeveledDate(first.resourceLeveledDate_);
        setNoEarlierThanConstraintDate(first.noEarlierThanConstraintDate_);
        setNoEarlierThanConstrainedTaskEnd(KSConstrainedTaskEndStart);
        setNoLaterThanConstraintDate(last.noLaterThanConstraintDate_);
        setNoLaterThanConstrainedTaskEnd(KSConstrainedTaskEndEnd);
    }
    KSUndoManager* um = undoManager();
    if (KSProjectItem::isGroup()) withoutUndo(um, [this] { KSProjectItem::setIsGroup(false); });
    if (wasSplit) {
        withoutUndo(um, [&] {
            for (const auto& chunk : former)
                chunk->deleteSelf();
        });
    }
    switch (type) {
        case taskTypeTask:
            _internalChangeEffort(newEffort);
            setEffortDone(newDone);
            break;
        case taskTypeMilestone:
            _internalChangeEffort(0.0);
            setCompleted(fraction >= 1.0 ? 1.0 : 0.0);
            break;
        case taskTypeHammock:
            _unlockBothEnds();
            invalidateCurrentEndLimit();
            invalidateAbsoluteEndLimit();
            invalidateCurrentStartLimit();
            invalidateAbsoluteStartLimit();
            invalidateEndDate();
            break;
        case taskTypeGroup:
            break;
    }
}

void KSTask::_unlockBothEnds() {
    setIsStartDateLocked(false);
    setIsEndDateLocked(false);
}

}  // namespace kestrum
