// BKXMLElement: an element of a BKXMLDocument, as a small handle.
//
// Writers get elements from the document (`pushElement`, `appendElement...`) and set
// attributes or append children on them; readers get them from the cursor. Attributes
// keep the order in which they were first set; setting one again replaces its value in
// place. Everything written is made fit for XML 1.0 on the way in (see
// BKXMLStringByRemovingInvalidCharacters).
//
// An element can be marked to be written only when referenced (`setIgnoreUnlessReferenced`):
// it is dropped when the document is written unless something called `markAsReferenced`
// on it or on one of its descendants; until then cursors and child lists pass over it.
//
// A handle is valid while its document lives. A default-made element is null.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/xml/BKXMLNode.h"

namespace kestrum {

class BKXMLComment;

class BKXMLElement {
public:
    // The null element.
    BKXMLElement() = default;
    // The layer's own constructor.
    BKXMLElement(pugi::xml_node_struct* node, BKXMLDocument* document)
        : node_(node), document_(document) {}

    bool isNull() const { return node_ == nullptr; }
    explicit operator bool() const { return node_ != nullptr; }

    // The element's name; empty for the null element.
    std::string_view name() const;

    // --- Attributes ------------------------------------------------------------------
    // The attribute's text, or nullopt when the element has no such attribute.
    std::optional<std::string_view> attributeNamed(std::string_view name) const;
    // Removes the attribute; false when there was none.
    bool removeAttributeNamed(std::string_view name);
    // All attributes as (name, value), in writing order.
    std::vector<std::pair<std::string_view, std::string_view>> attributes() const;
    // Sets an attribute to text.
    void setAttributeString(std::string_view name, std::string_view value);
    // Sets an attribute to a decimal integer.
    void setAttributeInteger(std::string_view name, std::int64_t value);
    // Sets an attribute to a single-precision number: the shortest text that reads back
    // as the same float ("0.1" for 0.1f). Readers take such values with floatValue.
    void setAttributeReal(std::string_view name, float value);
    // Sets an attribute to the shortest text that reads back as the same double.
    void setAttributeDouble(std::string_view name, double value);

    // --- Children --------------------------------------------------------------------
    // Appends an empty child element and answers it.
    BKXMLElement appendElement(std::string_view name);
    // Appends a text child.
    void appendString(std::string_view text);
    // Appends a comment child.
    void appendChild(const BKXMLComment& comment);
    // Appends a deep copy of `element` (from this or another document); answers the copy.
    BKXMLElement appendChild(const BKXMLElement& element);
    // The children in document order.
    BKXMLChildRange children() const;
    // The first child element with this name, or null.
    BKXMLElement firstChildNamed(std::string_view name) const;
    // The last child, or null.
    BKXMLNode lastChild() const;
    // The parent element, or null for the root.
    BKXMLElement parent() const;

    // --- Written only when referenced ------------------------------------------------
    // Marks (or unmarks) the element to be dropped on writing unless referenced.
    void setIgnoreUnlessReferenced(bool ignoreUnlessReferenced);
    // Records that the element has content; marks every such ancestor too.
    void markAsReferenced();
    // Whether the element, as things stand, would be dropped on writing.
    bool shouldIgnore() const;

    // This element as a node.
    BKXMLNode asNode() const { return BKXMLNode(node_, document_, false); }
    pugi::xml_node_struct* internalNode() const { return node_; }
    BKXMLDocument* document() const { return document_; }

    friend bool operator==(const BKXMLElement& a, const BKXMLElement& b) {
        return a.node_ == b.node_;
    }

private:
    pugi::xml_node_struct* node_ = nullptr;
    BKXMLDocument* document_ = nullptr;
};

}  // namespace kestrum
