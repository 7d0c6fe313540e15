#include "Platform/core/KSFormat.h"
#include "Platform/core/KSUnicode.h"

#include <locale.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

KSFormatArgument::KSFormatArgument(const KSBaseObject* object)
    : value_(object ? KSValue(object->description()) : KSValue()) {}

namespace {

// Widths, precisions and argument positions beyond this are clamped: no real format
// asks for more, and a runaway number must not allocate gigabytes.
constexpr int kLargestNumber = 10000;

struct Spec {
    bool leftAlign = false;
    bool plus = false;
    bool space = false;
    bool zeroPad = false;
    bool alternate = false;
    int width = -1;
    int precision = -1;
    char conversion = 0;
    // The argument the conversion reads (0-based), and whether it was given by position.
    std::size_t argument = 0;
    bool positional = false;
};

// The length in bytes of the first `characters` code points of `s`.
std::size_t prefixLength(const std::string& s, std::size_t characters) {
    std::size_t i = 0;
    for (std::size_t n = 0; i < s.size(); ++i) {
        if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80 && n++ == characters) break;
    }
    return i;
}

// Number of code points, for padding to a width in characters.
std::size_t characterCount(const std::string& s) {
    std::size_t n = 0;
    for (unsigned char c : s) {
        if ((c & 0xC0) != 0x80) ++n;
    }
    return n;
}

bool isIntegerConversion(char c) {
    return c == 'd' || c == 'i' || c == 'u' || c == 'x' || c == 'X' || c == 'o';
}

void pad(std::string& out, const std::string& body, const Spec& spec) {
    std::size_t length = characterCount(body);
    if (spec.width < 0 || length >= static_cast<std::size_t>(spec.width)) {
        out += body;
        return;
    }
    std::size_t fill = static_cast<std::size_t>(spec.width) - length;
    // As in C: zeros pad numbers only, and not an integer with a precision or an
    // infinity or NaN.
    bool zeros = spec.zeroPad && spec.conversion != '@' && spec.conversion != 's' &&
                 spec.conversion != 'c' && spec.conversion != 'C' &&
                 !(isIntegerConversion(spec.conversion) && spec.precision >= 0) &&
                 body.find_first_of("infa") == std::string::npos;
    if (spec.leftAlign) {
        out += body;
        out.append(fill, ' ');
    } else if (zeros) {
        // Zeros go after the sign or the 0x prefix.
        std::size_t prefix = 0;
        if (!body.empty() && (body[0] == '-' || body[0] == '+' || body[0] == ' ')) prefix = 1;
        if (body.size() > prefix + 1 && body[prefix] == '0' &&
            (body[prefix + 1] == 'x' || body[prefix + 1] == 'X')) {
            prefix += 2;
        }
        out.append(body, 0, prefix);
        out.append(fill, '0');
        out.append(body, prefix, std::string::npos);
    } else {
        out.append(fill, ' ');
        out += body;
    }
}

// The C locale, for number text that never depends on the process's locale.
locale_t cLocale() {
    static locale_t locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return locale;
}

// Formats one floating-point conversion through snprintf in the C locale.
std::string cFormat(const Spec& spec, double d) {
    std::string format = "%";
    if (spec.plus) format += '+';
    if (spec.space) format += ' ';
    if (spec.alternate) format += '#';
    if (spec.precision >= 0) format += "." + std::to_string(spec.precision);
    format += spec.conversion;
    locale_t previous = uselocale(cLocale());
    char buffer[512];
    int n = std::snprintf(buffer, sizeof buffer, format.c_str(), d);
    std::string result;
    if (n >= static_cast<int>(sizeof buffer)) {
        std::vector<char> big(static_cast<std::size_t>(n) + 1);
        std::snprintf(big.data(), big.size(), format.c_str(), d);
        result.assign(big.data(), static_cast<std::size_t>(n));
    } else {
        result.assign(buffer, static_cast<std::size_t>(std::max(n, 0)));
    }
    uselocale(previous);
    return result;
}

std::string integerText(const Spec& spec, const KSValue& value, bool isUnsigned) {
    std::string digits;
    bool negative = false;
    if (spec.conversion == 'x' || spec.conversion == 'X' || spec.conversion == 'o' || isUnsigned) {
        std::uint64_t u = static_cast<std::uint64_t>(value.integerValue());
        if (spec.conversion == 'u' || spec.conversion == 'd' || spec.conversion == 'i') {
            digits = std::to_string(u);
        } else {
            char buffer[32];
            const char* f = spec.conversion == 'x'   ? "%llx"
                            : spec.conversion == 'X' ? "%llX"
                                                     : "%llo";
            std::snprintf(buffer, sizeof buffer, f, static_cast<unsigned long long>(u));
            digits = buffer;
            if (spec.alternate && u != 0) {
                digits = (spec.conversion == 'o'   ? "0"
                          : spec.conversion == 'x' ? "0x"
                                                   : "0X") +
                         digits;
            }
        }
    } else {
        std::int64_t i = value.integerValue();
        negative = i < 0;
        std::uint64_t magnitude =
            negative ? (0 - static_cast<std::uint64_t>(i)) : static_cast<std::uint64_t>(i);
        digits = std::to_string(magnitude);
    }
    if (spec.precision >= 0 && digits.size() < static_cast<std::size_t>(spec.precision)) {
        digits.insert(0, static_cast<std::size_t>(spec.precision) - digits.size(), '0');
    }
    if (negative) return "-" + digits;
    if (spec.plus && !isUnsigned) return "+" + digits;
    if (spec.space && !isUnsigned) return " " + digits;
    return digits;
}

// Reads a decimal number at `i`, clamped to kLargestNumber; answers whether there was one.
bool readNumber(std::string_view format, std::size_t& i, int* out) {
    std::size_t start = i;
    int number = 0;
    for (; i < format.size() && format[i] >= '0' && format[i] <= '9'; ++i) {
        number = std::min(number * 10 + (format[i] - '0'), kLargestNumber);
    }
    *out = number;
    return i > start;
}

// Parses what follows a '%': position, flags, width, precision, length and conversion.
// `nextArgument` advances past a '*' width. Answers false at the end of the format.
bool parseSpec(std::string_view format, std::size_t& i, std::size_t& nextArgument,
               const std::vector<KSFormatArgument>& arguments, Spec* spec) {
    // Positional index: digits followed by '$'.
    std::size_t j = i;
    int position = 0;
    if (readNumber(format, j, &position) && j < format.size() && format[j] == '$' && position > 0) {
        spec->argument = static_cast<std::size_t>(position - 1);
        spec->positional = true;
        i = j + 1;
    }
    for (; i < format.size(); ++i) {
        char f = format[i];
        if (f == '-') {
            spec->leftAlign = true;
        } else if (f == '+') {
            spec->plus = true;
        } else if (f == ' ') {
            spec->space = true;
        } else if (f == '0') {
            spec->zeroPad = true;
        } else if (f == '#') {
            spec->alternate = true;
        } else if (f != '\'') {  // thousands grouping is accepted and not applied
            break;
        }
    }
    if (i < format.size() && format[i] == '*') {
        ++i;
        int width =
            nextArgument < arguments.size() ? arguments[nextArgument].value().intValue() : 0;
        ++nextArgument;
        if (width < 0) {
            spec->leftAlign = true;
            width = width == INT_MIN ? kLargestNumber : -width;
        }
        spec->width = std::min(width, kLargestNumber);
    } else if (int width = 0; readNumber(format, i, &width)) {
        spec->width = width;
    }
    if (i < format.size() && format[i] == '.') {
        ++i;
        readNumber(format, i, &spec->precision);
    }
    if (!spec->positional) spec->argument = nextArgument;
    // Length modifiers are accepted and ignored: every integer is 64-bit here.
    while (i < format.size() && std::strchr("hlqLjzt", format[i]) != nullptr)
        ++i;
    if (i >= format.size()) return false;
    spec->conversion = format[i++];
    return true;
}

// The text of a string conversion, cut to the precision in characters.
std::string textOf(const Spec& spec, const KSValue& value) {
    std::string text = value.isString() ? value.asString() : value.description();
    if (spec.precision >= 0)
        text.resize(prefixLength(text, static_cast<std::size_t>(spec.precision)));
    return text;
}

// A character conversion: a code point, or the first character of a string.
std::string characterOf(const KSValue& value) {
    std::string text;
    if (value.isString()) return value.asString().substr(0, prefixLength(value.asString(), 1));
    KSAppendUTF8(text, static_cast<std::uint32_t>(value.integerValue()));
    return text;
}

// Appends one conversion; answers false when the conversion is unknown.
bool appendConversion(std::string& out, const Spec& spec, const KSValue& value) {
    switch (spec.conversion) {
        case '@':
        case 's':
            pad(out, textOf(spec, value), spec);
            return true;
        case 'd':
        case 'i':
            pad(out, integerText(spec, value, false), spec);
            return true;
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            pad(out, integerText(spec, value, true), spec);
            return true;
        case 'f':
        case 'F':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            pad(out, cFormat(spec, value.doubleValue()), spec);
            return true;
        case 'c':
        case 'C':
            pad(out, characterOf(value), spec);
            return true;
        case 'p': {
            char buffer[32];
            std::snprintf(buffer, sizeof buffer, "0x%llx",
                          static_cast<unsigned long long>(value.integerValue()));
            pad(out, buffer, spec);
            return true;
        }
        default:
            return false;
    }
}

}  // namespace

std::string KSStringWithFormatArguments(std::string_view format,
                                        const std::vector<KSFormatArgument>& arguments) {
    std::string out;
    out.reserve(format.size() + 16 * arguments.size());
    std::size_t nextArgument = 0;
    std::size_t i = 0;
    while (i < format.size()) {
        char c = format[i];
        if (c != '%') {
            out += c;
            ++i;
            continue;
        }
        std::size_t start = i++;
        if (i < format.size() && format[i] == '%') {
            out += '%';
            ++i;
            continue;
        }
        Spec spec;
        if (!parseSpec(format, i, nextArgument, arguments, &spec)) {
            out.append(format.substr(start));  // an unfinished conversion stands as it is
            break;
        }
        if (spec.argument >= arguments.size()) {
            // A missing argument prints nothing, but an unknown conversion still shows.
            static const KSValue none;
            std::string ignored;
            if (!appendConversion(ignored, spec, none)) out.append(format.substr(start, i - start));
            nextArgument = spec.argument + 1;
            continue;
        }
        if (!appendConversion(out, spec, arguments[spec.argument].value())) {
            out.append(format.substr(start, i - start));  // unknown: copied as it stands
            continue;
        }
        nextArgument = spec.argument + 1;
    }
    return out;
}

}  // namespace kestrum
