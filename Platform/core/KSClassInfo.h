// KSClassInfo: the per-class table behind keyed access and observing.
//
// Each class derived from KSBaseObject describes itself once, in a function-local
// static built on first use: its name, its superclass, its attributes (a getter and
// optionally a setter per key, with the value class) and its dependent keys (the
// keyPathsForValuesAffecting... relation). The table is flattened at build time so that a
// look-up is one hash probe, with no string compare chains per call.
//
//   const KSClassInfo& KSTask::staticClassInfo() {
//       static const KSClassInfo info = KSClassInfo::make<KSTask>(
//           "KSTask", &KSProjectItem::staticClassInfo(), [](KSClassBuilder<KSTask>& b) {
//               b.attribute("title", &KSTask::title, &KSTask::setTitle);
//               b.readOnly("isMilestone", &KSTask::isMilestone);
//               b.dependentKeys("hasNote", {"notes"});
//           });
//       return info;
//   }
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Platform/core/KSValue.h"

namespace kestrum {

class KSBaseObject;

// Converts a C++ attribute type to and from a KSValue. Specialise for model types that
// cross the keyed-access boundary in another form (KSDateTime becomes a KSDate).
template <class T, class Enable = void>
struct KSValueTraits;

template <>
struct KSValueTraits<KSValue> {
    static constexpr KSValue::Type valueType = KSValue::Type::Null;  // any
    static KSValue toValue(const KSValue& v) { return v; }
    static bool fromValue(const KSValue& v, KSValue* out) {
        *out = v;
        return true;
    }
};

template <>
struct KSValueTraits<bool> {
    static constexpr KSValue::Type valueType = KSValue::Type::Bool;
    static KSValue toValue(bool b) { return KSValue(b); }
    static bool fromValue(const KSValue& v, bool* out) {
        if (v.isNull() || v.isArray() || v.isDictionary() || v.isObject() || v.isData())
            return false;
        *out = v.boolValue();
        return true;
    }
};

template <class T>
struct KSValueTraits<T, std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>>> {
    static constexpr KSValue::Type valueType = KSValue::Type::Integer;
    static KSValue toValue(T i) { return KSValue(static_cast<long long>(i)); }
    static bool fromValue(const KSValue& v, T* out) {
        if (!(v.isNumber() || v.isBool() || v.isString())) return false;
        *out = static_cast<T>(v.integerValue());
        return true;
    }
};

template <class T>
struct KSValueTraits<T, std::enable_if_t<std::is_enum_v<T>>> {
    static constexpr KSValue::Type valueType = KSValue::Type::Integer;
    static KSValue toValue(T e) { return KSValue(static_cast<long long>(e)); }
    static bool fromValue(const KSValue& v, T* out) {
        if (!(v.isNumber() || v.isBool() || v.isString())) return false;
        *out = static_cast<T>(v.integerValue());
        return true;
    }
};

template <class T>
struct KSValueTraits<T, std::enable_if_t<std::is_floating_point_v<T>>> {
    static constexpr KSValue::Type valueType = KSValue::Type::Double;
    static KSValue toValue(T d) { return KSValue(static_cast<double>(d)); }
    static bool fromValue(const KSValue& v, T* out) {
        if (!(v.isNumber() || v.isBool() || v.isString())) return false;
        *out = static_cast<T>(v.doubleValue());
        return true;
    }
};

template <>
struct KSValueTraits<std::string> {
    static constexpr KSValue::Type valueType = KSValue::Type::String;
    static KSValue toValue(const std::string& s) { return KSValue(s); }
    // A null value stores the empty string; other types are refused.
    static bool fromValue(const KSValue& v, std::string* out) {
        if (v.isNull()) {
            out->clear();
            return true;
        }
        if (!v.isString()) return false;
        *out = v.asString();
        return true;
    }
};

template <>
struct KSValueTraits<KSDate> {
    static constexpr KSValue::Type valueType = KSValue::Type::Date;
    static KSValue toValue(KSDate d) { return KSValue(d); }
    static bool fromValue(const KSValue& v, KSDate* out) {
        if (!v.isDate()) return false;
        *out = v.asDate();
        return true;
    }
};

template <>
struct KSValueTraits<KSDictionary> {
    static constexpr KSValue::Type valueType = KSValue::Type::Dictionary;
    static KSValue toValue(const KSDictionary& d) { return KSValue(d); }
    static bool fromValue(const KSValue& v, KSDictionary* out) {
        if (v.isNull()) {
            *out = KSDictionary();
            return true;
        }
        if (!v.isDictionary()) return false;
        *out = v.asDictionary();
        return true;
    }
};

template <>
struct KSValueTraits<KSArray> {
    static constexpr KSValue::Type valueType = KSValue::Type::Array;
    static KSValue toValue(const KSArray& a) { return KSValue(a); }
    static bool fromValue(const KSValue& v, KSArray* out) {
        if (v.isNull()) {
            out->clear();
            return true;
        }
        if (!v.isArray()) return false;
        *out = v.asArray();
        return true;
    }
};

template <class T>
struct KSValueTraits<std::shared_ptr<T>, std::enable_if_t<std::is_base_of_v<KSBaseObject, T>>> {
    static constexpr KSValue::Type valueType = KSValue::Type::Object;
    static KSValue toValue(const std::shared_ptr<T>& o) { return KSValue(o); }
    static bool fromValue(const KSValue& v, std::shared_ptr<T>* out) {
        if (v.isNull()) {
            out->reset();
            return true;
        }
        auto typed = v.asObjectOfType<T>();
        if (!typed) return false;
        *out = std::move(typed);
        return true;
    }
};

// One keyed attribute: how to read it and, unless read-only, how to write it.
struct KSAttribute {
    std::string key;
    // The class of value the attribute holds; Null means any.
    KSValue::Type valueType = KSValue::Type::Null;
    std::function<KSValue(const KSBaseObject&)> getter;
    // Answers false when the value could not be converted (the set is then dropped).
    // A null value for a scalar attribute goes to setNilValueForKey instead.
    std::function<bool(KSBaseObject&, const KSValue&)> setter;
    bool scalar = false;
};

template <class T>
class KSClassBuilder;

class KSClassInfo {
public:
    template <class T>
    static KSClassInfo make(std::string name, const KSClassInfo* superclass,
                            const std::function<void(KSClassBuilder<T>&)>& setup);
    KSClassInfo(std::string name, const KSClassInfo* superclass);
    KSClassInfo(KSClassInfo&&) = default;

    const std::string& name() const { return name_; }
    const KSClassInfo* superclass() const { return superclass_; }
    bool isKindOf(const KSClassInfo& other) const;

    // The attribute for a key, own or inherited, or null.
    const KSAttribute* attributeForKey(std::string_view key) const;
    // All attribute keys, own and inherited, in declaration order (superclass first).
    const std::vector<std::string>& attributeKeys() const { return keyOrder_; }
    // keyPathsForValuesAffectingValueForKey: the keys the given key depends on.
    const std::vector<std::string>& keyPathsForValuesAffectingValueForKey(
        std::string_view key) const;
    // The inverse relation, transitively: the keys whose value depends on the given key.
    const std::vector<std::string>& keysAffectedByKey(std::string_view key) const;

    // Builder entry points (used by KSClassBuilder).
    void addAttribute(KSAttribute attribute);
    void addDependentKeys(std::string key, std::vector<std::string> dependsOn);
    void finish();

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view s) const {
            return std::hash<std::string_view>()(s);
        }
    };
    using Map = std::unordered_map<std::string, KSAttribute, Hash, std::equal_to<>>;
    using KeyLists =
        std::unordered_map<std::string, std::vector<std::string>, Hash, std::equal_to<>>;

    std::string name_;
    const KSClassInfo* superclass_ = nullptr;
    Map attributes_;
    std::vector<std::string> keyOrder_;
    KeyLists affecting_;
    KeyLists affectedBy_;
};

// Typed registration of a class's attributes.
template <class T>
class KSClassBuilder {
public:
    explicit KSClassBuilder(KSClassInfo& info) : info_(info) {}

    // A read-write attribute through a getter and a setter member function, of T or of one
    // of its superclasses.
    template <class R, class G, class A, class C>
    void attribute(std::string key, R (G::*getter)() const, void (C::*setter)(A)) {
        static_assert(std::is_base_of_v<G, T> && std::is_base_of_v<C, T>,
                      "the getter and setter must be members of the class or a superclass");
        using V = std::decay_t<R>;
        using S = std::decay_t<A>;
        KSAttribute a;
        a.key = key;
        a.valueType = KSValueTraits<V>::valueType;
        a.scalar = std::is_arithmetic_v<S> || std::is_enum_v<S>;
        a.getter = [getter](const KSBaseObject& o) {
            return KSValueTraits<V>::toValue((static_cast<const T&>(o).*getter)());
        };
        a.setter = [setter](KSBaseObject& o, const KSValue& v) {
            S converted{};
            if (!KSValueTraits<S>::fromValue(v, &converted)) return false;
            (static_cast<T&>(o).*setter)(std::move(converted));
            return true;
        };
        info_.addAttribute(std::move(a));
    }

    // A read-only attribute (the getter may be a superclass's).
    template <class R, class G>
    void readOnly(std::string key, R (G::*getter)() const) {
        static_assert(std::is_base_of_v<G, T>, "the getter must be a member of the class");
        using V = std::decay_t<R>;
        KSAttribute a;
        a.key = key;
        a.valueType = KSValueTraits<V>::valueType;
        a.getter = [getter](const KSBaseObject& o) {
            return KSValueTraits<V>::toValue((static_cast<const T&>(o).*getter)());
        };
        info_.addAttribute(std::move(a));
    }

    // An attribute through free-form closures working on KSValue.
    void custom(std::string key, KSValue::Type valueType, std::function<KSValue(const T&)> getter,
                std::function<bool(T&, const KSValue&)> setter = nullptr, bool scalar = false) {
        KSAttribute a;
        a.key = key;
        a.valueType = valueType;
        a.scalar = scalar;
        a.getter = [getter = std::move(getter)](const KSBaseObject& o) {
            return getter(static_cast<const T&>(o));
        };
        if (setter) {
            a.setter = [setter = std::move(setter)](KSBaseObject& o, const KSValue& v) {
                return setter(static_cast<T&>(o), v);
            };
        }
        info_.addAttribute(std::move(a));
    }

    // keyPathsForValuesAffecting<Key>: `key` changes whenever one of `dependsOn` does.
    void dependentKeys(std::string key, std::vector<std::string> dependsOn) {
        info_.addDependentKeys(std::move(key), std::move(dependsOn));
    }

private:
    KSClassInfo& info_;
};

template <class T>
KSClassInfo KSClassInfo::make(std::string name, const KSClassInfo* superclass,
                              const std::function<void(KSClassBuilder<T>&)>& setup) {
    KSClassInfo info(std::move(name), superclass);
    KSClassBuilder<T> builder(info);
    if (setup) setup(builder);
    info.finish();
    return info;
}

}  // namespace kestrum

// Declares the class-info hooks in a class derived from KSBaseObject.
#define KS_DECLARE_CLASS()                                     \
public:                                                        \
    static const ::kestrum::KSClassInfo& staticClassInfo();    \
    const ::kestrum::KSClassInfo& classInfo() const override { \
        return staticClassInfo();                              \
    }
