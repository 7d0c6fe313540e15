// KSValue, KSDictionary and KSDate: types, conversions, equality, hashing and text forms.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <unordered_set>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSValue.h"

namespace kestrum {
namespace {

TEST(KSValueTypes, BooleansStayDistinctFromNumbers) {
    KSValue yes(true);
    EXPECT_TRUE(yes.isBool());
    EXPECT_FALSE(yes.isNumber());
    EXPECT_FALSE(yes == KSValue(1));
    EXPECT_FALSE(KSValue(false) == KSValue(0));
    EXPECT_EQ(yes.intValue(), 1);
    EXPECT_EQ(yes.description(), "1");
    EXPECT_EQ(KSValue(false).description(), "0");
}

TEST(KSValueTypes, ConstructorsPickTheMatchingType) {
    EXPECT_EQ(KSValue().type(), KSValue::Type::Null);
    EXPECT_EQ(KSValue(nullptr).type(), KSValue::Type::Null);
    EXPECT_EQ(KSValue(static_cast<const char*>(nullptr)).type(), KSValue::Type::Null);
    EXPECT_EQ(KSValue(3).type(), KSValue::Type::Integer);
    EXPECT_EQ(KSValue(3u).type(), KSValue::Type::Integer);
    EXPECT_EQ(KSValue(3L).type(), KSValue::Type::Integer);
    EXPECT_EQ(KSValue(0.5f).type(), KSValue::Type::Double);
    EXPECT_EQ(KSValue("text").type(), KSValue::Type::String);
    EXPECT_EQ(KSValue(std::string_view("text")).type(), KSValue::Type::String);
    EXPECT_EQ(KSValue(KSDate{}).type(), KSValue::Type::Date);
    EXPECT_EQ(KSValue(KSData{1, 2}).type(), KSValue::Type::Data);
    EXPECT_EQ(KSValue::array({1, "a"}).type(), KSValue::Type::Array);
    EXPECT_EQ(KSValue(KSDictionary{{"a", 1}}).type(), KSValue::Type::Dictionary);
    EXPECT_EQ(KSValue(std::make_shared<KSBaseObject>()).type(), KSValue::Type::Object);
    EXPECT_EQ(KSValue(std::shared_ptr<KSBaseObject>()).type(), KSValue::Type::Null);
    auto constant = std::make_shared<const KSBaseObject>();
    EXPECT_EQ(KSValue(constant).asObject().get(), constant.get());
    EXPECT_STREQ(KSValue::typeName(KSValue::Type::Dictionary), "dictionary");
}

struct IntCase {
    KSValue value;
    int expected;
};

TEST(KSValueConversions, IntValueFollowsThePlatformStringAndNumberSemantics) {
    const IntCase cases[] = {
        {KSValue("12abc"), 12},
        {KSValue("  -7 apples"), -7},
        {KSValue("+15"), 15},
        {KSValue("abc"), 0},
        {KSValue(""), 0},
        {KSValue("99999999999"), INT_MAX},
        {KSValue("-99999999999"), INT_MIN},
        {KSValue("3.9"), 3},
        {KSValue(2.9), 2},
        {KSValue(-2.9), -2},
        {KSValue(1e20), INT_MAX},
        {KSValue(-1e20), INT_MIN},
        {KSValue(std::nan("")), 0},
        {KSValue(true), 1},
        {KSValue(), 0},
        {KSValue(KSDate{100}), 0},
        {KSValue::array({1}), 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.value.intValue(), c.expected) << c.value.description();
    }
}

TEST(KSValueConversions, IntegerValueKeepsSixtyFourBits) {
    EXPECT_EQ(KSValue("9007199254740993").integerValue(), 9007199254740993LL);
    EXPECT_EQ(KSValue(1e30).integerValue(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(KSValue(-1e30).integerValue(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(KSValue(5000000000LL).intValue(), static_cast<int>(5000000000LL));
}

TEST(KSValueConversions, DoubleValueReadsPrefixesAndDates) {
    EXPECT_DOUBLE_EQ(KSValue("1.5e3x").doubleValue(), 1500.0);
    EXPECT_DOUBLE_EQ(KSValue(".5").doubleValue(), 0.5);
    EXPECT_DOUBLE_EQ(KSValue("-").doubleValue(), 0.0);
    EXPECT_TRUE(std::isinf(KSValue("inf").doubleValue()));
    EXPECT_DOUBLE_EQ(KSValue(7).doubleValue(), 7.0);
    EXPECT_DOUBLE_EQ(KSValue(KSDate{86400}).doubleValue(), 86400.0);
    EXPECT_FLOAT_EQ(KSValue(0.1).floatValue(), 0.1f);
}

TEST(KSValueConversions, BoolValueOfStringsLooksAtTheFirstSignificantCharacter) {
    EXPECT_TRUE(KSValue("YES").boolValue());
    EXPECT_TRUE(KSValue("yes").boolValue());
    EXPECT_TRUE(KSValue("true").boolValue());
    EXPECT_TRUE(KSValue("T").boolValue());
    EXPECT_TRUE(KSValue("  7").boolValue());
    EXPECT_TRUE(KSValue("-01").boolValue());
    EXPECT_TRUE(KSValue("0009").boolValue());
    EXPECT_FALSE(KSValue("NO").boolValue());
    EXPECT_FALSE(KSValue("false").boolValue());
    EXPECT_FALSE(KSValue("0").boolValue());
    EXPECT_FALSE(KSValue("000").boolValue());
    EXPECT_FALSE(KSValue("").boolValue());
    EXPECT_FALSE(KSValue("x1").boolValue());
    EXPECT_TRUE(KSValue(0.5).boolValue());
    EXPECT_FALSE(KSValue(0.0).boolValue());
    EXPECT_FALSE(KSValue().boolValue());
}

TEST(KSValueEquality, NumbersCompareNumericallyAndHashAlike) {
    EXPECT_EQ(KSValue(3), KSValue(3.0));
    EXPECT_EQ(KSValue(3).hash(), KSValue(3.0).hash());
    EXPECT_FALSE(KSValue(3) == KSValue(3.5));
    EXPECT_FALSE(KSValue(3) == KSValue("3"));
    EXPECT_EQ(KSValue(), KSValue());
    EXPECT_EQ(KSValue(KSData{1, 2, 3}), KSValue(KSData{1, 2, 3}));
    EXPECT_EQ(KSValue::array({1, "a", 2.5}), KSValue::array({1.0, "a", 2.5}));
    EXPECT_FALSE(KSValue::array({1, 2}) == KSValue::array({2, 1}));
}

TEST(KSValueEquality, ObjectsCompareByIdentityUnlessTheyOverrideIsEqual) {
    auto a = std::make_shared<KSBaseObject>();
    auto b = std::make_shared<KSBaseObject>();
    EXPECT_EQ(KSValue(a), KSValue(a));
    EXPECT_FALSE(KSValue(a) == KSValue(b));
    EXPECT_EQ(KSValue(a).hash(), a->hash());
}

TEST(KSValueEquality, EqualValuesWorkAsHashSetKeys) {
    std::unordered_set<KSValue, KSValueHash> set;
    set.insert(KSValue(1));
    set.insert(KSValue(1.0));
    set.insert(KSValue("1"));
    set.insert(KSValue(true));
    EXPECT_EQ(set.size(), 3u);
}

TEST(KSDictionaryTest, KeepsInsertionOrderAndReplacesInPlace) {
    KSDictionary d;
    d.setObjectForKey("zeta", 1);
    d.setObjectForKey("alpha", 2);
    d.setObjectForKey("mid", 3);
    d.setObjectForKey("zeta", 4);
    EXPECT_EQ(d.allKeys(), (std::vector<std::string>{"zeta", "alpha", "mid"}));
    EXPECT_EQ(d.objectForKey("zeta"), KSValue(4));
    d.setObjectForKey("alpha", KSValue());
    EXPECT_EQ(d.allKeys(), (std::vector<std::string>{"zeta", "mid"}));
    EXPECT_TRUE(d.objectForKey("alpha").isNull());
    EXPECT_EQ(d.find("nothing"), nullptr);
    d.removeObjectForKey("zeta");
    EXPECT_EQ(d.size(), 1u);
    d.removeAllObjects();
    EXPECT_TRUE(d.empty());
}

TEST(KSDictionaryTest, EqualityAndHashIgnoreOrder) {
    KSDictionary a{{"x", 1}, {"y", "two"}, {"z", KSValue::array({3})}};
    KSDictionary b{{"z", KSValue::array({3})}, {"x", 1.0}, {"y", "two"}};
    EXPECT_EQ(a, b);
    EXPECT_EQ(KSValue(a), KSValue(b));
    EXPECT_EQ(KSValue(a).hash(), KSValue(b).hash());
    KSDictionary c{{"x", 1}, {"y", "three"}, {"z", KSValue::array({3})}};
    EXPECT_FALSE(a == c);
}

TEST(KSValueDescription, ScalarsDatesAndData) {
    EXPECT_EQ(KSValue().description(), "(null)");
    EXPECT_EQ(KSValue(-12).description(), "-12");
    EXPECT_EQ(KSValue(0.1).description(), "0.1");
    EXPECT_EQ(KSValue(3.0).description(), "3");
    EXPECT_EQ(KSValue("as is \"quoted\"").description(), "as is \"quoted\"");
    EXPECT_EQ(KSValue(KSDate{0}).description(), "2001-01-01 00:00:00 +0000");
    EXPECT_EQ(KSValue(KSDate{-1.5}).description(), "2000-12-31 23:59:58 +0000");
    EXPECT_EQ(KSValue(KSData{0x00, 0x01, 0xab, 0xff, 0x10}).description(), "<0001abff 10>");
    EXPECT_EQ(KSValue(42).stringValue(), "42");
    EXPECT_EQ(KSValue("text").stringValue(), "text");
}

TEST(KSValueDescription, CollectionsUseTheOldStylePropertyListText) {
    KSDictionary inner{{"count", 3}, {"ratio", -0.5}};
    KSDictionary outer{{"name", "Plan A"},
                       {"plain_key", "value-1.0/x:y"},
                       {"items", KSValue::array({1, "two words", KSValue(inner)})},
                       {"empty", KSValue(KSArray{})},
                       {"flag", true},
                       {"quote\"d", "line\nbreak\ttab\\"}};
    EXPECT_EQ(KSValue(outer).description(),
              "{\n"
              "    name = \"Plan A\";\n"
              "    plain_key = value-1.0/x:y;\n"
              "    items = (\n"
              "        1,\n"
              "        \"two words\",\n"
              "        {\n"
              "            count = 3;\n"
              "            ratio = -0.5;\n"
              "        }\n"
              "    );\n"
              "    empty = (\n"
              "    );\n"
              "    flag = 1;\n"
              "    \"quote\\\"d\" = \"line\\nbreak\\ttab\\\\\";\n"
              "}");
    EXPECT_EQ(KSValue(KSDictionary{}).description(), "{\n}");
}

TEST(KSDateTest, XMLStringRoundTripsWholeAndFractionalSeconds) {
    struct Case {
        double seconds;
        const char* text;
    };
    const Case cases[] = {
        {0, "2001-01-01T00:00:00Z"},          {-1, "2000-12-31T23:59:59Z"},
        {817000000, "2026-11-22T00:26:40Z"},  {0.25, "2001-01-01T00:00:00.25Z"},
        {-978307200, "1970-01-01T00:00:00Z"},
    };
    for (const auto& c : cases) {
        KSDate date{c.seconds};
        EXPECT_EQ(date.xmlString(), c.text);
        KSDate back;
        ASSERT_TRUE(KSDate::fromXMLString(c.text, &back)) << c.text;
        EXPECT_EQ(back, date) << c.text;
    }
}

TEST(KSDateTest, XMLStringRoundsToTheMicrosecondWithoutLosingASecond) {
    // Just below a whole second: the text must not fall back to the previous second.
    KSDate almost{59.9999999};
    EXPECT_EQ(almost.xmlString(), "2001-01-01T00:01:00Z");
    KSDate justAbove{-0.0000001};
    EXPECT_EQ(justAbove.xmlString(), "2001-01-01T00:00:00Z");
}

TEST(KSDateTest, FromXMLStringTakesCommonVariantsAndRejectsJunk) {
    KSDate d;
    ASSERT_TRUE(KSDate::fromXMLString("2001-01-01T02:00:00+02:00", &d));
    EXPECT_EQ(d.timeIntervalSinceReferenceDate, 0);
    ASSERT_TRUE(KSDate::fromXMLString("2001-01-01T00:00-0130", &d));
    EXPECT_EQ(d.timeIntervalSinceReferenceDate, 5400);
    ASSERT_TRUE(KSDate::fromXMLString(" 2001-01-02 ", &d));
    EXPECT_EQ(d.timeIntervalSinceReferenceDate, 86400);
    ASSERT_TRUE(KSDate::fromXMLString("2001-01-01 00:00:01.5 Z", &d));
    EXPECT_EQ(d.timeIntervalSinceReferenceDate, 1.5);
    for (const char* junk :
         {"", "2026", "2026-13-01", "2026-02-30", "2026-02-03T25:00", "2026-02-03T10:61",
          "2026-02-03T10:00:00Q", "2026-02-03X", "2026-02-03T10:00:00.", "abcd-ef-gh"}) {
        EXPECT_FALSE(KSDate::fromXMLString(junk, &d)) << junk;
    }
}

TEST(KSDateTest, ArithmeticAndEpochs) {
    KSDate d = KSDate::dateWithTimeIntervalSince1970(978307200.0 + 60);
    EXPECT_EQ(d.timeIntervalSinceReferenceDate, 60);
    EXPECT_EQ(d.timeIntervalSince1970(), 978307260.0);
    EXPECT_EQ(d.dateByAddingTimeInterval(40).timeIntervalSinceDate(d), 40);
    EXPECT_LT(d, d.dateByAddingTimeInterval(1));
}

}  // namespace
}  // namespace kestrum
