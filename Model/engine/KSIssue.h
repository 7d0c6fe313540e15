// KSIssue: a scheduling problem found on a task.
//
// The scheduler does not refuse a plan that cannot hold: it leaves the dates as they come
// out and attaches an issue to the task instead. A task owns its issues; the scenario
// keeps running totals of errors and warnings, which the task adjusts as issues come and
// go and as it joins or leaves a plan. The issue kind is the handle by which a whole
// family is removed at once.
//
//   task->addIssue(std::make_shared<KSMaximumEffortExceededError>(task.get()));
//   task->removeIssuesOfKind(KSIssue::maximumEffortIssueKind());
#pragma once

#include <memory>
#include <string>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class KSTask;

// How serious an issue is; errors sort first.
enum KSIssueType : int {
    KSIssueTypeError = 0,
    KSIssueTypeWarning = 1,
    KSIssueTypeGeneric = 2,
};

class KSIssue : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // An issue of `task` (not retained; the task owns its issues).
    explicit KSIssue(KSTask* task = nullptr);
    ~KSIssue() override;

    // The kinds, one per family of issues.
    static const std::string& schedulingIssueKind();     // "Scheduling"
    static const std::string& assignmentIssueKind();     // "Assignment"
    static const std::string& constraintIssueKind();     // "Constraints"
    static const std::string& levelingIssueKind();       // "Leveling"
    static const std::string& maximumEffortIssueKind();  // "maximumEffort"

    // The task the issue belongs to, or null once it left the task.
    virtual KSTask* task() const { return nonretainedTask_; }
    void setTask(KSTask* task) { nonretainedTask_ = task; }
    // Error, warning or generic; generic here.
    virtual KSIssueType type() const { return KSIssueTypeGeneric; }
    // The family: "Generic" here.
    virtual std::string issueKind() const { return "Generic"; }
    // One line for a list.
    virtual std::string shortDescription() const;
    // Whether adding and removing the issue is recorded for undo; false here.
    virtual bool shouldBeRegisteredForUndo() const { return false; }
    // Orders by type, so that errors come before warnings.
    int compareByType(const KSIssue& other) const;

private:
    KSTask* nonretainedTask_ = nullptr;
};

// An effort or a derived date beyond what the plan can hold; typed as a warning.
class KSMaximumEffortExceededError : public KSIssue {
    KS_DECLARE_CLASS()
public:
    explicit KSMaximumEffortExceededError(KSTask* task = nullptr) : KSIssue(task) {}
    KSIssueType type() const override { return KSIssueTypeWarning; }
    std::string issueKind() const override { return maximumEffortIssueKind(); }
    // "Maximum effort exceeded".
    std::string shortDescription() const override;
};

}  // namespace kestrum
