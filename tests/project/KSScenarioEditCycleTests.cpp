// The scenario's edit cycle: batching, fixed point, leveling, undo-group bracketing.
#include <gtest/gtest.h>

#include "Model/changes/KSDifferenceEngine.h"
#include "Model/engine/KSCriticalPath.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSDependency.h"
#include "ProjectFixture.h"

namespace kestrum::test {
namespace {

class EditCycleTest : public ProjectTest {
protected:
    void SetUp() override {
        ProjectTest::SetUp();
        a = add<RecordingTask>("A");
        b = add<RecordingTask>("B");
        drain();
        a->recomputeCount = 0;
        b->recomputeCount = 0;
        token = KSNotificationCenter::defaultCenter().addObserver(
            this, KSProjectDidChangeNotification, scenario.get(),
            [this](const KSNotification&) { ++changeNotifications; });
    }
    void TearDown() override {
        KSNotificationCenter::defaultCenter().removeObserver(token);
        ProjectTest::TearDown();
    }
    std::shared_ptr<RecordingTask> a, b;
    int changeNotifications = 0;
    KSNotificationCenter::Token token = 0;
};

// Real edits of real tasks: each setter invalidates dates, which marks the task (and the
// group around it) for the next pass and tells the scenario that the plan changed.
TEST_F(EditCycleTest, EditsInOneGroupCostOnePassAndOneNotification) {
    a->setEffort(1 * kHour);
    b->setEffort(2 * kHour);
    a->setEffort(3 * kHour);
    EXPECT_TRUE(scenario->tasksNeedingRevalidation().contains(a.get()));
    EXPECT_TRUE(scenario->tasksNeedingRevalidation().contains(b.get()));
    EXPECT_TRUE(scenario->tasksNeedingRevalidation().contains(&root()));
    EXPECT_EQ(scenario->tasksNeedingRevalidation().size(), 3u);
    EXPECT_EQ(KSRunLoop::current().pendingCallCount(), 2u);  // one recompute, one notice
    KSRunLoop::current().runOnce();
    EXPECT_EQ(a->recomputeCount, 1);
    EXPECT_EQ(b->recomputeCount, 1);
    EXPECT_FALSE(a->willRevalidateSchedule());
    EXPECT_EQ(changeNotifications, 1);
    EXPECT_EQ(undo().groupingLevel(), 0);
    EXPECT_EQ(undo().undoActionName(), "Set Effort");
    drain();
    EXPECT_EQ(a->recomputeCount, 1);
    EXPECT_EQ(changeNotifications, 1);
}

// Whatever the edit (effort, a new link, a lock), the change notice comes once per pass
// of the event loop, after that pass recomputed the dates; a pass without an edit posts
// nothing, and undoing is an edit too.
TEST_F(EditCycleTest, RealEditsPostOneChangeNoticePerPassAfterRecomputing) {
    std::vector<bool> settled;
    int token = 0;
    KSNotificationCenter::defaultCenter().addObserver(
        &token, KSProjectDidChangeNotification, scenario.get(), [&](const KSNotification&) {
            settled.push_back(scenario->tasksNeedingRevalidation().empty());
        });
    a->setEffort(2 * kHour);
    KSDependency::dependencyWithPrerequisiteAndDependent(a.get(), b.get());
    b->setIsEndDateLocked(true);
    EXPECT_EQ(changeNotifications, 0);
    KSRunLoop::current().runOnce();
    EXPECT_EQ(changeNotifications, 1);
    EXPECT_EQ(a->recomputeCount, 1);
    EXPECT_EQ(b->recomputeCount, 1);
    b->setIsEndDateLocked(false);
    KSRunLoop::current().runOnce();
    EXPECT_EQ(changeNotifications, 2);
    drain();
    EXPECT_EQ(changeNotifications, 2);
    undo().undo();
    drain();
    EXPECT_EQ(changeNotifications, 3);
    EXPECT_EQ(settled, (std::vector<bool>{true, true, true}));
    KSNotificationCenter::defaultCenter().removeObserver(&token);
}

TEST_F(EditCycleTest, ClosingTheGroupRecomputesBeforeTheDeferredCall) {
    undo().beginUndoGrouping();
    a->setEffort(4 * kHour);
    EXPECT_EQ(a->recomputeCount, 0);
    undo().endUndoGrouping();
    EXPECT_EQ(a->recomputeCount, 1);
    EXPECT_TRUE(scenario->tasksNeedingRevalidation().empty());
    drain();  // the deferred call still fires and finds nothing to do
    EXPECT_EQ(a->recomputeCount, 1);
}

TEST_F(EditCycleTest, TasksDirtiedDuringAPassRunInThatPassWithoutANewCall) {
    bool once = true;
    a->onRecompute = [&] {
        if (once) b->_needsSchedulingRecomputation();
        once = false;
    };
    a->setEffort(5 * kHour);
    KSRunLoop::current().runOnce();
    EXPECT_EQ(a->recomputeCount, 1);
    EXPECT_EQ(b->recomputeCount, 1);
    EXPECT_FALSE(scenario->isRecomputingScheduling());
    EXPECT_FALSE(KSRunLoop::current().hasPendingWork());
}

TEST_F(EditCycleTest, LevelingRunsAtMostOncePerPassEvenWhenItDirtiesTasks) {
    project->setAutoLevelResources(true);  // levels the actual plan at once
    drain();
    scenario->levelCount = 0;
    scenario->onLevel = [&] { a->_needsSchedulingRecomputation(); };
    a->setEffort(6 * kHour);
    b->setEffort(6 * kHour);
    KSRunLoop::current().runOnce();
    EXPECT_EQ(scenario->levelCount, 1);
    EXPECT_TRUE(scenario->levelAllTasks);
    EXPECT_FALSE(scenario->undoEnabledWhileLeveling);
    EXPECT_TRUE(undo().isUndoRegistrationEnabled());
    EXPECT_EQ(a->recomputeCount, 2);  // before leveling, and once more after it
    EXPECT_EQ(b->recomputeCount, 1);
}

TEST_F(EditCycleTest, NoLevelingWithoutAutomaticLeveling) {
    a->setEffort(7 * kHour);
    drain();
    EXPECT_EQ(scenario->levelCount, 0);
}

TEST_F(EditCycleTest, DelayedLevelingRunsWhenTheDelayEnds) {
    project->setAutoLevelResources(true);  // levels the actual plan at once
    drain();
    scenario->levelCount = 0;
    scenario->setDelayAutoleveling(true);
    a->setEffort(12 * kHour);
    drain();
    EXPECT_EQ(scenario->levelCount, 0);
    EXPECT_TRUE(scenario->tasksScheduledWhileAutolevelingDelayed());
    scenario->setDelayAutoleveling(false);
    EXPECT_FALSE(scenario->tasksScheduledWhileAutolevelingDelayed());
    EXPECT_TRUE(scenario->tasksNeedingRevalidation().contains(scenario->rootTask().get()));
    drain();
    EXPECT_EQ(scenario->levelCount, 1);
}

TEST_F(EditCycleTest, TheUndoGroupPairBracketsTheTaskOnUndoAndRedo) {
    a->setEffort(9 * kHour);
    scenario->taskNeedsUndoNotification(*a);
    scenario->taskNeedsUndoNotification(*a);  // once per group
    ASSERT_NE(scenario->tasksNeedingUndoNotification(), nullptr);
    EXPECT_TRUE(a->delayingSplitRejoining());
    drain();
    EXPECT_EQ(a->groupCalls, (std::vector<std::string>{"open", "close"}));
    EXPECT_FALSE(a->delayingSplitRejoining());
    EXPECT_EQ(scenario->tasksNeedingUndoNotification(), nullptr);

    a->groupCalls.clear();
    a->recomputeCount = 0;
    undo().undo();
    EXPECT_EQ(a->effort(), KSDefaultTaskEffort);
    EXPECT_EQ(a->groupCalls, (std::vector<std::string>{"open", "close"}));
    EXPECT_EQ(a->recomputeCount, 1);  // the undo's own group closing recomputed
    EXPECT_EQ(scenario->tasksNeedingUndoNotification(), nullptr);

    a->groupCalls.clear();
    undo().redo();
    EXPECT_EQ(a->effort(), 9 * kHour);
    EXPECT_EQ(a->groupCalls, (std::vector<std::string>{"open", "close"}));
    drain();
}

TEST_F(EditCycleTest, UndoNotificationOutsideAGroupOpensOne) {
    scenario->taskNeedsUndoNotification(*b);
    EXPECT_EQ(undo().groupingLevel(), 1);
    EXPECT_EQ(b->groupCalls, (std::vector<std::string>{"open"}));
    drain();
    EXPECT_EQ(b->groupCalls, (std::vector<std::string>{"open", "close"}));
}

TEST_F(EditCycleTest, PrototypesAreNeverScheduled) {
    auto prototype = std::make_shared<RecordingTask>();
    scenario->setPrototypeTask(prototype);
    EXPECT_TRUE(prototype->isPrototype());
    scenario->taskNeedsSchedulingRecomputation(*prototype);
    EXPECT_TRUE(scenario->tasksNeedingRevalidation().empty());
    EXPECT_FALSE(KSRunLoop::current().hasPendingWork());
}

TEST_F(EditCycleTest, RenumberingAsksForAPassWhileNoTaskWaits) {
    // Renumbering alone leaves the set empty, so each request asks for a call.
    scenario->tasksNeedRenumbering();
    scenario->tasksNeedRenumbering();
    EXPECT_EQ(KSRunLoop::current().pendingCallCount(), 2u);
    // The set was empty, so this edit asks for its own call too, and for the change notice.
    a->setEffort(2 * kHour);
    EXPECT_EQ(KSRunLoop::current().pendingCallCount(), 4u);
    b->setEffort(2 * kHour);  // the set is not empty, the notice pending: no further call
    EXPECT_EQ(KSRunLoop::current().pendingCallCount(), 4u);
    drain();
    EXPECT_FALSE(KSRunLoop::current().hasPendingWork());
    EXPECT_EQ(a->recomputeCount, 1);
}

TEST_F(EditCycleTest, ProjectDidChangeCoalescesAndDropsTheMilestoneCache) {
    struct Observer : KSBaseObject {
        void observeValueForKeyPathOfObjectChangeContext(std::string_view, KSBaseObject*,
                                                         const KSKeyValueChange&,
                                                         const void*) override {
            ++count;
        }
        int count = 0;
    } observer;
    scenario->addObserverForKeyPathOptionsContext(&observer, "milestones", 0, nullptr);
    EXPECT_TRUE(scenario->milestones().empty());
    scenario->projectDidChange();
    scenario->projectDidChange();
    EXPECT_TRUE(scenario->pendingChangeNotification());
    drain();
    EXPECT_EQ(changeNotifications, 1);
    EXPECT_EQ(observer.count, 1);
    scenario->performProjectChanges();  // nothing pending: nothing posted
    EXPECT_EQ(changeNotifications, 1);
    scenario->milestonesWillChange();
    scenario->milestonesDidChange();
    EXPECT_EQ(observer.count, 2);
    scenario->removeObserver(&observer);
}

TEST_F(EditCycleTest, CriticalPathsAreRecalculatedAndUndoable) {
    struct CountingPath : KSCriticalPath {
        using KSCriticalPath::KSCriticalPath;
        void recalculatePath() override { ++count; }
        int count = 0;
    };
    ASSERT_EQ(scenario->criticalPaths().size(), 1u);
    EXPECT_EQ(scenario->rootTask()->criticalPathRoot(), scenario->criticalPaths()[0].get());
    auto path = std::make_shared<CountingPath>(a);
    scenario->addCriticalPath(path);
    EXPECT_EQ(path->count, 1);
    EXPECT_EQ(a->criticalPathRoot(), path.get());
    auto replacement = std::make_shared<CountingPath>(a);
    scenario->addCriticalPath(replacement);
    EXPECT_EQ(scenario->criticalPaths().size(), 2u);
    EXPECT_EQ(a->criticalPathRoot(), replacement.get());
    b->setEffort(1 * kHour);
    KSRunLoop::current().runOnce();
    EXPECT_EQ(replacement->count, 3);  // added, then the deferred pass and the group close
    drain();
    undo().undo();
    EXPECT_EQ(scenario->criticalPaths().size(), 1u);
    EXPECT_EQ(a->criticalPathRoot(), nullptr);
}

TEST_F(EditCycleTest, MembershipCallbacksFeedTheEngines) {
    auto* engine = scenario->taskDifferenceEngine();
    engine->discardChanges();
    a->setObjectId(42);
    scenario->taskWillBeInserted(*a);
    EXPECT_EQ(engine->objectWithId(42), a);
    scenario->taskWillBeRemoved(*a);
    ASSERT_EQ(engine->currentEvents().size(), 2u);
    EXPECT_EQ(engine->currentEvents()[1].kind, TMDifferenceEngine::EventKind::WillDelete);
    auto prototype = std::make_shared<KSResource>();
    prototype->setIsPrototype(true);
    prototype->setObjectId(7);
    scenario->resourceWillBeInserted(*prototype);
    EXPECT_EQ(scenario->resourceDifferenceEngine()->objectWithId(7), nullptr);
    auto resource = std::make_shared<KSResource>();
    resource->setObjectId(8);
    scenario->resourceWillBeInserted(*resource);
    EXPECT_EQ(scenario->resourceDifferenceEngine()->objectWithId(8), resource);
}

TEST_F(EditCycleTest, ProjectChangesAreTrackedOnTheMetadataEngine) {
    auto* metadata = scenario->metadataDifferenceEngine();
    metadata->discardChanges();
    project->setAutoLevelResources(true);
    ASSERT_EQ(metadata->currentEvents().size(), 2u);
    EXPECT_EQ(metadata->currentEvents()[0].kind, TMDifferenceEngine::EventKind::WillChange);
    EXPECT_EQ(metadata->currentEvents()[1].objectId, 1);
    project->setLoadingScenario(true);
    project->setAutoLevelResources(false);
    EXPECT_EQ(metadata->currentEvents().size(), 2u);
    project->setLoadingScenario(false);
    scenario->setScheduleGranularity(KSScheduleGranularityDays);
    EXPECT_EQ(metadata->currentEvents().size(), 4u);
}

}  // namespace
}  // namespace kestrum::test
