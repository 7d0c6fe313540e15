// BKObject: the common root of the model's persistent objects.
//
// It carries the XML value helpers (reading and writing one typed value from a cursor or
// into a document) so that any object can use them, and a throw-away BKObject can serve
// where no receiver is at hand.
#pragma once

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class BKObject : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    BKObject();
    ~BKObject() override;
};

}  // namespace kestrum
