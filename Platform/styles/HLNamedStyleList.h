// HLNamedStyleList: the ordered list of a context's named styles.
//
// The list keeps the named styles in the order users arranged them; look-up is by
// identifier or by name. Insertions, removals and moves are undoable through the
// context's undo manager and are announced as will-change and did-change of
// "namedStyles" on the list and of the context's container key on the context's owner.
// A style in the list takes the context's owner (when it is an HLStyleOwner) with the
// container key, and has undo on. A removed style stays valid for the styles that
// inherit it, and undo puts the same style back.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class HLNamedStyle;
class HLStyleContext;

class HLNamedStyleList : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // Made by its context; public for std::make_shared.
    explicit HLNamedStyleList(HLStyleContext* context);

    const std::vector<std::shared_ptr<HLNamedStyle>>& namedStyles() const { return styles_; }
    std::size_t countOfNamedStyles() const { return styles_.size(); }
    // The style with an identifier, or null.
    std::shared_ptr<HLNamedStyle> styleWithUniqueIdentifier(std::string_view identifier) const;
    // The first style with a name, or null.
    std::shared_ptr<HLNamedStyle> namedStyleWithName(std::string_view name) const;
    // The index of a style in the list, or -1.
    long indexOfNamedStyle(const HLNamedStyle& style) const;

    // Makes a named style and adds it: at `index` (clamped) when `insert`, else at the
    // end. An empty identifier gets a new one; an identifier already in the list
    // answers that style and adds nothing.
    std::shared_ptr<HLNamedStyle> addNamedStyleIdentifierInsertAtIndex(std::string name,
                                                                       std::string identifier,
                                                                       bool insert,
                                                                       std::size_t index);
    // Inserts a style at an index (clamped); a style already listed is not added twice.
    void insertObjectInNamedStylesAtIndex(const std::shared_ptr<HLNamedStyle>& style,
                                          std::size_t index);
    // Removes the style at an index; an index out of range does nothing.
    void removeFromNamedStylesAtIndex(std::size_t index);
    // Moves the listed ones among `styles` so that they stand, in the given order, from
    // `index` of the resulting list (clamped to its end).
    void moveNamedStylesToIndex(const std::vector<std::shared_ptr<HLNamedStyle>>& styles,
                                std::size_t index);

    // Called by the context when it is invalidated or goes away.
    void _detachFromContext() { nonretainedContext_ = nullptr; }

private:
    void _willChange();
    void _didChange();
    void _adopt(HLNamedStyle& style);
    void _setStyles(std::vector<std::shared_ptr<HLNamedStyle>> styles);

    HLStyleContext* nonretainedContext_;
    std::vector<std::shared_ptr<HLNamedStyle>> styles_;
};

}  // namespace kestrum
