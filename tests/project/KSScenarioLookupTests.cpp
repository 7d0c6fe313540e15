// Lookup of tasks and resources by id, outline position, flat number, name and address,
// and the plan-wide lists and roll-ups.
#include <gtest/gtest.h>

#include "Model/engine/KSIssue.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"
#include "ProjectFixture.h"

namespace kestrum::test {
namespace {

// A plan as a file would give it, with ids:
//   1 A (10)   2 B (11, group)   2.1 B1 (12)   2.2 B2 (13, group)   2.2.1 B2a (14)   3 C (15)
class LookupTest : public ProjectTest {
protected:
    void SetUp() override {
        ProjectTest::SetUp();
        a = identifiedTask("A", 10);
        b = identifiedTask("B", 11);
        b->setIsGroup(true);
        b1 = identifiedTask("B1", 12, b);
        b2 = identifiedTask("B2", 13, b);
        b2->setIsGroup(true);
        b2a = identifiedTask("B2a", 14, b2);
        c = identifiedTask("C", 15);
        drain();
    }
    static std::string titles(const std::vector<std::shared_ptr<KSTask>>& tasks) {
        std::string text;
        for (const auto& t : tasks)
            text += (text.empty() ? "" : " ") + t->title().value_or("root");
        return text;
    }
    std::shared_ptr<KSTask> a, b, b1, b2, b2a, c;
};

TEST_F(LookupTest, IdsAreAnsweredInReverseAndDeletedOnesAreSkipped) {
    EXPECT_EQ(scenario->taskWithIdentifier(12), b1);
    EXPECT_EQ(titles(scenario->tasksWithIdentifiers({10, 12, 99, 15})), "C B1 A");
    b1->deleteSelf();
    drain();
    // The deleted task is still known to the engine, for undo, but no longer found.
    EXPECT_EQ(scenario->taskWithIdentifier(12), nullptr);
    EXPECT_EQ(titles(scenario->tasksWithIdentifiers({10, 12, 15})), "C A");
    undo().undo();
    EXPECT_EQ(scenario->taskWithIdentifier(12), b1);
    EXPECT_EQ(titles(scenario->tasksWithIdentifiers({12, 10})), "A B1");
    EXPECT_TRUE(scenario->tasksWithIdentifiers({}).empty());
}

TEST_F(LookupTest, DottedPositionsWalkDownFromTheRoot) {
    EXPECT_EQ(scenario->taskFromPositionalID("2.2.1"), b2a);
    EXPECT_EQ(scenario->taskFromPositionalID("1"), a);
    EXPECT_EQ(scenario->taskFromPositionalID("2.1"), b1);
    EXPECT_EQ(scenario->taskFromPositionalID("2."), b);
    EXPECT_EQ(scenario->taskFromPositionalID("3"), c);
    // Out of range at any step, or nothing named.
    EXPECT_EQ(scenario->taskFromPositionalID(""), nullptr);
    EXPECT_EQ(scenario->taskFromPositionalID("4"), nullptr);
    EXPECT_EQ(scenario->taskFromPositionalID("0"), nullptr);
    EXPECT_EQ(scenario->taskFromPositionalID("2.3"), nullptr);
    EXPECT_EQ(scenario->taskFromPositionalID("1.1"), nullptr);
    EXPECT_EQ(scenario->taskFromPositionalID("-1"), nullptr);
    EXPECT_EQ(scenario->taskFromPositionalID("x"), nullptr);
    // Scanning stops at the first thing that is no number.
    EXPECT_EQ(scenario->taskFromPositionalID("2.x.1"), b);
}

TEST_F(LookupTest, FlatNumbersDescendToTheTask) {
    const std::pair<int, std::shared_ptr<KSTask>> table[] = {{1, a},  {2, b},   {3, b1},
                                                             {4, b2}, {5, b2a}, {6, c}};
    for (const auto& [number, expected] : table) {
        EXPECT_EQ(scenario->taskFromNumericalOrder(number), expected) << number;
    }
    EXPECT_EQ(scenario->taskFromNumericalOrder(0), scenario->rootTask());
    // Numbers the plan does not have answer null rather than walking for ever.
    EXPECT_EQ(scenario->taskFromNumericalOrder(7), nullptr);
    EXPECT_EQ(scenario->taskFromNumericalOrder(-1), nullptr);
    root().insertObjectInChildrenAtIndex(c, 0);  // renumbered on the next read
    EXPECT_EQ(scenario->taskFromNumericalOrder(1), c);
    EXPECT_EQ(scenario->taskFromNumericalOrder(6), b2a);
}

TEST_F(LookupTest, PlanWideListsAndRollUps) {
    EXPECT_EQ(titles(scenario->allTasks()), "root A B B1 B2 B2a C");
    EXPECT_EQ(titles(scenario->unassignedTasks()), "A B1 B2a C");
    EXPECT_EQ(scenario->effort(), 4 * 8 * kHour);
    b1->setCompleted(1.0);
    EXPECT_DOUBLE_EQ(scenario->completed(), 0.25);
    EXPECT_GT(scenario->duration(), 0.0);

    EXPECT_TRUE(scenario->allIssues().empty());
    auto first = std::make_shared<KSMaximumEffortExceededError>(b2a.get());
    auto second = std::make_shared<KSMaximumEffortExceededError>(a.get());
    b2a->addIssue(first);
    a->addIssue(second);
    auto issues = scenario->allIssues();
    ASSERT_EQ(issues.size(), 2u);
    EXPECT_EQ(issues[0], second);  // depth first from the root
    EXPECT_EQ(issues[1], first);
    EXPECT_EQ(scenario->warningCount(), 2u);
}

TEST(LookupEmptyPlanTest, AnEmptyPlanFindsNothing) {
    TestDocument document;
    auto project = std::make_shared<KSProject>(&document);
    auto scenario = std::make_shared<KSScenario>();
    project->addScenario(scenario);
    EXPECT_EQ(scenario->taskFromPositionalID("1"), nullptr);
    EXPECT_EQ(scenario->taskFromNumericalOrder(1), nullptr);
    EXPECT_EQ(scenario->allTasks().size(), 1u);
    EXPECT_EQ(scenario->resourceWithName("Ann"), nullptr);
    project->invalidate();
}

class ResourceLookupTest : public ProjectTest {
protected:
    std::shared_ptr<KSResource> resource(const std::string& name, TMObjectId id,
                                         std::optional<std::string> address = std::nullopt,
                                         KSResource* parent = nullptr) {
        auto r = std::make_shared<KSResource>();
        r->setObjectId(id);
        r->setName(name);
        r->setEmailAddress(address);
        KSResource& into = parent ? *parent : *scenario->rootResource();
        if (!into.isGroup()) into.setIsGroup(true);
        into.insertObjectInChildrenAtIndex(r, into.countOfChildren());
        return r;
    }
};

TEST_F(ResourceLookupTest, ResourcesAreFoundByIdNameAndAddress) {
    auto ann = resource("Ann", 1, "ann@example.com");
    auto team = resource("Team", 2);
    auto bob = resource("Bob", 3, "bob@example.com", team.get());
    auto twin = resource("Ann", 4, "ann@example.com", team.get());
    drain();

    EXPECT_EQ(scenario->resourceWithIdentifier(3), bob);
    auto found = scenario->resourcesWithIdentifiers({1, 7, 3});
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0], bob);
    EXPECT_EQ(found[1], ann);

    // Depth first: the first of two of a name or address wins.
    EXPECT_EQ(scenario->resourceWithName("Bob"), bob);
    EXPECT_EQ(scenario->resourceWithName("Ann"), ann);
    EXPECT_EQ(scenario->resourceWithName("Nobody"), nullptr);
    EXPECT_EQ(scenario->resourceWithEmailAddress("bob@example.com"), bob);
    EXPECT_EQ(scenario->resourceWithEmailAddress("ann@example.com"), ann);
    EXPECT_EQ(scenario->resourceWithEmailAddress("BOB@example.com"), nullptr);  // exactly

    bob->deleteSelf();
    drain();
    EXPECT_EQ(scenario->resourceWithIdentifier(3), nullptr);
    EXPECT_EQ(scenario->resourceWithName("Bob"), nullptr);
    EXPECT_EQ(scenario->resourceWithIdentifier(4), twin);
}

}  // namespace
}  // namespace kestrum::test
