#include "Platform/xml/BKXMLCursor.h"

#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLFunctions.h"
#include "Platform/xml/BKXMLPrivate.h"

namespace kestrum {

BKXMLCursor::BKXMLCursor(const BKXMLDocument& document)
    : document_(const_cast<BKXMLDocument*>(&document)),
      root_(document.rootElement().internalNode()),
      current_(root_),
      next_(bkxml::firstChildOf(root_, document_, &ignoresWhitespace_)) {}

BKXMLElement BKXMLCursor::currentElement() const {
    return BKXMLElement(current_, document_);
}

std::string_view BKXMLCursor::name() const {
    return currentElement().name();
}

std::optional<std::string_view> BKXMLCursor::attributeNamed(std::string_view name) const {
    const char* value = bkxml::attributeValue(current_, name);
    if (!value) return std::nullopt;
    return std::string_view(value);
}

BKXMLChildRange BKXMLCursor::children() const {
    return currentElement().children();
}

BKXMLNode BKXMLCursor::nextChild() {
    BKXMLNode child = next_;
    if (child.isNull()) return child;
    next_ = bkxml::nextSiblingOf(child, &ignoresWhitespace_);
    lastConsumed_ = child;
    return child;
}

bool BKXMLCursor::openElement() {
    if (!lastConsumed_.isElement()) return false;
    current_ = lastConsumed_.internalNode();
    ignoresWhitespace_ = -1;
    next_ = bkxml::firstChildOf(current_, document_, &ignoresWhitespace_);
    lastConsumed_ = BKXMLNode();
    ++depth_;
    return true;
}

bool BKXMLCursor::closeElement() {
    if (current_ == root_ || depth_ == 0) return false;
    BKXMLNode left(current_, document_, BKXMLNode::Kind::Element);
    current_ = bkxml::structOf(bkxml::nodeOf(current_).parent());
    ignoresWhitespace_ = -1;
    next_ = bkxml::nextSiblingOf(left, &ignoresWhitespace_);
    lastConsumed_ = left;
    --depth_;
    return true;
}

bool BKXMLCursor::openNextChildElementNamed(std::string_view name) {
    BKXMLElement element = SkipToNextChildElement(*this);
    if (!element || element.name() != name) return false;
    nextChild();
    return openElement();
}

}  // namespace kestrum
