// HLStyleAttributeRegistry: the process-wide table of known style attributes.
//
// Each attribute is registered once, at start-up, with its key, the kind of value it
// holds, the default that a style answers when neither it nor anything it inherits sets
// the attribute, a display name and the groups an inspector shows it in:
//
//   HLStyleAttributeRegistry::sharedRegistry().registerAttribute(
//       {"gantt-fill-color", HLStyleAttributeType::Color,
//        KSValue(LRColor::colorWithRedGreenBlueAlpha(0.45, 0.615, 0.9, 1.0)),
//        "base color", {"gantt bar", "gantt colors"}});
//
// The registry also converts values to and from their property-list form: a colour
// becomes its dictionary, numbers and booleans are coerced to the registered type on
// reading (old-style text property lists give them as strings). Registering a key again
// replaces its description and keeps its place in the order. The registry is not
// locked: register on the main thread before styles are used.
//
// The standard text attributes below are registered when the registry is first used.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Platform/core/KSValue.h"

namespace kestrum {

// The kind of value an attribute holds.
enum class HLStyleAttributeType { Any, Bool, Integer, Real, String, Color };

// One registered attribute.
struct HLStyleAttributeDescription {
    std::string key;
    HLStyleAttributeType type = HLStyleAttributeType::Any;
    KSValue defaultValue;  // null when the attribute has no default
    std::string displayName;
    std::vector<std::string> groupNames;
};

// Standard text attributes and their defaults.
extern const char* const HLFontNameStyleAttribute;         // "font-name", string "System"
extern const char* const HLFontSizeStyleAttribute;         // "font-size", real 12.0 (points)
extern const char* const HLBoldStyleAttribute;             // "bold", false
extern const char* const HLItalicStyleAttribute;           // "italic", false
extern const char* const HLUnderlineStyleAttribute;        // "underline", false
extern const char* const HLStrikethroughStyleAttribute;    // "strikethrough", false
extern const char* const HLTextColorStyleAttribute;        // "text-color", black
extern const char* const HLBackgroundColorStyleAttribute;  // "background-color", clear
extern const char* const HLTextAlignmentStyleAttribute;    // "text-alignment", integer 0 (natural)

class HLStyleAttributeRegistry {
public:
    // The process-wide registry, with the standard attributes registered.
    static HLStyleAttributeRegistry& sharedRegistry();

    // Registers or replaces an attribute. The default is converted to the type (a
    // colour default must be an LRColor).
    void registerAttribute(HLStyleAttributeDescription description);
    // The description of a key, or null when unregistered.
    const HLStyleAttributeDescription* attributeForKey(std::string_view key) const;
    // The registered default, or null.
    KSValue defaultValueForAttribute(std::string_view key) const;
    // All keys in order of first registration.
    std::vector<std::string> registeredAttributeKeys() const;
    // The keys registered with a group name, in order.
    std::vector<std::string> attributeKeysInGroup(std::string_view groupName) const;

    // The property-list form of an attribute value: a colour's dictionary, other
    // property-list values unchanged; null for a value with no such form.
    KSValue propertyListForValue(const KSValue& value) const;
    // Reads a value of `key` from its property-list form, by the registered type; an
    // unregistered key keeps the value, except that a colour's dictionary becomes a
    // colour. Null when the value does not fit the type.
    KSValue valueFromPropertyList(const KSValue& propertyList, std::string_view key) const;

    HLStyleAttributeRegistry();

private:
    // Stable storage: descriptions never move once registered.
    std::deque<HLStyleAttributeDescription> descriptions_;
    std::unordered_map<std::string, std::size_t> indexByKey_;
};

}  // namespace kestrum
