#include "Platform/xml/BKXMLDictionary.h"

#include <cstdint>

#include "Platform/core/KSBase64.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSNumberText.h"
#include "Platform/xml/BKObject.h"
#include "Platform/xml/BKXMLFunctions.h"
#include "Platform/xml/BKXMLPrivate.h"

namespace kestrum {

namespace {

// The text of the cursor's next child, which the caller knows is `element`: a view into the
// document, or into `storage` when the text comes in several runs.
std::string_view consumeText(BKXMLCursor& cursor, const BKXMLElement& element,
                             std::string& storage) {
    cursor.nextChild();
    return bkxml::characterData(element, storage);
}

}  // namespace

bool BKXMLDictionary::writeContentsXML(const KSDictionary& dictionary, BKXMLDocument& document,
                                       KSError* error) {
    for (const auto& [key, value] : dictionary) {
        document.appendElementContainingString("key", key);
        writeValueXML(value, document);
    }
    return true;
}

bool BKXMLDictionary::writeContentsXMLForKeys(const KSDictionary& dictionary,
                                              BKXMLDocument& document,
                                              const std::vector<std::string>& keys,
                                              KSError* error) {
    for (const std::string& key : keys) {
        const KSValue* value = dictionary.find(key);
        if (!value || value->isNull()) continue;
        document.appendElementContainingString("key", key);
        writeValueXML(*value, document);
    }
    return true;
}

void BKXMLDictionary::writeValueXML(const KSValue& value, BKXMLDocument& document) {
    switch (value.type()) {
        // Booleans are their own type, tested before any number.
        case KSValue::Type::Bool:
            document.appendElementContainingString("bool", value.asBool() ? "true" : "false");
            break;
        case KSValue::Type::Integer:
            // Cut to 32 bits, as the format's integer reading does.
            document.appendElementContainingInteger(
                "integer",
                static_cast<std::int32_t>(static_cast<std::uint32_t>(value.asInteger())));
            break;
        case KSValue::Type::Double:
            // Through single precision and back: 0.1 is written as 0.10000000149011612.
            document.appendElementContainingDouble("real", static_cast<double>(value.floatValue()));
            break;
        case KSValue::Type::String:
            document.appendElementContainingString("string", value.asString());
            break;
        case KSValue::Type::Date:
            document.appendElementContainingDate("date", value.asDate());
            break;
        case KSValue::Type::Data:
            document.appendElementContainingString("data", KSBase64Encode(value.asData()));
            break;
        case KSValue::Type::Dictionary:
            document.pushElement("dict");
            writeContentsXML(value.asDictionary(), document, nullptr);
            document.popElement();
            break;
        case KSValue::Type::Array:
            document.pushElement("array");
            for (const KSValue& entry : value.asArray())
                writeValueXML(entry, document);
            document.popElement();
            break;
        case KSValue::Type::Null:
        case KSValue::Type::Object:
            break;
    }
}

bool BKXMLDictionary::readContentsXML(KSDictionary& dictionary, BKXMLCursor& cursor,
                                      KSError* error) {
    return _readContents(dictionary, cursor, 0);
}

KSValue BKXMLDictionary::readValueXMLForElement(BKXMLCursor& cursor, const BKXMLElement& element) {
    bool recognized = false;
    return _readValue(cursor, element, 0, &recognized);
}

bool BKXMLDictionary::_readContents(KSDictionary& dictionary, BKXMLCursor& cursor, int depth) {
    for (;;) {
        BKXMLElement keyElement = SkipToNextChildElement(cursor);
        if (!keyElement || keyElement.name() != "key") break;
        std::string storage;
        std::string key(consumeText(cursor, keyElement, storage));
        BKXMLElement valueElement = SkipToNextChildElement(cursor);
        if (!valueElement) break;
        bool recognized = false;
        KSValue value = _readValue(cursor, valueElement, depth, &recognized);
        if (!value.isNull()) dictionary.setObjectForKey(key, value);
    }
    return true;
}

KSValue BKXMLDictionary::_readValue(BKXMLCursor& cursor, const BKXMLElement& element, int depth,
                                    bool* recognized) {
    std::string_view name = element.name();
    std::string storage;
    *recognized = true;
    if (name == "bool") {
        return KSValue(BKObject::isTrueElementText(consumeText(cursor, element, storage)));
    }
    if (name == "dict" || name == "array") {
        cursor.nextChild();
        if (depth >= kMaximumNesting) {
            KSLog("Skipping <%@> nested deeper than %d levels", name, kMaximumNesting);
            return KSValue();
        }
        cursor.openElement();
        KSValue result;
        if (name == "dict") {
            KSDictionary nested;
            _readContents(nested, cursor, depth + 1);
            result = KSValue(std::move(nested));
        } else {
            KSArray entries;
            // An entry of a kind that is not known is passed over (with a log line), so
            // that the loop always makes progress.
            while (BKXMLElement entry = SkipToNextChildElement(cursor)) {
                bool known = false;
                KSValue value = _readValue(cursor, entry, depth + 1, &known);
                if (!known) {
                    KSLog("Skipping unknown value element <%@> in an array", entry.name());
                    cursor.nextChild();
                } else if (!value.isNull()) {
                    entries.push_back(std::move(value));
                }
            }
            result = KSValue(std::move(entries));
        }
        cursor.closeElement();
        return result;
    }
    if (name == "integer")
        return KSValue(KSIntValueOfString(consumeText(cursor, element, storage)));
    if (name == "real")
        return KSValue(KSDoubleValueOfString(consumeText(cursor, element, storage)));
    if (name == "string" || name == "value")
        return KSValue(std::string(consumeText(cursor, element, storage)));
    if (name == "data") {
        std::string_view text = consumeText(cursor, element, storage);
        KSData data;
        if (!KSBase64Decode(text, &data)) {
            KSLog("Unable to decode base 64 data of %lu characters", text.size());
            return KSValue();
        }
        return KSValue(std::move(data));
    }
    if (name == "date") {
        std::optional<KSValue> date = BKObject::readPlatformDateFromCursorElementName(cursor, name);
        return date ? *date : KSValue();
    }
    *recognized = false;
    return KSValue();
}

}  // namespace kestrum
