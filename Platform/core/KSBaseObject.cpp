#include "Platform/core/KSBaseObject.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <unordered_map>

#include "Platform/core/KSLog.h"

namespace kestrum {

// The observers of one object by key, and the will-change notes waiting for their
// did-change. Observations are shared with notifications under way, which skip those
// removed meanwhile.
struct KSObservationInfo {
    struct Observation {
        KSBaseObject* observer;
        std::string key;
        unsigned options;
        const void* context;
        bool removed = false;
    };
    struct PendingChange {
        std::string key;
        KSValue oldValue;
        bool hasOldValue = false;
    };
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view s) const {
            return std::hash<std::string_view>()(s);
        }
    };
    using List = std::vector<std::shared_ptr<Observation>>;

    std::unordered_map<std::string, List, Hash, std::equal_to<>> byKey;
    std::size_t count = 0;
    std::vector<PendingChange> pending;

    bool observes(std::string_view key) const { return byKey.find(key) != byKey.end(); }
    List observersOf(std::string_view key) const {
        auto it = byKey.find(key);
        return it == byKey.end() ? List() : it->second;
    }
    // Removes the observations of `list` that `matches` selects; drops the key when none
    // is left.
    template <class Matches>
    void removeFrom(decltype(byKey)::iterator it, Matches matches) {
        List& list = it->second;
        for (auto& o : list) {
            if (matches(*o)) o->removed = true;
        }
        auto end = std::remove_if(list.begin(), list.end(), [](auto& o) { return o->removed; });
        count -= static_cast<std::size_t>(list.end() - end);
        list.erase(end, list.end());
        if (list.empty()) byKey.erase(it);
    }
};

KSUndefinedKeyException::KSUndefinedKeyException(std::string className, std::string key)
    : key_(std::move(key)) {
    message_ = "[<" + className +
               "> setValue:forUndefinedKey:]: this class is not key value "
               "coding-compliant for the key " +
               key_ + ".";
}

KSBaseObject::KSBaseObject() = default;
KSBaseObject::~KSBaseObject() = default;

const KSClassInfo& KSBaseObject::staticClassInfo() {
    static const KSClassInfo info("KSBaseObject", nullptr);
    return info;
}

std::string KSBaseObject::description() const {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%p", static_cast<const void*>(this));
    return "<" + className() + ": " + buffer + ">";
}

// --- Keyed access ------------------------------------------------------------------

KSValue KSBaseObject::valueForKey(std::string_view key) const {
    if (const KSAttribute* attribute = classInfo().attributeForKey(key)) {
        return attribute->getter(*this);
    }
    return valueForUndefinedKey(key);
}

void KSBaseObject::setValueForKey(const KSValue& value, std::string_view key) {
    const KSAttribute* attribute = classInfo().attributeForKey(key);
    if (!attribute || !attribute->setter) {
        setValueForUndefinedKey(value, key);
        return;
    }
    if (value.isNull() && attribute->scalar) {
        setNilValueForKey(key);
        return;
    }
    if (!attribute->setter(*this, value)) {
        KSLog("%@: dropped a value of type %@ for the key \"%@\"", className(),
              KSValue::typeName(value.type()), std::string(key));
    }
}

namespace {

// The rest of a key path below a value: objects answer through keyed access, dictionaries
// by their entries; anything else ends the walk with null.
KSValue valueBelow(const KSValue& value, std::string_view rest) {
    if (const auto& object = value.asObject()) return object->valueForKeyPath(rest);
    if (!value.isDictionary()) return KSValue();
    auto dot = rest.find('.');
    KSValue entry = value.asDictionary().objectForKey(rest.substr(0, dot));
    return dot == std::string_view::npos ? entry : valueBelow(entry, rest.substr(dot + 1));
}

}  // namespace

KSValue KSBaseObject::valueForKeyPath(std::string_view keyPath) const {
    auto dot = keyPath.find('.');
    if (dot == std::string_view::npos) return valueForKey(keyPath);
    return valueBelow(valueForKey(keyPath.substr(0, dot)), keyPath.substr(dot + 1));
}

void KSBaseObject::setValueForKeyPath(const KSValue& value, std::string_view keyPath) {
    auto dot = keyPath.find('.');
    if (dot == std::string_view::npos) {
        setValueForKey(value, keyPath);
        return;
    }
    KSValue first = valueForKey(keyPath.substr(0, dot));
    const auto& object = first.asObject();
    if (object) object->setValueForKeyPath(value, keyPath.substr(dot + 1));
}

void KSBaseObject::setValuesForKeysWithDictionary(const KSDictionary& values) {
    for (const auto& [key, value] : values)
        setValueForKey(value, key);
}

KSValue::Type KSBaseObject::valueTypeForKey(std::string_view key) const {
    const KSAttribute* attribute = classInfo().attributeForKey(key);
    return attribute ? attribute->valueType : KSValue::Type::Null;
}

bool KSBaseObject::isSettableKey(std::string_view key) const {
    const KSAttribute* attribute = classInfo().attributeForKey(key);
    return attribute && attribute->setter;
}

KSValue KSBaseObject::valueForUndefinedKey(std::string_view key) const {
    KSLog(
        "[<%@> valueForUndefinedKey:]: this class is not key value coding-compliant for the "
        "key %@.",
        className(), std::string(key));
    return KSValue();
}

void KSBaseObject::setValueForUndefinedKey(const KSValue&, std::string_view key) {
    throw KSUndefinedKeyException(className(), std::string(key));
}

void KSBaseObject::setNilValueForKey(std::string_view key) {
    KSLog("[<%@> setNilValueForKey:]: could not set nil as the value for the key %@.", className(),
          std::string(key));
}

// --- Observing ---------------------------------------------------------------------

void KSBaseObject::addObserverForKeyPathOptionsContext(KSBaseObject* observer,
                                                       std::string_view keyPath, unsigned options,
                                                       const void* context) {
    if (!observer) return;
    if (!observationInfo_) observationInfo_ = std::make_unique<KSObservationInfo>();
    auto observation = std::make_shared<KSObservationInfo::Observation>(
        KSObservationInfo::Observation{observer, std::string(keyPath), options, context});
    observationInfo_->byKey[std::string(keyPath)].push_back(std::move(observation));
    ++observationInfo_->count;
    if (options & KSKeyValueObservingOptionInitial) {
        KSKeyValueChange change;
        if (options & KSKeyValueObservingOptionNew) change.newValue = valueForKeyPath(keyPath);
        observer->observeValueForKeyPathOfObjectChangeContext(keyPath, this, change, context);
    }
}

void KSBaseObject::removeObserverForKeyPathContext(KSBaseObject* observer, std::string_view keyPath,
                                                   const void* context) {
    if (!observationInfo_) return;
    auto it = observationInfo_->byKey.find(keyPath);
    if (it == observationInfo_->byKey.end()) return;
    const auto& list = it->second;
    // The most recent matching registration goes, as the platform does; without a context
    // any context matches when none matches exactly.
    auto found = std::find_if(list.rbegin(), list.rend(), [&](auto& o) {
        return o->observer == observer && o->context == context;
    });
    if (found == list.rend() && context == nullptr) {
        found = std::find_if(list.rbegin(), list.rend(),
                             [&](auto& o) { return o->observer == observer; });
    }
    if (found == list.rend()) return;
    const KSObservationInfo::Observation* victim = found->get();
    observationInfo_->removeFrom(it, [&](const auto& o) { return &o == victim; });
}

void KSBaseObject::removeObserver(KSBaseObject* observer) {
    if (!observationInfo_) return;
    auto& byKey = observationInfo_->byKey;
    for (auto it = byKey.begin(); it != byKey.end();) {
        auto next = std::next(it);
        observationInfo_->removeFrom(it, [&](const auto& o) { return o.observer == observer; });
        it = next;
    }
}

bool KSBaseObject::hasObserversForKey(std::string_view key) const {
    return observationInfo_ && observationInfo_->observes(key);
}

std::size_t KSBaseObject::observationCount() const {
    return observationInfo_ ? observationInfo_->count : 0;
}

void KSBaseObject::observeValueForKeyPathOfObjectChangeContext(std::string_view, KSBaseObject*,
                                                               const KSKeyValueChange&,
                                                               const void*) {}

void KSBaseObject::noteWillChange(std::string_view key, KSKeyValueChangeKind kind,
                                  const KSArray& objects) {
    auto observers = observationInfo_->observersOf(key);
    if (observers.empty()) return;
    bool wantsOld = false;
    for (const auto& o : observers)
        wantsOld |= (o->options & KSKeyValueObservingOptionOld) != 0;
    KSObservationInfo::PendingChange note{std::string(key), KSValue(), wantsOld};
    if (wantsOld) note.oldValue = valueForKey(key);
    // A will-change that was never closed is replaced, not stacked.
    auto& pending = observationInfo_->pending;
    auto it = std::find_if(pending.begin(), pending.end(), [&](auto& p) { return p.key == key; });
    KSValue oldValue = note.oldValue;
    if (it != pending.end()) {
        *it = std::move(note);
    } else {
        pending.push_back(std::move(note));
    }
    for (const auto& o : observers) {
        if (o->removed || !(o->options & KSKeyValueObservingOptionPrior)) continue;
        KSKeyValueChange change;
        change.kind = kind;
        change.isPrior = true;
        change.objects = objects;
        if (o->options & KSKeyValueObservingOptionOld) change.oldValue = oldValue;
        o->observer->observeValueForKeyPathOfObjectChangeContext(key, this, change, o->context);
        if (!observationInfo_) return;
    }
}

void KSBaseObject::noteDidChange(std::string_view key, KSKeyValueChangeKind kind,
                                 const KSArray& objects) {
    auto& pending = observationInfo_->pending;
    KSValue oldValue;
    auto it = std::find_if(pending.rbegin(), pending.rend(), [&](auto& p) { return p.key == key; });
    if (it != pending.rend()) {
        oldValue = std::move(it->oldValue);
        pending.erase(std::next(it).base());
    }
    auto observers = observationInfo_->observersOf(key);
    if (observers.empty()) return;
    bool wantsNew = false;
    for (const auto& o : observers)
        wantsNew |= (o->options & KSKeyValueObservingOptionNew) != 0;
    KSValue newValue = wantsNew ? valueForKey(key) : KSValue();
    for (const auto& o : observers) {
        if (o->removed) continue;
        KSKeyValueChange change;
        change.kind = kind;
        change.objects = objects;
        if (o->options & KSKeyValueObservingOptionOld) change.oldValue = oldValue;
        if (o->options & KSKeyValueObservingOptionNew) change.newValue = newValue;
        o->observer->observeValueForKeyPathOfObjectChangeContext(key, this, change, o->context);
        if (!observationInfo_) return;
    }
}

namespace {

KSKeyValueChangeKind changeKindForMutation(KSKeyValueSetMutationKind mutation) {
    switch (mutation) {
        case KSKeyValueSetMutationKind::Union:
            return KSKeyValueChangeKind::Insertion;
        case KSKeyValueSetMutationKind::Minus:
        case KSKeyValueSetMutationKind::Intersect:
            return KSKeyValueChangeKind::Removal;
        case KSKeyValueSetMutationKind::Set:
            return KSKeyValueChangeKind::Replacement;
    }
    return KSKeyValueChangeKind::Setting;
}

}  // namespace

void KSBaseObject::willChangeValueForKey(std::string_view key) {
    if (!observationInfo_) return;
    noteWillChange(key, KSKeyValueChangeKind::Setting, {});
    for (const auto& dependent : classInfo().keysAffectedByKey(key)) {
        if (!observationInfo_) return;
        if (observationInfo_->observes(dependent)) {
            noteWillChange(dependent, KSKeyValueChangeKind::Setting, {});
        }
    }
}

void KSBaseObject::didChangeValueForKey(std::string_view key) {
    if (!observationInfo_) return;
    const auto& dependents = classInfo().keysAffectedByKey(key);
    for (auto it = dependents.rbegin(); it != dependents.rend(); ++it) {
        if (!observationInfo_) return;
        if (observationInfo_->observes(*it)) noteDidChange(*it, KSKeyValueChangeKind::Setting, {});
    }
    if (!observationInfo_) return;
    noteDidChange(key, KSKeyValueChangeKind::Setting, {});
}

void KSBaseObject::willChangeValueForKeyWithSetMutationUsingObjects(
    std::string_view key, KSKeyValueSetMutationKind mutation, const KSArray& objects) {
    if (!observationInfo_) return;
    noteWillChange(key, changeKindForMutation(mutation), objects);
    for (const auto& dependent : classInfo().keysAffectedByKey(key)) {
        if (!observationInfo_) return;
        if (observationInfo_->observes(dependent)) {
            noteWillChange(dependent, KSKeyValueChangeKind::Setting, {});
        }
    }
}

void KSBaseObject::didChangeValueForKeyWithSetMutationUsingObjects(
    std::string_view key, KSKeyValueSetMutationKind mutation, const KSArray& objects) {
    if (!observationInfo_) return;
    const auto& dependents = classInfo().keysAffectedByKey(key);
    for (auto it = dependents.rbegin(); it != dependents.rend(); ++it) {
        if (!observationInfo_) return;
        if (observationInfo_->observes(*it)) noteDidChange(*it, KSKeyValueChangeKind::Setting, {});
    }
    if (!observationInfo_) return;
    noteDidChange(key, changeKindForMutation(mutation), objects);
}

}  // namespace kestrum
