// KSTimeSpanFormatter: the units in which a project shows durations and efforts.
//
// A project owns two of these (sharedDurationFormatter, sharedEffortFormatter). They hold
// how many working hours make a day, a week, a month and a year, which units are shown,
// and the rounding of shown values; the text grammar is BKTimeSpanFormatter's. The
// duration formatter's day and week also define the generic work schedule of the plan.
//
//   auto formatter = std::make_shared<KSTimeSpanFormatter>();
//   formatter->setHoursPerDay(7.5f);          // week 37.5, month 150, year 1800 hours
//   formatter->setHoursPerWeek(40.0f);        // other ratios are set after the day
//   KSValue effort;
//   std::string error;
//   formatter->getObjectValueForString(&effort, "2d 3h", &error);
//   std::string text = formatter->stringForObjectValue(effort);     // "2d 3h"
//
// On top of the base grammar a lone unit means one of it ("d" is a day), negative
// durations are refused, a list of equal values prints as one, and the step operations
// move a value by one of its displayed units. Every setting is keyed and observable; the
// constant key "anything" changes whenever a setting does, so an owner observes that one
// key. The four quantities are single precision, as stored in files.
#pragma once

#include <string>
#include <string_view>

#include "Platform/formatters/BKTimeSpanFormatter.h"

namespace kestrum {

class KSProject;

// The key announced with every change of a setting: "anything".
extern const char* const KSTimeSpanFormatterAnythingKey;

class KSTimeSpanFormatter : public BKTimeSpanFormatter {
    KS_DECLARE_CLASS()
public:
    // 8 hours a day, 40 a week, 160 a month, 1920 a year; hours, days and weeks shown;
    // values print spread over the displayed units.
    KSTimeSpanFormatter();
    ~KSTimeSpanFormatter() override;

    // The project whose undo manager archive loading bypasses (not retained; may be null).
    KSProject* project() const { return nonretainedProject_; }
    void setProject(KSProject* project) { nonretainedProject_ = project; }

    // --- Units, in working hours (single precision) ----------------------------------
    // Values at or below 0 become 0.1; also sets week 5x, month 20x and year 240x the day.
    void setHoursPerDay(float hours) override;
    // Values at or below 0 become 0.1.
    void setHoursPerWeek(float hours) override;
    // Values at or below 0 become 0.1.
    void setHoursPerMonth(float hours) override;
    // Values at or below 0 become 0.1.
    void setHoursPerYear(float hours) override;

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

    // --- Text ----------------------------------------------------------------------------
    // The base's reading; on failure the text is read again with "1" in front, so that a
    // lone "d" or "h" is one day or one hour. A negative result is refused ("Negative time
    // intervals are not supported in Kestrum.  Found \"-1h\""); a null one is accepted.
    bool getObjectValueForString(KSValue* out, std::string_view text,
                                 std::string* errorDescription) override;
    // Parses the text; on success it becomes the new editing string.
    bool isPartialStringValidNewEditingString(std::string_view partialString,
                                              std::string* newString,
                                              std::string* errorDescription) override;
    // Parses the text and leaves the string and selection as they are.
    bool isPartialStringValidProposedSelectedRange(std::string* partialString,
                                                   TWTextRange* proposedSelectedRange,
                                                   std::string_view originalString,
                                                   TWTextRange originalSelectedRange,
                                                   std::string* errorDescription) override;
    // A list (a selection of several tasks) prints as its one element, or as the shared
    // value when all elements are numbers of the same value, else as ""; anything else as
    // the base prints it.
    std::string stringForObjectValue(const KSValue& value) override;

    // --- Stepping (values are numbers of seconds or spans; null counts as zero) ---------
    // One more of the smallest displayed unit out of hours, days, weeks, months and years;
    // the value unchanged when none of these is displayed.
    KSValue stepUpValue(const KSValue& value);
    // One less of that unit; a result below zero becomes zero.
    KSValue stepDownValue(const KSValue& value);
    // One more of the second smallest displayed unit of those five (see the source for the
    // treatment of years); the value unchanged when there is none.
    KSValue largeStepUpValue(const KSValue& value);
    // One less of the second smallest displayed unit; a result below zero becomes zero.
    KSValue largeStepDownValue(const KSValue& value);
    // Any value as a span: a zero span for null, a copy of a span, otherwise the value
    // printed and read back as a span.
    std::shared_ptr<BKTimeSpan> _timeSpanValue(const KSValue& value);
    // A span as the parse result would be: its seconds (single precision) with
    // shouldReturnNumber, else the span.
    KSValue _objectValueForSpan(const std::shared_ptr<BKTimeSpan>& span) const;

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
    // Adds `delta` to one unit of the span made from `value` and answers the new value,
    // floored at zero when `floorAtZero`.
    KSValue stepUnit(const KSValue& value, BKTimeSpanUnit unit, float delta, bool floorAtZero);
    KSValue floored(const std::shared_ptr<BKTimeSpan>& span) const;

    KSProject* nonretainedProject_ = nullptr;
};

}  // namespace kestrum
