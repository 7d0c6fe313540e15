#include "Platform/xml/BKObject.h"

#include "Platform/core/KSBase64.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSNumberText.h"
#include "Platform/xml/BKXMLFunctions.h"
#include "Platform/xml/BKXMLPrivate.h"

namespace kestrum {

const KSClassInfo& BKObject::staticClassInfo() {
    static const KSClassInfo info("BKObject", &KSBaseObject::staticClassInfo());
    return info;
}

BKObject::BKObject() = default;
BKObject::~BKObject() = default;

// --- Shared pieces -------------------------------------------------------------------

bool BKObject::isTrueElementText(std::string_view text) {
    return text.empty() || text == "true" || text == "1";
}

bool BKObject::isTrueAttributeText(std::string_view text) {
    return text == "true" || text == "1";
}

std::optional<std::string_view> BKObject::_consumeElementText(BKXMLCursor& cursor,
                                                              std::string_view elementName,
                                                              std::string& storage) {
    BKXMLElement element = SkipToNextChildElement(cursor);
    if (!element || element.name() != elementName) return std::nullopt;
    cursor.nextChild();
    return bkxml::characterData(element, storage);
}

std::optional<KSValue> BKObject::readPlatformDateFromCursorElementName(
    BKXMLCursor& cursor, std::string_view elementName) {
    std::string storage;
    std::optional<std::string_view> text = _consumeElementText(cursor, elementName, storage);
    if (!text) return std::nullopt;
    if (text->empty()) return KSValue();
    KSDate date;
    if (!KSDate::fromXMLString(*text, &date)) {
        KSLog("Unable to parse date string '%@'", *text);
        return std::nullopt;
    }
    return KSValue(date);
}

// --- Element readers -----------------------------------------------------------------

KSValue BKObject::readStringStoringWithKeyFromCursorElementName(std::string_view key,
                                                                BKXMLCursor& cursor,
                                                                std::string_view elementName) {
    std::string storage;
    std::optional<std::string_view> text = _consumeElementText(cursor, elementName, storage);
    if (!text) return KSValue();
    KSValue value{std::string(*text)};
    if (key.empty()) return value;
    setValueForKey(value, key);
    return valueForKey(key);
}

bool BKObject::readBoolFromCursorElementName(std::string_view key, BKXMLCursor& cursor,
                                             std::string_view elementName) {
    std::string storage;
    std::optional<std::string_view> text = _consumeElementText(cursor, elementName, storage);
    if (!text) return false;
    bool value = isTrueElementText(*text);
    if (key.empty()) return value;
    setValueForKey(KSValue(value), key);
    return valueForKey(key).boolValue();
}

KSValue BKObject::_storeNumber(std::string_view key, const KSValue& number) {
    if (key.empty()) return number;
    setValueForKey(number, key);
    return valueForKey(key);
}

KSValue BKObject::readFloatNumberFromCursorElementName(std::string_view key, BKXMLCursor& cursor,
                                                       std::string_view elementName) {
    std::string storage;
    std::optional<std::string_view> text = _consumeElementText(cursor, elementName, storage);
    if (!text || text->empty()) return KSValue();
    return _storeNumber(key, KSValue::floatNumber(KSFloatValueOfString(*text)));
}

KSValue BKObject::readDoubleNumberFromCursorElementName(std::string_view key, BKXMLCursor& cursor,
                                                        std::string_view elementName) {
    std::string storage;
    std::optional<std::string_view> text = _consumeElementText(cursor, elementName, storage);
    if (!text || text->empty()) return KSValue();
    return _storeNumber(key, KSValue(KSDoubleValueOfString(*text)));
}

KSValue BKObject::readIntegerNumberFromCursorElementName(std::string_view key, BKXMLCursor& cursor,
                                                         std::string_view elementName) {
    std::string storage;
    std::optional<std::string_view> text = _consumeElementText(cursor, elementName, storage);
    if (!text || text->empty()) return KSValue();
    return _storeNumber(key, KSValue(KSIntValueOfString(*text)));
}

// --- Attribute readers ---------------------------------------------------------------

bool BKObject::readBoolFromCursorAttributeName(std::string_view key, const BKXMLCursor& cursor,
                                               std::string_view attributeName) {
    std::optional<std::string_view> text = cursor.attributeNamed(attributeName);
    if (!text) return false;
    if (key.empty()) return isTrueAttributeText(*text);
    setValueForKey(KSValue(std::string(*text)), key);
    return valueForKey(key).boolValue();
}

bool BKObject::readBoolFromCursorAttributeName(const BKXMLCursor& cursor,
                                               std::string_view attributeName) const {
    std::optional<std::string_view> text = cursor.attributeNamed(attributeName);
    return text && isTrueAttributeText(*text);
}

float BKObject::readFloatFromCursorAttributeName(const BKXMLCursor& cursor,
                                                 std::string_view attributeName) const {
    std::optional<std::string_view> text = cursor.attributeNamed(attributeName);
    return text ? KSFloatValueOfString(*text) : 0.0f;
}

// --- Writers -------------------------------------------------------------------------

BKXMLElement BKObject::writeStringDocumentElementName(std::string_view key, BKXMLDocument& document,
                                                      std::string_view elementName) const {
    KSValue value = valueForKey(key);
    if (value.isNull()) return BKXMLElement();
    std::string text = value.stringValue();
    if (text.empty()) return BKXMLElement();
    return document.appendElementContainingString(elementName, text);
}

BKXMLElement BKObject::writeDataDocumentElementName(std::string_view key, BKXMLDocument& document,
                                                    std::string_view elementName) const {
    KSValue value = valueForKey(key);
    if (!value.isData()) return document.appendElement(elementName);
    return document.appendElementContainingString(elementName, KSBase64Encode(value.asData()));
}

void BKObject::writeBoolValueToDocumentAttributeName(bool value, BKXMLDocument& document,
                                                     std::string_view attributeName) const {
    if (value) document.setAttributeString(attributeName, "true");
}

void BKObject::writeFloatValueToDocumentAttributeName(float value, BKXMLDocument& document,
                                                      std::string_view attributeName) const {
    document.setAttributeReal(attributeName, value);
}

void BKObject::writeDoubleValueToDocumentAttributeName(double value, BKXMLDocument& document,
                                                       std::string_view attributeName) const {
    document.setAttributeDouble(attributeName, value);
}

BKXMLElement BKObject::writeBoolDocumentElementName(std::string_view key, BKXMLDocument& document,
                                                    std::string_view elementName) const {
    if (!valueForKey(key).boolValue()) return BKXMLElement();
    return document.appendElementContainingString(elementName, "true");
}

BKXMLElement BKObject::writeDateDocumentElementName(std::string_view key, BKXMLDocument& document,
                                                    std::string_view elementName) const {
    KSValue value = valueForKey(key);
    if (!value.isDate()) return BKXMLElement();
    return document.appendElementContainingDate(elementName, value.asDate());
}

BKXMLElement BKObject::writeOptionalIntegerNumberDocumentElementName(
    std::string_view key, BKXMLDocument& document, std::string_view elementName) const {
    KSValue value = valueForKey(key);
    if (value.isNull() || value.integerValue() == 0) return BKXMLElement();
    return document.appendElementContainingInteger(elementName, value.integerValue());
}

BKXMLElement BKObject::writeRequiredIntegerNumberDocumentElementName(
    std::string_view key, BKXMLDocument& document, std::string_view elementName) const {
    return document.appendElementContainingInteger(elementName, valueForKey(key).integerValue());
}

// --- Ids -----------------------------------------------------------------------------

std::string BKObject::idStringWithPrefix(std::string_view prefix, std::int64_t objectId) {
    return std::string(prefix) + KSStringFromInteger(objectId);
}

int BKObject::idFromStringWithPrefix(std::string_view idString, std::string_view prefix) {
    if (!prefix.empty() && idString.substr(0, prefix.size()) == prefix) {
        idString.remove_prefix(prefix.size());
    }
    return KSIntValueOfString(idString);
}

int BKObject::idFromCursorAttributeNamePrefix(const BKXMLCursor& cursor,
                                              std::string_view attributeName,
                                              std::string_view prefix) {
    std::optional<std::string_view> text = cursor.attributeNamed(attributeName);
    return text ? idFromStringWithPrefix(*text, prefix) : 0;
}

}  // namespace kestrum
