// Durations as text: the project's time-span formatters print in the displayed units and
// their hours per day and week, read text back, refuse negative and malformed text, and
// step values by a displayed unit.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include <unicode/locid.h>

#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Platform/text/TWTextStorage.h"

namespace kestrum::test {
namespace {

constexpr double kHour = 3600.0;

// A formatter as the project makes it: spread over the units, rounded to quarters.
std::shared_ptr<KSTimeSpanFormatter> projectFormatter() {
    auto formatter = std::make_shared<KSTimeSpanFormatter>();
    formatter->setRoundingInterval(0.25);
    return formatter;
}

std::string print(KSTimeSpanFormatter& formatter, double hours) {
    return formatter.stringForObjectValue(KSValue(hours * kHour));
}

// The seconds a text reads as, or -1 with the error in `error`.
double secondsOf(KSTimeSpanFormatter& formatter, const std::string& text,
                 std::string* error = nullptr) {
    KSValue value;
    std::string message;
    if (!formatter.getObjectValueForString(&value, text, &message)) {
        if (error) *error = message;
        return -1.0;
    }
    if (auto span = value.asObjectOfType<BKTimeSpan>()) return span->floatValue();
    return value.isNull() ? 0.0 : value.doubleValue();
}

TEST(DurationTextTest, PrintsOverTheDisplayedUnitsOfAnEightHourDay) {
    auto formatter = projectFormatter();
    EXPECT_EQ(print(*formatter, 8.0), "1d");
    EXPECT_EQ(print(*formatter, 12.0), "1d 4h");
    EXPECT_EQ(print(*formatter, 40.0 + 8.0 + 2.5), "1w 1d 2.5h");
    EXPECT_EQ(print(*formatter, 0.0), "0h");
    EXPECT_EQ(print(*formatter, 1.1), "1h");  // rounded to a quarter hour
    EXPECT_EQ(print(*formatter, 7.9), "1d");  // and the rounding carries into the day
    EXPECT_EQ(print(*formatter, -12.0), "-1d 4h");
    EXPECT_EQ(formatter->stringForObjectValue(KSValue("8h")), "");  // not a duration
}

TEST(DurationTextTest, PrintsInChangedHoursPerDayAndWeek) {
    auto formatter = projectFormatter();
    formatter->setHoursPerDay(7.5f);  // week 37.5 hours
    EXPECT_EQ(print(*formatter, 7.5), "1d");
    EXPECT_EQ(print(*formatter, 8.0), "1d 0.5h");
    EXPECT_EQ(print(*formatter, 37.5 * 2 + 7.5), "2w 1d");
    formatter->setHoursPerWeek(30.0f);  // a four-day week
    EXPECT_EQ(print(*formatter, 37.5), "1w 1d");
}

TEST(DurationTextTest, HiddenUnitsFoldIntoTheShownOnes) {
    auto formatter = projectFormatter();
    formatter->setDisplayWeeks(false);
    EXPECT_EQ(print(*formatter, 40.0), "5d");
    formatter->setDisplayWeeks(true);
    formatter->setDisplayDays(false);
    EXPECT_EQ(print(*formatter, 48.0), "1w 8h");
    formatter->setDisplayWeeks(false);
    EXPECT_EQ(print(*formatter, 48.0), "48h");
    formatter->setDisplayHours(false);
    formatter->setDisplayDays(true);
    EXPECT_EQ(print(*formatter, 12.0), "1.5d");
    formatter->setDisplayDays(false);  // nothing shown: hours stand in
    EXPECT_EQ(print(*formatter, 12.0), "12h");
    formatter->setDisplayMinutes(true);
    EXPECT_EQ(print(*formatter, 1.5), "90m");
    formatter->setDisplayHours(true);
    EXPECT_EQ(print(*formatter, 1.5), "1h 30m");
}

TEST(DurationTextTest, APlainFormatterPrintsOneNumberInTheLargestUnitItFills) {
    BKTimeSpanFormatter calendar;  // no splitting, no rounding
    calendar.setStandardCalendarTime();
    EXPECT_EQ(calendar.stringForTimeInterval(36.0 * kHour), "1.5d");
    EXPECT_EQ(calendar.stringForTimeInterval(24.0 * 10 * kHour), "1.43w");
    EXPECT_EQ(calendar.stringForTimeInterval(0.5 * kHour), "0.5h");
    std::shared_ptr<BKTimeSpan> span;
    ASSERT_TRUE(calendar.parseTimeSpan("1w 2d", &span, nullptr));
    EXPECT_EQ(span->floatValue(), 9.0f * 24.0f * 3600.0f);
}

TEST(DurationTextTest, VerboseTextWritesTheUnitsOut) {
    auto formatter = projectFormatter();
    formatter->setUseVerboseFormat(true);
    EXPECT_EQ(print(*formatter, 40.0 + 16.0 + 1.0), "1 week 2 days 1 hour");
    EXPECT_EQ(secondsOf(*formatter, "1 week 2 days 1 hour"), 57.0 * kHour);
}

TEST(DurationTextTest, ReadsTermsInTheFormattersUnits) {
    auto formatter = projectFormatter();
    EXPECT_EQ(secondsOf(*formatter, "2d 3h"), 19.0 * kHour);
    EXPECT_EQ(secondsOf(*formatter, "2d3h"), 19.0 * kHour);
    EXPECT_EQ(secondsOf(*formatter, "1w"), 40.0 * kHour);
    EXPECT_EQ(secondsOf(*formatter, "1.5d"), 12.0 * kHour);
    EXPECT_EQ(secondsOf(*formatter, " 3 Hours "), 3.0 * kHour);
    EXPECT_EQ(secondsOf(*formatter, "2 hrs."), 2.0 * kHour);
    EXPECT_EQ(secondsOf(*formatter, "1:30"), 1.5 * kHour);
    EXPECT_EQ(secondsOf(*formatter, "0:00:45"), 45.0);
    EXPECT_EQ(secondsOf(*formatter, "2mo"), 320.0 * kHour);  // months read though hidden
    EXPECT_EQ(secondsOf(*formatter, "1y"), 1920.0 * kHour);
    EXPECT_EQ(secondsOf(*formatter, "3"), 3.0 * kHour);  // the smallest shown unit
    EXPECT_EQ(secondsOf(*formatter, "+4h"), 4.0 * kHour);
    formatter->setHoursPerDay(6.0f);
    EXPECT_EQ(secondsOf(*formatter, "2d 3h"), 15.0 * kHour);
    EXPECT_EQ(secondsOf(*formatter, "1w"), 30.0 * kHour);
}

TEST(DurationTextTest, AReadSpanKeepsItsPartsOrGivesSecondsWhenAskedTo) {
    auto formatter = projectFormatter();
    KSValue value;
    ASSERT_TRUE(formatter->getObjectValueForString(&value, "2d 3h", nullptr));
    auto span = value.asObjectOfType<BKTimeSpan>();
    ASSERT_TRUE(span);
    EXPECT_EQ(span->days(), 2.0f);
    EXPECT_EQ(span->hours(), 3.0f);
    EXPECT_EQ(span->weeks(), 0.0f);
    formatter->setShouldReturnNumber(true);
    ASSERT_TRUE(formatter->getObjectValueForString(&value, "2d 3h", nullptr));
    EXPECT_TRUE(value.isDouble());
    EXPECT_EQ(value.doubleValue(), 19.0 * kHour);
}

TEST(DurationTextTest, ALoneUnitIsOneOfItAndBlankTextIsNoValue) {
    auto formatter = projectFormatter();
    EXPECT_EQ(secondsOf(*formatter, "d"), 8.0 * kHour);
    EXPECT_EQ(secondsOf(*formatter, "h"), kHour);
    EXPECT_EQ(secondsOf(*formatter, "w 2d"), 56.0 * kHour);
    KSValue value(1.0);
    EXPECT_TRUE(formatter->getObjectValueForString(&value, "  ", nullptr));
    EXPECT_TRUE(value.isNull());
}

TEST(DurationTextTest, NegativeDurationsAreRefusedWithTheTextThatWasRead) {
    auto formatter = projectFormatter();
    std::string error;
    KSValue value(5.0);
    EXPECT_FALSE(formatter->getObjectValueForString(&value, "-1h", &error));
    EXPECT_EQ(error, "Negative time intervals are not supported in Kestrum.  Found \"-1h\"");
    EXPECT_EQ(value.doubleValue(), 5.0);  // left alone
    EXPECT_EQ(secondsOf(*formatter, "- 2d 1h", &error), -1.0);
    EXPECT_EQ(error, "Negative time intervals are not supported in Kestrum.  Found \"- 2d 1h\"");
}

TEST(DurationTextTest, MalformedTextGetsAMessageNamingWhatIsWrong) {
    auto formatter = projectFormatter();
    std::string error;
    EXPECT_EQ(secondsOf(*formatter, "2x", &error), -1.0);
    EXPECT_EQ(error, "\"x\" is not a unit of time, in the duration \"2x\".");
    EXPECT_EQ(secondsOf(*formatter, "1d -2h", &error), -1.0);
    EXPECT_EQ(error, "The duration \"1d -2h\" has no number where \"-2h\" stands.");
    EXPECT_EQ(secondsOf(*formatter, "1:30h", &error), -1.0);
    EXPECT_EQ(error, "A duration written as a clock time takes no unit: \"1:30h\".");
    EXPECT_EQ(secondsOf(*formatter, "1,5d", &error), -1.0);  // no decimal comma in English
    EXPECT_EQ(secondsOf(*formatter, std::string(60, '9') + "y", &error), -1.0);
    EXPECT_EQ(error, "The duration \"" + std::string(60, '9') + "y\" is too long.");
    EXPECT_EQ(secondsOf(*formatter, "1:", &error), -1.0);
    EXPECT_FALSE(error.empty());
}

TEST(DurationTextTest, TheLocalesDecimalMarkIsReadToo) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale previous = icu::Locale::getDefault();
    icu::Locale::setDefault(icu::Locale("de_DE"), status);
    auto formatter = projectFormatter();
    EXPECT_EQ(secondsOf(*formatter, "1,5d"), 12.0 * kHour);
    EXPECT_EQ(secondsOf(*formatter, "1.5d"), 12.0 * kHour);
    EXPECT_EQ(print(*formatter, 12.0), "1d 4h");
    EXPECT_EQ(print(*formatter, 1.5), "1.5h");  // printed with a point, which reads back
    icu::Locale::setDefault(previous, status);
}

TEST(DurationTextTest, PrintedTextReadsBackToTheSameValue) {
    auto formatter = projectFormatter();
    formatter->setHoursPerDay(7.5f);
    formatter->setDisplayMonths(true);
    for (double hours : {0.25, 1.0, 7.5, 9.75, 37.5, 150.0, 163.25, 2000.0}) {
        const std::string text = print(*formatter, hours);
        EXPECT_DOUBLE_EQ(secondsOf(*formatter, text), hours * kHour) << text;
    }
}

TEST(DurationTextTest, AListPrintsOnlyAValueAllItsNumbersShare) {
    auto formatter = projectFormatter();
    EXPECT_EQ(formatter->stringForObjectValue(KSValue(KSArray{})), "");
    EXPECT_EQ(formatter->stringForObjectValue(KSValue::array({KSValue(8 * kHour)})), "1d");
    EXPECT_EQ(formatter->stringForObjectValue(
                  KSValue::array({KSValue(8 * kHour), KSValue(static_cast<long long>(28800))})),
              "1d");
    EXPECT_EQ(formatter->stringForObjectValue(KSValue::array({KSValue(8 * kHour), KSValue(kHour)})),
              "");
    EXPECT_EQ(formatter->stringForObjectValue(KSValue::array({KSValue("1d"), KSValue("1d")})), "");
}

TEST(DurationTextTest, PartialTextIsAcceptedWhenItReads) {
    auto formatter = projectFormatter();
    std::string replacement = "unchanged";
    std::string error;
    EXPECT_TRUE(formatter->isPartialStringValidNewEditingString("2d", &replacement, &error));
    EXPECT_EQ(replacement, "2d");
    EXPECT_FALSE(formatter->isPartialStringValidNewEditingString("2q", &replacement, &error));
    EXPECT_EQ(error, "\"q\" is not a unit of time, in the duration \"2q\".");
    std::string typed = "3h";
    EXPECT_TRUE(
        formatter->isPartialStringValidProposedSelectedRange(&typed, nullptr, "3", {}, &error));
    EXPECT_EQ(typed, "3h");
}

class DurationSteppingTest : public ::testing::Test {
protected:
    void SetUp() override {
        formatter = projectFormatter();
        formatter->setShouldReturnNumber(true);
    }
    double step(KSValue (KSTimeSpanFormatter::*op)(const KSValue&), double hours) {
        return (formatter.get()->*op)(KSValue(hours * kHour)).doubleValue() / kHour;
    }
    std::shared_ptr<KSTimeSpanFormatter> formatter;
};

TEST_F(DurationSteppingTest, StepsMoveTheSmallestAndSecondSmallestShownUnit) {
    EXPECT_EQ(step(&KSTimeSpanFormatter::stepUpValue, 8.0), 9.0);
    EXPECT_EQ(step(&KSTimeSpanFormatter::stepDownValue, 8.0), 7.0);
    EXPECT_EQ(step(&KSTimeSpanFormatter::largeStepUpValue, 8.0), 16.0);
    EXPECT_EQ(step(&KSTimeSpanFormatter::largeStepDownValue, 12.0), 4.0);
    EXPECT_EQ(formatter->stepUpValue(KSValue()).doubleValue(), kHour);  // null counts as 0
    formatter->setDisplayHours(false);
    EXPECT_EQ(step(&KSTimeSpanFormatter::stepUpValue, 8.0), 16.0);
    EXPECT_EQ(step(&KSTimeSpanFormatter::largeStepUpValue, 8.0), 48.0);  // a week more
}

TEST_F(DurationSteppingTest, StepsDownStopAtZero) {
    EXPECT_EQ(step(&KSTimeSpanFormatter::stepDownValue, 0.0), 0.0);
    EXPECT_EQ(step(&KSTimeSpanFormatter::stepDownValue, 0.5), 0.0);
    EXPECT_EQ(step(&KSTimeSpanFormatter::largeStepDownValue, 4.0), 0.0);
}

TEST_F(DurationSteppingTest, WithNothingSteppableTheValueComesBackUnchanged) {
    for (auto setter : {&KSTimeSpanFormatter::setDisplayHours, &KSTimeSpanFormatter::setDisplayDays,
                        &KSTimeSpanFormatter::setDisplayWeeks})
        (formatter.get()->*setter)(false);
    formatter->setDisplayMinutes(true);  // minutes take no part in stepping
    const KSValue value("not even a number");
    EXPECT_EQ(formatter->stepUpValue(value), value);
    EXPECT_EQ(formatter->stepDownValue(value), value);
    formatter->setDisplayWeeks(true);  // weeks alone: no second unit, no months, no years
    const KSValue twoWeeks(80.0 * kHour);
    EXPECT_EQ(formatter->largeStepUpValue(twoWeeks), twoWeeks);
    EXPECT_EQ(formatter->stepUpValue(twoWeeks).doubleValue(), 120.0 * kHour);
}

TEST_F(DurationSteppingTest, TheLargeYearStepCountsFromTheMonths) {
    formatter->setShouldReturnNumber(false);
    for (auto setter :
         {&KSTimeSpanFormatter::setDisplayHours, &KSTimeSpanFormatter::setDisplayWeeks})
        (formatter.get()->*setter)(false);
    formatter->setDisplayYears(true);  // days and years shown
    KSValue span;
    ASSERT_TRUE(formatter->getObjectValueForString(&span, "1y 2mo 1d", nullptr));
    auto stepped = formatter->largeStepUpValue(span).asObjectOfType<BKTimeSpan>();
    ASSERT_TRUE(stepped);
    EXPECT_EQ(stepped->years(), 3.0f);  // the months (2) plus one, not the years plus one
    EXPECT_EQ(stepped->months(), 2.0f);
    EXPECT_EQ(stepped->days(), 1.0f);
    auto down = formatter->largeStepDownValue(span).asObjectOfType<BKTimeSpan>();
    ASSERT_TRUE(down);
    EXPECT_EQ(down->years(), 0.0f);    // the years minus one
    formatter->setDisplayDays(false);  // years alone: ten at a time
    stepped = formatter->largeStepUpValue(span).asObjectOfType<BKTimeSpan>();
    EXPECT_EQ(stepped->years(), 12.0f);
    EXPECT_EQ(formatter->largeStepDownValue(span).asObjectOfType<BKTimeSpan>()->floatValue(), 0.0f);
}

}  // namespace
}  // namespace kestrum::test
