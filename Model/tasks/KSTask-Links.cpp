// KSTask: the task's side of its links: the two lists and their hooks, which links are
// allowed, chains, the controlling neighbours, the string form and the bulk operations.
#include <algorithm>
#include <unordered_set>

#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSScheduling.h"

namespace kestrum {

namespace {

bool isLater(const KSDateTime& a, const KSDateTime& b) {
    return !a.isNull() && !b.isNull() && a.compare(b) > 0;
}

}  // namespace

// --- The lists and their hooks
// ---------------------------------------------------------------------

void KSTask::_addPrerequisite(const std::shared_ptr<KSDependency>& link) {
    if (!link ||
        std::find(prerequisites_.begin(), prerequisites_.end(), link) != prerequisites_.end())
        return;
    willChangeValueForKey("prerequisites");
    prerequisites_.push_back(link);
    // A link read from a file is checked with the whole plan once reading is done.
    if (flags_.isLoading && link->isActive()) loopCheckWasBypassed();
    // A link that comes in off may be allowed on by the next walk of fixed loops.
    if (!link->isActive()) inactiveLinksMayComeBack();
    if (!flags_.isLoading) {
        // A link is never refused: one that may not be, or that closes a loop, stays in
        // the lists turned off, with an error on this task.
        KSDependencyList loop;
        if (!wouldBeAllowedPrerequisite(link->prerequisite())) {
            _deactivatePrerequisiteInLoop(link, &loop);
        } else if (_dependencyWouldCauseDependencyLoop(*link, &loop)) {
            _deactivatePrerequisiteInLoop(link, &loop);
        } else {
            _updatePrerequisiteAlignments(*link);
        }
    }
    // The present limit moves only when the new link can raise it.
    if (!currentStartLimit_.isNull()) {
        KSDateTime bound = link->dateConstraint();
        if (!bound.isNull() && currentStartLimit_.compare(bound) <= 0)
            invalidateCurrentStartLimit();
    }
    invalidateAbsoluteStartLimit();
    performSplitRejoining();
    didChangeValueForKey("prerequisites");
    setUndoActionName("Set Dependency");
}

void KSTask::_removePrerequisite(const KSDependency& link) {
    auto it = std::find_if(prerequisites_.begin(), prerequisites_.end(),
                           [&](const auto& l) { return l.get() == &link; });
    if (it == prerequisites_.end()) return;
    std::shared_ptr<KSDependency> keep = *it;
    _prerequisiteWillChange(link);
    const bool wasActive = link.isActive();
    prerequisites_.erase(it);
    // A link that goes may free one that was turned off for closing a loop with it.
    if (wasActive) {
        inactiveLinksMayComeBack();
        _findFixedDependencyLoops();
    } else {
        _removeLoopIssueForDependency(link);
    }
    _prerequisiteDidChange(link);
}

void KSTask::_addDependent(const std::shared_ptr<KSDependency>& link) {
    if (!link || std::find(dependents_.begin(), dependents_.end(), link) != dependents_.end())
        return;
    willChangeValueForKey("dependents");
    dependents_.push_back(link);
    didChangeValueForKey("dependents");
    invalidateAbsoluteEndLimit();
    invalidateCurrentEndLimit();
}

void KSTask::_removeDependent(const KSDependency& link) {
    auto it = std::find_if(dependents_.begin(), dependents_.end(),
                           [&](const auto& l) { return l.get() == &link; });
    if (it == dependents_.end()) return;
    std::shared_ptr<KSDependency> keep = *it;
    willChangeValueForKey("dependents");
    dependents_.erase(it);
    didChangeValueForKey("dependents");
    invalidateAbsoluteEndLimit();
    invalidateCurrentEndLimit();
}

void KSTask::_prerequisiteWillChange(const KSDependency&) {
    willChangeValueForKey("prerequisites");
}

void KSTask::_prerequisiteDidChange(const KSDependency& link) {
    _updatePrerequisiteAlignments(link);
    invalidateAbsoluteStartLimit();
    invalidateCurrentStartLimit();
    performSplitRejoining();
    didChangeValueForKey("prerequisites");
}

void KSTask::_dependentDidChange(const KSDependency&) {
    invalidateAbsoluteEndLimit();
    invalidateCurrentEndLimit();
    willChangeValueForKey("dependents");
    didChangeValueForKey("dependents");
}

void KSTask::_updatePrerequisiteAlignments(const KSDependency& link) {
    if (link.dependentAlignedToEnd()) {
        flags_.hasEndingPrerequisites = 1;
        return;
    }
    if (!flags_.hasEndingPrerequisites) return;
    flags_.hasEndingPrerequisites = std::any_of(
        prerequisites_.begin(), prerequisites_.end(),
        [&](const auto& other) { return other.get() != &link && other->dependentAlignedToEnd(); });
}

// --- Replacing the lists ------------------------------------------------------------------------

void KSTask::setPrerequisites(const KSDependencyList& links) {
    // The given objects may be the present links themselves: keep them while reading.
    const KSDependencyList given = links;
    clearPrerequisites();
    for (const auto& other : given) {
        if (!other || !wouldBeAllowedPrerequisite(other->prerequisite())) continue;
        KSDictionary archive = other->archiveDictionary();
        auto link =
            KSDependency::dependencyWithPrerequisiteAndDependent(other->prerequisite(), this);
        link->loadFromArchiveDictionary(archive);
        other->remove();
    }
}

void KSTask::clearPrerequisites() {
    while (!prerequisites_.empty()) {
        std::shared_ptr<KSDependency> link = prerequisites_.back();
        link->remove();
        // A link that could not leave the list (a ghost in it) is taken out directly.
        if (!prerequisites_.empty() && prerequisites_.back() == link) _removePrerequisite(*link);
    }
}

void KSTask::setDependents(const KSDependencyList& links) {
    const KSDependencyList given = links;
    clearDependents();
    for (const auto& other : given) {
        KSTask* after = other ? other->dependent() : nullptr;
        if (!after || !after->wouldBeAllowedPrerequisite(this)) continue;
        KSDictionary archive = other->archiveDictionary();
        auto link = KSDependency::dependencyWithPrerequisiteAndDependent(this, after);
        link->loadFromArchiveDictionary(archive);
        other->remove();
    }
}

void KSTask::clearDependents() {
    while (!dependents_.empty()) {
        std::shared_ptr<KSDependency> link = dependents_.back();
        link->remove();
        if (!dependents_.empty() && dependents_.back() == link) _removeDependent(*link);
    }
}

std::shared_ptr<KSDependency> KSTask::prerequisiteForTask(const KSTask* task) const {
    for (const auto& link : prerequisites_) {
        if (link->prerequisite() == task) return link;
    }
    return nullptr;
}

std::shared_ptr<KSDependency> KSTask::dependentForTask(const KSTask* task) const {
    for (const auto& link : dependents_) {
        if (link->dependent() == task) return link;
    }
    return nullptr;
}

// --- Which links are allowed
// ----------------------------------------------------------------------

bool KSTask::wouldBeAllowedPrerequisite(const KSTask* task) const {
    if (!task || task == this) return false;
    // Dates flow between a group and what is inside it already.
    if (hasChildren() && task->isAncestor(*this)) return false;
    if (isAncestor(*task)) return false;
    if (flags_.isSplitChunk && task->isSplitChunk() && task->parent() == parent()) return false;
    return true;
}

bool KSTask::anyGroupsHaveXToFinishDepencencies() const {
    std::vector<const KSTask*> pending{this};
    while (!pending.empty()) {
        const KSTask* task = pending.back();
        pending.pop_back();
        for (const auto& link : task->dependents_) {
            KSTask* after = link->dependent();
            if (after && after->storedTaskType() == taskTypeGroup && link->dependentAlignedToEnd())
                return true;
        }
        if (task->children()) {
            for (const auto& child : *task->children())
                pending.push_back(static_cast<const KSTask*>(child.get()));
        }
    }
    return false;
}

// --- Chains
// ---------------------------------------------------------------------------------------

KSTaskPointerSet KSTask::prerequisiteChain() {
    KSTaskPointerSet chain;
    if (prerequisites_.empty()) return chain;
    // What waits for a task waits for what its ancestors wait for, and for its children.
    std::vector<const KSTask*> pending{this};
    while (!pending.empty()) {
        const KSTask* task = pending.back();
        pending.pop_back();
        for (const KSTask* level = task; level; level = level->parentTask()) {
            for (const auto& link : level->prerequisites_) {
                KSTask* before = link->prerequisite();
                if (before && chain.insert(before).second) pending.push_back(before);
            }
        }
        if (task->children()) {
            for (const auto& child : *task->children()) {
                const auto* inner = static_cast<const KSTask*>(child.get());
                if (chain.insert(inner).second) pending.push_back(inner);
            }
        }
    }
    return chain;
}

KSTaskPointerSet KSTask::dependentChain() {
    // The same walk as the prerequisite chain, and so the same answer, as tools expect.
    return prerequisiteChain();
}

// --- Controlling neighbours
// -------------------------------------------------------------------------

std::optional<KSTaskList> KSTask::controllingDependencyTasks() {
    if (isStartDateLocked() || isEndDateLocked()) return std::nullopt;
    const bool adjusts = (isStandardTask() || flags_.isSplitChunk) && effort_ > 0.0;
    KSTaskList controlling;
    auto add = [&controlling](KSTask* task) {
        if (task && std::find_if(controlling.begin(), controlling.end(), [task](const auto& t) {
                        return t.get() == task;
                    }) == controlling.end())
            controlling.push_back(task->sharedFromThis<KSTask>());
    };
    if (isAsSoonAsPossible()) {
        KSDateTime limit = _computeCurrentStartLimitIgnoringDependencies();
        if (adjusts) limit = schedule()->adjustDateForUseAsStartDate(limit);
        KSDateTime start = startDate();
        if (limit.isNull() || (!start.isNull() && limit.compare(start) >= 0)) return std::nullopt;
        const bool hammock = isHammockTask();
        for (const auto& link : prerequisites_) {
            if (!link->isActive() || (hammock && link->dependentAlignedToEnd())) continue;
            KSDateTime bound = link->dateConstraint();
            if (isLater(bound, limit)) {
                controlling.clear();
                add(link->prerequisite());
                limit = bound;
            } else if (!bound.isNull() && bound.compare(limit) == 0) {
                add(link->prerequisite());
            }
        }
        return controlling;
    }
    KSDateTime limit = _computeCurrentEndLimitIgnoringDependencies();
    if (adjusts) limit = schedule()->adjustDateForUseAsEndDate(limit);
    KSDateTime end = endDate();
    if (limit.isNull() || (!end.isNull() && limit.compare(end) <= 0)) return std::nullopt;
    // Compared the same way round as the start side, on purpose.
    for (const auto& link : dependents_) {
        KSTask* after = link->dependent();
        if (!link->isActive() || !after || after->isHammockTask()) continue;
        KSDateTime bound = link->currentEndLimitConstraint();
        if (isLater(bound, limit)) {
            controlling.clear();
            add(after);
            limit = bound;
        } else if (!bound.isNull() && bound.compare(limit) == 0) {
            add(after);
        }
    }
    return controlling;
}

// --- String form
// ------------------------------------------------------------------------------------

std::optional<std::string> KSTask::internalPrerequisitesString() const {
    return KSDependency::internalStringRepresentationForDependencies(prerequisites_);
}

void KSTask::setInternalPrerequisitesString(const std::optional<std::string>& text) {
    KSDependencyList ghosts;
    if (text)
        ghosts = KSDependency::ghostDependenciesWithInternalStringRepresentationForDependentTask(
            *text, this);
    setPrerequisites(ghosts);
}

// --- Bulk operations
// --------------------------------------------------------------------------------

bool KSTask::connectTasksWithDependencyKind(const KSTaskList& tasks, KSDependencyKind kind) {
    if (tasks.size() < 2) return false;
    KSTaskList ordered = tasks;
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const auto& a, const auto& b) { return a->compareByPosition(*b) < 0; });
    bool made = false;
    for (std::size_t i = 1; i < ordered.size(); ++i) {
        KSTask* before = ordered[i - 1].get();
        KSTask* after = ordered[i].get();
        if (auto existing = after->prerequisiteForTask(before)) {
            existing->setDependencyKind(kind);
        } else if (after->wouldBeAllowedPrerequisite(before)) {
            KSDependency::dependencyWithPrerequisiteAndDependentAndKind(before, after, kind);
            made = true;
        }
    }
    return made;
}

bool KSTask::disconnectTasks(const KSTaskList& tasks) {
    std::unordered_set<const KSTask*> members;
    for (const auto& task : tasks)
        members.insert(task.get());
    bool removed = false;
    for (const auto& task : tasks) {
        for (std::size_t i = task->prerequisites_.size(); i-- > 0;) {
            if (i >= task->prerequisites_.size()) continue;
            std::shared_ptr<KSDependency> link = task->prerequisites_[i];
            if (!members.count(link->prerequisite())) continue;
            link->remove();
            removed = true;
        }
    }
    return removed;
}

bool KSTask::connectionBetweenTasks(const KSTaskList& tasks) {
    if (tasks.size() < 2) return false;
    std::unordered_set<const KSTask*> members;
    for (const auto& task : tasks)
        members.insert(task.get());
    for (const auto& task : tasks) {
        for (const auto& link : task->prerequisites_) {
            if (members.count(link->prerequisite())) return true;
        }
    }
    return false;
}

}  // namespace kestrum
