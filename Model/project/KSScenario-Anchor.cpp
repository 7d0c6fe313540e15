// KSScenario: the plan's anchor date, generic dates, day indexes, roll-ups, and new tasks
// and resources made from prototypes.
//
// A plan is anchored at its start (tasks schedule forward) or at its end (backward). The
// anchor date is stored in `fixedDate_`; null means generic dates, the fixed week of
// genericStartDate to genericEndDate. The start and end setters are deliberately not
// mirror images: the end side shifts the plan even by 0 days, and announces its side
// change after the shift and before the generic-date change.
#include <cmath>

#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/project/KSScenarioPlaceholder.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSLocalCalendar.h"
#include "Model/worktime/KSSchedule.h"
#include "Model/worktime/KSStringAdditions.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

namespace {

bool isUndoingOrRedoing(const KSUndoManager* um) {
    return um && um->isUndoingOrRedoing();
}

// Moves every stored date of the plan by `days`. The anchor setter's own undo call moves
// the plan back, so the constraint setters record nothing here: recording them too would
// move the constraints twice on undo.
void shiftPlan(KSTask& root, std::int64_t days, KSUndoManager* um) {
    if (um) um->disableUndoRegistration();
    root.projectStartWillChangeBy(days);
    if (um) um->enableUndoRegistration();
}

}  // namespace

// --- Generic dates -----------------------------------------------------------------------------

KSDateTime KSScenario::genericStartDate() {
    // Made once from the calendar and kept: 1 January 2001 (day 0, a Monday) at 0:00.
    static const KSDateTime date(KSLocalCalendar::dayNumberOfCivilDate(2001, 1, 1), 0.0);
    return date;
}

KSDateTime KSScenario::genericEndDate() {
    static const KSDateTime date(KSLocalCalendar::dayNumberOfCivilDate(2001, 1, 5),
                                 23 * 3600.0 + 59 * 60.0 + 59.0);
    return date;
}

// --- Getters -----------------------------------------------------------------------------------

KSDateTime KSScenario::fixedDate() const {
    if (!fixedDate_.isNull()) return fixedDate_;
    return hasFixedEndDate_ ? genericEndDate() : genericStartDate();
}

void KSScenario::setFixedDate(const KSDateTime& date) {
    if (hasFixedEndDate_) {
        setEndDate(date);
    } else {
        setStartDate(date);
    }
}

KSDateTime KSScenario::startDate() const {
    if (hasFixedEndDate_) return rootTask_ ? rootTask_->startDate() : KSDateTime();
    return fixedDate_.isNull() ? genericStartDate() : fixedDate_;
}

KSDateTime KSScenario::endDate() const {
    if (!hasFixedEndDate_) return rootTask_ ? rootTask_->endDate() : KSDateTime();
    return fixedDate_.isNull() ? genericEndDate() : fixedDate_;
}

// --- Anchor setters ----------------------------------------------------------------------------

void KSScenario::setStartDate(const KSDateTime& date) {
    const bool wasEnd = hasFixedEndDate_;
    // Two nulls count as equal here: asking a generic start-anchored plan for generic
    // dates again changes nothing and records nothing.
    if (!wasEnd && date == fixedDate_) return;
    const KSDateTime old = fixedDate_;
    if (wasEnd) {
        registerUndo<KSScenario>([old](KSScenario& s) { s.setEndDate(old); });
    } else {
        registerUndo<KSScenario>([old](KSScenario& s) { s.setStartDate(old); });
    }
    setUndoActionName("Set Scenario Start Date");
    const bool genericChanged =
        date.isNull() != old.isNull() || (date.isNull() && old.isNull() && wasEnd);
    const std::int64_t newDay = (date.isNull() ? genericStartDate() : date).dayNumber();
    const KSDateTime oldStart = startDate();

    willChangeValueForKey("startDate");
    if (wasEnd) willChangeValueForKey("hasFixedEndDate");
    fixedDate_ = date;
    // Only a move between generic and real dates carries the plan along: a real anchor
    // moved to another real date leaves every constraint on its calendar date.
    if (rootTask_ && !oldStart.isNull() && newDay != oldStart.dayNumber() && genericChanged &&
        !isLoading()) {
        willChangeValueForKey("hasGenericDates");
        shiftPlan(*rootTask_, newDay - oldStart.dayNumber(), undoManager());
        // The constraint setters named the group too; the user changed the anchor.
        setUndoActionName("Set Scenario Start Date");
    }
    hasFixedEndDate_ = false;
    if (rootTask_) rootTask_->invalidateAllDates();
    projectDidChange();
    if (genericChanged) {
        // Sent even when the shift above sent no will-change: the pair stays unbalanced.
        didChangeValueForKey("hasGenericDates");
        if (!isUndoingOrRedoing(undoManager())) _resetDatesForAllScenarios();
    }
    if (wasEnd) didChangeValueForKey("hasFixedEndDate");
    didChangeValueForKey("startDate");
}

void KSScenario::setEndDate(const KSDateTime& date) {
    const bool wasStart = !hasFixedEndDate_;
    if (!wasStart && date == fixedDate_) return;
    const KSDateTime old = fixedDate_;
    if (wasStart) {
        registerUndo<KSScenario>([old](KSScenario& s) { s.setStartDate(old); });
    } else {
        registerUndo<KSScenario>([old](KSScenario& s) { s.setEndDate(old); });
    }
    setUndoActionName("Set Scenario End Date");
    const bool genericChanged =
        date.isNull() != old.isNull() || (date.isNull() && old.isNull() && wasStart);
    const std::int64_t newDay = (date.isNull() ? genericEndDate() : date).dayNumber();
    const KSDateTime oldEnd = endDate();

    willChangeValueForKey("endDate");
    fixedDate_ = date;
    // Unlike the start side, the plan is shifted whenever it goes between generic and
    // real dates, even by 0 days.
    if (rootTask_ && !oldEnd.isNull() && genericChanged && !isLoading()) {
        willChangeValueForKey("hasGenericDates");
        shiftPlan(*rootTask_, newDay - oldEnd.dayNumber(), undoManager());
        setUndoActionName("Set Scenario End Date");
    }
    if (wasStart) willChangeValueForKey("hasFixedEndDate");
    hasFixedEndDate_ = true;
    if (rootTask_) rootTask_->invalidateAllDates();
    projectDidChange();
    // The side change is announced before the generic-date change here.
    if (wasStart) didChangeValueForKey("hasFixedEndDate");
    if (genericChanged) {
        didChangeValueForKey("hasGenericDates");
        if (!isUndoingOrRedoing(undoManager())) _resetDatesForAllScenarios();
    }
    didChangeValueForKey("endDate");
}

void KSScenario::setHasFixedEndDate(bool flag) {
    if (flag == hasFixedEndDate_) return;
    if (rootTask_) rootTask_->clearLevelingForTasks(nullptr);
    const KSScheduleType type = flag ? scheduleTypeALAP : scheduleTypeASAP;
    if (prototypeTask_) prototypeTask_->setScheduleType(type);
    if (prototypeMilestone_) prototypeMilestone_->setScheduleType(type);
    // The date is read before the side changes, so the plan stays where it stands.
    if (flag) {
        setEndDate(hasGenericDates() ? KSDateTime() : endDate());
    } else {
        setStartDate(hasGenericDates() ? KSDateTime() : startDate());
    }
}

void KSScenario::setHasGenericDates(bool flag) {
    if (flag == hasGenericDates()) return;
    registerUndo<KSScenario>([old = !flag](KSScenario& s) { s.setHasGenericDates(old); });
    KSDateTime date;
    if (!flag) {
        // The start of today's work; the same moment serves an end anchor.
        KSDateTime today = KSDateTime::today();
        std::shared_ptr<KSScheduledDay> day =
            schedule() ? schedule()->scheduleForDay(today) : nullptr;
        date = day ? day->dateForDurationAfterStartOnDate(0.0, today)
                   : today.dateWithTimeOnSameDay(0.0);
    }
    setFixedDate(date);
    // Named after the date setter, which names the action too: the user changed this.
    setUndoActionName("Set Generic Dates");
}

void KSScenario::_resetDatesForAllScenarios() {
    if (isLoading() || !nonretainedProject_) return;
    const bool generic = hasGenericDates();
    // A copy: loading a baseline may change the list's storage.
    const KSScenarioPlaceholderList holders = nonretainedProject_->scenarioPlaceholders();
    for (const auto& holder : holders) {
        KSScenario* other = holder->scenarioInProject(*nonretainedProject_);
        if (!other || other->hasGenericDates() == generic) continue;
        // That setter runs the same walk, so the change travels down the list.
        if (hasFixedEndDate_) {
            other->setEndDate(fixedDate_);
        } else {
            other->setStartDate(fixedDate_);
        }
        return;
    }
}

// --- Day indexes -------------------------------------------------------------------------------

std::int64_t KSScenario::dayIndexOfDate(const KSDateTime& date) const {
    const KSDateTime base = hasFixedEndDate_ ? endDate() : startDate();
    const std::shared_ptr<KSSchedule>& week = schedule();
    if (date.isNull() || base.isNull() || !week) return 0;
    const int wd = date.weekday();
    const int bw = base.weekday();
    auto works = [&week](int weekday) {
        return week->normalScheduleForDayOfTheWeek(weekday)->totalDuration() != 0.0;
    };
    // c: the working weekdays between the date's weekday and the base's, so that whole
    // weeks can be counted from the same weekday.
    std::int64_t c = 0;
    if (bw >= wd) {
        for (int i = wd; i < bw; ++i)
            c += works(i) ? 1 : 0;
    } else {
        for (int i = wd; i > bw; --i)
            c -= works(i) ? 1 : 0;
    }
    const std::int64_t weeks = (date.dayNumber() - base.dayNumber() + bw - wd) / 7;
    return weeks * week->workingDaysForNormalWeek() - c;
}

KSDateTime KSScenario::dateWithDayIndexAndHourOfDay(std::int64_t dayIndex, float hourOfDay) const {
    const KSDateTime base = hasFixedEndDate_ ? endDate() : startDate();
    const std::shared_ptr<KSSchedule>& week = schedule();
    if (base.isNull() || !week) return {};
    // A week without a working day has no day with an index: the answer is null rather
    // than a division by 0 and a walk that never ends.
    const std::int64_t perWeek = week->workingDaysForNormalWeek();
    if (perWeek <= 0) return {};
    std::int64_t day = base.dayNumber() + (dayIndex / perWeek) * 7;
    std::int64_t r = dayIndex % perWeek;
    const std::int64_t s = r > 0 ? 1 : -1;
    int w = base.weekday();
    while (r != 0) {
        if (week->normalScheduleForDayOfTheWeek(w)->totalDuration() != 0.0) r -= s;
        day += s;
        w = static_cast<int>(((w + s) % 7 + 7) % 7);
    }
    // The hour is a float and so is its product, as callers pass hours of a time field.
    return KSDateTime(day, static_cast<double>(hourOfDay * 3600.0f));
}

// --- Roll-ups ----------------------------------------------------------------------------------

double KSScenario::completed() const {
    return rootTask_ ? rootTask_->completed() : 0.0;
}

double KSScenario::duration() const {
    return rootTask_ ? rootTask_->duration() : 0.0;
}

double KSScenario::effort() const {
    return rootTask_ ? rootTask_->effort() : 0.0;
}

const std::shared_ptr<KSSchedule>& KSScenario::schedule() const {
    static const std::shared_ptr<KSSchedule> none;
    return rootResource_ ? rootResource_->schedule() : none;
}

void KSScenario::copySchedule(const KSSchedule& schedule) {
    if (rootResource_) rootResource_->copySchedule(schedule);
}

void KSScenario::planScheduleDidChange() {
    if (!rootTask_ || flags_.isInvalid) return;
    // The plan's calendar feeds every task: unassigned ones work by it, durations, lead
    // times and the anchor are measured in it, and every resource's calendar inherits
    // from it. So the whole tree is invalidated from the root, not only the unassigned
    // tasks.
    rootTask_->enumerateObjectsUsingBlock(
        [](KSProjectItem& item, bool*) { static_cast<KSTask&>(item).invalidateSchedule(); });
    rootTask_->invalidateAllDates();
    projectDidChange();
}

// --- New tasks ---------------------------------------------------------------------------------

double KSScenario::defaultTaskEffortIgnorePrototype(bool ignorePrototype) const {
    if (prototypeTask_ && !ignorePrototype) return prototypeTask_->effort();
    const KSTimeSpanFormatter* formatter =
        nonretainedProject_ ? nonretainedProject_->sharedEffortFormatter().get() : nullptr;
    if (!formatter) return KSDefaultTaskEffort;
    return static_cast<double>(formatter->hoursPerDay()) * 3600.0;
}

std::shared_ptr<KSTask> KSScenario::newTaskOfType(KSTaskType type) {
    return newTaskOfTypeIgnorePrototype(type, false);
}

std::shared_ptr<KSTask> KSScenario::newTaskOfTypeIgnorePrototype(KSTaskType type,
                                                                 bool ignorePrototype) {
    const KSScheduleType direction = hasFixedEndDate_ ? scheduleTypeALAP : scheduleTypeASAP;
    std::shared_ptr<KSTask> task;
    const char* titleKey = nullptr;
    const char* titleDefault = nullptr;
    switch (type) {
        case taskTypeTask:
            titleKey = "Default Task Title";
            titleDefault = "Task 1";
            if (prototypeTask_ && !ignorePrototype) {
                task = prototypeTask_->copy();
            } else {
                task = std::make_shared<KSTask>();
                task->setEffort(defaultTaskEffortIgnorePrototype(ignorePrototype));
                task->setScheduleType(direction);
            }
            break;
        case taskTypeMilestone:
            titleKey = "Default Milestone Title";
            titleDefault = "Milestone 1";
            if (prototypeMilestone_ && !ignorePrototype) {
                task = prototypeMilestone_->copy();
            } else {
                task = std::make_shared<KSTask>();
                task->setTaskType(taskTypeMilestone);
                task->setScheduleType(direction);
            }
            break;
        case taskTypeGroup:
            titleKey = "Default Group Title";
            titleDefault = "Group 1";
            if (prototypeTaskGroup_ && !ignorePrototype) {
                task = prototypeTaskGroup_->copy();
            } else {
                task = std::make_shared<KSTask>();
                task->setIsGroup(true);
            }
            break;
        case taskTypeHammock:
            break;
    }
    if (!task) return nullptr;
    std::string wanted = task->title().value_or(KSLocalizedString(titleKey, titleDefault));
    KSTaskList tasks = rootTask_ ? rootTask_->allTasksButSelf() : KSTaskList();
    task->setTitle(KSUniquifyName(
        wanted, tasks, [](const std::shared_ptr<KSTask>& t) { return t->title().value_or(""); }));
    return task;
}

std::shared_ptr<KSTask> KSScenario::newPrototypeFromTask(const KSTask& task) {
    KSUndoManager* um = undoManager();
    if (um) um->disableUndoRegistration();
    auto prototype = std::make_shared<KSTask>();
    prototype->setIsPrototype(true);
    prototype->setScenario(this);
    // A failed write or read leaves the prototype as far as it was read.
    task.copyIntoTaskIncludingSubtasks(*prototype, false);
    if (um) um->enableUndoRegistration();
    return prototype;
}

// --- New resources -----------------------------------------------------------------------------

std::shared_ptr<KSResource> KSScenario::newResourceOfType(int typeRank) {
    const std::shared_ptr<KSResource>* prototype = nullptr;
    switch (typeRank) {
        case 0:
            prototype = &prototypeStaffResource_;
            break;
        case 1:
            prototype = &prototypeEquipmentResource_;
            break;
        case 2:
            prototype = &prototypeMaterialResource_;
            break;
        case 3:
            prototype = &prototypeResourceGroup_;
            break;
        default:
            break;
    }
    if (prototype && *prototype) {
        std::shared_ptr<KSResource> resource = newResourceFromPrototype(**prototype);
        if (resource) uniquifyResourceName(*resource);
        return resource;
    }
    auto resource = std::make_shared<KSResource>();
    resource->setResourceTypeRank(typeRank);
    return resource;
}

std::shared_ptr<KSResource> KSScenario::newResourceFromPrototype(const KSResource& prototype) {
    std::shared_ptr<KSResource> resource = prototype.copy();
    if (!resource) return nullptr;
    resource->setIsPrototype(false);
    resource->setScenario(this);
    return resource;
}

void KSScenario::uniquifyResourceName(KSResource& resource) {
    std::string wanted =
        resource.name().value_or(resource.resourceTypeRank() == KSResourceTypeRankGroup
                                     ? KSLocalizedString("Default Resource Group Title", "Group 1")
                                     : KSLocalizedString("Default Resource Title", "Resource 1"));
    KSProjectItemList others;
    if (rootResource_) {
        for (const auto& item : rootResource_->allItemsButSelf()) {
            if (item.get() != &resource) others.push_back(item);
        }
    }
    resource.setName(KSUniquifyName(wanted, others, [](const std::shared_ptr<KSProjectItem>& r) {
        return static_cast<const KSResource&>(*r).name().value_or("");
    }));
}

}  // namespace kestrum
