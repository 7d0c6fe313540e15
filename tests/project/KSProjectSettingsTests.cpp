// Project settings: defaults, the stated quirks, undo, and what each change reaches.
#include <gtest/gtest.h>

#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Model/project/KSFilter.h"
#include "Model/project/KSScenarioPlaceholder.h"
#include "Platform/core/KSUserDefaults.h"
#include "Platform/difference/TMDifferenceEngine.h"
#include "ProjectFixture.h"

namespace kestrum::test {
namespace {

using SettingsTest = ProjectTest;

TEST_F(SettingsTest, ANewProjectHasTheStatedDefaults) {
    EXPECT_FALSE(project->useFlatNumbering());
    EXPECT_TRUE(project->showHeadingNumbers());
    EXPECT_TRUE(project->displayDates());
    EXPECT_TRUE(project->displayTimes());
    EXPECT_FALSE(project->displaySeconds());
    EXPECT_FALSE(project->autoLevelResources());
    EXPECT_FALSE(project->publishAllocations());
    EXPECT_FALSE(project->subscribeToAllocations());
    EXPECT_EQ(project->criticalPathSlackLimit(), 0.0);
    EXPECT_EQ(project->minimumSplitDuration(), 0.0);
    EXPECT_EQ(project->minEffortMultiplier(), 1);
    EXPECT_EQ(project->expectedEffortMultiplier(), 4);
    EXPECT_EQ(project->maxEffortMultiplier(), 1);
    for (const auto& formatter :
         {project->sharedDurationFormatter(), project->sharedEffortFormatter()}) {
        EXPECT_FALSE(formatter->useVerboseFormat());
        EXPECT_EQ(formatter->roundingInterval(), 0.25);
        EXPECT_EQ(formatter->project(), project.get());
    }
    EXPECT_NE(project->sharedDurationFormatter(), project->sharedEffortFormatter());
    EXPECT_EQ(project->actualScenarioPlaceholder()->scenarioIfLoaded(), scenario.get());
}

TEST_F(SettingsTest, DatesAndTimesNeverBothGoOff) {
    project->setDisplayTimes(false);
    EXPECT_TRUE(project->displayDates());
    project->setDisplayDates(false);  // times are off: they come back on
    EXPECT_FALSE(project->displayDates());
    EXPECT_TRUE(project->displayTimes());
    project->setDisplayTimes(false);  // and the other way round
    EXPECT_TRUE(project->displayDates());
    EXPECT_FALSE(project->displayTimes());
}

TEST_F(SettingsTest, DisplayChangesReachTheScenariosOncePerPass) {
    ChangeCounter changes(scenario.get());
    project->setDisplayDates(false);
    project->setDisplaySeconds(true);
    drain();
    EXPECT_EQ(changes.count, 1);
    project->setDisplaySeconds(true);  // unchanged
    drain();
    EXPECT_EQ(changes.count, 1);
}

TEST_F(SettingsTest, ShowHeadingNumbersInvertsWhateverItIsGiven) {
    project->setShowHeadingNumbers(true);  // the stored value: still flips
    EXPECT_FALSE(project->showHeadingNumbers());
    EXPECT_FALSE(document.headingNumbers);
    project->setShowHeadingNumbers(false);
    EXPECT_TRUE(project->showHeadingNumbers());
    EXPECT_TRUE(document.headingNumbers);
    project->setShowHeadingNumbers(false);
    EXPECT_FALSE(project->showHeadingNumbers());
}

TEST_F(SettingsTest, TitleIsUndoableWithItsActionName) {
    project->setTitle(std::string("Harbour"));
    EXPECT_EQ(undo().undoActionName(), "Set Title");
    drain();
    project->setTitle(std::string("Harbour"));  // unchanged: nothing recorded
    drain();
    undo().undo();
    EXPECT_FALSE(project->title().has_value());
    EXPECT_FALSE(undo().canUndo());
}

TEST_F(SettingsTest, TurningAutomaticLevelingOnLevelsTheActualPlanAtOnce) {
    project->setAutoLevelResources(true);
    EXPECT_EQ(scenario->levelCount, 1);
    EXPECT_TRUE(scenario->levelAllTasks);
    drain();
    project->setAutoLevelResources(false);
    EXPECT_EQ(scenario->levelCount, 1);
    drain();
    undo().undo();
    EXPECT_TRUE(project->autoLevelResources());
    // Not while a scenario is being read.
    scenario->levelCount = 0;
    project->setAutoLevelResources(false);
    project->setLoadingScenario(true);
    project->setAutoLevelResources(true);
    project->setLoadingScenario(false);
    EXPECT_EQ(scenario->levelCount, 0);
}

TEST_F(SettingsTest, ExtendedXMLFollowsTheFlagOrThePreference) {
    EXPECT_FALSE(project->writeExtendedXML());
    KSUserDefaults::standardUserDefaults().setBoolForKey(true, "WriteExtendedXML");
    EXPECT_TRUE(project->writeExtendedXML());
    KSUserDefaults::standardUserDefaults().removeObjectForKey("WriteExtendedXML");
    project->setWriteExtendedXML(true);
    EXPECT_TRUE(project->writeExtendedXML());
}

TEST_F(SettingsTest, SubscribingToAllocationsTellsTheDocumentUnlessLoading) {
    struct Document : TestDocument {
        void resourceLoadSubscriptionFlagDidChange() override { ++told; }
        int told = 0;
    } counting;
    auto other = std::make_shared<KSProject>(&counting);
    other->setSubscribeToAllocations(true);
    other->setSubscribeToAllocations(true);
    EXPECT_EQ(counting.told, 1);
    other->setLoadingScenario(true);
    other->setSubscribeToAllocations(false);
    EXPECT_EQ(counting.told, 1);
    EXPECT_FALSE(other->subscribeToAllocations());
}

TEST_F(SettingsTest, AFormatterChangeReachesEveryLoadedScenario) {
    ChangeCounter changes(scenario.get());
    project->sharedEffortFormatter()->setHoursPerDay(7.5f);
    project->sharedDurationFormatter()->setDisplayMinutes(true);
    drain();
    EXPECT_EQ(changes.count, 1);
}

TEST_F(SettingsTest, ProjectChangesAreTrackedChangesOfTheScenarioUnlessLoading) {
    auto* engine = scenario->metadataDifferenceEngine();
    engine->discardChanges();
    project->setMinimumSplitDuration(3600.0);
    EXPECT_TRUE(engine->hasCurrentDifferencesForId(1));
    engine->discardChanges();
    project->setLoadingScenario(true);
    project->setMinimumSplitDuration(7200.0);
    project->setLoadingScenario(false);
    EXPECT_FALSE(engine->hasCurrentDifferencesForId(1));
    EXPECT_EQ(project->minimumSplitDuration(), 7200.0);
}

TEST_F(SettingsTest, SettingsAreReachableByKey) {
    project->setValueForKey(KSValue(true), "useFlatNumbering");
    EXPECT_TRUE(project->useFlatNumbering());
    project->setValueForKey(KSValue(2), "minEffortMultiplier");
    EXPECT_EQ(project->minEffortMultiplier(), 2);
    project->setCriticalPathSlackLimit(86400.0);
    EXPECT_EQ(project->valueForKey("criticalPathSlackLimit"), KSValue(86400.0));
    EXPECT_EQ(project->valueForKey("scenarioPlaceholders").asArray().size(), 1u);
}

TEST_F(SettingsTest, CurrencyIsUndoableAndNamedInTheLocale) {
    project->setSelectedCurrency(std::nullopt);  // nothing stored: ignored
    EXPECT_FALSE(undo().canUndo());
    project->setSelectedCurrency(std::string("EUR"));
    EXPECT_EQ(undo().undoActionName(), "Change Currency");
    EXPECT_EQ(project->selectedCurrencyDisplayName(), "Euro");
    EXPECT_EQ(project->exampleCurrencyString(), "\u20ac\u00a01234.56");  // C locale
    drain();
    project->setSelectedCurrencyDisplayName("Japanese Yen");
    EXPECT_EQ(project->selectedCurrency(), std::optional<std::string>("JPY"));
    project->setSelectedCurrencyDisplayName("No Such Money");
    EXPECT_EQ(project->selectedCurrency(), std::optional<std::string>("JPY"));
    drain();
    undo().undo();
    EXPECT_EQ(project->selectedCurrency(), std::optional<std::string>("EUR"));
}

TEST_F(SettingsTest, FiltersAreKeptByIdAndTheLastUsedOneIsStored) {
    auto filter = KSFilter::filterWithPredicate(KSPredicate::truePredicate());
    project->setLastUsedFilter(filter);
    EXPECT_EQ(project->lastUsedFilter(), filter);
    EXPECT_EQ(project->filterWithId(filter->filterId()), filter);
    auto other = std::make_shared<KSFilter>();
    project->addFilter(other);
    EXPECT_EQ(project->filters().size(), 2u);
    EXPECT_EQ(project->filterWithId("missing"), nullptr);
    project->setFilters({});
    EXPECT_TRUE(project->filters().empty());
}

TEST_F(SettingsTest, InvalidationEndsTheDocumentLink) {
    project->invalidate();
    EXPECT_EQ(project->document(), nullptr);
    EXPECT_EQ(project->undoManager(), nullptr);
    EXPECT_EQ(project->styleContext(), nullptr);
    EXPECT_TRUE(scenario->isInvalid());
    project->setShowHeadingNumbers(true);  // reaches no document
    EXPECT_TRUE(document.headingNumbers == false);
}

}  // namespace
}  // namespace kestrum::test
