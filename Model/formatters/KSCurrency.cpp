#include "Model/formatters/KSCurrency.h"
#include "Platform/core/KSICUText.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/numfmt.h>
#include <unicode/uchar.h>
#include <unicode/ucurr.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include "Model/formatters/KSCostFormatter.h"

namespace kestrum {

namespace {

bool isBlank(UChar32 c) {
    return u_isUWhiteSpace(c) || u_isspace(c) || c == 0x00A0 || c == 0x202F || c == 0x2007;
}

bool isDigit(UChar32 c) {
    return u_isdigit(c);
}

// The sample every currency is printed with, as a 32-bit float.
constexpr float kSampleAmount = 1234.56f;

const char* const kTopCurrencies[] = {"USD", "CAD", "AUD", "EUR", "GBP",
                                      "MXN", "BRL", "CNY", "INR", "JPY"};

// Walks a printed sample one code point at a time.
class SampleScanner {
public:
    explicit SampleScanner(std::string_view text) : text_(icu::UnicodeString::fromUTF8(text)) {}
    bool atEnd() const { return at_ >= text_.length(); }
    UChar32 peek() const { return text_.char32At(at_); }
    void advance() { at_ += U16_LENGTH(peek()); }
    int32_t position() const { return at_; }
    void setPosition(int32_t at) { at_ = at; }
    std::string between(int32_t from, int32_t to) const {
        return KSUTF8String(text_.tempSubStringBetween(from, to));
    }
    // Skips code points while `test` holds; answers how many.
    template <class Test>
    int skip(Test test) {
        int count = 0;
        while (!atEnd() && test(peek())) {
            advance();
            ++count;
        }
        return count;
    }
    // The text up to the first code point for which `stop` holds.
    template <class Stop>
    std::string tokenUpTo(Stop stop) {
        int32_t from = at_;
        skip([&](UChar32 c) { return !stop(c); });
        return between(from, at_);
    }

private:
    icu::UnicodeString text_;
    int32_t at_ = 0;
};

// Drops one trailing blank of `symbol`; true when there was one.
bool cutTrailingBlank(std::string& symbol) {
    icu::UnicodeString text = icu::UnicodeString::fromUTF8(symbol);
    if (text.isEmpty()) return false;
    int32_t last = text.moveIndex32(text.length(), -1);
    if (!isBlank(text.char32At(last))) return false;
    symbol = KSUTF8String(text.tempSubString(0, last));
    return true;
}

}  // namespace

struct KSCurrency::Registry {
    bool initialised = false;
    KSCurrencyList all;
    // A null entry marks a code that could not be read.
    std::unordered_map<std::string, std::shared_ptr<KSCurrency>> byCode;
    std::unordered_map<std::string, std::shared_ptr<KSCurrency>> byDisplayName;
    std::unordered_map<const KSCurrency*, std::string> codes;
    std::optional<KSCurrencyList> sortedByName;
    std::optional<KSCurrencyList> sortedByPrevalence;
    std::shared_ptr<KSCostFormatter> sampler;
};

const KSClassInfo& KSCurrency::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSCurrency>(
        "KSCurrency", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSCurrency>& b) {
            b.readOnly("symbol", &KSCurrency::symbol);
            b.readOnly("symbolPosition", &KSCurrency::symbolPosition);
            b.readOnly("thousandsSeparator", &KSCurrency::thousandsSeparator);
            b.readOnly("decimalSeparator", &KSCurrency::decimalSeparator);
            b.readOnly("inTopCurrencies", &KSCurrency::inTopCurrencies);
            b.readOnly("displayName", &KSCurrency::displayName);
            b.readOnly("exampleCurrencyString", &KSCurrency::exampleCurrencyString);
            b.custom("digits", KSValue::Type::Integer,
                     [](const KSCurrency& c) { return KSValue(c.digits()); });
        });
    return info;
}

KSCurrency::KSCurrency(Passkey, std::string symbol, std::int32_t position, std::uint64_t digits,
                       std::string thousandsSeparator, std::string decimalSeparator)
    : symbol_(std::move(symbol)),
      symbolPosition_(position),
      digits_(digits),
      thousandsSeparator_(std::move(thousandsSeparator)),
      decimalSeparator_(std::move(decimalSeparator)) {}

KSCurrency::~KSCurrency() = default;

std::shared_ptr<KSCurrency> KSCurrency::copy() const {
    return std::const_pointer_cast<KSCurrency>(
        std::static_pointer_cast<const KSCurrency>(shared_from_this()));
}

// --- The registry ----------------------------------------------------------------------------

KSCurrency::Registry& KSCurrency::_registry() {
    static Registry registry;
    if (registry.initialised) return registry;
    // Marked first: learning the codes below goes through this function again.
    registry.initialised = true;
    registry.sampler = std::make_shared<KSCostFormatter>();
    UErrorCode status = U_ZERO_ERROR;
    UEnumeration* codes = ucurr_openISOCurrencies(UCURR_COMMON | UCURR_NON_DEPRECATED, &status);
    if (U_SUCCESS(status)) {
        while (const char* code = uenum_next(codes, nullptr, &status)) {
            if (U_FAILURE(status)) break;
            currencyForCode(code);
        }
        uenum_close(codes);
    }
    for (const char* code : kTopCurrencies) {
        auto found = registry.byCode.find(code);
        if (found != registry.byCode.end() && found->second) found->second->_setTopCurrency();
    }
    return registry;
}

void KSCurrency::resetForCurrentLocale() {
    Registry& registry = _registry();
    registry = Registry();
}

void KSCurrency::_registerCurrency(const std::shared_ptr<KSCurrency>& currency) {
    Registry& registry = _registry();
    registry.all.push_back(currency);
    registry.byDisplayName[currency->displayName()] = currency;
    registry.sortedByName.reset();
    registry.sortedByPrevalence.reset();
}

std::shared_ptr<KSCurrency> KSCurrency::currencyWithSymbolPositionDigitsSeparators(
    const std::string& symbol, std::int32_t position, std::uint64_t digits,
    const std::string& thousandsSeparator, const std::string& decimalSeparator) {
    return std::make_shared<KSCurrency>(Passkey{}, symbol, position, digits, thousandsSeparator,
                                        decimalSeparator);
}

std::shared_ptr<KSCurrency> KSCurrency::currencyForCode(const std::string& code) {
    Registry& registry = _registry();
    auto known = registry.byCode.find(code);
    if (known != registry.byCode.end()) return known->second;
    registry.sampler->setCurrencyStyleForLocaleAndCode(icu::Locale::getDefault().getName(), code);
    std::string sample = registry.sampler->numberString(static_cast<double>(kSampleAmount));
    std::shared_ptr<KSCurrency> currency = currencyForDisplayName(sample);
    if (currency) {
        _registerCurrency(currency);
        registry.codes[currency.get()] = code;
    }
    registry.byCode[code] = currency;
    return currency;
}

std::string KSCurrency::codeForCurrency(const KSCurrency& currency) {
    Registry& registry = _registry();
    auto found = registry.codes.find(&currency);
    return found == registry.codes.end() ? std::string() : found->second;
}

std::shared_ptr<KSCurrency> KSCurrency::currencyForDisplayName(const std::string& displayName) {
    Registry& registry = _registry();
    auto known = registry.byDisplayName.find(displayName);
    if (known != registry.byDisplayName.end()) return known->second;
    return _readSample(displayName);
}

std::shared_ptr<KSCurrency> KSCurrency::_readSample(std::string_view text) {
    SampleScanner scanner(text);
    scanner.skip(isBlank);
    if (scanner.atEnd()) return nullptr;
    // A symbol before the number; a blank at its end stands between it and the number.
    std::string symbol = scanner.tokenUpTo(isDigit);
    std::optional<std::int32_t> position;
    if (!symbol.empty()) {
        position =
            cutTrailingBlank(symbol) ? KSCurrencySymbolBeforeWithBlank : KSCurrencySymbolBefore;
    }
    if (scanner.atEnd()) return nullptr;
    std::string thousands;
    std::string decimal;
    std::uint64_t digits = 0;
    scanner.skip(isDigit);
    while (!scanner.atEnd()) {
        int32_t separatorStart = scanner.position();
        std::string separator = scanner.tokenUpTo(isDigit);
        if (scanner.atEnd()) {
            // What follows the last digits is no separator.
            scanner.setPosition(separatorStart);
            break;
        }
        int run = scanner.skip(isDigit);
        // A short run, or a second kind of mark, follows the decimal separator.
        if (run < 3 || (!thousands.empty() && separator != thousands)) {
            decimal = separator;
            digits = static_cast<std::uint64_t>(run);
            break;
        }
        thousands = separator;
    }
    if (!position) {
        position =
            scanner.skip(isBlank) > 0 ? KSCurrencySymbolAfterWithBlank : KSCurrencySymbolAfter;
        symbol = scanner.tokenUpTo([](UChar32 c) { return isBlank(c) || isDigit(c); });
    }
    return currencyWithSymbolPositionDigitsSeparators(symbol, *position, digits, thousands,
                                                      decimal);
}

std::shared_ptr<KSCurrency> KSCurrency::currencyForCurrentLocale() {
    UErrorCode status = U_ZERO_ERROR;
    UChar buffer[4] = {0, 0, 0, 0};
    int32_t length = ucurr_forLocale(icu::Locale::getDefault().getName(), buffer, 4, &status);
    std::string code = "USD";
    if (U_SUCCESS(status) && length == 3) code = KSUTF8String(icu::UnicodeString(buffer, length));
    return currencyForCode(code);
}

namespace {

KSCurrencyList sortedByDescription(KSCurrencyList list, bool topFirst) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(
        icu::Collator::createInstance(icu::Locale::getDefault(), status));
    if (collator) collator->setStrength(icu::Collator::SECONDARY);
    std::vector<std::pair<std::string, std::shared_ptr<KSCurrency>>> keyed;
    keyed.reserve(list.size());
    for (auto& currency : list)
        keyed.emplace_back(currency->description(), currency);
    std::stable_sort(keyed.begin(), keyed.end(), [&](const auto& a, const auto& b) {
        if (topFirst && a.second->inTopCurrencies() != b.second->inTopCurrencies())
            return a.second->inTopCurrencies();
        if (!collator) return a.first < b.first;
        UErrorCode s = U_ZERO_ERROR;
        return collator->compareUTF8(a.first, b.first, s) == UCOL_LESS;
    });
    KSCurrencyList out;
    out.reserve(keyed.size());
    for (auto& entry : keyed)
        out.push_back(std::move(entry.second));
    return out;
}

}  // namespace

KSCurrencyList KSCurrency::allCurrenciesSortedByDisplayNameInCurrentLocale() {
    Registry& registry = _registry();
    if (!registry.sortedByName) registry.sortedByName = sortedByDescription(registry.all, false);
    return *registry.sortedByName;
}

KSCurrencyList KSCurrency::allCurrenciesSortedByPrevalenceAndDisplayNameInCurrentLocale() {
    Registry& registry = _registry();
    if (!registry.sortedByPrevalence)
        registry.sortedByPrevalence = sortedByDescription(registry.all, true);
    return *registry.sortedByPrevalence;
}

// --- The currency ------------------------------------------------------------------------------

std::shared_ptr<KSCostFormatter> KSCurrency::_formatterForDisplay(bool display) const {
    auto formatter = std::make_shared<KSCostFormatter>();
    formatter->setDecimalStyle(thousandsSeparator_, decimalSeparator_, static_cast<int>(digits_));
    std::string prefix;
    std::string suffix;
    switch (symbolPosition_) {
        case KSCurrencySymbolAfter:
            suffix = symbol_;
            break;
        case KSCurrencySymbolBefore:
            prefix = symbol_;
            break;
        case KSCurrencySymbolAfterWithBlank:
            suffix = " " + symbol_;
            break;
        case KSCurrencySymbolBeforeWithBlank:
            prefix = symbol_ + " ";
            break;
        default:
            break;
    }
    formatter->setPrefix(prefix);
    formatter->setSuffix(suffix);
    if (display) {
        formatter->setZeroSymbol(std::string());
    } else {
        std::string pattern = digits_ == 0 ? "0" : "0." + std::string(digits_, '0');
        formatter->setZeroSymbol(prefix + pattern + suffix);
    }
    return formatter;
}

const std::shared_ptr<KSCostFormatter>& KSCurrency::displayFormatter() const {
    if (!displayFormatter_) displayFormatter_ = _formatterForDisplay(true);
    return displayFormatter_;
}

const std::shared_ptr<KSCostFormatter>& KSCurrency::archiveFormatter() const {
    if (!archiveFormatter_) archiveFormatter_ = _formatterForDisplay(false);
    return archiveFormatter_;
}

std::string KSCurrency::exampleCurrencyString() const {
    return displayFormatter()->stringForObjectValue(KSValue(static_cast<double>(kSampleAmount)));
}

KSDictionary KSCurrency::debugDictionary() const {
    KSDictionary dictionary;
    dictionary.setObjectForKey("symbol", KSValue(symbol_));
    dictionary.setObjectForKey("symbolPosition", KSValue(symbolPosition_));
    dictionary.setObjectForKey("digits", KSValue(digits_));
    dictionary.setObjectForKey("thousandsSeparator", KSValue(thousandsSeparator_));
    dictionary.setObjectForKey("decimalSeparator", KSValue(decimalSeparator_));
    dictionary.setObjectForKey("inTopCurrencies", KSValue(inTopCurrencies_));
    return dictionary;
}

}  // namespace kestrum
