// The dictionary form: value types, the losses the format requires, older names and
// hostile input.
#include <gtest/gtest.h>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSLog.h"
#include "Platform/xml/BKXMLDictionary.h"
#include "Platform/xml/BKXMLFunctions.h"
#include "XMLTestSupport.h"

namespace kestrum {
namespace {

using namespace xmltest;

KSDictionary readBack(BKXMLDocument& document) {
    auto copy = roundTrip(document);
    KSDictionary result;
    if (!copy) return result;
    BKXMLCursor cursor = copy->cursor();
    EXPECT_TRUE(BKXMLDictionary::readContentsXML(result, cursor, nullptr));
    return result;
}

KSDictionary readText(const std::string& body) {
    auto document = parse("<root>" + body + "</root>", scenarioBehavior());
    KSDictionary result;
    if (!document) return result;
    BKXMLCursor cursor = document->cursor();
    BKXMLDictionary::readContentsXML(result, cursor, nullptr);
    return result;
}

TEST(BKXMLDictionaryForm, EveryValueTypeRoundTripsWithTheRequiredLosses) {
    const KSDate when = KSDate::dateWithTimeIntervalSince1970(1795251600.0);
    KSDictionary nested{{"inner", KSValue(true)}};
    KSDictionary dictionary{
        {"flag", KSValue(false)},
        {"count", KSValue(42)},
        {"wide", KSValue(static_cast<long long>(0x100000005LL))},  // cut to 32 bits
        {"ratio", KSValue(0.1)},                                   // through a float
        {"name", KSValue("Plan")},
        {"when", KSValue(when)},
        {"bytes", KSValue(KSData{1, 2, 3})},
        {"nested", KSValue(nested)},
        {"list", KSValue::array({KSValue(1), KSValue("two"), KSValue(KSArray{})})},
        {"object", KSValue(std::make_shared<KSBaseObject>())},  // written as a lone key
    };
    auto document = newDocument();
    ASSERT_TRUE(BKXMLDictionary::writeContentsXML(dictionary, *document, nullptr));
    std::string text = serialized(*document);
    EXPECT_NE(text.find("<key>ratio</key><real>0.10000000149011612</real>"), std::string::npos);
    EXPECT_NE(text.find("<key>wide</key><integer>5</integer>"), std::string::npos);
    EXPECT_NE(text.find("<key>object</key></root>"), std::string::npos);

    KSDictionary read = readBack(*document);
    EXPECT_EQ(read.allKeys(), (std::vector<std::string>{"flag", "count", "wide", "ratio", "name",
                                                        "when", "bytes", "nested", "list"}));
    EXPECT_TRUE(read.objectForKey("flag").isBool());
    EXPECT_FALSE(read.objectForKey("flag").asBool());
    EXPECT_EQ(read.objectForKey("count").asInteger(), 42);
    EXPECT_EQ(read.objectForKey("wide").asInteger(), 5);
    EXPECT_TRUE(read.objectForKey("ratio").isDouble());
    EXPECT_EQ(read.objectForKey("ratio").asDouble(), static_cast<double>(0.1f));
    EXPECT_EQ(read.objectForKey("name").asString(), "Plan");
    EXPECT_EQ(read.objectForKey("when").asDate(), when);
    EXPECT_EQ(read.objectForKey("bytes").asData(), (KSData{1, 2, 3}));
    EXPECT_EQ(read.objectForKey("nested").asDictionary(), nested);
    EXPECT_EQ(read.objectForKey("list"),
              KSValue::array({KSValue(1), KSValue("two"), KSValue(KSArray{})}));
}

TEST(BKXMLDictionaryForm, WriteForKeysWalksTheGivenKeysAndSkipsMissingOnes) {
    KSDictionary dictionary{{"a", KSValue(1)}, {"b", KSValue(2)}};
    auto document = newDocument();
    EXPECT_TRUE(BKXMLDictionary::writeContentsXMLForKeys(dictionary, *document,
                                                         {"b", "missing", "a"}, nullptr));
    EXPECT_EQ(readBack(*document).allKeys(), (std::vector<std::string>{"b", "a"}));
}

TEST(BKXMLDictionaryForm, ReadingAcceptsOlderNamesAndBooleanForms) {
    KSDictionary read = readText(
        "<key>old</key><value>text</value>"
        "<key>empty-bool</key><bool/>"
        "<key>one</key><bool>1</bool>"
        "<key>no</key><bool>no</bool>"
        "<key>alone</key>"
        "<key>after</key><string>kept</string>");
    EXPECT_EQ(read.objectForKey("old").asString(), "text");
    EXPECT_TRUE(read.objectForKey("empty-bool").asBool());
    EXPECT_TRUE(read.objectForKey("one").asBool());
    EXPECT_FALSE(read.objectForKey("no").asBool());
    EXPECT_FALSE(read.contains("alone"));
    EXPECT_EQ(read.objectForKey("after").asString(), "kept");
}

TEST(BKXMLDictionaryForm, AnUnknownValueElementEndsTheRunAndStaysUnread) {
    auto document = parse(
        "<root><key>a</key><integer>1</integer><key>b</key><mystery/>"
        "<key>c</key><integer>3</integer></root>");
    ASSERT_TRUE(document);
    BKXMLCursor cursor = document->cursor();
    KSDictionary read;
    EXPECT_TRUE(BKXMLDictionary::readContentsXML(read, cursor, nullptr));
    EXPECT_EQ(read.allKeys(), (std::vector<std::string>{"a"}));
    EXPECT_EQ(SkipToNextChildElement(cursor).name(), "mystery");
}

TEST(BKXMLDictionaryForm, BadValuesAreDroppedWithALogLineAndReadingGoesOn) {
    KSLogCapture log;
    KSDictionary read = readText(
        "<key>d</key><date>someday</date>"
        "<key>e</key><date/>"
        "<key>b</key><data>!!notbase64</data>"
        "<key>list</key><array><integer>1</integer><mystery/><real>2.5</real></array>"
        "<key>n</key><integer>x7</integer>");
    EXPECT_FALSE(read.contains("d"));
    EXPECT_FALSE(read.contains("e"));
    EXPECT_FALSE(read.contains("b"));
    EXPECT_EQ(read.objectForKey("list"), KSValue::array({KSValue(1), KSValue(2.5)}));
    EXPECT_EQ(read.objectForKey("n").asInteger(), 0);
    EXPECT_TRUE(log.contains("Unable to parse date string 'someday'"));
    EXPECT_TRUE(log.contains("<mystery>"));
}

TEST(BKXMLDictionaryForm, HostileNestingIsCutOffInsteadOfExhaustingTheStack) {
    std::string body = "<key>deep</key>";
    const int depth = 5000;
    for (int i = 0; i < depth; ++i)
        body += "<array>";
    for (int i = 0; i < depth; ++i)
        body += "</array>";
    body += "<key>after</key><string>x</string>";
    KSLogCapture log;
    KSDictionary read = readText(body);
    EXPECT_TRUE(read.objectForKey("deep").isArray());
    EXPECT_EQ(read.objectForKey("after").asString(), "x");
    EXPECT_TRUE(log.contains("nested deeper"));
}

}  // namespace
}  // namespace kestrum
