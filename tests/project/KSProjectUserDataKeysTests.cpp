// Project-wide user-data keys: adding, renaming and removing them across every scenario.
#include <gtest/gtest.h>

#include "Model/project/KSScenarioPlaceholder.h"
#include "Model/resources/KSResource.h"
#include "ProjectFixture.h"
#include "ScenarioXMLTestCoder.h"

namespace kestrum::test {
namespace {

class UserDataKeysTest : public ProjectTest {
protected:
    void SetUp() override {
        ProjectTest::SetUp();
        keyNotices = KSNotificationCenter::defaultCenter().addObserver(
            nullptr, KSCustomKeyValueChangeNotification, project.get(),
            [this](const KSNotification& n) { notices.push_back(n.userInfo); });
        for (const char* key : {"Owner", "Phase", "Cost centre"})
            project->changeUserInfoKeyFromToInArray(std::nullopt, std::string(key),
                                                    project->taskUserDataKeys());
        task = add<RecordingTask>("Write");
        task->setUserDataForKey(std::string("Ann"), "Phase");
        drain();
        undo().removeAllActions();
        notices.clear();
    }
    void TearDown() override {
        KSNotificationCenter::defaultCenter().removeObserver(keyNotices);
        ProjectTest::TearDown();
    }
    std::vector<std::string> taskKeys() const { return project->taskUserDataKeys(); }

    ScopedTestScenarioCoder coder;
    std::shared_ptr<RecordingTask> task;
    std::vector<KSDictionary> notices;
    KSNotificationCenter::Token keyNotices{};
};

TEST_F(UserDataKeysTest, RenamingKeepsThePlaceAndMovesValuesInEveryScenario) {
    auto holder = std::make_shared<KSScenarioPlaceholder>(
        "Baseline",
        bytesOf("<scenario><task id=\"9\" title=\"Old\"><data key=\"Phase\">Draft</data>"
                "</task></scenario>"));
    project->insertInScenarioPlaceholdersAtIndex(holder, 1);
    drain();

    project->changeUserInfoKeyFromToInArray(std::string("Phase"), std::string("Stage"),
                                            project->taskUserDataKeys());
    EXPECT_EQ(taskKeys(), (std::vector<std::string>{"Owner", "Stage", "Cost centre"}));
    EXPECT_TRUE(project->taskUserDataKeySet().count("Stage"));
    EXPECT_FALSE(project->taskUserDataKeySet().count("Phase"));
    EXPECT_EQ(task->userDataForKey("Stage"), "Ann");
    EXPECT_EQ(task->userDataForKey("Phase"), "");
    // The unread baseline was read to move its values too.
    KSScenario* baseline = holder->scenarioIfLoaded();
    ASSERT_NE(baseline, nullptr);
    auto old = baseline->rootTask()->objectInChildrenAtIndex(0);
    EXPECT_EQ(old->userDataForKey("Stage"), "Draft");
    EXPECT_EQ(old->userDataForKey("Phase"), "");

    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(notices[0].objectForKey(KSOldKeyNameKey), KSValue("Phase"));
    EXPECT_EQ(notices[0].objectForKey(KSNewKeyNameKey), KSValue("Stage"));
    EXPECT_EQ(notices[0].objectForKey(KSTypeNameKey), KSValue("Task"));
}

TEST_F(UserDataKeysTest, UndoingARenamePutsKeyAndValuesBack) {
    project->changeUserInfoKeyFromToInArray(std::string("Phase"), std::string("Stage"),
                                            project->taskUserDataKeys());
    drain();
    undo().undo();
    EXPECT_EQ(taskKeys(), (std::vector<std::string>{"Owner", "Phase", "Cost centre"}));
    EXPECT_TRUE(project->taskUserDataKeySet().count("Phase"));
    EXPECT_EQ(task->userDataForKey("Phase"), "Ann");
    EXPECT_EQ(task->userDataForKey("Stage"), "");
    undo().redo();
    EXPECT_EQ(taskKeys()[1], "Stage");
    EXPECT_EQ(task->userDataForKey("Stage"), "Ann");
}

TEST_F(UserDataKeysTest, RemovingDropsTheKeyAndItsValuesAndUndoRestoresThePlace) {
    project->changeUserInfoKeyFromToInArray(std::string("Phase"), std::nullopt,
                                            project->taskUserDataKeys());
    EXPECT_EQ(taskKeys(), (std::vector<std::string>{"Owner", "Cost centre"}));
    EXPECT_EQ(task->userDataForKey("Phase"), "");
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_FALSE(notices[0].contains(KSNewKeyNameKey));
    drain();
    undo().undo();
    EXPECT_EQ(taskKeys(), (std::vector<std::string>{"Owner", "Phase", "Cost centre"}));
    EXPECT_EQ(task->userDataForKey("Phase"), "Ann");
}

TEST_F(UserDataKeysTest, AddingAppendsAndNamesNoOldKey) {
    project->changeUserInfoKeyFromToInArray(std::nullopt, std::string("Risk"),
                                            project->taskUserDataKeys());
    EXPECT_EQ(taskKeys().back(), "Risk");
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_FALSE(notices[0].contains(KSOldKeyNameKey));
    drain();
    undo().undo();
    EXPECT_EQ(taskKeys().size(), 3u);
    EXPECT_FALSE(project->taskUserDataKeySet().count("Risk"));
}

TEST_F(UserDataKeysTest, ResourceAndScenarioListsMoveTheirOwnObjects) {
    project->changeUserInfoKeyFromToInArray(std::nullopt, std::string("Site"),
                                            project->resourceUserDataKeys());
    project->changeUserInfoKeyFromToInArray(std::nullopt, std::string("Sponsor"),
                                            project->projectUserDataKeys());
    auto resource = std::make_shared<KSResource>();
    scenario->rootResource()->insertObjectInChildrenAtIndex(resource, 0);
    resource->setUserDataForKey(std::string("Lyon"), "Site");
    scenario->setUserDataForKey(std::string("Eve"), "Sponsor");
    notices.clear();

    project->changeUserInfoKeyFromToInArray(std::string("Site"), std::string("Plant"),
                                            project->resourceUserDataKeys());
    project->changeUserInfoKeyFromToInArray(std::string("Sponsor"), std::string("Owner"),
                                            project->projectUserDataKeys());
    EXPECT_EQ(resource->userDataForKey("Plant"), "Lyon");
    EXPECT_EQ(scenario->userDataForKey("Owner"), "Eve");
    EXPECT_EQ(task->userDataForKey("Phase"), "Ann");  // task keys untouched
    ASSERT_EQ(notices.size(), 2u);
    EXPECT_EQ(notices[0].objectForKey(KSTypeNameKey), KSValue("Resource"));
    EXPECT_EQ(notices[1].objectForKey(KSTypeNameKey), KSValue("Scenario"));
}

TEST_F(UserDataKeysTest, AListThatIsNotOneOfTheProjectsIsIgnored) {
    std::vector<std::string> copy = project->taskUserDataKeys();
    project->changeUserInfoKeyFromToInArray(std::string("Phase"), std::string("Stage"), copy);
    EXPECT_EQ(taskKeys()[1], "Phase");
    EXPECT_EQ(task->userDataForKey("Phase"), "Ann");
    EXPECT_TRUE(notices.empty());
    EXPECT_FALSE(undo().canUndo());
}

}  // namespace
}  // namespace kestrum::test
