// BKXMLNode: one child of an element as the cursor and `children()` see it: an element,
// a run of text, a comment, or something else (a processing instruction).
//
// A node is a small handle into its document, cheap to copy and valid while the document
// lives and the node stays in it. A default-made node is null (the end of a child list).
#pragma once

#include <cstddef>
#include <string_view>

namespace pugi {
struct xml_node_struct;
}

namespace kestrum {

class BKXMLDocument;
class BKXMLElement;

class BKXMLNode {
public:
    enum class Kind { Null, Element, Text, Comment, Other };

    // The null node.
    BKXMLNode() = default;
    // The layer's own constructor: `embeddedText` names the text that the parser keeps
    // inside the element `node` itself.
    BKXMLNode(pugi::xml_node_struct* node, BKXMLDocument* document, bool embeddedText);
    // The same with the kind already known (the layer's stepping code).
    BKXMLNode(pugi::xml_node_struct* node, BKXMLDocument* document, Kind kind,
              bool embeddedText = false)
        : node_(node), document_(document), embedded_(embeddedText), kind_(kind) {}

    Kind kind() const { return kind_; }
    bool isNull() const { return node_ == nullptr; }
    explicit operator bool() const { return node_ != nullptr; }
    bool isElement() const { return kind() == Kind::Element; }
    // Text children are character data (plain text or a CDATA section).
    bool isText() const { return kind() == Kind::Text; }
    bool isComment() const { return kind() == Kind::Comment; }

    // The element this node is, or a null element.
    BKXMLElement element() const;
    // The text of a text or comment node; empty for other kinds.
    std::string_view string() const;

    pugi::xml_node_struct* internalNode() const { return node_; }
    bool isEmbeddedText() const { return embedded_; }
    BKXMLDocument* document() const { return document_; }

    friend bool operator==(const BKXMLNode& a, const BKXMLNode& b) {
        return a.node_ == b.node_ && a.embedded_ == b.embedded_;
    }

private:
    pugi::xml_node_struct* node_ = nullptr;
    BKXMLDocument* document_ = nullptr;
    bool embedded_ = false;
    Kind kind_ = Kind::Null;
};

// The children of an element in document order, for range-for loops. Elements that are
// marked to be written only when referenced, and were not, are left out.
class BKXMLChildRange {
public:
    class Iterator {
    public:
        using value_type = BKXMLNode;
        using difference_type = std::ptrdiff_t;
        Iterator() = default;
        explicit Iterator(BKXMLNode node) : node_(node) {}
        BKXMLNode operator*() const { return node_; }
        Iterator& operator++();
        Iterator operator++(int) {
            Iterator old = *this;
            ++*this;
            return old;
        }
        friend bool operator==(const Iterator& a, const Iterator& b) { return a.node_ == b.node_; }

    private:
        BKXMLNode node_;
        // Whether whitespace-only text in the parent is layout (-1 until first needed).
        signed char ignoresWhitespace_ = -1;
    };

    BKXMLChildRange() = default;
    explicit BKXMLChildRange(BKXMLNode first) : first_(first) {}
    Iterator begin() const { return Iterator(first_); }
    Iterator end() const { return Iterator(); }
    bool empty() const { return first_.isNull(); }

private:
    BKXMLNode first_;
};

}  // namespace kestrum
