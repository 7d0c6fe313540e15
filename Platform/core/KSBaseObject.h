// KSBaseObject: the root of every reference-counted platform and model object.
//
// It gives identity (held by std::shared_ptr, with shared_from_this), a class
// description (KSClassInfo), a text description, equality, keyed access by attribute
// name and observing of attribute changes.
//
// Keyed access: valueForKey / setValueForKey go through the class's attribute table.
// Unknown keys go to valueForUndefinedKey (answers null and logs) and
// setValueForUndefinedKey (throws KSUndefinedKeyException); subclasses override both.
//
// Observing: an observer registers for a key of an object with options (New, Old,
// Initial, Prior) and a context. Will-change and did-change bracket each change; the
// observers are told at did-change, and also at will-change when they asked for Prior.
// Observers of keys that depend on the changed key (KSClassInfo::keysAffectedByKey,
// transitively) are told too, around the observers of the key itself; this goes to the
// observers directly, not through overrides of willChangeValueForKey. Unbalanced
// pairs are tolerated: a did-change without a will-change reports no old value, and a
// will-change that is never closed is simply replaced by the next one for its key.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSClassInfo.h"
#include "Platform/core/KSValue.h"

namespace kestrum {

class KSBaseObject;

// Options of an observation; combine with |.
enum KSKeyValueObservingOptions : unsigned {
    KSKeyValueObservingOptionNew = 0x01,
    KSKeyValueObservingOptionOld = 0x02,
    KSKeyValueObservingOptionInitial = 0x04,
    KSKeyValueObservingOptionPrior = 0x08,
};

// What kind of change happened to the observed key.
enum class KSKeyValueChangeKind : int {
    Setting = 1,
    Insertion = 2,
    Removal = 3,
    Replacement = 4,
};

// The set mutations that willChangeValueForKeyWithSetMutationUsingObjects takes.
enum class KSKeyValueSetMutationKind : int {
    Union = 1,
    Minus = 2,
    Intersect = 3,
    Set = 4,
};

// The change handed to an observer.
struct KSKeyValueChange {
    KSKeyValueChangeKind kind = KSKeyValueChangeKind::Setting;
    KSValue oldValue;  // when the Old option was given and the will-change was seen
    KSValue newValue;  // when the New option was given (not on a prior notification)
    // For set mutations: the objects added (Insertion) or removed (Removal).
    KSArray objects;
    bool isPrior = false;
};

// Thrown by the base setValueForUndefinedKey, as the platform's keyed access raises.
class KSUndefinedKeyException : public std::exception {
public:
    KSUndefinedKeyException(std::string className, std::string key);
    const char* what() const noexcept override { return message_.c_str(); }
    const std::string& key() const { return key_; }

private:
    std::string key_;
    std::string message_;
};

struct KSObservationInfo;

class KSBaseObject : public std::enable_shared_from_this<KSBaseObject> {
public:
    KSBaseObject();
    KSBaseObject(const KSBaseObject&) = delete;
    KSBaseObject& operator=(const KSBaseObject&) = delete;
    virtual ~KSBaseObject();

    static const KSClassInfo& staticClassInfo();
    virtual const KSClassInfo& classInfo() const { return staticClassInfo(); }
    const std::string& className() const { return classInfo().name(); }
    bool isKindOfClass(const KSClassInfo& info) const { return classInfo().isKindOf(info); }

    // The text form used by "%@" and in messages: by default "<ClassName: 0x...>".
    virtual std::string description() const;
    // Identity by default.
    virtual bool isEqual(const KSBaseObject& other) const { return this == &other; }
    virtual std::size_t hash() const { return std::hash<const void*>()(this); }

    // --- Keyed access --------------------------------------------------------------
    KSValue valueForKey(std::string_view key) const;
    void setValueForKey(const KSValue& value, std::string_view key);
    // Dotted paths walk through object-valued attributes and dictionaries (reading only);
    // a null on the way answers null (and a set through it does nothing).
    KSValue valueForKeyPath(std::string_view keyPath) const;
    void setValueForKeyPath(const KSValue& value, std::string_view keyPath);
    // Sets each key of the dictionary in its order.
    void setValuesForKeysWithDictionary(const KSDictionary& values);
    // The value class of an attribute (Null when any or unknown).
    KSValue::Type valueTypeForKey(std::string_view key) const;
    bool isSettableKey(std::string_view key) const;

    virtual KSValue valueForUndefinedKey(std::string_view key) const;
    virtual void setValueForUndefinedKey(const KSValue& value, std::string_view key);
    // Called when null is set for a scalar attribute; logs and ignores by default.
    virtual void setNilValueForKey(std::string_view key);

    // --- Observing -----------------------------------------------------------------
    // Registers `observer` (not retained; remove it before it goes away) for `keyPath`,
    // a plain key of this object. The same observer may register several times with
    // different contexts.
    void addObserverForKeyPathOptionsContext(KSBaseObject* observer, std::string_view keyPath,
                                             unsigned options, const void* context);
    // Removes one registration matching observer, key and context (any context when
    // `context` is null and no exact match exists). Removing what is not registered
    // does nothing.
    void removeObserverForKeyPathContext(KSBaseObject* observer, std::string_view keyPath,
                                         const void* context = nullptr);
    // Removes every registration of `observer` on this object.
    void removeObserver(KSBaseObject* observer);
    bool hasObserversForKey(std::string_view key) const;
    std::size_t observationCount() const;

    // Called on the observer; does nothing by default.
    virtual void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath,
                                                             KSBaseObject* object,
                                                             const KSKeyValueChange& change,
                                                             const void* context);

    // The change brackets. Subclasses override them to hook every change of their
    // attributes, and must call the base versions.
    virtual void willChangeValueForKey(std::string_view key);
    virtual void didChangeValueForKey(std::string_view key);
    virtual void willChangeValueForKeyWithSetMutationUsingObjects(std::string_view key,
                                                                  KSKeyValueSetMutationKind kind,
                                                                  const KSArray& objects);
    virtual void didChangeValueForKeyWithSetMutationUsingObjects(std::string_view key,
                                                                 KSKeyValueSetMutationKind kind,
                                                                 const KSArray& objects);

    // shared_from_this for a subclass.
    template <class T = KSBaseObject>
    std::shared_ptr<T> sharedFromThis() {
        return std::static_pointer_cast<T>(shared_from_this());
    }
    template <class T = KSBaseObject>
    std::shared_ptr<const T> sharedFromThis() const {
        return std::static_pointer_cast<const T>(shared_from_this());
    }

private:
    void noteWillChange(std::string_view key, KSKeyValueChangeKind kind, const KSArray& objects);
    void noteDidChange(std::string_view key, KSKeyValueChangeKind kind, const KSArray& objects);

    std::unique_ptr<KSObservationInfo> observationInfo_;
};

// Equality and hash of object references by isEqual/hash, for containers.
struct KSObjectPtrHash {
    std::size_t operator()(const std::shared_ptr<KSBaseObject>& o) const {
        return o ? o->hash() : 0;
    }
};

}  // namespace kestrum
