#include "Platform/xml/BKXMLFunctions.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "Platform/core/KSLog.h"
#include "Platform/core/KSNumberText.h"
#include "Platform/core/KSUUID.h"
#include "Platform/xml/BKXMLPrivate.h"

namespace kestrum {

namespace {

constexpr char kReplacementCharacter[] = "\xEF\xBF\xBD";

bool isContinuation(std::string_view text, std::size_t i, unsigned char low = 0x80,
                    unsigned char high = 0xBF) {
    if (i >= text.size()) return false;
    auto c = static_cast<unsigned char>(text[i]);
    return c >= low && c <= high;
}

// The length of the well-formed UTF-8 sequence starting at text[i] (a byte >= 0x80) and
// its code point, or 0 when the bytes there are malformed (including encoded surrogates
// and overlong forms).
std::size_t decodeUTF8(std::string_view text, std::size_t i, char32_t* codePoint) {
    auto c = static_cast<unsigned char>(text[i]);
    if (c >= 0xC2 && c <= 0xDF) {
        if (!isContinuation(text, i + 1)) return 0;
        *codePoint = ((c & 0x1Fu) << 6) | (text[i + 1] & 0x3F);
        return 2;
    }
    if (c >= 0xE0 && c <= 0xEF) {
        unsigned char low = c == 0xE0 ? 0xA0 : 0x80;
        unsigned char high = c == 0xED ? 0x9F : 0xBF;
        if (!isContinuation(text, i + 1, low, high) || !isContinuation(text, i + 2)) return 0;
        *codePoint = ((c & 0x0Fu) << 12) | ((text[i + 1] & 0x3Fu) << 6) | (text[i + 2] & 0x3F);
        return 3;
    }
    if (c >= 0xF0 && c <= 0xF4) {
        unsigned char low = c == 0xF0 ? 0x90 : 0x80;
        unsigned char high = c == 0xF4 ? 0x8F : 0xBF;
        if (!isContinuation(text, i + 1, low, high) || !isContinuation(text, i + 2) ||
            !isContinuation(text, i + 3)) {
            return 0;
        }
        *codePoint = ((c & 0x07u) << 18) | ((text[i + 1] & 0x3Fu) << 12) |
                     ((text[i + 2] & 0x3Fu) << 6) | (text[i + 3] & 0x3F);
        return 4;
    }
    return 0;
}

// What each byte may be in a name: kNameStart, a name may start with it; kNameByte, a name
// may hold it; kPlainName, it is an ASCII byte a name may hold. Bytes from 0x80 on belong
// to characters that are taken as name characters.
constexpr unsigned char kNameStart = 1, kNameByte = 2, kPlainName = 4;
constexpr std::array<unsigned char, 256> kNameBytes = [] {
    std::array<unsigned char, 256> table{};
    for (unsigned c = 0; c < 256; ++c) {
        bool start =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' || c >= 0x80;
        bool inside = start || (c >= '0' && c <= '9') || c == '-' || c == '.';
        table[c] = static_cast<unsigned char>((start ? kNameStart : 0) | (inside ? kNameByte : 0) |
                                              (inside && c < 0x80 ? kPlainName : 0));
    }
    return table;
}();

bool isNameStartByte(unsigned char c) {
    return (kNameBytes[c] & kNameStart) != 0;
}

bool isNameByte(unsigned char c) {
    return (kNameBytes[c] & kNameByte) != 0;
}

// Whether any of the eight bytes of `word` is below 0x20 or from 0x80 on: only text with
// such bytes can need changing. (A byte below 0x20 borrows in the subtraction and sets its
// top bit; bytes below it cannot borrow unless they are flagged themselves.)
bool hasSpecialByte(std::uint64_t word) {
    constexpr std::uint64_t kOnes = 0x0101010101010101ull;
    constexpr std::uint64_t kTopBits = 0x8080808080808080ull;
    return (((word - kOnes * 0x20) | word) & kTopBits) != 0;
}

// The number of bytes from `i` on that are printable ASCII (0x20 to 0x7F), eight at a time
// while they last: the common case of text that passes unchanged.
std::size_t plainRunFrom(std::string_view text, std::size_t i) {
    const std::size_t start = i;
    while (text.size() - i >= 8) {
        std::uint64_t word;
        std::memcpy(&word, text.data() + i, sizeof word);
        if (hasSpecialByte(word)) break;
        i += 8;
    }
    while (i < text.size()) {
        auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c >= 0x80) break;
        ++i;
    }
    return i - start;
}

}  // namespace

namespace bkxml {

std::string_view sanitizedText(std::string_view text, std::string& storage) {
    bool building = false;
    std::size_t i = 0;
    auto startBuilding = [&] {
        if (!building) {
            storage.assign(text.data(), i);
            building = true;
        }
    };
    while (i < text.size()) {
        std::size_t run = plainRunFrom(text, i);
        if (building) storage.append(text.data() + i, run);
        i += run;
        if (i >= text.size()) break;
        auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x80) {
            // A control character: XML keeps only tab, line feed and carriage return.
            if (c != '\t' && c != '\n' && c != '\r') {
                startBuilding();
            } else if (building) {
                storage += static_cast<char>(c);
            }
            ++i;
            continue;
        }
        char32_t codePoint = 0;
        std::size_t length = decodeUTF8(text, i, &codePoint);
        if (length == 0) {
            startBuilding();
            storage += kReplacementCharacter;
            ++i;
        } else if (codePoint == 0xFFFE || codePoint == 0xFFFF) {
            startBuilding();
            i += length;
        } else {
            if (building) storage.append(text.data() + i, length);
            i += length;
        }
    }
    return building ? std::string_view(storage) : text;
}

namespace {

// Names that are not plain ASCII name characters: checked for other characters, and
// repaired where needed.
std::string_view sanitizedNameSlow(std::string_view name, std::string& storage) {
    bool valid = !name.empty() && isNameStartByte(static_cast<unsigned char>(name[0]));
    for (std::size_t i = 0; valid && i < name.size(); ++i)
        valid = isNameByte(static_cast<unsigned char>(name[i]));
    std::string scratch;
    std::string_view text = sanitizedText(name, scratch);
    if (valid && text.data() == name.data()) return name;
    storage.clear();
    if (text.empty() || !isNameStartByte(static_cast<unsigned char>(text[0]))) storage += '_';
    for (char c : text)
        storage += isNameByte(static_cast<unsigned char>(c)) ? c : '_';
    KSLog("Invalid XML name '%@' written as '%@'", BKXMLStringByRemovingInvalidCharacters(name),
          storage);
    return storage;
}

}  // namespace

XMLName::XMLName(std::string_view name) {
    if (!name.empty() && name.size() < sizeof small_) {
        unsigned char kinds =
            (kNameBytes[static_cast<unsigned char>(name[0])] & kNameStart) ? kPlainName : 0;
        for (std::size_t i = 0; i < name.size(); ++i) {
            small_[i] = name[i];
            kinds &= kNameBytes[static_cast<unsigned char>(name[i])];
        }
        if (kinds) {
            small_[name.size()] = 0;
            text_ = small_;
            size_ = name.size();
            return;
        }
    }
    std::string storage;
    large_.assign(sanitizedNameSlow(name, storage));
    text_ = large_.c_str();
    size_ = large_.size();
}

namespace {

// The digits of a whole number below 10^15, written backwards from `end`; answers the
// first digit.
char* putDigitsBefore(char* end, std::uint64_t value) {
    do {
        *--end = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value > 0);
    return end;
}

}  // namespace

std::string_view formatDouble(double value, char (&buffer)[32]) {
    // Whole numbers have exact digits. The shortest text is then the digits ("57600"), or
    // the scientific form when that is shorter ("1e+05" for 100000; ties keep the digits),
    // which the general path writes.
    double magnitude = std::fabs(value);
    if (magnitude >= 1 && magnitude < 1e15 && magnitude == std::floor(magnitude)) {
        auto whole = static_cast<std::uint64_t>(magnitude);
        char* end = buffer + sizeof buffer;
        char* first = putDigitsBefore(end, whole);
        auto digits = static_cast<std::size_t>(end - first);
        std::size_t significant = digits;
        while (significant > 1 && first[significant - 1] == '0')
            --significant;
        // d[.ddd]e+XX: the exponent (at most 14 here) always takes two digits.
        std::size_t scientific = significant + (significant > 1 ? 1 : 0) + 4;
        if (digits <= scientific) {
            if (value < 0) *--first = '-';
            return std::string_view(first, static_cast<std::size_t>(end - first));
        }
    }
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string_view(buffer, static_cast<std::size_t>(result.ptr - buffer));
}

}  // namespace bkxml

BKXMLElement SkipToNextChildElement(BKXMLCursor& cursor) {
    for (BKXMLNode next = cursor.peekNextChild(); next; next = cursor.peekNextChild()) {
        if (next.isElement()) return next.element();
        cursor.nextChild();
    }
    return BKXMLElement();
}

namespace bkxml {

std::string_view characterData(const BKXMLElement& element, std::string& storage) {
    std::string_view first;
    bool found = false;
    bool joined = false;
    for (BKXMLNode child : element.children()) {
        if (!child.isText()) continue;
        if (!found) {
            first = child.string();
            found = true;
            continue;
        }
        if (!joined) {
            storage.assign(first);
            joined = true;
        }
        storage += child.string();
    }
    return joined ? std::string_view(storage) : first;
}

}  // namespace bkxml

std::string BKCharacterDataFromElement(const BKXMLElement& element) {
    std::string storage;
    std::string_view text = bkxml::characterData(element, storage);
    return text.data() == storage.data() ? std::move(storage) : std::string(text);
}

void BKXMLRejectElement(BKXMLCursor& cursor, const BKXMLElement& element) {
    BKXMLElement parent = element.parent();
    KSLog("Rejecting unexpected element <%@> in <%@>", element.name(), parent.name());
    if (element == cursor.currentElement()) {
        while (cursor.nextChild()) {
        }
    } else if (cursor.peekNextChild().element() == element && element) {
        cursor.nextChild();
    }
}

std::string BKXMLCreateID() {
    return KSUUIDString();
}

std::string BKXMLCreateStringWithEntityReferencesInCFEncoding(std::string_view text,
                                                              BKXMLStringEncoding encoding,
                                                              unsigned options) {
    std::string storage;
    std::string_view clean = bkxml::sanitizedText(text, storage);
    const bool quotes = (options & BKXMLEntityReferenceQuotes) != 0;
    std::string result;
    result.reserve(clean.size() + clean.size() / 8);
    for (std::size_t i = 0; i < clean.size();) {
        char c = clean[i];
        auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80 && encoding == BKXMLStringEncodingASCII) {
            char32_t codePoint = 0;
            std::size_t length = decodeUTF8(clean, i, &codePoint);
            result += "&#" + KSStringFromInteger(codePoint) + ";";
            i += length ? length : 1;
            continue;
        }
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += quotes ? "&quot;" : "\"";
                break;
            case '\'':
                result += quotes ? "&apos;" : "'";
                break;
            default:
                result += c;
        }
        ++i;
    }
    return result;
}

std::string BKXMLStringByRemovingInvalidCharacters(std::string_view text) {
    std::string storage;
    std::string_view clean = bkxml::sanitizedText(text, storage);
    return clean.data() == text.data() ? std::string(text) : storage;
}

void KSWriteAttributesXMLFromRect(const KSRect& rect, BKXMLElement element) {
    element.setAttributeDouble("x", rect.x);
    element.setAttributeDouble("y", rect.y);
    element.setAttributeDouble("w", rect.width);
    element.setAttributeDouble("h", rect.height);
}

KSRect KSReadRectFromCursor(const BKXMLCursor& cursor) {
    auto x = cursor.attributeNamed("x");
    auto y = cursor.attributeNamed("y");
    auto w = cursor.attributeNamed("w");
    auto h = cursor.attributeNamed("h");
    if (!x || !y || !w || !h) return KSRect();
    return KSRect{KSDoubleValueOfString(*x), KSDoubleValueOfString(*y), KSDoubleValueOfString(*w),
                  KSDoubleValueOfString(*h)};
}

}  // namespace kestrum
