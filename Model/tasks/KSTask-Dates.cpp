// KSTask: cached dates, their invalidation, and recomputation in the edit cycle.
//
// Every date is a cache filled on reading. An invalidation clears one cache, marks the
// task for the scenario's next recomputation and walks outward along fixed rules; an
// already empty cache stops the walk, since nothing computed can hang from it. The
// getters here place tasks by their locks, constraints, links, groups and chunks in the
// plan's working time; leveled dates and lead times take part once the leveling and
// link arithmetic join them.
#include <algorithm>

#include "Model/engine/KSIssue.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/core/KSNotificationCenter.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

namespace {

// A derived end lies at most this many days from the other end.
constexpr std::int64_t kMaximumSpanDays = 7305;

bool earlier(const KSDateTime& a, const KSDateTime& b) {
    return !a.isNull() && !b.isNull() && a.compare(b) < 0;
}

}  // namespace

// --- Schedule type ------------------------------------------------------------------------------

KSScheduleType KSTask::scheduleType() const {
    // A group follows the plan's anchor.
    if (_isGroupTask()) return _planHasFixedEndDate() ? scheduleTypeALAP : scheduleTypeASAP;
    return scheduleType_;
}

void KSTask::setScheduleType(KSScheduleType type) {
    if (!_isUndoingOrRedoing() && !flags_.isLoading) {
        if (flags_.isSplitChunk) {
            KSTask* next = nextSplitChunk();
            KSTask* previous = previousSplitChunk();
            if (type != scheduleTypeASAP) {
                if (next) {
                    setNoLaterThanConstraintDate(next->endDate());
                    setNoLaterThanConstrainedTaskEnd(KSConstrainedTaskEndEnd);
                }
                if (previous) setNoLaterThanConstraintDate(KSDateTime());
            } else {
                if (previous) {
                    setNoEarlierThanConstraintDate(previous->startDate());
                    setNoEarlierThanConstrainedTaskEnd(KSConstrainedTaskEndStart);
                }
                // The no-later date is cleared here too, as on the other branch.
                if (next) setNoLaterThanConstraintDate(KSDateTime());
            }
        }
        if (isSplitTask_) delaySplitRejoining();
        KSTaskList children;
        _childrenTasks(children);
        for (const auto& child : children)
            child->setScheduleType(type);
    }
    if (scheduleType_ == type || children()) return;
    registerUndo<KSTask>([old = scheduleType_](KSTask& t) { t.setScheduleType(old); });
    willChangeValueForKey("scheduleType");
    scheduleType_ = type;
    didChangeValueForKey("scheduleType");
    setResourceLeveledDate(KSDateTime());
    invalidateStartDate();
    invalidateEndDate();
}

// --- Work time
// ------------------------------------------------------------------------------------

KSScheduling* KSTask::scenarioSchedule() const {
    return KSSchedule::standardWorkHours().get();
}

KSScheduling* KSTask::schedule() const {
    // Without assignments a task works in the plan's time.
    return scenarioSchedule();
}

KSDateTime KSTask::endDateForStartDate(const KSDateTime& start) {
    if (start.isNull()) return start;
    if (_isGroupTask()) {
        KSDateTime result = start;
        KSTaskList children;
        _childrenTasks(children);
        for (const auto& child : children)
            result = KSDateTime::laterDate(result, child->endDateForStartDate(start));
        return result;
    }
    if (effort_ == 0.0) return start;
    if (isHammockTask()) return endDate();
    return schedule()->endDateForStartDateAndEffort(start, effort_);
}

KSDateTime KSTask::startDateForEndDate(const KSDateTime& end) {
    if (end.isNull()) return end;
    if (_isGroupTask()) {
        KSDateTime result = end;
        KSTaskList children;
        _childrenTasks(children);
        for (const auto& child : children)
            result = KSDateTime::earlierDate(result, child->startDateForEndDate(end));
        return result;
    }
    if (effort_ == 0.0) return end;
    if (isHammockTask()) return startDate();
    return schedule()->startDateForEndDateAndEffort(end, effort_);
}

KSDateTime KSTask::_normalizedNoEarlierDate() {
    if (noEarlierThanEnd_ == KSConstrainedTaskEndEnd)
        return startDateForEndDate(noEarlierThanConstraintDate_);
    return noEarlierThanConstraintDate_;
}

KSDateTime KSTask::_normalizedNoLaterDate() {
    if (noLaterThanEnd_ == KSConstrainedTaskEndStart)
        return endDateForStartDate(noLaterThanConstraintDate_);
    return noLaterThanConstraintDate_;
}

// --- Limits
// ---------------------------------------------------------------------------------------

KSDateTime KSTask::_currentStartLimitIgnoringDependencies() {
    KSDateTime limit;
    if (KSTask* p = parentTask()) {
        limit = p->isStartDateLocked() ? p->startLockedDate() : p->currentStartLimit();
    } else {
        limit = _planHasFixedEndDate() ? latestPossibleStart() : _planStartDate();
    }
    limit = KSDateTime::laterDate(limit, _normalizedNoEarlierDate());
    if (KSTask* previous = previousSplitChunk())
        limit = KSDateTime::laterDate(limit, previous->endDate());
    return limit;
}

KSDateTime KSTask::currentStartLimit() {
    if (!currentStartLimit_.isNull()) return currentStartLimit_;
    KSDateTime limit = _currentStartLimitIgnoringDependencies();
    for (const auto& link : prerequisites_) {
        KSTask* before = link->prerequisite();
        if (!link->isActive() || !before) continue;
        if (isHammockTask() && link->dependentAlignedToEnd()) continue;
        KSDateTime bound =
            link->prerequisiteAlignedToEnd() ? before->endDate() : before->startDate();
        if (link->dependentAlignedToEnd() && !isHammockTask()) bound = startDateForEndDate(bound);
        limit = KSDateTime::laterDate(limit, bound);
    }
    if ((isStandardTask() || flags_.isSplitChunk) && effort_ > 0.0)
        limit = schedule()->adjustDateForUseAsStartDate(limit);
    currentStartLimit_ = limit;
    currentStartLimitExcludingOppositeScheduling_ = limit;
    return limit;
}

KSDateTime KSTask::_currentEndLimitIgnoringDependencies() {
    KSDateTime limit;
    if (isStartDateLocked() || isEndDateLocked()) {
        limit = endDate();
    } else if (isHammockTask() && scenario() && scenario()->rootTask()) {
        limit = scenario()->rootTask()->currentEndLimit();
    } else if (KSTask* p = parentTask()) {
        limit = p->currentEndLimit();
    } else {
        limit = _planHasFixedEndDate() ? _planEndDate() : earliestPossibleEnd();
    }
    limit = KSDateTime::earlierDate(limit, _normalizedNoLaterDate());
    if (KSTask* next = nextSplitChunk()) limit = KSDateTime::earlierDate(limit, next->startDate());
    return limit;
}

KSDateTime KSTask::currentEndLimit() {
    if (!currentEndLimit_.isNull()) return currentEndLimit_;
    KSDateTime limit;
    if (isHammockTask()) {
        // A hammock's end is pulled by its end-aligned prerequisites.
        for (const auto& link : prerequisites_) {
            KSTask* before = link->prerequisite();
            if (!link->isActive() || !before || !link->dependentAlignedToEnd()) continue;
            limit = KSDateTime::laterDate(
                limit, link->prerequisiteAlignedToEnd() ? before->endDate() : before->startDate());
        }
        if (limit.isNull()) limit = _currentEndLimitIgnoringDependencies();
    } else {
        KSDateTime bound;
        for (const auto& link : dependents_) {
            KSTask* after = link->dependent();
            if (!link->isActive() || !after || after->isHammockTask()) continue;
            KSDateTime date = link->dependentAlignedToEnd() ? after->endDate() : after->startDate();
            if (!link->prerequisiteAlignedToEnd()) date = endDateForStartDate(date);
            bound = KSDateTime::earlierDate(bound, date);
        }
        limit = KSDateTime::earlierDate(bound, _currentEndLimitIgnoringDependencies());
    }
    if (isStandardTask() && effort_ > 0.0) limit = schedule()->adjustDateForUseAsEndDate(limit);
    currentEndLimit_ = limit;
    return limit;
}

KSDateTime KSTask::absoluteStartLimit() {
    if (!absoluteStartLimit_.isNull()) return absoluteStartLimit_;
    KSDateTime limit;
    if (KSTask* previous = previousSplitChunk()) {
        limit = previous->endDateForStartDate(previous->absoluteStartLimit());
    } else if (KSTask* p = parentTask()) {
        limit = p->absoluteStartLimit();
    } else {
        limit = _planHasFixedEndDate() ? latestPossibleStart() : _planStartDate();
    }
    if (isStartDateLocked() || isEndDateLocked()) limit = startDate();
    limit = KSDateTime::laterDate(limit, _normalizedNoEarlierDate());
    // The raw leveled date, even where it holds an end.
    if (isAsSoonAsPossible()) limit = KSDateTime::laterDate(limit, resourceLeveledDate_);
    for (const auto& link : prerequisites_) {
        KSTask* before = link->prerequisite();
        if (!link->isActive() || !before) continue;
        if (isHammockTask() && link->dependentAlignedToEnd()) continue;
        KSDateTime bound = before->absoluteStartLimit();
        if (link->prerequisiteAlignedToEnd()) bound = before->endDateForStartDate(bound);
        if (link->dependentAlignedToEnd() && !isHammockTask()) bound = startDateForEndDate(bound);
        limit = KSDateTime::laterDate(limit, bound);
    }
    if ((isStandardTask() || flags_.isSplitChunk) && effort_ > 0.0)
        limit = schedule()->adjustDateForUseAsStartDate(limit);
    absoluteStartLimit_ = limit;
    return limit;
}

KSDateTime KSTask::absoluteEndLimit() {
    if (!absoluteEndLimit_.isNull()) return absoluteEndLimit_;
    KSDateTime limit;
    if (KSTask* p = parentTask()) {
        limit = p->absoluteEndLimit();
    } else {
        limit = _planHasFixedEndDate() ? _planEndDate() : earliestPossibleEnd();
    }
    if (isStartDateLocked() || isEndDateLocked()) limit = endDate();
    limit = KSDateTime::earlierDate(limit, _normalizedNoLaterDate());
    for (const auto& link : dependents_) {
        KSTask* after = link->dependent();
        if (!link->isActive() || !after || after->isHammockTask()) continue;
        KSDateTime bound = after->absoluteEndLimit();
        if (!link->dependentAlignedToEnd()) bound = after->startDateForEndDate(bound);
        if (!link->prerequisiteAlignedToEnd()) bound = endDateForStartDate(bound);
        limit = KSDateTime::earlierDate(limit, bound);
    }
    if (isStandardTask() && effort_ > 0.0) limit = schedule()->adjustDateForUseAsEndDate(limit);
    absoluteEndLimit_ = limit;
    return limit;
}

KSDateTime KSTask::earliestPossibleEnd() {
    if (!earliestPossibleEnd_.isNull()) return earliestPossibleEnd_;
    KSDateTime result;
    KSTaskList children;
    _childrenTasks(children);
    if (isSplitTask_) {
        result = children.empty() ? absoluteStartLimit() : children.back()->earliestPossibleEnd();
    } else if (_isGroupTask()) {
        result = absoluteStartLimit();
        for (const auto& child : children)
            result = KSDateTime::laterDate(result, child->earliestPossibleEnd());
    } else if (isHammockTask()) {
        result = absoluteStartLimit();
    } else {
        result = endDateForStartDate(absoluteStartLimit());
    }
    earliestPossibleEnd_ = result;
    return result;
}

KSDateTime KSTask::latestPossibleStart() {
    if (!latestPossibleStart_.isNull()) return latestPossibleStart_;
    KSDateTime result;
    if (_isGroupTask() || isSplitTask_) {
        result = absoluteEndLimit();
        KSTaskList children;
        _childrenTasks(children);
        for (const auto& child : children)
            result = KSDateTime::earlierDate(result, child->latestPossibleStart());
    } else if (isHammockTask()) {
        result = absoluteEndLimit();
    } else {
        result = startDateForEndDate(absoluteEndLimit());
    }
    latestPossibleStart_ = result;
    return result;
}

// --- Start and end
// ---------------------------------------------------------------------------------

KSDateTime KSTask::startDate() {
    if (!startDate_.isNull()) return startDate_;
    KSDateTime date;
    KSTaskList children;
    _childrenTasks(children);
    auto emptyGroupDate = [this] {
        return isAsSoonAsPossible() ? currentStartLimit() : currentEndLimit();
    };
    if (isStartDateLocked()) {
        date = startLockedDate_;
    } else if (_isGroupTask()) {
        for (const auto& child : children)
            date = KSDateTime::earlierDate(date, child->startDate());
        if (children.empty()) date = emptyGroupDate();
    } else if (isSplitTask_) {
        date = children.empty() ? emptyGroupDate() : children.front()->startDate();
    } else if (isHammockTask()) {
        date = currentStartLimit();
    } else if (isAsLateAsPossible() || isEndDateLocked()) {
        KSDateTime end = endDate();
        date = schedule()->startDateForEndDateAndEffort(end, effort_);
        removeIssuesOfKind(KSIssue::maximumEffortIssueKind());
        if (!end.isNull() && !date.isNull() &&
            end.dayNumber() - date.dayNumber() > kMaximumSpanDays) {
            addIssue(std::make_shared<KSMaximumEffortExceededError>(this));
            date = end.dateByAddingDays(-kMaximumSpanDays);
        }
    } else if (!_planHasFixedEndDate()) {
        date = currentStartLimit();
    } else {
        date = absoluteStartLimit();
    }
    startDate_ = date;
    return date;
}

KSDateTime KSTask::endDate() {
    if (!endDate_.isNull()) return endDate_;
    KSDateTime date;
    KSTaskList children;
    _childrenTasks(children);
    auto emptyGroupDate = [this] {
        return isAsSoonAsPossible() ? currentStartLimit() : currentEndLimit();
    };
    if (isEndDateLocked()) {
        date = endLockedDate_;
    } else if (_isGroupTask()) {
        for (const auto& child : children)
            date = KSDateTime::laterDate(date, child->endDate());
        if (children.empty()) date = emptyGroupDate();
    } else if (isSplitTask_) {
        date = children.empty() ? emptyGroupDate() : children.back()->endDate();
    } else if (isHammockTask()) {
        KSDateTime limit = currentEndLimit();
        KSDateTime start = startDate();
        date = earlier(limit, start) ? start : limit;
    } else if (isAsSoonAsPossible() || isStartDateLocked()) {
        KSDateTime start = startDate();
        date = schedule()->endDateForStartDateAndEffort(start, effort_);
        removeIssuesOfKind(KSIssue::maximumEffortIssueKind());
        if (!start.isNull() && !date.isNull() &&
            date.dayNumber() - start.dayNumber() > kMaximumSpanDays) {
            addIssue(std::make_shared<KSMaximumEffortExceededError>(this));
            date = start.dateByAddingDays(kMaximumSpanDays);
        }
    } else if (_planHasFixedEndDate()) {
        date = currentEndLimit();
    } else {
        date = absoluteEndLimit();
    }
    endDate_ = date;
    return date;
}

KSDateTime KSTask::uncompletedStartDate() {
    if (isSplitTask_) {
        KSTaskList chunks;
        _childrenTasks(chunks);
        for (const auto& chunk : chunks) {
            if (chunk->completed() < 1.0) return chunk->uncompletedStartDate();
        }
        return endDate();
    }
    if (!uncompletedStartDate_.isNull()) return uncompletedStartDate_;
    KSDateTime start = startDate();
    KSDateTime date = start;
    double done = effortDone();
    if (done >= effort_ && effort_ > 0.0) {
        date = endDateForStartDate(start);
    } else if (done > 0.0) {
        date = schedule()->adjustDateForUseAsStartDate(
            schedule()->endDateForStartDateAndEffort(start, done));
    }
    date = KSDateTime::earlierDate(date, endDate());
    uncompletedStartDate_ = date;
    return date;
}

void KSTask::setResourceLeveledDate(const KSDateTime& date) {
    KSDateTime value = date;
    // Only a task with assignments keeps a leveled date.
    if (!flags_.isLoading && (value.isNull() || !hasAssignments())) value = KSDateTime();
    if (value.isNull() ? resourceLeveledDate_.isNull() : value.isEqualToDate(resourceLeveledDate_))
        return;
    willChangeValueForKey("resourceLeveledDate");
    registerUndo<KSTask>(
        [old = resourceLeveledDate_](KSTask& t) { t.setResourceLeveledDate(old); });
    resourceLeveledDate_ = value;
    didChangeValueForKey("resourceLeveledDate");
    if (value.isNull() && resourceLevelingDelay_ != 0.0) {
        willChangeValueForKey("resourceLevelingDelay");
        resourceLevelingDelay_ = 0.0;
        didChangeValueForKey("resourceLevelingDelay");
    }
    invalidateAbsoluteEndLimit();
    invalidateCurrentEndLimit();
    invalidateAbsoluteStartLimit();
    invalidateCurrentStartLimit();
}

void KSTask::resetAbsoluteLimitChangeFlags() {
    flags_.absoluteStartLimitDidChange = 0;
    flags_.absoluteEndLimitDidChange = 0;
}

// --- Invalidation --------------------------------------------------------------------------------

namespace {
// The dependent ends of the active links out of a task.
template <class F>
void forEachActiveDependent(const std::vector<std::shared_ptr<KSDependency>>& links, F&& f) {
    for (const auto& link : std::vector<std::shared_ptr<KSDependency>>(links)) {
        if (link->isActive() && link->dependent()) f(*link->dependent());
    }
}
}  // namespace

void KSTask::invalidateAbsoluteStartLimit() {
    flags_.absoluteStartLimitDidChange = 1;
    levelingStartLimit_ = KSDateTime();
    flags_.levelingStartLimitIsValid = 0;
    if (absoluteStartLimit_.isNull()) return;
    absoluteStartLimit_ = KSDateTime();
    _needsSchedulingRecomputation();
    invalidateEarliestPossibleEnd();
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        child->invalidateAbsoluteStartLimit();
    forEachActiveDependent(dependents_, [](KSTask& t) { t.invalidateAbsoluteStartLimit(); });
    if (_planHasFixedEndDate() && (isAsSoonAsPossible() || isHammockTask())) invalidateStartDate();
}

void KSTask::invalidateAbsoluteEndLimit() {
    flags_.absoluteEndLimitDidChange = 1;
    levelingEndLimit_ = KSDateTime();
    flags_.levelingEndLimitIsValid = 0;
    if (absoluteEndLimit_.isNull()) return;
    absoluteEndLimit_ = KSDateTime();
    _needsSchedulingRecomputation();
    invalidateLatestPossibleStart();
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        child->invalidateAbsoluteEndLimit();
    if (!_planHasFixedEndDate() && (isAsLateAsPossible() || isHammockTask())) invalidateEndDate();
}

void KSTask::invalidateEarliestPossibleEnd() {
    if (earliestPossibleEnd_.isNull()) return;
    earliestPossibleEnd_ = KSDateTime();
    _needsSchedulingRecomputation();
    if (KSTask* p = parentTask()) {
        p->invalidateEarliestPossibleEnd();
    } else {
        invalidateAbsoluteEndLimit();
        invalidateCurrentEndLimit();
    }
    forEachActiveDependent(dependents_, [](KSTask& t) { t.invalidateAbsoluteStartLimit(); });
}

void KSTask::invalidateLatestPossibleStart() {
    if (latestPossibleStart_.isNull()) return;
    latestPossibleStart_ = KSDateTime();
    _needsSchedulingRecomputation();
    if (KSTask* p = parentTask()) {
        p->invalidateLatestPossibleStart();
    } else {
        invalidateAbsoluteStartLimit();
        invalidateCurrentStartLimit();
    }
    // The link's dependent is this task itself: the prerequisite's own limit stays.
    for (const auto& link : std::vector<std::shared_ptr<KSDependency>>(prerequisites_)) {
        if (link->isActive() && link->dependent()) link->dependent()->invalidateAbsoluteEndLimit();
    }
}

void KSTask::invalidateCurrentStartLimit() {
    if (currentStartLimit_.isNull()) return;
    currentStartLimit_ = KSDateTime();
    currentStartLimitExcludingOppositeScheduling_ = KSDateTime();
    _needsSchedulingRecomputation();
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        child->invalidateCurrentStartLimit();
    if (!_planHasFixedEndDate() && (isAsSoonAsPossible() || isHammockTask())) invalidateStartDate();
}

void KSTask::invalidateCurrentEndLimit() {
    if (currentEndLimit_.isNull()) return;
    currentEndLimit_ = KSDateTime();
    _needsSchedulingRecomputation();
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        child->invalidateCurrentEndLimit();
    if (_planHasFixedEndDate() && (isAsLateAsPossible() || isHammockTask())) invalidateEndDate();
}

void KSTask::_postWillInvalidateDates() {
    if (_isGroupTask() || flags_.alreadySentDatesChangedNotification) return;
    KSNotificationCenter::defaultCenter().postNotificationName(
        KSTaskWillInvalidateDatesNotification, this);
}

void KSTask::invalidateStartDate() {
    uncompletedStartDate_ = KSDateTime();
    if (startDate_.isNull()) return;
    _postWillInvalidateDates();
    const bool nested = flags_.alreadySentDatesChangedNotification;
    flags_.alreadySentDatesChangedNotification = 1;
    startDate_ = KSDateTime();
    _needsSchedulingRecomputation();
    performSplitRejoining();
    for (const auto& link : std::vector<std::shared_ptr<KSDependency>>(prerequisites_)) {
        if (link->isActive() && link->prerequisite())
            link->prerequisite()->invalidateCurrentEndLimit();
    }
    if (isAsSoonAsPossible()) invalidateEndDate();
    if (KSTask* p = parentTask()) p->invalidateStartDate();
    flags_.alreadySentDatesChangedNotification = nested;
}

void KSTask::invalidateEndDate() {
    if (endDate_.isNull()) return;
    _postWillInvalidateDates();
    const bool nested = flags_.alreadySentDatesChangedNotification;
    flags_.alreadySentDatesChangedNotification = 1;
    endDate_ = KSDateTime();
    _needsSchedulingRecomputation();
    performSplitRejoining();
    forEachActiveDependent(dependents_, [](KSTask& t) { t.invalidateCurrentStartLimit(); });
    if (isAsLateAsPossible()) invalidateStartDate();
    if (KSTask* p = parentTask()) p->invalidateEndDate();
    flags_.alreadySentDatesChangedNotification = nested;
}

void KSTask::invalidateAllDates() {
    if ((!startDate_.isNull() || !endDate_.isNull()) && !_isGroupTask()) {
        KSNotificationCenter::defaultCenter().postNotificationName(
            KSTaskWillInvalidateDatesNotification, this);
    }
    flags_.absoluteStartLimitDidChange = 1;
    flags_.absoluteEndLimitDidChange = 1;
    // The leveling validity flags stay: a valid limit reads as null until a narrower
    // invalidation clears them.
    for (KSDateTime* cache : {&levelingStartLimit_, &levelingEndLimit_, &absoluteStartLimit_,
                              &earliestPossibleEnd_, &latestPossibleStart_, &absoluteEndLimit_,
                              &currentStartLimit_, &currentStartLimitExcludingOppositeScheduling_,
                              &currentEndLimit_, &endDate_, &startDate_, &uncompletedStartDate_}) {
        *cache = KSDateTime();
    }
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        child->invalidateAllDates();
    if (KSTask* p = parentTask()) {
        p->invalidateStartDate();
        p->invalidateEndDate();
    }
    _needsSchedulingRecomputation();
    performSplitRejoining();
}

// --- Edit cycle
// ------------------------------------------------------------------------------------

void KSTask::_needsSchedulingRecomputation() {
    KSScenario* owner = scenario();
    if (!owner || flags_.willRevalidateSchedule) return;
    flags_.willRevalidateSchedule = 1;
    owner->taskNeedsSchedulingRecomputation(*this);
}

void KSTask::_recomputeScheduling() {
    KSScenario* owner = scenario();
    if (!owner) return;
    startDate();
    endDate();
    currentStartLimit();
    currentEndLimit();
    earliestPossibleEnd();
    latestPossibleStart();
    absoluteStartLimit();
    absoluteEndLimit();
    if (isHammockTask()) {
        // A hammock's effort is the result of its dates.
        KSUndoManager* um = undoManager();
        if (um) um->disableUndoRegistration();
        _setEffortBasedOnEndDate(endDate());
        if (um) um->enableUndoRegistration();
    }
    _announceDatesAfterRecompute();
    flags_.willRevalidateSchedule = 0;
    if (owner->rootTask().get() == this) {
        owner->willChangeValueForKey("startDate");
        owner->didChangeValueForKey("startDate");
        owner->willChangeValueForKey("endDate");
        owner->didChangeValueForKey("endDate");
    }
    removeIssuesOfKind(KSIssue::schedulingIssueKind());
}

void KSTask::_announceDatesAfterRecompute() {
    // The announcements follow the change: a signal to re-read.
    static const char* const keys[] = {
        "startDate",          "endDate",          "currentStartLimit", "currentEndLimit",
        "absoluteStartLimit", "absoluteEndLimit", "freeSlack",         "totalSlack"};
    for (const char* key : keys) {
        willChangeValueForKey(key);
        didChangeValueForKey(key);
    }
}

void KSTask::flushQueuedChanges() {
    if (KSScenario* owner = scenario()) owner->recomputeSchedulingForTasks();
}

void KSTask::undoGroupDidOpen() {
    flags_.delayingSplitRejoining = 1;
}

void KSTask::undoGroupWillClose() {
    if (scenario()) enableSplitRejoining();
}

// --- Leveling
// ---------------------------------------------------------------------------------------

void KSTask::clearLevelingForTasks(const KSTaskPointerSet* tasks) {
    KSTask* p = parentTask();
    bool acts = !tasks || tasks->count(this) || (flags_.isSplitChunk && p && tasks->count(p));
    if (acts) {
        if (completed() < 1.0 && !resourceLeveledDate_.isNull())
            setResourceLeveledDate(KSDateTime());
        removeIssuesOfKind(KSIssue::levelingIssueKind());
    }
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        child->clearLevelingForTasks(tasks);
}

}  // namespace kestrum
