// HLNamedStyle: a style with a name and a stable identifier, kept in its context's
// named style list, that other styles inherit from.
//
// Users make named styles ("Highlight", "Review") and apply them to items; an item's
// style lists them in inheritedNamedStyles. The identifier (a UUID string unless one is
// given) is what property lists and change logs refer to; the name is for people and
// may change (undoably, with will-change and did-change of "name").
#pragma once

#include <memory>
#include <string>

#include "Platform/styles/HLStyle.h"

namespace kestrum {

class HLNamedStyle : public HLStyle {
    KS_DECLARE_CLASS()
public:
    // Use the factory; public for std::make_shared.
    HLNamedStyle(const std::shared_ptr<HLStyleContext>& context, std::string name,
                 std::string uniqueIdentifier);

    // A named style with no attributes; an empty identifier gets a new UUID. The style
    // is not yet in its context's list (see HLNamedStyleList).
    static std::shared_ptr<HLNamedStyle> namedStyleWithContext(
        const std::shared_ptr<HLStyleContext>& context, std::string name,
        std::string uniqueIdentifier = {});

    const std::string& name() const { return name_; }
    // Renames the style (undoable when undo is on).
    void setName(std::string name);
    const std::string& uniqueIdentifier() const { return uniqueIdentifier_; }

    std::string description() const override;

private:
    std::string name_;
    std::string uniqueIdentifier_;
};

}  // namespace kestrum
