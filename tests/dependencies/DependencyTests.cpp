// Links themselves: kinds, lead times, ghosts, equality, the string form with its ids,
// the archive dictionary, the task's lists and the bulk operations.
#include "Model/tasks/KSDependency.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class DependencyTest : public ScheduleTest {
protected:
    // A task with a chosen id, so that string forms can name it.
    std::shared_ptr<KSTask> taskWithId(const std::string& title, TMObjectId id) {
        auto t = std::make_shared<KSTask>();
        t->setTitle(title);
        t->setObjectId(id);
        root().addChildTask(t);
        return t;
    }
};

TEST_F(DependencyTest, TheKindFollowsTheTwoAlignmentsAndIsUndoable) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    auto l = link(a, b);
    EXPECT_EQ(l->dependencyKind(), KSDependencyFinishToStart);
    EXPECT_TRUE(l->prerequisiteAlignedToEnd());
    EXPECT_FALSE(l->dependentAlignedToEnd());
    drain();
    l->setDependencyKind(KSDependencyStartToFinish);
    drain();
    EXPECT_FALSE(l->prerequisiteAlignedToEnd());
    EXPECT_TRUE(l->dependentAlignedToEnd());
    EXPECT_EQ(undo().undoActionName(), "Change Dependency Kind");
    // B now ends when A starts... but not before the plan does.
    EXPECT_EQ(span(b), "2024-01-08T08:00 - 2024-01-08T17:00");
    EXPECT_TRUE(b->hasEndingPrerequisites());
    undo().undo();
    drain();
    EXPECT_EQ(l->dependencyKind(), KSDependencyFinishToStart);
    EXPECT_FALSE(b->hasEndingPrerequisites());
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-09T17:00");
    // Values out of range change nothing.
    l->setDependencyKind(static_cast<KSDependencyKind>(7));
    EXPECT_EQ(l->dependencyKind(), KSDependencyFinishToStart);
}

TEST_F(DependencyTest, AGroupOrAMilestoneIsJoinedAtItsStart) {
    auto a = task("A", 8);
    auto g = group("G");
    task("Inside", 4, g);
    auto m = milestone("M");
    EXPECT_EQ(link(a, g, KSDependencyFinishToFinish)->dependencyKind(), KSDependencyFinishToStart);
    EXPECT_EQ(link(a, m, KSDependencyStartToFinish)->dependencyKind(), KSDependencyStartToStart);
    EXPECT_EQ(KSDependency::localizedDependencyKindString(KSDependencyStartToFinish),
              "Start-to-Finish");
    EXPECT_EQ(KSDependency::localizedPrerequisiteKindString(KSDependencyFinishToStart), "Finish");
    EXPECT_EQ(KSDependency::localizedDependentKindString(KSDependencyFinishToStart), "Start");
}

TEST_F(DependencyTest, LeadTimesAreUndoableAndShowTheirSign) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    auto l = link(a, b);
    drain();
    l->setLeadTime(-2 * kHour);
    drain();
    EXPECT_EQ(undo().undoActionName(), "Dependency Lead Time");
    EXPECT_EQ(iso(b->startDate()), "2024-01-08T15:00");
    EXPECT_EQ(l->leadTimeString(), "-2h");
    // The percentage bit reads true only with a lead.
    l->setLeadTimeIsPercentage(true);
    l->setLeadTime(0.25);
    drain();
    EXPECT_TRUE(l->leadTimeIsPercentage());
    EXPECT_EQ(l->leadTimeString(), "+25%");
    EXPECT_EQ(iso(b->startDate()), "2024-01-09T10:00");
    l->setLeadTime(0.0);
    EXPECT_FALSE(l->leadTimeIsPercentage());
    drain();
    undo().undo();
    EXPECT_TRUE(l->leadTimeIsPercentage());
    undo().undo();
    drain();
    EXPECT_EQ(l->leadTime(), -2 * kHour);
    EXPECT_FALSE(l->leadTimeIsPercentage());
    EXPECT_EQ(iso(b->startDate()), "2024-01-08T15:00");
}

TEST_F(DependencyTest, GhostsAreValuesUntilInstantiated) {
    auto a = taskWithId("A", 4);
    auto b = taskWithId("B", 5);
    auto one = KSDependency::ghostDependencyWithPrerequisiteAndDependent(a.get(), b.get());
    auto two = KSDependency::ghostDependencyWithPrerequisiteAndDependent(a.get(), b.get());
    EXPECT_TRUE(one->isRemoved());
    EXPECT_TRUE(a->dependents().empty());
    two->setIsActive(false);
    EXPECT_TRUE(*one == *two);  // the active state does not count
    EXPECT_EQ(one->hash(), two->hash());
    two->setLeadTime(60.0);
    EXPECT_FALSE(*one == *two);
    EXPECT_EQ(two->compare(*one), 1);
    auto copy = two->copy();
    EXPECT_TRUE(*copy == *two);
    EXPECT_FALSE(copy->isActive());
    one->instantiate();
    EXPECT_TRUE(one->isValid());
    EXPECT_EQ(a->dependentForTask(b.get()), one);
    EXPECT_EQ(b->prerequisiteForTask(a.get()), one);
    EXPECT_EQ(undo().undoActionName(), "Set Dependency");
    EXPECT_TRUE(KSDependency::removeDependencyWithPrerequisiteAndDependent(a.get(), b.get()));
    EXPECT_FALSE(KSDependency::removeDependencyWithPrerequisiteAndDependent(a.get(), b.get()));
    EXPECT_TRUE(one->isRemoved());
}

TEST_F(DependencyTest, LinkingAChunkLinksItsSplitTask) {
    auto a = task("A", 8);
    auto split = task("Split", 8);
    split->setTaskTypeSplitTaskWithSplitChildren(taskTypeTask, true, std::nullopt);
    auto chunk = std::make_shared<KSTask>();
    split->addChildTask(chunk);
    ASSERT_TRUE(chunk->isSplitChunk());
    auto l = KSDependency::ghostDependencyWithPrerequisiteAndDependent(a.get(), chunk.get());
    EXPECT_EQ(l->dependent(), split.get());
}

// Ids 12, 7 and 9 are the prerequisites of task 20.
TEST_F(DependencyTest, TheStringFormIsParsedPrintedAndTranslated) {
    auto t12 = taskWithId("Twelve", 12);
    auto t7 = taskWithId("Seven", 7);
    auto t9 = taskWithId("Nine", 9);
    auto t20 = taskWithId("Twenty", 20);
    auto ghosts = KSDependency::ghostDependenciesWithInternalStringRepresentationForDependentTask(
        "12FS,7SS+3600,9FF-0.5%,44FS,9SF", t20.get());
    ASSERT_EQ(ghosts.size(), 4u);  // no task 44
    EXPECT_EQ(ghosts[0]->prerequisite(), t12.get());
    EXPECT_EQ(ghosts[0]->dependencyKind(), KSDependencyFinishToStart);
    EXPECT_EQ(ghosts[1]->dependencyKind(), KSDependencyStartToStart);
    EXPECT_EQ(ghosts[1]->leadTime(), 3600.0);
    EXPECT_EQ(ghosts[2]->dependencyKind(), KSDependencyFinishToFinish);
    EXPECT_EQ(ghosts[2]->leadTime(), -0.5);
    EXPECT_TRUE(ghosts[2]->leadTimeIsPercentage());
    EXPECT_EQ(ghosts[3]->dependencyKind(), KSDependencyStartToFinish);
    EXPECT_EQ(ghosts[2]->internalStringRepresentation(), "9FF-0.5%");

    t20->setInternalPrerequisitesString("12FS,7SS+3600,9FF-0.5%");
    EXPECT_EQ(t20->prerequisites().size(), 3u);
    // Printed by prerequisite id.
    EXPECT_EQ(t20->internalPrerequisitesString(), "7SS+3600,9FF-0.5%,12FS");
    EXPECT_EQ(t12->dependents().size(), 1u);
    t20->setInternalPrerequisitesString(std::nullopt);
    EXPECT_TRUE(t20->prerequisites().empty());
    EXPECT_EQ(t20->internalPrerequisitesString(), std::nullopt);

    EXPECT_EQ(KSDependency::translateTaskIdFromToForInternalStringRepresentation(
                  7, 70, "7SS+3600,17FS,9FF-0.5%"),
              "70SS+3600,17FS,9FF-0.5%");
    EXPECT_EQ(KSDependency::translateTaskIdFromToForInternalStringRepresentation(5, 6, "7SS"),
              "7SS");
}

TEST_F(DependencyTest, TheArchiveDictionaryCarriesKindAndLeadAtSinglePrecision) {
    auto a = taskWithId("A", 3);
    auto b = taskWithId("B", 4);
    auto l = link(a, b, KSDependencyStartToStart, 5400.0);
    KSDictionary archive = l->archiveDictionary();
    EXPECT_EQ(archive.objectForKey("id").integerValue(), 3);
    EXPECT_EQ(archive.objectForKey("kind").integerValue(), KSDependencyStartToStart);
    EXPECT_EQ(archive.objectForKey("leadTime").doubleValue(), 1.5);
    EXPECT_EQ(archive.objectForKey("leadTimeSeconds").doubleValue(), 5400.0);
    EXPECT_EQ(archive.objectForKey("leadPercentage").asString(), "NO");
    auto ghost = KSDependency::ghostDependencyWithPrerequisiteAndDependent(a.get(), b.get());
    ghost->loadFromArchiveDictionary(archive);
    EXPECT_TRUE(*ghost == *l);
    // Hours only, read as a float: 0.1 hour is not quite 360 seconds.
    ghost->loadFromArchiveDictionary(KSDictionary{{"leadTime", KSValue(0.1)}});
    EXPECT_EQ(ghost->leadTime(), static_cast<double>(0.1f * 3600.0f));
    EXPECT_FALSE(link(b, taskWithId("C", 5))->archiveDictionary().contains("leadTime"));
}

TEST_F(DependencyTest, TheTaskListsCanBeReplacedAndCleared) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    auto c = task("C", 8);
    link(a, c);
    auto ghost = KSDependency::ghostDependencyWithPrerequisiteAndDependentAndKind(
        b.get(), c.get(), KSDependencyStartToStart);
    c->setPrerequisites({ghost});
    ASSERT_EQ(c->prerequisites().size(), 1u);
    EXPECT_EQ(c->prerequisites()[0]->prerequisite(), b.get());
    EXPECT_EQ(c->prerequisites()[0]->dependencyKind(), KSDependencyStartToStart);
    EXPECT_TRUE(a->dependents().empty());
    b->clearDependents();
    EXPECT_TRUE(c->prerequisites().empty());
}

TEST_F(DependencyTest, NeighboursAreConnectedAndDisconnectedInOutlineOrder) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    auto c = task("C", 8);
    EXPECT_FALSE(KSTask::connectionBetweenTasks({c, a, b}));
    EXPECT_TRUE(KSTask::connectTasksWithDependencyKind({c, a, b}, KSDependencyFinishToStart));
    EXPECT_EQ(b->prerequisiteForTask(a.get())->dependencyKind(), KSDependencyFinishToStart);
    EXPECT_NE(c->prerequisiteForTask(b.get()), nullptr);
    // Again: the links exist, only their kind changes.
    EXPECT_FALSE(KSTask::connectTasksWithDependencyKind({a, b}, KSDependencyStartToStart));
    EXPECT_EQ(b->prerequisiteForTask(a.get())->dependencyKind(), KSDependencyStartToStart);
    EXPECT_TRUE(KSTask::connectionBetweenTasks({a, b}));
    EXPECT_FALSE(KSTask::connectionBetweenTasks({a}));
    EXPECT_TRUE(KSTask::disconnectTasks({a, b, c}));
    EXPECT_FALSE(KSTask::connectionBetweenTasks({a, b, c}));
    EXPECT_FALSE(KSTask::disconnectTasks({a, b, c}));
}

TEST_F(DependencyTest, ChainsAndControllingNeighbours) {
    auto a = task("A", 8);
    auto b = task("B", 4);
    auto c = task("C", 8);
    auto g = group("G");
    auto inside = task("Inside", 4, g);
    link(a, c);
    link(b, c);
    link(c, g);
    drain();
    // C is held by A (the later of its two prerequisites).
    auto controlling = c->controllingDependencyTasks();
    ASSERT_TRUE(controlling.has_value());
    EXPECT_EQ(*controlling, KSTaskList{a});
    EXPECT_FALSE(a->controllingDependencyTasks().has_value());
    // What the task inside G waits for: the group's prerequisites, and theirs.
    KSTaskPointerSet chain = inside->prerequisiteChain();
    EXPECT_TRUE(inside->prerequisites().empty());
    EXPECT_TRUE(chain.empty());
    chain = g->prerequisiteChain();
    EXPECT_EQ(chain, (KSTaskPointerSet{a.get(), b.get(), c.get(), inside.get()}));
    EXPECT_EQ(g->dependentChain(), chain);
}

}  // namespace
}  // namespace kestrum::test
