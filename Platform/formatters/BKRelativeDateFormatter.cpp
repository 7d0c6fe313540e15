#include "Platform/formatters/BKRelativeDateFormatter.h"
#include "Platform/core/KSICUText.h"

#include <map>

#include <unicode/datefmt.h>
#include <unicode/dtfmtsym.h>
#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include "Platform/core/KSClock.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/formatters/BKCivilDateTime.h"
#include "Platform/formatters/BKNaturalLanguageDateParser.h"
#include "Platform/text/TWTextStorage.h"

namespace kestrum {

namespace {

// The earliest date ICU accepts as the change to the Gregorian calendar: the calendar is
// then Gregorian all the way back, as the C library's is.
constexpr UDate kProlepticGregorianChange = -184303902528000000.0;

// Narrow and no-break spaces become plain spaces.
icu::UnicodeString plainSpaces(icu::UnicodeString text) {
    text.findAndReplace(icu::UnicodeString(static_cast<UChar>(0x202F)), icu::UnicodeString(u" "));
    text.findAndReplace(icu::UnicodeString(static_cast<UChar>(0x00A0)), icu::UnicodeString(u" "));
    return text;
}

icu::DateFormat::EStyle icuStyle(BKDateFormatterStyle style) {
    switch (style) {
        case BKDateFormatterStyle::Short:
            return icu::DateFormat::kShort;
        case BKDateFormatterStyle::Medium:
            return icu::DateFormat::kMedium;
        case BKDateFormatterStyle::Long:
            return icu::DateFormat::kLong;
        case BKDateFormatterStyle::Full:
            return icu::DateFormat::kFull;
        case BKDateFormatterStyle::None:
            break;
    }
    return icu::DateFormat::kNone;
}

icu::Locale icuLocale(const std::string& identifier) {
    return identifier.empty() ? icu::Locale::getDefault() : icu::Locale(identifier.c_str());
}

}  // namespace

// The ICU formatter of the pattern, over a calendar in GMT: the fields it formats and
// reads are the local wall-clock fields.
struct BKRelativeDateFormatter::ICUFormat {
    std::unique_ptr<icu::SimpleDateFormat> format;
    std::unique_ptr<icu::Calendar> calendar;
};

const KSClassInfo& BKRelativeDateFormatter::staticClassInfo() {
    using F = BKRelativeDateFormatter;
    static const KSClassInfo info = KSClassInfo::make<F>(
        "BKRelativeDateFormatter", &KSFormatter::staticClassInfo(), [](KSClassBuilder<F>& b) {
            b.attribute("localeIdentifier", &F::localeIdentifier, &F::setLocaleIdentifier);
            b.attribute("dateFormat", &F::dateFormat, &F::setDateFormat);
            b.attribute("lenient", &F::isLenient, &F::setLenient);
            b.attribute("firstWeekday", &F::firstWeekday, &F::setFirstWeekday);
            b.attribute("minimumDaysInFirstWeek", &F::minimumDaysInFirstWeek,
                        &F::setMinimumDaysInFirstWeek);
        });
    return info;
}

BKRelativeDateFormatter::BKRelativeDateFormatter() = default;
BKRelativeDateFormatter::~BKRelativeDateFormatter() = default;

std::shared_ptr<const BKNaturalLanguageDateParser>
BKRelativeDateFormatter::naturalLanguageParserForLocale(const std::string& localeIdentifier) {
    // One parser per locale for the life of the process; the model runs on one thread.
    static std::map<std::string, std::shared_ptr<const BKNaturalLanguageDateParser>> parsers;
    auto found = parsers.find(localeIdentifier);
    if (found != parsers.end()) return found->second;
    auto parser = std::make_shared<const BKNaturalLanguageDateParser>(localeIdentifier);
    parsers.emplace(localeIdentifier, parser);
    return parser;
}

// --- Settings ----------------------------------------------------------------------------

void BKRelativeDateFormatter::patternSettingsDidChange() {
    patternValid_ = false;
    icu_.reset();
}

void BKRelativeDateFormatter::setLocaleIdentifier(const std::string& identifier) {
    if (identifier == localeIdentifier_) return;
    willChangeValueForKey("localeIdentifier");
    localeIdentifier_ = identifier;
    patternSettingsDidChange();
    didChangeValueForKey("localeIdentifier");
}

std::string BKRelativeDateFormatter::effectiveLocaleIdentifier() const {
    return localeIdentifier_.empty() ? std::string(icu::Locale::getDefault().getName())
                                     : localeIdentifier_;
}

void BKRelativeDateFormatter::setDateStyle(BKDateFormatterStyle style) {
    if (style == dateStyle_ && patternFromStyles_) return;
    dateStyle_ = style;
    patternFromStyles_ = true;
    patternSettingsDidChange();
}

void BKRelativeDateFormatter::setTimeStyle(BKDateFormatterStyle style) {
    if (style == timeStyle_ && patternFromStyles_) return;
    timeStyle_ = style;
    patternFromStyles_ = true;
    patternSettingsDidChange();
}

void BKRelativeDateFormatter::ensurePattern() const {
    const std::string locale = effectiveLocaleIdentifier();
    if (patternValid_ && (!patternFromStyles_ || locale == patternLocale_)) return;
    if (patternFromStyles_) {
        pattern_.clear();
        if (dateStyle_ != BKDateFormatterStyle::None || timeStyle_ != BKDateFormatterStyle::None) {
            std::unique_ptr<icu::DateFormat> format(icu::DateFormat::createDateTimeInstance(
                icuStyle(dateStyle_), icuStyle(timeStyle_), icuLocale(locale)));
            if (auto* simple = dynamic_cast<icu::SimpleDateFormat*>(format.get())) {
                icu::UnicodeString pattern;
                simple->toPattern(pattern);
                pattern_ = KSUTF8String(plainSpaces(pattern));
            }
        }
    }
    patternLocale_ = locale;
    patternValid_ = true;
    icu_.reset();
}

const std::string& BKRelativeDateFormatter::dateFormat() const {
    ensurePattern();
    return pattern_;
}

void BKRelativeDateFormatter::setDateFormat(const std::string& pattern) {
    willChangeValueForKey("dateFormat");
    pattern_ = KSUTF8String(plainSpaces(KSICUString(pattern)));
    patternFromStyles_ = false;
    patternValid_ = true;
    patternLocale_ = effectiveLocaleIdentifier();
    icu_.reset();
    didChangeValueForKey("dateFormat");
}

void BKRelativeDateFormatter::setLenient(bool flag) {
    if (flag == lenient_) return;
    willChangeValueForKey("lenient");
    lenient_ = flag;
    icu_.reset();
    didChangeValueForKey("lenient");
}

void BKRelativeDateFormatter::setUsesNaturalLanguage(bool flag) {
    naturalLanguage_ = flag;
}

void BKRelativeDateFormatter::setFirstWeekday(int weekday) {
    if (weekday < 1 || weekday > 7 || weekday == firstWeekday_) return;
    willChangeValueForKey("firstWeekday");
    firstWeekday_ = weekday;
    icu_.reset();
    didChangeValueForKey("firstWeekday");
}

void BKRelativeDateFormatter::setMinimumDaysInFirstWeek(int days) {
    if (days < 1 || days > 7 || days == minimumDaysInFirstWeek_) return;
    willChangeValueForKey("minimumDaysInFirstWeek");
    minimumDaysInFirstWeek_ = days;
    icu_.reset();
    didChangeValueForKey("minimumDaysInFirstWeek");
}

std::string BKRelativeDateFormatter::AMSymbol() const {
    return naturalLanguageParserForLocale(effectiveLocaleIdentifier())->amSymbol();
}

std::string BKRelativeDateFormatter::PMSymbol() const {
    return naturalLanguageParserForLocale(effectiveLocaleIdentifier())->pmSymbol();
}

BKRelativeDateFormatter::ICUFormat& BKRelativeDateFormatter::icuFormat() const {
    ensurePattern();
    if (icu_) return *icu_;
    auto made = std::make_unique<ICUFormat>();
    const icu::Locale locale = icuLocale(patternLocale_);
    UErrorCode status = U_ZERO_ERROR;
    auto calendar =
        std::make_unique<icu::GregorianCalendar>(icu::TimeZone::getGMT()->clone(), locale, status);
    calendar->setGregorianChange(kProlepticGregorianChange, status);
    calendar->setFirstDayOfWeek(static_cast<UCalendarDaysOfWeek>(firstWeekday_));
    calendar->setMinimalDaysInFirstWeek(static_cast<uint8_t>(minimumDaysInFirstWeek_));
    // The calendar itself is always strict, so that a lenient reading may be loose about
    // separators and words but never rolls a month 13 or a day 45 into another date.
    calendar->setLenient(false);
    status = U_ZERO_ERROR;
    made->format = std::make_unique<icu::SimpleDateFormat>(KSICUString(pattern_), locale, status);
    if (U_FAILURE(status)) made->format.reset();
    if (made->format) {
        made->format->setCalendar(*calendar);
        made->format->setLenient(lenient_);
        // Two-digit years within 80 years before now, measured on the injectable clock.
        BKCivilDateTime now = BKCivilDateTime::fromDate(KSClock::now());
        std::unique_ptr<icu::Calendar> start(calendar->clone());
        start->clear();
        start->set(now.year - 80, now.month - 1, now.day);
        status = U_ZERO_ERROR;
        UDate startDate = start->getTime(status);
        if (U_SUCCESS(status)) made->format->set2DigitYearStart(startDate, status);
    }
    made->calendar = std::move(calendar);
    icu_ = std::move(made);
    return *icu_;
}

// --- Printing ------------------------------------------------------------------------------

std::string BKRelativeDateFormatter::stringForObjectValue(const KSValue& value) {
    if (!value.isDate()) return {};
    return stringFromDate(value.asDate());
}

std::string BKRelativeDateFormatter::stringFromDate(KSDate date) const {
    ICUFormat& icu = icuFormat();
    if (!icu.format || pattern_.empty()) return {};
    const BKCivilDateTime civil = BKCivilDateTime::fromDate(date);
    icu.calendar->clear();
    icu.calendar->set(civil.year, civil.month - 1, civil.day, civil.hour, civil.minute,
                      civil.second);
    icu::UnicodeString text;
    icu::FieldPosition position;
    icu.format->format(*icu.calendar, text, position);
    return KSUTF8String(plainSpaces(text));
}

// --- Parsing -------------------------------------------------------------------------------

bool BKRelativeDateFormatter::parseByPattern(std::string_view text, BKCivilDateTime* out,
                                             std::string* error) const {
    ICUFormat& icu = icuFormat();
    if (!icu.format || pattern_.empty()) {
        *error = KSStringWithFormat(KSLocalizedString("\"%@\" cannot be read as a date."),
                                    std::string(text));
        return false;
    }
    const icu::UnicodeString input = plainSpaces(KSICUString(text));
    icu.calendar->clear();
    icu::ParsePosition position(0);
    icu.format->parse(input, *icu.calendar, position);
    bool ok = position.getIndex() > 0;
    // What the pattern did not use must be white space.
    for (int32_t i = position.getIndex(); ok && i < input.length(); ++i) {
        if (!u_isUWhiteSpace(input.charAt(i))) ok = false;
    }
    UErrorCode status = U_ZERO_ERROR;
    BKCivilDateTime civil;
    if (ok) {
        civil.year = icu.calendar->get(UCAL_EXTENDED_YEAR, status);
        civil.month = icu.calendar->get(UCAL_MONTH, status) + 1;
        civil.day = icu.calendar->get(UCAL_DATE, status);
        civil.hour = icu.calendar->get(UCAL_HOUR_OF_DAY, status);
        civil.minute = icu.calendar->get(UCAL_MINUTE, status);
        civil.second = icu.calendar->get(UCAL_SECOND, status);
        ok = U_SUCCESS(status) && civil.year >= 1 && civil.year <= 9999 && civil.isValid();
    }
    if (!ok) {
        *error = KSStringWithFormat(KSLocalizedString("\"%@\" is not a date in the form %@."),
                                    std::string(text), stringFromDate(KSClock::now()));
        return false;
    }
    *out = civil;
    return true;
}

bool BKRelativeDateFormatter::dateFromString(std::string_view text, KSDate* out,
                                             KSError* error) const {
    auto parser = naturalLanguageParserForLocale(effectiveLocaleIdentifier());
    const KSDate now = KSClock::now();
    const BKCivilDateTime nowCivil = BKCivilDateTime::fromDate(now);
    int days = 0;
    bool isNow = false;
    if (parser->isRelativeWord(text, &days, &isNow)) {
        if (out) {
            *out = isNow ? now
                         : BKCivilDateTime{nowCivil.year, nowCivil.month, nowCivil.day, 0, 0, 0}
                               .addingDays(days)
                               .date();
        }
        return true;
    }
    BKCivilDateTime civil;
    std::string message;
    bool ok = naturalLanguage_ ? parser->parse(text, nowCivil, firstWeekday_, &civil, &message)
                               : parseByPattern(text, &civil, &message);
    if (!ok) {
        if (error) *error = formattingError(message);
        return false;
    }
    if (out) *out = civil.date();
    return true;
}

bool BKRelativeDateFormatter::getObjectValueForStringRangeError(KSValue* out, std::string_view text,
                                                                TWTextRange* range,
                                                                KSError* error) {
    std::string_view part = text;
    if (range) {
        const std::size_t begin = std::min(range->location, text.size());
        part = text.substr(begin, std::min(range->length, text.size() - begin));
    }
    KSDate date;
    if (!dateFromString(part, &date, error)) return false;
    if (out) *out = KSValue(date);
    return true;
}

bool BKRelativeDateFormatter::getObjectValueForString(KSValue* out, std::string_view text,
                                                      std::string* errorDescription) {
    KSError error;
    if (getObjectValueForStringRangeError(out, text, nullptr, &error)) return true;
    if (errorDescription) *errorDescription = error.localizedDescription();
    return false;
}

// --- Stepping ------------------------------------------------------------------------------

KSValue BKRelativeDateFormatter::dateMovedByDays(const KSValue& value, int days) const {
    if (!value.isDate()) return value;
    return KSValue(BKCivilDateTime::fromDate(value.asDate()).addingDays(days).date());
}

KSValue BKRelativeDateFormatter::stepUpValue(const KSValue& value) {
    return dateMovedByDays(value, 1);
}

KSValue BKRelativeDateFormatter::stepDownValue(const KSValue& value) {
    return dateMovedByDays(value, -1);
}

KSValue BKRelativeDateFormatter::largeStepUpValue(const KSValue& value) {
    return dateMovedByDays(value, 7);
}

KSValue BKRelativeDateFormatter::largeStepDownValue(const KSValue& value) {
    return dateMovedByDays(value, -7);
}

}  // namespace kestrum
