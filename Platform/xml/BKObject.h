// BKObject: the common root of the model's persistent objects.
//
// It carries the XML value helpers (reading and writing one typed value from a cursor or
// into a document) so that any object can use them, and a throw-away BKObject can serve
// where no receiver is at hand.
//
// Element readers first step over children that are not elements, then compare the next
// element's name. If it differs they answer null (or false) and leave the cursor where it
// is; if it matches they consume the element and read its text. With a key, the value is
// stored through keyed access (setValueForKey), so that the receiver's own setter runs, and
// the answer is what the key gives afterwards. An empty key means "no key": the value is
// only answered.
//
//   task->readStringStoringWithKeyFromCursorElementName("title", cursor, "title");
//   KSValue effort = task->readFloatNumberFromCursorElementName("", cursor, "effort");
//   task->writeStringDocumentElementName("title", document, "title");
//
// Numbers read through floatValue keep single precision on purpose: a value survives a
// save and load only as far as a float carries it, and two loads of one file must agree.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/core/KSBaseObject.h"
#include "Platform/xml/BKXMLCursor.h"
#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLElement.h"

namespace kestrum {

class BKObject : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    BKObject();
    ~BKObject() override;

    // --- Element readers -------------------------------------------------------------
    // The element's text (a copy); null when the element is not next.
    KSValue readStringStoringWithKeyFromCursorElementName(std::string_view key, BKXMLCursor& cursor,
                                                          std::string_view elementName);
    // A date element holding the platform date's XML string. With a key a platform date is
    // stored (null for an empty element); the answer is the model's date type `DateTime`
    // (made through KSValueTraits<DateTime>, null for an absent or empty element). Text
    // that is not a date is logged ("Unable to parse date string '%@'"), consumed, and
    // stores nothing.
    template <class DateTime>
    DateTime readNSDateStoringWithKeyFromCursorElementName(std::string_view key,
                                                           BKXMLCursor& cursor,
                                                           std::string_view elementName);
    // As above for attributes of the model's date type: the stored value is the model
    // date, which crosses keyed access as a platform date.
    template <class DateTime>
    DateTime readDateStoringWithKeyFromCursorElementName(std::string_view key, BKXMLCursor& cursor,
                                                         std::string_view elementName);
    // True for an empty element, "true" or "1"; other text is false, a missing element is
    // false (and stores nothing). With a key, stores the boolean and answers the key's
    // boolean reading.
    bool readBoolFromCursorElementName(std::string_view key, BKXMLCursor& cursor,
                                       std::string_view elementName);
    // A number made with floatValue (single precision); an empty element is consumed,
    // stores nothing and answers null; text that is no number reads as 0.
    KSValue readFloatNumberFromCursorElementName(std::string_view key, BKXMLCursor& cursor,
                                                 std::string_view elementName);
    // As above with doubleValue.
    KSValue readDoubleNumberFromCursorElementName(std::string_view key, BKXMLCursor& cursor,
                                                  std::string_view elementName);
    // As above with intValue (32 bits).
    KSValue readIntegerNumberFromCursorElementName(std::string_view key, BKXMLCursor& cursor,
                                                   std::string_view elementName);

    // --- Attribute readers of the cursor's current element ------------------------------
    // With a key: stores the attribute's raw text (not a boolean) and answers the key's
    // boolean reading after the store; without: whether the text is "true" or "1". A
    // missing attribute stores nothing and answers false.
    bool readBoolFromCursorAttributeName(std::string_view key, const BKXMLCursor& cursor,
                                         std::string_view attributeName);
    // Whether the attribute's text is "true" or "1"; stores nothing.
    bool readBoolFromCursorAttributeName(const BKXMLCursor& cursor,
                                         std::string_view attributeName) const;
    // The attribute read with floatValue; 0 when missing; stores nothing.
    float readFloatFromCursorAttributeName(const BKXMLCursor& cursor,
                                           std::string_view attributeName) const;

    // --- Writers (each answers the element written, or null when skipped) ---------------
    // The keyed string as a text element; skipped when null or empty.
    BKXMLElement writeStringDocumentElementName(std::string_view key, BKXMLDocument& document,
                                                std::string_view elementName) const;
    // The keyed data as base 64 text; a value that is not data writes an empty element.
    BKXMLElement writeDataDocumentElementName(std::string_view key, BKXMLDocument& document,
                                              std::string_view elementName) const;
    // "true" as an attribute of the top element; nothing when false.
    void writeBoolValueToDocumentAttributeName(bool value, BKXMLDocument& document,
                                               std::string_view attributeName) const;
    // The value as an attribute through setAttributeReal (single precision); always.
    void writeFloatValueToDocumentAttributeName(float value, BKXMLDocument& document,
                                                std::string_view attributeName) const;
    // The value as an attribute through setAttributeDouble; always.
    void writeDoubleValueToDocumentAttributeName(double value, BKXMLDocument& document,
                                                 std::string_view attributeName) const;
    // A text element holding "true"; skipped when the keyed value is false.
    BKXMLElement writeBoolDocumentElementName(std::string_view key, BKXMLDocument& document,
                                              std::string_view elementName) const;
    // A date element from the keyed date (a model date crosses keyed access as a platform
    // date); skipped when null.
    BKXMLElement writeDateDocumentElementName(std::string_view key, BKXMLDocument& document,
                                              std::string_view elementName) const;
    // An integer element; skipped when the keyed value is null or 0.
    BKXMLElement writeOptionalIntegerNumberDocumentElementName(std::string_view key,
                                                               BKXMLDocument& document,
                                                               std::string_view elementName) const;
    // An integer element; always (null writes 0).
    BKXMLElement writeRequiredIntegerNumberDocumentElementName(std::string_view key,
                                                               BKXMLDocument& document,
                                                               std::string_view elementName) const;

    // --- Ids ---------------------------------------------------------------------------
    // The id string: the prefix followed by the decimal number ("t12", "t-1").
    static std::string idStringWithPrefix(std::string_view prefix, std::int64_t objectId);
    // The number of an id string: the prefix is removed when it is there, and the rest is
    // read with intValue ("t12" and "12" give 12, junk gives 0).
    static int idFromStringWithPrefix(std::string_view idString, std::string_view prefix);
    // The id in an attribute of the cursor's current element; 0 when absent.
    static int idFromCursorAttributeNamePrefix(const BKXMLCursor& cursor,
                                               std::string_view attributeName,
                                               std::string_view prefix);

    // --- Shared pieces -----------------------------------------------------------------
    // The boolean reading of an element's text: empty, "true" and "1" are true.
    static bool isTrueElementText(std::string_view text);
    // The boolean reading of an attribute: "true" and "1" are true.
    static bool isTrueAttributeText(std::string_view text);
    // Reads a date element: nullopt when it is not next or its text is no date (logged);
    // a null value for an empty element; else the platform date.
    static std::optional<KSValue> readPlatformDateFromCursorElementName(
        BKXMLCursor& cursor, std::string_view elementName);

private:
    // The text of the next child element if it has this name (consuming it): a view into
    // the document, or into `storage` when the text comes in several runs.
    static std::optional<std::string_view> _consumeElementText(BKXMLCursor& cursor,
                                                               std::string_view elementName,
                                                               std::string& storage);
    KSValue _storeNumber(std::string_view key, const KSValue& number);
    template <class DateTime>
    DateTime _readDate(std::string_view key, BKXMLCursor& cursor, std::string_view elementName);
};

template <class DateTime>
DateTime BKObject::_readDate(std::string_view key, BKXMLCursor& cursor,
                             std::string_view elementName) {
    std::optional<KSValue> date = readPlatformDateFromCursorElementName(cursor, elementName);
    if (!date) return DateTime();
    KSValue answer = *date;
    if (!key.empty()) {
        setValueForKey(*date, key);
        answer = valueForKey(key);
    }
    DateTime result{};
    if (!KSValueTraits<DateTime>::fromValue(answer, &result)) return DateTime();
    return result;
}

template <class DateTime>
DateTime BKObject::readNSDateStoringWithKeyFromCursorElementName(std::string_view key,
                                                                 BKXMLCursor& cursor,
                                                                 std::string_view elementName) {
    return _readDate<DateTime>(key, cursor, elementName);
}

template <class DateTime>
DateTime BKObject::readDateStoringWithKeyFromCursorElementName(std::string_view key,
                                                               BKXMLCursor& cursor,
                                                               std::string_view elementName) {
    return _readDate<DateTime>(key, cursor, elementName);
}

}  // namespace kestrum
