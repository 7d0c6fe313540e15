// Whitespace behaviours applied on parsing: structure drops layout text, literal elements
// keep their text exactly, rules inherit down the tree.
#include <gtest/gtest.h>

#include "Platform/xml/BKXMLFunctions.h"
#include "XMLTestSupport.h"

namespace kestrum {
namespace {

using namespace xmltest;

std::vector<std::string> childTexts(const BKXMLElement& element) {
    std::vector<std::string> result;
    for (BKXMLNode child : element.children()) {
        result.push_back(child.isElement() ? "<" + std::string(child.element().name()) + ">"
                                           : "'" + std::string(child.string()) + "'");
    }
    return result;
}

const char* const kIndented =
    "<root>\n"
    "  <task>\n"
    "    <title>  Padded title </title>\n"
    "    <start-date>\n   </start-date>\n"
    "    <lit>\n  two  blanks\n\n</lit>\n"
    "    <lit> <b>bold</b>  <i/> </lit>\n"
    "    <lit>   </lit>\n"
    "  </task>\n"
    "</root>\n";

TEST(BKXMLWhitespace, StructureDropsWhitespaceOnlyTextAndKeepsOtherTextAsIs) {
    auto document = parse(kIndented, scenarioBehavior());
    ASSERT_TRUE(document);
    BKXMLElement task = document->rootElement().firstChildNamed("task");
    EXPECT_EQ(childTexts(document->rootElement()), (std::vector<std::string>{"<task>"}));
    EXPECT_EQ(childTexts(task),
              (std::vector<std::string>{"<title>", "<start-date>", "<lit>", "<lit>", "<lit>"}));
    EXPECT_EQ(BKCharacterDataFromElement(task.firstChildNamed("title")), "  Padded title ");
    EXPECT_EQ(BKCharacterDataFromElement(task.firstChildNamed("start-date")), "");
}

TEST(BKXMLWhitespace, LiteralElementsKeepTheirTextExactlyAndTheRuleInherits) {
    auto document = parse(kIndented, scenarioBehavior());
    ASSERT_TRUE(document);
    std::vector<BKXMLElement> literals;
    for (BKXMLNode child : document->rootElement().firstChildNamed("task").children()) {
        if (child.element().name() == "lit") literals.push_back(child.element());
    }
    ASSERT_EQ(literals.size(), 3u);
    EXPECT_EQ(BKCharacterDataFromElement(literals[0]), "\n  two  blanks\n\n");
    EXPECT_EQ(childTexts(literals[1]),
              (std::vector<std::string>{"' '", "<b>", "'  '", "<i>", "' '"}));
    EXPECT_EQ(BKCharacterDataFromElement(literals[2]), "   ");
}

TEST(BKXMLWhitespace, LiteralTextSurvivesAWriteAndReadExactly) {
    const std::string literal = "  line one\n\tline two\r\n  \n   ";
    auto document = newDocument();
    document->pushElement("task");
    document->appendString("\n    ");  // layout written by hand, dropped on reading
    document->appendElementContainingString("lit", literal);
    document->popElement();
    auto copy = roundTrip(*document);
    ASSERT_TRUE(copy);
    BKXMLElement task = copy->rootElement().firstChildNamed("task");
    EXPECT_EQ(childTexts(task), (std::vector<std::string>{"<lit>"}));
    EXPECT_EQ(BKCharacterDataFromElement(task.firstChildNamed("lit")), literal);
}

TEST(BKXMLWhitespace, ABuiltDocumentReadsInMemoryAsItsFileReads) {
    auto document = newDocument();
    document->pushElement("task");
    document->appendString("\n  ");
    document->appendElementContainingString("title", "   ");
    document->appendElementContainingString("lit", "   ");
    document->popElement();
    auto file = roundTrip(*document);
    ASSERT_TRUE(file);
    for (BKXMLDocument* d : {document.get(), file.get()}) {
        BKXMLElement task = d->rootElement().firstChildNamed("task");
        EXPECT_EQ(childTexts(task), (std::vector<std::string>{"<title>", "<lit>"}));
        EXPECT_EQ(BKCharacterDataFromElement(task.firstChildNamed("title")), "");
        EXPECT_EQ(BKCharacterDataFromElement(task.firstChildNamed("lit")), "   ");
        EXPECT_TRUE(task.firstChildNamed("title").lastChild().isNull());
    }
}

TEST(BKXMLWhitespace, DefaultsAndTheSharedIgnoreBehaviour) {
    const char* text = "<a> <b> </b> x </a>";
    auto keepAll = parse(text);  // no behaviour: all text kept
    ASSERT_TRUE(keepAll);
    EXPECT_EQ(childTexts(keepAll->rootElement()),
              (std::vector<std::string>{"' '", "<b>", "' x '"}));
    EXPECT_EQ(BKCharacterDataFromElement(keepAll->rootElement().firstChildNamed("b")), " ");

    auto ignoreAll = parse(text, BKXMLWhitespaceBehavior::ignoreWhitespaceBehavior());
    ASSERT_TRUE(ignoreAll);
    EXPECT_EQ(childTexts(ignoreAll->rootElement()), (std::vector<std::string>{"<b>", "' x '"}));
    EXPECT_EQ(BKCharacterDataFromElement(ignoreAll->rootElement().firstChildNamed("b")), "");
}

TEST(BKXMLWhitespace, RulesCanBeReplacedAndRemoved) {
    BKXMLWhitespaceBehavior behavior;
    EXPECT_EQ(behavior.defaultBehavior(), BKXMLWhitespacePreserve);
    behavior.setBehaviorForElementName(BKXMLWhitespaceIgnore, "scenario");
    behavior.setBehaviorForElementName(BKXMLWhitespacePreserve, "scenario");
    EXPECT_EQ(behavior.behaviorForElementName("scenario"), BKXMLWhitespacePreserve);
    behavior.setBehaviorForElementName(BKXMLWhitespaceInherit, "scenario");
    EXPECT_EQ(behavior.behaviorForElementName("scenario"), BKXMLWhitespaceInherit);
    EXPECT_FALSE(behavior.hasRules());
}

}  // namespace
}  // namespace kestrum
