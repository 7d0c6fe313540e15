// KSTask: the invalidation walks.
//
// An invalidation clears one cache, marks the task for the scenario's next recomputation
// and sets off further invalidations along fixed rules: up to the parent, down to the
// children, along active links. An already empty cache stops a walk, since nothing
// computed can hang from it; that bounds a walk to what had been computed.
//
// A change of effort reaches the root through the earliest end and latest start walks,
// and from there clears the limits of every task: that walk is what refreshes the dates
// that read a neighbour's length without a link of their own to it (a constraint bound
// to the task's own end, the chunk after a chunk).
//
// The walks run from an explicit work list of frames, one per invalidation under way, in
// exactly the order a recursive reading of the rules gives (a walk set off by another
// runs to its end before the one that set it off goes on). So a chain of thousands of
// linked tasks costs no stack, and the will-invalidate notice goes out once per task
// and outer walk, as the flag alreadySentDatesChangedNotification intends.
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSNotificationCenter.h"

namespace kestrum {

struct KSTask::InvalidationFrame {
    KSTask* task;
    InvalidationWalk walk;
    std::uint8_t step;
    bool savedNotice;
    std::size_t index;
    // The start or end walk goes on to the task's own limits that read its locked dates.
    bool ownLimits;
};

namespace {

// The step of the start and end walks that goes on to the task's own limits.
constexpr std::uint8_t kOwnLimitsStep = 8;

// The next active link at or after `index` whose `end` task exists; advances `index`
// past it. Null when none is left.
KSTask* nextLinkedTask(const KSDependencyList& links, std::size_t& index, bool toDependent) {
    while (index < links.size()) {
        const KSDependency& link = *links[index++];
        KSTask* task = toDependent ? link.dependent() : link.prerequisite();
        if (link.isActive() && task) return task;
    }
    return nullptr;
}

KSTask* nextChild(const KSTask& task, std::size_t& index) {
    if (!task.children() || index >= task.children()->size()) return nullptr;
    return static_cast<KSTask*>((*task.children())[index++].get());
}

}  // namespace

void KSTask::invalidateAbsoluteStartLimit() {
    _invalidate(InvalidationWalk::AbsoluteStart);
}
void KSTask::invalidateAbsoluteEndLimit() {
    _invalidate(InvalidationWalk::AbsoluteEnd);
}
void KSTask::invalidateEarliestPossibleEnd() {
    _invalidate(InvalidationWalk::EarliestEnd);
}
void KSTask::invalidateLatestPossibleStart() {
    _invalidate(InvalidationWalk::LatestStart);
}
void KSTask::invalidateCurrentStartLimit() {
    _invalidate(InvalidationWalk::CurrentStart);
}
void KSTask::invalidateCurrentEndLimit() {
    _invalidate(InvalidationWalk::CurrentEnd);
}
void KSTask::invalidateStartDate() {
    _invalidate(InvalidationWalk::Start);
}
void KSTask::invalidateEndDate() {
    _invalidate(InvalidationWalk::End);
}

void KSTask::_invalidate(InvalidationWalk walk) {
    // One list per thread; a walk started from inside another (a notice observer, split
    // rejoining) works above the frames of the one it interrupted.
    thread_local std::vector<InvalidationFrame> frames;
    const std::size_t base = frames.size();
    const bool fixedEnd = _planHasFixedEndDate();
    frames.push_back(InvalidationFrame{this, walk, 0, false, 0, false});
    while (frames.size() > base) {
        const std::size_t top = frames.size() - 1;
        InvalidationFrame frame = frames[top];
        InvalidationFrame next{};
        bool pushNext = false;
        bool goesOn = frame.task->_invalidationStep(frame, fixedEnd, next, pushNext);
        // The step may have run nested walks; they have all ended, so `top` is still the top.
        if (!goesOn) {
            frames.pop_back();
            continue;
        }
        frames[top] = frame;
        if (pushNext) frames.push_back(next);
    }
}

bool KSTask::_invalidationWouldStopAtOnce(InvalidationWalk walk) const {
    switch (walk) {
        case InvalidationWalk::EarliestEnd:
            return earliestPossibleEnd_.isNull();
        case InvalidationWalk::LatestStart:
            return latestPossibleStart_.isNull();
        case InvalidationWalk::CurrentStart:
            return currentStartLimit_.isNull() &&
                   currentStartLimitExcludingOppositeScheduling_.isNull();
        case InvalidationWalk::CurrentStartExcluding:
            return currentStartLimitExcludingOppositeScheduling_.isNull();
        case InvalidationWalk::CurrentEnd:
            return currentEndLimit_.isNull();
        case InvalidationWalk::End:
            return endDate_.isNull();
        case InvalidationWalk::Start:
            return startDate_.isNull() && uncompletedStartDate_.isNull();
        case InvalidationWalk::AbsoluteStart:
            return absoluteStartLimit_.isNull() && flags_.absoluteStartLimitDidChange &&
                   !flags_.levelingStartLimitIsValid && levelingStartLimit_.isNull();
        case InvalidationWalk::AbsoluteEnd:
            return absoluteEndLimit_.isNull() && flags_.absoluteEndLimitDidChange &&
                   !flags_.levelingEndLimitIsValid && levelingEndLimit_.isNull();
    }
    return false;
}

KSTask* KSTask::_nextHammockPulledBy(std::size_t& index, bool fromEnd) const {
    while (index < dependents_.size()) {
        const KSDependency& link = *dependents_[index++];
        KSTask* after = link.dependent();
        if (link.isActive() && after && after->isHammockTask() && link.dependentAlignedToEnd() &&
            link.prerequisiteAlignedToEnd() == fromEnd)
            return after;
    }
    return nullptr;
}

bool KSTask::_takeLimitsReadingOwnStart() {
    // While locked, the limits read the start; after the lock went, once more, for the
    // limits that read it while it stood.
    const bool read = _hasLockedDate() || flags_.limitsReadOwnStart;
    flags_.limitsReadOwnStart = 0;
    return read;
}

bool KSTask::_takeLimitsReadingOwnEnd() {
    const bool read = _hasLockedDate() || flags_.limitsReadOwnEnd;
    flags_.limitsReadOwnEnd = 0;
    return read;
}

void KSTask::_postWillInvalidateDates() {
    if (_isGroupTask() || flags_.alreadySentDatesChangedNotification) return;
    KSNotificationCenter::defaultCenter().postNotificationName(
        KSTaskWillInvalidateDatesNotification, this);
}

bool KSTask::_invalidationStep(InvalidationFrame& frame, bool fixedEnd, InvalidationFrame& next,
                               bool& pushNext) {
    // Sets off a walk; one that would stop at once, doing nothing, needs no frame. True
    // when a frame is to be pushed.
    auto tryToSetOff = [&](KSTask* task, InvalidationWalk walk) {
        if (task->_invalidationWouldStopAtOnce(walk)) return false;
        next = InvalidationFrame{task, walk, 0, false, 0, false};
        pushNext = true;
        return true;
    };
    auto setOff = [&](KSTask* task, InvalidationWalk walk) {
        tryToSetOff(task, walk);
        return true;
    };
    auto toStep = [&](std::uint8_t step) {
        frame.step = step;
        frame.index = 0;
    };
    switch (frame.walk) {
        case InvalidationWalk::AbsoluteStart:
            switch (frame.step) {
                case 0:
                    // These run even when the walk stops here.
                    flags_.absoluteStartLimitDidChange = 1;
                    levelingStartLimit_ = KSDateTime();
                    flags_.levelingStartLimitIsValid = 0;
                    if (absoluteStartLimit_.isNull()) return false;
                    absoluteStartLimit_ = KSDateTime();
                    _needsSchedulingRecomputation();
                    toStep(1);
                    return setOff(this, InvalidationWalk::EarliestEnd);
                case 1:
                    while (KSTask* child = nextChild(*this, frame.index)) {
                        if (tryToSetOff(child, InvalidationWalk::AbsoluteStart)) return true;
                    }
                    toStep(2);
                    return true;
                case 2:
                    while (KSTask* after = nextLinkedTask(dependents_, frame.index, true)) {
                        if (tryToSetOff(after, InvalidationWalk::AbsoluteStart)) return true;
                    }
                    toStep(3);
                    // The chunk after this one starts from this chunk's absolute start
                    // limit: without this walk it would keep the limit of before.
                    if (KSTask* next = nextSplitChunk())
                        return setOff(next, InvalidationWalk::AbsoluteStart);
                    return true;
                case 3:
                    toStep(4);
                    if (fixedEnd && (isAsSoonAsPossible() || isHammockTask()))
                        return setOff(this, InvalidationWalk::Start);
                    return true;
                default:
                    return false;
            }
        case InvalidationWalk::AbsoluteEnd:
            switch (frame.step) {
                case 0:
                    flags_.absoluteEndLimitDidChange = 1;
                    levelingEndLimit_ = KSDateTime();
                    flags_.levelingEndLimitIsValid = 0;
                    if (absoluteEndLimit_.isNull()) return false;
                    absoluteEndLimit_ = KSDateTime();
                    _needsSchedulingRecomputation();
                    toStep(1);
                    return setOff(this, InvalidationWalk::LatestStart);
                case 1:
                    while (KSTask* child = nextChild(*this, frame.index)) {
                        if (tryToSetOff(child, InvalidationWalk::AbsoluteEnd)) return true;
                    }
                    // No links are walked by the rule on this side: no mirror of the start
                    // side's step.
                    toStep(2);
                    if (!fixedEnd && (isAsLateAsPossible() || isHammockTask()))
                        return setOff(this, InvalidationWalk::End);
                    return true;
                case 2:
                    // The prerequisites' absolute end limits read this one through the
                    // links; without this walk they keep the limit of before (the plan-wide
                    // walk from the root clears absolute end limits only when the plan's
                    // earliest end moves).
                    while (KSTask* before = nextLinkedTask(prerequisites_, frame.index, false)) {
                        if (tryToSetOff(before, InvalidationWalk::AbsoluteEnd)) return true;
                    }
                    return false;
                default:
                    return false;
            }
        case InvalidationWalk::EarliestEnd:
            switch (frame.step) {
                case 0:
                    if (earliestPossibleEnd_.isNull()) return false;
                    earliestPossibleEnd_ = KSDateTime();
                    _needsSchedulingRecomputation();
                    if (KSTask* p = parentTask()) {
                        toStep(2);
                        return setOff(p, InvalidationWalk::EarliestEnd);
                    }
                    toStep(1);
                    return setOff(this, InvalidationWalk::AbsoluteEnd);
                case 1:
                    toStep(2);
                    return setOff(this, InvalidationWalk::CurrentEnd);
                case 2:
                    while (KSTask* after = nextLinkedTask(dependents_, frame.index, true)) {
                        if (tryToSetOff(after, InvalidationWalk::AbsoluteStart)) return true;
                    }
                    return false;
                default:
                    return false;
            }
        case InvalidationWalk::LatestStart:
            switch (frame.step) {
                case 0:
                    if (latestPossibleStart_.isNull()) return false;
                    latestPossibleStart_ = KSDateTime();
                    _needsSchedulingRecomputation();
                    if (KSTask* p = parentTask()) {
                        toStep(2);
                        return setOff(p, InvalidationWalk::LatestStart);
                    }
                    toStep(1);
                    return setOff(this, InvalidationWalk::AbsoluteStart);
                case 1:
                    toStep(2);
                    return setOff(this, InvalidationWalk::CurrentStart);
                case 2:
                    // For each active link into this task, the link's dependent: this task
                    // itself, not the prerequisite. After the first such walk the others
                    // find the limit empty and stop, so one walk does for all of them.
                    toStep(3);
                    if (nextLinkedTask(prerequisites_, frame.index, true))
                        return setOff(this, InvalidationWalk::AbsoluteEnd);
                    return true;
                case 3:
                    // The prerequisites read this latest start through links joined to
                    // this task's start (as the walk of the absolute end limit does for the
                    // end); the step above leaves them alone.
                    while (KSTask* before = nextLinkedTask(prerequisites_, frame.index, false)) {
                        if (tryToSetOff(before, InvalidationWalk::AbsoluteEnd)) return true;
                    }
                    return false;
                default:
                    return false;
            }
        case InvalidationWalk::CurrentStart:
            switch (frame.step) {
                case 0:
                    // The excluding twin is not looked at: an empty limit stops the walk.
                    // The twin, when set, gets a walk of its own, which the stop would
                    // otherwise leave as it was with all the twins that read it.
                    if (currentStartLimit_.isNull()) {
                        if (currentStartLimitExcludingOppositeScheduling_.isNull()) return false;
                        toStep(3);
                        return setOff(this, InvalidationWalk::CurrentStartExcluding);
                    }
                    currentStartLimit_ = KSDateTime();
                    currentStartLimitExcludingOppositeScheduling_ = KSDateTime();
                    _needsSchedulingRecomputation();
                    toStep(1);
                    return true;
                case 1:
                    while (KSTask* child = nextChild(*this, frame.index)) {
                        if (tryToSetOff(child, InvalidationWalk::CurrentStart)) return true;
                    }
                    toStep(4);
                    if (!fixedEnd && (isAsSoonAsPossible() || isHammockTask()))
                        return setOff(this, InvalidationWalk::Start);
                    return true;
                case 4:
                    // An empty early group dates both its ends by this limit; its end may
                    // be cached (read through a link) while its start is not, and the start
                    // walk above would stop before it reaches the end.
                    toStep(2);
                    if (_datesAreEmptyGroupLimit() && isAsSoonAsPossible())
                        return setOff(this, InvalidationWalk::End);
                    return true;
                case 2:
                    // The dependents' twins read this task's twin through the links; no
                    // other walk goes from a start limit along the links.
                    while (KSTask* after = nextLinkedTask(dependents_, frame.index, true)) {
                        if (tryToSetOff(after, InvalidationWalk::CurrentStartExcluding))
                            return true;
                    }
                    return false;
                default:
                    return false;
            }
        case InvalidationWalk::CurrentStartExcluding:
            // The start limit without opposite scheduling, read by the children's and the
            // dependents' own.
            switch (frame.step) {
                case 0:
                    if (currentStartLimitExcludingOppositeScheduling_.isNull()) return false;
                    currentStartLimitExcludingOppositeScheduling_ = KSDateTime();
                    toStep(1);
                    return true;
                case 1:
                    while (KSTask* child = nextChild(*this, frame.index)) {
                        if (tryToSetOff(child, InvalidationWalk::CurrentStartExcluding))
                            return true;
                    }
                    toStep(2);
                    return true;
                case 2:
                    while (KSTask* after = nextLinkedTask(dependents_, frame.index, true)) {
                        if (tryToSetOff(after, InvalidationWalk::CurrentStartExcluding))
                            return true;
                    }
                    return false;
                default:
                    return false;
            }
        case InvalidationWalk::CurrentEnd:
            switch (frame.step) {
                case 0:
                    if (currentEndLimit_.isNull()) return false;
                    currentEndLimit_ = KSDateTime();
                    _needsSchedulingRecomputation();
                    toStep(1);
                    return true;
                case 1:
                    while (KSTask* child = nextChild(*this, frame.index)) {
                        if (tryToSetOff(child, InvalidationWalk::CurrentEnd)) return true;
                    }
                    toStep(2);
                    if (fixedEnd && (isAsLateAsPossible() || isHammockTask()))
                        return setOff(this, InvalidationWalk::End);
                    return true;
                case 2:
                    // An empty late group dates both its ends by this limit; its start may
                    // be cached while its end is not, and the end walk above would stop.
                    toStep(3);
                    if (_datesAreEmptyGroupLimit() && isAsLateAsPossible())
                        return setOff(this, InvalidationWalk::Start);
                    return true;
                default:
                    return false;
            }
        case InvalidationWalk::Start:
            switch (frame.step) {
                case 0:
                    uncompletedStartDate_ = KSDateTime();
                    frame.ownLimits = _takeLimitsReadingOwnStart();
                    if (startDate_.isNull()) {
                        if (!frame.ownLimits) return false;
                        toStep(kOwnLimitsStep);
                        return true;
                    }
                    _postWillInvalidateDates();
                    frame.savedNotice = flags_.alreadySentDatesChangedNotification;
                    flags_.alreadySentDatesChangedNotification = 1;
                    startDate_ = KSDateTime();
                    _needsSchedulingRecomputation();
                    performSplitRejoining();
                    toStep(1);
                    return true;
                case 1:
                    while (KSTask* before = nextLinkedTask(prerequisites_, frame.index, false)) {
                        if (tryToSetOff(before, InvalidationWalk::CurrentEnd)) return true;
                    }
                    toStep(5);
                    return true;
                case 5:
                    // Dependents joined to this start read it. The end walk reaches them
                    // only when this end moves too, and a start can move alone (a late
                    // task's derived start, a change of schedule type with no end cached).
                    while (KSTask* after = nextLinkedTask(dependents_, frame.index, true)) {
                        const KSDependency& link = *dependents_[frame.index - 1];
                        if (link.prerequisiteAlignedToEnd()) continue;
                        if (tryToSetOff(after, InvalidationWalk::CurrentStart)) return true;
                    }
                    toStep(6);
                    return true;
                case 6:
                    // A hammock's end limit is pulled by the prerequisites joined to its
                    // end: here those links that leave from this start.
                    while (KSTask* hammock = _nextHammockPulledBy(frame.index, false)) {
                        if (tryToSetOff(hammock, InvalidationWalk::CurrentEnd)) return true;
                    }
                    toStep(2);
                    if (isAsSoonAsPossible()) return setOff(this, InvalidationWalk::End);
                    return true;
                case 2:
                    toStep(3);
                    // The chunk before this one ends by this chunk's start, with no link
                    // that would walk to its end limit.
                    if (KSTask* previous = previousSplitChunk())
                        return setOff(previous, InvalidationWalk::CurrentEnd);
                    return true;
                case 3:
                    toStep(4);
                    if (KSTask* p = parentTask()) return setOff(p, InvalidationWalk::Start);
                    return true;
                case 4:
                    flags_.alreadySentDatesChangedNotification = frame.savedNotice;
                    toStep(kOwnLimitsStep);
                    return true;
                case kOwnLimitsStep:
                    // A locked task's absolute and leveling start limits are its start: a
                    // new lock, a lock gone or a start that moves under a lock would leave
                    // them as they were (no other walk reaches them from here).
                    toStep(kOwnLimitsStep + 1);
                    if (frame.ownLimits) return setOff(this, InvalidationWalk::AbsoluteStart);
                    return true;
                default:
                    return false;
            }
        case InvalidationWalk::End:
            switch (frame.step) {
                case 0:
                    frame.ownLimits = _takeLimitsReadingOwnEnd();
                    if (endDate_.isNull()) {
                        if (!frame.ownLimits) return false;
                        toStep(kOwnLimitsStep);
                        return true;
                    }
                    _postWillInvalidateDates();
                    frame.savedNotice = flags_.alreadySentDatesChangedNotification;
                    flags_.alreadySentDatesChangedNotification = 1;
                    endDate_ = KSDateTime();
                    _needsSchedulingRecomputation();
                    performSplitRejoining();
                    toStep(1);
                    return true;
                case 1:
                    while (KSTask* after = nextLinkedTask(dependents_, frame.index, true)) {
                        if (tryToSetOff(after, InvalidationWalk::CurrentStart)) return true;
                    }
                    toStep(6);
                    return true;
                case 6:
                    // The hammocks whose end this end pulls: their end limits read it.
                    while (KSTask* hammock = _nextHammockPulledBy(frame.index, true)) {
                        if (tryToSetOff(hammock, InvalidationWalk::CurrentEnd)) return true;
                    }
                    toStep(5);
                    return true;
                case 5:
                    // Prerequisites joined to this end read it (the mirror of the start
                    // walk's step for dependents joined to the start).
                    while (KSTask* before = nextLinkedTask(prerequisites_, frame.index, false)) {
                        const KSDependency& link = *prerequisites_[frame.index - 1];
                        if (!link.dependentAlignedToEnd()) continue;
                        if (tryToSetOff(before, InvalidationWalk::CurrentEnd)) return true;
                    }
                    toStep(2);
                    if (isAsLateAsPossible()) return setOff(this, InvalidationWalk::Start);
                    return true;
                case 2:
                    toStep(3);
                    // The chunk after this one starts no earlier than this chunk's end,
                    // with no link that would walk to its start limit.
                    if (KSTask* next = nextSplitChunk())
                        return setOff(next, InvalidationWalk::CurrentStart);
                    return true;
                case 3:
                    toStep(4);
                    if (KSTask* p = parentTask()) return setOff(p, InvalidationWalk::End);
                    return true;
                case 4:
                    flags_.alreadySentDatesChangedNotification = frame.savedNotice;
                    toStep(kOwnLimitsStep);
                    return true;
                case kOwnLimitsStep:
                    // A locked task's end limits (current, absolute, leveling) are its end;
                    // as on the start side, nothing else would clear them.
                    toStep(kOwnLimitsStep + 1);
                    if (frame.ownLimits) return setOff(this, InvalidationWalk::CurrentEnd);
                    return true;
                case kOwnLimitsStep + 1:
                    toStep(kOwnLimitsStep + 2);
                    if (frame.ownLimits) return setOff(this, InvalidationWalk::AbsoluteEnd);
                    return true;
                default:
                    return false;
            }
    }
    return false;
}

void KSTask::_invalidateLimitsReadingLength() {
    // Limits that read this task's length, or a date its length moves, with no walk of
    // their own to reach them. The plan-wide walk from the root refreshes them too, but
    // only once the latest start it starts from has been computed again; between two
    // edits it may not have been.
    // The end a lock holds stays, and the other end moves with the length: the change of
    // length invalidates the end an unlocked task derives, by its schedule type.
    if (!endLockedDate_.isNull() && startLockedDate_.isNull()) invalidateStartDate();
    if (!startLockedDate_.isNull() && endLockedDate_.isNull()) invalidateEndDate();
    const bool ownEndBound =
        !noEarlierThanConstraintDate_.isNull() && noEarlierThanEnd_ == KSConstrainedTaskEndEnd;
    const bool ownStartBound =
        !noLaterThanConstraintDate_.isNull() && noLaterThanEnd_ == KSConstrainedTaskEndStart;
    if (ownEndBound || flags_.hasEndingPrerequisites) {
        invalidateCurrentStartLimit();
        invalidateAbsoluteStartLimit();
    }
    bool readByDependents = ownStartBound;
    for (std::size_t i = 0; i < dependents_.size(); ++i) {
        const KSDependency& link = *dependents_[i];
        KSTask* after = link.dependent();
        if (!link.isActive() || !after) continue;
        if (!link.prerequisiteAlignedToEnd()) readByDependents = true;
        // The derived end of an early task is walked to its dependents; the derived start
        // of a late one is not, and a dependent may be joined to it. A lead given as a
        // share of this task's effort moves with it too.
        after->invalidateCurrentStartLimit();
        if (link.leadTimeIsPercentage()) after->invalidateAbsoluteStartLimit();
    }
    if (readByDependents) {
        invalidateCurrentEndLimit();
        invalidateAbsoluteEndLimit();
    }
    // A prerequisite may be joined to this task's moving end.
    for (std::size_t i = 0; i < prerequisites_.size(); ++i) {
        const KSDependency& link = *prerequisites_[i];
        KSTask* before = link.prerequisite();
        if (!link.isActive() || !before) continue;
        before->invalidateCurrentEndLimit();
        before->invalidateAbsoluteEndLimit();
    }
    // Chunks of one split task bound each other by their ends.
    if (KSTask* next = nextSplitChunk()) {
        next->invalidateCurrentStartLimit();
        next->invalidateAbsoluteStartLimit();
    }
    if (KSTask* previous = previousSplitChunk()) previous->invalidateCurrentEndLimit();
    // A group converts its constraints through its children's lengths.
    for (KSTask* group = parentTask(); group; group = group->parentTask()) {
        if (!group->noEarlierThanConstraintDate_.isNull() &&
            group->noEarlierThanEnd_ == KSConstrainedTaskEndEnd) {
            group->invalidateCurrentStartLimit();
            group->invalidateAbsoluteStartLimit();
        }
        if (!group->noLaterThanConstraintDate_.isNull() &&
            group->noLaterThanEnd_ == KSConstrainedTaskEndStart) {
            group->invalidateCurrentEndLimit();
            group->invalidateAbsoluteEndLimit();
        }
    }
}

void KSTask::_splitChunksDidChange() {
    // Which chunk comes before which changed (a chunk came, went or the chunks were put
    // in order): the chunks' limits read their neighbours', and this task's dates its
    // first and last chunk's. None of these walks would run otherwise: the neighbours of
    // a chunk are no links.
    if (!isSplitTask_) return;
    if (children()) {
        for (std::size_t i = 0; i < countOfChildren(); ++i) {
            KSTask& chunk = static_cast<KSTask&>(*(*children())[i]);
            chunk.invalidateCurrentStartLimit();
            chunk.invalidateAbsoluteStartLimit();
            chunk.invalidateCurrentEndLimit();
        }
    }
    invalidateStartDate();
    invalidateEndDate();
    invalidateEarliestPossibleEnd();
    invalidateLatestPossibleStart();
}

void KSTask::_workDidCrossZero(double oldEffort) {
    // A plain task, a chunk or a split task moves its limits into working time only while
    // it has work: when its effort comes to 0 or leaves it, they change with nothing else
    // of the task.
    if ((oldEffort > 0.0) == (effort_ > 0.0) || (!isStandardTask() && !flags_.isSplitChunk)) return;
    invalidateCurrentStartLimit();
    invalidateAbsoluteStartLimit();
    invalidateCurrentEndLimit();
    invalidateAbsoluteEndLimit();
}

void KSTask::_rolledUpWorkDidChange(double oldEffort) {
    // The totals of a group, a split task or the root changed by a child's: no setter of
    // this task ran, so nothing else clears what reads them.
    // Where the rest of the work begins follows the work done.
    uncompletedStartDate_ = KSDateTime();
    if (effort_ == oldEffort) return;
    _workDidCrossZero(oldEffort);
    // A split task converts between its ends by its effort, as a plain task does.
    if (isSplitTask_) {
        _invalidateLimitsReadingLength();
        return;
    }
    // A lead given as a share of this task's effort moves the dependents.
    for (std::size_t i = 0; i < dependents_.size(); ++i) {
        const KSDependency& link = *dependents_[i];
        KSTask* after = link.dependent();
        if (!link.isActive() || !after || !link.leadTimeIsPercentage()) continue;
        after->invalidateCurrentStartLimit();
        after->invalidateAbsoluteStartLimit();
    }
}

void KSTask::invalidateAllDates() {
    if ((!startDate_.isNull() || !endDate_.isNull()) && !_isGroupTask()) {
        KSNotificationCenter::defaultCenter().postNotificationName(
            KSTaskWillInvalidateDatesNotification, this);
    }
    // Whether neighbours may have read the dates cleared here.
    const bool hadEarliestEnd = !earliestPossibleEnd_.isNull();
    const bool hadLatestStart = !latestPossibleStart_.isNull();
    const bool hadDates =
        hadEarliestEnd || hadLatestStart || !startDate_.isNull() || !endDate_.isNull() ||
        !currentStartLimit_.isNull() || !currentStartLimitExcludingOppositeScheduling_.isNull() ||
        !currentEndLimit_.isNull() || !absoluteStartLimit_.isNull() || !absoluteEndLimit_.isNull();
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
    if (children()) {
        // Index by index: the list is the tree's own, and a child's walk does not change it.
        for (std::size_t i = 0; i < countOfChildren(); ++i)
            static_cast<KSTask&>(*(*children())[i]).invalidateAllDates();
    }
    if (KSTask* p = parentTask()) {
        p->invalidateStartDate();
        p->invalidateEndDate();
    }
    if (hadDates) _invalidateReadersOfAllDates(hadEarliestEnd, hadLatestStart);
    // What converts a date through this task's length (a group's constraints, links joined
    // to the far end) reads no cache of the task's, but what the length is may have
    // changed with it (a task that became a split task converts by its effort, no longer
    // over its chunks).
    _invalidateLimitsReadingLength();
    _needsSchedulingRecomputation();
    performSplitRejoining();
}

void KSTask::_invalidateReadersOfAllDates(bool earliestEnd, bool latestStart) {
    // What the clearing above leaves of the limits that read this task: its group's
    // earliest end and latest start, read over its children; the start limits of its
    // dependents and the end limits of its prerequisites, which read its dates and
    // limits through the links; and the chunks beside it. A task that had nothing cached
    // was read by nobody, so a new task joins a plan without these walks.
    if (KSTask* p = parentTask()) {
        if (earliestEnd) p->invalidateEarliestPossibleEnd();
        if (latestStart) p->invalidateLatestPossibleStart();
    }
    for (std::size_t i = 0; i < dependents_.size(); ++i) {
        const KSDependency& link = *dependents_[i];
        KSTask* after = link.dependent();
        if (!link.isActive() || !after) continue;
        after->invalidateCurrentStartLimit();
        after->invalidateAbsoluteStartLimit();
    }
    for (std::size_t i = 0; i < prerequisites_.size(); ++i) {
        const KSDependency& link = *prerequisites_[i];
        KSTask* before = link.prerequisite();
        if (!link.isActive() || !before) continue;
        before->invalidateCurrentEndLimit();
        before->invalidateAbsoluteEndLimit();
    }
    if (KSTask* next = nextSplitChunk()) {
        next->invalidateCurrentStartLimit();
        next->invalidateAbsoluteStartLimit();
    }
    if (KSTask* previous = previousSplitChunk()) previous->invalidateCurrentEndLimit();
}

void KSTask::resetAbsoluteLimitChangeFlags() {
    flags_.absoluteStartLimitDidChange = 0;
    flags_.absoluteEndLimitDidChange = 0;
}

}  // namespace kestrum
