// Flat and hierarchical numbers of a nested tree, before and after moves.
#include "support/NoticeRecorder.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

// A, B, C (C1, C2 (C2a)), D
class TaskNumberingTest : public PlanTest {
protected:
    void SetUp() override {
        PlanTest::SetUp();
        a = task("A");
        b = task("B");
        c = group("C");
        c1 = task("C1", c);
        c2 = group("C2", c);
        c2a = task("C2a", c2);
        d = task("D");
        drain();
    }
    std::string numbers() {
        std::string text;
        for (const auto& t : root().allTasksButSelf()) {
            if (!text.empty()) text += " ";
            text += *t->title() + "=" + std::to_string(t->numericalOrder()) + "/" + t->wbsNumber();
        }
        return text;
    }
    std::shared_ptr<KSTask> a, b, c, c1, c2, c2a, d;
};

TEST_F(TaskNumberingTest, ANestedTreeInBothForms) {
    EXPECT_EQ(root().numericalOrder(), 0);
    EXPECT_EQ(root().wbsNumber(), "0");
    EXPECT_EQ(numbers(), "A=1/1 B=2/2 C=3/3 C1=4/3.1 C2=5/3.2 C2a=6/3.2.1 D=7/4");
    EXPECT_EQ(c2->headingString(), "3.2)");
    project->setUseFlatNumbering(true);
    EXPECT_EQ(c2->headingString(), "5)");
    EXPECT_EQ(c2->positionalIDString(), "5");
}

TEST_F(TaskNumberingTest, NumbersFollowAMove) {
    root().insertObjectInChildrenAtIndex(a, 4);
    EXPECT_EQ(numbers(), "B=1/1 C=2/2 C1=3/2.1 C2=4/2.2 C2a=5/2.2.1 D=6/3 A=7/4");
    c2->addChildTask(d);
    EXPECT_EQ(numbers(), "B=1/1 C=2/2 C1=3/2.1 C2=4/2.2 C2a=5/2.2.1 D=6/2.2.2 A=7/3");
    drain();
    undo().undo();
    EXPECT_EQ(numbers(), "A=1/1 B=2/2 C=3/3 C1=4/3.1 C2=5/3.2 C2a=6/3.2.1 D=7/4");
}

TEST_F(TaskNumberingTest, AMoveThatKeepsTheFlatNumberShowsOnlyInHierarchicalMode) {
    // C2a moves out to right after C: its flat number stays 6, its WBS number changes.
    for (bool flat : {true, false}) {
        project->setUseFlatNumbering(flat);
        root().recomputeNumericalOrder();
        c2->removeChildTask(c2a);
        c2->addChildTask(c2a);
        root().recomputeNumericalOrder();
        NoticeRecorder recorder;
        c2a->addObserverForKeyPathOptionsContext(&recorder, "headingString",
                                                 KSKeyValueObservingOptionPrior, nullptr);
        root().insertObjectInChildrenAtIndex(c2a, 3);
        EXPECT_EQ(c2a->numericalOrder(), 6);
        EXPECT_EQ(c2a->wbsNumber(), "4");
        EXPECT_EQ(recorder.notices.empty(), flat) << (flat ? "flat" : "hierarchical");
        c2a->removeObserver(&recorder);
    }
}

TEST_F(TaskNumberingTest, ASplitTaskTakesOneNumberAndItsChunksAnswerIt) {
    auto first = std::make_shared<KSTask>();
    auto second = std::make_shared<KSTask>();
    b->setTaskTypeSplitTaskWithSplitChildren(taskTypeTask, true, KSTaskList{first, second});
    EXPECT_EQ(b->numericalOrder(), 2);
    EXPECT_EQ(first->numericalOrder(), 2);
    EXPECT_EQ(second->numericalOrder(), 2);
    EXPECT_EQ(second->wbsNumber(), "2");
    EXPECT_EQ(c->numericalOrder(), 3);
}

TEST_F(TaskNumberingTest, GatheringWalks) {
    auto gate = milestone("Gate", c2);
    KSTaskList leaves;
    root().addLeafTasksToArray(leaves);
    EXPECT_EQ(leaves.size(), 6u);  // A B C1 C2a Gate D
    ASSERT_TRUE(root().leafDescendentSet().has_value());
    EXPECT_EQ(root().leafDescendentSet()->size(), 6u);
    EXPECT_EQ(c->leafDescendentSet(), std::nullopt);
    EXPECT_EQ(root().milestones(), KSTaskList{gate});
    EXPECT_EQ(root().tasksWithName("C2a"), KSTaskList{c2a});
    KSTaskList standard;
    c->addStandardTaskDescendentsToArray(standard);
    EXPECT_EQ(standard, (KSTaskList{c1, c2a}));
    KSTaskList withMilestones;
    gate->addStandardTaskAndMilestoneDescendentsToArray(withMilestones);
    EXPECT_EQ(withMilestones, KSTaskList{gate});
    EXPECT_EQ(root().unassignedTasks().size(), 6u);  // groups are not counted, milestones are
}

}  // namespace
}  // namespace kestrum::test
