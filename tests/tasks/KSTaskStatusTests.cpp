// Due status against an injected today.
#include "Platform/core/KSClock.h"
#include "Platform/styles/HLStyle.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class TaskStatusTest : public PlanTest {
protected:
    static constexpr std::int64_t kToday = 400;

    void SetUp() override {
        PlanTest::SetUp();
        KSClock::setFixedNow(KSDateTime(kToday, 10 * 3600.0).nsDate());
    }
    void TearDown() override {
        KSClock::useSystemClock();
        PlanTest::TearDown();
    }
    // A task whose end is locked `days` from today, at 17:00.
    std::shared_ptr<KSTask> dueIn(std::int64_t days) {
        auto t = task("T");
        t->setEndLockedDate(KSDateTime(kToday + days, 17 * 3600.0));
        return t;
    }
    static std::string abridged(const KSTask& t) {
        return t.statusDictionary().objectForKey("Abridged Status").asString();
    }
    static std::string toolTip(const KSTask& t) {
        return t.statusDictionary().objectForKey("Status tool tip").asString();
    }
};

TEST_F(TaskStatusTest, DueTodaySoonAndPastDue) {
    auto today = dueIn(0);
    EXPECT_EQ(today->status(), KSTaskStatusDueToday);
    EXPECT_EQ(abridged(*today), "Due in < 1 day");
    EXPECT_EQ(toolTip(*today), "This task is Due in < 1 day");
    EXPECT_EQ(today->statusDictionary().objectForKey("Status"), KSValue(2));

    auto tomorrow = dueIn(1);
    EXPECT_EQ(tomorrow->status(), KSTaskStatusDueSoon);
    EXPECT_EQ(abridged(*tomorrow), "Due in 1 day");
    auto inFour = dueIn(4);
    EXPECT_EQ(inFour->status(), KSTaskStatusDueSoon);
    EXPECT_EQ(abridged(*inFour), "Due in 4 days");
    EXPECT_EQ(dueIn(5)->status(), KSTaskStatusNone);

    auto yesterday = dueIn(-1);
    EXPECT_EQ(yesterday->status(), KSTaskStatusPastDue);
    EXPECT_EQ(abridged(*yesterday), "Overdue by 1 day");
    auto lastWeek = dueIn(-7);
    EXPECT_EQ(abridged(*lastWeek), "Overdue by 7 days");
    EXPECT_EQ(toolTip(*lastWeek), "This task is Overdue by 7 days");
}

TEST_F(TaskStatusTest, ACompleteTaskIsCompletedWhateverItsDate) {
    auto t = dueIn(-3);
    t->setCompleted(1.0);
    EXPECT_EQ(t->status(), KSTaskStatusCompleted);
    EXPECT_EQ(abridged(*t), "Completed");
    EXPECT_EQ(toolTip(*t), "Status");
    // An empty group and a task of no effort count as completed.
    EXPECT_EQ(group("Empty")->status(), KSTaskStatusCompleted);
}

TEST_F(TaskStatusTest, AGenericPlanHasNoDueStatus) {
    auto t = dueIn(0);
    scenario->setHasGenericDates(true);
    EXPECT_EQ(t->status(), KSTaskStatusNone);
    EXPECT_EQ(abridged(*t), "");
    EXPECT_EQ(toolTip(*t), "Status");
}

TEST_F(TaskStatusTest, AnOpenMilestoneKeepsItsGroupFromCompletion) {
    auto g = group("G");
    auto work = task("Work", 8.0, g);
    auto gate = milestone("Gate", g);
    work->setCompleted(1.0);
    EXPECT_EQ(g->effortDone(), g->effort());
    EXPECT_EQ(g->completed(), static_cast<double>(0.99f));
    EXPECT_NE(g->status(), KSTaskStatusCompleted);
    gate->setCompleted(1.0);
    EXPECT_EQ(g->completed(), 1.0);
    EXPECT_EQ(g->status(), KSTaskStatusCompleted);
}

}  // namespace
}  // namespace kestrum::test

namespace kestrum::test {
namespace {

// The style's cascade follows the status once a scheduling pass has settled the dates.
TEST_F(TaskStatusTest, ASchedulingPassMovesTheStyleToTheStatusCascade) {
    auto t = dueIn(3);
    drain();
    auto style = t->style();
    ASSERT_NE(style, nullptr);
    EXPECT_EQ(style->cascadeStyles(), HLStyleList{project->standardTaskStyle()});

    t->setEndLockedDate(KSDateTime(kToday - 2, 17 * 3600.0));
    drain();
    EXPECT_EQ(t->status(), KSTaskStatusPastDue);
    EXPECT_EQ(t->style(), style);  // the same style object, with a new cascade
    EXPECT_EQ(style->cascadeStyles(), HLStyleList{project->overdueTaskStyle()});

    // The cascade swap is bookkeeping, not an edit: undo takes back the lock only, and the
    // next pass swaps the cascade back.
    undo().undo();
    drain();
    EXPECT_EQ(t->status(), KSTaskStatusDueSoon);
    EXPECT_EQ(style->cascadeStyles(), HLStyleList{project->standardTaskStyle()});
}

}  // namespace
}  // namespace kestrum::test
