// KSProjectItem: the item's style and its place in the project's style cascade.
#include "Model/project/KSProject.h"
#include "Model/project/KSProjectItem.h"
#include "Platform/core/KSLog.h"
#include "Platform/styles/HLStyle.h"
#include "Platform/styles/HLStyleContext.h"

namespace kestrum {

const char* const TWItemChildIndentationStyleAttribute = "item-child-indentation";

HLStyleList KSProjectItem::cascadeStyles() const {
    KSProject* owner = project();
    std::shared_ptr<HLStyle> base = owner ? owner->baseStyle() : nullptr;
    return base ? HLStyleList{base} : HLStyleList{};
}

std::shared_ptr<HLStyle> KSProjectItem::style() const {
    if (style_) return style_;
    KSProject* owner = project();
    std::shared_ptr<HLStyleContext> context = owner ? owner->styleContext() : nullptr;
    if (!context) return nullptr;
    if (parent()) {
        style_ = HLStyle::styleWithContextCascadeStyles(context, cascadeStyles());
        style_->setOwnerContainerKey(const_cast<KSProjectItem*>(this), "style");
        style_->enableUndo();
    } else {
        // A root is never edited by the user: its style only sets the outline's indentation.
        auto indentation = HLStyle::styleWithContextCascadeStyles(context);
        indentation->setValueForAttribute(KSValue(5.0), TWItemChildIndentationStyleAttribute);
        HLStyleList cascade;
        if (auto base = owner->baseStyle()) cascade.push_back(base);
        cascade.push_back(indentation);
        style_ = HLStyle::styleWithContextCascadeStyles(context, std::move(cascade));
    }
    style_->setSelectionRelativeName(title().value_or(std::string()));
    return style_;
}

KSValue KSProjectItem::styleDict() const {
    if (!style_ || style_->isEmpty()) return KSValue();
    return style_->newPropertyListRepresentationIncludingInheritedStyles(true);
}

void KSProjectItem::setStyleDict(const KSValue& propertyList) {
    std::shared_ptr<HLStyle> current = style();
    if (!current) return;
    if (propertyList.isNull()) {
        current->removeLocallyDefinedAttributesAndInheritedNamedStyles();
        return;
    }
    KSError error;
    // Values are kept as written, also those equal to what the cascade gives: a file
    // read back keeps exactly what was saved.
    auto read = HLStyle::styleWithPropertyListRepresentation(propertyList, current->context(),
                                                             cascadeStyles(), true, &error);
    if (!read) {
        KSLog("Ignoring an unreadable style of %@: %@", description(),
              error.localizedDescription());
        return;
    }
    current->setStyle(*read);
}

void KSProjectItem::styleWillChange(HLStyle&, const HLStyleChange&) {
    willChangeValueForKey("style");
}

void KSProjectItem::styleDidChange(HLStyle&, const HLStyleChange&) {
    didChangeValueForKey("style");
}

void KSProjectItem::titleDidChange() {
    if (style_) style_->setSelectionRelativeName(title().value_or(std::string()));
}

void KSProjectItem::releaseStyle() {
    if (style_ && style_->owner() == this) style_->setOwnerContainerKey(nullptr, std::string());
}

}  // namespace kestrum
