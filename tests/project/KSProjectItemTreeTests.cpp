// Insertion, moving, removal and reordering in the item tree, with undo and redo.
#include <gtest/gtest.h>

#include "Platform/core/KSLog.h"
#include "ProjectFixture.h"

namespace kestrum::test {
namespace {

class ItemTreeTest : public ProjectTest {
protected:
    void SetUp() override {
        ProjectTest::SetUp();
        a = add<RecordingTask>("A");
        b = add<RecordingTask>("B");
        c = add<RecordingTask>("C");
        drain();
    }
    std::shared_ptr<RecordingTask> a, b, c;
};

struct MoveCase {
    const char* name;
    std::size_t from;
    std::size_t to;
    const char* expected;
};

class MoveTest : public ItemTreeTest, public ::testing::WithParamInterface<MoveCase> {};

TEST_P(MoveTest, MovesWithTheUndoArithmeticAndUndoesAndRedoesExactly) {
    const MoveCase& move = GetParam();
    auto item = root().objectInChildrenAtIndex(move.from);
    root().insertObjectInChildrenAtIndex(item, move.to);
    EXPECT_EQ(titles(root()), move.expected);
    EXPECT_EQ(undo().undoActionName(), "Move Task");
    EXPECT_EQ(item->parent(), &root());
    drain();
    undo().undo();
    EXPECT_EQ(titles(root()), "A B C");
    undo().redo();
    EXPECT_EQ(titles(root()), move.expected);
    undo().undo();
    EXPECT_EQ(titles(root()), "A B C");
}

INSTANTIATE_TEST_SUITE_P(
    Moves, MoveTest,
    ::testing::Values(MoveCase{"FirstToTwoLandsAtOne", 0, 2, "B A C"},
                      MoveCase{"FirstToEndLandsLast", 0, 3, "B C A"},
                      MoveCase{"FirstPastEndClampsToEnd", 0, 10, "B C A"},
                      MoveCase{"LastToFront", 2, 0, "C A B"}, MoveCase{"LastToOne", 2, 1, "A C B"},
                      MoveCase{"MiddleToEnd", 1, 3, "A C B"},
                      MoveCase{"MiddleToFront", 1, 0, "B A C"},
                      MoveCase{"FirstToOneStaysAfterArithmetic", 0, 1, "B A C"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(ItemTreeTest, MovingToItsOwnIndexRecordsNothing) {
    std::size_t before = undo().undoCount();
    undo().setActionName("Earlier");
    root().insertObjectInChildrenAtIndex(b, 1);
    EXPECT_EQ(titles(root()), "A B C");
    EXPECT_EQ(undo().groupingLevel(), 0);
    drain();
    EXPECT_EQ(undo().undoCount(), before);
    EXPECT_EQ(undo().undoActionName(), "Earlier");
}

TEST_F(ItemTreeTest, InsertingPastTheEndClampsAndUndoRemoves) {
    auto d = std::make_shared<RecordingTask>();
    d->setTitle("D");
    root().insertObjectInChildrenAtIndex(d, 99);
    EXPECT_EQ(titles(root()), "A B C D");
    EXPECT_EQ(undo().undoActionName(), "Add Task");
    EXPECT_EQ(d->scenario(), scenario.get());
    drain();
    undo().undo();
    EXPECT_EQ(titles(root()), "A B C");
    EXPECT_EQ(d->parent(), nullptr);
    EXPECT_EQ(d->scenario(), nullptr);
    undo().redo();
    EXPECT_EQ(titles(root()), "A B C D");
    EXPECT_EQ(d->scenario(), scenario.get());
}

TEST_F(ItemTreeTest, MovingToAnotherParentIsAMoveThatUndoesToTheOldPlace) {
    root().insertObjectInChildrenAtIndex(c, 0);  // C A B
    drain();
    a->insertObjectInChildrenAtIndex(c, 0);
    EXPECT_EQ(titles(root()), "A B");
    EXPECT_EQ(titles(*a), "C");
    EXPECT_TRUE(a->isGroup());
    EXPECT_EQ(undo().undoActionName(), "Move Task");
    drain();
    undo().undo();
    EXPECT_EQ(titles(root()), "C A B");
    EXPECT_FALSE(a->isGroup());
    undo().redo();
    EXPECT_EQ(titles(*a), "C");
}

TEST_F(ItemTreeTest, AnItemCannotBeMovedIntoItsOwnSubtree) {
    auto child = add<RecordingTask>("child", a.get());
    drain();
    child->insertObjectInChildrenAtIndex(a, 0);
    a->insertObjectInChildrenAtIndex(a, 0);
    EXPECT_EQ(titles(root()), "A B C");
    EXPECT_EQ(titles(*a), "child");
    EXPECT_FALSE(child->isGroup());
}

TEST_F(ItemTreeTest, RemovalUndoesAndRedoes) {
    root().removeObjectFromChildrenAtIndex(1);
    EXPECT_EQ(titles(root()), "A C");
    EXPECT_EQ(b->parent(), nullptr);
    EXPECT_EQ(undo().undoActionName(), "Delete Task");
    drain();
    undo().undo();
    EXPECT_EQ(titles(root()), "A B C");
    EXPECT_EQ(b->parent(), &root());
    undo().redo();
    EXPECT_EQ(titles(root()), "A C");
    root().removeObjectFromChildrenAtIndex(7);  // past the end: nothing
    root().removeChildItem(b);                  // not a child: nothing
    EXPECT_EQ(titles(root()), "A C");
}

TEST_F(ItemTreeTest, ReplacementUndoes) {
    auto x = std::make_shared<RecordingTask>();
    x->setTitle("X");
    root().replaceObjectInChildrenAtIndexWithObject(1, x);
    EXPECT_EQ(titles(root()), "A X C");
    EXPECT_EQ(b->parent(), nullptr);
    EXPECT_EQ(x->parent(), &root());
    EXPECT_EQ(undo().undoActionName(), "Replace Task");
    drain();
    undo().undo();
    EXPECT_EQ(titles(root()), "A B C");
    EXPECT_EQ(b->parent(), &root());
}

TEST_F(ItemTreeTest, InsertChildItemsKeepsTheGivenOrder) {
    auto d = add<RecordingTask>("D");
    drain();
    root().insertChildItemsAtIndex({a, b}, 4);
    EXPECT_EQ(titles(root()), "C D A B");
    drain();
    root().insertChildItemsAtIndex({d, c}, 0);
    EXPECT_EQ(titles(root()), "D C A B");
    root().insertChildItemsAtIndex({d, c}, 0);  // already in place: nothing moves
    EXPECT_EQ(titles(root()), "D C A B");
    drain();
    undo().undo();
    EXPECT_EQ(titles(root()), "C D A B");
}

TEST_F(ItemTreeTest, RemoveChildItemsRemovesEachChild) {
    root().removeChildItems({a, c});
    EXPECT_EQ(titles(root()), "B");
    drain();
    undo().undo();
    EXPECT_EQ(titles(root()), "A B C");
}

TEST_F(ItemTreeTest, ReorderTakesACompleteNewOrderOnly) {
    root().reorderChildItems({c, a, b});
    EXPECT_EQ(titles(root()), "C A B");
    drain();
    undo().undo();
    EXPECT_EQ(titles(root()), "A B C");
    KSLogCapture log;
    root().reorderChildItems({c, a});
    EXPECT_EQ(titles(root()), "A B C");
    EXPECT_TRUE(log.contains("reorderChildItems"));
}

TEST_F(ItemTreeTest, SortsRecursivelyWithAComparator) {
    auto z = add<RecordingTask>("z", a.get());
    auto y = add<RecordingTask>("y", a.get());
    root().reorderChildItems({c, b, a});
    drain();
    root().sortChildrenWithDescriptorsRecursively(
        [](const KSProjectItem& l, const KSProjectItem& r) { return l.title() < r.title(); }, true);
    EXPECT_EQ(titles(root()), "A B C");
    EXPECT_EQ(titles(*a), "y z");
}

TEST_F(ItemTreeTest, ReplaceSelectedItemsWritesTheSortedItemsInOrder) {
    root().replaceSelectedItemsWithSortedItems({0, 2}, {c, a});
    EXPECT_EQ(titles(root()), "C B A");
    drain();
    undo().undo();
    EXPECT_EQ(titles(root()), "A B C");
}

TEST_F(ItemTreeTest, UngroupingDetachesChildrenAndUndoRestoresThem) {
    auto x = add<RecordingTask>("x", a.get());
    auto y = add<RecordingTask>("y", a.get());
    drain();
    // The item-tree form: a task refuses to stop being a non-empty group.
    static_cast<KSProjectItem&>(*a).setIsGroup(false);
    EXPECT_FALSE(a->isGroup());
    EXPECT_EQ(x->parent(), nullptr);
    EXPECT_EQ(y->parent(), nullptr);
    drain();
    undo().undo();
    EXPECT_TRUE(a->isGroup());
    EXPECT_EQ(titles(*a), "x y");
    EXPECT_EQ(x->parent(), a.get());
}

TEST_F(ItemTreeTest, AnEmptyGroupIsAGroupWithNoChildren) {
    b->setIsGroup(true);
    EXPECT_TRUE(b->isGroup());
    EXPECT_EQ(b->countOfChildren(), 0u);
    EXPECT_TRUE(b->valueForKey("isGroup").boolValue());
    b->setValueForKey(KSValue(false), "isGroup");
    EXPECT_FALSE(b->isGroup());
}

TEST_F(ItemTreeTest, JoiningAScenarioIsUndoneByDeletingSelf) {
    auto loose = std::make_shared<RecordingTask>();
    loose->setScenario(scenario.get());
    EXPECT_EQ(loose->project(), project.get());
    undo().undo();
    EXPECT_EQ(loose->scenario(), nullptr);
}

TEST_F(ItemTreeTest, DeleteSelfLeavesTheTreeAndUndoBringsItBack) {
    b->deleteSelf();
    EXPECT_EQ(titles(root()), "A C");
    EXPECT_EQ(b->scenario(), nullptr);
    EXPECT_EQ(b->parent(), nullptr);
    drain();
    undo().undo();
    EXPECT_EQ(titles(root()), "A B C");
    EXPECT_EQ(b->scenario(), scenario.get());
    undo().redo();
    EXPECT_EQ(titles(root()), "A C");
    EXPECT_EQ(b->scenario(), nullptr);
}

TEST_F(ItemTreeTest, ObserversOfChildrenSetSeeInsertionsAndRemovals) {
    struct Observer : KSBaseObject {
        void observeValueForKeyPathOfObjectChangeContext(std::string_view key, KSBaseObject*,
                                                         const KSKeyValueChange& change,
                                                         const void*) override {
            kinds.push_back(std::string(key) + ":" + std::to_string(static_cast<int>(change.kind)) +
                            ":" + std::to_string(change.objects.size()));
        }
        std::vector<std::string> kinds;
    } observer;
    root().addObserverForKeyPathOptionsContext(&observer, "childrenSet", 0, nullptr);
    add<RecordingTask>("D");
    root().removeObjectFromChildrenAtIndex(0);
    root().insertObjectInChildrenAtIndex(b, 2);
    root().removeObserver(&observer);
    EXPECT_EQ(observer.kinds,
              (std::vector<std::string>{"childrenSet:2:1", "childrenSet:3:1", "childrenSet:4:3"}));
}

}  // namespace
}  // namespace kestrum::test
