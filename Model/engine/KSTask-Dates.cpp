// KSTask: the rules of every cached date, the leveled-date adjustment, the leveling
// limits, slack and the uncompleted start.
//
// Each rule reads what it needs through the getters, which fill their caches on the way
// (KSTask-Evaluation.cpp keeps that from recursing deeply). A date of one task is
// combined with those of its neighbours by laterDate / earlierDate, where a null never
// wins. Every rule has a start-side and an end-side form; where the two differ, the
// difference is intended.
#include "Model/engine/KSCriticalPath.h"
#include "Model/engine/KSIssue.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSSchedule.h"

namespace kestrum {

namespace {

// A derived end lies at most this many days from the other end.
constexpr std::int64_t kMaximumSpanDays = 7305;

bool isEarlier(const KSDateTime& a, const KSDateTime& b) {
    return !a.isNull() && !b.isNull() && a.compare(b) < 0;
}

bool isLater(const KSDateTime& a, const KSDateTime& b) {
    return !a.isNull() && !b.isNull() && a.compare(b) > 0;
}

KSTask* childAt(const KSProjectItemList& children, std::size_t index) {
    return static_cast<KSTask*>(children[index].get());
}

double workBetween(KSScheduling* work, const KSDateTime& start, const KSDateTime& end) {
    if (!work || start.isNull() || end.isNull()) return 0.0;
    return work->durationBetweenStartDateAndEndDate(start, end);
}

}  // namespace

// --- Work time and the task's own conversions ----------------------------------------------------

KSScheduling* KSTask::scenarioSchedule() const {
    KSScenario* owner = scenario();
    if (owner && owner->schedule()) return owner->schedule().get();
    return KSSchedule::standardWorkHours().get();
}

KSScheduling* KSTask::schedule() const {
    // A split task works in its last chunk's time; the chunk keeps that scheduling.
    if (isSplitTask_ && countOfChildren() > 0) {
        return static_cast<const KSTask&>(*children()->back()).schedule();
    }
    // A task that moved to another plan (or out of one) must not keep the old calendar.
    if (!scheduling_ || schedulingScenario_ != scenario()) _makeScheduling();
    return scheduling_.get();
}

void KSTask::_makeScheduling() const {
    // Without assignments a task works in the plan's time. The slot shares the calendar,
    // so that it stays valid even if the root resource lets go of it before the task is
    // told.
    KSScenario* owner = scenario();
    schedulingScenario_ = owner;
    if (owner && owner->schedule()) {
        scheduling_ = owner->schedule();
    } else {
        scheduling_ = KSSchedule::standardWorkHours();
    }
}

void KSTask::invalidateSchedule() {
    scheduling_.reset();
    schedulingScenario_ = nullptr;
}

void KSTask::resourceScheduleDidChange() {
    invalidateSchedule();
    // Both ends and the length between them may move. The narrower walks go first, while
    // the caches they stop at are still filled, to carry that along the links; then every
    // date of the task goes.
    invalidateAbsoluteStartLimit();
    invalidateAbsoluteEndLimit();
    invalidateStartDate();
    invalidateEndDate();
    _invalidateLimitsReadingLength();
    invalidateAllDates();
}

KSDateTime KSTask::endDateForStartDate(const KSDateTime& start) {
    if (start.isNull()) return start;
    if (_isGroupTask()) {
        KSDateTime result = start;
        for (const auto& child : *children())
            result = KSDateTime::laterDate(result,
                                           static_cast<KSTask&>(*child).endDateForStartDate(start));
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
        for (const auto& child : *children())
            result = KSDateTime::earlierDate(result,
                                             static_cast<KSTask&>(*child).startDateForEndDate(end));
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

KSDateTime KSTask::_planFixedDate() const {
    KSScenario* owner = scenario();
    return owner ? owner->fixedDate() : KSScenario::genericStartDate();
}

// --- Leveled date --------------------------------------------------------------------------------

KSDateTime KSTask::resourceLeveledStartDate() {
    if (resourceLeveledDate_.isNull()) return {};
    return _planHasFixedEndDate() ? startDateForEndDate(resourceLeveledDate_)
                                  : resourceLeveledDate_;
}

KSDateTime KSTask::resourceLeveledEndDate() {
    if (resourceLeveledDate_.isNull()) return {};
    return _planHasFixedEndDate() ? resourceLeveledDate_
                                  : endDateForStartDate(resourceLeveledDate_);
}

void KSTask::_setResourceLevelingDelay(double delay) {
    if (delay == resourceLevelingDelay_) return;
    willChangeValueForKey("resourceLevelingDelay");
    resourceLevelingDelay_ = delay;
    didChangeValueForKey("resourceLevelingDelay");
}

KSDateTime KSTask::_adjustStartForResourceLeveledDate(const KSDateTime& date) {
    if (resourceLeveledDate_.isNull() || !isAsSoonAsPossible()) return date;
    KSDateTime leveled = resourceLeveledStartDate();
    // In a fixed-end plan the leveled start wins whatever the limit is.
    if (isEarlier(date, leveled) || _planHasFixedEndDate()) {
        _setResourceLevelingDelay(workBetween(schedule(), date, leveled));
        return leveled;
    }
    _setResourceLevelingDelay(0.0);
    return date;
}

KSDateTime KSTask::_adjustEndForResourceLeveledDate(const KSDateTime& date) {
    if (resourceLeveledDate_.isNull() || !isAsLateAsPossible()) return date;
    KSDateTime leveled = resourceLeveledEndDate();
    if (isLater(date, leveled) || !_planHasFixedEndDate()) {
        _setResourceLevelingDelay(workBetween(schedule(), leveled, date));
        return leveled;
    }
    _setResourceLevelingDelay(0.0);
    return date;
}

// --- Start and end
// ---------------------------------------------------------------------------------

KSDateTime KSTask::_emptyGroupDate() {
    return isAsSoonAsPossible() ? currentStartLimit() : currentEndLimit();
}

KSDateTime KSTask::_computeStartDate() {
    // The task's own lock; a split task's locks stand on its chunks.
    if (!startLockedDate_.isNull()) return startLockedDate_;
    if (_isGroupTask()) {
        KSDateTime date;
        for (const auto& child : *children())
            date = KSDateTime::earlierDate(date, static_cast<KSTask&>(*child).startDate());
        return countOfChildren() == 0 ? _emptyGroupDate() : date;
    }
    if (isSplitTask_)
        return hasChildren() ? childAt(*children(), 0)->startDate() : _emptyGroupDate();
    if (isHammockTask()) return currentStartLimit();
    if (isAsLateAsPossible() || !endLockedDate_.isNull()) return _startDerivedFromEnd();
    if (!_planHasFixedEndDate()) return currentStartLimit();
    // Against the plan's direction a task sits on its absolute limit.
    return _adjustStartForResourceLeveledDate(absoluteStartLimit());
}

KSDateTime KSTask::_startDerivedFromEnd() {
    KSDateTime end = endDate();
    KSScheduling* work = schedule();
    KSDateTime start = work->startDateForEndDateAndEffort(end, effort_);
    removeIssuesOfKind(KSIssue::maximumEffortIssueKind());
    if (!end.isNull() && !start.isNull() &&
        end.dayNumber() - start.dayNumber() > kMaximumSpanDays) {
        KSIssue::issueForTask<KSMaximumEffortExceededError>(*this);
        start = end.dateByAddingDays(-kMaximumSpanDays);
    }
    work->setAssignmentTimeSpentForTask(*this);
    return start;
}

KSDateTime KSTask::_computeEndDate() {
    KSScheduling* work = schedule();
    if (!endLockedDate_.isNull()) {
        // Held at both ends, the assignments still learn how long they work. (The schedule's
        // own end for the effort has no further use here.)
        if (!startLockedDate_.isNull()) work->setAssignmentTimeSpentForTask(*this);
        return endLockedDate_;
    }
    if (_isGroupTask()) {
        KSDateTime date;
        for (const auto& child : *children())
            date = KSDateTime::laterDate(date, static_cast<KSTask&>(*child).endDate());
        return countOfChildren() == 0 ? _emptyGroupDate() : date;
    }
    if (isSplitTask_) {
        return hasChildren() ? childAt(*children(), countOfChildren() - 1)->endDate()
                             : _emptyGroupDate();
    }
    if (isHammockTask()) {
        KSDateTime limit = currentEndLimit();
        KSDateTime start = startDate();
        if (isEarlier(limit, start)) return start;
        work->setAssignmentTimeSpentForTask(*this);
        return limit;
    }
    if (isAsSoonAsPossible() || !startLockedDate_.isNull()) {
        KSDateTime start = startDate();
        KSDateTime end = work->endDateForStartDateAndEffort(start, effort_);
        removeIssuesOfKind(KSIssue::maximumEffortIssueKind());
        if (!start.isNull() && !end.isNull() &&
            end.dayNumber() - start.dayNumber() > kMaximumSpanDays) {
            KSIssue::issueForTask<KSMaximumEffortExceededError>(*this);
            end = start.dateByAddingDays(kMaximumSpanDays);
        }
        work->setAssignmentTimeSpentForTask(*this);
        return end;
    }
    if (_planHasFixedEndDate()) return currentEndLimit();
    return _adjustEndForResourceLeveledDate(absoluteEndLimit());
}

// --- Current limits -----------------------------------------------------------------------------

KSDateTime KSTask::_computeCurrentStartLimitIgnoringDependenciesIncludingOppositeScheduling(
    bool includeOpposite) {
    KSDateTime limit;
    if (KSTask* p = parentTask()) {
        if (!p->startLockedDate_.isNull()) {
            limit = p->startLockedDate_;
        } else {
            limit = includeOpposite
                        ? p->currentStartLimit()
                        : p->_computeCurrentStartLimitIncludingOppositeScheduling(false);
        }
    } else {
        limit = _planHasFixedEndDate() ? latestPossibleStart() : _planStartDate();
    }
    if (includeOpposite) limit = _adjustStartForResourceLeveledDate(limit);
    limit = KSDateTime::laterDate(limit, _normalizedNoEarlierDate());
    if (KSTask* previous = previousSplitChunk())
        limit = KSDateTime::laterDate(limit, previous->endDate());
    return limit;
}

KSDateTime KSTask::_computeCurrentStartLimitIgnoringDependencies() {
    return _computeCurrentStartLimitIgnoringDependenciesIncludingOppositeScheduling(true);
}

KSDateTime KSTask::_computeCurrentStartLimit(bool includeOpposite) {
    KSDateTime limit =
        _computeCurrentStartLimitIgnoringDependenciesIncludingOppositeScheduling(includeOpposite);
    const bool hammock = isHammockTask();
    for (const auto& link : prerequisites_) {
        // A hammock's end-aligned prerequisites pull its end, not its start.
        if (hammock && link->dependentAlignedToEnd()) continue;
        limit = KSDateTime::laterDate(
            limit, includeOpposite
                       ? link->dateConstraint()
                       : link->currentStartLimitConstraintExcludingOppositeScheduling());
    }
    if ((isStandardTask() || flags_.isSplitChunk) && effort_ > 0.0)
        limit = schedule()->adjustDateForUseAsStartDate(limit);
    return limit;
}

KSDateTime KSTask::_computeCurrentEndLimitIgnoringDependenciesIncludingOppositeScheduling(
    bool includeOpposite) {
    KSDateTime limit;
    if (_hasLockedDate()) {
        flags_.limitsReadOwnEnd = 1;
        limit = endDate();
    } else if (isHammockTask()) {
        KSScenario* owner = scenario();
        if (owner && owner->rootTask()) limit = owner->rootTask()->currentEndLimit();
    } else if (KSTask* p = parentTask()) {
        limit = includeOpposite ? p->currentEndLimit()
                                : p->_computeCurrentEndLimitIncludingOppositeScheduling(false);
    } else {
        limit = _planHasFixedEndDate() ? _planEndDate() : earliestPossibleEnd();
    }
    if (includeOpposite) limit = _adjustEndForResourceLeveledDate(limit);
    limit = KSDateTime::earlierDate(limit, _normalizedNoLaterDate());
    if (KSTask* next = nextSplitChunk()) limit = KSDateTime::earlierDate(limit, next->startDate());
    return limit;
}

KSDateTime KSTask::_computeCurrentEndLimitIgnoringDependencies() {
    return _computeCurrentEndLimitIgnoringDependenciesIncludingOppositeScheduling(true);
}

KSDateTime KSTask::_computeCurrentEndLimit(bool includeOpposite) {
    KSDateTime limit;
    if (isHammockTask()) {
        // A hammock's end is pulled by its end-aligned prerequisites, not pushed back by
        // its dependents.
        for (const auto& link : prerequisites_) {
            if (link->dependentAlignedToEnd())
                limit = KSDateTime::laterDate(limit, link->dateConstraint());
        }
        if (limit.isNull())
            limit = _computeCurrentEndLimitIgnoringDependenciesIncludingOppositeScheduling(
                includeOpposite);
    } else {
        KSDateTime bound;
        for (const auto& link : dependents_) {
            KSTask* after = link->dependent();
            if (!after || after->isHammockTask()) continue;
            bound = KSDateTime::earlierDate(
                bound, includeOpposite
                           ? link->currentEndLimitConstraint()
                           : link->currentEndLimitConstraintExcludingOppositeScheduling());
        }
        limit = KSDateTime::earlierDate(
            bound, _computeCurrentEndLimitIgnoringDependenciesIncludingOppositeScheduling(
                       includeOpposite));
    }
    // A chunk is not adjusted on this side.
    if (isStandardTask() && effort_ > 0.0) limit = schedule()->adjustDateForUseAsEndDate(limit);
    return limit;
}

// --- Absolute limits
// ------------------------------------------------------------------------------

KSDateTime KSTask::_computeAbsoluteStartLimit(KSCriticalPath* path) {
    KSDateTime limit;
    if (KSTask* previous = previousSplitChunk()) {
        limit = previous->endDateForStartDate(previous->absoluteStartLimitForCriticalPath(path));
    } else if (KSTask* p = parentTask()) {
        limit = p->absoluteStartLimitForCriticalPath(path);
    } else {
        limit = _planHasFixedEndDate() ? latestPossibleStart() : _planStartDate();
    }
    if (_hasLockedDate()) {
        flags_.limitsReadOwnStart = 1;
        limit = startDate();
    }
    limit = KSDateTime::laterDate(limit, _normalizedNoEarlierDate());
    // The raw leveled date, even in a fixed-end plan where it holds an end.
    if (isAsSoonAsPossible()) limit = KSDateTime::laterDate(limit, resourceLeveledDate_);
    const bool hammock = isHammockTask();
    for (const auto& link : prerequisites_) {
        if (!link->isActive() || !link->prerequisite()) continue;
        if (hammock && link->dependentAlignedToEnd()) continue;
        if (path && path->shouldBeExcluded(*link->prerequisite())) continue;
        limit =
            KSDateTime::laterDate(limit, link->absoluteStartLimitConstraintForCriticalPath(path));
    }
    // Resource constraints join here once assignments name the tasks before them.
    if ((isStandardTask() || flags_.isSplitChunk) && effort_ > 0.0)
        limit = schedule()->adjustDateForUseAsStartDate(limit);
    return limit;
}

KSDateTime KSTask::_computeAbsoluteEndLimit(KSCriticalPath* path) {
    KSDateTime limit;
    if (KSTask* p = parentTask()) {
        limit = p->absoluteEndLimitForCriticalPath(path);
    } else {
        limit = _planHasFixedEndDate() ? _planEndDate() : earliestPossibleEnd();
    }
    if (_hasLockedDate()) {
        flags_.limitsReadOwnEnd = 1;
        limit = endDate();
    }
    // No leveled date takes part on this side.
    limit = KSDateTime::earlierDate(limit, _normalizedNoLaterDate());
    for (const auto& link : dependents_) {
        KSTask* after = link->dependent();
        if (!link->isActive() || !after || after->isHammockTask()) continue;
        if (path && path->shouldBeExcluded(*after)) continue;
        limit =
            KSDateTime::earlierDate(limit, link->absoluteEndLimitConstraintForCriticalPath(path));
    }
    if (isStandardTask() && effort_ > 0.0) limit = schedule()->adjustDateForUseAsEndDate(limit);
    return limit;
}

KSDateTime KSTask::endForAbsoluteStartLimitForCriticalPath(KSCriticalPath* path) {
    // For a plain task in its own caches this is its earliest possible end, cached.
    if (!path && _isPlainTask()) return earliestPossibleEnd();
    KSDateTime limit = absoluteStartLimitForCriticalPath(path);
    if (!_isGroupTask()) return isHammockTask() ? limit : endDateForStartDate(limit);
    for (const auto& child : *children())
        limit = KSDateTime::laterDate(
            limit, static_cast<KSTask&>(*child).endForAbsoluteStartLimitForCriticalPath(path));
    return limit;
}

KSDateTime KSTask::startForAbsoluteEndLimitForCriticalPath(KSCriticalPath* path) {
    // For a plain task in its own caches this is its latest possible start, cached.
    if (!path && _isPlainTask()) return latestPossibleStart();
    KSDateTime limit = absoluteEndLimitForCriticalPath(path);
    if (!_isGroupTask()) return startDateForEndDate(limit);
    for (const auto& child : *children())
        limit = KSDateTime::earlierDate(
            limit, static_cast<KSTask&>(*child).startForAbsoluteEndLimitForCriticalPath(path));
    return limit;
}

KSDateTime KSTask::_computeEarliestPossibleEnd() {
    if (_isGroupTask()) {
        KSDateTime result = absoluteStartLimit();
        for (const auto& child : *children())
            result =
                KSDateTime::laterDate(result, static_cast<KSTask&>(*child).earliestPossibleEnd());
        return result;
    }
    if (isSplitTask_) {
        return hasChildren() ? childAt(*children(), countOfChildren() - 1)->earliestPossibleEnd()
                             : absoluteStartLimit();
    }
    if (isHammockTask()) return absoluteStartLimit();
    return endDateForStartDate(absoluteStartLimit());
}

KSDateTime KSTask::_computeLatestPossibleStart() {
    if (_isGroupTask() || isSplitTask_) {
        KSDateTime result = absoluteEndLimit();
        if (children()) {
            for (const auto& child : *children())
                result = KSDateTime::earlierDate(
                    result, static_cast<KSTask&>(*child).latestPossibleStart());
        }
        return result;
    }
    if (isHammockTask()) return absoluteEndLimit();
    return startDateForEndDate(absoluteEndLimit());
}

// --- Leveling limits
// ------------------------------------------------------------------------------

bool KSTask::_couldBeSplitForRescheduleDuringLeveling() const {
    KSProject* owner = project();
    return isSplittableTask() && effortDone() > 0.0 && owner && owner->minimumSplitDuration() > 0.0;
}

KSDateTime KSTask::_computeLevelingStartLimit() {
    KSDateTime limit;
    if (_hasLockedDate()) {
        flags_.limitsReadOwnStart = 1;
        limit = startDate();
    } else {
        KSTask* p = parentTask();
        limit = KSDateTime::laterDate(p ? p->levelingStartLimit() : KSDateTime(),
                                      _normalizedNoEarlierDate());
    }
    for (const auto& link : prerequisites_)
        limit = KSDateTime::laterDate(limit, link->levelingStartLimitConstraint());
    return limit;
}

KSDateTime KSTask::_computeLevelingEndLimit() {
    KSDateTime limit;
    if (!endLockedDate_.isNull() ||
        (!startLockedDate_.isNull() && !_couldBeSplitForRescheduleDuringLeveling())) {
        flags_.limitsReadOwnEnd = 1;
        limit = endDate();
    } else if (KSTask* p = parentTask()) {
        limit = p->levelingEndLimit();
    }
    limit = KSDateTime::earlierDate(limit, _normalizedNoLaterDate());
    for (const auto& link : dependents_)
        limit = KSDateTime::earlierDate(limit, link->levelingEndLimitConstraint());
    return limit;
}

KSDateTime KSTask::levelingEarliestPossibleEnd() {
    if (_isGroupTask()) {
        // The earliest over the children, not the latest.
        KSDateTime result;
        for (const auto& child : *children())
            result = KSDateTime::earlierDate(
                result, static_cast<KSTask&>(*child).levelingEarliestPossibleEnd());
        return result;
    }
    KSDateTime limit = levelingStartLimit();
    return limit.isNull() ? limit : endDateForStartDate(limit);
}

KSDateTime KSTask::levelingLastPossibleStart() {
    if (_isGroupTask()) {
        KSDateTime result;
        for (const auto& child : *children())
            result = KSDateTime::earlierDate(
                result, static_cast<KSTask&>(*child).levelingLastPossibleStart());
        return result;
    }
    KSDateTime limit = levelingEndLimit();
    return limit.isNull() ? limit : startDateForEndDate(limit);
}

KSDateTime KSTask::levelingLimit() {
    const bool fixedEnd = _planHasFixedEndDate();
    if (isAsSoonAsPossible()) {
        KSDateTime limit = levelingLastPossibleStart();
        if (!limit.isNull()) return limit;
        return fixedEnd ? startDateForEndDate(_planFixedDate()) : KSDateTime();
    }
    KSDateTime limit = levelingEarliestPossibleEnd();
    if (!limit.isNull()) return limit;
    return fixedEnd ? KSDateTime() : endDateForStartDate(_planFixedDate());
}

KSDateTime KSTask::levelingBeginningPoint() {
    const bool fixedEnd = _planHasFixedEndDate();
    if (isAsSoonAsPossible())
        return fixedEnd ? KSDateTime()
                        : _computeCurrentStartLimitIncludingOppositeScheduling(false);
    return fixedEnd ? _computeCurrentEndLimitIncludingOppositeScheduling(false) : KSDateTime();
}

KSTask* KSTask::_childWithEarliestLevelingEndLimit() {
    KSTask* found = nullptr;
    KSDateTime earliest;
    if (!children()) return nullptr;
    for (const auto& item : *children()) {
        auto* child = static_cast<KSTask*>(item.get());
        KSDateTime limit = child->levelingEndLimit();
        if (limit.isNull()) continue;
        if (!found || isEarlier(limit, earliest)) {
            found = child;
            earliest = limit;
        }
    }
    return found;
}

std::vector<std::shared_ptr<KSBaseObject>> KSTask::chainCausingAbsoluteEndLimit() {
    std::vector<std::shared_ptr<KSBaseObject>> chain;
    KSDateTime own = levelingEndLimit();
    KSTask* child = _childWithEarliestLevelingEndLimit();
    KSDateTime childLimit = child ? child->levelingEndLimit() : KSDateTime();
    if (own.isNull() && childLimit.isNull()) return chain;
    if (!own.isNull() && !isEarlier(childLimit, own)) {
        // What holds the end lies after the task: a dependent, or the group around it.
        KSScenario* owner = scenario();
        KSTask* task = this;
        while (task) {
            KSDateTime bound;
            if (task->_hasLockedDate()) {
                bound = task->startDate();
            } else if (!task->noLaterThanConstraintDate_.isNull()) {
                bound = task->noLaterThanEnd_ == KSConstrainedTaskEndEnd
                            ? task->startDateForEndDate(task->noLaterThanConstraintDate_)
                            : task->noLaterThanConstraintDate_;
            }
            std::shared_ptr<KSDependency> link;
            const auto& dependents = task->dependents_;
            for (std::size_t i = dependents.size(); i-- > 0;) {
                if (!owner || !owner->isLevelingResources()) break;
                if (!dependents[i]->isActive()) continue;
                KSDateTime value = dependents[i]->levelingEndLimitConstraint();
                if (bound.isNull() || isLater(bound, value)) {
                    link = dependents[i];
                    bound = value;
                }
            }
            bool parentHolds = false;
            if (KSTask* p = task->parentTask()) {
                KSDateTime parentLimit = p->levelingEndLimit();
                if (!parentLimit.isNull()) {
                    KSDateTime start =
                        task->startDateForEndDate(p->endDateForStartDate(parentLimit));
                    parentHolds = bound.isNull() || isLater(bound, start);
                }
            }
            chain.push_back(task->sharedFromThis<KSTask>());
            if (parentHolds) {
                task = task->parentTask();
            } else if (link) {
                chain.back() = link;
                task = link->dependent();
            } else {
                break;
            }
        }
        return chain;
    }
    // What holds the end lies inside the task: follow the earliest child down.
    for (KSTask* task = child; task; task = task->_childWithEarliestLevelingEndLimit())
        chain.push_back(task->sharedFromThis<KSTask>());
    return chain;
}

// --- Slack
// ----------------------------------------------------------------------------------------

double KSTask::freeSlack() {
    if (isSplitTask_) {
        double sum = 0.0;
        if (children()) {
            for (const auto& chunk : *children())
                sum += static_cast<KSTask&>(*chunk).freeSlack();
        }
        return sum;
    }
    if (isAsSoonAsPossible()) return workBetween(schedule(), endDate(), currentEndLimit());
    return workBetween(schedule(), currentStartLimit(), startDate());
}

double KSTask::totalSlack() {
    if (isSplitTask_ && hasChildren()) return childAt(*children(), 0)->totalSlack();
    if (KSTask* next = nextSplitChunk()) return next->totalSlack() + freeSlack();
    if (isAsSoonAsPossible()) return workBetween(schedule(), endDate(), absoluteEndLimit());
    return workBetween(schedule(), absoluteStartLimit(), startDate());
}

double KSTask::resourceConstrainedTotalSlackForCriticalPath(KSCriticalPath* path) {
    // A chunk's slack runs on through the chunks after it (before it, as late as possible):
    // each adds its own free slack to the next one's value, floored at 0 at each step. The
    // direction is the one of the chunk asked, so that chunks placed in opposite directions
    // do not send the question back and forth; the walk is a loop, not a recursion.
    bool forward = isAsSoonAsPossible();
    std::vector<KSTask*> chunks{this};
    for (KSTask* next = forward ? nextSplitChunk() : previousSplitChunk(); next;
         next = forward ? next->nextSplitChunk() : next->previousSplitChunk()) {
        chunks.push_back(next);
    }
    KSTask& last = *chunks.back();
    double slack = forward
                       ? workBetween(last.schedule(), last.endDate(),
                                     last.absoluteEndLimitForCriticalPath(path))
                       : workBetween(last.schedule(), last.absoluteStartLimitForCriticalPath(path),
                                     last.startDate());
    slack = slack > 0.0 ? slack : 0.0;
    for (std::size_t i = chunks.size() - 1; i-- > 0;) {
        slack += chunks[i]->freeSlack();
        slack = slack > 0.0 ? slack : 0.0;
    }
    return slack;
}

// --- Uncompleted work ---------------------------------------------------------------------------

KSDateTime KSTask::uncompletedStartDate() {
    if (isSplitTask_) {
        if (children()) {
            for (const auto& item : *children()) {
                auto& chunk = static_cast<KSTask&>(*item);
                if (chunk.completed() < 1.0) return chunk.uncompletedStartDate();
            }
        }
        return endDate();
    }
    if (!uncompletedStartDate_.isNull()) return uncompletedStartDate_;
    KSDateTime date = uncompletedStartDateForStartDate(startDate());
    KSDateTime end = endDate();
    if (isLater(date, end)) date = end;
    uncompletedStartDate_ = date;
    return date;
}

KSDateTime KSTask::uncompletedStartDateForStartDate(const KSDateTime& date) {
    double done = effortDone();
    if (done == 0.0) return date;
    if (done >= effort_) return endDateForStartDate(date);
    KSScheduling* work = schedule();
    return work->adjustDateForUseAsStartDate(work->endDateForStartDateAndEffort(date, done));
}

KSDateTime KSTask::startDateForUncompletedStartDate(const KSDateTime& date) {
    double done = effortDone();
    if (effort_ == 0.0 || done == 0.0) return date;
    return schedule()->startDateForEndDateAndEffort(date, done);
}

double KSTask::effortDoneForUncompletedStartDate(const KSDateTime& date) {
    KSDateTime start = startDate();
    if (date.isNull() || !isLater(date, start)) return 0.0;
    if (!isEarlier(date, endDate())) return effort_;
    if (isSplitTask_) {
        double sum = 0.0;
        for (const auto& chunk : *children()) {
            double value = static_cast<KSTask&>(*chunk).effortDoneForUncompletedStartDate(date);
            if (value == 0.0) break;
            sum += value;
        }
        return sum;
    }
    // The working time up to the date; assignments scale it by their units once a task
    // can hold them.
    return workBetween(schedule(), start, date);
}

void KSTask::setUncompletedStartDate(const KSDateTime& date) {
    setEffortDone(effortDoneForUncompletedStartDate(date));
}

}  // namespace kestrum
