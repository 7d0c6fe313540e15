// The plan's calendar (the root resource's schedule) and the scenario's granularity: edits
// of working hours, days off and exceptions, and a change of granularity, move the tasks'
// dates in the next edit cycle, and undo moves them back.
#include "resources/CalendarFixture.h"

#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Model/worktime/KSScheduledDay.h"
#include "Platform/core/KSNotificationCenter.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum::test {
namespace {

class PlanCalendarTest : public CalendarTest {};

// Standard week:             A  8h  Mon 08:00 - Mon 17:00
//                            B 16h  Tue 08:00 - Wed 17:00 (after A)
// 7:00-11:00, 12:00-16:00:   A      Mon 08:00 - Tue 08:00 (7h on Monday)
//                            B      Tue 08:00 - Thu 08:00
TEST_F(PlanCalendarTest, NewWorkingHoursMoveEveryTask) {
    auto a = task("A", 8);
    auto b = task("B", 16);
    link(a, b);
    drain();
    ASSERT_EQ(span(b), "2024-01-09T08:00 - 2024-01-10T17:00");
    ASSERT_EQ(scenario->rootResource()->standardHoursString(), kStandardWeek);

    const std::string early =
        ";25200,39600,43200,57600;25200,39600,43200,57600;"
        "25200,39600,43200,57600;25200,39600,43200,57600;"
        "25200,39600,43200,57600;";
    scenario->rootResource()->setStandardHoursString(early);
    drain();
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-09T08:00");
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-11T08:00");
    EXPECT_EQ(span(scenario->rootTask()), "2024-01-08T08:00 - 2024-01-11T08:00");

    undo().undo();
    drain();
    EXPECT_EQ(scenario->rootResource()->standardHoursString(), kStandardWeek);
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-08T17:00");
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-10T17:00");
}

// Tuesday 9 January off:     A  8h  Mon 08:00 - Mon 17:00
//                            B 16h  Wed 08:00 - Thu 17:00
TEST_F(PlanCalendarTest, ADayOffPushesTheWorkPastIt) {
    auto a = task("A", 8);
    auto b = task("B", 16);
    link(a, b);
    drain();
    edit(calendar(), [](KSSchedule& s) { s.timeOffCalendar()->addEvent(dayOff(at(2024, 1, 9))); });
    drain();
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-08T17:00");
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-11T17:00");

    undo().undo();
    drain();
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-10T17:00");
    undo().redo();
    drain();
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-11T17:00");
}

// Only the afternoon of Monday 8 January:
//                            A  8h  Mon 13:00 - Tue 12:00
//                            B 16h  Tue 13:00 - Thu 12:00
// Monday 15 January keeps its morning:  C 4h after B  Thu 13:00 - Thu 17:00
TEST_F(PlanCalendarTest, AnExceptionChangesItsOwnDayOnly) {
    auto a = task("A", 8);
    auto b = task("B", 16);
    auto c = task("C", 4);
    link(a, b);
    link(b, c);
    drain();
    edit(calendar(), [](KSSchedule& s) {
        s.addExceptionalScheduleForDay(at(2024, 1, 8))->setTimeSpansString("46800,61200");
    });
    drain();
    EXPECT_EQ(span(a), "2024-01-08T13:00 - 2024-01-09T12:00");
    EXPECT_EQ(span(b), "2024-01-09T13:00 - 2024-01-11T12:00");
    EXPECT_EQ(span(c), "2024-01-11T13:00 - 2024-01-11T17:00");
    EXPECT_EQ(calendar().scheduleForDay(at(2024, 1, 15))->totalDuration(), 8 * kHour);
}

// A plan with a last working day spills over onto the generic week of the project's
// duration formatter. At 4 hours a day and 20 a week that week is four mornings, Monday to
// Thursday (the fifth day would get the remainder, which is none).
// A 48h: 40h by Friday 12 January, then 8h on the mornings of 15 and 16 January.
TEST_F(PlanCalendarTest, WorkBeyondTheCalendarsLastDayGoesOnInTheGenericWeek) {
    project->sharedDurationFormatter()->setHoursPerDay(4.0f);
    auto a = task("A", 48);
    drain();
    ASSERT_EQ(span(a), "2024-01-08T08:00 - 2024-01-15T17:00");
    scenario->rootResource()->setEndOfSchedule(at(2024, 1, 12));
    drain();
    EXPECT_EQ(iso(scenario->rootResource()->endOfSchedule()), "2024-01-12T00:00");
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-16T12:00");
    undo().undo();
    drain();
    EXPECT_TRUE(scenario->rootResource()->endOfSchedule().isNull());
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-15T17:00");
}

// The plan starts Monday 8 January at 8:20.
//                 exact                hours                days
//   A 2h          Mon 08:20 - 10:20    Mon 09:00 - 11:00    Tue 08:00 - 10:00
//   B 2h after A  Mon 10:20 - 13:20    Mon 11:00 - 14:00    Wed 08:00 - 10:00
// A day under way offers no start at day granularity: B waits for Wednesday.
TEST_F(PlanCalendarTest, GranularityRoundsStartsUpToTheHourOrTheNextDay) {
    scenario->setStartDate(at(2024, 1, 8, 8, 20));
    auto a = task("A", 2);
    auto b = task("B", 2);
    link(a, b);
    drain();
    EXPECT_EQ(span(a), "2024-01-08T08:20 - 2024-01-08T10:20");
    EXPECT_EQ(span(b), "2024-01-08T10:20 - 2024-01-08T13:20");

    scenario->setScheduleGranularity(KSScheduleGranularityHours);
    drain();
    EXPECT_EQ(span(a), "2024-01-08T09:00 - 2024-01-08T11:00");
    EXPECT_EQ(span(b), "2024-01-08T11:00 - 2024-01-08T14:00");

    scenario->setScheduleGranularity(KSScheduleGranularityDays);
    drain();
    EXPECT_EQ(span(a), "2024-01-09T08:00 - 2024-01-09T10:00");
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-10T10:00");

    undo().undo();
    drain();
    EXPECT_EQ(scenario->scheduleGranularity(), KSScheduleGranularityHours);
    EXPECT_EQ(span(b), "2024-01-08T11:00 - 2024-01-08T14:00");
}

// The plan ends Friday 12 January at 15:40; A is a late task of 2 hours.
//   exact  13:40 - 15:40;  hours  14:00 - 16:00 (an end rounds up too);  days  15:00 - 17:00
TEST_F(PlanCalendarTest, GranularityMovesTheEndsOfALatePlanLater) {
    scenario->setEndDate(at(2024, 1, 12, 15, 40));
    auto a = task("A", 2);
    a->setScheduleType(scheduleTypeALAP);
    drain();
    EXPECT_EQ(span(a), "2024-01-12T13:40 - 2024-01-12T15:40");
    scenario->setScheduleGranularity(KSScheduleGranularityHours);
    drain();
    EXPECT_EQ(span(a), "2024-01-12T14:00 - 2024-01-12T16:00");
    scenario->setScheduleGranularity(KSScheduleGranularityDays);
    drain();
    EXPECT_EQ(span(a), "2024-01-12T15:00 - 2024-01-12T17:00");
}

// Setting the granularity it already has changes nothing and records no undo step.
TEST_F(PlanCalendarTest, AnUnchangedGranularityInvalidatesNothing) {
    auto a = task("A", 8);
    drain();
    int invalidated = 0;
    auto token = KSNotificationCenter::defaultCenter().addObserver(
        nullptr, KSTaskWillInvalidateDatesNotification, a.get(),
        [&](const KSNotification&) { ++invalidated; });
    scenario->setScheduleGranularity(KSScheduleGranularityExact);
    EXPECT_EQ(invalidated, 0);
    EXPECT_TRUE(scenario->tasksNeedingRevalidation().empty());
    scenario->setScheduleGranularity(KSScheduleGranularityHours);
    EXPECT_EQ(invalidated, 1);
    KSNotificationCenter::defaultCenter().removeObserver(token);
}

}  // namespace
}  // namespace kestrum::test
