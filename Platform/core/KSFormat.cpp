#include "Platform/core/KSFormat.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

KSFormatArgument::KSFormatArgument(const KSBaseObject* object)
    : value_(object ? KSValue(object->description()) : KSValue()) {}

namespace {

struct Spec {
    bool leftAlign = false;
    bool plus = false;
    bool space = false;
    bool zeroPad = false;
    bool alternate = false;
    int width = -1;
    int precision = -1;
    char conversion = 0;
};

void appendUTF8(std::string& out, std::uint32_t code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x110000) {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

// Number of code points, for padding to a width in characters.
std::size_t characterCount(const std::string& s) {
    std::size_t n = 0;
    for (unsigned char c : s) {
        if ((c & 0xC0) != 0x80) ++n;
    }
    return n;
}

void pad(std::string& out, const std::string& body, const Spec& spec) {
    std::size_t length = characterCount(body);
    if (spec.width < 0 || length >= static_cast<std::size_t>(spec.width)) {
        out += body;
        return;
    }
    std::size_t fill = static_cast<std::size_t>(spec.width) - length;
    if (spec.leftAlign) {
        out += body;
        out.append(fill, ' ');
    } else if (spec.zeroPad && spec.conversion != '@' && spec.conversion != 's' &&
               spec.conversion != 'c') {
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

// Formats one C numeric conversion through snprintf with a locale-free result: the C
// library here runs in the "C" locale for numbers, and a decimal comma is mended.
std::string cFormat(const Spec& spec, double d) {
    std::string format = "%";
    if (spec.plus) format += '+';
    if (spec.space) format += ' ';
    if (spec.alternate) format += '#';
    if (spec.precision >= 0) format += "." + std::to_string(spec.precision);
    format += spec.conversion;
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
    for (char& c : result) {
        if (c == ',') c = '.';
    }
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
        std::size_t start = i;
        ++i;
        if (i >= format.size()) {
            out += '%';
            break;
        }
        if (format[i] == '%') {
            out += '%';
            ++i;
            continue;
        }
        Spec spec;
        // Positional index: digits followed by '$'.
        std::size_t argumentIndex = nextArgument;
        bool positional = false;
        {
            std::size_t j = i;
            int number = 0;
            while (j < format.size() && format[j] >= '0' && format[j] <= '9') {
                number = number * 10 + (format[j] - '0');
                ++j;
            }
            if (j > i && j < format.size() && format[j] == '$' && number > 0) {
                argumentIndex = static_cast<std::size_t>(number - 1);
                positional = true;
                i = j + 1;
            }
        }
        // Flags.
        for (; i < format.size(); ++i) {
            char f = format[i];
            if (f == '-') {
                spec.leftAlign = true;
            } else if (f == '+') {
                spec.plus = true;
            } else if (f == ' ') {
                spec.space = true;
            } else if (f == '0') {
                spec.zeroPad = true;
            } else if (f == '#') {
                spec.alternate = true;
            } else if (f == '\'') {
                // thousands grouping: not applied, accepted for compatibility
            } else {
                break;
            }
        }
        // Width.
        if (i < format.size() && format[i] == '*') {
            ++i;
            if (nextArgument < arguments.size()) {
                spec.width = arguments[nextArgument].value().intValue();
            }
            ++nextArgument;
            if (!positional) argumentIndex = nextArgument;
            if (spec.width < 0) {
                spec.leftAlign = true;
                spec.width = -spec.width;
            }
        } else {
            int width = 0;
            bool any = false;
            while (i < format.size() && format[i] >= '0' && format[i] <= '9') {
                width = width * 10 + (format[i] - '0');
                ++i;
                any = true;
            }
            if (any) spec.width = width;
        }
        // Precision.
        if (i < format.size() && format[i] == '.') {
            ++i;
            int precision = 0;
            while (i < format.size() && format[i] >= '0' && format[i] <= '9') {
                precision = precision * 10 + (format[i] - '0');
                ++i;
            }
            spec.precision = precision;
        }
        // Length modifiers are accepted and ignored: every integer is 64-bit here.
        while (i < format.size() && std::strchr("hlqLjzt", format[i]) != nullptr)
            ++i;
        if (i >= format.size()) {
            out.append(format.substr(start));
            break;
        }
        spec.conversion = format[i];
        ++i;

        const KSValue* value = nullptr;
        static const KSValue nullValue;
        if (argumentIndex < arguments.size()) {
            value = &arguments[argumentIndex].value();
        } else {
            value = &nullValue;
        }
        bool known = true;
        switch (spec.conversion) {
            case '@':
            case 's': {
                std::string text = value->isString() ? value->asString() : value->description();
                if (spec.conversion == 's' && value->isNull()) text = "(null)";
                if (spec.precision >= 0 && text.size() > static_cast<std::size_t>(spec.precision)) {
                    text.resize(static_cast<std::size_t>(spec.precision));
                }
                pad(out, text, spec);
                break;
            }
            case 'd':
            case 'i':
                pad(out, integerText(spec, *value, false), spec);
                break;
            case 'u':
            case 'x':
            case 'X':
            case 'o':
                pad(out, integerText(spec, *value, true), spec);
                break;
            case 'f':
            case 'F':
            case 'e':
            case 'E':
            case 'g':
            case 'G':
            case 'a':
            case 'A':
                pad(out, cFormat(spec, value->doubleValue()), spec);
                break;
            case 'c':
            case 'C': {
                std::string text;
                if (value->isString()) {
                    text = value->asString().substr(0, 1);
                } else {
                    appendUTF8(text, static_cast<std::uint32_t>(value->integerValue()));
                }
                pad(out, text, spec);
                break;
            }
            case 'p': {
                char buffer[32];
                std::snprintf(buffer, sizeof buffer, "0x%llx",
                              static_cast<unsigned long long>(value->integerValue()));
                pad(out, buffer, spec);
                break;
            }
            default:
                known = false;
                out.append(format.substr(start, i - start));
                break;
        }
        if (known && !positional) nextArgument = argumentIndex + 1;
        if (known && positional) nextArgument = argumentIndex + 1;
    }
    return out;
}

}  // namespace kestrum
