// BKXMLComment: a comment to append to an element, for human readers of a file.
//
//   document.topElement().appendString("\n");
//   document.topElement().appendChild(BKXMLComment("Flattened schedule"));
//
// Comments are never read back: the parser drops them. Text that would end the comment
// early ("--", a trailing "-") is spaced apart when the document is written.
#pragma once

#include <string>
#include <string_view>

namespace kestrum {

class BKXMLComment {
public:
    // A comment holding `text` (UTF-8).
    explicit BKXMLComment(std::string_view text) : text_(text) {}

    const std::string& string() const { return text_; }

private:
    std::string text_;
};

}  // namespace kestrum
