// Property lists: binary and XML round trips through libplist, the old-style text form,
// strings tables, and malformed input giving errors instead of crashes.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <random>

#include "Platform/core/KSBaseObject.h"
#include "Platform/plist/KSPropertyList.h"

namespace kestrum {
namespace {

KSData bytesOf(std::string_view text) {
    return KSData(text.begin(), text.end());
}

// A tree with every type the binary and XML forms hold.
KSValue sampleTree() {
    KSData allBytes;
    for (int i = 0; i < 256; ++i)
        allBytes.push_back(static_cast<std::uint8_t>(i));
    KSDictionary account{{"name", "Team <server> & \"friends\""},
                         {"port", 8443},
                         {"secure", true},
                         {"insecure", false}};
    return KSValue(KSDictionary{
        {"integers", KSValue::array({0, -1, 42, std::numeric_limits<std::int64_t>::min(),
                                     std::numeric_limits<std::int64_t>::max(), -4294967296LL})},
        {"doubles", KSValue::array({0.1, -2.5e-300, 1e300, 28800.0, -0.0})},
        {"strings", KSValue::array({"", "plain", "Ünïcödé → ✓", "line\nbreak\ttab", "  padded  ",
                                    "<xml> & 'quotes'"})},
        {"dates", KSValue::array({KSDate{0}, KSDate{817000000}, KSDate{-978307200},
                                  KSDate{-86400.0 * 365 * 30}})},
        {"data", KSValue(allBytes)},
        {"empty data", KSValue(KSData{})},
        {"nested", KSValue::array({KSValue(account), KSValue(KSArray{}), KSValue(KSDictionary{}),
                                   KSValue::array({KSValue::array({1, KSValue::array({2})})})})},
        {"KSServerAccounts", KSValue::array({KSValue(account)})},
    });
}

class KSPropertyListRoundTrip : public ::testing::TestWithParam<KSPropertyListFormat> {};

TEST_P(KSPropertyListRoundTrip, KeepsEveryTypeAndValue) {
    KSValue tree = sampleTree();
    KSError error;
    KSData data = KSPropertyList::dataFromPropertyList(tree, GetParam(), &error);
    ASSERT_FALSE(data.empty()) << error.description();
    KSPropertyListFormat found{};
    KSValue back = KSPropertyList::propertyListFromData(data, &found, &error);
    EXPECT_EQ(found, GetParam());
    ASSERT_TRUE(back.isDictionary()) << error.description();
    EXPECT_EQ(back, tree);
    // Booleans stay booleans and integers stay integers.
    const KSDictionary& account =
        back.asDictionary().objectForKey("KSServerAccounts").asArray()[0].asDictionary();
    EXPECT_TRUE(account.objectForKey("secure").isBool());
    EXPECT_TRUE(account.objectForKey("port").isInteger());
    // Negative zero keeps its sign in the binary form (libplist's XML writes plain zero).
    if (GetParam() == KSPropertyListFormat::Binary) {
        EXPECT_TRUE(
            std::signbit(back.asDictionary().objectForKey("doubles").asArray()[4].asDouble()));
    }
    // Key order is kept.
    EXPECT_EQ(back.asDictionary().allKeys(), tree.asDictionary().allKeys());
}

TEST_P(KSPropertyListRoundTrip, KeepsDoublesExactly) {
    std::mt19937_64 random(11);
    KSArray values;
    for (int i = 0; i < 200; ++i) {
        double d = std::ldexp(static_cast<double>(random() % 1000000007) / 1000000007.0,
                              static_cast<int>(random() % 200) - 100);
        values.push_back(KSValue(i % 2 ? d : -d));
    }
    values.push_back(KSValue(static_cast<double>(0.99f)));
    KSData data = KSPropertyList::dataFromPropertyList(KSValue(values), GetParam());
    KSValue back = KSPropertyList::propertyListFromData(data);
    ASSERT_EQ(back.asArray().size(), values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(back.asArray()[i].asDouble(), values[i].asDouble()) << i;
    }
}

TEST_P(KSPropertyListRoundTrip, DatesKeepTheirPrecisionOnBothSidesOf2001) {
    bool binary = GetParam() == KSPropertyListFormat::Binary;
    struct Case {
        double seconds;
        double binary;  // what comes back from each form
        double xml;
    };
    const Case cases[] = {
        {0.25, 0.25, 0},
        {-0.5, -1, -1},  // the second before 2001 is kept whole
        {-0.25, 0, 0},
        {-86400.75, -86400.75, -86400},
        {1234.9999999, 1235, 1235},
        {-2e9, -2e9, -2e9},
        {3e9, 2147483647, 2147483647},  // beyond 2069: clamped
        {-3e9, -2147483648.0, -2147483648.0},
    };
    for (const Case& c : cases) {
        KSData data =
            KSPropertyList::dataFromPropertyList(KSValue::array({KSDate{c.seconds}}), GetParam());
        KSValue back = KSPropertyList::propertyListFromData(data);
        ASSERT_EQ(back.asArray().size(), 1u) << c.seconds;
        EXPECT_NEAR(back.asArray()[0].asDate().timeIntervalSinceReferenceDate,
                    binary ? c.binary : c.xml, 1e-6)
            << c.seconds;
    }
}

TEST_P(KSPropertyListRoundTrip, ScalarsStandAtTheTop) {
    for (const KSValue& value : {KSValue("top"), KSValue(7), KSValue(true), KSValue(2.5)}) {
        KSData data = KSPropertyList::dataFromPropertyList(value, GetParam());
        EXPECT_EQ(KSPropertyList::propertyListFromData(data), value) << value.description();
    }
}

INSTANTIATE_TEST_SUITE_P(BinaryAndXML, KSPropertyListRoundTrip,
                         ::testing::Values(KSPropertyListFormat::Binary, KSPropertyListFormat::XML),
                         [](const auto& info) {
                             return info.param == KSPropertyListFormat::Binary ? "Binary" : "XML";
                         });

TEST(KSPropertyListWriting, RefusesWhatAPropertyListCannotHold) {
    KSError error;
    KSValue withObject = KSValue::array({1, KSValue(std::make_shared<KSBaseObject>())});
    EXPECT_FALSE(KSPropertyList::isValidPropertyList(withObject));
    EXPECT_TRUE(
        KSPropertyList::dataFromPropertyList(withObject, KSPropertyListFormat::Binary, &error)
            .empty());
    EXPECT_EQ(error.domain(), KSPropertyListErrorDomain);
    EXPECT_NE(error.localizedDescription().find("KSBaseObject"), std::string::npos);
    KSValue withNull = KSValue(KSDictionary{{"a", KSValue::array({KSValue()})}});
    EXPECT_FALSE(KSPropertyList::isValidPropertyList(withNull));
    EXPECT_TRUE(
        KSPropertyList::dataFromPropertyList(withNull, KSPropertyListFormat::XML, &error).empty());
    EXPECT_NE(error.localizedDescription().find("null"), std::string::npos);
    EXPECT_TRUE(
        KSPropertyList::dataFromPropertyList(withNull, KSPropertyListFormat::OpenStep, &error)
            .empty());
    EXPECT_TRUE(KSPropertyList::isValidPropertyList(sampleTree()));
}

TEST(KSPropertyListWriting, XMLIsTheStandardDocument) {
    KSData data = KSPropertyList::dataFromPropertyList(
        KSValue(KSDictionary{{"WriteExtendedXML", true}, {"FirstDayOfTheWeek", 1}}),
        KSPropertyListFormat::XML);
    std::string text(data.begin(), data.end());
    EXPECT_EQ(text.rfind("<?xml", 0), 0u);
    EXPECT_NE(text.find("<key>WriteExtendedXML</key>"), std::string::npos);
    EXPECT_NE(text.find("<true/>"), std::string::npos);
    EXPECT_NE(text.find("<integer>1</integer>"), std::string::npos);
    KSData binary = KSPropertyList::dataFromPropertyList(KSValue(1), KSPropertyListFormat::Binary);
    EXPECT_EQ(std::string(binary.begin(), binary.begin() + 8), "bplist00");
}

TEST(KSPropertyListText, DescriptionParsesBackWithScalarsAsStrings) {
    KSDictionary tree{
        {"name", "Plan A"},
        {"plain", "value-1.0/x:y"},
        {"needs quotes", "a \"quoted\" \\ back\\slash\nnew line\ttab\x01\x7f"},
        {"empty", ""},
        {"unicode", "Ünïcode → ✓"},
        {"count", 3},
        {"negative", -42},
        {"ratio", -0.5},
        {"flag", true},
        {"when", KSDate{0}},
        {"bytes", KSValue(KSData{0xde, 0xad, 0xbe, 0xef, 0x01})},
        {"nested", KSValue::array({KSValue(KSDictionary{{"k", KSValue::array({})}}),
                                   KSValue::array({"x", "y z"})})},
    };
    std::string text = KSPropertyList::openStepString(KSValue(tree));
    EXPECT_EQ(text, KSValue(tree).description());
    KSError error;
    KSValue back = KSPropertyList::propertyListFromString(text, &error);
    ASSERT_TRUE(back.isDictionary()) << error.description() << "\n" << text;
    const KSDictionary& d = back.asDictionary();
    EXPECT_EQ(d.allKeys(), tree.allKeys());
    for (const char* key :
         {"name", "plain", "needs quotes", "empty", "unicode", "bytes", "nested"}) {
        EXPECT_EQ(d.objectForKey(key), tree.objectForKey(key)) << key;
    }
    // Numbers, booleans and dates come back as their text.
    EXPECT_EQ(d.objectForKey("count"), KSValue("3"));
    EXPECT_EQ(d.objectForKey("negative"), KSValue("-42"));
    EXPECT_EQ(d.objectForKey("ratio"), KSValue("-0.5"));
    EXPECT_EQ(d.objectForKey("flag"), KSValue("1"));
    EXPECT_EQ(d.objectForKey("when"), KSValue("2001-01-01 00:00:00 +0000"));
    // The same bytes through the data entry point are found as old-style text.
    KSPropertyListFormat format{};
    EXPECT_EQ(KSPropertyList::propertyListFromData(bytesOf(text), &format), back);
    EXPECT_EQ(format, KSPropertyListFormat::OpenStep);
}

TEST(KSPropertyListText, ReadsCommentsEscapesAndLooseForms) {
    KSValue value = KSPropertyList::propertyListFromString(
        "\xEF\xBB\xBF// leading comment\n"
        "{ /* block */ a = ( 1, 2, ); 'single' = \"\\U00e9\\u2192\\101\\ud83d\\ude00\";\n"
        "  data = < 0A0b 0c >; }");
    ASSERT_TRUE(value.isDictionary());
    EXPECT_EQ(value.asDictionary().objectForKey("a"), KSValue::array({"1", "2"}));
    EXPECT_EQ(value.asDictionary().objectForKey("single"), KSValue("\xC3\xA9\xE2\x86\x92"
                                                                   "A\xF0\x9F\x98\x80"));
    EXPECT_EQ(value.asDictionary().objectForKey("data"), KSValue(KSData{0x0a, 0x0b, 0x0c}));
    EXPECT_EQ(KSPropertyList::propertyListFromString("  just-a-string  "),
              KSValue("just-a-string"));
}

TEST(KSPropertyListText, StringsTablesReadPairsWithoutBraces) {
    KSError error;
    KSDictionary table = KSPropertyList::stringsTableFromString(
        "/* Undo action names */\n\"Set Effort\" = \"Set Effort\";\n\"Actual\";\n"
        "\"Unnamed Resource\" = \"Ressource sans nom\";\n",
        &error);
    EXPECT_FALSE(error.isSet());
    EXPECT_EQ(table.objectForKey("Actual"), KSValue("Actual"));
    EXPECT_EQ(table.objectForKey("Unnamed Resource"), KSValue("Ressource sans nom"));
    EXPECT_EQ(table.size(), 3u);
    EXPECT_TRUE(KSPropertyList::stringsTableFromString("{ a = b; }").contains("a"));
    EXPECT_TRUE(KSPropertyList::stringsTableFromString("").empty());
}

TEST(KSPropertyListMalformed, TextGivesAnErrorNamingTheLine) {
    const char* inputs[] = {
        "",          "   ",
        "{ a = b }", "{ a = b;",
        "{ a b; }",  "( a, b",
        "( a b )",   "\"unterminated",
        "<0a 0>",    "<0g>",
        "<0a",       "{ a = b; } trailing",
        "{ = b; }",  "/* open comment",
        ")",
    };
    for (const char* input : inputs) {
        KSError error;
        KSValue value = KSPropertyList::propertyListFromString(input, &error);
        EXPECT_TRUE(value.isNull()) << input;
        EXPECT_TRUE(error.isSet()) << input;
        EXPECT_EQ(error.domain(), KSPropertyListErrorDomain) << input;
        EXPECT_NE(error.localizedDescription().find("line"), std::string::npos) << input;
    }
    KSError error;
    KSPropertyList::propertyListFromString("{\n a = b;\n c = ;\n}", &error);
    EXPECT_NE(error.localizedDescription().find("line 3"), std::string::npos)
        << error.localizedDescription();
    KSPropertyList::stringsTableFromString("\"a\" = \"b\"\n\"c\" = \"d\";", &error);
    EXPECT_TRUE(error.isSet());
}

TEST(KSPropertyListMalformed, DeepNestingIsRefusedNotOverflowed) {
    std::string deep(100000, '(');
    KSError error;
    EXPECT_TRUE(KSPropertyList::propertyListFromString(deep, &error).isNull());
    EXPECT_NE(error.localizedDescription().find("nesting too deep"), std::string::npos);
}

TEST(KSPropertyListMalformed, BinaryAndXMLGiveAnErrorWithoutCrashing) {
    KSData good = KSPropertyList::dataFromPropertyList(sampleTree(), KSPropertyListFormat::Binary);
    std::vector<KSData> inputs = {
        KSData{},
        bytesOf("bplist00"),
        bytesOf("bplist00\xff\xff\xff"),
        bytesOf("<?xml version=\"1.0\"?><plist><dict><key>a</key>"),
        bytesOf("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key><integer>"
                "1</dict></plist>"),
        bytesOf("<?xml version=\"1.0\"?><plist version=\"1.0\"><array><string>a</array>"),
        bytesOf("<?xml version=\"1.0\"?><nonsense/>"),
        bytesOf("<plist version=\"1.0\"><dict><key>a</dict>"),
    };
    // Truncations of a good binary list, and single corrupted bytes in its trailer and
    // offset table.
    for (std::size_t cut : {good.size() / 4, good.size() / 2, good.size() - 33, good.size() - 1}) {
        inputs.emplace_back(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(cut));
    }
    for (std::size_t back = 1; back <= 40; ++back) {
        KSData corrupt = good;
        corrupt[corrupt.size() - back] ^= 0x5a;
        inputs.push_back(corrupt);
    }
    KSError xmlError;
    KSPropertyList::propertyListFromData(bytesOf("<!DOCTYPE plist><plist><dict><key>a</dict>"),
                                         nullptr, &xmlError);
    EXPECT_EQ(xmlError.localizedDescription(), "Malformed XML property list");
    int errors = 0;
    for (const KSData& input : inputs) {
        KSError error;
        KSValue value = KSPropertyList::propertyListFromData(input, nullptr, &error);
        if (value.isNull()) {
            EXPECT_TRUE(error.isSet());
            EXPECT_EQ(error.domain(), KSPropertyListErrorDomain);
            ++errors;
        }
    }
    // Every input but some byte flips that leave a readable list is an error.
    EXPECT_GE(errors, 12);
}

// libplist aborts when it reads a dictionary key holding a NUL; such lists are refused.
TEST(KSPropertyListMalformed, BinaryStringsWithANulCharacterAreRefused) {
    // ASCII keys are stored as bytes, others as UTF-16: the \x01 after "y" becomes NUL.
    const std::pair<const char*, std::string> cases[] = {
        {"key\x01name", std::string("y\x01", 2)},
        {"key\x01\xC3\xA9", std::string("\x00y\x00\x01", 4)},
    };
    for (const auto& [key, pattern] : cases) {
        KSData data = KSPropertyList::dataFromPropertyList(KSValue(KSDictionary{{key, "value"}}),
                                                           KSPropertyListFormat::Binary);
        auto at = std::search(data.begin(), data.end(), pattern.begin(), pattern.end());
        ASSERT_NE(at, data.end()) << key;
        at[static_cast<std::ptrdiff_t>(pattern.size()) - 1] = 0;
        KSError error;
        EXPECT_TRUE(KSPropertyList::propertyListFromData(data, nullptr, &error).isNull());
        EXPECT_NE(error.localizedDescription().find("NUL"), std::string::npos)
            << error.localizedDescription();
    }
}

TEST(KSPropertyListMalformed, RandomDamageNeverCrashes) {
    KSValue tree = sampleTree();
    std::vector<KSData> originals = {
        KSPropertyList::dataFromPropertyList(tree, KSPropertyListFormat::Binary),
        KSPropertyList::dataFromPropertyList(tree, KSPropertyListFormat::XML),
        KSPropertyList::dataFromPropertyList(tree, KSPropertyListFormat::OpenStep),
    };
    std::mt19937 random(2026);
    int readable = 0;
    for (int round = 0; round < 600; ++round) {
        KSData data = originals[static_cast<std::size_t>(round) % originals.size()];
        int damage = 1 + static_cast<int>(random() % 4);
        for (int k = 0; k < damage && !data.empty(); ++k) {
            std::size_t at = random() % data.size();
            switch (random() % 3) {
                case 0:
                    data[at] = static_cast<std::uint8_t>(random());
                    break;
                case 1:
                    data.erase(data.begin() + static_cast<std::ptrdiff_t>(at));
                    break;
                default:
                    data.resize(at);
                    break;
            }
        }
        KSError error;
        KSValue value = KSPropertyList::propertyListFromData(data, nullptr, &error);
        if (value.isNull()) {
            EXPECT_TRUE(error.isSet());
        } else {
            ++readable;
        }
    }
    EXPECT_LT(readable, 600);
}

}  // namespace
}  // namespace kestrum
