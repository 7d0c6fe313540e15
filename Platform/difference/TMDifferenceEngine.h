// TMDifferenceEngine: the change tracker of one family of objects.
//
// Objects tell their engine when they appear (objectDidInsert), before and after an
// attribute changes (objectWillChange / objectDidChange) and before they go away
// (objectWillDelete). While the engine is loading it registers objects but records no
// change, so that reading a file is not logged as editing.
//
// This engine keeps the objects by id and records the calls it is told, in order, as
// the current changes; discardChanges takes the present state as the base again.
// Snapshot comparison, history, conflicts and replay build on these same entry points.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Platform/core/KSBaseObject.h"
#include "Platform/difference/TMObject.h"

namespace kestrum {

class TMDifferenceEngine;

// Told when an engine gives an object a new id (after a merge renumbers it).
class TMDifferenceEngineDelegate {
public:
    virtual ~TMDifferenceEngineDelegate() = default;
    virtual void differenceEngineChangedObjectIdToObjectId(TMDifferenceEngine& engine,
                                                           TMObjectId oldId, TMObjectId newId) = 0;
};

// Rewrites the ids inside an attribute's value when an object id changes: it gets the
// value, the old and the new id, and answers the translated value.
using TMIdChangeHandler =
    std::function<KSValue(const KSValue& value, TMObjectId oldId, TMObjectId newId)>;

class TMDifferenceEngine : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // What an engine was told, in order.
    enum class EventKind { Insert, WillChange, DidChange, WillDelete };
    struct Event {
        EventKind kind;
        TMObjectId objectId;
        std::weak_ptr<TMObject> object;
    };

    // `supportForWillChange`: whether objectWillChange is heeded (it takes the "before"
    // state); an engine without it notices changes at objectDidChange only.
    explicit TMDifferenceEngine(bool supportForWillChange);
    ~TMDifferenceEngine() override;

    bool supportsWillChange() const { return supportForWillChange_; }

    // The delegate (not retained) told about id changes; null by default.
    TMDifferenceEngineDelegate* delegate() const { return delegate_; }
    void setDelegate(TMDifferenceEngineDelegate* delegate) { delegate_ = delegate; }
    // Registers the id rewriter for one attribute (replacing an earlier one).
    void registerHandlerForIdChangesToAttribute(TMIdChangeHandler handler, std::string attribute);
    // The rewriter for `attribute`, or null.
    const TMIdChangeHandler* handlerForIdChangesToAttribute(std::string_view attribute) const;

    // While loading, objects are registered but no change is recorded.
    bool isLoading() const { return isLoading_; }
    void setIsLoading(bool flag) { isLoading_ = flag; }

    // --- What objects tell the engine -------------------------------------------------
    // Registers the object under its id. An object without one (id 0), or one whose id
    // another live object holds (a copy), first gets the next id from the counter; an
    // object coming back keeps its id, and the counter moves past any id it sees.
    virtual void objectDidInsert(TMObject& object);
    virtual void objectWillChange(TMObject& object);
    virtual void objectDidChange(TMObject& object);
    virtual void objectWillDelete(TMObject& object);

    // The current changes, oldest first.
    const std::vector<Event>& currentEvents() const { return events_; }
    // Whether a change of the object with this id was recorded since the last discard.
    bool hasCurrentDifferencesForId(TMObjectId objectId) const;
    // Takes the present state as the base: forgets the current changes.
    void discardChanges();
    // Forgets every object and every change.
    void forgetAllObjects();

    // The registered object with this id, or null (also when it has gone away).
    std::shared_ptr<TMObject> objectWithId(TMObjectId objectId) const;
    // Every registered object that is still alive, in no defined order.
    std::vector<std::shared_ptr<TMObject>> objectEnumerator() const;
    // The ids of objects told objectWillDelete and not inserted again since. A deleted
    // object stays registered (undo may bring it back), so lookups check this set.
    const std::unordered_set<TMObjectId>& deletedObjectIds() const { return deletedObjectIds_; }

    // The id to give the next new object. The base engine keeps its own counter;
    // subclasses keep it elsewhere.
    virtual TMObjectId nextObjectId() const { return nextObjectId_; }
    virtual void setNextObjectId(TMObjectId objectId) { nextObjectId_ = objectId; }

private:
    void record(EventKind kind, TMObject& object);
    void _giveIdentity(TMObject& object);

    bool supportForWillChange_;
    bool isLoading_ = false;
    TMDifferenceEngineDelegate* delegate_ = nullptr;
    std::unordered_map<std::string, TMIdChangeHandler> idHandlers_;
    std::unordered_map<TMObjectId, std::weak_ptr<TMObject>> objects_;
    std::vector<Event> events_;
    std::unordered_set<TMObjectId> deletedObjectIds_;
    TMObjectId nextObjectId_ = 1;
};

}  // namespace kestrum
