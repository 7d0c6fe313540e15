// Shared helpers of the XML layer's tests: building, writing and re-reading documents.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLWhitespaceBehavior.h"

namespace kestrum::xmltest {

inline KSData bytesOf(std::string_view text) {
    return KSData(text.begin(), text.end());
}
inline std::string textOf(const KSData& data) {
    return std::string(data.begin(), data.end());
}

// The behaviour of a scenario file: structure below the root, "lit" kept exactly.
inline std::shared_ptr<BKXMLWhitespaceBehavior> scenarioBehavior(std::string_view root = "root") {
    auto behavior = std::make_shared<BKXMLWhitespaceBehavior>();
    behavior->setBehaviorForElementName(BKXMLWhitespaceIgnore, root);
    behavior->setBehaviorForElementName(BKXMLWhitespacePreserve, "lit");
    return behavior;
}

inline std::unique_ptr<BKXMLDocument> newDocument(std::string_view root = "root") {
    KSError error;
    auto document = BKXMLDocument::documentWithRootElementName(
        root, "http://example.invalid/namespace/Kestrum/v2", scenarioBehavior(root),
        BKXMLStringEncodingUTF8, &error);
    EXPECT_TRUE(document) << error.description();
    return document;
}

inline std::unique_ptr<BKXMLDocument> parse(
    std::string_view text, std::shared_ptr<const BKXMLWhitespaceBehavior> behavior = nullptr) {
    KSError error;
    auto document = BKXMLDocument::documentWithData(bytesOf(text), std::move(behavior), &error);
    EXPECT_TRUE(document) << error.description() << " in: " << text;
    return document;
}

// Writes a document and parses the bytes again with the same behaviour.
inline std::unique_ptr<BKXMLDocument> roundTrip(BKXMLDocument& document) {
    KSError error;
    std::optional<KSData> data = document.xmlData(&error);
    EXPECT_TRUE(data.has_value()) << error.description();
    if (!data) return nullptr;
    auto copy = BKXMLDocument::documentWithData(*data, document.whitespaceBehavior(), &error);
    EXPECT_TRUE(copy) << error.description() << " in: " << textOf(*data);
    return copy;
}

inline std::string serialized(BKXMLDocument& document) {
    std::optional<KSData> data = document.xmlData(nullptr);
    return data ? textOf(*data) : std::string("<failed>");
}

}  // namespace kestrum::xmltest
