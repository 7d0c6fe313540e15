#include "Model/formatters/KSPercentageFormatter.h"
#include "Platform/core/KSICUText.h"

#include <unicode/dcfmtsym.h>
#include <unicode/numfmt.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cmath>

#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSNumberText.h"

namespace kestrum {

namespace {

// What the platform reads as a float: numbers, and text through its numeric prefix.
bool hasFloatValue(const KSValue& value) {
    return value.isNumber() || value.isBool() || value.isString();
}

}  // namespace

struct KSPercentageFormatter::ICUFormat {
    std::unique_ptr<icu::NumberFormat> format;
};

const KSClassInfo& KSPercentageFormatter::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSPercentageFormatter>(
        "KSPercentageFormatter", &KSFormatter::staticClassInfo(),
        [](KSClassBuilder<KSPercentageFormatter>& b) {
            b.attribute("minValue", &KSPercentageFormatter::minValue,
                        &KSPercentageFormatter::setMinValue);
        });
    return info;
}

KSPercentageFormatter::KSPercentageFormatter() : formatter_(std::make_unique<ICUFormat>()) {
    UErrorCode status = U_ZERO_ERROR;
    formatter_->format.reset(
        icu::NumberFormat::createPercentInstance(icu::Locale::getDefault(), status));
    if (U_FAILURE(status)) formatter_->format.reset();
}

KSPercentageFormatter::~KSPercentageFormatter() = default;

std::string KSPercentageFormatter::percentString(double fraction) {
    if (!formatter_->format) return KSStringFromDouble(std::round(fraction * 100.0)) + "%";
    icu::UnicodeString text;
    formatter_->format->format(fraction, text);
    return KSUTF8String(text);
}

std::string KSPercentageFormatter::stringForObjectValue(const KSValue& value) {
    if (!hasFloatValue(value)) return std::string();
    float v = value.floatValue();
    if (v > 0.99f && v < 1.0f) return KSStringWithFormat("> %@", percentString(0.99));
    if (v > 0.0f && v < 0.01f) return KSStringWithFormat("< %@", percentString(0.01));
    return percentString(v);
}

std::string KSPercentageFormatter::editingStringForObjectValue(const KSValue& value) {
    if (!hasFloatValue(value)) return std::string();
    return percentString(value.doubleValue());
}

bool KSPercentageFormatter::scanLocalizedFloat(std::string_view text, float* out) {
    UErrorCode status = U_ZERO_ERROR;
    icu::DecimalFormatSymbols symbols(icu::Locale::getDefault(), status);
    std::string decimal =
        U_SUCCESS(status)
            ? KSUTF8String(symbols.getSymbol(icu::DecimalFormatSymbols::kDecimalSeparatorSymbol))
            : ".";
    std::size_t i = 0;
    while (i < text.size() &&
           (text[i] == ' ' || text[i] == '\t' || text[i] == '\n' || text[i] == '\r')) {
        ++i;
    }
    std::string number;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) number += text[i++];
    bool digits = false;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
        number += text[i++];
        digits = true;
    }
    if (!decimal.empty() && text.substr(i, decimal.size()) == decimal) {
        std::size_t j = i + decimal.size();
        std::string fraction;
        while (j < text.size() && text[j] >= '0' && text[j] <= '9')
            fraction += text[j++];
        if (!fraction.empty()) {
            number += "." + fraction;
            digits = true;
        }
    }
    if (!digits) return false;
    *out = KSFloatValueOfString(number);
    return true;
}

bool KSPercentageFormatter::getObjectValueForString(KSValue* out, std::string_view text,
                                                    std::string* errorDescription) {
    float value = 0.0f;
    if (!scanLocalizedFloat(text, &value)) {
        if (errorDescription)
            *errorDescription = KSLocalizedString("Invalid percentage", "Invalid percentage");
        return false;
    }
    // The float read is scaled in double precision, so that "5" reads as 0.05.
    double fraction = std::fabs(static_cast<double>(value));
    // "50" and "50%" both mean one half; "0.5" does too, and "1" means 1%.
    if (text.find('%') != std::string_view::npos || fraction >= 1.0) fraction *= 0.01;
    if (fraction < static_cast<double>(minValue_)) {
        if (errorDescription) {
            *errorDescription = KSStringWithFormat(KSLocalizedString("Units must be at least %@"),
                                                   percentString(static_cast<double>(minValue_)));
        }
        return false;
    }
    if (out) *out = KSValue(fraction);
    return true;
}

KSValue KSPercentageFormatter::stepUpValue(const KSValue& value) {
    return KSValue(std::min(value.doubleValue() + 0.1, 1.0));
}

KSValue KSPercentageFormatter::stepDownValue(const KSValue& value) {
    return KSValue(std::max(value.doubleValue() - 0.1, 0.0));
}

KSValue KSPercentageFormatter::largeStepUpValue(const KSValue&) {
    return KSValue(1.0);
}

KSValue KSPercentageFormatter::largeStepDownValue(const KSValue&) {
    return KSValue(0.0);
}

}  // namespace kestrum
