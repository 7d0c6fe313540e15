// HLStyleOwner: the object that holds a style and hears of its changes.
//
// An owner gives a style to hold under a container key (a task's "style", a project's
// "baseStyle") with HLStyle::setOwnerContainerKey. Every change of the style's own
// attributes or inherited named styles, including changes made by undo and redo, is
// bracketed by styleWillChange and styleDidChange, so that the owner can announce its
// own change (a task sends will-change and did-change for "style") and record what it
// must. The owner is not retained: it clears itself from its styles before it goes.
#pragma once

#include <string>

namespace kestrum {

class HLStyle;

// What is about to change or has changed in a style.
struct HLStyleChange {
    // The key under which the owner holds the style.
    std::string containerKey;
    // The attribute that changes; empty when several may change at once (a whole style
    // set, a removal of everything, the inherited named styles).
    std::string attributeKey;
};

class HLStyleOwner {
public:
    virtual ~HLStyleOwner() = default;
    // Before the change is stored.
    virtual void styleWillChange(HLStyle& style, const HLStyleChange& change) = 0;
    // After the change is stored.
    virtual void styleDidChange(HLStyle& style, const HLStyleChange& change) = 0;
};

}  // namespace kestrum
