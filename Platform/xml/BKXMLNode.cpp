#include "Platform/xml/BKXMLNode.h"

#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLElement.h"
#include "Platform/xml/BKXMLPrivate.h"

namespace kestrum {

namespace bkxml {

namespace {

// Whitespace-only text in an element whose handling makes it layout. `text` is a text
// node, or the element itself for its embedded text. The cheap tests come first.
bool isHiddenWhitespace(pugi::xml_node text, bool embedded, BKXMLDocument* document) {
    if (!document || !document->hidesWhitespace() || !isWhitespaceOnly(text.value())) return false;
    return document->isIgnoringWhitespaceIn(embedded ? structOf(text) : structOf(text.parent()));
}

}  // namespace

bool isHidden(pugi::xml_node node, BKXMLDocument* document) {
    if (!document) return false;
    switch (node.type()) {
        case pugi::node_element:
            return document->isIgnoredNode(structOf(node));
        case pugi::node_pcdata:
            return isHiddenWhitespace(node, false, document);
        default:
            return false;
    }
}

namespace {

BKXMLNode::Kind kindOf(pugi::xml_node_type type) {
    switch (type) {
        case pugi::node_element:
            return BKXMLNode::Kind::Element;
        case pugi::node_pcdata:
        case pugi::node_cdata:
            return BKXMLNode::Kind::Text;
        case pugi::node_comment:
            return BKXMLNode::Kind::Comment;
        case pugi::node_null:
            return BKXMLNode::Kind::Null;
        default:
            return BKXMLNode::Kind::Other;
    }
}

// The first node from `node` on that is not hidden; each node's type is asked once.
BKXMLNode visibleFrom(pugi::xml_node node, BKXMLDocument* document) {
    for (; node; node = node.next_sibling()) {
        pugi::xml_node_type type = node.type();
        if (document) {
            if (type == pugi::node_element && document->isIgnoredNode(structOf(node))) {
                continue;
            }
            if (type == pugi::node_pcdata && isHiddenWhitespace(node, false, document)) {
                continue;
            }
        }
        return BKXMLNode(structOf(node), document, kindOf(type));
    }
    return BKXMLNode();
}

}  // namespace

BKXMLNode firstChildOf(pugi::xml_node_struct* element, BKXMLDocument* document) {
    if (!element) return BKXMLNode();
    // `element` is always an element here, so a value of its own is embedded text.
    if (nodeOf(element).value()[0] != 0 && !isHiddenWhitespace(nodeOf(element), true, document)) {
        return BKXMLNode(element, document, true);
    }
    return visibleFrom(nodeOf(element).first_child(), document);
}

BKXMLNode nextSiblingOf(const BKXMLNode& node) {
    if (node.isNull()) return BKXMLNode();
    pugi::xml_node n = nodeOf(node.internalNode());
    return visibleFrom(node.isEmbeddedText() ? n.first_child() : n.next_sibling(), node.document());
}

}  // namespace bkxml

BKXMLNode::BKXMLNode(pugi::xml_node_struct* node, BKXMLDocument* document, bool embeddedText)
    : node_(node), document_(document), embedded_(embeddedText) {
    if (!node_) return;
    if (embedded_) {
        kind_ = Kind::Text;
        return;
    }
    kind_ = bkxml::kindOf(bkxml::nodeOf(node_).type());
    if (kind_ == Kind::Null) node_ = nullptr;
}

BKXMLElement BKXMLNode::element() const {
    return isElement() ? BKXMLElement(node_, document_) : BKXMLElement();
}

std::string_view BKXMLNode::string() const {
    if (kind_ != Kind::Text && kind_ != Kind::Comment) return {};
    return bkxml::nodeOf(node_).value();
}

BKXMLChildRange::Iterator& BKXMLChildRange::Iterator::operator++() {
    node_ = bkxml::nextSiblingOf(node_);
    return *this;
}

}  // namespace kestrum
