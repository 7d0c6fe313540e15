// KSError: an error for the user or the caller, with a domain, a code and user info.
//
// The model's domains are "Kestrum" (code 1 for errors presented to the user),
// "Changelogging" and "KSPublishSubscribeActionErrorDomain"; the platform adds its own
// for files, XML and the network. The localized description lives in the user info
// under KSLocalizedDescriptionKey.
#pragma once

#include <memory>
#include <string>

#include "Platform/core/KSValue.h"

namespace kestrum {

extern const char* const KSLocalizedDescriptionKey;
extern const char* const KSLocalizedFailureReasonErrorKey;
extern const char* const KSLocalizedRecoverySuggestionErrorKey;
extern const char* const KSFilePathErrorKey;
extern const char* const KSURLErrorKey;

// Domains of errors raised below the model.
extern const char* const KSPOSIXErrorDomain;
extern const char* const KSXMLErrorDomain;
extern const char* const KSURLErrorDomain;
extern const char* const KSPropertyListErrorDomain;
extern const char* const KSCocoaErrorDomain;

class KSError {
public:
    KSError() = default;
    KSError(std::string domain, long code, KSDictionary userInfo = {});
    static KSError errorWithDescription(std::string domain, long code, std::string description);

    const std::string& domain() const { return domain_; }
    long code() const { return code_; }
    const KSDictionary& userInfo() const { return userInfo_; }
    // The description from the user info, else "The operation couldn't be completed.
    // (<domain> error <code>.)".
    std::string localizedDescription() const;
    std::string localizedFailureReason() const;
    // An underlying error, when one caused this one.
    const std::shared_ptr<KSError>& underlyingError() const { return underlying_; }
    void setUnderlyingError(const KSError& error);
    // "Error Domain=<domain> Code=<code> \"<description>\"".
    std::string description() const;
    // Whether this error has been filled in (a default-made error is empty).
    bool isSet() const { return !domain_.empty(); }

    friend bool operator==(const KSError& a, const KSError& b) {
        return a.domain_ == b.domain_ && a.code_ == b.code_;
    }

private:
    std::string domain_;
    long code_ = 0;
    KSDictionary userInfo_;
    std::shared_ptr<KSError> underlying_;
};

// Stores `error` into an optional out-parameter.
inline void KSSetError(KSError* out, const KSError& error) {
    if (out) *out = error;
}

}  // namespace kestrum
