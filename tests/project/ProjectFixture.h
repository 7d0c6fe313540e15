// The project-model tests' plan: the common fixture with a scenario that counts leveling
// requests, and a task that logs what the edit cycle tells it. Tasks are built with the
// plan builder: add<RecordingTask>("A") for one whose cycle a test watches.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSNotificationCenter.h"
#include "Platform/core/KSUndoManager.h"
#include "support/PlanFixture.h"

namespace kestrum::test {

// A real task that also logs the edit cycle's calls to it: each hook runs the task's own
// behaviour first.
class RecordingTask : public KSTask {
public:
    void _recomputeScheduling() override {
        ++recomputeCount;
        KSTask::_recomputeScheduling();
        if (onRecompute) onRecompute();
    }
    void undoGroupDidOpen() override {
        groupCalls.push_back("open");
        KSTask::undoGroupDidOpen();
    }
    void undoGroupWillClose() override {
        groupCalls.push_back("close");
        KSTask::undoGroupWillClose();
    }

    int recomputeCount = 0;
    std::vector<std::string> groupCalls;
    std::function<void()> onRecompute;
};

// A scenario that counts leveling requests; `onLevel` stands for leveling moving dates.
class CountingScenario : public KSScenario {
public:
    void levelResourcesForTasks(const std::vector<std::shared_ptr<KSTask>>* tasks) override {
        ++levelCount;
        levelAllTasks = tasks == nullptr;
        undoEnabledWhileLeveling = undoManager() && undoManager()->isUndoRegistrationEnabled();
        if (onLevel) onLevel();
    }
    int levelCount = 0;
    bool levelAllTasks = false;
    bool undoEnabledWhileLeveling = true;
    std::function<void()> onLevel;
};

// Counts the "KSProjectDidChangeNotification"s of one scenario.
class ChangeCounter {
public:
    explicit ChangeCounter(KSScenario* scenario) {
        token_ = KSNotificationCenter::defaultCenter().addObserver(
            nullptr, KSProjectDidChangeNotification, scenario,
            [this](const KSNotification&) { ++count; });
    }
    ~ChangeCounter() { KSNotificationCenter::defaultCenter().removeObserver(token_); }
    ChangeCounter(const ChangeCounter&) = delete;
    ChangeCounter& operator=(const ChangeCounter&) = delete;
    int count = 0;

private:
    KSNotificationCenter::Token token_;
};

// A plan with generic dates.
class ProjectTest : public PlanFixture<CountingScenario> {
protected:
    void SetUp() override {
        PlanFixture::SetUp();
        drain();
    }
};

}  // namespace kestrum::test
