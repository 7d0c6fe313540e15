#include "Model/engine/KSCriticalPath.h"

#include "Model/tasks/KSTask.h"

namespace kestrum {

KSCriticalPath::KSCriticalPath(std::shared_ptr<KSTask> root) : pathRoot_(std::move(root)) {}

KSCriticalPath::~KSCriticalPath() = default;

void KSCriticalPath::recalculatePath() {}

}  // namespace kestrum
