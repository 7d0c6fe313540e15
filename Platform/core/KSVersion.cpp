#include "Platform/core/KSVersion.h"

#ifndef KESTRUM_VERSION_STRING
#define KESTRUM_VERSION_STRING "0.0.0"
#endif

namespace kestrum {

const char* KSLibraryVersion() {
    return KESTRUM_VERSION_STRING;
}

}  // namespace kestrum
