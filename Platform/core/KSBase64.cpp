#include "Platform/core/KSBase64.h"

#include <array>

namespace kestrum {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<signed char, 256> makeDecodeTable() {
    std::array<signed char, 256> table{};
    for (auto& v : table)
        v = -1;
    for (int i = 0; i < 64; ++i)
        table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<signed char>(i);
    return table;
}

constexpr auto kDecode = makeDecodeTable();

}  // namespace

std::string KSBase64Encode(std::string_view bytes) {
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    std::size_t i = 0;
    auto byte = [&](std::size_t k) { return static_cast<unsigned char>(bytes[k]); };
    for (; i + 3 <= bytes.size(); i += 3) {
        unsigned v = (byte(i) << 16) | (byte(i + 1) << 8) | byte(i + 2);
        out += kAlphabet[(v >> 18) & 63];
        out += kAlphabet[(v >> 12) & 63];
        out += kAlphabet[(v >> 6) & 63];
        out += kAlphabet[v & 63];
    }
    std::size_t rest = bytes.size() - i;
    if (rest == 1) {
        unsigned v = byte(i) << 16;
        out += kAlphabet[(v >> 18) & 63];
        out += kAlphabet[(v >> 12) & 63];
        out += "==";
    } else if (rest == 2) {
        unsigned v = (byte(i) << 16) | (byte(i + 1) << 8);
        out += kAlphabet[(v >> 18) & 63];
        out += kAlphabet[(v >> 12) & 63];
        out += kAlphabet[(v >> 6) & 63];
        out += '=';
    }
    return out;
}

std::string KSBase64Encode(const KSData& data) {
    return KSBase64Encode(
        std::string_view(reinterpret_cast<const char*>(data.data()), data.size()));
}

bool KSBase64Decode(std::string_view text, KSData* out) {
    out->clear();
    out->reserve(text.size() / 4 * 3);
    unsigned buffer = 0;
    int bits = 0;
    int padding = 0;
    std::size_t symbols = 0;
    for (char c : text) {
        if (c == ' ' || c == '\n' || c == '\r' || c == '\t') continue;
        if (c == '=') {
            ++padding;
            ++symbols;
            continue;
        }
        if (padding > 0) {
            out->clear();
            return false;  // data after padding
        }
        int v = kDecode[static_cast<unsigned char>(c)];
        if (v < 0) {
            out->clear();
            return false;
        }
        ++symbols;
        buffer = (buffer << 6) | static_cast<unsigned>(v);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out->push_back(static_cast<std::uint8_t>((buffer >> bits) & 0xFF));
        }
    }
    // Unpadded input is accepted; padding, when present, must complete the quantum.
    if (padding > 2 || (padding > 0 && symbols % 4 != 0) || symbols % 4 == 1) {
        out->clear();
        return false;
    }
    return true;
}

}  // namespace kestrum
