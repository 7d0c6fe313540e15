#include "Platform/difference/TMDifferenceEngine.h"

#include <algorithm>

namespace kestrum {

const KSClassInfo& TMDifferenceEngine::staticClassInfo() {
    static const KSClassInfo info("TMDifferenceEngine", &KSBaseObject::staticClassInfo());
    return info;
}

TMDifferenceEngine::TMDifferenceEngine(bool supportForWillChange)
    : supportForWillChange_(supportForWillChange) {}

TMDifferenceEngine::~TMDifferenceEngine() = default;

void TMDifferenceEngine::registerHandlerForIdChangesToAttribute(TMIdChangeHandler handler,
                                                                std::string attribute) {
    idHandlers_[std::move(attribute)] = std::move(handler);
}

const TMIdChangeHandler* TMDifferenceEngine::handlerForIdChangesToAttribute(
    std::string_view attribute) const {
    auto it = idHandlers_.find(std::string(attribute));
    return it == idHandlers_.end() ? nullptr : &it->second;
}

void TMDifferenceEngine::record(EventKind kind, TMObject& object) {
    if (isLoading_) return;
    std::weak_ptr<TMObject> weak;
    if (!object.weak_from_this().expired()) weak = object.sharedFromThis<TMObject>();
    events_.push_back(Event{kind, object.objectId(), std::move(weak)});
}

void TMDifferenceEngine::objectDidInsert(TMObject& object) {
    // Registered even while loading: a file's objects are found by id afterwards.
    if (!object.weak_from_this().expired()) {
        objects_[object.objectId()] = object.sharedFromThis<TMObject>();
    }
    deletedObjectIds_.erase(object.objectId());
    record(EventKind::Insert, object);
}

void TMDifferenceEngine::objectWillChange(TMObject& object) {
    if (supportForWillChange_) record(EventKind::WillChange, object);
}

void TMDifferenceEngine::objectDidChange(TMObject& object) {
    record(EventKind::DidChange, object);
}

void TMDifferenceEngine::objectWillDelete(TMObject& object) {
    deletedObjectIds_.insert(object.objectId());
    record(EventKind::WillDelete, object);
}

bool TMDifferenceEngine::hasCurrentDifferencesForId(TMObjectId objectId) const {
    return std::any_of(events_.begin(), events_.end(),
                       [&](const Event& e) { return e.objectId == objectId; });
}

void TMDifferenceEngine::discardChanges() {
    events_.clear();
}

void TMDifferenceEngine::forgetAllObjects() {
    objects_.clear();
    events_.clear();
    deletedObjectIds_.clear();
}

std::shared_ptr<TMObject> TMDifferenceEngine::objectWithId(TMObjectId objectId) const {
    auto it = objects_.find(objectId);
    return it == objects_.end() ? nullptr : it->second.lock();
}

std::vector<std::shared_ptr<TMObject>> TMDifferenceEngine::objectEnumerator() const {
    std::vector<std::shared_ptr<TMObject>> result;
    for (const auto& [id, weak] : objects_) {
        if (auto object = weak.lock()) result.push_back(std::move(object));
    }
    return result;
}

}  // namespace kestrum
