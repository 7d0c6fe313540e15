// KSResource: the calendars of the resource's schedule as attributes, and calendars read
// from iCalendar files.
#include <algorithm>
#include <vector>

#include "Model/resources/KSResource.h"
#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSCalendarEvent.h"
#include "Model/worktime/KSSchedule.h"
#include "Model/worktime/KSStringAdditions.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSLog.h"

namespace kestrum {

namespace {

bool isSpecialCalendarName(std::string_view name) {
    return name == KSTimeOffCalendarName || name == KSOvertimeCalendarName;
}

const std::string& emptyCalendarText() {
    static const std::string* text = new std::string(KSCalendar::internalChangeStringForEvents({}));
    return *text;
}

std::string textOfCalendar(const KSSchedule& schedule, std::string_view name) {
    auto calendar = schedule.calendarNamed(name);
    return calendar ? calendar->internalChangeString() : emptyCalendarText();
}

}  // namespace

std::string KSResource::timeOffString() const {
    return textOfCalendar(*schedule(), KSTimeOffCalendarName);
}

std::string KSResource::overtimeString() const {
    return textOfCalendar(*schedule(), KSOvertimeCalendarName);
}

bool KSResource::setTimeOffString(std::string_view text, KSError* error) {
    return _setSpecialCalendarString(false, "timeOffString", text, error);
}

bool KSResource::setOvertimeString(std::string_view text, KSError* error) {
    return _setSpecialCalendarString(true, "overtimeString", text, error);
}

bool KSResource::_setSpecialCalendarString(bool overtime, std::string_view key,
                                           std::string_view text, KSError* error) {
    if (text == (overtime ? overtimeString() : timeOffString())) return true;
    // Read first: text that is refused must not open the change brackets, which would
    // invalidate the dates for nothing.
    KSCalendar::EventList events;
    KSError readError;
    if (!KSCalendar::eventsFromInternalChangeString(text, &events, &readError)) {
        KSLog("Ignoring %@ of resource \u201c%@\u201d: %@", std::string(key), name().value_or(""),
              readError.localizedDescription());
        KSSetError(error, readError);
        return false;
    }
    willChangeValueForKey(key);
    schedule()->beginScheduleChanges();
    auto calendar = overtime ? schedule()->overtimeCalendar() : schedule()->timeOffCalendar();
    calendar->setInternalChangeString(text);
    schedule()->finishedScheduleChanges();
    didChangeValueForKey(key);
    return true;
}

std::optional<KSDictionary> KSResource::otherCalendarsDict() const {
    KSDictionary calendars;
    for (const auto& calendar : schedule()->calendars()) {
        if (!isSpecialCalendarName(calendar->name()))
            calendars.setObjectForKey(calendar->name(), KSValue(calendar->internalChangeString()));
    }
    if (calendars.empty()) return std::nullopt;
    return calendars;
}

bool KSResource::setOtherCalendarsDict(const std::optional<KSDictionary>& calendars,
                                       KSError* error) {
    if (calendars == otherCalendarsDict()) return true;
    const KSDictionary wanted = calendars.value_or(KSDictionary());
    // Every text is read before anything changes.
    std::vector<KSCalendar::EventList> events;
    for (const auto& [name, text] : wanted) {
        KSError readError;
        events.emplace_back();
        if (!text.isString() || !KSCalendar::eventsFromInternalChangeString(
                                    text.asString(), &events.back(), &readError)) {
            if (!text.isString()) {
                readError = KSError::errorWithDescription(
                    "Kestrum", 1,
                    KSLocalizedString("The text form of a calendar must be a string."));
            }
            KSLog("Ignoring the calendars of resource \u201c%@\u201d: %@ (%@)",
                  this->name().value_or(""), readError.localizedDescription(), name);
            KSSetError(error, readError);
            return false;
        }
    }
    willChangeValueForKey("otherCalendarsDict");
    KSSchedule& own = *schedule();
    own.beginScheduleChanges();
    std::size_t i = 0;
    for (const auto& [name, text] : wanted) {
        std::shared_ptr<KSCalendar> calendar = own.calendarNamed(name);
        if (calendar && !calendar->isEditable()) {
            // Its events record no undo: a new calendar takes its place instead.
            if (text.asString() == calendar->internalChangeString()) {
                ++i;
                continue;
            }
            auto replacement = KSCalendar::calendarWithSchedule(&own);
            replacement->setName(name);
            replacement->setEditable(false);
            replacement->setOvertime(calendar->isOvertime());
            replacement->_setEvents(std::move(events[i]));
            own.removeCalendar(calendar);
            own.addCalendar(replacement);
        } else {
            if (!calendar) {
                calendar = KSCalendar::calendarWithSchedule(&own);
                calendar->setName(name);
                own.addCalendar(calendar);
            }
            calendar->setInternalChangeString(text.asString());
        }
        ++i;
    }
    const auto present = own.calendars();
    for (const auto& calendar : present) {
        if (!isSpecialCalendarName(calendar->name()) && !wanted.contains(calendar->name()))
            own.removeCalendar(calendar);
    }
    own.finishedScheduleChanges();
    didChangeValueForKey("otherCalendarsDict");
    return true;
}

void KSResource::_placeCalendar(const std::shared_ptr<KSCalendar>& calendar) {
    KSSchedule& own = *schedule();
    std::shared_ptr<KSCalendar> namesake = own.calendarNamed(calendar->name());
    if (namesake && !namesake->isEditable() && !isSpecialCalendarName(calendar->name())) {
        own.removeCalendar(namesake);
    } else if (namesake || isSpecialCalendarName(calendar->name())) {
        std::vector<std::string> taken = {KSTimeOffCalendarName, KSOvertimeCalendarName};
        for (const auto& present : own.calendars())
            taken.push_back(present->name());
        calendar->setName(
            KSUniquifyName(calendar->name(), taken, [](const std::string& name) { return name; }));
    }
    own.addCalendar(calendar);
}

bool KSResource::addCalendarFromICSFile(const std::string& path, KSError* error) {
    std::shared_ptr<KSCalendar> calendar = KSCalendar::calendarWithContentsOfICSFile(path, error);
    if (!calendar) return false;
    willChangeValueForKey("otherCalendarsDict");
    schedule()->beginScheduleChanges();
    _placeCalendar(calendar);
    schedule()->finishedScheduleChanges();
    didChangeValueForKey("otherCalendarsDict");
    setUndoActionName("Import Calendar");
    return true;
}

}  // namespace kestrum
