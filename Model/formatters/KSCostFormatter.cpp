#include "Model/formatters/KSCostFormatter.h"
#include "Platform/core/KSICUText.h"

#include <unicode/dcfmtsym.h>
#include <unicode/decimfmt.h>
#include <unicode/numfmt.h>
#include <unicode/unistr.h>

#include <cctype>

#include "Platform/core/KSNumberText.h"
#include "Platform/core/KSUnicode.h"
#include "Platform/text/TWTextStorage.h"

namespace kestrum {

namespace {

std::unique_ptr<icu::DecimalFormat> decimalFormat(icu::NumberFormat* format) {
    auto* decimal = dynamic_cast<icu::DecimalFormat*>(format);
    if (!decimal) {
        delete format;
        return nullptr;
    }
    return std::unique_ptr<icu::DecimalFormat>(decimal);
}

bool startsWith(std::string_view text, std::string_view head) {
    return !head.empty() && text.substr(0, head.size()) == head;
}

bool endsWith(std::string_view text, std::string_view tail) {
    return !tail.empty() && text.size() >= tail.size() &&
           text.substr(text.size() - tail.size()) == tail;
}

// Drops white space (any Unicode space) and every occurrence of `grouping`.
std::string withoutSpaceAndGrouping(const std::string& text, const std::string& grouping) {
    icu::UnicodeString in = icu::UnicodeString::fromUTF8(text);
    icu::UnicodeString out;
    for (int32_t i = 0; i < in.length();) {
        UChar32 c = in.char32At(i);
        i += U16_LENGTH(c);
        if (!u_isUWhiteSpace(c) && !u_isspace(c)) out.append(c);
    }
    std::string result = KSUTF8String(out);
    if (grouping.empty()) return result;
    for (std::size_t at = result.find(grouping); at != std::string::npos;
         at = result.find(grouping, at)) {
        result.erase(at, grouping.size());
    }
    return result;
}

// Keeps decimal digits and "-().,", the characters an amount may be made of.
std::string amountCharacters(const std::string& text) {
    std::string out;
    for (char c : text) {
        if ((c >= '0' && c <= '9') || c == '-' || c == '(' || c == ')' || c == '.' || c == ',')
            out += c;
    }
    return out;
}

}  // namespace

struct KSCostFormatter::ICUFormat {
    std::unique_ptr<icu::DecimalFormat> format;
};

const KSClassInfo& KSCostFormatter::staticClassInfo() {
    static const KSClassInfo info =
        KSClassInfo::make<KSCostFormatter>("KSCostFormatter", &KSFormatter::staticClassInfo(),
                                           [](KSClassBuilder<KSCostFormatter>&) {});
    return info;
}

KSCostFormatter::KSCostFormatter() : icu_(std::make_unique<ICUFormat>()) {
    UErrorCode status = U_ZERO_ERROR;
    icu_->format =
        decimalFormat(icu::NumberFormat::createInstance(icu::Locale::getDefault(), status));
}

KSCostFormatter::~KSCostFormatter() = default;

void KSCostFormatter::setCurrencyStyleForLocaleAndCode(const std::string& localeIdentifier,
                                                       const std::string& currencyCode) {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale locale(localeIdentifier.c_str());
    locale.setKeywordValue("currency", currencyCode.c_str(), status);
    status = U_ZERO_ERROR;
    auto format = decimalFormat(icu::NumberFormat::createCurrencyInstance(locale, status));
    if (U_FAILURE(status) || !format) return;
    icu::UnicodeString iso = icu::UnicodeString::fromUTF8(currencyCode);
    format->setCurrency(iso.getTerminatedBuffer(), status);
    icu_->format = std::move(format);
}

void KSCostFormatter::setDecimalStyle(const std::string& groupingSeparator,
                                      const std::string& decimalSeparator, int digits) {
    UErrorCode status = U_ZERO_ERROR;
    icu::DecimalFormatSymbols symbols(icu::Locale::getDefault(), status);
    if (U_FAILURE(status)) return;
    symbols.setSymbol(icu::DecimalFormatSymbols::kGroupingSeparatorSymbol,
                      icu::UnicodeString::fromUTF8(groupingSeparator));
    symbols.setSymbol(icu::DecimalFormatSymbols::kDecimalSeparatorSymbol,
                      icu::UnicodeString::fromUTF8(decimalSeparator));
    symbols.setSymbol(icu::DecimalFormatSymbols::kMonetarySeparatorSymbol,
                      icu::UnicodeString::fromUTF8(decimalSeparator));
    symbols.setSymbol(icu::DecimalFormatSymbols::kMonetaryGroupingSeparatorSymbol,
                      icu::UnicodeString::fromUTF8(groupingSeparator));
    auto format =
        std::make_unique<icu::DecimalFormat>(icu::UnicodeString(u"#,##0"), symbols, status);
    if (U_FAILURE(status)) return;
    format->setGroupingUsed(!groupingSeparator.empty());
    format->setMinimumFractionDigits(digits);
    format->setMaximumFractionDigits(digits);
    icu_->format = std::move(format);
}

std::string KSCostFormatter::negativePrefix() const {
    icu::UnicodeString text;
    return icu_->format ? KSUTF8String(icu_->format->getNegativePrefix(text)) : "-";
}

std::string KSCostFormatter::negativeSuffix() const {
    icu::UnicodeString text;
    return icu_->format ? KSUTF8String(icu_->format->getNegativeSuffix(text)) : "";
}

std::string KSCostFormatter::groupingSeparator() const {
    if (!icu_->format) return ",";
    const icu::DecimalFormatSymbols* symbols = icu_->format->getDecimalFormatSymbols();
    return symbols ? KSUTF8String(
                         symbols->getSymbol(icu::DecimalFormatSymbols::kGroupingSeparatorSymbol))
                   : ",";
}

std::string KSCostFormatter::numberString(double value) const {
    if (!icu_->format) return KSStringFromDouble(value);
    icu::UnicodeString text;
    icu_->format->format(value, text);
    return KSUTF8String(text);
}

std::string KSCostFormatter::stringForObjectValue(const KSValue& value) {
    if (value.isNull() || !(value.isNumber() || value.isBool() || value.isString()) ||
        value.doubleValue() == 0.0) {
        return zeroSymbol_.value_or("");
    }
    double amount = value.doubleValue();
    std::string number = numberString(amount);
    std::string head = prefix_.value_or("");
    std::string tail = suffix_.value_or("");
    if (amount >= 0.0) return head + number + tail;
    // The sign goes outside the symbol. The number's own negative marks come off: the
    // prefix from the front and the suffix from the back (a negative form without a
    // suffix, such as "-1,234.50", loses nothing there).
    std::string sign = negativePrefix();
    std::string closing = negativeSuffix();
    if (startsWith(number, sign)) number.erase(0, sign.size());
    if (endsWith(number, closing)) number.erase(number.size() - closing.size());
    return sign + head + number + tail + closing;
}

std::shared_ptr<TWTextStorage> KSCostFormatter::attributedStringForObjectValueWithDefaultAttributes(
    const KSValue& value, const KSDictionary& attributes) {
    if (!value.isNull() && value.doubleValue() != 0.0)
        return KSFormatter::attributedStringForObjectValueWithDefaultAttributes(value, attributes);
    // A cell's zero is one character wide: the zero symbol's first, or a blank.
    icu::UnicodeString zero = icu::UnicodeString::fromUTF8(zeroSymbol_.value_or(""));
    std::string one = zero.length() > 0
                          ? KSUTF8String(zero.tempSubString(0, U16_LENGTH(zero.char32At(0))))
                          : std::string(" ");
    auto text = std::make_shared<TWTextStorage>(one);
    text->setAttributesRange(attributes, TWTextRange{0, text->length()});
    return text;
}

bool KSCostFormatter::_parse(const std::string& text, double* out) const {
    if (!icu_->format || text.empty()) return false;
    icu::UnicodeString input = icu::UnicodeString::fromUTF8(text);
    icu::Formattable result;
    icu::ParsePosition position(0);
    icu_->format->parse(input, result, position);
    if (position.getIndex() != input.length() || position.getErrorIndex() >= 0) return false;
    UErrorCode status = U_ZERO_ERROR;
    double value = result.getDouble(status);
    if (U_FAILURE(status)) return false;
    *out = value;
    return true;
}

bool KSCostFormatter::getObjectValueForString(KSValue* out, std::string_view text,
                                              std::string* errorDescription) {
    std::string rest(text);
    if (prefix_ && startsWith(rest, *prefix_)) rest.erase(0, prefix_->size());
    if (suffix_ && endsWith(rest, *suffix_)) rest.erase(rest.size() - suffix_->size());
    double value = 0.0;
    if (!rest.empty() && !_parse(rest, &value)) {
        rest = withoutSpaceAndGrouping(rest, groupingSeparator());
        if (!_parse(rest, &value)) {
            rest = amountCharacters(rest);
            if (rest.size() >= 2 && rest.front() == '(' && rest.back() == ')')
                rest = "-" + rest.substr(1, rest.size() - 2);
            if (!_parse(rest, &value)) value = KSDoubleValueOfString(rest);
        }
    }
    if (errorDescription) errorDescription->clear();
    if (out) *out = KSValue(value);
    return true;
}

}  // namespace kestrum
