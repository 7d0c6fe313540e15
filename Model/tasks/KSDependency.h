// KSDependency: a link from a prerequisite task to a dependent task (core).
//
// A link ties one end of the prerequisite to one end of the dependent by its kind. This
// core holds what the task tree needs of a link: its two tasks, its kind with the two
// alignments that follow from it, whether it is active, and attaching to and removing
// from both tasks. Lead times, the date constraints and the loop checks build on it.
//
//   auto link = KSDependency::connect(design, build, KSDependencyKindFS);
//   link->remove();
#pragma once

#include <cstdint>
#include <memory>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class KSTask;
class KSUndoManager;

// Which end of each task a link ties: start-to-start, start-to-finish, finish-to-start,
// finish-to-finish (prerequisite's end first).
enum KSDependencyKind : std::int32_t {
    KSDependencyKindSS = 0,
    KSDependencyKindSF = 1,
    KSDependencyKindFS = 2,
    KSDependencyKindFF = 3,
};

class KSDependency : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // A link not yet attached to its tasks (neither is retained).
    KSDependency(KSTask* prerequisite, KSTask* dependent, KSDependencyKind kind);
    ~KSDependency() override;

    // Makes a link and attaches it to both tasks (not undoable).
    static std::shared_ptr<KSDependency> connect(KSTask& prerequisite, KSTask& dependent,
                                                 KSDependencyKind kind);

    KSTask* prerequisite() const { return nonretainedPrerequisite_; }
    KSTask* dependent() const { return nonretainedDependent_; }
    KSDependencyKind kind() const { return kind_; }
    // Whether the link takes part in scheduling; a link that would close a loop is not.
    bool isActive() const { return isActive_; }
    void setIsActive(bool flag) { isActive_ = flag; }
    // Whether the link starts at the prerequisite's end (FS, FF).
    bool prerequisiteAlignedToEnd() const {
        return kind_ == KSDependencyKindFS || kind_ == KSDependencyKindFF;
    }
    // Whether the link binds the dependent's end (SF, FF).
    bool dependentAlignedToEnd() const {
        return kind_ == KSDependencyKindSF || kind_ == KSDependencyKindFF;
    }
    // Moves the dependent side of the link to the dependent's end or start, keeping the
    // prerequisite's side; tells both tasks.
    void setDependentAlignedToEnd(bool flag);

    // Detaches the link from both tasks, recording its return on `undoManager` (none
    // when null).
    void removeWithUndoManager(KSUndoManager* undoManager);
    // Detaches the link from both tasks, recording its return on the tasks' undo manager.
    void remove();
    // Puts a removed link back into both tasks.
    void reattach();
    // Forgets `task` as either end: the task is going away while the link lives on.
    void _forgetTask(const KSTask* task);

private:
    KSTask* nonretainedPrerequisite_;
    KSTask* nonretainedDependent_;
    KSDependencyKind kind_;
    bool isActive_ = true;
};

}  // namespace kestrum
