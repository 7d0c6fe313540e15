#include "Platform/xml/BKObject.h"

namespace kestrum {

const KSClassInfo& BKObject::staticClassInfo() {
    static const KSClassInfo info("BKObject", &KSBaseObject::staticClassInfo());
    return info;
}

BKObject::BKObject() = default;
BKObject::~BKObject() = default;

}  // namespace kestrum
