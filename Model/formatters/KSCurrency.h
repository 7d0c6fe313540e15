// KSCurrency: how a currency looks: its symbol and where it stands, decimals, separators.
//
// A plan shows all its costs in one currency. Rather than keep tables, the class learns
// each currency by printing a sample amount (1234.56) with the platform's currency
// formatter for the code in the current locale and reading the printed text back:
// "$1,234.56" is the symbol "$" before the number, two decimals, "," and "."; "1.234,56 €"
// has "€" after a blank and the separators swapped; "¥1,235" has no decimals. Currencies
// are registered by code and by display name (the printed sample) and listed sorted.
//
// The class learns under the current locale on first use; resetForCurrentLocale forgets
// everything so that the next use learns again (after the locale changed).
//
//   auto euro = KSCurrency::currencyForCode("EUR");
//   euro->displayFormatter()->stringForObjectValue(KSValue(12.5));   // "€12.50" in en_US
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class KSCostFormatter;
class KSCurrency;

using KSCurrencyList = std::vector<std::shared_ptr<KSCurrency>>;

// Where the symbol stands.
enum KSCurrencySymbolPosition : std::int32_t {
    KSCurrencySymbolAfter = 0,
    KSCurrencySymbolBefore = 1,
    KSCurrencySymbolAfterWithBlank = 2,
    KSCurrencySymbolBeforeWithBlank = 3,
};

class KSCurrency : public KSBaseObject {
    KS_DECLARE_CLASS()
    struct Passkey {};

public:
    // Made by the class operations only.
    KSCurrency(Passkey, std::string symbol, std::int32_t position, std::uint64_t digits,
               std::string thousandsSeparator, std::string decimalSeparator);
    ~KSCurrency() override;

    // --- The registry ------------------------------------------------------------------
    // Every registered currency sorted by display name (localized, case-insensitive).
    static KSCurrencyList allCurrenciesSortedByDisplayNameInCurrentLocale();
    // The same with the ten common currencies first.
    static KSCurrencyList allCurrenciesSortedByPrevalenceAndDisplayNameInCurrentLocale();
    // A new, unregistered currency of these looks.
    static std::shared_ptr<KSCurrency> currencyWithSymbolPositionDigitsSeparators(
        const std::string& symbol, std::int32_t position, std::uint64_t digits,
        const std::string& thousandsSeparator, const std::string& decimalSeparator);
    // The currency of an ISO 4217 code, learnt on first request; null for a code whose
    // sample prints without digits (remembered as such).
    static std::shared_ptr<KSCurrency> currencyForCode(const std::string& code);
    // The registered currency of that display name, else one read from the text as a
    // printed sample; null when the text holds no number.
    static std::shared_ptr<KSCurrency> currencyForDisplayName(const std::string& displayName);
    // The current locale's currency ("USD" when the locale has none).
    static std::shared_ptr<KSCurrency> currencyForCurrentLocale();
    // The ISO code a registered currency was learnt from, or "" for one made otherwise.
    static std::string codeForCurrency(const KSCurrency& currency);
    // Forgets every currency; the next use learns them again in the current locale.
    static void resetForCurrentLocale();

    // --- The currency ------------------------------------------------------------------
    // Never null; "" for none.
    const std::string& symbol() const { return symbol_; }
    std::int32_t symbolPosition() const { return symbolPosition_; }
    std::uint64_t digits() const { return digits_; }
    const std::string& thousandsSeparator() const { return thousandsSeparator_; }
    const std::string& decimalSeparator() const { return decimalSeparator_; }
    // One of USD, CAD, AUD, EUR, GBP, MXN, BRL, CNY, INR and JPY.
    bool inTopCurrencies() const { return inTopCurrencies_; }
    // The sample 1234.56 through the display formatter ("$1,234.56").
    std::string exampleCurrencyString() const;
    std::string displayName() const { return exampleCurrencyString(); }
    std::string description() const override { return exampleCurrencyString(); }
    // Shows costs; zero shows as nothing. Made on first use.
    const std::shared_ptr<KSCostFormatter>& displayFormatter() const;
    // Writes costs; zero shows as the pattern ("$0.00"). Made on first use.
    const std::shared_ptr<KSCostFormatter>& archiveFormatter() const;
    // The fields by name, for logs.
    KSDictionary debugDictionary() const;
    // Copies answer the receiver.
    std::shared_ptr<KSCurrency> copy() const;

private:
    struct Registry;
    static Registry& _registry();
    static void _registerCurrency(const std::shared_ptr<KSCurrency>& currency);
    static std::shared_ptr<KSCurrency> _readSample(std::string_view text);
    void _setTopCurrency() { inTopCurrencies_ = true; }
    std::shared_ptr<KSCostFormatter> _formatterForDisplay(bool display) const;

    std::string symbol_;
    std::int32_t symbolPosition_;
    std::uint64_t digits_;
    std::string thousandsSeparator_;
    std::string decimalSeparator_;
    mutable std::shared_ptr<KSCostFormatter> displayFormatter_;
    mutable std::shared_ptr<KSCostFormatter> archiveFormatter_;
    bool inTopCurrencies_ = false;
};

}  // namespace kestrum
