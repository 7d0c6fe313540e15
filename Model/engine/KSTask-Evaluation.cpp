// KSTask: the getters of the cached dates, and the evaluation that fills them without
// deep recursion.
//
// A getter answers its cache, or computes the date by its rule (KSTask-Dates.cpp), which
// reads other dates through their getters in turn. Read naively, a chain of ten thousand
// linked tasks would recurse ten thousand times over. So a read recurses only a few dozen
// levels; deeper, it hands the date to a work list that first fills, bottom-up, every
// date the rule will read (the same rule, spelled as a list of what it reads), and then
// computes the date itself from full caches. The list only decides the order: the rules
// stay the one statement of what a date is, and a dependency the list does not name is
// simply computed by recursion again, one guarded level at a time.
#include "Model/engine/KSCriticalPath.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <unordered_map>

// The check that the work list prepares every date a rule reads: on in debug builds,
// and wherever KESTRUM_CHECK_DATE_READS=1 is defined (the CMake option of that name).
#ifndef KESTRUM_CHECK_DATE_READS
#ifdef NDEBUG
#define KESTRUM_CHECK_DATE_READS 0
#else
#define KESTRUM_CHECK_DATE_READS 1
#endif
#endif

namespace kestrum {

struct KSTask::DateNode {
    KSTask* task;
    KSCriticalPath* path;
    DateQuantity quantity;
    bool expanded;
};

namespace {

// How deep reads may recurse before the work list takes over.
constexpr int kMaximumDirectDepth = 32;
thread_local int tMaximumDirectDepth = kMaximumDirectDepth;

thread_local int tDirectDepth = 0;

// Reads of a date while it was being computed, on this thread.
thread_local std::uint64_t tCyclicReads = 0;

#if KESTRUM_CHECK_DATE_READS
// While a date listed by the work list is computed: the read depth of its rule's own
// reads (1 below the computation), else -1. A read at that depth that finds its cache
// empty is a date the rule reads and `_pushDateDependencies` does not list.
thread_local int tCheckedReadDepth = -1;
// The date being computed from the work list, for the message.
thread_local const KSTask* tCheckedTask = nullptr;
thread_local std::uint8_t tCheckedQuantity = 0;
thread_local std::uint64_t tUncachedWorkListReads = 0;
thread_local std::string tLastUncachedWorkListRead;
#endif

// The end limits without opposite scheduling are not cached on the task; within one
// outer read they are kept here, which gives the same values as computing them afresh.
thread_local std::unordered_map<const KSTask*, KSDateTime>* tEndLimitsExcluding = nullptr;

constexpr std::uint16_t bitOf(std::uint8_t quantity) {
    return static_cast<std::uint16_t>(1u << quantity);
}

}  // namespace

std::uint64_t KSTask::_cyclicDateReads() {
    return tCyclicReads;
}

void KSTask::_setMaximumDirectReadDepth(int depth) {
    // At 0 a date would hand itself to the work list for ever: 1 is the least.
    tMaximumDirectDepth = depth < 0 ? kMaximumDirectDepth : std::max(depth, 1);
}

std::uint64_t KSTask::_uncachedWorkListReads() {
#if KESTRUM_CHECK_DATE_READS
    return tUncachedWorkListReads;
#else
    return 0;
#endif
}

std::string KSTask::_lastUncachedWorkListRead() {
#if KESTRUM_CHECK_DATE_READS
    return tLastUncachedWorkListRead;
#else
    return {};
#endif
}

// --- Getters -------------------------------------------------------------------------------------

KSDateTime KSTask::startDate() {
    return startDate_.isNull() ? _evaluateDate(DateQuantity::Start, nullptr) : startDate_;
}

KSDateTime KSTask::endDate() {
    return endDate_.isNull() ? _evaluateDate(DateQuantity::End, nullptr) : endDate_;
}

KSDateTime KSTask::currentStartLimit() {
    return currentStartLimit_.isNull() ? _evaluateDate(DateQuantity::CurrentStart, nullptr)
                                       : currentStartLimit_;
}

KSDateTime KSTask::_computeCurrentStartLimitIncludingOppositeScheduling(bool includeOpposite) {
    if (includeOpposite) return currentStartLimit();
    return currentStartLimitExcludingOppositeScheduling_.isNull()
               ? _evaluateDate(DateQuantity::CurrentStartExcluding, nullptr)
               : currentStartLimitExcludingOppositeScheduling_;
}

KSDateTime KSTask::currentEndLimit() {
    return currentEndLimit_.isNull() ? _evaluateDate(DateQuantity::CurrentEnd, nullptr)
                                     : currentEndLimit_;
}

KSDateTime KSTask::_computeCurrentEndLimitIncludingOppositeScheduling(bool includeOpposite) {
    // The form with opposite scheduling is the cached end limit: as the caches are
    // always current, computing it again would give the same date.
    if (includeOpposite) return currentEndLimit();
    if (tEndLimitsExcluding) {
        auto it = tEndLimitsExcluding->find(this);
        if (it != tEndLimitsExcluding->end()) return it->second;
        return _evaluateDate(DateQuantity::CurrentEndExcluding, nullptr);
    }
    std::unordered_map<const KSTask*, KSDateTime> scratch;
    tEndLimitsExcluding = &scratch;
    KSDateTime limit = _evaluateDate(DateQuantity::CurrentEndExcluding, nullptr);
    tEndLimitsExcluding = nullptr;
    return limit;
}

KSDateTime KSTask::absoluteStartLimitForCriticalPath(KSCriticalPath* path) {
    if (_hasCachedDate(DateQuantity::AbsoluteStart, path))
        return _cachedDate(DateQuantity::AbsoluteStart, path);
    return _evaluateDate(DateQuantity::AbsoluteStart, path);
}

KSDateTime KSTask::absoluteEndLimitForCriticalPath(KSCriticalPath* path) {
    if (_hasCachedDate(DateQuantity::AbsoluteEnd, path))
        return _cachedDate(DateQuantity::AbsoluteEnd, path);
    return _evaluateDate(DateQuantity::AbsoluteEnd, path);
}

KSDateTime KSTask::earliestPossibleEnd() {
    return earliestPossibleEnd_.isNull() ? _evaluateDate(DateQuantity::EarliestEnd, nullptr)
                                         : earliestPossibleEnd_;
}

KSDateTime KSTask::latestPossibleStart() {
    return latestPossibleStart_.isNull() ? _evaluateDate(DateQuantity::LatestStart, nullptr)
                                         : latestPossibleStart_;
}

KSDateTime KSTask::levelingStartLimit() {
    // A valid null stays null: it is not computed again.
    return flags_.levelingStartLimitIsValid ? levelingStartLimit_
                                            : _evaluateDate(DateQuantity::LevelingStart, nullptr);
}

KSDateTime KSTask::levelingEndLimit() {
    return flags_.levelingEndLimitIsValid ? levelingEndLimit_
                                          : _evaluateDate(DateQuantity::LevelingEnd, nullptr);
}

// --- Caches --------------------------------------------------------------------------------------

bool KSTask::_hasCachedDate(DateQuantity quantity, KSCriticalPath* path) const {
    switch (quantity) {
        case DateQuantity::Start:
            return !startDate_.isNull();
        case DateQuantity::End:
            return !endDate_.isNull();
        case DateQuantity::CurrentStart:
            return !currentStartLimit_.isNull();
        case DateQuantity::CurrentStartExcluding:
            return !currentStartLimitExcludingOppositeScheduling_.isNull();
        case DateQuantity::CurrentEnd:
            return !currentEndLimit_.isNull();
        case DateQuantity::CurrentEndExcluding:
            return tEndLimitsExcluding && tEndLimitsExcluding->count(this);
        case DateQuantity::AbsoluteStart:
            return path ? !path->cachedDateForTask(*this).isNull() : !absoluteStartLimit_.isNull();
        case DateQuantity::AbsoluteEnd:
            return path ? !path->cachedDateForTask(*this).isNull() : !absoluteEndLimit_.isNull();
        case DateQuantity::EarliestEnd:
            return !earliestPossibleEnd_.isNull();
        case DateQuantity::LatestStart:
            return !latestPossibleStart_.isNull();
        case DateQuantity::LevelingStart:
            return flags_.levelingStartLimitIsValid;
        case DateQuantity::LevelingEnd:
            return flags_.levelingEndLimitIsValid;
    }
    return false;
}

KSDateTime KSTask::_cachedDate(DateQuantity quantity, KSCriticalPath* path) const {
    switch (quantity) {
        case DateQuantity::Start:
            return startDate_;
        case DateQuantity::End:
            return endDate_;
        case DateQuantity::CurrentStart:
            return currentStartLimit_;
        case DateQuantity::CurrentStartExcluding:
            return currentStartLimitExcludingOppositeScheduling_;
        case DateQuantity::CurrentEnd:
            return currentEndLimit_;
        case DateQuantity::CurrentEndExcluding: {
            if (!tEndLimitsExcluding) return {};
            auto it = tEndLimitsExcluding->find(this);
            return it == tEndLimitsExcluding->end() ? KSDateTime() : it->second;
        }
        case DateQuantity::AbsoluteStart:
            return path ? path->cachedDateForTask(*this) : absoluteStartLimit_;
        case DateQuantity::AbsoluteEnd:
            return path ? path->cachedDateForTask(*this) : absoluteEndLimit_;
        case DateQuantity::EarliestEnd:
            return earliestPossibleEnd_;
        case DateQuantity::LatestStart:
            return latestPossibleStart_;
        case DateQuantity::LevelingStart:
            return levelingStartLimit_;
        case DateQuantity::LevelingEnd:
            return levelingEndLimit_;
    }
    return {};
}

void KSTask::_storeDate(DateQuantity quantity, KSCriticalPath* path, const KSDateTime& date) {
    switch (quantity) {
        case DateQuantity::Start:
            startDate_ = date;
            break;
        case DateQuantity::End:
            endDate_ = date;
            break;
        case DateQuantity::CurrentStart:
            currentStartLimit_ = date;
            break;
        case DateQuantity::CurrentStartExcluding:
            currentStartLimitExcludingOppositeScheduling_ = date;
            break;
        case DateQuantity::CurrentEnd:
            currentEndLimit_ = date;
            break;
        case DateQuantity::CurrentEndExcluding:
            if (tEndLimitsExcluding) (*tEndLimitsExcluding)[this] = date;
            break;
        case DateQuantity::AbsoluteStart:
            if (path) {
                path->cacheDateForTask(date, *this);
            } else {
                absoluteStartLimit_ = date;
            }
            break;
        case DateQuantity::AbsoluteEnd:
            if (path) {
                path->cacheDateForTask(date, *this);
            } else {
                absoluteEndLimit_ = date;
            }
            break;
        case DateQuantity::EarliestEnd:
            earliestPossibleEnd_ = date;
            break;
        case DateQuantity::LatestStart:
            latestPossibleStart_ = date;
            break;
        case DateQuantity::LevelingStart:
            levelingStartLimit_ = date;
            flags_.levelingStartLimitIsValid = 1;
            break;
        case DateQuantity::LevelingEnd:
            levelingEndLimit_ = date;
            flags_.levelingEndLimitIsValid = 1;
            break;
    }
}

KSDateTime KSTask::_computeDate(DateQuantity quantity, KSCriticalPath* path) {
    switch (quantity) {
        case DateQuantity::Start:
            return _computeStartDate();
        case DateQuantity::End:
            return _computeEndDate();
        case DateQuantity::CurrentStart:
            return _computeCurrentStartLimit(true);
        case DateQuantity::CurrentStartExcluding:
            return _computeCurrentStartLimit(false);
        case DateQuantity::CurrentEnd:
            return _computeCurrentEndLimit(true);
        case DateQuantity::CurrentEndExcluding:
            return _computeCurrentEndLimit(false);
        case DateQuantity::AbsoluteStart:
            return _computeAbsoluteStartLimit(path);
        case DateQuantity::AbsoluteEnd:
            return _computeAbsoluteEndLimit(path);
        case DateQuantity::EarliestEnd:
            return _computeEarliestPossibleEnd();
        case DateQuantity::LatestStart:
            return _computeLatestPossibleStart();
        case DateQuantity::LevelingStart:
            return _computeLevelingStartLimit();
        case DateQuantity::LevelingEnd:
            return _computeLevelingEndLimit();
    }
    return {};
}

// --- Evaluation
// ------------------------------------------------------------------------------------

KSDateTime KSTask::_evaluateDate(DateQuantity quantity, KSCriticalPath* path) {
    const std::uint16_t bit = bitOf(static_cast<std::uint8_t>(quantity));
    // A rule that comes back to the date it is computing would never end (a loop the
    // link checker has not broken yet, or a hammock bound by its own derived end): it
    // reads the empty cache instead.
    if (datesBeingComputed_ & bit) {
        ++tCyclicReads;
        return _cachedDate(quantity, path);
    }
#if KESTRUM_CHECK_DATE_READS
    // A date still being prepared lower in the list is a cycle through the rules (the
    // cyclic reads count those), not a read that the list forgot.
    if (tDirectDepth == tCheckedReadDepth && !(datesBeingPrepared_ & bit))
        _noteUncachedWorkListRead(quantity);
#endif
    if (tDirectDepth >= tMaximumDirectDepth) {
        _prepareDatesIteratively(quantity, path);
        if (_hasCachedDate(quantity, path)) return _cachedDate(quantity, path);
    }
    ++tDirectDepth;
    datesBeingComputed_ |= bit;
    KSDateTime date = _computeDate(quantity, path);
    datesBeingComputed_ &= static_cast<std::uint16_t>(~bit);
    --tDirectDepth;
    _storeDate(quantity, path, date);
    return date;
}

#if KESTRUM_CHECK_DATE_READS
void KSTask::_noteUncachedWorkListRead(DateQuantity quantity) {
    static const char* const names[] = {"startDate",           "endDate",
                                        "currentStartLimit",   "currentStartLimit excluding",
                                        "currentEndLimit",     "currentEndLimit excluding",
                                        "absoluteStartLimit",  "absoluteEndLimit",
                                        "earliestPossibleEnd", "latestPossibleStart",
                                        "levelingStartLimit",  "levelingEndLimit"};
    auto describe = [](std::uint8_t index, const KSTask* task) {
        return std::string(index < std::size(names) ? names[index] : "?") + " of \"" +
               (task ? task->title().value_or("") : std::string()) + "\"";
    };
    ++tUncachedWorkListReads;
    tLastUncachedWorkListRead = describe(static_cast<std::uint8_t>(quantity), this) + " (read by " +
                                describe(tCheckedQuantity, tCheckedTask) + ")";
}
#endif

void KSTask::_prepareDatesIteratively(DateQuantity quantity, KSCriticalPath* path) {
    // One work list per thread, shared by nested preparations: each works above the
    // entries of the one it interrupted.
    thread_local std::vector<DateNode> work;
    const std::size_t base = work.size();
    const int savedDepth = tDirectDepth;
    tDirectDepth = 0;
    work.push_back(DateNode{this, path, quantity, false});
    while (work.size() > base) {
        DateNode node = work.back();
        KSTask* task = node.task;
        const std::uint16_t bit = bitOf(static_cast<std::uint8_t>(node.quantity));
        if (!node.expanded) {
            if (task->_hasCachedDate(node.quantity, node.path) ||
                ((task->datesBeingPrepared_ | task->datesBeingComputed_) & bit)) {
                work.pop_back();
                continue;
            }
            work.back().expanded = true;
            task->datesBeingPrepared_ |= bit;
            task->_pushDateDependencies(node.quantity, node.path, work);
            continue;
        }
        // Everything the rule reads is cached now (or could not be listed): compute.
        work.pop_back();
        task->datesBeingPrepared_ &= static_cast<std::uint16_t>(~bit);
        if (!task->_hasCachedDate(node.quantity, node.path)) {
#if KESTRUM_CHECK_DATE_READS
            // The rule's reads happen one level down: they must all find their caches.
            const int savedChecked = tCheckedReadDepth;
            const KSTask* savedTask = tCheckedTask;
            const std::uint8_t savedQuantity = tCheckedQuantity;
            tCheckedReadDepth = tDirectDepth + 1;
            tCheckedTask = task;
            tCheckedQuantity = static_cast<std::uint8_t>(node.quantity);
            task->_evaluateDate(node.quantity, node.path);
            tCheckedReadDepth = savedChecked;
            tCheckedTask = savedTask;
            tCheckedQuantity = savedQuantity;
#else
            task->_evaluateDate(node.quantity, node.path);
#endif
        }
    }
    tDirectDepth = savedDepth;
}

// --- What each rule reads ----------------------------------------------------------------------
// These lists follow the rules of KSTask-Dates.cpp branch by branch. They need not be
// complete (what is missing is computed by guarded recursion) but must not name a date
// that the rule does not read, which could put dates in an order the rules never take.

void KSTask::_pushDateDependencies(DateQuantity quantity, KSCriticalPath* path,
                                   std::vector<DateNode>& work) {
    auto push = [&work](KSTask* task, DateQuantity q, KSCriticalPath* p = nullptr) {
        if (!task || task->_hasCachedDate(q, p)) return;
        work.push_back(DateNode{task, p, q, false});
    };
    // The plan's side is read only by the branches that need it.
    auto fixedEnd = [this] { return _planHasFixedEndDate(); };
    const bool group = _isGroupTask();
    auto pushChildren = [&](DateQuantity q, KSCriticalPath* p = nullptr) {
        if (!children()) return;
        for (const auto& child : *children())
            push(static_cast<KSTask*>(child.get()), q, p);
    };
    // A link to the end of a prerequisite (the start of a dependent) reads, through
    // endForAbsoluteStartLimitForCriticalPath (its mirror), the plain task's earliest end
    // (`plain`) or any other task's absolute limit (`other`), and for a group the same of
    // every task below it.
    auto pushOverSubtree = [&](KSTask* top, DateQuantity plain, DateQuantity other) {
        thread_local std::vector<KSTask*> below;
        below.clear();
        below.push_back(top);
        while (!below.empty()) {
            KSTask* task = below.back();
            below.pop_back();
            if (!path && task->_isPlainTask()) {
                push(task, plain);
                continue;
            }
            push(task, other, path);
            // A hammock converts its end limit into a start by its own start date (its
            // end limit needs no conversion).
            if (other == DateQuantity::AbsoluteEnd && task->isHammockTask())
                push(task, DateQuantity::Start);
            if (!task->_isGroupTask()) continue;
            for (const auto& child : *task->children())
                below.push_back(static_cast<KSTask*>(child.get()));
        }
    };
    // levelingEarliestPossibleEnd (levelingLastPossibleStart) of `top`: a group reads
    // those of its children, any other task its leveling start (end) limit, and a hammock
    // converts that by its own end (start) date.
    auto pushLevelingOverSubtree = [&](KSTask* top, DateQuantity limit) {
        thread_local std::vector<KSTask*> below;
        below.clear();
        below.push_back(top);
        while (!below.empty()) {
            KSTask* task = below.back();
            below.pop_back();
            if (!task->_isGroupTask()) {
                push(task, limit);
                if (task->isHammockTask())
                    push(task, limit == DateQuantity::LevelingStart ? DateQuantity::End
                                                                    : DateQuantity::Start);
                continue;
            }
            for (const auto& child : *task->children())
                below.push_back(static_cast<KSTask*>(child.get()));
        }
    };
    auto pushEmptyGroupDate = [&] {
        push(this, isAsSoonAsPossible() ? DateQuantity::CurrentStart : DateQuantity::CurrentEnd);
    };
    switch (quantity) {
        case DateQuantity::Start:
            if (!startLockedDate_.isNull()) return;
            if (group || isSplitTask_) {
                if (hasChildren()) {
                    if (group) {
                        pushChildren(DateQuantity::Start);
                    } else {
                        push(static_cast<KSTask*>(children()->front().get()), DateQuantity::Start);
                    }
                } else {
                    pushEmptyGroupDate();
                }
            } else if (isHammockTask()) {
                push(this, DateQuantity::CurrentStart);
            } else if (isAsLateAsPossible() || !endLockedDate_.isNull()) {
                push(this, DateQuantity::End);
            } else {
                push(this, fixedEnd() ? DateQuantity::AbsoluteStart : DateQuantity::CurrentStart);
            }
            return;
        case DateQuantity::End:
            if (!endLockedDate_.isNull()) {
                if (!startLockedDate_.isNull()) push(this, DateQuantity::Start);
                return;
            }
            if (group || isSplitTask_) {
                if (hasChildren()) {
                    if (group) {
                        pushChildren(DateQuantity::End);
                    } else {
                        push(static_cast<KSTask*>(children()->back().get()), DateQuantity::End);
                    }
                } else {
                    pushEmptyGroupDate();
                }
            } else if (isHammockTask()) {
                push(this, DateQuantity::CurrentEnd);
                push(this, DateQuantity::Start);
            } else if (isAsSoonAsPossible() || !startLockedDate_.isNull()) {
                push(this, DateQuantity::Start);
            } else {
                push(this, fixedEnd() ? DateQuantity::CurrentEnd : DateQuantity::AbsoluteEnd);
            }
            return;
        case DateQuantity::CurrentStart:
        case DateQuantity::CurrentStartExcluding: {
            const bool include = quantity == DateQuantity::CurrentStart;
            if (KSTask* p = parentTask()) {
                if (p->startLockedDate_.isNull()) push(p, quantity);
            } else if (fixedEnd()) {
                push(this, DateQuantity::LatestStart);
            }
            if (KSTask* previous = previousSplitChunk()) push(previous, DateQuantity::End);
            const bool hammock = isHammockTask();
            for (const auto& link : prerequisites_) {
                KSTask* before = link->prerequisite();
                if (!link->isActive() || !before || (hammock && link->dependentAlignedToEnd()))
                    continue;
                if (include) {
                    push(before, link->prerequisiteAlignedToEnd() ? DateQuantity::End
                                                                  : DateQuantity::Start);
                } else {
                    push(before, DateQuantity::CurrentStartExcluding);
                }
            }
            return;
        }
        case DateQuantity::CurrentEnd:
        case DateQuantity::CurrentEndExcluding: {
            const bool include = quantity == DateQuantity::CurrentEnd;
            bool needsOwnLimit = true;
            if (isHammockTask()) {
                for (const auto& link : prerequisites_) {
                    KSTask* before = link->prerequisite();
                    if (!link->isActive() || !before || !link->dependentAlignedToEnd()) continue;
                    needsOwnLimit = false;
                    push(before, link->prerequisiteAlignedToEnd() ? DateQuantity::End
                                                                  : DateQuantity::Start);
                }
            } else {
                for (const auto& link : dependents_) {
                    KSTask* after = link->dependent();
                    if (!link->isActive() || !after || after->isHammockTask()) continue;
                    if (include) {
                        push(after, link->dependentAlignedToEnd() ? DateQuantity::End
                                                                  : DateQuantity::Start);
                    } else {
                        push(after, DateQuantity::CurrentEndExcluding);
                    }
                }
            }
            if (!needsOwnLimit) return;
            if (_hasLockedDate()) {
                push(this, DateQuantity::End);
            } else if (isHammockTask()) {
                KSScenario* owner = scenario();
                if (owner && owner->rootTask())
                    push(owner->rootTask().get(), DateQuantity::CurrentEnd);
            } else if (KSTask* p = parentTask()) {
                push(p, quantity);
            } else if (!fixedEnd()) {
                push(this, DateQuantity::EarliestEnd);
            }
            if (KSTask* next = nextSplitChunk()) push(next, DateQuantity::Start);
            return;
        }
        case DateQuantity::AbsoluteStart: {
            if (KSTask* previous = previousSplitChunk()) {
                push(previous, DateQuantity::AbsoluteStart, path);
            } else if (KSTask* p = parentTask()) {
                push(p, DateQuantity::AbsoluteStart, path);
            } else if (fixedEnd()) {
                push(this, DateQuantity::LatestStart);
            }
            if (_hasLockedDate()) push(this, DateQuantity::Start);
            const bool hammock = isHammockTask();
            for (const auto& link : prerequisites_) {
                KSTask* before = link->prerequisite();
                if (!link->isActive() || !before || (hammock && link->dependentAlignedToEnd()))
                    continue;
                if (path && path->shouldBeExcluded(*before)) continue;
                if (link->prerequisiteAlignedToEnd()) {
                    pushOverSubtree(before, DateQuantity::EarliestEnd, DateQuantity::AbsoluteStart);
                } else {
                    push(before, DateQuantity::AbsoluteStart, path);
                }
            }
            return;
        }
        case DateQuantity::AbsoluteEnd: {
            if (KSTask* p = parentTask()) {
                push(p, DateQuantity::AbsoluteEnd, path);
            } else if (!fixedEnd()) {
                push(this, DateQuantity::EarliestEnd);
            }
            if (_hasLockedDate()) push(this, DateQuantity::End);
            for (const auto& link : dependents_) {
                KSTask* after = link->dependent();
                if (!link->isActive() || !after || after->isHammockTask()) continue;
                if (path && path->shouldBeExcluded(*after)) continue;
                if (!link->dependentAlignedToEnd()) {
                    pushOverSubtree(after, DateQuantity::LatestStart, DateQuantity::AbsoluteEnd);
                } else {
                    push(after, DateQuantity::AbsoluteEnd, path);
                }
            }
            return;
        }
        case DateQuantity::EarliestEnd:
            push(this, DateQuantity::AbsoluteStart);
            if (group) {
                pushChildren(DateQuantity::EarliestEnd);
            } else if (isSplitTask_ && hasChildren()) {
                push(static_cast<KSTask*>(children()->back().get()), DateQuantity::EarliestEnd);
            }
            return;
        case DateQuantity::LatestStart:
            push(this, DateQuantity::AbsoluteEnd);
            if (group || isSplitTask_) pushChildren(DateQuantity::LatestStart);
            return;
        case DateQuantity::LevelingStart:
            if (_hasLockedDate()) {
                push(this, DateQuantity::Start);
            } else if (KSTask* p = parentTask()) {
                push(p, DateQuantity::LevelingStart);
            }
            for (const auto& link : prerequisites_) {
                if (!link->isActive() || !link->prerequisite()) continue;
                if (link->prerequisiteAlignedToEnd()) {
                    pushLevelingOverSubtree(link->prerequisite(), DateQuantity::LevelingStart);
                } else {
                    push(link->prerequisite(), DateQuantity::LevelingStart);
                }
                // A hammock turns an end into its start by its own start date.
                if (link->dependentAlignedToEnd() && isHammockTask())
                    push(this, DateQuantity::Start);
            }
            return;
        case DateQuantity::LevelingEnd:
            // A locked end, or a locked start that leveling may not split away from, is
            // the limit: the end date is read (the list named only the parent's limit).
            if (!endLockedDate_.isNull() ||
                (!startLockedDate_.isNull() && !_couldBeSplitForRescheduleDuringLeveling())) {
                push(this, DateQuantity::End);
            } else if (KSTask* p = parentTask()) {
                push(p, DateQuantity::LevelingEnd);
            }
            for (const auto& link : dependents_) {
                if (!link->isActive() || !link->dependent()) continue;
                if (link->dependentAlignedToEnd()) {
                    push(link->dependent(), DateQuantity::LevelingEnd);
                } else {
                    pushLevelingOverSubtree(link->dependent(), DateQuantity::LevelingEnd);
                }
                if (!link->prerequisiteAlignedToEnd() && isHammockTask())
                    push(this, DateQuantity::End);
            }
            return;
    }
}

}  // namespace kestrum
