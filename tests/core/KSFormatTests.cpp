// The format engine: "%@", positional arguments, the numeric conversions with flags,
// width and precision, and the library's own format strings.
#include <gtest/gtest.h>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSFormat.h"

namespace kestrum {
namespace {

class KSNamedObject : public KSBaseObject {
public:
    std::string description() const override { return "Task 12"; }
};

enum class KSTestKind { SS = 0, SF = 1, FS = 2, FF = 3 };

struct FormatCase {
    std::string expected;
    std::string actual;
};

void expectAll(std::initializer_list<FormatCase> cases) {
    for (const auto& c : cases)
        EXPECT_EQ(c.actual, c.expected);
}

TEST(KSFormat, ObjectConversionUsesDescriptions) {
    KSNamedObject object;
    auto shared = std::make_shared<KSNamedObject>();
    expectAll({
        {"text", KSStringWithFormat("%@", "text")},
        {"42", KSStringWithFormat("%@", 42)},
        {"0.5", KSStringWithFormat("%@", 0.5)},
        {"1", KSStringWithFormat("%@", true)},
        {"(null)", KSStringWithFormat("%@", KSValue())},
        {"Task 12", KSStringWithFormat("%@", object)},
        {"Task 12", KSStringWithFormat("%@", &object)},
        {"Task 12", KSStringWithFormat("%@", KSValue(shared))},
        {"(null)", KSStringWithFormat("%@", static_cast<const KSBaseObject*>(nullptr))},
        {"(\n    1,\n    a\n)", KSStringWithFormat("%@", KSValue::array({1, "a"}))},
        {"2001-01-01 00:00:00 +0000", KSStringWithFormat("%@", KSDate{0})},
        {"Error Domain=Kestrum Code=1 \"Oops\"",
         KSStringWithFormat("%@", KSError::errorWithDescription("Kestrum", 1, "Oops"))},
        {"[  ab]", KSStringWithFormat("[%4@]", "ab")},
        {"[ab  ]", KSStringWithFormat("[%-4@]", "ab")},
    });
}

TEST(KSFormat, PositionalArgumentsPickTheirArgument) {
    expectAll({
        {"b a", KSStringWithFormat("%2$@ %1$@", "a", "b")},
        {"x x", KSStringWithFormat("%1$@ %1$@", "x")},
        {"3 items in Plan", KSStringWithFormat("%1$d items in %2$@", 3, "Plan")},
        {"Plan has 3", KSStringWithFormat("%2$@ has %1$ld", 3, "Plan")},
        {"+5%", KSStringWithFormat("%1$+d%%", 5)},
        {"[  7]", KSStringWithFormat("[%1$3d]", 7)},
        {"<li><a href=ksaction:removeOther-4>Remove</a>: (1.2) Design \xE2\x86\x92 (1.3) Build",
         KSStringWithFormat("<li><a href=ksaction:removeOther-%6$d>Remove</a>: (%1$@) %2$@ %3$@ "
                            "(%4$@) %5$@",
                            "1.2", "Design", "\xE2\x86\x92", "1.3", "Build", 4)},
        {"<b>Bob</b> becomes available after task <b>Design</b>: 3 May",
         KSStringWithFormat("<b>%3$@</b> becomes available after task <b>%2$@</b>: %1$@", "3 May",
                            "Design", "Bob")},
    });
}

TEST(KSFormat, IntegerConversions) {
    expectAll({
        {"42", KSStringWithFormat("%d", 42)},
        {"-42", KSStringWithFormat("%i", -42)},
        {"9000000000", KSStringWithFormat("%ld", 9000000000LL)},
        {"9000000000", KSStringWithFormat("%lld", 9000000000LL)},
        {"+5", KSStringWithFormat("%+d", 5)},
        {"-5", KSStringWithFormat("%+d", -5)},
        {"+0", KSStringWithFormat("%+d", 0)},
        {" 5", KSStringWithFormat("% d", 5)},
        {"   42", KSStringWithFormat("%5d", 42)},
        {"42   |", KSStringWithFormat("%-5d|", 42)},
        {"00042", KSStringWithFormat("%05d", 42)},
        {"-0042", KSStringWithFormat("%05d", -42)},
        {"007", KSStringWithFormat("%.3d", 7)},
        {"  007", KSStringWithFormat("%05.3d", 7)},
        {"03", KSStringWithFormat("%02d", 3)},
        {" 3", KSStringWithFormat("%2d", 3)},
        {"7", KSStringWithFormat("%u", 7)},
        {"ff FF 0xff 17", KSStringWithFormat("%x %X %#x %o", 255, 255, 255, 15)},
        {"12", KSStringWithFormat("%d", "12 apples")},
        {"2", KSStringWithFormat("%d", 2.9)},
        {"1", KSStringWithFormat("%d", true)},
        {"t12", KSStringWithFormat("%@%ld", "t", 12)},
        {"task-1", KSStringWithFormat("task%ld", -1)},
        {"kind 3", KSStringWithFormat("kind %d", KSTestKind::FF)},
    });
}

TEST(KSFormat, FloatingConversions) {
    expectAll({
        {"1.500000", KSStringWithFormat("%f", 1.5)},
        {"3.14", KSStringWithFormat("%.2f", 3.14159)},
        {"+2.5", KSStringWithFormat("%+.1f", 2.5)},
        {"002.5", KSStringWithFormat("%05.1f", 2.5)},
        {"-02.5", KSStringWithFormat("%05.1f", -2.5)},
        {"1.500000e+00", KSStringWithFormat("%e", 1.5)},
        {"+3600", KSStringWithFormat("%+g", 3600.0)},
        {"-0.5", KSStringWithFormat("%+g", -0.5)},
        {"12FS+3600", KSStringWithFormat("%ld%@%+g", 12, "FS", 3600.0)},
        {"2", KSStringWithFormat("%.0f", 2.4)},
        {"0.100000", KSStringWithFormat("%f", "0.1")},
        {"Leveling completed. Total elapsed time: 0.250000 seconds",
         KSStringWithFormat("Leveling completed. Total elapsed time: %f seconds", 0.25)},
    });
}

TEST(KSFormat, CharactersAndPercent) {
    expectAll({
        {"+2d", KSStringWithFormat("%c%@", 43, "2d")},
        {"-2d", KSStringWithFormat("%c%@", 45, "2d")},
        {"\xE2\x86\x92", KSStringWithFormat("%C", 0x2192)},
        {"\xC3\xA9", KSStringWithFormat("%c", "\xC3\xA9t\xC3\xA9")},
        {"100%", KSStringWithFormat("%d%%", 100)},
        {"%", KSStringWithFormat("%")},
        {"50% done", KSStringWithFormat("50%% done")},
    });
}

TEST(KSFormat, PrecisionAndWidthCountCharactersNotBytes) {
    expectAll({
        {"\xC3\xA9t\xC3\xA9", KSStringWithFormat("%.3@", "\xC3\xA9t\xC3\xA9s")},
        {"\xC3\xA9", KSStringWithFormat("%.1s", "\xC3\xA9t\xC3\xA9")},
        {"  \xC3\xA9t\xC3\xA9", KSStringWithFormat("%5@", "\xC3\xA9t\xC3\xA9")},
    });
}

TEST(KSFormat, OddFormatsNeverCrash) {
    expectAll({
        {"%y and %q", KSStringWithFormat("%y and %q")},
        {"%n", KSStringWithFormat("%n", 5)},
        {"value: ", KSStringWithFormat("value: %d")},  // missing argument
        {"a (null) b", KSStringWithFormat("%@ %@ %@", "a", KSValue(), "b")},
        {"a ", KSStringWithFormat("%@ %@", "a")},
        {"x", KSStringWithFormat("%3$@x", 1)},
        {"%5", KSStringWithFormat("%5")},
        {"%1$", KSStringWithFormat("%1$")},
        {"[  4]", KSStringWithFormat("[%*d]", 3, 4)},
        {"[4  ]", KSStringWithFormat("[%*d]", -3, 4)},
    });
    // Absurd widths, precisions and positions are bounded instead of overflowing.
    std::string wide = KSStringWithFormat("%99999999999999999999d", 1);
    EXPECT_LE(wide.size(), 100000u);
    EXPECT_EQ(wide.back(), '1');
    std::string precise = KSStringWithFormat("%.99999999999999999999f", 1.0);
    EXPECT_LE(precise.size(), 100000u);
    EXPECT_EQ(precise.substr(0, 2), "1.");
    EXPECT_EQ(KSStringWithFormat("%99999999999999999999$@|", "a"), "|");
}

}  // namespace
}  // namespace kestrum
