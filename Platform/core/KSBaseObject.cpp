#include "Platform/core/KSBaseObject.h"

#include <algorithm>
#include <cstdio>

#include "Platform/core/KSLog.h"

namespace kestrum {

// The observers of one object, and the will-change notes waiting for their did-change.
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
    std::vector<std::shared_ptr<Observation>> observations;
    std::vector<PendingChange> pending;

    bool observes(std::string_view key) const {
        for (const auto& o : observations) {
            if (!o->removed && o->key == key) return true;
        }
        return false;
    }
    std::vector<std::shared_ptr<Observation>> observersOf(std::string_view key) const {
        std::vector<std::shared_ptr<Observation>> result;
        for (const auto& o : observations) {
            if (!o->removed && o->key == key) result.push_back(o);
        }
        return result;
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

KSValue KSBaseObject::valueForKeyPath(std::string_view keyPath) const {
    auto dot = keyPath.find('.');
    if (dot == std::string_view::npos) return valueForKey(keyPath);
    KSValue first = valueForKey(keyPath.substr(0, dot));
    const auto& object = first.asObject();
    if (!object) return KSValue();
    return object->valueForKeyPath(keyPath.substr(dot + 1));
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
    observationInfo_->observations.push_back(observation);
    if (options & KSKeyValueObservingOptionInitial) {
        KSKeyValueChange change;
        if (options & KSKeyValueObservingOptionNew) change.newValue = valueForKeyPath(keyPath);
        observer->observeValueForKeyPathOfObjectChangeContext(keyPath, this, change, context);
    }
}

void KSBaseObject::removeObserverForKeyPathContext(KSBaseObject* observer, std::string_view keyPath,
                                                   const void* context) {
    if (!observationInfo_) return;
    auto& list = observationInfo_->observations;
    auto matches = [&](const std::shared_ptr<KSObservationInfo::Observation>& o, bool exact) {
        return !o->removed && o->observer == observer && o->key == keyPath &&
               (!exact || o->context == context);
    };
    // The most recent matching registration goes, as the platform does.
    auto it = std::find_if(list.rbegin(), list.rend(), [&](auto& o) { return matches(o, true); });
    if (it == list.rend() && context == nullptr) {
        it = std::find_if(list.rbegin(), list.rend(), [&](auto& o) { return matches(o, false); });
    }
    if (it == list.rend()) return;
    (*it)->removed = true;
    list.erase(std::next(it).base());
}

void KSBaseObject::removeObserver(KSBaseObject* observer) {
    if (!observationInfo_) return;
    auto& list = observationInfo_->observations;
    for (auto& o : list) {
        if (o->observer == observer) o->removed = true;
    }
    list.erase(std::remove_if(list.begin(), list.end(), [](auto& o) { return o->removed; }),
               list.end());
}

bool KSBaseObject::hasObserversForKey(std::string_view key) const {
    return observationInfo_ && observationInfo_->observes(key);
}

std::size_t KSBaseObject::observationCount() const {
    return observationInfo_ ? observationInfo_->observations.size() : 0;
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
