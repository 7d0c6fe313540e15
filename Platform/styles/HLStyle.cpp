#include "Platform/styles/HLStyle.h"

#include <algorithm>

#include "Platform/color/LRColor.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSUndoManager.h"
#include "Platform/styles/HLNamedStyle.h"
#include "Platform/styles/HLNamedStyleList.h"
#include "Platform/styles/HLStyleAttributeRegistry.h"
#include "Platform/styles/HLStyleContext.h"
#include "Platform/styles/HLStyleOwner.h"

namespace kestrum {

const char* const HLStyleAttributesPropertyListKey = "attributes";
const char* const HLStyleInheritedStylesPropertyListKey = "inheritedStyles";

namespace {

// Inheritance deeper than this is a loop that slipped past the checks; look-ups stop.
constexpr int kMaxInheritanceDepth = 64;

// The key announced for changes of several attributes at once.
const char* const kBulkChangeKey = "locallyDefinedAttributes";

KSError styleListError(const std::string& message) {
    return KSError::errorWithDescription(KSCocoaErrorDomain, 3840, message);
}

}  // namespace

const KSClassInfo& HLStyle::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<HLStyle>(
        "HLStyle", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<HLStyle>& b) {
            b.attribute("selectionRelativeName", &HLStyle::selectionRelativeName,
                        &HLStyle::setSelectionRelativeName);
            b.readOnly("locallyDefinedAttributes", &HLStyle::locallyDefinedAttributes);
            b.readOnly("isEmpty", &HLStyle::isEmpty);
            b.readOnly("containerKey", &HLStyle::containerKey);
        });
    return info;
}

HLStyle::HLStyle(const std::shared_ptr<HLStyleContext>& context, HLStyleList cascadeStyles)
    : context_(context) {
    for (auto& style : cascadeStyles) {
        if (style) cascadeStyles_.push_back(std::move(style));
    }
}

HLStyle::~HLStyle() = default;

std::shared_ptr<HLStyle> HLStyle::styleWithContextCascadeStyles(
    const std::shared_ptr<HLStyleContext>& context, HLStyleList cascadeStyles) {
    return std::make_shared<HLStyle>(context, std::move(cascadeStyles));
}

std::shared_ptr<HLStyle> HLStyle::styleWithPropertyListRepresentation(
    const KSValue& propertyList, const std::shared_ptr<HLStyleContext>& context,
    HLStyleList cascadeStyles, bool allowRedundantValues, KSError* error) {
    if (!propertyList.isDictionary()) {
        KSSetError(error, styleListError("A style's property list must be a dictionary."));
        return nullptr;
    }
    const KSDictionary& dictionary = propertyList.asDictionary();
    KSValue attributes = dictionary.objectForKey(HLStyleAttributesPropertyListKey);
    KSValue inherited = dictionary.objectForKey(HLStyleInheritedStylesPropertyListKey);
    if (!(attributes.isNull() || attributes.isDictionary()) ||
        !(inherited.isNull() || inherited.isArray())) {
        KSSetError(error, styleListError("The style's property list has attributes or inherited "
                                         "styles of the wrong kind."));
        return nullptr;
    }
    auto style = styleWithContextCascadeStyles(context, std::move(cascadeStyles));
    if (inherited.isArray() && context) {
        for (const auto& identifier : inherited.asArray()) {
            auto named =
                context->namedStyleList()->styleWithUniqueIdentifier(identifier.stringValue());
            if (named) {
                style->inheritedNamedStyles_.push_back(named);
            } else {
                KSLog("Style refers to unknown named style %@; the reference is dropped.",
                      identifier);
            }
        }
    }
    const auto& registry = HLStyleAttributeRegistry::sharedRegistry();
    if (attributes.isDictionary()) {
        for (const auto& [key, plist] : attributes.asDictionary()) {
            KSValue value = registry.valueFromPropertyList(plist, key);
            if (value.isNull()) continue;
            if (!allowRedundantValues && style->inheritedValueForAttribute(key) == value) continue;
            style->attributes_.setObjectForKey(key, value);
        }
    }
    return style;
}

std::shared_ptr<HLStyleContext> HLStyle::context() const {
    return context_.lock();
}

KSValue HLStyle::_valueWithoutDefault(std::string_view key, int depth) const {
    if (depth > kMaxInheritanceDepth) return KSValue();
    if (const KSValue* own = attributes_.find(key)) return *own;
    for (const auto& named : inheritedNamedStyles_) {
        KSValue value = named->_valueWithoutDefault(key, depth + 1);
        if (!value.isNull()) return value;
    }
    for (const auto& cascade : cascadeStyles_) {
        KSValue value = cascade->_valueWithoutDefault(key, depth + 1);
        if (!value.isNull()) return value;
    }
    return KSValue();
}

KSValue HLStyle::valueForAttribute(std::string_view key) const {
    KSValue value = _valueWithoutDefault(key, 0);
    if (!value.isNull()) return value;
    return HLStyleAttributeRegistry::sharedRegistry().defaultValueForAttribute(key);
}

KSValue HLStyle::inheritedValueForAttribute(std::string_view key) const {
    for (const auto& named : inheritedNamedStyles_) {
        KSValue value = named->_valueWithoutDefault(key, 1);
        if (!value.isNull()) return value;
    }
    for (const auto& cascade : cascadeStyles_) {
        KSValue value = cascade->_valueWithoutDefault(key, 1);
        if (!value.isNull()) return value;
    }
    return HLStyleAttributeRegistry::sharedRegistry().defaultValueForAttribute(key);
}

KSValue HLStyle::localValueForAttribute(std::string_view key) const {
    return attributes_.objectForKey(key);
}

bool HLStyle::hasLocalValueForAttribute(std::string_view key) const {
    return attributes_.contains(key);
}

std::shared_ptr<LRColor> HLStyle::colorForAttribute(std::string_view key) const {
    return valueForAttribute(key).asObjectOfType<LRColor>();
}

void HLStyle::_registerUndo(std::function<void(HLStyle&)> handler) {
    if (!undoEnabled_) return;
    auto context = context_.lock();
    // A style not held by a shared_ptr cannot be a target of undo; it just records nothing.
    auto self = std::static_pointer_cast<HLStyle>(weak_from_this().lock());
    if (!context || !context->undoManager() || !self) return;
    context->undoManager()->registerUndoWithTarget(self, std::move(handler));
}

void HLStyle::_willChange(const std::string& attributeKey) {
    if (nonretainedOwner_) nonretainedOwner_->styleWillChange(*this, {containerKey_, attributeKey});
    willChangeValueForKey(attributeKey.empty() ? kBulkChangeKey : attributeKey);
}

void HLStyle::_didChange(const std::string& attributeKey) {
    didChangeValueForKey(attributeKey.empty() ? kBulkChangeKey : attributeKey);
    if (nonretainedOwner_) nonretainedOwner_->styleDidChange(*this, {containerKey_, attributeKey});
}

void HLStyle::setValueForAttribute(const KSValue& value, std::string_view key) {
    KSValue old = attributes_.objectForKey(key);
    if (old == value) return;
    std::string attributeKey(key);
    _registerUndo(
        [old, attributeKey](HLStyle& style) { style.setValueForAttribute(old, attributeKey); });
    _willChange(attributeKey);
    attributes_.setObjectForKey(key, value);
    _didChange(attributeKey);
}

void HLStyle::_replaceContents(KSDictionary attributes, HLNamedStyleVector inherited) {
    if (attributes == attributes_ && inherited == inheritedNamedStyles_) return;
    KSDictionary oldAttributes = attributes_;
    HLNamedStyleVector oldInherited = inheritedNamedStyles_;
    _registerUndo([oldAttributes, oldInherited](HLStyle& style) {
        style._replaceContents(oldAttributes, oldInherited);
    });
    _willChange({});
    attributes_ = std::move(attributes);
    inheritedNamedStyles_ = std::move(inherited);
    _didChange({});
}

bool HLStyle::_reaches(const HLStyle* other, int depth) const {
    if (this == other) return true;
    if (depth > kMaxInheritanceDepth) return true;  // treat runaway depth as a loop
    for (const auto& named : inheritedNamedStyles_) {
        if (named->_reaches(other, depth + 1)) return true;
    }
    for (const auto& cascade : cascadeStyles_) {
        if (cascade->_reaches(other, depth + 1)) return true;
    }
    return false;
}

void HLStyle::setInheritedNamedStyles(HLNamedStyleVector styles) {
    HLNamedStyleVector accepted;
    for (auto& style : styles) {
        if (!style) continue;
        if (style->_reaches(this, 0)) {
            KSLog("Style \"%@\" cannot inherit from itself; the inheritance is dropped.",
                  style->name());
            continue;
        }
        if (std::find(accepted.begin(), accepted.end(), style) == accepted.end())
            accepted.push_back(style);
    }
    _replaceContents(attributes_, std::move(accepted));
}

void HLStyle::addInheritedNamedStyle(const std::shared_ptr<HLNamedStyle>& style) {
    HLNamedStyleVector styles = inheritedNamedStyles_;
    styles.push_back(style);
    setInheritedNamedStyles(std::move(styles));
}

void HLStyle::removeInheritedNamedStyle(const HLNamedStyle& style) {
    HLNamedStyleVector styles = inheritedNamedStyles_;
    std::erase_if(styles, [&](const auto& s) { return s.get() == &style; });
    setInheritedNamedStyles(std::move(styles));
}

void HLStyle::setCascadeStyles(HLStyleList styles) {
    HLStyleList accepted;
    for (auto& style : styles) {
        if (!style) continue;
        if (style->_reaches(this, 0)) {
            KSLog("A style cannot cascade from itself; the cascade entry is dropped.");
            continue;
        }
        accepted.push_back(std::move(style));
    }
    cascadeStyles_ = std::move(accepted);
}

void HLStyle::removeLocallyDefinedAttributesAndInheritedNamedStyles() {
    _replaceContents(KSDictionary(), HLNamedStyleVector());
}

void HLStyle::setStyle(const HLStyle& other) {
    if (&other == this) return;
    HLNamedStyleVector inherited;
    for (const auto& named : other.inheritedNamedStyles_) {
        if (!named->_reaches(this, 0)) inherited.push_back(named);
    }
    _replaceContents(other.attributes_, std::move(inherited));
}

void HLStyle::setOwnerContainerKey(HLStyleOwner* owner, std::string containerKey) {
    nonretainedOwner_ = owner;
    containerKey_ = std::move(containerKey);
}

void HLStyle::setSelectionRelativeName(std::string name) {
    if (name == selectionRelativeName_) return;
    willChangeValueForKey("selectionRelativeName");
    selectionRelativeName_ = std::move(name);
    didChangeValueForKey("selectionRelativeName");
}

KSValue HLStyle::newPropertyListRepresentationIncludingInheritedStyles(
    bool includeInheritedStyles) const {
    KSDictionary result;
    KSDictionary attributes;
    const auto& registry = HLStyleAttributeRegistry::sharedRegistry();
    for (const auto& [key, value] : attributes_) {
        KSValue plist = registry.propertyListForValue(value);
        if (plist.isNull()) {
            KSLog("Style attribute %@ holds a value with no property-list form; it is left out.",
                  key);
            continue;
        }
        attributes.setObjectForKey(key, plist);
    }
    if (!attributes.empty())
        result.setObjectForKey(HLStyleAttributesPropertyListKey, KSValue(attributes));
    if (includeInheritedStyles && !inheritedNamedStyles_.empty()) {
        KSArray identifiers;
        for (const auto& named : inheritedNamedStyles_)
            identifiers.emplace_back(named->uniqueIdentifier());
        result.setObjectForKey(HLStyleInheritedStylesPropertyListKey,
                               KSValue(std::move(identifiers)));
    }
    return KSValue(std::move(result));
}

std::shared_ptr<HLStyle> HLStyle::copy() const {
    auto style = styleWithContextCascadeStyles(context_.lock(), cascadeStyles_);
    style->attributes_ = attributes_;
    style->inheritedNamedStyles_ = inheritedNamedStyles_;
    style->selectionRelativeName_ = selectionRelativeName_;
    return style;
}

KSValue HLStyle::valueForUndefinedKey(std::string_view key) const {
    return valueForAttribute(key);
}

void HLStyle::setValueForUndefinedKey(const KSValue& value, std::string_view key) {
    setValueForAttribute(value, key);
}

std::string HLStyle::description() const {
    std::string text = "<" + className() + " \"" + selectionRelativeName_ + "\" " +
                       KSValue(attributes_).description();
    if (!inheritedNamedStyles_.empty()) {
        text += " inherits";
        for (const auto& named : inheritedNamedStyles_)
            text += " \"" + named->name() + "\"";
    }
    return text + ">";
}

}  // namespace kestrum
