// Errors of the calendar layer (repetition rules and iCalendar files), in their own
// domain. A file error names the file (KSFilePathErrorKey) and the line
// (ANCalErrorLineKey, counted from 1) in its user info, and both in its description.
#pragma once

#include <string>
#include <string_view>

#include "Platform/core/KSError.h"

namespace kestrum {

extern const char* const ANCalErrorDomain;  // "ANCalErrorDomain"
// The line of a file error, an integer from 1.
extern const char* const ANCalErrorLineKey;  // "ANCalErrorLine"

enum ANCalErrorCode : long {
    // A repetition rule that cannot be read or is refused.
    ANCalErrorInvalidRule = 1,
    // An iCalendar file whose text is malformed.
    ANCalErrorMalformedFile = 2,
    // A file that cannot be opened or read.
    ANCalErrorUnreadableFile = 3,
};

// An error of a repetition rule with `message` as its description.
KSError ANCalRuleError(std::string message);
// "The calendar file “<name>” cannot be read: line <line>: <message>", with the path and
// the line in the user info; the name is the last component of `path`.
KSError ANCalFileError(std::string_view path, long line, std::string_view message);

}  // namespace kestrum
