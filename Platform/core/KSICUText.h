// Conversions between UTF-8 strings and ICU's UTF-16 strings.
#pragma once

#include <string>
#include <string_view>

#include <unicode/unistr.h>

namespace kestrum {

inline std::string KSUTF8String(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

inline icu::UnicodeString KSICUString(std::string_view text) {
    return icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

}  // namespace kestrum
