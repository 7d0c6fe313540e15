// Scheduled days: span arithmetic, work before and after a moment, dates for durations,
// adjusting as start or end at each granularity, text and archive forms.
#include <gtest/gtest.h>

#include "Model/worktime/KSScheduledDay.h"
#include "Platform/plist/KSPropertyList.h"

namespace kestrum {
namespace {

class StandardDay : public ::testing::Test {
protected:
    void SetUp() override {
        day = KSScheduledDay::dayForSchedule(nullptr);
        day->addSpanFromStartToEnd(28800.0, 43200.0);
        day->addSpanFromStartToEnd(46800.0, 61200.0);
    }
    // A date on day 100 at `t` seconds.
    static KSDateTime at(double t) { return KSDateTime(100, t); }
    double timeOf(const KSDateTime& d) const { return d.isNull() ? -1.0 : d.timeOfDay(); }

    std::shared_ptr<KSScheduledDay> day;
};

TEST_F(StandardDay, RemainingWorkAfterAndBeforeAMoment) {
    EXPECT_EQ(day->totalDuration(), 28800.0);
    EXPECT_EQ(day->remainingHoursAfterDate(at(43200)), 14400.0);
    EXPECT_EQ(day->remainingHoursAfterDate(at(45000)), 14400.0);
    EXPECT_EQ(day->remainingHoursAfterDate(at(61200)), 0.0);
    EXPECT_EQ(day->remainingHoursAfterDate(at(0)), 28800.0);
    EXPECT_EQ(day->remainingHoursAfterDate(at(30000)), 27600.0);
    EXPECT_EQ(day->remainingHoursBeforeDate(at(43200)), 14400.0);
    EXPECT_EQ(day->remainingHoursBeforeDate(at(45000)), 14400.0);
    EXPECT_EQ(day->remainingHoursBeforeDate(at(28800)), 0.0);
    EXPECT_EQ(day->remainingHoursBeforeDate(at(61200)), 28800.0);
    EXPECT_EQ(day->remainingHoursBeforeDate(at(50000)), 17600.0);
    KSScheduledDay empty;
    EXPECT_EQ(empty.remainingHoursAfterDate(at(100)), 0.0);
    EXPECT_EQ(empty.remainingHoursBeforeDate(at(100)), 0.0);
}

TEST_F(StandardDay, DatesForDurationsEndSpansRatherThanStartTheNext) {
    EXPECT_EQ(timeOf(day->dateForDurationAfterStartOnDate(14400, at(0))), 43200.0);
    EXPECT_EQ(timeOf(day->dateForDurationAfterStartOnDate(14401, at(0))), 46801.0);
    EXPECT_EQ(timeOf(day->dateForDurationAfterStartOnDate(28801, at(0))), 0.0);
    EXPECT_EQ(timeOf(day->dateForDurationAfterStartOnDate(0, at(0))), 28800.0);
    EXPECT_EQ(timeOf(day->dateForDurationBeforeEndOnDate(0, at(0))), 61200.0);
    EXPECT_EQ(timeOf(day->dateForDurationBeforeEndOnDate(14400, at(0))), 46800.0);
    EXPECT_EQ(timeOf(day->dateForDurationBeforeEndOnDate(14401, at(0))), 43199.0);
    EXPECT_EQ(timeOf(day->dateForDurationBeforeEndOnDate(30000, at(0))), 0.0);
    EXPECT_EQ(day->dateForDurationAfterStartOnDate(10, at(0)).dayNumber(), 100);
}

TEST_F(StandardDay, AdjustingAsAStartMovesPastSpanEnds) {
    EXPECT_EQ(timeOf(day->adjustDateForUseAsStartDateWithGranularity(at(43200), 0)), 46800.0);
    EXPECT_EQ(timeOf(day->adjustDateForUseAsStartDateWithGranularity(at(61200), 0)), -1.0);
    EXPECT_EQ(timeOf(day->adjustDateForUseAsStartDateWithGranularity(at(45000), 0)), 46800.0);
    EXPECT_EQ(timeOf(day->adjustDateForUseAsStartDateWithGranularity(at(0), 0)), 28800.0);
    EXPECT_EQ(timeOf(day->adjustDateForUseAsStartDateWithGranularity(at(30000), 0)), 30000.0);
    EXPECT_EQ(timeOf(day->adjustDateForUseAsStartDateWithGranularity(at(29000), 1)), 32400.0);
    EXPECT_EQ(timeOf(day->adjustDateForUseAsStartDateWithGranularity(at(28800), 2)), 28800.0);
    EXPECT_EQ(timeOf(day->adjustDateForUseAsStartDateWithGranularity(at(28801), 2)), -1.0);
    EXPECT_TRUE(KSScheduledDay().adjustDateForUseAsStartDateWithGranularity(at(0), 0).isNull());
}

TEST_F(StandardDay, AdjustingAsAnEndKeepsSpanEnds) {
    EXPECT_EQ(timeOf(day->adjustDateForUseAsEndDateWithGranularity(at(43200), 0)), 43200.0);
    EXPECT_EQ(timeOf(day->adjustDateForUseAsEndDateWithGranularity(at(45000), 0)), 43200.0);
    EXPECT_EQ(timeOf(day->adjustDateForUseAsEndDateWithGranularity(at(28800), 0)), -1.0);
    EXPECT_EQ(timeOf(day->adjustDateForUseAsEndDateWithGranularity(at(70000), 0)), 61200.0);
    EXPECT_EQ(timeOf(day->adjustDateForUseAsEndDateWithGranularity(at(29000), 1)), 32400.0);
    EXPECT_EQ(timeOf(day->adjustDateForUseAsEndDateWithGranularity(at(28801), 2)), 61200.0);
    EXPECT_EQ(timeOf(day->adjustDateForUseAsEndDateWithGranularity(at(28800), 2)), -1.0);
}

TEST_F(StandardDay, OtherDateMoves) {
    EXPECT_EQ(timeOf(day->adjustDateToEndOfSchedule(at(30000))), 61200.0);
    EXPECT_EQ(timeOf(day->adjustDateToEndOfSchedule(at(70000))), 70000.0);
    EXPECT_EQ(timeOf(KSScheduledDay().adjustDateToEndOfSchedule(at(30000))), 30000.0);
    EXPECT_EQ(timeOf(day->startOfNextTimeSpanAfterDate(at(30000))), 46800.0);
    EXPECT_EQ(timeOf(day->startOfNextTimeSpanAfterDate(at(50000))), -1.0);
    EXPECT_EQ(timeOf(day->endOfTimeSpanDuringDate(at(70000))), 61200.0);
    EXPECT_EQ(timeOf(day->endOfTimeSpanDuringDate(at(30000))), 43200.0);
    EXPECT_EQ(timeOf(day->endOfTimeSpanDuringDate(at(100))), -1.0);
    EXPECT_TRUE(day->hasHoursBetweenStartAndEnd(40000, 50000));
    EXPECT_FALSE(day->hasHoursBetweenStartAndEnd(43200, 46800));
    EXPECT_FALSE(day->hasHoursBetweenStartAndEnd(61200, 80000));
}

TEST_F(StandardDay, AddingMergesOverlappingAndTouchingSpans) {
    day->addSpanFromStartToEnd(43200.0, 46800.0);
    ASSERT_EQ(day->timeSpans().size(), 1u);
    EXPECT_EQ(day->timeSpans()[0], KSTimeSpan(28800.0, 61200.0));
    EXPECT_EQ(day->totalDuration(), 32400.0);
    day->addSpanFromStartToEnd(30000.0, 40000.0);
    EXPECT_EQ(day->totalDuration(), 32400.0);
    day->addSpanFromStartToEnd(20000.0, 10000.0);
    EXPECT_EQ(day->timeSpans().size(), 1u);
    day->addSpanFromStartToEnd(0.0, 3600.0);
    day->addSpanFromStartToEnd(1800.0, 30000.0);
    ASSERT_EQ(day->timeSpans().size(), 1u);
    EXPECT_EQ(day->timeSpans()[0], KSTimeSpan(0.0, 61200.0));
    EXPECT_EQ(day->totalDuration(), 61200.0);
}

TEST_F(StandardDay, RemovingCutsAndSplitsSpans) {
    day->removeSpanFromStartToEnd(30000.0, 31000.0);
    ASSERT_EQ(day->timeSpans().size(), 3u);
    EXPECT_EQ(day->timeSpans()[0], KSTimeSpan(28800.0, 30000.0));
    EXPECT_EQ(day->timeSpans()[1], KSTimeSpan(31000.0, 43200.0));
    EXPECT_EQ(day->totalDuration(), 27800.0);
    day->removeSpanFromStartToEnd(40000.0, 50000.0);
    EXPECT_EQ(day->timeSpansString(), "28800,30000,31000,40000,50000,61200");
    EXPECT_EQ(day->totalDuration(), 21400.0);
    day->clearTimeSpans();
    EXPECT_TRUE(day->timeSpans().empty());
    EXPECT_EQ(day->totalDuration(), 0.0);
    EXPECT_EQ(day->startTime(), 0.0);
}

TEST_F(StandardDay, TextForms) {
    EXPECT_EQ(day->timeSpansString(), "28800,43200,46800,61200");
    EXPECT_EQ(day->description(), "8:00am-12:00pm,1:00pm-5:00pm");
    EXPECT_EQ(day->localizedShortDescription(), " 8\u201312; 1\u2013 5");
    EXPECT_EQ(KSTimeSpan(30600.0, 86400.0).description(), "8:30am-12:00pm");
    EXPECT_EQ(KSTimeSpan(0.0, 1800.0).localizedShortDescription(), "12\u201312:30");
    auto other = KSScheduledDay::dayForSchedule(nullptr);
    other->setTimeSpansString("32400,43200,46800,64800");
    EXPECT_EQ(other->totalDuration(), 28800.0);
    EXPECT_FALSE(other->isEqualToScheduledDay(*day));
    other->setTimeSpansString("28800,43200,46800,61200");
    EXPECT_TRUE(other->isEqualToScheduledDay(*day));
    other->setTimeSpansString("");
    EXPECT_TRUE(other->timeSpans().empty());
}

TEST_F(StandardDay, ArchiveRoundTripsThroughABinaryPropertyList) {
    day->setDayNumber(8765);
    KSDictionary archive = day->archiveDictionary();
    EXPECT_EQ(archive.objectForKey("date").asString(), "20241231");
    KSData data =
        KSPropertyList::dataFromPropertyList(KSValue(archive), KSPropertyListFormat::Binary);
    KSValue read = KSPropertyList::propertyListFromData(data);
    ASSERT_TRUE(read.isDictionary());
    auto copy = KSScheduledDay::dayWithArchive(read.asDictionary(), nullptr);
    EXPECT_TRUE(copy->isEqualToScheduledDay(*day));
    EXPECT_EQ(copy->totalDuration(), 28800.0);
    EXPECT_EQ(copy->dayNumber(), 8765);
    // A day with no date writes none; an empty day writes no spans.
    EXPECT_FALSE(KSScheduledDay().archiveDictionary().contains("date"));
    EXPECT_FALSE(KSScheduledDay().archiveDictionary().contains("spans"));
    // Fractions of a second pass through 32-bit floats.
    KSTimeSpan span;
    span.loadFromArchive(KSDictionary{{"startTime", 28800.3}, {"endTime", 86400.0}});
    EXPECT_EQ(span.startTime(), static_cast<double>(28800.3f));
    EXPECT_EQ(span.endTime(), 86400.0);
}

TEST(KSScheduledDay, PlistDatesAcceptDatesAndDayStringsOnly) {
    EXPECT_EQ(KSScheduledDay::dateFromPlistValue(KSValue("20010102")), KSDate{86400.0});
    EXPECT_EQ(KSScheduledDay::dateFromPlistValue(KSValue(KSDate{5.0})), KSDate{5.0});
    EXPECT_FALSE(KSScheduledDay::dateFromPlistValue(KSValue("2001-01-02")));
    EXPECT_FALSE(KSScheduledDay::dateFromPlistValue(KSValue(12)));
}

TEST(KSScheduledDay, TransitionsAcrossSeveralDays) {
    KSScheduledDay a;
    a.setTimeSpansString("28800,43200,46800,61200");
    KSScheduledDay b;
    b.setTimeSpansString("36000,50400");
    const KSScheduledDay* days[] = {&a, &b};
    EXPECT_EQ(KSScheduledDay::nextTransitionTimeAfterTimeInDays(30000, days), 36000.0);
    EXPECT_EQ(KSScheduledDay::nextTransitionTimeAfterTimeInDays(43200, days), 46800.0);
    EXPECT_EQ(KSScheduledDay::nextTransitionTimeAfterTimeInDays(61200, days), 86400.0);
    EXPECT_EQ(KSScheduledDay::previousTransitionTimeBeforeTimeInDays(45000, days), 43200.0);
    EXPECT_EQ(KSScheduledDay::previousTransitionTimeBeforeTimeInDays(28800, days), 0.0);
    EXPECT_EQ(KSScheduledDay::nextTransitionTimeAfterTimeInDays(0, {}), 86400.0);
}

}  // namespace
}  // namespace kestrum
