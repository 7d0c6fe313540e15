#include "Platform/formatters/KSFormatter.h"

#include "Platform/core/KSError.h"
#include "Platform/text/TWTextStorage.h"

namespace kestrum {

const long KSFormattingError = 2048;

const KSClassInfo& KSFormatter::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSFormatter>(
        "KSFormatter", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSFormatter>&) {});
    return info;
}

KSFormatter::KSFormatter() = default;
KSFormatter::~KSFormatter() = default;

std::string KSFormatter::editingStringForObjectValue(const KSValue& value) {
    return stringForObjectValue(value);
}

std::shared_ptr<TWTextStorage> KSFormatter::attributedStringForObjectValueWithDefaultAttributes(
    const KSValue& value, const KSDictionary& attributes) {
    auto text = std::make_shared<TWTextStorage>(stringForObjectValue(value));
    if (text->length() > 0) text->setAttributesRange(attributes, TWTextRange{0, text->length()});
    return text;
}

bool KSFormatter::isPartialStringValidNewEditingString(std::string_view, std::string*,
                                                       std::string*) {
    return true;
}

bool KSFormatter::isPartialStringValidProposedSelectedRange(std::string*, TWTextRange*,
                                                            std::string_view, TWTextRange,
                                                            std::string*) {
    return true;
}

KSError KSFormatter::formattingError(const std::string& description) {
    return KSError::errorWithDescription(KSCocoaErrorDomain, KSFormattingError, description);
}

}  // namespace kestrum
