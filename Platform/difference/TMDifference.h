// TMDifference: one recorded change of one tracked object.
//
// Three kinds exist: an attribute difference (a key with its old and new value), a move
// (from one parent to another) and an insertion (an object appearing, or disappearing
// when it is a deletion, with the attribute values it had). Change sets hold them.
#pragma once

#include <memory>
#include <string>

#include "Platform/core/KSValue.h"
#include "Platform/difference/TMObject.h"

namespace kestrum {

class TMDifference {
public:
    enum class Kind { Attribute, Move, Insert };

    // A change of `key` on object `objectId` from `oldValue` to `replacementValue`.
    static std::shared_ptr<TMDifference> attributeDifference(TMObjectId objectId, std::string key,
                                                             KSValue oldValue,
                                                             KSValue replacementValue);
    // A move of `objectId` from parent `oldParentId` to `newParentId`.
    static std::shared_ptr<TMDifference> moveDifference(TMObjectId objectId, TMObjectId oldParentId,
                                                        TMObjectId newParentId);
    // An insertion (or a deletion) of `objectId` with its attribute values.
    static std::shared_ptr<TMDifference> insertDifference(TMObjectId objectId,
                                                          KSDictionary attributeValues,
                                                          bool isDeletion);

    Kind kind() const { return kind_; }
    TMObjectId objectId() const { return objectId_; }
    bool isAttributeDifference() const { return kind_ == Kind::Attribute; }
    bool isMoveDifference() const { return kind_ == Kind::Move; }
    bool isInsertDifference() const { return kind_ == Kind::Insert; }
    // An insertion that removes its object.
    bool isDeletion() const { return isDeletion_; }
    // An insertion that brings back an object deleted earlier.
    bool isResurrection() const { return isResurrection_; }
    void setIsResurrection(bool flag) { isResurrection_ = flag; }
    // Resolved differences are history; unresolved ones wait for review.
    bool isResolved() const { return resolved_; }
    void setResolved(bool flag) { resolved_ = flag; }

    // Attribute differences: the key, and the values before and after.
    const std::string& attributeKey() const { return key_; }
    const KSValue& oldValue() const { return oldValue_; }
    const KSValue& replacementValue() const { return replacementValue_; }
    // Moves: the parents before and after.
    TMObjectId oldParentId() const { return oldParentId_; }
    TMObjectId newParentId() const { return newParentId_; }
    // Insertions: the attribute values of the object.
    const KSDictionary& attributeDifferences() const { return attributeValues_; }
    KSValue insertionValueForAttributeKey(std::string_view key) const {
        return attributeValues_.objectForKey(key);
    }

private:
    TMDifference(Kind kind, TMObjectId objectId) : kind_(kind), objectId_(objectId) {}

    Kind kind_;
    TMObjectId objectId_;
    bool isDeletion_ = false;
    bool isResurrection_ = false;
    bool resolved_ = false;
    std::string key_;
    KSValue oldValue_;
    KSValue replacementValue_;
    TMObjectId oldParentId_ = 0;
    TMObjectId newParentId_ = 0;
    KSDictionary attributeValues_;
};

}  // namespace kestrum
