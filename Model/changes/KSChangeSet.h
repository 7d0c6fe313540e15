// KSChangeSet: a change set that knows its engine and its place among sets of one moment.
//
// Sets of the same date apply in the order of their priority: the scenario's settings
// (metadata, 0) before resources (1) before tasks (2), which may refer to resources.
#pragma once

#include <cstdint>

#include "Platform/difference/TMChangeSet.h"

namespace kestrum {

class TMDifferenceEngine;

// Priorities of the three engines of a scenario.
enum KSChangeSetPriority : std::int32_t {
    KSChangeSetPriorityMetadata = 0,
    KSChangeSetPriorityResources = 1,
    KSChangeSetPriorityTasks = 2,
};

class KSChangeSet : public TMChangeSet {
public:
    // A set of `engine` (not retained) with the given priority.
    KSChangeSet(TMDifferenceEngine* engine, std::int32_t priority);
    ~KSChangeSet() override;

    TMDifferenceEngine* engine() const { return nonretainedEngine_; }
    std::int32_t sortPriority() const { return sortPriority_; }

    // By date; on equal dates the lower priority comes first: -1, 0 or 1.
    int compareByDateAndPriority(const KSChangeSet& other) const;

private:
    TMDifferenceEngine* nonretainedEngine_;
    std::int32_t sortPriority_;
};

}  // namespace kestrum
