// KSTask: children, the roll-up of totals into groups, loading, gathering walks, and
// joining and leaving a plan.
#include <algorithm>

#include "Model/engine/KSCriticalPath.h"
#include "Model/engine/KSIssue.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

namespace {

bool isEarlier(const KSDateTime& a, const KSDateTime& b) {
    return !a.isNull() && !b.isNull() && a.compare(b) < 0;
}

bool isLater(const KSDateTime& a, const KSDateTime& b) {
    return !a.isNull() && !b.isNull() && a.compare(b) > 0;
}

}  // namespace

// --- Children -------------------------------------------------------------------------------

void KSTask::addChildTask(const std::shared_ptr<KSTask>& task) {
    insertObjectInChildrenAtIndex(task, countOfChildren());
}

void KSTask::insertChildTaskAtIndex(const std::shared_ptr<KSTask>& task, std::size_t index) {
    insertObjectInChildrenAtIndex(task, index);
}

void KSTask::removeChildTask(const std::shared_ptr<KSTask>& task) {
    if (!task) return;
    if (auto index = indexOfChild(*task)) removeObjectFromChildrenAtIndex(*index);
}

void KSTask::replaceChildTaskAtIndexWithTask(std::size_t index,
                                             const std::shared_ptr<KSTask>& task) {
    replaceObjectInChildrenAtIndexWithObject(index, task);
}

KSTask* KSTask::parentTask() const {
    return static_cast<KSTask*>(parent());
}

std::shared_ptr<KSTask> KSTask::childTaskAtIndex(std::size_t index) const {
    return std::static_pointer_cast<KSTask>(objectInChildrenAtIndex(index));
}

void KSTask::insertObjectInChildrenAtIndex(const std::shared_ptr<KSProjectItem>& item,
                                           std::size_t index) {
    auto child = std::dynamic_pointer_cast<KSTask>(item);
    if (!child || child.get() == this || isAncestor(*child)) return;
    KSProjectItem* oldParent = child->parent();
    // Adding a child is how a task becomes a group.
    if (!children()) setTaskType(taskTypeGroup);
    // A task whose stored type already says group but that lost its list gets it back.
    if (!children() && taskType_ == taskTypeGroup) KSProjectItem::setIsGroup(true);
    if (!children()) return;
    KSProjectItem::insertObjectInChildrenAtIndex(item, index);
    if (child->parent() != this) return;
    if (!flags_.isLoading && oldParent != this) {
        _childDidChangeEffortAndDone(child.get(), child->effort_, child->effortDone());
        _childDidChangeEstimateMinExpectedMax(child.get(), child->minEffortEstimate_,
                                              child->expectedEffortEstimate_,
                                              child->maxEffortEstimate_);
    }
    child->invalidateAllDates();
    // Only what the child can extend is invalidated.
    if (!earliestPossibleEnd_.isNull() &&
        isEarlier(earliestPossibleEnd_, child->earliestPossibleEnd()))
        invalidateEarliestPossibleEnd();
    if (!latestPossibleStart_.isNull() &&
        isLater(latestPossibleStart_, child->latestPossibleStart()))
        invalidateLatestPossibleStart();
    if (!startDate_.isNull() && isLater(startDate_, child->startDate())) invalidateStartDate();
    if (!endDate_.isNull() && isEarlier(endDate_, child->endDate())) invalidateEndDate();
    if (isSplitTask_) {
        _splitChunksDidChange();
        _performSplitOrdering();
    }
}

void KSTask::removeObjectFromChildrenAtIndex(std::size_t index) {
    std::shared_ptr<KSTask> child = childTaskAtIndex(index);
    if (!child) return;
    const KSDateTime childEarliestEnd = child->earliestPossibleEnd_;
    const KSDateTime childLatestStart = child->latestPossibleStart_;
    const KSDateTime childStart = child->startDate_;
    const KSDateTime childEnd = child->endDate_;
    KSProjectItem::removeObjectFromChildrenAtIndex(index);
    _childDidChangeEffortAndDone(child.get(), -child->effort_, -child->effortDone());
    _childDidChangeEstimateMinExpectedMax(child.get(), -child->minEffortEstimate_,
                                          -child->expectedEffortEstimate_,
                                          -child->maxEffortEstimate_);
    recheckDependencies();
    // The child may have been what set one of the group's dates.
    if (earliestPossibleEnd_.isEqualToDate(childEarliestEnd)) invalidateEarliestPossibleEnd();
    if (latestPossibleStart_.isEqualToDate(childLatestStart)) invalidateLatestPossibleStart();
    if (startDate_.isEqualToDate(childStart)) invalidateStartDate();
    if (endDate_.isEqualToDate(childEnd)) invalidateEndDate();
    _splitChunksDidChange();
}

void KSTask::replaceObjectInChildrenAtIndexWithObject(std::size_t index,
                                                      const std::shared_ptr<KSProjectItem>& item) {
    std::shared_ptr<KSTask> old = childTaskAtIndex(index);
    auto replacement = std::dynamic_pointer_cast<KSTask>(item);
    if (!old || !replacement) return;
    _childDidChangeEffortAndDone(old.get(), replacement->effort_ - old->effort_,
                                 replacement->effortDone() - old->effortDone());
    _childDidChangeEstimateMinExpectedMax(
        old.get(), replacement->minEffortEstimate_ - old->minEffortEstimate_,
        replacement->expectedEffortEstimate_ - old->expectedEffortEstimate_,
        replacement->maxEffortEstimate_ - old->maxEffortEstimate_);
    KSProjectItem::replaceObjectInChildrenAtIndexWithObject(index, item);
    replacement->invalidateStartDate();
    invalidateEarliestPossibleEnd();
    invalidateLatestPossibleStart();
    invalidateStartDate();
    invalidateEndDate();
    _splitChunksDidChange();
}

void KSTask::_setParent(KSProjectItem* parent) {
    auto* task = dynamic_cast<KSTask*>(parent);
    // What the loop checks have not seen makes the next recheck search in full.
    const std::uint8_t risk = task && task != this->parent() ? _joiningRisk() : 0;
    if (!parent) _leavingParent();
    KSTask* noted = _noteTaskJoiningParent(task ? this : nullptr);
    KSProjectItem::_setParent(parent);
    if (task) {
        flags_.isSplitChunk = task->isSplitTask_;
        _noteJoiningRisk(risk);
        // A new place in the tree may make a link illegal.
        if (!task->isLoading()) recheckDependencies();
        // The parent's list takes this task only now: what it brings is not seen yet.
        _noteJoiningRisk(risk);
    }
    _noteTaskJoiningParent(noted);
}

void KSTask::childrenDidChange() {
    if (isSplitTask_) return;
    if (!flags_.isLoading) recheckDependencies();
    if (KSScenario* owner = scenario()) owner->tasksNeedRenumbering();
}

void KSTask::positionDidChange() {
    flags_.positionDidChange = 1;
    KSProjectItem::positionDidChange();
}

void KSTask::setIsLoading(bool flag) {
    if (flag == static_cast<bool>(flags_.isLoading)) return;
    flags_.isLoading = flag;
    if (flag || !children()) return;
    // Differences from children were ignored while loading: the totals are summed afresh.
    effort_ = effortDone_ = 0.0;
    minEffortEstimate_ = expectedEffortEstimate_ = maxEffortEstimate_ = 0.0;
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children) {
        effort_ += child->effort_;
        effortDone_ += child->effortDone();
        minEffortEstimate_ += child->minEffortEstimate_;
        expectedEffortEstimate_ += child->expectedEffortEstimate_;
        maxEffortEstimate_ += child->maxEffortEstimate_;
    }
    KSTask* p = parentTask();
    if (effort_ != 0.0 && p) {
        p->_childDidChangeEffortAndDone(this, effort_, effortDone_);
        p->_childDidChangeEstimateMinExpectedMax(this, minEffortEstimate_, expectedEffortEstimate_,
                                                 maxEffortEstimate_);
    }
}

// --- Roll-up --------------------------------------------------------------------------------

void KSTask::_childDidChangeEffortAndDone(KSTask*, double effortDelta, double doneDelta) {
    if (flags_.isLoading || flags_.balancingSplitEfforts) return;
    const double oldEffort = effort_;
    if (effortDelta != 0.0) {
        willChangeValueForKey("effort");
        effort_ += effortDelta;
        didChangeValueForKey("effort");
    }
    if (doneDelta != 0.0) {
        willChangeValueForKey("effortDone");
        effortDone_ += doneDelta;
        didChangeValueForKey("effortDone");
    }
    if (effortDelta != 0.0 || doneDelta != 0.0) _rolledUpWorkDidChange(oldEffort);
    KSUndoManager* um = undoManager();
    if (doneDelta == 0.0 && isSplitTask_ && !(um && um->isUndoingOrRedoing())) {
        _redistributeSplitDone();
    }
    if (KSTask* p = parentTask()) p->_childDidChangeEffortAndDone(this, effortDelta, doneDelta);
}

void KSTask::_redistributeSplitDone() {
    // Completion fills the chunks from the first on.
    flags_.balancingSplitEfforts = 1;
    double left = effortDone_;
    KSTaskList chunks;
    _childrenTasks(chunks);
    for (const auto& chunk : chunks) {
        double share = std::min(chunk->effort_, left);
        if (chunk->effortDone_ != share) chunk->setEffortDone(share);
        left -= share;
    }
    flags_.balancingSplitEfforts = 0;
}

void KSTask::_childDidChangeEstimateMinExpectedMax(KSTask*, double minDelta, double expectedDelta,
                                                   double maxDelta) {
    if (minDelta != 0.0) {
        willChangeValueForKey("minEffortEstimate");
        minEffortEstimate_ += minDelta;
        didChangeValueForKey("minEffortEstimate");
    }
    if (expectedDelta != 0.0) {
        willChangeValueForKey("expectedEffortEstimate");
        expectedEffortEstimate_ += expectedDelta;
        didChangeValueForKey("expectedEffortEstimate");
    }
    if (maxDelta != 0.0) {
        willChangeValueForKey("maxEffortEstimate");
        maxEffortEstimate_ += maxDelta;
        didChangeValueForKey("maxEffortEstimate");
    }
    if (KSTask* p = parentTask())
        p->_childDidChangeEstimateMinExpectedMax(this, minDelta, expectedDelta, maxDelta);
}

void KSTask::_childDidChangeStaticCost(KSTask*, double delta) {
    _internalSetStaticCost(staticCost_ + delta);
}

void KSTask::_internalSetStaticCost(double cost) {
    KSTaskList children;
    _childrenTasks(children);
    willChangeValueForKey("staticCost");
    willChangeValueForKey("totalCost");
    for (const auto& child : children) {
        child->willChangeValueForKey("staticCost");
        child->willChangeValueForKey("totalCost");
    }
    if (KSTask* p = parentTask()) p->_childDidChangeStaticCost(this, cost - staticCost_);
    staticCost_ = cost;
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
        (*it)->didChangeValueForKey("totalCost");
        (*it)->didChangeValueForKey("staticCost");
    }
    didChangeValueForKey("totalCost");
    didChangeValueForKey("staticCost");
}

// --- Gathering ---------------------------------------------------------------------------------

void KSTask::addDescendentsWithResourcesToArray(KSTaskList& array) const {
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children) {
        if (!child->children() && child->hasAssignments() &&
            !child->hasIssuesOfKind(KSIssue::assignmentIssueKind())) {
            array.push_back(child);
        }
        child->addDescendentsWithResourcesToArray(array);
    }
}

void KSTask::addStandardTaskDescendentsToArray(KSTaskList& array) const {
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children) {
        if (child->isGroup()) {
            child->addStandardTaskDescendentsToArray(array);
        } else if (child->isStandardTask()) {
            array.push_back(child);
        }
    }
}

void KSTask::addStandardTaskAndMilestoneDescendentsToArray(KSTaskList& array) const {
    // Below a group only standard tasks are gathered: a milestone is included only when
    // it is the receiver itself.
    if (isGroup() || isSplitTask_) {
        addStandardTaskDescendentsToArray(array);
        return;
    }
    if (isStandardTask() || isMilestone()) {
        array.push_back(std::const_pointer_cast<KSTask>(sharedFromThis<KSTask>()));
    }
}

void KSTask::addLeafTasksToArray(KSTaskList& array) const {
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children) {
        if (child->KSProjectItem::isGroup() || child->isSplitTask_) {
            child->addLeafTasksToArray(array);
        } else {
            array.push_back(child);
        }
    }
}

std::optional<KSTaskList> KSTask::leafDescendentSet() const {
    if (parent()) return std::nullopt;
    KSTaskList leaves;
    addLeafTasksToArray(leaves);
    return leaves;
}

KSTaskList KSTask::milestones() const {
    KSTaskList found;
    for (const auto& task : allTasksButSelf()) {
        if (task->isMilestone()) found.push_back(task);
    }
    return found;
}

KSTaskList KSTask::tasksWithName(const std::string& name) const {
    KSTaskList found;
    if (title() == name) found.push_back(std::const_pointer_cast<KSTask>(sharedFromThis<KSTask>()));
    for (const auto& task : allTasksButSelf()) {
        if (task->title() == name) found.push_back(task);
    }
    return found;
}

KSTaskList KSTask::unassignedTasks() const {
    KSTaskList found;
    for (const auto& task : allTasksButSelf()) {
        if (!task->isGroup() && !task->isSplitTask_ && task->parent() && !task->hasAssignments())
            found.push_back(task);
    }
    return found;
}

KSTaskList KSTask::allTasksButSelf() const {
    KSProjectItemList items = allItemsButSelf();
    KSTaskList tasks;
    tasks.reserve(items.size());
    for (const auto& item : items)
        tasks.push_back(std::static_pointer_cast<KSTask>(item));
    return tasks;
}

// --- Joining and leaving a plan ------------------------------------------------------------------

void KSTask::setScenario(KSScenario* scenario) {
    if (scenario == this->scenario()) return;
    _changeInformationFromProjectToProject(this->scenario(), scenario);
}

void KSTask::_changeInformationFromProjectToProject(KSScenario* oldScenario,
                                                    KSScenario* newScenario) {
    const bool oldValid = oldScenario && !oldScenario->isInvalid();
    const bool unassigned = !isGroup() && !hasAssignments() && (!oldScenario || oldValid);
    const bool milestone = isMilestone();
    for (KSScenario* s : {oldScenario, newScenario}) {
        if (!s) continue;
        if (unassigned) s->willChangeValueForKey("unassignedTasks");
        if (milestone) s->milestonesWillChange();
    }
    KSProjectItem::setScenario(newScenario);
    flags_.willRevalidateSchedule = 0;
    _needsSchedulingRecomputation();
    int errors = 0;
    int warnings = 0;
    countIssues(&errors, &warnings);
    if (oldScenario && !flags_.isLoading && oldValid) {
        oldScenario->taskWillBeRemoved(*this);
        oldScenario->changeErrorsAndWarnings(-errors, -warnings);
        KSUndoManager* oldUndo = oldScenario->undoManager();
        for (const auto& link : std::vector<std::shared_ptr<KSDependency>>(prerequisites_))
            link->removeWithUndoManager(oldUndo);
        for (const auto& link : std::vector<std::shared_ptr<KSDependency>>(dependents_))
            link->removeWithUndoManager(oldUndo);
        _removeAllAssignments();
    }
    if (newScenario) newScenario->taskWillBeInserted(*this);
    for (KSScenario* s : {oldScenario, newScenario}) {
        if (!s) continue;
        if (unassigned) s->didChangeValueForKey("unassignedTasks");
        if (milestone) s->milestonesDidChange();
    }
    flags_.delayingSplitRejoining = 1;
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        child->setScenario(newScenario);
    flags_.delayingSplitRejoining = 0;
    if (newScenario) taskTypeChanged();
}

void KSTask::deleteSelf() {
    auto self = sharedFromThis<KSTask>();
    // A chunk behaves as a plain task while it leaves.
    flags_.isSplitChunk = 0;
    _recursiveDisconnectFromProject();
    KSScenario* kept = scenario();
    if (KSProjectItem* p = parent()) {
        if (auto index = p->indexOfChild(*this)) p->removeObjectFromChildrenAtIndex(*index);
    }
    // The links and counts are gone already: the subtree leaves its plan quietly.
    std::vector<KSTask*> stack{this};
    while (!stack.empty()) {
        KSTask* task = stack.back();
        stack.pop_back();
        task->KSProjectItem::setScenario(nullptr);
        KSTaskList children;
        task->_childrenTasks(children);
        for (const auto& child : children)
            stack.push_back(child.get());
    }
    _setParent(nullptr);
    // The change engine hears of the deletions after all links are gone.
    if (kept) _recursiveWillRemoveFromProject(kept);
}

void KSTask::_recursiveDisconnectFromProject() {
    KSScenario* owner = scenario();
    if (owner && !flags_.isLoading) {
        int errors = 0;
        int warnings = 0;
        countIssues(&errors, &warnings);
        if (errors || warnings) owner->changeErrorsAndWarnings(-errors, -warnings);
        KSUndoManager* um = undoManager();
        for (const auto& link : std::vector<std::shared_ptr<KSDependency>>(prerequisites_))
            link->removeWithUndoManager(um);
        for (const auto& link : std::vector<std::shared_ptr<KSDependency>>(dependents_))
            link->removeWithUndoManager(um);
        _removeAllAssignments();
        if (nonretainedCriticalPathRoot_) {
            for (const auto& path : owner->criticalPaths()) {
                if (path.get() == nonretainedCriticalPathRoot_) {
                    owner->removeCriticalPath(path);
                    break;
                }
            }
        }
    }
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        child->_recursiveDisconnectFromProject();
}

void KSTask::_recursiveWillRemoveFromProject(KSScenario* scenario) {
    scenario->taskWillBeRemoved(*this);
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        child->_recursiveWillRemoveFromProject(scenario);
}

void KSTask::_removeTasksAbsentFromSet(const KSTaskPointerSet& keep) {
    if (!keep.count(this)) {
        deleteSelf();
        return;
    }
    KSTaskList children;
    _childrenTasks(children);
    for (auto it = children.rbegin(); it != children.rend(); ++it)
        (*it)->_removeTasksAbsentFromSet(keep);
}

}  // namespace kestrum
