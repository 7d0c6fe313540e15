// Number text, independent of the C locale.
//
// Reading follows the platform's string-to-number conversions: leading whitespace is
// skipped, an optional sign and the longest numeric prefix are taken, and text with no
// numeric prefix reads as 0 ("12abc" is 12, "abc" is 0). Writing gives the shortest
// text that reads back to the same value.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kestrum {

// 32-bit prefix reading; out-of-range values clamp to INT_MIN / INT_MAX.
int KSIntValueOfString(std::string_view text);
// 64-bit prefix reading; out-of-range values clamp.
std::int64_t KSIntegerValueOfString(std::string_view text);
// Decimal or exponent prefix reading ("1.5e3x" is 1500, ".5" is 0.5); "inf" and "nan"
// are taken as the platform takes them.
double KSDoubleValueOfString(std::string_view text);
inline float KSFloatValueOfString(std::string_view text) {
    return static_cast<float>(KSDoubleValueOfString(text));
}
// True when the first character after whitespace, an optional sign and leading zeros
// is one of Y, y, T, t or a digit 1-9.
bool KSBoolValueOfString(std::string_view text);

// Shortest round-trip text of a double ("0.1", "3", "1e+21", "-0", "inf", "nan").
std::string KSStringFromDouble(double value);
// Shortest round-trip text of a float, as a float ("0.1" for 0.1f).
std::string KSStringFromFloat(float value);
std::string KSStringFromInteger(std::int64_t value);

}  // namespace kestrum
