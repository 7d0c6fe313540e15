// Schedules: effort to dates and back, working time between dates, adjusting, inherited
// weeks, exceptions from calendars, bounds and spill-over, and change bracketing.
#include <gtest/gtest.h>

#include <functional>

#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSCalendarEvent.h"
#include "Platform/core/KSNotificationCenter.h"
#include "Platform/core/KSUndoManager.h"
#include "WorktimeTestSupport.h"

namespace kestrum {
namespace {

::testing::AssertionResult sameDate(const KSDateTime& actual, const KSDateTime& expected) {
    if (actual.isIdenticalTo(expected)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "got day " << actual.dayNumber() << " at " << actual.timeOfDay() << ", expected day "
           << expected.dayNumber() << " at " << expected.timeOfDay();
}

class StandardSchedule : public ::testing::Test {
protected:
    void SetUp() override {
        schedule = KSSchedule::schedule();
        schedule->setDelegate(&delegate);
    }
    void dayOff(std::int64_t day) {
        schedule->beginScheduleChanges();
        schedule->timeOffCalendar()->addEvent(KSCalendarEvent::eventWithStartEndTitle(
            KSDateTime(day, 0.0), KSDateTime(day + 1, 0.0)));
        schedule->finishedScheduleChanges();
    }

    TestScheduleDelegate delegate;
    std::shared_ptr<KSSchedule> schedule;
};

TEST_F(StandardSchedule, EndDatesWithinAndAcrossDays) {
    EXPECT_TRUE(
        sameDate(schedule->endDateForStartDateAndEffort(on(kMonday, 8), 28800), on(kMonday, 17)));
    EXPECT_TRUE(sameDate(schedule->endDateForStartDateAndEffort(on(kMonday, 8), 28801),
                         on(kMonday + 1, 8, 1)));
    EXPECT_TRUE(
        sameDate(schedule->endDateForStartDateAndEffort(on(kMonday, 12.5), 3600), on(kMonday, 14)));
    EXPECT_TRUE(sameDate(schedule->endDateForStartDateAndEffort(on(kMonday + 4, 17), 1),
                         on(kMonday + 7, 8, 1)));
    EXPECT_TRUE(
        sameDate(schedule->endDateForStartDateAndEffort(on(kMonday, 8), 0.5), on(kMonday, 8, 1)));
    // Effort 0 gives the start itself, unadjusted; a null start gives null.
    EXPECT_TRUE(
        sameDate(schedule->endDateForStartDateAndEffort(on(kMonday, 20), 0), on(kMonday, 20)));
    EXPECT_TRUE(schedule->endDateForStartDateAndEffort(KSDateTime(), 10).isNull());
}

TEST_F(StandardSchedule, LongEffortsSkipWeeksToTheSameAnswer) {
    // 52 weeks of 40 hours from Monday 8:00 end on the Friday of the 52nd week at 17:00.
    EXPECT_TRUE(sameDate(schedule->endDateForStartDateAndEffort(on(kMonday, 8), 52 * 144000.0),
                         on(kMonday + 7 * 51 + 4, 17)));
    // Exactly one week from Wednesday noon ends the next Wednesday at noon.
    EXPECT_TRUE(sameDate(schedule->endDateForStartDateAndEffort(on(kMonday + 2, 12), 144000.0),
                         on(kMonday + 9, 12)));
    EXPECT_TRUE(sameDate(
        schedule->startDateForEndDateAndEffort(on(kMonday + 7 * 51 + 4, 17), 52 * 144000.0),
        on(kMonday, 8)));
    // Backward, the work before the end is taken off the day from its end: the whole
    // afternoon lands on its start.
    EXPECT_TRUE(sameDate(schedule->startDateForEndDateAndEffort(on(kMonday + 9, 12), 144000.0),
                         on(kMonday + 2, 13)));
}

TEST_F(StandardSchedule, StartDatesMirrorEndDatesWithTheirOwnRules) {
    EXPECT_TRUE(sameDate(schedule->startDateForEndDateAndEffort(on(kMonday + 1, 8), 28800),
                         on(kMonday, 8)));
    EXPECT_TRUE(sameDate(schedule->startDateForEndDateAndEffort(on(kMonday + 5, 12), 0),
                         on(kMonday + 5, 0)));
    EXPECT_TRUE(
        sameDate(schedule->startDateForEndDateAndEffort(on(kMonday, 12.5), 0), on(kMonday, 13)));
    EXPECT_TRUE(
        sameDate(schedule->startDateForEndDateAndEffort(on(kMonday, 12), 0), on(kMonday, 13)));
    EXPECT_TRUE(sameDate(schedule->startDateForEndDateAndEffort(on(kMonday + 7, 9), 7200),
                         on(kMonday + 4, 16)));
    EXPECT_TRUE(schedule->startDateForEndDateAndEffort(KSDateTime(), 10).isNull());
}

TEST_F(StandardSchedule, WorkingTimeBetweenDates) {
    EXPECT_EQ(schedule->durationBetweenStartDateAndEndDate(on(kMonday, 8), on(kMonday + 7, 8)),
              144000.0);
    EXPECT_EQ(schedule->durationBetweenStartDateAndEndDate(on(kMonday + 7, 8), on(kMonday, 8)),
              -144000.0);
    EXPECT_EQ(schedule->durationBetweenStartDateAndEndDate(on(kMonday, 9), on(kMonday, 15)),
              18000.0);
    EXPECT_EQ(
        schedule->durationBetweenStartDateAndEndDate(on(kMonday, 12.5), on(kMonday + 1, 12.5)),
        28800.0);
    EXPECT_EQ(schedule->durationBetweenStartDateAndEndDate(on(kMonday, 8), on(kMonday + 364, 8)),
              52 * 144000.0);
    EXPECT_EQ(schedule->durationBetweenStartDateAndEndDate(on(kMonday, 8), KSDateTime()), 0.0);
}

TEST_F(StandardSchedule, DurationsAndEndDatesAgreeAroundExceptions) {
    dayOff(kMonday + 2);
    dayOff(kMonday + 40);
    dayOff(kMonday + 200);
    ASSERT_EQ(schedule->exceptions().size(), 3u);
    EXPECT_EQ(schedule->durationBetweenStartDateAndEndDate(on(kMonday, 8), on(kMonday + 7, 8)),
              115200.0);
    EXPECT_TRUE(sameDate(schedule->endDateForStartDateAndEffort(on(kMonday + 1, 8), 57600),
                         on(kMonday + 3, 17)));
    EXPECT_TRUE(sameDate(schedule->startDateForEndDateAndEffort(on(kMonday + 3, 17), 57600),
                         on(kMonday + 1, 8)));
    // Every end date found by skipping weeks gives back its effort, and the effort between
    // two dates gives back the later date.
    for (std::int64_t startDay : {kMonday - 3, kMonday, kMonday + 16, kMonday + 38}) {
        for (double effort : {3600.0, 144000.0, 1e6, 52 * 144000.0}) {
            SCOPED_TRACE(testing::Message() << startDay << " " << effort);
            KSDateTime start = on(startDay, 10);
            KSDateTime end = schedule->endDateForStartDateAndEffort(start, effort);
            EXPECT_EQ(schedule->durationBetweenStartDateAndEndDate(start, end), effort);
            EXPECT_TRUE(sameDate(schedule->startDateForEndDateAndEffort(end, effort),
                                 schedule->adjustDateForUseAsStartDate(start)));
        }
    }
    double byDays = 0.0;
    for (std::int64_t d = kMonday; d < kMonday + 300; ++d) {
        byDays += schedule->scheduleForDay(KSDateTime(d, 0.0))->totalDuration();
    }
    EXPECT_EQ(schedule->durationBetweenStartDateAndEndDate(on(kMonday, 0), on(kMonday + 300, 0)),
              byDays);
}

TEST_F(StandardSchedule, AdjustingDatesAtEachGranularity) {
    EXPECT_TRUE(
        sameDate(schedule->adjustDateForUseAsStartDate(on(kMonday + 4, 17)), on(kMonday + 7, 8)));
    EXPECT_TRUE(
        sameDate(schedule->adjustDateForUseAsEndDate(on(kMonday + 7, 8)), on(kMonday + 4, 17)));
    EXPECT_TRUE(
        sameDate(schedule->adjustDateForUseAsStartDate(on(kMonday, 8, 600)), on(kMonday, 8, 600)));
    delegate.granularity = 1;
    EXPECT_TRUE(
        sameDate(schedule->adjustDateForUseAsStartDate(on(kMonday, 8, 600)), on(kMonday, 9)));
    EXPECT_TRUE(sameDate(schedule->adjustDateForUseAsEndDate(on(kMonday, 8, 600)), on(kMonday, 9)));
    delegate.granularity = 2;
    EXPECT_TRUE(
        sameDate(schedule->adjustDateForUseAsStartDate(on(kMonday, 8, 600)), on(kMonday + 1, 8)));
    EXPECT_TRUE(sameDate(schedule->adjustDateForUseAsEndDate(on(kMonday, 10)), on(kMonday, 17)));
    EXPECT_TRUE(sameDate(schedule->adjustDateToEndOfDay(on(kMonday, 10)), on(kMonday, 17)));
    EXPECT_TRUE(sameDate(schedule->adjustDateToEndOfDay(on(kMonday + 5, 10)), on(kMonday + 5, 10)));
    delegate.granularity = 0;
    EXPECT_TRUE(schedule->offBetweenStartDateAndEndDate(on(kMonday + 4, 17), on(kMonday + 7, 8)));
    EXPECT_FALSE(schedule->offBetweenStartDateAndEndDate(on(kMonday + 4, 16), on(kMonday + 7, 8)));
}

TEST_F(StandardSchedule, ASchedulewithNoWorkMovesNoDates) {
    schedule->setStandardHoursString(";;;;;;");
    EXPECT_TRUE(schedule->hasNoWork());
    EXPECT_TRUE(sameDate(schedule->adjustDateForUseAsStartDate(on(kMonday, 3)), on(kMonday, 3)));
    EXPECT_TRUE(sameDate(schedule->earliestPossibleWorkMoment(), KSDateTime::distantFuture()));
    EXPECT_TRUE(sameDate(schedule->latestPossibleWorkMoment(), KSDateTime::distantPast()));
    // Without a generic schedule an effort has nowhere to go.
    EXPECT_TRUE(schedule->endDateForStartDateAndEffort(on(kMonday, 8), 3600).isNull());
    delegate.generic = KSSchedule::standardWorkHours();
    EXPECT_TRUE(
        sameDate(schedule->endDateForStartDateAndEffort(on(kMonday, 8), 3600), on(kMonday, 9)));
    // Overtime on one day gives it work again.
    schedule->beginScheduleChanges();
    schedule->overtimeCalendar()->addEvent(
        KSCalendarEvent::eventWithStartEndTitle(on(kMonday + 2, 9), on(kMonday + 2, 11)));
    schedule->finishedScheduleChanges();
    EXPECT_FALSE(schedule->hasNoWork());
    EXPECT_TRUE(sameDate(schedule->earliestPossibleWorkMoment(), on(kMonday + 2, 9)));
    EXPECT_TRUE(sameDate(schedule->latestPossibleWorkMoment(), on(kMonday + 2, 11)));
    EXPECT_TRUE(sameDate(schedule->endDateForStartDateAndEffort(on(kMonday, 8), 3600),
                         on(kMonday + 2, 10)));
}

TEST_F(StandardSchedule, EffortBeyondTheEndOfScheduleSpillsOntoTheGenericSchedule) {
    delegate.generic = KSSchedule::allHours();
    schedule->setEndOfSchedule(KSDateTime(kMonday + 4, 0.0));
    EXPECT_TRUE(sameDate(schedule->latestPossibleWorkMoment(), KSDateTime(kMonday + 5, 0.0)));
    EXPECT_TRUE(sameDate(schedule->endDateForStartDateAndEffort(on(kMonday + 4, 13), 28800),
                         on(kMonday + 5, 4)));
    schedule->setStartOfSchedule(KSDateTime(kMonday, 0.0));
    EXPECT_TRUE(sameDate(schedule->startDateForEndDateAndEffort(on(kMonday, 12), 28800),
                         on(kMonday - 1, 20)));
    EXPECT_EQ(schedule->scheduleForDay(on(kMonday + 7, 0)), KSScheduledDay::sharedNonWorkingDay());
}

TEST(KSSchedule, SharedSchedules) {
    EXPECT_EQ(KSSchedule::standardWorkHours()->totalDurationForNormalWeek(), 144000.0);
    EXPECT_EQ(KSSchedule::standardWorkHours()->workingDaysForNormalWeek(), 5);
    EXPECT_EQ(KSSchedule::standardWorkHours()->standardHoursString(),
              ";28800,43200,46800,61200;28800,43200,46800,61200;28800,43200,46800,61200;"
              "28800,43200,46800,61200;28800,43200,46800,61200;");
    EXPECT_EQ(KSSchedule::allHours()->totalDurationForNormalWeek(), 604800.0);
    EXPECT_TRUE(
        sameDate(KSSchedule::allHours()->endDateForStartDateAndEffort(on(kMonday, 0), 86400),
                 on(kMonday + 1, 0)));
    EXPECT_EQ(KSSchedule::localizedNameForGranularity(1), "Hours");
    EXPECT_EQ(KSSchedule::localizedNameForGranularity(5), "");
    EXPECT_EQ(KSSchedule::standardWorkHours()->shortLocalizedWorkHoursDescription(),
              "M\u2013F\u2009\u2009 8\u201312; 1\u2013 5\u2009\u2009");
}

TEST(KSSchedule, GenericSchedulesFillMorningsFirst) {
    auto week = KSSchedule::genericScheduleForHoursPerDayHoursPerWeek(8, 42);
    EXPECT_EQ(week->standardHoursString(),
              ";28800,43200,46800,61200;28800,43200,46800,61200;28800,43200,46800,61200;"
              "28800,43200,46800,61200;28800,43200,46800,61200;28800,36000");
    auto all = KSSchedule::genericScheduleForHoursPerDayHoursPerWeek(24, 168);
    EXPECT_EQ(all->standardHoursString(), ";0,86400;0,86400;0,86400;0,86400;0,86400;0,86400");
    // The last day of the walk gets the rest even when it is 0.
    EXPECT_EQ(
        KSSchedule::genericScheduleForHoursPerDayHoursPerWeek(8, 40)->workingDaysForNormalWeek(),
        4);
    auto tenHours = KSSchedule::genericScheduleForHoursPerDayHoursPerWeek(10, 15);
    EXPECT_EQ(tenHours->scheduledDayAtDayInWeek(1)->timeSpansString(), "28800,43200,46800,68400");
    EXPECT_EQ(tenHours->scheduledDayAtDayInWeek(2)->timeSpansString(), "28800,43200,46800,50400");
    EXPECT_EQ(
        KSSchedule::genericScheduleForHoursPerDayHoursPerWeek(10, 10)->totalDurationForNormalWeek(),
        0.0);
}

TEST(KSSchedule, StandardHoursStringRoundTrips) {
    auto schedule = KSSchedule::schedule();
    const std::string text = "-;32400,61200;;-;28800,43200;-;0,3600,82800,86400";
    schedule->setStandardHoursString(text);
    EXPECT_EQ(schedule->standardHoursString(), text);
    EXPECT_TRUE(schedule->hasCustomScheduleForDayOfTheWeek(2));
    EXPECT_EQ(schedule->normalScheduleForDayOfTheWeek(2)->totalDuration(), 0.0);
    EXPECT_EQ(schedule->normalScheduleForDayOfTheWeek(3)->totalDuration(), 28800.0);
    EXPECT_EQ(schedule->totalDurationForNormalWeek(), 28800.0 * 3 + 14400.0 + 7200.0);
    auto copy = KSSchedule::schedule();
    copy->setValueForKey(schedule->valueForKey("standardHoursString"), "standardHoursString");
    EXPECT_EQ(copy->standardHoursString(), text);
    // Anything but seven days is refused and changes nothing.
    copy->setStandardHoursString("-;-");
    EXPECT_EQ(copy->standardHoursString(), text);
}

TEST(KSSchedule, ArchivesRoundTripAndOldExceptionsBecomeTimeOff) {
    auto schedule = KSSchedule::schedule();
    schedule->setStandardHoursString("-;32400,61200;-;-;-;-;-");
    auto read = KSSchedule::schedule();
    read->loadFromArchive(schedule->archiveDictionary());
    EXPECT_EQ(read->standardHoursString(), schedule->standardHoursString());

    KSDictionary old{
        {"standard",
         KSValue(KSArray(7, KSValue(KSDictionary{
                                {"spans", KSValue::array({KSValue(KSDictionary{
                                              {"startTime", 36000}, {"endTime", 43200}})})}})))},
        {"exceptions",
         KSValue::array({KSValue(KSDictionary{{"date", "20010115"}}),
                         KSValue(KSDictionary{
                             {"date", "20010116"},
                             {"spans", KSValue::array({KSValue(KSDictionary{
                                           {"startTime", 37800}, {"endTime", 39600}})})}})})}};
    auto migrated = KSSchedule::schedule();
    migrated->loadFromArchive(old);
    migrated->unarchiveScheduleExceptions(old);
    EXPECT_EQ(migrated->scheduleForDay(KSDateTime(13, 0.0))->timeSpansString(), "36000,43200");
    EXPECT_EQ(migrated->scheduleForDay(KSDateTime(14, 0.0))->totalDuration(), 0.0);
    EXPECT_EQ(migrated->scheduleForDay(KSDateTime(15, 0.0))->timeSpansString(), "37800,39600");
    EXPECT_EQ(migrated->timeOffCalendar()->events().size(), 3u);
    EXPECT_EQ(migrated->localExceptions().size(), 2u);
    KSDictionary archive = migrated->archiveDictionary();
    EXPECT_EQ(archive.objectForKey("exceptions").asArray().size(), 2u);
    EXPECT_TRUE(archive.contains("sunday"));
}

TEST(KSSchedule, InheritedWeeksAndExceptions) {
    TestScheduleDelegate parentDelegate;
    auto parent = KSSchedule::schedule();
    parent->setDelegate(&parentDelegate);
    auto child = KSSchedule::schedule();
    parentDelegate.children = {child};
    parent->setStandardHoursString("-;32400,61200;-;-;-;-;-");
    child->setInheritedSchedule(parent);
    EXPECT_FALSE(child->isTopLevelSchedule());
    EXPECT_TRUE(child->isIdenticalToTopLevelSchedule());
    EXPECT_EQ(child->normalScheduleForDayOfTheWeek(1), parent->normalScheduleForDayOfTheWeek(1));
    EXPECT_TRUE(
        sameDate(child->endDateForStartDateAndEffort(on(kMonday, 9), 28800), on(kMonday, 17)));

    // A child's own day that becomes the parent's again disappears.
    auto tuesday = child->addNewScheduleForDayOfTheWeek(2);
    tuesday->addSpanFromStartToEnd(61200, 64800);
    EXPECT_TRUE(child->hasCustomScheduleForDayOfTheWeek(2));
    EXPECT_FALSE(child->isIdenticalToTopLevelSchedule());
    EXPECT_EQ(child->totalDurationForNormalWeek(), 28800.0 * 5 + 3600);
    tuesday->removeSpanFromStartToEnd(61200, 64800);
    EXPECT_FALSE(child->hasCustomScheduleForDayOfTheWeek(2));

    // Exceptions merge; where both have one on a day, the child's stands, made from the
    // parent's day.
    parent->beginScheduleChanges();
    parent->timeOffCalendar()->addEvent(
        KSCalendarEvent::eventWithStartEndTitle(on(kMonday, 9), on(kMonday, 12)));
    parent->timeOffCalendar()->addEvent(
        KSCalendarEvent::eventWithStartEndTitle(on(kMonday + 1, 0), on(kMonday + 2, 0)));
    parent->finishedScheduleChanges();
    child->beginScheduleChanges();
    child->timeOffCalendar()->addEvent(
        KSCalendarEvent::eventWithStartEndTitle(on(kMonday, 14), on(kMonday, 15)));
    child->finishedScheduleChanges();
    ASSERT_EQ(child->exceptions().size(), 2u);
    EXPECT_EQ(child->scheduleForDay(on(kMonday, 0))->timeSpansString(), "43200,50400,54000,61200");
    EXPECT_EQ(parent->scheduleForDay(on(kMonday, 0))->timeSpansString(), "43200,61200");
    EXPECT_EQ(child->scheduleForDay(on(kMonday + 1, 0))->totalDuration(), 0.0);
    EXPECT_EQ(child->durationBetweenStartDateAndEndDate(on(kMonday, 0), on(kMonday + 7, 0)),
              14400.0 + 28800.0 * 3);
}

TEST(KSSchedule, ChangesAreBracketedUndoableAndAnnounced) {
    KSUndoManager undo;
    TestScheduleDelegate delegate;
    delegate.undoManager = &undo;
    auto schedule = KSSchedule::schedule();
    schedule->setDelegate(&delegate);
    int posted = 0;
    auto token = KSNotificationCenter::defaultCenter().addObserver(
        nullptr, "ScheduleDidChangeNotification", schedule.get(),
        [&](const KSNotification&) { ++posted; });

    schedule->setValueForKey(KSValue(KSDate{86400.0 * 10}), "startOfSchedule");
    EXPECT_TRUE(sameDate(schedule->startOfSchedule(), KSDateTime(10, 0.0)));
    EXPECT_EQ(schedule->valueForKey("startOfSchedule").asDate(), (KSDate{86400.0 * 10}));
    EXPECT_EQ(posted, 1);
    EXPECT_EQ(delegate.willChangeCount, 1);
    EXPECT_EQ(delegate.didChangeCount, 1);
    undo.undo();
    EXPECT_TRUE(schedule->startOfSchedule().isNull());
    // The undone setter brackets its own change inside the undone bracket.
    EXPECT_EQ(posted, 3);
    undo.redo();
    EXPECT_TRUE(sameDate(schedule->startOfSchedule(), KSDateTime(10, 0.0)));

    auto monday = schedule->addNewScheduleForDayOfTheWeek(1);
    monday->addSpanFromStartToEnd(61200, 64800);
    EXPECT_EQ(schedule->normalScheduleForDayOfTheWeek(1)->totalDuration(), 32400.0);
    undo.undo();
    EXPECT_FALSE(schedule->hasCustomScheduleForDayOfTheWeek(1));
    EXPECT_EQ(schedule->normalScheduleForDayOfTheWeek(1)->totalDuration(), 28800.0);
    KSNotificationCenter::defaultCenter().removeObserver(token);
}

TEST(KSSchedule, CopiesKeepDaysAndCalendars) {
    auto schedule = KSSchedule::schedule();
    schedule->setStandardHoursString("-;32400,61200;-;-;-;-;-");
    schedule->beginScheduleChanges();
    schedule->timeOffCalendar()->addEvent(
        KSCalendarEvent::eventWithStartEndTitle(on(kMonday, 0), on(kMonday + 1, 0), "Holiday"));
    schedule->finishedScheduleChanges();
    auto copy = schedule->copy();
    EXPECT_EQ(copy->standardHoursString(), schedule->standardHoursString());
    ASSERT_EQ(copy->localExceptions().size(), 1u);
    EXPECT_NE(copy->localExceptions()[0], schedule->localExceptions()[0]);
    EXPECT_EQ(copy->timeOffCalendar()->events()[0]->title(), "Holiday");
    EXPECT_TRUE(copy->isCustomSchedule());
    EXPECT_FALSE(KSSchedule::schedule()->isCustomSchedule());
}

}  // namespace
}  // namespace kestrum

namespace kestrum {
namespace {

TEST(KSSchedule, ProportionsThroughTheNormalWeek) {
    auto schedule = KSSchedule::schedule();
    // Wednesday noon: Monday, Tuesday and Wednesday morning are behind, 10 of 40 hours.
    EXPECT_DOUBLE_EQ(schedule->proportionOfDateThroughNormalWeek(on(kMonday + 2, 12)), 0.5);
    EXPECT_DOUBLE_EQ(schedule->proportionOfDateThroughNormalWeek(on(kMonday - 1, 12)), 0.0);
    EXPECT_TRUE(sameDate(schedule->dateWithProportionThroughNormalWeek(0.5, on(kMonday + 4, 0)),
                         on(kMonday + 2, 12)));
    EXPECT_TRUE(sameDate(schedule->dateWithProportionThroughNormalWeek(0.2, on(kMonday, 0)),
                         on(kMonday, 17)));
}

TEST(KSScheduledDayEnumerator, WalksExceptionsInBothDirections) {
    auto schedule = KSSchedule::schedule();
    schedule->beginScheduleChanges();
    schedule->timeOffCalendar()->addEvent(
        KSCalendarEvent::eventWithStartEndTitle(on(kMonday + 1, 0), on(kMonday + 2, 0)));
    schedule->finishedScheduleChanges();
    KSScheduledDayEnumerator forward(schedule.get(), false);
    forward.setStartDate(on(kMonday, 10));
    EXPECT_EQ(forward.nextObject()->totalDuration(), 28800.0);
    EXPECT_EQ(forward.daysUntilNextExceptionalDay(), 0);
    EXPECT_EQ(forward.nextObject()->totalDuration(), 0.0);
    EXPECT_EQ(forward.currentDayNumber(), kMonday + 1);
    forward.skipDays(7);
    EXPECT_GT(forward.daysUntilNextExceptionalDay(), 700000);
    EXPECT_TRUE(sameDate(forward.currentDate(), on(kMonday + 8, 0)));
    EXPECT_EQ(forward.currentDay()->totalDuration(), 28800.0);
    // Walking back from after the last exception still meets it.
    KSScheduledDayEnumerator backward(schedule.get(), true);
    backward.setStartDate(on(kMonday + 9, 10));
    double total = 0.0;
    for (int i = 0; i < 10; ++i)
        total += backward.nextObject()->totalDuration();
    EXPECT_EQ(total, 28800.0 * 7);
    const KSScheduledDayEnumerator* both[] = {&forward, &backward};
    EXPECT_TRUE(KSScheduledDayEnumerator::haveMoreScheduledDaysInEnumerators(both));
}

TEST(KSSchedule, CopiesShareTheDelegateButNeitherBoundsNorInheritance) {
    TestScheduleDelegate delegate;
    auto parent = KSSchedule::schedule();
    auto schedule = KSSchedule::schedule();
    schedule->setDelegate(&delegate);
    schedule->setInheritedSchedule(parent);
    schedule->setStartOfSchedule(on(kMonday, 0));
    const int changes = delegate.didChangeCount;
    auto copy = schedule->copy();
    // Making the copy tells no one; changing it tells the shared delegate.
    EXPECT_EQ(delegate.didChangeCount, changes);
    EXPECT_EQ(copy->delegate(), &delegate);
    EXPECT_TRUE(copy->isTopLevelSchedule());
    EXPECT_TRUE(copy->startOfSchedule().isNull());
    copy->setStandardHoursString("-;32400,61200;-;-;-;-;-");
    EXPECT_EQ(delegate.didChangeCount, changes + 1);
    EXPECT_EQ(schedule->standardHoursString(), "-;-;-;-;-;-;-");
}

// A delegate that asks its schedule something (once) while the schedule is asking it for
// the granularity.
class ReenteringDelegate : public TestScheduleDelegate {
public:
    int scheduleGranularity() override {
        if (!inside && reenter) {
            inside = true;
            reenter();
            inside = false;
        }
        return 0;
    }
    std::function<void()> reenter;
    bool inside = false;
};

TEST(KSScheduleDeathTest, OperationsMustNotNestOnOneSchedule) {
    auto schedule = KSSchedule::schedule();
    ReenteringDelegate delegate;
    schedule->setDelegate(&delegate);
    const auto forward = [&] {
        schedule->durationBetweenStartDateAndEndDate(on(kMonday, 9), on(kMonday + 3, 9));
    };
    const auto backward = [&] { schedule->adjustDateToEndOfDay(on(kMonday, 9)); };

    delegate.reenter = forward;
    EXPECT_DEATH(schedule->adjustDateForUseAsStartDate(on(kMonday, 10)),
                 "KSScheduledDayEnumerator\\.cpp.*must not nest.*forward walk");
    delegate.reenter = backward;
    EXPECT_DEATH(schedule->adjustDateForUseAsEndDate(on(kMonday, 10)),
                 "must not nest.*backward walk");
    // A walk in the other direction inside one is allowed: each direction has its own
    // enumerator.
    EXPECT_TRUE(
        sameDate(schedule->adjustDateForUseAsStartDate(on(kMonday, 12.5)), on(kMonday, 13)));
    delegate.reenter = forward;
    EXPECT_TRUE(sameDate(schedule->adjustDateForUseAsEndDate(on(kMonday, 12.5)), on(kMonday, 12)));
}

}  // namespace
}  // namespace kestrum
