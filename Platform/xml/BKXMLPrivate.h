// Internals shared by the XML layer's sources: conversions between the layer's handles
// and pugixml, the checks applied to every name and text written into a document, number
// formatting, the written-size estimate, and the steps the cursor takes through children.
// Not part of the public interface; only the layer's .cpp files include it.
#pragma once

#include <pugixml.hpp>

#include <bit>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLNode.h"

namespace kestrum::bkxml {

// pugixml's handle is exactly its node pointer, but its constructor and internal_object()
// are out-of-line calls into the shared library; on the cursor's hot path a bit cast does
// the same for free.
static_assert(sizeof(pugi::xml_node) == sizeof(pugi::xml_node_struct*) &&
              std::is_trivially_copyable_v<pugi::xml_node>);
inline pugi::xml_node nodeOf(pugi::xml_node_struct* node) {
    return std::bit_cast<pugi::xml_node>(node);
}
inline pugi::xml_node_struct* structOf(pugi::xml_node node) {
    return std::bit_cast<pugi::xml_node_struct*>(node);
}
// The same for attributes; a null handle gives a null pointer, so loops test it without
// the library's out-of-line boolean conversion.
static_assert(sizeof(pugi::xml_attribute) == sizeof(pugi::xml_attribute_struct*) &&
              std::is_trivially_copyable_v<pugi::xml_attribute>);
inline pugi::xml_attribute_struct* structOf(pugi::xml_attribute attribute) {
    return std::bit_cast<pugi::xml_attribute_struct*>(attribute);
}
inline pugi::xml_attribute attributeOf(pugi::xml_attribute_struct* attribute) {
    return std::bit_cast<pugi::xml_attribute>(attribute);
}

inline bool isXMLSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

inline bool isWhitespaceOnly(const char* text) {
    for (; *text; ++text) {
        if (!isXMLSpace(*text)) return false;
    }
    return true;
}

// Whether a null-terminated name equals `wanted`, without measuring the name first. Names
// are short and mostly differ in their first byte, so a plain loop beats a library call.
inline bool nameEquals(const char* name, std::string_view wanted) {
    for (char c : wanted) {
        if (*name != c || c == 0) return false;
        ++name;
    }
    return *name == 0;
}

// A name as a document can hold it, null-terminated for pugixml. Characters a name cannot
// hold become '_', and a name that cannot start as it does gets a leading '_' (logged).
// Plain ASCII names shorter than 64 bytes, nearly all of them, are checked and copied to
// the stack in one pass.
class XMLName {
public:
    explicit XMLName(std::string_view name);
    XMLName(const XMLName&) = delete;
    XMLName& operator=(const XMLName&) = delete;
    const char* c_str() const { return text_; }
    std::size_t size() const { return size_; }
    std::string_view view() const { return {text_, size_}; }

private:
    char small_[64];
    std::string large_;
    const char* text_;
    std::size_t size_;
};

// Writes `value` as the shortest text that reads back as the same double (the text
// KSStringFromDouble gives) into `buffer`; answers the text. Whole numbers, the usual
// case of durations and efforts in seconds, are written without the general algorithm.
std::string_view formatDouble(double value, char (&buffer)[32]);

// Text as XML 1.0 can hold it: malformed UTF-8 becomes U+FFFD, control characters
// other than tab, line feed and carriage return are dropped, as are the non-characters
// U+FFFE and U+FFFF. Answers `text` itself (no copy) when nothing needs changing, else
// fills `storage` and answers a view of it.
std::string_view sanitizedText(std::string_view text, std::string& storage);

// What a node takes when written (without layout, before escaping): the size estimate that
// lets a document reserve its output buffer once.
std::size_t writtenSizeOf(pugi::xml_node node);
// What an attribute takes when written: ` name="value"`.
std::size_t writtenSizeOfAttribute(pugi::xml_attribute attribute);

// How text reaches the document: checked (sanitizedText), or as it is, for the text the
// layer formats itself (numbers, dates), which is plain ASCII.
enum class TextOrigin { Caller, Formatted };

// Appends to `parent` an element holding `text`: appendElement and appendString in one
// step, for the leaves that make up most of a document.
BKXMLElement appendTextElement(const BKXMLElement& parent, std::string_view name,
                               std::string_view text, TextOrigin origin = TextOrigin::Caller);
// Sets an attribute of `element` (setAttributeString) to text of the given origin.
void setAttributeText(const BKXMLElement& element, std::string_view name, std::string_view value,
                      TextOrigin origin);

// The concatenated text of an element's own text children (BKCharacterDataFromElement)
// without a copy when it is a single run, the usual case; else joined in `storage`.
std::string_view characterData(const BKXMLElement& element, std::string& storage);

// The value of the attribute `name` of `element`, or null when it has none.
inline const char* attributeValue(pugi::xml_node_struct* element, std::string_view name) {
    for (pugi::xml_attribute a = nodeOf(element).first_attribute(); structOf(a);
         a = a.next_attribute()) {
        if (nameEquals(a.name(), name)) return a.value();
    }
    return nullptr;
}

// --- Stepping through children ------------------------------------------------------
// Inline, because the cursor takes these steps for every node it reads.

// Whether whitespace-only text directly inside `parent` is layout. `ignores` caches the
// answer for the caller's parent (-1 while unknown), so that a run of layout between
// siblings asks the whitespace rules once, not once a node.
bool ignoresWhitespaceIn(pugi::xml_node_struct* parent, BKXMLDocument* document,
                         signed char* ignores);

// Whether `text`, a text node or the element holding embedded text, is whitespace only and
// the rules make it layout. `parent` is the element it stands in, or null to be found when
// needed. The cheap tests come first.
inline bool isHiddenWhitespace(pugi::xml_node text, pugi::xml_node_struct* parent,
                               BKXMLDocument* document, signed char* ignores) {
    if (!document || !document->hidesWhitespace() || !isWhitespaceOnly(text.value())) return false;
    return ignoresWhitespaceIn(parent ? parent : structOf(text.parent()), document, ignores);
}

inline BKXMLNode::Kind kindOf(pugi::xml_node_type type) {
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

// Whether a child is passed over: an element to be written only when referenced that was
// not, or whitespace-only text where the whitespace behaviour makes it layout.
inline bool isHidden(pugi::xml_node node, BKXMLDocument* document) {
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

// The first node from `node` on that is not hidden; each node's type is asked once.
// `parent` is the element the nodes stand in, or null when not at hand.
inline BKXMLNode visibleFrom(pugi::xml_node node, pugi::xml_node_struct* parent,
                             BKXMLDocument* document, signed char* ignores) {
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

// The first child of an element as the layer presents it (embedded text first), passing
// over elements that are to be written only when referenced and were not. `ignores`, when
// given, caches whether whitespace-only text in `element` is layout (-1 while unknown).
inline BKXMLNode firstChildOf(pugi::xml_node_struct* element, BKXMLDocument* document,
                              signed char* ignores = nullptr) {
    if (!element) return BKXMLNode();
    // `element` is always an element here, so a value of its own is embedded text.
    pugi::xml_node node = nodeOf(element);
    if (node.value()[0] != 0 && !isHiddenWhitespace(node, element, document, ignores)) {
        return BKXMLNode(element, document, BKXMLNode::Kind::Text, true);
    }
    return visibleFrom(node.first_child(), element, document, ignores);
}

// The child after `node`, with the same rules; `ignores` caches the answer for its parent.
inline BKXMLNode nextSiblingOf(const BKXMLNode& node, signed char* ignores = nullptr) {
    if (node.isNull()) return BKXMLNode();
    pugi::xml_node n = nodeOf(node.internalNode());
    if (node.isEmbeddedText()) {
        return visibleFrom(n.first_child(), structOf(n), node.document(), ignores);
    }
    return visibleFrom(n.next_sibling(), nullptr, node.document(), ignores);
}

}  // namespace kestrum::bkxml
