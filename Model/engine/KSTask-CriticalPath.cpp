// KSTask: the task's side of the critical paths a plan keeps.
#include "Model/engine/KSCriticalPath.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"

namespace kestrum {

void KSTask::criticalPathMayHaveChanged() {
    willChangeValueForKey("criticalPath");
    didChangeValueForKey("criticalPath");
}

bool KSTask::isOnCriticalPath() const {
    KSScenario* owner = scenario();
    if (!owner || !owner->rootTask()) return false;
    KSCriticalPath* project = owner->rootTask()->criticalPathRoot();
    return project && project->containsTask(*this);
}

KSCriticalPath* KSTask::onCriticalPath() const {
    KSScenario* owner = scenario();
    if (!owner) return nullptr;
    for (const auto& path : owner->criticalPaths()) {
        if (path->isEnabled() && path->containsTask(*this)) return path.get();
    }
    return nullptr;
}

KSCriticalPath* KSTask::sharedCriticalPathWithTask(const KSTask& other) const {
    KSScenario* owner = scenario();
    if (!owner) return nullptr;
    for (const auto& path : owner->criticalPaths()) {
        if (path->isEnabled() && path->containsTask(*this) && path->containsTask(other))
            return path.get();
    }
    return nullptr;
}

}  // namespace kestrum
