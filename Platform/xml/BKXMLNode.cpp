#include "Platform/xml/BKXMLNode.h"

#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLElement.h"
#include "Platform/xml/BKXMLPrivate.h"

namespace kestrum {

namespace bkxml {

namespace {

BKXMLNode visibleFrom(pugi::xml_node node, BKXMLDocument* document) {
    while (node && document && document->isIgnoredNode(node.internal_object())) {
        node = node.next_sibling();
    }
    return node ? BKXMLNode(node.internal_object(), document, false) : BKXMLNode();
}

}  // namespace

BKXMLNode firstChildOf(pugi::xml_node_struct* element, BKXMLDocument* document) {
    if (!element) return BKXMLNode();
    if (hasEmbeddedText(element)) return BKXMLNode(element, document, true);
    return visibleFrom(nodeOf(element).first_child(), document);
}

BKXMLNode nextSiblingOf(const BKXMLNode& node) {
    if (node.isNull()) return BKXMLNode();
    pugi::xml_node n = nodeOf(node.internalNode());
    return visibleFrom(node.isEmbeddedText() ? n.first_child() : n.next_sibling(), node.document());
}

}  // namespace bkxml

BKXMLNode::Kind BKXMLNode::kind() const {
    if (!node_) return Kind::Null;
    if (embedded_) return Kind::Text;
    switch (bkxml::nodeOf(node_).type()) {
        case pugi::node_element:
            return Kind::Element;
        case pugi::node_pcdata:
        case pugi::node_cdata:
            return Kind::Text;
        case pugi::node_comment:
            return Kind::Comment;
        case pugi::node_null:
            return Kind::Null;
        default:
            return Kind::Other;
    }
}

BKXMLElement BKXMLNode::element() const {
    return isElement() ? BKXMLElement(node_, document_) : BKXMLElement();
}

std::string_view BKXMLNode::string() const {
    Kind k = kind();
    if (k != Kind::Text && k != Kind::Comment) return {};
    return bkxml::nodeOf(node_).value();
}

BKXMLChildRange::Iterator& BKXMLChildRange::Iterator::operator++() {
    node_ = bkxml::nextSiblingOf(node_);
    return *this;
}

}  // namespace kestrum
