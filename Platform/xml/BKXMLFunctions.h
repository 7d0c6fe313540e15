// Free functions of the XML layer: stepping over text with a cursor, the text of an
// element, rejecting an unexpected element, identifiers, escaping, and rectangles as
// attributes.
#pragma once

#include <string>
#include <string_view>

#include "Platform/xml/BKXMLCursor.h"
#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLElement.h"
#include "Platform/xml/KSRect.h"

namespace kestrum {

// While the cursor's next child exists and is no element, consumes it; answers the next
// element without consuming it, or null when the current element has no more.
BKXMLElement SkipToNextChildElement(BKXMLCursor& cursor);

// The concatenated text of an element's own text children; empty when there is none.
std::string BKCharacterDataFromElement(const BKXMLElement& element);

// Passes over an element that the reader does not know, with a line in the log naming
// it. When `element` is the cursor's current element, its unread children are consumed
// (the caller still closes it); when it is the cursor's next child, it is consumed.
void BKXMLRejectElement(BKXMLCursor& cursor, const BKXMLElement& element);

// A new unique identifier (a UUID string); callers treat its form as opaque.
std::string BKXMLCreateID();

// Options of BKXMLCreateStringWithEntityReferencesInCFEncoding.
enum BKXMLEntityReferenceOptions : unsigned {
    // Also write '"' and '\'' as references, for attribute values.
    BKXMLEntityReferenceQuotes = 0x1,
};
// `text` with the characters special to XML (&, <, >) written as entity references,
// quotes too when asked; characters that `encoding` cannot hold become numeric
// references, and characters XML 1.0 cannot hold are removed. Other option bits are
// accepted and ignored.
std::string BKXMLCreateStringWithEntityReferencesInCFEncoding(std::string_view text,
                                                              BKXMLStringEncoding encoding,
                                                              unsigned options);

// `text` as XML 1.0 can hold it. Everything written into a document passes through this:
// control characters other than tab, line feed and carriage return, and the
// non-characters U+FFFE and U+FFFF, are dropped (they carry nothing a reader could show);
// bytes that are not well-formed UTF-8 become U+FFFD, so that the loss stays visible.
std::string BKXMLStringByRemovingInvalidCharacters(std::string_view text);

// Sets "x", "y", "w" and "h" on `element`, in this order, as doubles.
void KSWriteAttributesXMLFromRect(const KSRect& rect, BKXMLElement element);
// Reads "x", "y", "w" and "h" of the cursor's current element with doubleValue; the zero
// rectangle when any one is missing.
KSRect KSReadRectFromCursor(const BKXMLCursor& cursor);

}  // namespace kestrum
