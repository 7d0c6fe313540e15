#include "Platform/core/KSClock.h"

#include <chrono>
#include <optional>

namespace kestrum {

namespace {

std::optional<KSDate>& fixedNow() {
    static std::optional<KSDate> value;
    return value;
}

KSDate systemNow() {
    using namespace std::chrono;
    auto since1970 = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
    return KSDate::dateWithTimeIntervalSince1970(static_cast<double>(since1970) / 1e6);
}

}  // namespace

KSDate KSClock::now() {
    return fixedNow() ? *fixedNow() : systemNow();
}

void KSClock::setFixedNow(KSDate date) {
    fixedNow() = date;
}

void KSClock::advance(double seconds) {
    KSDate base = now();
    fixedNow() = base.dateByAddingTimeInterval(seconds);
}

void KSClock::useSystemClock() {
    fixedNow().reset();
}

bool KSClock::isFixed() {
    return fixedNow().has_value();
}

}  // namespace kestrum
