#include "Model/project/KSProjectItem.h"

#include <algorithm>
#include <mutex>
#include <unordered_map>

#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSLog.h"
#include "Platform/difference/TMDifferenceEngine.h"
#include "Platform/styles/HLStyle.h"

namespace kestrum {

namespace {

KSArray arrayOfItems(const KSProjectItemList& items) {
    KSArray array;
    array.reserve(items.size());
    for (const auto& item : items)
        array.push_back(KSValue(item));
    return array;
}

int compareNumbers(std::int64_t a, std::int64_t b) {
    return a < b ? KSOrderedAscending : (a > b ? KSOrderedDescending : KSOrderedSame);
}

}  // namespace

const KSClassInfo& KSProjectItem::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSProjectItem>(
        "KSProjectItem", &KSObject::staticClassInfo(), [](KSClassBuilder<KSProjectItem>& b) {
            b.attribute("isGroup", &KSProjectItem::isGroup, &KSProjectItem::setIsGroup);
            b.custom(
                "notesAllowingNil", KSValue::Type::Object,
                [](const KSProjectItem& i) { return KSValue(i.notesAllowingNil()); },
                [](KSProjectItem& i, const KSValue& v) {
                    i.setNotesAllowingNil(v);
                    return true;
                });
            b.custom("childrenSet", KSValue::Type::Array,
                     [](const KSProjectItem& i) { return KSValue(i.childrenSet()); });
            b.readOnly("childrenRank", &KSProjectItem::childrenRank);
            b.readOnly("level", &KSProjectItem::level);
            b.readOnly("levelNumber", &KSProjectItem::levelNumber);
            b.readOnly("countOfChildren", &KSProjectItem::countOfChildren);
            b.readOnly("hasTrackedChanges", &KSProjectItem::hasTrackedChanges);
            b.attribute("sequenceNumber", &KSProjectItem::sequenceNumber,
                        &KSProjectItem::setSequenceNumber);
            b.dependentKeys("isGroup", {"childrenSet"});
            b.dependentKeys("notesAllowingNil", {"hasNote", "NoteContents"});
            b.custom("style", KSValue::Type::Object, [](const KSProjectItem& i) {
                auto style = i.style();
                return style ? KSValue(style) : KSValue();
            });
            b.custom(
                "styleDict", KSValue::Type::Dictionary,
                [](const KSProjectItem& i) { return i.styleDict(); },
                [](KSProjectItem& i, const KSValue& v) {
                    if (!v.isNull() && !v.isDictionary()) return false;
                    i.setStyleDict(v);
                    return true;
                });
            b.dependentKeys("styleDict", {"style"});
        });
    return info;
}

KSProjectItem::KSProjectItem() = default;

KSProjectItem::~KSProjectItem() {
    releaseStyle();
    // Children outlive their parent only through other owners; they must not point back.
    if (children_) {
        for (const auto& child : *children_) {
            if (child->nonretainedParent_ == this) child->nonretainedParent_ = nullptr;
        }
    }
}

std::vector<std::string> KSProjectItem::baseAttributeIdentifiers() const {
    std::vector<std::string> ids = KSObject::baseAttributeIdentifiers();
    ids.insert(ids.end(), {"isGroup", "notesAllowingNil", "styleDict", "attachmentDict"});
    return ids;
}

KSValueClass KSProjectItem::valueClassForIdentifier(std::string_view identifier) const {
    if (identifier == "Unique ID") return KSValueClass::Number;
    return KSObject::valueClassForIdentifier(identifier);
}

const KSKeySet& KSProjectItem::changeTrackedKeysSet() const {
    // The vocabulary is fixed per class, so the set is worked out once per class.
    static std::unordered_map<const KSClassInfo*, KSKeySet> cache;
    auto it = cache.find(&classInfo());
    if (it != cache.end()) return it->second;
    KSKeySet keys = KSObject::changeTrackedKeysSet();
    return cache.emplace(&classInfo(), std::move(keys)).first->second;
}

// --- Class operations ----------------------------------------------------------------------

KSProjectItemList KSProjectItem::orderedItemsForItems(const KSProjectItemList& items) {
    KSProjectItemList sorted = items;
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
        return a->compareByPosition(*b) == KSOrderedAscending;
    });
    return sorted;
}

KSProjectItemList KSProjectItem::topLevelItemsForItems(const KSProjectItemList& items) {
    std::unordered_set<const KSProjectItem*> members;
    for (const auto& item : items)
        members.insert(item.get());
    KSProjectItemList top;
    for (const auto& item : items) {
        bool covered = false;
        for (KSProjectItem* p = item->parent(); p && !covered; p = p->parent()) {
            covered = members.count(p) > 0;
        }
        if (!covered) top.push_back(item);
    }
    return orderedItemsForItems(top);
}

// --- Tree -----------------------------------------------------------------------------------

void KSProjectItem::_setParent(KSProjectItem* parent) {
    if (parent == nonretainedParent_) return;
    TMDifferenceEngine* engine = differenceEngine();
    if (engine) engine->objectWillChange(*this);
    nonretainedParent_ = parent;
    if (engine) engine->objectDidChange(*this);
    if (parent) {
        positionDidChange();
        setScenario(parent->scenario());
    }
}

std::optional<std::vector<const KSProjectItem*>> KSProjectItem::ancestryPath() const {
    if (!scenario()) return std::nullopt;
    std::vector<const KSProjectItem*> path;
    for (const KSProjectItem* item = this; item->parent(); item = item->parent()) {
        path.push_back(item);
    }
    std::reverse(path.begin(), path.end());
    return path;
}

int KSProjectItem::level() const {
    auto path = ancestryPath();
    return path ? static_cast<int>(path->size()) : 0;
}

KSProjectItem* KSProjectItem::rootItem() const {
    const KSProjectItem* item = this;
    while (item->parent())
        item = item->parent();
    return const_cast<KSProjectItem*>(item);
}

bool KSProjectItem::isAncestor(const KSProjectItem& item) const {
    for (const KSProjectItem* p = parent(); p; p = p->parent()) {
        if (p == &item) return true;
    }
    return false;
}

KSProjectItemList KSProjectItem::allItemsButSelf() const {
    KSProjectItemList items;
    addDescendentsToArray(items);
    return items;
}

KSArray KSProjectItem::childrenSet() const {
    return children_ ? arrayOfItems(*children_) : KSArray();
}

std::int64_t KSProjectItem::childrenRank() const {
    if (!parent()) return -1;
    auto index = parent()->indexOfChild(*this);
    return index ? static_cast<std::int64_t>(*index) : -1;
}

std::size_t KSProjectItem::recursiveChildrenCount() const {
    std::size_t count = 0;
    if (children_) {
        for (const auto& child : *children_)
            count += 1 + child->recursiveChildrenCount();
    }
    return count;
}

std::shared_ptr<KSProjectItem> KSProjectItem::objectInChildrenAtIndex(std::size_t index) const {
    if (!children_ || index >= children_->size()) return nullptr;
    return (*children_)[index];
}

std::optional<std::size_t> KSProjectItem::indexOfChild(const KSProjectItem& child) const {
    if (!children_) return std::nullopt;
    for (std::size_t i = 0; i < children_->size(); ++i) {
        if ((*children_)[i].get() == &child) return i;
    }
    return std::nullopt;
}

void KSProjectItem::setTreeActionName(std::string_view format) const {
    KSUndoManager* um = undoManager();
    if (!um) return;
    um->setActionName(
        KSStringWithFormat(KSLocalizedString(format), subclassLocalizedTypeForUndo()));
}

void KSProjectItem::insertObjectInChildrenAtIndex(const std::shared_ptr<KSProjectItem>& item,
                                                  std::size_t index) {
    if (!item) return;
    std::shared_ptr<KSProjectItem> x = item;  // kept alive through the operation
    const std::size_t n = countOfChildren();
    const std::size_t t = std::min(index, n);
    // A listed child always has this item as its parent, so only such an item is looked
    // for (a scan of a large group per insertion made building a plan quadratic).
    std::optional<std::size_t> old = x->parent() == this ? indexOfChild(*x) : std::nullopt;
    const char* actionFormat = "Move %@";
    if (old) {
        if (*old == t) return;
        willChangeValueForKeyWithSetMutationUsingObjects(
            "childrenSet", KSKeyValueSetMutationKind::Set, childrenSet());
        // The index that brings the item back where it was, seen from where it lands.
        std::size_t undoIndex = (*old > t + 1 || *old == n) ? *old + 1 : *old;
        registerUndo<KSProjectItem>(
            [x, undoIndex](KSProjectItem& p) { p.insertObjectInChildrenAtIndex(x, undoIndex); });
        children_->erase(children_->begin() + static_cast<std::ptrdiff_t>(*old));
        std::size_t u = (*old + 1 < t || t == n) ? t - 1 : t;
        children_->insert(children_->begin() + static_cast<std::ptrdiff_t>(u), x);
        for (std::size_t k = std::min(*old, u); k <= std::max(*old, u); ++k) {
            (*children_)[k]->positionDidChange();
        }
        didChangeValueForKeyWithSetMutationUsingObjects(
            "childrenSet", KSKeyValueSetMutationKind::Set, childrenSet());
    } else {
        // A tree cannot be folded into itself.
        if (x.get() == this || isAncestor(*x)) return;
        if (!children_) setIsGroup(true);
        KSArray inserted{KSValue(x)};
        willChangeValueForKeyWithSetMutationUsingObjects(
            "childrenSet", KSKeyValueSetMutationKind::Union, inserted);
        bool hadParent = x->parent() != nullptr;
        if (KSProjectItem* oldParent = x->parent()) {
            if (auto oldIndex = oldParent->indexOfChild(*x)) {
                oldParent->removeObjectFromChildrenAtIndex(*oldIndex);
            }
        }
        x->_setParent(this);
        registerUndo<KSProjectItem>(
            [t](KSProjectItem& p) { p.removeObjectFromChildrenAtIndex(t); });
        children_->insert(children_->begin() + static_cast<std::ptrdiff_t>(t), x);
        for (std::size_t k = t; k < children_->size(); ++k)
            (*children_)[k]->positionDidChange();
        didChangeValueForKeyWithSetMutationUsingObjects("childrenSet",
                                                        KSKeyValueSetMutationKind::Union, inserted);
        actionFormat = hadParent ? "Move %@" : "Add %@";
    }
    setTreeActionName(actionFormat);
    childrenDidChange();
}

void KSProjectItem::removeObjectFromChildrenAtIndex(std::size_t index) {
    if (!children_ || index >= children_->size()) return;
    std::shared_ptr<KSProjectItem> child = (*children_)[index];
    KSArray removed{KSValue(child)};
    willChangeValueForKeyWithSetMutationUsingObjects("childrenSet",
                                                     KSKeyValueSetMutationKind::Minus, removed);
    registerUndo<KSProjectItem>(
        [child, index](KSProjectItem& p) { p.insertObjectInChildrenAtIndex(child, index); });
    children_->erase(children_->begin() + static_cast<std::ptrdiff_t>(index));
    child->_setParent(nullptr);
    for (std::size_t k = index; k < children_->size(); ++k)
        (*children_)[k]->positionDidChange();
    setTreeActionName("Delete %@");
    // Here the subclass hears of the change before observers do; on insertion after.
    childrenDidChange();
    didChangeValueForKeyWithSetMutationUsingObjects("childrenSet", KSKeyValueSetMutationKind::Minus,
                                                    removed);
}

void KSProjectItem::replaceObjectInChildrenAtIndexWithObject(
    std::size_t index, const std::shared_ptr<KSProjectItem>& item) {
    // The will-change goes out even when nothing can be replaced; its did-change then
    // never comes, which observers tolerate.
    willChangeValueForKey("childrenSet");
    if (!children_ || index >= children_->size() || !item) return;
    std::shared_ptr<KSProjectItem> old = (*children_)[index];
    item->_setParent(this);
    registerUndo<KSProjectItem>(
        [index, old](KSProjectItem& p) { p.replaceObjectInChildrenAtIndexWithObject(index, old); });
    (*children_)[index] = item;
    old->_setParent(nullptr);
    item->positionDidChange();
    setTreeActionName("Replace %@");
    childrenDidChange();
    didChangeValueForKey("childrenSet");
}

void KSProjectItem::insertChildItemsAtIndex(const KSProjectItemList& items, std::size_t index) {
    std::size_t cursor = std::min(index, countOfChildren());
    for (const auto& item : items) {
        if (!item) continue;
        if (children_ && cursor < children_->size() && (*children_)[cursor] == item) {
            ++cursor;
            continue;
        }
        std::optional<std::size_t> old = indexOfChild(*item);
        // An item taken from before the cursor shifts the rest left as it goes.
        bool fromBefore = old && *old < cursor;
        insertObjectInChildrenAtIndex(item, cursor);
        if (!fromBefore) ++cursor;
    }
}

void KSProjectItem::removeChildItems(const KSProjectItemList& items) {
    for (auto it = items.rbegin(); it != items.rend(); ++it)
        removeChildItem(*it);
}

void KSProjectItem::removeChildItem(const std::shared_ptr<KSProjectItem>& item) {
    if (!item) return;
    if (auto index = indexOfChild(*item)) removeObjectFromChildrenAtIndex(*index);
}

void KSProjectItem::reorderChildItems(const KSProjectItemList& items) {
    if (!children_) return;
    std::unordered_set<const KSProjectItem*> present;
    for (const auto& child : *children_)
        present.insert(child.get());
    std::unordered_set<const KSProjectItem*> given;
    for (const auto& item : items) {
        if (item) given.insert(item.get());
    }
    if (items.size() != children_->size() || given != present) {
        KSLog("%@: reorderChildItems needs a new order of the same children; ignored", className());
        return;
    }
    registerUndo<KSProjectItem>([old = *children_](KSProjectItem& p) { p.reorderChildItems(old); });
    if (TMDifferenceEngine* engine = differenceEngine()) engine->objectWillChange(*this);
    KSArray objects = arrayOfItems(items);
    willChangeValueForKeyWithSetMutationUsingObjects("childrenSet", KSKeyValueSetMutationKind::Set,
                                                     objects);
    *children_ = items;
    didChangeValueForKeyWithSetMutationUsingObjects("childrenSet", KSKeyValueSetMutationKind::Set,
                                                    objects);
    for (const auto& child : *children_)
        child->positionDidChange();
    childrenDidChange();
}

void KSProjectItem::replaceSelectedItemsWithSortedItems(const std::vector<std::size_t>& indexes,
                                                        const KSProjectItemList& items) {
    if (!children_) return;
    if (indexes.size() != items.size()) return;
    for (std::size_t index : indexes) {
        if (index >= children_->size()) return;
    }
    std::vector<std::size_t> ascending = indexes;
    std::sort(ascending.begin(), ascending.end());
    KSProjectItemList current;
    for (std::size_t index : ascending)
        current.push_back((*children_)[index]);
    registerUndo<KSProjectItem>([ascending, current](KSProjectItem& p) {
        p.replaceSelectedItemsWithSortedItems(ascending, current);
    });
    if (TMDifferenceEngine* engine = differenceEngine()) engine->objectWillChange(*this);
    KSArray objects = arrayOfItems(items);
    willChangeValueForKeyWithSetMutationUsingObjects("childrenSet", KSKeyValueSetMutationKind::Set,
                                                     objects);
    for (std::size_t i = 0; i < ascending.size(); ++i)
        (*children_)[ascending[i]] = items[i];
    didChangeValueForKeyWithSetMutationUsingObjects("childrenSet", KSKeyValueSetMutationKind::Set,
                                                    objects);
    positionDidChange();
    childrenDidChange();
}

void KSProjectItem::enumerateObjectsUsingBlock(
    const std::function<void(KSProjectItem& item, bool* stop)>& block) {
    // An explicit stack: trees may be deep, and the walk must not recurse with them.
    std::vector<KSProjectItem*> stack{this};
    bool stop = false;
    while (!stack.empty() && !stop) {
        KSProjectItem* item = stack.back();
        stack.pop_back();
        block(*item, &stop);
        if (item->children_) {
            for (auto it = item->children_->rbegin(); it != item->children_->rend(); ++it) {
                stack.push_back(it->get());
            }
        }
    }
}

void KSProjectItem::addDescendentsMatchingPredicateToArray(
    const std::function<bool(const KSProjectItem&)>& predicate, KSProjectItemList& array) const {
    if (!children_) return;
    std::vector<const KSProjectItemList*> lists{&*children_};
    std::vector<std::size_t> positions{0};
    while (!lists.empty()) {
        const KSProjectItemList& list = *lists.back();
        std::size_t& position = positions.back();
        if (position >= list.size()) {
            lists.pop_back();
            positions.pop_back();
            continue;
        }
        const std::shared_ptr<KSProjectItem>& item = list[position++];
        if (!predicate || predicate(*item)) array.push_back(item);
        if (item->children_ && !item->children_->empty()) {
            lists.push_back(&*item->children_);
            positions.push_back(0);
        }
    }
}

void KSProjectItem::addDescendentsToArray(KSProjectItemList& array) const {
    addDescendentsMatchingPredicateToArray(nullptr, array);
}

bool KSProjectItem::hasDescendentInSet(
    const std::unordered_set<const KSProjectItem*>& items) const {
    KSProjectItemList all = allItemsButSelf();
    return std::any_of(all.begin(), all.end(), [&](const auto& i) { return items.count(i.get()); });
}

void KSProjectItem::sortChildrenWithDescriptorsRecursively(const KSProjectItemLess& less,
                                                           bool recursively) {
    if (!children_ || !less) return;
    if (recursively) {
        for (const auto& child : KSProjectItemList(*children_)) {
            child->sortChildrenWithDescriptorsRecursively(less, true);
        }
    }
    KSProjectItemList sorted = *children_;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [&](const auto& a, const auto& b) { return less(*a, *b); });
    reorderChildItems(sorted);
}

void KSProjectItem::deleteSelf() {
    auto self = sharedFromThis<KSProjectItem>();
    if (KSProjectItem* p = parent()) {
        if (auto index = p->indexOfChild(*this)) p->removeObjectFromChildrenAtIndex(*index);
    }
    setScenario(nullptr);
    _setParent(nullptr);
}

void KSProjectItem::setScenario(KSScenario* scenario) {
    if (!this->scenario() && scenario) {
        // Appearing in a plan is undone by leaving it. The item has no project yet, so
        // the undo goes to the new scenario's.
        KSProject* newProject = scenario->project();
        registerUndo<KSProjectItem>([](KSProjectItem& i) { i.deleteSelf(); },
                                    newProject ? newProject->undoManager() : nullptr);
    }
    KSObject::setScenario(scenario);
}

void KSProjectItem::setIsGroup(bool flag) {
    if (flag == isGroup()) return;
    willChangeValueForKey("childrenSet");
    registerUndo<KSProjectItem>([flag](KSProjectItem& i) { i.setIsGroup(!flag); });
    if (flag) {
        children_.emplace();
    } else {
        KSProjectItemList old = *children_;
        registerUndo<KSProjectItem>([old](KSProjectItem& i) { i.insertChildItemsAtIndex(old, 0); });
        for (const auto& child : old)
            child->_setParent(nullptr);
        children_.reset();
    }
    didChangeValueForKey("childrenSet");
}

// --- Comparators ------------------------------------------------------------------------------

int KSProjectItem::ascendingCompareBySequenceNumber(const KSProjectItem& other) const {
    return compareNumbers(sequenceNumber_, other.sequenceNumber_);
}

int KSProjectItem::descendingCompareBySequenceNumber(const KSProjectItem& other) const {
    return compareNumbers(other.sequenceNumber_, sequenceNumber_);
}

int KSProjectItem::ascendingCompareByLevel(const KSProjectItem& other) const {
    return compareNumbers(level(), other.level());
}

int KSProjectItem::compareByLevelAndSequenceNumber(const KSProjectItem& other) const {
    int byLevel = ascendingCompareByLevel(other);
    return byLevel != KSOrderedSame ? byLevel : ascendingCompareBySequenceNumber(other);
}

int KSProjectItem::compareByAscendingLevelAndDescendingSequenceNumber(
    const KSProjectItem& other) const {
    int byLevel = ascendingCompareByLevel(other);
    return byLevel != KSOrderedSame ? byLevel : descendingCompareBySequenceNumber(other);
}

int KSProjectItem::compareByLevelAndPosition(const KSProjectItem& other) const {
    int byLevel = ascendingCompareByLevel(other);
    return byLevel != KSOrderedSame ? byLevel : compareByPosition(other);
}

int KSProjectItem::compareByPosition(const KSProjectItem& other) const {
    if (this == &other) return KSOrderedSame;
    std::vector<const KSProjectItem*> a =
        ancestryPath().value_or(std::vector<const KSProjectItem*>());
    std::vector<const KSProjectItem*> b =
        other.ancestryPath().value_or(std::vector<const KSProjectItem*>());
    std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (a[i] == b[i]) continue;
        auto rank = [](const KSProjectItem* item) {
            auto index = item->parent() ? item->parent()->indexOfChild(*item) : std::nullopt;
            return index ? static_cast<std::int64_t>(*index) : std::int64_t(-1);
        };
        return compareNumbers(rank(a[i]), rank(b[i]));
    }
    // One path is a prefix of the other: the shorter one (the ancestor) goes first.
    return a.size() < b.size() ? KSOrderedAscending : KSOrderedDescending;
}

// --- Sequence ---------------------------------------------------------------------------------

bool KSProjectItem::hasBeenIndented() const {
    for (const KSProjectItem* item = this; item; item = item->parent()) {
        if (item->hasBeenIndented_) return true;
    }
    return false;
}

void KSProjectItem::setShouldIncludeInSequence(bool flag) {
    shouldIncludeInSequence_ = flag;
    if (flag) {
        for (KSProjectItem* p = parent(); p && !p->shouldIncludeInSequence_; p = p->parent()) {
            p->shouldIncludeInSequence_ = true;
        }
    }
}

std::uint32_t KSProjectItem::sequenceStartingAtNumber(std::uint32_t number) {
    shouldIncludeInSequence_ = false;
    sequenceNumber_ = number++;
    if (!children_) return number;
    // Every child gets a number; only marked children number their own children.
    for (const auto& child : *children_) {
        if (child->shouldIncludeInSequence_) {
            number = child->sequenceStartingAtNumber(number);
        } else {
            child->sequenceNumber_ = number++;
        }
    }
    return number;
}

void KSProjectItem::positionDidChange() {
    willChangeValueForKey("childrenRank");
    didChangeValueForKey("childrenRank");
}

// --- Other ------------------------------------------------------------------------------------

bool KSProjectItem::hasAnyValuesForUserDataKeyExceptingObjects(
    const std::string& key, const std::unordered_set<const KSProjectItem*>& except) const {
    if (!userDataForKey(key).empty() && !except.count(this)) return true;
    if (!children_) return false;
    return std::any_of(children_->begin(), children_->end(), [&](const auto& child) {
        return child->hasAnyValuesForUserDataKeyExceptingObjects(key, except);
    });
}

void KSProjectItem::userDataChangedKeyFromTo(const std::string& oldKey,
                                             const std::optional<std::string>& newKey) {
    if (userData() && userData()->contains(oldKey))
        KSObject::userDataChangedKeyFromTo(oldKey, newKey);
    if (!children_) return;
    for (const auto& child : KSProjectItemList(*children_)) {
        child->userDataChangedKeyFromTo(oldKey, newKey);
    }
}

std::int64_t KSProjectItem::gibberizeWithNumber(std::int64_t number) {
    gibberize();
    setTitle(KSStringWithFormat("%@ %d", subclassLocalizedTypeForUndo(), number));
    if (hasNote()) {
        std::shared_ptr<KSTextStorage> note = notes();
        if (note) note->setString(gibberizedString(note->string()));
    }
    std::int64_t next = number + 1;
    if (children_) {
        for (const auto& child : KSProjectItemList(*children_))
            next = child->gibberizeWithNumber(next);
    }
    return next;
}

bool KSProjectItem::hasTrackedChanges() const {
    TMDifferenceEngine* engine = differenceEngine();
    return engine && engine->hasCurrentDifferencesForId(objectId());
}

std::shared_ptr<KSTextStorage> KSProjectItem::notesAllowingNil() const {
    return hasNote() ? notes() : nullptr;
}

std::vector<std::shared_ptr<TMObject>> KSProjectItem::childrenSnapshot() const {
    std::vector<std::shared_ptr<TMObject>> result;
    if (children_) result.assign(children_->begin(), children_->end());
    return result;
}

}  // namespace kestrum
