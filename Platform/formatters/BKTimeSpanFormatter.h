// BKTimeSpanFormatter: durations as text ("1w 2d 3.5h") and back, in units that the
// formatter defines: how many hours make a day, a week, a month and a year.
//
// Text is a sequence of terms separated by white space, with one optional sign in front
// that applies to the whole: a number and a unit ("2d", "3.5 hours", "1 week"), or clock
// notation ("1:30" is an hour and a half, "0:00:45" forty-five seconds). The decimal mark
// is "." or the locale's own. A number with no unit counts in the smallest displayed
// unit. Units are matched without regard to case by their abbreviation (y, mo, w, d, h,
// m, s), their singular and plural names and a few common short forms (yr, wk, hr, min,
// sec), in English and as localized. Text of white space alone reads as no value.
//
// Printing uses the displayed units only. With the option that splits into units (value
// 4), the value is spread over every displayed unit from the largest down ("1w 2d 4h");
// otherwise it is one number in the largest displayed unit it fills ("1.5w"). The smallest
// printed unit is rounded to roundingInterval of that unit (none when 0), and numbers
// show at most two decimals with "." as the mark, so that printed text always reads back.
//
// A parse answers a BKTimeSpan, or with shouldReturnNumber its total in seconds.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Platform/formatters/BKTimeSpan.h"
#include "Platform/formatters/KSFormatter.h"

namespace kestrum {

// Options of a time-span formatter; combine with |.
enum BKTimeSpanFormatterOptions : unsigned {
    // Print a value spread over every displayed unit instead of one number.
    BKTimeSpanFormatterSplitsIntoUnitsOption = 4,
};

class BKTimeSpanFormatter : public KSFormatter {
    KS_DECLARE_CLASS()
public:
    // 8 hours a day, 40 a week, 160 a month, 1920 a year; hours, days and weeks shown;
    // no options.
    BKTimeSpanFormatter();
    ~BKTimeSpanFormatter() override;

    // --- Units, in hours (single precision) ------------------------------------------
    float hoursPerDay() const { return hoursPerDay_; }
    float hoursPerWeek() const { return hoursPerWeek_; }
    float hoursPerMonth() const { return hoursPerMonth_; }
    float hoursPerYear() const { return hoursPerYear_; }
    // Each stores its unit; a value that is not a positive finite number is ignored.
    virtual void setHoursPerDay(float hours);
    virtual void setHoursPerWeek(float hours);
    virtual void setHoursPerMonth(float hours);
    virtual void setHoursPerYear(float hours);
    // Plain calendar units: 24 hours a day, 168 a week, 720 a month (30 days), 8760 a year.
    void setStandardCalendarTime();
    // Seconds in each unit as the formatter stands (seconds, minutes and hours are fixed).
    BKTimeSpanUnitSeconds unitSeconds() const;

    // --- Units shown ----------------------------------------------------------------------
    bool displaySeconds() const { return displaySeconds_; }
    void setDisplaySeconds(bool flag);
    bool displayMinutes() const { return displayMinutes_; }
    void setDisplayMinutes(bool flag);
    bool displayHours() const { return displayHours_; }
    void setDisplayHours(bool flag);
    bool displayDays() const { return displayDays_; }
    void setDisplayDays(bool flag);
    bool displayWeeks() const { return displayWeeks_; }
    void setDisplayWeeks(bool flag);
    bool displayMonths() const { return displayMonths_; }
    void setDisplayMonths(bool flag);
    bool displayYears() const { return displayYears_; }
    void setDisplayYears(bool flag);
    // Whether `unit` is displayed.
    bool displaysUnit(BKTimeSpanUnit unit) const;
    // The smallest displayed unit; hours when none is displayed.
    BKTimeSpanUnit smallestDisplayedUnit() const;

    // --- Other settings ---------------------------------------------------------------------
    // Whether parsing answers a number of seconds rather than a span; false by default.
    bool shouldReturnNumber() const { return shouldReturnNumber_; }
    void setShouldReturnNumber(bool flag);
    // Whether units are written out ("2 days") rather than abbreviated ("2d"); false.
    bool useVerboseFormat() const { return useVerboseFormat_; }
    void setUseVerboseFormat(bool flag);
    // The step, in the smallest printed unit, that printed values are rounded to; 0 means
    // none.
    double roundingInterval() const { return roundingInterval_; }
    void setRoundingInterval(double interval);
    // BKTimeSpanFormatterOptions bits.
    unsigned options() const { return options_; }
    void setOptions(unsigned options);

    // --- Text ----------------------------------------------------------------------------
    // A number of seconds or a BKTimeSpan in the displayed units; "" for anything else and
    // for values that are not finite.
    std::string stringForObjectValue(const KSValue& value) override;
    // A number of seconds in the displayed units.
    std::string stringForTimeInterval(double seconds) const;
    // Reads a duration: a BKTimeSpan, or its seconds with shouldReturnNumber; null for text
    // of white space alone. False with a description of the problem otherwise.
    bool getObjectValueForString(KSValue* out, std::string_view text,
                                 std::string* errorDescription) override;
    // The same read answering the span itself (null for white space alone).
    bool parseTimeSpan(std::string_view text, std::shared_ptr<BKTimeSpan>* out,
                       std::string* errorDescription) const;
    // A zero span in this formatter's units.
    std::shared_ptr<BKTimeSpan> zeroTimeSpan() const;

    // The abbreviation of a unit as printed ("d", or its translation).
    static std::string abbreviationForUnit(BKTimeSpanUnit unit);
    // The written-out name of a unit, singular or plural ("day", "days").
    static std::string nameForUnit(BKTimeSpanUnit unit, bool plural);

protected:
    // Stores `value` in `field` between the change notices of `key`.
    void setFlag(bool& field, bool value, std::string_view key);
    // Stores hours between the change notices of `key`.
    void storeHours(float& field, float hours, std::string_view key);

private:
    // The text of a value at or above 0; `isZero` tells whether every printed number is 0.
    std::string printTerms(double seconds, bool* isZero) const;

    float hoursPerDay_ = 8.0f;
    float hoursPerWeek_ = 40.0f;
    float hoursPerMonth_ = 160.0f;
    float hoursPerYear_ = 1920.0f;
    bool displaySeconds_ = false;
    bool displayMinutes_ = false;
    bool displayHours_ = true;
    bool displayDays_ = true;
    bool displayWeeks_ = true;
    bool displayMonths_ = false;
    bool displayYears_ = false;
    bool shouldReturnNumber_ = false;
    bool useVerboseFormat_ = false;
    double roundingInterval_ = 0.0;
    unsigned options_ = 0;
};

}  // namespace kestrum
