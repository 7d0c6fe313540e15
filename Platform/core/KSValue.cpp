#include "Platform/core/KSValue.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSClock.h"
#include "Platform/core/KSNumberText.h"

namespace kestrum {

namespace {

// Seconds between 1970-01-01 and 2001-01-01, both UTC.
constexpr double kReferenceDateSince1970 = 978307200.0;

const std::string& emptyString() {
    static const std::string empty;
    return empty;
}

struct CivilTime {
    int year, month, day, hour, minute;
    double second;
};

// Instants are clamped to about 28,000 years either side of 2001, far beyond any plan, so
// that years stay within the calendar types' range for absurd or non-finite dates.
constexpr double kLargestSeconds = 9e11;

CivilTime civilFromReferenceSeconds(double seconds) {
    using namespace std::chrono;
    if (std::isnan(seconds)) seconds = 0;
    seconds = std::clamp(seconds, -kLargestSeconds, kLargestSeconds);
    double unixSeconds = seconds + kReferenceDateSince1970;
    double dayCount = std::floor(unixSeconds / 86400.0);
    double secondsOfDay = unixSeconds - dayCount * 86400.0;
    year_month_day ymd{sys_days{days{static_cast<long>(dayCount)}}};
    CivilTime t;
    t.year = static_cast<int>(ymd.year());
    t.month = static_cast<int>(static_cast<unsigned>(ymd.month()));
    t.day = static_cast<int>(static_cast<unsigned>(ymd.day()));
    int whole = static_cast<int>(std::floor(secondsOfDay));
    t.hour = whole / 3600;
    t.minute = (whole % 3600) / 60;
    t.second = secondsOfDay - t.hour * 3600 - t.minute * 60;
    return t;
}

double referenceSecondsFromCivil(int year, int month, int day, int hour, int minute,
                                 double second) {
    using namespace std::chrono;
    year_month_day ymd{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                       std::chrono::day{static_cast<unsigned>(day)}};
    double dayCount = static_cast<double>(sys_days{ymd}.time_since_epoch().count());
    return dayCount * 86400.0 + hour * 3600.0 + minute * 60.0 + second - kReferenceDateSince1970;
}

bool parseDigits(std::string_view text, std::size_t& i, std::size_t count, int* out) {
    if (text.size() - i < count) return false;
    int value = 0;
    for (std::size_t k = 0; k < count; ++k) {
        char c = text[i + k];
        if (c < '0' || c > '9') return false;
        value = value * 10 + (c - '0');
    }
    i += count;
    *out = value;
    return true;
}

}  // namespace

// --- KSDate ------------------------------------------------------------------------

KSDate KSDate::dateWithTimeIntervalSince1970(double seconds) {
    return KSDate{seconds - kReferenceDateSince1970};
}

KSDate KSDate::now() {
    return KSClock::now();
}

double KSDate::timeIntervalSince1970() const {
    return timeIntervalSinceReferenceDate + kReferenceDateSince1970;
}

std::string KSDate::xmlString() const {
    // Round to whole microseconds first, so that an instant a hair below a whole second
    // does not print as the second before.
    double seconds = timeIntervalSinceReferenceDate;
    if (std::isnan(seconds)) seconds = 0;
    seconds = std::clamp(seconds, -kLargestSeconds, kLargestSeconds);
    double scaled = std::round(seconds * 1e6);
    double wholeSeconds = std::floor(scaled / 1e6);
    long micros = std::lround(scaled - wholeSeconds * 1e6);
    // A whole number of seconds within the clamp: integer arithmetic gives the civil time
    // exactly, and this runs once per date element of every file written.
    long long unixSeconds =
        static_cast<long long>(wholeSeconds) + static_cast<long long>(kReferenceDateSince1970);
    long long dayCount = unixSeconds / 86400 - (unixSeconds % 86400 < 0 ? 1 : 0);
    auto secondOfDay = static_cast<int>(unixSeconds - dayCount * 86400);
    // Days since 1970-01-01 to the proleptic Gregorian date (eras of 400 years from
    // 0000-03-01, so that the leap day ends a year).
    long long shifted = dayCount + 719468;
    long long era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
    auto dayOfEra = static_cast<unsigned>(shifted - era * 146097);
    unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    unsigned monthFromMarch = (5 * dayOfYear + 2) / 153;
    unsigned day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
    unsigned month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    long long year = static_cast<long long>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0);

    char buffer[40];
    char* p = buffer;
    auto put2 = [&p](unsigned value) {
        *p++ = static_cast<char>('0' + value / 10);
        *p++ = static_cast<char>('0' + value % 10);
    };
    if (year < 0) {
        *p++ = '-';
        year = -year;
    }
    char digits[20];
    int n = 0;
    do {
        digits[n++] = static_cast<char>('0' + year % 10);
        year /= 10;
    } while (year > 0);
    while (n < 4)
        digits[n++] = '0';
    while (n > 0)
        *p++ = digits[--n];
    *p++ = '-';
    put2(month);
    *p++ = '-';
    put2(day);
    *p++ = 'T';
    put2(static_cast<unsigned>(secondOfDay / 3600));
    *p++ = ':';
    put2(static_cast<unsigned>(secondOfDay % 3600 / 60));
    *p++ = ':';
    put2(static_cast<unsigned>(secondOfDay % 60));
    // Microseconds when the instant is not on a whole second, without trailing zeros.
    if (micros > 0 && micros < 1000000) {
        *p++ = '.';
        for (long scale = 100000; scale > 0 && micros > 0; scale /= 10) {
            *p++ = static_cast<char>('0' + micros / scale);
            micros %= scale;
        }
    }
    *p++ = 'Z';
    return std::string(buffer, p);
}

bool KSDate::fromXMLString(std::string_view text, KSDate* out) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\n' || text.front() == '\t' ||
                             text.front() == '\r')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '\n' || text.back() == '\t' ||
                             text.back() == '\r')) {
        text.remove_suffix(1);
    }
    std::size_t i = 0;
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    bool negativeYear = false;
    if (i < text.size() && text[i] == '-') {
        negativeYear = true;
        ++i;
    }
    if (!parseDigits(text, i, 4, &year)) return false;
    if (negativeYear) year = -year;
    if (i >= text.size() || text[i++] != '-') return false;
    if (!parseDigits(text, i, 2, &month) || month < 1 || month > 12) return false;
    if (i >= text.size() || text[i++] != '-') return false;
    if (!parseDigits(text, i, 2, &day) || day < 1 || day > 31) return false;
    double fraction = 0.0;
    double offset = 0.0;
    if (i < text.size()) {
        if (text[i] != 'T' && text[i] != ' ') return false;
        ++i;
        if (!parseDigits(text, i, 2, &hour) || hour > 24) return false;
        if (i >= text.size() || text[i++] != ':') return false;
        if (!parseDigits(text, i, 2, &minute) || minute > 59) return false;
        if (i < text.size() && text[i] == ':') {
            ++i;
            if (!parseDigits(text, i, 2, &second) || second > 60) return false;
            if (i < text.size() && (text[i] == '.' || text[i] == ',')) {
                ++i;
                double scale = 0.1;
                bool any = false;
                while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
                    fraction += (text[i] - '0') * scale;
                    scale /= 10;
                    ++i;
                    any = true;
                }
                if (!any) return false;
            }
        }
        if (i < text.size() && text[i] == ' ') ++i;
        if (i < text.size()) {
            if (text[i] == 'Z') {
                ++i;
            } else if (text[i] == '+' || text[i] == '-') {
                int sign = text[i] == '-' ? -1 : 1;
                ++i;
                int oh = 0, om = 0;
                if (!parseDigits(text, i, 2, &oh)) return false;
                if (i < text.size() && text[i] == ':') ++i;
                if (i < text.size() && !parseDigits(text, i, 2, &om)) return false;
                offset = sign * (oh * 3600.0 + om * 60.0);
            } else {
                return false;
            }
        }
        if (i != text.size()) return false;
    }
    using namespace std::chrono;
    year_month_day ymd{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                       std::chrono::day{static_cast<unsigned>(day)}};
    if (!ymd.ok()) return false;
    out->timeIntervalSinceReferenceDate =
        referenceSecondsFromCivil(year, month, day, hour, minute, second + fraction) - offset;
    return true;
}

// --- KSValue -----------------------------------------------------------------------

KSValue::KSValue(const char* s) {
    if (s) storage_ = std::make_shared<const std::string>(s);
}

KSValue::KSValue(std::string s) : storage_(std::make_shared<const std::string>(std::move(s))) {}

KSValue::KSValue(KSData data) : storage_(std::make_shared<const KSData>(std::move(data))) {}

KSValue::KSValue(KSArray array) : storage_(std::make_shared<const KSArray>(std::move(array))) {}

KSValue::KSValue(KSDictionary dictionary)
    : storage_(std::make_shared<const KSDictionary>(std::move(dictionary))) {}

KSValue KSValue::array(std::initializer_list<KSValue> values) {
    return KSValue(KSArray(values));
}

int KSValue::intValue() const {
    switch (type()) {
        case Type::Bool:
            return asBool() ? 1 : 0;
        case Type::Integer:
            return static_cast<int>(asInteger());
        case Type::Double: {
            double d = asDouble();
            if (std::isnan(d)) return 0;
            if (d >= 2147483647.0) return 2147483647;
            if (d <= -2147483648.0) return -2147483647 - 1;
            return static_cast<int>(d);
        }
        case Type::String:
            return KSIntValueOfString(asString());
        default:
            return 0;
    }
}

std::int64_t KSValue::integerValue() const {
    switch (type()) {
        case Type::Bool:
            return asBool() ? 1 : 0;
        case Type::Integer:
            return asInteger();
        case Type::Double: {
            double d = asDouble();
            if (std::isnan(d)) return 0;
            if (d >= 9.2233720368547758e18) return INT64_MAX;
            if (d <= -9.2233720368547758e18) return INT64_MIN;
            return static_cast<std::int64_t>(d);
        }
        case Type::String:
            return KSIntegerValueOfString(asString());
        default:
            return 0;
    }
}

double KSValue::doubleValue() const {
    switch (type()) {
        case Type::Bool:
            return asBool() ? 1.0 : 0.0;
        case Type::Integer:
            return static_cast<double>(asInteger());
        case Type::Double:
            return asDouble();
        case Type::String:
            return KSDoubleValueOfString(asString());
        case Type::Date:
            return asDate().timeIntervalSinceReferenceDate;
        default:
            return 0.0;
    }
}

bool KSValue::boolValue() const {
    switch (type()) {
        case Type::Bool:
            return asBool();
        case Type::Integer:
            return asInteger() != 0;
        case Type::Double:
            return asDouble() != 0.0;
        case Type::String:
            return KSBoolValueOfString(asString());
        default:
            return false;
    }
}

bool KSValue::asBool() const {
    auto p = std::get_if<bool>(&storage_);
    return p ? *p : false;
}

std::int64_t KSValue::asInteger() const {
    auto p = std::get_if<std::int64_t>(&storage_);
    return p ? *p : 0;
}

double KSValue::asDouble() const {
    auto p = std::get_if<double>(&storage_);
    return p ? *p : 0.0;
}

const std::string& KSValue::asString() const {
    auto p = std::get_if<std::shared_ptr<const std::string>>(&storage_);
    return p ? **p : emptyString();
}

KSDate KSValue::asDate() const {
    auto p = std::get_if<KSDate>(&storage_);
    return p ? *p : KSDate{};
}

const KSData& KSValue::asData() const {
    static const KSData empty;
    auto p = std::get_if<std::shared_ptr<const KSData>>(&storage_);
    return p ? **p : empty;
}

const KSArray& KSValue::asArray() const {
    static const KSArray empty;
    auto p = std::get_if<std::shared_ptr<const KSArray>>(&storage_);
    return p ? **p : empty;
}

const KSDictionary& KSValue::asDictionary() const {
    static const KSDictionary empty;
    auto p = std::get_if<std::shared_ptr<const KSDictionary>>(&storage_);
    return p ? **p : empty;
}

const std::shared_ptr<KSBaseObject>& KSValue::asObject() const {
    static const std::shared_ptr<KSBaseObject> none;
    auto p = std::get_if<std::shared_ptr<KSBaseObject>>(&storage_);
    return p ? *p : none;
}

std::string KSValue::stringValue() const {
    if (isString()) return asString();
    return description();
}

namespace {

std::string dateDescription(KSDate date) {
    CivilTime t = civilFromReferenceSeconds(date.timeIntervalSinceReferenceDate);
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d +0000", t.year, t.month,
                  t.day, t.hour, t.minute, static_cast<int>(std::floor(t.second)));
    return buffer;
}

// Old-style strings stand unquoted when they are made only of these characters.
bool needsQuotes(const std::string& s) {
    if (s.empty()) return true;
    for (unsigned char c : s) {
        bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                     c == '_' || c == '$' || c == '+' || c == '/' || c == ':' || c == '.' ||
                     c == '-';
        if (!plain) return true;
    }
    return false;
}

std::string quoted(const std::string& s) {
    if (!needsQuotes(s)) return s;
    std::string out = "\"";
    for (unsigned char c : s) {
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\t':
                out += "\\t";
                break;
            case '\r':
                out += "\\r";
                break;
            default:
                if (c < 0x20) {
                    char buffer[8];
                    std::snprintf(buffer, sizeof buffer, "\\%03o", c);
                    out += buffer;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    out += '"';
    return out;
}

std::string dataDescription(const KSData& data) {
    static const char* hex = "0123456789abcdef";
    std::string out = "<";
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (i > 0 && i % 4 == 0) out += ' ';
        out += hex[data[i] >> 4];
        out += hex[data[i] & 15];
    }
    out += '>';
    return out;
}

void appendIndent(std::string& out, int indent) {
    out.append(static_cast<std::size_t>(indent) * 4, ' ');
}

void appendPropertyList(std::string& out, const KSValue& value, int indent) {
    switch (value.type()) {
        case KSValue::Type::Array: {
            const KSArray& array = value.asArray();
            if (array.empty()) {
                out += "(\n";
                appendIndent(out, indent);
                out += ")";
                return;
            }
            out += "(\n";
            for (std::size_t i = 0; i < array.size(); ++i) {
                appendIndent(out, indent + 1);
                appendPropertyList(out, array[i], indent + 1);
                if (i + 1 < array.size()) out += ',';
                out += '\n';
            }
            appendIndent(out, indent);
            out += ')';
            return;
        }
        case KSValue::Type::Dictionary: {
            const KSDictionary& dictionary = value.asDictionary();
            out += "{\n";
            for (const auto& [key, item] : dictionary) {
                appendIndent(out, indent + 1);
                out += quoted(key);
                out += " = ";
                appendPropertyList(out, item, indent + 1);
                out += ";\n";
            }
            appendIndent(out, indent);
            out += '}';
            return;
        }
        case KSValue::Type::Data:
            out += dataDescription(value.asData());
            return;
        case KSValue::Type::String:
            out += quoted(value.asString());
            return;
        default:
            out += quoted(value.description());
            return;
    }
}

}  // namespace

std::string KSValue::description() const {
    switch (type()) {
        case Type::Null:
            return "(null)";
        case Type::Bool:
            return asBool() ? "1" : "0";
        case Type::Integer:
            return KSStringFromInteger(asInteger());
        case Type::Double:
            return KSStringFromDouble(asDouble());
        case Type::String:
            return asString();
        case Type::Date:
            return dateDescription(asDate());
        case Type::Data:
            return dataDescription(asData());
        case Type::Array:
        case Type::Dictionary:
            return propertyListDescription(0);
        case Type::Object: {
            const auto& object = asObject();
            return object ? object->description() : "(null)";
        }
    }
    return {};
}

std::string KSValue::propertyListDescription(int indent) const {
    std::string out;
    appendPropertyList(out, *this, indent);
    return out;
}

const char* KSValue::typeName(Type type) {
    switch (type) {
        case Type::Null:
            return "null";
        case Type::Bool:
            return "bool";
        case Type::Integer:
            return "integer";
        case Type::Double:
            return "double";
        case Type::String:
            return "string";
        case Type::Date:
            return "date";
        case Type::Data:
            return "data";
        case Type::Array:
            return "array";
        case Type::Dictionary:
            return "dictionary";
        case Type::Object:
            return "object";
    }
    return "unknown";
}

bool operator==(const KSValue& a, const KSValue& b) {
    if (a.isNumber() && b.isNumber()) {
        if (a.isInteger() && b.isInteger()) return a.asInteger() == b.asInteger();
        return a.doubleValue() == b.doubleValue();
    }
    if (a.type() != b.type()) return false;
    switch (a.type()) {
        case KSValue::Type::Null:
            return true;
        case KSValue::Type::Bool:
            return a.asBool() == b.asBool();
        case KSValue::Type::String:
            return a.asString() == b.asString();
        case KSValue::Type::Date:
            return a.asDate() == b.asDate();
        case KSValue::Type::Data:
            return a.asData() == b.asData();
        case KSValue::Type::Array:
            return a.asArray() == b.asArray();
        case KSValue::Type::Dictionary:
            return a.asDictionary() == b.asDictionary();
        case KSValue::Type::Object: {
            const auto& x = a.asObject();
            const auto& y = b.asObject();
            if (x == y) return true;
            return x && y && x->isEqual(*y);
        }
        default:
            return false;
    }
}

std::size_t KSValue::hash() const {
    switch (type()) {
        case Type::Null:
            return 0;
        case Type::Bool:
            return asBool() ? 1 : 2;
        case Type::Integer:
        case Type::Double: {
            // Equal numbers hash alike whatever their type.
            double d = doubleValue();
            if (d == std::floor(d) && std::abs(d) < 9e18) {
                return std::hash<std::int64_t>()(static_cast<std::int64_t>(d));
            }
            return std::hash<double>()(d);
        }
        case Type::String:
            return std::hash<std::string>()(asString());
        case Type::Date:
            return std::hash<double>()(asDate().timeIntervalSinceReferenceDate);
        case Type::Data:
            return std::hash<std::string_view>()(
                std::string_view(reinterpret_cast<const char*>(asData().data()), asData().size()));
        case Type::Array: {
            std::size_t h = asArray().size();
            for (const auto& v : asArray())
                h = h * 31 + v.hash();
            return h;
        }
        case Type::Dictionary: {
            // Equal dictionaries may differ in order: the entries' hashes are summed.
            std::size_t h = asDictionary().size();
            for (const auto& [k, v] : asDictionary()) {
                h += std::hash<std::string>()(k) * 31 + v.hash();
            }
            return h;
        }
        case Type::Object:
            return asObject() ? asObject()->hash() : 0;
    }
    return 0;
}

// --- KSDictionary ------------------------------------------------------------------

KSDictionary::KSDictionary(std::initializer_list<Entry> entries) {
    for (const auto& entry : entries)
        setObjectForKey(entry.first, entry.second);
}

std::ptrdiff_t KSDictionary::indexOf(std::string_view key) const {
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (entries_[i].first == key) return static_cast<std::ptrdiff_t>(i);
    }
    return -1;
}

KSValue KSDictionary::objectForKey(std::string_view key) const {
    auto i = indexOf(key);
    return i < 0 ? KSValue() : entries_[static_cast<std::size_t>(i)].second;
}

const KSValue* KSDictionary::find(std::string_view key) const {
    auto i = indexOf(key);
    return i < 0 ? nullptr : &entries_[static_cast<std::size_t>(i)].second;
}

void KSDictionary::setObjectForKey(std::string_view key, KSValue value) {
    if (value.isNull()) {
        removeObjectForKey(key);
        return;
    }
    auto i = indexOf(key);
    if (i >= 0) {
        entries_[static_cast<std::size_t>(i)].second = std::move(value);
    } else {
        entries_.emplace_back(std::string(key), std::move(value));
    }
}

void KSDictionary::removeObjectForKey(std::string_view key) {
    auto i = indexOf(key);
    if (i >= 0) entries_.erase(entries_.begin() + i);
}

void KSDictionary::removeAllObjects() {
    entries_.clear();
}

std::vector<std::string> KSDictionary::allKeys() const {
    std::vector<std::string> keys;
    keys.reserve(entries_.size());
    for (const auto& entry : entries_)
        keys.push_back(entry.first);
    return keys;
}

// Dictionaries are equal when they hold the same pairs, whatever their order.
bool operator==(const KSDictionary& a, const KSDictionary& b) {
    if (a.size() != b.size()) return false;
    for (const auto& [key, value] : a) {
        const KSValue* other = b.find(key);
        if (!other || !(*other == value)) return false;
    }
    return true;
}

}  // namespace kestrum
