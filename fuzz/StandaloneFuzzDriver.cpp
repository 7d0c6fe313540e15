// A stand-in for libFuzzer's driver, for compilers without it: replays every file of a
// seed corpus, then a fixed number of deterministic mutations of those seeds (bit flips,
// byte insertions and deletions, spliced tokens, truncations). The tokens are XML's, or
// those of a dictionary in libFuzzer's form ("token" on each line) when one is given.
//
//   fuzz_xml_smoke <corpus-directory> [mutations] [dictionary]
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

// xorshift64*: small, fast and the same on every machine.
struct Random {
    std::uint64_t state;
    std::uint64_t next() {
        state ^= state >> 12;
        state ^= state << 25;
        state ^= state >> 27;
        return state * 2685821657736338717ULL;
    }
    std::size_t below(std::size_t n) { return n ? static_cast<std::size_t>(next() % n) : 0; }
};

const char* const kTokens[] = {"<",
                               ">",
                               "</",
                               "/>",
                               "=\"",
                               "\"",
                               "&amp;",
                               "&#13;",
                               "&#1;",
                               "&#x10FFFF;",
                               "<![CDATA[",
                               "]]>",
                               "<!--",
                               "-->",
                               "<?xml ",
                               "?>",
                               "<dict>",
                               "</dict>",
                               "<key>",
                               "</key>",
                               "<array>",
                               "<lit>",
                               "\r\n",
                               "\xC3",
                               "\xEF\xBB\xBF",
                               "<scenario>",
                               "<!DOCTYPE a [",
                               "&",
                               "\t"};

// The tokens of a libFuzzer dictionary: lines of the form name="text" or "text", with \\,
// \" and \xNN escapes; comments and blank lines are skipped.
std::vector<std::string> readDictionary(const char* path) {
    std::vector<std::string> tokens;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        std::size_t open = line.find('"');
        std::size_t close = line.rfind('"');
        if (line.empty() || line[0] == '#' || open == std::string::npos || close <= open) continue;
        std::string token;
        for (std::size_t i = open + 1; i < close; ++i) {
            if (line[i] != '\\' || i + 1 >= close) {
                token += line[i];
            } else if (line[i + 1] == 'x' && i + 3 < close) {
                token += static_cast<char>(std::strtol(line.substr(i + 2, 2).c_str(), nullptr, 16));
                i += 3;
            } else {
                token += line[++i];
            }
        }
        tokens.push_back(token);
    }
    return tokens;
}

Bytes mutate(const Bytes& seed, Random& random, const std::vector<std::string>& tokens) {
    Bytes out = seed;
    int steps = 1 + static_cast<int>(random.below(4));
    for (int step = 0; step < steps; ++step) {
        std::size_t at = random.below(out.size() + 1);
        switch (random.below(5)) {
            case 0:
                if (!out.empty()) out[random.below(out.size())] ^= 1u << random.below(8);
                break;
            case 1:
                out.insert(out.begin() + static_cast<std::ptrdiff_t>(at),
                           static_cast<std::uint8_t>(random.next()));
                break;
            case 2:
                if (at < out.size()) {
                    std::size_t count = std::min(out.size() - at, 1 + random.below(8));
                    out.erase(out.begin() + static_cast<std::ptrdiff_t>(at),
                              out.begin() + static_cast<std::ptrdiff_t>(at + count));
                }
                break;
            case 3: {
                const std::string& token = tokens[random.below(tokens.size())];
                out.insert(out.begin() + static_cast<std::ptrdiff_t>(at), token.begin(),
                           token.end());
                break;
            }
            default:
                out.resize(at);
        }
    }
    return out;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s <corpus-directory> [mutations]\n", argv[0]);
        return 2;
    }
    long mutations = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 1000;
    std::vector<std::string> tokens =
        argc > 3 ? readDictionary(argv[3])
                 : std::vector<std::string>(std::begin(kTokens), std::end(kTokens));
    if (tokens.empty()) {
        std::fprintf(stderr, "no tokens in %s\n", argv[3]);
        return 2;
    }
    std::vector<Bytes> seeds;
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        if (entry.is_regular_file()) paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    for (const auto& path : paths) {
        std::ifstream in(path, std::ios::binary);
        seeds.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    if (seeds.empty()) {
        std::fprintf(stderr, "no seeds in %s\n", argv[1]);
        return 2;
    }
    for (const Bytes& seed : seeds)
        LLVMFuzzerTestOneInput(seed.data(), seed.size());
    Random random{0x9E3779B97F4A7C15ULL};
    for (long i = 0; i < mutations; ++i) {
        Bytes input = mutate(seeds[random.below(seeds.size())], random, tokens);
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
    std::printf("%zu seeds and %ld mutations: 0 failures\n", seeds.size(), mutations);
    return 0;
}
