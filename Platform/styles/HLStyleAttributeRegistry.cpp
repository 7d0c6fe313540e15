#include "Platform/styles/HLStyleAttributeRegistry.h"

#include <algorithm>

#include "Platform/color/LRColor.h"
#include "Platform/plist/KSPropertyList.h"

namespace kestrum {

const char* const HLFontNameStyleAttribute = "font-name";
const char* const HLFontSizeStyleAttribute = "font-size";
const char* const HLBoldStyleAttribute = "bold";
const char* const HLItalicStyleAttribute = "italic";
const char* const HLUnderlineStyleAttribute = "underline";
const char* const HLStrikethroughStyleAttribute = "strikethrough";
const char* const HLTextColorStyleAttribute = "text-color";
const char* const HLBackgroundColorStyleAttribute = "background-color";
const char* const HLTextAlignmentStyleAttribute = "text-alignment";

namespace {

// Converts a value to the registered type; null when it does not fit.
KSValue coerce(const KSValue& value, HLStyleAttributeType type) {
    if (value.isNull()) return value;
    switch (type) {
        case HLStyleAttributeType::Any:
            return value;
        case HLStyleAttributeType::Bool:
            if (value.isBool() || value.isNumber() || value.isString())
                return KSValue(value.boolValue());
            return KSValue();
        case HLStyleAttributeType::Integer:
            if (value.isBool() || value.isNumber() || value.isString()) {
                return KSValue(static_cast<long long>(value.integerValue()));
            }
            return KSValue();
        case HLStyleAttributeType::Real:
            if (value.isBool() || value.isNumber() || value.isString())
                return KSValue(value.doubleValue());
            return KSValue();
        case HLStyleAttributeType::String:
            return value.isString() ? value : KSValue();
        case HLStyleAttributeType::Color:
            if (value.asObjectOfType<LRColor>()) return value;
            if (auto color = LRColor::colorFromPropertyList(value)) return KSValue(color);
            return KSValue();
    }
    return KSValue();
}

}  // namespace

HLStyleAttributeRegistry& HLStyleAttributeRegistry::sharedRegistry() {
    static HLStyleAttributeRegistry registry;
    return registry;
}

HLStyleAttributeRegistry::HLStyleAttributeRegistry() {
    using T = HLStyleAttributeType;
    const std::vector<std::string> text{"text"};
    registerAttribute({HLFontNameStyleAttribute, T::String, KSValue("System"), "font", text});
    registerAttribute({HLFontSizeStyleAttribute, T::Real, KSValue(12.0), "size", text});
    registerAttribute({HLBoldStyleAttribute, T::Bool, KSValue(false), "bold", text});
    registerAttribute({HLItalicStyleAttribute, T::Bool, KSValue(false), "italic", text});
    registerAttribute({HLUnderlineStyleAttribute, T::Bool, KSValue(false), "underline", text});
    registerAttribute(
        {HLStrikethroughStyleAttribute, T::Bool, KSValue(false), "strikethrough", text});
    registerAttribute(
        {HLTextColorStyleAttribute, T::Color, KSValue(LRColor::blackColor()), "text color", text});
    registerAttribute({HLBackgroundColorStyleAttribute,
                       T::Color,
                       KSValue(LRColor::clearColor()),
                       "background color",
                       {"background"}});
    registerAttribute({HLTextAlignmentStyleAttribute, T::Integer, KSValue(0), "alignment", text});
}

void HLStyleAttributeRegistry::registerAttribute(HLStyleAttributeDescription description) {
    description.defaultValue = coerce(description.defaultValue, description.type);
    auto found = indexByKey_.find(description.key);
    if (found != indexByKey_.end()) {
        descriptions_[found->second] = std::move(description);
        return;
    }
    indexByKey_.emplace(description.key, descriptions_.size());
    descriptions_.push_back(std::move(description));
}

const HLStyleAttributeDescription* HLStyleAttributeRegistry::attributeForKey(
    std::string_view key) const {
    auto found = indexByKey_.find(std::string(key));
    return found == indexByKey_.end() ? nullptr : &descriptions_[found->second];
}

KSValue HLStyleAttributeRegistry::defaultValueForAttribute(std::string_view key) const {
    const auto* description = attributeForKey(key);
    return description ? description->defaultValue : KSValue();
}

std::vector<std::string> HLStyleAttributeRegistry::registeredAttributeKeys() const {
    std::vector<std::string> keys;
    keys.reserve(descriptions_.size());
    for (const auto& d : descriptions_)
        keys.push_back(d.key);
    return keys;
}

std::vector<std::string> HLStyleAttributeRegistry::attributeKeysInGroup(
    std::string_view groupName) const {
    std::vector<std::string> keys;
    for (const auto& d : descriptions_) {
        if (std::find(d.groupNames.begin(), d.groupNames.end(), groupName) != d.groupNames.end()) {
            keys.push_back(d.key);
        }
    }
    return keys;
}

KSValue HLStyleAttributeRegistry::propertyListForValue(const KSValue& value) const {
    if (auto color = value.asObjectOfType<LRColor>()) return color->propertyList();
    return KSPropertyList::isValidPropertyList(value) ? value : KSValue();
}

KSValue HLStyleAttributeRegistry::valueFromPropertyList(const KSValue& propertyList,
                                                        std::string_view key) const {
    if (const auto* description = attributeForKey(key))
        return coerce(propertyList, description->type);
    if (auto color = LRColor::colorFromPropertyList(propertyList)) return KSValue(color);
    return propertyList;
}

}  // namespace kestrum
