#include "Platform/xml/BKXMLNode.h"

#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLElement.h"
#include "Platform/xml/BKXMLPrivate.h"

namespace kestrum {

namespace bkxml {

bool ignoresWhitespaceIn(pugi::xml_node_struct* parent, BKXMLDocument* document,
                         signed char* ignores) {
    if (!ignores) return document->isIgnoringWhitespaceIn(parent);
    if (*ignores < 0) *ignores = document->isIgnoringWhitespaceIn(parent) ? 1 : 0;
    return *ignores != 0;
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
