#include "Model/worktime/KSCalendarEvent.h"

#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

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
        });
    return info;
}

KSCalendarEvent::KSCalendarEvent(KSCalendar* calendar) : nonretainedCalendar_(calendar) {}

KSCalendarEvent::~KSCalendarEvent() = default;

std::shared_ptr<KSCalendarEvent> KSCalendarEvent::eventWithStartEndTitle(const KSDateTime& start,
                                                                         const KSDateTime& end,
                                                                         std::string title) {
    auto event = std::make_shared<KSCalendarEvent>();
    event->start_ = start;
    event->end_ = end;
    event->title_ = std::move(title);
    return event;
}

std::shared_ptr<KSCalendarEvent> KSCalendarEvent::copy() const {
    return eventWithStartEndTitle(start_, end_, title_);
}

void KSCalendarEvent::_setFields(const KSDateTime& start, const KSDateTime& end,
                                 const std::string& title) {
    KSUndoManager* undo = nonretainedCalendar_ ? nonretainedCalendar_->undoManager() : nullptr;
    if (undo) {
        if (auto self = std::static_pointer_cast<KSCalendarEvent>(weak_from_this().lock())) {
            undo->registerUndoWithTarget(
                self, [oldStart = start_, oldEnd = end_, oldTitle = title_](KSCalendarEvent& e) {
                    e._setFields(oldStart, oldEnd, oldTitle);
                });
        }
    }
    if (nonretainedCalendar_) nonretainedCalendar_->calendarEventWillChange(*this);
    start_ = start;
    end_ = end;
    title_ = title;
    if (nonretainedCalendar_) nonretainedCalendar_->calendarEventDidChange(*this);
}

void KSCalendarEvent::setStart(const KSDateTime& start) {
    if (start.isIdenticalTo(start_)) return;
    _setFields(start, end_, title_);
}

void KSCalendarEvent::setEnd(const KSDateTime& end) {
    if (end.isIdenticalTo(end_)) return;
    _setFields(start_, end, title_);
}

void KSCalendarEvent::setTitle(const std::string& title) {
    if (title == title_) return;
    _setFields(start_, end_, title);
}

void KSCalendarEvent::applyEventToSchedule(KSSchedule& schedule) const {
    if (start_.isNull() || end_.isNull()) return;
    double s = start_.timeOfDay();
    double e = end_.timeOfDay();
    std::int64_t lastDay = end_.dayNumber();
    // An end at 0:00 closes the day before.
    if (e == 0.0) {
        e = 86400.0;
        --lastDay;
    }
    bool overtime = nonretainedCalendar_ && nonretainedCalendar_->isOvertime();
    for (std::int64_t n = start_.dayNumber(); n <= lastDay; ++n) {
        std::shared_ptr<KSScheduledDay> day =
            schedule.addExceptionalScheduleForDay(KSDateTime(n, 0.0));
        if (!day) continue;
        if (overtime) {
            day->addSpanFromStartToEnd(s, e);
        } else {
            day->removeSpanFromStartToEnd(s, e);
        }
    }
}

}  // namespace kestrum
