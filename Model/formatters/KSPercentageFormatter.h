// KSPercentageFormatter: fractions as percentages, for completion and units cells.
//
// Prints 0.5 as "50%" in the current locale, but never lets a task that is not quite
// done read 100% ("> 99%") nor one barely begun read 0% ("< 1%"). Reads typed text
// forgivingly: "50", "50%" and "0.5" all mean one half, "1" means 1%, a minus sign is
// dropped, and a minimum (minValue) may be required. Stepping moves by 10% within 0 and 1.
//
//   KSPercentageFormatter f;
//   f.stringForObjectValue(KSValue(0.995));          // "> 99%"
//   f.getObjectValueForString(&value, "5", &error);  // 0.05
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Platform/formatters/KSFormatter.h"

namespace kestrum {

class KSPercentageFormatter : public KSFormatter {
    KS_DECLARE_CLASS()
public:
    // A percent-style formatter of the current locale, with no minimum.
    KSPercentageFormatter();
    ~KSPercentageFormatter() override;

    // The smallest value that reads back (a fraction, as a 32-bit float); 0.0 by default.
    float minValue() const { return minValue_; }
    void setMinValue(float value) { minValue_ = value; }

    // A number (or numeric text) as a percentage, with "> 99%" and "< 1%" at the edges;
    // anything else as the number formatter prints it (empty for what is no number).
    std::string stringForObjectValue(const KSValue& value) override;
    // The plain percentage, without "<" or ">".
    std::string editingStringForObjectValue(const KSValue& value) override;
    // A number: "%" or a value of 1 or more counts in percent; "Units must be at least
    // %@" below the minimum.
    bool getObjectValueForString(KSValue* out, std::string_view text,
                                 std::string* errorDescription) override;

    // Plus 0.1, at most 1.0 / minus 0.1, at least 0.0.
    virtual KSValue stepUpValue(const KSValue& value);
    virtual KSValue stepDownValue(const KSValue& value);
    // 1.0 / 0.0 whatever the value.
    virtual KSValue largeStepUpValue(const KSValue& value);
    virtual KSValue largeStepDownValue(const KSValue& value);

    // A fraction printed by the percent formatter alone ("50%").
    std::string percentString(double fraction);
    // Reads the first number of `text` in the current locale's decimal form (leading
    // white space, a sign, digits and the decimal separator); false when there is none.
    static bool scanLocalizedFloat(std::string_view text, float* out);

private:
    struct ICUFormat;
    std::unique_ptr<ICUFormat> formatter_;
    float minValue_ = 0.0f;
};

}  // namespace kestrum
