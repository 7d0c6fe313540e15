// Scenario placeholders: reading baselines on demand, the project's scenario list.
#include <gtest/gtest.h>

#include "Model/changes/KSDifferenceEngine.h"
#include "Model/project/KSScenarioPlaceholder.h"
#include "Platform/core/KSLog.h"
#include "ProjectFixture.h"
#include "ScenarioXMLTestCoder.h"

namespace kestrum::test {
namespace {

const char* const kBaselineXML =
    "<scenario>\n"
    "  <task id=\"3\" title=\"Write\"><data key=\"Owner\">Ann</data></task>\n"
    "  <task id=\"4\" title=\"Review\"/>\n"
    "</scenario>\n";

class PlaceholderTest : public ProjectTest {
protected:
    std::shared_ptr<KSScenarioPlaceholder> addBaseline(const std::string& xml,
                                                       const std::string& name = "Baseline") {
        auto holder = std::make_shared<KSScenarioPlaceholder>(name, bytesOf(xml));
        holder->setScenarioUUID("B-" + name);
        project->insertInScenarioPlaceholdersAtIndex(holder,
                                                     project->scenarioPlaceholders().size());
        drain();
        undo().removeAllActions();  // what follows is read against a clean undo stack
        return holder;
    }
    ScopedTestScenarioCoder coder;
};

TEST_F(PlaceholderTest, AnUnreadBaselineIsReadOnFirstUseAndDropsItsBytes) {
    auto holder = addBaseline(kBaselineXML);
    EXPECT_EQ(holder->scenarioIfLoaded(), nullptr);
    EXPECT_TRUE(holder->isEditable());
    EXPECT_EQ(holder->name(), "Baseline");

    KSScenario* baseline = project->scenarioWithId("B-Baseline");
    ASSERT_NE(baseline, nullptr);
    EXPECT_EQ(holder->scenarioIfLoaded(), baseline);
    EXPECT_EQ(baseline->name(), "Baseline");
    EXPECT_EQ(baseline->scenarioUUID(), "B-Baseline");
    EXPECT_EQ(baseline->project(), project.get());
    ASSERT_EQ(baseline->rootTask()->countOfChildren(), 2u);
    EXPECT_EQ(baseline->rootTask()->objectInChildrenAtIndex(0)->userDataForKey("Owner"), "Ann");
    EXPECT_FALSE(baseline->taskDifferenceEngine()->isLoading());
    EXPECT_FALSE(project->loadingScenario());
    EXPECT_TRUE(holder->xmlData().empty());                      // the scenario is now the truth
    EXPECT_FALSE(undo().canUndo());                              // reading is no edit
    EXPECT_EQ(project->scenarioWithId("B-Baseline"), baseline);  // read once
}

TEST_F(PlaceholderTest, ANonEditablePlaceholderKeepsItsBytesToWriteThemBackAsTheyCame) {
    auto holder = addBaseline(kBaselineXML);
    holder->setIsEditable(false);
    ASSERT_NE(holder->scenarioInProject(*project), nullptr);
    EXPECT_EQ(holder->xmlData(), bytesOf(kBaselineXML));
    EXPECT_EQ(holder->xmlDataForTaskIds(nullptr, nullptr, "", *project), bytesOf(kBaselineXML));
}

TEST_F(PlaceholderTest, AFailedReadAnswersNullAndLeavesTheProjectLoading) {
    auto holder = addBaseline("<scenario><task id=\"3\"></scenario>");  // malformed
    KSError error;
    EXPECT_EQ(holder->scenarioInProject(*project, &error), nullptr);
    EXPECT_FALSE(error.localizedDescription().empty());
    EXPECT_EQ(holder->scenarioIfLoaded(), nullptr);
    EXPECT_TRUE(project->loadingScenario());
    EXPECT_TRUE(undo().isUndoRegistrationEnabled());
    // While the project is loading, no scenario gets in.
    auto late = std::make_shared<KSScenario>();
    project->addScenario(late);
    EXPECT_EQ(project->scenarioPlaceholders().size(), 2u);
    EXPECT_EQ(late->project(), nullptr);
}

TEST_F(PlaceholderTest, AReaderThatRefusesTheDocumentFailsTheReadToo) {
    auto holder = addBaseline("<changelog/>");
    EXPECT_EQ(holder->scenarioInProject(*project), nullptr);
    EXPECT_TRUE(project->loadingScenario());
}

TEST_F(PlaceholderTest, APlaceholderWithoutBytesLogsAndAnswersNull) {
    auto holder = addBaseline("");
    holder->setFilename("baseline-2.xml");
    KSLogCapture log;
    EXPECT_EQ(holder->scenarioInProject(*project), nullptr);
    EXPECT_TRUE(
        log.contains("Unable to load scenario \"Baseline\" from filename \"baseline-2.xml\"."));
    EXPECT_FALSE(project->loadingScenario());
}

TEST_F(PlaceholderTest, BytesComeFromTheCachedFileWhenNotKept) {
    std::string path = ::testing::TempDir() + "placeholder-baseline.xml";
    {
        std::FILE* file = std::fopen(path.c_str(), "wb");
        ASSERT_NE(file, nullptr);
        std::fputs(kBaselineXML, file);
        std::fclose(file);
    }
    auto holder = addBaseline("");
    holder->setCachedWrapper(path);
    KSScenario* baseline = holder->scenarioInProject(*project);
    ASSERT_NE(baseline, nullptr);
    EXPECT_EQ(baseline->rootTask()->countOfChildren(), 2u);
    EXPECT_FALSE(holder->cachedWrapper().has_value());
    std::remove(path.c_str());
}

TEST_F(PlaceholderTest, WithoutACoderReadingFailsWithAClearError) {
    KSScenarioPlaceholder::setXMLCoder(nullptr, nullptr);
    auto holder = addBaseline(kBaselineXML);
    KSError error;
    EXPECT_EQ(holder->scenarioInProject(*project, &error), nullptr);
    EXPECT_NE(error.localizedDescription().find("reader"), std::string::npos);
    std::vector<std::int64_t> ids = {3};
    project->setLoadingScenario(false);
    EXPECT_TRUE(holder->xmlDataForTaskIds(&ids, nullptr, "", *project, &error).empty());
}

TEST_F(PlaceholderTest, NameAndIdentityReadThroughToALoadedScenario) {
    auto holder = project->actualScenarioPlaceholder();
    EXPECT_EQ(holder->scenarioIfLoaded(), scenario.get());
    EXPECT_FALSE(holder->isEditable());
    EXPECT_EQ(holder->scenarioUUID(), scenario->scenarioUUID());
    holder->setName("Plan");
    EXPECT_EQ(scenario->name(), "Plan");
    scenario->setName("Plan B");
    EXPECT_EQ(holder->name(), "Plan B");
    holder->setXMLData(bytesOf(kBaselineXML));  // ignored once loaded
    EXPECT_TRUE(holder->xmlData().empty());
}

TEST_F(PlaceholderTest, RenamingAScenarioIsUndoableAndAnnouncedAsAListChange) {
    int notices = 0;
    struct Observer : KSBaseObject {
        int* count;
        void observeValueForKeyPathOfObjectChangeContext(std::string_view, KSBaseObject*,
                                                         const KSKeyValueChange& change,
                                                         const void*) override {
            if (!change.isPrior) ++*count;
        }
    } observer;
    observer.count = &notices;
    project->addObserverForKeyPathOptionsContext(&observer, "scenarioPlaceholders", 0, nullptr);
    scenario->setName("Plan");
    drain();
    EXPECT_EQ(notices, 1);
    undo().undo();
    EXPECT_EQ(scenario->name(), "Actual");
    EXPECT_EQ(project->actualScenarioPlaceholder()->name(), "Actual");
    project->removeObserver(&observer);
}

TEST_F(PlaceholderTest, AddingATakenNameStoresTheNextFreeNumber) {
    auto second = std::make_shared<KSScenario>();
    project->addScenario(second);
    EXPECT_EQ(second->name(), "Actual 2");
    auto third = std::make_shared<KSScenario>();
    third->setName("Actual 2");
    project->addScenario(third);
    EXPECT_EQ(third->name(), "Actual 3");
    EXPECT_EQ(project->scenarioPlaceholders().size(), 3u);
    EXPECT_EQ(project->actualScenario(), scenario.get());
    EXPECT_EQ(project->loadedScenarios().size(), 3u);
}

TEST(UniquifyNameTest, TakesTheNumberAfterTheHighestOfTheSameStem) {
    EXPECT_EQ(KSProject::uniquifyNameAmongNames("Task 1", {"Task 1", "Task 4", "Tasks 9"}),
              "Task 5");
    EXPECT_EQ(KSProject::uniquifyNameAmongNames("Baseline", {"Baseline"}), "Baseline 2");
    EXPECT_EQ(KSProject::uniquifyNameAmongNames("Baseline", {"Actual"}), "Baseline");
    EXPECT_EQ(KSProject::uniquifyNameAmongNames("Q3 plan", {"Q3 plan", "Q3 plan 7"}), "Q3 plan 8");
}

TEST_F(PlaceholderTest, RemovingAScenarioIsUndoneByPuttingItBackInPlace) {
    auto second = std::make_shared<KSScenario>();
    project->addScenario(second);
    auto third = std::make_shared<KSScenario>();
    project->addScenario(third);
    drain();
    project->removeScenario(second);
    EXPECT_EQ(second->project(), nullptr);
    ASSERT_EQ(project->scenarioPlaceholders().size(), 2u);
    drain();
    undo().undo();
    ASSERT_EQ(project->scenarioPlaceholders().size(), 3u);
    EXPECT_EQ(project->scenarioPlaceholders()[1]->scenarioIfLoaded(), second.get());
    EXPECT_EQ(second->project(), project.get());
}

TEST_F(PlaceholderTest, CopiesShareUnreadBytesAndCopyLoadedScenariosThroughXML) {
    auto unread = addBaseline(kBaselineXML);
    auto unreadCopy = unread->copy();
    EXPECT_EQ(unreadCopy->xmlData(), unread->xmlData());
    EXPECT_EQ(unreadCopy->name(), "Baseline");

    auto task = std::make_shared<KSTask>();
    task->setObjectId(7);
    task->setTitle(std::string("Plan"));
    root().insertObjectInChildrenAtIndex(task, 0);
    task->setUserDataForKey(std::string("Bo"), "Owner");
    auto loadedCopy = project->actualScenarioPlaceholder()->copy();
    ASSERT_NE(loadedCopy, nullptr);
    EXPECT_EQ(loadedCopy->scenarioIfLoaded(), nullptr);
    project->insertInScenarioPlaceholdersAtIndex(loadedCopy, 2);
    KSScenario* copy = loadedCopy->scenarioInProject(*project);
    ASSERT_NE(copy, nullptr);
    ASSERT_EQ(copy->rootTask()->countOfChildren(), 1u);
    auto copied = copy->rootTask()->objectInChildrenAtIndex(0);
    EXPECT_EQ(copied->title(), std::optional<std::string>("Plan"));
    EXPECT_EQ(copied->userDataForKey("Owner"), "Bo");
    EXPECT_NE(copied.get(), task.get());
}

TEST_F(PlaceholderTest, WritingSelectedTasksMakesADocumentInTheFileNamespace) {
    auto task = std::make_shared<KSTask>();
    task->setObjectId(7);
    task->setTitle(std::string("Plan"));
    root().insertObjectInChildrenAtIndex(task, 0);
    std::vector<std::int64_t> ids = {7};
    KSData bytes = project->actualScenarioPlaceholder()->xmlDataForTaskIds(
        &ids, nullptr, "file:///plans/", *project);
    std::string text(bytes.begin(), bytes.end());
    EXPECT_NE(text.find("<scenario xmlns=\"http://kestrum.invalid/namespace/Kestrum/v2\""),
              std::string::npos);
    EXPECT_NE(text.find("title=\"Plan\""), std::string::npos);
}

}  // namespace
}  // namespace kestrum::test
