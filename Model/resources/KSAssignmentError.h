// KSAssignmentError: a task asks more units of a resource than the resource has.
//
// Raised by the task when its assignments change (an over-allocation is reported, not
// refused) and removed with the other issues of the "Assignment" kind the next time.
//
//   KSIssue::issueForTask<KSAssignmentError>(*task, resource.get());
#pragma once

#include <optional>
#include <string>

#include "Model/engine/KSIssue.h"

namespace kestrum {

class KSResource;

class KSAssignmentError : public KSIssue {
    KS_DECLARE_CLASS()
public:
    // An error of `task` about `resource` (neither retained).
    explicit KSAssignmentError(KSTask* task = nullptr, KSResource* resource = nullptr);
    ~KSAssignmentError() override;

    KSResource* resource() const { return nonretainedResource_; }
    KSIssueType type() const override { return KSIssueTypeError; }
    std::string issueKind() const override { return assignmentIssueKind(); }
    // "More resources assigned than are available".
    std::string shortDescription() const override;
    std::optional<std::string> longDescriptionHTMLFile() const override {
        return "TooManyAssigned";
    }
    // The page with the resource's name, what the task needs and what the resource has.
    std::string resultHTMLStringForRawHTMLString(const std::string& rawHTML) const override;

private:
    KSResource* nonretainedResource_;
};

}  // namespace kestrum
