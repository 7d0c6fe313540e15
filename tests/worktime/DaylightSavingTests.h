// Daylight-saving tests shared by the per-zone suites. Before including, a suite defines
// kSpringDay and kAutumnDay (the day numbers of the 23- and 25-hour days of 2024 in its
// zone) and kZoneName. Each zone runs in its own process, since the list of irregular
// days is process-wide.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSCalendarEvent.h"
#include "Model/worktime/KSLocalCalendar.h"
#include "Model/worktime/KSSchedule.h"
#include "Model/worktime/KSWeirdDay.h"
#include "Model/worktime/KSWeirdScheduledDay.h"

namespace kestrum {
namespace {

// A schedule that works all day every day, with one day off far away so that the
// all-hours shortcut does not apply and the day walk does the work.
std::shared_ptr<KSSchedule> allDayScheduleWithAnException() {
    auto schedule = KSSchedule::schedule();
    schedule->setStandardHoursString("0,86400;0,86400;0,86400;0,86400;0,86400;0,86400;0,86400");
    schedule->beginScheduleChanges();
    schedule->timeOffCalendar()->addEvent(
        KSCalendarEvent::eventWithStartEndTitle(KSDateTime(100, 0.0), KSDateTime(101, 0.0)));
    schedule->finishedScheduleChanges();
    return schedule;
}

TEST(DaylightSaving, RunsInTheZoneOfItsSuite) {
    const char* zone = std::getenv("TZ");
    ASSERT_NE(zone, nullptr);
    EXPECT_EQ(std::string(zone), kZoneName);
    EXPECT_EQ(KSDateTime(kSpringDay, 0.0).weekday(), 0);
}

TEST(DaylightSaving, IrregularDaysAreFoundWithTheirLengths) {
    auto spring = KSWeirdDay::weirdDayOnDayNumber(kSpringDay);
    ASSERT_TRUE(spring);
    EXPECT_EQ(spring->dayLength(), 82800.0f);
    EXPECT_FALSE(KSWeirdDay::weirdDayOnDayNumber(kSpringDay + 1));
    auto next = KSWeirdDay::nextWeirdDayOnOrAfterDay(kSpringDay + 1);
    ASSERT_TRUE(next);
    EXPECT_EQ(next->dayNumber(), kAutumnDay);
    EXPECT_EQ(next->dayLength(), 90000.0f);
    auto previous = KSWeirdDay::previousWeirdDayOnOrBeforeDay(kAutumnDay - 1);
    ASSERT_TRUE(previous);
    EXPECT_EQ(previous->dayNumber(), kSpringDay);
    auto earlier = KSWeirdDay::previousWeirdDayOnOrBeforeDay(kSpringDay - 1);
    ASSERT_TRUE(earlier);
    EXPECT_LT(earlier->dayNumber(), kSpringDay - 100);
    EXPECT_EQ(earlier->dayLength(), 90000.0f);
}

TEST(DaylightSaving, AnIrregularDayMeasuresItsSpansInAbsoluteTime) {
    KSScheduledDay allDay;
    allDay.addSpanFromStartToEnd(0.0, 86400.0);
    KSWeirdDay spring(kSpringDay, 82800.0f);
    auto day = spring.scheduledDayForNormalDay(allDay);
    EXPECT_EQ(day->lengthOfDay(), 82800.0);
    EXPECT_EQ(day->totalDuration(), 82800.0);
    ASSERT_EQ(day->timeSpans().size(), 1u);
    EXPECT_EQ(day->timeSpans()[0].endTime(), 86400.0);
    EXPECT_EQ(day->timeSpans()[0].durationFromStartTimeToTime(4 * 3600.0), 3 * 3600.0);
    EXPECT_EQ(day->remainingHoursAfterDate(KSDateTime(kSpringDay, 12 * 3600.0)), 12 * 3600.0);
    EXPECT_EQ(day->remainingHoursBeforeDate(KSDateTime(kSpringDay, 12 * 3600.0)), 11 * 3600.0);
    EXPECT_EQ(
        day->dateForDurationAfterStartOnDate(3 * 3600.0, KSDateTime(kSpringDay, 0.0)).timeOfDay(),
        4 * 3600.0);
    EXPECT_EQ(
        day->dateForDurationAfterStartOnDate(82800.0, KSDateTime(kSpringDay, 0.0)).timeOfDay(),
        86400.0);
    EXPECT_EQ(day->dateForDurationBeforeEndOnDate(0.0, KSDateTime(kSpringDay, 0.0)).timeOfDay(),
              86400.0);
    auto empty = spring.scheduledDayForNormalDay(KSScheduledDay());
    EXPECT_EQ(empty->lengthOfDay(), 82800.0);
    EXPECT_TRUE(empty->timeSpans().empty());
    // A standard day is not touched by a shift in the night.
    KSScheduledDay standard;
    standard.setTimeSpansString("28800,43200,46800,61200");
    EXPECT_EQ(spring.scheduledDayForNormalDay(standard)->totalDuration(), 28800.0);
}

TEST(DaylightSaving, ConversionsCrossTheShift) {
    KSDate midnight = KSDateTime(kSpringDay, 0.0).nsDate();
    EXPECT_EQ(KSDateTime(kSpringDay, 4 * 3600.0).nsDate().timeIntervalSinceDate(midnight),
              3 * 3600.0);
    EXPECT_EQ(KSDateTime(kSpringDay + 1, 0.0).nsDate().timeIntervalSinceDate(midnight), 82800.0);
    EXPECT_EQ(KSLocalCalendar::timeIntervalSinceBeginningOfDay(
                  KSDateTime(kAutumnDay, 12 * 3600.0).nsDate()),
              13 * 3600.0);
    KSDateTime later = KSDateTime(kAutumnDay, 0.0).dateByAddingTimeInterval(86400.0);
    EXPECT_EQ(later.dayNumber(), kAutumnDay);
    EXPECT_EQ(later.timeOfDay(), 23 * 3600.0);
}

TEST(DaylightSaving, WorkingAllDayGivesShortAndLongDays) {
    auto schedule = allDayScheduleWithAnException();
    EXPECT_EQ(schedule->durationBetweenStartDateAndEndDate(KSDateTime(kSpringDay, 0.0),
                                                           KSDateTime(kSpringDay + 1, 0.0)),
              82800.0);
    EXPECT_EQ(schedule->durationBetweenStartDateAndEndDate(KSDateTime(kAutumnDay, 0.0),
                                                           KSDateTime(kAutumnDay + 1, 0.0)),
              90000.0);
    // A year holds both shifts: they cancel.
    EXPECT_EQ(schedule->durationBetweenStartDateAndEndDate(KSDateTime(kSpringDay - 10, 0.0),
                                                           KSDateTime(kSpringDay + 355, 0.0)),
              365 * 86400.0);
    KSDateTime end = schedule->endDateForStartDateAndEffort(KSDateTime(kSpringDay, 0.0), 86400.0);
    EXPECT_TRUE(end.isIdenticalTo(KSDateTime(kSpringDay + 1, 3600.0)));
    end = schedule->endDateForStartDateAndEffort(KSDateTime(kAutumnDay, 0.0), 86400.0);
    EXPECT_TRUE(end.isIdenticalTo(KSDateTime(kAutumnDay, 23 * 3600.0)));
    KSDateTime start =
        schedule->startDateForEndDateAndEffort(KSDateTime(kSpringDay + 1, 0.0), 82800.0);
    EXPECT_TRUE(start.isIdenticalTo(KSDateTime(kSpringDay, 0.0)));
    // The shared all-hours schedule adds absolute time.
    end =
        KSSchedule::allHours()->endDateForStartDateAndEffort(KSDateTime(kSpringDay, 0.0), 86400.0);
    EXPECT_TRUE(end.isIdenticalTo(KSDateTime(kSpringDay + 1, 3600.0)));
    EXPECT_EQ(KSSchedule::allHours()->durationBetweenStartDateAndEndDate(
                  KSDateTime(kAutumnDay, 0.0), KSDateTime(kAutumnDay + 1, 0.0)),
              90000.0);
}

TEST(DaylightSaving, StandardHoursDoNotNoticeTheShift) {
    auto schedule = KSSchedule::schedule();
    // From the Friday before the spring Sunday to the Friday after.
    KSDateTime friday(kSpringDay - 2, 8 * 3600.0);
    EXPECT_EQ(schedule->durationBetweenStartDateAndEndDate(friday, friday.dateByAddingDays(7)),
              144000.0);
    KSDateTime end = schedule->endDateForStartDateAndEffort(friday, 144000.0 * 30);
    EXPECT_TRUE(end.isIdenticalTo(KSDateTime(kSpringDay - 2 + 7 * 29 + 6, 17 * 3600.0)));
}

}  // namespace
}  // namespace kestrum
