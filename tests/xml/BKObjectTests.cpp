// The value helpers of BKObject: every reader and writer with and without a key, the
// three boolean forms, number precision, dates, ids, rectangles and positional reading.
#include <gtest/gtest.h>

#include <cmath>

#include "Platform/core/KSLog.h"
#include "Platform/core/KSNumberText.h"
#include "Platform/xml/BKXMLFunctions.h"
#include "TestRecord.h"
#include "XMLTestSupport.h"

namespace kestrum {
namespace {

using namespace xmltest;

class BKObjectHelpers : public ::testing::Test {
protected:
    // Parses `body` inside <root> with the scenario behaviour and answers a cursor on it.
    BKXMLCursor cursorOn(const std::string& body) {
        document_ = parse("<root" + attributes_ + ">" + body + "</root>", scenarioBehavior());
        return document_->cursor();
    }
    std::shared_ptr<TestRecord> record_ = std::make_shared<TestRecord>();
    std::string attributes_;
    std::unique_ptr<BKXMLDocument> document_;
};

TEST_F(BKObjectHelpers, StringReaderStoresThroughTheSetterAndAnswersTheKeyedValue) {
    BKXMLCursor cursor = cursorOn("\n <title>Design &amp; build</title><other>x</other>");
    KSValue answer =
        record_->readStringStoringWithKeyFromCursorElementName("title", cursor, "title");
    EXPECT_EQ(answer.asString(), "Design & build");
    EXPECT_EQ(record_->title(), "Design & build");
    EXPECT_EQ(record_->titleSetCount, 1);
    // Unkeyed: answers the text only; another name answers null and leaves the cursor.
    EXPECT_TRUE(
        record_->readStringStoringWithKeyFromCursorElementName("", cursor, "title").isNull());
    EXPECT_EQ(SkipToNextChildElement(cursor).name(), "other");
    EXPECT_EQ(
        record_->readStringStoringWithKeyFromCursorElementName("", cursor, "other").asString(),
        "x");
}

TEST_F(BKObjectHelpers, AnElementOutOfPlaceStopsEveryFollowingHelperAtThisLevel) {
    BKXMLCursor cursor = cursorOn("<surprise/><title>T</title><effort>5</effort>");
    EXPECT_TRUE(
        record_->readStringStoringWithKeyFromCursorElementName("title", cursor, "title").isNull());
    EXPECT_TRUE(record_->readFloatNumberFromCursorElementName("effort", cursor, "effort").isNull());
    EXPECT_FALSE(record_->readBoolFromCursorElementName("flag", cursor, "flag"));
    EXPECT_EQ(record_->title(), "");
    EXPECT_EQ(record_->effort(), 0.0);
    EXPECT_EQ(SkipToNextChildElement(cursor).name(), "surprise");
}

TEST_F(BKObjectHelpers, BooleanElementsAreTrueWhenEmptyTrueOrOne) {
    BKXMLCursor cursor = cursorOn("<a/><b>true</b><c>1</c><d>yes</d><e>TRUE</e><f>\n</f>");
    EXPECT_TRUE(record_->readBoolFromCursorElementName("", cursor, "a"));
    EXPECT_TRUE(record_->readBoolFromCursorElementName("", cursor, "b"));
    EXPECT_TRUE(record_->readBoolFromCursorElementName("flag", cursor, "c"));
    EXPECT_TRUE(record_->flag());
    EXPECT_FALSE(record_->readBoolFromCursorElementName("flag", cursor, "d"));
    EXPECT_FALSE(record_->flag());
    EXPECT_FALSE(record_->readBoolFromCursorElementName("", cursor, "e"));
    EXPECT_TRUE(record_->readBoolFromCursorElementName("", cursor, "f"));  // layout only
    EXPECT_FALSE(record_->readBoolFromCursorElementName("", cursor, "missing"));
}

TEST_F(BKObjectHelpers, BooleanAttributesCompareWithTrueOrOneButKeyedStoresTheText) {
    attributes_ = " a=\"true\" b=\"1\" c=\"yes\" d=\"false\"";
    BKXMLCursor cursor = cursorOn("");
    EXPECT_TRUE(record_->readBoolFromCursorAttributeName(cursor, "a"));
    EXPECT_TRUE(record_->readBoolFromCursorAttributeName(cursor, "b"));
    EXPECT_FALSE(record_->readBoolFromCursorAttributeName(cursor, "c"));
    EXPECT_FALSE(record_->readBoolFromCursorAttributeName("", cursor, "c"));
    // Keyed, the raw text is stored: "yes" reads as true through the text's own reading.
    EXPECT_TRUE(record_->readBoolFromCursorAttributeName("flag", cursor, "c"));
    EXPECT_TRUE(record_->flag());
    EXPECT_FALSE(record_->readBoolFromCursorAttributeName("flag", cursor, "d"));
    EXPECT_FALSE(record_->flag());
    record_->setFlag(true);
    EXPECT_FALSE(record_->readBoolFromCursorAttributeName("flag", cursor, "missing"));
    EXPECT_TRUE(record_->flag());  // nothing stored
}

TEST_F(BKObjectHelpers, BooleanWritersWriteOnlyTrue) {
    auto document = newDocument();
    record_->writeBoolValueToDocumentAttributeName(false, *document, "off");
    record_->writeBoolValueToDocumentAttributeName(true, *document, "on");
    EXPECT_FALSE(record_->writeBoolDocumentElementName("flag", *document, "flag"));
    record_->setFlag(true);
    EXPECT_TRUE(record_->writeBoolDocumentElementName("flag", *document, "flag"));
    EXPECT_EQ(serialized(*document),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<root on=\"true\"><flag>true</flag></root>\n");
}

TEST_F(BKObjectHelpers, NumberReadersUseTheirPrecisionAndPrefixSemantics) {
    BKXMLCursor cursor = cursorOn(
        "<f>0.1</f><d>0.1</d><i>12abc</i><j>junk</j><empty/><k>3000000000</k><g>1.5e3x</g>");
    KSValue f = record_->readFloatNumberFromCursorElementName("effort", cursor, "f");
    EXPECT_EQ(f.asDouble(), static_cast<double>(0.1f));
    EXPECT_EQ(record_->effort(), static_cast<double>(0.1f));
    EXPECT_EQ(record_->readDoubleNumberFromCursorElementName("", cursor, "d").asDouble(), 0.1);
    KSValue i = record_->readIntegerNumberFromCursorElementName("count", cursor, "i");
    EXPECT_TRUE(i.isInteger());
    EXPECT_EQ(record_->count(), 12);
    EXPECT_EQ(record_->readIntegerNumberFromCursorElementName("", cursor, "j").asInteger(), 0);
    record_->setCount(7);
    EXPECT_TRUE(record_->readIntegerNumberFromCursorElementName("count", cursor, "empty").isNull());
    EXPECT_EQ(record_->count(), 7);  // an empty element stores nothing
    EXPECT_EQ(record_->readIntegerNumberFromCursorElementName("", cursor, "k").asInteger(),
              2147483647);
    EXPECT_EQ(record_->readDoubleNumberFromCursorElementName("", cursor, "g").asDouble(), 1500.0);
}

TEST_F(BKObjectHelpers, ADoubleSurvivesASaveOnlyAsFarAsAFloatCarriesIt) {
    auto document = newDocument();
    const double effort = 28800.123456789;
    document->appendElementContainingDouble("effort", effort);
    auto copy = roundTrip(*document);
    ASSERT_TRUE(copy);
    BKXMLCursor cursor = copy->cursor();
    record_->readFloatNumberFromCursorElementName("effort", cursor, "effort");
    EXPECT_EQ(record_->effort(), static_cast<double>(static_cast<float>(effort)));
    EXPECT_NE(record_->effort(), effort);
}

TEST_F(BKObjectHelpers, FloatAttributesRoundTripAndMissingReadsZero) {
    auto document = newDocument();
    record_->writeFloatValueToDocumentAttributeName(0.1f, *document, "units");
    record_->writeDoubleValueToDocumentAttributeName(1.0 / 3.0, *document, "ratio");
    auto copy = roundTrip(*document);
    ASSERT_TRUE(copy);
    BKXMLCursor cursor = copy->cursor();
    EXPECT_EQ(record_->readFloatFromCursorAttributeName(cursor, "units"), 0.1f);
    EXPECT_EQ(KSDoubleValueOfString(*cursor.attributeNamed("ratio")), 1.0 / 3.0);
    EXPECT_EQ(record_->readFloatFromCursorAttributeName(cursor, "missing"), 0.0f);
}

TEST_F(BKObjectHelpers, StringAndIntegerWritersSkipDefaults) {
    auto document = newDocument();
    EXPECT_FALSE(record_->writeStringDocumentElementName("title", *document, "title"));
    EXPECT_FALSE(record_->writeOptionalIntegerNumberDocumentElementName("count", *document, "n"));
    EXPECT_TRUE(record_->writeRequiredIntegerNumberDocumentElementName("count", *document, "n"));
    EXPECT_TRUE(
        record_->writeRequiredIntegerNumberDocumentElementName("anything", *document, "null"));
    record_->setTitle("T");
    record_->setCount(-4);
    EXPECT_TRUE(record_->writeStringDocumentElementName("title", *document, "title"));
    EXPECT_TRUE(record_->writeOptionalIntegerNumberDocumentElementName("count", *document, "m"));
    EXPECT_EQ(serialized(*document),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<root><n>0</n><null>0</null><title>T</title><m>-4</m></root>\n");
}

TEST_F(BKObjectHelpers, DataIsBase64AndAMissingValueWritesAnEmptyElement) {
    auto document = newDocument();
    record_->writeDataDocumentElementName("anything", *document, "empty");
    record_->setAnything(KSValue(KSData{0, 1, 2, 250, 255}));
    record_->writeDataDocumentElementName("anything", *document, "data");
    std::string text = serialized(*document);
    EXPECT_NE(text.find("<empty/><data>AAEC+v8=</data>"), std::string::npos);
}

TEST_F(BKObjectHelpers, DatesRoundTripAndBadDatesAreLoggedAndSkipped) {
    auto document = newDocument();
    const KSDate when = KSDate::dateWithTimeIntervalSince1970(1795251600.25);
    record_->setStart(TestDateTime{false, when});
    record_->writeDateDocumentElementName("start", *document, "start-date");
    record_->setStart(TestDateTime());
    EXPECT_FALSE(record_->writeDateDocumentElementName("start", *document, "end-date"));
    document->appendElement("empty-date");
    document->appendElementContainingString("bad-date", "tomorrow");
    document->appendElementContainingString("after", "x");
    auto copy = roundTrip(*document);
    ASSERT_TRUE(copy);
    BKXMLCursor cursor = copy->cursor();

    TestDateTime read = record_->readDateStoringWithKeyFromCursorElementName<TestDateTime>(
        "start", cursor, "start-date");
    EXPECT_EQ(read, (TestDateTime{false, when}));
    EXPECT_EQ(record_->start(), read);
    // An empty element is a null date, not a failure.
    record_->setStart(TestDateTime{false, when});
    EXPECT_TRUE(record_
                    ->readNSDateStoringWithKeyFromCursorElementName<TestDateTime>("start", cursor,
                                                                                  "empty-date")
                    .null);
    EXPECT_TRUE(record_->start().null);
    KSLogCapture log;
    EXPECT_TRUE(
        record_->readDateStoringWithKeyFromCursorElementName<TestDateTime>("", cursor, "bad-date")
            .null);
    EXPECT_TRUE(log.contains("Unable to parse date string 'tomorrow'"));
    // The bad element was consumed: the next helper sees the one after it.
    EXPECT_EQ(
        record_->readStringStoringWithKeyFromCursorElementName("", cursor, "after").asString(),
        "x");
}

TEST(BKObjectIds, PrefixedNegativeAndPlainIds) {
    EXPECT_EQ(BKObject::idStringWithPrefix("t", 12), "t12");
    EXPECT_EQ(BKObject::idStringWithPrefix("r", -1), "r-1");
    EXPECT_EQ(BKObject::idFromStringWithPrefix("t12", "t"), 12);
    EXPECT_EQ(BKObject::idFromStringWithPrefix("t-1", "t"), -1);
    EXPECT_EQ(BKObject::idFromStringWithPrefix("42", "t"), 42);
    EXPECT_EQ(BKObject::idFromStringWithPrefix("r5", "t"), 0);
    auto document = parse("<task id=\"t7\" idref=\"9\"/>");
    ASSERT_TRUE(document);
    BKXMLCursor cursor = document->cursor();
    EXPECT_EQ(BKObject::idFromCursorAttributeNamePrefix(cursor, "id", "t"), 7);
    EXPECT_EQ(BKObject::idFromCursorAttributeNamePrefix(cursor, "idref", "t"), 9);
    EXPECT_EQ(BKObject::idFromCursorAttributeNamePrefix(cursor, "absent", "t"), 0);
}

TEST(BKObjectRectangles, RoundTripInOrderAndAMissingSideGivesZero) {
    auto document = newDocument();
    BKXMLElement frame = document->appendElement("frame");
    KSWriteAttributesXMLFromRect(KSRect{10.5, -2, 800, 600.25}, frame);
    using Pairs = std::vector<std::pair<std::string_view, std::string_view>>;
    EXPECT_EQ(frame.attributes(),
              (Pairs{{"x", "10.5"}, {"y", "-2"}, {"w", "800"}, {"h", "600.25"}}));
    auto copy = roundTrip(*document);
    ASSERT_TRUE(copy);
    BKXMLCursor cursor = copy->cursor();
    ASSERT_TRUE(cursor.openNextChildElementNamed("frame"));
    EXPECT_EQ(KSReadRectFromCursor(cursor), (KSRect{10.5, -2, 800, 600.25}));

    auto partial = parse("<frame x=\"1\" y=\"2\" w=\"3\"/>");
    ASSERT_TRUE(partial);
    EXPECT_EQ(KSReadRectFromCursor(partial->cursor()), KSRect());
}

}  // namespace
}  // namespace kestrum
