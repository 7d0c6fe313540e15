// Text helpers for the few URLs the model makes and reads: file URLs of documents and
// attachments, and the links to tasks and resources of a saved document.
#pragma once

#include <string>
#include <string_view>

namespace kestrum {

// The decoded path of a "file://" URL ("file:///tmp/My%20Plan" is "/tmp/My Plan"); a text
// that is no file URL is taken as a path already and answered unchanged.
std::string KSPathFromFileURLString(std::string_view url);

// Percent-escapes the UTF-8 bytes of `text`, leaving letters, digits, "-._~" and the
// characters of `keep` as they are.
std::string KSPercentEscapedString(std::string_view text, std::string_view keep = "/");

}  // namespace kestrum
