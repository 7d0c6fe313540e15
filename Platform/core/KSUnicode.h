// Small UTF-8 helpers shared by the text readers and writers.
#pragma once

#include <cstdint>
#include <string>

namespace kestrum {

// Appends the UTF-8 encoding of the code point `code`; code points above U+10FFFF are
// dropped.
void KSAppendUTF8(std::string& out, std::uint32_t code);

}  // namespace kestrum
