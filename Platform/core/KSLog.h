// Logging with no level: one line to standard error, as the platform's log does.
//
// Each line is "<date> kestrum[<pid>] <message>". A capture hook lets tests read the
// lines instead (and silences standard error while it is set).
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSFormat.h"

namespace kestrum {

// Writes one line.
void KSLogString(std::string_view message);

// Formats with the library's format engine ("%@", "%d", ...) and logs the line.
template <class... Args>
void KSLog(std::string_view format, const Args&... args) {
    KSLogString(KSStringWithFormat(format, args...));
}

// Replaces standard error with `hook` (null restores it). Answers the previous hook.
using KSLogHook = std::function<void(const std::string&)>;
KSLogHook KSSetLogHook(KSLogHook hook);
// Whether a hook (or a capture) takes the lines instead of standard error.
bool KSLogIsCaptured();

// Collects the lines logged during its lifetime; for tests.
class KSLogCapture {
public:
    KSLogCapture();
    ~KSLogCapture();
    KSLogCapture(const KSLogCapture&) = delete;
    KSLogCapture& operator=(const KSLogCapture&) = delete;
    const std::vector<std::string>& lines() const { return lines_; }
    // Whether any line contains `text`.
    bool contains(std::string_view text) const;
    void clear() { lines_.clear(); }

private:
    std::vector<std::string> lines_;
    KSLogHook previous_;
};

}  // namespace kestrum
