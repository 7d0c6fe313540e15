// KSScenario: resource leveling.
//
// The edit cycle reaches leveling only through levelResourcesForTasks, with undo
// registration off. The leveler itself arrives with the scheduling engine; until then
// the hook levels nothing.
#include "Model/project/KSScenario.h"

namespace kestrum {

void KSScenario::levelResourcesForTasks(const std::vector<std::shared_ptr<KSTask>>*) {}

}  // namespace kestrum
