// The common base of the plan-level test fixtures: a document with its undo manager, a
// project holding one scenario of type `Scenario`, and the event loop driven by hand.
// Subclasses build their plans and call drain() where an application's event would end.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"
#include "support/TestDocument.h"

namespace kestrum::test {

template <class Scenario = KSScenario>
class PlanFixture : public ::testing::Test {
protected:
    void SetUp() override {
        project = std::make_shared<KSProject>(&document);
        scenario = std::make_shared<Scenario>();
        project->addScenario(scenario);
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
    KSTask& root() { return *scenario->rootTask(); }
    KSUndoManager& undo() { return *document.undo; }

    TestDocument document;
    std::shared_ptr<KSProject> project;
    std::shared_ptr<Scenario> scenario;
};

}  // namespace kestrum::test
