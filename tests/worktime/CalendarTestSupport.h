// Helpers of the calendar tests: a standard-week schedule with an undo manager, dates by
// their civil day, and events written as plainly as the plans they stand for.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSCalendarEvent.h"
#include "Model/worktime/KSLocalCalendar.h"
#include "Platform/calendar/ANCalRepetition.h"
#include "Platform/core/KSUndoManager.h"
#include "WorktimeTestSupport.h"

namespace kestrum {

// The day number of a civil date.
inline std::int64_t day(int year, int month, int dayOfMonth) {
    return KSLocalCalendar::dayNumberOfCivilDate(year, month, dayOfMonth);
}

class CalendarTest : public ::testing::Test {
protected:
    void SetUp() override {
        delegate.undoManager = &undo;
        schedule = KSSchedule::schedule();
        schedule->setDelegate(&delegate);
    }
    void TearDown() override { schedule->setDelegate(nullptr); }

    // Changes the schedule between its change brackets, as an application does, in an
    // undo group of its own (the event loop, which would close it, does not run here).
    template <class F>
    void edit(F&& change) {
        undo.beginUndoGrouping();
        schedule->beginScheduleChanges();
        change(*schedule);
        schedule->finishedScheduleChanges();
        undo.endUndoGrouping();
    }
    // The working hours of a day as text: "28800,43200,46800,61200" for a standard one.
    std::string hours(std::int64_t dayNumber) const {
        return schedule->scheduleForDay(KSDateTime(dayNumber, 0.0))->timeSpansString();
    }
    static std::shared_ptr<KSCalendarEvent> event(const KSDateTime& start, const KSDateTime& end,
                                                  std::string title = {}) {
        return KSCalendarEvent::eventWithStartEndTitle(start, end, std::move(title));
    }
    static std::shared_ptr<KSCalendarEvent> repeating(const KSDateTime& start,
                                                      const KSDateTime& end,
                                                      std::string_view rrule) {
        auto repetition = ANCalRepetition::repetitionWithRRule(rrule);
        EXPECT_NE(repetition, nullptr) << rrule;
        return KSCalendarEvent::eventWithStartEndTitle(start, end, "", repetition);
    }

    static constexpr const char* kStandardDay = "28800,43200,46800,61200";

    KSUndoManager undo;
    TestScheduleDelegate delegate;
    std::shared_ptr<KSSchedule> schedule;
};

}  // namespace kestrum
