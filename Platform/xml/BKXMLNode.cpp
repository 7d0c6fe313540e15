#include "Platform/xml/BKXMLNode.h"

#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLElement.h"
#include "Platform/xml/BKXMLPrivate.h"

namespace kestrum {

namespace bkxml {

namespace {

// Whether whitespace-only text directly inside `parent` is layout. `ignores` caches the
// answer for the caller's parent (-1 while unknown), so that a run of layout between
// siblings asks the whitespace rules once, not once a node.
bool ignoresWhitespaceIn(pugi::xml_node_struct* parent, BKXMLDocument* document,
                         signed char* ignores) {
    if (!ignores) return document->isIgnoringWhitespaceIn(parent);
    if (*ignores < 0) *ignores = document->isIgnoringWhitespaceIn(parent) ? 1 : 0;
    return *ignores != 0;
}

// Whether `text`, a text node or the element holding embedded text, is whitespace only and
// the rules make it layout. `parent` is the element it stands in, or null to be found here
// when needed. The cheap tests come first.
bool isHiddenWhitespace(pugi::xml_node text, pugi::xml_node_struct* parent, BKXMLDocument* document,
                        signed char* ignores) {
    if (!document || !document->hidesWhitespace() || !isWhitespaceOnly(text.value())) return false;
    return ignoresWhitespaceIn(parent ? parent : structOf(text.parent()), document, ignores);
}

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
// `parent` is the element the nodes stand in, or null when not at hand.
BKXMLNode visibleFrom(pugi::xml_node node, pugi::xml_node_struct* parent, BKXMLDocument* document,
                      signed char* ignores) {
    for (; structOf(node); node = node.next_sibling()) {
        pugi::xml_node_type type = node.type();
        if (document) {
            if (type == pugi::node_element && document->isIgnoredNode(structOf(node))) {
                continue;
            }
            if (type == pugi::node_pcdata && isHiddenWhitespace(node, parent, document, ignores)) {
                continue;
            }
        }
        return BKXMLNode(structOf(node), document, kindOf(type));
    }
    return BKXMLNode();
}

}  // namespace

bool isHidden(pugi::xml_node node, BKXMLDocument* document) {
    if (!document) return false;
    switch (node.type()) {
        case pugi::node_element:
            return document->isIgnoredNode(structOf(node));
        case pugi::node_pcdata:
            return isHiddenWhitespace(node, nullptr, document, nullptr);
        default:
            return false;
    }
}

BKXMLNode firstChildOf(pugi::xml_node_struct* element, BKXMLDocument* document,
                       signed char* ignores) {
    if (!element) return BKXMLNode();
    // `element` is always an element here, so a value of its own is embedded text.
    pugi::xml_node node = nodeOf(element);
    if (node.value()[0] != 0 && !isHiddenWhitespace(node, element, document, ignores)) {
        return BKXMLNode(element, document, BKXMLNode::Kind::Text, true);
    }
    return visibleFrom(nodeOf(element).first_child(), element, document, ignores);
}

BKXMLNode nextSiblingOf(const BKXMLNode& node, signed char* ignores) {
    if (node.isNull()) return BKXMLNode();
    pugi::xml_node n = nodeOf(node.internalNode());
    if (node.isEmbeddedText()) {
        return visibleFrom(n.first_child(), structOf(n), node.document(), ignores);
    }
    return visibleFrom(n.next_sibling(), nullptr, node.document(), ignores);
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
    node_ = bkxml::nextSiblingOf(node_, &ignoresWhitespace_);
    return *this;
}

}  // namespace kestrum
