// KSCriticalPath: the tasks that drive one task's date. The path rooted at the plan's root
// task is the project's critical path; any other task can root a path of its own, to see
// what holds it up.
//
// A scenario keeps its paths and recalculates each at the end of every recomputation.
// Slack is measured against the root's own date, so a path computes its own absolute
// limits in a private cache (the task's own caches never hold a path's dates). A task is
// on the path when its slack is not above the limit (the path's own, else the project's
// "critical path slack limit"); the walk goes down into groups and back along
// prerequisites, and up to a group that starts together with a task on the path.
//
//   auto path = std::make_shared<KSCriticalPath>(launch);   // what holds the launch up
//   scenario->addCriticalPath(path);
//   if (path->containsTask(*design)) ...
#pragma once

#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Model/worktime/KSDateTime.h"
#include "Platform/core/KSValue.h"

namespace kestrum {

class KSScenario;
class KSTask;
class LRColor;

class KSCriticalPath {
public:
    // A path below `root` (held weakly: the tree owns the task), enabled, with the
    // project's slack limit; its contents are computed at the first read.
    explicit KSCriticalPath(const std::shared_ptr<KSTask>& root);
    virtual ~KSCriticalPath();

    // Reads the property-list form ("root", "enabled", "color"); null when the root is not
    // a task of `scenario`.
    static std::shared_ptr<KSCriticalPath> pathWithPropertyListInScenario(
        const KSValue& propertyList, KSScenario& scenario);
    // {"root": object id, "enabled": flag, "color": colour}; neither contents, resource
    // constraints nor slack limit.
    KSValue propertyList() const;

    // The task whose date the path explains; null once it is gone.
    KSTask* pathRoot() const { return pathRoot_.lock().get(); }
    // The tasks on the path, computed now when not yet; empty for a disabled path. The path
    // holds its tasks weakly: a task that leaves the plan is not kept alive by it.
    std::vector<std::shared_ptr<KSTask>> pathContents();
    // Whether `task` is on the path (computing the path when not yet).
    bool containsTask(const KSTask& task);
    // Works the path out again and tells the tasks that joined or left it.
    virtual void recalculatePath();

    // How a display marks the path's tasks: light red for the project's path, else one of
    // four hues by the number of paths in the scenario.
    const std::shared_ptr<LRColor>& pathColor() const { return pathColor_; }
    // Tells every task of the path.
    void setPathColor(const std::shared_ptr<LRColor>& color);
    bool isEnabled() const { return isEnabled_; }
    // Disabling empties the path; enabling computes it anew.
    void setIsEnabled(bool flag);
    bool includeResourceConstraints() const { return includeResourceConstraints_; }
    // Whether a task also waits for the tasks using the same resources just before it.
    void setIncludeResourceConstraints(bool flag);
    // The path's own slack limit in working seconds; negative means the project's.
    double slackLimit() const { return specificSlackLimit_; }
    void setSlackLimit(double seconds) { specificSlackLimit_ = seconds; }
    // The limit in force.
    double _internalSlackLimit() const;

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

private:
    void _internalRecalculatePath();
    bool _isWithinLimit(KSTask& task);
    void _add(KSTask& task);
    void _tellChangedTasks(const std::vector<std::weak_ptr<KSTask>>& before) const;

    std::shared_ptr<LRColor> pathColor_;
    bool hasContents_ = false;
    std::vector<std::weak_ptr<KSTask>> pathContents_;
    std::unordered_set<const KSTask*> members_;
    bool isEnabled_ = true;
    bool includeResourceConstraints_ = false;
    std::weak_ptr<KSTask> pathRoot_;
    std::unordered_map<const KSTask*, KSDateTime> cachedAbsoluteDates_;
    std::optional<std::unordered_set<const KSTask*>> prerequisiteChain_;
    double specificSlackLimit_ = -1.0;
};

}  // namespace kestrum
