// Dates as text: the plan's date formatter prints in the project's settings and the
// locale's formats, reads full dates, dates alone, day and month, relative words and free
// text, gives dates read without a time the schedule's default time, keeps dates near
// the plan, and reads plans with generic dates as day offsets from their start.
//
// The clock stands at Wednesday 11 March 2026, 10:30, in UTC.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Model/formatters/KSDateFormatter.h"
#include "Platform/core/KSClock.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSUserDefaults.h"
#include "Platform/formatters/BKCivilDateTime.h"
#include "Platform/text/TWTextStorage.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

KSDate at(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    return BKCivilDateTime{year, month, day, hour, minute, second}.date();
}

// "2026-03-11 10:30:00" for a date, "null" for no date, "error: ..." for a refusal.
std::string shown(const KSValue& value) {
    if (value.isNull()) return "null";
    BKCivilDateTime c = BKCivilDateTime::fromDate(value.asDate());
    return KSStringWithFormat("%04d-%02d-%02d %02d:%02d:%02d", c.year, c.month, c.day, c.hour,
                              c.minute, c.second);
}

std::string read(KSFormatter& formatter, const std::string& text) {
    KSValue value;
    std::string error;
    if (!formatter.getObjectValueForString(&value, text, &error)) return "error: " + error;
    return shown(value);
}

// A plan with real dates from Monday 2 March 2026, on the standard work week.
class DateFormatterTest : public PlanFixture<> {
protected:
    void SetUp() override {
        KSClock::setFixedNow(at(2026, 3, 11, 10, 30));
        PlanFixture::SetUp();
        scenario->setStoredFixedDate(KSDateTime(at(2026, 3, 2)));
        drain();
        formatter = scenario->sharedDateFormatter();
        formatter->setLocaleIdentifier("en_US");
    }
    void TearDown() override {
        PlanFixture::TearDown();
        KSClock::useSystemClock();
    }
    std::string read(const std::string& text) { return test::read(*formatter, text); }
    std::string print(KSDate date) { return formatter->stringForObjectValue(KSValue(date)); }

    std::shared_ptr<KSDateFormatter> formatter;
};

TEST_F(DateFormatterTest, TheScenarioOwnsItsFormatterUntilItIsInvalidated) {
    EXPECT_EQ(formatter->scenario(), scenario.get());
    scenario->invalidate();
    EXPECT_EQ(formatter->scenario(), nullptr);
}

TEST_F(DateFormatterTest, PrintsWhatTheProjectDisplays) {
    const KSDate date = at(2026, 3, 5, 14, 5, 9);
    EXPECT_EQ(print(date), "3/5/26, 2:05 PM");  // a 12-hour clock
    project->setDisplaySeconds(true);
    EXPECT_EQ(print(date), "3/5/26, 2:05:09 PM");
    project->setDisplayDates(false);
    EXPECT_EQ(print(date), "2:05:09 PM");
    project->setDisplayTimes(false);  // turns dates back on
    EXPECT_EQ(print(date), "3/5/26");
    EXPECT_EQ(formatter->stringForObjectValue(KSValue("3/5/26")), "");
    EXPECT_EQ(formatter->stringForDate(KSDateTime()), "");
    EXPECT_EQ(formatter->editingStringForObjectValue(KSValue(date)), "3/5/26");
}

TEST_F(DateFormatterTest, ReadsTheFullFormTheDateAloneAndDayAndMonth) {
    EXPECT_EQ(read("3/5/26, 2:05 PM"), "2026-03-05 14:05:00");
    EXPECT_EQ(read("3/5/26, 2:05 pm"), "2026-03-05 14:05:00");
    EXPECT_EQ(read("3/5/26"), "2026-03-05 00:00:00");
    EXPECT_EQ(read("3/5"), "2026-03-05 00:00:00");  // the current year
    EXPECT_EQ(read("12/24"), "2026-12-24 00:00:00");
    EXPECT_EQ(read("   "), "null");
    const KSDate date = at(2026, 7, 4, 9, 41);
    EXPECT_EQ(read(print(date)), shown(KSValue(date)));
}

TEST_F(DateFormatterTest, ReadsRelativeWordsAndFreeText) {
    EXPECT_EQ(read("today"), "2026-03-11 00:00:00");
    EXPECT_EQ(read("Tomorrow"), "2026-03-12 00:00:00");
    EXPECT_EQ(read("yesterday"), "2026-03-10 00:00:00");
    EXPECT_EQ(read("now"), "2026-03-11 10:30:00");
    EXPECT_EQ(read("Tuesday"), "2026-03-17 00:00:00");       // the coming one
    EXPECT_EQ(read("wednesday"), "2026-03-11 00:00:00");     // today is one
    EXPECT_EQ(read("next Tuesday"), "2026-03-17 00:00:00");  // in next week, Sunday to Saturday
    EXPECT_EQ(read("next Sunday"), "2026-03-15 00:00:00");
    EXPECT_EQ(read("this Friday"), "2026-03-13 00:00:00");
    EXPECT_EQ(read("last Friday"), "2026-03-06 00:00:00");
    EXPECT_EQ(read("next week"), "2026-03-15 00:00:00");
    EXPECT_EQ(read("next month"), "2026-04-01 00:00:00");
    EXPECT_EQ(read("in 3 days"), "2026-03-14 00:00:00");
    EXPECT_EQ(read("2 weeks ago"), "2026-02-25 00:00:00");
    EXPECT_EQ(read("+1w"), "2026-03-18 00:00:00");
    EXPECT_EQ(read("in 2 hours"), "2026-03-11 12:30:00");
    EXPECT_EQ(read("tomorrow 5pm"), "2026-03-12 17:00:00");
    EXPECT_EQ(read("tomorrow at 9"), "2026-03-12 09:00:00");
    EXPECT_EQ(read("noon"), "2026-03-11 12:00:00");
    EXPECT_EQ(read("March 20, 9:15 a.m."), "2026-03-20 09:15:00");
    EXPECT_EQ(read("the 20th of March 2027"), "2027-03-20 00:00:00");
    EXPECT_EQ(read("20th"), "2026-03-20 00:00:00");
    EXPECT_EQ(read("5 Mar 2026 14:30"), "2026-03-05 14:30:00");
    EXPECT_EQ(read("2026-04-01"), "2026-04-01 00:00:00");
    EXPECT_EQ(read("12:00 am"), "2026-03-11 00:00:00");
}

TEST_F(DateFormatterTest, TextThatIsNoDateIsRefusedWithAReason) {
    EXPECT_EQ(read("next blorp"),
              "error: \"next blorp\" cannot be read as a date: \"blorp\" is not understood in a "
              "date.");
    EXPECT_EQ(read("February 31"),
              "error: \"February 31\" cannot be read as a date: The date names a day that does "
              "not exist.");
    EXPECT_EQ(read("13/45/2026"),
              "error: \"13/45/2026\" cannot be read as a date: The date names a day that does not "
              "exist.");
    EXPECT_EQ(read("today tomorrow"),
              "error: \"today tomorrow\" cannot be read as a date: The date names more than one "
              "day.");
    EXPECT_EQ(read("25:00"),
              "error: \"25:00\" cannot be read as a date: The date names an hour that does not "
              "exist.");
    KSValue kept(at(2001, 1, 1));
    KSError error;
    EXPECT_FALSE(formatter->getObjectValueForStringRangeError(&kept, "next", nullptr, &error));
    EXPECT_EQ(shown(kept), "2001-01-01 00:00:00");  // left alone
    EXPECT_EQ(error.domain(), KSCocoaErrorDomain);
    EXPECT_EQ(error.code(), KSFormattingError);
}

TEST_F(DateFormatterTest, ARangeReadsPartOfTheText) {
    KSValue value;
    TWTextRange range{6, 6};
    ASSERT_TRUE(
        formatter->getObjectValueForStringRangeError(&value, "Start 3/5/26 here", &range, nullptr));
    EXPECT_EQ(shown(value), "2026-03-05 00:00:00");
}

TEST_F(DateFormatterTest, DatesWithoutATimeTakeTheStartOfTheWorkDay) {
    formatter->setDefaultTimeSetting(1);
    EXPECT_EQ(read("3/6/26"), "2026-03-06 08:00:00");  // Friday
    EXPECT_EQ(read("3/7/26"), "2026-03-09 08:00:00");  // Saturday: Monday's start
    // A relative word reads in the full form, which takes no default time while times show.
    EXPECT_EQ(read("tomorrow"), "2026-03-12 00:00:00");
    EXPECT_EQ(read("next Friday"), "2026-03-20 08:00:00");      // free text does
    EXPECT_EQ(read("3/6/26, 9:15 AM"), "2026-03-06 09:15:00");  // a time stands
    EXPECT_EQ(shown(KSValue(formatter->todayWithDefaultTime())), "2026-03-11 08:00:00");
    project->setDisplayTimes(false);  // the full form is then the date alone
    EXPECT_EQ(read("3/7/26"), "2026-03-09 08:00:00");
    EXPECT_EQ(read("tomorrow"), "2026-03-12 08:00:00");
}

TEST_F(DateFormatterTest, DatesWithoutATimeTakeTheEndOfTheirDaysWork) {
    formatter->setDefaultTimeSetting(2);
    EXPECT_EQ(read("3/6/26"), "2026-03-06 17:00:00");  // Friday
    EXPECT_EQ(read("3/7/26"), "2026-03-07 00:00:00");  // Saturday stays as it is
    EXPECT_EQ(shown(KSValue(formatter->todayWithDefaultTime())), "2026-03-11 17:00:00");
    formatter->setDefaultTimeSetting(0);
    EXPECT_EQ(read("3/6/26"), "2026-03-06 00:00:00");
}

TEST_F(DateFormatterTest, ConstrainedDatesStayWithinACenturyOfThePlan) {
    EXPECT_EQ(read("1/5/0005"), "0005-01-05 00:00:00");
    formatter->setConstrainRange(true);
    EXPECT_EQ(read("1/5/0005"), "1926-03-02 00:00:00");  // 100 years before the start
    const BKCivilDateTime end = BKCivilDateTime::fromDate(scenario->endDate().nsDate());
    EXPECT_EQ(read("1/5/9999"),
              KSStringWithFormat("%04d-%02d-%02d %02d:%02d:%02d", end.year + 100, end.month,
                                 end.day, end.hour, end.minute, end.second));
    EXPECT_EQ(read("1/5/27"), "2027-01-05 00:00:00");
}

TEST_F(DateFormatterTest, StepsMoveByADayAndAWeek) {
    const KSValue date(at(2026, 3, 11, 9));
    EXPECT_EQ(shown(formatter->stepUpValue(date)), "2026-03-12 09:00:00");
    EXPECT_EQ(shown(formatter->stepDownValue(date)), "2026-03-10 09:00:00");
    EXPECT_EQ(shown(formatter->largeStepUpValue(date)), "2026-03-18 09:00:00");
    EXPECT_EQ(shown(formatter->largeStepDownValue(date)), "2026-03-04 09:00:00");
    EXPECT_TRUE(formatter->stepUpValue(KSValue()).isNull());
}

// A plan without a fixed start: day 0 is Monday 1 January 2001.
class GenericDateFormatterTest : public DateFormatterTest {
protected:
    void SetUp() override {
        DateFormatterTest::SetUp();
        scenario->setStoredFixedDate(KSDateTime());
        drain();
    }
};

TEST_F(GenericDateFormatterTest, PrintsWorkingDaysFromTheStart) {
    ASSERT_TRUE(scenario->hasGenericDates());
    EXPECT_EQ(print(at(2001, 1, 3, 9)), "T+2d 9:00 AM");
    project->setDisplayTimes(false);
    EXPECT_EQ(print(at(2001, 1, 1)), "T day ");
    EXPECT_EQ(print(at(2001, 1, 3, 9)), "T+2d ");
    EXPECT_EQ(print(at(2001, 1, 8)), "T+5d ");    // Monday of the next week
    EXPECT_EQ(print(at(2000, 12, 29)), "T-1d ");  // the Friday before
}

TEST_F(GenericDateFormatterTest, ReadsOffsetsFromTheStart) {
    EXPECT_EQ(read("T+2d"), "2001-01-03 00:00:00");
    EXPECT_EQ(read("2d"), "2001-01-03 00:00:00");
    EXPECT_EQ(read("t2d"), "2001-01-03 00:00:00");
    EXPECT_EQ(read("T-2d"), "2001-01-03 00:00:00");  // the sign is dropped
    EXPECT_EQ(read("T+1w"), "2001-01-10 00:00:00");  // seven working days
    EXPECT_EQ(read("T+3d 9h"), "2001-01-04 09:00:00");
    EXPECT_EQ(read("T day "), "2001-01-01 00:00:00");
}

TEST_F(GenericDateFormatterTest, ATimeOfDayMayFollowTheOffset) {
    EXPECT_EQ(read("T+2d 9:00 am"), "2001-01-03 09:00:00");
    EXPECT_EQ(read("T+2d 9:00"), "2001-01-03 09:00:00");
    EXPECT_EQ(read("T+2d 2:30 PM"), "2001-01-03 14:30:00");
    EXPECT_EQ(read("T+2d noon"), "2001-01-03 12:00:00");
    EXPECT_EQ(read("T+2d soon"), "2001-01-03 00:00:00");  // no time: the day stands
    EXPECT_EQ(read(print(at(2001, 1, 9, 15, 45))), "2001-01-09 15:45:00");
}

TEST_F(GenericDateFormatterTest, TextThatMeansNothingGivesTheStart) {
    EXPECT_EQ(read("nonsense"), "2001-01-01 00:00:00");
    EXPECT_EQ(read("T+"), "2001-01-01 00:00:00");
    EXPECT_EQ(read("T+99999999999999999999y"), "2001-01-01 00:00:00");
    EXPECT_EQ(read(""), "null");
}

TEST_F(GenericDateFormatterTest, StepsDownStopAtTheStart) {
    EXPECT_EQ(shown(formatter->stepDownValue(KSValue(at(2001, 1, 1)))), "2001-01-01 00:00:00");
    EXPECT_EQ(shown(formatter->stepDownValue(KSValue(at(2001, 1, 3)))), "2001-01-02 00:00:00");
    EXPECT_EQ(shown(formatter->largeStepUpValue(KSValue(at(2001, 1, 3)))), "2001-01-13 00:00:00");
    EXPECT_EQ(shown(formatter->largeStepDownValue(KSValue(at(2001, 1, 5)))), "2001-01-01 00:00:00");
    EXPECT_EQ(shown(formatter->stepUpValue(KSValue(at(2001, 1, 3)))), "2001-01-04 00:00:00");
}

// Locales, without a plan: the formatter's own short date and medium time.
class DateFormatterLocaleTest : public ::testing::Test {
protected:
    void SetUp() override { KSClock::setFixedNow(at(2026, 3, 11, 10, 30)); }
    void TearDown() override {
        KSUserDefaults::standardUserDefaults().removeObjectForKey("FirstDayOfTheWeek");
        KSClock::useSystemClock();
    }
    std::shared_ptr<KSDateFormatter> formatterIn(const std::string& locale) {
        auto formatter = std::make_shared<KSDateFormatter>();
        formatter->setLocaleIdentifier(locale);
        return formatter;
    }
    const KSDate date = at(2026, 3, 5, 14, 5, 9);
};

TEST_F(DateFormatterLocaleTest, AmericanDatesPutTheMonthFirstOnATwelveHourClock) {
    auto formatter = formatterIn("en_US");
    EXPECT_EQ(formatter->stringForObjectValue(KSValue(date)), "3/5/26, 2:05:09 PM");
    EXPECT_EQ(read(*formatter, "3/5/26, 2:05:09 PM"), "2026-03-05 14:05:09");
    EXPECT_EQ(read(*formatter, "3/5"), "2026-03-05 00:00:00");
    EXPECT_EQ(read(*formatter, "next week"), "2026-03-15 00:00:00");  // weeks start on Sunday
}

TEST_F(DateFormatterLocaleTest, GermanDatesPutTheDayFirstAndWeeksStartOnMonday) {
    auto formatter = formatterIn("de_DE");
    EXPECT_EQ(formatter->stringForObjectValue(KSValue(date)), "05.03.26, 14:05:09");
    EXPECT_EQ(read(*formatter, "05.03.26, 14:05:09"), "2026-03-05 14:05:09");
    EXPECT_EQ(read(*formatter, "5.3.26"), "2026-03-05 00:00:00");
    EXPECT_EQ(read(*formatter, "05.03."), "2026-03-05 00:00:00");
    EXPECT_EQ(read(*formatter, "morgen"), "2026-03-12 00:00:00");
    EXPECT_EQ(read(*formatter, "nächsten Dienstag"), "2026-03-17 00:00:00");
    EXPECT_EQ(read(*formatter, "nächste Woche"), "2026-03-16 00:00:00");  // a Monday
    EXPECT_EQ(read(*formatter, "5. März 14:30"), "2026-03-05 14:30:00");
    EXPECT_EQ(read(*formatter, "next Sunday"), "2026-03-22 00:00:00");  // English too
}

TEST_F(DateFormatterLocaleTest, BritishDatesPutTheDayFirstOnATwentyFourHourClock) {
    auto formatter = formatterIn("en_GB");
    EXPECT_EQ(formatter->stringForObjectValue(KSValue(date)), "05/03/2026, 14:05:09");
    EXPECT_EQ(read(*formatter, "5/3"), "2026-03-05 00:00:00");
    EXPECT_EQ(read(*formatter, "5/3/2026"), "2026-03-05 00:00:00");
    EXPECT_EQ(read(*formatter, "next week"), "2026-03-16 00:00:00");
}

TEST_F(DateFormatterLocaleTest, FrenchDatesReadTheirOwnWords) {
    auto formatter = formatterIn("fr_FR");
    EXPECT_EQ(formatter->stringForObjectValue(KSValue(date)), "05/03/2026 14:05:09");
    EXPECT_EQ(read(*formatter, "demain"), "2026-03-12 00:00:00");
    EXPECT_EQ(read(*formatter, "mardi prochain"), "2026-03-17 00:00:00");
    EXPECT_EQ(read(*formatter, "5 mars 2026"), "2026-03-05 00:00:00");
}

TEST_F(DateFormatterLocaleTest, ThePreferenceSetsTheFirstDayOfTheWeek) {
    KSUserDefaults::standardUserDefaults().setIntegerForKey(1, "FirstDayOfTheWeek");  // Monday
    auto formatter = formatterIn("en_US");
    EXPECT_EQ(formatter->firstWeekday(), 1);  // applied on first use
    EXPECT_EQ(read(*formatter, "next week"), "2026-03-16 00:00:00");
    EXPECT_EQ(read(*formatter, "next Sunday"), "2026-03-22 00:00:00");
    EXPECT_EQ(formatter->firstWeekday(), 2);
}

}  // namespace
}  // namespace kestrum::test
