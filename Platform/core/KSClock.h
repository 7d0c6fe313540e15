// KSClock: the one source of "now" and "today" for the whole library.
//
// By default it reads the system clock. Tests and tools fix it (setFixedNow) or move it
// (advance) so that everything that depends on the date is deterministic.
#pragma once

#include "Platform/core/KSValue.h"

namespace kestrum {

class KSClock {
public:
    // The current instant.
    static KSDate now();
    // Fixes now to `date` until reset.
    static void setFixedNow(KSDate date);
    // Moves a fixed clock forward by `seconds` (fixes it at the real now first if needed).
    static void advance(double seconds);
    // Back to the system clock.
    static void useSystemClock();
    static bool isFixed();
};

}  // namespace kestrum
