// Links as cell text: a task's prerequisites and dependents print with the numbers the
// plan shows (outline positions or flat numbers), their kinds and their leads in time or
// percent, and text reads back as ghost links to the tasks behind those numbers.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Model/formatters/KSDependenciesFormatter.h"
#include "Model/formatters/KSDependencyFormatter.h"
#include "Model/formatters/KSTimeSpanFormatter.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

constexpr double kHour = 3600.0;

// The plan, with the ids its tasks have in the file:
//
//   outline  flat  id   task
//   1        1     101  Design
//   2        2     102  Build (group)
//   2.1      3     103    Frame
//   2.2      4     104    Wire
//   3        5     105  Test      <- Design FS, Frame SS+1d, Wire FF-10%
class DependencyFormatterTest : public PlanFixture<> {
protected:
    void SetUp() override {
        PlanFixture::SetUp();
        design = task("Design", root(), 101);
        build = task("Build", root(), 102);
        frame = task("Frame", *build, 103);
        wire = task("Wire", *build, 104);
        test = task("Test", root(), 105);
        build->setIsGroup(true);
        KSDependency::dependencyWithPrerequisiteAndDependent(design.get(), test.get());
        auto fromFrame = KSDependency::dependencyWithPrerequisiteAndDependentAndKind(
            frame.get(), test.get(), KSDependencyStartToStart);
        fromFrame->setLeadTime(8.0 * kHour);
        auto fromWire = KSDependency::dependencyWithPrerequisiteAndDependentAndKind(
            wire.get(), test.get(), KSDependencyFinishToFinish);
        fromWire->setLeadTime(-0.1);
        fromWire->setLeadTimeIsPercentage(true);
        drain();
        formatter.setScenario(scenario.get());
        list.setScenario(scenario.get());
    }

    std::shared_ptr<KSTask> task(const std::string& title, KSTask& parent, TMObjectId id) {
        auto t = std::make_shared<KSTask>();
        t->setTitle(title);
        parent.addChildTask(t);
        t->setObjectId(id);
        return t;
    }

    std::shared_ptr<KSDependency> read(const std::string& text, std::string* error = nullptr) {
        KSValue value;
        std::string message;
        if (!formatter.getObjectValueForString(&value, text, &message)) {
            if (error) *error = message;
            return nullptr;
        }
        return value.asObjectOfType<KSDependency>();
    }

    KSValue linksOf(const KSDependencyList& links) {
        KSArray values;
        for (const auto& link : links)
            values.emplace_back(link);
        return KSValue(values);
    }

    std::shared_ptr<KSTask> design, build, frame, wire, test;
    KSDependencyFormatter formatter;
    KSDependenciesFormatter list;
};

TEST_F(DependencyFormatterTest, PrerequisitesPrintWithOutlineNumbersKindsAndLeads) {
    EXPECT_EQ(list.stringForObjectValue(linksOf(test->prerequisites())), "1, 2.1SS+1d, 2.2FF-10%");
    // A finish-to-start link without a lead is the number alone.
    EXPECT_EQ(formatter.stringForObjectValue(KSValue(test->prerequisites().front())), "1");
}

TEST_F(DependencyFormatterTest, FlatNumberingPrintsTheFlatNumbers) {
    project->setUseFlatNumbering(true);
    EXPECT_EQ(list.stringForObjectValue(linksOf(test->prerequisites())), "1, 3SS+1d, 4FF-10%");
    list.setShowingDependents(true);
    EXPECT_EQ(list.stringForObjectValue(linksOf(frame->dependents())), "5SS+1d");
}

TEST_F(DependencyFormatterTest, DependentsCellsNameTheDependent) {
    list.setShowingDependents(true);
    EXPECT_EQ(list.stringForObjectValue(linksOf(design->dependents())), "3");
    EXPECT_EQ(list.stringForObjectValue(linksOf(wire->dependents())), "3FF-10%");
}

TEST_F(DependencyFormatterTest, LeadsPrintInTheProjectsEffortUnits) {
    const auto& fromFrame = test->prerequisites()[1];
    EXPECT_EQ(fromFrame->leadTimeString(), "+1d");  // the link's own text of its lead
    project->sharedEffortFormatter()->setHoursPerDay(4.0f);
    EXPECT_EQ(fromFrame->leadTimeString(), "+2d");
    EXPECT_EQ(list.stringForObjectValue(linksOf(test->prerequisites())), "1, 2.1SS+2d, 2.2FF-10%");
    EXPECT_EQ(list.stringForObjectValue(KSValue(KSArray{})), "");
    EXPECT_EQ(list.stringForObjectValue(KSValue("1, 2")), "");
}

TEST_F(DependencyFormatterTest, TextReadsAsAGhostFromTheTaskBehindTheNumber) {
    auto link = read("2.1ss+1d");
    ASSERT_TRUE(link);
    EXPECT_EQ(link->prerequisite(), frame.get());
    EXPECT_EQ(link->prerequisite()->objectId(), 103);  // the id behind outline number 2.1
    EXPECT_EQ(link->dependent(), nullptr);             // the cell fills in its own task
    EXPECT_FALSE(link->isValid());
    EXPECT_EQ(link->dependencyKind(), KSDependencyStartToStart);
    EXPECT_EQ(link->leadTime(), 8.0 * kHour);
    EXPECT_FALSE(link->leadTimeIsPercentage());

    link = read(" 2.2 FF - 10% ");
    ASSERT_TRUE(link);
    EXPECT_EQ(link->prerequisite(), wire.get());
    EXPECT_EQ(link->dependencyKind(), KSDependencyFinishToFinish);
    EXPECT_TRUE(link->leadTimeIsPercentage());
    EXPECT_EQ(link->leadTime(), -(10.0f / 100.0f));
}

TEST_F(DependencyFormatterTest, FlatNumbersReadAsFlatNumbers) {
    project->setUseFlatNumbering(true);
    auto link = read("5ff");
    ASSERT_TRUE(link);
    EXPECT_EQ(link->prerequisite(), test.get());
    EXPECT_EQ(link->dependencyKind(), KSDependencyFinishToFinish);
    EXPECT_EQ(link->leadTime(), 0.0);
    formatter.setShowingDependents(true);
    link = read("3SF+2h");
    ASSERT_TRUE(link);
    EXPECT_EQ(link->dependent(), frame.get());
    EXPECT_EQ(link->prerequisite(), nullptr);
    EXPECT_EQ(link->dependencyKind(), KSDependencyStartToFinish);
    EXPECT_EQ(link->leadTime(), 2.0 * kHour);
}

TEST_F(DependencyFormatterTest, ANumberAloneIsFinishToStartAndUnknownTailsAreIgnored) {
    // The kind comes from initials after the number; with none it stays finish to start.
    auto link = read("3");
    ASSERT_TRUE(link);
    EXPECT_EQ(link->prerequisite(), test.get());
    EXPECT_EQ(link->dependencyKind(), KSDependencyFinishToStart);
    link = read("3x");  // no kind, and no sign follows: a plain link
    ASSERT_TRUE(link);
    EXPECT_EQ(link->dependencyKind(), KSDependencyFinishToStart);
    EXPECT_EQ(link->leadTime(), 0.0);
    link = read("1SSjunk+4h");
    ASSERT_TRUE(link);
    EXPECT_EQ(link->dependencyKind(), KSDependencyStartToStart);
    EXPECT_EQ(link->leadTime(), 0.0);
    link = read("1FS+");  // a sign with nothing after it
    ASSERT_TRUE(link);
    EXPECT_EQ(link->leadTime(), 0.0);
}

TEST_F(DependencyFormatterTest, LeadsReadInTheProjectsEffortUnits) {
    project->sharedEffortFormatter()->setHoursPerDay(6.0f);
    auto link = read("1SS+1d");
    ASSERT_TRUE(link);
    EXPECT_EQ(link->leadTime(), 6.0 * kHour);
    link = read("1-d");  // a lone unit is one of it
    ASSERT_TRUE(link);
    EXPECT_EQ(link->leadTime(), -6.0 * kHour);
}

TEST_F(DependencyFormatterTest, TextThatNamesNoTaskOrNoLeadIsRefusedWithAReason) {
    std::string error;
    EXPECT_FALSE(read("SS+1d", &error));
    EXPECT_EQ(error, "\"SS+1d\" names no task: a link starts with the task's number.");
    EXPECT_FALSE(read("9", &error));
    EXPECT_EQ(error, "There is no task 9 in this plan.");
    EXPECT_FALSE(read("2.7", &error));
    EXPECT_FALSE(read("0", &error));  // the invisible root is no task to link to
    EXPECT_FALSE(read("", &error));
    EXPECT_FALSE(read("1SS+2q", &error));
    EXPECT_EQ(error,
              "The lead of the link \"1SS+2q\" cannot be read: \"q\" is not a unit of time, in "
              "the duration \"2q\".");
    EXPECT_FALSE(read("1SS+-2h", &error));  // negative durations are the sign's business
    EXPECT_FALSE(read("1+" + std::string(60, '9') + "%", &error));
    EXPECT_EQ(error, "The lead of the link \"1+" + std::string(60, '9') + "%\" is too large.");
    std::string ignored;
    EXPECT_FALSE(formatter.isPartialStringValidNewEditingString("zz", &ignored, &error));
    EXPECT_TRUE(formatter.isPartialStringValidNewEditingString("2.1", &ignored, &error));
}

TEST_F(DependencyFormatterTest, PrintedLinksReadBackToTheSameLinks) {
    for (bool flat : {false, true}) {
        project->setUseFlatNumbering(flat);
        for (const auto& original : test->prerequisites()) {
            auto link = read(formatter.stringForDependency(*original));
            ASSERT_TRUE(link);
            EXPECT_EQ(link->prerequisite(), original->prerequisite());
            EXPECT_EQ(link->dependencyKind(), original->dependencyKind());
            EXPECT_FLOAT_EQ(link->leadTime(), original->leadTime());
            EXPECT_EQ(link->leadTimeIsPercentage(), original->leadTimeIsPercentage());
        }
    }
}

TEST_F(DependencyFormatterTest, AListKeepsTheReadablePiecesAndDropsTheRest) {
    KSValue value;
    ASSERT_TRUE(list.getObjectValueForString(&value, "1, 2.1SS+1d,, 9, x, 2.2FF-10%", nullptr));
    ASSERT_TRUE(value.isArray());
    ASSERT_EQ(value.asArray().size(), 3u);
    EXPECT_EQ(value.asArray()[0].asObjectOfType<KSDependency>()->prerequisite(), design.get());
    EXPECT_EQ(value.asArray()[1].asObjectOfType<KSDependency>()->prerequisite(), frame.get());
    EXPECT_EQ(value.asArray()[2].asObjectOfType<KSDependency>()->prerequisite(), wire.get());
    ASSERT_TRUE(list.getObjectValueForString(&value, "", nullptr));
    EXPECT_TRUE(value.asArray().empty());
    std::string ignored;
    EXPECT_TRUE(list.isPartialStringValidNewEditingString("9, x", &ignored, nullptr));
}

TEST(DependencyFormatterKindsTest, InitialsFollowTheKindNumbers) {
    EXPECT_EQ(KSDependencyFormatter::localizedInitialsForDependencyKind(KSDependencyStartToStart),
              "SS");
    EXPECT_EQ(KSDependencyFormatter::localizedInitialsForDependencyKind(KSDependencyStartToFinish),
              "SF");
    EXPECT_EQ(KSDependencyFormatter::localizedInitialsForDependencyKind(KSDependencyFinishToStart),
              "FS");
    EXPECT_EQ(KSDependencyFormatter::localizedInitialsForDependencyKind(KSDependencyFinishToFinish),
              "FF");
    EXPECT_EQ(
        KSDependencyFormatter::localizedInitialsForDependencyKind(static_cast<KSDependencyKind>(7)),
        "");
}

TEST(DependencyFormatterKindsTest, WithoutAPlanNothingIsFound) {
    KSDependencyFormatter formatter;
    std::string error;
    EXPECT_FALSE(formatter.getObjectValueForString(nullptr, "1", &error));
    EXPECT_EQ(error, "There is no task 1 in this plan.");
}

}  // namespace
}  // namespace kestrum::test
