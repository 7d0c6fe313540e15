// BKTimeSpan: a duration kept as its parts (years, months, weeks, days, hours, minutes and
// seconds), each a float, in the units of the time-span formatter that made it.
//
// A formatter's units say how many seconds make a day, a week, a month and a year (8
// working hours a day in a project, 24 on a calendar); a span copies them when it is
// made, so that its total (floatValue, in seconds) does not move when the formatter's
// settings change later. Parts are not normalised: 2d 3h stays two days and three hours,
// and stepping one part (hours + 1) leaves the others as they are.
//
//   auto span = std::make_shared<BKTimeSpan>(formatter);   // zero, in formatter's units
//   span->setDays(2.0f);
//   span->setHours(3.0f);
//   float seconds = span->floatValue();                    // 68400 with 8-hour days
#pragma once

#include <array>
#include <memory>
#include <string>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class BKTimeSpanFormatter;

// The parts of a span, smallest first.
enum class BKTimeSpanUnit : int {
    Seconds = 0,
    Minutes = 1,
    Hours = 2,
    Days = 3,
    Weeks = 4,
    Months = 5,
    Years = 6,
};
inline constexpr int BKTimeSpanUnitCount = 7;

// Seconds in each unit, indexed by BKTimeSpanUnit.
using BKTimeSpanUnitSeconds = std::array<float, BKTimeSpanUnitCount>;

class BKTimeSpan : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // A zero span in plain calendar units (24-hour days, 7-day weeks, 30-day months,
    // 365-day years).
    BKTimeSpan();
    // initWithTimeSpanFormatter: a zero span in that formatter's present units.
    explicit BKTimeSpan(const BKTimeSpanFormatter& formatter);
    // A zero span in the given units.
    explicit BKTimeSpan(const BKTimeSpanUnitSeconds& unitSeconds);
    ~BKTimeSpan() override;

    // One part, as a count of its unit (may be fractional or negative).
    float component(BKTimeSpanUnit unit) const { return parts_[static_cast<int>(unit)]; }
    void setComponent(BKTimeSpanUnit unit, float value) { parts_[static_cast<int>(unit)] = value; }

    float seconds() const { return component(BKTimeSpanUnit::Seconds); }
    void setSeconds(float v) { setComponent(BKTimeSpanUnit::Seconds, v); }
    float minutes() const { return component(BKTimeSpanUnit::Minutes); }
    void setMinutes(float v) { setComponent(BKTimeSpanUnit::Minutes, v); }
    float hours() const { return component(BKTimeSpanUnit::Hours); }
    void setHours(float v) { setComponent(BKTimeSpanUnit::Hours, v); }
    float days() const { return component(BKTimeSpanUnit::Days); }
    void setDays(float v) { setComponent(BKTimeSpanUnit::Days, v); }
    float weeks() const { return component(BKTimeSpanUnit::Weeks); }
    void setWeeks(float v) { setComponent(BKTimeSpanUnit::Weeks, v); }
    float months() const { return component(BKTimeSpanUnit::Months); }
    void setMonths(float v) { setComponent(BKTimeSpanUnit::Months, v); }
    float years() const { return component(BKTimeSpanUnit::Years); }
    void setYears(float v) { setComponent(BKTimeSpanUnit::Years, v); }

    // The total in seconds, every part times the seconds of its unit.
    float floatValue() const;
    // Seconds in `unit` for this span.
    float secondsPerUnit(BKTimeSpanUnit unit) const { return unitSeconds_[static_cast<int>(unit)]; }
    const BKTimeSpanUnitSeconds& unitSeconds() const { return unitSeconds_; }
    // Sets every part to 0.
    void clear() { parts_.fill(0.0f); }

    // A new span with the same parts and units.
    std::shared_ptr<BKTimeSpan> copy() const;
    // Same parts and same units.
    bool isEqual(const KSBaseObject& other) const override;
    // "<BKTimeSpan: 2d 3h = 68400s>", for logs.
    std::string description() const override;

    // Plain calendar units: 24-hour days, 7-day weeks, 30-day months, 365-day years.
    static BKTimeSpanUnitSeconds standardCalendarUnitSeconds();

private:
    std::array<float, BKTimeSpanUnitCount> parts_{};
    BKTimeSpanUnitSeconds unitSeconds_;
};

}  // namespace kestrum
