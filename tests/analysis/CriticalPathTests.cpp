// Critical paths: the tasks that drive the plan's end, or one task's date, recomputed at
// the end of each recompute; the slack limit widening them; groups joining through the
// task they start with; private paths ending at their root; enabling, colours and the
// property-list form.
//
// The plans start on Monday 8 January 2024 at 8:00 on the standard week (8-12, 13-17).
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Model/engine/KSCriticalPath.h"
#include "Model/project/KSProject.h"
#include "Platform/color/LRColor.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class CriticalPathTest : public ScheduleTest {
protected:
    KSCriticalPath& projectPath() { return *scenario->rootTask()->criticalPathRoot(); }
    // The titles of the path's tasks below the root, sorted.
    static std::string onPath(KSCriticalPath& path) {
        std::vector<std::string> names;
        for (const auto& task : path.pathContents()) {
            if (task->parentTask()) names.push_back(task->title().value_or("?"));
        }
        std::sort(names.begin(), names.end());
        std::string text;
        for (const auto& name : names)
            text += (text.empty() ? "" : " ") + name;
        return text;
    }
};

// A (two days) and B (one day) both lead to C: A drives the end, B has a day of slack.
TEST_F(CriticalPathTest, TheProjectsPathFollowsWhatDrivesTheEnd) {
    auto a = task("A", 16);
    auto b = task("B", 8);
    auto c = task("C", 8);
    link(a, c);
    link(b, c);
    drain();
    EXPECT_EQ(onPath(projectPath()), "A C");
    EXPECT_TRUE(a->isOnCriticalPath());
    EXPECT_FALSE(b->isOnCriticalPath());
    EXPECT_EQ(c->onCriticalPath(), &projectPath());
    EXPECT_EQ(a->sharedCriticalPathWithTask(*c), &projectPath());
    EXPECT_EQ(a->sharedCriticalPathWithTask(*b), nullptr);

    // A limit of a working day brings in the near-critical B.
    project->setCriticalPathSlackLimit(8 * kHour);
    EXPECT_EQ(onPath(projectPath()), "A B C");
    project->setCriticalPathSlackLimit(0);

    // The next recompute follows an edit: B grows past A and takes its place.
    b->setEffort(24 * kHour);
    drain();
    EXPECT_EQ(onPath(projectPath()), "B C");
}

TEST_F(CriticalPathTest, OneSecondOfSlackIsOffThePathAtLimitZero) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    b->setEffort(8 * kHour - 1);
    auto c = task("C", 8);
    link(a, c);
    link(b, c);
    drain();
    EXPECT_EQ(onPath(projectPath()), "A C");
    projectPath().setSlackLimit(1);  // the path's own limit overrides the project's
    projectPath().recalculatePath();
    EXPECT_EQ(onPath(projectPath()), "A B C");
}

TEST_F(CriticalPathTest, AGroupJoinsThroughTheTaskItStartsWith) {
    auto g = group("G");
    auto first = task("First", 8, g);
    auto second = task("Second", 8, g);
    link(first, second);
    auto other = group("Other");
    auto side = task("Side", 4, other);
    auto late = task("Late", 4, other);
    link(side, late);
    link(first, late);  // Late starts with Second, ends half a day earlier
    drain();
    EXPECT_EQ(onPath(projectPath()), "First G Second");
}

// X leads to Y and Y to Z; W reaches Y half a day early. A path of Y's own holds what
// leads to Y and nothing after it.
TEST_F(CriticalPathTest, APrivatePathEndsAtItsRoot) {
    auto x = task("X", 16);
    auto w = task("W", 12);
    auto y = task("Y", 8);
    auto z = task("Z", 8);
    link(x, y);
    link(w, y);
    link(y, z);
    drain();
    auto path = std::make_shared<KSCriticalPath>(y);
    scenario->addCriticalPath(path);
    EXPECT_EQ(onPath(*path), "X Y");
    EXPECT_EQ(y->criticalPathRoot(), path.get());
    // The project's path goes on to Z; its colour is light red, a task's path another hue.
    EXPECT_EQ(onPath(projectPath()), "X Y Z");
    EXPECT_EQ(projectPath().pathColor()->redComponent(), 1.0);
    EXPECT_EQ(projectPath().pathColor()->greenComponent(), 0.5);
    EXPECT_NE(*path->pathColor(), *projectPath().pathColor());

    path->setIsEnabled(false);
    EXPECT_TRUE(path->pathContents().empty());
    EXPECT_EQ(x->onCriticalPath(), &projectPath());
    path->setIsEnabled(true);
    EXPECT_EQ(onPath(*path), "X Y");
}

TEST_F(CriticalPathTest, ThePropertyListNamesTheRootAndReadsBack) {
    auto a = task("A", 8);
    drain();
    auto path = std::make_shared<KSCriticalPath>(a);
    path->setIsEnabled(false);
    KSValue form = path->propertyList();
    auto back = KSCriticalPath::pathWithPropertyListInScenario(form, *scenario);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->pathRoot(), a.get());
    EXPECT_FALSE(back->isEnabled());
    EXPECT_EQ(*back->pathColor(), *path->pathColor());
    // An unknown root, or no dictionary, reads as nothing.
    KSDictionary unknown;
    unknown.setObjectForKey("root", KSValue(static_cast<long long>(987654)));
    EXPECT_EQ(KSCriticalPath::pathWithPropertyListInScenario(KSValue(unknown), *scenario), nullptr);
    EXPECT_EQ(KSCriticalPath::pathWithPropertyListInScenario(KSValue("A"), *scenario), nullptr);
}

TEST_F(CriticalPathTest, ALongChainIsWalkedWithoutDeepRecursion) {
    const int count = 10000;
    std::shared_ptr<KSTask> previous;
    for (int i = 0; i < count; ++i) {
        auto t = task("T" + std::to_string(i), 1);
        if (previous) link(previous, t);
        previous = t;
    }
    drain();
    // Every task and the root, which starts with the first.
    EXPECT_EQ(projectPath().pathContents().size(), static_cast<std::size_t>(count) + 1);
}

}  // namespace
}  // namespace kestrum::test
