#include "Platform/formatters/BKTimeSpanFormatter.h"

#include <array>
#include <cmath>
#include <optional>
#include <vector>

#include <unicode/dcfmtsym.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSNumberText.h"

namespace kestrum {

namespace {

constexpr float kSecondsPerHour = 3600.0f;

// The words of one unit: the printed abbreviation and names (localized, with English
// defaults) and further English short forms that are only read.
struct UnitWords {
    const char* abbreviationKey;
    const char* abbreviation;
    const char* singularKey;
    const char* singular;
    const char* pluralKey;
    const char* plural;
    std::array<const char*, 3> alternates;
};

// Indexed by BKTimeSpanUnit.
const std::array<UnitWords, BKTimeSpanUnitCount> kUnitWords = {{
    {"s (abbreviation for seconds)",
     "s",
     "second (duration unit)",
     "second",
     "seconds (duration unit)",
     "seconds",
     {"sec", "secs", nullptr}},
    {"m (abbreviation for minutes)",
     "m",
     "minute (duration unit)",
     "minute",
     "minutes (duration unit)",
     "minutes",
     {"min", "mins", nullptr}},
    {"h (abbreviation for hours)",
     "h",
     "hour (duration unit)",
     "hour",
     "hours (duration unit)",
     "hours",
     {"hr", "hrs", nullptr}},
    {"d (abbreviation for days)",
     "d",
     "day (duration unit)",
     "day",
     "days (duration unit)",
     "days",
     {nullptr, nullptr, nullptr}},
    {"w (abbreviation for weeks)",
     "w",
     "week (duration unit)",
     "week",
     "weeks (duration unit)",
     "weeks",
     {"wk", "wks", nullptr}},
    {"mo (abbreviation for months)",
     "mo",
     "month (duration unit)",
     "month",
     "months (duration unit)",
     "months",
     {"mon", "mos", "mth"}},
    {"y (abbreviation for years)",
     "y",
     "year (duration unit)",
     "year",
     "years (duration unit)",
     "years",
     {"yr", "yrs", nullptr}},
}};

// ASCII white space, no-break space (U+00A0) and narrow no-break space (U+202F).
std::size_t spaceLengthAt(std::string_view text, std::size_t pos) {
    if (pos >= text.size()) return 0;
    unsigned char c = static_cast<unsigned char>(text[pos]);
    if (c == ' ' || (c >= '\t' && c <= '\r')) return 1;
    if (text.substr(pos, 2) == "\xC2\xA0") return 2;
    if (text.substr(pos, 3) == "\xE2\x80\xAF") return 3;
    return 0;
}

std::size_t skipSpaces(std::string_view text, std::size_t pos) {
    while (std::size_t n = spaceLengthAt(text, pos))
        pos += n;
    return pos;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Letters of a unit word: ASCII letters and any non-ASCII byte that starts no space.
bool isWordByteAt(std::string_view text, std::size_t pos) {
    unsigned char c = static_cast<unsigned char>(text[pos]);
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) return true;
    return c >= 0x80 && spaceLengthAt(text, pos) == 0;
}

std::string foldCase(std::string_view text) {
    icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    unicode.foldCase();
    std::string out;
    unicode.toUTF8String(out);
    return out;
}

// The locale's decimal mark, when it is not ".".
std::string localeDecimalSeparator() {
    UErrorCode status = U_ZERO_ERROR;
    icu::DecimalFormatSymbols symbols(icu::Locale::getDefault(), status);
    if (U_FAILURE(status)) return {};
    std::string mark;
    symbols.getConstSymbol(icu::DecimalFormatSymbols::kDecimalSeparatorSymbol).toUTF8String(mark);
    return mark == "." ? std::string() : mark;
}

std::optional<BKTimeSpanUnit> unitForWord(std::string_view word) {
    const std::string folded = foldCase(word);
    auto matches = [&](const char* candidate) {
        return candidate && foldCase(candidate) == folded;
    };
    // Localized words first, so that a translation wins over an English short form.
    for (int i = 0; i < BKTimeSpanUnitCount; ++i) {
        const UnitWords& w = kUnitWords[i];
        if (folded == foldCase(KSLocalizedString(w.abbreviationKey, w.abbreviation)) ||
            folded == foldCase(KSLocalizedString(w.singularKey, w.singular)) ||
            folded == foldCase(KSLocalizedString(w.pluralKey, w.plural)))
            return static_cast<BKTimeSpanUnit>(i);
    }
    for (int i = 0; i < BKTimeSpanUnitCount; ++i) {
        const UnitWords& w = kUnitWords[i];
        if (matches(w.abbreviation) || matches(w.singular) || matches(w.plural) ||
            matches(w.alternates[0]) || matches(w.alternates[1]) || matches(w.alternates[2]))
            return static_cast<BKTimeSpanUnit>(i);
    }
    return std::nullopt;
}

// One term read from the text: a number with an optional unit, or clock notation.
struct Term {
    double value = 0.0;
    bool isClock = false;
    double clockHours = 0.0, clockMinutes = 0.0, clockSeconds = 0.0;
};

// The run of digits at `pos`, as text; empty when none.
std::string_view digitsAt(std::string_view text, std::size_t pos) {
    std::size_t end = pos;
    while (end < text.size() && isDigit(text[end]))
        ++end;
    return text.substr(pos, end - pos);
}

// Reads a number ("12", "1.5", ".5", "1,5" with a comma locale) or clock notation
// ("1:30", "0:00:45") at `*pos`; false when no number starts there.
bool scanNumber(std::string_view text, std::size_t* pos, const std::string& decimalMark,
                Term* term) {
    std::size_t p = *pos;
    std::string_view whole = digitsAt(text, p);
    p += whole.size();
    if (!whole.empty() && p < text.size() && text[p] == ':') {
        std::string_view minutes = digitsAt(text, p + 1);
        if (minutes.empty()) return false;
        p += 1 + minutes.size();
        std::string_view seconds;
        if (p < text.size() && text[p] == ':') {
            seconds = digitsAt(text, p + 1);
            if (seconds.empty()) return false;
            p += 1 + seconds.size();
        }
        term->isClock = true;
        term->clockHours = KSDoubleValueOfString(whole);
        term->clockMinutes = KSDoubleValueOfString(minutes);
        term->clockSeconds = seconds.empty() ? 0.0 : KSDoubleValueOfString(seconds);
        *pos = p;
        return true;
    }
    std::string_view fraction;
    std::size_t markLength = 0;
    if (p < text.size() && text[p] == '.') {
        markLength = 1;
    } else if (!decimalMark.empty() && text.substr(p, decimalMark.size()) == decimalMark) {
        markLength = decimalMark.size();
    }
    if (markLength > 0) {
        fraction = digitsAt(text, p + markLength);
        if (!fraction.empty()) p += markLength + fraction.size();
    }
    if (whole.empty() && fraction.empty()) return false;
    std::string number(whole.empty() ? "0" : whole);
    if (!fraction.empty()) number.append(".").append(fraction);
    term->value = KSDoubleValueOfString(number);
    *pos = p;
    return true;
}

std::string quoteRest(std::string_view text, std::size_t pos) {
    return std::string(text.substr(pos));
}

// Two decimals at most, trailing zeros dropped ("1.5", "0.25", "3").
std::string numberText(double value) {
    std::string text = KSStringWithFormat("%.2f", value);
    while (!text.empty() && text.back() == '0')
        text.pop_back();
    if (!text.empty() && text.back() == '.') text.pop_back();
    if (text == "-0") text = "0";
    return text;
}

}  // namespace

const KSClassInfo& BKTimeSpanFormatter::staticClassInfo() {
    using F = BKTimeSpanFormatter;
    static const KSClassInfo info = KSClassInfo::make<F>(
        "BKTimeSpanFormatter", &KSFormatter::staticClassInfo(), [](KSClassBuilder<F>& b) {
            b.attribute("hoursPerDay", &F::hoursPerDay, &F::setHoursPerDay);
            b.attribute("hoursPerWeek", &F::hoursPerWeek, &F::setHoursPerWeek);
            b.attribute("hoursPerMonth", &F::hoursPerMonth, &F::setHoursPerMonth);
            b.attribute("hoursPerYear", &F::hoursPerYear, &F::setHoursPerYear);
            b.attribute("displaySeconds", &F::displaySeconds, &F::setDisplaySeconds);
            b.attribute("displayMinutes", &F::displayMinutes, &F::setDisplayMinutes);
            b.attribute("displayHours", &F::displayHours, &F::setDisplayHours);
            b.attribute("displayDays", &F::displayDays, &F::setDisplayDays);
            b.attribute("displayWeeks", &F::displayWeeks, &F::setDisplayWeeks);
            b.attribute("displayMonths", &F::displayMonths, &F::setDisplayMonths);
            b.attribute("displayYears", &F::displayYears, &F::setDisplayYears);
            b.attribute("shouldReturnNumber", &F::shouldReturnNumber, &F::setShouldReturnNumber);
            b.attribute("useVerboseFormat", &F::useVerboseFormat, &F::setUseVerboseFormat);
            b.attribute("roundingInterval", &F::roundingInterval, &F::setRoundingInterval);
            b.attribute("options", &F::options, &F::setOptions);
        });
    return info;
}

BKTimeSpanFormatter::BKTimeSpanFormatter() = default;
BKTimeSpanFormatter::~BKTimeSpanFormatter() = default;

// --- Settings ----------------------------------------------------------------------------

void BKTimeSpanFormatter::storeHours(float& field, float hours, std::string_view key) {
    if (!(hours > 0.0f) || !std::isfinite(hours) || hours == field) return;
    willChangeValueForKey(key);
    field = hours;
    didChangeValueForKey(key);
}

void BKTimeSpanFormatter::setHoursPerDay(float hours) {
    storeHours(hoursPerDay_, hours, "hoursPerDay");
}
void BKTimeSpanFormatter::setHoursPerWeek(float hours) {
    storeHours(hoursPerWeek_, hours, "hoursPerWeek");
}
void BKTimeSpanFormatter::setHoursPerMonth(float hours) {
    storeHours(hoursPerMonth_, hours, "hoursPerMonth");
}
void BKTimeSpanFormatter::setHoursPerYear(float hours) {
    storeHours(hoursPerYear_, hours, "hoursPerYear");
}

void BKTimeSpanFormatter::setStandardCalendarTime() {
    setHoursPerDay(24.0f);
    setHoursPerWeek(24.0f * 7.0f);
    setHoursPerMonth(24.0f * 30.0f);
    setHoursPerYear(24.0f * 365.0f);
}

BKTimeSpanUnitSeconds BKTimeSpanFormatter::unitSeconds() const {
    return {1.0f,
            60.0f,
            kSecondsPerHour,
            hoursPerDay_ * kSecondsPerHour,
            hoursPerWeek_ * kSecondsPerHour,
            hoursPerMonth_ * kSecondsPerHour,
            hoursPerYear_ * kSecondsPerHour};
}

void BKTimeSpanFormatter::setFlag(bool& field, bool value, std::string_view key) {
    if (field == value) return;
    willChangeValueForKey(key);
    field = value;
    didChangeValueForKey(key);
}

void BKTimeSpanFormatter::setDisplaySeconds(bool flag) {
    setFlag(displaySeconds_, flag, "displaySeconds");
}
void BKTimeSpanFormatter::setDisplayMinutes(bool flag) {
    setFlag(displayMinutes_, flag, "displayMinutes");
}
void BKTimeSpanFormatter::setDisplayHours(bool flag) {
    setFlag(displayHours_, flag, "displayHours");
}
void BKTimeSpanFormatter::setDisplayDays(bool flag) {
    setFlag(displayDays_, flag, "displayDays");
}
void BKTimeSpanFormatter::setDisplayWeeks(bool flag) {
    setFlag(displayWeeks_, flag, "displayWeeks");
}
void BKTimeSpanFormatter::setDisplayMonths(bool flag) {
    setFlag(displayMonths_, flag, "displayMonths");
}
void BKTimeSpanFormatter::setDisplayYears(bool flag) {
    setFlag(displayYears_, flag, "displayYears");
}
void BKTimeSpanFormatter::setShouldReturnNumber(bool flag) {
    setFlag(shouldReturnNumber_, flag, "shouldReturnNumber");
}
void BKTimeSpanFormatter::setUseVerboseFormat(bool flag) {
    setFlag(useVerboseFormat_, flag, "useVerboseFormat");
}

void BKTimeSpanFormatter::setRoundingInterval(double interval) {
    if (interval == roundingInterval_) return;
    willChangeValueForKey("roundingInterval");
    roundingInterval_ = interval;
    didChangeValueForKey("roundingInterval");
}

void BKTimeSpanFormatter::setOptions(unsigned options) {
    if (options == options_) return;
    willChangeValueForKey("options");
    options_ = options;
    didChangeValueForKey("options");
}

bool BKTimeSpanFormatter::displaysUnit(BKTimeSpanUnit unit) const {
    switch (unit) {
        case BKTimeSpanUnit::Seconds:
            return displaySeconds_;
        case BKTimeSpanUnit::Minutes:
            return displayMinutes_;
        case BKTimeSpanUnit::Hours:
            return displayHours_;
        case BKTimeSpanUnit::Days:
            return displayDays_;
        case BKTimeSpanUnit::Weeks:
            return displayWeeks_;
        case BKTimeSpanUnit::Months:
            return displayMonths_;
        case BKTimeSpanUnit::Years:
            return displayYears_;
    }
    return false;
}

BKTimeSpanUnit BKTimeSpanFormatter::smallestDisplayedUnit() const {
    for (int i = 0; i < BKTimeSpanUnitCount; ++i) {
        if (displaysUnit(static_cast<BKTimeSpanUnit>(i))) return static_cast<BKTimeSpanUnit>(i);
    }
    return BKTimeSpanUnit::Hours;
}

// --- Unit words ----------------------------------------------------------------------------

std::string BKTimeSpanFormatter::abbreviationForUnit(BKTimeSpanUnit unit) {
    const UnitWords& w = kUnitWords[static_cast<int>(unit)];
    return KSLocalizedString(w.abbreviationKey, w.abbreviation);
}

std::string BKTimeSpanFormatter::nameForUnit(BKTimeSpanUnit unit, bool plural) {
    const UnitWords& w = kUnitWords[static_cast<int>(unit)];
    return plural ? KSLocalizedString(w.pluralKey, w.plural)
                  : KSLocalizedString(w.singularKey, w.singular);
}

// --- Printing ------------------------------------------------------------------------------

std::string BKTimeSpanFormatter::stringForObjectValue(const KSValue& value) {
    if (value.isNumber()) return stringForTimeInterval(value.doubleValue());
    if (auto span = value.asObjectOfType<BKTimeSpan>())
        return stringForTimeInterval(span->floatValue());
    return {};
}

std::string BKTimeSpanFormatter::stringForTimeInterval(double seconds) const {
    if (!std::isfinite(seconds)) return {};
    bool isZero = false;
    std::string text = printTerms(std::fabs(seconds), &isZero);
    // A value that rounds to nothing prints without a sign.
    return seconds < 0.0 && !isZero ? "-" + text : text;
}

std::string BKTimeSpanFormatter::printTerms(double seconds, bool* isZero) const {
    const BKTimeSpanUnitSeconds us = unitSeconds();
    std::vector<BKTimeSpanUnit> shown;  // largest first
    for (int i = BKTimeSpanUnitCount - 1; i >= 0; --i) {
        if (displaysUnit(static_cast<BKTimeSpanUnit>(i)))
            shown.push_back(static_cast<BKTimeSpanUnit>(i));
    }
    if (shown.empty()) shown.push_back(BKTimeSpanUnit::Hours);
    auto unitLength = [&](BKTimeSpanUnit u) {
        return static_cast<double>(us[static_cast<int>(u)]);
    };
    auto rounded = [&](double count) {
        return roundingInterval_ > 0.0 ? std::round(count / roundingInterval_) * roundingInterval_
                                       : count;
    };

    std::vector<std::pair<BKTimeSpanUnit, double>> terms;
    if (options_ & BKTimeSpanFormatterSplitsIntoUnitsOption) {
        // Round in the smallest unit first, so that a carry reaches the larger units.
        const BKTimeSpanUnit smallest = shown.back();
        double rest = rounded(seconds / unitLength(smallest)) * unitLength(smallest);
        for (std::size_t i = 0; i + 1 < shown.size(); ++i) {
            // A hair of tolerance keeps 2.9999999 weeks from printing as 2w 4d 8h.
            double count = std::floor(rest / unitLength(shown[i]) + 1e-6);
            rest = std::max(0.0, rest - count * unitLength(shown[i]));
            terms.emplace_back(shown[i], count);
        }
        terms.emplace_back(smallest, rest / unitLength(smallest));
    } else {
        BKTimeSpanUnit unit = shown.back();
        for (BKTimeSpanUnit u : shown) {
            if (seconds >= unitLength(u) * (1.0 - 1e-6)) {
                unit = u;
                break;
            }
        }
        terms.emplace_back(unit, rounded(seconds / unitLength(unit)));
    }

    std::string text;
    for (const auto& [unit, count] : terms) {
        std::string number = numberText(count);
        if (number == "0") continue;
        if (!text.empty()) text += ' ';
        text += useVerboseFormat_ ? number + " " + nameForUnit(unit, number != "1")
                                  : number + abbreviationForUnit(unit);
    }
    *isZero = text.empty();
    if (text.empty()) {
        text = useVerboseFormat_ ? "0 " + nameForUnit(shown.back(), true)
                                 : "0" + abbreviationForUnit(shown.back());
    }
    return text;
}

// --- Parsing -------------------------------------------------------------------------------

std::shared_ptr<BKTimeSpan> BKTimeSpanFormatter::zeroTimeSpan() const {
    return std::make_shared<BKTimeSpan>(unitSeconds());
}

bool BKTimeSpanFormatter::getObjectValueForString(KSValue* out, std::string_view text,
                                                  std::string* errorDescription) {
    std::shared_ptr<BKTimeSpan> span;
    if (!parseTimeSpan(text, &span, errorDescription)) return false;
    if (!out) return true;
    if (!span) {
        *out = KSValue();
    } else if (shouldReturnNumber_) {
        *out = KSValue(static_cast<double>(span->floatValue()));
    } else {
        *out = KSValue(span);
    }
    return true;
}

bool BKTimeSpanFormatter::parseTimeSpan(std::string_view text, std::shared_ptr<BKTimeSpan>* out,
                                        std::string* errorDescription) const {
    auto fail = [&](const std::string& message) {
        if (errorDescription) *errorDescription = message;
        return false;
    };
    std::size_t pos = skipSpaces(text, 0);
    if (pos == text.size()) {
        if (out) out->reset();
        return true;
    }
    float sign = 1.0f;
    if (text[pos] == '-' || text[pos] == '+') {
        sign = text[pos] == '-' ? -1.0f : 1.0f;
        pos = skipSpaces(text, pos + 1);
    } else if (text.substr(pos, 3) == "\xE2\x88\x92") {  // U+2212 MINUS SIGN
        sign = -1.0f;
        pos = skipSpaces(text, pos + 3);
    }
    const std::string decimalMark = localeDecimalSeparator();
    const BKTimeSpanUnit bareUnit = smallestDisplayedUnit();
    auto span = zeroTimeSpan();
    auto add = [&](BKTimeSpanUnit unit, double count) {
        span->setComponent(unit, span->component(unit) + sign * static_cast<float>(count));
    };
    do {
        Term term;
        if (!scanNumber(text, &pos, decimalMark, &term)) {
            return fail(KSStringWithFormat(
                KSLocalizedString("The duration \"%@\" has no number where \"%@\" stands."),
                std::string(text), quoteRest(text, pos)));
        }
        pos = skipSpaces(text, pos);
        std::size_t wordEnd = pos;
        while (wordEnd < text.size() && isWordByteAt(text, wordEnd))
            ++wordEnd;
        std::string_view word = text.substr(pos, wordEnd - pos);
        if (term.isClock) {
            if (!word.empty()) {
                return fail(KSStringWithFormat(
                    KSLocalizedString("A duration written as a clock time takes no unit: \"%@\"."),
                    std::string(text)));
            }
            add(BKTimeSpanUnit::Hours, term.clockHours);
            add(BKTimeSpanUnit::Minutes, term.clockMinutes);
            add(BKTimeSpanUnit::Seconds, term.clockSeconds);
        } else if (word.empty()) {
            add(bareUnit, term.value);
        } else {
            std::optional<BKTimeSpanUnit> unit = unitForWord(word);
            if (!unit) {
                return fail(KSStringWithFormat(
                    KSLocalizedString("\"%@\" is not a unit of time, in the duration \"%@\"."),
                    std::string(word), std::string(text)));
            }
            add(*unit, term.value);
            pos = wordEnd;
            // An abbreviation may end with a full stop ("2 hrs.").
            if (pos < text.size() && text[pos] == '.' &&
                (pos + 1 == text.size() || !isDigit(text[pos + 1])))
                ++pos;
        }
        pos = skipSpaces(text, pos);
    } while (pos < text.size());

    if (!std::isfinite(span->floatValue())) {
        return fail(KSStringWithFormat(KSLocalizedString("The duration \"%@\" is too long."),
                                       std::string(text)));
    }
    if (out) *out = std::move(span);
    return true;
}

}  // namespace kestrum
