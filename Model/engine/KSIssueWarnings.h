// The warnings a user takes off by hand: a task leveling could not fit, reserve time an
// old plan carried, and issues raised while reading a file that are never written back.
// Each is a handful of overrides, so they share this header; each answers the action
// "removeThisWarning" by leaving its task.
//
//   auto stuck = KSIssue::issueForTask<KSLevelingStuckWarning>(*task);   // chain filled
//   stuck->chainInfoHTML();   // "<li>Pour has its end date locked on ..."
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Model/engine/KSIssue.h"

namespace kestrum {

// "Couldn't fit task during resource leveling". Its chain (tasks and links, from the task
// outward, as KSTask::chainCausingAbsoluteEndLimit gives it) explains what held the task.
// Adding and removing it is recorded for undo: leveling does not raise it again by itself.
class KSLevelingStuckWarning : public KSIssue {
    KS_DECLARE_CLASS()
public:
    // The warning for `task`, its chain read from the task.
    explicit KSLevelingStuckWarning(KSTask* task = nullptr);
    KSIssueType type() const override { return KSIssueTypeWarning; }
    std::string issueKind() const override { return levelingIssueKind(); }
    std::string shortDescription() const override;
    std::optional<std::string> longDescriptionHTMLFile() const override { return "LevelingStuck"; }
    std::string resultHTMLStringForRawHTMLString(const std::string& rawHTML) const override;
    void performAction(const std::string& action) override;
    bool shouldBeRegisteredForUndo() const override { return true; }

    const std::vector<std::shared_ptr<KSBaseObject>>& chain() const { return chain_; }
    // The chain as list items, from what holds the task back to the task.
    std::string chainInfoHTML() const;

private:
    std::vector<std::shared_ptr<KSBaseObject>> chain_;
};

// "Reserve time lost from Kestrum 1.x"; nothing raises it today.
class KSReserveTimeWarning : public KSIssue {
    KS_DECLARE_CLASS()
public:
    using KSIssue::KSIssue;
    KSIssueType type() const override { return KSIssueTypeWarning; }
    std::string issueKind() const override { return "reserveTime"; }
    std::string shortDescription() const override;
    std::optional<std::string> longDescriptionHTMLFile() const override { return "ReserveTime"; }
    void performAction(const std::string& action) override;
};

// An issue raised while reading a file ("Unsupported prerequisite removed" when a group's
// start-to-finish or finish-to-finish link is dropped); never written to a file.
class KSNonpersistentIssue : public KSIssue {
    KS_DECLARE_CLASS()
public:
    using KSIssue::KSIssue;
    KSIssueType type() const override { return KSIssueTypeWarning; }
    std::string issueKind() const override { return "nonpersistentIssue"; }
    std::string shortDescription() const override { return shortDescription_; }
    void setShortDescription(std::string text) { shortDescription_ = std::move(text); }
    // The body of the long description.
    const std::string& bodyText() const { return bodyText_; }
    void setBodyText(std::string text) { bodyText_ = std::move(text); }
    std::optional<std::string> longDescriptionHTMLFile() const override {
        return "NonpersistentIssue";
    }
    std::string resultHTMLStringForRawHTMLString(const std::string& rawHTML) const override;
    void performAction(const std::string& action) override;

private:
    std::string shortDescription_;
    std::string bodyText_;
};

}  // namespace kestrum
