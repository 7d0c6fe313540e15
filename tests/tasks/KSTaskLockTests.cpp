// Date locks with their log lines and notifications, and the two constraint slots.
#include "Platform/core/KSLog.h"
#include "Platform/core/KSNotificationCenter.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class TaskLockTest : public PlanTest {
protected:
    // Day `n` (day 0 is a Monday) at 8:00, when standard work hours begin.
    static KSDateTime day(std::int64_t n) { return KSDateTime(n, 8 * 3600.0); }
};

TEST_F(TaskLockTest, AGroupRefusesLocksAndLogsOnlyForTheStart) {
    auto g = group("G");
    task("A", g);
    KSLogCapture capture;
    g->setIsStartDateLocked(true);
    EXPECT_FALSE(g->isStartDateLocked());
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{"Not allowing locked start dates"}));
    g->setIsEndDateLocked(true);
    EXPECT_FALSE(g->isEndDateLocked());
    EXPECT_EQ(capture.lines().size(), 1u);
    g->setStartLockedDate(day(3));
    g->setEndLockedDate(day(4));
    EXPECT_EQ(capture.lines(),
              (std::vector<std::string>{"Not allowing locked start dates",
                                        "can't lock start on group", "can't lock end on group"}));
    EXPECT_TRUE(g->startLockedDate().isNull());
}

TEST_F(TaskLockTest, LockingTheSecondEndHoldsTheDuration) {
    auto t = task("T");
    t->setIsEndDateLocked(true);
    EXPECT_EQ(t->resourceAssignmentType(), KSResourceAssignmentFixedEffort);
    EXPECT_TRUE(t->allowDurationChange());
    t->setIsStartDateLocked(true);
    EXPECT_EQ(t->resourceAssignmentType(), KSResourceAssignmentFixedDuration);
    EXPECT_FALSE(t->allowDurationChange());
    t->setIsStartDateLocked(false);
    EXPECT_EQ(t->resourceAssignmentType(), KSResourceAssignmentFixedDuration);
    EXPECT_TRUE(t->allowDurationChange());
}

TEST_F(TaskLockTest, ALockHoldsTheDateWhereItStoodAndIsAnnounced) {
    auto t = task("T");
    drain();
    KSDateTime start = t->startDate();
    int starts = 0;
    auto token = KSNotificationCenter::defaultCenter().addObserver(
        nullptr, "start date state change", t.get(), [&](const KSNotification&) { ++starts; });
    t->setIsStartDateLocked(true);
    KSNotificationCenter::defaultCenter().removeObserver(token);
    EXPECT_EQ(starts, 1);
    EXPECT_TRUE(t->startLockedDate().isEqualToDate(start));
    EXPECT_EQ(undo().undoActionName(), "Lock Start Date");
    drain();
    t->setStartLockedDate(day(10));
    EXPECT_TRUE(t->startDate().isEqualToDate(day(10)));
    EXPECT_EQ(t->endDate().dayNumber(), 10);
    drain();
    undo().undo();
    EXPECT_TRUE(t->startLockedDate().isEqualToDate(start));
}

TEST_F(TaskLockTest, ConstraintViewsBindTheirEnd) {
    auto t = task("T");
    t->setEndAfter(day(5));
    EXPECT_EQ(t->noEarlierThanConstrainedTaskEnd(), KSConstrainedTaskEndEnd);
    EXPECT_TRUE(t->endAfter().isEqualToDate(day(5)));
    EXPECT_TRUE(t->startAfter().isNull());
    t->setStartBefore(day(9));
    EXPECT_EQ(t->noLaterThanConstrainedTaskEnd(), KSConstrainedTaskEndStart);
    EXPECT_TRUE(t->startBefore().isEqualToDate(day(9)));
    EXPECT_TRUE(t->endBefore().isNull());
    EXPECT_EQ(t->localizedNoEarlierThanConstraintTypeName(), "End no earlier than Type");
    EXPECT_EQ(t->localizedNoLaterThanConstraintTypeName(), "Start no later than");
}

TEST_F(TaskLockTest, ANullCannotWipeTheOtherEndsConstraint) {
    auto t = task("T");
    t->setEndAfter(day(5));
    t->setStartAfter(KSDateTime());
    EXPECT_TRUE(t->endAfter().isEqualToDate(day(5)));
    t->setStartBefore(day(9));
    t->setEndBefore(KSDateTime());
    EXPECT_TRUE(t->startBefore().isEqualToDate(day(9)));
    t->setEndAfter(KSDateTime());
    EXPECT_TRUE(t->noEarlierThanConstraintDate().isNull());
}

TEST_F(TaskLockTest, AConstraintIsUndoableAndMovesTheTask) {
    auto t = task("T");
    drain();
    t->setStartAfter(day(22));
    EXPECT_EQ(undo().undoActionName(), "Start Constraint");
    drain();
    EXPECT_EQ(t->startDate().dayNumber(), 22);
    undo().undo();
    drain();
    EXPECT_TRUE(t->noEarlierThanConstraintDate().isNull());
    EXPECT_LT(t->startDate().dayNumber(), 22);
}

TEST_F(TaskLockTest, MovingThePlanStartMovesLocksAndConstraintsOfTheSubtree) {
    auto g = group("G");
    auto t = task("T", g);
    t->setStartLockedDate(day(3));
    t->setNoLaterThanConstraintDate(day(8));
    root().projectStartWillChangeBy(7);
    EXPECT_EQ(t->startLockedDate().dayNumber(), 10);
    EXPECT_EQ(t->noLaterThanConstraintDate().dayNumber(), 15);
}

}  // namespace
}  // namespace kestrum::test
