// KSTimeVaryingValueEnumerator: a cursor over the changes of a KSTimeVaryingValue.
//
// The cursor stands before the first change (index -1, where the initial value holds),
// on a change (0 to count - 1), or after the last one (KSTimeVaryingValueEnumeratorEnd).
// Stepping back from the end goes to KSTimeVaryingValueEnumeratorEnd - 1, not to the last
// change, and moveToValueBeforeDate stops on the first change after the date when the
// date's own day has none; callers rely on both. An index that names no change answers a
// null date and a null value.
//
//   KSTimeVaryingValueEnumerator cursor(remaining);
//   while (cursor.moveToNextValue(), cursor.currentIndex() != KSTimeVaryingValueEnumeratorEnd)
//       plot(cursor.currentDate(), cursor.currentValue());
#pragma once

#include <cstdint>
#include <memory>

#include "Model/worktime/KSDateTime.h"

namespace kestrum {

class KSTimeVaryingValue;

// The index after the last change.
inline constexpr std::int64_t KSTimeVaryingValueEnumeratorEnd = 0x7fffffff;

class KSTimeVaryingValueEnumerator {
public:
    // initWithTimeVaryingValue: before the first change.
    explicit KSTimeVaryingValueEnumerator(std::shared_ptr<KSTimeVaryingValue> value);

    const std::shared_ptr<KSTimeVaryingValue>& timeVaryingValue() const { return value_; }
    std::int64_t currentIndex() const { return currentIndex_; }

    // distantPast before the first change, distantFuture after the last, else the day of
    // the change at time 0.
    KSDateTime currentDate() const;
    // The initial value before the first change, the last value after the last, else the
    // value of the change.
    KSValue currentValue() const;
    // One change on; after the last change, the end. Nothing at the end.
    void moveToNextValue();
    // One change back, unless before the first.
    void moveToPreviousValue();
    // To the change before the date's day: the place of the day, one lower when a change
    // lies on that very day; the last change when the day is past them all.
    void moveToValueBeforeDate(const KSDateTime& date);
    // To the place of the date's day (the first change not before it), or the end.
    void moveToValueAfterDate(const KSDateTime& date);

private:
    std::shared_ptr<KSTimeVaryingValue> value_;
    std::int64_t currentIndex_ = -1;
};

}  // namespace kestrum
