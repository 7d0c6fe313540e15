// The archiving contract: the caller owns the element, the object its contents; a copy
// made by writing and reading has the fidelity of a save.
#include <gtest/gtest.h>

#include "Platform/xml/BKXMLFunctions.h"
#include "TestRecord.h"
#include "XMLTestSupport.h"

namespace kestrum {
namespace {

using namespace xmltest;

static_assert(XMLArchivingClass<TestRecord>);

std::shared_ptr<TestRecord> sampleRecord() {
    auto record = std::make_shared<TestRecord>();
    record->setTitle("Line one\nLine two");
    record->setEffort(28800.1);
    record->setFlag(true);
    record->setCount(3);
    record->setStart(TestDateTime{false, KSDate{100.0}});
    record->setAnything(KSValue(KSData{9, 8, 7}));
    return record;
}

void expectCopyOf(const TestRecord& copy, const TestRecord& original) {
    EXPECT_EQ(copy.title(), original.title());
    EXPECT_EQ(copy.effort(), static_cast<double>(static_cast<float>(original.effort())));
    EXPECT_EQ(copy.flag(), original.flag());
    EXPECT_EQ(copy.count(), original.count());
    EXPECT_EQ(copy.start(), original.start());
    EXPECT_EQ(copy.anything(), original.anything());
}

TEST(XMLArchiving, ClassLevelAndInstanceElementNamesAgree) {
    TestRecord record;
    XMLArchiving& archiving = record;
    EXPECT_EQ(TestRecord::xmlElementName(), "record");
    EXPECT_EQ(archiving.classXMLElementName(), "record");
}

TEST(XMLArchiving, TheCallerOwnsTheElementAndTheObjectItsContents) {
    auto original = sampleRecord();
    auto document = newDocument();
    ASSERT_TRUE(BKXMLWriteObjectElement(*document, *original, TestRecord::xmlElementName(), nullptr,
                                        nullptr));
    document->appendElement("after");
    EXPECT_EQ(document->stackDepth(), 1u);
    EXPECT_EQ(*document->rootElement().firstChildNamed("record").attributeNamed("flag"), "true");

    auto file = roundTrip(*document);
    ASSERT_TRUE(file);
    BKXMLCursor cursor = file->cursor();
    auto copy = std::make_shared<TestRecord>();
    ASSERT_TRUE(BKXMLReadObjectElement(cursor, *copy, "record", nullptr, nullptr));
    expectCopyOf(*copy, *original);
    // The cursor stands behind the element; a missing element answers false.
    EXPECT_EQ(SkipToNextChildElement(cursor).name(), "after");
    EXPECT_FALSE(BKXMLReadObjectElement(cursor, *copy, "record", nullptr, nullptr));
}

TEST(XMLArchiving, ACopyThroughAnInMemoryDocumentMatchesASaveAndLoad) {
    auto original = sampleRecord();
    auto document = newDocument("record");
    ASSERT_TRUE(original->writeContentsXML(*document, nullptr, nullptr));
    BKXMLCursor cursor = document->cursor();
    auto copy = std::make_shared<TestRecord>();
    ASSERT_TRUE(copy->readContentsXML(cursor, nullptr, nullptr));
    expectCopyOf(*copy, *original);
}

TEST(XMLArchiving, DefaultsAreNotWrittenAndReadBackAsDefaults) {
    TestRecord empty;
    auto document = newDocument("record");
    ASSERT_TRUE(empty.writeContentsXML(*document, nullptr, nullptr));
    EXPECT_EQ(serialized(*document),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<record><effort>0</effort><blob/></record>\n");
    auto file = roundTrip(*document);
    ASSERT_TRUE(file);
    BKXMLCursor cursor = file->cursor();
    TestRecord copy;
    ASSERT_TRUE(copy.readContentsXML(cursor, nullptr, nullptr));
    EXPECT_EQ(copy.title(), "");
    EXPECT_FALSE(copy.flag());
    EXPECT_TRUE(copy.start().null);
}

}  // namespace
}  // namespace kestrum
