// Repetition rules over libical: reading and writing RRULE text, walking instances from a
// start date, the ends of a walk, and the rules that are refused.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Platform/calendar/ANCalError.h"
#include "Platform/calendar/ANCalPrivate.h"
#include "Platform/calendar/ANCalRepetition.h"

namespace kestrum {
namespace {

// A local wall-clock moment (the tests run in UTC).
KSDate local(int year, int month, int day, int hour = 0) {
    return ancal::dateOfLocalTime(year, month, day, hour, 0, 0);
}

std::string ymd(const ANCalRepetitionInstance& i) {
    if (!i.isValid) return "none";
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d", i.year, i.month, i.day, i.hour,
                  i.minute);
    return text;
}

std::shared_ptr<ANCalRepetition> rule(std::string_view text) {
    KSError error;
    auto repetition = ANCalRepetition::repetitionWithRRule(text, &error);
    EXPECT_NE(repetition, nullptr) << error.localizedDescription();
    return repetition;
}

TEST(ANCalRepetition, WalksTheInstancesOfAWeeklyRule) {
    auto fridays = rule("FREQ=WEEKLY;BYDAY=FR");
    EXPECT_FALSE(fridays->firstRepetitionInstance().isValid);  // no start date yet
    fridays->setStartDate(local(2019, 12, 6, 9));
    ANCalRepetitionInstance first = fridays->firstRepetitionInstance();
    EXPECT_EQ(ymd(first), "2019-12-06 09:00");
    EXPECT_EQ(first.index, 0);
    EXPECT_EQ(ANCalRepetition::dateForInstance(first), local(2019, 12, 6, 9));
    ANCalRepetitionInstance second = fridays->nextRepetitionInstance(first);
    EXPECT_EQ(ymd(second), "2019-12-13 09:00");
    EXPECT_EQ(ymd(fridays->nextRepetitionInstance(second)), "2019-12-20 09:00");
    // An instance walked past starts the walk over and gives the same answer.
    EXPECT_EQ(ymd(fridays->nextRepetitionInstance(first)), "2019-12-13 09:00");
    // At or after: a moment on an instance is that instance; the next one otherwise.
    EXPECT_EQ(ymd(fridays->repetitionInstanceAtOrAfterDate(local(2019, 12, 20, 9))),
              "2019-12-20 09:00");
    ANCalRepetitionInstance later = fridays->repetitionInstanceAtOrAfterDate(local(2020, 2, 1));
    EXPECT_EQ(ymd(later), "2020-02-07 09:00");
    EXPECT_EQ(later.index, 9);
    EXPECT_EQ(ymd(fridays->repetitionInstanceAtOrAfterDate(local(2019, 1, 1))), "2019-12-06 09:00");
    // Another start date is another walk.
    fridays->setStartDate(local(2024, 1, 1, 8));
    EXPECT_EQ(ymd(fridays->firstRepetitionInstance()), "2024-01-05 08:00");
}

TEST(ANCalRepetition, CountAndUntilEndTheWalk) {
    auto three = rule("FREQ=DAILY;COUNT=3");
    three->setStartDate(local(2019, 3, 1, 12));
    int count = 0;
    for (auto i = three->firstRepetitionInstance(); i.isValid; i = three->nextRepetitionInstance(i))
        ++count;
    EXPECT_EQ(count, 3);

    auto until = rule("FREQ=WEEKLY;UNTIL=20191221");
    until->setStartDate(local(2019, 12, 6));
    ANCalRepetitionInstance last;
    for (auto i = until->firstRepetitionInstance(); i.isValid; i = until->nextRepetitionInstance(i))
        last = i;
    EXPECT_EQ(ymd(last), "2019-12-20 00:00");
    EXPECT_FALSE(until->repetitionInstanceAtOrAfterDate(local(2019, 12, 21)).isValid);
}

TEST(ANCalRepetition, RulesAreWrittenAsLibicalWritesThem) {
    auto weekly = rule("freq=weekly;byday=fr");
    EXPECT_EQ(weekly->rrule(), "FREQ=WEEKLY;BYDAY=FR");
    auto february = rule("FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=-1;INTERVAL=2");
    EXPECT_EQ(rule(february->rrule())->rrule(), february->rrule());
    february->setStartDate(local(2019, 1, 1));
    EXPECT_EQ(ymd(february->firstRepetitionInstance()), "2019-02-28 00:00");
    EXPECT_EQ(ymd(february->nextRepetitionInstance(february->firstRepetitionInstance())),
              "2021-02-28 00:00");
}

TEST(ANCalRepetition, RefusesRulesItCannotReadOrThatRepeatWithinADay) {
    const struct {
        const char* rule;
        const char* message;
    } cases[] = {
        {"", "cannot be read as an RRULE."},
        {"FREQ=FORTNIGHTLY", "cannot be read as an RRULE."},
        {"FREQ=DAILY;INTERVAL=0", "cannot be read as an RRULE."},
        {"FREQ=DAILY;BYDAY=XX", "cannot be read as an RRULE."},
        {"FREQ=HOURLY", "repeats more often than once a day."},
        {"FREQ=SECONDLY;BYMONTH=2;BYMONTHDAY=30", "repeats more often than once a day."},
        {"FREQ=DAILY;BYHOUR=9,17", "repeats more than once on one day."},
        {"FREQ=WEEKLY;BYMINUTE=0,30", "repeats more than once on one day."},
        {"FREQ=WEEKLY;BYMONTHDAY=30;BYMONTH=2", "combines parts that cannot go together."},
        {"FREQ=YEARLY;BYYEARDAY=366;BYMONTH=1", "combines parts that cannot go together."},
        {"FREQ=YEARLY;BYMONTH=2L;BYMONTHDAY=29",
         "names a leap month, which the Gregorian calendar does not have."},
    };
    for (const auto& c : cases) {
        KSError error;
        EXPECT_EQ(ANCalRepetition::repetitionWithRRule(c.rule, &error), nullptr) << c.rule;
        EXPECT_EQ(error.domain(), ANCalErrorDomain);
        EXPECT_EQ(error.code(), ANCalErrorInvalidRule);
        EXPECT_EQ(error.localizedDescription(),
                  std::string("The repetition rule \u201c") + c.rule + "\u201d " + c.message);
    }
    KSError error;
    EXPECT_EQ(ANCalRepetition::repetitionWithRRule(std::string_view("FREQ=DAILY\0X", 12), &error),
              nullptr);
    EXPECT_NE(error.localizedDescription().find("NUL"), std::string::npos);
    // One time of day is fine, and so is a leap month of a calendar that has them.
    EXPECT_NE(ANCalRepetition::repetitionWithRRule("FREQ=DAILY;BYHOUR=9;BYMINUTE=30"), nullptr);
    auto adar = rule("RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=5L;BYMONTHDAY=8");
    adar->setStartDate(local(2019, 1, 1, 9));
    EXPECT_EQ(ymd(adar->firstRepetitionInstance()), "2019-02-13 09:00");
}

TEST(ANCalRepetition, AMomentNamedTwiceComesOnce) {
    auto twice = rule("FREQ=WEEKLY;BYDAY=MO,FR,FR");
    twice->setStartDate(local(2019, 12, 2, 9));
    std::vector<std::string> days;
    for (auto i = twice->firstRepetitionInstance(); i.isValid && days.size() < 4;
         i = twice->nextRepetitionInstance(i)) {
        days.push_back(ymd(i));
        EXPECT_EQ(i.index, static_cast<int>(days.size()) - 1);
    }
    EXPECT_EQ(days, (std::vector<std::string>{"2019-12-02 09:00", "2019-12-06 09:00",
                                              "2019-12-09 09:00", "2019-12-13 09:00"}));
}

TEST(ANCalRepetition, WalksEndWhereTheRuleDoes) {
    // 30 February never comes: libical searches to its last year once, and the walk
    // remembers it.
    auto never = rule("FREQ=DAILY;BYMONTH=2;BYMONTHDAY=30");
    never->setStartDate(local(2019, 1, 1));
    EXPECT_FALSE(never->firstRepetitionInstance().isValid);
    EXPECT_FALSE(never->firstRepetitionInstance().isValid);
    EXPECT_FALSE(never->repetitionInstanceAtOrAfterDate(local(2019, 6, 1)).isValid);

    // A daily rule from 1800 gives kMaximumInstances instances and no more.
    auto daily = rule("FREQ=DAILY");
    daily->setStartDate(local(1800, 1, 1));
    ANCalRepetitionInstance last;
    for (auto i = daily->firstRepetitionInstance(); i.isValid; i = daily->nextRepetitionInstance(i))
        last = i;
    EXPECT_EQ(last.index, ANCalRepetition::kMaximumInstances - 1);
    EXPECT_FALSE(daily->repetitionInstanceAtOrAfterDate(local(2100, 1, 1)).isValid);
}

}  // namespace
}  // namespace kestrum
