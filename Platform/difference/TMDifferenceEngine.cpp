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
    _giveIdentity(object);
    // Registered even while loading: a file's objects are found by id afterwards.
    if (!object.weak_from_this().expired()) {
        objects_[object.objectId()] = object.sharedFromThis<TMObject>();
    }
    deletedObjectIds_.erase(object.objectId());
    record(EventKind::Insert, object);
}

void TMDifferenceEngine::_giveIdentity(TMObject& object) {
    TMObjectId id = object.objectId();
    // Negative ids are fixed by their owners (roots -1, prototypes below).
    if (id < 0) return;
    if (id > 0) {
        // An object coming back (undo of a deletion, a file read) keeps its id, unless
        // another object that is still alive holds that id: then it is a copy.
        auto it = objects_.find(id);
        std::shared_ptr<TMObject> holder = it == objects_.end() ? nullptr : it->second.lock();
        if (!holder || holder.get() == &object) {
            if (id >= nextObjectId()) setNextObjectId(id + 1);
            return;
        }
    }
    // Id 0 means "none yet". A counter that was never set (a project file without one
    // answers 0) hands out 1 first, so that 0 is never a real id.
    TMObjectId next = std::max<TMObjectId>(nextObjectId(), 1);
    object.setObjectId(next);
    setNextObjectId(next + 1);
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
