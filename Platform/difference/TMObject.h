// TMObject: an object whose changes a difference engine tracks.
//
// Every tracked object carries a signed integer id, unique within its engine. The
// engine hears about changes through objectWillChange / objectDidChange and asks the
// object for its tracked state through the snapshot hooks, which subclasses override.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Platform/xml/BKObject.h"

namespace kestrum {

class TMDifferenceEngine;

// The id type of tracked objects; root items use -1.
using TMObjectId = std::int64_t;

class TMObject : public BKObject {
    KS_DECLARE_CLASS()
public:
    TMObject();
    ~TMObject() override;

    // The id in the object's engine; 0 until one is given.
    virtual TMObjectId objectId() const { return objectId_; }
    virtual void setObjectId(TMObjectId objectId) { objectId_ = objectId; }
    // Orders two objects by id: -1, 0 or 1.
    int compareObjectIds(const TMObject& other) const;

    // The engine that tracks this object, or null when none does.
    virtual TMDifferenceEngine* differenceEngine() const { return nullptr; }
    // The tracked attributes as plain values; empty by default.
    virtual KSDictionary attributesSnapshot() const { return {}; }
    // The parent as the engine sees it; null by default.
    virtual TMObject* parentSnapshot() const { return nullptr; }
    // The children as the engine sees them; none by default.
    virtual std::vector<std::shared_ptr<TMObject>> childrenSnapshot() const { return {}; }

private:
    TMObjectId objectId_ = 0;
};

}  // namespace kestrum
