// HLStyle: a set of display attributes that cascades from other styles.
//
// A style holds its own attribute values by key (colours as LRColor, sizes as reals,
// flags as booleans, see HLStyleAttributeRegistry), a list of named styles it inherits
// (HLNamedStyle, from its context's list) and a list of cascade styles. Its effective
// value for an attribute is:
//   its own value, else the first inherited named style's effective value that is set,
//   else the first cascade style's effective value that is set (in cascade order),
//   else the attribute's registered default.
// So a task's style cascades from its status style, which cascades from the base style.
//
//   auto style = HLStyle::styleWithContextCascadeStyles(context, {project->baseStyle()});
//   style->setOwnerContainerKey(task.get(), "style");
//   style->enableUndo();
//   style->setValueForAttribute(KSValue(LRColor::redColor()), HLTextColorStyleAttribute);
//
// Changes of the own attributes and of the inherited named styles are undoable through
// the context's undo manager once enableUndo was called (and the context has one), and
// are bracketed by the owner's styleWillChange/styleDidChange and by will-change and
// did-change of the attribute's key on the style itself. Cascade replacement is neither
// undoable nor announced: the owner that replaces a cascade announces it.
//
// Property-list form (newPropertyListRepresentationIncludingInheritedStyles):
//   { attributes = { <key> = <value>; ... }; inheritedStyles = ( <identifier>, ... ); }
// with colours in their dictionary form; each part is left out when empty, and
// "inheritedStyles" only appears when inherited styles are asked for. Reading resolves
// the identifiers in the context's named style list and skips unknown ones.
//
// Keyed access: a key that is no attribute of the class reads the effective value of
// the style attribute of that name and writes the own value.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSError.h"

namespace kestrum {

class HLNamedStyle;
class HLStyleContext;
class HLStyleOwner;
class LRColor;

class HLStyle;
using HLStyleList = std::vector<std::shared_ptr<HLStyle>>;
using HLNamedStyleVector = std::vector<std::shared_ptr<HLNamedStyle>>;

// Property-list keys of a style.
extern const char* const HLStyleAttributesPropertyListKey;       // "attributes"
extern const char* const HLStyleInheritedStylesPropertyListKey;  // "inheritedStyles"

class HLStyle : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // Use the factories; public for std::make_shared.
    HLStyle(const std::shared_ptr<HLStyleContext>& context, HLStyleList cascadeStyles);
    ~HLStyle() override;

    // An empty style in a context (which may be null) with its cascade.
    static std::shared_ptr<HLStyle> styleWithContextCascadeStyles(
        const std::shared_ptr<HLStyleContext>& context, HLStyleList cascadeStyles = {});
    // A style read from its property-list form. Without `allowRedundantValues`, values
    // equal to what the style would inherit anyway are dropped. Null and `error` when
    // the property list is not a style's.
    static std::shared_ptr<HLStyle> styleWithPropertyListRepresentation(
        const KSValue& propertyList, const std::shared_ptr<HLStyleContext>& context,
        HLStyleList cascadeStyles, bool allowRedundantValues, KSError* error = nullptr);

    // The context, or null once it is gone.
    std::shared_ptr<HLStyleContext> context() const;

    // --- Attributes ------------------------------------------------------------------
    // The effective value (see the header comment); null when nothing sets it.
    KSValue valueForAttribute(std::string_view key) const;
    // The value the style would have without its own value for the key.
    KSValue inheritedValueForAttribute(std::string_view key) const;
    // The own value, or null.
    KSValue localValueForAttribute(std::string_view key) const;
    // Whether the style sets the attribute itself.
    bool hasLocalValueForAttribute(std::string_view key) const;
    // The effective value as a colour, or null when it is none.
    std::shared_ptr<LRColor> colorForAttribute(std::string_view key) const;
    // Sets the own value; null removes it. Nothing happens when the value is unchanged.
    void setValueForAttribute(const KSValue& value, std::string_view key);
    // Removes the own value (undoable, as a set to null).
    void removeValueForAttribute(std::string_view key) { setValueForAttribute(KSValue(), key); }
    // The own values, in the order they were first set.
    const KSDictionary& locallyDefinedAttributes() const { return attributes_; }

    // --- Inherited named styles and cascade ------------------------------------------
    // The named styles inherited, nearest first.
    const HLNamedStyleVector& inheritedNamedStyles() const { return inheritedNamedStyles_; }
    // Replaces the inherited named styles (undoable). A style that would inherit from
    // itself, directly or through others, is left out.
    void setInheritedNamedStyles(HLNamedStyleVector styles);
    // Appends one inherited style, or removes one (both undoable).
    void addInheritedNamedStyle(const std::shared_ptr<HLNamedStyle>& style);
    void removeInheritedNamedStyle(const HLNamedStyle& style);
    // The cascade, looked up in order after the inherited named styles.
    const HLStyleList& cascadeStyles() const { return cascadeStyles_; }
    // Replaces the cascade; a style that would cascade from itself is left out.
    void setCascadeStyles(HLStyleList styles);

    // True when the style has no own values and inherits no named style.
    bool isEmpty() const { return attributes_.empty() && inheritedNamedStyles_.empty(); }
    // Drops the own values and inherited named styles (undoable, one change).
    void removeLocallyDefinedAttributesAndInheritedNamedStyles();
    // Takes the own values and inherited named styles of `other` (undoable, one change);
    // context, cascade, owner and name stay.
    void setStyle(const HLStyle& other);

    // --- Owner, undo, naming ---------------------------------------------------------
    // The owner (not retained; null to detach) and the key it holds the style under.
    void setOwnerContainerKey(HLStyleOwner* owner, std::string containerKey);
    HLStyleOwner* owner() const { return nonretainedOwner_; }
    const std::string& containerKey() const { return containerKey_; }
    // Turns on undo registration of changes through the context's undo manager.
    void enableUndo() { undoEnabled_ = true; }
    void disableUndo() { undoEnabled_ = false; }
    bool isUndoEnabled() const { return undoEnabled_; }
    // The name under which the style is shown relative to the selection ("Tasks", a
    // task's title).
    const std::string& selectionRelativeName() const { return selectionRelativeName_; }
    void setSelectionRelativeName(std::string name);

    // --- Property lists and copies ---------------------------------------------------
    // The property-list form described in the header comment.
    KSValue newPropertyListRepresentationIncludingInheritedStyles(
        bool includeInheritedStyles) const;
    // A style with the same context, cascade, own values and inherited styles; no owner,
    // undo off.
    std::shared_ptr<HLStyle> copy() const;

    // Keyed access to attributes, and a text form for messages.
    KSValue valueForUndefinedKey(std::string_view key) const override;
    void setValueForUndefinedKey(const KSValue& value, std::string_view key) override;
    std::string description() const override;

protected:
    // The effective value without the registered default; `depth` guards against
    // inheritance loops.
    KSValue _valueWithoutDefault(std::string_view key, int depth) const;
    // Whether this style is `other` or reaches it through inheritance or cascade.
    bool _reaches(const HLStyle* other, int depth) const;
    // Registers an undo call when undo is on and the context has an undo manager.
    void _registerUndo(std::function<void(HLStyle&)> handler);
    // Brackets a change with the owner's hooks and the style's own will/did-change.
    void _willChange(const std::string& attributeKey);
    void _didChange(const std::string& attributeKey);
    // Replaces own values and inherited styles as one undoable change.
    void _replaceContents(KSDictionary attributes, HLNamedStyleVector inherited);

private:
    std::weak_ptr<HLStyleContext> context_;
    HLStyleList cascadeStyles_;
    HLNamedStyleVector inheritedNamedStyles_;
    KSDictionary attributes_;
    HLStyleOwner* nonretainedOwner_ = nullptr;
    std::string containerKey_;
    std::string selectionRelativeName_;
    bool undoEnabled_ = false;
};

}  // namespace kestrum
