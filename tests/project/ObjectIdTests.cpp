// Object ids as an application and the change log rely on them: tasks and resources get
// ids from the project's two counters when they enter a plan, keep them through a deletion
// and its undo, and a copy gets a new one. Lookups, link strings and task URLs use them.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Model/resources/KSResource.h"
#include "Model/tasks/KSDependency.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class ObjectIds : public PlanFixture<> {
protected:
    std::shared_ptr<KSTask> addTask(KSTask* parent = nullptr) {
        auto task = std::make_shared<KSTask>();
        (parent ? *parent : root()).addChildTask(task);
        return task;
    }
    std::shared_ptr<KSResource> addResource() {
        auto resource = std::make_shared<KSResource>();
        KSResource& top = *scenario->rootResource();
        top.insertObjectInChildrenAtIndex(resource, top.countOfChildren());
        return resource;
    }
};

TEST_F(ObjectIds, TasksAndResourcesCountFromOneOnTheirOwnCounters) {
    auto a = addTask();
    auto r1 = addResource();
    auto b = addTask();
    auto group = addTask();
    auto child = addTask(group.get());
    auto r2 = addResource();
    EXPECT_EQ(a->objectId(), 1);
    EXPECT_EQ(b->objectId(), 2);
    EXPECT_EQ(group->objectId(), 3);
    EXPECT_EQ(child->objectId(), 4);
    EXPECT_EQ(r1->objectId(), 1);
    EXPECT_EQ(r2->objectId(), 2);
    EXPECT_EQ(project->nextTaskId(), 5);
    EXPECT_EQ(project->nextResourceId(), 3);
    // The roots keep -1 and take no number.
    EXPECT_EQ(root().objectId(), -1);
    EXPECT_EQ(scenario->rootResource()->objectId(), -1);

    EXPECT_EQ(scenario->taskWithIdentifier(2), b);
    EXPECT_EQ(scenario->taskWithIdentifier(4), child);
    EXPECT_EQ(scenario->resourceWithIdentifier(2), r2);
    EXPECT_EQ(scenario->taskWithIdentifier(0), nullptr);
    EXPECT_EQ(scenario->taskWithIdentifier(9), nullptr);
}

TEST_F(ObjectIds, ACounterThatWasNeverSetStartsAtOne) {
    // A project file without a counter reads as 0; 0 is never handed out.
    project->setNextTaskId(0);
    auto a = addTask();
    EXPECT_EQ(a->objectId(), 1);
    EXPECT_EQ(project->nextTaskId(), 2);
}

TEST_F(ObjectIds, ADeletedTaskKeepsItsIdAndUndoBringsItBack) {
    auto a = addTask();
    auto b = addTask();
    drain();
    b->deleteTask();
    drain();
    EXPECT_EQ(scenario->taskWithIdentifier(2), nullptr);
    auto c = addTask();
    EXPECT_EQ(c->objectId(), 3);  // the deleted id is not handed out again
    drain();

    undo().undo();  // the new task goes
    drain();
    undo().undo();  // the deleted one comes back
    drain();
    EXPECT_EQ(b->objectId(), 2);
    EXPECT_EQ(scenario->taskWithIdentifier(2), b);
    EXPECT_EQ(b->parent(), &root());

    undo().redo();
    drain();
    EXPECT_EQ(scenario->taskWithIdentifier(2), nullptr);
    undo().redo();
    drain();
    EXPECT_EQ(c->objectId(), 3);
    EXPECT_EQ(scenario->taskWithIdentifier(3), c);
    EXPECT_EQ(project->nextTaskId(), 4);
}

TEST_F(ObjectIds, ACopyGetsANewIdAndLeavesTheOriginalsAlone) {
    auto group = addTask();
    auto child = addTask(group.get());
    auto copy = group->copyIncludingSubtasks(true);
    ASSERT_NE(copy, nullptr);
    root().addChildTask(copy);
    ASSERT_EQ(copy->countOfChildren(), 1u);
    auto copiedChild = copy->childTaskAtIndex(0);
    EXPECT_NE(copy->objectId(), group->objectId());
    EXPECT_NE(copiedChild->objectId(), child->objectId());
    EXPECT_GT(copy->objectId(), 2);
    EXPECT_GT(copiedChild->objectId(), 2);
    EXPECT_NE(copy->objectId(), copiedChild->objectId());
    EXPECT_EQ(scenario->taskWithIdentifier(1), group);
    EXPECT_EQ(scenario->taskWithIdentifier(2), child);
    EXPECT_EQ(scenario->taskWithIdentifier(copy->objectId()), copy);

    // A task that carries another live task's id, as a copy read from a file would, is
    // renumbered when it joins the plan.
    auto twin = std::make_shared<KSTask>();
    twin->setObjectId(child->objectId());
    root().addChildTask(twin);
    EXPECT_NE(twin->objectId(), child->objectId());
    EXPECT_EQ(scenario->taskWithIdentifier(2), child);

    auto resource = addResource();
    auto resourceCopy = resource->copy();
    auto& top = *scenario->rootResource();
    top.insertObjectInChildrenAtIndex(resourceCopy, top.countOfChildren());
    EXPECT_EQ(resource->objectId(), 1);
    EXPECT_EQ(resourceCopy->objectId(), 2);
}

TEST_F(ObjectIds, LinkStringsAndUrlsUseTheIds) {
    auto a = addTask();
    auto b = addTask();
    auto c = addTask();
    KSDependency::dependencyWithPrerequisiteAndDependent(a.get(), c.get());
    KSDependency::dependencyWithPrerequisiteAndDependentAndKind(b.get(), c.get(),
                                                                KSDependencyStartToStart);
    EXPECT_EQ(c->internalPrerequisitesString(), "1FS,2SS");

    document.file = "file:///tmp/My%20Plan.kestrum";
    EXPECT_EQ(c->url(), "kestrum://localhost/tmp/My%20Plan.kestrum/task/3");
    EXPECT_EQ(KSTask::urlForTasks({a, c}), "kestrum://localhost/tmp/My%20Plan.kestrum/task/1,3");
    // A plain path works as well, and an unsaved document has no links.
    document.file = "/home/ann/Launch plan.kestrum";
    EXPECT_EQ(b->url(), "kestrum://localhost/home/ann/Launch%20plan.kestrum/task/2");
    document.file.reset();
    EXPECT_EQ(b->url(), std::nullopt);
}

}  // namespace
}  // namespace kestrum::test
