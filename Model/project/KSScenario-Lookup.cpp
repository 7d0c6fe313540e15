// KSScenario: finding tasks and resources by id, by outline position, by number and by
// name, and the plan-wide lists.
#include <cctype>

#include "Model/changes/KSDifferenceEngine.h"
#include "Model/engine/KSIssue.h"
#include "Model/project/KSScenario.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"

namespace kestrum {

namespace {

// The live object with that id in `engine`, unless the engine knows it as deleted (a
// deleted object stays registered so that undo can bring it back).
template <class T>
std::shared_ptr<T> liveObjectWithId(const TMDifferenceEngine* engine, TMObjectId objectId) {
    if (!engine || engine->deletedObjectIds().count(objectId)) return nullptr;
    return std::dynamic_pointer_cast<T>(engine->objectWithId(objectId));
}

// The objects found for `ids`, walked from last to first, unknown ids skipped.
template <class T>
std::vector<std::shared_ptr<T>> liveObjectsWithIds(const TMDifferenceEngine* engine,
                                                   const std::vector<TMObjectId>& ids) {
    std::vector<std::shared_ptr<T>> found;
    for (auto it = ids.rbegin(); it != ids.rend(); ++it) {
        if (auto object = liveObjectWithId<T>(engine, *it)) found.push_back(std::move(object));
    }
    return found;
}

// Reads a signed decimal integer at `pos`, as a scanner would; false when none is there.
bool scanInteger(std::string_view text, std::size_t* pos, std::int64_t* value) {
    std::size_t i = *pos;
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i])))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) negative = text[i++] == '-';
    std::size_t digits = i;
    std::int64_t number = 0;
    while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) {
        // Past any plausible index, an overlong number stays out of range.
        if (number < 1000000000000LL) number = number * 10 + (text[i] - '0');
        ++i;
    }
    if (i == digits) return false;
    *value = negative ? -number : number;
    *pos = i;
    return true;
}

}  // namespace

// --- By id -------------------------------------------------------------------------------------

std::shared_ptr<KSTask> KSScenario::taskWithIdentifier(TMObjectId objectId) const {
    return liveObjectWithId<KSTask>(taskDifferenceEngine_.get(), objectId);
}

std::vector<std::shared_ptr<KSTask>> KSScenario::tasksWithIdentifiers(
    const std::vector<TMObjectId>& ids) const {
    return liveObjectsWithIds<KSTask>(taskDifferenceEngine_.get(), ids);
}

std::shared_ptr<KSResource> KSScenario::resourceWithIdentifier(TMObjectId objectId) const {
    return liveObjectWithId<KSResource>(resourceDifferenceEngine_.get(), objectId);
}

std::vector<std::shared_ptr<KSResource>> KSScenario::resourcesWithIdentifiers(
    const std::vector<TMObjectId>& ids) const {
    return liveObjectsWithIds<KSResource>(resourceDifferenceEngine_.get(), ids);
}

// --- By name -----------------------------------------------------------------------------------

std::shared_ptr<KSResource> KSScenario::resourceWithName(const std::string& name) const {
    if (!rootResource_) return nullptr;
    // Depth first below the root; the root itself is never found by name.
    for (const auto& item : rootResource_->allItemsButSelf()) {
        auto resource = std::static_pointer_cast<KSResource>(item);
        if (resource->name() == name) return resource;
    }
    return nullptr;
}

std::shared_ptr<KSResource> KSScenario::resourceWithEmailAddress(const std::string& address) const {
    if (!rootResource_) return nullptr;
    if (rootResource_->emailAddress() == address) return rootResource_;
    for (const auto& item : rootResource_->allItemsButSelf()) {
        auto resource = std::static_pointer_cast<KSResource>(item);
        if (resource->emailAddress() == address) return resource;
    }
    return nullptr;
}

// --- By position -------------------------------------------------------------------------------

std::shared_ptr<KSTask> KSScenario::taskFromPositionalID(std::string_view positionalID) const {
    if (!rootTask_) return nullptr;
    std::shared_ptr<KSTask> task = rootTask_;
    std::size_t pos = 0;
    std::int64_t index = 0;
    // Each number picks a child, 1-based; one "." may follow it. Scanning stops at the
    // first thing that is no number.
    while (scanInteger(positionalID, &pos, &index)) {
        if (index < 1 || static_cast<std::size_t>(index) > task->countOfChildren()) return nullptr;
        task = task->childTaskAtIndex(static_cast<std::size_t>(index - 1));
        if (pos < positionalID.size() && positionalID[pos] == '.') ++pos;
    }
    return task == rootTask_ ? nullptr : task;
}

std::shared_ptr<KSTask> KSScenario::taskFromNumericalOrder(std::int32_t number) const {
    std::shared_ptr<KSTask> task = rootTask_;
    while (task) {
        if (task->numericalOrder() > number) return nullptr;
        std::shared_ptr<KSTask> next;
        for (std::size_t i = task->countOfChildren(); i-- > 0;) {
            std::shared_ptr<KSTask> child = task->childTaskAtIndex(i);
            if (child->numericalOrder() <= number) {
                next = child;
                break;
            }
        }
        if (!next) {
            // A number missing from the plan (past the last task) would leave the walk on
            // this task for ever; it answers null instead.
            return task->numericalOrder() == number ? task : nullptr;
        }
        if (next->numericalOrder() == number) return next;
        task = next;
    }
    return nullptr;
}

// --- Lists -------------------------------------------------------------------------------------

std::vector<std::shared_ptr<KSTask>> KSScenario::allTasks() const {
    if (!rootTask_) return {};
    KSTaskList tasks{rootTask_};
    KSTaskList below = rootTask_->allTasksButSelf();
    tasks.insert(tasks.end(), below.begin(), below.end());
    return tasks;
}

std::vector<std::shared_ptr<KSTask>> KSScenario::unassignedTasks() const {
    return rootTask_ ? rootTask_->unassignedTasks() : KSTaskList();
}

std::vector<std::shared_ptr<KSIssue>> KSScenario::allIssues() const {
    std::vector<std::shared_ptr<KSIssue>> issues;
    if (rootTask_) rootTask_->addIssuesToArray(issues);
    return issues;
}

}  // namespace kestrum
