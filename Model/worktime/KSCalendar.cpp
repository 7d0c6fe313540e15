#include "Model/worktime/KSCalendar.h"

#include <algorithm>

#include "Model/worktime/KSCalendarEvent.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

const KSClassInfo& KSCalendar::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSCalendar>(
        "KSCalendar", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSCalendar>& b) {
            b.custom("events", KSValue::Type::Array, [](const KSCalendar& c) {
                KSArray list;
                for (const auto& event : c.events())
                    list.push_back(KSValue(event));
                return KSValue(std::move(list));
            });
        });
    return info;
}

KSCalendar::KSCalendar(KSSchedule* schedule) : nonretainedSchedule_(schedule) {}

KSCalendar::~KSCalendar() {
    for (auto& event : events_)
        event->setCalendar(nullptr);
}

std::shared_ptr<KSCalendar> KSCalendar::calendarWithSchedule(KSSchedule* schedule) {
    return std::make_shared<KSCalendar>(schedule);
}

KSUndoManager* KSCalendar::undoManager() const {
    if (!isEditable_ || !nonretainedSchedule_) return nullptr;
    return nonretainedSchedule_->undoManager();
}

template <class F>
void KSCalendar::registerUndo(F&& action) {
    KSUndoManager* undo = undoManager();
    if (!undo) return;
    auto self = std::static_pointer_cast<KSCalendar>(weak_from_this().lock());
    if (self) undo->registerUndoWithTarget(self, std::forward<F>(action));
}

void KSCalendar::tellSchedule() {
    if (nonretainedSchedule_) nonretainedSchedule_->calendarDidChange(this);
}

void KSCalendar::addEvent(const std::shared_ptr<KSCalendarEvent>& event) {
    if (!event) return;
    registerUndo([event](KSCalendar& c) { c.removeEvent(event); });
    willChangeValueForKey("events");
    event->setCalendar(this);
    events_.push_back(event);
    didChangeValueForKey("events");
    tellSchedule();
}

void KSCalendar::removeEvent(const std::shared_ptr<KSCalendarEvent>& event) {
    auto it = std::find(events_.begin(), events_.end(), event);
    if (it == events_.end()) return;
    registerUndo([event](KSCalendar& c) { c.addEvent(event); });
    willChangeValueForKey("events");
    events_.erase(it);
    event->setCalendar(nullptr);
    didChangeValueForKey("events");
    tellSchedule();
}

void KSCalendar::_setEvents(std::vector<std::shared_ptr<KSCalendarEvent>> events) {
    std::vector<std::shared_ptr<KSCalendarEvent>> old = events_;
    registerUndo([old](KSCalendar& c) { c._setEvents(old); });
    willChangeValueForKey("events");
    for (auto& event : events_)
        event->setCalendar(nullptr);
    events_ = std::move(events);
    for (auto& event : events_)
        event->setCalendar(this);
    didChangeValueForKey("events");
    tellSchedule();
}

void KSCalendar::applyCalendarToSchedule(KSSchedule& schedule) const {
    std::vector<std::shared_ptr<KSCalendarEvent>> sorted = events_;
    // Exact order of starts: the tolerant compare is no strict ordering.
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a->start().exactLess(b->start()); });
    for (const auto& event : sorted)
        event->applyEventToSchedule(schedule);
}

void KSCalendar::calendarEventWillChange(KSCalendarEvent&) {}

void KSCalendar::calendarEventDidChange(KSCalendarEvent&) {
    tellSchedule();
}

}  // namespace kestrum
