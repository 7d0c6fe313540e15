#include "Model/resources/KSAssignedUnitsValue.h"

#include <functional>

#include "Platform/core/KSNumberText.h"

namespace kestrum {

const KSClassInfo& KSAssignedUnitsValue::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSAssignedUnitsValue>(
        "KSAssignedUnitsValue", &KSBaseObject::staticClassInfo(),
        [](KSClassBuilder<KSAssignedUnitsValue>& b) {
            b.readOnly("units", &KSAssignedUnitsValue::units);
            b.readOnly("total", &KSAssignedUnitsValue::total);
            b.readOnly("asPercentage", &KSAssignedUnitsValue::asPercentage);
            b.readOnly("hasTotal", &KSAssignedUnitsValue::hasTotal);
        });
    return info;
}

KSAssignedUnitsValue::KSAssignedUnitsValue(double units, double total, bool asPercentage)
    : units_(units), total_(total), asPercentage_(asPercentage) {}

KSAssignedUnitsValue::~KSAssignedUnitsValue() = default;

std::shared_ptr<KSAssignedUnitsValue> KSAssignedUnitsValue::valueWithUnitsOfTotalAsPercentage(
    double units, double total, bool asPercentage) {
    return std::make_shared<KSAssignedUnitsValue>(units, total, asPercentage);
}

int KSAssignedUnitsValue::compare(const KSAssignedUnitsValue& other) const {
    if (units_ < other.units_) return -1;
    if (units_ > other.units_) return 1;
    return 0;
}

bool KSAssignedUnitsValue::isEqual(const KSBaseObject& other) const {
    const auto* value = dynamic_cast<const KSAssignedUnitsValue*>(&other);
    return value && value->units_ == units_;
}

std::size_t KSAssignedUnitsValue::hash() const {
    return std::hash<double>()(units_);
}

std::string KSAssignedUnitsValue::description() const {
    return KSStringFromDouble(units_) + (hasTotal() ? " of " + KSStringFromDouble(total_) : "");
}

}  // namespace kestrum
