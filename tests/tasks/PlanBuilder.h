// A small plan for task tests: a document with its undo manager, a project with one
// scenario, and helpers that build nested tasks by title. Later suites copy it.
//
//   PlanTest: auto g = group("G"); auto a = task("A", g, 8.0); drain();
//
// The plan has real dates, anchored at its start on Monday 1 January 2001 at 0:00.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"
#include "support/PlanFixture.h"
#include "support/TestDocument.h"

namespace kestrum::test {

// The application's side.
using PlanDocument = TestDocument;

// The plan's settings are the project's and the scenario's own.
using PlanProject = KSProject;
using PlanScenario = KSScenario;

class PlanTest : public PlanFixture<> {
protected:
    static constexpr double kHour = 3600.0;

    void SetUp() override {
        PlanFixture::SetUp();
        // A real start on the first day of the generic week, as a file would set it.
        scenario->setStoredFixedDate(KSScenario::genericStartDate());
        drain();
    }

    // A plain task appended to `parent` (the root by default); with `hours`, that effort.
    std::shared_ptr<KSTask> task(const std::string& title,
                                 const std::shared_ptr<KSTask>& parent = nullptr,
                                 std::optional<double> hours = std::nullopt) {
        auto t = std::make_shared<KSTask>();
        t->setTitle(title);
        (parent ? *parent : root()).addChildTask(t);
        if (hours) t->setEffort(*hours * kHour);
        return t;
    }
    // An empty group appended to `parent`.
    std::shared_ptr<KSTask> group(const std::string& title,
                                  const std::shared_ptr<KSTask>& parent = nullptr) {
        auto g = task(title, parent);
        g->setIsGroup(true);
        return g;
    }
    // A milestone appended to `parent`.
    std::shared_ptr<KSTask> milestone(const std::string& title,
                                      const std::shared_ptr<KSTask>& parent = nullptr) {
        auto m = task(title, parent);
        m->setTaskType(taskTypeMilestone);
        return m;
    }
};

// Counts will/did notices of the keys it observes, in order.
class NoticeRecorder : public KSBaseObject {
public:
    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath, KSBaseObject*,
                                                     const KSKeyValueChange& change,
                                                     const void*) override {
        notices.push_back((change.isPrior ? "will:" : "did:") + std::string(keyPath));
    }
    std::vector<std::string> notices;
};

}  // namespace kestrum::test
