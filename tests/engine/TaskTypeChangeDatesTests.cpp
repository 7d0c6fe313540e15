// A change of type clears every date of the task: each rule reads the type, so none of
// the old caches may survive it.
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

using TaskTypeChangeDates = ScheduleTest;

// A hammock that has lost its start link spans from the plan's start to B's end. Turned
// back into a plain task (its effort goes back to the default day), it must heed its
// finish-to-finish link from B: it ends with B on Wednesday, so it starts that morning,
// not on Monday where the hammock began.
TEST_F(TaskTypeChangeDates, AHammockTurnedIntoATaskHeedsItsFinishToFinishLink) {
    auto a = task("A", 8);   // Monday 8:00 - 17:00
    auto b = task("B", 24);  // Monday 8:00 - Wednesday 17:00
    auto h = task("H", 1);
    link(a, h, KSDependencyFinishToStart);
    link(b, h, KSDependencyFinishToFinish);
    h->setTaskType(taskTypeHammock);
    drain();
    EXPECT_EQ(span(h), "2024-01-08T17:00 - 2024-01-10T17:00");
    h->prerequisiteForTask(a.get())->remove();
    drain();
    EXPECT_EQ(span(h), "2024-01-08T08:00 - 2024-01-10T17:00");

    h->setTaskType(taskTypeTask);
    drain();
    EXPECT_EQ(h->effort(), 8 * kHour);
    EXPECT_EQ(span(h), "2024-01-10T08:00 - 2024-01-10T17:00");
    EXPECT_EQ(iso(h->currentStartLimit()), "2024-01-10T08:00");
}

// A milestone after B becomes a task: its limits are read anew (an end-aligned link now
// binds an end one effort after the start), and its dependent moves with it.
TEST_F(TaskTypeChangeDates, AMilestoneTurnedIntoATaskMovesItsDependents) {
    auto b = task("B", 8);  // Monday
    auto m = milestone("M");
    auto c = task("C", 8);
    link(b, m);
    link(m, c);
    drain();
    EXPECT_EQ(span(m), "2024-01-08T17:00 - 2024-01-08T17:00");
    EXPECT_EQ(span(c), "2024-01-09T08:00 - 2024-01-09T17:00");

    m->setTaskType(taskTypeTask);
    m->setEffort(16 * kHour);
    drain();
    EXPECT_EQ(span(m), "2024-01-09T08:00 - 2024-01-10T17:00");
    EXPECT_EQ(span(c), "2024-01-11T08:00 - 2024-01-11T17:00");
    EXPECT_EQ(iso(c->absoluteStartLimit()), "2024-01-11T08:00");
}

}  // namespace
}  // namespace kestrum::test
