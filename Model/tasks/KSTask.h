// KSTask: a task of the plan (shell).
//
// This shell holds what the scenario's edit cycle needs of a task: the flag that puts a
// task into the scenario's revalidation set once per cycle, the recompute entry point,
// the undo-group pair, renumbering, the prototype flag and the critical-path root
// reference. Dates, effort, links, assignments and the rest of the task arrive with the
// task and scheduling code, which fills in the bodies marked "shell" below.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Model/project/KSProjectItem.h"

namespace kestrum {

class KSCriticalPath;

class KSTask : public KSProjectItem {
    KS_DECLARE_CLASS()
public:
    KSTask();
    ~KSTask() override;

    // --- Edit cycle ------------------------------------------------------------------------
    // Marks the task for recomputation: with a scenario and not yet marked this cycle, it
    // sets willRevalidateSchedule and hands itself to the scenario.
    void _needsSchedulingRecomputation();
    // Re-reads the task's dates; clears willRevalidateSchedule. Shell: no dates yet.
    virtual void _recomputeScheduling();
    // The scenario's undo group opened around edits of this task: split rejoining waits.
    virtual void undoGroupDidOpen();
    // The group is closing: with a scenario, split rejoining may run again.
    virtual void undoGroupWillClose();
    // Renumbers the outline below this task. Shell: no outline numbers yet.
    virtual void recomputeNumericalOrder();

    // Whether the task waits in the scenario's revalidation set.
    bool willRevalidateSchedule() const { return willRevalidateSchedule_; }
    void setWillRevalidateSchedule(bool flag) { willRevalidateSchedule_ = flag; }
    // Whether split rejoining is held back until the undo group closes.
    bool delayingSplitRejoining() const { return delayingSplitRejoining_; }
    // A prototype is a template of new tasks and never scheduled.
    bool isPrototype() const { return isPrototype_; }
    void setIsPrototype(bool flag) { isPrototype_ = flag; }
    // Whether the task is a milestone. Shell: task types arrive with the task core.
    bool isMilestone() const { return false; }

    // The critical path rooted at this task (not retained), or null.
    KSCriticalPath* criticalPathRoot() const { return nonretainedCriticalPathRoot_; }
    void setCriticalPathRoot(KSCriticalPath* path) { nonretainedCriticalPathRoot_ = path; }
    // Told when a critical path through this task may have changed. Shell: nothing to do.
    virtual void criticalPathMayHaveChanged() {}

    // The title; null for the root. Shell: stored as given, with change notices.
    std::optional<std::string> title() const override { return title_; }
    void setTitle(const std::optional<std::string>& title) override;

    TMDifferenceEngine* differenceEngine() const override;
    std::vector<std::string> userDataKeys() const override;
    std::string subclassLocalizedTypeForUndo() const override;
    std::string idPrefix() const override { return "t"; }

private:
    std::optional<std::string> title_;
    KSCriticalPath* nonretainedCriticalPathRoot_ = nullptr;
    bool willRevalidateSchedule_ = false;
    bool delayingSplitRejoining_ = false;
    bool isPrototype_ = false;
};

}  // namespace kestrum
