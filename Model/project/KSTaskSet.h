// KSTaskSet: a set of tasks that remembers the order in which they joined.
//
// The scenario's revalidation and undo-notification sets use it: membership is one
// hash probe, and walking the set follows insertion order, which keeps edit cycles
// reproducible from run to run.
#pragma once

#include <memory>
#include <unordered_set>
#include <vector>

namespace kestrum {

class KSTask;

class KSTaskSet {
public:
    bool empty() const { return tasks_.empty(); }
    std::size_t size() const { return tasks_.size(); }
    bool contains(const KSTask* task) const { return members_.count(task) > 0; }
    // Adds `task` unless it is already there.
    void add(const std::shared_ptr<KSTask>& task) {
        if (task && members_.insert(task.get()).second) tasks_.push_back(task);
    }
    // The tasks in joining order.
    const std::vector<std::shared_ptr<KSTask>>& tasks() const { return tasks_; }
    // Empties the set and answers what it held.
    std::vector<std::shared_ptr<KSTask>> takeAll() {
        members_.clear();
        return std::move(tasks_);
    }

private:
    std::vector<std::shared_ptr<KSTask>> tasks_;
    std::unordered_set<const KSTask*> members_;
};

}  // namespace kestrum
