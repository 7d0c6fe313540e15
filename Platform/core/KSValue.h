// KSValue: the dynamic value of keyed access.
//
// A KSValue is null, a boolean, a 64-bit integer, a double, a string, a platform
// date, bytes, an array, an ordered dictionary or a reference to a KSBaseObject.
// Booleans stay distinct from numbers. Strings, arrays, dictionaries and data are
// immutable once stored, so copying a KSValue is cheap (shared storage).
//
// The conversions follow the platform's number and string semantics that the model
// relies on: `intValue` of "12abc" is 12, of junk 0; `boolValue` of a string is true
// when its first significant character is Y, y, T, t or a digit 1-9.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace kestrum {

class KSBaseObject;
class KSValue;

// The platform date: an absolute instant in seconds since 1 January 2001 00:00:00 UTC
// (the reference date). The model's own local date is KSDateTime; this type only
// crosses the keyed-access boundary and the file formats.
struct KSDate {
    double timeIntervalSinceReferenceDate = 0.0;

    static KSDate dateWithTimeIntervalSinceReferenceDate(double seconds) { return KSDate{seconds}; }
    static KSDate dateWithTimeIntervalSince1970(double seconds);
    // Now, from the injectable clock (KSClock).
    static KSDate now();
    double timeIntervalSince1970() const;
    double timeIntervalSinceDate(KSDate other) const {
        return timeIntervalSinceReferenceDate - other.timeIntervalSinceReferenceDate;
    }
    KSDate dateByAddingTimeInterval(double seconds) const {
        return KSDate{timeIntervalSinceReferenceDate + seconds};
    }
    // ISO 8601 text in UTC with milliseconds when needed ("2026-11-21T10:00:00Z"); this is
    // the XML date string of the file formats.
    std::string xmlString() const;
    // Parses xmlString() output and the common ISO 8601 variants (offsets, no seconds,
    // a date alone). Returns false on anything else.
    static bool fromXMLString(std::string_view text, KSDate* out);

    friend bool operator==(KSDate a, KSDate b) {
        return a.timeIntervalSinceReferenceDate == b.timeIntervalSinceReferenceDate;
    }
    friend auto operator<=>(KSDate a, KSDate b) {
        return a.timeIntervalSinceReferenceDate <=> b.timeIntervalSinceReferenceDate;
    }
};
static_assert(std::is_trivially_copyable_v<KSDate>);

using KSData = std::vector<std::uint8_t>;
using KSArray = std::vector<KSValue>;
class KSDictionary;

// The value variant of keyed access.
class KSValue {
public:
    enum class Type { Null, Bool, Integer, Double, String, Date, Data, Array, Dictionary, Object };

    KSValue() = default;
    KSValue(std::nullptr_t) {}
    KSValue(bool b) : storage_(b) {}
    KSValue(int i) : storage_(static_cast<std::int64_t>(i)) {}
    KSValue(unsigned int i) : storage_(static_cast<std::int64_t>(i)) {}
    KSValue(long i) : storage_(static_cast<std::int64_t>(i)) {}
    KSValue(long long i) : storage_(static_cast<std::int64_t>(i)) {}
    KSValue(unsigned long i) : storage_(static_cast<std::int64_t>(i)) {}
    KSValue(unsigned long long i) : storage_(static_cast<std::int64_t>(i)) {}
    KSValue(float d) : storage_(static_cast<double>(d)) {}
    KSValue(double d) : storage_(d) {}
    KSValue(const char* s);
    KSValue(std::string s);
    KSValue(std::string_view s) : KSValue(std::string(s)) {}
    KSValue(KSDate d) : storage_(d) {}
    KSValue(KSData data);
    KSValue(KSArray array);
    KSValue(KSDictionary dictionary);
    template <class T,
              class = std::enable_if_t<std::is_base_of_v<KSBaseObject, T> && !std::is_const_v<T>>>
    KSValue(std::shared_ptr<T> object) {
        if (object) storage_ = std::shared_ptr<KSBaseObject>(std::move(object));
    }
    // A reference to a const object is kept as a plain object reference.
    template <class T, class = std::enable_if_t<std::is_base_of_v<KSBaseObject, T>>>
    KSValue(std::shared_ptr<const T> object) : KSValue(std::const_pointer_cast<T>(object)) {}

    // An integer value that was a float in the archive's float reading; convenience for
    // the single-precision reads of the file formats.
    static KSValue floatNumber(float f) { return KSValue(static_cast<double>(f)); }
    static KSValue array(std::initializer_list<KSValue> values);

    Type type() const { return static_cast<Type>(storage_.index()); }
    bool isNull() const { return type() == Type::Null; }
    bool isBool() const { return type() == Type::Bool; }
    bool isInteger() const { return type() == Type::Integer; }
    bool isDouble() const { return type() == Type::Double; }
    // Booleans are not numbers here: a number is an integer or a double.
    bool isNumber() const { return isInteger() || isDouble(); }
    bool isString() const { return type() == Type::String; }
    bool isDate() const { return type() == Type::Date; }
    bool isData() const { return type() == Type::Data; }
    bool isArray() const { return type() == Type::Array; }
    bool isDictionary() const { return type() == Type::Dictionary; }
    bool isObject() const { return type() == Type::Object; }
    explicit operator bool() const = delete;  // say isNull() or boolValue()

    // Conversions with the platform's semantics (see the header comment). Values
    // without a numeric reading (null, dates, collections, objects) answer 0.
    int intValue() const;
    std::int64_t integerValue() const;
    float floatValue() const { return static_cast<float>(doubleValue()); }
    double doubleValue() const;
    bool boolValue() const;

    // Direct access; each answers a neutral value when the type differs.
    bool asBool() const;
    std::int64_t asInteger() const;
    double asDouble() const;
    const std::string& asString() const;
    KSDate asDate() const;
    const KSData& asData() const;
    const KSArray& asArray() const;
    const KSDictionary& asDictionary() const;
    const std::shared_ptr<KSBaseObject>& asObject() const;
    template <class T>
    std::shared_ptr<T> asObjectOfType() const {
        return std::dynamic_pointer_cast<T>(asObject());
    }

    // A string's text, a number's decimal text, or the description of anything else.
    std::string stringValue() const;
    // The platform's description: numbers as decimal text (booleans as 1 or 0), strings
    // as they stand, dates in the form "2026-11-21 10:00:00 +0000", collections in the
    // old-style property-list text form, objects by their own description.
    std::string description() const;
    // The old-style property-list text of this value (strings quoted when needed).
    std::string propertyListDescription(int indent = 0) const;
    // The name of the value's type ("null", "bool", "integer", ...), for messages.
    static const char* typeName(Type type);

    // Equality: same type and equal content; integers and doubles compare numerically;
    // objects compare by KSBaseObject::isEqual.
    friend bool operator==(const KSValue& a, const KSValue& b);
    std::size_t hash() const;

private:
    std::variant<std::monostate, bool, std::int64_t, double, std::shared_ptr<const std::string>,
                 KSDate, std::shared_ptr<const KSData>, std::shared_ptr<const KSArray>,
                 std::shared_ptr<const KSDictionary>, std::shared_ptr<KSBaseObject>>
        storage_;
};

struct KSValueHash {
    std::size_t operator()(const KSValue& v) const { return v.hash(); }
};

// An ordered dictionary of string keys: iteration follows insertion order, and setting
// an existing key keeps its place. Look-up is linear: the model's dictionaries (user
// data, archives, change dictionaries) hold a handful of keys.
class KSDictionary {
public:
    using Entry = std::pair<std::string, KSValue>;

    KSDictionary() = default;
    KSDictionary(std::initializer_list<Entry> entries);

    std::size_t size() const { return entries_.size(); }
    bool empty() const { return entries_.empty(); }
    // The value for a key, or null.
    KSValue objectForKey(std::string_view key) const;
    const KSValue* find(std::string_view key) const;
    bool contains(std::string_view key) const { return find(key) != nullptr; }
    // Stores a value; a null value removes the key.
    void setObjectForKey(std::string_view key, KSValue value);
    void removeObjectForKey(std::string_view key);
    void removeAllObjects();
    std::vector<std::string> allKeys() const;

    std::vector<Entry>::const_iterator begin() const { return entries_.begin(); }
    std::vector<Entry>::const_iterator end() const { return entries_.end(); }

    friend bool operator==(const KSDictionary& a, const KSDictionary& b);

private:
    std::ptrdiff_t indexOf(std::string_view key) const;

    std::vector<Entry> entries_;
};

}  // namespace kestrum
