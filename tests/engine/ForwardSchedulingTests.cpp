// Plans anchored at their start: chains, slack, lead and lag, constraints, locks,
// milestones, late tasks and hammocks.
#include "Model/engine/KSCriticalPath.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class ForwardSchedulingTest : public ScheduleTest {};

// Mon 8 Jan 2024 08:00 start.
//   A  8h                Mon 08:00 - Mon 17:00
//   B 16h  after A       Tue 08:00 - Wed 17:00
//   C  4h  after B       Thu 08:00 - Thu 12:00
//   D  4h  unlinked      Mon 08:00 - Mon 12:00
TEST_F(ForwardSchedulingTest, AChainTakesItsDatesAndSlackFromItsLinks) {
    auto a = task("A", 8);
    auto b = task("B", 16);
    auto c = task("C", 4);
    auto d = task("D", 4);
    link(a, b);
    link(b, c);
    drain();
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-08T17:00");
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-10T17:00");
    EXPECT_EQ(span(c), "2024-01-11T08:00 - 2024-01-11T12:00");
    EXPECT_EQ(span(d), "2024-01-08T08:00 - 2024-01-08T12:00");
    EXPECT_EQ(span(scenario->rootTask()), "2024-01-08T08:00 - 2024-01-11T12:00");
    // The chain is critical; D may slip until the plan ends, Thursday noon.
    for (const auto& t : {a, b, c}) {
        EXPECT_EQ(t->totalSlack(), 0.0) << *t->title();
        EXPECT_EQ(t->freeSlack(), 0.0) << *t->title();
    }
    EXPECT_EQ(d->totalSlack(), 24 * kHour);
    EXPECT_EQ(d->freeSlack(), 24 * kHour);
    EXPECT_EQ(iso(d->absoluteEndLimit()), "2024-01-11T12:00");
    EXPECT_EQ(iso(d->latestPossibleStart()), "2024-01-11T08:00");
    EXPECT_EQ(iso(c->earliestPossibleEnd()), "2024-01-11T12:00");
}

// A gap before a dependent is free slack of the prerequisite and total slack of both:
//   A  8h  Mon;  B 4h after A, no earlier than Wed 08:00;  C 4h unlinked.
TEST_F(ForwardSchedulingTest, AConstraintOpensFreeSlackBeforeIt) {
    auto a = task("A", 8);
    auto b = task("B", 4);
    link(a, b);
    b->setStartAfter(at(2024, 1, 10, 8));
    drain();
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-10T12:00");
    EXPECT_EQ(a->freeSlack(), 8 * kHour);   // all of Tuesday
    EXPECT_EQ(a->totalSlack(), 8 * kHour);  // the constraint holds B, not A
    EXPECT_EQ(b->totalSlack(), 0.0);
}

// Lead times move the dependent in working time from the prerequisite's end (Mon 17:00).
TEST_F(ForwardSchedulingTest, LeadAndLagCountWorkingTime) {
    auto a = task("A", 8);
    auto lag = task("Lag 4h", 4);
    auto lead = task("Lead 4h", 4);
    auto half = task("Half of A", 4);
    auto days = task("Lag 3 days", 4);
    link(a, lag, KSDependencyFinishToStart, 4 * kHour);
    link(a, lead, KSDependencyFinishToStart, -4 * kHour);
    auto percent = link(a, half, KSDependencyFinishToStart, 0.5);
    percent->setLeadTimeIsPercentage(true);
    link(a, days, KSDependencyFinishToStart, 24 * kHour);
    drain();
    // Four working hours after Mon 17:00 is Tue 12:00; work resumes at 13:00.
    EXPECT_EQ(iso(lag->startDate()), "2024-01-09T13:00");
    // Four hours before A's end: the afternoon of Monday.
    EXPECT_EQ(iso(lead->startDate()), "2024-01-08T13:00");
    // Half of A's eight hours is four.
    EXPECT_EQ(iso(half->startDate()), "2024-01-09T13:00");
    EXPECT_EQ(percent->leadTimeString(), "+50%");
    // Three working days after Monday evening, over no weekend: Friday.
    EXPECT_EQ(iso(days->startDate()), "2024-01-12T08:00");
    EXPECT_EQ(iso(days->endDate()), "2024-01-12T12:00");
}

TEST_F(ForwardSchedulingTest, APercentageOfAMilestoneMovesNothing) {
    auto m = milestone("M");
    auto t = task("T", 4);
    auto dependency = link(m, t, KSDependencyFinishToStart, 0.5);
    dependency->setLeadTimeIsPercentage(true);
    drain();
    EXPECT_EQ(iso(t->startDate()), "2024-01-08T08:00");
}

// Links of the four kinds from A (Mon 08:00 - Mon 17:00), each into a 4h task.
TEST_F(ForwardSchedulingTest, EachKindJoinsItsEnds) {
    auto a = task("A", 8);
    auto ss = task("SS", 4);
    auto ff = task("FF", 4);
    auto sf = task("SF", 4);
    link(a, ss, KSDependencyStartToStart, 2 * kHour);
    link(a, ff, KSDependencyFinishToFinish);
    link(a, sf, KSDependencyStartToFinish, 8 * kHour);
    drain();
    EXPECT_EQ(span(ss), "2024-01-08T10:00 - 2024-01-08T15:00");
    // Ends when A ends.
    EXPECT_EQ(span(ff), "2024-01-08T13:00 - 2024-01-08T17:00");
    // Ends a working day after A starts.
    EXPECT_EQ(span(sf), "2024-01-08T13:00 - 2024-01-08T17:00");
}

// A start lock holds the date as given, even outside working time; constraints bound a
// start (or an end) from below.
TEST_F(ForwardSchedulingTest, LocksAndConstraintsPlaceTasks) {
    auto locked = task("Locked", 8);
    locked->setStartLockedDate(at(2024, 1, 13, 10));  // a Saturday
    auto after = task("After", 4);
    link(locked, after);
    auto startAfter = task("Start after", 4);
    startAfter->setStartAfter(at(2024, 1, 10, 13));
    auto endAfter = task("End after", 4);
    endAfter->setEndAfter(at(2024, 1, 11, 17));
    drain();
    EXPECT_EQ(span(locked), "2024-01-13T10:00 - 2024-01-15T17:00");
    EXPECT_EQ(span(after), "2024-01-16T08:00 - 2024-01-16T12:00");
    EXPECT_EQ(span(startAfter), "2024-01-10T13:00 - 2024-01-10T17:00");
    EXPECT_EQ(span(endAfter), "2024-01-11T13:00 - 2024-01-11T17:00");
    // Locked at both ends, a task keeps both dates.
    locked->setEndLockedDate(at(2024, 1, 19, 17));
    drain();
    EXPECT_EQ(span(locked), "2024-01-13T10:00 - 2024-01-19T17:00");
    EXPECT_EQ(iso(after->startDate()), "2024-01-22T08:00");
}

TEST_F(ForwardSchedulingTest, ANoLaterConstraintHoldsALateTaskButNotAnEarlyOne) {
    auto early = task("Early", 4);
    early->setEndBefore(at(2024, 1, 10, 17));
    auto late = task("Late", 4);
    late->setScheduleType(scheduleTypeALAP);
    late->setEndBefore(at(2024, 1, 10, 17));
    auto longest = task("Longest", 40);
    drain();
    EXPECT_EQ(span(early), "2024-01-08T08:00 - 2024-01-08T12:00");
    EXPECT_EQ(span(late), "2024-01-10T13:00 - 2024-01-10T17:00");
    EXPECT_EQ(iso(longest->endDate()), "2024-01-12T17:00");
}

// A milestone has no length: it sits on its prerequisite's end and its dependents start
// from it.
TEST_F(ForwardSchedulingTest, AMilestoneMarksAMoment) {
    auto a = task("A", 8);
    auto m = milestone("Done");
    auto b = task("B", 4);
    link(a, m);
    link(m, b);
    drain();
    EXPECT_EQ(span(m), "2024-01-08T17:00 - 2024-01-08T17:00");
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-09T12:00");
    EXPECT_EQ(m->effort(), 0.0);
    // A link into a milestone's end reads as a link into its start.
    auto c = task("C", 4);
    auto intoEnd = link(c, m, KSDependencyFinishToFinish);
    EXPECT_EQ(intoEnd->dependencyKind(), KSDependencyFinishToStart);
}

// Late tasks in a start-anchored plan sit on their absolute end limits.
//   A 8h Mon; B 8h after A (Tue): the plan ends Tue 17:00.
//   Late 4h (ALAP, unlinked): ends with the plan.  Feeder 4h (ALAP) before B: ends Mon 17:00.
TEST_F(ForwardSchedulingTest, LateTasksEndAsLateAsThePlanAllows) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    link(a, b);
    auto late = task("Late", 4);
    late->setScheduleType(scheduleTypeALAP);
    auto feeder = task("Feeder", 4);
    feeder->setScheduleType(scheduleTypeALAP);
    link(feeder, b);
    drain();
    EXPECT_EQ(span(late), "2024-01-09T13:00 - 2024-01-09T17:00");
    EXPECT_EQ(span(feeder), "2024-01-08T13:00 - 2024-01-08T17:00");
    // An ALAP task's slack lies before it: it could start as early as the plan does.
    EXPECT_EQ(late->totalSlack(), 12 * kHour);
    EXPECT_EQ(late->freeSlack(), 12 * kHour);
    EXPECT_EQ(feeder->totalSlack(), 4 * kHour);
    EXPECT_TRUE(late->isAsLateAsPossible());
}

TEST_F(ForwardSchedulingTest, GroupsSpanTheirChildrenAndAnEmptyGroupIsAMoment) {
    auto g = group("G");
    auto a = task("A", 8, g);
    auto b = task("B", 8, g);
    link(a, b);
    auto empty = group("Empty");
    auto after = task("After", 4);
    link(g, after);
    drain();
    EXPECT_EQ(span(g), "2024-01-08T08:00 - 2024-01-09T17:00");
    EXPECT_EQ(span(after), "2024-01-10T08:00 - 2024-01-10T12:00");
    EXPECT_EQ(span(empty), "2024-01-08T08:00 - 2024-01-08T08:00");
    EXPECT_EQ(g->scheduleType(), scheduleTypeASAP);
    EXPECT_TRUE(g->scheduleTypeNumber().isNull());
}

// A hammock spans from one link to another: here from A's end to B's end, and its effort
// is the working time in between.
TEST_F(ForwardSchedulingTest, AHammockSpansBetweenItsLinks) {
    auto a = task("A", 8);
    auto b = task("B", 16);
    link(a, b);
    auto h = task("Hammock", 1);
    link(a, h, KSDependencyFinishToStart);
    link(b, h, KSDependencyFinishToFinish);
    ASSERT_TRUE(h->canBecomeHammock());
    h->setTaskType(taskTypeHammock);
    ASSERT_TRUE(h->isHammockTask());
    drain();
    EXPECT_EQ(span(h), "2024-01-08T17:00 - 2024-01-10T17:00");
    EXPECT_EQ(h->effort(), 16 * kHour);
    // It follows when B moves.
    b->setEffort(24 * kHour);
    drain();
    EXPECT_EQ(span(h), "2024-01-08T17:00 - 2024-01-11T17:00");
    EXPECT_EQ(h->effort(), 24 * kHour);
}

TEST_F(ForwardSchedulingTest, AHammockWithoutAnEndLinkEndsWithThePlan) {
    auto a = task("A", 8);
    auto b = task("B", 16);
    auto c = task("C", 8);
    link(a, b);
    link(b, c);
    auto h = task("Hammock", 1);
    link(a, h);
    link(c, h, KSDependencyFinishToFinish);
    h->setTaskType(taskTypeHammock);
    drain();
    // Drop the end link: the hammock takes the root's end limit.
    h->prerequisiteForTask(c.get())->remove();
    drain();
    EXPECT_EQ(iso(h->endDate()), iso(root().currentEndLimit()));
    EXPECT_EQ(iso(h->endDate()), "2024-01-11T17:00");
}

}  // namespace
}  // namespace kestrum::test

namespace kestrum::test {
namespace {

// A critical path keeps its own absolute limits: seeded with an earlier plan end, its
// slack comes out smaller (never below 0), and the tasks' own limits stay as they were.
//   A 8h Mon;  B 16h after A (Tue-Wed);  C 4h after B (Thu morning);  D 4h unlinked.
TEST_F(ForwardSchedulingTest, ACriticalPathComputesLimitsInItsOwnCache) {
    auto a = task("A", 8);
    auto b = task("B", 16);
    auto c = task("C", 4);
    auto d = task("D", 4);
    link(a, b);
    link(b, c);
    drain();
    ASSERT_FALSE(scenario->criticalPaths().empty());
    KSCriticalPath& path = *scenario->criticalPaths().front();
    path.clearCachedDates();
    path.cacheDateForTask(at(2024, 1, 10, 17), root());
    EXPECT_EQ(iso(c->absoluteEndLimitForCriticalPath(&path)), "2024-01-10T17:00");
    EXPECT_EQ(iso(a->absoluteEndLimitForCriticalPath(&path)), "2024-01-08T12:00");
    EXPECT_EQ(c->resourceConstrainedTotalSlackForCriticalPath(&path), 0.0);
    EXPECT_EQ(d->resourceConstrainedTotalSlackForCriticalPath(&path), 20 * kHour);
    EXPECT_EQ(iso(c->absoluteEndLimit()), "2024-01-11T12:00");
    EXPECT_EQ(d->totalSlack(), 24 * kHour);
    EXPECT_EQ(iso(b->endForAbsoluteStartLimitForCriticalPath(nullptr)), "2024-01-10T17:00");
}

TEST_F(ForwardSchedulingTest, TheScheduleTypeCellOfAGroupReadsEmptyAgain) {
    auto g = group("G");
    auto a = task("A", 8, g);
    auto b = task("B", 8, g);
    drain();
    g->setScheduleTypeNumber(KSValue(static_cast<long long>(scheduleTypeALAP)));
    EXPECT_EQ(a->scheduleType(), scheduleTypeALAP);
    EXPECT_EQ(b->scheduleType(), scheduleTypeALAP);
    EXPECT_TRUE(g->scheduleTypeNumber().isNull());
    EXPECT_EQ(g->scheduleType(), scheduleTypeASAP);
    drain();
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-08T17:00");
    undo().undo();
    EXPECT_EQ(a->scheduleType(), scheduleTypeASAP);
    EXPECT_EQ(a->scheduleTypeNumber().integerValue(), scheduleTypeASAP);
}

}  // namespace
}  // namespace kestrum::test
