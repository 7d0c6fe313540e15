// BKRelativeDateFormatter: platform dates as text in a locale's formats, and text back,
// including the relative words today, tomorrow, yesterday and now.
//
// The formats are ICU's: a date style and a time style (none, short, medium, long, full)
// give the locale's pattern, or a pattern is set directly. Reading follows the pattern
// (strictly, or leniently as ICU allows), and accepts the relative words alone, in English
// and in the locale's language; with natural language on, it reads free text instead
// (BKNaturalLanguageDateParser): "next Tuesday", "tomorrow 9am", "5 March". The text must
// be used up, apart from white space.
//
// Dates are wall-clock values of the process's local zone (TZ), split and composed by
// the C library like every other date of the library; ICU formats and reads the fields
// only. Narrow and no-break spaces in a locale's patterns are written as plain spaces, so
// that typed text with plain spaces reads back. Two-digit years fall within 80 years
// before and 20 years after now, and now comes from the injectable clock (KSClock).
//
//   BKRelativeDateFormatter formatter;
//   formatter.setLocaleIdentifier("de_DE");
//   formatter.setDateStyle(BKDateFormatterStyle::Short);    // "05.01.26"
//   KSValue date;
//   formatter.getObjectValueForString(&date, "morgen", &error);   // tomorrow, 0:00
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Platform/formatters/KSFormatter.h"

namespace kestrum {

class BKNaturalLanguageDateParser;
struct BKCivilDateTime;

// A date or time style: how much of a date a locale's format shows.
enum class BKDateFormatterStyle : int { None = 0, Short = 1, Medium = 2, Long = 3, Full = 4 };

class BKRelativeDateFormatter : public KSFormatter {
    KS_DECLARE_CLASS()
public:
    // Short date, no time, strict, in ICU's default locale, weeks starting on Sunday.
    BKRelativeDateFormatter();
    ~BKRelativeDateFormatter() override;

    // --- Settings ---------------------------------------------------------------------
    // The locale, as an ICU identifier ("de_DE"); "" (the default) follows ICU's default
    // locale at each use.
    const std::string& localeIdentifier() const { return localeIdentifier_; }
    void setLocaleIdentifier(const std::string& identifier);
    // The locale in use: the set one, else ICU's default.
    std::string effectiveLocaleIdentifier() const;
    BKDateFormatterStyle dateStyle() const { return dateStyle_; }
    // Setting a style makes the pattern the locale's for the two styles.
    void setDateStyle(BKDateFormatterStyle style);
    BKDateFormatterStyle timeStyle() const { return timeStyle_; }
    void setTimeStyle(BKDateFormatterStyle style);
    // The ICU pattern in use ("M/d/yy, h:mm a"); "" when both styles are none.
    const std::string& dateFormat() const;
    // Sets a pattern directly; it then stays until a style is set again.
    void setDateFormat(const std::string& pattern);
    // Whether reading by the pattern is lenient (ICU's leniency); false by default.
    bool isLenient() const { return lenient_; }
    void setLenient(bool flag);
    // Whether text is read as free text rather than by the pattern; false by default.
    bool usesNaturalLanguage() const { return naturalLanguage_; }
    void setUsesNaturalLanguage(bool flag);
    // The first day of the week, 1 = Sunday ... 7 = Saturday; 1 by default.
    int firstWeekday() const { return firstWeekday_; }
    void setFirstWeekday(int weekday);
    // Days the first week of a year must have, 1-7; 1 by default.
    int minimumDaysInFirstWeek() const { return minimumDaysInFirstWeek_; }
    void setMinimumDaysInFirstWeek(int days);
    // The locale's symbols for the morning and the afternoon ("AM", "PM").
    std::string AMSymbol() const;
    std::string PMSymbol() const;

    // --- Text -----------------------------------------------------------------------------
    // A platform date in the pattern; "" for anything else.
    std::string stringForObjectValue(const KSValue& value) override;
    std::string stringFromDate(KSDate date) const;
    // getObjectValueForStringRangeError on the whole text; the error's description on
    // failure.
    bool getObjectValueForString(KSValue* out, std::string_view text,
                                 std::string* errorDescription) override;
    // Reads the part of `text` in `range` (the whole text when null) as a platform date
    // into `out`; false with an error (KSCocoaErrorDomain, KSFormattingError) otherwise.
    virtual bool getObjectValueForStringRangeError(KSValue* out, std::string_view text,
                                                   TWTextRange* range, KSError* error);
    // The reading itself: a relative word, else the pattern or free text.
    bool dateFromString(std::string_view text, KSDate* out, KSError* error) const;

    // --- Stepping (platform dates; anything else comes back unchanged) -------------------
    // A day later, at the same time of day.
    virtual KSValue stepUpValue(const KSValue& value);
    // A day earlier.
    virtual KSValue stepDownValue(const KSValue& value);
    // A week later.
    virtual KSValue largeStepUpValue(const KSValue& value);
    // A week earlier.
    virtual KSValue largeStepDownValue(const KSValue& value);

    // The words of a locale, shared by every formatter of that locale.
    static std::shared_ptr<const BKNaturalLanguageDateParser> naturalLanguageParserForLocale(
        const std::string& localeIdentifier);

private:
    struct ICUFormat;

    KSValue dateMovedByDays(const KSValue& value, int days) const;
    void patternSettingsDidChange();
    void ensurePattern() const;
    ICUFormat& icuFormat() const;
    bool parseByPattern(std::string_view text, BKCivilDateTime* out, std::string* error) const;

    std::string localeIdentifier_;
    BKDateFormatterStyle dateStyle_ = BKDateFormatterStyle::Short;
    BKDateFormatterStyle timeStyle_ = BKDateFormatterStyle::None;
    bool patternFromStyles_ = true;
    bool lenient_ = false;
    bool naturalLanguage_ = false;
    int firstWeekday_ = 1;
    int minimumDaysInFirstWeek_ = 1;
    // The pattern and the ICU objects, made when first needed.
    mutable std::string pattern_;
    mutable std::string patternLocale_;
    mutable bool patternValid_ = false;
    mutable std::unique_ptr<ICUFormat> icu_;
};

}  // namespace kestrum
