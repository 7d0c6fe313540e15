// KSResource: type, units, efficiency, costs and the sums over assignments.
#include <algorithm>
#include <cmath>

#include "Model/project/KSScenario.h"
#include "Model/resources/KSAssignedUnitsValue.h"
#include "Model/resources/KSAssignment.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"

namespace kestrum {

void KSResource::_registerValueAttributes(KSClassBuilder<KSResource>& b) {
    b.attribute("unitsAvailable", &KSResource::unitsAvailable, &KSResource::setUnitsAvailable);
    b.attribute("efficiency", &KSResource::efficiency, &KSResource::setEfficiency);
    b.attribute("costPerUse", &KSResource::costPerUse, &KSResource::setCostPerUse);
    b.attribute("costPerHour", &KSResource::costPerHour, &KSResource::setCostPerHour);
    b.readOnly("currentTotalCost", &KSResource::currentTotalCost);
    b.readOnly("totalHours", &KSResource::totalHours);
    b.readOnly("totalAssignments", &KSResource::totalAssignments);
    b.readOnly("currentTotalCostNumber", &KSResource::currentTotalCost);
    b.readOnly("totalHoursNumber", &KSResource::totalHours);
    b.readOnly("totalAssignmentsNumber", &KSResource::totalAssignments);
    b.readOnly("costPerUseNumber", &KSResource::costPerUse);
    b.readOnly("costPerHourNumber", &KSResource::costPerHour);
    b.custom(
        "efficiencyPercentage", KSValue::Type::Double,
        [](const KSResource& r) { return r.efficiencyPercentage(); },
        [](KSResource& r, const KSValue& v) {
            r.setEfficiencyPercentage(v);
            return true;
        });
    b.custom(
        "unitsAvailableForBinding", KSValue::Type::Object,
        [](const KSResource& r) { return KSValue(r.unitsAvailableForBinding()); },
        [](KSResource& r, const KSValue& v) {
            r.setUnitsAvailableForBinding(v);
            return true;
        });
    b.custom("resourceType", KSValue::Type::Object,
             [](const KSResource& r) { return KSValue(r.resourceType()); });
    b.custom("assignments", KSValue::Type::Array, [](const KSResource& r) {
        KSArray list;
        for (const auto& a : r.assignments())
            list.push_back(KSValue(a));
        return KSValue(list);
    });
    b.custom("missingAddressBookUUID", KSValue::Type::String, [](const KSResource& r) {
        return r.missingAddressBookUUID() ? KSValue(*r.missingAddressBookUUID()) : KSValue();
    });
}

// --- Type ----------------------------------------------------------------------------------------

void KSResource::_storeResourceType(const std::shared_ptr<KSResourceType>& type) {
    willChangeValueForKey("resourceTypeRank");
    resourceType_ = type;
    didChangeValueForKey("resourceTypeRank");
}

void KSResource::setIsGroup(bool flag) {
    if (flag == KSProjectItem::isGroup()) return;
    registerUndo<KSResource>([old = resourceType_](KSResource& r) {
        r.KSProjectItem::setIsGroup(old->isGroup());
        r._storeResourceType(old);
    });
    KSProjectItem::setIsGroup(flag);
    _storeResourceType(flag ? KSResourceType::group() : KSResourceType::staff());
}

void KSResource::setResourceType(const std::shared_ptr<KSResourceType>& type) {
    if (!type || type == resourceType_) return;
    if (resourceType_->isGroup() && countOfChildren() > 0) return;
    bool undoing = false;
    if (KSUndoManager* um = undoManager()) undoing = um->isUndoingOrRedoing();
    registerUndo<KSResource>([old = resourceType_](KSResource& r) { r.setResourceType(old); });
    setIsGroup(type->isGroup());
    if (type->isGroup()) {
        setCostPerUse(0.0);
        setCostPerHour(0.0);
    }
    missingAddressBookUUID_.reset();
    bool wasMaterial = resourceType_->isMaterial();
    _storeResourceType(type);
    // Undo puts the old units back by itself: setting 1.0 on top would undo the undo.
    if (type->isMaterial() && !wasMaterial) {
        setUnitsAvailable(0.0);
    } else if (wasMaterial && !type->isMaterial() && !undoing) {
        setUnitsAvailable(1.0);
    }
    if (type->isMaterial()) setCostPerHour(0.0);
    setUndoActionName("Change Resource Type");
}

// --- Units -------------------------------------------------------------------------------------

bool KSResource::groupContainingOnlyMaterials() const {
    if (countOfChildren() == 0) return false;
    for (const auto& child : childResources()) {
        if (child->isMaterial()) continue;
        if (child->isGroupResource() && child->groupContainingOnlyMaterials()) continue;
        return false;
    }
    return true;
}

double KSResource::unitsAvailable() const {
    if (isMaterial()) {
        double sum = 0.0;
        for (const auto& assignment : assignments_)
            sum += assignment->unitsAssigned();
        unitsAvailable_ = sum;
    } else if (countOfChildren() > 0) {
        bool onlyMaterials = groupContainingOnlyMaterials();
        double sum = 0.0;
        for (const auto& child : childResources()) {
            bool materialLike = child->isMaterial() || child->groupContainingOnlyMaterials();
            if (materialLike == onlyMaterials) sum += child->unitsAvailable();
        }
        unitsAvailable_ = sum;
    }
    return unitsAvailable_;
}

void KSResource::setUnitsAvailable(double units) {
    if (units < 0.0 || units == unitsAvailable_ || countOfChildren() > 0) return;
    KSResource* parent = parentResource();
    _resourceValuesWillChange();
    if (parent) parent->childWillChangeSummaryValue();
    registerUndo<KSResource>([old = unitsAvailable_](KSResource& r) { r.setUnitsAvailable(old); });
    setUndoActionName("Change Units Available");
    willChangeValueForKey("unitsAvailable");
    unitsAvailable_ = units;
    didChangeValueForKey("unitsAvailable");
    if (parent) parent->childDidChangeSummaryValue();
    _resourceValuesDidChange();
}

std::shared_ptr<KSAssignedUnitsValue> KSResource::unitsAvailableForBinding() const {
    bool materialLike = isMaterial() || groupContainingOnlyMaterials();
    return KSAssignedUnitsValue::valueWithUnitsOfTotalAsPercentage(unitsAvailable(), 0.0,
                                                                   !materialLike);
}

void KSResource::setUnitsAvailableForBinding(const KSValue& value) {
    if (auto units = value.isObject() ? value.asObjectOfType<KSAssignedUnitsValue>() : nullptr) {
        setUnitsAvailable(units->units());
    } else if (value.isNumber()) {
        setUnitsAvailable(value.doubleValue());
    }
}

// --- Efficiency ----------------------------------------------------------------------------------

double KSResource::efficiency() const {
    if (isMaterial()) return 0.0;
    if (countOfChildren() == 0) return efficiency_;
    double weighted = 0.0;
    double units = 0.0;
    for (const auto& leaf : leafResources()) {
        double e = leaf->efficiency();
        if (e == 0.0) continue;
        double u = leaf->unitsAvailable();
        weighted += e * u;
        units += u;
    }
    efficiency_ = units == 0.0 ? 0.0 : weighted / units;
    return efficiency_;
}

void KSResource::setEfficiency(double efficiency) {
    if (efficiency == efficiency_) return;
    for (auto it = assignments_.rbegin(); it != assignments_.rend(); ++it)
        (*it)->resourceEfficiencyWillChange();
    if (countOfChildren() == 0) {
        registerUndo<KSResource>([old = efficiency_](KSResource& r) { r.setEfficiency(old); });
        setUndoActionName("Change Efficiency");
        willChangeValueForKey("efficiency");
        efficiency_ = efficiency;
        didChangeValueForKey("efficiency");
    } else {
        // The mark holds the group's own recomputation back until the last leaf is set.
        efficiency_ = -1.0;
        auto leaves = leafResources();
        for (auto it = leaves.rbegin(); it != leaves.rend(); ++it) {
            if ((*it)->efficiency() != 0.0) (*it)->setEfficiency(efficiency);
        }
        efficiency_ = 0.0;
    }
    _childEfficiencyDidChange();
}

void KSResource::_childEfficiencyDidChange() {
    if (efficiency_ < 0.0) return;
    willChangeValueForKey("efficiency");
    efficiency();
    didChangeValueForKey("efficiency");
    for (auto it = assignments_.rbegin(); it != assignments_.rend(); ++it)
        (*it)->resourceEfficiencyDidChange();
    if (KSResource* parent = parentResource()) parent->_childEfficiencyDidChange();
}

KSValue KSResource::efficiencyPercentage() const {
    return isMaterial() ? KSValue() : KSValue(efficiency());
}

void KSResource::setEfficiencyPercentage(const KSValue& value) {
    if (isMaterial() || !value.isNumber()) return;
    setEfficiency(value.doubleValue());
}

// --- Costs -------------------------------------------------------------------------------------

double KSResource::costPerUse() const {
    if (countOfChildren() == 0) return costPerUse_;
    auto leaves = leafResources();
    double sum = 0.0;
    for (const auto& leaf : leaves) {
        if (leaf->costPerUse_ != 0.0) sum += leaf->unitsAvailable() * leaf->costPerUse_;
    }
    // The count goes through a 32-bit float here, as it always did.
    costPerUse_ = sum / static_cast<double>(static_cast<float>(leaves.size()));
    return costPerUse_;
}

double KSResource::costPerHour() const {
    if (countOfChildren() == 0) return costPerHour_;
    auto leaves = leafResources();
    double sum = 0.0;
    for (const auto& leaf : leaves) {
        if (leaf->costPerHour_ != 0.0) sum += leaf->unitsAvailable() * leaf->costPerHour_;
    }
    costPerHour_ = sum / static_cast<double>(leaves.size());
    return costPerHour_;
}

void KSResource::_setCost(double KSResource::*field, double cost, const char* key,
                          const char* action, void (KSResource::*setter)(double)) {
    if (cost < 0.0 || std::isnan(cost) || cost == this->*field) return;
    registerUndo<KSResource>([old = this->*field, setter](KSResource& r) { (r.*setter)(old); });
    setUndoActionName(action);
    KSResource* parent = parentResource();
    _resourceValuesWillChange();
    if (parent) parent->childWillChangeSummaryValue();
    willChangeValueForKey(key);
    this->*field = cost;
    if (countOfChildren() > 0) {
        auto leaves = leafResources();
        for (auto it = leaves.rbegin(); it != leaves.rend(); ++it)
            ((**it).*setter)(cost);
    }
    didChangeValueForKey(key);
    _resourceValuesDidChange();
    if (parent) parent->childDidChangeSummaryValue();
}

void KSResource::setCostPerUse(double cost) {
    _setCost(&KSResource::costPerUse_, cost, "costPerUse", "Change Cost/Use",
             &KSResource::setCostPerUse);
}

void KSResource::setCostPerHour(double cost) {
    _setCost(&KSResource::costPerHour_, cost, "costPerHour", "Change Cost/Hour",
             &KSResource::setCostPerHour);
}

// --- Sums ----------------------------------------------------------------------------------------

double KSResource::currentTotalCost() const {
    bool group = isGroupResource();
    double sum = 0.0;
    for (auto it = assignments_.rbegin(); it != assignments_.rend(); ++it)
        sum += group ? (*it)->nonSpecificTotalCost() : (*it)->totalCost();
    if (group) {
        for (const auto& child : childResources())
            sum += child->currentTotalCost();
    }
    return sum;
}

double KSResource::totalHours() const {
    if (isMaterial()) return 0.0;
    double sum = 0.0;
    for (const auto& assignment : assignments_) {
        if (!assignment->specificAssignments()) sum += assignment->timeSpent();
    }
    if (isGroupResource()) {
        for (const auto& child : childResources())
            sum += child->totalHours();
    }
    return sum;
}

std::int64_t KSResource::totalAssignments() const {
    std::int64_t sum = 0;
    for (const auto& assignment : assignments_) {
        if (!assignment->specificAssignments())
            sum += static_cast<std::int64_t>(std::ceil(assignment->unitsAssigned()));
    }
    for (const auto& child : childResources())
        sum += child->totalAssignments();
    return sum;
}

void KSResource::childWillChangeSummaryValue() {
    for (const char* key :
         {"unitsAvailable", "unitsAvailableForBinding", "costPerUse", "costPerHour"}) {
        willChangeValueForKey(key);
    }
    if (KSResource* parent = parentResource()) parent->childWillChangeSummaryValue();
}

void KSResource::childDidChangeSummaryValue() {
    for (const char* key :
         {"costPerHour", "costPerUse", "unitsAvailableForBinding", "unitsAvailable"}) {
        didChangeValueForKey(key);
    }
    if (KSResource* parent = parentResource()) parent->childDidChangeSummaryValue();
}

void KSResource::_resourceValuesWillChange() {
    for (auto it = assignments_.rbegin(); it != assignments_.rend(); ++it)
        (*it)->resourceValuesWillChange();
}

void KSResource::_resourceValuesDidChange() {
    for (auto it = assignments_.rbegin(); it != assignments_.rend(); ++it)
        (*it)->resourceValuesDidChange();
}

// --- Assignments -------------------------------------------------------------------------------

std::vector<std::shared_ptr<KSTask>> KSResource::assignedTasks() const {
    std::vector<std::shared_ptr<KSTask>> tasks;
    for (const auto& assignment : assignments_) {
        if (KSTask* task = assignment->task()) tasks.push_back(task->sharedFromThis<KSTask>());
    }
    std::stable_sort(tasks.begin(), tasks.end(),
                     [](const auto& a, const auto& b) { return a->compareByStartDate(*b) < 0; });
    return tasks;
}

std::shared_ptr<KSAssignment> KSResource::assignmentForTask(const KSTask* task) const {
    for (const auto& assignment : assignments_) {
        if (assignment->task() == task) return assignment;
    }
    return nullptr;
}

std::vector<std::shared_ptr<KSAssignment>> KSResource::assignmentsForTask(
    const KSTask* task) const {
    std::vector<std::shared_ptr<KSAssignment>> found;
    for (const auto& assignment : assignments_) {
        if (assignment->task() == task) found.push_back(assignment);
    }
    return found;
}

void KSResource::_addAssignment(const std::shared_ptr<KSAssignment>& assignment) {
    if (!assignment) return;
    if (assignment->task() && assignment->task()->isPrototype()) return;
    _assignmentUnitsWillChange(assignment.get());
    willChangeValueForKey("assignments");
    assignments_.push_back(assignment);
    didChangeValueForKey("assignments");
    _assignmentUnitsDidChange(assignment.get());
}

void KSResource::_removeAssignment(const std::shared_ptr<KSAssignment>& assignment) {
    auto it = std::find(assignments_.begin(), assignments_.end(), assignment);
    if (it == assignments_.end()) return;
    _assignmentUnitsWillChange(assignment.get());
    willChangeValueForKey("assignments");
    assignments_.erase(it);
    didChangeValueForKey("assignments");
    _assignmentUnitsDidChange(assignment.get());
}

void KSResource::_assignmentUnitsWillChange(KSAssignment*) {
    if (isMaterial()) {
        willChangeValueForKey("unitsAvailableForBinding");
        if (KSResource* parent = parentResource()) parent->childWillChangeSummaryValue();
    }
    willChangeValueForKey("currentTotalCost");
    willChangeValueForKey("totalHours");
    if (KSResource* parent = parentResource()) parent->_assignmentUnitsWillChange(nullptr);
}

void KSResource::_assignmentUnitsDidChange(KSAssignment*) {
    if (isMaterial()) {
        didChangeValueForKey("unitsAvailableForBinding");
        if (KSResource* parent = parentResource()) parent->childDidChangeSummaryValue();
    }
    didChangeValueForKey("totalHours");
    didChangeValueForKey("currentTotalCost");
    if (KSResource* parent = parentResource()) parent->_assignmentUnitsDidChange(nullptr);
}

void KSResource::removeAllAssignments() {
    for (const auto& assignment : std::vector<std::shared_ptr<KSAssignment>>(assignments_))
        assignment->remove();
}

}  // namespace kestrum
