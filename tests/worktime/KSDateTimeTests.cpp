// Dates: day numbers, tolerant comparison, conversions and the shared helpers.
#include <gtest/gtest.h>

#include <vector>

#include "Model/worktime/KSDateTime.h"
#include "Model/worktime/KSLocalCalendar.h"
#include "Model/worktime/KSSortedArrays.h"
#include "Model/worktime/KSStringAdditions.h"
#include "Platform/core/KSClock.h"
#include "Platform/core/KSUserDefaults.h"

namespace kestrum {
namespace {

KSDate utc(double daysSince2001, double seconds = 0.0) {
    return KSDate{daysSince2001 * 86400.0 + seconds};
}

TEST(KSDateTime, IsASixteenByteValueAndDefaultsToNull) {
    KSDateTime none;
    EXPECT_TRUE(none.isNull());
    EXPECT_TRUE(none.dateByAddingDays(3).isNull());
    EXPECT_TRUE(none.dateWithTimeOnSameDay(10.0).isNull());
    EXPECT_FALSE(KSDateTime(-1, 0.0).isNull());
}

TEST(KSDateTime, WeekdaysCountFromSundayAndDayZeroIsAMonday) {
    EXPECT_EQ(KSDateTime(0, 0.0).weekday(), 1);
    EXPECT_EQ(KSDateTime(-1, 0.0).weekday(), 0);
    EXPECT_EQ(KSDateTime(-7, 0.0).weekday(), 1);
    EXPECT_EQ(KSDateTime(5, 0.0).weekday(), 6);
    EXPECT_EQ(KSDateTime(-730000, 0.0).weekday(), KSDateTime::distantPast().weekday());
}

TEST(KSDateTime, DayNumbersAcrossLeapYearsAndBefore2001) {
    struct Case {
        int year, month, day;
        std::int64_t number;
    };
    const Case cases[] = {
        {2001, 1, 1, 0},      {2000, 12, 31, -1},  {2004, 2, 29, 1154},
        {2004, 3, 1, 1155},   {2000, 2, 29, -307}, {2000, 3, 1, -306},
        {1900, 3, 1, -36831}, {2100, 3, 1, 36218}, {2024, 12, 31, 8765},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.number);
        EXPECT_EQ(KSLocalCalendar::dayNumberOfCivilDate(c.year, c.month, c.day), c.number);
        KSDate midnight = KSLocalCalendar::dateFromComponents({c.year, c.month, c.day, 0, 0, 0});
        KSDateTime date(midnight.dateByAddingTimeInterval(3723.0));
        EXPECT_EQ(date.dayNumber(), c.number);
        EXPECT_EQ(date.timeOfDay(), 3723.0);
        EXPECT_EQ(date.hour(), 1);
        EXPECT_EQ(date.minute(), 2);
        EXPECT_EQ(date.second(), 3);
        EXPECT_EQ(date.nsDate(), midnight.dateByAddingTimeInterval(3723.0));
    }
    // Under UTC the platform's reference date is day 0 at midnight.
    EXPECT_EQ(KSDateTime(utc(0)).dayNumber(), 0);
    EXPECT_EQ(KSDateTime(utc(-1, 86399.5)).timeOfDay(), 86399.0);
}

TEST(KSDateTime, EndOfDayStaysOnItsDayButNotThroughAPlatformDate) {
    KSDateTime endOfDay(10, 86400.0);
    KSDateTime nextMorning(11, 0.0);
    EXPECT_EQ(endOfDay.compare(nextMorning), -1);
    EXPECT_EQ(endOfDay.nsDate(), nextMorning.nsDate());
    KSDateTime roundTrip(endOfDay.nsDate());
    EXPECT_EQ(roundTrip.dayNumber(), 11);
    EXPECT_EQ(roundTrip.timeOfDay(), 0.0);
}

TEST(KSDateTime, ComparisonToleratesLessThanASecond) {
    KSDateTime a(5, 100.0);
    EXPECT_EQ(a.compare(KSDateTime(5, 100.9)), 0);
    EXPECT_EQ(a.compare(KSDateTime(5, 101.0)), -1);
    EXPECT_EQ(a.compare(KSDateTime(5, 101.5)), -1);
    EXPECT_EQ(KSDateTime(5, 101.5).compare(a), 1);
    EXPECT_EQ(a.compare(KSDateTime(4, 90000.0)), 1);
    EXPECT_EQ(a.reverseCompare(KSDateTime(5, 101.0)), 1);
    EXPECT_EQ(a.reverseCompare(KSDateTime(5, 100.5)), 0);
    EXPECT_TRUE(a == KSDateTime(5, 100.5));
    EXPECT_FALSE(a.isEqualToDate(KSDateTime()));
    EXPECT_TRUE(a.isEarlierThanDate(KSDateTime(5, 102.0)));
    EXPECT_TRUE(a.isLaterThanDate(KSDateTime(5, 98.0)));
    // Exact order for sorting does not tolerate.
    EXPECT_TRUE(a.exactLess(KSDateTime(5, 100.5)));
    EXPECT_FALSE(a.isIdenticalTo(KSDateTime(5, 100.5)));
}

TEST(KSDateTime, EarlierAndLaterKeepTheReceiverOnATie) {
    KSDateTime a(5, 100.0);
    KSDateTime b(5, 100.5);
    EXPECT_TRUE(a.earlierDate(b).isIdenticalTo(a));
    EXPECT_TRUE(a.laterDate(b).isIdenticalTo(a));
    EXPECT_TRUE(b.earlierDate(a).isIdenticalTo(b));
    EXPECT_TRUE(a.earlierDate(KSDateTime(6, 0.0)).isIdenticalTo(a));
    EXPECT_TRUE(a.laterDate(KSDateTime(6, 0.0)).isIdenticalTo(KSDateTime(6, 0.0)));
    // The class forms ignore a null operand.
    EXPECT_TRUE(KSDateTime::earlierDate(KSDateTime(), a).isIdenticalTo(a));
    EXPECT_TRUE(KSDateTime::laterDate(a, KSDateTime()).isIdenticalTo(a));
    EXPECT_TRUE(KSDateTime::earlierDate(KSDateTime(), KSDateTime()).isNull());
}

TEST(KSDateTime, DayArithmeticKeepsNumbersAndTimes) {
    KSDateTime a(5, 3600.0);
    EXPECT_TRUE(a.dateByAddingDays(-10).isIdenticalTo(KSDateTime(-5, 3600.0)));
    EXPECT_TRUE(a.dateWithBeginningOfNextDay().isIdenticalTo(KSDateTime(6, 0.0)));
    EXPECT_TRUE(a.dateWithEndOfPreviousDay().isIdenticalTo(KSDateTime(4, 86400.0)));
    EXPECT_TRUE(a.dateWithTimeOnSameDay(3600.0).isIdenticalTo(a));
    EXPECT_TRUE(a.dateByAddingTimeInterval(86400.0 + 60.0).isIdenticalTo(KSDateTime(6, 3660.0)));
    EXPECT_EQ(a.hash(), static_cast<std::size_t>(5 ^ 3600));
}

TEST(KSDateTime, TodayComesFromTheClockAndDescriptionFromThePlatformDate) {
    KSClock::setFixedNow(utc(8000, 45296.0));
    KSDateTime today = KSDateTime::today();
    KSClock::useSystemClock();
    EXPECT_EQ(today.dayNumber(), 8000);
    EXPECT_EQ(today.timeOfDay(), 45296.0);
    EXPECT_EQ(KSDateTime(0, 45296.0).description(), "2001-01-01 12:34:56 +0000");
    EXPECT_EQ(KSDateTime().description(), "(null)");
}

TEST(KSDateTime, KeyedAccessConvertsToPlatformDates) {
    KSValue value = KSValueTraits<KSDateTime>::toValue(KSDateTime(1, 60.0));
    ASSERT_TRUE(value.isDate());
    EXPECT_EQ(value.asDate(), utc(1, 60.0));
    EXPECT_TRUE(KSValueTraits<KSDateTime>::toValue(KSDateTime()).isNull());
    KSDateTime back;
    ASSERT_TRUE(KSValueTraits<KSDateTime>::fromValue(value, &back));
    EXPECT_TRUE(back.isIdenticalTo(KSDateTime(1, 60.0)));
    ASSERT_TRUE(KSValueTraits<KSDateTime>::fromValue(KSValue(), &back));
    EXPECT_TRUE(back.isNull());
    EXPECT_FALSE(KSValueTraits<KSDateTime>::fromValue(KSValue("2001"), &back));
}

TEST(KSLocalCalendar, PlatformDateHelpers) {
    KSDate date = utc(100, 45000.5);
    EXPECT_EQ(KSLocalCalendar::dateWithBeginningOfDay(date), utc(100));
    EXPECT_EQ(KSLocalCalendar::dateWithBeginningOfNextDay(date), utc(101));
    EXPECT_EQ(KSLocalCalendar::timeOfDay(date), 45000.0);
    EXPECT_EQ(KSLocalCalendar::timeIntervalSinceBeginningOfDay(date), 45000.5);
    EXPECT_EQ(KSLocalCalendar::dateWithTimeOnSameDay(date, 86400.0), utc(101));
    EXPECT_EQ(KSLocalCalendar::dateWithTimeOnSameDay(date, 3661.9), utc(100, 3661.0));
    EXPECT_EQ(KSLocalCalendar::dateWithTimeIntervalSinceBeginningOfDay(date, 10.0), utc(100, 10.0));
    EXPECT_EQ(KSLocalCalendar::dateByAddingDays(date, -100), utc(0, 45000.5));
    EXPECT_EQ(KSLocalCalendar::dayNumberOfDate(utc(-800000)), -800000);
}

TEST(KSLocalCalendar, FirstDayOfTheWeekPreferenceWins) {
    EXPECT_EQ(KSLocalCalendar::preferredDayOfTheWeekOffset(),
              KSLocalCalendar::cachedCalendar().firstWeekday() - 1);
    KSUserDefaults::standardUserDefaults().setIntegerForKey(1, "FirstDayOfTheWeek");
    EXPECT_EQ(KSLocalCalendar::preferredDayOfTheWeekOffset(), 1);
    KSUserDefaults::standardUserDefaults().removeObjectForKey("FirstDayOfTheWeek");
}

TEST(KSStringAdditions, UniqueNamesCountPastTheHighestTaken) {
    std::vector<std::string> taken = {"Task", "Task 4", "Other 9"};
    auto name = [](const std::string& s) { return s; };
    EXPECT_EQ(KSUniquifyName("Task", taken, name), "Task 5");
    EXPECT_EQ(KSUniquifyName("Task 2", taken, name), "Task 2");
    EXPECT_EQ(KSUniquifyName("Task 4", taken, name), "Task 5");
    EXPECT_EQ(KSUniquifyName("New", taken, name), "New");
    EXPECT_EQ(KSUniquifyName("Other 9", taken, name, 20), "Other 20");
    KSUniquedName zero = KSSplitUniquedName("Task 0");
    EXPECT_EQ(zero.base, "Task 0");
    EXPECT_EQ(zero.number, 0);
    EXPECT_EQ(KSBaseNameForUniquedName("Ann 3"), "Ann 1");
    EXPECT_FALSE(KSBaseNameForUniquedName("Ann"));
    EXPECT_FALSE(KSBaseNameForUniquedName("Ann 0"));
}

TEST(KSStringAdditions, PositionalIdsCompareByComponents) {
    EXPECT_EQ(KSComparePositionalIDStrings("1.2", "1.10"), -1);
    EXPECT_EQ(KSComparePositionalIDStrings("1.10.2", "1.10.2"), 0);
    EXPECT_EQ(KSComparePositionalIDStrings("1.10", "1.10.1"), -1);
    EXPECT_EQ(KSComparePositionalIDStrings("2", "1.10.1"), 1);
}

TEST(KSSortedArrays, RangesOfEqualValues) {
    std::vector<int> values = {1, 3, 3, 3, 7, 9};
    auto self = [](int v) { return v; };
    EXPECT_EQ(KSRangeWithValue(values, 3, self), (KSRange{1, 3}));
    EXPECT_EQ(KSRangeWithValue(values, 9, self), (KSRange{5, 1}));
    EXPECT_EQ(KSRangeWithValue(values, 5, self), (KSRange{4, 0}));
    EXPECT_EQ(KSRangeWithValue(values, 10, self), (KSRange{6, 0}));
    EXPECT_EQ(KSRangeWithValue(std::vector<int>{}, 1, self), (KSRange{0, 0}));
    EXPECT_EQ(KSRangeOfNextValue(values, self, 2), (KSRange{2, 2}));
    EXPECT_EQ(KSRangeOfNextValue(values, self, 6), (KSRange{6, 0}));
    EXPECT_EQ(KSRangeOfPreviousValue(values, self, 2), (KSRange{1, 2}));
    auto order = [](int a, int b) { return a < b ? -1 : (a > b ? 1 : 0); };
    EXPECT_TRUE(KSIsSortedBy(values, order));
    EXPECT_FALSE(KSIsSortedBy(std::vector<int>{2, 1}, order));
    // KSDateTime values search with their tolerant compare.
    std::vector<KSDateTime> dates = {KSDateTime(1, 0.0), KSDateTime(2, 10.0), KSDateTime(3, 0.0)};
    auto same = [](const KSDateTime& d) { return d; };
    EXPECT_EQ(KSRangeWithValue(dates, KSDateTime(2, 10.4), same), (KSRange{1, 1}));
}

}  // namespace
}  // namespace kestrum
