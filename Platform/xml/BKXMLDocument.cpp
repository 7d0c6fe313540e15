#include "Platform/xml/BKXMLDocument.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "Platform/core/KSLog.h"
#include "Platform/core/KSNumberText.h"
#include "Platform/xml/BKXMLPrivate.h"

namespace kestrum {

using bkxml::nodeOf;

const char* const BKXMLErrorOffsetKey = "BKXMLErrorOffset";
const char* const BKXMLErrorLineKey = "BKXMLErrorLine";
const char* const BKXMLErrorColumnKey = "BKXMLErrorColumn";

struct BKXMLDocument::Impl {
    pugi::xml_document xml;
    // The open elements, root first.
    std::vector<pugi::xml_node_struct*> stack;
    std::string namespaceURL;
    std::shared_ptr<const BKXMLWhitespaceBehavior> behavior;
    KSDictionary userObjects;
    // The bytes of a document parsed in place; the parsed strings point into it.
    KSData buffer;
    // Elements written only when referenced, with whether something referenced them.
    std::unordered_map<pugi::xml_node_struct*, bool> ignorable;
};

namespace {

constexpr unsigned kBaseParseFlags = pugi::parse_cdata | pugi::parse_escapes |
                                     pugi::parse_wconv_attribute | pugi::parse_eol |
                                     pugi::parse_embed_pcdata | pugi::parse_fragment;

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// Writes the document into one buffer reserved up front from the document's size estimate,
// so that the bytes are neither copied to grow nor joined at the end. Escapes the estimate
// does not count fit in a small margin; should they not, the buffer grows by a quarter.
//
// The writer leaves a carriage return in text as it is, and a parser would turn it into
// a line feed; as a character reference it survives. Raw carriage returns reach this
// point only from text: attributes are escaped by the writer and comments have their
// line breaks normalised.
class DataWriter : public pugi::xml_writer {
public:
    explicit DataWriter(std::size_t expectedSize) { out_.reserve(expectedSize); }

    void write(const void* data, size_t size) override {
        const auto* p = static_cast<const std::uint8_t*>(data);
        const auto* end = p + size;
        while (p < end) {
            const auto* cr = static_cast<const std::uint8_t*>(std::memchr(p, '\r', end - p));
            if (!cr) {
                append(p, end - p);
                break;
            }
            append(p, cr - p);
            append("&#13;");
            p = cr + 1;
        }
    }

    void append(std::string_view text) {
        append(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    }

    KSData take() { return std::move(out_); }

private:
    void append(const std::uint8_t* p, std::size_t n) {
        if (out_.capacity() - out_.size() < n) {
            out_.reserve(out_.size() + std::max(n, out_.size() / 4));
        }
        out_.insert(out_.end(), p, p + n);
    }

    KSData out_;
};

std::size_t expectedOutputSize(std::ptrdiff_t estimate) {
    std::size_t size = static_cast<std::size_t>(std::max<std::ptrdiff_t>(estimate, 0));
    return kDeclaration.size() + size + size / 128 + 256;
}

KSError parseError(BKXMLErrorCode code, const std::string& reason, std::ptrdiff_t offset,
                   const KSData* original) {
    KSDictionary info;
    std::string description = "The XML data could not be read: " + reason;
    if (offset >= 0) {
        info.setObjectForKey(BKXMLErrorOffsetKey, KSValue(static_cast<long long>(offset)));
        if (original && static_cast<std::size_t>(offset) <= original->size()) {
            long line = 1;
            std::ptrdiff_t lineStart = 0;
            for (std::ptrdiff_t i = 0; i < offset; ++i) {
                if ((*original)[i] == '\n') {
                    ++line;
                    lineStart = i + 1;
                }
            }
            long column = static_cast<long>(offset - lineStart) + 1;
            info.setObjectForKey(BKXMLErrorLineKey, KSValue(line));
            info.setObjectForKey(BKXMLErrorColumnKey, KSValue(column));
            description += " (line " + KSStringFromInteger(line) + ", column " +
                           KSStringFromInteger(column) + ").";
        } else {
            description += " (at byte " + KSStringFromInteger(offset) + ").";
        }
    } else {
        description += ".";
    }
    info.setObjectForKey(KSLocalizedDescriptionKey, KSValue(description));
    return KSError(KSXMLErrorDomain, code, std::move(info));
}

}  // namespace

BKXMLDocument::BKXMLDocument() : impl_(std::make_unique<Impl>()) {}
BKXMLDocument::~BKXMLDocument() = default;

std::unique_ptr<BKXMLDocument> BKXMLDocument::documentWithRootElementName(
    std::string_view rootElementName, std::string_view namespaceURL,
    std::shared_ptr<const BKXMLWhitespaceBehavior> behavior, BKXMLStringEncoding encoding,
    KSError* error) {
    if (encoding != BKXMLStringEncodingUTF8) {
        KSSetError(error,
                   KSError::errorWithDescription(KSXMLErrorDomain, BKXMLErrorUnsupportedEncoding,
                                                 "XML documents can only be written in UTF-8."));
        return nullptr;
    }
    if (rootElementName.empty()) {
        KSSetError(error,
                   KSError::errorWithDescription(KSXMLErrorDomain, BKXMLErrorInvalidName,
                                                 "An XML document needs a root element name."));
        return nullptr;
    }
    std::unique_ptr<BKXMLDocument> document(new BKXMLDocument());
    document->impl_->namespaceURL = std::string(namespaceURL);
    document->hidesWhitespace_ = behavior && behavior->usesHandling(BKXMLWhitespaceIgnore);
    document->impl_->behavior = std::move(behavior);
    bkxml::XMLName name(rootElementName);
    pugi::xml_node root = document->impl_->xml.append_child(name.c_str());
    document->impl_->stack.push_back(root.internal_object());
    document->writtenSizeEstimate_ = static_cast<std::ptrdiff_t>(name.size() + 3);
    return document;
}

std::unique_ptr<BKXMLDocument> BKXMLDocument::documentWithData(
    const KSData& data, std::shared_ptr<const BKXMLWhitespaceBehavior> behavior, KSError* error) {
    std::unique_ptr<BKXMLDocument> document(new BKXMLDocument());
    document->impl_->behavior = std::move(behavior);
    const BKXMLWhitespaceBehavior* b = document->impl_->behavior.get();
    unsigned flags = kBaseParseFlags;
    if (!b || b->usesHandling(BKXMLWhitespacePreserve)) flags |= pugi::parse_ws_pcdata;
    pugi::xml_parse_result result =
        document->impl_->xml.load_buffer(data.data(), data.size(), flags, pugi::encoding_auto);
    if (!result) {
        BKXMLErrorCode code = result.status == pugi::status_no_document_element
                                  ? BKXMLErrorNoRootElement
                                  : BKXMLErrorMalformed;
        KSSetError(error, parseError(code, result.description(), result.offset, &data));
        return nullptr;
    }
    if (!document->finishParsing(data.size(), &data, error)) return nullptr;
    return document;
}

std::unique_ptr<BKXMLDocument> BKXMLDocument::documentWithData(
    KSData&& data, std::shared_ptr<const BKXMLWhitespaceBehavior> behavior, KSError* error) {
    std::unique_ptr<BKXMLDocument> document(new BKXMLDocument());
    Impl& impl = *document->impl_;
    impl.behavior = std::move(behavior);
    impl.buffer = std::move(data);
    unsigned flags = kBaseParseFlags;
    if (!impl.behavior || impl.behavior->usesHandling(BKXMLWhitespacePreserve)) {
        flags |= pugi::parse_ws_pcdata;
    }
    pugi::xml_parse_result result = impl.xml.load_buffer_inplace(
        impl.buffer.data(), impl.buffer.size(), flags, pugi::encoding_auto);
    if (!result) {
        BKXMLErrorCode code = result.status == pugi::status_no_document_element
                                  ? BKXMLErrorNoRootElement
                                  : BKXMLErrorMalformed;
        KSSetError(error, parseError(code, result.description(), result.offset, nullptr));
        return nullptr;
    }
    if (!document->finishParsing(impl.buffer.size(), nullptr, error)) return nullptr;
    return document;
}

bool BKXMLDocument::finishParsing(std::size_t dataSize, const KSData* original, KSError* error) {
    // The parser accepts fragments; a document has exactly one root element and nothing
    // but whitespace beside it.
    pugi::xml_node root;
    for (pugi::xml_node child = impl_->xml.first_child(); child;) {
        pugi::xml_node next = child.next_sibling();
        if (child.type() == pugi::node_element) {
            if (root) {
                KSSetError(error, parseError(BKXMLErrorContentOutsideRoot,
                                             "a second element follows the root element",
                                             child.offset_debug(), original));
                return false;
            }
            root = child;
        } else if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
            if (!bkxml::isWhitespaceOnly(child.value())) {
                KSSetError(error, parseError(BKXMLErrorContentOutsideRoot,
                                             "text stands outside the root element",
                                             child.offset_debug(), original));
                return false;
            }
            impl_->xml.remove_child(child);
        }
        child = next;
    }
    if (!root) {
        KSSetError(error, parseError(BKXMLErrorNoRootElement, "no root element",
                                     static_cast<std::ptrdiff_t>(dataSize), original));
        return false;
    }
    // Whitespace-only text was kept by the parser only where some element preserves it;
    // where the rules call it layout the layer then passes over it as it reads.
    const BKXMLWhitespaceBehavior* behavior = impl_->behavior.get();
    hidesWhitespace_ = behavior && behavior->usesHandling(BKXMLWhitespaceIgnore) &&
                       behavior->usesHandling(BKXMLWhitespacePreserve);
    impl_->stack.assign(1, root.internal_object());
    // Written again, a parsed document comes to about the size it was read from.
    writtenSizeEstimate_ = static_cast<std::ptrdiff_t>(dataSize);
    return true;
}

const std::string& BKXMLDocument::namespaceURL() const {
    return impl_->namespaceURL;
}

const std::shared_ptr<const BKXMLWhitespaceBehavior>& BKXMLDocument::whitespaceBehavior() const {
    return impl_->behavior;
}

BKXMLElement BKXMLDocument::rootElement() const {
    return BKXMLElement(impl_->stack.front(), const_cast<BKXMLDocument*>(this));
}

BKXMLElement BKXMLDocument::topElement() const {
    return BKXMLElement(impl_->stack.back(), const_cast<BKXMLDocument*>(this));
}

std::size_t BKXMLDocument::stackDepth() const {
    return impl_->stack.size();
}

BKXMLElement BKXMLDocument::pushElement(std::string_view name) {
    BKXMLElement element = topElement().appendElement(name);
    impl_->stack.push_back(element.internalNode());
    return element;
}

bool BKXMLDocument::popElement() {
    if (impl_->stack.size() <= 1) {
        KSLog("BKXMLDocument: popElement with only the root element on the stack");
        return false;
    }
    impl_->stack.pop_back();
    return true;
}

BKXMLElement BKXMLDocument::appendElement(std::string_view name) {
    return topElement().appendElement(name);
}

BKXMLElement BKXMLDocument::appendElementContainingString(std::string_view name,
                                                          std::string_view text) {
    return bkxml::appendTextElement(topElement(), name, text);
}

BKXMLElement BKXMLDocument::appendElementContainingInteger(std::string_view name,
                                                           std::int64_t value) {
    return bkxml::appendTextElement(topElement(), name, KSStringFromInteger(value),
                                    bkxml::TextOrigin::Formatted);
}

BKXMLElement BKXMLDocument::appendElementContainingReal(std::string_view name, float value) {
    return bkxml::appendTextElement(topElement(), name, KSStringFromFloat(value),
                                    bkxml::TextOrigin::Formatted);
}

BKXMLElement BKXMLDocument::appendElementContainingDouble(std::string_view name, double value) {
    char buffer[32];
    return bkxml::appendTextElement(topElement(), name, bkxml::formatDouble(value, buffer),
                                    bkxml::TextOrigin::Formatted);
}

BKXMLElement BKXMLDocument::appendElementContainingDate(std::string_view name, KSDate date) {
    return bkxml::appendTextElement(topElement(), name, date.xmlString(),
                                    bkxml::TextOrigin::Formatted);
}

void BKXMLDocument::appendString(std::string_view text) {
    topElement().appendString(text);
}

void BKXMLDocument::setAttributeString(std::string_view name, std::string_view value) {
    topElement().setAttributeString(name, value);
}

void BKXMLDocument::setAttributeInteger(std::string_view name, std::int64_t value) {
    topElement().setAttributeInteger(name, value);
}

void BKXMLDocument::setAttributeReal(std::string_view name, float value) {
    topElement().setAttributeReal(name, value);
}

void BKXMLDocument::setAttributeDouble(std::string_view name, double value) {
    topElement().setAttributeDouble(name, value);
}

void BKXMLDocument::setUserObjectForKey(const KSValue& object, std::string_view key) {
    impl_->userObjects.setObjectForKey(key, object);
}

KSValue BKXMLDocument::userObjectForKey(std::string_view key) const {
    return impl_->userObjects.objectForKey(key);
}

BKXMLCursor BKXMLDocument::cursor() const {
    return BKXMLCursor(*this);
}

std::optional<KSData> BKXMLDocument::xmlData(KSError* error) {
    removeUnreferencedElements();
    try {
        DataWriter writer(expectedOutputSize(writtenSizeEstimate_));
        writer.append(kDeclaration);
        impl_->xml.save(writer, "", pugi::format_raw | pugi::format_no_declaration,
                        pugi::encoding_utf8);
        writer.append("\n");
        return writer.take();
    } catch (const std::bad_alloc&) {
        KSSetError(error, KSError::errorWithDescription(KSXMLErrorDomain, BKXMLErrorMalformed,
                                                        "Out of memory while writing XML."));
        return std::nullopt;
    }
}

bool BKXMLDocument::isIgnoringWhitespaceIn(pugi::xml_node_struct* element) const {
    const BKXMLWhitespaceBehavior* behavior = impl_->behavior.get();
    if (!behavior) return false;
    for (pugi::xml_node n = nodeOf(element); n && n.type() == pugi::node_element; n = n.parent()) {
        BKXMLWhitespaceHandling own = behavior->behaviorForElementName(n.name());
        if (own != BKXMLWhitespaceInherit) return own == BKXMLWhitespaceIgnore;
    }
    return behavior->defaultBehavior() == BKXMLWhitespaceIgnore;
}

bool BKXMLDocument::isIgnoredSlow(pugi::xml_node_struct* node) const {
    auto it = impl_->ignorable.find(node);
    return it != impl_->ignorable.end() && !it->second;
}

void BKXMLDocument::setNodeIgnoreUnlessReferenced(pugi::xml_node_struct* node, bool ignore) {
    if (ignore) {
        impl_->ignorable.emplace(node, false);
    } else {
        impl_->ignorable.erase(node);
    }
    hasIgnorableElements_ = !impl_->ignorable.empty();
}

void BKXMLDocument::markNodeAsReferenced(pugi::xml_node_struct* node) {
    if (!hasIgnorableElements_) return;
    for (pugi::xml_node n = nodeOf(node); n && n.type() == pugi::node_element; n = n.parent()) {
        auto it = impl_->ignorable.find(n.internal_object());
        if (it != impl_->ignorable.end()) it->second = true;
    }
}

void BKXMLDocument::removeUnreferencedElements() {
    if (!hasIgnorableElements_) return;
    std::vector<pugi::xml_node_struct*> unreferenced;
    for (const auto& [node, referenced] : impl_->ignorable) {
        if (!referenced) unreferenced.push_back(node);
    }
    // Remove only the outermost ones (the rest go with them), and never the root, so that
    // the document stays well-formed. All are found before any is removed.
    std::vector<pugi::xml_node_struct*> outermost;
    for (pugi::xml_node_struct* node : unreferenced) {
        pugi::xml_node parent = nodeOf(node).parent();
        if (!parent || parent.type() != pugi::node_element) continue;
        bool insideAnother = false;
        for (pugi::xml_node p = parent; p && p.type() == pugi::node_element; p = p.parent()) {
            if (isIgnoredSlow(p.internal_object())) {
                insideAnother = true;
                break;
            }
        }
        if (!insideAnother) outermost.push_back(node);
    }
    for (pugi::xml_node_struct* node : outermost) {
        writtenSizeEstimate_ -= static_cast<std::ptrdiff_t>(bkxml::writtenSizeOf(nodeOf(node)));
        nodeOf(node).parent().remove_child(nodeOf(node));
    }
    for (pugi::xml_node_struct* node : unreferenced)
        impl_->ignorable.erase(node);
    hasIgnorableElements_ = !impl_->ignorable.empty();
}

namespace bkxml {

std::size_t writtenSizeOfAttribute(pugi::xml_attribute attribute) {
    return std::strlen(attribute.name()) + std::strlen(attribute.value()) + 4;
}

namespace {

// What a node takes apart from its children: an element's tags, attributes and own text.
std::size_t ownWrittenSize(pugi::xml_node node) {
    switch (node.type()) {
        case pugi::node_element: {
            std::size_t name = std::strlen(node.name());
            std::size_t size = name + 1;
            for (pugi::xml_attribute a = node.first_attribute(); structOf(a);
                 a = a.next_attribute()) {
                size += writtenSizeOfAttribute(a);
            }
            std::size_t text = std::strlen(node.value());
            // "<name/>", or "<name>", the contents and "</name>".
            return size + (structOf(node.first_child()) || text ? text + name + 4 : 2);
        }
        case pugi::node_cdata:
            return std::strlen(node.value()) + 12;
        case pugi::node_comment:
            return std::strlen(node.value()) + 7;
        case pugi::node_pi:
        case pugi::node_declaration:
            return std::strlen(node.name()) + std::strlen(node.value()) + 5;
        default:
            return std::strlen(node.value());
    }
}

}  // namespace

std::size_t writtenSizeOf(pugi::xml_node node) {
    // Depth first without recursion, so that deep documents cannot exhaust the stack.
    pugi::xml_node_struct* top = structOf(node);
    std::size_t size = 0;
    for (pugi::xml_node n = node;;) {
        size += ownWrittenSize(n);
        if (pugi::xml_node child = n.first_child(); structOf(child)) {
            n = child;
            continue;
        }
        while (structOf(n) != top && !structOf(n.next_sibling()))
            n = n.parent();
        if (structOf(n) == top) return size;
        n = n.next_sibling();
    }
}

}  // namespace bkxml

}  // namespace kestrum
