#include "Platform/styles/HLNamedStyleList.h"

#include <algorithm>

#include "Platform/core/KSUndoManager.h"
#include "Platform/styles/HLNamedStyle.h"
#include "Platform/styles/HLStyleContext.h"
#include "Platform/styles/HLStyleOwner.h"

namespace kestrum {

namespace {

KSArray styleArray(const std::vector<std::shared_ptr<HLNamedStyle>>& styles) {
    KSArray array;
    array.reserve(styles.size());
    for (const auto& style : styles)
        array.emplace_back(style);
    return array;
}

}  // namespace

const KSClassInfo& HLNamedStyleList::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<HLNamedStyleList>(
        "HLNamedStyleList", &KSBaseObject::staticClassInfo(),
        [](KSClassBuilder<HLNamedStyleList>& b) {
            b.custom("namedStyles", KSValue::Type::Array, [](const HLNamedStyleList& list) {
                return KSValue(styleArray(list.styles_));
            });
        });
    return info;
}

HLNamedStyleList::HLNamedStyleList(HLStyleContext* context) : nonretainedContext_(context) {}

std::shared_ptr<HLNamedStyle> HLNamedStyleList::styleWithUniqueIdentifier(
    std::string_view identifier) const {
    for (const auto& style : styles_) {
        if (style->uniqueIdentifier() == identifier) return style;
    }
    return nullptr;
}

std::shared_ptr<HLNamedStyle> HLNamedStyleList::namedStyleWithName(std::string_view name) const {
    for (const auto& style : styles_) {
        if (style->name() == name) return style;
    }
    return nullptr;
}

long HLNamedStyleList::indexOfNamedStyle(const HLNamedStyle& style) const {
    for (std::size_t i = 0; i < styles_.size(); ++i) {
        if (styles_[i].get() == &style) return static_cast<long>(i);
    }
    return -1;
}

void HLNamedStyleList::_willChange() {
    willChangeValueForKey("namedStyles");
    if (nonretainedContext_ && nonretainedContext_->owner()) {
        nonretainedContext_->owner()->willChangeValueForKey(nonretainedContext_->containerKey());
    }
}

void HLNamedStyleList::_didChange() {
    if (nonretainedContext_ && nonretainedContext_->owner()) {
        nonretainedContext_->owner()->didChangeValueForKey(nonretainedContext_->containerKey());
    }
    didChangeValueForKey("namedStyles");
}

void HLNamedStyleList::_adopt(HLNamedStyle& style) {
    if (!nonretainedContext_) return;
    auto* owner = dynamic_cast<HLStyleOwner*>(nonretainedContext_->owner());
    style.setOwnerContainerKey(owner, nonretainedContext_->containerKey());
    style.enableUndo();
}

// Every mutation goes through here: one undo call puts the previous list back.
void HLNamedStyleList::_setStyles(std::vector<std::shared_ptr<HLNamedStyle>> styles) {
    if (styles == styles_) return;
    auto self = std::static_pointer_cast<HLNamedStyleList>(weak_from_this().lock());
    if (nonretainedContext_ && nonretainedContext_->undoManager() && self) {
        auto previous = styles_;
        nonretainedContext_->undoManager()->registerUndoWithTarget(
            self, [previous](HLNamedStyleList& list) { list._setStyles(previous); });
    }
    for (const auto& style : styles)
        _adopt(*style);
    _willChange();
    styles_ = std::move(styles);
    _didChange();
}

std::shared_ptr<HLNamedStyle> HLNamedStyleList::addNamedStyleIdentifierInsertAtIndex(
    std::string name, std::string identifier, bool insert, std::size_t index) {
    if (!identifier.empty()) {
        if (auto existing = styleWithUniqueIdentifier(identifier)) return existing;
    }
    std::shared_ptr<HLStyleContext> context;
    if (nonretainedContext_) {
        context =
            std::static_pointer_cast<HLStyleContext>(nonretainedContext_->weak_from_this().lock());
    }
    auto style =
        HLNamedStyle::namedStyleWithContext(context, std::move(name), std::move(identifier));
    insertObjectInNamedStylesAtIndex(style, insert ? index : styles_.size());
    return style;
}

void HLNamedStyleList::insertObjectInNamedStylesAtIndex(const std::shared_ptr<HLNamedStyle>& style,
                                                        std::size_t index) {
    if (!style || indexOfNamedStyle(*style) >= 0) return;
    auto styles = styles_;
    styles.insert(styles.begin() + static_cast<std::ptrdiff_t>(std::min(index, styles.size())),
                  style);
    _setStyles(std::move(styles));
}

void HLNamedStyleList::removeFromNamedStylesAtIndex(std::size_t index) {
    if (index >= styles_.size()) return;
    auto styles = styles_;
    styles.erase(styles.begin() + static_cast<std::ptrdiff_t>(index));
    _setStyles(std::move(styles));
}

void HLNamedStyleList::moveNamedStylesToIndex(
    const std::vector<std::shared_ptr<HLNamedStyle>>& styles, std::size_t index) {
    std::vector<std::shared_ptr<HLNamedStyle>> moving;
    for (const auto& style : styles) {
        if (style && indexOfNamedStyle(*style) >= 0 &&
            std::find(moving.begin(), moving.end(), style) == moving.end()) {
            moving.push_back(style);
        }
    }
    if (moving.empty()) return;
    auto rest = styles_;
    std::erase_if(rest, [&](const auto& s) {
        return std::find(moving.begin(), moving.end(), s) != moving.end();
    });
    auto at = rest.begin() + static_cast<std::ptrdiff_t>(std::min(index, rest.size()));
    rest.insert(at, moving.begin(), moving.end());
    _setStyles(std::move(rest));
}

}  // namespace kestrum
