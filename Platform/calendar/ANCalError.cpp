#include "Platform/calendar/ANCalError.h"

#include <filesystem>

#include "Platform/core/KSFormat.h"

namespace kestrum {

const char* const ANCalErrorDomain = "ANCalErrorDomain";
const char* const ANCalErrorLineKey = "ANCalErrorLine";

KSError ANCalRuleError(std::string message) {
    return KSError::errorWithDescription(ANCalErrorDomain, ANCalErrorInvalidRule,
                                         std::move(message));
}

KSError ANCalFileError(std::string_view path, long line, std::string_view message) {
    std::string name = std::filesystem::path(std::string(path)).filename().string();
    if (name.empty()) name = std::string(path);
    KSDictionary info;
    info.setObjectForKey(KSLocalizedDescriptionKey,
                         KSValue(KSStringWithFormat("The calendar file \u201c%@\u201d cannot be "
                                                    "read: line %ld: %@",
                                                    name, line, std::string(message))));
    info.setObjectForKey(KSFilePathErrorKey, KSValue(std::string(path)));
    info.setObjectForKey(ANCalErrorLineKey, KSValue(line));
    return KSError(ANCalErrorDomain, ANCalErrorMalformedFile, std::move(info));
}

}  // namespace kestrum
