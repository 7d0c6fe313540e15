// BKXMLDocument: an XML document to build and write, or parsed from bytes to read.
//
// Writing: make a document with its root element; the document keeps a stack of open
// elements, starting with the root. `pushElement` appends a child to the top and makes it
// the top, `popElement` goes back up; `appendElement...` add leaves to the top without
// pushing; `setAttribute...` set attributes of the top. `xmlData` gives UTF-8 bytes.
//
//   auto document = BKXMLDocument::documentWithRootElementName("scenario", namespaceURL,
//                                                              behavior, BKXMLStringEncodingUTF8,
//                                                              &error);
//   document->pushElement("task");
//   document->setAttributeString("id", "t12");
//   document->appendElementContainingDouble("effort", 28800.0);
//   document->popElement();
//   std::optional<KSData> bytes = document->xmlData(&error);
//
// Reading: `documentWithData` parses bytes (answering null with an error on malformed
// input); `cursor()` then walks it in order. Whitespace-only text that the whitespace
// behaviour calls layout is passed over by cursors, child lists and character data, in
// parsed and built documents alike, so that a document read in memory reads as its file.
//
// Text is written without added layout (no indentation), so that what a reader gets back
// is exactly what a writer put in. Carriage returns in text and tabs, line feeds and
// carriage returns in attributes are written as character references and so survive a
// round trip. Comments are not kept when parsing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/core/KSError.h"
#include "Platform/core/KSValue.h"
#include "Platform/xml/BKXMLCursor.h"
#include "Platform/xml/BKXMLElement.h"
#include "Platform/xml/BKXMLWhitespaceBehavior.h"

namespace kestrum {

// Text encodings of documents. Documents are written in UTF-8; ASCII is only for
// BKXMLCreateStringWithEntityReferencesInCFEncoding.
enum BKXMLStringEncoding : int {
    BKXMLStringEncodingUTF8 = 4,
    BKXMLStringEncodingASCII = 1,
};

// Codes of the errors in KSXMLErrorDomain.
enum BKXMLErrorCode : long {
    // The bytes are not well-formed XML (the description names the place).
    BKXMLErrorMalformed = 1,
    // There is no root element (empty or whitespace-only data).
    BKXMLErrorNoRootElement = 2,
    // Text or a second element stands outside the root element.
    BKXMLErrorContentOutsideRoot = 3,
    // A document was asked for in an encoding it cannot be written in.
    BKXMLErrorUnsupportedEncoding = 4,
    // A document was asked for with an empty root name.
    BKXMLErrorInvalidName = 5,
};

// User-info keys of parse errors: the byte offset (integer), and the line and column
// (integers, from 1) when the bytes were kept to count them.
extern const char* const BKXMLErrorOffsetKey;
extern const char* const BKXMLErrorLineKey;
extern const char* const BKXMLErrorColumnKey;

class BKXMLDocument {
public:
    // An empty document whose stack holds the root element. `namespaceURL` is kept with the
    // document (`namespaceURL()`); it is written only when a writer sets "xmlns" on the root.
    // Answers null, with an error, for an empty root name or an encoding other than UTF-8.
    static std::unique_ptr<BKXMLDocument> documentWithRootElementName(
        std::string_view rootElementName, std::string_view namespaceURL,
        std::shared_ptr<const BKXMLWhitespaceBehavior> behavior, BKXMLStringEncoding encoding,
        KSError* error);
    // Parses a copy of `data`. Null, with an error naming line and column, when the data are
    // not a well-formed document with one root element. A null behaviour keeps all text.
    static std::unique_ptr<BKXMLDocument> documentWithData(
        const KSData& data, std::shared_ptr<const BKXMLWhitespaceBehavior> behavior,
        KSError* error);
    // Parses `data` in place, keeping the buffer inside the document (no copy); errors give
    // the byte offset only, since the parser rewrites the buffer as it goes.
    static std::unique_ptr<BKXMLDocument> documentWithData(
        KSData&& data, std::shared_ptr<const BKXMLWhitespaceBehavior> behavior, KSError* error);

    BKXMLDocument(const BKXMLDocument&) = delete;
    BKXMLDocument& operator=(const BKXMLDocument&) = delete;
    ~BKXMLDocument();

    // The namespace given when the document was made (empty for parsed documents).
    const std::string& namespaceURL() const;
    // The whitespace behaviour the document was made or parsed with (may be null).
    const std::shared_ptr<const BKXMLWhitespaceBehavior>& whitespaceBehavior() const;

    // The root element.
    BKXMLElement rootElement() const;
    // The element on top of the stack (the root when nothing is pushed).
    BKXMLElement topElement() const;
    // The number of elements on the stack, root included.
    std::size_t stackDepth() const;

    // Appends a new child element to the top and makes it the top; answers it.
    BKXMLElement pushElement(std::string_view name);
    // Makes the parent of the top the top. Popping the root does nothing, logs, and
    // answers false.
    bool popElement();
    // Pushes `name`, calls `fill(*this)` to write its contents, pops; answers the element.
    template <class Fill>
    BKXMLElement addElementChildBlock(std::string_view name, Fill&& fill) {
        BKXMLElement element = pushElement(name);
        fill(*this);
        popElement();
        return element;
    }

    // Leaves of the top element; each answers the new element for attributes.
    BKXMLElement appendElement(std::string_view name);
    BKXMLElement appendElementContainingString(std::string_view name, std::string_view text);
    BKXMLElement appendElementContainingInteger(std::string_view name, std::int64_t value);
    // A single-precision number, as setAttributeReal writes it.
    BKXMLElement appendElementContainingReal(std::string_view name, float value);
    BKXMLElement appendElementContainingDouble(std::string_view name, double value);
    // The platform date's XML string.
    BKXMLElement appendElementContainingDate(std::string_view name, KSDate date);
    // Appends a text child to the top element.
    void appendString(std::string_view text);

    // Attributes of the top element (see BKXMLElement).
    void setAttributeString(std::string_view name, std::string_view value);
    void setAttributeInteger(std::string_view name, std::int64_t value);
    void setAttributeReal(std::string_view name, float value);
    void setAttributeDouble(std::string_view name, double value);

    // Objects that writers hand each other ("base-url"); a null object removes the key.
    void setUserObjectForKey(const KSValue& object, std::string_view key);
    KSValue userObjectForKey(std::string_view key) const;

    // A cursor inside the root element.
    BKXMLCursor cursor() const;

    // The document as UTF-8 bytes with an XML declaration. Elements marked to be written
    // only when referenced, and not referenced, are removed from the document first.
    // Null, with an error, only if writing fails.
    std::optional<KSData> xmlData(KSError* error);

    // --- The layer's own bookkeeping ----------------------------------------------------
    // Whether whitespace-only text may be layout to pass over somewhere in the document.
    bool hidesWhitespace() const { return hidesWhitespace_; }
    // Whether whitespace-only text directly inside `element` is layout (the handling of
    // its nearest ruled ancestor-or-self, else the default, is Ignore).
    bool isIgnoringWhitespaceIn(pugi::xml_node_struct* element) const;
    bool isIgnoredNode(pugi::xml_node_struct* node) const {
        return hasIgnorableElements_ && isIgnoredSlow(node);
    }
    void setNodeIgnoreUnlessReferenced(pugi::xml_node_struct* node, bool ignore);
    void markNodeAsReferenced(pugi::xml_node_struct* node);
    // Elements report what their changes add to the written size (in bytes, before
    // escaping), so that `xmlData` reserves its buffer once.
    void noteWrittenSizeChange(std::ptrdiff_t bytes) { writtenSizeEstimate_ += bytes; }

private:
    struct Impl;
    BKXMLDocument();
    bool isIgnoredSlow(pugi::xml_node_struct* node) const;
    bool finishParsing(std::size_t dataSize, const KSData* original, KSError* error);
    void removeUnreferencedElements();

    std::unique_ptr<Impl> impl_;
    std::ptrdiff_t writtenSizeEstimate_ = 0;
    bool hasIgnorableElements_ = false;
    bool hidesWhitespace_ = false;
};

}  // namespace kestrum
