// A small plan for the project-model tests: a document with its undo manager, a project
// with one scenario, and tasks that log what the edit cycle tells them.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Model/engine/KSCriticalPath.h"
#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSNotificationCenter.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"
#include "support/PlanFixture.h"
#include "support/TestDocument.h"

namespace kestrum::test {

// A task whose scheduling is not computed yet: it logs the edit cycle's calls and has
// one setter shaped like the task setters (undo, action name, notices, invalidation).
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
    void recomputeNumericalOrder() override { ++renumberCount; }

    double effort() const { return effort_; }
    void setEffort(double effort) {
        if (!undoableSetter<RecordingTask>()
                 .key("effort")
                 .action("Set Effort")
                 .set(effort_, effort, &RecordingTask::setEffort))
            return;
        _needsSchedulingRecomputation();
        if (scenario()) scenario()->projectDidChange();
    }

    int recomputeCount = 0;
    int renumberCount = 0;
    std::vector<std::string> groupCalls;
    std::function<void()> onRecompute;

private:
    double effort_ = 0.0;
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
    int count = 0;

private:
    KSNotificationCenter::Token token_;
};

class ProjectTest : public PlanFixture<CountingScenario> {
protected:
    void SetUp() override {
        PlanFixture::SetUp();
        drain();
    }
    // A new task appended to `parent` (the root by default).
    std::shared_ptr<RecordingTask> addTask(const std::string& title,
                                           KSProjectItem* parent = nullptr) {
        auto task = std::make_shared<RecordingTask>();
        task->setTitle(title);
        KSProjectItem& into = parent ? *parent : root();
        into.insertObjectInChildrenAtIndex(task, into.countOfChildren());
        return task;
    }
    // The titles of the children of `item`, joined: "A B C".
    static std::string titles(const KSProjectItem& item) {
        std::string text;
        if (!item.children()) return text;
        for (const auto& child : *item.children()) {
            if (!text.empty()) text += " ";
            text += child->title().value_or("?");
        }
        return text;
    }
};

}  // namespace kestrum::test
