#include "Model/changes/KSChangeSet.h"

namespace kestrum {

KSChangeSet::KSChangeSet(TMDifferenceEngine* engine, std::int32_t priority)
    : nonretainedEngine_(engine), sortPriority_(priority) {}

KSChangeSet::~KSChangeSet() = default;

int KSChangeSet::compareByDateAndPriority(const KSChangeSet& other) const {
    int byDate = compareDate(other);
    if (byDate != 0) return byDate;
    if (sortPriority_ == other.sortPriority_) return 0;
    return sortPriority_ < other.sortPriority_ ? -1 : 1;
}

}  // namespace kestrum
