// The plan's anchor: generic and real dates, the start and end setters and their
// differences, the side switch, generic dates on and off, and other scenarios following.
#include <gtest/gtest.h>

#include "Model/project/KSScenarioPlaceholder.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSLocalCalendar.h"
#include "Platform/core/KSClock.h"
#include "ProjectFixture.h"
#include "ScenarioXMLTestCoder.h"

namespace kestrum::test {
namespace {

// Records will/did notices of the keys it observes, in order ("will:key", "did:key").
class AnchorNotices : public KSBaseObject {
public:
    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath, KSBaseObject*,
                                                     const KSKeyValueChange& change,
                                                     const void*) override {
        notices.push_back((change.isPrior ? "will:" : "did:") + std::string(keyPath));
    }
    std::vector<std::string> notices;
};

class AnchorTest : public ProjectTest {
protected:
    // Monday 3 March 2025.
    const std::int64_t monday = KSLocalCalendar::dayNumberOfCivilDate(2025, 3, 3);

    void TearDown() override {
        if (recording) {
            scenario->removeObserver(&notices);
        }
        KSClock::useSystemClock();
        ProjectTest::TearDown();
    }
    // Starts recording the notices of the side and of generic dates.
    void recordNotices() {
        for (const char* key : {"hasFixedEndDate", "hasGenericDates"}) {
            scenario->addObserverForKeyPathOptionsContext(&notices, key,
                                                          KSKeyValueObservingOptionPrior, nullptr);
        }
        recording = true;
    }

    AnchorNotices notices;
    bool recording = false;
};

TEST_F(AnchorTest, GettersFollowTheAnchoredSide) {
    EXPECT_EQ(KSScenario::genericStartDate(), KSDateTime(0, 0.0));
    EXPECT_TRUE(KSScenario::genericEndDate().isIdenticalTo(KSDateTime(4, 86399.0)));
    task("A", 16.0);
    drain();

    // Generic, anchored at the start: the start is the generic start, the end the plan's.
    EXPECT_EQ(scenario->startDate(), KSScenario::genericStartDate());
    EXPECT_EQ(scenario->fixedDate(), KSScenario::genericStartDate());
    EXPECT_EQ(scenario->endDate(), root().endDate());
    EXPECT_EQ(scenario->valueForKey("startDate"),
              KSValueTraits<KSDateTime>::toValue(KSScenario::genericStartDate()));

    // Generic, anchored at the end: the other way round.
    scenario->setStoredHasFixedEndDate(true);
    EXPECT_TRUE(scenario->fixedDate().isIdenticalTo(KSScenario::genericEndDate()));
    EXPECT_TRUE(scenario->endDate().isIdenticalTo(KSScenario::genericEndDate()));
    EXPECT_EQ(scenario->startDate(), root().startDate());

    // A real date is what both sides answer as the fixed date.
    scenario->setStoredFixedDate(KSDateTime(monday, 17 * kHour));
    EXPECT_FALSE(scenario->hasGenericDates());
    EXPECT_EQ(scenario->fixedDate(), KSDateTime(monday, 17 * kHour));
    EXPECT_EQ(scenario->endDate(), KSDateTime(monday, 17 * kHour));
}

TEST_F(AnchorTest, AGenericStartMadeRealMovesConstraintsAndLocksByTheDayDifference) {
    auto a = task("A", 8.0);
    auto b = task("B", 8.0);
    a->setNoEarlierThanConstraintDate(KSDateTime(2, 9 * kHour));
    a->setNoLaterThanConstraintDate(KSDateTime(9, 17 * kHour));
    b->setStartLockedDate(KSDateTime(3, 8 * kHour));
    drain();

    scenario->setStartDate(KSDateTime(monday, 8 * kHour));
    EXPECT_FALSE(scenario->hasGenericDates());
    EXPECT_EQ(undo().undoActionName(), "Set Scenario Start Date");
    EXPECT_EQ(a->noEarlierThanConstraintDate(), KSDateTime(monday + 2, 9 * kHour));
    EXPECT_EQ(a->noLaterThanConstraintDate(), KSDateTime(monday + 9, 17 * kHour));
    EXPECT_EQ(b->startLockedDate(), KSDateTime(monday + 3, 8 * kHour));
    drain();

    // A real anchor moved to another real date leaves every date where it was.
    scenario->setStartDate(KSDateTime(monday + 7, 8 * kHour));
    EXPECT_EQ(scenario->startDate(), KSDateTime(monday + 7, 8 * kHour));
    EXPECT_EQ(a->noEarlierThanConstraintDate(), KSDateTime(monday + 2, 9 * kHour));
    EXPECT_EQ(b->startLockedDate(), KSDateTime(monday + 3, 8 * kHour));
    drain();

    // Undo goes back step by step, and the constraints are moved once, not twice.
    undo().undo();
    EXPECT_EQ(scenario->startDate(), KSDateTime(monday, 8 * kHour));
    EXPECT_EQ(a->noEarlierThanConstraintDate(), KSDateTime(monday + 2, 9 * kHour));
    drain();
    undo().undo();
    drain();
    EXPECT_TRUE(scenario->hasGenericDates());
    EXPECT_EQ(a->noEarlierThanConstraintDate(), KSDateTime(2, 9 * kHour));
    EXPECT_EQ(a->noLaterThanConstraintDate(), KSDateTime(9, 17 * kHour));
    EXPECT_EQ(b->startLockedDate(), KSDateTime(3, 8 * kHour));
    undo().redo();
    drain();
    EXPECT_EQ(a->noEarlierThanConstraintDate(), KSDateTime(monday + 2, 9 * kHour));
    EXPECT_EQ(b->startLockedDate(), KSDateTime(monday + 3, 8 * kHour));
}

TEST_F(AnchorTest, GoingGenericMeasuresFromTheAnchorAsItStands) {
    auto a = task("A", 8.0);
    scenario->setStoredFixedDate(KSDateTime(monday + 7, 8 * kHour));
    a->setNoEarlierThanConstraintDate(KSDateTime(monday + 9, 8 * kHour));
    drain();
    scenario->setStartDate(KSDateTime());
    // Two days after the anchor stays two days after the generic start.
    EXPECT_EQ(a->noEarlierThanConstraintDate(), KSDateTime(2, 8 * kHour));
    EXPECT_TRUE(scenario->hasGenericDates());
}

TEST_F(AnchorTest, SettingTheSameStartAgainRecordsNothing) {
    scenario->setStartDate(KSDateTime());  // already generic at the start
    EXPECT_FALSE(undo().canUndo());
    scenario->setStoredFixedDate(KSDateTime(monday, 8 * kHour));
    scenario->setStartDate(KSDateTime(monday, 8 * kHour + 0.5));  // the same moment
    EXPECT_FALSE(undo().canUndo());
}

TEST_F(AnchorTest, WhileLoadingTheAnchorMovesAlone) {
    auto a = task("A", 8.0);
    a->setNoEarlierThanConstraintDate(KSDateTime(2, 9 * kHour));
    drain();
    scenario->setIsLoading(true);
    scenario->setStartDate(KSDateTime(monday, 8 * kHour));
    scenario->setIsLoading(false);
    EXPECT_EQ(scenario->startDate(), KSDateTime(monday, 8 * kHour));
    EXPECT_EQ(a->noEarlierThanConstraintDate(), KSDateTime(2, 9 * kHour));
}

// The start side announces generic dates without a will-change when the day stays; the
// end side shifts (by 0 here) and so sends both.
TEST_F(AnchorTest, OnTheSameDayOnlyTheEndSideShiftsTheTree) {
    task("A", 8.0);
    scenario->setStoredFixedDate(KSDateTime(0, 8 * kHour));
    drain();
    recordNotices();
    scenario->setStartDate(KSDateTime());
    EXPECT_EQ(notices.notices, (std::vector<std::string>{"did:hasGenericDates"}));

    scenario->setStoredHasFixedEndDate(true);
    scenario->setStoredFixedDate(KSDateTime(4, 17 * kHour));  // the generic end's day
    notices.notices.clear();
    scenario->setEndDate(KSDateTime());
    EXPECT_EQ(notices.notices,
              (std::vector<std::string>{"will:hasGenericDates", "did:hasGenericDates"}));
    EXPECT_EQ(undo().undoActionName(), "Set Scenario End Date");
}

TEST_F(AnchorTest, ChangingSidesAnnouncesInOppositeOrders) {
    task("A", 8.0);
    scenario->setStoredFixedDate(KSDateTime(monday, 8 * kHour));
    drain();
    recordNotices();
    // From a real start to a generic end: the side closes before generic dates.
    scenario->setEndDate(KSDateTime());
    EXPECT_TRUE(scenario->hasFixedEndDate());
    EXPECT_EQ(notices.notices,
              (std::vector<std::string>{"will:hasGenericDates", "will:hasFixedEndDate",
                                        "did:hasFixedEndDate", "did:hasGenericDates"}));
    drain();

    // From a real end to a generic start: the side opens first and closes last.
    scenario->setStoredFixedDate(KSDateTime(monday + 14, 17 * kHour));
    drain();
    notices.notices.clear();
    scenario->setStartDate(KSDateTime());
    EXPECT_FALSE(scenario->hasFixedEndDate());
    EXPECT_EQ(notices.notices,
              (std::vector<std::string>{"will:hasFixedEndDate", "will:hasGenericDates",
                                        "did:hasGenericDates", "did:hasFixedEndDate"}));
}

TEST_F(AnchorTest, AnEndAnchorMadeRealShiftsTheTreeBackFromTheGenericEnd) {
    auto a = task("A", 8.0);
    scenario->setStoredHasFixedEndDate(true);
    a->setNoLaterThanConstraintDate(KSDateTime(3, 17 * kHour));
    drain();
    // Friday 7 March 2025 is four days after the Monday, as day 4 is after day 0.
    scenario->setEndDate(KSDateTime(monday + 4, 17 * kHour));
    EXPECT_EQ(a->noLaterThanConstraintDate(), KSDateTime(monday + 3, 17 * kHour));
    EXPECT_TRUE(scenario->hasFixedEndDate());
}

TEST_F(AnchorTest, SwitchingToAnEndAnchorKeepsTheEndAndClearsLeveling) {
    auto a = task("A", 16.0);
    auto b = task("B", 8.0);
    auto prototype = std::make_shared<KSTask>();
    auto prototypeMilestone = std::make_shared<KSTask>();
    prototypeMilestone->setTaskType(taskTypeMilestone);
    scenario->setPrototypeTask(prototype);
    scenario->setPrototypeMilestone(prototypeMilestone);
    scenario->setStoredFixedDate(KSDateTime(monday, 8 * kHour));
    b->setResourceLeveledDate(KSDateTime(monday + 1, 8 * kHour));
    drain();
    const KSDateTime end = scenario->endDate();
    ASSERT_FALSE(end.isNull());

    scenario->setHasFixedEndDate(true);
    EXPECT_TRUE(scenario->hasFixedEndDate());
    EXPECT_EQ(scenario->storedFixedDate(), end);
    EXPECT_EQ(scenario->endDate(), end);
    EXPECT_TRUE(b->resourceLeveledDate().isNull());
    EXPECT_EQ(prototype->scheduleType(), scheduleTypeALAP);
    EXPECT_EQ(prototypeMilestone->scheduleType(), scheduleTypeALAP);
    drain();

    // Back to the start: the start where the end-anchored plan now begins.
    const KSDateTime start = scenario->startDate();
    scenario->setHasFixedEndDate(false);
    EXPECT_FALSE(scenario->hasFixedEndDate());
    EXPECT_EQ(scenario->storedFixedDate(), start);
    EXPECT_EQ(prototype->scheduleType(), scheduleTypeASAP);
    drain();
    undo().undo();
    EXPECT_TRUE(scenario->hasFixedEndDate());
    EXPECT_EQ(scenario->storedFixedDate(), end);
}

TEST_F(AnchorTest, AGenericPlanSwitchesSidesAndStaysGeneric) {
    scenario->setHasFixedEndDate(true);
    EXPECT_TRUE(scenario->hasGenericDates());
    EXPECT_TRUE(scenario->hasFixedEndDate());
    EXPECT_TRUE(scenario->endDate().isIdenticalTo(KSScenario::genericEndDate()));
    scenario->setValueForKey(KSValue(false), "hasFixedEndDate");
    EXPECT_FALSE(scenario->hasFixedEndDate());
    EXPECT_TRUE(scenario->hasGenericDates());
}

TEST_F(AnchorTest, GenericDatesOffAnchorAtTheStartOfTodaysWork) {
    // Wednesday at 10:00: the day's work starts at 8:00.
    KSClock::setFixedNow(KSDateTime(monday + 2, 10 * kHour).nsDate());
    scenario->setHasGenericDates(false);
    EXPECT_FALSE(scenario->hasGenericDates());
    EXPECT_TRUE(scenario->storedFixedDate().isIdenticalTo(KSDateTime(monday + 2, 8 * kHour)));
    EXPECT_EQ(undo().undoActionName(), "Set Generic Dates");
    drain();
    scenario->setHasGenericDates(true);
    EXPECT_TRUE(scenario->hasGenericDates());
    drain();
    undo().undo();
    EXPECT_FALSE(scenario->hasGenericDates());
    drain();
    undo().undo();
    EXPECT_TRUE(scenario->hasGenericDates());

    // An end anchor takes the same moment; a day off gives its midnight.
    scenario->setStoredHasFixedEndDate(true);
    KSClock::setFixedNow(KSDateTime(monday + 6, 10 * kHour).nsDate());  // a Sunday
    scenario->setHasGenericDates(false);
    EXPECT_TRUE(scenario->hasFixedEndDate());
    EXPECT_TRUE(scenario->storedFixedDate().isIdenticalTo(KSDateTime(monday + 6, 0.0)));
}

TEST(AnchorDetachedTest, AScenarioOutsideAProjectTakesItsAnchorAlone) {
    auto detached = std::make_shared<KSScenario>();
    detached->setStartDate(KSDateTime(9000, 8 * kHour));
    EXPECT_EQ(detached->startDate(), KSDateTime(9000, 8 * kHour));
    detached->setEndDate(KSDateTime());
    EXPECT_TRUE(detached->hasGenericDates());
    EXPECT_TRUE(detached->hasFixedEndDate());
    // No calendar yet: no index and no date.
    EXPECT_EQ(detached->dayIndexOfDate(KSDateTime(3, 0.0)), 0);
    EXPECT_TRUE(detached->dateWithDayIndexAndHourOfDay(3, 8.0f).isNull());
    EXPECT_EQ(detached->newTaskOfType(taskTypeTask)->title(), "Task 1");
}

class AnchorAcrossScenariosTest : public AnchorTest {
protected:
    ScopedTestScenarioCoder coder;
};

TEST_F(AnchorAcrossScenariosTest, ANewAnchorTravelsThroughEveryScenarioThatDiffers) {
    auto baseline = std::make_shared<KSScenario>();
    project->addScenario(baseline);
    auto unread = std::make_shared<KSScenarioPlaceholder>(
        "Unread", bytesOf("<scenario><task id=\"3\" title=\"Write\"/></scenario>"));
    project->insertInScenarioPlaceholdersAtIndex(unread, 2);
    drain();
    undo().removeAllActions();

    scenario->setStartDate(KSDateTime(monday, 8 * kHour));
    EXPECT_EQ(baseline->storedFixedDate(), KSDateTime(monday, 8 * kHour));
    // The unread baseline was read to take the date too.
    ASSERT_NE(unread->scenarioIfLoaded(), nullptr);
    EXPECT_EQ(unread->scenarioIfLoaded()->storedFixedDate(), KSDateTime(monday, 8 * kHour));
    drain();

    // Undo restores every scenario and passes nothing on.
    undo().undo();
    EXPECT_TRUE(scenario->hasGenericDates());
    EXPECT_TRUE(baseline->hasGenericDates());
    EXPECT_TRUE(unread->scenarioIfLoaded()->hasGenericDates());

    // An end-anchored scenario passes its date to the others' end.
    scenario->setStoredHasFixedEndDate(true);
    scenario->setEndDate(KSDateTime(monday + 4, 17 * kHour));
    EXPECT_TRUE(baseline->hasFixedEndDate());
    EXPECT_EQ(baseline->storedFixedDate(), KSDateTime(monday + 4, 17 * kHour));
}

TEST_F(AnchorAcrossScenariosTest, ScenariosThatAgreeAreLeftAlone) {
    auto baseline = std::make_shared<KSScenario>();
    project->addScenario(baseline);
    baseline->setStoredFixedDate(KSDateTime(monday + 7, 8 * kHour));
    drain();
    scenario->setStartDate(KSDateTime(monday, 8 * kHour));
    // Both real now: the baseline keeps its own date.
    EXPECT_EQ(baseline->storedFixedDate(), KSDateTime(monday + 7, 8 * kHour));
}

TEST_F(AnchorTest, FlatNumberingAnnouncesNewHeadings) {
    auto a = task("A", 8.0);
    AnchorNotices headings;
    a->addObserverForKeyPathOptionsContext(&headings, "headingString",
                                           KSKeyValueObservingOptionPrior, nullptr);
    project->setUseFlatNumbering(true);
    EXPECT_EQ(headings.notices,
              (std::vector<std::string>{"will:headingString", "did:headingString"}));
    project->setUseFlatNumbering(true);
    EXPECT_EQ(headings.notices.size(), 2u);
    a->removeObserver(&headings);
}

}  // namespace
}  // namespace kestrum::test
