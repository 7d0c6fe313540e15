// KSAssignedUnitsValue: units of a resource as a value for cells and formatters.
//
// An immutable value: the units (1.0 is one whole unit), an optional total to show them
// against (0.0 for none) and whether they read as a percentage (people, machines) or as
// a plain amount (material). Two values are equal when their units are, whatever the
// total and the percentage flag say.
//
//   auto value = KSAssignedUnitsValue::valueWithUnitsOfTotalAsPercentage(0.5, 2.0, true);
//   KSAssignedAmountFormatter().stringForObjectValue(KSValue(value));   // "50% of 200%"
#pragma once

#include <memory>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class KSAssignedUnitsValue : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    KSAssignedUnitsValue(double units, double total, bool asPercentage);
    ~KSAssignedUnitsValue() override;

    // A new value; copies answer the receiver, so values are shared freely.
    static std::shared_ptr<KSAssignedUnitsValue> valueWithUnitsOfTotalAsPercentage(
        double units, double total, bool asPercentage);
    std::shared_ptr<KSAssignedUnitsValue> copy() const {
        return std::const_pointer_cast<KSAssignedUnitsValue>(
            std::static_pointer_cast<const KSAssignedUnitsValue>(shared_from_this()));
    }

    double units() const { return units_; }
    // 0.0 for no total.
    double total() const { return total_; }
    bool asPercentage() const { return asPercentage_; }
    bool hasTotal() const { return total_ != 0.0; }
    // Orders by units: -1, 0 or 1.
    int compare(const KSAssignedUnitsValue& other) const;
    // Equal units, for any total and percentage flag.
    bool isEqual(const KSBaseObject& other) const override;
    std::size_t hash() const override;
    std::string description() const override;

private:
    double units_;
    double total_;
    bool asPercentage_;
};

}  // namespace kestrum
