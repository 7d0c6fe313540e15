#include "Model/worktime/KSCalendarEvent.h"

#include <cmath>

#include <unicode/utf8.h>

#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/calendar/ANCalRepetition.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

namespace {

// Instances from this year on take no effect on working time.
constexpr std::int32_t kLastRepetitionYear = 2020;

// The text with each byte that is not part of UTF-8 replaced by U+FFFD, since property
// lists hold UTF-8 strings only.
std::string validUTF8(const std::string& text) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto length = static_cast<std::int32_t>(text.size());
    std::string result;
    result.reserve(text.size());
    for (std::int32_t i = 0; i < length;) {
        const std::int32_t from = i;
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        if (c < 0) {
            result += "\xEF\xBF\xBD";
        } else {
            result.append(text, static_cast<std::size_t>(from), static_cast<std::size_t>(i - from));
        }
    }
    return result;
}

KSError eventError(const std::string& message) {
    return KSError::errorWithDescription("Kestrum", 1, message);
}

// Reads one date of a change dictionary: a whole day number within the plan's range and a
// time of day from 0 to 86400, read as a 32-bit float. Both missing give a null date.
bool readDate(const KSDictionary& dictionary, const char* dayKey, const char* timeKey,
              KSDateTime* date, KSError* error) {
    const KSValue* day = dictionary.find(dayKey);
    const KSValue* time = dictionary.find(timeKey);
    *date = KSDateTime();
    if (!day) return true;
    double number = day->isNumber() ? day->doubleValue() : std::nan("");
    if (!std::isfinite(number) || number != std::floor(number)) {
        KSSetError(error, eventError(KSStringWithFormat(
                              KSLocalizedString("The event's \u201c%@\u201d is not a day number."),
                              dayKey)));
        return false;
    }
    if (number < KSDateTime::distantPast().dayNumber() ||
        number > KSDateTime::distantFuture().dayNumber()) {
        KSSetError(error, eventError(KSStringWithFormat(
                              KSLocalizedString("The event's day %@ lies outside the days a plan "
                                                "can hold."),
                              day->stringValue())));
        return false;
    }
    double seconds = 0.0;
    if (time) {
        seconds = time->isNumber() ? static_cast<double>(time->floatValue()) : std::nan("");
        if (!(seconds >= 0.0 && seconds <= 86400.0)) {
            KSSetError(error, eventError(KSStringWithFormat(
                                  KSLocalizedString("The event's \u201c%@\u201d is not a time "
                                                    "of day from 0 to 86400 seconds."),
                                  timeKey)));
            return false;
        }
    }
    *date = KSDateTime(static_cast<std::int64_t>(number), seconds);
    return true;
}

bool readText(const KSDictionary& dictionary, const char* key, std::string* text, KSError* error) {
    text->clear();
    const KSValue* value = dictionary.find(key);
    if (!value) return true;
    if (!value->isString()) {
        KSSetError(error, eventError(KSStringWithFormat(
                              KSLocalizedString("The event's \u201c%@\u201d is not text."), key)));
        return false;
    }
    *text = value->asString();
    return true;
}

}  // namespace

const KSClassInfo& KSCalendarEvent::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSCalendarEvent>(
        "KSCalendarEvent", &KSBaseObject::staticClassInfo(),
        [](KSClassBuilder<KSCalendarEvent>& b) {
            b.custom(
                "start", KSValue::Type::Date,
                [](const KSCalendarEvent& e) {
                    return KSValueTraits<KSDateTime>::toValue(e.start());
                },
                [](KSCalendarEvent& e, const KSValue& v) {
                    KSDateTime date;
                    if (!KSValueTraits<KSDateTime>::fromValue(v, &date)) return false;
                    e.setStart(date);
                    return true;
                });
            b.custom(
                "end", KSValue::Type::Date,
                [](const KSCalendarEvent& e) {
                    return KSValueTraits<KSDateTime>::toValue(e.end());
                },
                [](KSCalendarEvent& e, const KSValue& v) {
                    KSDateTime date;
                    if (!KSValueTraits<KSDateTime>::fromValue(v, &date)) return false;
                    e.setEnd(date);
                    return true;
                });
            b.custom(
                "title", KSValue::Type::String,
                [](const KSCalendarEvent& e) {
                    return e.title().empty() ? KSValue() : KSValue(e.title());
                },
                [](KSCalendarEvent& e, const KSValue& v) {
                    if (!v.isNull() && !v.isString()) return false;
                    e.setTitle(v.isNull() ? std::string() : v.asString());
                    return true;
                });
        });
    return info;
}

KSCalendarEvent::KSCalendarEvent(KSCalendar* calendar) : nonretainedCalendar_(calendar) {}

KSCalendarEvent::~KSCalendarEvent() = default;

std::shared_ptr<KSCalendarEvent> KSCalendarEvent::eventWithStartEndTitle(
    const KSDateTime& start, const KSDateTime& end, std::string title,
    std::shared_ptr<ANCalRepetition> repetition) {
    auto event = std::make_shared<KSCalendarEvent>();
    event->start_ = start;
    event->end_ = end;
    event->title_ = std::move(title);
    event->repetition_ = std::move(repetition);
    return event;
}

std::shared_ptr<KSCalendarEvent> KSCalendarEvent::eventWithChangeDictionary(
    const KSDictionary& dictionary, KSError* error) {
    auto event = std::make_shared<KSCalendarEvent>();
    if (!event->setChangeDictionary(dictionary, error)) return nullptr;
    return event;
}

std::shared_ptr<KSCalendarEvent> KSCalendarEvent::copy() const {
    return eventWithStartEndTitle(start_, end_, title_, repetition_);
}

void KSCalendarEvent::_setFields(const KSDateTime& start, const KSDateTime& end,
                                 const std::string& title,
                                 const std::shared_ptr<ANCalRepetition>& repetition) {
    KSUndoManager* undo = nonretainedCalendar_ ? nonretainedCalendar_->undoManager() : nullptr;
    if (undo) {
        if (auto self = std::static_pointer_cast<KSCalendarEvent>(weak_from_this().lock())) {
            undo->registerUndoWithTarget(self, [oldStart = start_, oldEnd = end_, oldTitle = title_,
                                                oldRepetition = repetition_](KSCalendarEvent& e) {
                e._setFields(oldStart, oldEnd, oldTitle, oldRepetition);
            });
        }
    }
    if (nonretainedCalendar_) nonretainedCalendar_->calendarEventWillChange(*this);
    start_ = start;
    end_ = end;
    title_ = title;
    repetition_ = repetition;
    changeDictionary_.reset();
    if (nonretainedCalendar_) nonretainedCalendar_->calendarEventDidChange(*this);
}

void KSCalendarEvent::setStart(const KSDateTime& start) {
    if (start.isIdenticalTo(start_)) return;
    _setFields(start, end_, title_, repetition_);
}

void KSCalendarEvent::setEnd(const KSDateTime& end) {
    if (end.isIdenticalTo(end_)) return;
    _setFields(start_, end, title_, repetition_);
}

void KSCalendarEvent::setTitle(const std::string& title) {
    if (title == title_) return;
    _setFields(start_, end_, title, repetition_);
}

void KSCalendarEvent::setRepetition(std::shared_ptr<ANCalRepetition> repetition) {
    if (repetition == repetition_) return;
    _setFields(start_, end_, title_, repetition);
}

// --- Text form ---------------------------------------------------------------------------------

const KSDictionary& KSCalendarEvent::changeDictionary() const {
    if (changeDictionary_) return *changeDictionary_;
    KSDictionary dictionary;
    if (!start_.isNull()) {
        dictionary.setObjectForKey("sd", KSValue(static_cast<long long>(start_.dayNumber())));
        dictionary.setObjectForKey("st",
                                   KSValue::floatNumber(static_cast<float>(start_.timeOfDay())));
    }
    if (!end_.isNull()) {
        dictionary.setObjectForKey("ed", KSValue(static_cast<long long>(end_.dayNumber())));
        dictionary.setObjectForKey("et",
                                   KSValue::floatNumber(static_cast<float>(end_.timeOfDay())));
    }
    if (!title_.empty()) dictionary.setObjectForKey("t", KSValue(validUTF8(title_)));
    if (repetition_) dictionary.setObjectForKey("r", KSValue(repetition_->rrule()));
    changeDictionary_ = std::make_shared<const KSDictionary>(std::move(dictionary));
    return *changeDictionary_;
}

bool KSCalendarEvent::setChangeDictionary(const KSDictionary& dictionary, KSError* error) {
    KSDateTime start;
    KSDateTime end;
    std::string title;
    std::string rule;
    if (!readDate(dictionary, "sd", "st", &start, error) ||
        !readDate(dictionary, "ed", "et", &end, error) ||
        !readText(dictionary, "t", &title, error) || !readText(dictionary, "r", &rule, error)) {
        return false;
    }
    if (!start.isNull() && !end.isNull() && end.dayNumber() - start.dayNumber() > kMaximumDays) {
        KSSetError(error, eventError(KSStringWithFormat(
                              KSLocalizedString("The event lasts longer than %lld days."),
                              static_cast<long long>(kMaximumDays))));
        return false;
    }
    std::shared_ptr<ANCalRepetition> repetition;
    if (!rule.empty()) {
        KSError ruleError;
        repetition = ANCalRepetition::repetitionWithRRule(rule, &ruleError);
        if (!repetition) {
            KSSetError(error, eventError(ruleError.localizedDescription()));
            return false;
        }
    }
    _setFields(start, end, title, repetition);
    return true;
}

// --- Working time ------------------------------------------------------------------------------

void KSCalendarEvent::applyToDay(KSSchedule& schedule, std::int64_t dayNumber, double from,
                                 double to) const {
    std::shared_ptr<KSScheduledDay> day =
        schedule.addExceptionalScheduleForDay(KSDateTime(dayNumber, 0.0));
    if (!day) return;
    if (nonretainedCalendar_ && nonretainedCalendar_->isOvertime()) {
        day->addSpanFromStartToEnd(from, to);
    } else {
        day->removeSpanFromStartToEnd(from, to);
    }
}

void KSCalendarEvent::applyEventToSchedule(KSSchedule& schedule) const {
    if (start_.isNull() || end_.isNull()) return;
    double from = start_.timeOfDay();
    double to = end_.timeOfDay();
    std::int64_t lastDay = end_.dayNumber();
    // An end at 0:00 closes the day before.
    if (to == 0.0) {
        to = 86400.0;
        --lastDay;
    }
    if (repetition_) {
        // Each instance acts on its own day only, and none from 2020 on.
        repetition_->setStartDate(start_.nsDate());
        for (ANCalRepetitionInstance instance = repetition_->firstRepetitionInstance();
             instance.isValid && instance.year < kLastRepetitionYear;
             instance = repetition_->nextRepetitionInstance(instance)) {
            KSDateTime date(ANCalRepetition::dateForInstance(instance));
            applyToDay(schedule, date.dayNumber(), from, to);
        }
        return;
    }
    const std::int64_t firstDay = start_.dayNumber();
    if (lastDay - firstDay >= kMaximumDays) {
        KSLog("A calendar event of %lld days acts on its first %lld days only",
              static_cast<long long>(lastDay - firstDay + 1), static_cast<long long>(kMaximumDays));
        lastDay = firstDay + kMaximumDays - 1;
    }
    for (std::int64_t n = firstDay; n <= lastDay; ++n)
        applyToDay(schedule, n, from, to);
}

void KSCalendarEvent::addEventsAfterStartAndBeforeEnd(
    const KSDateTime& start, const KSDateTime& end,
    std::vector<std::shared_ptr<KSCalendarEvent>>& events) {
    if (start.isNull() || end.isNull() || start_.isNull() || end_.isNull()) return;
    if (!repetition_) {
        if (start.isLaterThanDate(end_) || end.isEarlierThanDate(start_)) return;
        if (auto self = std::static_pointer_cast<KSCalendarEvent>(weak_from_this().lock()))
            events.push_back(self);
        return;
    }
    // The walk starts at this event's own start, whoever walked the shared rule last.
    repetition_->setStartDate(start_.nsDate());
    for (ANCalRepetitionInstance instance =
             repetition_->repetitionInstanceAtOrAfterDate(start.nsDate());
         instance.isValid; instance = repetition_->nextRepetitionInstance(instance)) {
        std::int64_t day = KSDateTime(ANCalRepetition::dateForInstance(instance)).dayNumber();
        if (day >= end.dayNumber()) break;
        auto event = std::make_shared<KSCalendarEvent>(nonretainedCalendar_);
        event->title_ = title_;
        event->start_ = KSDateTime(day, start_.timeOfDay());
        event->end_ = KSDateTime(end_.timeOfDay() == 0.0 ? day + 1 : day, end_.timeOfDay());
        event->repetition_ = repetition_;
        events.push_back(std::move(event));
    }
}

}  // namespace kestrum
