// KSTimeSpanFormatter: the units in which a project shows durations and efforts.
//
// A project owns two of these (sharedDurationFormatter, sharedEffortFormatter). They hold
// how many working hours make a day, a week, a month and a year, which units are shown,
// and the rounding of shown values. The duration formatter's day and week also define
// the generic work schedule of the plan.
//
//   auto formatter = std::make_shared<KSTimeSpanFormatter>();
//   formatter->setHoursPerDay(7.5f);          // week 37.5, month 150, year 1800 hours
//   formatter->setHoursPerWeek(40.0f);        // other ratios are set after the day
//   KSDictionary archive = formatter->archiveDictionary();
//
// Every setting is keyed and observable; the constant key "anything" changes whenever a
// setting does, so an owner observes that one key. The four quantities are single
// precision, as stored in files, and the text grammar of durations builds on them.
#pragma once

#include <string>
#include <string_view>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class KSProject;

// The key announced with every change of a setting: "anything".
extern const char* const KSTimeSpanFormatterAnythingKey;

class KSTimeSpanFormatter : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // 8 hours a day, 40 a week, 160 a month, 1920 a year; hours, days and weeks shown.
    KSTimeSpanFormatter();
    ~KSTimeSpanFormatter() override;

    // The project whose undo manager archive loading bypasses (not retained; may be null).
    KSProject* project() const { return nonretainedProject_; }
    void setProject(KSProject* project) { nonretainedProject_ = project; }

    // --- Units, in working hours (single precision) ----------------------------------
    float hoursPerDay() const { return hoursPerDay_; }
    // Values at or below 0 become 0.1; also sets week 5x, month 20x and year 240x the day.
    void setHoursPerDay(float hours);
    float hoursPerWeek() const { return hoursPerWeek_; }
    // Values at or below 0 become 0.1.
    void setHoursPerWeek(float hours);
    float hoursPerMonth() const { return hoursPerMonth_; }
    // Values at or below 0 become 0.1.
    void setHoursPerMonth(float hours);
    float hoursPerYear() const { return hoursPerYear_; }
    // Values at or below 0 become 0.1.
    void setHoursPerYear(float hours);

    // --- The same units in seconds ------------------------------------------------------
    float timeIntervalPerDay() const;
    float timeIntervalPerWeek() const;
    // Reads the hours per week, so it equals timeIntervalPerWeek; kept as files expect.
    float timeIntervalPerMonth() const;
    float timeIntervalPerYear() const;
    // Each setter divides by 3600 and calls the hours setter of its own unit.
    void setTimeIntervalPerDay(float seconds);
    void setTimeIntervalPerWeek(float seconds);
    void setTimeIntervalPerMonth(float seconds);
    void setTimeIntervalPerYear(float seconds);
    // Plain calendar units: 24 hours a day, 168 a week, 720 a month (30 days), 8760 a year.
    void setStandardCalendarTime();

    // --- Units shown --------------------------------------------------------------------
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

    // --- Other settings -------------------------------------------------------------------
    // Whether parsing answers a number of seconds rather than a span; false by default.
    bool shouldReturnNumber() const { return shouldReturnNumber_; }
    void setShouldReturnNumber(bool flag);
    // Whether units are written out ("2 days") rather than abbreviated ("2d"); false.
    bool useVerboseFormat() const { return useVerboseFormat_; }
    void setUseVerboseFormat(bool flag);
    // The step, in the shown unit, that printed values are rounded to; 0 means none.
    double roundingInterval() const { return roundingInterval_; }
    void setRoundingInterval(double interval);

    // --- Archive ------------------------------------------------------------------------
    // Numbers under "hoursPerDay", "hoursPerWeek", "hoursPerMonth", "hoursPerYear" and
    // booleans under "displaySeconds" ... "displayYears".
    KSDictionary archiveDictionary() const;
    // Reads the same keys in that order through the setters (hours per day first, so
    // that the later three overwrite its derived values), with the project's undo
    // registration off. Missing keys leave their setting as it is.
    void loadFromArchiveDictionary(const KSDictionary& archive);

    // A null value set by key changes nothing; the key is announced again on the next
    // pass of the event loop so that a view shows the old value again.
    void setNilValueForKey(std::string_view key) override;
    // Announces a change of `key` without changing anything.
    void _redisplayKey(const std::string& key);
    // The constant behind "anything"; its only use is to be observed.
    int _anything() const { return 0; }

private:
    void setFlag(bool& field, bool value, std::string_view key);
    void setHours(float& field, float hours, std::string_view key);

    KSProject* nonretainedProject_ = nullptr;
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
};

}  // namespace kestrum
