#include "Platform/xml/BKXMLFunctions.h"

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

bool isNameStartByte(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' || c >= 0x80;
}

bool isNameByte(unsigned char c) {
    return isNameStartByte(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
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
        auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x80) {
            if (c < 0x20 && c != '\t' && c != '\n' && c != '\r') {
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

std::string_view sanitizedName(std::string_view name, std::string& storage) {
    bool valid = !name.empty() && isNameStartByte(static_cast<unsigned char>(name[0]));
    bool ascii = true;
    for (std::size_t i = 0; valid && i < name.size(); ++i) {
        auto c = static_cast<unsigned char>(name[i]);
        valid = isNameByte(c);
        ascii = ascii && c < 0x80;
    }
    if (valid && ascii) return name;
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

}  // namespace bkxml

BKXMLElement SkipToNextChildElement(BKXMLCursor& cursor) {
    for (BKXMLNode next = cursor.peekNextChild(); next; next = cursor.peekNextChild()) {
        if (next.isElement()) return next.element();
        cursor.nextChild();
    }
    return BKXMLElement();
}

std::string BKCharacterDataFromElement(const BKXMLElement& element) {
    std::string text;
    for (BKXMLNode child : element.children()) {
        if (child.isText()) text += child.string();
    }
    return text;
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
