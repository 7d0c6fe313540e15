// KSCriticalPath: the critical path below one task of a scenario (shell), and the context
// in which the date functions compute its own absolute limits.
//
// A scenario keeps one path rooted at its root task and may add paths for other tasks.
// The edit cycle asks every path to recalculate at the end of each recomputation; the
// path's contents are the tasks on it. The path search itself arrives with the rest of
// the critical-path work; what stands here is what the task's date functions take as
// their context: a private cache of absolute limits (the task's own caches must never
// hold a path's dates), the tasks to leave out, and whether resources constrain.
//
//   KSDateTime end = task->absoluteEndLimitForCriticalPath(path.get());  // path's cache
#pragma once

#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Model/worktime/KSDateTime.h"

namespace kestrum {

class KSTask;

class KSCriticalPath {
public:
    // A path below `root` (retained).
    explicit KSCriticalPath(std::shared_ptr<KSTask> root);
    virtual ~KSCriticalPath();

    const std::shared_ptr<KSTask>& pathRoot() const { return pathRoot_; }
    // The tasks on the path. Shell: none until the path search exists.
    const std::vector<std::shared_ptr<KSTask>>& pathContents() const { return pathContents_; }
    // Works the path out again. Shell: nothing to work out yet.
    virtual void recalculatePath();

    // --- Context of the date functions -----------------------------------------------------
    // The path's own date for `task`, or null. One date per task, whichever limit stored it.
    KSDateTime cachedDateForTask(const KSTask& task) const;
    void cacheDateForTask(const KSDateTime& date, const KSTask& task);
    // Forgets every cached date.
    void clearCachedDates() { cachedAbsoluteDates_.clear(); }
    // Whether `task` is left out: only with a prerequisite chain that does not hold it,
    // and only when it lies outside the root's subtree.
    bool shouldBeExcluded(const KSTask& task) const;
    // What lies before a private root during a computation; null outside one.
    void setPrerequisiteChain(std::optional<std::unordered_set<const KSTask*>> chain) {
        prerequisiteChain_ = std::move(chain);
    }
    // Whether a task also waits for the tasks using the same resources just before it;
    // off by default.
    bool includeResourceConstraints() const { return includeResourceConstraints_; }
    void setIncludeResourceConstraints(bool flag) { includeResourceConstraints_ = flag; }

private:
    std::shared_ptr<KSTask> pathRoot_;
    std::vector<std::shared_ptr<KSTask>> pathContents_;
    std::unordered_map<const KSTask*, KSDateTime> cachedAbsoluteDates_;
    std::optional<std::unordered_set<const KSTask*>> prerequisiteChain_;
    bool includeResourceConstraints_ = false;
};

}  // namespace kestrum
