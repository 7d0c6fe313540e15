#include "Model/engine/KSCriticalPath.h"

#include <algorithm>

#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Platform/color/LRColor.h"

namespace kestrum {

namespace {

std::shared_ptr<LRColor> colorForRoot(const KSTask& root) {
    KSScenario* scenario = root.scenario();
    if (!scenario || scenario->rootTask().get() == &root)
        return LRColor::colorWithRedGreenBlueAlpha(1.0, 0.5, 0.5, 1.0);
    // Paths of other tasks cycle through four hues.
    double hue = static_cast<double>((scenario->criticalPaths().size() & 3) + 1) * 0.2;
    return LRColor::colorWithHueSaturationBrightnessAlpha(hue, 0.5, 0.8, 1.0);
}

}  // namespace

KSCriticalPath::KSCriticalPath(const std::shared_ptr<KSTask>& root) : pathRoot_(root) {
    if (root) pathColor_ = colorForRoot(*root);
}

KSCriticalPath::~KSCriticalPath() = default;

// --- Property list ----------------------------------------------------------------------------

std::shared_ptr<KSCriticalPath> KSCriticalPath::pathWithPropertyListInScenario(
    const KSValue& propertyList, KSScenario& scenario) {
    if (!propertyList.isDictionary()) return nullptr;
    const KSDictionary& dictionary = propertyList.asDictionary();
    const KSValue* root = dictionary.find("root");
    if (!root) return nullptr;
    auto task = scenario.taskWithIdentifier(static_cast<TMObjectId>(root->integerValue()));
    if (!task) return nullptr;
    auto path = std::make_shared<KSCriticalPath>(task);
    if (const KSValue* enabled = dictionary.find("enabled"))
        path->isEnabled_ = enabled->boolValue();
    if (const KSValue* color = dictionary.find("color")) {
        if (auto read = LRColor::colorFromPropertyList(*color)) path->pathColor_ = read;
    }
    return path;
}

KSValue KSCriticalPath::propertyList() const {
    KSDictionary dictionary;
    KSTask* root = pathRoot();
    dictionary.setObjectForKey("root",
                               KSValue(static_cast<long long>(root ? root->objectId() : 0)));
    dictionary.setObjectForKey("enabled", KSValue(isEnabled_));
    if (pathColor_) dictionary.setObjectForKey("color", pathColor_->propertyList());
    return KSValue(std::move(dictionary));
}

// --- Settings ---------------------------------------------------------------------------------

void KSCriticalPath::setPathColor(const std::shared_ptr<LRColor>& color) {
    if (color == pathColor_ || (color && pathColor_ && *color == *pathColor_)) return;
    pathColor_ = color;
    for (const auto& task : pathContents_) {
        if (auto alive = task.lock()) alive->criticalPathMayHaveChanged();
    }
}

void KSCriticalPath::setIsEnabled(bool flag) {
    if (flag == isEnabled_) return;
    if (flag) {
        hasContents_ = false;
        pathContents_.clear();
        members_.clear();
    }
    isEnabled_ = flag;
    recalculatePath();
}

void KSCriticalPath::setIncludeResourceConstraints(bool flag) {
    if (flag == includeResourceConstraints_) return;
    includeResourceConstraints_ = flag;
    recalculatePath();
}

double KSCriticalPath::_internalSlackLimit() const {
    if (specificSlackLimit_ >= 0.0) return specificSlackLimit_;
    KSTask* root = pathRoot();
    KSScenario* scenario = root ? root->scenario() : nullptr;
    KSProject* project = scenario ? scenario->project() : nullptr;
    return project ? project->criticalPathSlackLimit() : 0.0;
}

// --- Contents ---------------------------------------------------------------------------------

std::vector<std::shared_ptr<KSTask>> KSCriticalPath::pathContents() {
    if (!hasContents_ && isEnabled_) _internalRecalculatePath();
    std::vector<std::shared_ptr<KSTask>> tasks;
    tasks.reserve(pathContents_.size());
    for (const auto& task : pathContents_) {
        if (auto alive = task.lock()) tasks.push_back(std::move(alive));
    }
    return tasks;
}

bool KSCriticalPath::containsTask(const KSTask& task) {
    if (!hasContents_ && isEnabled_) _internalRecalculatePath();
    return members_.count(&task) > 0;
}

void KSCriticalPath::recalculatePath() {
    std::vector<std::weak_ptr<KSTask>> before = std::move(pathContents_);
    pathContents_.clear();
    members_.clear();
    hasContents_ = false;
    if (isEnabled_) _internalRecalculatePath();
    _tellChangedTasks(before);
}

void KSCriticalPath::_tellChangedTasks(const std::vector<std::weak_ptr<KSTask>>& before) const {
    std::unordered_set<const KSTask*> old;
    std::vector<std::shared_ptr<KSTask>> left;
    for (const auto& task : before) {
        auto alive = task.lock();
        if (!alive) continue;
        old.insert(alive.get());
        if (!members_.count(alive.get())) left.push_back(std::move(alive));
    }
    for (const auto& task : pathContents_) {
        auto alive = task.lock();
        if (alive && !old.count(alive.get())) alive->criticalPathMayHaveChanged();
    }
    for (const auto& task : left)
        task->criticalPathMayHaveChanged();
}

bool KSCriticalPath::_isWithinLimit(KSTask& task) {
    return !(task.resourceConstrainedTotalSlackForCriticalPath(this) > _internalSlackLimit());
}

void KSCriticalPath::_add(KSTask& task) {
    members_.insert(&task);
    pathContents_.push_back(task.sharedFromThis<KSTask>());
}

// The walk keeps its own work list, so that a chain of any length needs no deep stack:
// "within" goes down a group to its children near the limit (a leaf is followed), and
// "follow" puts a task on the path and goes on to its group when they start together and
// to every prerequisite near the limit. It always goes to prerequisites, also when the
// plan is anchored at its end.
void KSCriticalPath::_internalRecalculatePath() {
    hasContents_ = true;
    std::shared_ptr<KSTask> root = pathRoot_.lock();
    if (!root) return;
    if (root->parentTask()) {
        KSTaskPointerSet chain = root->prerequisiteChain();
        prerequisiteChain_.emplace(chain.begin(), chain.end());
    }
    cachedAbsoluteDates_.clear();
    KSScenario* scenario = root->scenario();
    bool fixedEnd = scenario && scenario->hasFixedEndDate();
    // The root's own date seeds the cache: it has no slack, and the path's limits come
    // out relative to it.
    cacheDateForTask(fixedEnd ? root->startDate() : root->endDate(), *root);

    enum class Step { Within, Follow };
    std::vector<std::pair<KSTask*, Step>> work{{root.get(), Step::Within}};
    KSTaskList children;
    while (!work.empty()) {
        auto [task, step] = work.back();
        work.pop_back();
        if (step == Step::Within) {
            if (!task->children()) {
                work.emplace_back(task, Step::Follow);
                continue;
            }
            children.clear();
            for (const auto& child : *task->children())
                children.push_back(std::static_pointer_cast<KSTask>(child));
            for (auto it = children.rbegin(); it != children.rend(); ++it) {
                if (_isWithinLimit(**it)) work.emplace_back(it->get(), Step::Within);
            }
            continue;
        }
        if (members_.count(task)) continue;
        _add(*task);
        KSTask* parent = task->parentTask();
        const auto& links = task->prerequisites();
        for (auto it = links.rbegin(); it != links.rend(); ++it) {
            KSTask* prerequisite = (*it)->prerequisite();
            if (prerequisite && _isWithinLimit(*prerequisite))
                work.emplace_back(prerequisite, Step::Within);
        }
        // The group's start depends on this task.
        if (parent && parent->startDate().isEqualToDate(task->startDate()))
            work.emplace_back(parent, Step::Follow);
    }
    prerequisiteChain_.reset();
}

// --- Context of the date functions ------------------------------------------------------------

KSDateTime KSCriticalPath::cachedDateForTask(const KSTask& task) const {
    auto it = cachedAbsoluteDates_.find(&task);
    return it == cachedAbsoluteDates_.end() ? KSDateTime() : it->second;
}

void KSCriticalPath::cacheDateForTask(const KSDateTime& date, const KSTask& task) {
    if (date.isNull()) {
        cachedAbsoluteDates_.erase(&task);
    } else {
        cachedAbsoluteDates_[&task] = date;
    }
}

bool KSCriticalPath::shouldBeExcluded(const KSTask& task) const {
    if (!prerequisiteChain_ || prerequisiteChain_->count(&task)) return false;
    // The root and what lies inside it always count: a private path explains the root's
    // own date, so its limits come through the root's links.
    KSTask* root = pathRoot();
    return !(root && (&task == root || task.isAncestor(*root)));
}

}  // namespace kestrum
