// KSScenario: the edit cycle (recomputation, undo-group bracketing, change notices).
#include <algorithm>

#include "Model/engine/KSCriticalPath.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSNotificationCenter.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

// --- Marking ---------------------------------------------------------------------------------

void KSScenario::requestDeferredRecomputation() {
    std::shared_ptr<KSBaseObject> self = weak_from_this().lock();
    if (!self) return;
    KSRunLoop::current().performAfterDelay(
        self, [this] { recomputeSchedulingForTasks(); }, 0.0);
}

void KSScenario::taskNeedsSchedulingRecomputation(KSTask& task) {
    if (task.isPrototype()) return;
    if (task.weak_from_this().expired()) {
        KSLog("taskNeedsSchedulingRecomputation: a task not held by a shared_ptr was ignored");
        return;
    }
    // One deferred call per cycle: the first task in asks for it, and none is asked for
    // while a recomputation runs, since that recomputation picks new tasks up itself.
    if (!flags_.isRecomputingScheduling && tasksNeedingRevalidation_.empty()) {
        requestDeferredRecomputation();
    }
    tasksNeedingRevalidation_.add(task.sharedFromThis<KSTask>());
}

void KSScenario::tasksNeedRenumbering() {
    if (!flags_.isRecomputingScheduling && tasksNeedingRevalidation_.empty()) {
        requestDeferredRecomputation();
    }
    flags_.tasksNeedRenumbering = true;
}

// --- Recomputation -----------------------------------------------------------------------------

void KSScenario::recomputeNumericalOrder() {
    if (!flags_.tasksNeedRenumbering) return;
    if (rootTask_) rootTask_->recomputeNumericalOrder();
    flags_.tasksNeedRenumbering = false;
}

void KSScenario::recomputeSchedulingForTasks() {
    if (flags_.isInvalid || !nonretainedProject_) return;
    std::shared_ptr<KSBaseObject> keepAlive = weak_from_this().lock();
    recomputeNumericalOrder();
    bool leveled = !nonretainedProject_->autoLevelResources();
    flags_.isRecomputingScheduling = true;
    // A change travels one task further per round at most, so a plan settles within as
    // many rounds as it has tasks. Hammocks linked to each other can feed one another's
    // length for ever; past that bound the cycle stops rather than hang the application,
    // and the tasks still waiting keep the dates they have.
    std::size_t rounds = 0;
    std::size_t bound = 0;
    while (!tasksNeedingRevalidation_.empty()) {
        if (++rounds > 64) {
            if (bound == 0) bound = (rootTask_ ? rootTask_->recursiveChildrenCount() : 0) + 64;
            if (rounds > bound) {
                KSLog("%@: scheduling did not settle after %d rounds; %d tasks keep their dates",
                      name(), static_cast<long long>(bound),
                      static_cast<long long>(tasksNeedingRevalidation_.size()));
                tasksNeedingRevalidation_.takeAll();
                break;
            }
        }
        // Tasks dirtied by this batch join the emptied set and run in the next round.
        std::vector<std::shared_ptr<KSTask>> batch = tasksNeedingRevalidation_.takeAll();
        for (const auto& task : batch)
            task->_recomputeScheduling();
        // Leveling moves dates, so it may refill the set; it still runs only once.
        if (tasksNeedingRevalidation_.empty() && !leveled) {
            autolevelingInfoDidChange();
            leveled = true;
        }
    }
    for (const auto& path : std::vector<std::shared_ptr<KSCriticalPath>>(criticalPaths_)) {
        path->recalculatePath();
    }
    flags_.isRecomputingScheduling = false;
}

// --- Leveling ---------------------------------------------------------------------------------

void KSScenario::autolevelingInfoDidChange() {
    if (flags_.delayAutoleveling) {
        flags_.tasksScheduledWhileAutolevelingDelayed = true;
        return;
    }
    if (!nonretainedProject_ || !nonretainedProject_->autoLevelResources()) return;
    // Leveling follows from the edit; it is not an edit of its own to undo.
    KSUndoManager* um = undoManager();
    if (um) um->disableUndoRegistration();
    levelResourcesForTasks(nullptr);
    if (um) um->enableUndoRegistration();
}

void KSScenario::setDelayAutoleveling(bool flag) {
    if (flags_.delayAutoleveling && !flag && tasksNeedingRevalidation_.empty() &&
        flags_.tasksScheduledWhileAutolevelingDelayed && !flags_.isInvalid && rootTask_) {
        // Leveling was owed while delayed: a pass over the root makes it run.
        taskNeedsSchedulingRecomputation(*rootTask_);
    }
    flags_.tasksScheduledWhileAutolevelingDelayed = false;
    flags_.delayAutoleveling = flag;
}

// --- Undo-group bracketing ----------------------------------------------------------------------

void KSScenario::_didOpenUndoGroup(const KSNotification*) {
    KSUndoManager* um = undoManager();
    if (tasksNeedingUndoNotification_ || !um || um->isUndoingOrRedoing()) return;
    // The field is set before recording: the recording may itself open a group, whose
    // notification must find the set already there.
    tasksNeedingUndoNotification_ = std::make_shared<KSTaskSet>();
    _didOpenUndoGroupWithTasks(tasksNeedingUndoNotification_);
}

void KSScenario::_didOpenUndoGroupWithTasks(const std::shared_ptr<KSTaskSet>& tasks) {
    registerUndo<KSScenario>([tasks](KSScenario& s) { s._willCloseUndoGroupWithTasks(tasks); });
    for (const auto& task : std::vector<std::shared_ptr<KSTask>>(tasks->tasks())) {
        task->undoGroupDidOpen();
    }
}

void KSScenario::taskNeedsUndoNotification(KSTask& task) {
    KSUndoManager* um = undoManager();
    if (!um || um->isUndoingOrRedoing()) return;
    if (tasksNeedingUndoNotification_ && tasksNeedingUndoNotification_->contains(&task)) return;
    if (task.weak_from_this().expired()) return;
    _didOpenUndoGroup(nullptr);
    if (!tasksNeedingUndoNotification_) return;
    tasksNeedingUndoNotification_->add(task.sharedFromThis<KSTask>());
    task.undoGroupDidOpen();
}

void KSScenario::_willCloseUndoGroup(const KSNotification*) {
    // Schedules are settled before anything else sees the group end, undoing or not.
    recomputeSchedulingForTasks();
    KSUndoManager* um = undoManager();
    if (!tasksNeedingUndoNotification_ || !um || um->isUndoingOrRedoing()) return;
    std::shared_ptr<KSTaskSet> tasks = std::move(tasksNeedingUndoNotification_);
    tasksNeedingUndoNotification_.reset();
    if (!tasks->empty()) _willCloseUndoGroupWithTasks(tasks);
}

void KSScenario::_willCloseUndoGroupWithTasks(const std::shared_ptr<KSTaskSet>& tasks) {
    for (const auto& task : std::vector<std::shared_ptr<KSTask>>(tasks->tasks())) {
        task->undoGroupWillClose();
    }
    registerUndo<KSScenario>([tasks](KSScenario& s) { s._didOpenUndoGroupWithTasks(tasks); });
}

// --- Change notices -----------------------------------------------------------------------------

void KSScenario::projectDidChange() {
    if (flags_.pendingChangeNotification) return;
    flags_.pendingChangeNotification = true;
    std::shared_ptr<KSBaseObject> self = weak_from_this().lock();
    if (!self) return;
    KSRunLoop::current().performAfterDelay(
        self, [this] { performProjectChanges(); }, 0.0);
}

void KSScenario::performProjectChanges() {
    if (!flags_.pendingChangeNotification) return;
    flags_.pendingChangeNotification = false;
    willChangeValueForKey("milestones");
    milestones_.reset();
    didChangeValueForKey("milestones");
    KSNotificationCenter::defaultCenter().postNotificationName(KSProjectDidChangeNotification,
                                                               this);
}

const std::vector<std::shared_ptr<KSTask>>& KSScenario::milestones() const {
    if (!milestones_) {
        milestones_.emplace();
        if (rootTask_) {
            rootTask_->enumerateObjectsUsingBlock([this](KSProjectItem& item, bool*) {
                auto* task = dynamic_cast<KSTask*>(&item);
                if (task && task->isMilestone())
                    milestones_->push_back(task->sharedFromThis<KSTask>());
            });
        }
    }
    return *milestones_;
}

void KSScenario::milestonesWillChange() {
    willChangeValueForKey("milestones");
    milestones_.reset();
}

void KSScenario::milestonesDidChange() {
    didChangeValueForKey("milestones");
}

}  // namespace kestrum
