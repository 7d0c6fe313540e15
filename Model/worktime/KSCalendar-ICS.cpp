// KSCalendar: calendars read from iCalendar (.ics) files.
#include <filesystem>

#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSCalendarEvent.h"
#include "Model/worktime/KSDateTime.h"
#include "Model/worktime/KSLocalCalendar.h"
#include "Platform/calendar/ANCalError.h"
#include "Platform/calendar/ANCalFile.h"
#include "Platform/calendar/ANCalRepetition.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"

namespace kestrum {

namespace {

// The model's error for the user, with the calendar layer's error behind it.
KSError modelError(const KSError& underlying) {
    KSDictionary info;
    info.setObjectForKey(KSLocalizedDescriptionKey, KSValue(underlying.localizedDescription()));
    for (const char* key : {KSFilePathErrorKey, ANCalErrorLineKey}) {
        if (const KSValue* value = underlying.userInfo().find(key))
            info.setObjectForKey(key, *value);
    }
    KSError error("Kestrum", 1, std::move(info));
    error.setUnderlyingError(underlying);
    return error;
}

KSDateTime dateOf(const ANCalWallTime& time) {
    return KSDateTime(KSLocalCalendar::dayNumberOfCivilDate(time.year, time.month, time.day),
                      time.secondsOfDay);
}

bool isWithinPlanDays(const KSDateTime& date) {
    return date.dayNumber() >= KSDateTime::distantPast().dayNumber() &&
           date.dayNumber() <= KSDateTime::distantFuture().dayNumber();
}

// The events that stand for one event of a file, appended to `events`.
void appendEvents(const ANCalFileEvent& source, KSDateTime start, KSDateTime end,
                  KSCalendar::EventList& events) {
    std::shared_ptr<ANCalRepetition> repetition;
    if (!source.rrule.empty()) {
        // The text is libical's own form of a rule that it has read already.
        repetition = ANCalRepetition::repetitionWithRRule(source.rrule);
        // A repeating event acts on the day of each instance only: its first day's part.
        if (end.dayNumber() > start.dayNumber()) end = start.dateWithBeginningOfNextDay();
    }
    const std::int64_t firstDay = start.dayNumber();
    const std::int64_t lastDay = end.timeOfDay() == 0.0 ? end.dayNumber() - 1 : end.dayNumber();
    const bool sameWindowEachDay =
        lastDay <= firstDay || (start.timeOfDay() == 0.0 && end.timeOfDay() == 0.0);
    if (repetition || sameWindowEachDay) {
        events.push_back(
            KSCalendarEvent::eventWithStartEndTitle(start, end, source.title, repetition));
        return;
    }
    // An event of several days with times: the window of each day applies to every day of
    // an event, so its first day, its whole days and its last day become events of their
    // own.
    KSDateTime wholeDaysFrom = start;
    if (start.timeOfDay() > 0.0) {
        wholeDaysFrom = start.dateWithBeginningOfNextDay();
        events.push_back(
            KSCalendarEvent::eventWithStartEndTitle(start, wholeDaysFrom, source.title));
    }
    const KSDateTime lastDayStart(end.dayNumber(), 0.0);
    if (wholeDaysFrom.dayNumber() < lastDayStart.dayNumber()) {
        events.push_back(
            KSCalendarEvent::eventWithStartEndTitle(wholeDaysFrom, lastDayStart, source.title));
    }
    if (end.timeOfDay() > 0.0)
        events.push_back(KSCalendarEvent::eventWithStartEndTitle(lastDayStart, end, source.title));
}

std::shared_ptr<KSCalendar> calendarWithFile(const ANCalFile& file, KSError* error) {
    KSCalendar::EventList events;
    for (const ANCalFileEvent& source : file.events()) {
        const KSDateTime start = dateOf(source.start);
        const KSDateTime end = dateOf(source.end);
        const char* problem = nullptr;
        if (!isWithinPlanDays(start) || !isWithinPlanDays(end)) {
            problem = "The event lies outside the days a plan can hold.";
        } else if (end.dayNumber() - start.dayNumber() > KSCalendarEvent::kMaximumDays) {
            problem = "The event lasts longer than a hundred years.";
        }
        if (problem) {
            KSSetError(error, modelError(ANCalFileError(file.path(), source.line,
                                                        KSLocalizedString(problem))));
            return nullptr;
        }
        appendEvents(source, start, end, events);
    }
    auto calendar = std::make_shared<KSCalendar>();
    std::string name = file.calendarName();
    if (name.empty()) name = std::filesystem::path(file.path()).stem().string();
    calendar->setName(name);
    calendar->setEditable(false);
    calendar->setOvertime(false);
    calendar->_setEvents(std::move(events));
    return calendar;
}

}  // namespace

std::shared_ptr<KSCalendar> KSCalendar::calendarWithICSText(std::string_view text,
                                                            std::string_view path, KSError* error) {
    KSError fileError;
    std::optional<ANCalFile> file = ANCalFile::fileWithString(text, path, &fileError);
    if (!file) {
        KSSetError(error, modelError(fileError));
        return nullptr;
    }
    return calendarWithFile(*file, error);
}

std::shared_ptr<KSCalendar> KSCalendar::calendarWithContentsOfICSFile(const std::string& path,
                                                                      KSError* error) {
    KSError fileError;
    std::optional<ANCalFile> file = ANCalFile::fileWithContentsOfPath(path, &fileError);
    if (!file) {
        KSSetError(error, modelError(fileError));
        return nullptr;
    }
    return calendarWithFile(*file, error);
}

}  // namespace kestrum
