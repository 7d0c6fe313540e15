// Random identifiers: version-4 UUIDs in the platform's upper-case text form
// ("E621E1F8-C36C-495A-93FC-0C247A3E6E5F").
#pragma once

#include <string>

namespace kestrum {

std::string KSUUIDString();
// Whether `text` has the form of a UUID (any case).
bool KSIsUUIDString(const std::string& text);

}  // namespace kestrum
