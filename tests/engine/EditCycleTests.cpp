// Dates in the edit cycle: reading between edits, undo, notices, the span limit, setting
// dates, leveling limits and long chains.
#include "Model/engine/KSIssue.h"
#include "Platform/core/KSNotificationCenter.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class EditCycleTest : public ScheduleTest {};

//   A 8h Mon;  B 8h after A (Tue);  C 8h after B (Wed)
TEST_F(EditCycleTest, AnEditIsReadAtOnceWithoutFlushingAndUndoneAsAWhole) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    auto c = task("C", 8);
    link(a, b);
    link(b, c);
    drain();
    ASSERT_EQ(span(c), "2024-01-10T08:00 - 2024-01-10T17:00");

    a->setEffort(16 * kHour);
    // Nothing recomputed yet, but every read is current.
    EXPECT_FALSE(scenario->tasksNeedingRevalidation().empty());
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-09T17:00");
    EXPECT_EQ(span(c), "2024-01-11T08:00 - 2024-01-11T17:00");
    EXPECT_EQ(iso(root().endDate()), "2024-01-11T17:00");
    drain();
    EXPECT_TRUE(scenario->tasksNeedingRevalidation().empty());
    EXPECT_EQ(undo().undoActionName(), "Set Effort");

    undo().undo();
    EXPECT_EQ(a->effort(), 8 * kHour);
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-09T17:00");
    EXPECT_EQ(span(c), "2024-01-10T08:00 - 2024-01-10T17:00");
    undo().redo();
    EXPECT_EQ(span(c), "2024-01-11T08:00 - 2024-01-11T17:00");
}

// A task bound by its end (no earlier than Thursday 17:00) starts earlier when it grows:
// its start limit reads its own length, and a change of length reaches it through the
// plan-wide walk, as it reaches the task beside it that shares nothing with it.
TEST_F(EditCycleTest, ALongerTaskBoundByItsEndStartsEarlier) {
    auto t = task("T", 4);
    t->setEndAfter(at(2024, 1, 11, 17));
    auto apart = task("Apart", 16);
    drain();
    ASSERT_EQ(span(t), "2024-01-11T13:00 - 2024-01-11T17:00");
    t->setEffort(8 * kHour);
    EXPECT_EQ(span(t), "2024-01-11T08:00 - 2024-01-11T17:00");
    t->setEffort(12 * kHour);
    drain();
    EXPECT_EQ(span(t), "2024-01-10T13:00 - 2024-01-11T17:00");
    EXPECT_EQ(span(apart), "2024-01-08T08:00 - 2024-01-09T17:00");
    EXPECT_EQ(apart->totalSlack(), 16 * kHour);
}

// Between two edits nothing is recomputed; every read must still be current, also where a
// length turns one end's bound into the other's: an end-aligned link, a percentage lead.
TEST_F(EditCycleTest, LengthsReadThroughLinksStayCurrentBetweenEdits) {
    auto a = task("A", 8);
    auto b = task("B", 4);
    link(a, b, KSDependencyFinishToFinish);
    auto c = task("C", 4);
    link(a, c, KSDependencyFinishToStart, 0.5)->setLeadTimeIsPercentage(true);
    drain();
    ASSERT_EQ(span(b), "2024-01-08T13:00 - 2024-01-08T17:00");
    ASSERT_EQ(iso(c->startDate()), "2024-01-09T13:00");
    b->setEffort(6 * kHour);
    EXPECT_EQ(span(b), "2024-01-08T10:00 - 2024-01-08T17:00");
    b->setEffort(8 * kHour);
    EXPECT_EQ(span(b), "2024-01-08T08:00 - 2024-01-08T17:00");
    a->setEffort(16 * kHour);
    EXPECT_EQ(iso(c->startDate()), "2024-01-11T08:00");
    a->setEffort(4 * kHour);
    EXPECT_EQ(iso(c->startDate()), "2024-01-08T15:00");
    drain();
    EXPECT_EQ(iso(c->startDate()), "2024-01-08T15:00");
    EXPECT_EQ(span(b), "2024-01-08T08:00 - 2024-01-08T17:00");
}

// A late task's start moves with its length; a task joined to that start follows at once.
//   Late 8h (ALAP) before B (Tue):  Mon 08:00 - Mon 17:00;  S 4h starts with Late (SS).
TEST_F(EditCycleTest, ATaskJoinedToALateStartFollowsItBetweenEdits) {
    auto late = task("Late", 8);
    late->setScheduleType(scheduleTypeALAP);
    auto b = task("B", 8);
    link(late, b);
    auto longest = task("Longest", 24);
    auto s = task("S", 4);
    link(late, s, KSDependencyStartToStart);
    drain();
    ASSERT_EQ(span(late), "2024-01-09T08:00 - 2024-01-09T17:00");
    ASSERT_EQ(iso(s->startDate()), "2024-01-09T08:00");
    late->setEffort(4 * kHour);
    EXPECT_EQ(iso(s->startDate()), "2024-01-09T13:00");
    late->setEffort(2 * kHour);
    EXPECT_EQ(iso(late->startDate()), "2024-01-09T15:00");
    EXPECT_EQ(iso(s->startDate()), "2024-01-09T15:00");
    (void)longest;
}

// The notice goes out once per task and walk, before its dates are gone.
TEST_F(EditCycleTest, TheWillInvalidateNoticeComesOncePerTaskWhileDatesAreStillThere) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    link(a, b);
    drain();
    std::vector<std::string> seen;
    int token = 0;
    KSNotificationCenter::defaultCenter().addObserver(
        &token, KSTaskWillInvalidateDatesNotification, nullptr, [&](const KSNotification& n) {
            auto* t = static_cast<KSTask*>(n.object);
            seen.push_back(*t->title() + " " + iso(t->endDate()));
        });
    a->setEffort(16 * kHour);
    KSNotificationCenter::defaultCenter().removeObserver(&token);
    EXPECT_EQ(seen, (std::vector<std::string>{"A 2024-01-08T17:00", "B 2024-01-09T17:00"}));
}

TEST_F(EditCycleTest, ADerivedEndStopsTwentyYearsOnWithAWarning) {
    auto t = task("Long", 8);
    drain();
    ASSERT_EQ(scenario->warningCount(), 0u);
    // About 7,700 calendar days of eight-hour working days.
    t->setEffort(5500.0 * 8 * kHour);
    drain();
    EXPECT_EQ(t->endDate().dayNumber() - t->startDate().dayNumber(), 7305);
    EXPECT_TRUE(t->hasIssuesOfKind(KSIssue::maximumEffortIssueKind()));
    EXPECT_EQ(scenario->warningCount(), 1u);
    t->setEffort(8 * kHour);
    drain();
    EXPECT_FALSE(t->hasIssuesOfKind(KSIssue::maximumEffortIssueKind()));
    EXPECT_EQ(scenario->warningCount(), 0u);
}

TEST_F(EditCycleTest, SettingTheStartOfAnEarlyTaskConstrainsItsStart) {
    auto t = task("T", 8);
    t->setEndAfter(at(2024, 1, 9, 17));
    drain();
    EXPECT_EQ(span(t), "2024-01-09T08:00 - 2024-01-09T17:00");
    t->setStartDate(at(2024, 1, 10, 13));
    drain();
    EXPECT_EQ(t->noEarlierThanConstrainedTaskEnd(), KSConstrainedTaskEndStart);
    EXPECT_EQ(span(t), "2024-01-10T13:00 - 2024-01-11T12:00");
    EXPECT_EQ(undo().undoActionName(), "Set Start Date");
    // Setting its end changes its effort, and keeps its start.
    t->setEndDate(at(2024, 1, 11, 17));
    drain();
    EXPECT_EQ(t->effort(), 12 * kHour);
    EXPECT_EQ(span(t), "2024-01-10T13:00 - 2024-01-11T17:00");
}

TEST_F(EditCycleTest, SettingTheDatesOfALateTaskAndOfMilestones) {
    auto late = task("Late", 8);
    late->setScheduleType(scheduleTypeALAP);
    auto longest = task("Longest", 40);
    drain();
    EXPECT_EQ(span(late), "2024-01-12T08:00 - 2024-01-12T17:00");
    late->setEndDate(at(2024, 1, 10, 17));
    drain();
    EXPECT_EQ(span(late), "2024-01-10T08:00 - 2024-01-10T17:00");
    late->setStartDate(at(2024, 1, 9, 13));
    drain();
    EXPECT_EQ(late->effort(), 12 * kHour);
    // The milestone rows are crosswise: an early milestone's end binds its start.
    auto m = milestone("M");
    m->setEndDate(at(2024, 1, 11, 12));
    drain();
    EXPECT_EQ(iso(m->noEarlierThanConstraintDate()), "2024-01-11T12:00");
    EXPECT_EQ(span(m), "2024-01-11T12:00 - 2024-01-11T12:00");
    (void)longest;
}

TEST_F(EditCycleTest, ADesiredStartBeforeTheLimitsBindsTheEnd) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    link(a, b);
    drain();
    b->setDesiredStartDate(at(2024, 1, 8, 8));
    EXPECT_EQ(b->noLaterThanConstrainedTaskEnd(), KSConstrainedTaskEndEnd);
    EXPECT_EQ(iso(b->noLaterThanConstraintDate()), "2024-01-08T17:00");
    b->setDesiredStartDate(at(2024, 1, 11, 8));
    drain();
    EXPECT_EQ(iso(b->noEarlierThanConstraintDate()), "2024-01-11T08:00");
    EXPECT_EQ(iso(b->startDate()), "2024-01-11T08:00");
}

TEST_F(EditCycleTest, LevelingLimitsComeFromConstraintsAndLinksAndAValidNullStays) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    link(a, b);
    drain();
    EXPECT_TRUE(a->levelingStartLimit().isNull());
    EXPECT_TRUE(b->levelingStartLimit().isNull());
    a->setStartAfter(at(2024, 1, 9, 8));
    EXPECT_EQ(iso(a->levelingStartLimit()), "2024-01-09T08:00");
    EXPECT_EQ(iso(b->levelingStartLimit()), "2024-01-09T17:00");
    EXPECT_EQ(iso(a->levelingEarliestPossibleEnd()), "2024-01-09T17:00");
    // A wide invalidation leaves the validity: the limit reads null until a narrow one.
    root().invalidateAllDates();
    EXPECT_TRUE(a->levelingStartLimit().isNull());
    a->invalidateAbsoluteStartLimit();
    EXPECT_EQ(iso(a->levelingStartLimit()), "2024-01-09T08:00");
    // The end side: a no-later date on B bounds A through the link.
    b->setEndBefore(at(2024, 1, 12, 17));
    EXPECT_EQ(iso(b->levelingEndLimit()), "2024-01-12T17:00");
    // Through B's last possible start; leveling limits keep to the date, unadjusted.
    EXPECT_EQ(iso(a->levelingEndLimit()), "2024-01-12T08:00");
    EXPECT_EQ(iso(a->levelingLimit()), "2024-01-11T08:00");
}

// Progress moves no date, only where the rest of the work begins.
//   T 16h: Mon 08:00 - Tue 17:00
TEST_F(EditCycleTest, TheUncompletedStartFollowsTheWorkDone) {
    auto t = task("T", 16);
    drain();
    EXPECT_EQ(iso(t->uncompletedStartDate()), "2024-01-08T08:00");
    t->setEffortDone(4 * kHour);
    // Four hours end at noon; the rest begins when work resumes.
    EXPECT_EQ(iso(t->uncompletedStartDate()), "2024-01-08T13:00");
    EXPECT_EQ(span(t), "2024-01-08T08:00 - 2024-01-09T17:00");
    t->setUncompletedStartDate(at(2024, 1, 9, 8));
    EXPECT_EQ(t->effortDone(), 8 * kHour);
    EXPECT_EQ(iso(t->uncompletedStartDate()), "2024-01-09T08:00");
    EXPECT_EQ(t->effortDoneForUncompletedStartDate(at(2024, 1, 5, 8)), 0.0);
    EXPECT_EQ(t->effortDoneForUncompletedStartDate(at(2024, 1, 12, 8)), 16 * kHour);
    EXPECT_EQ(iso(t->startDateForUncompletedStartDate(at(2024, 1, 9, 10))), "2024-01-08T10:00");
    t->setEffortDone(16 * kHour);
    EXPECT_EQ(iso(t->uncompletedStartDate()), "2024-01-09T17:00");
}

// Ten thousand tasks in one chain: reading the last date and editing the first walk the
// whole chain, from work lists rather than the stack.
TEST_F(EditCycleTest, AChainOfTenThousandLinksNeedsNoDeepStack) {
    constexpr int kCount = 10000;
    // Built outside the plan (so that no loop search runs per task) and linked from the
    // end back, then put in as one group.
    auto chain = std::make_shared<KSTask>();
    chain->setTitle("Chain");
    chain->setIsGroup(true);
    std::vector<std::shared_ptr<KSTask>> tasks;
    for (int i = 0; i < kCount; ++i) {
        auto t = std::make_shared<KSTask>();
        t->setEffort(4 * kHour);
        chain->addChildTask(t);
        tasks.push_back(t);
    }
    for (int i = kCount - 1; i > 0; --i)
        KSDependency::dependencyWithPrerequisiteAndDependent(tasks[i - 1].get(), tasks[i].get());
    root().addChildTask(chain);
    // Two tasks a working day, five days a week: 5,000 days is 1,000 weeks.
    EXPECT_EQ(iso(tasks.back()->endDate()), iso(at(2024, 1, 8, 17).dateByAddingDays(7 * 1000 - 3)));
    drain();
    EXPECT_EQ(tasks.front()->totalSlack(), 0.0);
    // Four more hours at the head push the tail onto the next Monday.
    tasks.front()->setEffort(8 * kHour);
    EXPECT_EQ(iso(tasks.back()->startDate()), iso(at(2024, 1, 8, 8).dateByAddingDays(7 * 1000)));
    drain();
    undo().undo();
    EXPECT_EQ(iso(tasks.back()->startDate()),
              iso(at(2024, 1, 8, 13).dateByAddingDays(7 * 1000 - 3)));
}

}  // namespace
}  // namespace kestrum::test
