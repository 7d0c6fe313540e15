#include "Model/tasks/KSTask.h"

#include "Model/changes/KSDifferenceEngine.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Platform/core/KSLocalization.h"

namespace kestrum {

const KSClassInfo& KSTask::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSTask>(
        "KSTask", &KSProjectItem::staticClassInfo(), [](KSClassBuilder<KSTask>& b) {
            b.custom(
                "title", KSValue::Type::String,
                [](const KSTask& t) { return t.title_ ? KSValue(*t.title_) : KSValue(); },
                [](KSTask& t, const KSValue& v) {
                    if (v.isNull()) {
                        t.setTitle(std::nullopt);
                        return true;
                    }
                    if (!v.isString()) return false;
                    t.setTitle(v.asString());
                    return true;
                });
            b.readOnly("isPrototype", &KSTask::isPrototype);
        });
    return info;
}

KSTask::KSTask() = default;
KSTask::~KSTask() = default;

void KSTask::_needsSchedulingRecomputation() {
    KSScenario* owner = scenario();
    if (!owner || willRevalidateSchedule_) return;
    willRevalidateSchedule_ = true;
    owner->taskNeedsSchedulingRecomputation(*this);
}

void KSTask::_recomputeScheduling() {
    willRevalidateSchedule_ = false;
}

void KSTask::undoGroupDidOpen() {
    delayingSplitRejoining_ = true;
}

void KSTask::undoGroupWillClose() {
    if (scenario()) delayingSplitRejoining_ = false;
}

void KSTask::recomputeNumericalOrder() {}

void KSTask::setTitle(const std::optional<std::string>& title) {
    if (title == title_) return;
    willChangeValueForKey("title");
    title_ = title;
    didChangeValueForKey("title");
    titleDidChange();
}

TMDifferenceEngine* KSTask::differenceEngine() const {
    KSScenario* owner = scenario();
    return owner ? owner->taskDifferenceEngine() : nullptr;
}

std::vector<std::string> KSTask::userDataKeys() const {
    KSProject* owner = project();
    return owner ? owner->taskUserDataKeys() : std::vector<std::string>();
}

std::string KSTask::subclassLocalizedTypeForUndo() const {
    return KSLocalizedString("Task (for undo/redo only)", "Task");
}

}  // namespace kestrum
