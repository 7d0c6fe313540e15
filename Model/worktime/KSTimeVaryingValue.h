// KSTimeVaryingValue: a step function of the day. A value holds from the beginning of
// time, and a sorted list of days says where it changes; sprints keep the remaining
// effort of a task in one.
//
// Setting a value is economical rather than exact: a value equal to the one that already
// holds at the end is not stored again, and a value equal to the next stored change is
// not stored at all, even when that change lies on a later day. So a run of equal values
// at the end is stored once, while a change in the middle can leave two neighbours with
// the same value; the plan files and the sprint charts rely on exactly these entries.
//
//   auto remaining = std::make_shared<KSTimeVaryingValue>(KSValue(40.0));
//   remaining->setValueOnDayNumber(KSValue(32.0), 100);   // from day 100 on
//   remaining->valueOnDayNumber(99);                       // 40
//   remaining->valueOnDayNumber(150);                      // 32
//
// Values are compared as numbers (integers and doubles alike), strings or dates; the
// values of one object are meant to be of one kind, in practice numbers. A value holds
// for the whole of its day: dates are read by their day number only.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Model/worktime/KSDateTime.h"
#include "Platform/xml/BKObject.h"

namespace kestrum {

class KSTimeVaryingValue : public BKObject {
    KS_DECLARE_CLASS()
public:
    // initWithInitialValue: no changes, `initialValue` (may be null) from the start.
    explicit KSTimeVaryingValue(KSValue initialValue = KSValue());
    // initFromArchiveDictionary: see archiveDictionary. Entries out of order are sorted by
    // day, a later entry for the same day wins, and surplus days or values are dropped.
    static std::shared_ptr<KSTimeVaryingValue> timeVaryingValueFromArchiveDictionary(
        const KSDictionary& archive);
    ~KSTimeVaryingValue() override;

    // The value before the first change (may be null).
    const KSValue& initialValue() const { return initialValue_; }
    // Just stores.
    void setInitialValue(const KSValue& value);
    // The days of the changes, ascending, without duplicates.
    const std::vector<std::int64_t>& dayNumbers() const { return dayNumbers_; }
    // The values of the changes: values[i] holds from dayNumbers[i] on.
    const KSArray& allSubsequentValues() const { return values_; }
    // The number of changes.
    std::size_t count() const { return dayNumbers_.size(); }

    // The value that holds on day `dayNumber`.
    KSValue valueOnDayNumber(std::int64_t dayNumber) const;
    // The value that holds on the date's day; the initial value for a null date.
    KSValue valueOnDate(const KSDateTime& date) const;
    // Makes `value` hold from day `dayNumber` on, with the economies described above.
    void setValueOnDayNumber(const KSValue& value, std::int64_t dayNumber);
    // The same for the date's day; nothing for a null date.
    void setValueOnDate(const KSValue& value, const KSDateTime& date);
    // The smallest of the initial value and all changes (null values count as absent).
    KSValue minimumValue() const;
    // The largest of the initial value and all changes (null values count as absent).
    KSValue maximumValue() const;
    // The day of the last change at time 0; null without changes.
    KSDateTime lastDate() const;

    // {"initial": the initial value, or the number 0.0 when null; "days": the day numbers;
    //  "values": the values}.
    KSDictionary archiveDictionary() const;

    // The place at which `dayNumber` belongs in dayNumbers (the first day not before it).
    std::size_t indexOfDayNumber(std::int64_t dayNumber) const;
    // -1, 0 or 1 for values of one kind (numbers, strings, dates); 0 for anything else.
    static int compareValues(const KSValue& a, const KSValue& b);

private:
    KSValue extremeValue(int wanted) const;

    KSValue initialValue_;
    std::vector<std::int64_t> dayNumbers_;
    KSArray values_;
};

}  // namespace kestrum
