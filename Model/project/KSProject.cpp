#include "Model/project/KSProject.h"

#include <algorithm>

#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSScenario.h"
#include "Platform/core/KSLocalization.h"

namespace kestrum {

const KSClassInfo& KSProject::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSProject>(
        "KSProject", &KSObject::staticClassInfo(), [](KSClassBuilder<KSProject>& b) {
            b.attribute("nextTaskId", &KSProject::nextTaskId, &KSProject::setNextTaskId);
            b.attribute("nextResourceId", &KSProject::nextResourceId,
                        &KSProject::setNextResourceId);
            b.attribute("autoLevelResources", &KSProject::autoLevelResources,
                        &KSProject::setAutoLevelResources);
            b.readOnly("isInvalid", &KSProject::isInvalid);
        });
    return info;
}

KSProject::KSProject(KSDocumentProtocol* document) : nonretainedDocument_(document) {}

KSProject::~KSProject() {
    for (const auto& scenario : scenarios_) {
        if (scenario->project() == this) scenario->setProject(nullptr);
    }
}

KSUndoManager* KSProject::undoManager() const {
    return nonretainedDocument_ ? nonretainedDocument_->undoManager() : nullptr;
}

KSScenario* KSProject::firstScenario() const {
    return scenarios_.empty() ? nullptr : scenarios_.front().get();
}

void KSProject::addScenario(const std::shared_ptr<KSScenario>& scenario) {
    if (!scenario ||
        std::find(scenarios_.begin(), scenarios_.end(), scenario) != scenarios_.end()) {
        return;
    }
    scenarios_.push_back(scenario);
    scenario->setProject(this);
}

void KSProject::removeScenario(const std::shared_ptr<KSScenario>& scenario) {
    auto it = std::find(scenarios_.begin(), scenarios_.end(), scenario);
    if (it == scenarios_.end()) return;
    std::shared_ptr<KSScenario> keep = *it;
    scenarios_.erase(it);
    keep->setProject(nullptr);
}

void KSProject::setNextTaskId(std::int64_t value) {
    if (value == nextTaskId_) return;
    willChangeValueForKey("nextTaskId");
    nextTaskId_ = value;
    didChangeValueForKey("nextTaskId");
}

void KSProject::setNextResourceId(std::int64_t value) {
    if (value == nextResourceId_) return;
    willChangeValueForKey("nextResourceId");
    nextResourceId_ = value;
    didChangeValueForKey("nextResourceId");
}

void KSProject::setAutoLevelResources(bool flag) {
    if (flag == autoLevelResources_) return;
    willChangeValueForKey("autoLevelResources");
    autoLevelResources_ = flag;
    didChangeValueForKey("autoLevelResources");
}

void KSProject::invalidate() {
    if (isInvalid_) return;
    isInvalid_ = true;
    std::vector<std::shared_ptr<KSScenario>> scenarios = scenarios_;
    for (const auto& scenario : scenarios)
        scenario->invalidate();
}

void KSProject::willChangeValueForKey(std::string_view key) {
    if (!loadingScenario_ && key != "hasTrackedChanges") {
        KSBaseObject::willChangeValueForKey("hasTrackedChanges");
    }
    KSBaseObject::willChangeValueForKey(key);
}

void KSProject::didChangeValueForKey(std::string_view key) {
    KSBaseObject::didChangeValueForKey(key);
    if (!loadingScenario_ && key != "hasTrackedChanges") {
        KSBaseObject::didChangeValueForKey("hasTrackedChanges");
    }
}

std::string KSProject::subclassLocalizedTypeForUndo() const {
    return KSLocalizedString("Project (for undo/redo only)", "Project");
}

}  // namespace kestrum
