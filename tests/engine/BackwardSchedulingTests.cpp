// Plans anchored at their end: tasks scheduled backward from the anchor, and early tasks
// against the plan's direction.
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

// The plan ends Fri 12 Jan 2024 at 17:00.
class BackwardSchedulingTest : public ScheduleTest {
protected:
    void SetUp() override {
        ScheduleTest::SetUp();
        anchorEnd(at(2024, 1, 12, 17));
    }
    std::shared_ptr<KSTask> lateTask(const std::string& title, double hours,
                                     const std::shared_ptr<KSTask>& parent = nullptr) {
        auto t = task(title, hours, parent);
        t->setScheduleType(scheduleTypeALAP);
        return t;
    }
};

//   A 8h (ALAP)                  Thu 08:00 - Thu 17:00
//   B 8h (ALAP) after A          Fri 08:00 - Fri 17:00
//   C 4h (ASAP) unlinked         Thu 08:00 - Thu 12:00, where the plan starts
TEST_F(BackwardSchedulingTest, TasksAreScheduledBackFromTheEnd) {
    auto a = lateTask("A", 8);
    auto b = lateTask("B", 8);
    link(a, b);
    auto c = task("C", 4);
    drain();
    EXPECT_EQ(span(b), "2024-01-12T08:00 - 2024-01-12T17:00");
    EXPECT_EQ(span(a), "2024-01-11T08:00 - 2024-01-11T17:00");
    // Against the plan's direction a task sits on its absolute limit: the plan's start.
    EXPECT_EQ(span(c), "2024-01-11T08:00 - 2024-01-11T12:00");
    EXPECT_EQ(span(scenario->rootTask()), "2024-01-11T08:00 - 2024-01-12T17:00");
    EXPECT_EQ(a->totalSlack(), 0.0);
    EXPECT_EQ(b->totalSlack(), 0.0);
    EXPECT_EQ(c->totalSlack(), 12 * kHour);
    EXPECT_EQ(root().scheduleType(), scheduleTypeALAP);
}

TEST_F(BackwardSchedulingTest, ALongerTailMovesTheStartEarlier) {
    auto a = lateTask("A", 8);
    auto b = lateTask("B", 8);
    link(a, b);
    drain();
    b->setEffort(24 * kHour);
    drain();
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-12T17:00");
    EXPECT_EQ(span(a), "2024-01-09T08:00 - 2024-01-09T17:00");
    EXPECT_EQ(iso(scenario->rootTask()->startDate()), "2024-01-09T08:00");
}

// A weekend lies between a Monday task and its Friday dependent's lead.
TEST_F(BackwardSchedulingTest, LeadTimesCountBackOverTheWeekend) {
    auto a = lateTask("A", 8);
    auto b = lateTask("B", 8);
    link(a, b, KSDependencyFinishToStart, 32 * kHour);
    drain();
    EXPECT_EQ(span(b), "2024-01-12T08:00 - 2024-01-12T17:00");
    // 32 working hours before Friday 08:00 is Monday 08:00; A ends before it.
    EXPECT_EQ(span(a), "2024-01-05T08:00 - 2024-01-05T17:00");
}

TEST_F(BackwardSchedulingTest, ConstraintsAndGroupsHoldLateTasksEarlier) {
    auto g = group("G");
    auto a = lateTask("A", 4, g);
    a->setEndBefore(at(2024, 1, 10, 17));
    auto b = lateTask("B", 8, g);
    auto after = lateTask("After", 8);
    link(g, after);
    drain();
    EXPECT_EQ(span(after), "2024-01-12T08:00 - 2024-01-12T17:00");
    EXPECT_EQ(span(b), "2024-01-11T08:00 - 2024-01-11T17:00");
    EXPECT_EQ(span(a), "2024-01-10T13:00 - 2024-01-10T17:00");
    EXPECT_EQ(span(g), "2024-01-10T13:00 - 2024-01-11T17:00");
    EXPECT_EQ(g->scheduleType(), scheduleTypeALAP);
}

}  // namespace
}  // namespace kestrum::test
