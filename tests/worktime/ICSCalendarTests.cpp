// Calendars read from iCalendar files: the example holidays, time zones, events over
// several days, and malformed files refused with the file and the line.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "CalendarTestSupport.h"
#include "Platform/calendar/ANCalError.h"
#include "Platform/calendar/ANCalFile.h"

namespace kestrum {
namespace {

// A calendar around the given lines, joined with CRLF; the first event line is line 3.
std::string calendarText(std::initializer_list<const char*> lines) {
    std::string text = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n";
    for (const char* line : lines)
        text += std::string(line) + "\r\n";
    return text + "END:VCALENDAR\r\n";
}

// "day@seconds-day@seconds" of each event, in the calendar's order.
std::vector<std::string> spansOf(const KSCalendar& calendar) {
    std::vector<std::string> result;
    for (const auto& e : calendar.events()) {
        result.push_back(std::to_string(e->start().dayNumber()) + "@" +
                         std::to_string(static_cast<int>(e->start().timeOfDay())) + "-" +
                         std::to_string(e->end().dayNumber()) + "@" +
                         std::to_string(static_cast<int>(e->end().timeOfDay())));
    }
    return result;
}

std::string at(std::int64_t dayNumber, int seconds) {
    return std::to_string(dayNumber) + "@" + std::to_string(seconds);
}

TEST(ICSCalendar, TheExampleHolidaysBecomeTimeOff) {
    KSError error;
    auto holidays = KSCalendar::calendarWithContentsOfICSFile(
        std::string(KESTRUM_TEST_SOURCE_DIR) + "/examples/holidays.ics", &error);
    ASSERT_NE(holidays, nullptr) << error.localizedDescription();
    EXPECT_EQ(holidays->name(), "Office Holidays");
    EXPECT_FALSE(holidays->isEditable());
    EXPECT_FALSE(holidays->isOvertime());
    // The cancelled party is left out.
    EXPECT_EQ(spansOf(*holidays),
              (std::vector<std::string>{
                  at(day(2024, 1, 1), 0) + "-" + at(day(2024, 1, 2), 0),
                  at(day(2024, 1, 10), 0) + "-" + at(day(2024, 1, 13), 0),
                  at(day(2024, 1, 16), 46800) + "-" + at(day(2024, 1, 16), 61200),
                  at(day(2015, 6, 15), 0) + "-" + at(day(2015, 6, 16), 0),
              }));
    EXPECT_EQ(holidays->events()[0]->title(), "New Year's Day");
    EXPECT_EQ(holidays->events()[2]->title(), "Office move (afternoon)");
    EXPECT_EQ(holidays->events()[1]->repetition(), nullptr);
    ASSERT_NE(holidays->events()[3]->repetition(), nullptr);
    EXPECT_EQ(holidays->events()[3]->repetition()->rrule(), "FREQ=YEARLY");

    // On a schedule: the winter break and the free afternoon, and Founders' Day up to 2019.
    auto schedule = KSSchedule::schedule();
    schedule->beginScheduleChanges();
    schedule->addCalendar(holidays);
    schedule->finishedScheduleChanges();
    auto hours = [&](std::int64_t d) {
        return schedule->scheduleForDay(KSDateTime(d, 0.0))->timeSpansString();
    };
    EXPECT_EQ(hours(day(2024, 1, 9)), "28800,43200,46800,61200");
    EXPECT_EQ(hours(day(2024, 1, 10)), "");
    EXPECT_EQ(hours(day(2024, 1, 12)), "");
    EXPECT_EQ(hours(day(2024, 1, 16)), "28800,43200");
    EXPECT_EQ(hours(day(2019, 6, 14)), "28800,43200,46800,61200");
    EXPECT_EQ(hours(day(2018, 6, 15)), "");                         // a Friday
    EXPECT_EQ(hours(day(2020, 6, 15)), "28800,43200,46800,61200");  // a Monday, after 2019
}

TEST(ICSCalendar, TimesInZonesBecomeLocalTime) {
    // The tests run in UTC.
    const std::string text = calendarText({
        "BEGIN:VTIMEZONE",
        "TZID:Office/Three",
        "BEGIN:STANDARD",
        "DTSTART:19700101T000000",
        "TZOFFSETFROM:+0300",
        "TZOFFSETTO:+0300",
        "END:STANDARD",
        "END:VTIMEZONE",
        "BEGIN:VEVENT",
        "DTSTART;TZID=Europe/Berlin:20240105T090000",
        "DTEND;TZID=Europe/Berlin:20240105T100000",
        "END:VEVENT",  //
        "BEGIN:VEVENT",
        "DTSTART;TZID=Europe/Berlin:20240705T090000",
        "DURATION:PT90M",
        "END:VEVENT",  //
        "BEGIN:VEVENT",
        "DTSTART:20240105T090000Z",
        "DTEND:20240105T100000Z",
        "END:VEVENT",
        "BEGIN:VEVENT",
        "DTSTART;TZID=Office/Three:20240105T090000",
        "DTEND;TZID=Office/Three:20240105T100000",
        "END:VEVENT",  //
        "BEGIN:VEVENT",
        "DTSTART:20240105T090000",
        "DTEND:20240105T100000",
        "END:VEVENT",
    });
    KSError error;
    auto calendar = KSCalendar::calendarWithICSText(text, "zones.ics", &error);
    ASSERT_NE(calendar, nullptr) << error.localizedDescription();
    const std::int64_t jan5 = day(2024, 1, 5), jul5 = day(2024, 7, 5);
    EXPECT_EQ(calendar->name(), "zones");
    EXPECT_EQ(spansOf(*calendar), (std::vector<std::string>{
                                      at(jan5, 8 * 3600) + "-" + at(jan5, 9 * 3600),  // CET
                                      at(jul5, 7 * 3600) + "-" + at(jul5, 8 * 3600 + 1800),
                                      at(jan5, 9 * 3600) + "-" + at(jan5, 10 * 3600),  // UTC
                                      at(jan5, 6 * 3600) + "-" + at(jan5, 7 * 3600),   // +3
                                      at(jan5, 9 * 3600) + "-" + at(jan5, 10 * 3600),  // floating
                                  }));
}

TEST(ICSCalendar, AnEventOverSeveralDaysKeepsItsTimeOnItsFirstAndLastDay) {
    const std::string text = calendarText({
        // Monday 8 January 14:00 to Thursday 11 January 10:00.
        "BEGIN:VEVENT",
        "DTSTART:20240108T140000",
        "DTEND:20240111T100000",
        "END:VEVENT",
        // Overnight on Friday 12 January, to 0:00: one evening.
        "BEGIN:VEVENT",
        "DTSTART:20240112T200000",
        "DTEND:20240113T000000",
        "END:VEVENT",
        // Weekly overnight from Monday 22:00: the evening of each Monday.
        "BEGIN:VEVENT",
        "DTSTART:20240115T220000",
        "DTEND:20240116T060000",
        "RRULE:FREQ=WEEKLY",
        "END:VEVENT",
        // Whole days 15 to 17 January.
        "BEGIN:VEVENT",
        "DTSTART;VALUE=DATE:20240115",
        "DTEND;VALUE=DATE:20240118",
        "END:VEVENT",
    });
    KSError error;
    auto calendar = KSCalendar::calendarWithICSText(text, "trips.ics", &error);
    ASSERT_NE(calendar, nullptr) << error.localizedDescription();
    const std::int64_t mon = day(2024, 1, 8);
    EXPECT_EQ(spansOf(*calendar),
              (std::vector<std::string>{
                  at(mon, 50400) + "-" + at(mon + 1, 0),      // Monday from 14:00
                  at(mon + 1, 0) + "-" + at(mon + 3, 0),      // Tuesday and Wednesday
                  at(mon + 3, 0) + "-" + at(mon + 3, 36000),  // Thursday to 10:00
                  at(mon + 4, 72000) + "-" + at(mon + 5, 0),
                  at(mon + 7, 79200) + "-" + at(mon + 8, 0),
                  at(mon + 7, 0) + "-" + at(mon + 10, 0),
              }));
    EXPECT_NE(calendar->events()[4]->repetition(), nullptr);
}

class MalformedICS : public ::testing::Test {
protected:
    // The error for `text` read as "bad.ics"; the test fails when it is read.
    static KSError errorFor(const std::string& text) {
        KSError error;
        EXPECT_EQ(KSCalendar::calendarWithICSText(text, "/tmp/plans/bad.ics", &error), nullptr);
        return error;
    }
};

TEST_F(MalformedICS, AreRefusedNamingTheFileAndTheLine) {
    const struct {
        std::string text;
        long line;
        const char* message;
    } cases[] = {
        {"", 1, "The file holds no calendar (BEGIN:VCALENDAR)."},
        {"BEGIN:VEVENT\r\nEND:VEVENT\r\n", 1, "The file does not begin with BEGIN:VCALENDAR."},
        {" VERSION:2.0\r\n", 1, "A folded line continues no property."},
        {calendarText(
             {"BEGIN:VEVENT", "DTSTART:20240105T090000", "this is no property", "END:VEVENT"}),
         5, "\u201cthis is no property\u201d is not a property of the form NAME:value."},
        {calendarText({"BEGIN:VEVENT", "DTSTART:20240105T090000", "END:VTODO"}), 5,
         "END:VTODO does not close BEGIN:VEVENT of line 3."},
        {"BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nDTSTART:20240105T090000\r\nEND:VEVENT\r\n", 4,
         "BEGIN:VCALENDAR of line 1 is never closed."},
        {calendarText({"BEGIN:VEVENT", "DTSTART:2024013T0900", "END:VEVENT"}), 4,
         "The DTSTART property cannot be read: \u201cDTSTART:2024013T0900\u201d."},
        {calendarText({"BEGIN:VEVENT", "DTSTART:20230229T090000", "END:VEVENT"}), 4,
         "The date of DTSTART does not exist."},
        {calendarText({"BEGIN:VEVENT", "SUMMARY:No start", "END:VEVENT"}), 3,
         "The event has no start (DTSTART)."},
        {calendarText(
             {"BEGIN:VEVENT", "DTSTART:20240105T090000", "DTEND:20240105T080000", "END:VEVENT"}),
         5, "The event ends before it starts."},
        {calendarText({"BEGIN:VEVENT", "DTSTART:20240105T090000", "DTEND:20240105T100000",
                       "DURATION:PT1H", "END:VEVENT"}),
         6, "The event has both DTEND and DURATION."},
        {calendarText(
             {"BEGIN:VEVENT", "DTSTART:20240105T090000", "DTSTART:20240106T090000", "END:VEVENT"}),
         5, "The event of line 3 has more than one DTSTART."},
        {calendarText(
             {"BEGIN:VEVENT", "DTSTART:20240105T090000", "RRULE:FREQ=HOURLY", "END:VEVENT"}),
         5, "The repetition rule \u201cFREQ=HOURLY\u201d repeats more often than once a day."},
        {calendarText({"BEGIN:VEVENT", "DTSTART;TZID=Nowhere/Land:20240105T090000", "END:VEVENT"}),
         4, "The time zone \u201cNowhere/Land\u201d of DTSTART is not known."},
        {calendarText({"BEGIN:VEVENT", "DTSTART;VALUE=DATE:99990101", "END:VEVENT"}), 3,
         "The event lies outside the days a plan can hold."},
        {calendarText({"BEGIN:VEVENT", "DTSTART;VALUE=DATE:20000101", "DTEND;VALUE=DATE:21500101",
                       "END:VEVENT"}),
         3, "The event lasts longer than a hundred years."},
        {calendarText({}) + "BEGIN:VCALENDAR\r\n", 4, "Text follows the end of the calendar."},
        {std::string("BEGIN:VCALENDAR\r\nX-NAME:a\0b\r\nEND:VCALENDAR\r\n", 39), 2,
         "The line holds a NUL character."},
        {calendarText({"BEGIN:VEVENT", "DTSTART:20240105T090000", "SUMMARY:Caf\xe9", "END:VEVENT"}),
         5, "The line is not UTF-8 text."},
    };
    for (const auto& c : cases) {
        KSError error = errorFor(c.text);
        SCOPED_TRACE(c.message);
        EXPECT_EQ(error.domain(), "Kestrum");
        EXPECT_EQ(error.code(), 1);
        EXPECT_EQ(error.localizedDescription(),
                  "The calendar file \u201c" + std::string("bad.ics") +
                      "\u201d cannot be read: line " + std::to_string(c.line) + ": " + c.message);
        EXPECT_EQ(error.userInfo().objectForKey(ANCalErrorLineKey).asInteger(), c.line);
        EXPECT_EQ(error.userInfo().objectForKey(KSFilePathErrorKey).asString(),
                  "/tmp/plans/bad.ics");
        ASSERT_NE(error.underlyingError(), nullptr);
        EXPECT_EQ(error.underlyingError()->domain(), ANCalErrorDomain);
    }
}

TEST_F(MalformedICS, AFileThatCannotBeOpenedSaysSo) {
    KSError error;
    EXPECT_EQ(KSCalendar::calendarWithContentsOfICSFile("/nonexistent/holidays.ics", &error),
              nullptr);
    EXPECT_EQ(error.domain(), "Kestrum");
    EXPECT_EQ(error.localizedDescription(),
              "The calendar file \u201c/nonexistent/holidays.ics\u201d cannot be read: it cannot "
              "be opened.");
    EXPECT_EQ(error.underlyingError()->code(), ANCalErrorUnreadableFile);
}

TEST_F(MalformedICS, NestingIsBounded) {
    std::string text = "BEGIN:VCALENDAR\r\n";
    for (int i = 0; i < 100; ++i)
        text += "BEGIN:X-DEEP\r\n";
    KSError error = errorFor(text);
    EXPECT_NE(error.localizedDescription().find("line 17: Components are nested too deeply."),
              std::string::npos)
        << error.localizedDescription();
}

}  // namespace
}  // namespace kestrum
