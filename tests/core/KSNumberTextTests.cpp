// Locale-free number text: prefix reading and shortest round-trip writing.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "Platform/core/KSNumberText.h"

namespace kestrum {
namespace {

TEST(KSNumberTextReading, IntegersTakeTheLongestPrefixAndClamp) {
    EXPECT_EQ(KSIntegerValueOfString("  \t42 and more"), 42);
    EXPECT_EQ(KSIntegerValueOfString("-9223372036854775808"),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(KSIntegerValueOfString("9223372036854775807"),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(KSIntegerValueOfString("9223372036854775808"),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(KSIntegerValueOfString("-99999999999999999999999"),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(KSIntegerValueOfString("- 5"), 0);
    EXPECT_EQ(KSIntegerValueOfString("0x1F"), 0);
    EXPECT_EQ(KSIntValueOfString("2147483648"), 2147483647);
    EXPECT_EQ(KSIntValueOfString("-2147483649"), -2147483647 - 1);
}

TEST(KSNumberTextReading, DoublesTakeDecimalAndExponentPrefixes) {
    EXPECT_EQ(KSDoubleValueOfString("1."), 1.0);
    EXPECT_EQ(KSDoubleValueOfString("-.25"), -0.25);
    EXPECT_EQ(KSDoubleValueOfString("2e"), 2.0);
    EXPECT_EQ(KSDoubleValueOfString("2e+"), 2.0);
    EXPECT_EQ(KSDoubleValueOfString("2e-2"), 0.02);
    EXPECT_EQ(KSDoubleValueOfString("1,5"), 1.0);  // no locale: a comma ends the number
    EXPECT_EQ(KSDoubleValueOfString("."), 0.0);
    EXPECT_EQ(KSDoubleValueOfString(""), 0.0);
    EXPECT_TRUE(std::signbit(KSDoubleValueOfString("-0")));
    EXPECT_TRUE(std::isnan(KSDoubleValueOfString("NaN")));
    EXPECT_EQ(KSDoubleValueOfString("-Infinity"), -std::numeric_limits<double>::infinity());
    EXPECT_FLOAT_EQ(KSFloatValueOfString("0.99"), 0.99f);
}

TEST(KSNumberTextReading, OutOfRangeDoublesOverflowToInfinityAndUnderflowToZero) {
    EXPECT_EQ(KSDoubleValueOfString("1e400"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(KSDoubleValueOfString("-1e400"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(KSDoubleValueOfString("1e-400"), 0.0);
    // Long digit strings without an exponent.
    std::string tiny = "0." + std::string(400, '0') + "1";
    EXPECT_EQ(KSDoubleValueOfString(tiny), 0.0);
    std::string huge = "1" + std::string(400, '0');
    EXPECT_EQ(KSDoubleValueOfString(huge), std::numeric_limits<double>::infinity());
    std::string tinyWithExponent = "0." + std::string(100, '0') + "1e-300";
    EXPECT_EQ(KSDoubleValueOfString(tinyWithExponent), 0.0);
    std::string hugeWithNegativeExponent = "1" + std::string(400, '0') + "e-10";
    EXPECT_EQ(KSDoubleValueOfString(hugeWithNegativeExponent),
              std::numeric_limits<double>::infinity());
}

TEST(KSNumberTextWriting, GivesTheShortestTextThatReadsBack) {
    EXPECT_EQ(KSStringFromDouble(0.1), "0.1");
    EXPECT_EQ(KSStringFromDouble(3.0), "3");
    EXPECT_EQ(KSStringFromDouble(-0.0), "-0");
    EXPECT_EQ(KSStringFromDouble(28800.0), "28800");
    EXPECT_EQ(KSStringFromDouble(1e21), "1e+21");
    EXPECT_EQ(KSStringFromDouble(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(KSStringFromDouble(-std::numeric_limits<double>::infinity()), "-inf");
    EXPECT_EQ(KSStringFromDouble(std::nan("")), "nan");
    EXPECT_EQ(KSStringFromFloat(0.1f), "0.1");
    EXPECT_EQ(KSStringFromFloat(0.99f), "0.99");
    EXPECT_EQ(KSStringFromInteger(-9223372036854775807LL - 1), "-9223372036854775808");

    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> spread(-1e6, 1e6);
    for (int i = 0; i < 2000; ++i) {
        double d = spread(random) * std::pow(10.0, static_cast<int>(random() % 40) - 20);
        EXPECT_EQ(KSDoubleValueOfString(KSStringFromDouble(d)), d) << KSStringFromDouble(d);
        float f = static_cast<float>(d);
        EXPECT_EQ(KSFloatValueOfString(KSStringFromFloat(f)), f) << KSStringFromFloat(f);
    }
}

}  // namespace
}  // namespace kestrum
