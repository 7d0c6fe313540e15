#include "Platform/plist/KSPropertyList.h"
#include "Platform/core/KSUnicode.h"

#include <plist/plist.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "Platform/core/KSFormat.h"

namespace kestrum {

namespace {

// --- libplist conversion -------------------------------------------------------------

struct PlistDeleter {
    void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

// Builds a libplist node; answers null (and names the culprit) for values a property
// list cannot hold.
plist_t toPlist(const KSValue& value, std::string* problem) {
    switch (value.type()) {
        case KSValue::Type::Bool:
            return plist_new_bool(value.asBool() ? 1 : 0);
        case KSValue::Type::Integer:
            // Negative numbers travel as their two's complement and come back by the
            // same cast.
            return plist_new_uint(static_cast<std::uint64_t>(value.asInteger()));
        case KSValue::Type::Double:
            return plist_new_real(value.asDouble());
        case KSValue::Type::String:
            return plist_new_string(value.asString().c_str());
        case KSValue::Type::Date: {
            // libplist takes 32-bit seconds: instants beyond about 68 years from 2001 are
            // clamped. Whole microseconds, so that the fraction never rounds up to a second.
            double t = value.asDate().timeIntervalSinceReferenceDate;
            if (std::isnan(t)) t = 0;
            // Its reading cannot tell a fraction of the second before 2001 from one after:
            // that one second is kept to the whole second.
            if (t > -1 && t < 0) t = std::round(t);
            double micros = std::round(std::clamp(t, double{INT32_MIN}, double{INT32_MAX}) * 1e6);
            double whole = std::floor(micros / 1e6);
            return plist_new_date(static_cast<int32_t>(whole),
                                  static_cast<int32_t>(micros - whole * 1e6));
        }
        case KSValue::Type::Data: {
            const KSData& data = value.asData();
            return plist_new_data(reinterpret_cast<const char*>(data.data()), data.size());
        }
        case KSValue::Type::Array: {
            plist_t array = plist_new_array();
            for (const auto& item : value.asArray()) {
                plist_t node = toPlist(item, problem);
                if (!node) {
                    plist_free(array);
                    return nullptr;
                }
                plist_array_append_item(array, node);
            }
            return array;
        }
        case KSValue::Type::Dictionary: {
            plist_t dict = plist_new_dict();
            for (const auto& [key, item] : value.asDictionary()) {
                plist_t node = toPlist(item, problem);
                if (!node) {
                    plist_free(dict);
                    return nullptr;
                }
                plist_dict_set_item(dict, key.c_str(), node);
            }
            return dict;
        }
        case KSValue::Type::Null:
            *problem = "null";
            return nullptr;
        case KSValue::Type::Object:
            *problem = value.description();
            return nullptr;
    }
    return nullptr;
}

KSValue fromPlist(plist_t node) {
    if (!node) return KSValue();
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            uint8_t b = 0;
            plist_get_bool_val(node, &b);
            return KSValue(b != 0);
        }
        case PLIST_UINT: {
            uint64_t u = 0;
            plist_get_uint_val(node, &u);
            return KSValue(static_cast<long long>(u));
        }
        case PLIST_REAL: {
            double d = 0;
            plist_get_real_val(node, &d);
            return KSValue(d);
        }
        case PLIST_STRING: {
            uint64_t length = 0;
            const char* s = plist_get_string_ptr(node, &length);
            return KSValue(std::string(s ? s : "", s ? length : 0));
        }
        case PLIST_DATE: {
            // libplist answers the seconds truncated toward zero and the size of the
            // fraction, so before 2001 the fraction counts backwards.
            int32_t sec = 0, usec = 0;
            plist_get_date_val(node, &sec, &usec);
            double fraction = usec / 1e6;
            return KSValue(KSDate{sec < 0 ? sec - fraction : sec + fraction});
        }
        case PLIST_DATA: {
            char* bytes = nullptr;
            uint64_t length = 0;
            plist_get_data_val(node, &bytes, &length);
            KSData data(reinterpret_cast<std::uint8_t*>(bytes),
                        reinterpret_cast<std::uint8_t*>(bytes) + length);
            std::free(bytes);
            return KSValue(std::move(data));
        }
        case PLIST_ARRAY: {
            KSArray array;
            uint32_t n = plist_array_get_size(node);
            array.reserve(n);
            for (uint32_t i = 0; i < n; ++i)
                array.push_back(fromPlist(plist_array_get_item(node, i)));
            return KSValue(std::move(array));
        }
        case PLIST_DICT: {
            KSDictionary dict;
            plist_dict_iter iter = nullptr;
            plist_dict_new_iter(node, &iter);
            for (;;) {
                char* key = nullptr;
                plist_t item = nullptr;
                plist_dict_next_item(node, iter, &key, &item);
                if (!item) {
                    std::free(key);
                    break;
                }
                dict.setObjectForKey(key ? key : "", fromPlist(item));
                std::free(key);
            }
            std::free(iter);
            return KSValue(std::move(dict));
        }
        case PLIST_UID: {
            uint64_t u = 0;
            plist_get_uid_val(node, &u);
            return KSValue(static_cast<long long>(u));
        }
        default:
            return KSValue();
    }
}

// --- Binary pre-check -------------------------------------------------------------------

// Reads a big-endian unsigned number of `size` bytes at `at`; false when out of bounds.
bool readBigEndian(const KSData& data, std::uint64_t at, std::uint64_t size, std::uint64_t* out) {
    if (size == 0 || size > 8 || at > data.size() || data.size() - at < size) return false;
    std::uint64_t value = 0;
    for (std::uint64_t k = 0; k < size; ++k)
        value = value << 8 | data[at + k];
    *out = value;
    return true;
}

// Whether a binary list holds a string with a NUL character. libplist keeps such strings
// but aborts on an assertion when one is read as a dictionary key, so they are refused
// before parsing. Anything this scan cannot follow is left to libplist's own checks.
bool binaryHasStringWithNul(const KSData& data) {
    if (data.size() < 40) return false;
    std::size_t trailer = data.size() - 32;
    std::uint64_t offsetSize = data[trailer + 6];
    std::uint64_t objectCount = 0, tableOffset = 0;
    if (!readBigEndian(data, trailer + 8, 8, &objectCount) ||
        !readBigEndian(data, trailer + 24, 8, &tableOffset) || offsetSize == 0 ||
        tableOffset >= trailer) {
        return false;
    }
    objectCount = std::min<std::uint64_t>(objectCount, (trailer - tableOffset) / offsetSize);
    for (std::uint64_t i = 0; i < objectCount; ++i) {
        std::uint64_t offset = 0;
        if (!readBigEndian(data, tableOffset + i * offsetSize, offsetSize, &offset) ||
            offset >= trailer) {
            continue;
        }
        std::uint8_t marker = data[offset];
        int kind = marker >> 4;
        if (kind != 0x5 && kind != 0x6) continue;  // ASCII and UTF-16 strings
        std::uint64_t count = marker & 0x0F;
        std::uint64_t start = offset + 1;
        if (count == 0x0F) {
            if (start >= trailer || (data[start] >> 4) != 0x1) continue;
            std::uint64_t size = std::uint64_t{1} << (data[start] & 0x0F);
            if (!readBigEndian(data, start + 1, size, &count)) continue;
            start += 1 + size;
        }
        std::uint64_t unit = kind == 0x6 ? 2 : 1;
        if (count > (trailer - std::min<std::uint64_t>(start, trailer)) / unit) continue;
        for (std::uint64_t k = 0; k < count; ++k) {
            std::uint64_t at = start + k * unit;
            if (data[at] == 0 && (unit == 1 || data[at + 1] == 0)) return true;
        }
    }
    return false;
}

// --- Old-style text parser -------------------------------------------------------------

class OpenStepParser {
public:
    explicit OpenStepParser(std::string_view text) : text_(text) {}

    bool parseTopLevel(KSValue* out) {
        skip();
        if (!parseValue(out)) return false;
        skip();
        if (pos_ != text_.size()) return fail("unexpected text after the value");
        return true;
    }

    bool parseStringsTable(KSDictionary* out) {
        skip();
        // A table may also come wrapped in braces.
        if (pos_ < text_.size() && text_[pos_] == '{') {
            KSValue value;
            if (!parseTopLevel(&value) || !value.isDictionary()) return false;
            *out = value.asDictionary();
            return true;
        }
        while (true) {
            skip();
            if (pos_ >= text_.size()) return true;
            std::string key;
            if (!parseString(&key)) return false;
            skip();
            if (pos_ < text_.size() && text_[pos_] == ';') {
                // "key"; stands for "key" = "key";
                ++pos_;
                out->setObjectForKey(key, KSValue(key));
                continue;
            }
            if (!expect('=')) return false;
            skip();
            KSValue value;
            if (!parseValue(&value)) return false;
            skip();
            if (!expect(';')) return false;
            out->setObjectForKey(key, std::move(value));
        }
    }

    const std::string& error() const { return error_; }

private:
    bool fail(const std::string& message) {
        if (error_.empty()) {
            std::size_t line = 1;
            for (std::size_t i = 0; i < pos_ && i < text_.size(); ++i) {
                if (text_[i] == '\n') ++line;
            }
            error_ =
                KSStringWithFormat("%@ at line %lu", message, static_cast<unsigned long>(line));
        }
        return false;
    }

    bool expect(char c) {
        if (pos_ < text_.size() && text_[pos_] == c) {
            ++pos_;
            return true;
        }
        return fail(std::string("expected '") + c + "'");
    }

    // Skips whitespace and comments.
    void skip() {
        while (pos_ < text_.size()) {
            char c = text_[pos_];
            if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v') {
                ++pos_;
            } else if (c == '/' && pos_ + 1 < text_.size() && text_[pos_ + 1] == '/') {
                while (pos_ < text_.size() && text_[pos_] != '\n')
                    ++pos_;
            } else if (c == '/' && pos_ + 1 < text_.size() && text_[pos_ + 1] == '*') {
                std::size_t end = text_.find("*/", pos_ + 2);
                pos_ = end == std::string_view::npos ? text_.size() : end + 2;
            } else if (static_cast<unsigned char>(c) == 0xEF &&
                       text_.substr(pos_, 3) == "\xEF\xBB\xBF") {
                pos_ += 3;  // byte-order mark
            } else {
                break;
            }
        }
    }

    static bool isPlain(char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '$' || c == '+' || c == '/' || c == ':' || c == '.' || c == '-';
    }

    bool parseValue(KSValue* out) {
        if (++depth_ > 512) return fail("nesting too deep");
        struct Depth {
            int& d;
            ~Depth() { --d; }
        } guard{depth_};
        if (pos_ >= text_.size()) return fail("unexpected end of text");
        char c = text_[pos_];
        if (c == '{') return parseDictionary(out);
        if (c == '(') return parseArray(out);
        if (c == '<') return parseData(out);
        std::string s;
        if (!parseString(&s)) return false;
        *out = KSValue(std::move(s));
        return true;
    }

    bool parseDictionary(KSValue* out) {
        ++pos_;
        KSDictionary dict;
        while (true) {
            skip();
            if (pos_ >= text_.size()) return fail("unterminated dictionary");
            if (text_[pos_] == '}') {
                ++pos_;
                break;
            }
            std::string key;
            if (!parseString(&key)) return false;
            skip();
            if (!expect('=')) return false;
            skip();
            KSValue value;
            if (!parseValue(&value)) return false;
            skip();
            if (!expect(';')) return false;
            dict.setObjectForKey(key, std::move(value));
        }
        *out = KSValue(std::move(dict));
        return true;
    }

    bool parseArray(KSValue* out) {
        ++pos_;
        KSArray array;
        skip();
        if (pos_ < text_.size() && text_[pos_] == ')') {
            ++pos_;
            *out = KSValue(std::move(array));
            return true;
        }
        while (true) {
            skip();
            KSValue value;
            if (!parseValue(&value)) return false;
            array.push_back(std::move(value));
            skip();
            if (pos_ >= text_.size()) return fail("unterminated array");
            if (text_[pos_] == ',') {
                ++pos_;
                skip();
                if (pos_ < text_.size() && text_[pos_] == ')') {  // trailing comma
                    ++pos_;
                    break;
                }
                continue;
            }
            if (text_[pos_] == ')') {
                ++pos_;
                break;
            }
            return fail("expected ',' or ')'");
        }
        *out = KSValue(std::move(array));
        return true;
    }

    static int hexValue(char c) {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        return -1;
    }

    bool parseData(KSValue* out) {
        ++pos_;
        KSData data;
        int high = -1;
        while (pos_ < text_.size() && text_[pos_] != '>') {
            char c = text_[pos_++];
            if (c == ' ' || c == '\n' || c == '\t' || c == '\r') continue;
            int v = hexValue(c);
            if (v < 0) return fail("bad character in data");
            if (high < 0) {
                high = v;
            } else {
                data.push_back(static_cast<std::uint8_t>(high * 16 + v));
                high = -1;
            }
        }
        if (pos_ >= text_.size()) return fail("unterminated data");
        if (high >= 0) return fail("odd number of hex digits in data");
        ++pos_;
        *out = KSValue(std::move(data));
        return true;
    }

    bool parseString(std::string* out) {
        if (pos_ >= text_.size()) return fail("expected a string");
        char quote = text_[pos_];
        if (quote != '"' && quote != '\'') {
            std::size_t start = pos_;
            while (pos_ < text_.size() && isPlain(text_[pos_]))
                ++pos_;
            if (pos_ == start) return fail("expected a string");
            out->assign(text_.substr(start, pos_ - start));
            return true;
        }
        ++pos_;
        std::uint32_t pendingHighSurrogate = 0;
        while (pos_ < text_.size() && text_[pos_] != quote) {
            char c = text_[pos_++];
            if (c != '\\') {
                *out += c;
                continue;
            }
            if (pos_ >= text_.size()) break;
            char e = text_[pos_++];
            switch (e) {
                case 'n':
                    *out += '\n';
                    break;
                case 't':
                    *out += '\t';
                    break;
                case 'r':
                    *out += '\r';
                    break;
                case 'a':
                    *out += '\a';
                    break;
                case 'b':
                    *out += '\b';
                    break;
                case 'f':
                    *out += '\f';
                    break;
                case 'v':
                    *out += '\v';
                    break;
                case 'U':
                case 'u': {
                    std::uint32_t code = 0;
                    int digits = 0;
                    while (digits < 4 && pos_ < text_.size() && hexValue(text_[pos_]) >= 0) {
                        code = code * 16 + static_cast<std::uint32_t>(hexValue(text_[pos_++]));
                        ++digits;
                    }
                    if (code >= 0xD800 && code < 0xDC00) {
                        pendingHighSurrogate = code;
                    } else if (code >= 0xDC00 && code < 0xE000 && pendingHighSurrogate) {
                        KSAppendUTF8(*out, 0x10000 + ((pendingHighSurrogate - 0xD800) << 10) +
                                               (code - 0xDC00));
                        pendingHighSurrogate = 0;
                    } else {
                        KSAppendUTF8(*out, code);
                    }
                    break;
                }
                default:
                    if (e >= '0' && e <= '7') {
                        int code = e - '0';
                        for (int k = 0; k < 2 && pos_ < text_.size() && text_[pos_] >= '0' &&
                                        text_[pos_] <= '7';
                             ++k) {
                            code = code * 8 + (text_[pos_++] - '0');
                        }
                        *out += static_cast<char>(code);
                    } else {
                        *out += e;  // \" \\ \' and any other escaped character
                    }
            }
        }
        if (pos_ >= text_.size()) return fail("unterminated string");
        ++pos_;
        return true;
    }

    std::string_view text_;
    std::size_t pos_ = 0;
    int depth_ = 0;
    std::string error_;
};

KSError plistError(const std::string& message) {
    return KSError::errorWithDescription(KSPropertyListErrorDomain, 3840, message);
}

}  // namespace

KSData KSPropertyList::dataFromPropertyList(const KSValue& value, KSPropertyListFormat format,
                                            KSError* error) {
    if (format == KSPropertyListFormat::OpenStep) {
        if (!isValidPropertyList(value)) {
            KSSetError(error, plistError("Property list invalid for format: cannot hold " +
                                         value.description()));
            return {};
        }
        std::string text = openStepString(value);
        return KSData(text.begin(), text.end());
    }
    std::string problem;
    PlistPtr root(toPlist(value, &problem));
    if (!root) {
        KSSetError(error, plistError("Property list invalid for format: cannot hold " + problem));
        return {};
    }
    char* bytes = nullptr;
    uint32_t length = 0;
    if (format == KSPropertyListFormat::Binary) {
        plist_to_bin(static_cast<plist_t>(root.get()), &bytes, &length);
    } else {
        plist_to_xml(static_cast<plist_t>(root.get()), &bytes, &length);
    }
    if (!bytes) {
        KSSetError(error, plistError("Property list could not be written"));
        return {};
    }
    KSData data(reinterpret_cast<std::uint8_t*>(bytes),
                reinterpret_cast<std::uint8_t*>(bytes) + length);
    if (format == KSPropertyListFormat::Binary) {
        plist_to_bin_free(bytes);
    } else {
        plist_to_xml_free(bytes);
    }
    return data;
}

namespace {

// Turns what libplist read into a value; a missing root or one with no value is an error.
KSValue valueFromRoot(plist_t root, const char* kind, KSError* error) {
    if (!root) {
        KSSetError(error, plistError(std::string("Malformed ") + kind + " property list"));
        return KSValue();
    }
    PlistPtr holder(root);
    KSValue value = fromPlist(root);
    if (value.isNull()) {
        KSSetError(error, plistError(std::string("The ") + kind + " property list holds no value"));
    }
    return value;
}

bool looksLikeXML(std::string_view text) {
    std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return false;
    text.remove_prefix(first);
    return text.substr(0, 5) == "<?xml" || text.substr(0, 9) == "<!DOCTYPE" ||
           text.substr(0, 6) == "<plist";
}

}  // namespace

KSValue KSPropertyList::propertyListFromData(const KSData& data, KSPropertyListFormat* format,
                                             KSError* error) {
    if (data.empty()) {
        KSSetError(error, plistError("Property list is empty"));
        return KSValue();
    }
    const char* bytes = reinterpret_cast<const char*>(data.data());
    if (data.size() > UINT32_MAX) {
        KSSetError(error, plistError("Property list is too large"));
        return KSValue();
    }
    auto length = static_cast<uint32_t>(data.size());
    std::string_view text(bytes, data.size());
    KSValue value;
    KSPropertyListFormat found;
    if (plist_is_binary(bytes, length)) {
        if (binaryHasStringWithNul(data)) {
            KSSetError(error, plistError("Malformed binary property list: a string holds a NUL "
                                         "character"));
            return KSValue();
        }
        plist_t root = nullptr;
        plist_from_bin(bytes, length, &root);
        value = valueFromRoot(root, "binary", error);
        found = KSPropertyListFormat::Binary;
    } else if (looksLikeXML(text)) {
        plist_t root = nullptr;
        plist_from_xml(bytes, length, &root);
        value = valueFromRoot(root, "XML", error);
        found = KSPropertyListFormat::XML;
    } else {
        value = propertyListFromString(text, error);
        found = KSPropertyListFormat::OpenStep;
    }
    if (!value.isNull() && format) *format = found;
    return value;
}

bool KSPropertyList::isValidPropertyList(const KSValue& value) {
    switch (value.type()) {
        case KSValue::Type::Null:
        case KSValue::Type::Object:
            return false;
        case KSValue::Type::Array:
            for (const auto& item : value.asArray()) {
                if (!isValidPropertyList(item)) return false;
            }
            return true;
        case KSValue::Type::Dictionary:
            for (const auto& [key, item] : value.asDictionary()) {
                if (!isValidPropertyList(item)) return false;
            }
            return true;
        default:
            return true;
    }
}

std::string KSPropertyList::openStepString(const KSValue& value) {
    return value.propertyListDescription(0);
}

KSValue KSPropertyList::propertyListFromString(std::string_view text, KSError* error) {
    OpenStepParser parser(text);
    KSValue value;
    if (!parser.parseTopLevel(&value)) {
        KSSetError(error, plistError("Malformed property list text: " + parser.error()));
        return KSValue();
    }
    return value;
}

KSDictionary KSPropertyList::stringsTableFromString(std::string_view text, KSError* error) {
    OpenStepParser parser(text);
    KSDictionary table;
    if (!parser.parseStringsTable(&table)) {
        KSSetError(error, plistError("Malformed strings table: " + parser.error()));
        return {};
    }
    return table;
}

}  // namespace kestrum
