// Reads between edits: each plan here once kept a stale date in a cache after an edit,
// found by the random plans of DateCacheDifferentialTests. Every read happens before the
// edit cycle recomputes anything.
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class CacheInvalidationTest : public ScheduleTest {};

// A locked task's limits are its own dates. Setting a lock walks only the dates.
//   A 8h, end locked on Wed 17:00       Wed 08:00 - Wed 17:00
//   B 8h after A                        Thu 08:00 - Thu 17:00
TEST_F(CacheInvalidationTest, ALockedTasksLimitsFollowItsLock) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    link(a, b);
    drain();
    ASSERT_EQ(span(a), "2024-01-08T08:00 - 2024-01-08T17:00");
    ASSERT_EQ(iso(a->currentEndLimit()), "2024-01-08T17:00");

    lockEnd(a, at(2024, 1, 10, 17));
    EXPECT_EQ(span(a), "2024-01-10T08:00 - 2024-01-10T17:00");
    EXPECT_EQ(span(b), "2024-01-11T08:00 - 2024-01-11T17:00");
    EXPECT_EQ(iso(a->currentEndLimit()), "2024-01-10T17:00");
    EXPECT_EQ(iso(a->absoluteStartLimit()), "2024-01-10T08:00");
    EXPECT_EQ(iso(a->absoluteEndLimit()), "2024-01-10T17:00");
    EXPECT_EQ(iso(b->absoluteStartLimit()), "2024-01-11T08:00");
    EXPECT_EQ(a->freeSlack(), 0.0);

    // Unlocked, A goes back to Monday and its limits with it: B holds its end.
    a->setEndLockedDate(KSDateTime());
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-08T17:00");
    EXPECT_EQ(iso(a->currentEndLimit()), "2024-01-08T17:00");
    EXPECT_EQ(iso(a->absoluteStartLimit()), "2024-01-08T08:00");
    EXPECT_EQ(iso(b->absoluteStartLimit()), "2024-01-09T08:00");
}

// Moving a task clears all its dates at once; its dependents read them through the link.
// G starts no earlier than Wed 08:00 and holds X (24h), which ends the plan: nothing of G
// moves when A joins it, so no walk of G's reaches D.
//   A 8h                 Mon 08:00 - Mon 17:00, then moved into G: Wed 08:00 - Wed 17:00
//   D 8h after A         Tue 08:00 - Tue 17:00,                     Thu 08:00 - Thu 17:00
TEST_F(CacheInvalidationTest, AMovedTaskTakesItsDependentsAlong) {
    auto g = group("G");
    constrain(g, StartNoEarlierThan, at(2024, 1, 10, 8));
    task("X", 24, g);
    auto a = task("A", 8);
    auto d = task("D", 8);
    link(a, d);
    drain();
    ASSERT_EQ(span(d), "2024-01-09T08:00 - 2024-01-09T17:00");
    ASSERT_EQ(iso(d->absoluteStartLimit()), "2024-01-09T08:00");

    g->insertChildTaskAtIndex(a, 1);
    EXPECT_EQ(span(a), "2024-01-10T08:00 - 2024-01-10T17:00");
    EXPECT_EQ(span(d), "2024-01-11T08:00 - 2024-01-11T17:00");
    EXPECT_EQ(iso(d->absoluteStartLimit()), "2024-01-11T08:00");
}

// A hammock turned into a plain task in the same cycle keeps the default effort (8h); its
// finish-to-finish link, which a hammock reads for its end only, now bounds its start.
//   A 8h                          Mon 08:00 - Mon 17:00
//   B 16h                         Mon 08:00 - Tue 17:00
//   H hammock, SS A and FF B      Mon 08:00 - Tue 17:00;   as a task: Tue 08:00 - Tue 17:00
TEST_F(CacheInvalidationTest, AHammockTurnedIntoATaskIsDatedAsATask) {
    auto a = task("A", 8);
    auto b = task("B", 16);
    auto h = hammock("H", a, b);
    ASSERT_EQ(span(h), "2024-01-08T08:00 - 2024-01-09T17:00");
    ASSERT_EQ(iso(h->absoluteStartLimit()), "2024-01-08T08:00");

    h->setTaskType(taskTypeTask);
    EXPECT_EQ(span(h), "2024-01-09T08:00 - 2024-01-09T17:00");
    EXPECT_EQ(iso(h->absoluteStartLimit()), "2024-01-09T08:00");
    EXPECT_EQ(iso(h->currentEndLimit()), "2024-01-09T17:00");
}

// A group's effort and progress are its children's: the group's uncompleted start follows
// them.   G: A 8h Mon, B 8h after A Tue.  A done: the rest of G's work begins Tuesday.
TEST_F(CacheInvalidationTest, AGroupsUncompletedStartFollowsItsChildrensProgress) {
    auto g = group("G");
    auto a = task("A", 8, g);
    auto b = task("B", 8, g);
    link(a, b);
    drain();
    ASSERT_EQ(iso(g->uncompletedStartDate()), "2024-01-08T08:00");
    a->setEffortDone(8 * kHour);
    EXPECT_EQ(iso(g->uncompletedStartDate()), "2024-01-09T08:00");
    b->setEffortDone(4 * kHour);
    EXPECT_EQ(iso(g->uncompletedStartDate()), "2024-01-09T13:00");
}

// A's latest end is read from its dependent's latest start, in a plan anchored at its end
// where nothing else reads the plan's earliest end or its absolute start (through which a
// change would reach the whole plan). A constraint on B's end moves A's latest end.
//   The plan ends Fri 12 Jan 17:00.  Long 32h (ALAP) beside them.
//   A 8h (ALAP)            latest end Fri 12:00, then Wed 12:00
//   B 4h (ALAP) after A    ends no later than Wed 17:00
TEST_F(CacheInvalidationTest, APrerequisitesLatestEndFollowsItsDependent) {
    anchorEnd(at(2024, 1, 12, 17));
    auto a = task("A", 8);
    auto b = task("B", 4);
    auto longest = task("Long", 40);
    for (const auto& t : {a, b, longest})
        t->setScheduleType(scheduleTypeALAP);
    link(a, b);
    drain();
    longest->setEffort(32 * kHour);
    ASSERT_EQ(iso(a->absoluteEndLimit()), "2024-01-12T12:00");
    constrain(b, EndNoLaterThan, at(2024, 1, 10, 17));
    EXPECT_EQ(iso(b->latestPossibleStart()), "2024-01-10T13:00");
    EXPECT_EQ(iso(a->absoluteEndLimit()), "2024-01-10T12:00");
}

// L turns late: its start moves to Friday while its end was never read since its effort
// changed. S, joined to L's start, follows.
//   Long 40h holds the plan's end on Friday 17:00.
//   L 4h          Mon 08:00 - Mon 12:00;  ALAP: Fri 08:00 - Fri 12:00
//   S 8h, SS L    Mon 08:00 - Mon 17:00;        Fri 08:00 - Fri 17:00
TEST_F(CacheInvalidationTest, ATaskJoinedToAStartFollowsItAlone) {
    task("Long", 40);
    auto l = task("L", 8);
    auto s = task("S", 8);
    link(l, s, KSDependencyStartToStart);
    drain();
    l->setEffort(4 * kHour);
    ASSERT_EQ(iso(s->startDate()), "2024-01-08T08:00");
    l->setScheduleType(scheduleTypeALAP);
    EXPECT_EQ(span(l), "2024-01-12T08:00 - 2024-01-12T12:00");
    EXPECT_EQ(span(s), "2024-01-12T08:00 - 2024-01-12T17:00");
}

// The start limit without opposite scheduling of a task under the root, in a plan anchored
// at its end, is the plan's latest start. It is read alone, while the root's own start
// limit is not: a longer A must still reach it.
//   The plan ends Fri 12 Jan 17:00.  A 16h then 24h (ALAP);  B 8h (ALAP).
TEST_F(CacheInvalidationTest, AStartLimitWithoutOppositeSchedulingFollowsThePlan) {
    anchorEnd(at(2024, 1, 12, 17));
    auto a = task("A", 8);
    a->setScheduleType(scheduleTypeALAP);
    auto b = task("B", 8);
    b->setScheduleType(scheduleTypeALAP);
    drain();
    a->setEffort(16 * kHour);
    ASSERT_EQ(iso(b->_computeCurrentStartLimitIncludingOppositeScheduling(false)),
              "2024-01-11T08:00");
    a->setEffort(24 * kHour);
    EXPECT_EQ(iso(b->_computeCurrentStartLimitIncludingOppositeScheduling(false)),
              "2024-01-10T08:00");
}

// An empty group's dates are its start limit; a link reads its end, not its start.
//   G, empty, starts no earlier than Tue 08:00, then Wed 08:00;  B 8h after G.
TEST_F(CacheInvalidationTest, AnEmptyGroupsEndFollowsItsStartLimit) {
    auto g = group("G");
    auto b = task("B", 8);
    link(g, b);
    drain();
    constrain(g, StartNoEarlierThan, at(2024, 1, 9, 8));
    ASSERT_EQ(span(b), "2024-01-09T08:00 - 2024-01-09T17:00");
    constrain(g, StartNoEarlierThan, at(2024, 1, 10, 8));
    EXPECT_EQ(iso(g->endDate()), "2024-01-10T08:00");
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-10T17:00");
}

// A task locked at its end derives its start from the end and its length.
//   A, end locked on Wed 17:00:  8h from Wed 08:00;  12h from Tue 13:00;  16h from Tue 08:00
TEST_F(CacheInvalidationTest, ATaskLockedAtItsEndStartsEarlierWhenItGrows) {
    auto a = task("A", 8);
    lockEnd(a, at(2024, 1, 10, 17));
    drain();
    ASSERT_EQ(span(a), "2024-01-10T08:00 - 2024-01-10T17:00");
    a->setEffort(12 * kHour);
    ASSERT_EQ(iso(a->startDate()), "2024-01-09T13:00");
    a->setEffort(16 * kHour);
    EXPECT_EQ(iso(a->startDate()), "2024-01-09T08:00");
}

// A split task moves its limits into working time only while it has work. The plan
// starts on Friday 17:00; S's chunks (2h, 12h) start on Monday, and when both are gone S
// stands where the plan starts.
TEST_F(CacheInvalidationTest, ASplitTaskWithoutWorkLeavesItsLimitsWhereTheyFall) {
    anchorStart(at(2024, 1, 5, 17));
    auto s = split("S", {2, 12}, {KSDateTime()});
    ASSERT_EQ(iso(s->currentStartLimit()), "2024-01-08T08:00");
    s->removeChildTask(s->childTaskAtIndex(1));
    s->removeChildTask(s->childTaskAtIndex(0));
    EXPECT_EQ(iso(s->currentStartLimit()), "2024-01-05T17:00");
    EXPECT_EQ(span(s), "2024-01-05T17:00 - 2024-01-05T17:00");
}

// Split S, read as soon as made: 8h, then 4h from Wed 08:00, then 4h from Thu 08:00.
// Chunk 1 may end as late as the next chunk starts: Wed 08:00, and with chunk 2 gone
// Thu 08:00.
TEST_F(CacheInvalidationTest, AChunkIsBoundByWhicheverChunkComesNext) {
    auto s = split("S", {8, 4, 4}, {at(2024, 1, 10, 8), at(2024, 1, 11, 8)});
    auto first = s->childTaskAtIndex(0);
    ASSERT_EQ(iso(first->currentEndLimit()), "2024-01-10T08:00");
    s->childTaskAtIndex(1)->deleteSelf();
    EXPECT_EQ(iso(first->currentEndLimit()), "2024-01-11T08:00");
}

// G ends no earlier than Wed 17 Jan 10:00: its start limit converts that date through its
// children's lengths. T (1h) becomes a split task of 2h and 40h (from Mon 22 Jan 15:00);
// a split task converts by its effort: 42 working hours before the bound is Wed 10 Jan
// 08:00. (While T takes its chunks, the chunks' dates are read with T still a group.)
TEST_F(CacheInvalidationTest, AGroupsEndBoundConvertsThroughAChildThatBecameSplit) {
    auto g = group("G");
    auto t = task("T", 1, g);
    constrain(g, EndNoEarlierThan, at(2024, 1, 17, 10));
    drain();
    auto first = std::make_shared<KSTask>();
    first->setEffort(2 * kHour);
    auto second = std::make_shared<KSTask>();
    second->setEffort(40 * kHour);
    second->setStartAfter(at(2024, 1, 22, 15));
    t->setTaskTypeSplitTaskWithSplitChildren(taskTypeTask, true, KSTaskList{first, second});
    EXPECT_EQ(iso(g->currentStartLimit()), "2024-01-10T08:00");
    EXPECT_EQ(iso(first->startDate()), "2024-01-10T08:00");
}

// The plan starts on Friday 17:00. T, without work, stands there; given an hour through
// its duration (which reads its start first) it starts when work does, on Monday.
TEST_F(CacheInvalidationTest, ATaskThatGetsWorkMovesIntoWorkingTime) {
    anchorStart(at(2024, 1, 5, 17));
    drain();
    auto t = task("T", 0);
    t->setDuration(1 * kHour);
    EXPECT_EQ(span(t), "2024-01-08T08:00 - 2024-01-08T09:00");
}

// A hammock's end is pulled by its end-aligned prerequisites. Splitting B (8h, then 8h
// resuming Wed 13:00) moves its end to Thu 12:00: so does H's end limit.
//   A 8h Mon;  B 16h Mon - Tue, split: Mon, then Wed 13:00 - Thu 12:00
//   H hammock from A's start to B's end;  Long 80h holds the plan's end.
TEST_F(CacheInvalidationTest, AHammockEndsWhenItsEndPrerequisiteDoes) {
    auto a = task("A", 8);
    auto b = task("B", 16);
    task("Long", 80);
    auto h = hammock("H", a, b);
    drain();
    ASSERT_EQ(span(h), "2024-01-08T08:00 - 2024-01-09T17:00");
    ASSERT_EQ(iso(h->currentEndLimit()), "2024-01-09T17:00");

    KSTaskList chunks{std::make_shared<KSTask>(), std::make_shared<KSTask>()};
    chunks[0]->setEffort(8 * kHour);
    chunks[1]->setEffort(8 * kHour);
    chunks[1]->setStartAfter(at(2024, 1, 10, 13));
    b->setTaskTypeSplitTaskWithSplitChildren(taskTypeTask, true, chunks);
    EXPECT_EQ(span(b), "2024-01-08T08:00 - 2024-01-11T12:00");
    EXPECT_EQ(iso(h->currentEndLimit()), "2024-01-11T12:00");
    EXPECT_EQ(span(h), "2024-01-08T08:00 - 2024-01-11T12:00");
}

// Split S: chunk 1 of 8h, chunk 2 of 4h resuming no earlier than Tue 13:00. Long (40h)
// beside it holds the plan's end on Friday 17:00. A lock moves a chunk without any walk
// of the limits (a constraint would set off the plan-wide one).
//   S #1  Mon 08:00 - Mon 17:00        S #2  Tue 13:00 - Tue 17:00
class SplitCacheTest : public CacheInvalidationTest {
protected:
    void SetUp() override {
        CacheInvalidationTest::SetUp();
        auto s = split("S", {8, 4}, {at(2024, 1, 9, 13)});
        first = s->childTaskAtIndex(0);
        second = s->childTaskAtIndex(1);
        task("Long", 40);
        drain();
        ASSERT_EQ(span(first), "2024-01-08T08:00 - 2024-01-08T17:00");
        ASSERT_EQ(span(second), "2024-01-09T13:00 - 2024-01-09T17:00");
        ASSERT_EQ(iso(first->currentEndLimit()), "2024-01-09T13:00");
    }
    std::shared_ptr<KSTask> first, second;
};

// Chunk 1 locked on Tuesday: chunk 2 starts after it, Wed 08:00 - Wed 12:00.
TEST_F(SplitCacheTest, AChunkStartsAfterTheChunkBeforeIt) {
    first->setStartLockedDate(at(2024, 1, 9, 8));
    EXPECT_EQ(span(first), "2024-01-09T08:00 - 2024-01-09T17:00");
    EXPECT_EQ(span(second), "2024-01-10T08:00 - 2024-01-10T12:00");
}

// Chunk 2 locked on Thu 13:00: chunk 1 may now end as late as that, 20h after its end.
TEST_F(SplitCacheTest, AChunkBoundsTheEndOfTheChunkBeforeIt) {
    second->setStartLockedDate(at(2024, 1, 11, 13));
    EXPECT_EQ(span(second), "2024-01-11T13:00 - 2024-01-11T17:00");
    EXPECT_EQ(iso(first->currentEndLimit()), "2024-01-11T13:00");
    EXPECT_EQ(first->freeSlack(), 20 * kHour);
}

// Chunk 2's absolute start limit is read from chunk 1's, while chunk 1's earliest end,
// through which a change would otherwise reach the whole plan, is not cached yet.
// Chunk 1 then waits until Wed 08:00 and ends at noon: chunk 2 may start at 13:00.
TEST_F(SplitCacheTest, AChunkStartsNoEarlierThanTheChunkBeforeItCouldEnd) {
    first->setEffort(4 * kHour);
    ASSERT_EQ(iso(second->absoluteStartLimit()), "2024-01-09T13:00");
    first->setStartAfter(at(2024, 1, 10, 8));
    EXPECT_EQ(iso(second->absoluteStartLimit()), "2024-01-10T13:00");
}

}  // namespace
}  // namespace kestrum::test
