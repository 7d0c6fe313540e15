#include "Model/changes/KSDifferenceEngine.h"

namespace kestrum {

const KSClassInfo& KSDifferenceEngine::staticClassInfo() {
    static const KSClassInfo info("KSDifferenceEngine", &TMDifferenceEngine::staticClassInfo());
    return info;
}

KSDifferenceEngine::KSDifferenceEngine(std::string keyPath, KSBaseObject* object)
    : TMDifferenceEngine(true), nonretainedObject_(object), keyPath_(std::move(keyPath)) {}

KSDifferenceEngine::~KSDifferenceEngine() = default;

TMObjectId KSDifferenceEngine::nextObjectId() const {
    if (!nonretainedObject_) return 0;
    return static_cast<TMObjectId>(nonretainedObject_->valueForKeyPath(keyPath_).intValue());
}

void KSDifferenceEngine::setNextObjectId(TMObjectId objectId) {
    if (!nonretainedObject_) return;
    nonretainedObject_->setValueForKeyPath(KSValue(static_cast<long long>(objectId)), keyPath_);
}

}  // namespace kestrum
