// The kind of a link read from its text comes from the first "S" and the first "F": with
// no "S" it is finish to finish, also when the text names no kind at all.
#include <gtest/gtest.h>

#include "Model/tasks/KSDependency.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class DependencyTextKind : public PlanFixture<> {
protected:
    void SetUp() override {
        PlanFixture::SetUp();
        for (auto* t : {&a, &b, &c}) {
            *t = std::make_shared<KSTask>();
            root().addChildTask(*t);
        }
    }
    KSDependency::List parse(const std::string& text) {
        return KSDependency::ghostDependenciesWithInternalStringRepresentationForDependentTask(
            text, c.get());
    }
    std::shared_ptr<KSTask> a, b, c;
};

TEST_F(DependencyTextKind, KindsComeFromTheFirstLetters) {
    ASSERT_EQ(a->objectId(), 1);
    ASSERT_EQ(b->objectId(), 2);
    struct Case {
        const char* text;
        KSDependencyKind kind;
        double lead;
        bool percent;
    };
    const Case cases[] = {
        {"1FS", KSDependencyFinishToStart, 0.0, false},
        {"1SS+3600", KSDependencyStartToStart, 3600.0, false},
        {"1SF-7200", KSDependencyStartToFinish, -7200.0, false},
        {"1FF-0.5%", KSDependencyFinishToFinish, -0.5, true},
        {"1F", KSDependencyFinishToFinish, 0.0, false},
        {"1", KSDependencyFinishToFinish, 0.0, false},
        {"1+3600", KSDependencyFinishToFinish, 0.0, false},
    };
    for (const Case& expected : cases) {
        SCOPED_TRACE(expected.text);
        auto links = parse(expected.text);
        ASSERT_EQ(links.size(), 1u);
        EXPECT_EQ(links[0]->prerequisite(), a.get());
        EXPECT_EQ(links[0]->dependent(), c.get());
        EXPECT_EQ(links[0]->dependencyKind(), expected.kind);
        EXPECT_DOUBLE_EQ(links[0]->leadTime(), expected.lead);
        EXPECT_EQ(links[0]->leadTimeIsPercentage(), expected.percent);
    }
}

TEST_F(DependencyTextKind, AListKeepsItsPartsAndDropsUnknownTasks) {
    auto links = parse("1,2SS,9FS,x");
    ASSERT_EQ(links.size(), 2u);
    EXPECT_EQ(links[0]->dependencyKind(), KSDependencyFinishToFinish);
    EXPECT_EQ(links[1]->prerequisite(), b.get());
    EXPECT_EQ(links[1]->dependencyKind(), KSDependencyStartToStart);

    // Applied to the task, the bare id makes a real finish-to-finish link.
    c->setInternalPrerequisitesString(std::string("1"));
    ASSERT_EQ(c->prerequisites().size(), 1u);
    EXPECT_EQ(c->prerequisites()[0]->dependencyKind(), KSDependencyFinishToFinish);
    EXPECT_EQ(c->internalPrerequisitesString(), "1FF");
}

}  // namespace
}  // namespace kestrum::test
