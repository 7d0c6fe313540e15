// The layer's free functions: character data, identifiers and escaping.
#include <gtest/gtest.h>

#include <set>

#include "Platform/core/KSUUID.h"
#include "Platform/xml/BKXMLFunctions.h"
#include "XMLTestSupport.h"

namespace kestrum {
namespace {

using namespace xmltest;

TEST(BKXMLFunctions, CharacterDataJoinsOwnTextAroundChildrenAndCData) {
    auto document = parse("<r>one <b>not this</b>two<![CDATA[ <three> ]]></r>");
    ASSERT_TRUE(document);
    EXPECT_EQ(BKCharacterDataFromElement(document->rootElement()), "one two <three> ");
    EXPECT_EQ(BKCharacterDataFromElement(document->rootElement().firstChildNamed("b")), "not this");
    EXPECT_EQ(BKCharacterDataFromElement(BKXMLElement()), "");
}

TEST(BKXMLFunctions, SkipToNextChildElementConsumesOnlyWhatIsNoElement) {
    auto document = parse("<r>text<a/>more</r>");
    ASSERT_TRUE(document);
    BKXMLCursor cursor = document->cursor();
    BKXMLElement a = SkipToNextChildElement(cursor);
    EXPECT_EQ(a.name(), "a");
    EXPECT_EQ(SkipToNextChildElement(cursor), a);  // not consumed
    cursor.nextChild();
    EXPECT_FALSE(SkipToNextChildElement(cursor));
    EXPECT_TRUE(cursor.peekNextChild().isNull());  // the trailing text was consumed
}

TEST(BKXMLFunctions, IdentifiersAreUniqueUUIDs) {
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        std::string id = BKXMLCreateID();
        EXPECT_TRUE(KSIsUUIDString(id)) << id;
        seen.insert(id);
    }
    EXPECT_EQ(seen.size(), 100u);
}

TEST(BKXMLFunctions, EntityReferencesForTextAndAttributes) {
    const std::string text = "a < b & \"c\" > 'd' \xC3\xA9\x01";
    EXPECT_EQ(BKXMLCreateStringWithEntityReferencesInCFEncoding(text, BKXMLStringEncodingUTF8, 0),
              "a &lt; b &amp; \"c\" &gt; 'd' \xC3\xA9");
    EXPECT_EQ(BKXMLCreateStringWithEntityReferencesInCFEncoding(text, BKXMLStringEncodingUTF8, 257),
              "a &lt; b &amp; &quot;c&quot; &gt; &apos;d&apos; \xC3\xA9");
    EXPECT_EQ(BKXMLCreateStringWithEntityReferencesInCFEncoding("\xC3\xA9\xF0\x9F\x98\x80",
                                                                BKXMLStringEncodingASCII, 0),
              "&#233;&#128512;");
    // What it makes reads back as the text.
    auto document = parse("<r a=\"" +
                          BKXMLCreateStringWithEntityReferencesInCFEncoding(
                              text, BKXMLStringEncodingASCII, BKXMLEntityReferenceQuotes) +
                          "\"/>");
    ASSERT_TRUE(document);
    EXPECT_EQ(*document->rootElement().attributeNamed("a"), "a < b & \"c\" > 'd' \xC3\xA9");
}

}  // namespace
}  // namespace kestrum
