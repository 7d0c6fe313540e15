// Fuzz target of a calendar's text form (internalChangeString): the first byte chooses
// whether the rest is the text itself or property-list data to be put in base 64, and a
// time-off or an overtime calendar; the target checks that
//   - text is either read or refused with a message, and refused text leaves the calendar
//     as it was;
//   - a calendar that read text writes text that another calendar reads to the same
//     events and writes the same again;
//   - applying the events to a schedule, listing them in a range and subtracting one from
//     the others end without harm, whatever the days and rules.
// Built with libFuzzer under the "fuzz" preset, and with the replay driver for the smoke
// run of the normal test suite.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "FuzzSupport.h"
#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSCalendarEvent.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/core/KSBase64.h"
#include "Platform/core/KSLog.h"

namespace {

using namespace kestrum;

[[noreturn]] void fail(const char* what, const std::string& text) {
    fuzz::failInvariant("calendar_text", what, text);
}

void exercise(KSSchedule& schedule, KSCalendar& calendar) {
    schedule.beginScheduleChanges();
    schedule.calendarDidChange(&calendar);
    schedule.finishedScheduleChanges();
    // The first months of 2019, where repeating events still take effect.
    KSCalendar::EventList found;
    calendar.addEventsAfterStartAndBeforeEnd(KSDateTime(6574, 0.0), KSDateTime(6664, 0.0), found);
    if (calendar.isGeneratingRepetitionEvents()) fail("the expansion flag stays up", "");
    if (!calendar.events().empty()) {
        schedule.beginScheduleChanges();
        calendar.subtractEvent(calendar.events().front());
        schedule.finishedScheduleChanges();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = [] {
        KSSetLogHook([](const std::string&) {});
        setenv("TZ", "UTC", 1);
        tzset();
        return true;
    }();
    (void)ready;
    if (size == 0) return 0;
    const std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
    const std::string text = data[0] & 1 ? rest : KSBase64Encode(rest);
    auto schedule = KSSchedule::schedule();
    auto calendar = data[0] & 2 ? schedule->overtimeCalendar() : schedule->timeOffCalendar();
    const std::string before = calendar->internalChangeString();
    KSError error;
    if (!calendar->setInternalChangeString(text, &error)) {
        if (error.localizedDescription().empty()) fail("a refusal without a message", text);
        if (!calendar->events().empty() || calendar->internalChangeString() != before)
            fail("refused text changed the calendar", text);
        return 0;
    }
    const std::string written = KSCalendar::internalChangeStringForEvents(calendar->events());
    auto other = KSSchedule::schedule()->timeOffCalendar();
    if (!other->setInternalChangeString(written, &error)) fail("written text is refused", written);
    if (other->events().size() != calendar->events().size())
        fail("written text gives other events", written);
    if (KSCalendar::internalChangeStringForEvents(other->events()) != written)
        fail("written text changes when read again", written);
    exercise(*schedule, *calendar);
    return 0;
}
