// KSDifferenceEngine: the change tracker of a scenario's tasks or resources.
//
// It keeps its id counter on another object, the project, under a key ("nextTaskId" or
// "nextResourceId"), so that ids stay unique across all scenarios of a project and are
// saved with it. The scenario clears the back reference when it is invalidated.
//
//   auto engine = std::make_shared<KSDifferenceEngine>("nextTaskId", project.get());
//   TMObjectId id = engine->nextObjectId();
#pragma once

#include <string>

#include "Platform/difference/TMDifferenceEngine.h"

namespace kestrum {

class KSDifferenceEngine : public TMDifferenceEngine {
    KS_DECLARE_CLASS()
public:
    // An engine with will-change support over the counter at `keyPath` of `object`
    // (not retained).
    KSDifferenceEngine(std::string keyPath, KSBaseObject* object);
    ~KSDifferenceEngine() override;

    // The counter read through keyed access, as a 32-bit integer widened; 0 without
    // an object.
    TMObjectId nextObjectId() const override;
    // Stores the counter through keyed access; nothing without an object.
    void setNextObjectId(TMObjectId objectId) override;

    // The object holding the counter, or null.
    KSBaseObject* object() const { return nonretainedObject_; }
    void setObject(KSBaseObject* object) { nonretainedObject_ = object; }
    const std::string& keyPath() const { return keyPath_; }
    void setKeyPath(std::string keyPath) { keyPath_ = std::move(keyPath); }

private:
    KSBaseObject* nonretainedObject_;
    std::string keyPath_;
};

}  // namespace kestrum
