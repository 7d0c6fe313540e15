// Attaching a scenario to a project, ids drawn from the project, invalidation.
#include <gtest/gtest.h>

#include "Model/changes/KSDifferenceEngine.h"
#include "Model/resources/KSResource.h"
#include "ProjectFixture.h"

namespace kestrum::test {
namespace {

TEST_F(ProjectTest, AttachingMakesRootsEnginesAndAPath) {
    EXPECT_EQ(scenario->name(), "Actual");
    EXPECT_EQ(project->firstScenario(), scenario.get());
    ASSERT_NE(scenario->rootTask(), nullptr);
    EXPECT_EQ(scenario->rootTask()->objectId(), -1);
    EXPECT_EQ(scenario->rootTask()->scenario(), scenario.get());
    EXPECT_FALSE(scenario->rootTask()->title().has_value());
    EXPECT_EQ(scenario->rootResource()->objectId(), -1);
    EXPECT_EQ(scenario->rootResource()->project(), project.get());
    EXPECT_EQ(scenario->objectId(), 1);
    scenario->setObjectId(5);
    EXPECT_EQ(scenario->objectId(), 1);
    EXPECT_EQ(scenario->differenceEngine(), scenario->metadataDifferenceEngine());
    EXPECT_EQ(scenario->metadataDifferenceEngine()->objectWithId(1), scenario);
    EXPECT_FALSE(scenario->taskDifferenceEngine()->isLoading());
    EXPECT_EQ(scenario->scheduleGranularity(), KSScheduleGranularityExact);
    EXPECT_FALSE(undo().canUndo());  // attaching is no edit
    EXPECT_EQ(scenario->scenarioUUID(), scenario->scenarioUUID());
    EXPECT_FALSE(scenario->scenarioUUID().empty());
}

TEST_F(ProjectTest, EnginesDrawIdsFromTheProjectCounters) {
    auto* tasks = scenario->taskDifferenceEngine();
    EXPECT_EQ(tasks->nextObjectId(), 1);
    tasks->setNextObjectId(12);
    EXPECT_EQ(project->nextTaskId(), 12);
    EXPECT_EQ(project->valueForKey("nextTaskId"), KSValue(12));
    project->setNextResourceId(30);
    EXPECT_EQ(scenario->resourceDifferenceEngine()->nextObjectId(), 30);
}

TEST_F(ProjectTest, InvalidationDetachesEverythingAndStopsRecomputation) {
    auto task = std::make_shared<RecordingTask>();
    root().insertObjectInChildrenAtIndex(task, 0);
    drain();
    task->recomputeCount = 0;  // joining the plan scheduled it once
    int invalidations = 0;
    auto token = KSNotificationCenter::defaultCenter().addObserver(
        nullptr, KSProjectInvalidateNotification, scenario.get(),
        [&](const KSNotification&) { ++invalidations; });
    auto rootTask = scenario->rootTask();
    project->invalidate();
    KSNotificationCenter::defaultCenter().removeObserver(token);
    EXPECT_EQ(invalidations, 1);
    EXPECT_TRUE(scenario->isInvalid());
    EXPECT_EQ(scenario->project(), nullptr);
    EXPECT_EQ(rootTask->scenario(), nullptr);
    EXPECT_EQ(scenario->taskDifferenceEngine()->object(), nullptr);
    EXPECT_EQ(scenario->metadataDifferenceEngine()->objectWithId(1), nullptr);
    scenario->taskNeedsSchedulingRecomputation(*task);
    drain();
    EXPECT_EQ(task->recomputeCount, 0);
}

TEST_F(ProjectTest, RemovingAScenarioStopsItsUndoObservation) {
    auto other = std::make_shared<CountingScenario>();
    project->addScenario(other);
    EXPECT_EQ(project->scenarioPlaceholders().size(), 2u);
    project->removeScenario(other);
    EXPECT_EQ(other->project(), nullptr);
    auto task = std::make_shared<RecordingTask>();
    root().insertObjectInChildrenAtIndex(task, 0);
    drain();  // the removed scenario no longer hears the group notifications
    EXPECT_EQ(other->tasksNeedingUndoNotification(), nullptr);
}

TEST(GranularityTest, ArchiveStringsReadUnknownAsExact) {
    EXPECT_EQ(KSScheduleGranularityArchiveString(KSScheduleGranularityHours), "hours");
    EXPECT_EQ(KSScheduleGranularityFromArchiveString("days"), KSScheduleGranularityDays);
    EXPECT_EQ(KSScheduleGranularityFromArchiveString("weekly"), KSScheduleGranularityExact);
}

}  // namespace
}  // namespace kestrum::test
