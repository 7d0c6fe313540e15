// KSProjectItem: a node of the task tree or the resource tree.
//
// An item has a parent (not retained) and, when it is a group, an owned list of
// children; `children` is null for an item that is no group, and empty for an empty
// group. Every insertion, move, removal and reordering is undoable, with the undo
// arithmetic that lets a move be undone and redone exactly, and tells the difference
// engine and observers of "childrenSet". Attaching an item to a tree attaches it to the
// tree's scenario.
//
// It also gives outline positions and comparators, sequence numbers for ordering a
// selection, and the user-data walks over a subtree. Tasks and resources derive from it.
//
// Each item has a style, made on first read once the item is in a project: it cascades
// from the project's styles (cascadeStyles) and is owned by the item under "style", so
// that its changes are undoable changes of the item ("styleDict" in files and logs).
//
//   parent->insertObjectInChildrenAtIndex(task, 0);   // "Add Task"
//   parent->insertObjectInChildrenAtIndex(task, 2);   // "Move Task"
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

#include "Model/project/KSObject.h"
#include "Platform/styles/HLStyleOwner.h"

namespace kestrum {

class HLStyle;
class KSProjectItem;

// The indentation of an outline's children (points), set on a root item's private style.
extern const char* const TWItemChildIndentationStyleAttribute;  // "item-child-indentation"

using KSProjectItemList = std::vector<std::shared_ptr<KSProjectItem>>;
// Less-than ordering of items, the form sort descriptors take here.
using KSProjectItemLess = std::function<bool(const KSProjectItem&, const KSProjectItem&)>;

// Results of the comparators.
enum KSComparisonResult : int {
    KSOrderedAscending = -1,
    KSOrderedSame = 0,
    KSOrderedDescending = 1,
};

class KSProjectItem : public KSObject, public HLStyleOwner {
    KS_DECLARE_CLASS()
public:
    KSProjectItem();
    ~KSProjectItem() override;

    // Adds "isGroup", "notesAllowingNil", "styleDict", "attachmentDict".
    std::vector<std::string> baseAttributeIdentifiers() const override;
    // Number for "Unique ID", else as the base.
    KSValueClass valueClassForIdentifier(std::string_view identifier) const override;
    // Cached once per class.
    const KSKeySet& changeTrackedKeysSet() const override;

    // --- Class operations --------------------------------------------------------------
    // The items none of whose ancestors are in the list, in outline order.
    static KSProjectItemList topLevelItemsForItems(const KSProjectItemList& items);
    // The items in outline order.
    static KSProjectItemList orderedItemsForItems(const KSProjectItemList& items);

    // --- Tree ----------------------------------------------------------------------------
    KSProjectItem* parent() const { return nonretainedParent_; }
    // Sets the parent, telling the engine; a new parent also gives its scenario.
    // Subclasses add what joining a parent means to them.
    virtual void _setParent(KSProjectItem* parent);
    // Depth below the root: 1 for a top-level item, 0 for a root or a detached item.
    int level() const;
    // The level as a keyed number.
    int levelNumber() const { return level(); }
    // The topmost ancestor (this item when it has no parent).
    KSProjectItem* rootItem() const;
    // The items from the first level below the root down to this one; empty for a root,
    // null for an item with no scenario.
    std::optional<std::vector<const KSProjectItem*>> ancestryPath() const;
    // Whether `item` is an ancestor of this item.
    bool isAncestor(const KSProjectItem& item) const;
    // All descendants in outline order, without this item.
    KSProjectItemList allItemsButSelf() const;
    // The children as a keyed array of objects.
    KSArray childrenSet() const;
    // The index in the parent's children; -1 without a parent.
    std::int64_t childrenRank() const;
    // The children, or null when this item is no group.
    const std::optional<KSProjectItemList>& children() const { return children_; }
    std::size_t countOfChildren() const { return children_ ? children_->size() : 0; }
    // The number of all descendants.
    std::size_t recursiveChildrenCount() const;
    // The child at `index`, or null past the end.
    std::shared_ptr<KSProjectItem> objectInChildrenAtIndex(std::size_t index) const;
    // The index of `child` among the children, or null.
    std::optional<std::size_t> indexOfChild(const KSProjectItem& child) const;

    // Inserts `item` at `index` (clamped to the count), or moves it there when it is
    // already a child. Undoable ("Add %@" / "Move %@"). Moving to its own index, or into
    // its own subtree, does nothing.
    virtual void insertObjectInChildrenAtIndex(const std::shared_ptr<KSProjectItem>& item,
                                               std::size_t index);
    // Removes the child at `index` (undoable, "Delete %@"); nothing past the end.
    virtual void removeObjectFromChildrenAtIndex(std::size_t index);
    // Replaces the child at `index` (undoable, "Replace %@").
    virtual void replaceObjectInChildrenAtIndexWithObject(
        std::size_t index, const std::shared_ptr<KSProjectItem>& item);
    // Inserts or moves the items, in order, starting at `index`.
    void insertChildItemsAtIndex(const KSProjectItemList& items, std::size_t index);
    // Removes the items that are children, last first.
    void removeChildItems(const KSProjectItemList& items);
    // Removes `item` if it is a child.
    void removeChildItem(const std::shared_ptr<KSProjectItem>& item);
    // Puts the children in a new order (a permutation of the present ones; anything
    // else is refused with a log line). Undoable.
    void reorderChildItems(const KSProjectItemList& items);
    // Writes `items` into the child positions `indexes` (ascending, same count). Undoable.
    void replaceSelectedItemsWithSortedItems(const std::vector<std::size_t>& indexes,
                                             const KSProjectItemList& items);
    // Calls `block` on this item and every descendant in outline order until it sets stop.
    void enumerateObjectsUsingBlock(
        const std::function<void(KSProjectItem& item, bool* stop)>& block);
    // Appends every descendant in outline order.
    void addDescendentsToArray(KSProjectItemList& array) const;
    // Appends every descendant that `predicate` accepts, in outline order.
    void addDescendentsMatchingPredicateToArray(
        const std::function<bool(const KSProjectItem&)>& predicate, KSProjectItemList& array) const;
    // Whether a descendant is in `items`.
    bool hasDescendentInSet(const std::unordered_set<const KSProjectItem*>& items) const;
    // Sorts the children (and, when `recursively`, every group below first).
    void sortChildrenWithDescriptorsRecursively(const KSProjectItemLess& less, bool recursively);
    // Removes this item from its parent and from the scenario. Subclasses that hold
    // links or counts in the scenario let go of them first.
    virtual void deleteSelf();
    // Joining a scenario records deleteSelf as the undo.
    void setScenario(KSScenario* scenario) override;
    bool isGroup() const { return children_.has_value(); }
    // Makes or unmakes a group (undoable); unmaking one detaches its children.
    void setIsGroup(bool flag);

    // --- Comparators --------------------------------------------------------------------
    int ascendingCompareBySequenceNumber(const KSProjectItem& other) const;
    int descendingCompareBySequenceNumber(const KSProjectItem& other) const;
    int compareByLevelAndSequenceNumber(const KSProjectItem& other) const;
    int compareByAscendingLevelAndDescendingSequenceNumber(const KSProjectItem& other) const;
    int ascendingCompareByLevel(const KSProjectItem& other) const;
    int compareByLevelAndPosition(const KSProjectItem& other) const;
    // Outline order: a parent before its descendants, siblings by index.
    int compareByPosition(const KSProjectItem& other) const;

    // --- Sequence -----------------------------------------------------------------------
    // Whether this item or an ancestor is marked as indented.
    bool hasBeenIndented() const;
    void setHasBeenIndented(bool flag) { hasBeenIndented_ = flag; }
    std::uint32_t sequenceNumber() const { return sequenceNumber_; }
    void setSequenceNumber(std::uint32_t number) { sequenceNumber_ = number; }
    bool shouldIncludeInSequence() const { return shouldIncludeInSequence_; }
    // Marking an item marks its ancestors too, so the path down to it is walked.
    void setShouldIncludeInSequence(bool flag);
    // Numbers this item and its children from `number` on, descending only into marked
    // children, and clears the mark. Answers the next free number.
    std::uint32_t sequenceStartingAtNumber(std::uint32_t number);

    // --- Hooks for subclasses -------------------------------------------------------------
    virtual void childrenDidChange() {}
    virtual void beginEditing() {}
    virtual void endEditing() {}
    // Tells observers of "childrenRank".
    virtual void positionDidChange();

    // --- Other ----------------------------------------------------------------------------
    // The title; items without one answer null.
    virtual std::optional<std::string> title() const { return std::nullopt; }
    virtual void setTitle(const std::optional<std::string>&) {}
    // Whether this item or a descendant not in `except` has a value for `key`.
    bool hasAnyValuesForUserDataKeyExceptingObjects(
        const std::string& key, const std::unordered_set<const KSProjectItem*>& except) const;
    // Renames the key here and in the whole subtree.
    void userDataChangedKeyFromTo(const std::string& oldKey,
                                  const std::optional<std::string>& newKey) override;
    // Scrambles this item ("<Type> <number>" as title) and numbers its children from
    // `number` + 1 on; answers the next free number.
    virtual std::int64_t gibberizeWithNumber(std::int64_t number);
    // Whether the engine holds unmarked changes of this item.
    bool hasTrackedChanges() const;
    // The note when there is one, else null.
    std::shared_ptr<KSTextStorage> notesAllowingNil() const;
    void setNotesAllowingNil(const KSValue& value) { setNotes(value); }

    TMObject* parentSnapshot() const override { return nonretainedParent_; }
    std::vector<std::shared_ptr<TMObject>> childrenSnapshot() const override;

    // --- Styles --------------------------------------------------------------------------
    // The styles this item's style cascades from: the project's base style here.
    virtual std::vector<std::shared_ptr<HLStyle>> cascadeStyles() const;
    // The item's style, made on first read when the project has a style context (null
    // otherwise). A root's style cascades from the base style and a private style that
    // indents children by 5 points, and has no owner and no undo.
    std::shared_ptr<HLStyle> style() const;
    // The style's property-list form with inherited named styles; null without a style
    // or for an empty one.
    KSValue styleDict() const;
    // Null clears the style's own attributes and named styles; a property list replaces
    // them (undoably, through the style).
    void setStyleDict(const KSValue& propertyList);
    // HLStyleOwner: a change of the style is a change of "style" (and so of "styleDict").
    void styleWillChange(HLStyle& style, const HLStyleChange& change) override;
    void styleDidChange(HLStyle& style, const HLStyleChange& change) override;
    // Called by subclasses when the title changed: the style shows the new title.
    virtual void titleDidChange();

protected:
    // Names the open undo group "<format> <type>" ("Move %@" with "Task").
    void setTreeActionName(std::string_view format) const;
    // The style as stored, without making one on first read (null until then).
    const std::shared_ptr<HLStyle>& storedStyle() const { return style_; }
    // Replaces the stored style object; a split chunk shares its parent's.
    void setStoredStyle(std::shared_ptr<HLStyle> style) { style_ = std::move(style); }

private:
    KSProjectItem* nonretainedParent_ = nullptr;
    std::optional<KSProjectItemList> children_;
    std::uint32_t sequenceNumber_ = 0;
    bool hasBeenIndented_ = false;
    bool shouldIncludeInSequence_ = false;
    mutable std::shared_ptr<HLStyle> style_;

    // Detaches the style from this item before it goes.
    void releaseStyle();
};

}  // namespace kestrum
