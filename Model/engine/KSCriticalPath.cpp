#include "Model/engine/KSCriticalPath.h"

#include "Model/tasks/KSTask.h"

namespace kestrum {

KSCriticalPath::KSCriticalPath(std::shared_ptr<KSTask> root) : pathRoot_(std::move(root)) {}

KSCriticalPath::~KSCriticalPath() = default;

void KSCriticalPath::recalculatePath() {}

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
    return !(pathRoot_ && task.isAncestor(*pathRoot_));
}

}  // namespace kestrum
