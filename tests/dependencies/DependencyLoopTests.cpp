// Links that would close a loop: kept, turned off with an error on the right task, turned
// back on when the loop goes, and all of it undoable.
#include "Model/engine/KSDependencyLoopError.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class DependencyLoopTest : public ScheduleTest {
protected:
    std::shared_ptr<KSDependencyLoopError> loopError(const std::shared_ptr<KSTask>& t) {
        for (const auto& issue : t->issues()) {
            if (auto error = std::dynamic_pointer_cast<KSDependencyLoopError>(issue)) return error;
        }
        return nullptr;
    }
};

//   A 8h Mon;  B 8h after A (Tue).  Then A is made to wait for B as well.
TEST_F(DependencyLoopTest, ALinkClosingALoopStaysOffWithAnErrorAndComesBackWhenTheLoopGoes) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    auto first = link(a, b);
    drain();
    auto closing = link(b, a);
    drain();
    EXPECT_TRUE(closing->isValid());
    EXPECT_FALSE(closing->isActive());
    EXPECT_TRUE(first->isActive());
    auto error = loopError(a);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->dependency(), closing);
    ASSERT_TRUE(error->loop().has_value());
    EXPECT_EQ(*error->loop(), KSDependencyList{first});
    EXPECT_EQ(loopError(b), nullptr);
    EXPECT_EQ(scenario->errorCount(), 1u);
    // The link that is off moves nothing.
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-08T17:00");
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-09T17:00");

    // Without the first link there is no loop: the other comes back on.
    first->remove();
    drain();
    EXPECT_TRUE(closing->isActive());
    EXPECT_EQ(loopError(a), nullptr);
    EXPECT_EQ(scenario->errorCount(), 0u);
    EXPECT_EQ(span(b), "2024-01-08T08:00 - 2024-01-08T17:00");
    EXPECT_EQ(span(a), "2024-01-09T08:00 - 2024-01-09T17:00");

    // Undo brings back the first link and turns the other off again.
    undo().undo();
    drain();
    EXPECT_TRUE(first->isValid());
    EXPECT_TRUE(first->isActive());
    EXPECT_FALSE(closing->isActive());
    ASSERT_NE(loopError(a), nullptr);
    EXPECT_EQ(scenario->errorCount(), 1u);
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-08T17:00");
    undo().redo();
    drain();
    EXPECT_FALSE(first->isValid());
    EXPECT_TRUE(closing->isActive());
    EXPECT_EQ(scenario->errorCount(), 0u);
}

TEST_F(DependencyLoopTest, UndoingTheClosingLinkTakesItsErrorAway) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    link(a, b);
    drain();
    auto closing = link(b, a);
    drain();
    ASSERT_EQ(scenario->errorCount(), 1u);
    undo().undo();
    drain();
    EXPECT_FALSE(closing->isValid());
    EXPECT_TRUE(a->prerequisites().empty());
    EXPECT_EQ(loopError(a), nullptr);
    EXPECT_EQ(scenario->errorCount(), 0u);
}

// A loop of three links: the error names the two others, and its actions remove links.
TEST_F(DependencyLoopTest, TheErrorNamesTheOtherLinksAndRemovesOneOnRequest) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    auto c = task("C", 8);
    auto ab = link(a, b);
    auto bc = link(b, c);
    drain();
    auto ca = link(c, a);
    drain();
    auto error = loopError(a);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->shortDescription(), "This task is involved in a dependency loop");
    EXPECT_EQ(error->longDescriptionHTMLFile(), "DependencyLoop");
    EXPECT_EQ(error->type(), KSIssueTypeError);
    EXPECT_EQ(*error->loop(), (KSDependencyList{ab, bc}));
    EXPECT_EQ(error->loopInfoHTML(),
              "<li><a href=ksaction:removeOther-1>Remove</a>: (1) A \u2192 (2) B"
              "<li><a href=ksaction:removeOther-2>Remove</a>: (2) B \u2192 (3) C");
    EXPECT_EQ(error->resultHTMLStringForRawHTMLString("<p>%@ %@</p><ul>%@</ul>").substr(0, 12),
              "<p>3 C</p><u");
    // Removing A -> B leaves B, C, A in a chain.
    error->performAction("removeOther-1");
    drain();
    EXPECT_FALSE(ab->isValid());
    EXPECT_TRUE(ca->isActive());
    EXPECT_EQ(scenario->errorCount(), 0u);
    EXPECT_EQ(span(b), "2024-01-08T08:00 - 2024-01-08T17:00");
    EXPECT_EQ(span(a), "2024-01-10T08:00 - 2024-01-10T17:00");
}

TEST_F(DependencyLoopTest, ALinkBetweenAGroupAndItsChildIsOffWithAnEmptyLoop) {
    auto g = group("G");
    auto inside = task("Inside", 8, g);
    auto intoChild = link(g, inside);
    drain();
    EXPECT_FALSE(intoChild->isActive());
    auto error = loopError(inside);
    ASSERT_NE(error, nullptr);
    ASSERT_TRUE(error->loop().has_value());
    EXPECT_TRUE(error->loop()->empty());
    EXPECT_EQ(error->loopInfoHTML(), "");
    // The other way round too: a group cannot wait for what it holds.
    auto fromChild = link(inside, g);
    EXPECT_FALSE(fromChild->isActive());
    EXPECT_NE(loopError(g), nullptr);
    EXPECT_EQ(scenario->errorCount(), 2u);
    error->performAction("remove");
    EXPECT_FALSE(intoChild->isValid());
    EXPECT_EQ(scenario->errorCount(), 1u);
}

// G holds T; X waits for T and G waits for X: a loop through the tree, with no two tasks
// linked both ways.
TEST_F(DependencyLoopTest, ALoopThroughAGroupAndItsChildIsFound) {
    auto g = group("G");
    auto t = task("T", 8, g);
    auto x = task("X", 8);
    auto xg = link(x, g);
    drain();
    auto tx = link(t, x);
    drain();
    EXPECT_FALSE(tx->isActive());
    EXPECT_TRUE(xg->isActive());
    auto error = loopError(x);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(*error->loop(), KSDependencyList{xg});
    EXPECT_EQ(span(g), "2024-01-09T08:00 - 2024-01-09T17:00");
}

// A link that becomes illegal when the tree changes goes off; it comes back on when the
// change is undone.
TEST_F(DependencyLoopTest, MovingATaskIntoTheGroupItFeedsTurnsTheLinkOff) {
    auto a = task("A", 8);
    auto g = group("G");
    auto b = task("B", 8, g);
    auto ag = link(a, g);
    drain();
    ASSERT_EQ(span(b), "2024-01-09T08:00 - 2024-01-09T17:00");
    root().removeChildTask(a);
    g->addChildTask(a);
    drain();
    EXPECT_FALSE(ag->isActive());
    EXPECT_NE(loopError(g), nullptr);
    EXPECT_EQ(span(b), "2024-01-08T08:00 - 2024-01-08T17:00");
    // Out of the group again, the link is allowed and comes back.
    g->removeChildTask(a);
    root().addChildTask(a);
    drain();
    EXPECT_TRUE(ag->isActive());
    EXPECT_EQ(loopError(g), nullptr);
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-09T17:00");
}

TEST_F(DependencyLoopTest, AWholePlanSearchBreaksEveryLoop) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    auto c = task("C", 8);
    auto d = task("D", 8);
    // Read as from a file: links go in without checks, then the plan is searched.
    for (const auto& t : {a, b, c, d})
        t->setIsLoading(true);
    auto ab = link(a, b);
    auto ba = link(b, a);
    auto cd = link(c, d);
    auto dc = link(d, c);
    for (const auto& t : {a, b, c, d})
        t->setIsLoading(false);
    ASSERT_TRUE(ab->isActive() && ba->isActive() && cd->isActive() && dc->isActive());
    root().topDownFindDependencyLoops();
    EXPECT_NE(ab->isActive(), ba->isActive());
    EXPECT_NE(cd->isActive(), dc->isActive());
    EXPECT_EQ(scenario->errorCount(), 2u);
    drain();
    EXPECT_EQ(iso(root().endDate()), "2024-01-09T17:00");
}

}  // namespace
}  // namespace kestrum::test
