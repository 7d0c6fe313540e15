#include "Model/formatters/KSAssignedAmountFormatter.h"

#include <unicode/numfmt.h>
#include <unicode/unistr.h>

#include "Model/resources/KSAssignedUnitsValue.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSNumberText.h"

namespace kestrum {

struct KSAssignedAmountFormatter::ICUFormat {
    std::unique_ptr<icu::NumberFormat> format;
};

const KSClassInfo& KSAssignedAmountFormatter::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSAssignedAmountFormatter>(
        "KSAssignedAmountFormatter", &KSPercentageFormatter::staticClassInfo(),
        [](KSClassBuilder<KSAssignedAmountFormatter>& b) {
            b.attribute("editingAsPercentage", &KSAssignedAmountFormatter::editingAsPercentage,
                        &KSAssignedAmountFormatter::setEditingAsPercentage);
        });
    return info;
}

KSAssignedAmountFormatter::KSAssignedAmountFormatter()
    : fpFormatter_(std::make_unique<ICUFormat>()) {
    UErrorCode status = U_ZERO_ERROR;
    fpFormatter_->format.reset(
        icu::NumberFormat::createInstance(icu::Locale::getDefault(), status));
    if (U_FAILURE(status)) fpFormatter_->format.reset();
}

KSAssignedAmountFormatter::~KSAssignedAmountFormatter() = default;

std::string KSAssignedAmountFormatter::amountString(double amount) {
    if (!fpFormatter_->format) return KSStringFromDouble(amount);
    icu::UnicodeString text;
    fpFormatter_->format->format(amount, text);
    std::string out;
    text.toUTF8String(out);
    return out;
}

std::string KSAssignedAmountFormatter::_unitsString(double units) {
    // Percentages go through the percentage form, so that they may read "> 99%".
    if (!editingAsPercentage_) return amountString(units);
    return KSPercentageFormatter::stringForObjectValue(KSValue(units));
}

std::string KSAssignedAmountFormatter::stringForObjectValue(const KSValue& value) {
    auto units = value.isObject() ? value.asObjectOfType<KSAssignedUnitsValue>() : nullptr;
    if (!units) {
        editingAsPercentage_ = true;
        return KSPercentageFormatter::stringForObjectValue(value);
    }
    editingAsPercentage_ = units->asPercentage();
    if (!units->hasTotal()) return _unitsString(units->units());
    return KSStringWithFormat(KSLocalizedString("%@ of %@"), _unitsString(units->units()),
                              _unitsString(units->total()));
}

std::string KSAssignedAmountFormatter::editingStringForObjectValue(const KSValue& value) {
    auto units = value.isObject() ? value.asObjectOfType<KSAssignedUnitsValue>() : nullptr;
    if (!units) {
        editingAsPercentage_ = true;
        return KSPercentageFormatter::editingStringForObjectValue(value);
    }
    editingAsPercentage_ = units->asPercentage();
    return _unitsString(units->units());
}

bool KSAssignedAmountFormatter::getObjectValueForString(KSValue* out, std::string_view text,
                                                        std::string* errorDescription) {
    if (editingAsPercentage_) {
        KSValue fraction;
        if (!KSPercentageFormatter::getObjectValueForString(&fraction, text, errorDescription))
            return false;
        if (out) {
            *out = KSValue(KSAssignedUnitsValue::valueWithUnitsOfTotalAsPercentage(
                fraction.doubleValue(), 0.0, true));
        }
        return true;
    }
    // A plain amount is taken as the number the text starts with, unchecked.
    if (out) {
        *out = KSValue(KSAssignedUnitsValue::valueWithUnitsOfTotalAsPercentage(
            static_cast<double>(KSFloatValueOfString(text)), 0.0, false));
    }
    return true;
}

KSValue KSAssignedAmountFormatter::_stepped(const KSValue& value, double percentStep,
                                            double amountStep) {
    auto units = value.isObject() ? value.asObjectOfType<KSAssignedUnitsValue>() : nullptr;
    double present = units ? units->units() : value.doubleValue();
    double step = editingAsPercentage_ ? percentStep : amountStep;
    return KSValue(
        KSAssignedUnitsValue::valueWithUnitsOfTotalAsPercentage(present + step, 0.0, true));
}

KSValue KSAssignedAmountFormatter::stepUpValue(const KSValue& value) {
    return _stepped(value, 0.01, 1.0);
}

KSValue KSAssignedAmountFormatter::stepDownValue(const KSValue& value) {
    return _stepped(value, -0.01, -1.0);
}

KSValue KSAssignedAmountFormatter::largeStepUpValue(const KSValue& value) {
    return _stepped(value, 0.1, 10.0);
}

KSValue KSAssignedAmountFormatter::largeStepDownValue(const KSValue& value) {
    return _stepped(value, -0.1, -10.0);
}

}  // namespace kestrum
