// Fuzz target of the XML layer: parse arbitrary bytes, walk the document with a cursor
// and the value helpers the readers use, and check these invariants:
//   - a parsed document, written and parsed again, writes the same bytes again;
//   - any bytes written as text and as an attribute read back as the same text, less
//     only what XML 1.0 cannot hold; used as element and attribute names, they are made
//     into names that read back as the writer was told;
//   - the written bytes' buffer holds little more than they take.
// Built with libFuzzer under the "fuzz" preset, and with a small replay driver for the
// smoke run of the normal test suite.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "Platform/core/KSLog.h"
#include "Platform/xml/BKObject.h"
#include "Platform/xml/BKXMLDictionary.h"
#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLFunctions.h"

namespace {

using namespace kestrum;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "xml_parse_walk: invariant broken: %s\n", what);
    std::abort();
}

std::shared_ptr<const BKXMLWhitespaceBehavior> fuzzBehavior() {
    static const auto behavior = [] {
        auto b = std::make_shared<BKXMLWhitespaceBehavior>();
        b->setBehaviorForElementName(BKXMLWhitespaceIgnore, "scenario");
        b->setBehaviorForElementName(BKXMLWhitespacePreserve, "lit");
        return b;
    }();
    return behavior;
}

// Visits every node in document order through the cursor alone, using the helpers on
// each element the way element readers do.
void walk(BKXMLDocument& document) {
    auto helper = std::make_shared<BKObject>();
    BKXMLCursor cursor = document.cursor();
    for (;;) {
        BKXMLNode node = cursor.nextChild();
        if (node.isNull()) {
            if (!cursor.closeElement()) break;
            continue;
        }
        if (!node.isElement()) continue;
        BKXMLElement element = node.element();
        (void)BKCharacterDataFromElement(element);
        for (const auto& attribute : element.attributes())
            (void)attribute;
        if (!cursor.openElement()) fail("an element could not be opened");
        helper->readBoolFromCursorAttributeName(cursor, "flag");
        helper->readFloatFromCursorAttributeName(cursor, "units");
        BKObject::idFromCursorAttributeNamePrefix(cursor, "idref", "t");
        KSReadRectFromCursor(cursor);
    }
    if (cursor.depth() != 0) fail("the walk ended inside an element");
}

// Reads the root's content as the positional readers and the dictionary form would.
void readPositionally(BKXMLDocument& document) {
    auto helper = std::make_shared<BKObject>();
    BKXMLCursor cursor = document.cursor();
    helper->readStringStoringWithKeyFromCursorElementName("", cursor, "title");
    helper->readIntegerNumberFromCursorElementName("", cursor, "next-task-id");
    helper->readFloatNumberFromCursorElementName("", cursor, "effort");
    helper->readDoubleNumberFromCursorElementName("", cursor, "minimum-split-duration");
    helper->readBoolFromCursorElementName("", cursor, "publish-on-save");
    BKObject::readPlatformDateFromCursorElementName(cursor, "start-date");
    KSDictionary dictionary;
    BKXMLDictionary::readContentsXML(dictionary, cursor, nullptr);
    while (BKXMLElement next = SkipToNextChildElement(cursor)) {
        KSValue value = BKXMLDictionary::readValueXMLForElement(cursor, next);
        if (value.isNull() && SkipToNextChildElement(cursor) == next) cursor.nextChild();
    }
}

void checkRewriteIsStable(BKXMLDocument& document) {
    std::optional<KSData> once = document.xmlData(nullptr);
    if (!once) fail("a parsed document could not be written");
    KSError error;
    auto again = BKXMLDocument::documentWithData(*once, fuzzBehavior(), &error);
    if (!again) fail("a written document could not be parsed");
    std::optional<KSData> twice = again->xmlData(nullptr);
    if (!twice || *twice != *once) fail("writing a re-read document changed its bytes");
}

void checkTextRoundTrip(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    KSError error;
    auto document = BKXMLDocument::documentWithRootElementName("r", "", nullptr,
                                                               BKXMLStringEncodingUTF8, &error);
    document->rootElement().setAttributeString("a", text);
    document->appendString(text);
    // The same bytes as names: whatever they are, they are made into names a reader takes.
    BKXMLElement named = document->rootElement().appendElement(text);
    named.setAttributeString(text, "v");
    const std::string elementName(named.name());
    const std::string attributeName(named.attributes().at(0).first);
    std::optional<KSData> bytes = document->xmlData(&error);
    if (!bytes) fail("text could not be written");
    // The buffer is reserved from the document's size estimate and grows by a quarter when
    // escapes outgrow it: it never holds much more than it was written.
    if (bytes->capacity() > bytes->size() + bytes->size() / 4 + 65536) fail("buffer too large");
    auto read = BKXMLDocument::documentWithData(std::move(*bytes), nullptr, &error);
    if (!read) fail("written text made the document unreadable");
    const std::string expected = BKXMLStringByRemovingInvalidCharacters(text);
    if (BKCharacterDataFromElement(read->rootElement()) != expected) fail("text changed");
    if (read->rootElement().attributeNamed("a").value_or("<none>") != expected) {
        fail("attribute changed");
    }
    BKXMLElement readNamed = read->rootElement().firstChildNamed(elementName);
    if (!readNamed) fail("an element name changed");
    if (readNamed.attributeNamed(attributeName).value_or("<none>") != "v") {
        fail("an attribute name changed");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool quiet = [] {
        KSSetLogHook([](const std::string&) {});
        return true;
    }();
    (void)quiet;
    KSData bytes(data, data + size);
    KSError error;
    auto document = BKXMLDocument::documentWithData(bytes, fuzzBehavior(), &error);
    if (!document) {
        if (!error.isSet() || error.domain() != KSXMLErrorDomain) fail("failure without an error");
    } else {
        walk(*document);
        readPositionally(*document);
        checkRewriteIsStable(*document);
    }
    if (size <= 4096) checkTextRoundTrip(data, size);
    return 0;
}
