// New tasks and resources: default titles made unique, default efforts, prototypes and
// copies through the file form.
#include <gtest/gtest.h>

#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSSchedule.h"
#include "ProjectFixture.h"

namespace kestrum::test {
namespace {

class NewItemsTest : public ProjectTest {
protected:
    std::shared_ptr<KSResource> addResource(const std::shared_ptr<KSResource>& resource) {
        KSResource& into = *scenario->rootResource();
        if (!into.isGroup()) into.setIsGroup(true);
        into.insertObjectInChildrenAtIndex(resource, into.countOfChildren());
        return resource;
    }
};

TEST_F(NewItemsTest, NewTitlesFollowTheHighestNumberAmongAllTasks) {
    task("Task 1");
    auto g = task("Work");
    g->setIsGroup(true);
    task("Task 4", g);  // nested tasks count too
    auto t = scenario->newTaskOfType(taskTypeTask);
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->title(), "Task 5");
    EXPECT_EQ(t->parent(), nullptr);
    EXPECT_EQ(t->scenario(), nullptr);
    EXPECT_EQ(t->effort(), 8 * kHour);
    EXPECT_EQ(t->scheduleType(), scheduleTypeASAP);

    auto m = scenario->newTaskOfType(taskTypeMilestone);
    EXPECT_TRUE(m->isMilestone());
    EXPECT_EQ(m->title(), "Milestone 1");
    auto group = scenario->newTaskOfType(taskTypeGroup);
    EXPECT_TRUE(group->isGroup());
    EXPECT_EQ(group->title(), "Group 1");
    EXPECT_EQ(scenario->newTaskOfType(taskTypeHammock), nullptr);

    // A free number is kept as it is.
    task("Milestone 1");
    EXPECT_EQ(scenario->newTaskOfType(taskTypeMilestone)->title(), "Milestone 2");
}

TEST_F(NewItemsTest, NewTasksTakeTheEffortDayAndThePlansDirection) {
    project->sharedEffortFormatter()->setHoursPerDay(6.0f);
    EXPECT_EQ(scenario->defaultTaskEffortIgnorePrototype(false), 6 * kHour);
    EXPECT_EQ(scenario->newTaskOfType(taskTypeTask)->effort(), 6 * kHour);
    scenario->setStoredHasFixedEndDate(true);
    EXPECT_EQ(scenario->newTaskOfType(taskTypeTask)->scheduleType(), scheduleTypeALAP);
    EXPECT_EQ(scenario->newTaskOfType(taskTypeMilestone)->scheduleType(), scheduleTypeALAP);
}

TEST_F(NewItemsTest, PrototypesAreCopiedUnlessIgnored) {
    auto prototype = std::make_shared<KSTask>();
    prototype->setTitle("Review");
    prototype->setEffort(3 * kHour);
    prototype->setPriority(7);
    scenario->setPrototypeTask(prototype);
    EXPECT_TRUE(prototype->isPrototype());
    EXPECT_EQ(scenario->defaultTaskEffortIgnorePrototype(false), 3 * kHour);
    EXPECT_EQ(scenario->defaultTaskEffortIgnorePrototype(true), 8 * kHour);

    auto first = scenario->newTaskOfType(taskTypeTask);
    EXPECT_NE(first, prototype);
    EXPECT_FALSE(first->isPrototype());
    EXPECT_EQ(first->title(), "Review");
    EXPECT_EQ(first->effort(), 3 * kHour);
    EXPECT_EQ(first->priority(), 7);
    root().insertObjectInChildrenAtIndex(first, 0);
    EXPECT_EQ(scenario->newTaskOfType(taskTypeTask)->title(), "Review 1");

    auto plain = scenario->newTaskOfTypeIgnorePrototype(taskTypeTask, true);
    EXPECT_EQ(plain->title(), "Task 1");
    EXPECT_EQ(plain->effort(), 8 * kHour);
    EXPECT_EQ(plain->priority(), 0);

    auto milestonePrototype = std::make_shared<KSTask>();
    milestonePrototype->setTaskType(taskTypeMilestone);
    scenario->setPrototypeMilestone(milestonePrototype);
    auto m = scenario->newTaskOfType(taskTypeMilestone);
    EXPECT_TRUE(m->isMilestone());
    EXPECT_EQ(m->title(), "Milestone 1");  // a prototype without a title gets the default
}

TEST_F(NewItemsTest, APrototypeFromATaskIsTheTaskAloneInThisScenario) {
    auto g = task("Design");
    g->setIsGroup(true);
    auto child = task("Sketch", g);
    child->setEffort(5 * kHour);
    g->setPriority(3);
    drain();
    const std::size_t undoCount = undo().undoCount();

    auto prototype = scenario->newPrototypeFromTask(*g);
    EXPECT_TRUE(prototype->isPrototype());
    EXPECT_EQ(prototype->scenario(), scenario.get());
    EXPECT_EQ(prototype->title(), "Design");
    EXPECT_EQ(prototype->priority(), 3);
    EXPECT_EQ(prototype->countOfChildren(), 0u);
    EXPECT_EQ(prototype->parent(), nullptr);
    // A prototype is never scheduled and is no edit of the plan.
    EXPECT_FALSE(scenario->tasksNeedingRevalidation().contains(prototype.get()));
    drain();
    EXPECT_EQ(undo().undoCount(), undoCount);
}

TEST_F(NewItemsTest, NewResourcesGetUniqueDefaultNamesWhenTheyJoinThePlan) {
    auto staff = scenario->newResourceOfType(KSResourceTypeRankStaff);
    EXPECT_EQ(staff->resourceTypeRank(), KSResourceTypeRankStaff);
    EXPECT_FALSE(staff->name());
    EXPECT_FALSE(staff->isGroup());
    addResource(staff);
    EXPECT_EQ(staff->name(), "Resource 1");
    auto second = addResource(scenario->newResourceOfType(KSResourceTypeRankEquipment));
    EXPECT_EQ(second->name(), "Resource 2");
    EXPECT_EQ(second->resourceTypeRank(), KSResourceTypeRankEquipment);
    auto group = addResource(scenario->newResourceOfType(KSResourceTypeRankGroup));
    EXPECT_TRUE(group->isGroup());
    EXPECT_EQ(group->name(), "Group 1");
    // An unknown rank makes a staff resource.
    EXPECT_EQ(scenario->newResourceOfType(9)->resourceTypeRank(), KSResourceTypeRankStaff);
    // A named resource keeps its name.
    auto ann = std::make_shared<KSResource>();
    ann->setName("Ann");
    EXPECT_EQ(addResource(ann)->name(), "Ann");
}

TEST_F(NewItemsTest, ResourcePrototypesAreCopiedIntoThePlanWithUniqueNames) {
    auto prototype = std::make_shared<KSResource>();
    prototype->setName("Engineer");
    prototype->setEmailAddress("team@example.com");
    prototype->copySchedule(*KSSchedule::allHours());
    scenario->setPrototypeStaffResource(prototype);
    auto first = scenario->newResourceOfType(KSResourceTypeRankStaff);
    EXPECT_NE(first, prototype);
    EXPECT_FALSE(first->isPrototype());
    EXPECT_EQ(first->scenario(), scenario.get());
    EXPECT_EQ(first->name(), "Engineer");
    EXPECT_EQ(first->emailAddress(), "team@example.com");
    ASSERT_NE(first->schedule(), nullptr);
    EXPECT_NE(first->schedule(), prototype->schedule());
    EXPECT_EQ(first->schedule()->totalDurationForNormalWeek(), 7 * 24 * kHour);
    addResource(first);
    EXPECT_EQ(scenario->newResourceOfType(KSResourceTypeRankStaff)->name(), "Engineer 1");
    // Other ranks do not use the staff prototype.
    EXPECT_FALSE(scenario->newResourceOfType(KSResourceTypeRankMaterial)->name());
}

}  // namespace
}  // namespace kestrum::test
