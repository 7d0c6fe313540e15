#include "Model/formatters/KSDateFormatter.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>

#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSUserDefaults.h"
#include "Platform/formatters/BKCivilDateTime.h"
#include "Platform/formatters/BKNaturalLanguageDateParser.h"
#include "Platform/formatters/BKTimeSpanFormatter.h"
#include "Platform/text/TWTextStorage.h"

namespace kestrum {

namespace {

constexpr const char* kFirstDayOfTheWeekKey = "FirstDayOfTheWeek";
// Offsets of generic dates reach this many working days at most (some 3,800 years).
constexpr double kLargestDayIndex = 1000000.0;

// The formatters every date formatter of one locale shares.
struct SharedFormatters {
    int firstWeekday = 1;
    int minimumDaysInFirstWeek = 1;
    std::shared_ptr<BKRelativeDateFormatter> timeOnly;
    std::shared_ptr<BKRelativeDateFormatter> dateOnly;
    std::shared_ptr<BKRelativeDateFormatter> dayAndMonth;  // null when the locale has none
    std::shared_ptr<BKRelativeDateFormatter> naturalLanguage;
    std::shared_ptr<BKTimeSpanFormatter> relativeSpan;
};

// The preference as 1 (Sunday) to 7, or 0 when it is not set.
int preferredFirstWeekday() {
    KSValue value = KSUserDefaults::standardUserDefaults().objectForKey(kFirstDayOfTheWeekKey);
    if (value.isNull()) return 0;
    int weekday = value.intValue();
    return weekday >= 0 && weekday <= 6 ? weekday + 1 : 0;
}

// "dd/MM" or "MM/dd" after the locale's short date, with its first separator; "" when the
// short date lacks a day or a month, or has no separator between them.
std::string dayAndMonthPattern(const std::string& shortDate) {
    const std::size_t day = shortDate.find('d');
    std::size_t month = shortDate.find('M');
    if (month == std::string::npos) month = shortDate.find('L');
    if (day == std::string::npos || month == std::string::npos) return {};
    const std::size_t first = std::min(day, month);
    const std::size_t second = std::max(day, month);
    // The separator: what stands between the two fields that is no field letter or quote.
    static const std::string kFieldCharacters = "GMdhHmsSEDFwWakKZ'\"L";
    std::size_t begin = shortDate.find_first_of(kFieldCharacters, first);
    begin = shortDate.find_first_not_of(kFieldCharacters, begin);
    if (begin == std::string::npos || begin >= second) return {};
    std::size_t end = shortDate.find_first_of(kFieldCharacters, begin);
    std::string separator = shortDate.substr(begin, std::min(end, second) - begin);
    if (separator.empty()) return {};
    return day < month ? "dd" + separator + "MM" : "MM" + separator + "dd";
}

std::shared_ptr<BKRelativeDateFormatter> helperFormatter(const std::string& locale,
                                                         const SharedFormatters& shared) {
    auto formatter = std::make_shared<BKRelativeDateFormatter>();
    formatter->setLocaleIdentifier(locale);
    formatter->setFirstWeekday(shared.firstWeekday);
    formatter->setMinimumDaysInFirstWeek(shared.minimumDaysInFirstWeek);
    return formatter;
}

std::unique_ptr<SharedFormatters> makeSharedFormatters(const std::string& locale, int preference) {
    auto shared = std::make_unique<SharedFormatters>();
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(
        icu::Calendar::createInstance(icu::Locale(locale.c_str()), status));
    if (U_SUCCESS(status) && calendar) {
        shared->firstWeekday = static_cast<int>(calendar->getFirstDayOfWeek(status));
        shared->minimumDaysInFirstWeek = calendar->getMinimalDaysInFirstWeek();
    }
    if (preference > 0) shared->firstWeekday = preference;

    shared->timeOnly = helperFormatter(locale, *shared);
    shared->timeOnly->setDateStyle(BKDateFormatterStyle::None);
    shared->timeOnly->setTimeStyle(BKDateFormatterStyle::Short);
    shared->timeOnly->setLenient(true);

    shared->dateOnly = helperFormatter(locale, *shared);
    shared->dateOnly->setDateStyle(BKDateFormatterStyle::Short);
    shared->dateOnly->setTimeStyle(BKDateFormatterStyle::None);
    shared->dateOnly->setLenient(true);

    std::string pattern = dayAndMonthPattern(shared->dateOnly->dateFormat());
    if (!pattern.empty()) {
        shared->dayAndMonth = helperFormatter(locale, *shared);
        shared->dayAndMonth->setDateFormat(pattern);
    }

    shared->naturalLanguage = helperFormatter(locale, *shared);
    shared->naturalLanguage->setUsesNaturalLanguage(true);

    shared->relativeSpan = std::make_shared<BKTimeSpanFormatter>();
    shared->relativeSpan->setShouldReturnNumber(false);
    shared->relativeSpan->setStandardCalendarTime();
    return shared;
}

// The shared formatters of a locale as the preference stands; made once per locale and
// preference, for the life of the process.
const SharedFormatters& sharedFormatters(const std::string& locale) {
    static std::map<std::pair<std::string, int>, std::unique_ptr<SharedFormatters>> cache;
    const int preference = preferredFirstWeekday();
    auto& slot = cache[{locale, preference}];
    if (!slot) slot = makeSharedFormatters(locale, preference);
    return *slot;
}

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n\f\v") == std::string_view::npos;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    auto unicode = [](std::string_view s) {
        return icu::UnicodeString::fromUTF8(
            icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
    };
    return unicode(a).caseCompare(unicode(b), U_FOLD_CASE_DEFAULT) == 0;
}

// A date `years` calendar years away, at the same wall-clock time.
KSDate yearsAway(KSDate date, int years) {
    BKCivilDateTime civil = BKCivilDateTime::fromDate(date);
    civil.year += years;
    return civil.date();
}

}  // namespace

const KSClassInfo& KSDateFormatter::staticClassInfo() {
    using F = KSDateFormatter;
    static const KSClassInfo info = KSClassInfo::make<F>(
        "KSDateFormatter", &BKRelativeDateFormatter::staticClassInfo(), [](KSClassBuilder<F>& b) {
            b.custom("scenario", KSValue::Type::Object, [](const F& f) {
                KSScenario* scenario = f.scenario();
                return scenario ? KSValue(scenario->weak_from_this().lock()) : KSValue();
            });
            b.custom(
                "constrainRange", KSValue::Type::Bool,
                [](const F& f) { return KSValue(f.constrainRange()); },
                [](F& f, const KSValue& v) {
                    f.setConstrainRange(v.boolValue());
                    return true;
                },
                true);
            b.custom(
                "defaultTimeSetting", KSValue::Type::Integer,
                [](const F& f) { return KSValue(f.defaultTimeSetting()); },
                [](F& f, const KSValue& v) {
                    f.setDefaultTimeSetting(v.intValue());
                    return true;
                },
                true);
        });
    return info;
}

KSDateFormatter::KSDateFormatter() {
    _doSetup();
}

KSDateFormatter::~KSDateFormatter() = default;

void KSDateFormatter::setScenario(KSScenario* scenario) {
    if (scenario == nonretainedScenario_) return;
    willChangeValueForKey("scenario");
    nonretainedScenario_ = scenario;
    didChangeValueForKey("scenario");
}

// --- Set-up ----------------------------------------------------------------------------------

void KSDateFormatter::_doSetup() {
    setUsesNaturalLanguage(false);
    setDateStyle(BKDateFormatterStyle::Short);
    setTimeStyle(BKDateFormatterStyle::Medium);
    setLenient(false);
    checkedPatternLocale_.clear();
    defaultTimeSetting_ = 0;
}

void KSDateFormatter::_checkProjectDateFormat() {
    KSProject* project = nonretainedScenario_ ? nonretainedScenario_->project() : nullptr;
    if (!project) return;
    const BKDateFormatterStyle date =
        project->displayDates() ? BKDateFormatterStyle::Short : BKDateFormatterStyle::None;
    BKDateFormatterStyle time = BKDateFormatterStyle::None;
    if (project->displayTimes()) {
        time =
            project->displaySeconds() ? BKDateFormatterStyle::Medium : BKDateFormatterStyle::Short;
    }
    if (date == dateStyle() && time == timeStyle()) return;
    setDateStyle(date);
    setTimeStyle(time);
    checkedPatternLocale_.clear();
}

// The calendar of the locale and the preference, and a pattern without a 12-hour mark
// beside a 24-hour clock.
void KSDateFormatter::prepare() {
    _checkProjectDateFormat();
    const std::string locale = effectiveLocaleIdentifier();
    const SharedFormatters& shared = sharedFormatters(locale);
    setFirstWeekday(shared.firstWeekday);
    setMinimumDaysInFirstWeek(shared.minimumDaysInFirstWeek);
    if (checkedPatternLocale_ == locale) return;
    checkedPatternLocale_ = locale;
    std::string pattern = dateFormat();
    if (pattern.find('a') == std::string::npos ||
        (pattern.find('k') == std::string::npos && pattern.find('H') == std::string::npos))
        return;
    pattern.erase(std::remove(pattern.begin(), pattern.end(), 'a'), pattern.end());
    setDateFormat(pattern);
}

bool KSDateFormatter::usesGenericDates() const {
    return nonretainedScenario_ && nonretainedScenario_->hasGenericDates();
}

// --- Printing ----------------------------------------------------------------------------------

std::string KSDateFormatter::stringForObjectValue(const KSValue& value) {
    if (!value.isDate()) return {};
    prepare();
    if (!usesGenericDates()) return BKRelativeDateFormatter::stringForObjectValue(value);
    const std::int64_t index = nonretainedScenario_->dayIndexOfDate(KSDateTime(value.asDate()));
    std::string text = index == 0 ? KSLocalizedString("T day ")
                                  : KSStringWithFormat(KSLocalizedString("T%+dd "), index);
    if (timeStyle() == BKDateFormatterStyle::None) return text;
    return text +
           sharedFormatters(effectiveLocaleIdentifier()).timeOnly->stringFromDate(value.asDate());
}

std::string KSDateFormatter::stringForDate(const KSDateTime& date) {
    return date.isNull() ? std::string() : stringForObjectValue(KSValue(date.nsDate()));
}

// --- Reading ---------------------------------------------------------------------------------

void KSDateFormatter::_setObjectValueToDate(KSValue* out, KSDate date) const {
    if (constrainRange_ && nonretainedScenario_) {
        const KSDateTime start = nonretainedScenario_->startDate();
        const KSDateTime end = nonretainedScenario_->endDate();
        if (!start.isNull()) date = std::max(date, yearsAway(start.nsDate(), -100));
        if (!end.isNull()) date = std::min(date, yearsAway(end.nsDate(), 100));
    }
    if (out) *out = KSValue(date);
}

KSDate KSDateFormatter::adjustDateAppropriately(KSDate date) {
    KSSchedule* schedule = nonretainedScenario_ && nonretainedScenario_->schedule()
                               ? nonretainedScenario_->schedule().get()
                               : KSSchedule::standardWorkHours().get();
    switch (defaultTimeSetting_) {
        case 1:
            return schedule->adjustDateForUseAsStartDate(KSDateTime(date)).nsDate();
        case 2:
            return schedule->adjustDateToEndOfDay(KSDateTime(date)).nsDate();
        default:
            return date;
    }
}

KSDate KSDateFormatter::todayWithDefaultTime() {
    const KSDateTime now = KSDateTime::today();
    return adjustDateAppropriately(KSDateTime(now.dayNumber(), 0.0).nsDate());
}

bool KSDateFormatter::parseOrdinaryDate(std::string_view text, KSValue* out, KSError* error) {
    const SharedFormatters& shared = sharedFormatters(effectiveLocaleIdentifier());
    KSValue value;
    KSDate date;
    // 1. The full format; a date with no time shown takes the default time.
    if (BKRelativeDateFormatter::getObjectValueForStringRangeError(&value, std::string(text) + " ",
                                                                   nullptr, error)) {
        _setObjectValueToDate(out, value.asDate());
        if (timeStyle() == BKDateFormatterStyle::None)
            _setObjectValueToDate(out, adjustDateAppropriately(out->asDate()));
        return true;
    }
    // 2. The date alone.
    if (shared.dateOnly->dateFromString(text, &date, error)) {
        _setObjectValueToDate(out, adjustDateAppropriately(date));
        return true;
    }
    // 3. Day and month alone, in the current year.
    if (shared.dayAndMonth && shared.dayAndMonth->dateFromString(text, &date, error)) {
        const BKCivilDateTime read = BKCivilDateTime::fromDate(date);
        BKCivilDateTime day = BKCivilDateTime::fromDate(KSDateTime::today().nsDate());
        day = {day.year, read.month, read.day, 0, 0, 0};
        _setObjectValueToDate(out, adjustDateAppropriately(day.date()));
        return true;
    }
    // 4. Free text; its error is the one handed back.
    if (error) *error = KSError();
    if (shared.naturalLanguage->dateFromString(text, &date, error)) {
        _setObjectValueToDate(out, adjustDateAppropriately(date));
        return true;
    }
    return false;
}

void KSDateFormatter::parseGenericDate(std::string_view text, KSValue* out) {
    const SharedFormatters& shared = sharedFormatters(effectiveLocaleIdentifier());
    text.remove_prefix(std::min(text.size(), text.find_first_not_of(" \t\r\n\f\v")));
    // The offset follows the first "+", else the first "-" (whose sign is dropped), else a
    // leading "T"; otherwise the whole text is the offset.
    std::size_t sign = text.find('+');
    if (sign == std::string_view::npos) sign = text.find('-');
    std::string_view offset = text;
    if (sign != std::string_view::npos) {
        offset = text.substr(sign + 1);
    } else if (!text.empty() && (text[0] == 'T' || text[0] == 't')) {
        offset = text.substr(1);
    }
    // Where a time of day may stand: behind the last blank, or the one before it when the
    // last word is the AM or PM symbol.
    std::size_t timeStart = std::string_view::npos;
    std::size_t blank = offset.find_last_of(" \t");
    if (blank != std::string_view::npos) {
        std::string_view word = offset.substr(blank + 1);
        const BKRelativeDateFormatter& timeFormatter = *shared.timeOnly;
        if (equalsIgnoringCase(word, timeFormatter.AMSymbol()) ||
            equalsIgnoringCase(word, timeFormatter.PMSymbol())) {
            blank = blank == 0 ? std::string_view::npos : offset.find_last_of(" \t", blank - 1);
        }
        if (blank != std::string_view::npos) timeStart = blank + 1;
    }

    std::shared_ptr<BKTimeSpan> span;
    bool read = shared.relativeSpan->parseTimeSpan(offset, &span, nullptr) && span;
    // The span grammar knows no AM or PM: when the whole offset does not read, the part
    // before the time of day is tried alone ("2d 9:00 am").
    if (!read && timeStart != std::string_view::npos) {
        read =
            shared.relativeSpan->parseTimeSpan(offset.substr(0, timeStart), &span, nullptr) && span;
    }
    KSDateTime date;
    if (read) {
        const BKTimeSpanFormatter& units = *shared.relativeSpan;
        const double perDay = units.hoursPerDay();
        double days = std::trunc(span->years() * units.hoursPerYear() / perDay +
                                 span->months() * units.hoursPerMonth() / perDay +
                                 span->weeks() * units.hoursPerWeek() / perDay + span->days());
        // The hours give the time of day; more than a day's worth stops at its end.
        const float hours = std::min(std::fabs(span->hours()), 24.0f);
        // An offset of thousands of years is no date of a plan: the start stands in.
        if (std::fabs(days) <= kLargestDayIndex) {
            date = nonretainedScenario_->dateWithDayIndexAndHourOfDay(
                static_cast<std::int64_t>(days), hours);
        }
    }
    if (date.isNull()) date = nonretainedScenario_->startDate();
    _setObjectValueToDate(out, date.nsDate());
    if (timeStart == std::string_view::npos) return;
    // Only a time of day counts here: words that name a day or an offset from now ("9h",
    // "tomorrow") would put the clock's time on the plan's day.
    int hour = 0, minute = 0, second = 0;
    const auto parser = naturalLanguageParserForLocale(effectiveLocaleIdentifier());
    if (!parser->parseTimeOfDay(offset.substr(timeStart), &hour, &minute, &second)) return;
    const BKCivilDateTime day = BKCivilDateTime::fromDate(out->asDate());
    _setObjectValueToDate(
        out, BKCivilDateTime{day.year, day.month, day.day, hour, minute, second}.date());
}

bool KSDateFormatter::getObjectValueForStringRangeError(KSValue* out, std::string_view text,
                                                        TWTextRange* range, KSError* error) {
    std::string_view part = text;
    if (range) {
        const std::size_t begin = std::min(range->location, text.size());
        part = text.substr(begin, std::min(range->length, text.size() - begin));
    }
    KSValue value;
    if (isBlank(part)) {
        if (out) *out = KSValue();
        return true;
    }
    prepare();
    if (usesGenericDates()) {
        parseGenericDate(part, &value);
    } else if (!parseOrdinaryDate(part, &value, error)) {
        return false;
    }
    if (out) *out = value;
    return true;
}

bool KSDateFormatter::dateForString(std::string_view text, KSDateTime* out, KSError* error) {
    KSValue value;
    if (!getObjectValueForStringRangeError(&value, text, nullptr, error)) return false;
    if (out) *out = value.isDate() ? KSDateTime(value.asDate()) : KSDateTime();
    return true;
}

// --- Stepping ----------------------------------------------------------------------------------

KSValue KSDateFormatter::dateMovedByDays(const KSValue& value, int days) const {
    if (!value.isDate()) return value;
    KSDate moved = BKCivilDateTime::fromDate(value.asDate()).addingDays(days).date();
    // With generic dates a date does not go before the plan's start.
    if (days < 0 && usesGenericDates())
        moved = std::max(moved, nonretainedScenario_->startDate().nsDate());
    return KSValue(moved);
}

KSValue KSDateFormatter::stepDownValue(const KSValue& value) {
    if (!usesGenericDates()) return BKRelativeDateFormatter::stepDownValue(value);
    return dateMovedByDays(value, -1);
}

KSValue KSDateFormatter::largeStepUpValue(const KSValue& value) {
    if (!usesGenericDates()) return BKRelativeDateFormatter::largeStepUpValue(value);
    return dateMovedByDays(value, 10);
}

KSValue KSDateFormatter::largeStepDownValue(const KSValue& value) {
    if (!usesGenericDates()) return BKRelativeDateFormatter::largeStepDownValue(value);
    return dateMovedByDays(value, -10);
}

}  // namespace kestrum
