// Copies through the file form keep every field.
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class TaskCopyTest : public PlanTest {};

TEST_F(TaskCopyTest, ACopyKeepsEveryField) {
    project->setTaskUserDataKeys({"Owner"});
    auto t = task("Design", 6.0);
    t->setMaxEffortEstimate(10 * kHour);
    t->setEffortDone(2 * kHour);
    t->setPriority(7);
    t->setScheduleType(scheduleTypeALAP);
    t->setStartLockedDate(KSDateTime(30, 9 * 3600.0));
    t->setEndAfter(KSDateTime(12, 13 * 3600.0));
    t->setStartBefore(KSDateTime(40, 8 * 3600.0));
    t->setStaticCost(125.5);
    t->setResourceAssignmentType(KSResourceAssignmentBothFixed);
    t->setIsSplittableTask(false);
    t->setUserDataForKey("ann", "Owner");

    std::shared_ptr<KSTask> c = t->copy();
    ASSERT_TRUE(c);
    EXPECT_EQ(c->title(), "Design");
    EXPECT_EQ(c->effort(), t->effort());
    EXPECT_EQ(c->minEffortEstimate(), t->minEffortEstimate());
    EXPECT_EQ(c->maxEffortEstimate(), 10 * kHour);
    EXPECT_EQ(c->effortDone(), 2 * kHour);
    EXPECT_EQ(c->priority(), 7);
    EXPECT_EQ(c->scheduleType(), scheduleTypeALAP);
    EXPECT_TRUE(c->startLockedDate().isEqualToDate(t->startLockedDate()));
    EXPECT_TRUE(c->endAfter().isEqualToDate(t->endAfter()));
    EXPECT_TRUE(c->startBefore().isEqualToDate(t->startBefore()));
    EXPECT_EQ(c->staticCost(), 125.5);
    EXPECT_EQ(c->resourceAssignmentType(), KSResourceAssignmentBothFixed);
    EXPECT_FALSE(c->isSplittableTask());
    EXPECT_EQ(c->userDataForKey("Owner"), "ann");
    EXPECT_EQ(c->parent(), nullptr);
    EXPECT_EQ(c->scenario(), scenario.get());
}

TEST_F(TaskCopyTest, AGroupCopiesWithOrWithoutItsSubtasks) {
    auto g = group("G");
    auto gate = milestone("Gate", g);
    gate->setCompleted(1.0);
    task("A", 3.0, g);
    auto inner = group("Inner", g);
    task("B", 2.0, inner);

    auto whole = g->copyIncludingSubtasks(true);
    ASSERT_TRUE(whole);
    ASSERT_EQ(whole->countOfChildren(), 3u);
    EXPECT_TRUE(whole->childTaskAtIndex(0)->isMilestone());
    EXPECT_EQ(whole->childTaskAtIndex(0)->completed(), 1.0);
    EXPECT_EQ(whole->childTaskAtIndex(2)->title(), "Inner");
    EXPECT_EQ(whole->childTaskAtIndex(2)->effort(), 2 * kHour);
    EXPECT_EQ(whole->effort(), 5 * kHour);

    auto alone = g->copy();
    ASSERT_TRUE(alone);
    EXPECT_TRUE(alone->isGroup());
    EXPECT_EQ(alone->countOfChildren(), 0u);
    EXPECT_EQ(alone->effort(), 0.0);
}

TEST_F(TaskCopyTest, ACopyJoinsTheTreeAsANewTask) {
    auto t = task("T", 4.0);
    auto c = t->copy();
    root().addChildTask(c);
    EXPECT_EQ(root().effort(), 8 * kHour);
    EXPECT_EQ(c->numericalOrder(), 2);
    EXPECT_EQ(undo().undoActionName(), "Add Task");
}

}  // namespace
}  // namespace kestrum::test
