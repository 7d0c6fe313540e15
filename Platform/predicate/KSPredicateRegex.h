// KSPredicateRegex: a compiled MATCHES pattern of a predicate.
//
// The pattern is an ICU regular expression that must match the whole text. With the
// [c] option the engine matches without regard to case; with [d] the diacritics are
// stripped from both the pattern and the text before matching. A compiled pattern is
// immutable and may be shared.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace kestrum {

class KSPredicateRegex {
public:
    // Compiles `pattern` for the KSComparisonPredicateOptions bits; answers null and
    // fills `message` (if given) when the pattern is not a valid regular expression.
    static std::shared_ptr<KSPredicateRegex> compile(std::string_view pattern, unsigned options,
                                                     std::string* message = nullptr);
    ~KSPredicateRegex();
    // Whether the whole of `text` matches.
    bool matches(std::string_view text) const;

    struct Impl;
    // Made by compile; public for std::make_shared.
    explicit KSPredicateRegex(std::unique_ptr<Impl> impl);

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace kestrum
