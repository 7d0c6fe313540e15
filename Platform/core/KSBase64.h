// Base 64 with the standard alphabet and padding.
#pragma once

#include <string>
#include <string_view>

#include "Platform/core/KSValue.h"

namespace kestrum {

std::string KSBase64Encode(const KSData& data);
std::string KSBase64Encode(std::string_view bytes);
// Decodes, ignoring whitespace and line breaks; false on any other character outside the
// alphabet or on bad padding (then `out` is left empty).
bool KSBase64Decode(std::string_view text, KSData* out);

}  // namespace kestrum
