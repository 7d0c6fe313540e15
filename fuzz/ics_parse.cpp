// Fuzz target of iCalendar files: reads arbitrary bytes as the text of a .ics file and
// checks that
//   - the text is either read as a calendar or refused with an error that names the file
//     and a line that the text has;
//   - a calendar that is read holds only events within the plan's days, none longer than
//     the limit of an event, and takes effect on a schedule without harm;
//   - the calendar's text form reads back to the same events.
// Built with libFuzzer under the "fuzz" preset, and with the replay driver for the smoke
// run of the normal test suite.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>

#include "FuzzSupport.h"
#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSCalendarEvent.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/calendar/ANCalError.h"
#include "Platform/core/KSLog.h"

namespace {

using namespace kestrum;

[[noreturn]] void fail(const char* what, const std::string& text) {
    fuzz::failInvariant("ics_parse", what, text);
}

void checkRefusal(const KSError& error, const std::string& text) {
    const std::string& description = error.localizedDescription();
    if (error.domain() != "Kestrum" || error.code() != 1) fail("a refusal in another domain", text);
    if (description.rfind("The calendar file \u201cfuzz.ics\u201d cannot be read: line ", 0) != 0)
        fail("a refusal that names no file and line", text);
    const long line = error.userInfo().objectForKey(ANCalErrorLineKey).asInteger();
    const long lines = 1 + static_cast<long>(std::count(text.begin(), text.end(), '\n'));
    if (line < 1 || line > lines) fail("a refusal naming a line the text does not have", text);
}

void checkCalendar(const std::shared_ptr<KSCalendar>& calendar, const std::string& text) {
    for (const auto& event : calendar->events()) {
        const KSDateTime& start = event->start();
        const KSDateTime& end = event->end();
        if (start.isNull() || end.isNull()) fail("an event without dates", text);
        if (start.dayNumber() < KSDateTime::distantPast().dayNumber() ||
            end.dayNumber() > KSDateTime::distantFuture().dayNumber())
            fail("an event outside the plan's days", text);
        if (end.dayNumber() - start.dayNumber() > KSCalendarEvent::kMaximumDays)
            fail("an event longer than the limit", text);
    }
    KSCalendar::EventList again;
    KSError error;
    if (!KSCalendar::eventsFromInternalChangeString(calendar->internalChangeString(), &again,
                                                    &error))
        fail("the calendar's text form is refused", text);
    if (again.size() != calendar->events().size()) fail("the text form gives other events", text);
    auto schedule = KSSchedule::schedule();
    schedule->beginScheduleChanges();
    schedule->addCalendar(calendar);
    schedule->finishedScheduleChanges();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = [] {
        KSSetLogHook([](const std::string&) {});
        setenv("TZ", "America/New_York", 1);
        tzset();
        return true;
    }();
    (void)ready;
    const std::string text(reinterpret_cast<const char*>(data), size);
    KSError error;
    auto calendar = KSCalendar::calendarWithICSText(text, "/fuzz/fuzz.ics", &error);
    if (!calendar) {
        checkRefusal(error, text);
        return 0;
    }
    checkCalendar(calendar, text);
    return 0;
}
