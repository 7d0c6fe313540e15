#include "Platform/core/KSLog.h"

#include <unistd.h>

#include <cstdio>
#include <ctime>

#include "Platform/core/KSClock.h"

namespace kestrum {

namespace {

KSLogHook& logHook() {
    static KSLogHook hook;
    return hook;
}

}  // namespace

void KSLogString(std::string_view message) {
    std::string line(message);
    if (logHook()) {
        logHook()(line);
        return;
    }
    std::time_t now = static_cast<std::time_t>(KSClock::now().timeIntervalSince1970());
    std::tm local{};
    localtime_r(&now, &local);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);
    std::fprintf(stderr, "%s kestrum[%d] %s\n", stamp, static_cast<int>(getpid()), line.c_str());
}

KSLogHook KSSetLogHook(KSLogHook hook) {
    KSLogHook previous = std::move(logHook());
    logHook() = std::move(hook);
    return previous;
}

bool KSLogIsCaptured() {
    return static_cast<bool>(logHook());
}

KSLogCapture::KSLogCapture() {
    previous_ = KSSetLogHook([this](const std::string& line) { lines_.push_back(line); });
}

KSLogCapture::~KSLogCapture() {
    KSSetLogHook(std::move(previous_));
}

bool KSLogCapture::contains(std::string_view text) const {
    for (const auto& line : lines_) {
        if (line.find(text) != std::string::npos) return true;
    }
    return false;
}

}  // namespace kestrum
