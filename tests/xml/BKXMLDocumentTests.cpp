// Building, writing and parsing documents: structure, attributes, text fidelity, elements
// written only when referenced, and bad input.
#include <gtest/gtest.h>

#include "Platform/core/KSLog.h"
#include "Platform/xml/BKXMLComment.h"
#include "Platform/xml/BKXMLFunctions.h"
#include "XMLTestSupport.h"

namespace kestrum {
namespace {

using namespace xmltest;

TEST(BKXMLDocumentBuilding, PushPopAndLeavesFormTheTreeInWritingOrder) {
    auto document = newDocument("project");
    EXPECT_EQ(document->stackDepth(), 1u);
    document->appendElementContainingString("title", "Plan & <Build>");
    document->pushElement("leveling");
    EXPECT_EQ(document->topElement().name(), "leveling");
    document->appendElement("updates-selected-tasks");
    document->appendElementContainingDouble("minimum-split-duration", 0.1);
    EXPECT_TRUE(document->popElement());
    document->appendElementContainingInteger("next-task-id", -12);
    document->appendElementContainingReal("units", 0.1f);
    document->appendElementContainingDate("start-date", KSDate{0.0});
    EXPECT_EQ(document->topElement(), document->rootElement());

    EXPECT_EQ(serialized(*document),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<project><title>Plan &amp; &lt;Build&gt;</title><leveling><updates-selected-tasks/>"
              "<minimum-split-duration>0.1</minimum-split-duration></leveling>"
              "<next-task-id>-12</next-task-id><units>0.1</units>"
              "<start-date>2001-01-01T00:00:00Z</start-date></project>\n");
}

TEST(BKXMLDocumentBuilding, PoppingTheRootIsRefusedWithALogLine) {
    auto document = newDocument();
    KSLogCapture log;
    EXPECT_FALSE(document->popElement());
    EXPECT_EQ(document->stackDepth(), 1u);
    EXPECT_TRUE(log.contains("popElement"));
}

TEST(BKXMLDocumentBuilding, AddElementChildBlockWritesInsideTheNewElement) {
    auto document = newDocument();
    BKXMLElement block = document->addElementChildBlock(
        "dict", [](BKXMLDocument& d) { d.appendElementContainingString("key", "a"); });
    EXPECT_EQ(document->stackDepth(), 1u);
    EXPECT_EQ(BKCharacterDataFromElement(block.firstChildNamed("key")), "a");
}

TEST(BKXMLDocumentBuilding, RejectsEmptyRootNameAndOtherEncodings) {
    KSError error;
    EXPECT_FALSE(BKXMLDocument::documentWithRootElementName("", "", nullptr,
                                                            BKXMLStringEncodingUTF8, &error));
    EXPECT_EQ(error.code(), BKXMLErrorInvalidName);
    EXPECT_FALSE(BKXMLDocument::documentWithRootElementName("a", "", nullptr,
                                                            BKXMLStringEncodingASCII, &error));
    EXPECT_EQ(error.domain(), KSXMLErrorDomain);
    EXPECT_EQ(error.code(), BKXMLErrorUnsupportedEncoding);
}

TEST(BKXMLDocumentBuilding, NamespaceIsKeptButWrittenOnlyAsAnExplicitAttribute) {
    auto document = newDocument("scenario");
    EXPECT_EQ(document->namespaceURL(), "http://example.invalid/namespace/Kestrum/v2");
    EXPECT_EQ(serialized(*document).find("xmlns"), std::string::npos);
    document->setAttributeString("xmlns", document->namespaceURL());
    EXPECT_NE(serialized(*document).find("<scenario xmlns=\"http://example.invalid/"),
              std::string::npos);
}

TEST(BKXMLDocumentBuilding, UserObjectsAreKeptForWriters) {
    auto document = newDocument();
    document->setUserObjectForKey(KSValue("file:///plans/a.plan"), "base-url");
    EXPECT_EQ(document->userObjectForKey("base-url").asString(), "file:///plans/a.plan");
    EXPECT_TRUE(document->userObjectForKey("other").isNull());
    document->setUserObjectForKey(KSValue(), "base-url");
    EXPECT_TRUE(document->userObjectForKey("base-url").isNull());
}

TEST(BKXMLElementAttributes, KeepWritingOrderReplaceInPlaceAndRemove) {
    auto document = newDocument();
    BKXMLElement element = document->pushElement("scenario");
    element.setAttributeString("id", "p1");
    element.setAttributeString("name", "Actual");
    element.setAttributeInteger("count", 3);
    element.setAttributeString("id", "p2");
    using Pairs = std::vector<std::pair<std::string_view, std::string_view>>;
    EXPECT_EQ(element.attributes(), (Pairs{{"id", "p2"}, {"name", "Actual"}, {"count", "3"}}));
    EXPECT_TRUE(element.removeAttributeNamed("name"));
    EXPECT_FALSE(element.removeAttributeNamed("name"));
    EXPECT_EQ(element.attributes(), (Pairs{{"id", "p2"}, {"count", "3"}}));
    EXPECT_FALSE(element.attributeNamed("name").has_value());
    element.setAttributeString("empty", "");
    ASSERT_TRUE(element.attributeNamed("empty").has_value());
    EXPECT_EQ(*element.attributeNamed("empty"), "");
}

TEST(BKXMLElementAttributes, NumbersUseShortestRoundTripTextIndependentOfLocale) {
    auto document = newDocument();
    BKXMLElement element = document->rootElement();
    element.setAttributeReal("real", 0.1f);
    element.setAttributeDouble("double", 0.1);
    element.setAttributeDouble("widened", static_cast<double>(0.1f));
    element.setAttributeDouble("big", 1e21);
    EXPECT_EQ(*element.attributeNamed("real"), "0.1");
    EXPECT_EQ(*element.attributeNamed("double"), "0.1");
    EXPECT_EQ(*element.attributeNamed("widened"), "0.10000000149011612");
    EXPECT_EQ(*element.attributeNamed("big"), "1e+21");
}

TEST(BKXMLTextFidelity, LineBreaksTabsAndCarriageReturnsSurviveInAttributesAndText) {
    const std::string tricky = "a\tb\nc\rd\r\ne  \"q\" 'a' <&>";
    auto document = newDocument();
    document->pushElement("item");
    document->setAttributeString("note", tricky);
    document->appendString(tricky);
    document->popElement();
    auto copy = roundTrip(*document);
    ASSERT_TRUE(copy);
    BKXMLElement item = copy->rootElement().firstChildNamed("item");
    EXPECT_EQ(*item.attributeNamed("note"), tricky);
    EXPECT_EQ(BKCharacterDataFromElement(item), tricky);
}

TEST(BKXMLTextFidelity, TextXMLCannotHoldNeverMakesTheFileUnreadable) {
    // Control characters are dropped; malformed UTF-8 becomes U+FFFD; names are repaired.
    const std::string bad =
        std::string("x\x01y\x1Fz\x0B") + "\xC3\x28" + "\xEF\xBF\xBE" + "\xED\xA0\x80" + "ok";
    const std::string expected =
        std::string("xyz") + "\xEF\xBF\xBD(" + "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD" + "ok";
    auto document = newDocument();
    KSLogCapture log;
    BKXMLElement element = document->appendElementContainingString("9 bad name", bad);
    element.setAttributeString("a\x01ttr", bad);
    document->topElement().appendChild(BKXMLComment(bad));
    EXPECT_EQ(element.name(), "_9_bad_name");
    EXPECT_TRUE(log.contains("Invalid XML name"));
    auto copy = roundTrip(*document);
    ASSERT_TRUE(copy);
    BKXMLElement read = copy->rootElement().firstChildNamed("_9_bad_name");
    EXPECT_EQ(BKCharacterDataFromElement(read), expected);
    EXPECT_EQ(read.attributeNamed("attr").value_or("<none>"), expected);  // control dropped
    EXPECT_EQ(BKXMLStringByRemovingInvalidCharacters("plain\ttext"), "plain\ttext");
}

TEST(BKXMLTextFidelity, DoubleHyphensInCommentsDoNotBreakTheDocument) {
    auto document = newDocument();
    document->appendString("\n");
    document->topElement().appendChild(BKXMLComment("a -- b --> c -"));
    document->appendElementContainingString("after", "x");
    std::string text = serialized(*document);
    EXPECT_NE(text.find("<!--"), std::string::npos);
    auto copy = roundTrip(*document);
    ASSERT_TRUE(copy);
    EXPECT_EQ(BKCharacterDataFromElement(copy->rootElement().firstChildNamed("after")), "x");
    for (BKXMLNode child : copy->rootElement().children())
        EXPECT_FALSE(child.isComment());
}

TEST(BKXMLElementTree, ChildrenLastChildParentAndCopies) {
    auto document = newDocument();
    BKXMLElement list = document->pushElement("list");
    document->appendElementContainingString("a", "1");
    document->appendString("tail");
    document->popElement();
    EXPECT_EQ(list.parent(), document->rootElement());
    EXPECT_FALSE(document->rootElement().parent());
    EXPECT_EQ(list.lastChild().string(), "tail");
    EXPECT_FALSE(list.firstChildNamed("missing"));

    auto other = newDocument("other");
    BKXMLElement copy = other->rootElement().appendChild(list);
    EXPECT_NE(copy, list);
    EXPECT_EQ(BKCharacterDataFromElement(copy.firstChildNamed("a")), "1");
    EXPECT_EQ(BKCharacterDataFromElement(copy), "tail");
}

TEST(BKXMLIgnoreUnlessReferenced, UnreferencedElementsDisappearOnWriting) {
    auto document = newDocument();
    BKXMLElement unused = document->pushElement("page-adornment");
    unused.setIgnoreUnlessReferenced(true);
    document->setAttributeDouble("header-top-margin", 18.0);
    document->popElement();
    BKXMLElement used = document->pushElement("page-adornment");
    used.setIgnoreUnlessReferenced(true);
    BKXMLElement inner = document->pushElement("odd-page-headers");
    inner.setIgnoreUnlessReferenced(true);
    BKXMLElement header = document->appendElementContainingString("header", "Title");
    document->popElement();
    document->popElement();
    EXPECT_TRUE(unused.shouldIgnore());
    EXPECT_TRUE(used.shouldIgnore());
    header.markAsReferenced();  // marks both flagged ancestors
    EXPECT_FALSE(used.shouldIgnore());
    EXPECT_FALSE(inner.shouldIgnore());

    std::string text = serialized(*document);
    EXPECT_EQ(text.find("header-top-margin"), std::string::npos);
    EXPECT_NE(text.find("<page-adornment><odd-page-headers><header>Title</header>"),
              std::string::npos);
}

TEST(BKXMLIgnoreUnlessReferenced, NestedUnreferencedElementsGoWithTheirParent) {
    auto document = newDocument();
    BKXMLElement outer = document->pushElement("outer");
    outer.setIgnoreUnlessReferenced(true);
    document->pushElement("inner").setIgnoreUnlessReferenced(true);
    document->popElement();
    document->popElement();
    document->appendElement("kept");
    EXPECT_EQ(serialized(*document),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root><kept/></root>\n");
}

struct MalformedCase {
    const char* name;
    const char* text;
    long code;
};

class BKXMLDocumentBadInput : public ::testing::TestWithParam<MalformedCase> {};

TEST_P(BKXMLDocumentBadInput, AnswersNullWithAnErrorNamingThePlace) {
    KSError error;
    auto document =
        BKXMLDocument::documentWithData(bytesOf(GetParam().text), scenarioBehavior(), &error);
    EXPECT_FALSE(document);
    EXPECT_EQ(error.domain(), KSXMLErrorDomain);
    EXPECT_EQ(error.code(), GetParam().code);
    EXPECT_NE(error.localizedDescription().find("The XML data could not be read"),
              std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BKXMLDocumentBadInput,
    ::testing::Values(MalformedCase{"Empty", "", BKXMLErrorNoRootElement},
                      MalformedCase{"Blank", " \n\t", BKXMLErrorNoRootElement},
                      MalformedCase{"Truncated", "<root><task id=\"t1\"><title>Ab",
                                    BKXMLErrorMalformed},
                      MalformedCase{"Mismatch", "<root><a></b></root>", BKXMLErrorMalformed},
                      MalformedCase{"BadAttribute", "<root a=1/>", BKXMLErrorMalformed},
                      MalformedCase{"TwoRoots", "<root/><root/>", BKXMLErrorContentOutsideRoot},
                      MalformedCase{"TrailingText", "<root/>junk", BKXMLErrorContentOutsideRoot},
                      MalformedCase{"LeadingText", "junk<root/>", BKXMLErrorContentOutsideRoot}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(BKXMLDocumentParsing, ErrorsGiveLineAndColumnOrByteOffset) {
    const std::string text = "<root>\n  <a>\n  </b>\n</root>";
    const KSData kept = bytesOf(text);
    KSError error;
    EXPECT_FALSE(BKXMLDocument::documentWithData(kept, nullptr, &error));
    EXPECT_EQ(error.userInfo().objectForKey(BKXMLErrorLineKey).intValue(), 3);
    EXPECT_NE(error.localizedDescription().find("line 3"), std::string::npos);

    KSError inPlace;
    EXPECT_FALSE(BKXMLDocument::documentWithData(KSData(bytesOf(text)), nullptr, &inPlace));
    EXPECT_TRUE(inPlace.userInfo().objectForKey(BKXMLErrorOffsetKey).isInteger());
    EXPECT_NE(inPlace.localizedDescription().find("at byte"), std::string::npos);
}

TEST(BKXMLDocumentParsing, InPlaceAndCopyingParsesReadTheSame) {
    const std::string text = "<?xml version=\"1.0\"?>\n<root a=\"1\"><b>x &amp; y</b></root>";
    auto copying = parse(text);
    KSError error;
    auto inPlace = BKXMLDocument::documentWithData(KSData(bytesOf(text)), nullptr, &error);
    ASSERT_TRUE(copying && inPlace);
    EXPECT_EQ(serialized(*copying), serialized(*inPlace));
    EXPECT_EQ(BKCharacterDataFromElement(inPlace->rootElement().firstChildNamed("b")), "x & y");
}

TEST(BKXMLDocumentParsing, EntitiesAreNotExpandedFromADocumentTypeDeclaration) {
    auto document = parse("<!DOCTYPE r [<!ENTITY e 'expanded'>]><r>&e;</r>");
    ASSERT_TRUE(document);
    EXPECT_EQ(BKCharacterDataFromElement(document->rootElement()), "&e;");
}

TEST(BKXMLDocumentParsing, WritingAParsedDocumentAgainGivesTheSameBytes) {
    auto document = parse("<root>\n  <a x=\"1&#9;2\">t&#13;u</a>\n  <lit>  keep  </lit>\n</root>",
                          scenarioBehavior());
    ASSERT_TRUE(document);
    std::string once = serialized(*document);
    auto again = roundTrip(*document);
    ASSERT_TRUE(again);
    EXPECT_EQ(serialized(*again), once);
    // The layout is written back as it was read, and still read as layout.
    EXPECT_EQ(once,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<root>\n  <a x=\"1&#09;2\">t&#13;u</a>\n  <lit>  keep  </lit>\n</root>\n");
    std::vector<std::string> names;
    for (BKXMLNode child : again->rootElement().children()) {
        names.push_back(std::string(child.element().name()));
    }
    EXPECT_EQ(names, (std::vector<std::string>{"a", "lit"}));
}

}  // namespace
}  // namespace kestrum
