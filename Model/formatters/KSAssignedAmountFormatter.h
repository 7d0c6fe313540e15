// KSAssignedAmountFormatter: units of a resource assigned to a task, as text and back.
//
// Works on KSAssignedUnitsValue: people and machines read as percentages ("50%", "150%
// of 200%"), material as plain amounts ("3", "3 of 12"). Reading follows the mode last
// set (editingAsPercentage): percentages through the percentage rules with the minimum,
// plain amounts as the number the text starts with. Stepping moves by 1% or one unit
// (10% or ten units for a large step) with no limits.
//
//   KSAssignedAmountFormatter f;
//   f.setEditingAsPercentage(true);
//   f.getObjectValueForString(&value, "50%", &error);   // a value of 0.5 units
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Model/formatters/KSPercentageFormatter.h"

namespace kestrum {

class KSAssignedUnitsValue;

class KSAssignedAmountFormatter : public KSPercentageFormatter {
    KS_DECLARE_CLASS()
public:
    // Percent mode off, a decimal formatter of the current locale for plain amounts.
    KSAssignedAmountFormatter();
    ~KSAssignedAmountFormatter() override;

    // Whether text reads as a percentage; set from each assigned-units value printed.
    bool editingAsPercentage() const { return editingAsPercentage_; }
    void setEditingAsPercentage(bool flag) { editingAsPercentage_ = flag; }

    // "<units> of <total>" with a total, the units alone without; other values print as
    // percentages.
    std::string stringForObjectValue(const KSValue& value) override;
    // The units alone; a percentage may show "<" or ">".
    std::string editingStringForObjectValue(const KSValue& value) override;
    // A KSAssignedUnitsValue with total 0.0 (see the header comment).
    bool getObjectValueForString(KSValue* out, std::string_view text,
                                 std::string* errorDescription) override;

    // Units plus (minus) 0.01 in percent mode, 1.0 otherwise; the large steps ten times
    // that. Always a percentage value with no total.
    KSValue stepUpValue(const KSValue& value) override;
    KSValue stepDownValue(const KSValue& value) override;
    KSValue largeStepUpValue(const KSValue& value) override;
    KSValue largeStepDownValue(const KSValue& value) override;

    // A plain amount through the decimal formatter ("1.5").
    std::string amountString(double amount);

private:
    std::string _unitsString(double units);
    KSValue _stepped(const KSValue& value, double percentStep, double amountStep);

    bool editingAsPercentage_ = false;
    struct ICUFormat;
    std::unique_ptr<ICUFormat> fpFormatter_;
};

}  // namespace kestrum
