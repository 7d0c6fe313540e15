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

struct Directive {
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

void pad(std::string& out, const std::string& body, const Directive& directive) {
    std::size_t length = characterCount(body);
    if (directive.width < 0 || length >= static_cast<std::size_t>(directive.width)) {
        out += body;
        return;
    }
    std::size_t fill = static_cast<std::size_t>(directive.width) - length;
    // As in C: zeros pad numbers only, and not an integer with a precision or an
    // infinity or NaN.
    bool zeros = directive.zeroPad && directive.conversion != '@' && directive.conversion != 's' &&
                 directive.conversion != 'c' && directive.conversion != 'C' &&
                 !(isIntegerConversion(directive.conversion) && directive.precision >= 0) &&
                 body.find_first_of("infa") == std::string::npos;
    if (directive.leftAlign) {
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
std::string cFormat(const Directive& directive, double d) {
    std::string format = "%";
    if (directive.plus) format += '+';
    if (directive.space) format += ' ';
    if (directive.alternate) format += '#';
    if (directive.precision >= 0) format += "." + std::to_string(directive.precision);
    format += directive.conversion;
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

std::string integerText(const Directive& directive, const KSValue& value, bool isUnsigned) {
    std::string digits;
    bool negative = false;
    if (directive.conversion == 'x' || directive.conversion == 'X' || directive.conversion == 'o' ||
        isUnsigned) {
        std::uint64_t u = static_cast<std::uint64_t>(value.integerValue());
        if (directive.conversion == 'u' || directive.conversion == 'd' ||
            directive.conversion == 'i') {
            digits = std::to_string(u);
        } else {
            char buffer[32];
            const char* f = directive.conversion == 'x'   ? "%llx"
                            : directive.conversion == 'X' ? "%llX"
                                                          : "%llo";
            std::snprintf(buffer, sizeof buffer, f, static_cast<unsigned long long>(u));
            digits = buffer;
            if (directive.alternate && u != 0) {
                digits = (directive.conversion == 'o'   ? "0"
                          : directive.conversion == 'x' ? "0x"
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
    if (directive.precision >= 0 && digits.size() < static_cast<std::size_t>(directive.precision)) {
        digits.insert(0, static_cast<std::size_t>(directive.precision) - digits.size(), '0');
    }
    if (negative) return "-" + digits;
    if (directive.plus && !isUnsigned) return "+" + digits;
    if (directive.space && !isUnsigned) return " " + digits;
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
               const std::vector<KSFormatArgument>& arguments, Directive* directive) {
    // Positional index: digits followed by '$'.
    std::size_t j = i;
    int position = 0;
    if (readNumber(format, j, &position) && j < format.size() && format[j] == '$' && position > 0) {
        directive->argument = static_cast<std::size_t>(position - 1);
        directive->positional = true;
        i = j + 1;
    }
    for (; i < format.size(); ++i) {
        char f = format[i];
        if (f == '-') {
            directive->leftAlign = true;
        } else if (f == '+') {
            directive->plus = true;
        } else if (f == ' ') {
            directive->space = true;
        } else if (f == '0') {
            directive->zeroPad = true;
        } else if (f == '#') {
            directive->alternate = true;
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
            directive->leftAlign = true;
            width = width == INT_MIN ? kLargestNumber : -width;
        }
        directive->width = std::min(width, kLargestNumber);
    } else if (int width = 0; readNumber(format, i, &width)) {
        directive->width = width;
    }
    if (i < format.size() && format[i] == '.') {
        ++i;
        readNumber(format, i, &directive->precision);
    }
    if (!directive->positional) directive->argument = nextArgument;
    // Length modifiers are accepted and ignored: every integer is 64-bit here.
    while (i < format.size() && std::strchr("hlqLjzt", format[i]) != nullptr)
        ++i;
    if (i >= format.size()) return false;
    directive->conversion = format[i++];
    return true;
}

// The text of a string conversion, cut to the precision in characters.
std::string textOf(const Directive& directive, const KSValue& value) {
    std::string text = value.isString() ? value.asString() : value.description();
    if (directive.precision >= 0)
        text.resize(prefixLength(text, static_cast<std::size_t>(directive.precision)));
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
bool appendConversion(std::string& out, const Directive& directive, const KSValue& value) {
    switch (directive.conversion) {
        case '@':
        case 's':
            pad(out, textOf(directive, value), directive);
            return true;
        case 'd':
        case 'i':
            pad(out, integerText(directive, value, false), directive);
            return true;
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            pad(out, integerText(directive, value, true), directive);
            return true;
        case 'f':
        case 'F':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            pad(out, cFormat(directive, value.doubleValue()), directive);
            return true;
        case 'c':
        case 'C':
            pad(out, characterOf(value), directive);
            return true;
        case 'p': {
            char buffer[32];
            std::snprintf(buffer, sizeof buffer, "0x%llx",
                          static_cast<unsigned long long>(value.integerValue()));
            pad(out, buffer, directive);
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
        Directive directive;
        if (!parseSpec(format, i, nextArgument, arguments, &directive)) {
            out.append(format.substr(start));  // an unfinished conversion stands as it is
            break;
        }
        if (directive.argument >= arguments.size()) {
            // A missing argument prints nothing, but an unknown conversion still shows.
            static const KSValue none;
            std::string ignored;
            if (!appendConversion(ignored, directive, none))
                out.append(format.substr(start, i - start));
            nextArgument = directive.argument + 1;
            continue;
        }
        if (!appendConversion(out, directive, arguments[directive.argument].value())) {
            out.append(format.substr(start, i - start));  // unknown: copied as it stands
            continue;
        }
        nextArgument = directive.argument + 1;
    }
    return out;
}

}  // namespace kestrum
