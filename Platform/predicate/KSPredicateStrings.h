// The string operations of predicates: case and diacritic folding, LIKE wildcards and
// MATCHES regular expressions, all on Unicode text through ICU.
//
// Folding is what the [c] and [d] modifiers do: [d] decomposes the text and drops its
// non-spacing marks ("é" becomes "e"), [c] applies Unicode case folding ("Straße" and
// "STRASSE" fold alike). Folded text is recomposed (NFC), so a precomposed and a
// decomposed spelling compare equal under either modifier.
#pragma once

#include <memory>
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

// A compiled MATCHES pattern (an ICU regular expression that must match the whole text).
class KSPredicateRegex {
public:
    // Compiles `pattern` for the option bits; answers null and fills `message` (if given)
    // when the pattern is not a valid regular expression.
    static std::shared_ptr<KSPredicateRegex> compile(std::string_view pattern, unsigned options,
                                                     std::string* message = nullptr);
    ~KSPredicateRegex();
    // Whether the whole of `text` matches.
    bool matches(std::string_view text) const;

    struct Impl;
    explicit KSPredicateRegex(std::unique_ptr<Impl> impl);

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace kestrum
