// The plan-level test fixtures: a document with its undo manager, a project holding one
// scenario of type `Scenario`, the event loop driven by hand, and the plan builder
// (support/PlanBuilder.h) building into that scenario. Tests build their plans and call
// drain() where an application's event would end.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"
#include "support/PlanBuilder.h"
#include "support/TestDocument.h"

namespace kestrum::test {

template <class Scenario = KSScenario>
class PlanFixture : public ::testing::Test, public PlanBuilder {
protected:
    void SetUp() override {
        project = std::make_shared<KSProject>(&document);
        scenario = std::make_shared<Scenario>();
        project->addScenario(scenario);
        buildInto(*scenario);
    }
    void TearDown() override {
        project->invalidate();
        drain();
    }

    // Runs the event loop until nothing is left: the undo group closes and the plan is
    // recomputed, as after one event in an application.
    static void drain() {
        KSRunLoop::current().runUntilIdle();
        KSRunLoop::current().runOnce();
    }
    KSUndoManager& undo() { return *document.undo; }

    TestDocument document;
    std::shared_ptr<KSProject> project;
    std::shared_ptr<Scenario> scenario;
};

// A plan with real dates anchored at its start on Monday 1 January 2001 at 0:00, the
// first day of the generic week, stored as a file would store it (nothing shifts).
class PlanTest : public PlanFixture<> {
protected:
    void SetUp() override {
        PlanFixture::SetUp();
        scenario->setStoredFixedDate(KSScenario::genericStartDate());
        drain();
    }
};

// A scheduled plan that starts on Monday 8 January 2024 at 8:00.
class ScheduleTest : public PlanFixture<> {
protected:
    void SetUp() override {
        PlanFixture::SetUp();
        anchorStart(at(2024, 1, 8, 8));
        drain();
    }
};

}  // namespace kestrum::test
