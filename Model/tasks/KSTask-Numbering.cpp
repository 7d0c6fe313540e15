// KSTask: flat and hierarchical numbers, computed lazily by the plan.
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSFormat.h"

namespace kestrum {

std::int32_t KSTask::numericalOrder() const {
    KSScenario* owner = scenario();
    if (!parent()) return owner ? 0 : numericalOrder_;
    if (owner) owner->recomputeNumericalOrder();
    // Chunks take no numbers of their own.
    if (flags_.isSplitChunk) return parentTask()->numericalOrder();
    return numericalOrder_;
}

std::string KSTask::wbsNumber() const {
    KSTask* p = parentTask();
    if (!p) return "0";
    if (flags_.isSplitChunk) return p->positionalIDString();
    std::int64_t position = childrenRank() + 1;
    if (!p->parent()) return KSStringWithFormat("%ld", position);
    return KSStringWithFormat("%@.%ld", p->wbsNumber(), position);
}

void KSTask::recomputeNumericalOrder() {
    KSTask* root = this;
    while (root->parentTask())
        root = root->parentTask();
    root->_updateNumericalOrderWithNumberAncestorChangedPositionFlatMode(0, false,
                                                                         _planUsesFlatNumbering());
}

std::int32_t KSTask::_updateNumericalOrderWithNumberAncestorChangedPositionFlatMode(
    std::int32_t number, bool ancestorChangedPosition, bool flatMode) {
    const bool moved = ancestorChangedPosition || flags_.positionDidChange;
    // A flat number shows only when it changes; a move changes every WBS number below.
    const bool tell = flatMode ? numericalOrder_ != number : moved;
    KSTaskList chunks;
    if (isSplitTask_) _childrenTasks(chunks);
    if (tell) {
        // Headings of linked tasks quote this number, so they change too.
        willChangeValueForKey("headingString");
        for (const auto& link : dependents_) {
            if (link->dependent()) link->dependent()->willChangeValueForKey("prerequisites");
        }
        for (const auto& link : prerequisites_) {
            if (link->prerequisite()) link->prerequisite()->willChangeValueForKey("dependents");
        }
        for (const auto& chunk : chunks)
            chunk->willChangeValueForKey("headingString");
    }
    if (numericalOrder_ != number) {
        willChangeValueForKey("numericalOrderString");
        numericalOrder_ = number;
        didChangeValueForKey("numericalOrderString");
    }
    if (tell) {
        for (const auto& link : dependents_) {
            if (link->dependent()) link->dependent()->didChangeValueForKey("prerequisites");
        }
        for (const auto& link : prerequisites_) {
            if (link->prerequisite()) link->prerequisite()->didChangeValueForKey("dependents");
        }
        didChangeValueForKey("headingString");
        for (const auto& chunk : chunks)
            chunk->didChangeValueForKey("headingString");
    }
    if (isSplitTask_) {
        flags_.positionDidChange = 0;
        return number + 1;
    }
    std::int32_t next = number + 1;
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        next = child->_updateNumericalOrderWithNumberAncestorChangedPositionFlatMode(next, moved,
                                                                                     flatMode);
    flags_.positionDidChange = 0;
    return next;
}

}  // namespace kestrum
