// KSDateFormatter: the model's dates as text for cells and fields, and text back.
//
// Each scenario owns one (sharedDateFormatter). It prints in the project's settings: the
// short date when dates are displayed, and the time, with seconds or without, when times
// are; a plan with generic dates prints day indexes from its anchor ("T day ", "T+3d
// 9:00 AM"). It reads, in this order, the full date and time, the date alone, day and
// month alone (in the current year), and free text ("next Tuesday", "tomorrow 5pm");
// a plan with generic dates reads offsets such as "T+3d 9:00", "2d" or "t2d", and never
// fails: text that means nothing gives the plan's start.
//
// A date read without a time takes the default time: the start of the work day (setting
// 1) or its end (setting 2) by the plan's schedule, or stays at 0:00 (setting 0, the
// default). With constrainRange, a date more than 100 years before the plan's start or
// after its end is brought back to that limit.
//
//   auto formatter = scenario->sharedDateFormatter();
//   formatter->setDefaultTimeSetting(1);
//   KSDateTime date;
//   formatter->dateForString("1/5/26", &date, &error);    // Monday 5 January 2026, 8:00
//
// The locale is ICU's default (or the one set on the formatter); the first day of the
// week is the preference "FirstDayOfTheWeek" (0 = Sunday) when set, else the locale's.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Model/worktime/KSDateTime.h"
#include "Platform/formatters/BKRelativeDateFormatter.h"

namespace kestrum {

class KSScenario;

class KSDateFormatter : public BKRelativeDateFormatter {
    KS_DECLARE_CLASS()
public:
    // Short date and medium time, strict, default time setting 0, no scenario.
    KSDateFormatter();
    ~KSDateFormatter() override;

    // The plan whose settings, anchor and schedule the formatter follows (not retained;
    // may be null). Announced as a change of "scenario".
    KSScenario* scenario() const { return nonretainedScenario_; }
    void setScenario(KSScenario* scenario);
    // Whether read dates are kept within 100 years of the plan; false by default.
    bool constrainRange() const { return constrainRange_; }
    void setConstrainRange(bool flag) { constrainRange_ = flag; }
    // 0 leaves a date read without a time at 0:00; 1 moves it to the start of the work
    // day, 2 to the end of its day's work.
    std::int32_t defaultTimeSetting() const { return defaultTimeSetting_; }
    void setDefaultTimeSetting(std::int32_t setting) { defaultTimeSetting_ = setting; }

    // --- Printing -----------------------------------------------------------------------
    // A platform date as the plan shows it; "" for anything else.
    std::string stringForObjectValue(const KSValue& value) override;
    // A model date as the plan shows it; "" for null.
    std::string stringForDate(const KSDateTime& date);

    // --- Reading --------------------------------------------------------------------------
    // Reads the text in `range` (all of it when null): white space alone is a null date;
    // otherwise a platform date, or false with the error of the last reading tried.
    bool getObjectValueForStringRangeError(KSValue* out, std::string_view text, TWTextRange* range,
                                           KSError* error) override;
    // The same reading as a model date (null for white space alone).
    bool dateForString(std::string_view text, KSDateTime* out, KSError* error);
    // A date moved to the default time by the plan's schedule (the standard work hours
    // without a plan).
    KSDate adjustDateAppropriately(KSDate date);
    // The start of today, moved to the default time.
    KSDate todayWithDefaultTime();

    // --- Stepping -----------------------------------------------------------------------
    // A day earlier; with generic dates, not before the plan's start.
    KSValue stepDownValue(const KSValue& value) override;
    // A week later; with generic dates, 10 days later.
    KSValue largeStepUpValue(const KSValue& value) override;
    // A week earlier; with generic dates, 10 days earlier but not before the plan's start.
    KSValue largeStepDownValue(const KSValue& value) override;

    // The styles of the project's settings: short dates if displayed; times if displayed,
    // medium with seconds, short without. Nothing without a plan in a project.
    void _checkProjectDateFormat();
    // The instance's set-up: short date, medium time, strict, the locale's calendar.
    void _doSetup();

private:
    bool parseOrdinaryDate(std::string_view text, KSValue* out, KSError* error);
    void parseGenericDate(std::string_view text, KSValue* out);
    void _setObjectValueToDate(KSValue* out, KSDate date) const;
    void prepare();
    bool usesGenericDates() const;
    KSValue dateMovedByDays(const KSValue& value, int days) const;

    KSScenario* nonretainedScenario_ = nullptr;
    std::int32_t defaultTimeSetting_ = 0;
    bool constrainRange_ = false;
    // The locale whose pattern was last checked for a 12-hour mark beside a 24-hour clock.
    std::string checkedPatternLocale_;
};

}  // namespace kestrum
