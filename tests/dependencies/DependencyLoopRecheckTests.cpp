// When the loop checker must search although nothing seemed to change: links that came
// into force without a check, trees built outside the plan, moves that close a loop
// through a group, and long chains. Every case runs with the shortcuts of the checker and
// with full searches, and must end the same way in both.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "Model/engine/KSDependencyLoopError.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class DependencyLoopRecheckTest : public PlanFixture<>, public ::testing::WithParamInterface<bool> {
protected:
    void SetUp() override {
        saved_ = KSTask::loopSearchShortcuts();
        KSTask::setLoopSearchShortcuts(GetParam());
        PlanFixture::SetUp();
    }
    void TearDown() override {
        PlanFixture::TearDown();
        KSTask::setLoopSearchShortcuts(saved_);
    }

    // A task appended to `parent`, or standing alone outside the plan with `outside`.
    std::shared_ptr<KSTask> task(const std::string& title, KSTask* parent = nullptr,
                                 bool outside = false) {
        auto t = std::make_shared<KSTask>();
        t->setTitle(title);
        if (parent) {
            parent->addChildTask(t);
        } else if (!outside) {
            root().addChildTask(t);
        }
        return t;
    }
    // `after` waits for `before`.
    static std::shared_ptr<KSDependency> link(const std::shared_ptr<KSTask>& before,
                                              const std::shared_ptr<KSTask>& after) {
        return KSDependency::dependencyWithPrerequisiteAndDependent(before.get(), after.get());
    }
    static std::shared_ptr<KSDependencyLoopError> loopError(const std::shared_ptr<KSTask>& t) {
        for (const auto& issue : t->issues()) {
            if (auto error = std::dynamic_pointer_cast<KSDependencyLoopError>(issue)) return error;
        }
        return nullptr;
    }

private:
    bool saved_ = true;
};

//   A, B.  B waits for A; A waits for B: off.  Then that link is turned on by key.
TEST_P(DependencyLoopRecheckTest, ALinkTurnedOnByKeyIsBrokenAtTheNextChangeOfTheTree) {
    auto a = task("A");
    auto b = task("B");
    auto ab = link(a, b);
    auto ba = link(b, a);
    ASSERT_FALSE(ba->isActive());
    ASSERT_EQ(scenario->errorCount(), 1u);
    // The key bypasses the check: for now the loop stands.
    ba->setValueForKey(KSValue(true), "isActive");
    EXPECT_TRUE(ab->isActive() && ba->isActive());
    // Any change of the tree searches the plan and breaks it again. The key left A's
    // first error in place, and turning the link off makes another.
    task("C");
    EXPECT_TRUE(ab->isActive());
    EXPECT_FALSE(ba->isActive());
    EXPECT_EQ(a->issues().size(), 2u);
    EXPECT_EQ(scenario->errorCount(), 2u);
    drain();
}

//   A, B read as from a file: B waits for A and A for B, with no check while loading.
TEST_P(DependencyLoopRecheckTest, LinksReadWhileLoadingAreCheckedAtTheNextChangeOfTheTree) {
    auto a = task("A");
    auto b = task("B");
    a->setIsLoading(true);
    b->setIsLoading(true);
    auto ab = link(a, b);
    auto ba = link(b, a);
    a->setIsLoading(false);
    b->setIsLoading(false);
    EXPECT_TRUE(ab->isActive() && ba->isActive());
    auto g = task("G");
    task("Inside", g.get());
    EXPECT_NE(ab->isActive(), ba->isActive());
    EXPECT_EQ(scenario->errorCount(), 1u);
    drain();
}

//   G (built outside the plan): T1, T2 waiting for T1, T3 waiting for T2.  Then G joins.
TEST_P(DependencyLoopRecheckTest, AGroupBuiltOutsideThePlanJoinsWithItsOwnLinksOn) {
    task("Before");
    auto g = task("G", nullptr, true);
    auto t1 = task("T1", g.get());
    auto t2 = task("T2", g.get());
    auto t3 = task("T3", g.get());
    auto first = link(t1, t2);
    auto second = link(t2, t3);
    root().addChildTask(g);
    EXPECT_TRUE(first->isActive());
    EXPECT_TRUE(second->isActive());
    EXPECT_EQ(scenario->errorCount(), 0u);
    // Moved as a whole, the group keeps them.
    root().insertChildTaskAtIndex(g, 0);
    EXPECT_TRUE(first->isActive() && second->isActive());
    // A link back from its last task to its first closes a loop inside it.
    auto back = link(t3, t1);
    EXPECT_FALSE(back->isActive());
    ASSERT_NE(loopError(t1), nullptr);
    EXPECT_EQ(*loopError(t1)->loop(), (KSDependencyList{first, second}));
    drain();
}

//   P (a group): Y.  X.  P waits for X.  G (outside the plan): T, and X waits for T.
//   Then G joins P: T's start waits for G's, G's for P's, P's for X, and X for T.
TEST_P(DependencyLoopRecheckTest, AGroupJoiningWithLinksThatCloseALoopThroughItHasOneTurnedOff) {
    auto p = task("P");
    task("Y", p.get());
    auto x = task("X");
    auto xp = link(x, p);
    auto g = task("G", nullptr, true);
    auto t = task("T", g.get());
    auto tx = link(t, x);
    ASSERT_TRUE(tx->isActive() && xp->isActive());
    drain();
    p->addChildTask(g);
    EXPECT_NE(tx->isActive(), xp->isActive());
    EXPECT_EQ(scenario->errorCount(), 1u);
    // Undone, the group leaves and the link comes back on.
    drain();
    undo().undo();
    drain();
    EXPECT_EQ(g->parent(), nullptr);
    EXPECT_TRUE(tx->isActive() && xp->isActive());
    EXPECT_EQ(scenario->errorCount(), 0u);
}

//   G: Inside.  T, X top-level.  X waits for T; G waits for X.  Then T is moved into G:
//   T's start now waits for G's, which waits for X, which waits for T.
TEST_P(DependencyLoopRecheckTest, MovingATaskIntoAGroupThatWaitsForItsDependentTurnsALinkOff) {
    auto g = task("G");
    task("Inside", g.get());
    auto t = task("T");
    auto x = task("X");
    auto tx = link(t, x);
    auto xg = link(x, g);
    drain();
    g->addChildTask(t);
    EXPECT_TRUE(tx->isActive());
    EXPECT_FALSE(xg->isActive());
    ASSERT_NE(loopError(g), nullptr);
    EXPECT_EQ(*loopError(g)->loop(), KSDependencyList{tx});
    drain();
    // Back out of the group, the link is on again.
    root().addChildTask(t);
    EXPECT_TRUE(xg->isActive());
    EXPECT_EQ(scenario->errorCount(), 0u);
    drain();
}

//   C1 .. C300 in a group, each waiting for the one before; built front to back and back
//   to front. A link that makes C1 wait for C300 closes a loop over the whole chain.
TEST_P(DependencyLoopRecheckTest, ALinkClosingALongChainIsOffWithTheWholeChainAsItsLoop) {
    for (bool frontToBack : {true, false}) {
        auto g = task(frontToBack ? "Front" : "Back");
        std::vector<std::shared_ptr<KSTask>> chain;
        for (int i = 1; i <= 300; ++i)
            chain.push_back(task("C" + std::to_string(i), g.get()));
        KSDependencyList links(chain.size() - 1);
        for (std::size_t k = 1; k < chain.size(); ++k) {
            const std::size_t i = frontToBack ? k : chain.size() - k;
            links[i - 1] = link(chain[i - 1], chain[i]);
        }
        for (const auto& l : links)
            ASSERT_TRUE(l->isActive());
        auto closing = link(chain.back(), chain.front());
        EXPECT_FALSE(closing->isActive());
        auto error = loopError(chain.front());
        ASSERT_NE(error, nullptr);
        // The other links of the loop: the whole chain, from C1 on.
        EXPECT_TRUE(*error->loop() == links);
    }
    EXPECT_EQ(scenario->errorCount(), 2u);
    drain();
}

// While a plan has errors, every change of the tree tries to turn inactive links back on.
// A link that closes no loop comes back however it came to be off.

//   C, D waiting for each other (an error).  A, B: B waits for A, turned off by hand and
//   taken out; the tree changes; the link is put back, still off.
TEST_P(DependencyLoopRecheckTest, ALinkPutBackWhileOffComesOnAtTheNextChangeOfTheTree) {
    auto c = task("C");
    auto d = task("D");
    link(c, d);
    link(d, c);
    auto a = task("A");
    auto b = task("B");
    auto ab = link(a, b);
    ab->setIsActive(false);
    ab->remove();
    task("X");
    ab->instantiate();
    EXPECT_FALSE(ab->isActive());
    task("Y");
    EXPECT_TRUE(ab->isActive());
    EXPECT_EQ(scenario->errorCount(), 1u);
    drain();
}

//   S split into the chunks P and Q, where Q waits for P: a link between chunks of one
//   task is not allowed, and goes off. S becomes a group: P and Q are plain children.
TEST_P(DependencyLoopRecheckTest, ALinkBetweenChunksComesBackWhenTheyArePlainChildrenAgain) {
    auto s = task("S");
    auto p = task("P", nullptr, true);
    auto q = task("Q", nullptr, true);
    auto pq = link(p, q);
    s->setTaskTypeSplitTaskWithSplitChildren(taskTypeTask, true, KSTaskList{p, q});
    ASSERT_TRUE(q->isSplitChunk());
    q->recheckDependencies();
    EXPECT_FALSE(pq->isActive());
    task("X");
    EXPECT_FALSE(pq->isActive());
    s->setTaskType(taskTypeGroup);
    ASSERT_FALSE(q->isSplitChunk());
    task("Y");
    EXPECT_TRUE(pq->isActive());
    EXPECT_EQ(scenario->errorCount(), 0u);
    drain();
}

//   A, B, X.  B waits for X, X for A, and A for B: off.  X is taken out of the plan with
//   its links, then let go: its links lead nowhere, and the loop is gone.
TEST_P(DependencyLoopRecheckTest, ALinkComesBackWhenATaskOnItsLoopIsGone) {
    auto a = task("A");
    auto b = task("B");
    auto x = task("X");
    link(x, b);
    link(a, x);
    auto ba = link(b, a);
    ASSERT_FALSE(ba->isActive());
    drain();
    root().removeChildTask(x);
    drain();
    EXPECT_FALSE(ba->isActive());
    // Nothing else holds X once the undo stack is cleared.
    undo().removeAllActions();
    std::weak_ptr<KSTask> gone = x;
    x.reset();
    ASSERT_TRUE(gone.expired());
    task("Y");
    EXPECT_TRUE(ba->isActive());
    drain();
}

INSTANTIATE_TEST_SUITE_P(Shortcuts, DependencyLoopRecheckTest, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "On" : "Off"; });

}  // namespace
}  // namespace kestrum::test
