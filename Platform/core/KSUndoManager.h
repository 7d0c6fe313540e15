// KSUndoManager: records the inverse of each change so that it can be undone and redone.
//
// A recorded call is a closure with its target. The closure keeps the target and its
// arguments alive (as a recorded invocation retains them), so a deleted object can come
// back on undo; the target is also kept as a key, for removeAllActionsWithTarget.
//
// Grouping: with groupsByEvent (the default) the first registration outside a group
// opens a top-level group, and the end of the current pass of the event loop
// (KSRunLoop) closes it. Explicit groups nest with beginUndoGrouping/endUndoGrouping.
// Opening a group posts KSUndoManagerDidOpenUndoGroupNotification and closing one posts
// KSUndoManagerWillCloseUndoGroupNotification, with the manager as object, also while
// undoing and redoing. A top-level group that closes empty is dropped.
//
// undo() closes an open top-level group first, then runs the last group's calls in
// reverse order inside a group on the redo stack: what they register while undoing is
// the redo. redo() mirrors it. A new registration outside undo and redo clears the
// redo stack. A recorded call that throws ends the undo or redo: the exception goes on to
// the caller and the manager is idle again.
//
// The manager belongs to the thread that made it (its event loop closes the groups).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSNotificationName.h"

namespace kestrum {

class KSRunLoop;

extern const KSNotificationName KSUndoManagerDidOpenUndoGroupNotification;
extern const KSNotificationName KSUndoManagerWillCloseUndoGroupNotification;
extern const KSNotificationName KSUndoManagerCheckpointNotification;
extern const KSNotificationName KSUndoManagerWillUndoChangeNotification;
extern const KSNotificationName KSUndoManagerDidUndoChangeNotification;
extern const KSNotificationName KSUndoManagerWillRedoChangeNotification;
extern const KSNotificationName KSUndoManagerDidRedoChangeNotification;
extern const KSNotificationName KSUndoManagerDidCloseUndoGroupNotification;

class KSUndoManager : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    KSUndoManager();
    ~KSUndoManager() override;

    // --- Recording -------------------------------------------------------------------
    // Records `action`, to run on undo with the target alive. Nothing is recorded while
    // registration is disabled. The target may be null (a class-level call).
    void registerUndoWithTargetHandler(std::shared_ptr<void> target, std::function<void()> action);
    // Typed form: the handler gets the target. A null target records nothing (a call to
    // nobody), with a log line.
    template <class T, class F>
    void registerUndoWithTarget(const std::shared_ptr<T>& target, F&& handler) {
        if (!target) {
            logNullTarget();
            return;
        }
        registerUndoWithTargetHandler(std::static_pointer_cast<void>(target),
                                      [target, h = std::forward<F>(handler)]() { h(*target); });
    }
    // Drops every recorded call whose target is `target`, on both stacks.
    void removeAllActionsWithTarget(const void* target);
    void removeAllActions();

    // --- Groups ----------------------------------------------------------------------
    void beginUndoGrouping();
    void endUndoGrouping();
    // Open groups: 0 outside any group.
    int groupingLevel() const;
    bool groupsByEvent() const { return groupsByEvent_; }
    void setGroupsByEvent(bool flag) { groupsByEvent_ = flag; }
    // The maximum number of top-level groups kept on the undo stack; 0 is no limit.
    std::size_t levelsOfUndo() const { return levelsOfUndo_; }
    void setLevelsOfUndo(std::size_t levels);

    // --- Registration switch (a counter: n disables need n enables) ----------------------
    void disableUndoRegistration();
    void enableUndoRegistration();
    bool isUndoRegistrationEnabled() const { return disableCount_ == 0; }

    // --- Undo and redo ---------------------------------------------------------------
    bool canUndo() const;
    bool canRedo() const;
    void undo();
    void redo();
    // Undoes the last group on the undo stack without closing an open event group first;
    // refused with a log line while any group is open.
    void undoNestedGroup();
    bool isUndoing() const { return state_ == State::Undoing; }
    bool isRedoing() const { return state_ == State::Redoing; }
    bool isUndoingOrRedoing() const { return state_ != State::Idle; }

    // --- Action names ----------------------------------------------------------------
    // Names the open group (or, outside a group, the last group on the stack being
    // filled: the redo stack while undoing, else the undo stack).
    void setActionName(const std::string& name);
    std::string undoActionName() const;
    std::string redoActionName() const;

    // Number of top-level groups on each stack.
    std::size_t undoCount() const;
    std::size_t redoCount() const;

private:
    struct Group;
    // One entry of a group: a recorded call, or a nested group.
    struct Entry {
        std::shared_ptr<void> target;
        std::function<void()> call;
        std::unique_ptr<Group> group;
    };
    struct Group {
        std::vector<Entry> entries;
        std::string actionName;
        bool isEmpty() const;
        void removeTarget(const void* target);
    };
    enum class State { Idle, Undoing, Redoing };

    std::vector<std::unique_ptr<Group>>& stackBeingFilled();
    void openGroup();
    void closeGroup();
    void runGroup(const Group& group);
    void replayGroup(const Group& group, State state);
    void closeGroupAtEndOfPass();
    void trimUndoStack();
    void post(KSNotificationName name);
    static void logNullTarget();

    std::vector<std::unique_ptr<Group>> undoStack_;
    std::vector<std::unique_ptr<Group>> redoStack_;
    std::vector<std::unique_ptr<Group>> openGroups_;  // innermost last
    State state_ = State::Idle;
    int disableCount_ = 0;
    bool groupsByEvent_ = true;
    std::size_t levelsOfUndo_ = 0;
    KSRunLoop* loop_ = nullptr;  // the loop whose end of pass closes the event group
    std::uint64_t endOfPassToken_ = 0;
};

}  // namespace kestrum
