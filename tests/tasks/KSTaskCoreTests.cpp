// Titles, priority, order, links and life in a plan.
#include "Model/changes/KSDifferenceEngine.h"
#include "Model/engine/KSIssue.h"
#include "Model/tasks/KSDependency.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class TaskCoreTest : public PlanTest {};

TEST_F(TaskCoreTest, TheFirstNamingIsNotUndoableButARenameIs) {
    auto t = std::make_shared<KSTask>();
    root().addChildTask(t);
    drain();
    std::size_t count = undo().undoCount();
    t->setTitle("Draft");
    drain();
    EXPECT_EQ(undo().undoCount(), count);
    t->setTitle("Final");
    drain();
    EXPECT_EQ(undo().undoActionName(), "Set Title");
    undo().undo();
    EXPECT_EQ(t->title(), "Draft");
    EXPECT_EQ(t->objectDescription(), "Task Draft");
}

TEST_F(TaskCoreTest, PriorityIsUndoableAndShownOnlyForStandardTasks) {
    auto t = task("T");
    auto m = milestone("M");
    t->setPriority(5);
    EXPECT_EQ(t->priorityNumber(), KSValue(5));
    EXPECT_EQ(m->priorityNumber(), KSValue());
    t->setPriorityNumber(KSValue());
    EXPECT_EQ(t->priority(), 0);
    t->setValueForKey(KSValue(), "priority");
    EXPECT_EQ(t->priority(), 0);
    t->setValueForKey(KSValue(9), "priority");
    EXPECT_EQ(t->priority(), 9);
    EXPECT_EQ(undo().undoActionName(), "Set Priority");
}

TEST_F(TaskCoreTest, PriorityOrdersForSchedulingThenPosition) {
    auto a = task("A");
    auto b = task("B");
    auto c = task("C");
    EXPECT_EQ(a->compareByPriority(*b), KSOrderedAscending);
    b->setPriority(10);
    EXPECT_EQ(b->compareByPriority(*a), KSOrderedAscending);
    EXPECT_EQ(b->compareByReversePriority(*a), KSOrderedDescending);
    // An end-anchored plan reverses the fall-back to position, and puts ALAP first.
    scenario->setHasFixedEndDate(true);
    EXPECT_EQ(a->compareByPriority(*c), KSOrderedDescending);
    c->setScheduleType(scheduleTypeALAP);
    EXPECT_EQ(c->compareByPriority(*b), KSOrderedAscending);
    // The reverse position comparison is the same comparison.
    EXPECT_EQ(a->compareByReversePosition(*c), a->compareByPosition(*c));
    EXPECT_EQ(a->compareByEffort(*b), KSOrderedSame);
}

TEST_F(TaskCoreTest, AURLNamesTheDocumentAndTheTasks) {
    auto a = task("A");
    auto b = task("B");
    EXPECT_EQ(a->url(), std::nullopt);
    document.file = "/Users/ann/My Plan.kestrum";
    EXPECT_EQ(KSTask::urlForTasks({a, b}), "kestrum://localhost/Users/ann/My%20Plan.kestrum/task/" +
                                               std::to_string(a->objectId()) + "," +
                                               std::to_string(b->objectId()));
}

TEST_F(TaskCoreTest, LeavingThePlanRemovesLinksAndUndoBringsThemBack) {
    auto a = task("A");
    auto b = task("B");
    auto c = task("C");
    KSDependency::dependencyWithPrerequisiteAndDependentAndKind(a.get(), b.get(),
                                                                KSDependencyFinishToStart);
    KSDependency::dependencyWithPrerequisiteAndDependentAndKind(b.get(), c.get(),
                                                                KSDependencyFinishToStart);
    drain();
    b->deleteSelf();
    EXPECT_TRUE(a->dependents().empty());
    EXPECT_TRUE(c->prerequisites().empty());
    EXPECT_EQ(b->scenario(), nullptr);
    EXPECT_EQ(root().countOfChildren(), 2u);
    drain();
    undo().undo();
    EXPECT_EQ(root().countOfChildren(), 3u);
    EXPECT_EQ(b->scenario(), scenario.get());
    EXPECT_EQ(a->dependents().size(), 1u);
    EXPECT_EQ(c->prerequisites().size(), 1u);
}

TEST_F(TaskCoreTest, ALinkPushesItsDependentAndAChangeWalksOutward) {
    auto a = task("A", 8.0);
    auto b = task("B", 8.0);
    drain();
    EXPECT_EQ(b->startDate().dayNumber(), a->startDate().dayNumber());
    KSDependency::dependencyWithPrerequisiteAndDependentAndKind(a.get(), b.get(),
                                                                KSDependencyFinishToStart);
    drain();
    // A ends at the close of its day, so B starts with the next working day.
    EXPECT_EQ(b->startDate().dayNumber(), a->endDate().dayNumber() + 1);
    EXPECT_EQ(b->startDate().timeOfDay(), a->startDate().timeOfDay());
    KSDateTime before = b->endDate();
    a->setEffort(24 * kHour);
    drain();
    EXPECT_GT(b->endDate().dayNumber(), before.dayNumber());
    EXPECT_TRUE(root().endDate().isEqualToDate(b->endDate()));
}

TEST_F(TaskCoreTest, DeletingAbsentTasksKeepsTheRest) {
    auto g = group("G");
    auto a = task("A", g);
    auto b = task("B", g);
    auto c = task("C");
    root()._removeTasksAbsentFromSet({&root(), g.get(), b.get()});
    EXPECT_EQ(a->scenario(), nullptr);
    EXPECT_EQ(c->scenario(), nullptr);
    EXPECT_EQ(b->scenario(), scenario.get());
    EXPECT_EQ(root().allTasksButSelf(), (KSTaskList{g, b}));
}

TEST_F(TaskCoreTest, JoiningAndLeavingAreToldToTheChangeEngine) {
    auto* engine = scenario->taskDifferenceEngine();
    engine->discardChanges();
    auto t = task("T");
    EXPECT_TRUE(engine->hasCurrentDifferencesForId(t->objectId()));
    EXPECT_EQ(engine->objectWithId(t->objectId()).get(), t.get());
}

TEST_F(TaskCoreTest, TouchingChunksRejoinWhenTheGroupCloses) {
    auto t = task("Work", 8.0);
    drain();
    auto first = std::make_shared<KSTask>();
    first->setEffort(3 * kHour);
    auto second = std::make_shared<KSTask>();
    second->setEffort(5 * kHour);
    t->setTaskTypeSplitTaskWithSplitChildren(taskTypeTask, true, KSTaskList{first, second});
    EXPECT_TRUE(t->isSplitTask());
    EXPECT_TRUE(second->startDate().isEqualToDate(first->endDate()));
    drain();
    EXPECT_FALSE(t->isSplitTask());
    EXPECT_EQ(t->effort(), 8 * kHour);
    EXPECT_EQ(first->scenario(), nullptr);
}

TEST_F(TaskCoreTest, ChunkCompletionMustKeepItsOrder) {
    auto t = task("Work");
    auto first = std::make_shared<KSTask>();
    auto second = std::make_shared<KSTask>();
    t->setTaskTypeSplitTaskWithSplitChildren(taskTypeTask, true, KSTaskList{first, second});
    EXPECT_FALSE(second->allowCompletionChange());  // its previous chunk is not done
    EXPECT_TRUE(first->allowCompletionChange());
    first->setCompleted(1.0);
    EXPECT_TRUE(second->allowCompletionChange());
    EXPECT_FALSE(group("G")->allowCompletionChange());
}

TEST_F(TaskCoreTest, ClearingLevelingRemovesLevelingIssuesOfTheChosenTasks) {
    class LevelingWarning : public KSIssue {
    public:
        KSIssueType type() const override { return KSIssueTypeWarning; }
        std::string issueKind() const override { return levelingIssueKind(); }
    };
    auto a = task("A");
    auto b = task("B");
    a->addIssue(std::make_shared<LevelingWarning>());
    b->addIssue(std::make_shared<LevelingWarning>());
    EXPECT_EQ(scenario->warningCount(), 2u);
    KSTaskPointerSet only{a.get()};
    root().clearLevelingForTasks(&only);
    EXPECT_FALSE(a->hasIssuesOfKind(KSIssue::levelingIssueKind()));
    EXPECT_TRUE(b->hasIssuesOfKind(KSIssue::levelingIssueKind()));
    root().clearLevelingForTasks(nullptr);
    EXPECT_FALSE(b->hasIssuesOfKind(std::nullopt));
    EXPECT_EQ(scenario->warningCount(), 0u);
}

TEST_F(TaskCoreTest, IssuesReadSortedErrorsFirst) {
    class Error : public KSIssue {
    public:
        KSIssueType type() const override { return KSIssueTypeError; }
    };
    auto t = task("T");
    auto warning = std::make_shared<KSMaximumEffortExceededError>();
    auto error = std::make_shared<Error>();
    t->addIssue(warning);
    t->addIssue(error);
    EXPECT_EQ(t->issues().front(), error);
    EXPECT_EQ(scenario->errorCount(), 1u);
    t->removeIssue(error);
    EXPECT_EQ(scenario->errorCount(), 0u);
    std::vector<std::shared_ptr<KSIssue>> all;
    root().addIssuesToArray(all);
    EXPECT_EQ(all.size(), 1u);
}

}  // namespace
}  // namespace kestrum::test
