#include "Model/worktime/KSSchedule.h"

#include "Model/resources/KSAssignment.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"

#include <algorithm>
#include <cmath>

#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSCalendarEvent.h"
#include "Model/worktime/KSScheduleDelegate.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSNotificationCenter.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

const KSNotificationName KSScheduleDidChangeNotification("ScheduleDidChangeNotification");

namespace {

auto dayNumberLess = [](const std::shared_ptr<KSScheduledDay>& day, std::int64_t n) {
    return day->dayNumber() < n;
};

}  // namespace

const KSClassInfo& KSSchedule::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSSchedule>(
        "KSSchedule", &BKObject::staticClassInfo(), [](KSClassBuilder<KSSchedule>& b) {
            b.attribute("startOfSchedule", &KSSchedule::startOfSchedule,
                        &KSSchedule::setStartOfSchedule);
            b.attribute("endOfSchedule", &KSSchedule::endOfSchedule, &KSSchedule::setEndOfSchedule);
            b.custom(
                "standardHoursString", KSValue::Type::String,
                [](const KSSchedule& s) { return KSValue(s.standardHoursString()); },
                [](KSSchedule& s, const KSValue& v) {
                    if (!v.isString()) return false;
                    s.setStandardHoursString(v.asString());
                    return true;
                });
            b.readOnly("startOfScheduleIsCustom", &KSSchedule::startOfScheduleIsCustom);
            b.readOnly("endOfScheduleIsCustom", &KSSchedule::endOfScheduleIsCustom);
            b.readOnly("isCustomSchedule", &KSSchedule::isCustomSchedule);
            b.readOnly("hasCustomNormalSchedule", &KSSchedule::hasCustomNormalSchedule);
            b.readOnly("isTopLevelSchedule", &KSSchedule::isTopLevelSchedule);
            b.readOnly("shortLocalizedWorkHoursDescription",
                       &KSSchedule::shortLocalizedWorkHoursDescription);
        });
    return info;
}

KSSchedule::KSSchedule() : forwardEnumerator_(this, false), backwardEnumerator_(this, true) {}

KSSchedule::~KSSchedule() {
    inheritedSchedule_.reset();
    for (auto& day : normalWeek_) {
        if (day) day->setSchedule(nullptr);
    }
    for (auto& day : exceptions_)
        day->setSchedule(nullptr);
    for (auto& calendar : calendars_)
        calendar->setSchedule(nullptr);
}

std::shared_ptr<KSSchedule> KSSchedule::schedule() {
    return std::make_shared<KSSchedule>();
}

std::shared_ptr<KSSchedule> KSSchedule::makeFilledSchedule(void (*fill)(int, KSScheduledDay&)) {
    // The days get their schedule only when filled, so that nothing reaches back into the
    // shared schedules while one of them is being made.
    auto filled = schedule();
    for (int w = 0; w < 7; ++w) {
        auto day = KSScheduledDay::dayForSchedule(nullptr);
        fill(w, *day);
        day->setSchedule(filled.get());
        filled->normalWeek_[w] = day;
    }
    return filled;
}

const std::shared_ptr<KSSchedule>& KSSchedule::standardWorkHours() {
    static const std::shared_ptr<KSSchedule>* standard =
        new std::shared_ptr<KSSchedule>(makeFilledSchedule([](int w, KSScheduledDay& day) {
            if (w == 0 || w == 6) return;
            day.addSpanFromStartToEnd(28800.0, 43200.0);
            day.addSpanFromStartToEnd(46800.0, 61200.0);
        }));
    return *standard;
}

const std::shared_ptr<KSSchedule>& KSSchedule::allHours() {
    static const std::shared_ptr<KSSchedule>* all =
        new std::shared_ptr<KSSchedule>(makeFilledSchedule(
            [](int, KSScheduledDay& day) { day.addSpanFromStartToEnd(0.0, 86400.0); }));
    return *all;
}

std::string KSSchedule::localizedNameForGranularity(int granularity) {
    switch (granularity) {
        case 0:
            return KSLocalizedString("Exact", "Exact");
        case 1:
            return KSLocalizedString("Hours", "Hours");
        case 2:
            return KSLocalizedString("Days", "Days");
        default:
            return "";
    }
}

std::shared_ptr<KSSchedule> KSSchedule::copy() const {
    auto copy = schedule();
    copy->beginScheduleChanges();
    for (int w = 0; w < 7; ++w) {
        if (!normalWeek_[w]) continue;
        auto day = normalWeek_[w]->copy();
        day->setSchedule(copy.get());
        copy->normalWeek_[w] = day;
    }
    for (const auto& calendar : calendars_) {
        auto calendarCopy = KSCalendar::calendarWithSchedule(copy.get());
        calendarCopy->setName(calendar->name());
        calendarCopy->setEditable(calendar->isEditable());
        calendarCopy->setOvertime(calendar->isOvertime());
        for (const auto& event : calendar->events()) {
            calendarCopy->addEvent(event->copy());
        }
        copy->addCalendar(calendarCopy);
    }
    copy->finishedScheduleChanges();
    copy->delegate_ = delegate_;
    return copy;
}

// --- Delegate and change bracketing ------------------------------------------------------

KSUndoManager* KSSchedule::undoManager() {
    return delegate_ ? delegate_->undoManagerForSchedule(*this) : nullptr;
}

template <class F>
void KSSchedule::registerUndo(F&& action) {
    KSUndoManager* undo = undoManager();
    if (!undo) return;
    auto self = std::static_pointer_cast<KSSchedule>(weak_from_this().lock());
    if (self) undo->registerUndoWithTarget(self, std::forward<F>(action));
}

void KSSchedule::beginScheduleChanges() {
    registerUndo([](KSSchedule& s) { s.finishedScheduleChanges(); });
    delayingScheduleChanges_ = true;
    _willChange();
}

void KSSchedule::finishedScheduleChanges() {
    applyCalendarsToSchedule();
    delayingScheduleChanges_ = false;
    _didChange();
    registerUndo([](KSSchedule& s) { s.beginScheduleChanges(); });
}

void KSSchedule::_willChange() {
    if (!delegate_) return;
    delegate_->scheduleWillChange();
    for (const auto& child : delegate_->childSchedules())
        child->_willChange();
}

void KSSchedule::dropCaches() {
    totalDurationForNormalWeek_ = -1.0;
    workingDaysForNormalWeek_ = -1;
    allExceptionsValid_ = false;
    allExceptions_.clear();
}

void KSSchedule::_didChangeWithoutNotification() {
    dropCaches();
    if (!delegate_) return;
    delegate_->scheduleDidChange();
    for (const auto& child : delegate_->childSchedules())
        child->_didChange();
}

void KSSchedule::_didChange() {
    _didChangeWithoutNotification();
    KSNotificationCenter::defaultCenter().postNotificationName(KSScheduleDidChangeNotification,
                                                               this);
}

// --- Calendars -----------------------------------------------------------------------------

std::shared_ptr<KSCalendar> KSSchedule::calendarNamed(std::string_view name) const {
    for (const auto& calendar : calendars_) {
        if (calendar->name() == name) return calendar;
    }
    return nullptr;
}

std::shared_ptr<KSCalendar> KSSchedule::overtimeCalendar() {
    if (auto calendar = calendarNamed(KSOvertimeCalendarName)) return calendar;
    auto calendar = KSCalendar::calendarWithSchedule(this);
    calendar->setName(KSOvertimeCalendarName);
    calendar->setEditable(true);
    calendar->setOvertime(true);
    calendars_.push_back(calendar);
    return calendar;
}

std::shared_ptr<KSCalendar> KSSchedule::timeOffCalendar() {
    if (auto calendar = calendarNamed(KSTimeOffCalendarName)) return calendar;
    auto calendar = KSCalendar::calendarWithSchedule(this);
    calendar->setName(KSTimeOffCalendarName);
    calendar->setEditable(true);
    calendar->setOvertime(false);
    calendars_.push_back(calendar);
    return calendar;
}

void KSSchedule::addCalendar(const std::shared_ptr<KSCalendar>& calendar) {
    if (!calendar) return;
    _insertCalendarAtIndex(calendar, calendar->isEditable() ? calendars_.size() : 0);
}

void KSSchedule::_insertCalendarAtIndex(const std::shared_ptr<KSCalendar>& given,
                                        std::size_t index) {
    // Held here: the argument may be an element of the list that is about to change.
    const std::shared_ptr<KSCalendar> calendar = given;
    calendarsDidChange_ = true;
    if (std::find(calendars_.begin(), calendars_.end(), calendar) != calendars_.end()) return;
    registerUndo([calendar](KSSchedule& s) { s.removeCalendar(calendar); });
    calendar->setSchedule(this);
    index = std::min(index, calendars_.size());
    calendars_.insert(calendars_.begin() + static_cast<std::ptrdiff_t>(index), calendar);
}

void KSSchedule::removeCalendar(const std::shared_ptr<KSCalendar>& given) {
    const std::shared_ptr<KSCalendar> calendar = given;
    calendarsDidChange_ = true;
    auto it = std::find(calendars_.begin(), calendars_.end(), calendar);
    if (it == calendars_.end()) return;
    // Undo puts it back in its place: the order of calendars decides overlapping events.
    std::size_t index = static_cast<std::size_t>(it - calendars_.begin());
    registerUndo([calendar, index](KSSchedule& s) { s._insertCalendarAtIndex(calendar, index); });
    calendars_.erase(it);
    if (calendar->schedule() == this) calendar->setSchedule(nullptr);
}

void KSSchedule::calendarDidChange(KSCalendar*) {
    calendarsDidChange_ = true;
}

void KSSchedule::applyCalendarsToSchedule() {
    if (!calendarsDidChange_) return;
    for (auto& day : exceptions_)
        day->setSchedule(nullptr);
    exceptions_.clear();
    dropCaches();
    // A calendar may be removed while applying; walk a snapshot.
    std::vector<std::shared_ptr<KSCalendar>> calendars = calendars_;
    for (const auto& calendar : calendars)
        calendar->applyCalendarToSchedule(*this);
    calendarsDidChange_ = false;
}

// --- Inheritance ---------------------------------------------------------------------------

void KSSchedule::setInheritedSchedule(const std::shared_ptr<KSSchedule>& schedule) {
    if (schedule == inheritedSchedule_) return;
    if (!schedule) {
        // Serves at tear-down: no notification.
        inheritedSchedule_.reset();
        dropCaches();
        return;
    }
    beginScheduleChanges();
    inheritedSchedule_ = schedule;
    dropCaches();
    calendarDidChange(nullptr);
    finishedScheduleChanges();
}

bool KSSchedule::isCustomSchedule() const {
    if (!exceptions_.empty()) return true;
    if (!startOfSchedule().isNull() || !endOfSchedule().isNull()) return true;
    if (hasCustomNormalSchedule()) return true;
    return std::any_of(calendars_.begin(), calendars_.end(),
                       [](const auto& calendar) { return !calendar->events().empty(); });
}

bool KSSchedule::hasCustomNormalSchedule() const {
    return std::any_of(normalWeek_.begin(), normalWeek_.end(),
                       [](const auto& day) { return day != nullptr; });
}

bool KSSchedule::isIdenticalToTopLevelSchedule() const {
    if (isTopLevelSchedule()) return true;
    if (isCustomSchedule()) return false;
    return inheritedSchedule_->isIdenticalToTopLevelSchedule();
}

bool KSSchedule::hasScheduledDays() {
    return !exceptions_.empty() || totalDurationForNormalWeek() > 0.0;
}

// --- The week ------------------------------------------------------------------------------

int KSSchedule::workingDaysForNormalWeek() {
    if (workingDaysForNormalWeek_ < 0) {
        int count = 0;
        for (int w = 0; w < 7; ++w) {
            if (normalScheduleForDayOfTheWeek(w)->totalDuration() > 0.0) ++count;
        }
        workingDaysForNormalWeek_ = count;
    }
    return workingDaysForNormalWeek_;
}

double KSSchedule::totalDurationForNormalWeek() {
    if (totalDurationForNormalWeek_ < 0.0) {
        double total = 0.0;
        for (int w = 0; w < 7; ++w)
            total += normalScheduleForDayOfTheWeek(w)->totalDuration();
        totalDurationForNormalWeek_ = total;
    }
    return totalDurationForNormalWeek_;
}

double KSSchedule::proportionOfDateThroughNormalWeek(const KSDateTime& date) {
    int w = date.weekday();
    double before = 0.0;
    for (int d = 0; d < w; ++d)
        before += normalScheduleForDayOfTheWeek(d)->totalDuration();
    before += normalScheduleForDayOfTheWeek(w)->remainingHoursBeforeDate(date);
    return before / totalDurationForNormalWeek();
}

KSDateTime KSSchedule::dateWithProportionThroughNormalWeek(double proportion,
                                                           const KSDateTime& date) {
    if (!std::isfinite(proportion) || date.isNull()) return date;
    double left = totalDurationForNormalWeek() * proportion;
    int w = 0;
    for (; w < 6; ++w) {
        double total = normalScheduleForDayOfTheWeek(w)->totalDuration();
        if (total >= left) break;
        left -= total;
    }
    KSDateTime day(date.dayNumber() - date.weekday() + w, 0.0);
    return normalScheduleForDayOfTheWeek(w)->dateForDurationAfterStartOnDate(left, day);
}

bool KSSchedule::hasNoWork() {
    KSDateTime start = startOfSchedule();
    KSDateTime end = endOfSchedule();
    if (!start.isNull() && !end.isNull() && !start.isEarlierThanDate(end)) return true;
    if (totalDurationForNormalWeek() > 0.0) return false;
    const auto& all = exceptions();
    return std::none_of(all.begin(), all.end(),
                        [](const auto& day) { return day->totalDuration() != 0.0; });
}

bool KSSchedule::isDateWorkingDate(const KSDateTime& date) const {
    return !scheduleForDay(date)->timeSpans().empty();
}

// --- Bounds --------------------------------------------------------------------------------

KSDateTime KSSchedule::startOfSchedule() const {
    for (const KSSchedule* s = this; s; s = s->inheritedSchedule_.get()) {
        if (!s->startOfSchedule_.isNull()) return s->startOfSchedule_;
    }
    return {};
}

KSDateTime KSSchedule::endOfSchedule() const {
    for (const KSSchedule* s = this; s; s = s->inheritedSchedule_.get()) {
        if (!s->endOfSchedule_.isNull()) return s->endOfSchedule_;
    }
    return {};
}

void KSSchedule::setStartOfSchedule(const KSDateTime& date) {
    if (date.isIdenticalTo(startOfSchedule_)) return;
    beginScheduleChanges();
    KSDateTime old = startOfSchedule_;
    registerUndo([old](KSSchedule& s) { s.setStartOfSchedule(old); });
    willChangeValueForKey("startOfSchedule");
    startOfSchedule_ = date;
    didChangeValueForKey("startOfSchedule");
    finishedScheduleChanges();
}

void KSSchedule::setEndOfSchedule(const KSDateTime& date) {
    if (date.isIdenticalTo(endOfSchedule_)) return;
    beginScheduleChanges();
    KSDateTime old = endOfSchedule_;
    registerUndo([old](KSSchedule& s) { s.setEndOfSchedule(old); });
    willChangeValueForKey("endOfSchedule");
    endOfSchedule_ = date;
    didChangeValueForKey("endOfSchedule");
    finishedScheduleChanges();
}

// --- Days ----------------------------------------------------------------------------------

void KSSchedule::_setCustomScheduleForDayOfTheWeek(int weekday,
                                                   std::shared_ptr<KSScheduledDay> day) {
    int w = slot(weekday);
    std::shared_ptr<KSScheduledDay> old = normalWeek_[w];
    if (old == day) return;
    registerUndo([w, old](KSSchedule& s) { s._setCustomScheduleForDayOfTheWeek(w, old); });
    if (old) old->setSchedule(nullptr);
    if (day) day->setSchedule(this);
    normalWeek_[w] = std::move(day);
    dropCaches();
}

std::shared_ptr<KSScheduledDay> KSSchedule::addNewScheduleForDayOfTheWeek(int weekday) {
    int w = slot(weekday);
    if (normalWeek_[w]) return normalWeek_[w];
    auto day = normalScheduleForDayOfTheWeek(w)->copy();
    day->setDayNumber(0);
    _setCustomScheduleForDayOfTheWeek(w, day);
    return day;
}

void KSSchedule::removeScheduleForDayOfTheWeek(int weekday) {
    _setCustomScheduleForDayOfTheWeek(weekday, nullptr);
    scheduleDidChangeForDay(nullptr);
}

void KSSchedule::_removeCustomScheduleForDayOfTheWeek(int weekday) {
    _setCustomScheduleForDayOfTheWeek(weekday, nullptr);
}

std::shared_ptr<KSScheduledDay> KSSchedule::scheduleForDay(const KSDateTime& date) const {
    std::int64_t n = date.dayNumber();
    KSDateTime start = startOfSchedule();
    KSDateTime end = endOfSchedule();
    if ((!start.isNull() && start.dayNumber() > n) || (!end.isNull() && end.dayNumber() < n)) {
        return KSScheduledDay::sharedNonWorkingDay();
    }
    const auto& all = exceptions();
    auto place = std::lower_bound(all.begin(), all.end(), n, dayNumberLess);
    if (place != all.end() && (*place)->dayNumber() == n) return *place;
    return normalScheduleForDayOfTheWeek(date.weekday());
}

// --- Exceptions ----------------------------------------------------------------------------

const std::vector<std::shared_ptr<KSScheduledDay>>& KSSchedule::exceptions() const {
    if (!inheritedSchedule_) return exceptions_;
    if (allExceptionsValid_) return allExceptions_;
    allExceptions_ = inheritedSchedule_->exceptions();
    for (auto it = exceptions_.rbegin(); it != exceptions_.rend(); ++it) {
        auto place = std::lower_bound(allExceptions_.begin(), allExceptions_.end(),
                                      (*it)->dayNumber(), dayNumberLess);
        if (place != allExceptions_.end() && (*place)->dayNumber() == (*it)->dayNumber()) {
            *place = *it;
        } else {
            allExceptions_.insert(place, *it);
        }
    }
    allExceptionsValid_ = true;
    return allExceptions_;
}

std::shared_ptr<KSScheduledDay> KSSchedule::dayStandingInPlaceOf(const KSDateTime& date) const {
    std::shared_ptr<KSScheduledDay> base =
        inheritedSchedule_ ? inheritedSchedule_->scheduleForDay(date) : nullptr;
    if (!base || base->isNormalDay()) base = normalScheduleForDayOfTheWeek(date.weekday());
    return base;
}

std::shared_ptr<KSScheduledDay> KSSchedule::addExceptionalScheduleForDay(const KSDateTime& date) {
    if (date.isNull()) return nullptr;
    std::int64_t n = date.dayNumber();
    if (!startOfSchedule_.isNull() && startOfSchedule_.dayNumber() > n) return nullptr;
    if (!endOfSchedule_.isNull() && endOfSchedule_.dayNumber() < n) return nullptr;
    auto place = std::lower_bound(exceptions_.begin(), exceptions_.end(), n, dayNumberLess);
    if (place != exceptions_.end() && (*place)->dayNumber() == n) return *place;
    auto day = dayStandingInPlaceOf(KSDateTime(n, 0.0))->copy();
    day->setSchedule(this);
    day->setDayNumber(n);
    exceptions_.insert(place, day);
    allExceptionsValid_ = false;
    allExceptions_.clear();
    return day;
}

void KSSchedule::removeExceptionalScheduleForDate(const KSDateTime& date) {
    if (date.isNull()) return;
    auto place =
        std::lower_bound(exceptions_.begin(), exceptions_.end(), date.dayNumber(), dayNumberLess);
    if (place == exceptions_.end() || (*place)->dayNumber() != date.dayNumber()) return;
    removeExceptionalScheduleForDay(*place);
}

std::vector<std::shared_ptr<KSScheduledDay>>::iterator KSSchedule::_placeOfException(
    const KSScheduledDay* day) {
    // By day number: applying a calendar reports each of thousands of days.
    auto place =
        std::lower_bound(exceptions_.begin(), exceptions_.end(), day->dayNumber(), dayNumberLess);
    if (place != exceptions_.end() && place->get() == day) return place;
    return exceptions_.end();
}

void KSSchedule::removeExceptionalScheduleForDay(const std::shared_ptr<KSScheduledDay>& day) {
    if (!day) return;
    auto it = _placeOfException(day.get());
    if (it == exceptions_.end()) return;
    std::shared_ptr<KSScheduledDay> removed = *it;
    exceptions_.erase(it);
    removed->setSchedule(nullptr);
    allExceptionsValid_ = false;
    allExceptions_.clear();
}

void KSSchedule::scheduleDidChangeForDay(KSScheduledDay* day) {
    if (!day) return;
    // The week's totals depend on the day even when the change is not bracketed.
    dropCaches();
    for (int w = 0; w < 7; ++w) {
        if (normalWeek_[w].get() != day) continue;
        if (inheritedSchedule_ &&
            day->isEqualToScheduledDay(*inheritedSchedule_->normalScheduleForDayOfTheWeek(w))) {
            _setCustomScheduleForDayOfTheWeek(w, nullptr);
        }
        // The exceptions made from this day must be made again.
        calendarsDidChange_ = true;
        return;
    }
    auto exception = _placeOfException(day);
    if (exception == exceptions_.end()) return;
    if (day->isEqualToScheduledDay(*dayStandingInPlaceOf(day->date()))) {
        removeExceptionalScheduleForDay(std::shared_ptr<KSScheduledDay>(*exception));
    }
}

void KSSchedule::setAssignmentTimeSpentForTask(KSTask& task) {
    // Each resource spends the effort divided by its efficiency; materials and idle
    // resources spend none, and a group's time is its specifics'.
    double effort = task.effort();
    for (const auto& assignment : task.assignments()) {
        KSResource* resource = assignment->resource();
        if (!resource || resource->isMaterial() || !(resource->efficiency() > 0.0)) {
            assignment->setTimeSpent(0.0);
            continue;
        }
        if (assignment->specificAssignments()) {
            assignment->setTimeSpent(0.0);
            for (const auto& specific : *assignment->specificAssignments()) {
                KSResource* member = specific->resource();
                double efficiency = member ? member->efficiency() : 0.0;
                specific->setTimeSpent(efficiency > 0.0 ? effort / efficiency : 0.0);
            }
            continue;
        }
        assignment->setTimeSpent(effort / resource->efficiency());
    }
}

}  // namespace kestrum
