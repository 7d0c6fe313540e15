#include "Platform/core/KSAssert.h"

#include <cstdio>
#include <cstdlib>

#include "Platform/core/KSLog.h"

namespace kestrum {

const char* const KSInternalInconsistencyException = "KSInternalInconsistencyException";
const char* const KSInvalidArgumentException = "KSInvalidArgumentException";
const char* const KSRangeException = "KSRangeException";

void KSAssertionFailure(const char* file, int line, const char* function,
                        const std::string& message) {
    std::string text =
        KSStringWithFormat("*** Assertion failure in %s, %s:%d: %@", function, file, line, message);
    KSLogString(text);
    // A captured log would hide the line: it goes straight to standard error as well.
    if (KSLogIsCaptured()) std::fprintf(stderr, "%s\n", text.c_str());
    std::fflush(stderr);
    std::abort();
}

}  // namespace kestrum
