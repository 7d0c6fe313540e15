// HLStyleContext: the home of a document's styles.
//
// A context binds styles to the document's undo manager, holds the named style list,
// and knows the document's owner object, which hears of changes of the named style list
// as will-change and did-change of the container key ("namedStyles" for a project).
// A source (HLStyleContextSource) lists the application-defined styles.
//
//   auto context = HLStyleContext::styleContextWithUndoManager(undoManager, project.get(),
//                                                              "namedStyles");
//   context->setApplicationStyleSource(project.get());
//
// The context is held by std::shared_ptr; styles refer to it weakly, so that a style
// that outlives its context simply loses undo and named-style look-up. invalidate()
// detaches the undo manager, owner and source when the document closes.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Platform/core/KSBaseObject.h"
#include "Platform/styles/HLStyle.h"

namespace kestrum {

class HLNamedStyleList;
class HLStyleContextSource;
class KSUndoManager;

class HLStyleContext : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // Use the factory; public for std::make_shared.
    HLStyleContext(std::shared_ptr<KSUndoManager> undoManager, KSBaseObject* owner,
                   std::string containerKey);
    ~HLStyleContext() override;

    // A context on an undo manager (may be null: no undo), with its owner (not
    // retained) and the key under which the owner holds the named styles.
    static std::shared_ptr<HLStyleContext> styleContextWithUndoManager(
        std::shared_ptr<KSUndoManager> undoManager, KSBaseObject* owner, std::string containerKey);

    // The undo manager, owner and container key given at creation (null after invalidate).
    const std::shared_ptr<KSUndoManager>& undoManager() const { return undoManager_; }
    KSBaseObject* owner() const { return nonretainedOwner_; }
    const std::string& containerKey() const { return containerKey_; }

    // The named styles, in order.
    const std::shared_ptr<HLNamedStyleList>& namedStyleList() const { return namedStyleList_; }
    const std::vector<std::shared_ptr<HLNamedStyle>>& namedStyles() const;

    // The source of application-defined styles (not retained; null for none).
    void setApplicationStyleSource(HLStyleContextSource* source) { nonretainedSource_ = source; }
    HLStyleContextSource* applicationStyleSource() const { return nonretainedSource_; }
    // The source's styles in its order (empty without a source).
    HLStyleList applicationDefinedStyles();
    // The source's answers; true and false without a source.
    bool allowsUserEdits();
    bool maintainsSyncState();

    // Detaches undo manager, owner and source; the named styles stay readable.
    void invalidate();
    bool isInvalidated() const { return invalidated_; }

private:
    std::shared_ptr<KSUndoManager> undoManager_;
    KSBaseObject* nonretainedOwner_;
    std::string containerKey_;
    HLStyleContextSource* nonretainedSource_ = nullptr;
    std::shared_ptr<HLNamedStyleList> namedStyleList_;
    bool invalidated_ = false;
};

}  // namespace kestrum
