#include "Model/resources/KSAssignment.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Model/project/KSScenario.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSNumberText.h"
#include "Platform/core/KSUndoManager.h"
#include "Platform/core/KSUndoableSetter.h"

namespace kestrum {

namespace {

// Records a class-level undo step (no target object) and names the action.
template <class F>
void registerClassUndo(KSUndoManager* um, std::string_view actionName, F&& step) {
    if (!um) return;
    um->registerUndoWithTargetHandler(nullptr, std::forward<F>(step));
    um->setActionName(KSLocalizedString(actionName));
}

int compareDates(const KSDateTime& a, const KSDateTime& b) {
    return a.compare(b);
}

}  // namespace

const KSClassInfo& KSAssignment::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSAssignment>(
        "KSAssignment", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSAssignment>& b) {
            b.attribute("unitsAssigned", &KSAssignment::unitsAssigned,
                        &KSAssignment::setUnitsAssigned);
            b.attribute("timeSpent", &KSAssignment::timeSpent, &KSAssignment::setTimeSpent);
            b.readOnly("totalCost", &KSAssignment::totalCost);
            b.readOnly("totalEffort", &KSAssignment::totalEffort);
            b.readOnly("totalDuration", &KSAssignment::totalDuration);
            b.readOnly("isValid", &KSAssignment::isValid);
        });
    return info;
}

KSAssignment::KSAssignment(KSTask* task, double units, KSResource* resource)
    : nonretainedTask_(task), nonretainedResource_(resource), unitsAssigned_(units) {}

KSAssignment::~KSAssignment() = default;

std::shared_ptr<KSAssignment> KSAssignment::_make(KSTask* task, double units,
                                                  KSResource* resource) {
    return std::make_shared<KSAssignment>(task, units, resource);
}

// --- Making and removing ---------------------------------------------------------------------

std::shared_ptr<KSAssignment> KSAssignment::assignmentWithTaskAndUnitsOfResource(
    KSTask* task, double units, KSResource* resource) {
    // Units that are no number (NaN) make nothing, as 0 does; infinite units are refused too.
    if (!task || !resource || !(units > 0.0) || !std::isfinite(units)) return nullptr;
    // Assignments on a split task are always made on the whole.
    if (task->isSplitChunk() && !task->isLoading() && task->parentTask()) task = task->parentTask();
    if (task->isGroup() && !task->isSplitTask()) {
        KSTaskList children(task->countOfChildren());
        for (std::size_t i = 0; i < children.size(); ++i)
            children[i] = task->childTaskAtIndex(i);
        for (const auto& child : children)
            assignmentWithTaskAndUnitsOfResource(child.get(), units, resource);
        return nullptr;
    }
    if (task->isSplitTask()) {
        for (std::size_t i = 0; i < task->countOfChildren(); ++i) {
            _internalAssignmentWithTaskAndUnitsOfResource(task->childTaskAtIndex(i).get(), units,
                                                          resource);
        }
        return nullptr;
    }
    return _internalAssignmentWithTaskAndUnitsOfResource(task, units, resource);
}

std::shared_ptr<KSAssignment> KSAssignment::ghostAssignmentWithTaskAndUnitsOfResource(
    KSTask* task, double units, KSResource* resource) {
    return _make(task, units, resource);
}

std::shared_ptr<KSAssignment> KSAssignment::_internalAssignmentWithTaskAndUnitsOfResource(
    KSTask* task, double units, KSResource* resource) {
    if (!task || !resource) return nullptr;
    // A resource is assigned to a task once: a second assignment changes the units.
    if (auto present = task->assignmentForResource(resource)) {
        present->setUnitsAssigned(units);
        return present;
    }
    // A new assignment takes no more than the resource has, as a change of units would.
    if (!task->isLoading() && !resource->isMaterial() && units > resource->unitsAvailable())
        units = resource->unitsAvailable();
    auto assignment = _make(task, units, resource);
    assignment->instantiate();
    return assignment;
}

void KSAssignment::instantiateAssignment(const std::shared_ptr<KSAssignment>& assignment) {
    if (assignment) assignment->instantiate();
}

void KSAssignment::removeAssignment(const std::shared_ptr<KSAssignment>& assignment) {
    if (!assignment) return;
    if (!assignment->isValid_) {
        removeAssignmentWithTaskAndResource(assignment->task(), assignment->resource());
        return;
    }
    KSTask* task = assignment->task();
    assignment->_internalRemoveWithUndoManager(task ? task->undoManager() : nullptr);
}

bool KSAssignment::removeAssignmentWithTaskAndResource(KSTask* task, KSResource* resource) {
    if (!task || !resource) return false;
    if (task->isGroup() || task->isSplitTask()) {
        KSTaskList leaves;
        task->addLeafTasksToArray(leaves);
        for (auto it = leaves.rbegin(); it != leaves.rend(); ++it)
            removeAssignmentWithTaskAndResource(it->get(), resource);
        return true;
    }
    auto assignment = task->specificAssignmentForResource(resource);
    if (!assignment) return false;
    assignment->remove();
    if (task->isSplitChunk() && task->parentTask())
        removeAssignmentWithTaskAndResource(task->parentTask(), resource);
    return true;
}

void KSAssignment::duplicateAssignmentsToTask(const KSAssignmentList& assignments, KSTask* task) {
    for (const auto& assignment : assignments) {
        auto copy = ghostAssignmentWithTaskAndUnitsOfResource(task, assignment->unitsAssigned_,
                                                              assignment->nonretainedResource_);
        copy->instantiate();
        if (!assignment->specificAssignments_) continue;
        KSAssignmentList specifics;
        for (const auto& specific : *assignment->specificAssignments_) {
            specifics.push_back(ghostAssignmentWithTaskAndUnitsOfResource(
                task, specific->unitsAssigned_, specific->nonretainedResource_));
        }
        copy->setSpecificAssignments(specifics);
    }
}

// --- Units -----------------------------------------------------------------------------------

void KSAssignment::setUnitsAssigned(double units) {
    // A value that is no finite number changes nothing rather than removing the assignment.
    if (!std::isfinite(units)) return;
    KSResource* resource = nonretainedResource_;
    KSTask* task = nonretainedTask_;
    bool loading = task && task->isLoading();
    if (resource && !loading && !resource->isMaterial() && units > resource->unitsAvailable())
        units = resource->unitsAvailable();
    if (units == unitsAssigned_) return;
    KSUndoManager* um = undoManager();
    auto self = _self();
    if (units <= 0.0) {
        // The assignment goes; undo makes it anew with the present units.
        double old = unitsAssigned_;
        registerClassUndo(um, "Change Units Assigned", [task, old, resource] {
            assignmentWithTaskAndUnitsOfResource(task, old, resource);
        });
        remove();
        return;
    }
    // No key of its own: the task and the resource announce what the units change.
    KSUndoableSetter(*this, um)
        .before([&] {
            if (task) task->_assignmentUnitsWillChange(this);
            if (resource) resource->_assignmentUnitsWillChange(this);
        })
        .after([&] {
            setSpecificAssignments(std::nullopt);
            if (manuallyAdjustingUnitsAssigned_ && task)
                task->_specificAssignmentUnitsDidChange(this);
            if (task) task->_assignmentUnitsDidChange();
            if (resource) resource->_assignmentUnitsDidChange(this);
        })
        .set(unitsAssigned_, units, &KSAssignment::setUnitsAssigned);
    // Named last: the task's effort or duration that followed the units named it too.
    if (um) um->setActionName(KSLocalizedString("Change Units Assigned"));
}

double KSAssignment::timeSpent() const {
    if (nonretainedResource_ && nonretainedResource_->efficiency() == 0.0 && nonretainedTask_)
        return unitsAssigned_ * nonretainedTask_->duration();
    return timeSpent_;
}

void KSAssignment::setTimeSpent(double seconds) {
    timeSpent_ = seconds < 0.0 ? 0.0 : seconds;
}

// --- Costs and time ----------------------------------------------------------------------------

double KSAssignment::nonSpecificTotalCost() const {
    if (specificAssignments_ || !nonretainedResource_) return 0.0;
    return unitsAssigned_ * nonretainedResource_->costPerUse() +
           timeSpent() * nonretainedResource_->costPerHour() / 3600.0;
}

double KSAssignment::totalCost() const {
    // Reading the dates brings the scheduling, and with it the time spent, up to date.
    if (nonretainedTask_) {
        nonretainedTask_->startDate();
        nonretainedTask_->endDate();
    }
    if (!specificAssignments_) return nonSpecificTotalCost();
    double sum = 0.0;
    for (auto it = specificAssignments_->rbegin(); it != specificAssignments_->rend(); ++it)
        sum += (*it)->totalCost();
    return sum;
}

double KSAssignment::totalEffort() const {
    if (!specificAssignments_) return timeSpent();
    double sum = 0.0;
    for (const auto& specific : *specificAssignments_)
        sum += specific->totalEffort();
    return sum;
}

double KSAssignment::totalDuration() const {
    return totalEffort() / unitsAssigned_;
}

// --- Specific assignments ----------------------------------------------------------------------

void KSAssignment::setSpecificAssignments(const std::optional<KSAssignmentList>& specifics) {
    if (!specifics && !specificAssignments_) return;
    if (specifics && specificAssignments_ && *specifics == *specificAssignments_) return;
    if (KSUndoManager* um = undoManager()) {
        um->registerUndoWithTarget(_self(), [old = specificAssignments_](KSAssignment& a) {
            a.setSpecificAssignments(old);
        });
    }
    KSTask* task = nonretainedTask_;
    if (task) task->_assignmentUnitsWillChange(this);
    if (specificAssignments_) {
        for (const auto& old : KSAssignmentList(*specificAssignments_))
            old->_removalFromGeneralAssignment();
    }
    specificAssignments_ = specifics;
    if (specificAssignments_) {
        for (const auto& specific : *specificAssignments_) {
            specific->nonretainedGeneralAssignment_ = this;
            if (isValid_) specific->instantiate();
        }
    }
    if (task) task->_assignmentUnitsDidChange();
}

void KSAssignment::addSpecificAssignment(const std::shared_ptr<KSAssignment>& specific) {
    if (!specific) return;
    if (!specificAssignments_) specificAssignments_.emplace();
    if (KSUndoManager* um = undoManager()) {
        um->registerUndoWithTarget(
            _self(), [specific](KSAssignment& a) { a.removeSpecificAssignment(specific); });
        um->setActionName(KSLocalizedString("Assignment"));
    }
    if (nonretainedTask_) nonretainedTask_->_assignmentUnitsWillChange(this);
    specific->nonretainedGeneralAssignment_ = this;
    specificAssignments_->push_back(specific);
    if (isValid_) specific->instantiate();
    if (nonretainedTask_) nonretainedTask_->_assignmentUnitsDidChange();
}

void KSAssignment::removeSpecificAssignment(const std::shared_ptr<KSAssignment>& specific) {
    if (!specificAssignments_) return;
    auto found = std::find(specificAssignments_->begin(), specificAssignments_->end(), specific);
    if (found == specificAssignments_->end()) return;
    if (KSUndoManager* um = undoManager()) {
        um->registerUndoWithTarget(
            _self(), [specific](KSAssignment& a) { a.addSpecificAssignment(specific); });
        um->setActionName(KSLocalizedString("Remove Assignment"));
    }
    if (nonretainedTask_) nonretainedTask_->_assignmentUnitsWillChange(this);
    specific->_removalFromGeneralAssignment();
    specificAssignments_->erase(
        std::find(specificAssignments_->begin(), specificAssignments_->end(), specific));
    if (nonretainedTask_) nonretainedTask_->_assignmentUnitsDidChange();
}

std::shared_ptr<KSAssignment> KSAssignment::specificAssignmentForResource(
    const KSResource* resource) const {
    if (!specificAssignments_) return nullptr;
    for (auto it = specificAssignments_->rbegin(); it != specificAssignments_->rend(); ++it) {
        if ((*it)->nonretainedResource_ == resource) return *it;
    }
    return nullptr;
}

bool KSAssignment::specificAssignmentsFullySpecified() const {
    if (!nonretainedResource_ || !nonretainedResource_->isGroup()) return true;
    double sum = 0.0;
    if (specificAssignments_) {
        for (const auto& specific : *specificAssignments_)
            sum += specific->unitsAssigned_;
    }
    // The tolerance is the single-precision 0.0001, as it always was.
    return unitsAssigned_ - sum <= static_cast<double>(0.0001f);
}

void KSAssignment::_removalFromGeneralAssignment() {
    nonretainedGeneralAssignment_ = nullptr;
    if (!isValid_) return;
    auto self = _self();
    if (nonretainedResource_) nonretainedResource_->_removeAssignment(self);
    isValid_ = false;
}

// --- Life --------------------------------------------------------------------------------------

void KSAssignment::instantiate() {
    if (isValid_) return;
    auto self = _self();
    if (!nonretainedGeneralAssignment_) {
        registerClassUndo(undoManager(), "Assignment", [self] { removeAssignment(self); });
        if (specificAssignments_) {
            for (const auto& specific : *specificAssignments_) {
                specific->nonretainedGeneralAssignment_ = this;
                specific->instantiate();
            }
        }
        if (nonretainedTask_) nonretainedTask_->_addAssignment(self);
    }
    if (nonretainedResource_) nonretainedResource_->_addAssignment(self);
    isValid_ = true;
}

void KSAssignment::_internalRemoveWithUndoManager(KSUndoManager* um) {
    if (!isValid_) return;
    auto self = _self();
    if (!nonretainedGeneralAssignment_) {
        registerClassUndo(um, "Remove Assignment", [self] { instantiateAssignment(self); });
        if (specificAssignments_) {
            for (const auto& specific : *specificAssignments_)
                specific->_internalRemoveWithUndoManager(um);
        }
        if (nonretainedTask_) nonretainedTask_->_removeAssignment(self);
    }
    if (nonretainedResource_) nonretainedResource_->_removeAssignment(self);
    isValid_ = false;
}

void KSAssignment::removeWithUndoManager(KSUndoManager* um) {
    if (!isValid_) return;
    KSTask* task = nonretainedTask_;
    KSTask* split = task && task->isSplitChunk() ? task->parentTask() : nullptr;
    if (split && split->indexOfChild(*task)) {
        // Removing from one chunk removes the resource from every chunk.
        for (std::size_t i = 0; i < split->countOfChildren(); ++i) {
            if (auto other =
                    split->childTaskAtIndex(i)->assignmentForResource(nonretainedResource_))
                other->_internalRemoveWithUndoManager(um);
        }
        return;
    }
    _internalRemoveWithUndoManager(um);
}

void KSAssignment::remove() {
    removeWithUndoManager(undoManager());
}

KSUndoManager* KSAssignment::undoManager() const {
    if (nonretainedTask_) {
        if (KSUndoManager* um = nonretainedTask_->undoManager()) return um;
    }
    return nonretainedResource_ ? nonretainedResource_->undoManager() : nullptr;
}

// --- Hooks -----------------------------------------------------------------------------------

void KSAssignment::taskDurationDidChange() {
    if (nonretainedResource_) nonretainedResource_->_assignmentUnitsDidChange(nullptr);
}

void KSAssignment::resourceValuesWillChange() {
    isAllAvailableUnits_ =
        nonretainedResource_ && unitsAssigned_ == nonretainedResource_->unitsAvailable();
    if (nonretainedTask_) nonretainedTask_->_unitsAssignedWillChange();
}

void KSAssignment::resourceValuesDidChange() {
    KSResource* resource = nonretainedResource_;
    if (!resource || !nonretainedTask_) return;
    if (resource->isMaterial()) {
        nonretainedTask_->_assignmentUnitsDidChange();
        return;
    }
    double available = resource->unitsAvailable();
    // An assignment of all the units follows the resource both up and down.
    if (isAllAvailableUnits_ || unitsAssigned_ > available) {
        willChangeValueForKey("unitsAssigned");
        unitsAssigned_ = available;
        didChangeValueForKey("unitsAssigned");
    }
    nonretainedTask_->_assignmentUnitsDidChange();
}

void KSAssignment::resourceScheduleDidChange() {
    if (nonretainedTask_) nonretainedTask_->resourceScheduleDidChange();
}

void KSAssignment::resourceEfficiencyWillChange() {
    if (nonretainedTask_) nonretainedTask_->_assignmentUnitsWillChange(this);
}

void KSAssignment::resourceEfficiencyDidChange() {
    if (nonretainedTask_) nonretainedTask_->_assignmentUnitsDidChange();
}

// --- Order -------------------------------------------------------------------------------------

int KSAssignment::compareByTaskStartDate(const KSAssignment& other) const {
    return compareDates(nonretainedTask_->startDate(), other.nonretainedTask_->startDate());
}

int KSAssignment::compareByTaskEndDate(const KSAssignment& other) const {
    return compareDates(nonretainedTask_->endDate(), other.nonretainedTask_->endDate());
}

bool KSAssignment::isEqual(const KSBaseObject& other) const {
    const auto* that = dynamic_cast<const KSAssignment*>(&other);
    if (!that) return false;
    auto sameId = [](const auto* a, const auto* b) {
        return a && b ? a->objectId() == b->objectId() : a == b;
    };
    return sameId(nonretainedTask_, that->nonretainedTask_) &&
           sameId(nonretainedResource_, that->nonretainedResource_) &&
           unitsAssigned_ == that->unitsAssigned_;
}

std::string KSAssignment::description() const {
    std::string name = nonretainedResource_ && nonretainedResource_->name()
                           ? *nonretainedResource_->name()
                           : std::string("?");
    return "<KSAssignment " + name + " " + KSStringFromDouble(unitsAssigned_) +
           (isValid_ ? "" : " ghost") + ">";
}

}  // namespace kestrum
