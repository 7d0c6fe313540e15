// KSCriticalPath: the critical path below one task of a scenario (shell).
//
// A scenario keeps one path rooted at its root task and may add paths for groups. The
// edit cycle asks every path to recalculate at the end of each recomputation; the
// path's contents are the tasks on it. The path search itself arrives with the
// scheduling engine; this shell keeps the root and an empty contents list.
#pragma once

#include <memory>
#include <vector>

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

private:
    std::shared_ptr<KSTask> pathRoot_;
    std::vector<std::shared_ptr<KSTask>> pathContents_;
};

}  // namespace kestrum
