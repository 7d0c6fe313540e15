// The layer's fast paths must agree with the careful ones they stand in front of: text
// checked eight bytes at a time, names checked by table, whole numbers written without
// the general algorithm, the output buffer reserved from a running size estimate, and
// whitespace rules looked up once per element by the cursor.
#include <gtest/gtest.h>

#include "Platform/core/KSLog.h"
#include "Platform/core/KSNumberText.h"
#include "Platform/xml/BKObject.h"
#include "Platform/xml/BKXMLComment.h"
#include "Platform/xml/BKXMLDictionary.h"
#include "Platform/xml/BKXMLFunctions.h"
#include "XMLTestSupport.h"

namespace kestrum {
namespace {

using namespace xmltest;

const std::string kPlain = "The quick brown fox jumps";  // 25 bytes: three words and a tail

TEST(BKXMLTextFastPath, ABadByteIsFoundWhereverItStandsInTheText) {
    for (std::size_t at = 0; at <= kPlain.size(); ++at) {
        std::string text = kPlain;
        text.insert(at, 1, '\x02');
        EXPECT_EQ(BKXMLStringByRemovingInvalidCharacters(text), kPlain) << "control at " << at;
        text[at] = '\n';
        EXPECT_EQ(BKXMLStringByRemovingInvalidCharacters(text), text) << "line feed at " << at;
        text.replace(at, 1, "\xC3\xA9");  // é
        EXPECT_EQ(BKXMLStringByRemovingInvalidCharacters(text), text) << "é at " << at;
        text.replace(at, 2, "\xC3");  // a lead byte without its continuation
        std::string repaired = kPlain;
        repaired.insert(at, "\xEF\xBF\xBD");
        EXPECT_EQ(BKXMLStringByRemovingInvalidCharacters(text), repaired) << "malformed at " << at;
    }
}

TEST(BKXMLTextFastPath, PlainRunsAroundRepairsAreKeptWhole) {
    const std::string text = kPlain + "\x01" + kPlain + "\xEF\xBF\xBF" + kPlain + "\x7F" + "\xFF";
    EXPECT_EQ(BKXMLStringByRemovingInvalidCharacters(text),
              kPlain + kPlain + kPlain + "\x7F" + "\xEF\xBF\xBD");
    auto document = newDocument();
    BKXMLElement element = document->appendElementContainingString("note", text);
    element.setAttributeString("text", text);
    auto copy = roundTrip(*document);
    ASSERT_TRUE(copy);
    BKXMLElement read = copy->rootElement().firstChildNamed("note");
    EXPECT_EQ(BKCharacterDataFromElement(read), BKXMLStringByRemovingInvalidCharacters(text));
    EXPECT_EQ(read.attributeNamed("text").value_or(""),
              BKXMLStringByRemovingInvalidCharacters(text));
}

TEST(BKXMLNameFastPath, PlainNamesPassAndOthersAreRepairedWhereverTheFaultStands) {
    auto document = newDocument();
    KSLogCapture log;
    BKXMLElement root = document->rootElement();
    EXPECT_EQ(root.appendElement("start-date.v2_x:y").name(), "start-date.v2_x:y");
    EXPECT_EQ(root.appendElement("t\xC3\xA2"
                                 "che")
                  .name(),
              "t\xC3\xA2"
              "che");
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(root.appendElement("9-lives").name(), "_9-lives");
    EXPECT_EQ(root.appendElement("-x").name(), "_-x");
    EXPECT_EQ(root.appendElement("resource allocation").name(), "resource_allocation");
    EXPECT_EQ(root.appendElement("lastbyte=").name(), "lastbyte_");
    root.setAttributeString("a b", "1");
    EXPECT_EQ(root.attributeNamed("a_b").value_or(""), "1");
    EXPECT_EQ(log.lines().size(), 5u);
}

TEST(BKXMLNumberFastPath, WholeNumbersReadAsTheGeneralShortestText) {
    // Around the point where the scientific form gets shorter ("1e+05" beats "100000",
    // "10000" ties and keeps its digits), negatives, and values the general path takes.
    const double values[] = {1,
                             -1,
                             28800,
                             57600,
                             10000,
                             100000,
                             -100000,
                             144000,
                             1e6,
                             1.5e6,
                             1234567,
                             1e14,
                             999999999999999,
                             1e15,
                             1e16,
                             1e21,
                             0,
                             -0.0,
                             0.5,
                             0.1,
                             -2.25,
                             3600 * 40.0,
                             9007199254740993.0};
    auto document = newDocument();
    for (double value : values) {
        BKXMLElement element = document->appendElementContainingDouble("n", value);
        element.setAttributeDouble("v", value);
        EXPECT_EQ(BKCharacterDataFromElement(element), KSStringFromDouble(value)) << value;
        EXPECT_EQ(element.attributeNamed("v").value_or(""), KSStringFromDouble(value)) << value;
    }
    EXPECT_EQ(*document->rootElement().firstChildNamed("n").attributeNamed("v"), "1");
}

TEST(BKXMLElementTextFastPath, ReadersTakeOneRunInPlaceAndJoinSplitText) {
    auto document = parse(
        "<root><n>12<![CDATA[34]]></n><one>56</one><d>2001-01-01T00:00:<![CDATA[07Z]]></d>"
        "<s>a<x/>b</s><dict><key>k<![CDATA[ey]]></key><integer>7<![CDATA[8]]></integer></dict>"
        "</root>");
    ASSERT_TRUE(document);
    auto reader = std::make_shared<BKObject>();
    BKXMLCursor cursor = document->cursor();
    EXPECT_EQ(reader->readIntegerNumberFromCursorElementName("", cursor, "n").intValue(), 1234);
    EXPECT_EQ(reader->readIntegerNumberFromCursorElementName("", cursor, "one").intValue(), 56);
    std::optional<KSValue> date = BKObject::readPlatformDateFromCursorElementName(cursor, "d");
    ASSERT_TRUE(date && date->isDate());
    EXPECT_EQ(date->asDate().timeIntervalSinceReferenceDate, 7.0);
    EXPECT_EQ(reader->readStringStoringWithKeyFromCursorElementName("", cursor, "s").asString(),
              "ab");
    ASSERT_TRUE(cursor.openNextChildElementNamed("dict"));
    KSDictionary dictionary;
    BKXMLDictionary::readContentsXML(dictionary, cursor, nullptr);
    EXPECT_EQ(dictionary.objectForKey("key").intValue(), 78);
}

// Capacity beyond the bytes written is memory the caller holds for nothing.
void expectReservedOnce(const KSData& data) {
    EXPECT_GE(data.capacity(), data.size());
    EXPECT_LE(data.capacity(), data.size() + data.size() / 128 + 256 + 64);
}

TEST(BKXMLWriting, TheBufferIsReservedOnceAtTheDocumentsSize) {
    auto document = newDocument();
    for (int i = 0; i < 300; ++i) {
        BKXMLElement task = document->pushElement("task");
        task.setAttributeString("id", "t" + std::to_string(i));
        task.setAttributeString("note", "a longer value, replaced next");
        task.setAttributeString("note", "short");
        task.setAttributeString("gone", "removed again");
        task.removeAttributeNamed("gone");
        document->appendElementContainingString("title", "Task " + std::to_string(i));
        document->appendElement("empty").setAttributeDouble("units", 0.5);
        if (i == 0) document->topElement().appendChild(BKXMLComment("a comment"));
        BKXMLElement unused = document->pushElement("unused");
        unused.setIgnoreUnlessReferenced(true);
        document->appendElementContainingInteger("count", i);
        document->popElement();
        document->popElement();
    }
    auto other = newDocument("other");
    other->rootElement().appendChild(document->rootElement().firstChildNamed("task"));

    std::optional<KSData> data = document->xmlData(nullptr);
    ASSERT_TRUE(data);
    EXPECT_EQ(textOf(*data).find("unused"), std::string::npos);
    expectReservedOnce(*data);
    std::optional<KSData> copied = other->xmlData(nullptr);
    ASSERT_TRUE(copied);
    expectReservedOnce(*copied);
    // A parsed document is expected to come to the size it was read from (less its comments).
    auto parsed = BKXMLDocument::documentWithData(*data, nullptr, nullptr);
    ASSERT_TRUE(parsed);
    std::optional<KSData> again = parsed->xmlData(nullptr);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->size(), data->size() - std::string_view("<!--a comment-->").size());
    expectReservedOnce(*again);
}

TEST(BKXMLWriting, TextFullOfEscapesOutgrowsTheEstimateAndIsWrittenWhole) {
    const std::string text = std::string(5000, '&') + std::string(3000, '\r') + "<end>";
    auto document = newDocument();
    BKXMLElement element = document->appendElementContainingString("text", text);
    element.setAttributeString("attribute", std::string(2000, '"') + "\t\n");
    auto copy = roundTrip(*document);
    ASSERT_TRUE(copy);
    BKXMLElement read = copy->rootElement().firstChildNamed("text");
    EXPECT_EQ(BKCharacterDataFromElement(read), text);
    EXPECT_EQ(read.attributeNamed("attribute").value_or(""), std::string(2000, '"') + "\t\n");
}

TEST(BKXMLCursorWhitespace, EachElementReadsWithItsOwnRuleAfterEveryOpenAndClose) {
    auto document = parse(
        "<root>\n  <lit>  <b> </b>  </lit>\n  <a>\n    <lit>   </lit>\n  </a>\n  <lit/>\n</root>",
        scenarioBehavior());
    ASSERT_TRUE(document);
    BKXMLCursor cursor = document->cursor();
    std::string events;
    for (;;) {
        BKXMLNode node = cursor.nextChild();
        if (node.isNull()) {
            if (!cursor.closeElement()) break;
            events += ")";
        } else if (node.isElement()) {
            events += std::string(node.element().name()) + "(";
            cursor.openElement();
        } else {
            events += "'" + std::string(node.string()) + "'";
        }
    }
    EXPECT_EQ(events, "lit('  'b(' ')'  ')a(lit('   '))lit()");
}

}  // namespace
}  // namespace kestrum
