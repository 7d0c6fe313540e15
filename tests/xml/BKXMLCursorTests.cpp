// Reading in order with the cursor: peeking, consuming, entering and leaving elements,
// and the positional discipline of the readers.
#include <gtest/gtest.h>

#include "Platform/core/KSLog.h"
#include "Platform/xml/BKXMLCursor.h"
#include "Platform/xml/BKXMLFunctions.h"
#include "XMLTestSupport.h"

namespace kestrum {
namespace {

using namespace xmltest;

class BKXMLCursorTest : public ::testing::Test {
protected:
    void SetUp() override {
        document_ = parse(
            "<root id=\"p1\">text<first a=\"1\"><inner>deep</inner></first>"
            "<!-- note --><second/>middle<third>3</third></root>");
        ASSERT_TRUE(document_);
    }
    std::unique_ptr<BKXMLDocument> document_;
};

TEST_F(BKXMLCursorTest, StartsInsideTheRootAndReadsItsAttributes) {
    BKXMLCursor cursor = document_->cursor();
    EXPECT_EQ(cursor.name(), "root");
    EXPECT_EQ(cursor.depth(), 0u);
    EXPECT_EQ(*cursor.attributeNamed("id"), "p1");
    EXPECT_FALSE(cursor.attributeNamed("missing"));
}

TEST_F(BKXMLCursorTest, PeekDoesNotConsumeAndNextDoes) {
    BKXMLCursor cursor = document_->cursor();
    BKXMLNode peeked = cursor.peekNextChild();
    ASSERT_TRUE(peeked.isText());
    EXPECT_EQ(peeked.string(), "text");
    EXPECT_EQ(cursor.peekNextChild(), peeked);
    EXPECT_EQ(cursor.nextChild(), peeked);
    EXPECT_EQ(cursor.peekNextChild().element().name(), "first");
}

TEST_F(BKXMLCursorTest, OpenEntersTheConsumedElementAndCloseStandsBehindIt) {
    BKXMLCursor cursor = document_->cursor();
    EXPECT_FALSE(cursor.openElement());  // nothing consumed yet
    cursor.nextChild();                  // "text"
    EXPECT_FALSE(cursor.openElement());  // text cannot be entered
    cursor.nextChild();                  // <first>
    ASSERT_TRUE(cursor.openElement());
    EXPECT_EQ(cursor.name(), "first");
    EXPECT_EQ(cursor.depth(), 1u);
    EXPECT_EQ(*cursor.attributeNamed("a"), "1");
    // Leaving with <inner> unread skips it.
    EXPECT_TRUE(cursor.closeElement());
    EXPECT_EQ(cursor.name(), "root");
    EXPECT_EQ(SkipToNextChildElement(cursor).name(), "second");
    EXPECT_FALSE(cursor.closeElement());  // the root cannot be left
}

TEST_F(BKXMLCursorTest, OpenNextChildElementNamedStaysPutOnAnotherName) {
    BKXMLCursor cursor = document_->cursor();
    EXPECT_FALSE(cursor.openNextChildElementNamed("second"));
    // It stepped over the text but not over <first>.
    EXPECT_EQ(cursor.peekNextChild().element().name(), "first");
    ASSERT_TRUE(cursor.openNextChildElementNamed("first"));
    ASSERT_TRUE(cursor.openNextChildElementNamed("inner"));
    EXPECT_EQ(BKCharacterDataFromElement(cursor.currentElement()), "deep");
    EXPECT_TRUE(cursor.closeElement());
    EXPECT_TRUE(cursor.closeElement());
    // Comments are parsed away; the next element is <second>.
    EXPECT_TRUE(cursor.openNextChildElementNamed("second"));
    EXPECT_TRUE(cursor.closeElement());
    EXPECT_TRUE(cursor.openNextChildElementNamed("third"));
    EXPECT_TRUE(cursor.closeElement());
    EXPECT_FALSE(SkipToNextChildElement(cursor));
    EXPECT_TRUE(cursor.peekNextChild().isNull());
    EXPECT_TRUE(cursor.nextChild().isNull());
}

TEST_F(BKXMLCursorTest, ChildrenListsEverythingWhateverTheCursorRead) {
    BKXMLCursor cursor = document_->cursor();
    cursor.openNextChildElementNamed("first");
    std::vector<std::string> kinds;
    cursor.closeElement();
    for (BKXMLNode child : cursor.children()) {
        kinds.push_back(child.isElement() ? std::string(child.element().name())
                                          : "'" + std::string(child.string()) + "'");
    }
    EXPECT_EQ(kinds, (std::vector<std::string>{"'text'", "first", "second", "'middle'", "third"}));
}

TEST(BKXMLCursor, ReadsAnInMemoryDocumentAsItsParsedForm) {
    auto document = newDocument();
    document->appendElementContainingString("title", "T");
    BKXMLElement hidden = document->appendElement("hidden");
    hidden.setIgnoreUnlessReferenced(true);
    document->appendElementContainingString("after", "A");
    BKXMLCursor cursor = document->cursor();
    ASSERT_TRUE(cursor.openNextChildElementNamed("title"));
    EXPECT_EQ(BKCharacterDataFromElement(cursor.currentElement()), "T");
    cursor.closeElement();
    // The unreferenced element is not there, as it will not be in the file.
    EXPECT_TRUE(cursor.openNextChildElementNamed("after"));
}

TEST(BKXMLCursor, RejectElementConsumesAndLogs) {
    auto document = parse("<root><odd><x/><y/></odd><unknown/><next/></root>");
    ASSERT_TRUE(document);
    BKXMLCursor cursor = document->cursor();
    KSLogCapture log;
    ASSERT_TRUE(cursor.openNextChildElementNamed("odd"));
    BKXMLRejectElement(cursor, cursor.currentElement());
    EXPECT_TRUE(cursor.peekNextChild().isNull());
    EXPECT_TRUE(cursor.closeElement());
    BKXMLRejectElement(cursor, SkipToNextChildElement(cursor));
    EXPECT_EQ(SkipToNextChildElement(cursor).name(), "next");
    EXPECT_TRUE(log.contains("<unknown>"));
    EXPECT_TRUE(log.contains("<odd>"));
}

TEST(BKXMLCursor, DeepNestingIsWalkedWithoutRecursion) {
    std::string text;
    const int depth = 20000;
    for (int i = 0; i < depth; ++i)
        text += "<d>";
    for (int i = 0; i < depth; ++i)
        text += "</d>";
    auto document = parse(text, scenarioBehavior("d"));
    ASSERT_TRUE(document);
    BKXMLCursor cursor = document->cursor();
    int opened = 0;
    while (cursor.openNextChildElementNamed("d"))
        ++opened;
    EXPECT_EQ(opened, depth - 1);
    while (cursor.closeElement()) {
    }
    EXPECT_EQ(cursor.depth(), 0u);
}

}  // namespace
}  // namespace kestrum
