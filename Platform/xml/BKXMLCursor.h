// BKXMLCursor: reads a document strictly in order, the way the file formats are read.
//
// The cursor stands inside an element (at first the root) in front of its next child.
// `peekNextChild` shows that child, `nextChild` consumes it, `openElement` enters the
// element last consumed, and `closeElement` leaves the current element, whatever of it is
// still unread, so that the cursor stands behind it in its parent. Each step is O(1) and
// allocates nothing.
//
//   BKXMLCursor cursor = document->cursor();
//   if (cursor.openNextChildElementNamed("leveling")) {
//       ... read the children ...
//       cursor.closeElement();
//   }
//
// A cursor is valid while its document lives and is not changed.
#pragma once

#include <optional>
#include <string_view>

#include "Platform/xml/BKXMLElement.h"
#include "Platform/xml/BKXMLNode.h"

namespace kestrum {

class BKXMLDocument;

class BKXMLCursor {
public:
    // A cursor inside the document's root element, before its first child.
    explicit BKXMLCursor(const BKXMLDocument& document);

    // The element the cursor is inside.
    BKXMLElement currentElement() const;
    // The current element's name.
    std::string_view name() const;
    // An attribute of the current element, or nullopt.
    std::optional<std::string_view> attributeNamed(std::string_view name) const;
    // The current element's children (all of them, read or not).
    BKXMLChildRange children() const;

    // The next child of the current element without consuming it; null at the end.
    BKXMLNode peekNextChild() const { return next_; }
    // Consumes and answers the next child; null at the end.
    BKXMLNode nextChild();
    // Enters the child consumed last; false (and nothing changes) when that is no element
    // or nothing was consumed since the cursor last moved in or out.
    bool openElement();
    // Leaves the current element: the cursor stands behind it in its parent. False (and
    // nothing changes) inside the root element.
    bool closeElement();
    // Steps over children that are not elements; if the next element is named `name`,
    // enters it and answers true, else stays in front of it and answers false.
    bool openNextChildElementNamed(std::string_view name);

    // How many elements deep the cursor stands (0 inside the root).
    std::size_t depth() const { return depth_; }

private:
    BKXMLDocument* document_;
    pugi::xml_node_struct* root_;
    pugi::xml_node_struct* current_;
    // Whether whitespace-only text in the current element is layout (-1 until first needed).
    // Declared before next_, which the constructor finds with its help.
    signed char ignoresWhitespace_ = -1;
    BKXMLNode next_;
    BKXMLNode lastConsumed_;
    std::size_t depth_ = 0;
};

}  // namespace kestrum
