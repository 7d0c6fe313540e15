// Roll-up of effort, effort done, estimates and cost into groups; the effort setters.
#include "Model/engine/KSIssue.h"
#include "Platform/core/KSNotificationCenter.h"
#include "support/NoticeRecorder.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

// G1 (G2 (t1 8h, t2 4h), t3 2h)
class TaskRollUpTest : public PlanTest {
protected:
    void SetUp() override {
        PlanTest::SetUp();
        g1 = group("G1");
        g2 = group("G2", g1);
        t1 = task("t1", 8.0, g2);
        t2 = task("t2", 4.0, g2);
        t3 = task("t3", 2.0, g1);
        drain();
    }
    std::shared_ptr<KSTask> g1, g2, t1, t2, t3;
};

TEST_F(TaskRollUpTest, EffortRollsUpThroughThreeLevelsWithUndo) {
    EXPECT_EQ(g2->effort(), 12 * kHour);
    EXPECT_EQ(g1->effort(), 14 * kHour);
    EXPECT_EQ(root().effort(), 14 * kHour);
    t1->setEffort(10 * kHour);
    EXPECT_EQ(g2->effort(), 14 * kHour);
    EXPECT_EQ(g1->effort(), 16 * kHour);
    EXPECT_EQ(root().effort(), 16 * kHour);
    EXPECT_EQ(g1->maxEffortEstimate(), 16 * kHour);
    drain();
    EXPECT_EQ(undo().undoActionName(), "Set Effort");
    undo().undo();
    EXPECT_EQ(t1->effort(), 8 * kHour);
    EXPECT_EQ(g2->effort(), 12 * kHour);
    EXPECT_EQ(g1->effort(), 14 * kHour);
    EXPECT_EQ(g1->minEffortEstimate(), 14 * kHour);
    undo().redo();
    EXPECT_EQ(g1->effort(), 16 * kHour);
}

TEST_F(TaskRollUpTest, DoneAndCostRollUpWithUndo) {
    t1->setCompleted(0.5);
    EXPECT_EQ(g2->effortDone(), 4 * kHour);
    EXPECT_EQ(g1->effortDone(), 4 * kHour);
    t1->setStaticCost(100.0);
    t3->setStaticCost(50.0);
    EXPECT_EQ(g2->staticCost(), 100.0);
    EXPECT_EQ(g1->staticCost(), 150.0);
    EXPECT_EQ(root().staticCost(), 150.0);
    drain();
    undo().undo();
    EXPECT_EQ(t1->staticCost(), 0.0);
    EXPECT_EQ(g1->staticCost(), 0.0);
    EXPECT_EQ(g1->effortDone(), 0.0);
}

TEST_F(TaskRollUpTest, MovingBetweenGroupsMovesTheTotals) {
    auto other = group("Other");
    drain();
    other->addChildTask(t2);
    EXPECT_EQ(g2->effort(), 8 * kHour);
    EXPECT_EQ(g1->effort(), 10 * kHour);
    EXPECT_EQ(other->effort(), 4 * kHour);
    EXPECT_EQ(root().effort(), 14 * kHour);
    g2->insertObjectInChildrenAtIndex(t1, 2);  // a move inside the group changes nothing
    EXPECT_EQ(g2->effort(), 8 * kHour);
    drain();
    undo().undo();
    EXPECT_EQ(g2->effort(), 12 * kHour);
    EXPECT_EQ(other->effort(), 0.0);
}

TEST_F(TaskRollUpTest, RemovingTheLastChildLeavesAnEmptyGroup) {
    g2->removeChildTask(t1);
    g2->removeChildTask(t2);
    EXPECT_TRUE(g2->isGroup());
    EXPECT_EQ(g2->children()->size(), 0u);
    EXPECT_EQ(g2->effort(), 0.0);
    EXPECT_EQ(g1->effort(), 2 * kHour);
}

TEST_F(TaskRollUpTest, AGroupSumsItsChildrenWhenLoadingEnds) {
    auto loaded = std::make_shared<KSTask>();
    loaded->setIsLoading(true);
    g1->addChildTask(loaded);
    loaded->setIsGroup(true);
    auto a = std::make_shared<KSTask>();
    a->setEffort(3 * kHour);
    loaded->addChildTask(a);
    EXPECT_EQ(loaded->effort(), 0.0);  // differences are ignored while loading
    loaded->setIsLoading(false);
    EXPECT_EQ(loaded->effort(), 3 * kHour);
    EXPECT_EQ(g1->effort(), 17 * kHour);
}

TEST_F(TaskRollUpTest, HooksAreSilentWhileLeveling) {
    NoticeRecorder recorder;
    g1->addObserverForKeyPathOptionsContext(&recorder, "effort", KSKeyValueObservingOptionPrior,
                                            nullptr);
    scenario->setIsLevelingResources(true);
    t3->setEffort(3 * kHour);
    EXPECT_TRUE(recorder.notices.empty());
    scenario->setIsLevelingResources(false);
    EXPECT_EQ(g1->effort(), 15 * kHour);
    t3->setEffort(4 * kHour);
    EXPECT_EQ(recorder.notices, (std::vector<std::string>{"will:effort", "did:effort"}));
    g1->removeObserver(&recorder);
}

class TaskEffortTest : public PlanTest {};

TEST_F(TaskEffortTest, EffortIsRoundedAndAnEqualValueRecordsNothing) {
    auto t = task("T");
    t->setEffort(100.4);
    EXPECT_EQ(t->effort(), 100.0);
    drain();
    std::size_t count = undo().undoCount();
    t->setEffort(100.4);
    drain();
    EXPECT_EQ(undo().undoCount(), count);
}

TEST_F(TaskEffortTest, ThreeEstimatesGiveTheWeightedMean) {
    auto t = task("T");
    t->setMinEffortEstimate(3600.0);
    t->setExpectedEffortEstimate(7200.0);
    t->setMaxEffortEstimate(14400.0);
    EXPECT_EQ(t->effort(), 7800.0);
    EXPECT_EQ(t->minEffortEstimate(), 3600.0);
    // A directly entered effort collapses the estimates onto itself.
    t->setEffort(5000.0);
    EXPECT_EQ(t->minEffortEstimate(), 5000.0);
    EXPECT_EQ(t->maxEffortEstimate(), 5000.0);
    // A minimum above the maximum raises the maximum.
    t->setMinEffortEstimate(9000.0);
    EXPECT_EQ(t->maxEffortEstimate(), 9000.0);
}

TEST_F(TaskEffortTest, DoneAboveEffortRaisesItAndLowerEffortLowersDone) {
    auto t = task("T", 2.0);
    t->setEffortDone(3 * kHour);
    EXPECT_EQ(t->effort(), 3 * kHour);
    EXPECT_EQ(t->effortDone(), 3 * kHour);
    t->setEffort(1 * kHour);
    EXPECT_EQ(t->effortDone(), 1 * kHour);
    EXPECT_EQ(root().effortDone(), 1 * kHour);
    EXPECT_EQ(t->completedPercentage(), 100);
}

TEST_F(TaskEffortTest, AGroupRefusesEffortWithAnErrorForTheUser) {
    auto g = group("G");
    g->setEffort(5.0);
    g->setEffortDone(5.0);
    EXPECT_EQ(g->effort(), 0.0);
    ASSERT_EQ(document.errors.size(), 1u);
    EXPECT_EQ(document.errors[0].domain(), "Kestrum");
    EXPECT_EQ(document.errors[0].localizedDescription(),
              "Can't set effort directly on a group\nUID: " + std::to_string(g->objectId()) +
                  "\nTitle: G");
    auto t = task("T");
    t->setEffort(-1.0);
    EXPECT_EQ(document.errors.back().localizedDescription(),
              "The effort must be greater than zero.");
    EXPECT_EQ(t->effort(), 28800.0);
}

TEST_F(TaskEffortTest, AnEffortBeyondTheMaximumIsCappedWithAWarning) {
    auto t = task("T");
    t->setEffort(1e9);
    EXPECT_EQ(t->effort(), KSMaximumTaskEffort);
    EXPECT_TRUE(t->hasIssuesOfKind(KSIssue::maximumEffortIssueKind()));
    EXPECT_EQ(scenario->warningCount(), 1u);
    t->setEffort(10.0);
    EXPECT_FALSE(t->hasIssuesOfKind(KSIssue::maximumEffortIssueKind()));
    EXPECT_EQ(scenario->warningCount(), 0u);
}

TEST_F(TaskEffortTest, LeavingThePlanTakesTheIssueCountsAlong) {
    auto g = group("G");
    auto t = task("T", g);
    t->addIssue(std::make_shared<KSMaximumEffortExceededError>());
    auto error = std::make_shared<KSIssue>();
    t->addIssue(error);  // generic: counted nowhere
    EXPECT_EQ(scenario->warningCount(), 1u);
    EXPECT_EQ(scenario->errorCount(), 0u);
    g->deleteSelf();
    EXPECT_EQ(scenario->warningCount(), 0u);
    EXPECT_EQ(t->scenario(), nullptr);
    EXPECT_EQ(t->issues().size(), 2u);
}

TEST_F(TaskEffortTest, ChangingEffortMovesTheEndAndAnnouncesIt) {
    auto t = task("T", 8.0);
    drain();
    KSDateTime start = t->startDate();
    KSDateTime end = t->endDate();
    EXPECT_EQ(end.dayNumber(), start.dayNumber());
    int posted = 0;
    auto token = KSNotificationCenter::defaultCenter().addObserver(
        nullptr, KSTaskWillInvalidateDatesNotification, t.get(),
        [&](const KSNotification&) { ++posted; });
    t->setEffort(16 * kHour);
    KSNotificationCenter::defaultCenter().removeObserver(token);
    EXPECT_EQ(posted, 1);
    EXPECT_TRUE(t->willRevalidateSchedule());
    drain();
    EXPECT_FALSE(t->willRevalidateSchedule());
    EXPECT_TRUE(t->startDate().isEqualToDate(start));
    EXPECT_EQ(t->endDate().dayNumber(), start.dayNumber() + 1);
    EXPECT_TRUE(root().endDate().isEqualToDate(t->endDate()));
}

}  // namespace
}  // namespace kestrum::test
