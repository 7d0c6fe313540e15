#include "Model/tasks/KSDependency.h"

#include "Model/tasks/KSTask.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

const KSClassInfo& KSDependency::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSDependency>(
        "KSDependency", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSDependency>& b) {
            b.readOnly("isActive", &KSDependency::isActive);
            b.readOnly("dependentAlignedToEnd", &KSDependency::dependentAlignedToEnd);
            b.readOnly("prerequisiteAlignedToEnd", &KSDependency::prerequisiteAlignedToEnd);
        });
    return info;
}

KSDependency::KSDependency(KSTask* prerequisite, KSTask* dependent, KSDependencyKind kind)
    : nonretainedPrerequisite_(prerequisite), nonretainedDependent_(dependent), kind_(kind) {}

KSDependency::~KSDependency() = default;

std::shared_ptr<KSDependency> KSDependency::connect(KSTask& prerequisite, KSTask& dependent,
                                                    KSDependencyKind kind) {
    auto link = std::make_shared<KSDependency>(&prerequisite, &dependent, kind);
    link->reattach();
    return link;
}

void KSDependency::setDependentAlignedToEnd(bool flag) {
    if (flag == dependentAlignedToEnd()) return;
    bool fromEnd = prerequisiteAlignedToEnd();
    willChangeValueForKey("dependentAlignedToEnd");
    if (flag) {
        kind_ = fromEnd ? KSDependencyKindFF : KSDependencyKindSF;
    } else {
        kind_ = fromEnd ? KSDependencyKindFS : KSDependencyKindSS;
    }
    didChangeValueForKey("dependentAlignedToEnd");
    if (nonretainedDependent_) nonretainedDependent_->prerequisiteLinkDidChange(*this);
    if (nonretainedPrerequisite_) nonretainedPrerequisite_->dependentLinkDidChange(*this);
}

void KSDependency::reattach() {
    auto self = sharedFromThis<KSDependency>();
    if (nonretainedPrerequisite_) nonretainedPrerequisite_->_addDependent(self);
    if (nonretainedDependent_) nonretainedDependent_->_addPrerequisite(self);
}

void KSDependency::removeWithUndoManager(KSUndoManager* undoManager) {
    auto self = sharedFromThis<KSDependency>();
    if (undoManager) {
        undoManager->registerUndoWithTarget(self, [](KSDependency& d) { d.reattach(); });
    }
    if (nonretainedPrerequisite_) nonretainedPrerequisite_->_removeDependent(*this);
    if (nonretainedDependent_) nonretainedDependent_->_removePrerequisite(*this);
}

void KSDependency::remove() {
    KSUndoManager* um = nonretainedDependent_ ? nonretainedDependent_->undoManager() : nullptr;
    removeWithUndoManager(um);
}

void KSDependency::_forgetTask(const KSTask* task) {
    if (nonretainedPrerequisite_ == task) nonretainedPrerequisite_ = nullptr;
    if (nonretainedDependent_ == task) nonretainedDependent_ = nullptr;
}

}  // namespace kestrum
