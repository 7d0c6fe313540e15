// Working-day indexes from the plan's anchor over the standard Monday-to-Friday week, in
// both directions and around weekends.
#include <gtest/gtest.h>

#include "Model/worktime/KSLocalCalendar.h"
#include "Model/worktime/KSSchedule.h"
#include "ProjectFixture.h"

namespace kestrum::test {
namespace {

class DayIndexTest : public ProjectTest {
protected:
    // Monday 3 March 2025.
    const std::int64_t monday = KSLocalCalendar::dayNumberOfCivilDate(2025, 3, 3);

    std::int64_t indexOf(std::int64_t day) const {
        return scenario->dayIndexOfDate(KSDateTime(day, 12 * kHour));
    }
    std::int64_t dayOf(std::int64_t index) const {
        return scenario->dateWithDayIndexAndHourOfDay(index, 8.0f).dayNumber();
    }
};

TEST_F(DayIndexTest, IndexesFromAMondayStartCountWorkingDaysAroundWeekends) {
    scenario->setStoredFixedDate(KSDateTime(monday, 8 * kHour));
    // Days from the anchor and their index. Counting runs in whole weeks from the
    // anchor's weekday, so a Saturday shares the Friday's index and a Sunday the Monday's.
    const std::pair<std::int64_t, std::int64_t> table[] = {
        {0, 0},  {1, 1},   {4, 4},   {5, 4},   {6, 5},   {7, 5},   {11, 9},  {12, 9},  {13, 10},
        {-1, 0}, {-2, -1}, {-3, -1}, {-6, -4}, {-7, -5}, {-8, -5}, {-9, -6}, {-10, -6}};
    for (const auto& [offset, index] : table)
        EXPECT_EQ(indexOf(monday + offset), index) << "day " << offset;
}

TEST_F(DayIndexTest, DatesFromAMondayStartStepOverWeekendsBothWays) {
    scenario->setStoredFixedDate(KSDateTime(monday, 8 * kHour));
    // Whole weeks jump by seven days; the rest steps day by day, counting a day when the
    // weekday it leaves works. So going back one day leaves the Monday for the Sunday,
    // and two days back walk over the weekend to the Thursday.
    const std::pair<std::int64_t, std::int64_t> table[] = {{0, 0},   {1, 1},   {4, 4},   {5, 7},
                                                           {6, 8},   {9, 11},  {10, 14}, {-1, -1},
                                                           {-2, -4}, {-5, -7}, {-6, -8}};
    for (const auto& [index, offset] : table)
        EXPECT_EQ(dayOf(index), monday + offset) << "index " << index;
    EXPECT_TRUE(scenario->dateWithDayIndexAndHourOfDay(3, 9.5f).isIdenticalTo(
        KSDateTime(monday + 3, 9.5 * kHour)));
}

TEST_F(DayIndexTest, AnEndAnchorCountsFromTheEnd) {
    const std::int64_t friday = monday + 4;
    scenario->setStoredHasFixedEndDate(true);
    scenario->setStoredFixedDate(KSDateTime(friday, 17 * kHour));
    EXPECT_EQ(indexOf(friday), 0);
    EXPECT_EQ(indexOf(friday - 1), -1);
    EXPECT_EQ(indexOf(friday - 4), -4);
    EXPECT_EQ(indexOf(friday + 3), 1);  // the Monday after
    EXPECT_EQ(dayOf(0), friday);
    EXPECT_EQ(dayOf(-1), friday - 1);
    // Stepping forward leaves the working Friday for the Saturday.
    EXPECT_EQ(dayOf(1), friday + 1);
    EXPECT_EQ(dayOf(-5), friday - 7);
}

TEST_F(DayIndexTest, AGenericPlanCountsFromTheGenericWeek) {
    EXPECT_EQ(scenario->dayIndexOfDate(KSDateTime(0, 0.0)), 0);
    EXPECT_EQ(scenario->dayIndexOfDate(KSDateTime(7, 0.0)), 5);
    EXPECT_EQ(dayOf(5), 7);
    scenario->setStoredHasFixedEndDate(true);
    EXPECT_EQ(scenario->dayIndexOfDate(KSScenario::genericEndDate()), 0);
    EXPECT_EQ(dayOf(0), 4);
}

TEST_F(DayIndexTest, TheIndexesFollowThePlansWeekAndIgnoreExceptions) {
    // A six-day week: Saturday works too.
    scenario->copySchedule(*KSSchedule::genericScheduleForHoursPerDayHoursPerWeek(8, 44));
    ASSERT_EQ(scenario->schedule()->workingDaysForNormalWeek(), 6);
    scenario->setStoredFixedDate(KSDateTime(monday, 8 * kHour));
    EXPECT_EQ(indexOf(monday + 5), 5);  // the Saturday
    EXPECT_EQ(indexOf(monday + 7), 6);
    EXPECT_EQ(dayOf(5), monday + 5);
    EXPECT_EQ(dayOf(6), monday + 7);
    // A day off in the calendar does not change the count.
    auto tuesday = scenario->schedule()->addExceptionalScheduleForDay(KSDateTime(monday + 1, 0.0));
    ASSERT_NE(tuesday, nullptr);
    tuesday->clearTimeSpans();
    ASSERT_FALSE(scenario->schedule()->isDateWorkingDate(KSDateTime(monday + 1, 0.0)));
    EXPECT_EQ(indexOf(monday + 2), 2);
    EXPECT_EQ(dayOf(1), monday + 1);
}

TEST_F(DayIndexTest, AWeekWithoutWorkHasNoDatedIndexes) {
    auto idle = KSSchedule::schedule();
    idle->setStandardHoursString(";;;;;;");
    scenario->copySchedule(*idle);
    ASSERT_EQ(scenario->schedule()->workingDaysForNormalWeek(), 0);
    EXPECT_EQ(scenario->dayIndexOfDate(KSDateTime(9, 0.0)), 0);
    EXPECT_TRUE(scenario->dateWithDayIndexAndHourOfDay(3, 8.0f).isNull());
}

}  // namespace
}  // namespace kestrum::test
