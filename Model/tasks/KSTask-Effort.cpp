// KSTask: effort, estimates, progress and duration.
#include <algorithm>
#include <cmath>

#include "Model/engine/KSIssue.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSScheduling.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

namespace {
// The single-precision ceiling of a task that holds an open milestone.
constexpr float kOpenMilestoneCeiling = 0.99f;
}  // namespace

bool KSTask::_isUndoingOrRedoing() const {
    KSUndoManager* um = undoManager();
    return um && um->isUndoingOrRedoing();
}

// --- Effort -----------------------------------------------------------------------------------

void KSTask::setEffort(double effort) {
    if (_isGroupTask()) {
        _presentError(KSStringWithFormat(
            KSLocalizedString("Can't set effort directly on a group\nUID: %d\nTitle: %@"),
            objectId(), title().value_or("")));
        return;
    }
    // Zero passes, whatever the words say.
    if (effort < 0.0) {
        _presentError(KSLocalizedString("The effort must be greater than zero."));
        return;
    }
    double value = std::round(effort);
    if (value == effort_) return;
    removeIssuesOfKind(KSIssue::maximumEffortIssueKind());
    if (value > KSMaximumTaskEffort) {
        addIssue(std::make_shared<KSMaximumEffortExceededError>(this));
        value = KSMaximumTaskEffort;
    }
    _internalChangeEffort(value);
    _setActionNameIfGrouped("Set Effort");
}

void KSTask::_internalChangeEffort(double effort) {
    if (effort == effort_) return;
    if (isSplitTask_ && hasChildren()) {
        // The effort is dealt out over the chunks in order; surplus goes to the last.
        double left = effort;
        KSTaskList chunks;
        _childrenTasks(chunks);
        KSProjectItemList surplus;
        for (const auto& chunk : chunks) {
            if (left == 0.0) {
                surplus.push_back(chunk);
            } else if (chunk->effort_ > left) {
                chunk->setEffort(left);
                left = 0.0;
            } else {
                left -= chunk->effort_;
            }
        }
        if (!surplus.empty()) removeChildItems(surplus);
        if (left > 0.0 && hasChildren()) {
            std::shared_ptr<KSTask> last = childTaskAtIndex(countOfChildren() - 1);
            last->setEffort(last->effort_ + left);
        }
        performSplitRejoining();
        return;
    }
    const double oldEffort = effort_;
    KSTaskList siblingChunks;
    if (flags_.isSplitChunk && parentTask()) parentTask()->_childrenTasks(siblingChunks);
    // The callers tell an unchanged effort; every call here is recorded.
    undoableSetter<KSTask>()
        .key("effort")
        .comparedBy(KSSetterEquality::Never)
        .before([&] {
            for (const auto& chunk : siblingChunks)
                chunk->willChangeValueForKey("staticCost");
            if (KSTask* p = parentTask())
                p->_childDidChangeEffortAndDone(this, effort - effort_, 0.0);
        })
        .setWith(
            effort_, effort,
            [this](double value) {
                effort_ = value;
                if (effortDone_ > effort_) setEffortDone(effort_);
                // A directly entered effort collapses the estimates onto itself. Undo and
                // redo restore the estimates through their own recorded calls.
                if (!flags_.updatingEstimates && !_isGroupTask() && !isSplitTask_ &&
                    !_isUndoingOrRedoing()) {
                    flags_.updatingEstimates = 1;
                    setMinEffortEstimate(effort_);
                    setExpectedEffortEstimate(effort_);
                    setMaxEffortEstimate(effort_);
                    flags_.updatingEstimates = 0;
                }
                uncompletedStartDate_ = KSDateTime();
            },
            &KSTask::_internalChangeEffort);
    for (const auto& chunk : siblingChunks)
        chunk->didChangeValueForKey("staticCost");
    if (!isHammockTask()) {
        invalidateEarliestPossibleEnd();
        invalidateLatestPossibleStart();
    }
    // The derived end moves; the anchored end stays.
    if (isAsLateAsPossible())
        invalidateStartDate();
    else
        invalidateEndDate();
    _invalidateLimitsReadingLength();
    _workDidCrossZero(oldEffort);
}

void KSTask::setEffortRemaining(double remaining) {
    if (_isGroupTask()) {
        _presentError(KSLocalizedString("Can't set effort directly on a group"));
        return;
    }
    if (remaining < 0.0) {
        _presentError(KSLocalizedString("The effort must be greater than zero."));
        return;
    }
    setEffort(remaining + effortDone_);
}

// --- Estimates --------------------------------------------------------------------------------

bool KSTask::_storeEstimate(double KSTask::*field, double value, std::string_view key,
                            void (KSTask::*setter)(double)) {
    const double old = this->*field;
    if (!undoableSetter<KSTask>()
             .key(key)
             .before([&] {
                 // The parents add up the change before it is stored.
                 if (KSTask* p = parentTask()) {
                     p->_childDidChangeEstimateMinExpectedMax(
                         this, field == &KSTask::minEffortEstimate_ ? value - old : 0.0,
                         field == &KSTask::expectedEffortEstimate_ ? value - old : 0.0,
                         field == &KSTask::maxEffortEstimate_ ? value - old : 0.0);
                 }
             })
             .set(this->*field, value, setter))
        return false;
    // Undo and redo replay every estimate and the effort by themselves.
    return !flags_.updatingEstimates && !flags_.isLoading && !_isUndoingOrRedoing();
}

void KSTask::_estimateDidChange(std::string_view actionName) {
    _updateEffortFromEstimates();
    _setActionNameIfGrouped(actionName);
    flags_.updatingEstimates = 0;
}

void KSTask::setMinEffortEstimate(double value) {
    if (!_storeEstimate(&KSTask::minEffortEstimate_, value, "minEffortEstimate",
                        &KSTask::setMinEffortEstimate))
        return;
    flags_.updatingEstimates = 1;
    if (maxEffortEstimate_ != 0.0 && value > maxEffortEstimate_) setMaxEffortEstimate(value);
    if (expectedEffortEstimate_ != 0.0 && value > expectedEffortEstimate_)
        setExpectedEffortEstimate(value);
    _estimateDidChange("Set Min Effort");
}

void KSTask::setExpectedEffortEstimate(double value) {
    if (!_storeEstimate(&KSTask::expectedEffortEstimate_, value, "expectedEffortEstimate",
                        &KSTask::setExpectedEffortEstimate))
        return;
    flags_.updatingEstimates = 1;
    if (minEffortEstimate_ != 0.0 && minEffortEstimate_ > value) setMinEffortEstimate(value);
    if (maxEffortEstimate_ != 0.0 && value > maxEffortEstimate_) setMaxEffortEstimate(value);
    _estimateDidChange("Set Expected Effort");
}

void KSTask::setMaxEffortEstimate(double value) {
    if (!_storeEstimate(&KSTask::maxEffortEstimate_, value, "maxEffortEstimate",
                        &KSTask::setMaxEffortEstimate))
        return;
    flags_.updatingEstimates = 1;
    if (minEffortEstimate_ != 0.0 && minEffortEstimate_ > value) setMinEffortEstimate(value);
    if (expectedEffortEstimate_ != 0.0 && expectedEffortEstimate_ > value)
        setExpectedEffortEstimate(value);
    _estimateDidChange("Set Max Effort");
}

void KSTask::_updateEffortFromEstimates() {
    if (_isGroupTask() || isSplitTask_) return;
    const double lo = minEffortEstimate_;
    const double mid = expectedEffortEstimate_;
    const double hi = maxEffortEstimate_;
    if (lo != 0.0 && mid != 0.0 && hi != 0.0) {
        // The project's weights; a task outside a project uses the defaults 1, 4, 1.
        KSProject* owner = project();
        double wLo = owner ? owner->minEffortMultiplier() : 1.0;
        double wMid = owner ? owner->expectedEffortMultiplier() : 4.0;
        double wHi = owner ? owner->maxEffortMultiplier() : 1.0;
        double weights = wLo + wMid + wHi;
        if (weights > 0.0) setEffort(std::round((lo * wLo + mid * wMid + hi * wHi) / weights));
    } else if (lo != 0.0 && lo > effort_) {
        setEffort(lo);
    } else if (hi != 0.0 && effort_ > hi) {
        setEffort(hi);
    } else if (mid != 0.0) {
        setEffort(mid);
    }
}

// --- Progress ---------------------------------------------------------------------------------

void KSTask::setEffortDone(double done) {
    if (done == effortDone_ || _isGroupTask()) return;
    double value = done < 0.0 ? 0.0 : done;
    if (effort_ != 0.0 && done > effort_) {
        setEffort(done);
        value = done;
    }
    undoableSetter<KSTask>()
        .key("effortDone")
        .action("Set Completion")
        .comparedBy(KSSetterEquality::Never)  // told above, before the value was clamped
        .before([&] {
            KSTask* p = parentTask();
            if (!p) return;
            if (effort_ != 0.0) {
                p->_childDidChangeEffortAndDone(this, 0.0, value - effortDone_);
            } else if (isMilestone()) {
                // A milestone's completion is no work: parents only recount their milestones.
                p->_childDidChangeEffortAndDone(this, 0.0, 0.0);
            }
        })
        .setWith(
            effortDone_, value,
            [this](double done) {
                effortDone_ = done;
                uncompletedStartDate_ = KSDateTime();
            },
            &KSTask::setEffortDone);
    if (isSplitTask_) {
        flags_.balancingSplitEfforts = 1;
        double left = value;
        KSTaskList chunks;
        _childrenTasks(chunks);
        for (const auto& chunk : chunks) {
            double share = std::min(left, chunk->effort_);
            chunk->setEffortDone(share);
            left -= share;
        }
        flags_.balancingSplitEfforts = 0;
    }
    // Progress moves no date; the task is only re-read.
    if (!flags_.isLoading) _needsSchedulingRecomputation();
}

void KSTask::setCompleted(double fraction) {
    double f = std::clamp(fraction, 0.0, 1.0);
    setEffortDone(effort_ == 0.0 ? f : f * effort_);
}

double KSTask::completed() const {
    if (effort_ == 0.0) {
        if (_isGroupTask()) {
            double sum = 0.0;
            int count = 0;
            _completedMilestones(&sum, &count);
            return count == 0 ? 0.0 : sum / count;
        }
        return effortDone_;
    }
    double ratio = effortDone_ / effort_;
    if (ratio > 0.99 && _containsUncompletedMilestone()) return kOpenMilestoneCeiling;
    return ratio;
}

void KSTask::_completedMilestones(double* doneSum, int* count) const {
    for (const auto& task : allTasksButSelf()) {
        if (!task->isMilestone()) continue;
        *doneSum += task->effortDone_;
        ++*count;
    }
}

long KSTask::completedPercentage() const {
    return std::lround(completed() * 100.0);
}

void KSTask::setCompletedPercentage(long percentage) {
    setCompleted(static_cast<double>(percentage) / 100.0);
}

// --- Duration ---------------------------------------------------------------------------------

double KSTask::duration() const {
    if (!scenario()) return 0.0;
    if (children() || hasAssignments()) {
        auto& self = const_cast<KSTask&>(*this);
        return scenarioSchedule()->durationBetweenStartDateAndEndDate(self.startDate(),
                                                                      self.endDate());
    }
    return effort_;
}

void KSTask::setDuration(double duration) {
    if (_isGroupTask()) {
        _presentError(KSLocalizedString("Can't set duration directly on a group"));
        return;
    }
    if (!scenario()) {
        setEffort(duration);
        setUndoActionName("Set Duration");
        return;
    }
    // The duration is measured in the plan's working time, not the task's.
    KSDateTime end = scenarioSchedule()->endDateForStartDateAndEffort(startDate(), duration);
    _setEffortBasedOnEndDate(end);
    setUndoActionName("Set Duration");
}

void KSTask::_setEffortBasedOnEndDate(const KSDateTime& date) {
    if (isSplitTask_ && hasChildren()) {
        bool removed = false;
        for (std::size_t i = countOfChildren(); i-- > 0;) {
            std::shared_ptr<KSTask> chunk = childTaskAtIndex(i);
            if (chunk->startDate().compare(date) >= 0) {
                removeObjectFromChildrenAtIndex(i);
                removed = true;
                continue;
            }
            // After a removal a date in a gap between chunks changes nothing more.
            if (!removed || chunk->endDate().compare(date) > 0) {
                chunk->_setEffortBasedOnEndDate(date);
                return;
            }
        }
        return;
    }
    KSScheduling* work = scenarioSchedule();
    double effort = work ? work->durationBetweenStartDateAndEndDate(startDate(), date) : 0.0;
    if (effort < 0.0) {
        _presentError(KSLocalizedString("The end date must come after the start date."));
        return;
    }
    _internalChangeEffort(effort);
}

void KSTask::_setEffortBasedOnStartDate(const KSDateTime& date) {
    if (isSplitTask_ && hasChildren()) {
        bool removed = false;
        const std::size_t count = countOfChildren();
        for (std::size_t i = 0; i < count && i < countOfChildren(); ++i) {
            std::shared_ptr<KSTask> chunk = childTaskAtIndex(i);
            if (chunk->endDate().compare(date) <= 0) {
                // The chunk that moves into the freed place is passed over.
                removeObjectFromChildrenAtIndex(i);
                removed = true;
                continue;
            }
            if (!removed || chunk->startDate().compare(date) < 0) {
                chunk->_setEffortBasedOnStartDate(date);
                return;
            }
        }
        return;
    }
    KSScheduling* work = scenarioSchedule();
    double effort = work ? work->durationBetweenStartDateAndEndDate(date, endDate()) : 0.0;
    if (effort < 0.0) {
        _presentError(KSLocalizedString("The end date must come after the start date."));
        return;
    }
    _internalChangeEffort(effort);
}

// --- Cell wrappers ----------------------------------------------------------------------------

KSValue KSTask::effortNumber() const {
    return isMilestone() ? KSValue() : KSValue(effort_);
}

void KSTask::setEffortNumber(const KSValue& value) {
    setEffort(value.isNull() ? 0.0 : value.doubleValue());
}

KSValue KSTask::durationNumber() const {
    return isMilestone() ? KSValue() : KSValue(duration());
}

void KSTask::setDurationNumber(const KSValue& value) {
    setDuration(value.isNull() ? 0.0 : value.doubleValue());
}

KSValue KSTask::effortDoneNumber() const {
    return isMilestone() ? KSValue() : KSValue(effortDone());
}

void KSTask::setEffortDoneNumber(const KSValue& value) {
    setEffortDone(value.isNull() ? 0.0 : value.doubleValue());
}

KSValue KSTask::effortRemainingNumber() const {
    return isMilestone() ? KSValue() : KSValue(effortRemaining());
}

void KSTask::setEffortRemainingNumber(const KSValue& value) {
    setEffortRemaining(value.isNull() ? 0.0 : value.doubleValue());
}

}  // namespace kestrum
