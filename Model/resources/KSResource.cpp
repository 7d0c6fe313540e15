#include "Model/resources/KSResource.h"

#include "Model/changes/KSDifferenceEngine.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/core/KSLocalization.h"

namespace kestrum {

const KSClassInfo& KSResource::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSResource>(
        "KSResource", &KSProjectItem::staticClassInfo(),
        [](KSClassBuilder<KSResource>& b) { b.readOnly("isPrototype", &KSResource::isPrototype); });
    return info;
}

KSResource::KSResource() = default;
KSResource::~KSResource() = default;

void KSResource::copySchedule(const KSSchedule& schedule) {
    schedule_ = schedule.copy();
}

TMDifferenceEngine* KSResource::differenceEngine() const {
    KSScenario* owner = scenario();
    return owner ? owner->resourceDifferenceEngine() : nullptr;
}

std::vector<std::string> KSResource::userDataKeys() const {
    KSProject* owner = project();
    return owner ? owner->resourceUserDataKeys() : std::vector<std::string>();
}

std::string KSResource::subclassLocalizedTypeForUndo() const {
    return KSLocalizedString("Resource (for undo/redo only)", "Resource");
}

}  // namespace kestrum
