// Outline positions, comparators, sequence numbers, user-data walks and scrambling.
#include <gtest/gtest.h>

#include <algorithm>

#include "ProjectFixture.h"

namespace kestrum::test {
namespace {

class PositionTest : public ProjectTest {
protected:
    void SetUp() override {
        ProjectTest::SetUp();
        // A (a1 (a11), a2), B
        a = add<RecordingTask>("A");
        a1 = add<RecordingTask>("a1", a.get());
        a11 = add<RecordingTask>("a11", a1.get());
        a2 = add<RecordingTask>("a2", a.get());
        b = add<RecordingTask>("B");
        drain();
    }
    std::shared_ptr<RecordingTask> a, a1, a11, a2, b;
};

TEST_F(PositionTest, LevelsAndAncestry) {
    EXPECT_EQ(root().level(), 0);
    EXPECT_EQ(a->level(), 1);
    EXPECT_EQ(a11->level(), 3);
    EXPECT_EQ(a11->rootItem(), &root());
    EXPECT_TRUE(a11->isAncestor(*a));
    EXPECT_FALSE(a->isAncestor(*a11));
    auto path = a11->ancestryPath();
    ASSERT_TRUE(path.has_value());
    EXPECT_EQ(*path, (std::vector<const KSProjectItem*>{a.get(), a1.get(), a11.get()}));
    EXPECT_TRUE(root().ancestryPath()->empty());
    RecordingTask loose;
    EXPECT_FALSE(loose.ancestryPath().has_value());
    EXPECT_EQ(loose.level(), 0);
    EXPECT_EQ(a->recursiveChildrenCount(), 3u);
    EXPECT_EQ(a2->childrenRank(), 1);
    EXPECT_EQ(root().allItemsButSelf().size(), 5u);
}

TEST_F(PositionTest, CompareByPositionIsOutlineOrder) {
    EXPECT_EQ(a->compareByPosition(*a), KSOrderedSame);
    EXPECT_EQ(a->compareByPosition(*a1), KSOrderedAscending);
    EXPECT_EQ(a1->compareByPosition(*a), KSOrderedDescending);
    EXPECT_EQ(a11->compareByPosition(*a2), KSOrderedAscending);
    EXPECT_EQ(b->compareByPosition(*a11), KSOrderedDescending);
    KSProjectItemList shuffled{b, a11, a, a2, a1};
    KSProjectItemList ordered = KSProjectItem::orderedItemsForItems(shuffled);
    EXPECT_EQ(ordered, (KSProjectItemList{a, a1, a11, a2, b}));
    EXPECT_EQ(KSProjectItem::topLevelItemsForItems({a11, b, a1, a2}),
              (KSProjectItemList{a1, a2, b}));
}

TEST_F(PositionTest, LevelComparatorsBreakTiesBySequenceOrPosition) {
    a1->setSequenceNumber(5);
    a2->setSequenceNumber(3);
    EXPECT_EQ(a1->compareByLevelAndSequenceNumber(*a2), KSOrderedDescending);
    EXPECT_EQ(a1->compareByAscendingLevelAndDescendingSequenceNumber(*a2), KSOrderedAscending);
    EXPECT_EQ(a1->compareByLevelAndSequenceNumber(*b), KSOrderedDescending);
    EXPECT_EQ(a1->compareByLevelAndPosition(*a2), KSOrderedAscending);
    EXPECT_EQ(b->ascendingCompareByLevel(*a11), KSOrderedAscending);
    EXPECT_EQ(a1->descendingCompareBySequenceNumber(*a2), KSOrderedAscending);
}

TEST_F(PositionTest, SequenceNumbersFollowTheMarkedPath) {
    a11->setShouldIncludeInSequence(true);
    EXPECT_TRUE(a->shouldIncludeInSequence());
    EXPECT_TRUE(root().shouldIncludeInSequence());
    EXPECT_FALSE(b->shouldIncludeInSequence());
    std::uint32_t next = root().sequenceStartingAtNumber(10);
    EXPECT_EQ(root().sequenceNumber(), 10u);
    EXPECT_EQ(a->sequenceNumber(), 11u);
    EXPECT_EQ(a1->sequenceNumber(), 12u);
    EXPECT_EQ(a11->sequenceNumber(), 13u);
    EXPECT_EQ(a2->sequenceNumber(), 14u);
    EXPECT_EQ(b->sequenceNumber(), 15u);
    EXPECT_EQ(next, 16u);
    EXPECT_FALSE(a->shouldIncludeInSequence());
    a->setHasBeenIndented(true);
    EXPECT_TRUE(a11->hasBeenIndented());
    EXPECT_FALSE(b->hasBeenIndented());
}

TEST_F(PositionTest, EnumerationVisitsInOutlineOrderAndStops) {
    std::vector<std::string> seen;
    a->enumerateObjectsUsingBlock([&](KSProjectItem& item, bool* stop) {
        seen.push_back(item.title().value_or("?"));
        if (item.title() == "a11") *stop = true;
    });
    EXPECT_EQ(seen, (std::vector<std::string>{"A", "a1", "a11"}));
    KSProjectItemList groups;
    root().addDescendentsMatchingPredicateToArray(
        [](const KSProjectItem& item) { return item.isGroup(); }, groups);
    EXPECT_EQ(groups, (KSProjectItemList{a, a1}));
    EXPECT_TRUE(a->hasDescendentInSet({a11.get()}));
    EXPECT_FALSE(a->hasDescendentInSet({b.get(), a.get()}));
}

TEST_F(PositionTest, UserDataWalksTheSubtree) {
    project->setTaskUserDataKeys({"Owner", "Code"});
    a11->setUserDataForKey("ann", "Owner");
    EXPECT_TRUE(a->hasAnyValuesForUserDataKeyExceptingObjects("Owner", {}));
    EXPECT_FALSE(a->hasAnyValuesForUserDataKeyExceptingObjects("Owner", {a11.get()}));
    EXPECT_FALSE(b->hasAnyValuesForUserDataKeyExceptingObjects("Owner", {}));
    drain();
    root().userDataChangedKeyFromTo("Owner", std::string("Lead"));
    EXPECT_EQ(a11->userDataForKey("Lead"), "ann");
    EXPECT_EQ(a11->userDataForKey("Owner"), "");
    drain();
    undo().undo();
    EXPECT_EQ(a11->userDataForKey("Owner"), "ann");
    EXPECT_EQ(a11->userDataForKey("Lead"), "");
    root().userDataChangedKeyFromTo("Owner", std::nullopt);
    EXPECT_EQ(a11->userDataForKey("Owner"), "");
    drain();
    undo().undo();
    EXPECT_EQ(a11->userDataForKey("Owner"), "ann");
}

TEST_F(PositionTest, GibberizeNumbersTitlesAndScramblesText) {
    project->setTaskUserDataKeys({"Owner"});
    a1->setUserDataForKey("Ann Lee, 42!", "Owner");
    a1->setNotes(KSValue("Call Bob."));
    std::int64_t next = a->gibberizeWithNumber(1);
    EXPECT_EQ(next, 5);
    EXPECT_EQ(a->title(), "Task 1");
    EXPECT_EQ(a1->title(), "Task 2");
    EXPECT_EQ(a11->title(), "Task 3");
    EXPECT_EQ(a2->title(), "Task 4");
    EXPECT_EQ(a1->userDataForKey("Owner"), "Xxx Xxx, xx!");
    EXPECT_EQ(a1->noteString(), "Xxxx Xxx.");
}

}  // namespace
}  // namespace kestrum::test
