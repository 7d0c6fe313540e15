#include "Platform/xml/BKXMLElement.h"

#include <cstring>

#include "Platform/core/KSNumberText.h"
#include "Platform/xml/BKXMLComment.h"
#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLPrivate.h"

namespace kestrum {

using bkxml::nodeOf;

namespace {

pugi::xml_attribute findAttribute(pugi::xml_node node, std::string_view name) {
    for (pugi::xml_attribute a = node.first_attribute(); bkxml::structOf(a);
         a = a.next_attribute()) {
        if (bkxml::nameEquals(a.name(), name)) return a;
    }
    return bkxml::attributeOf(nullptr);
}

// Whether `element` is written as an empty-element tag (no children, no text of its own).
bool isWrittenEmpty(pugi::xml_node element) {
    return !bkxml::structOf(element.first_child()) && element.value()[0] == 0;
}

// Adds to the document's size estimate a child of `bytes` going into `parent`; a parent
// that was written empty now needs an end tag too.
void noteChildAdded(BKXMLDocument* document, pugi::xml_node parent, bool parentWasEmpty,
                    std::size_t bytes) {
    if (!document) return;
    if (parentWasEmpty) bytes += std::strlen(parent.name()) + 2;
    document->noteWrittenSizeChange(static_cast<std::ptrdiff_t>(bytes));
}

// Comments are never read back; their line breaks are normalised so that a carriage
// return does not need a character reference, which a comment cannot hold.
std::string commentText(std::string_view text) {
    std::string storage;
    std::string_view clean = bkxml::sanitizedText(text, storage);
    std::string result;
    result.reserve(clean.size());
    for (std::size_t i = 0; i < clean.size(); ++i) {
        if (clean[i] != '\r') {
            result += clean[i];
        } else if (i + 1 >= clean.size() || clean[i + 1] != '\n') {
            result += '\n';
        }
    }
    return result;
}

}  // namespace

namespace bkxml {

BKXMLElement appendTextElement(const BKXMLElement& parent, std::string_view name,
                               std::string_view text, TextOrigin origin) {
    if (!parent) return BKXMLElement();
    XMLName cleanName(name);
    pugi::xml_node node = nodeOf(parent.internalNode());
    bool parentWasEmpty = isWrittenEmpty(node);
    pugi::xml_node child = node.append_child(cleanName.c_str());
    std::size_t bytes = cleanName.size() + 3;
    // As appendString: empty text adds no node.
    if (!text.empty()) {
        std::string textStorage;
        std::string_view clean =
            origin == TextOrigin::Formatted ? text : sanitizedText(text, textStorage);
        child.append_child(pugi::node_pcdata).set_value(clean.data(), clean.size());
        bytes += cleanName.size() + 2 + clean.size();
    }
    noteChildAdded(parent.document(), node, parentWasEmpty, bytes);
    return BKXMLElement(structOf(child), parent.document());
}

}  // namespace bkxml

std::string_view BKXMLElement::name() const {
    if (!node_) return {};
    return nodeOf(node_).name();
}

std::optional<std::string_view> BKXMLElement::attributeNamed(std::string_view name) const {
    if (!node_) return std::nullopt;
    const char* value = bkxml::attributeValue(node_, name);
    if (!value) return std::nullopt;
    return std::string_view(value);
}

bool BKXMLElement::removeAttributeNamed(std::string_view name) {
    if (!node_) return false;
    pugi::xml_node node = nodeOf(node_);
    pugi::xml_attribute a = findAttribute(node, name);
    if (!bkxml::structOf(a)) return false;
    if (document_) {
        document_->noteWrittenSizeChange(
            -static_cast<std::ptrdiff_t>(bkxml::writtenSizeOfAttribute(a)));
    }
    return node.remove_attribute(a);
}

std::vector<std::pair<std::string_view, std::string_view>> BKXMLElement::attributes() const {
    std::vector<std::pair<std::string_view, std::string_view>> result;
    if (!node_) return result;
    for (pugi::xml_attribute a = nodeOf(node_).first_attribute(); a; a = a.next_attribute()) {
        result.emplace_back(a.name(), a.value());
    }
    return result;
}

void bkxml::setAttributeText(const BKXMLElement& element, std::string_view name,
                             std::string_view value, TextOrigin origin) {
    if (!element) return;
    XMLName cleanName(name);
    std::string valueStorage;
    std::string_view cleanValue =
        origin == TextOrigin::Formatted ? value : sanitizedText(value, valueStorage);
    pugi::xml_node node = nodeOf(element.internalNode());
    pugi::xml_attribute a = findAttribute(node, cleanName.view());
    std::ptrdiff_t sizeChange = static_cast<std::ptrdiff_t>(cleanValue.size());
    if (structOf(a)) {
        sizeChange -= static_cast<std::ptrdiff_t>(std::strlen(a.value()));
    } else {
        a = node.append_attribute(cleanName.c_str());
        sizeChange += static_cast<std::ptrdiff_t>(cleanName.size() + 4);
    }
    a.set_value(cleanValue.data(), cleanValue.size());
    if (element.document()) element.document()->noteWrittenSizeChange(sizeChange);
}

void BKXMLElement::setAttributeString(std::string_view name, std::string_view value) {
    bkxml::setAttributeText(*this, name, value, bkxml::TextOrigin::Caller);
}

void BKXMLElement::setAttributeInteger(std::string_view name, std::int64_t value) {
    bkxml::setAttributeText(*this, name, KSStringFromInteger(value), bkxml::TextOrigin::Formatted);
}

void BKXMLElement::setAttributeReal(std::string_view name, float value) {
    bkxml::setAttributeText(*this, name, KSStringFromFloat(value), bkxml::TextOrigin::Formatted);
}

void BKXMLElement::setAttributeDouble(std::string_view name, double value) {
    char buffer[32];
    bkxml::setAttributeText(*this, name, bkxml::formatDouble(value, buffer),
                            bkxml::TextOrigin::Formatted);
}

BKXMLElement BKXMLElement::appendElement(std::string_view name) {
    if (!node_) return BKXMLElement();
    bkxml::XMLName cleanName(name);
    pugi::xml_node parent = nodeOf(node_);
    bool parentWasEmpty = isWrittenEmpty(parent);
    pugi::xml_node child = parent.append_child(cleanName.c_str());
    noteChildAdded(document_, parent, parentWasEmpty, cleanName.size() + 3);
    return BKXMLElement(bkxml::structOf(child), document_);
}

void BKXMLElement::appendString(std::string_view text) {
    // An empty run of text writes nothing; leaving it out saves a node.
    if (!node_ || text.empty()) return;
    std::string storage;
    std::string_view clean = bkxml::sanitizedText(text, storage);
    pugi::xml_node parent = nodeOf(node_);
    bool parentWasEmpty = isWrittenEmpty(parent);
    parent.append_child(pugi::node_pcdata).set_value(clean.data(), clean.size());
    noteChildAdded(document_, parent, parentWasEmpty, clean.size());
}

void BKXMLElement::appendChild(const BKXMLComment& comment) {
    if (!node_) return;
    std::string text = commentText(comment.string());
    pugi::xml_node parent = nodeOf(node_);
    bool parentWasEmpty = isWrittenEmpty(parent);
    parent.append_child(pugi::node_comment).set_value(text.data(), text.size());
    noteChildAdded(document_, parent, parentWasEmpty, text.size() + 7);
}

BKXMLElement BKXMLElement::appendChild(const BKXMLElement& element) {
    if (!node_ || !element.node_) return BKXMLElement();
    pugi::xml_node parent = nodeOf(node_);
    bool parentWasEmpty = isWrittenEmpty(parent);
    pugi::xml_node copy = parent.append_copy(nodeOf(element.node_));
    noteChildAdded(document_, parent, parentWasEmpty, bkxml::writtenSizeOf(copy));
    return BKXMLElement(bkxml::structOf(copy), document_);
}

BKXMLChildRange BKXMLElement::children() const {
    return BKXMLChildRange(bkxml::firstChildOf(node_, document_));
}

BKXMLElement BKXMLElement::firstChildNamed(std::string_view name) const {
    for (BKXMLNode child : children()) {
        if (child.isElement() && bkxml::nameEquals(nodeOf(child.internalNode()).name(), name)) {
            return child.element();
        }
    }
    return BKXMLElement();
}

BKXMLNode BKXMLElement::lastChild() const {
    if (!node_) return BKXMLNode();
    pugi::xml_node child = nodeOf(node_).last_child();
    while (child && bkxml::isHidden(child, document_))
        child = child.previous_sibling();
    if (child) return BKXMLNode(child.internal_object(), document_, false);
    // No visible child node: the embedded text, when it is shown, is the last child.
    BKXMLNode first = bkxml::firstChildOf(node_, document_);
    return first.isEmbeddedText() ? first : BKXMLNode();
}

BKXMLElement BKXMLElement::parent() const {
    if (!node_) return BKXMLElement();
    pugi::xml_node p = nodeOf(node_).parent();
    if (!p || p.type() != pugi::node_element) return BKXMLElement();
    return BKXMLElement(p.internal_object(), document_);
}

void BKXMLElement::setIgnoreUnlessReferenced(bool ignoreUnlessReferenced) {
    if (node_ && document_) document_->setNodeIgnoreUnlessReferenced(node_, ignoreUnlessReferenced);
}

void BKXMLElement::markAsReferenced() {
    if (node_ && document_) document_->markNodeAsReferenced(node_);
}

bool BKXMLElement::shouldIgnore() const {
    return node_ && document_ && document_->isIgnoredNode(node_);
}

}  // namespace kestrum
