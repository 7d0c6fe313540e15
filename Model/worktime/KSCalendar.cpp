#include "Model/worktime/KSCalendar.h"

#include <algorithm>

#include "Model/worktime/KSCalendarEvent.h"
#include "Model/worktime/KSDateTime.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/core/KSBase64.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSUndoManager.h"
#include "Platform/plist/KSPropertyList.h"

namespace kestrum {

const char* const KSTimeOffCalendarName = "Time Off";
const char* const KSOvertimeCalendarName = "Overtime";

namespace {

KSError textError(const std::string& reason) {
    return KSError::errorWithDescription(
        "Kestrum", 1,
        KSStringWithFormat(KSLocalizedString("The calendar text cannot be read: %@"), reason));
}

}  // namespace

const KSClassInfo& KSCalendar::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSCalendar>(
        "KSCalendar", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSCalendar>& b) {
            b.custom("events", KSValue::Type::Array, [](const KSCalendar& c) {
                KSArray list;
                for (const auto& event : c.events())
                    list.push_back(KSValue(event));
                return KSValue(std::move(list));
            });
            b.custom("name", KSValue::Type::String,
                     [](const KSCalendar& c) { return KSValue(c.name()); });
            b.custom("internalChangeString", KSValue::Type::String,
                     [](const KSCalendar& c) { return KSValue(c.internalChangeString()); });
        });
    return info;
}

KSCalendar::KSCalendar(KSSchedule* schedule) : nonretainedSchedule_(schedule) {}

KSCalendar::~KSCalendar() {
    for (auto& event : events_) {
        if (event->calendar() == this) event->setCalendar(nullptr);
    }
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

void KSCalendar::eventsDidChange() {
    hasInternalChangeString_ = false;
    internalChangeString_.clear();
    if (nonretainedSchedule_) nonretainedSchedule_->calendarDidChange(this);
}

// --- Events ------------------------------------------------------------------------------------

void KSCalendar::addEvent(const std::shared_ptr<KSCalendarEvent>& given) {
    // Held here: the argument may be an element of the list that is about to change.
    const std::shared_ptr<KSCalendarEvent> event = given;
    if (!event) return;
    registerUndo([event](KSCalendar& c) { c.removeEvent(event); });
    willChangeValueForKey("events");
    event->setCalendar(this);
    events_.push_back(event);
    didChangeValueForKey("events");
    eventsDidChange();
}

void KSCalendar::removeEvent(const std::shared_ptr<KSCalendarEvent>& given) {
    const std::shared_ptr<KSCalendarEvent> event = given;
    auto it = std::find(events_.begin(), events_.end(), event);
    if (it == events_.end()) return;
    registerUndo([event](KSCalendar& c) { c.addEvent(event); });
    willChangeValueForKey("events");
    events_.erase(it);
    event->setCalendar(nullptr);
    didChangeValueForKey("events");
    eventsDidChange();
}

void KSCalendar::_setEvents(EventList events) {
    EventList old = events_;
    registerUndo([old](KSCalendar& c) { c._setEvents(old); });
    willChangeValueForKey("events");
    for (auto& event : events_)
        event->setCalendar(nullptr);
    events_ = std::move(events);
    for (auto& event : events_)
        event->setCalendar(this);
    didChangeValueForKey("events");
    eventsDidChange();
}

void KSCalendar::subtractEvent(const std::shared_ptr<KSCalendarEvent>& given) {
    const std::shared_ptr<KSCalendarEvent> cut = given;
    if (!cut || cut->start().isNull() || cut->end().isNull()) return;
    const KSDateTime cutStart = cut->start();
    const KSDateTime cutEnd = cut->end();
    const EventList snapshot = events_;
    for (const auto& event : snapshot) {
        if (event == cut || event->start().isNull() || event->end().isNull()) continue;
        if (event->start().isLaterThanDate(cutEnd) || event->end().isEarlierThanDate(cutStart))
            continue;
        // Days before the cut's first day and after its last day stay, as copies.
        if (event->start().dayNumber() < cutStart.dayNumber()) {
            auto before = event->copy();
            before->setEnd(KSDateTime(cutStart.dayNumber() - 1, event->end().timeOfDay()));
            addEvent(before);
            event->setStart(KSDateTime(cutStart.dayNumber(), event->start().timeOfDay()));
        }
        if (event->end().dayNumber() > cutEnd.dayNumber()) {
            auto after = event->copy();
            after->setStart(KSDateTime(cutEnd.dayNumber() + 1, event->start().timeOfDay()));
            addEvent(after);
            event->setEnd(KSDateTime(cutEnd.dayNumber(), event->end().timeOfDay()));
        }
        const double from = event->start().timeOfDay();
        const double to = event->end().timeOfDay();
        if (cutStart.timeOfDay() > from && to > cutEnd.timeOfDay()) {
            // The cut makes a hole in the middle.
            auto rest = event->copy();
            rest->setStart(KSDateTime(event->start().dayNumber(), cutEnd.timeOfDay()));
            addEvent(rest);
            event->setEnd(KSDateTime(event->end().dayNumber(), cutStart.timeOfDay()));
        } else if (cutStart.timeOfDay() > from) {
            event->setEnd(KSDateTime(event->end().dayNumber(), cutStart.timeOfDay()));
        } else if (to > cutEnd.timeOfDay()) {
            event->setStart(KSDateTime(event->start().dayNumber(), cutEnd.timeOfDay()));
        } else {
            removeEvent(event);
        }
    }
}

// --- Working time ------------------------------------------------------------------------------

void KSCalendar::applyCalendarToSchedule(KSSchedule& schedule) const {
    EventList sorted = events_;
    // Exact order of starts: the tolerant compare is no strict ordering.
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a->start().exactLess(b->start()); });
    for (const auto& event : sorted)
        event->applyEventToSchedule(schedule);
}

void KSCalendar::addEventsAfterStartAndBeforeEnd(const KSDateTime& start, const KSDateTime& end,
                                                 EventList& events) {
    generatingRepetitionEvents_ = true;
    // A snapshot: nothing here should change the list, but the flag must come down.
    const EventList snapshot = events_;
    for (const auto& event : snapshot)
        event->addEventsAfterStartAndBeforeEnd(start, end, events);
    generatingRepetitionEvents_ = false;
}

void KSCalendar::calendarEventWillChange(KSCalendarEvent&) {}

void KSCalendar::calendarEventDidChange(KSCalendarEvent&) {
    if (generatingRepetitionEvents_) return;
    eventsDidChange();
}

// --- Text form ---------------------------------------------------------------------------------

std::string KSCalendar::internalChangeStringForEvents(const EventList& events) {
    KSArray list;
    list.reserve(events.size());
    for (const auto& event : events)
        list.push_back(KSValue(event->changeDictionary()));
    return KSBase64Encode(KSPropertyList::dataFromPropertyList(KSValue(std::move(list)),
                                                               KSPropertyListFormat::Binary));
}

const std::string& KSCalendar::internalChangeString() const {
    if (!hasInternalChangeString_) {
        internalChangeString_ = internalChangeStringForEvents(events_);
        hasInternalChangeString_ = true;
    }
    return internalChangeString_;
}

bool KSCalendar::eventsFromInternalChangeString(std::string_view text, EventList* events,
                                                KSError* error) {
    events->clear();
    KSData data;
    if (!KSBase64Decode(text, &data)) {
        KSSetError(error, textError(KSLocalizedString("it is not base 64.")));
        return false;
    }
    KSValue list = KSPropertyList::propertyListFromData(data);
    if (list.isNull()) {
        KSSetError(error, textError(KSLocalizedString("it is not a property list.")));
        return false;
    }
    if (!list.isArray()) {
        KSSetError(error, textError(KSLocalizedString("it is not a list of events.")));
        return false;
    }
    const KSArray& items = list.asArray();
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (!items[i].isDictionary()) continue;
        KSError eventError;
        auto event =
            KSCalendarEvent::eventWithChangeDictionary(items[i].asDictionary(), &eventError);
        if (!event) {
            KSSetError(error, textError(KSStringWithFormat(KSLocalizedString("item %lu: %@"),
                                                           static_cast<unsigned long>(i + 1),
                                                           eventError.localizedDescription())));
            events->clear();
            return false;
        }
        events->push_back(std::move(event));
    }
    return true;
}

bool KSCalendar::setInternalChangeString(std::string_view text, KSError* error) {
    if (text == internalChangeString()) return true;
    EventList events;
    KSError readError;
    if (!eventsFromInternalChangeString(text, &events, &readError)) {
        KSLog("Calendar \u201c%@\u201d keeps its events: %@", name_,
              readError.localizedDescription());
        KSSetError(error, readError);
        return false;
    }
    _setEvents(std::move(events));
    internalChangeString_ = std::string(text);
    hasInternalChangeString_ = true;
    return true;
}

}  // namespace kestrum
