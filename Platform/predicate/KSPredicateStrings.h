// The string operations of predicates: case and diacritic folding, LIKE wildcards and
// MATCHES regular expressions, all on Unicode text through ICU.
//
// Folding is what the [c] and [d] modifiers do: [d] decomposes the text and drops its
// non-spacing marks ("é" becomes "e"), [c] applies Unicode case folding ("Straße" and
// "STRASSE" fold alike). Folded text is recomposed (NFC), so a precomposed and a
// decomposed spelling compare equal under either modifier.
#pragma once

#include <string>
#include <string_view>

namespace kestrum {

// Option bits of string comparisons (the [c], [d] modifiers).
enum KSComparisonPredicateOptions : unsigned {
    KSCaseInsensitivePredicateOption = 0x01,
    KSDiacriticInsensitivePredicateOption = 0x02,
};

// Folds UTF-8 text by the option bits; with no bits the text is returned unchanged.
std::string KSPredicateFoldString(std::string_view text, unsigned options);

// LIKE: '*' matches any run of characters, '?' exactly one character, '\' makes the next
// character literal. The whole text must match. Both sides are folded by `options`.
bool KSPredicateLikeMatches(std::string_view text, std::string_view pattern, unsigned options);

}  // namespace kestrum
