#include "Platform/predicate/KSPredicateRegex.h"

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include "Platform/predicate/KSPredicateStrings.h"

namespace kestrum {

namespace {

icu::UnicodeString unicodeText(std::string_view text, unsigned options) {
    // Only the diacritic option changes the text; case goes to the regex engine, which
    // knows not to fold escapes like \S.
    std::string folded =
        KSPredicateFoldString(text, options & KSDiacriticInsensitivePredicateOption);
    return icu::UnicodeString::fromUTF8(
        icu::StringPiece(folded.data(), static_cast<int32_t>(folded.size())));
}

}  // namespace

struct KSPredicateRegex::Impl {
    std::unique_ptr<icu::RegexPattern> pattern;
    unsigned options = 0;
};

KSPredicateRegex::KSPredicateRegex(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
KSPredicateRegex::~KSPredicateRegex() = default;

std::shared_ptr<KSPredicateRegex> KSPredicateRegex::compile(std::string_view pattern,
                                                            unsigned options,
                                                            std::string* message) {
    uint32_t flags = (options & KSCaseInsensitivePredicateOption) ? UREGEX_CASE_INSENSITIVE : 0;
    UParseError parseError{};
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexPattern> compiled(
        icu::RegexPattern::compile(unicodeText(pattern, options), flags, parseError, status));
    if (U_FAILURE(status) || !compiled) {
        if (message) {
            *message = std::string("invalid regular expression (") + u_errorName(status) +
                       " at offset " + std::to_string(parseError.offset) + ")";
        }
        return nullptr;
    }
    auto impl = std::make_unique<Impl>();
    impl->pattern = std::move(compiled);
    impl->options = options;
    return std::make_shared<KSPredicateRegex>(std::move(impl));
}

bool KSPredicateRegex::matches(std::string_view text) const {
    icu::UnicodeString subject = unicodeText(text, impl_->options);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(impl_->pattern->matcher(subject, status));
    if (U_FAILURE(status) || !matcher) return false;
    bool result = matcher->matches(status);
    return U_SUCCESS(status) && result;
}

}  // namespace kestrum
