#include "Platform/core/KSNumberText.h"

#include <charconv>
#include <climits>
#include <cmath>
#include <limits>

namespace kestrum {

namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

std::size_t skipSpace(std::string_view text, std::size_t i = 0) {
    while (i < text.size() && isSpace(text[i]))
        ++i;
    return i;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool startsWithNoCase(std::string_view text, std::size_t at, std::string_view word) {
    if (text.size() - at < word.size()) return false;
    for (std::size_t k = 0; k < word.size(); ++k) {
        char c = text[at + k];
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (c != word[k]) return false;
    }
    return true;
}

// The power of ten of the first significant digit of a decimal number ("0.01" is -2,
// "250e3" is 5), to tell an underflow from an overflow. Exponents are clamped far beyond
// the range of a double.
long decimalExponent(std::string_view number) {
    std::size_t end = number.find_first_of("eE");
    std::string_view mantissa = number.substr(0, end);
    std::size_t point = mantissa.find('.');
    std::size_t integerDigits = point == std::string_view::npos ? mantissa.size() : point;
    std::size_t first = mantissa.find_first_of("123456789");
    if (first == std::string_view::npos) return 0;
    long power = first < integerDigits ? static_cast<long>(integerDigits - first) - 1
                                       : -static_cast<long>(first - integerDigits);
    long exponent = 0;
    bool negativeExponent = false;
    if (end != std::string_view::npos) {
        std::size_t i = end + 1;
        if (i < number.size() && (number[i] == '+' || number[i] == '-')) {
            negativeExponent = number[i] == '-';
            ++i;
        }
        for (; i < number.size(); ++i) {
            if (exponent < 100000000) exponent = exponent * 10 + (number[i] - '0');
        }
    }
    return power + (negativeExponent ? -exponent : exponent);
}

}  // namespace

std::int64_t KSIntegerValueOfString(std::string_view text) {
    std::size_t i = skipSpace(text);
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    // Accumulate as a negative number so that INT64_MIN is representable.
    std::int64_t value = 0;
    bool overflow = false;
    for (; i < text.size() && isDigit(text[i]); ++i) {
        int digit = text[i] - '0';
        if (value < (std::numeric_limits<std::int64_t>::min() + digit) / 10) {
            overflow = true;
            continue;
        }
        value = value * 10 - digit;
    }
    if (overflow) {
        return negative ? std::numeric_limits<std::int64_t>::min()
                        : std::numeric_limits<std::int64_t>::max();
    }
    if (negative) return value;
    if (value == std::numeric_limits<std::int64_t>::min()) {
        return std::numeric_limits<std::int64_t>::max();
    }
    return -value;
}

int KSIntValueOfString(std::string_view text) {
    std::int64_t v = KSIntegerValueOfString(text);
    if (v > INT_MAX) return INT_MAX;
    if (v < INT_MIN) return INT_MIN;
    return static_cast<int>(v);
}

double KSDoubleValueOfString(std::string_view text) {
    std::size_t i = skipSpace(text);
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    if (startsWithNoCase(text, i, "inf")) {
        return negative ? -std::numeric_limits<double>::infinity()
                        : std::numeric_limits<double>::infinity();
    }
    if (startsWithNoCase(text, i, "nan")) return std::numeric_limits<double>::quiet_NaN();
    // Find the longest prefix of the form digits [. digits] [e [sign] digits].
    std::size_t start = i;
    std::size_t j = i;
    bool digits = false;
    while (j < text.size() && isDigit(text[j])) {
        ++j;
        digits = true;
    }
    if (j < text.size() && text[j] == '.') {
        ++j;
        while (j < text.size() && isDigit(text[j])) {
            ++j;
            digits = true;
        }
    }
    if (!digits) return 0.0;
    if (j < text.size() && (text[j] == 'e' || text[j] == 'E')) {
        std::size_t k = j + 1;
        if (k < text.size() && (text[k] == '+' || text[k] == '-')) ++k;
        if (k < text.size() && isDigit(text[k])) {
            while (k < text.size() && isDigit(text[k]))
                ++k;
            j = k;
        }
    }
    double value = 0.0;
    auto result =
        std::from_chars(text.data() + start, text.data() + j, value, std::chars_format::general);
    if (result.ec == std::errc::result_out_of_range) {
        // Overflow gives infinity, underflow zero, as strtod does.
        value = decimalExponent(text.substr(start, j - start)) < 0
                    ? 0.0
                    : std::numeric_limits<double>::infinity();
    } else if (result.ec != std::errc()) {
        return 0.0;
    }
    return negative ? -value : value;
}

bool KSBoolValueOfString(std::string_view text) {
    std::size_t i = skipSpace(text);
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    while (i < text.size() && text[i] == '0')
        ++i;
    if (i >= text.size()) return false;
    char c = text[i];
    return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

std::string KSStringFromDouble(double value) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    char buffer[64];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::string KSStringFromFloat(float value) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    char buffer[64];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::string KSStringFromInteger(std::int64_t value) {
    char buffer[32];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

}  // namespace kestrum
