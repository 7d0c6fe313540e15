#include "Platform/predicate/KSPredicateStrings.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <vector>

namespace kestrum {

namespace {

icu::UnicodeString foldedUnicode(std::string_view text, unsigned options) {
    icu::UnicodeString string = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    UErrorCode status = U_ZERO_ERROR;
    if (options & KSDiacriticInsensitivePredicateOption) {
        const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
        if (U_SUCCESS(status)) {
            icu::UnicodeString decomposed = nfd->normalize(string, status);
            if (U_SUCCESS(status)) {
                icu::UnicodeString stripped;
                for (int32_t i = 0; i < decomposed.length();) {
                    UChar32 c = decomposed.char32At(i);
                    if (u_charType(c) != U_NON_SPACING_MARK) stripped.append(c);
                    i += U16_LENGTH(c);
                }
                string = stripped;
            }
        }
    }
    if (options & KSCaseInsensitivePredicateOption) string.foldCase(U_FOLD_CASE_DEFAULT);
    status = U_ZERO_ERROR;
    const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
    if (U_SUCCESS(status)) {
        icu::UnicodeString composed = nfc->normalize(string, status);
        if (U_SUCCESS(status)) return composed;
    }
    return string;
}

std::vector<UChar32> codePoints(const icu::UnicodeString& string) {
    std::vector<UChar32> out;
    out.reserve(string.length());
    for (int32_t i = 0; i < string.length();) {
        UChar32 c = string.char32At(i);
        out.push_back(c);
        i += U16_LENGTH(c);
    }
    return out;
}

}  // namespace

std::string KSPredicateFoldString(std::string_view text, unsigned options) {
    if (!(options & (KSCaseInsensitivePredicateOption | KSDiacriticInsensitivePredicateOption))) {
        return std::string(text);
    }
    std::string out;
    foldedUnicode(text, options).toUTF8String(out);
    return out;
}

bool KSPredicateLikeMatches(std::string_view text, std::string_view pattern, unsigned options) {
    std::vector<UChar32> s = codePoints(foldedUnicode(text, options));
    // The pattern is folded too, so "É*" matches "eclair" under [cd]. Escapes survive
    // folding: a backslash has no case and no marks.
    std::vector<UChar32> rawPattern = codePoints(foldedUnicode(pattern, options));

    // Tokens: a literal code point, or a wildcard marked by a negative value.
    constexpr UChar32 kAny = -1;   // '?'
    constexpr UChar32 kStar = -2;  // '*'
    std::vector<UChar32> p;
    p.reserve(rawPattern.size());
    for (std::size_t i = 0; i < rawPattern.size(); ++i) {
        UChar32 c = rawPattern[i];
        if (c == '\\' && i + 1 < rawPattern.size()) {
            p.push_back(rawPattern[++i]);
        } else if (c == '*') {
            p.push_back(kStar);
        } else if (c == '?') {
            p.push_back(kAny);
        } else {
            p.push_back(c);
        }
    }

    // Greedy matching with backtracking to the last star: linear for one star, and at
    // worst quadratic, never exponential.
    std::size_t si = 0, pi = 0;
    std::size_t starP = std::string::npos, starS = 0;
    while (si < s.size()) {
        if (pi < p.size() && (p[pi] == kAny || p[pi] == s[si])) {
            ++si;
            ++pi;
        } else if (pi < p.size() && p[pi] == kStar) {
            starP = pi++;
            starS = si;
        } else if (starP != std::string::npos) {
            pi = starP + 1;
            si = ++starS;
        } else {
            return false;
        }
    }
    while (pi < p.size() && p[pi] == kStar)
        ++pi;
    return pi == p.size();
}

}  // namespace kestrum
