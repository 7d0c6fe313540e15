// The calendars of a resource as text attributes and from iCalendar files, at the level of
// the plan: time off, overtime, named calendars and a holidays file move the tasks in the
// next edit cycle, undo moves them back, and text or a file that cannot be read leaves the
// plan as it was.
#include "resources/CalendarFixture.h"

#include <filesystem>
#include <fstream>

#include <unistd.h>

#include "Platform/calendar/ANCalError.h"
#include "Platform/calendar/ANCalRepetition.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum::test {
namespace {

class CalendarTextAndFileTest : public CalendarTest {
protected:
    KSResource& plan() { return *scenario->rootResource(); }
    static std::string textOf(const KSCalendar::EventList& events) {
        return KSCalendar::internalChangeStringForEvents(events);
    }
    static std::shared_ptr<KSCalendarEvent> event(const KSDateTime& start, const KSDateTime& end) {
        return KSCalendarEvent::eventWithStartEndTitle(start, end);
    }
    static std::string holidaysPath() {
        return std::string(KESTRUM_TEST_SOURCE_DIR) + "/examples/holidays.ics";
    }
    // A calendar file of `text` in a folder of this test's own.
    std::string writeFile(const std::string& name, const std::string& text) {
        folder = std::filesystem::temp_directory_path() /
                 ("kestrum-calendar-" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder);
        std::ofstream(folder / name, std::ios::binary) << text;
        return (folder / name).string();
    }
    void TearDown() override {
        if (!folder.empty()) std::filesystem::remove_all(folder);
        CalendarTest::TearDown();
    }
    std::filesystem::path folder;
};

// Standard week:                  A  8h  Mon 08:00 - Mon 17:00
//                                 B 16h  Tue 08:00 - Wed 17:00 (after A)
// Tuesday 9 January off:          B      Wed 08:00 - Thu 17:00
// and Wednesday 17:00-21:00 on:   B      Wed 08:00 - Thu 12:00
TEST_F(CalendarTextAndFileTest, TimeOffAndOvertimeTextsMoveTheTasks) {
    auto a = task("A", 8);
    auto b = task("B", 16);
    link(a, b);
    drain();
    const std::string emptyCalendar = textOf({});
    EXPECT_EQ(plan().timeOffString(), emptyCalendar);
    EXPECT_EQ(plan().overtimeString(), emptyCalendar);

    const std::string tuesdayOff = textOf({dayOff(at(2024, 1, 9))});
    ASSERT_TRUE(plan().setTimeOffString(tuesdayOff));
    drain();
    EXPECT_EQ(plan().timeOffString(), tuesdayOff);
    EXPECT_TRUE(plan().hasScheduleExceptions());
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-08T17:00");
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-11T17:00");

    const std::string lateWednesday = textOf({event(at(2024, 1, 10, 17), at(2024, 1, 10, 21))});
    plan().setValueForKey(KSValue(lateWednesday), "overtimeString");
    drain();
    EXPECT_EQ(plan().valueForKey("overtimeString").asString(), lateWednesday);
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-11T12:00");

    undo().undo();
    drain();
    EXPECT_EQ(plan().overtimeString(), emptyCalendar);
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-11T17:00");
    undo().undo();
    drain();
    EXPECT_EQ(plan().timeOffString(), emptyCalendar);
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-10T17:00");
    undo().redo();
    drain();
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-11T17:00");

    // A null value by key is a calendar without events.
    plan().setValueForKey(KSValue(), "timeOffString");
    drain();
    EXPECT_EQ(plan().timeOffString(), emptyCalendar);
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-10T17:00");
}

TEST_F(CalendarTextAndFileTest, TextThatIsNotACalendarLeavesThePlanAsItWas) {
    auto a = task("A", 8);
    auto b = task("B", 16);
    link(a, b);
    drain();
    const std::string tuesdayOff = textOf({dayOff(at(2024, 1, 9))});
    plan().setTimeOffString(tuesdayOff);
    drain();
    ASSERT_EQ(span(b), "2024-01-10T08:00 - 2024-01-11T17:00");

    KSLogCapture log;
    KSError error;
    EXPECT_FALSE(plan().setTimeOffString("%%% not a calendar", &error));
    EXPECT_EQ(error.localizedDescription(), "The calendar text cannot be read: it is not base 64.");
    EXPECT_TRUE(log.contains("Ignoring timeOffString"));
    EXPECT_FALSE(plan().setOtherCalendarsDict(KSDictionary{{"Training", KSValue(3)}}, &error));
    EXPECT_EQ(error.localizedDescription(), "The text form of a calendar must be a string.");
    EXPECT_FALSE(plan().setOtherCalendarsDict(
        KSDictionary{{"Training", KSValue(tuesdayOff)}, {"Site", KSValue("????")}}, &error));
    // Nothing changed, nothing is to be recomputed, and nothing was recorded for undo.
    EXPECT_TRUE(scenario->tasksNeedingRevalidation().empty());
    EXPECT_EQ(undo().groupingLevel(), 0);
    EXPECT_EQ(plan().timeOffString(), tuesdayOff);
    EXPECT_FALSE(plan().otherCalendarsDict().has_value());
    drain();
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-11T17:00");
    undo().undo();  // the day off, the last edit that took
    drain();
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-10T17:00");
}

// Standard week:            C 8h after B   Thu 11 08:00 - Thu 11 17:00
// "Training" on Thursday:   C              Fri 12 08:00 - Fri 12 17:00
TEST_F(CalendarTextAndFileTest, OtherCalendarsComeAndGoByName) {
    auto a = task("A", 8);
    auto b = task("B", 16);
    auto c = task("C", 8);
    link(a, b);
    link(b, c);
    drain();
    ASSERT_EQ(span(c), "2024-01-11T08:00 - 2024-01-11T17:00");

    calendar().timeOffCalendar();
    const KSDictionary training{{"Training", KSValue(textOf({dayOff(at(2024, 1, 11))}))}};
    ASSERT_TRUE(plan().setOtherCalendarsDict(training));
    drain();
    EXPECT_EQ(plan().otherCalendarsDict(), training);
    EXPECT_EQ(plan().valueForKey("otherCalendarsDict").asDictionary(), training);
    auto made = calendar().calendarNamed("Training");
    ASSERT_NE(made, nullptr);
    EXPECT_TRUE(made->isEditable());
    EXPECT_EQ(span(c), "2024-01-12T08:00 - 2024-01-12T17:00");

    plan().setOtherCalendarsDict(std::nullopt);  // every calendar but the special ones goes
    drain();
    EXPECT_EQ(calendar().calendarNamed("Training"), nullptr);
    EXPECT_NE(calendar().calendarNamed("Time Off"), nullptr);
    EXPECT_EQ(span(c), "2024-01-11T08:00 - 2024-01-11T17:00");

    undo().undo();
    drain();
    EXPECT_EQ(calendar().calendarNamed("Training"), made);
    EXPECT_EQ(span(c), "2024-01-12T08:00 - 2024-01-12T17:00");
    undo().undo();
    drain();
    EXPECT_FALSE(plan().otherCalendarsDict().has_value());
    EXPECT_EQ(span(c), "2024-01-11T08:00 - 2024-01-11T17:00");
}

// The plan from Monday 8 January 2024 with examples/holidays.ics (winter break Wednesday 10
// to Friday 12 January, Tuesday 16 January afternoon off):
//   A 16h            Mon  8 08:00 - Tue  9 17:00
//   B 16h after A    Mon 15 08:00 - Wed 17 12:00   (was Wed 10 08:00 - Thu 11 17:00)
TEST_F(CalendarTextAndFileTest, AHolidaysFileMovesTheTasksAndUndoTakesItBack) {
    auto a = task("A", 16);
    auto b = task("B", 16);
    link(a, b);
    drain();
    ASSERT_EQ(span(b), "2024-01-10T08:00 - 2024-01-11T17:00");

    KSError error;
    ASSERT_TRUE(plan().addCalendarFromICSFile(holidaysPath(), &error))
        << error.localizedDescription();
    EXPECT_EQ(undo().undoActionName(), "Import Calendar");
    drain();
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-09T17:00");
    EXPECT_EQ(span(b), "2024-01-15T08:00 - 2024-01-17T12:00");
    auto holidays = calendar().calendarNamed("Office Holidays");
    ASSERT_NE(holidays, nullptr);
    EXPECT_FALSE(holidays->isEditable());
    EXPECT_EQ(plan().otherCalendarsDict()->objectForKey("Office Holidays").asString(),
              holidays->internalChangeString());

    undo().undo();
    drain();
    EXPECT_EQ(calendar().calendarNamed("Office Holidays"), nullptr);
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-11T17:00");
    undo().redo();
    drain();
    EXPECT_EQ(calendar().calendarNamed("Office Holidays"), holidays);
    EXPECT_EQ(span(b), "2024-01-15T08:00 - 2024-01-17T12:00");

    // Read again, the file's calendar takes the place of the one read before.
    ASSERT_TRUE(plan().addCalendarFromICSFile(holidaysPath()));
    drain();
    int named = 0;
    for (const auto& c : calendar().calendars())
        named += c->name() == "Office Holidays";
    EXPECT_EQ(named, 1);
    EXPECT_NE(calendar().calendarNamed("Office Holidays"), holidays);
    EXPECT_EQ(span(b), "2024-01-15T08:00 - 2024-01-17T12:00");
}

// A resource's holidays are its own: the plan's calendar stays as it was. A name that an
// editable calendar holds already makes the file's calendar take a number.
TEST_F(CalendarTextAndFileTest, AResourcesHolidaysStayWithIt) {
    auto ann = resource("Ann");
    ann->setOtherCalendarsDict(
        KSDictionary{{"Office Holidays", KSValue(textOf({dayOff(at(2024, 1, 19))}))}});
    ASSERT_TRUE(ann->addCalendarFromICSFile(holidaysPath()));
    drain();
    ASSERT_NE(ann->schedule()->calendarNamed("Office Holidays 1"), nullptr);
    EXPECT_TRUE(ann->schedule()->calendarNamed("Office Holidays")->isEditable());
    auto dayOfAnn = [&](int d) {
        return ann->schedule()->scheduleForDay(at(2024, 1, d))->totalDuration() / kHour;
    };
    EXPECT_EQ(dayOfAnn(10), 0.0);
    EXPECT_EQ(dayOfAnn(16), 4.0);
    EXPECT_EQ(dayOfAnn(19), 0.0);
    EXPECT_EQ(calendar().scheduleForDay(at(2024, 1, 10))->totalDuration(), 8 * kHour);
    EXPECT_EQ(calendar().calendarNamed("Office Holidays 1"), nullptr);
}

TEST_F(CalendarTextAndFileTest, AMalformedFileLeavesThePlanAsItWas) {
    auto a = task("A", 16);
    auto b = task("B", 16);
    link(a, b);
    drain();
    const auto calendarsBefore = calendar().calendars();
    const std::string path = writeFile("broken-holidays.ics",
                                       "BEGIN:VCALENDAR\r\n"
                                       "VERSION:2.0\r\n"
                                       "BEGIN:VEVENT\r\n"
                                       "DTSTART;VALUE=DATE:20240110\r\n"
                                       "DTEND;VALUE=DATE:2024011\r\n"
                                       "SUMMARY:Winter break\r\n"
                                       "END:VEVENT\r\n"
                                       "END:VCALENDAR\r\n");
    KSError error;
    EXPECT_FALSE(plan().addCalendarFromICSFile(path, &error));
    EXPECT_EQ(error.domain(), "Kestrum");
    EXPECT_EQ(error.code(), 1);
    EXPECT_EQ(error.localizedDescription(),
              "The calendar file \u201cbroken-holidays.ics\u201d cannot be read: line 5: The DTEND "
              "property cannot be read: \u201cDTEND;VALUE=DATE:2024011\u201d.");
    EXPECT_EQ(error.userInfo().objectForKey(ANCalErrorLineKey).asInteger(), 5);
    EXPECT_EQ(error.userInfo().objectForKey(KSFilePathErrorKey).asString(), path);

    EXPECT_EQ(calendar().calendars(), calendarsBefore);
    EXPECT_TRUE(scenario->tasksNeedingRevalidation().empty());
    EXPECT_EQ(undo().groupingLevel(), 0);
    drain();
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-11T17:00");

    EXPECT_FALSE(plan().addCalendarFromICSFile(folder.string() + "/missing.ics", &error));
    EXPECT_NE(error.localizedDescription().find("it cannot be opened"), std::string::npos);
}

// Every Friday off from 20 December 2019, in a plan from Monday 16 December 2019:
//   A 64h          Mon 16 Dec 08:00 - Thu 26 Dec 17:00   (Friday 20 off)
//   B 24h after A  Mon 30 Dec 08:00 - Wed  1 Jan 17:00   (Friday 27 off)
//   C 16h after B  Thu  2 Jan 08:00 - Fri  3 Jan 17:00   (no Friday off from 2020 on)
TEST_F(CalendarTextAndFileTest, AWeeklyDayOffEndsWith2019) {
    scenario->setStartDate(at(2019, 12, 16, 8));
    auto a = task("A", 64);
    auto b = task("B", 24);
    auto c = task("C", 16);
    link(a, b);
    link(b, c);
    drain();
    auto fridays = KSCalendarEvent::eventWithStartEndTitle(
        at(2019, 12, 20), at(2019, 12, 21), "Short week",
        ANCalRepetition::repetitionWithRRule("FREQ=WEEKLY"));
    ASSERT_TRUE(plan().setTimeOffString(textOf({fridays})));
    drain();
    EXPECT_EQ(span(a), "2019-12-16T08:00 - 2019-12-26T17:00");
    EXPECT_EQ(span(b), "2019-12-30T08:00 - 2020-01-01T17:00");
    EXPECT_EQ(span(c), "2020-01-02T08:00 - 2020-01-03T17:00");
    undo().undo();
    drain();
    EXPECT_EQ(span(a), "2019-12-16T08:00 - 2019-12-25T17:00");
}

}  // namespace
}  // namespace kestrum::test
