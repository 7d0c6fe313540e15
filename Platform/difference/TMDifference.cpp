#include "Platform/difference/TMDifference.h"

namespace kestrum {

std::shared_ptr<TMDifference> TMDifference::attributeDifference(TMObjectId objectId,
                                                                std::string key, KSValue oldValue,
                                                                KSValue replacementValue) {
    std::shared_ptr<TMDifference> d(new TMDifference(Kind::Attribute, objectId));
    d->key_ = std::move(key);
    d->oldValue_ = std::move(oldValue);
    d->replacementValue_ = std::move(replacementValue);
    return d;
}

std::shared_ptr<TMDifference> TMDifference::moveDifference(TMObjectId objectId,
                                                           TMObjectId oldParentId,
                                                           TMObjectId newParentId) {
    std::shared_ptr<TMDifference> d(new TMDifference(Kind::Move, objectId));
    d->oldParentId_ = oldParentId;
    d->newParentId_ = newParentId;
    return d;
}

std::shared_ptr<TMDifference> TMDifference::insertDifference(TMObjectId objectId,
                                                             KSDictionary attributeValues,
                                                             bool isDeletion) {
    std::shared_ptr<TMDifference> d(new TMDifference(Kind::Insert, objectId));
    d->attributeValues_ = std::move(attributeValues);
    d->isDeletion_ = isDeletion;
    return d;
}

}  // namespace kestrum
