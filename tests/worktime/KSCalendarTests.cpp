// Calendars on a standard week (Monday to Friday, 8:00-12:00 and 13:00-17:00): time off
// and overtime, multi-day and repeating events with the 2020 cut-off, subtraction, the
// text form and its refusals, undo, and events in a range.
#include <gtest/gtest.h>

#include "CalendarTestSupport.h"
#include "Platform/core/KSBase64.h"
#include "Platform/core/KSLog.h"
#include "Platform/plist/KSPropertyList.h"

namespace kestrum {
namespace {

// Day 7000 (kMonday) is Monday 2 March 2020; the repeating cases live in 2019.
constexpr std::int64_t kTuesday = kMonday + 1;
constexpr std::int64_t kWednesday = kMonday + 2;

TEST_F(CalendarTest, TimeOffAndOvertimeChangeTheHoursOfTheirDays) {
    edit([](KSSchedule& s) {
        // A day off: Monday 0:00 to Tuesday 0:00.
        s.timeOffCalendar()->addEvent(event(on(kMonday, 0), on(kTuesday, 0)));
        s.timeOffCalendar()->addEvent(event(on(kTuesday, 12), on(kTuesday, 14)));
        s.overtimeCalendar()->addEvent(event(on(kWednesday, 17), on(kWednesday, 19)));
    });
    EXPECT_EQ(hours(kMonday - 1), "");  // Sunday, as it was
    EXPECT_EQ(hours(kMonday), "");
    EXPECT_EQ(hours(kTuesday), "28800,43200,50400,61200");    // 8-12, 14-17
    EXPECT_EQ(hours(kWednesday), "28800,43200,46800,68400");  // 8-12, 13-19
    EXPECT_EQ(hours(kMonday + 3), kStandardDay);
    EXPECT_EQ(schedule->localExceptions().size(), 3u);
    // Monday 8:00 plus 10 hours: Tuesday has 7 hours, so Wednesday 11:00 (3h there).
    EXPECT_TRUE(schedule->endDateForStartDateAndEffort(on(kMonday, 8), 10 * 3600.0)
                    .isIdenticalTo(on(kWednesday, 11)));
}

TEST_F(CalendarTest, AMultiDayEventTakesItsWindowOnEachOfItsDays) {
    // Monday 8:00 to Wednesday 12:00: the mornings of Monday, Tuesday and Wednesday.
    edit([](KSSchedule& s) {
        s.timeOffCalendar()->addEvent(event(on(kMonday, 8), on(kWednesday, 12), "Course"));
    });
    for (std::int64_t d = kMonday; d <= kWednesday; ++d)
        EXPECT_EQ(hours(d), "46800,61200") << "day " << d;
    EXPECT_EQ(hours(kMonday + 3), kStandardDay);

    // Monday 14:00 to Wednesday 10:00 is the window 14:00 to 10:00 on each day, which
    // covers no working time of a standard day.
    edit([](KSSchedule& s) {
        s.timeOffCalendar()->removeAllEvents();
        s.timeOffCalendar()->addEvent(event(on(kMonday, 14), on(kWednesday, 10)));
        s.overtimeCalendar()->addEvent(event(on(kMonday, 20), on(kTuesday, 6)));
    });
    for (std::int64_t d = kMonday; d <= kWednesday; ++d)
        EXPECT_EQ(hours(d), kStandardDay) << "day " << d;
}

TEST_F(CalendarTest, AWeeklyEventRepeatsUntilTheEndOf2019) {
    // Friday afternoons off from Friday 6 December 2019, every week.
    const std::int64_t friday = day(2019, 12, 6);
    edit([&](KSSchedule& s) {
        s.timeOffCalendar()->addEvent(
            repeating(on(friday, 13), on(friday, 17), "FREQ=WEEKLY;BYDAY=FR"));
    });
    for (std::int64_t f : {friday, friday + 7, friday + 14, friday + 21})
        EXPECT_EQ(hours(f), "28800,43200") << "Friday " << f;
    EXPECT_EQ(hours(friday + 6), kStandardDay);       // Thursday 12 December
    EXPECT_EQ(hours(day(2020, 1, 3)), kStandardDay);  // Friday 3 January 2020: cut off
    EXPECT_EQ(schedule->localExceptions().size(), 4u);
}

TEST_F(CalendarTest, AYearlyEventStopsTakingEffectAfter2019) {
    // 1 May, a whole day, every year from 2017 (a Monday).
    edit([](KSSchedule& s) {
        s.timeOffCalendar()->addEvent(
            repeating(on(day(2017, 5, 1), 0), on(day(2017, 5, 2), 0), "FREQ=YEARLY"));
    });
    EXPECT_EQ(hours(day(2017, 5, 1)), "");
    EXPECT_EQ(hours(day(2018, 5, 1)), "");            // a Tuesday
    EXPECT_EQ(hours(day(2019, 5, 1)), "");            // a Wednesday
    EXPECT_EQ(hours(day(2020, 5, 1)), kStandardDay);  // a Friday, worked
    EXPECT_EQ(hours(day(2017, 5, 2)), kStandardDay);  // the event's end day plays no part
}

// The start, end and title of each event, "day@seconds-day@seconds".
std::vector<std::string> spans(const KSCalendar& calendar) {
    std::vector<std::string> result;
    for (const auto& e : calendar.events()) {
        result.push_back(std::to_string(e->start().dayNumber()) + "@" +
                         std::to_string(static_cast<int>(e->start().timeOfDay())) + "-" +
                         std::to_string(e->end().dayNumber()) + "@" +
                         std::to_string(static_cast<int>(e->end().timeOfDay())));
    }
    std::sort(result.begin(), result.end());
    return result;
}

TEST_F(CalendarTest, SubtractingAnEventCutsTheOthers) {
    auto calendar = schedule->timeOffCalendar();
    const std::string tue = std::to_string(kTuesday);
    // Equal events: the other is removed, the given one is skipped.
    auto x = event(on(kTuesday, 9), on(kTuesday, 17));
    auto cut = event(on(kTuesday, 9), on(kTuesday, 17));
    edit([&](KSSchedule&) {
        calendar->addEvent(x);
        calendar->addEvent(cut);
        calendar->subtractEvent(cut);
    });
    EXPECT_EQ(spans(*calendar), (std::vector<std::string>{tue + "@32400-" + tue + "@61200"}));
    EXPECT_EQ(calendar->events()[0], cut);

    // The middle hour of 9:00-17:00 leaves 9:00-12:00 and 13:00-17:00.
    edit([&](KSSchedule&) {
        calendar->_setEvents({event(on(kTuesday, 9), on(kTuesday, 17))});
        calendar->subtractEvent(event(on(kTuesday, 12), on(kTuesday, 13)));
    });
    EXPECT_EQ(spans(*calendar), (std::vector<std::string>{tue + "@32400-" + tue + "@43200",
                                                          tue + "@46800-" + tue + "@61200"}));
    // Cuts at either end shorten the event.
    edit([&](KSSchedule&) {
        calendar->_setEvents({event(on(kTuesday, 9), on(kTuesday, 17))});
        calendar->subtractEvent(event(on(kTuesday, 8), on(kTuesday, 10)));
        calendar->subtractEvent(event(on(kTuesday, 16), on(kTuesday, 18)));
    });
    EXPECT_EQ(spans(*calendar), (std::vector<std::string>{tue + "@36000-" + tue + "@57600"}));

    // 9:00-17:00 from Monday to Friday, less Wednesday noon: Monday and Tuesday, Thursday
    // and Friday stay as copies, and Wednesday is cut in two.
    const std::int64_t friday = kMonday + 4;
    edit([&](KSSchedule&) {
        calendar->_setEvents({event(on(kMonday, 9), on(friday, 17))});
        calendar->subtractEvent(event(on(kWednesday, 12), on(kWednesday, 13)));
    });
    const std::string mon = std::to_string(kMonday), wed = std::to_string(kWednesday),
                      thu = std::to_string(kMonday + 3), fri = std::to_string(friday);
    EXPECT_EQ(spans(*calendar),
              (std::vector<std::string>{
                  mon + "@32400-" + tue + "@61200", wed + "@32400-" + wed + "@43200",
                  wed + "@46800-" + wed + "@61200", thu + "@32400-" + fri + "@61200"}));
    EXPECT_EQ(hours(kWednesday), "28800,32400");  // 8:00-9:00 left
    EXPECT_EQ(hours(kMonday + 3), "28800,32400");
    // A cut that lies elsewhere touches nothing.
    edit([&](KSSchedule&) {
        calendar->subtractEvent(event(on(kMonday + 7, 9), on(kMonday + 7, 10)));
    });
    EXPECT_EQ(calendar->events().size(), 4u);
}

TEST_F(CalendarTest, TheTextFormRoundTripsThroughSinglePrecision) {
    auto calendar = schedule->timeOffCalendar();
    edit([&](KSSchedule&) {
        calendar->addEvent(event(on(kMonday, 0), on(kTuesday, 0), "Holiday"));
        calendar->addEvent(event(KSDateTime(kTuesday, 12345.678), KSDateTime(kTuesday, 86399.0)));
        calendar->addEvent(repeating(on(day(2019, 12, 6), 13), on(day(2019, 12, 6), 17),
                                     "FREQ=WEEKLY;BYDAY=FR;UNTIL=20191221"));
    });
    const std::string text = calendar->internalChangeString();

    // A binary property list (format 200) of one dictionary per event, in base 64.
    KSData data;
    ASSERT_TRUE(KSBase64Decode(text, &data));
    KSPropertyListFormat format{};
    KSValue list = KSPropertyList::propertyListFromData(data, &format);
    EXPECT_EQ(format, KSPropertyListFormat::Binary);
    ASSERT_TRUE(list.isArray());
    ASSERT_EQ(list.asArray().size(), 3u);
    const KSDictionary& holiday = list.asArray()[0].asDictionary();
    EXPECT_EQ(holiday.objectForKey("sd").asInteger(), kMonday);
    EXPECT_EQ(holiday.objectForKey("st").asDouble(), 0.0);
    EXPECT_EQ(holiday.objectForKey("ed").asInteger(), kTuesday);
    EXPECT_EQ(holiday.objectForKey("t").asString(), "Holiday");
    EXPECT_FALSE(holiday.contains("r"));
    EXPECT_FALSE(list.asArray()[1].asDictionary().contains("t"));
    EXPECT_EQ(list.asArray()[2].asDictionary().objectForKey("r").asString(),
              "FREQ=WEEKLY;UNTIL=20191221;BYDAY=FR");

    // Another calendar reads the events back; the times went through 32-bit floats.
    auto other = KSSchedule::schedule();
    auto copy = other->timeOffCalendar();
    ASSERT_TRUE(copy->setInternalChangeString(text));
    ASSERT_EQ(copy->events().size(), 3u);
    EXPECT_EQ(copy->internalChangeString(), text);
    EXPECT_EQ(KSCalendar::internalChangeStringForEvents(copy->events()), text);
    EXPECT_EQ(copy->events()[0]->title(), "Holiday");
    EXPECT_EQ(copy->events()[1]->start().timeOfDay(), static_cast<double>(12345.678f));
    EXPECT_EQ(copy->events()[1]->end().timeOfDay(), 86399.0);  // whole seconds stay exact
    EXPECT_EQ(copy->events()[2]->repetition()->rrule(), "FREQ=WEEKLY;UNTIL=20191221;BYDAY=FR");
    EXPECT_EQ(copy->events()[0]->calendar(), copy.get());
    // Applied, the copy takes the same days.
    other->calendarDidChange(copy.get());
    other->applyCalendarsToSchedule();
    EXPECT_EQ(other->localExceptions().size(), 5u);  // Monday, Tuesday, three Fridays
    EXPECT_EQ(other->scheduleForDay(KSDateTime(day(2019, 12, 20), 0))->timeSpansString(),
              "28800,43200");
    EXPECT_EQ(other->scheduleForDay(KSDateTime(day(2019, 12, 27), 0))->timeSpansString(),
              kStandardDay);
}

TEST_F(CalendarTest, TitlesThatAreNotUTF8AreWrittenWithReplacementCharacters) {
    auto calendar = schedule->timeOffCalendar();
    edit([&](KSSchedule&) {
        calendar->addEvent(event(on(kMonday, 0), on(kTuesday, 0), "Caf\xe9"));
    });
    auto other = KSSchedule::schedule()->timeOffCalendar();
    ASSERT_TRUE(other->setInternalChangeString(calendar->internalChangeString()));
    ASSERT_EQ(other->events().size(), 1u);
    EXPECT_EQ(other->events()[0]->title(), "Caf\uFFFD");
}

// The base 64 of a property list of `value`.
std::string textOf(const KSValue& value) {
    return KSBase64Encode(
        KSPropertyList::dataFromPropertyList(value, KSPropertyListFormat::Binary));
}

TEST_F(CalendarTest, TextThatIsNotACalendarChangesNothing) {
    auto calendar = schedule->timeOffCalendar();
    auto holiday = event(on(kMonday, 0), on(kTuesday, 0));
    edit([&](KSSchedule&) { calendar->addEvent(holiday); });
    undo.removeAllActions();
    const std::string before = calendar->internalChangeString();
    auto dict = [](std::initializer_list<KSDictionary::Entry> entries) {
        return KSValue(KSArray{KSValue(KSDictionary(entries))});
    };
    const struct {
        std::string text;
        const char* message;
    } cases[] = {
        {"not base 64 at all!", "it is not base 64."},
        {KSBase64Encode(std::string_view("\x01\x02\x03", 3)), "it is not a property list."},
        {textOf(KSValue(KSDictionary{{"sd", KSValue(1)}})), "it is not a list of events."},
        {textOf(dict({{"sd", KSValue("Monday")}})),
         "item 1: The event's \u201csd\u201d is not a day number."},
        {textOf(dict({{"sd", KSValue(1.5)}})),
         "item 1: The event's \u201csd\u201d is not a day number."},
        {textOf(dict({{"ed", KSValue(800000)}})), "item 1: The event's day 800000 lies outside"},
        {textOf(dict({{"sd", KSValue(1)}, {"st", KSValue(90000.0)}})),
         "item 1: The event's \u201cst\u201d is not a time of day from 0 to 86400 seconds."},
        {textOf(dict({{"sd", KSValue(1)}, {"ed", KSValue(40000)}})),
         "item 1: The event lasts longer than 36600 days."},
        {textOf(dict({{"t", KSValue(3)}})), "item 1: The event's \u201ct\u201d is not text."},
        {textOf(dict({{"sd", KSValue(1)}, {"r", KSValue("FREQ=HOURLY")}})),
         "item 1: The repetition rule \u201cFREQ=HOURLY\u201d repeats more often than once a day."},
    };
    for (const auto& c : cases) {
        KSError error;
        KSLogCapture log;
        EXPECT_FALSE(calendar->setInternalChangeString(c.text, &error)) << c.message;
        EXPECT_TRUE(log.contains("Calendar \u201cTime Off\u201d keeps its events"));
        EXPECT_EQ(error.domain(), "Kestrum");
        EXPECT_NE(error.localizedDescription().find(
                      std::string("The calendar text cannot be read: ") + c.message),
                  std::string::npos)
            << error.localizedDescription();
        ASSERT_EQ(calendar->events().size(), 1u);
        EXPECT_EQ(calendar->events()[0], holiday);
        EXPECT_EQ(calendar->internalChangeString(), before);
    }
    EXPECT_FALSE(undo.canUndo());

    // Items that are not dictionaries are passed over.
    KSArray mixed{KSValue(7), KSValue(KSDictionary{{"sd", KSValue(kWednesday)},
                                                   {"ed", KSValue(kWednesday + 1)}})};
    edit([&](KSSchedule&) {
        EXPECT_TRUE(calendar->setInternalChangeString(textOf(KSValue(mixed))));
    });
    ASSERT_EQ(calendar->events().size(), 1u);
    EXPECT_EQ(hours(kWednesday), "");
    EXPECT_EQ(hours(kMonday), kStandardDay);
}

TEST_F(CalendarTest, EditsOfEventsAreUndone) {
    auto calendar = schedule->timeOffCalendar();
    auto course = event(on(kMonday, 8), on(kMonday, 12));
    edit([&](KSSchedule&) { calendar->addEvent(course); });
    ASSERT_EQ(hours(kMonday), "46800,61200");
    edit([&](KSSchedule&) { course->setEnd(on(kMonday, 17)); });
    EXPECT_EQ(hours(kMonday), "");
    const std::string twoDays =
        KSCalendar::internalChangeStringForEvents({event(on(kTuesday, 0), on(kWednesday + 1, 0))});
    edit([&](KSSchedule&) { calendar->setInternalChangeString(twoDays); });
    EXPECT_EQ(hours(kMonday), kStandardDay);
    EXPECT_EQ(hours(kWednesday), "");

    undo.undo();  // the text
    EXPECT_EQ(hours(kMonday), "");
    EXPECT_EQ(hours(kWednesday), kStandardDay);
    ASSERT_EQ(calendar->events().size(), 1u);
    EXPECT_EQ(calendar->events()[0], course);
    undo.undo();  // the end
    EXPECT_EQ(hours(kMonday), "46800,61200");
    undo.undo();  // the event
    EXPECT_TRUE(calendar->events().empty());
    EXPECT_EQ(hours(kMonday), kStandardDay);
    undo.redo();
    undo.redo();
    EXPECT_EQ(hours(kMonday), "");

    // A calendar that is not editable records nothing.
    auto outside = KSCalendar::calendarWithSchedule(schedule.get());
    outside->setEditable(false);
    EXPECT_EQ(outside->undoManager(), nullptr);
    EXPECT_NE(calendar->undoManager(), nullptr);
}

TEST_F(CalendarTest, CalendarsComeAndGoWithUndoInTheirPlace) {
    auto first = KSCalendar::calendarWithSchedule(nullptr);
    first->setName("Holidays");
    first->setEditable(false);
    first->addEvent(event(on(kMonday, 0), on(kTuesday, 0)));
    auto second = KSCalendar::calendarWithSchedule(nullptr);
    second->setName("Site");
    second->setEditable(false);
    auto overtime = schedule->overtimeCalendar();  // editable, at the end
    edit([&](KSSchedule& s) {
        s.addCalendar(first);
        s.addCalendar(second);  // not editable: to the front
    });
    ASSERT_EQ(schedule->calendars().size(), 3u);
    EXPECT_EQ(schedule->calendars()[0], second);
    EXPECT_EQ(schedule->calendars()[1], first);
    EXPECT_EQ(first->schedule(), schedule.get());
    EXPECT_EQ(hours(kMonday), "");
    edit([&](KSSchedule& s) { s.removeCalendar(first); });
    EXPECT_EQ(hours(kMonday), kStandardDay);
    EXPECT_EQ(first->schedule(), nullptr);
    undo.undo();
    EXPECT_EQ(hours(kMonday), "");
    EXPECT_EQ(schedule->calendars()[1], first);  // back in its place
    undo.undo();
    EXPECT_EQ(schedule->calendars().size(), 1u);
    EXPECT_EQ(schedule->calendars()[0], overtime);
}

TEST_F(CalendarTest, EventsInARangeIncludeEachInstanceOfARepetition) {
    auto calendar = schedule->timeOffCalendar();
    const std::int64_t friday = day(2019, 12, 6);
    auto dentist = event(on(friday + 4, 9), on(friday + 4, 10), "Dentist");  // Tuesday 10th
    auto fridays = repeating(on(friday, 13), on(friday, 17), "FREQ=WEEKLY");
    auto mondays = repeating(on(friday + 3, 0), on(friday + 4, 0), "FREQ=WEEKLY");
    edit([&](KSSchedule&) {
        calendar->addEvent(dentist);
        calendar->addEvent(fridays);
        calendar->addEvent(mondays);
    });
    const std::string text = calendar->internalChangeString();
    const int changes = delegate.didChangeCount;

    // Monday 9 December 0:00 to Saturday 21 December 0:00.
    KSCalendar::EventList found;
    calendar->addEventsAfterStartAndBeforeEnd(on(friday + 3, 0), on(friday + 15, 0), found);
    ASSERT_EQ(found.size(), 5u);
    EXPECT_EQ(found[0], dentist);
    EXPECT_TRUE(found[1]->start().isIdenticalTo(on(friday + 7, 13)));
    EXPECT_TRUE(found[1]->end().isIdenticalTo(on(friday + 7, 17)));
    EXPECT_TRUE(found[2]->start().isIdenticalTo(on(friday + 14, 13)));
    EXPECT_EQ(found[2]->repetition(), fridays->repetition());
    EXPECT_EQ(found[2]->calendar(), calendar.get());
    // An instance of a whole day ends at the next day's start.
    EXPECT_TRUE(found[3]->start().isIdenticalTo(on(friday + 3, 0)));
    EXPECT_TRUE(found[3]->end().isIdenticalTo(on(friday + 4, 0)));
    EXPECT_TRUE(found[4]->start().isIdenticalTo(on(friday + 10, 0)));
    // The calendar itself is as it was.
    EXPECT_EQ(calendar->events().size(), 3u);
    EXPECT_EQ(calendar->internalChangeString(), text);
    EXPECT_EQ(delegate.didChangeCount, changes);
    EXPECT_FALSE(calendar->isGeneratingRepetitionEvents());

    // The dentist lies outside a range of the next week.
    found.clear();
    calendar->addEventsAfterStartAndBeforeEnd(on(friday + 10, 0), on(friday + 11, 0), found);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_TRUE(found[0]->start().isIdenticalTo(on(friday + 10, 0)));
}

TEST_F(CalendarTest, ACopiedEventSharesItsRuleButNotItsCalendar) {
    auto fridays = repeating(on(day(2019, 12, 6), 13), on(day(2019, 12, 6), 17), "FREQ=WEEKLY");
    edit([&](KSSchedule& s) { s.timeOffCalendar()->addEvent(fridays); });
    auto copy = fridays->copy();
    EXPECT_EQ(copy->calendar(), nullptr);
    EXPECT_EQ(copy->repetition(), fridays->repetition());
    EXPECT_TRUE(copy->start().isIdenticalTo(fridays->start()));
    // The copy walks the shared rule from its own start without upsetting the original.
    copy->setStart(on(day(2019, 12, 9), 13));
    edit([&](KSSchedule& s) { s.timeOffCalendar()->addEvent(copy); });
    EXPECT_EQ(hours(day(2019, 12, 13)), "28800,43200");  // Friday
    EXPECT_EQ(hours(day(2019, 12, 16)), "28800,43200");  // Monday, from the copy
    EXPECT_EQ(hours(day(2019, 12, 17)), kStandardDay);
}

}  // namespace
}  // namespace kestrum
