// KSTask: the task's side of its assignments: the list, the resources at work, the text
// form, the units hooks that keep effort or duration still, and over-allocation issues.
#include <algorithm>
#include <unordered_set>

#include "Model/project/KSScenario.h"
#include "Model/resources/KSAssignment.h"
#include "Model/resources/KSAssignmentError.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSSchedule.h"
#include "Model/worktime/KSScheduling.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

void KSTask::_registerAssignmentAttributes(KSClassBuilder<KSTask>& b) {
    b.custom("assignments", KSValue::Type::Array, [](const KSTask& t) {
        KSArray list;
        for (const auto& assignment : t.assignments())
            list.push_back(KSValue(assignment));
        return KSValue(list);
    });
    b.custom(
        "assignedResourcesString", KSValue::Type::String,
        [](const KSTask& t) { return KSValue(t.assignedResourcesString()); },
        [](KSTask& t, const KSValue& v) {
            if (!v.isString() && !v.isNull()) return false;
            t.setAssignedResourcesString(v.isNull() ? std::string() : v.asString());
            return true;
        });
    b.readOnly("totalUnitEfficiencyAssigned", &KSTask::totalUnitEfficiencyAssigned);
}

// --- Lookups -----------------------------------------------------------------------------------

std::shared_ptr<KSAssignment> KSTask::assignmentForResource(const KSResource* resource) const {
    for (auto it = assignments_.rbegin(); it != assignments_.rend(); ++it) {
        if ((*it)->resource() == resource) return *it;
    }
    return nullptr;
}

std::shared_ptr<KSAssignment> KSTask::specificAssignmentForResource(
    const KSResource* resource) const {
    for (auto it = assignments_.rbegin(); it != assignments_.rend(); ++it) {
        if ((*it)->resource() == resource) return *it;
        if (auto specific = (*it)->specificAssignmentForResource(resource)) return specific;
    }
    return nullptr;
}

std::vector<std::shared_ptr<KSResource>> KSTask::assignedResources() const {
    if (isSplitTask_ && countOfChildren() > 0) return childTaskAtIndex(0)->assignedResources();
    std::vector<std::shared_ptr<KSResource>> resources;
    std::unordered_set<const KSResource*> seen;
    auto add = [&](KSResource* resource) {
        if (resource && seen.insert(resource).second)
            resources.push_back(resource->sharedFromThis<KSResource>());
    };
    for (const auto& assignment : assignments_) {
        // The resource and each group it belongs to, below the root.
        for (KSResource* r = assignment->resource(); r && r->parentResource();
             r = r->parentResource()) {
            add(r);
        }
        if (assignment->specificAssignments()) {
            for (const auto& specific : *assignment->specificAssignments())
                add(specific->resource());
        }
    }
    std::stable_sort(resources.begin(), resources.end(),
                     [](const auto& a, const auto& b) { return a->compareByName(*b) < 0; });
    return resources;
}

std::string KSTask::assignedResourcesString() const {
    if (isSplitTask_ && countOfChildren() > 0)
        return childTaskAtIndex(0)->assignedResourcesString();
    return KSAssignment::stringForAssignments(assignments_);
}

void KSTask::setAssignedResourcesString(const std::string& text) {
    for (const auto& assignment : std::vector<std::shared_ptr<KSAssignment>>(assignments_))
        assignment->remove();
    KSAssignment::assignmentsForStringOnTask(text, this);
}

double KSTask::totalRequirementForResource(const KSResource& resource) const {
    if (resource.countOfChildren() == 0) {
        auto specific = specificAssignmentForResource(&resource);
        return specific ? specific->unitsAssigned() : 0.0;
    }
    double sum = 0.0;
    auto within = [&](const KSAssignment& a) {
        return a.resource() && a.resource()->isDescendentOfResource(resource);
    };
    for (const auto& assignment : assignments_) {
        if (within(*assignment)) sum += assignment->unitsAssigned();
        if (!assignment->specificAssignments()) continue;
        for (const auto& specific : *assignment->specificAssignments()) {
            if (within(*specific)) sum += specific->unitsAssigned();
        }
    }
    return sum;
}

void KSTask::recursivelyAddAssignedResourcesToSet(
    std::unordered_set<KSResource*>& resources) const {
    std::vector<const KSTask*> stack{this};
    while (!stack.empty()) {
        const KSTask* task = stack.back();
        stack.pop_back();
        for (const auto& assignment : task->assignments_) {
            if (assignment->resource()) resources.insert(assignment->resource());
        }
        KSTaskList children;
        task->_childrenTasks(children);
        for (const auto& child : children)
            stack.push_back(child.get());
    }
}

double KSTask::totalUnitEfficiencyAssigned() const {
    double sum = 0.0;
    for (const auto& assignment : assignments_) {
        KSResource* resource = assignment->resource();
        if (!resource || resource->isMaterial()) continue;
        double efficiency = resource->efficiency();
        if (efficiency > 0.0) sum += assignment->unitsAssigned() * efficiency;
    }
    return sum;
}

// --- Adding and removing -------------------------------------------------------------------------

void KSTask::clearAssignments() {
    for (const auto& assignment : std::vector<std::shared_ptr<KSAssignment>>(assignments_))
        assignment->remove();
    if (!_isGroupTask() && !isSplitTask_) return;
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        child->clearAssignments();
}

void KSTask::_removeAllAssignments() {
    // Each removal is undoable on its own and takes the assignment off its resource too.
    std::vector<std::shared_ptr<KSAssignment>> present(assignments_);
    KSUndoManager* um = undoManager();
    for (auto it = present.rbegin(); it != present.rend(); ++it)
        (*it)->removeWithUndoManager(um);
}

void KSTask::_addAssignment(const std::shared_ptr<KSAssignment>& assignment) {
    KSScenario* owner = scenario();
    bool first = assignments_.empty();
    if (first && owner) owner->willChangeValueForKey("unassignedTasks");
    _unitsAssignedWillChange();
    if (resourceAssignmentType_ == KSResourceAssignmentBothFixed &&
        !flags_.implicitlyEditingUnits) {
        // The newcomer works as hard as the hardest worker, and the effort is shared anew.
        double largest = 0.0;
        for (const auto& present : assignments_) {
            if (present->resource() && present->resource()->efficiency() != 0.0)
                largest = std::max(largest, present->unitsAssigned());
        }
        if (largest > 0.0) assignment->setUnitsAssigned(largest);
        flags_.implicitlyEditingUnits = 1;
        auto with = assignments_;
        with.push_back(assignment);
        _splitEffortAmongAssignments(effort_, with);
        flags_.implicitlyEditingUnits = 0;
    }
    willChangeValueForKey("assignments");
    assignments_.push_back(assignment);
    didChangeValueForKey("assignments");
    _assignmentUnitsDidChange();
    if (assignments_.size() == 1 && owner) owner->didChangeValueForKey("unassignedTasks");
}

void KSTask::_removeAssignment(const std::shared_ptr<KSAssignment>& assignment) {
    auto found = std::find(assignments_.begin(), assignments_.end(), assignment);
    if (found == assignments_.end()) return;
    KSScenario* owner = scenario();
    bool last = assignments_.size() == 1;
    if (last && owner) owner->willChangeValueForKey("unassignedTasks");
    _unitsAssignedWillChange();
    willChangeValueForKey("assignments");
    assignments_.erase(found);
    didChangeValueForKey("assignments");
    if (resourceAssignmentType_ == KSResourceAssignmentBothFixed &&
        !flags_.implicitlyEditingUnits) {
        flags_.implicitlyEditingUnits = 1;
        _splitEffortAmongAssignments(effort_, assignments_);
        flags_.implicitlyEditingUnits = 0;
    }
    _assignmentUnitsDidChange();
    if (assignments_.empty() && owner) owner->didChangeValueForKey("unassignedTasks");
}

// --- Units hooks ---------------------------------------------------------------------------------

void KSTask::_assignmentUnitsWillChange(KSAssignment*) {
    _unitsAssignedWillChange();
}

void KSTask::_unitsAssignedWillChange() {
    if (KSTask* p = parentTask()) p->_unitsAssignedWillChange();
    willChangeValueForKey("assignmentsCost");
    willChangeValueForKey("totalCost");
    willChangeValueForKey("assignedResourcesString");
    KSScenario* owner = scenario();
    if (owner && !owner->isLoading() &&
        resourceAssignmentType_ == KSResourceAssignmentFixedDuration) {
        // The duration to hold while the units change.
        double units = totalUnitEfficiencyAssigned();
        fixedDuration_ = effort_ / (units == 0.0 ? 1.0 : units);
    }
}

void KSTask::_assignmentUnitsDidChange() {
    KSScenario* owner = scenario();
    if (!flags_.isLoading && owner &&
        resourceAssignmentType_ == KSResourceAssignmentFixedDuration &&
        taskType() == taskTypeTask && !isSplitTask_ && fixedDuration_ != 0.0) {
        KSUndoManager* um = undoManager();
        if (um) um->disableUndoRegistration();
        double units = totalUnitEfficiencyAssigned();
        KSDateTime start = startDate();
        KSDateTime end =
            units != 0.0 ? schedule()->endDateForStartDateAndEffort(start, fixedDuration_ * units)
                         : scenarioSchedule()->endDateForStartDateAndEffort(start, fixedDuration_);
        _setEffortBasedOnEndDate(end);
        fixedDuration_ = 0.0;
        if (um) um->enableUndoRegistration();
    }
    // The assignments decide the task's work time: its scheduling and dates go.
    invalidateSchedule();
    invalidateStartDate();
    invalidateAbsoluteStartLimit();
    _calculateAssignmentErrors();
    didChangeValueForKey("assignedResourcesString");
    didChangeValueForKey("totalCost");
    didChangeValueForKey("assignmentsCost");
    if (KSTask* p = parentTask()) p->_assignmentUnitsDidChange();
}

void KSTask::_specificAssignmentUnitsDidChange(KSAssignment* assignment) {
    if (resourceAssignmentType_ != KSResourceAssignmentBothFixed || !assignment) return;
    KSResource* resource = assignment->resource();
    if (!resource) return;
    double share = assignment->unitsAssigned() * resource->efficiency() *
                   resource->schedule()->durationBetweenStartDateAndEndDate(startDate(), endDate());
    std::vector<std::shared_ptr<KSAssignment>> others;
    for (const auto& other : assignments_) {
        if (other.get() != assignment) others.push_back(other);
    }
    _splitEffortAmongAssignments(effort_ - share, others);
}

void KSTask::_splitEffortAmongAssignments(
    double effort, const std::vector<std::shared_ptr<KSAssignment>>& assignments) {
    if (effort <= 0.0 || flags_.isLoading || _isUndoingOrRedoing()) return;
    KSDateTime start = startDate();
    KSDateTime end = endDate();
    double delivered = 0.0;
    for (const auto& assignment : assignments) {
        KSResource* resource = assignment->resource();
        if (!resource || resource->efficiency() == 0.0) continue;
        delivered += resource->schedule()->durationBetweenStartDateAndEndDate(start, end) *
                     resource->efficiency() * assignment->unitsAssigned();
    }
    if (delivered == 0.0) return;
    for (const auto& assignment : assignments) {
        KSResource* resource = assignment->resource();
        if (!resource || resource->efficiency() == 0.0) continue;
        assignment->setUnitsAssigned(assignment->unitsAssigned() * effort / delivered);
    }
}

void KSTask::_calculateAssignmentErrors() {
    removeIssuesOfKind(KSIssue::assignmentIssueKind());
    for (const auto& assignment : assignments_) {
        KSResource* resource = assignment->resource();
        if (!resource || resource->isMaterial()) continue;
        double required = resource->countOfChildren() > 0 ? totalRequirementForResource(*resource)
                                                          : assignment->unitsAssigned();
        if (required > resource->unitsAvailable())
            KSIssue::issueForTask<KSAssignmentError>(*this, resource);
    }
}

}  // namespace kestrum
