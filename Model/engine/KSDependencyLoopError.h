// KSDependencyLoopError: a link kept inactive because it would close a loop.
//
// The loop checker never refuses a link: it keeps it in both tasks' lists, turns it off,
// and puts this error on the link's dependent. The error names the link and the other
// links of the loop (none when the loop runs through the task tree alone), so that the
// user can remove the one that is wrong; when the loop goes, the link comes back on and
// the error goes with it.
//
//   auto error = KSDependencyLoopError::issueForDependencyInLoop(link, &others);
//   error->performAction("removeOther-1");   // removes the first other link of the loop
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Model/engine/KSIssue.h"

namespace kestrum {

class KSDependency;

class KSDependencyLoopError : public KSIssue {
    KS_DECLARE_CLASS()
public:
    using Loop = std::vector<std::shared_ptr<KSDependency>>;

    // The error for `dependency` (retained) with the other links of its loop; null `loop`
    // when the loop is not known.
    KSDependencyLoopError(KSTask* task, std::shared_ptr<KSDependency> dependency,
                          std::optional<Loop> loop);
    ~KSDependencyLoopError() override;

    // Makes the error and adds it to the link's dependent; null without a dependent.
    static std::shared_ptr<KSDependencyLoopError> issueForDependencyInLoop(
        const std::shared_ptr<KSDependency>& dependency, const Loop* loop);

    KSIssueType type() const override { return KSIssueTypeError; }
    std::string issueKind() const override { return constraintIssueKind(); }
    // "This task is involved in a dependency loop".
    std::string shortDescription() const override;
    std::optional<std::string> longDescriptionHTMLFile() const override { return "DependencyLoop"; }
    // The file's text with the link's prerequisite (number and title) and loopInfoHTML.
    std::string resultHTMLStringForRawHTMLString(const std::string& rawHTML) const override;
    // "remove" removes the link; "removeOther-N" the N-th other link of the loop.
    void performAction(const std::string& action) override;

    const std::shared_ptr<KSDependency>& dependency() const { return dependency_; }
    const std::optional<Loop>& loop() const { return loop_; }
    // One "<li>" line per other link of the loop, each with its "Remove" action.
    std::string loopInfoHTML() const;

private:
    std::shared_ptr<KSDependency> dependency_;
    std::optional<Loop> loop_;
};

}  // namespace kestrum
