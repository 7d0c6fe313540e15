#include "Platform/difference/TMObject.h"

namespace kestrum {

const KSClassInfo& TMObject::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<TMObject>(
        "TMObject", &BKObject::staticClassInfo(), [](KSClassBuilder<TMObject>& b) {
            b.attribute("objectId", &TMObject::objectId, &TMObject::setObjectId);
        });
    return info;
}

TMObject::TMObject() = default;
TMObject::~TMObject() = default;

int TMObject::compareObjectIds(const TMObject& other) const {
    TMObjectId a = objectId();
    TMObjectId b = other.objectId();
    return a < b ? -1 : (a > b ? 1 : 0);
}

}  // namespace kestrum
