// KSIssue: a scheduling problem found on a task.
//
// The scheduler does not refuse a plan that cannot hold: it leaves the dates as they come
// out and attaches an issue to the task instead. A task owns its issues; the scenario
// keeps running totals of errors and warnings, which the task adjusts as issues come and
// go and as it joins or leaves a plan. The issue kind is the handle by which a whole
// family is removed at once.
//
//   KSIssue::issueForTask<KSMaximumEffortExceededError>(*task);   // made and added
//   task->removeIssuesOfKind(KSIssue::maximumEffortIssueKind());
//
// An issue explains itself with a short line for a list and a long HTML text from a file
// that the host provides (longDescriptionHTMLFile, filled by resultHTMLStringForRawHTMLString);
// the links of that text name actions, which performAction carries out.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class KSDateTime;
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

    // Makes an issue of class T for `task` (with the further constructor arguments after
    // the task) and adds it to the task; returns it.
    template <class T, class... Args>
    static std::shared_ptr<T> issueForTask(KSTask& task, Args&&... args) {
        auto issue = std::make_shared<T>(&task, std::forward<Args>(args)...);
        _addIssueToTask(issue, task);
        return issue;
    }

    // The task the issue belongs to, or null once it left the task.
    virtual KSTask* task() const { return nonretainedTask_; }
    void setTask(KSTask* task) { nonretainedTask_ = task; }
    // Error, warning or generic; generic here.
    virtual KSIssueType type() const { return KSIssueTypeGeneric; }
    // The family: "Generic" here.
    virtual std::string issueKind() const { return "Generic"; }
    // One line for a list.
    virtual std::string shortDescription() const;
    // The name (without ".html") of the long description's file; none here.
    virtual std::optional<std::string> longDescriptionHTMLFile() const { return std::nullopt; }
    // The long description: the file's text used as a format with the issue's own values.
    virtual std::string resultHTMLStringForRawHTMLString(const std::string& rawHTML) const {
        return rawHTML;
    }
    // Carries out the action named by a "ksaction:" link of the long description; an
    // unknown action does nothing.
    virtual void performAction(const std::string& action);
    // Whether adding and removing the issue is recorded for undo; false here.
    virtual bool shouldBeRegisteredForUndo() const { return false; }
    // Orders by type, so that errors come before warnings.
    int compareByType(const KSIssue& other) const;

    // The long description: the file "<longDescriptionHTMLFile>.html" of the resource folder
    // "ViolationsInfo" filled in by resultHTMLStringForRawHTMLString; `baseURL` gets the
    // folder's file URL. A file that cannot be read is logged and "<h1>HTML Missing</h1>"
    // stands in; the stylesheet link "css.css" becomes "css-Mac.css".
    std::string longDescriptionHTMLAndBaseURL(std::string* baseURL) const;
    // The "Blank" page of the same folder, shown when nothing is wrong (not filled in).
    static std::string noViolationsHTMLAndBaseURL(std::string* baseURL);
    // A date as the task's plan prints it.
    std::string stringForDate(const KSDateTime& date) const;

private:
    static void _addIssueToTask(const std::shared_ptr<KSIssue>& issue, KSTask& task);

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
    std::optional<std::string> longDescriptionHTMLFile() const override {
        return "MaximumEffortExceeded";
    }
    // "removeThisWarning" takes the warning off its task.
    void performAction(const std::string& action) override;
};

}  // namespace kestrum
