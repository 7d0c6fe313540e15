// KSCostFormatter: money amounts as text and back, in the plan's currency.
//
// A number formatter with a currency symbol kept apart as a prefix or suffix, so that a
// negative amount shows its sign outside the symbol ("-$5.00", not "$-5.00"), and a zero
// or missing amount shows the zero symbol (nothing, in cells). Reading never fails: it
// strips the symbol, then grouping, then everything but digits, signs and parentheses,
// so "(1,234.50)" reads as -1234.5 and text of letters as 0.
//
// KSCurrency makes the formatters a plan's costs are shown and archived with; a
// currency-style formatter of a locale and code serves to learn how a currency prints.
//
//   auto f = KSCurrency::currencyForCode("USD")->displayFormatter();
//   f->stringForObjectValue(KSValue(1234.5));   // "$1,234.50"
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/formatters/KSFormatter.h"

namespace kestrum {

class KSCostFormatter : public KSFormatter {
    KS_DECLARE_CLASS()
public:
    // A decimal formatter of the current locale with no symbol.
    KSCostFormatter();
    ~KSCostFormatter() override;

    // Becomes a currency-style formatter of `localeIdentifier` for the ISO code
    // ("de_DE", "EUR"), as the platform prints that currency there.
    void setCurrencyStyleForLocaleAndCode(const std::string& localeIdentifier,
                                          const std::string& currencyCode);
    // Becomes a decimal formatter with these separators and exactly `digits` decimals.
    void setDecimalStyle(const std::string& groupingSeparator, const std::string& decimalSeparator,
                         int digits);

    const std::optional<std::string>& zeroSymbol() const { return zeroSymbol_; }
    void setZeroSymbol(std::optional<std::string> symbol) { zeroSymbol_ = std::move(symbol); }
    const std::optional<std::string>& prefix() const { return prefix_; }
    void setPrefix(std::optional<std::string> prefix) { prefix_ = std::move(prefix); }
    const std::optional<std::string>& suffix() const { return suffix_; }
    void setSuffix(std::optional<std::string> suffix) { suffix_ = std::move(suffix); }
    // The number formatter's own marks around negative numbers and its grouping mark.
    std::string negativePrefix() const;
    std::string negativeSuffix() const;
    std::string groupingSeparator() const;

    // The number alone as the number formatter prints it (no prefix or suffix).
    std::string numberString(double value) const;
    // Zero symbol for null or 0, else prefix, number and suffix, with a negative sign
    // outside the prefix.
    std::string stringForObjectValue(const KSValue& value) override;
    // A non-zero amount as printed; otherwise the zero symbol made one character long.
    std::shared_ptr<TWTextStorage> attributedStringForObjectValueWithDefaultAttributes(
        const KSValue& value, const KSDictionary& attributes) override;
    // Takes whatever it can (see the header comment); always true with a number.
    bool getObjectValueForString(KSValue* out, std::string_view text,
                                 std::string* errorDescription) override;

private:
    // The number formatter's strict reading of the whole text.
    bool _parse(const std::string& text, double* out) const;

    struct ICUFormat;
    std::unique_ptr<ICUFormat> icu_;
    std::optional<std::string> zeroSymbol_;
    std::optional<std::string> prefix_;
    std::optional<std::string> suffix_;
};

}  // namespace kestrum
