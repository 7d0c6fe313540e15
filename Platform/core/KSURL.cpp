#include "Platform/core/KSURL.h"

namespace kestrum {

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool isUnreserved(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           c == '-' || c == '.' || c == '_' || c == '~';
}

}  // namespace

std::string KSPathFromFileURLString(std::string_view url) {
    constexpr std::string_view scheme = "file://";
    if (url.substr(0, scheme.size()) != scheme) return std::string(url);
    std::string_view rest = url.substr(scheme.size());
    // "file://localhost/path" and "file:///path" both name /path.
    std::size_t slash = rest.find('/');
    rest = slash == std::string_view::npos ? std::string_view("/") : rest.substr(slash);
    std::string path;
    path.reserve(rest.size());
    for (std::size_t i = 0; i < rest.size(); ++i) {
        if (rest[i] == '%' && i + 2 < rest.size() &&
            hexDigit(rest[i + 1]) >= 0 && hexDigit(rest[i + 2]) >= 0) {
            path.push_back(static_cast<char>(hexDigit(rest[i + 1]) * 16 + hexDigit(rest[i + 2])));
            i += 2;
        } else {
            path.push_back(rest[i]);
        }
    }
    return path;
}

std::string KSPercentEscapedString(std::string_view text, std::string_view keep) {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size());
    for (char ch : text) {
        auto c = static_cast<unsigned char>(ch);
        if (isUnreserved(c) || keep.find(ch) != std::string_view::npos) {
            out.push_back(ch);
        } else {
            out.push_back('%');
            out.push_back(hex[c >> 4]);
            out.push_back(hex[c & 15]);
        }
    }
    return out;
}

}  // namespace kestrum
