// Parsing and printing: canonical text, round trips, substitutions and clear errors.
#include <gtest/gtest.h>

#include "Platform/predicate/KSComparisonPredicate.h"
#include "Platform/predicate/KSCompoundPredicate.h"
#include "Platform/predicate/KSPredicate.h"

namespace kestrum {
namespace {

KSPredicatePtr parse(std::string_view format, const KSArray& args = {}) {
    KSError error;
    auto predicate = KSPredicate::predicateWithFormat(format, args, &error);
    EXPECT_TRUE(predicate) << format << ": " << error.localizedDescription();
    return predicate;
}

struct CanonicalCase {
    const char* input;
    const char* canonical;
};

class PredicateCanonicalText : public ::testing::TestWithParam<CanonicalCase> {};

TEST_P(PredicateCanonicalText, PrintsCanonicallyAndParsesBackEqual) {
    auto predicate = parse(GetParam().input);
    ASSERT_TRUE(predicate);
    EXPECT_EQ(predicate->predicateFormat(), GetParam().canonical);
    auto reread = parse(predicate->predicateFormat());
    ASSERT_TRUE(reread);
    EXPECT_EQ(*reread, *predicate);
    EXPECT_EQ(reread->hash(), predicate->hash());
    EXPECT_EQ(reread->predicateFormat(), GetParam().canonical);
}

INSTANTIATE_TEST_SUITE_P(
    Grammar, PredicateCanonicalText,
    ::testing::Values(
        CanonicalCase{"title = 'Design'", "title == \"Design\""},
        CanonicalCase{"title == \"Design\"", "title == \"Design\""},
        CanonicalCase{"effort <> 3", "effort != 3"},
        CanonicalCase{"effort =< 2.5 && priority => -7", "effort <= 2.5 AND priority >= -7"},
        CanonicalCase{"a < 1 || b > 2 or c >= 3", "a < 1 OR b > 2 OR c >= 3"},
        CanonicalCase{"title beginswith[c] 'x'", "title BEGINSWITH[c] \"x\""},
        CanonicalCase{"title ENDSWITH[d] 'x'", "title ENDSWITH[d] \"x\""},
        CanonicalCase{"title CONTAINS[dc] 'x'", "title CONTAINS[cd] \"x\""},
        CanonicalCase{"title LIKE 'De*gn?'", "title LIKE \"De*gn?\""},
        CanonicalCase{"title MATCHES '[A-Z].*'", "title MATCHES \"[A-Z].*\""},
        CanonicalCase{"priority IN {1, 2, 3}", "priority IN {1, 2, 3}"},
        CanonicalCase{"effort BETWEEN {1.5, 1e+21}", "effort BETWEEN {1.5, 1e+21}"},
        CanonicalCase{"isCompleted == yes AND note == NULL", "isCompleted == YES AND note == nil"},
        CanonicalCase{"isCompleted = FALSE", "isCompleted == NO"},
        CanonicalCase{"not title == 'x'", "NOT title == \"x\""},
        CanonicalCase{"!(a == 1 AND b == 2)", "NOT (a == 1 AND b == 2)"},
        CanonicalCase{"(a == 1 OR b == 2) AND c == 3", "(a == 1 OR b == 2) AND c == 3"},
        CanonicalCase{"(a == 1 AND b == 2) AND c == 3", "(a == 1 AND b == 2) AND c == 3"},
        CanonicalCase{"truepredicate", "TRUEPREDICATE"},
        CanonicalCase{"FALSEPREDICATE OR TRUEPREDICATE", "FALSEPREDICATE OR TRUEPREDICATE"},
        CanonicalCase{"owner.name == 'Zoë'", "owner.name == \"Zoë\""},
        CanonicalCase{"SELF == 'x'", "SELF == \"x\""},
        CanonicalCase{"SELF.owner.name == 'x'", "owner.name == \"x\""},
        CanonicalCase{"#in == 1", "#in == 1"},
        CanonicalCase{"#\"Custom Key\" == 1", "#\"Custom Key\" == 1"},
        CanonicalCase{"subtasks.@count > 2", "subtasks.@count > 2"},
        CanonicalCase{"ANY tags == 'red'", "ANY tags == \"red\""},
        CanonicalCase{"some tags == 'red'", "ANY tags == \"red\""},
        CanonicalCase{"ALL tags BEGINSWITH 'r'", "ALL tags BEGINSWITH \"r\""},
        CanonicalCase{"NONE tags == 'red'", "NOT ANY tags == \"red\""},
        CanonicalCase{"title == 'say \\'hi\\'\\n\\u00e9'", "title == \"say 'hi'\\né\""},
        CanonicalCase{"dueDate > CAST(752112000, \"NSDate\")",
                      "dueDate > CAST(752112000, \"NSDate\")"},
        CanonicalCase{"dueDate < cast('1.5', 'NSDate')", "dueDate < CAST(1.5, \"NSDate\")"},
        CanonicalCase{"x == 0x1F", "x == 31"}, CanonicalCase{"x IN {a, 1}", "x IN {a, 1}"},
        CanonicalCase{"x IN {}", "x IN {}"}));

TEST(PredicateFormat, SubstitutesValuesAndKeysAtParseTime) {
    KSDate date = KSDate::dateWithTimeIntervalSinceReferenceDate(86400.0);
    auto predicate = parse("%K BEGINSWITH %@ AND effort > %d AND dueDate < %@ AND priority IN %@",
                           {KSValue("owner.name"), KSValue("Zo"), KSValue(3600), KSValue(date),
                            KSValue::array({KSValue(1), KSValue(2)})});
    ASSERT_TRUE(predicate);
    EXPECT_EQ(predicate->predicateFormat(),
              "owner.name BEGINSWITH \"Zo\" AND effort > 3600 AND dueDate < CAST(86400, "
              "\"NSDate\") AND priority IN {1, 2}");
    // A substituted array and a written aggregate are the same expression.
    EXPECT_EQ(*predicate, *parse(predicate->predicateFormat()));
}

TEST(PredicateFormat, SubstitutedKeysAndStringsNeedNoEscaping) {
    auto predicate = parse("%K == %@", {KSValue("Custom Key"), KSValue("a \"quoted\" \\ value")});
    ASSERT_TRUE(predicate);
    EXPECT_EQ(predicate->predicateFormat(), "#\"Custom Key\" == \"a \\\"quoted\\\" \\\\ value\"");
    EXPECT_EQ(*parse(predicate->predicateFormat()), *predicate);
}

TEST(PredicateFormat, QuotedSpecifiersAreLiteralText) {
    auto predicate = parse("title == '%@'");
    ASSERT_TRUE(predicate);
    EXPECT_EQ(predicate->predicateFormat(), "title == \"%@\"");
}

TEST(PredicateFormat, KeepsTheTreeShape) {
    auto predicate = parse("a == 1 AND (b == 2 OR c == 3) AND NOT d == 4");
    ASSERT_TRUE(predicate);
    auto compound = std::dynamic_pointer_cast<const KSCompoundPredicate>(predicate);
    ASSERT_TRUE(compound);
    EXPECT_EQ(compound->compoundPredicateType(), KSCompoundPredicateType::And);
    ASSERT_EQ(compound->subpredicates().size(), 3u);
    auto inner = std::dynamic_pointer_cast<const KSCompoundPredicate>(compound->subpredicates()[1]);
    ASSERT_TRUE(inner);
    EXPECT_EQ(inner->compoundPredicateType(), KSCompoundPredicateType::Or);
    auto comparison =
        std::dynamic_pointer_cast<const KSComparisonPredicate>(compound->subpredicates()[0]);
    ASSERT_TRUE(comparison);
    EXPECT_EQ(comparison->leftExpression()->keyPath(), "a");
    EXPECT_EQ(comparison->rightExpression()->constantValue(), KSValue(1));
}

TEST(PredicateFormat, EqualityIsStructural) {
    EXPECT_EQ(*parse("a == 1"), *parse("a = 1"));
    EXPECT_EQ(*parse("a == 1"), *parse("a == 1.0"));  // numbers compare by value
    EXPECT_NE(*parse("a == 1"), *parse("a == 2"));
    EXPECT_NE(*parse("a == 1"), *parse("a == '1'"));
    EXPECT_NE(*parse("a == 'x'"), *parse("a ==[c] 'x'"));
    EXPECT_NE(*parse("a == 1 AND b == 2"), *parse("a == 1 OR b == 2"));
    EXPECT_NE(*parse("a == 1 AND b == 2 AND c == 3"), *parse("(a == 1 AND b == 2) AND c == 3"));
    EXPECT_NE(*parse("ANY a == 1"), *parse("a == 1"));
}

TEST(PredicateFormat, BuiltTreesPrintTheirEquivalents) {
    auto empty = KSCompoundPredicate::andPredicateWithSubpredicates({});
    EXPECT_EQ(empty->predicateFormat(), "TRUEPREDICATE");
    EXPECT_EQ(KSCompoundPredicate::orPredicateWithSubpredicates({})->predicateFormat(),
              "FALSEPREDICATE");
    auto single = KSCompoundPredicate::orPredicateWithSubpredicates({parse("a == 1")});
    EXPECT_EQ(single->predicateFormat(), "a == 1");
}

struct BadFormat {
    const char* text;
    const char* reason;
    long code;
};

class PredicateFormatErrors : public ::testing::TestWithParam<BadFormat> {};

TEST_P(PredicateFormatErrors, AnswerNullWithAClearError) {
    KSError error;
    KSPredicatePtr predicate;
    EXPECT_NO_THROW(predicate = KSPredicate::predicateWithFormat(GetParam().text, {}, &error));
    EXPECT_FALSE(predicate);
    EXPECT_EQ(error.domain(), KSPredicateErrorDomain);
    EXPECT_EQ(error.code(), GetParam().code);
    EXPECT_NE(error.localizedDescription().find(GetParam().reason), std::string::npos)
        << error.localizedDescription();
    EXPECT_NE(error.localizedDescription().find("Unable to parse the format string"),
              std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Malformed, PredicateFormatErrors,
    ::testing::Values(
        BadFormat{"", "empty format string", KSPredicateFormatError},
        BadFormat{"title ==", "offset 8: expected an expression", KSPredicateFormatError},
        BadFormat{"title", "expected an operator", KSPredicateFormatError},
        BadFormat{"title IS 'x'", "expected an operator, found 'IS'", KSPredicateFormatError},
        BadFormat{"title == 'open", "unterminated string", KSPredicateFormatError},
        BadFormat{"(a == 1", "expected ')'", KSPredicateFormatError},
        BadFormat{"a == 1)", "unexpected ')'", KSPredicateFormatError},
        BadFormat{"a == 1 AND", "expected an expression", KSPredicateFormatError},
        BadFormat{"a ==[x] 1", "unknown comparison option 'x'", KSPredicateFormatError},
        BadFormat{"a == 12ab", "malformed number", KSPredicateFormatError},
        BadFormat{"a MATCHES '(['", "invalid regular expression", KSPredicateFormatError},
        BadFormat{"in == 1", "unexpected reserved word 'in'", KSPredicateFormatError},
        BadFormat{"a == CAST(1, 'NSNumber')", "unsupported CAST", KSPredicateFormatError},
        BadFormat{"a == %@", "missing argument 1 for %@", KSPredicateArgumentError},
        BadFormat{"a == %s", "unsupported format specifier", KSPredicateFormatError},
        BadFormat{"a ~ 1", "unexpected character '~'", KSPredicateFormatError},
        BadFormat{"a == '\\u12'", "incomplete \\u escape", KSPredicateFormatError}));

TEST(PredicateFormat, KeyArgumentMustBeAString) {
    KSError error;
    EXPECT_FALSE(KSPredicate::predicateWithFormat("%K == 1", {KSValue(5)}, &error));
    EXPECT_EQ(error.code(), KSPredicateArgumentError);
    EXPECT_NE(error.localizedDescription().find("for %K is not a key path"), std::string::npos);
}

TEST(PredicateFormat, DeepNestingIsRefusedNotOverflowed) {
    std::string deep(100000, '(');
    KSError error;
    EXPECT_FALSE(KSPredicate::predicateWithFormat(deep + "a == 1", {}, &error));
    EXPECT_NE(error.localizedDescription().find("nesting too deep"), std::string::npos);
    std::string nots;
    for (int i = 0; i < 50000; ++i)
        nots += "NOT ";
    EXPECT_FALSE(KSPredicate::predicateWithFormat(nots + "a == 1", {}, &error));
}

TEST(PredicateFormat, ErrorOffsetIsInTheUserInfo) {
    KSError error;
    EXPECT_FALSE(KSPredicate::predicateWithFormat("a == 1 AND b ?? 2", {}, &error));
    EXPECT_EQ(error.userInfo().objectForKey(KSPredicateErrorOffsetKey), KSValue(13));
}

}  // namespace
}  // namespace kestrum

namespace kestrum {
namespace {

// Every prefix of valid text, and seeded random text, either parses to a predicate that
// round-trips through its canonical text or gives an error: never a crash or a throw.
TEST(PredicateFormatRobustness, PrefixesAndNoiseEitherRoundTripOrFail) {
    const std::vector<std::string> samples = {
        "(title BEGINSWITH[cd] 'Ré' OR ANY tags IN {'a', \"b\\\"\"}) AND NOT effort BETWEEN "
        "{-1.5e3, 0x10}",
        "dueDate >= CAST(12.5, \"NSDate\") && #\"Custom Key\" LIKE[c] '*x?' || SELF.owner.@count "
        "!= nil",
        "NONE subtasks.effort MATCHES '^[0-9]+$' AND TRUEPREDICATE OR !FALSEPREDICATE"};
    auto check = [](const std::string& text) {
        KSError error;
        KSPredicatePtr predicate;
        ASSERT_NO_THROW(predicate = KSPredicate::predicateWithFormat(text, {}, &error)) << text;
        if (!predicate) {
            EXPECT_EQ(error.domain(), KSPredicateErrorDomain) << text;
            return;
        }
        auto reread = KSPredicate::predicateWithFormat(predicate->predicateFormat());
        ASSERT_TRUE(reread) << text << " printed as " << predicate->predicateFormat();
        EXPECT_EQ(*reread, *predicate) << text;
    };
    for (const auto& sample : samples) {
        for (std::size_t n = 0; n <= sample.size(); ++n)
            check(sample.substr(0, n));
    }
    const std::string alphabet = "aZ_#@%K()[]{}<>=!&|'\".,-+0123456789 eE\\xcdANDORNOTIN*?\xc3\xa9";
    std::uint32_t seed = 12345;
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        int length = 1 + round % 40;
        for (int i = 0; i < length; ++i) {
            seed = seed * 1664525u + 1013904223u;
            text += alphabet[(seed >> 16) % alphabet.size()];
        }
        check(text);
    }
}

}  // namespace
}  // namespace kestrum
