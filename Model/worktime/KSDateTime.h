// KSDateTime: the model's date, a civil day number and a time of day.
//
// Day 0 is 1 January 2001 (a Monday); the time of day is wall-clock seconds since the
// start of the day, normally 0 to 86400 inclusive, where 86400 is the very end of the day
// and stays on its own day. All scheduling arithmetic works on these two numbers with no
// calendar call; the local calendar is touched only when a date is made from, or turned
// into, a platform date (KSDate).
//
// The value is 16 bytes and trivially copyable. A default-made KSDateTime is null, which
// the model uses everywhere for "no date"; operations on a null date give null.
//
// compare() treats times less than a second apart on one day as the same. It is NOT a
// strict weak ordering: never use it (or operator==, or hash) to order std::sort, std::map
// or a hash table. Sort with exactLess() and std::stable_sort instead.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

#include "Platform/core/KSClassInfo.h"
#include "Platform/core/KSValue.h"

namespace kestrum {

class KSDateTime {
public:
    // A null date.
    constexpr KSDateTime() = default;
    // initWithDayNumber:andTimeOfDay: the numbers are stored as given (86400 is legal).
    constexpr KSDateTime(std::int64_t dayNumber, double timeOfDay)
        : dayNumber_(dayNumber), timeOfDay_(timeOfDay) {}
    // initWithNSDate: the platform date's local day and wall-clock time (whole seconds).
    explicit KSDateTime(KSDate date);

    // Now, from the injectable clock.
    static KSDateTime today();
    // Day -730000 and day 730000 at time 0: the marks of "no limit".
    static constexpr KSDateTime distantPast() { return KSDateTime(-730000, 0.0); }
    static constexpr KSDateTime distantFuture() { return KSDateTime(730000, 0.0); }
    // Null-tolerant: a null operand is ignored; two nulls give null.
    static KSDateTime earlierDate(const KSDateTime& a, const KSDateTime& b) {
        if (a.isNull()) return b;
        if (b.isNull()) return a;
        return a.earlierDate(b);
    }
    static KSDateTime laterDate(const KSDateTime& a, const KSDateTime& b) {
        if (a.isNull()) return b;
        if (b.isNull()) return a;
        return a.laterDate(b);
    }

    constexpr bool isNull() const { return dayNumber_ == kNullDay; }

    // The same moment as a platform date. (N, 86400) gives midnight at the start of N+1.
    KSDate nsDate() const;
    constexpr std::int64_t dayNumber() const { return dayNumber_; }
    constexpr double timeOfDay() const { return timeOfDay_; }
    // 0 = Sunday ... 6 = Saturday; day 0 is a Monday.
    constexpr int weekday() const {
        std::int64_t w = (dayNumber_ + 1) % 7;
        return static_cast<int>(w < 0 ? w + 7 : w);
    }
    int hour() const;
    int minute() const;
    int second() const;

    // The same day at another time of day (the receiver when the time is unchanged).
    constexpr KSDateTime dateWithTimeOnSameDay(double seconds) const {
        if (isNull()) return {};
        return KSDateTime(dayNumber_, seconds);
    }
    // Absolute time: goes through the calendar and across daylight-saving shifts.
    KSDateTime dateByAddingTimeInterval(double seconds) const;
    // Same time of day, `days` civil days later.
    constexpr KSDateTime dateByAddingDays(std::int64_t days) const {
        if (isNull()) return {};
        return KSDateTime(dayNumber_ + days, timeOfDay_);
    }
    // The next day at 0.0.
    constexpr KSDateTime dateWithBeginningOfNextDay() const {
        if (isNull()) return {};
        return KSDateTime(dayNumber_ + 1, 0.0);
    }
    // The previous day at 86400.0.
    constexpr KSDateTime dateWithEndOfPreviousDay() const {
        if (isNull()) return {};
        return KSDateTime(dayNumber_ - 1, 86400.0);
    }
    constexpr KSDateTime copy() const { return *this; }

    // -1, 0 or 1: by day number first; on one day, times less than 1.0 apart are the same.
    constexpr int compare(const KSDateTime& other) const {
        if (dayNumber_ != other.dayNumber_) return dayNumber_ < other.dayNumber_ ? -1 : 1;
        double difference = timeOfDay_ - other.timeOfDay_;
        if (difference > -1.0 && difference < 1.0) return 0;
        return difference < 0.0 ? -1 : 1;
    }
    constexpr int reverseCompare(const KSDateTime& other) const { return -compare(other); }
    // dayNumber XOR the time of day truncated; not consistent with compare().
    std::size_t hash() const {
        return static_cast<std::size_t>(dayNumber_) ^
               static_cast<std::size_t>(static_cast<std::uint32_t>(timeOfDay_));
    }
    // False for a null argument; otherwise compare() gives 0.
    constexpr bool isEqualToDate(const KSDateTime& other) const {
        return !other.isNull() && compare(other) == 0;
    }
    // The argument only when the receiver compares later; on a tie, the receiver.
    constexpr KSDateTime earlierDate(const KSDateTime& other) const {
        return compare(other) > 0 ? other : *this;
    }
    // The argument only when the receiver compares earlier; on a tie, the receiver.
    constexpr KSDateTime laterDate(const KSDateTime& other) const {
        return compare(other) < 0 ? other : *this;
    }
    constexpr bool isEarlierThanDate(const KSDateTime& other) const { return compare(other) < 0; }
    constexpr bool isLaterThanDate(const KSDateTime& other) const { return compare(other) > 0; }

    // Exact order and equality, for sorting and keys.
    constexpr bool exactLess(const KSDateTime& other) const {
        return dayNumber_ != other.dayNumber_ ? dayNumber_ < other.dayNumber_
                                              : timeOfDay_ < other.timeOfDay_;
    }
    constexpr bool isIdenticalTo(const KSDateTime& other) const {
        return dayNumber_ == other.dayNumber_ && timeOfDay_ == other.timeOfDay_;
    }

    // The platform date's description ("2026-11-21 10:00:00 +0000"); "(null)" for null.
    std::string description() const;

    // Tolerant equality (compare() == 0); two nulls are equal.
    friend constexpr bool operator==(const KSDateTime& a, const KSDateTime& b) {
        if (a.isNull() || b.isNull()) return a.isNull() && b.isNull();
        return a.compare(b) == 0;
    }

private:
    static constexpr std::int64_t kNullDay = std::numeric_limits<std::int64_t>::min();

    std::int64_t dayNumber_ = kNullDay;
    double timeOfDay_ = 0.0;
};

static_assert(sizeof(KSDateTime) == 16);
static_assert(std::is_trivially_copyable_v<KSDateTime>);

// Keyed access sees platform dates: null <-> null, KSDateTime <-> KSDate.
template <>
struct KSValueTraits<KSDateTime> {
    static constexpr KSValue::Type valueType = KSValue::Type::Date;
    static KSValue toValue(const KSDateTime& d) {
        return d.isNull() ? KSValue() : KSValue(d.nsDate());
    }
    static bool fromValue(const KSValue& v, KSDateTime* out) {
        if (v.isNull()) {
            *out = KSDateTime();
            return true;
        }
        if (!v.isDate()) return false;
        *out = KSDateTime(v.asDate());
        return true;
    }
};

}  // namespace kestrum
