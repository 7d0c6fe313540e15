// KSTask: the hooks of split tasks: chunk neighbours, ordering and rejoining.
#include <algorithm>

#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSScheduling.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

KSTask* KSTask::nextSplitChunk() const {
    if (!flags_.isSplitChunk) return nullptr;
    std::int64_t rank = childrenRank();
    if (rank < 0) return nullptr;
    return parentTask()->childTaskAtIndex(static_cast<std::size_t>(rank) + 1).get();
}

KSTask* KSTask::previousSplitChunk() const {
    if (!flags_.isSplitChunk) return nullptr;
    std::int64_t rank = childrenRank();
    if (rank <= 0) return nullptr;
    return parentTask()->childTaskAtIndex(static_cast<std::size_t>(rank) - 1).get();
}

void KSTask::delaySplitRejoining() {
    if (_isUndoingOrRedoing()) return;
    // The scenario brackets the open undo group for this task: undoGroupDidOpen raises
    // the flag now and undoGroupWillClose rejoins.
    if (KSScenario* owner = scenario()) owner->taskNeedsUndoNotification(*this);
}

void KSTask::performSplitRejoining() {
    if (isSplitTask_) delaySplitRejoining();
}

void KSTask::enableSplitRejoining() {
    flags_.delayingSplitRejoining = 0;
    _performSplitRejoiningPreviouslyDelayed(true);
}

void KSTask::_performSplitRejoiningPreviouslyDelayed(bool) {
    if (flags_.delayingSplitRejoining || flags_.isLoading || !isSplitTask_) return;
    _performSplitOrdering();
    // Ordering raises the delay flag for the next group; this pass goes on regardless.
    flags_.delayingSplitRejoining = 0;
    bool changed = true;
    while (changed && hasChildren()) {
        changed = false;
        for (std::size_t i = countOfChildren(); i-- > 1;) {
            std::shared_ptr<KSTask> later = childTaskAtIndex(i);
            std::shared_ptr<KSTask> before = childTaskAtIndex(i - 1);
            if (!later || !before) continue;
            double gap = later->schedule()->durationBetweenStartDateAndEndDate(before->endDate(),
                                                                               later->startDate());
            if (gap > 0.0) continue;
            // Chunks that touch become one again.
            double effortSum = before->effort_ + later->effort_;
            double doneSum = before->effortDone_ + later->effortDone_;
            before->_internalChangeEffort(effortSum);
            before->setEffortDone(doneSum);
            later->deleteSelf();
            changed = true;
        }
    }
    if (countOfChildren() == 1) setTaskTypeSplitTask(taskTypeTask, false);
}

void KSTask::_performSplitOrdering() {
    KSTaskList chunks;
    _childrenTasks(chunks);
    for (const auto& chunk : chunks) {
        if (chunk->isLoading()) return;
    }
    bool ascending = true;
    for (std::size_t i = 1; i < chunks.size() && ascending; ++i)
        ascending = chunks[i - 1]->compareByStartDate(*chunks[i]) < 0;
    if (!ascending) {
        KSProjectItemList sorted(chunks.begin(), chunks.end());
        std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
            return static_cast<const KSTask&>(*a).compareByStartDate(
                       static_cast<const KSTask&>(*b)) < 0;
        });
        reorderChildItems(sorted);
        for (const auto& chunk : sorted)
            chunk->positionDidChange();
        _splitChunksDidChange();
    }
    flags_.delayingSplitRejoining = 1;
}

void KSTask::willChangeSplitChunkiness() {
    willChangeValueForKey("isSplitChunk");
}

void KSTask::didChangeSplitChunkiness() {
    didChangeValueForKey("isSplitChunk");
    // A chunk shares the split task's style; a former chunk gets its own.
    willChangeValueForKey("style");
    didChangeValueForKey("style");
}

void KSTask::_becomeSplitChunk() {
    flags_.isSplitChunk = 1;
}

void KSTask::_notSplitChunk() {
    flags_.isSplitChunk = 0;
    // A link between two chunks of one split task may now be allowed.
    inactiveLinksMayComeBack();
}

}  // namespace kestrum
