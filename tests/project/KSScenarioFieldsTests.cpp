// The scenario's anchor fields, its editing date and the root resource's calendar.
#include <gtest/gtest.h>

#include "Model/resources/KSResource.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/difference/TMDifferenceEngine.h"
#include "ProjectFixture.h"

namespace kestrum::test {
namespace {

using ScenarioFieldsTest = ProjectTest;

TEST_F(ScenarioFieldsTest, ANewScenarioHasGenericDatesAnchoredAtTheStart) {
    EXPECT_TRUE(scenario->hasGenericDates());
    EXPECT_FALSE(scenario->hasFixedEndDate());
    EXPECT_TRUE(scenario->storedFixedDate().isNull());
    EXPECT_TRUE(scenario->currentEditingDate().isNull());
    EXPECT_EQ(scenario->valueForKey("hasGenericDates"), KSValue(true));
}

TEST_F(ScenarioFieldsTest, StoredAnchorFieldsAreTrackedButMoveNothing) {
    auto* engine = scenario->metadataDifferenceEngine();
    engine->discardChanges();
    scenario->setStoredFixedDate(KSDateTime(9000, 8 * 3600.0));
    scenario->setStoredHasFixedEndDate(true);
    EXPECT_FALSE(scenario->hasGenericDates());
    EXPECT_TRUE(scenario->hasFixedEndDate());
    EXPECT_TRUE(engine->hasCurrentDifferencesForId(1));
    EXPECT_FALSE(undo().canUndo());
}

TEST_F(ScenarioFieldsTest, ANewEditingDatePostsTheChangeAtOnceWithoutUndo) {
    ChangeCounter changes(scenario.get());
    scenario->setCurrentEditingDate(KSDateTime(9000, 0.0));
    EXPECT_EQ(changes.count, 1);  // no pass of the event loop needed
    scenario->setCurrentEditingDate(KSDateTime(9000, 0.0));
    EXPECT_EQ(changes.count, 1);
    scenario->setCurrentEditingDate(KSDateTime(9000, 0.5));  // another date, same moment
    EXPECT_EQ(changes.count, 2);
    scenario->setCurrentEditingDate(KSDateTime());
    EXPECT_EQ(changes.count, 3);
    EXPECT_FALSE(undo().canUndo());
    EXPECT_TRUE(scenario->valueForKey("currentEditingDate").isNull());
}

TEST_F(ScenarioFieldsTest, TheRootResourceHoldsItsOwnCopyOfTheStandardWorkHours) {
    auto schedule = scenario->rootResource()->schedule();
    ASSERT_NE(schedule, nullptr);
    EXPECT_NE(schedule, KSSchedule::standardWorkHours());
    EXPECT_EQ(schedule->workingDaysForNormalWeek(), 5);
    EXPECT_EQ(schedule->totalDurationForNormalWeek(), 5 * 8 * 3600.0);
    // Monday (day 0) from 8:00 with a day's work ends at 17:00.
    EXPECT_EQ(schedule->endDateForStartDateAndEffort(KSDateTime(0, 8 * 3600.0), 8 * 3600.0),
              KSDateTime(0, 17 * 3600.0));
}

}  // namespace
}  // namespace kestrum::test
