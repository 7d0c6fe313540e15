#include "Platform/styles/HLStyleContext.h"

#include "Platform/core/KSUndoManager.h"
#include "Platform/styles/HLNamedStyleList.h"
#include "Platform/styles/HLStyleContextSource.h"

namespace kestrum {

const KSClassInfo& HLStyleContext::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<HLStyleContext>(
        "HLStyleContext", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<HLStyleContext>& b) {
            b.readOnly("containerKey", &HLStyleContext::containerKey);
            b.readOnly("isInvalidated", &HLStyleContext::isInvalidated);
        });
    return info;
}

HLStyleContext::HLStyleContext(std::shared_ptr<KSUndoManager> undoManager, KSBaseObject* owner,
                               std::string containerKey)
    : undoManager_(std::move(undoManager)),
      nonretainedOwner_(owner),
      containerKey_(std::move(containerKey)),
      namedStyleList_(std::make_shared<HLNamedStyleList>(this)) {}

HLStyleContext::~HLStyleContext() {
    namedStyleList_->_detachFromContext();
}

std::shared_ptr<HLStyleContext> HLStyleContext::styleContextWithUndoManager(
    std::shared_ptr<KSUndoManager> undoManager, KSBaseObject* owner, std::string containerKey) {
    return std::make_shared<HLStyleContext>(std::move(undoManager), owner, std::move(containerKey));
}

const std::vector<std::shared_ptr<HLNamedStyle>>& HLStyleContext::namedStyles() const {
    return namedStyleList_->namedStyles();
}

HLStyleList HLStyleContext::applicationDefinedStyles() {
    HLStyleList styles;
    if (!nonretainedSource_) return styles;
    std::size_t count = nonretainedSource_->applicationDefinedStyleCountForStyleContext(*this);
    for (std::size_t i = 0; i < count; ++i) {
        if (auto style = nonretainedSource_->styleContextApplicationDefinedStyleAtIndex(*this, i)) {
            styles.push_back(std::move(style));
        }
    }
    return styles;
}

bool HLStyleContext::allowsUserEdits() {
    return nonretainedSource_ ? nonretainedSource_->styleContextShouldAllowUserEdits(*this) : true;
}

bool HLStyleContext::maintainsSyncState() {
    return nonretainedSource_ ? nonretainedSource_->styleContextShouldMaintainSyncState(*this)
                              : false;
}

void HLStyleContext::invalidate() {
    if (invalidated_) return;
    if (undoManager_) undoManager_->removeAllActionsWithTarget(namedStyleList_.get());
    undoManager_.reset();
    nonretainedOwner_ = nullptr;
    nonretainedSource_ = nullptr;
    invalidated_ = true;
}

}  // namespace kestrum
