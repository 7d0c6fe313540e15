// DemoPlan: the sample plan of `kestrum demo`, built through the library.
//
// A small software release: four groups of work with a dozen tasks, finish-to-start and
// start-to-start links, one lead time, one start constraint and a closing milestone,
// anchored on Monday 3 June 2024 at 08:00 and worked in the standard week (Monday to
// Friday, 8:00 to 12:00 and 13:00 to 17:00). Two developers (in a group), a build
// machine and printed launch kits are assigned to the tasks, with costs in US dollars.
// The plan lives in its own project with its own document and undo manager, as an
// application would hold it.
//
//   kestrum::cli::DemoPlan plan;
//   plan.schedule();                              // one pass of the event loop
//   for (auto& task : plan.tasksInOutlineOrder()) ...
#pragma once

#include <memory>
#include <vector>

#include "Model/project/KSDocumentProtocol.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {
class KSProject;
class KSScenario;
}  // namespace kestrum

namespace kestrum::cli {

class DemoPlan : public KSDocumentProtocol {
public:
    // Builds the plan; its dates are computed on the first schedule() or read.
    DemoPlan();
    ~DemoPlan() override;

    // Runs the event loop once, as after one event in an application: the undo group of
    // the edits closes and the scenario recomputes the plan.
    void schedule();
    KSScenario& scenario() const { return *scenario_; }
    KSProject& project() const { return *project_; }
    // Every task below the root, in outline order.
    std::vector<std::shared_ptr<KSTask>> tasksInOutlineOrder() const;

    // KSDocumentProtocol: an undo manager, no file, errors kept for the caller.
    KSUndoManager* undoManager() override { return undo_.get(); }
    std::optional<std::string> fileURL() const override { return std::nullopt; }
    std::optional<std::string> savingToURL() const override { return std::nullopt; }
    void presentError(const KSError& error) override;
    void setShowHeadingNumbers(bool) override {}
    void resourceLoadSubscriptionFlagDidChange() override {}
    // The errors the model presented while the plan was built and scheduled.
    const std::vector<std::string>& errors() const { return errors_; }

private:
    std::shared_ptr<KSUndoManager> undo_;
    std::shared_ptr<KSProject> project_;
    std::shared_ptr<KSScenario> scenario_;
    std::vector<std::string> errors_;
};

}  // namespace kestrum::cli
