#include "Model/formatters/KSResourceNameFormatter.h"

namespace kestrum {

const KSClassInfo& KSResourceNameFormatter::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSResourceNameFormatter>(
        "KSResourceNameFormatter", &KSFormatter::staticClassInfo(),
        [](KSClassBuilder<KSResourceNameFormatter>&) {});
    return info;
}

KSResourceNameFormatter::KSResourceNameFormatter() = default;
KSResourceNameFormatter::~KSResourceNameFormatter() = default;

std::string KSResourceNameFormatter::replaceUnwantedCharacters(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        if (c == '{' || c == '[')
            c = '(';
        else if (c == '}' || c == ']')
            c = ')';
        else if (c == ';')
            c = ',';
    }
    return out;
}

std::string KSResourceNameFormatter::stringForObjectValue(const KSValue& value) {
    return value.isString() ? value.asString() : std::string();
}

bool KSResourceNameFormatter::getObjectValueForString(KSValue* out, std::string_view text,
                                                      std::string*) {
    if (out) *out = KSValue(replaceUnwantedCharacters(text));
    return true;
}

bool KSResourceNameFormatter::isPartialStringValidNewEditingString(std::string_view partialString,
                                                                   std::string* newString,
                                                                   std::string*) {
    if (hasMarkedText_) return true;
    std::string cleaned = replaceUnwantedCharacters(partialString);
    if (cleaned == partialString) return true;
    if (newString) *newString = cleaned;
    return false;
}

}  // namespace kestrum
