// Changes of task type and split state, and the enumerations' strings.
#include "Model/tasks/KSDependency.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class TaskTypeTest : public PlanTest {};

TEST_F(TaskTypeTest, AnEmptyGroupBecomesATaskWithTheDefaultEffort) {
    auto g = group("G");
    drain();
    ASSERT_TRUE(g->isGroup());
    EXPECT_EQ(g->effort(), 0.0);
    g->setTaskType(taskTypeTask);
    EXPECT_FALSE(g->isGroup());
    EXPECT_EQ(g->children(), std::nullopt);
    EXPECT_EQ(g->taskType(), taskTypeTask);
    EXPECT_EQ(g->effort(), 28800.0);
    EXPECT_EQ(g->effortDone(), 0.0);
    EXPECT_EQ(root().effort(), 28800.0);
    drain();
    EXPECT_EQ(undo().undoActionName(), "Set Task Type");
    undo().undo();
    EXPECT_TRUE(g->isGroup());
    EXPECT_EQ(g->effort(), 0.0);
    EXPECT_EQ(root().effort(), 0.0);
}

TEST_F(TaskTypeTest, AMilestoneHalfDoneBecomesATaskWithHalfTheDefaultEffortDone) {
    auto m = milestone("M");
    m->setCompleted(0.5);
    EXPECT_EQ(m->storedEffortDone(), 0.5);
    EXPECT_EQ(m->effortDone(), 0.0);  // a fraction, not work
    m->setTaskType(taskTypeTask);
    EXPECT_EQ(m->effort(), 28800.0);
    EXPECT_EQ(m->effortDone(), 14400.0);
    EXPECT_DOUBLE_EQ(m->completed(), 0.5);
}

TEST_F(TaskTypeTest, ATaskBecomesAMilestoneAtZeroUnlessItWasComplete) {
    auto open = task("Open");
    open->setCompleted(0.7);
    open->setTaskType(taskTypeMilestone);
    EXPECT_TRUE(open->isMilestone());
    EXPECT_EQ(open->effort(), 0.0);
    EXPECT_EQ(open->completed(), 0.0);
    EXPECT_EQ(open->effortNumber(), KSValue());

    auto done = task("Done");
    done->setCompleted(1.0);
    done->setTaskType(taskTypeMilestone);
    EXPECT_EQ(done->completed(), 1.0);
    EXPECT_EQ(done->status(), KSTaskStatusCompleted);
    EXPECT_EQ(root().effort(), 0.0);
}

TEST_F(TaskTypeTest, AGroupWithAChildStaysAGroup) {
    auto g = group("G");
    task("A", 4.0, g);
    for (KSTaskType type : {taskTypeTask, taskTypeMilestone, taskTypeHammock}) {
        g->setTaskType(type);
        EXPECT_EQ(g->taskType(), taskTypeGroup);
        EXPECT_TRUE(g->isGroup());
        EXPECT_EQ(g->effort(), 4 * kHour);
    }
}

TEST_F(TaskTypeTest, AHammockNeedsALinkIntoEachEnd) {
    auto before = task("Before");
    auto after = task("After");
    auto h = task("H");
    h->setTaskType(taskTypeHammock);
    EXPECT_EQ(h->taskType(), taskTypeTask);
    KSDependency::dependencyWithPrerequisiteAndDependentAndKind(before.get(), h.get(),
                                                                KSDependencyFinishToStart);
    h->setTaskType(taskTypeHammock);
    EXPECT_EQ(h->taskType(), taskTypeTask);
    KSDependency::dependencyWithPrerequisiteAndDependentAndKind(after.get(), h.get(),
                                                                KSDependencyFinishToFinish);
    EXPECT_TRUE(h->canBecomeHammock());
    h->setIsEndDateLocked(true);
    h->setTaskType(taskTypeHammock);
    EXPECT_TRUE(h->isHammockTask());
    EXPECT_FALSE(h->isEndDateLocked());  // locks are cleared on becoming one
}

TEST_F(TaskTypeTest, BecomingAGroupDropsLocksEffortAndLinksIntoTheEnd) {
    auto other = task("Other");
    auto t = task("T", 6.0);
    auto link = KSDependency::dependencyWithPrerequisiteAndDependentAndKind(
        other.get(), t.get(), KSDependencyFinishToFinish);
    t->setIsEndDateLocked(true);
    t->setCompleted(0.5);
    ASSERT_EQ(root().effort(), 14 * kHour);
    t->setIsGroup(true);
    EXPECT_TRUE(t->isGroup());
    EXPECT_FALSE(t->isEndDateLocked());
    EXPECT_FALSE(link->dependentAlignedToEnd());
    EXPECT_EQ(t->effort(), 0.0);
    EXPECT_EQ(t->storedEffortDone(), 0.0);
    EXPECT_EQ(t->minEffortEstimate(), 0.0);
    EXPECT_EQ(t->maxEffortEstimate(), 0.0);
    EXPECT_EQ(root().effort(), 8 * kHour);
    EXPECT_EQ(root().effortDone(), 0.0);
}

TEST_F(TaskTypeTest, ASplitTaskHoldsItsChunksAndRejoinsToAPlainTask) {
    auto t = task("Work", 8.0);
    auto first = std::make_shared<KSTask>();
    first->setEffort(5 * kHour);
    auto second = std::make_shared<KSTask>();
    second->setEffort(3 * kHour);
    t->setTaskTypeSplitTaskWithSplitChildren(taskTypeTask, true, KSTaskList{first, second});
    EXPECT_TRUE(t->isSplitTask());
    EXPECT_FALSE(t->isGroup());
    EXPECT_EQ(t->taskType(), taskTypeTask);
    EXPECT_TRUE(first->isSplitChunk());
    EXPECT_EQ(t->effort(), 8 * kHour);
    EXPECT_EQ(root().effort(), 8 * kHour);
    EXPECT_EQ(first->title(), "Work #1");
    EXPECT_EQ(second->title(), "Work #2");
    // Completion fills the chunks from the first on.
    t->setEffortDone(6 * kHour);
    EXPECT_EQ(first->effortDone(), 5 * kHour);
    EXPECT_EQ(second->effortDone(), 1 * kHour);

    t->setTaskTypeSplitTask(taskTypeTask, false);
    EXPECT_FALSE(t->isSplitTask());
    EXPECT_EQ(t->children(), std::nullopt);
    EXPECT_EQ(t->effort(), 8 * kHour);
    EXPECT_EQ(t->effortDone(), 6 * kHour);
    EXPECT_EQ(root().effort(), 8 * kHour);
}

TEST(TaskEnumerationTest, TypeWordsAndDisplayStrings) {
    EXPECT_EQ(stringForTaskType(taskTypeGroup), "Group");
    EXPECT_EQ(taskTypeForString("Hammock"), taskTypeHammock);
    EXPECT_EQ(taskTypeForString("Milestone"), taskTypeMilestone);
    EXPECT_EQ(taskTypeForString("Plan"), -1);
    EXPECT_EQ(taskTypeForString(""), -1);
    EXPECT_EQ(displayStringForTaskType(taskTypeMilestone), "milestone");
    EXPECT_EQ(pluralDisplayStringForTaskType(taskTypeGroup), "Groups");
    EXPECT_EQ(displayStringForResourceAssignmentType(KSResourceAssignmentBothFixed),
              "variable units");
    EXPECT_EQ(displayStringForStatus(KSTaskStatusNone), std::nullopt);
    EXPECT_EQ(displayStringForStatus(KSTaskStatusCompleted), std::nullopt);
    EXPECT_EQ(displayStringForStatus(KSTaskStatusPastDue), "overdue");
    EXPECT_EQ(displayStringForStatus(KSTaskStatusDueToday), "due in less than one day");
    EXPECT_EQ(scheduleTypeForString("alap"), scheduleTypeALAP);
    EXPECT_EQ(scheduleTypeForString("late"), std::nullopt);
    EXPECT_EQ(stringForScheduleType(scheduleTypeASAP), "asap");
}

TEST_F(TaskTypeTest, TheRootTaskSpeaksOfThePlan) {
    EXPECT_EQ(root().localizedTaskTypeString(), "Plan");
    EXPECT_EQ(root().localizedPluralTaskTypeString(), "Plans");
    EXPECT_EQ(task("T")->localizedTaskTypeString(), "task");
}

}  // namespace
}  // namespace kestrum::test
