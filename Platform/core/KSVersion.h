// The library's version.
#pragma once

namespace kestrum {

// "major.minor.patch" of the library in use.
const char* KSLibraryVersion();

}  // namespace kestrum
