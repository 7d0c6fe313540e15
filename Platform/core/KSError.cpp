#include "Platform/core/KSError.h"

#include "Platform/core/KSFormat.h"

namespace kestrum {

const char* const KSLocalizedDescriptionKey = "KSLocalizedDescription";
const char* const KSLocalizedFailureReasonErrorKey = "KSLocalizedFailureReason";
const char* const KSLocalizedRecoverySuggestionErrorKey = "KSLocalizedRecoverySuggestion";
const char* const KSFilePathErrorKey = "KSFilePath";
const char* const KSURLErrorKey = "KSURL";

const char* const KSPOSIXErrorDomain = "KSPOSIXErrorDomain";
const char* const KSXMLErrorDomain = "KSXMLErrorDomain";
const char* const KSURLErrorDomain = "KSURLErrorDomain";
const char* const KSPropertyListErrorDomain = "KSPropertyListErrorDomain";
const char* const KSCocoaErrorDomain = "KSCocoaErrorDomain";

KSError::KSError(std::string domain, long code, KSDictionary userInfo)
    : domain_(std::move(domain)), code_(code), userInfo_(std::move(userInfo)) {}

KSError KSError::errorWithDescription(std::string domain, long code, std::string description) {
    return KSError(std::move(domain), code,
                   KSDictionary{{KSLocalizedDescriptionKey, KSValue(std::move(description))}});
}

std::string KSError::localizedDescription() const {
    const KSValue* description = userInfo_.find(KSLocalizedDescriptionKey);
    if (description && description->isString()) return description->asString();
    return KSStringWithFormat("The operation couldn't be completed. (%@ error %ld.)", domain_,
                              code_);
}

std::string KSError::localizedFailureReason() const {
    const KSValue* reason = userInfo_.find(KSLocalizedFailureReasonErrorKey);
    return reason && reason->isString() ? reason->asString() : std::string();
}

void KSError::setUnderlyingError(const KSError& error) {
    underlying_ = std::make_shared<KSError>(error);
}

std::string KSError::description() const {
    return KSStringWithFormat("Error Domain=%@ Code=%ld \"%@\"", domain_, code_,
                              localizedDescription());
}

}  // namespace kestrum
