// Costs of tasks and resources, and earned value against a baseline.
//
// The plan starts on Monday 8 January 2024 on the standard week (8-12, 13-17). Ann costs
// 10 per use and 50 an hour; cement costs 4 a bag.
#include <gtest/gtest.h>

#include "Model/resources/KSAssignment.h"
#include "Model/resources/KSResource.h"
#include "resources/CalendarFixture.h"

namespace kestrum::test {
namespace {

class CostTest : public CalendarTest {
protected:
    void SetUp() override {
        CalendarTest::SetUp();
        ann = resource("Ann");
        ann->setCostPerUse(10.0);
        ann->setCostPerHour(50.0);
        cement = resource("Cement");
        cement->setResourceType(KSResourceType::material());
        cement->setCostPerUse(4.0);
    }
    std::shared_ptr<KSResource> ann;
    std::shared_ptr<KSResource> cement;
};

// A (8 hours, 2024-01-08T08:00 - 17:00): 10 + 8 * 50 = 410 for Ann, 3 * 4 = 12 of cement.
TEST_F(CostTest, CostsPerUsePerHourAndOfMaterialAddUp) {
    auto a = task("A", 8);
    a->setStaticCost(100.0);
    KSAssignment::assignmentWithTaskAndUnitsOfResource(a.get(), 1.0, ann.get());
    KSAssignment::assignmentWithTaskAndUnitsOfResource(a.get(), 3.0, cement.get());
    drain();
    auto work = a->assignmentForResource(ann.get());
    EXPECT_EQ(work->timeSpent(), 8 * kHour);
    EXPECT_DOUBLE_EQ(work->totalCost(), 410.0);
    EXPECT_DOUBLE_EQ(a->assignmentForResource(cement.get())->totalCost(), 12.0);
    EXPECT_DOUBLE_EQ(a->assignmentsCost(), 422.0);
    EXPECT_DOUBLE_EQ(a->totalCost(), 522.0);
    EXPECT_DOUBLE_EQ(ann->currentTotalCost(), 410.0);
    EXPECT_EQ(ann->totalHours(), 8 * kHour);
    EXPECT_EQ(cement->totalHours(), 0.0);
    EXPECT_EQ(cement->unitsAvailable(), 3.0);

    // A slower worker spends more time on the same work.
    ann->setEfficiency(0.5);
    drain();
    EXPECT_EQ(work->timeSpent(), 16 * kHour);
    EXPECT_DOUBLE_EQ(work->totalCost(), 10.0 + 16 * 50.0);
    EXPECT_DOUBLE_EQ(work->totalDuration(), 16 * kHour);
}

TEST_F(CostTest, AGroupTaskSumsItsChildrenAndUsesCountRoundedUp) {
    auto phase = task("Phase", 0);
    auto a = std::make_shared<KSTask>();
    auto b = std::make_shared<KSTask>();
    phase->addChildTask(a);
    phase->addChildTask(b);
    a->setStaticCost(30.0);
    b->setStaticCost(20.0);
    EXPECT_EQ(undo().undoActionName(), "Set Task Cost");
    EXPECT_DOUBLE_EQ(phase->staticCost(), 50.0);
    ann->setUnitsAvailable(2.0);
    KSAssignment::assignmentWithTaskAndUnitsOfResource(a.get(), 0.25, ann.get());
    KSAssignment::assignmentWithTaskAndUnitsOfResource(b.get(), 1.5, ann.get());
    drain();
    EXPECT_EQ(ann->totalAssignments(), 3);  // 0.25 counts as one use, 1.5 as two
    EXPECT_DOUBLE_EQ(phase->assignmentsCost(), a->assignmentsCost() + b->assignmentsCost());
    EXPECT_DOUBLE_EQ(phase->totalCost(), 50.0 + phase->assignmentsCost());
}

// Earned value of A (8 hours, 2024-01-08 8:00 - 17:00, costing 410 + 90 fixed = 500),
// against a baseline where A costs 400, on three editing dates.
class EarnedValueTest : public CostTest {
protected:
    void SetUp() override {
        CostTest::SetUp();
        a = task("A", 8);
        a->setStaticCost(90.0);
        KSAssignment::assignmentWithTaskAndUnitsOfResource(a.get(), 1.0, ann.get());
        baseline = std::make_shared<KSScenario>();
        project->addScenario(baseline);
        baseline->setStartDate(at(2024, 1, 8, 8));
        // The baseline's A: the same id, set before it joins so that it keeps it.
        auto old = std::make_shared<KSTask>();
        old->setObjectId(a->objectId());
        baseline->rootTask()->addChildTask(old);
        old->setStaticCost(400.0);
        drain();
    }
    double figure(const char* key) {
        return a->valueForEarnedValueKeyForBaseline(key, baseline.get()).doubleValue();
    }
    bool isNull(const char* key) {
        return a->valueForEarnedValueKeyForBaseline(key, baseline.get()).isNull();
    }
    std::shared_ptr<KSTask> a;
    std::shared_ptr<KSScenario> baseline;
};

TEST_F(EarnedValueTest, BeforeTheWorkNothingIsScheduledOrSpent) {
    scenario->setCurrentEditingDate(at(2024, 1, 8, 8));  // the start itself
    EXPECT_EQ(figure(KSTaskEarnedValue_BCWS), 0.0);
    EXPECT_EQ(figure(KSTaskEarnedValue_ACWP), 0.0);
    EXPECT_EQ(figure(KSTaskEarnedValue_BCWP), 0.0);
    EXPECT_EQ(figure(KSTaskEarnedValue_BAC), 400.0);
    EXPECT_EQ(figure(KSTaskEarnedValue_EAC), 500.0);
    EXPECT_EQ(figure(KSTaskEarnedValue_VAC), -100.0);
    EXPECT_TRUE(isNull(KSTaskEarnedValue_CPI));
    EXPECT_TRUE(isNull(KSTaskEarnedValue_SPI));
    EXPECT_TRUE(isNull(KSTaskEarnedValue_CVP));
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_TCPI), 400.0 / 400.0);
}

// At 12:00 half the working day is past; a quarter of the work is done.
TEST_F(EarnedValueTest, DuringTheWorkTheCostsAccrueWithTheWorkingTime) {
    scenario->setCurrentEditingDate(at(2024, 1, 8, 12));
    a->setCompleted(0.25);
    drain();
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_BCWS), 200.0);
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_ACWP), 250.0);
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_BCWP), 100.0);
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_CV), -150.0);
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_SV), -100.0);
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_CPI), 0.4);
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_SPI), 0.5);
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_CVP), -1.5);
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_SVP), -1.0);
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_TCPI), (400.0 - 100.0) / (400.0 - 250.0));
}

TEST_F(EarnedValueTest, AfterTheWorkEverythingIsSpent) {
    scenario->setCurrentEditingDate(at(2024, 1, 8, 17));  // the end itself
    a->setCompleted(1.0);
    drain();
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_BCWS), 400.0);
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_ACWP), 500.0);
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_BCWP), 400.0);
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_CPI), 0.8);
    EXPECT_DOUBLE_EQ(figure(KSTaskEarnedValue_SPI), 1.0);
}

TEST_F(EarnedValueTest, ATaskMissingFromTheBaselineHasNoBudget) {
    auto fresh = task("New", 8);
    drain();
    scenario->setCurrentEditingDate(at(2024, 1, 9, 17));
    auto value = [&](const char* key) {
        return fresh->valueForEarnedValueKeyForBaseline(key, baseline.get());
    };
    EXPECT_EQ(value(KSTaskEarnedValue_BCWS).doubleValue(), 0.0);
    EXPECT_EQ(value(KSTaskEarnedValue_BCWP).doubleValue(), 0.0);
    EXPECT_EQ(value(KSTaskEarnedValue_BAC).doubleValue(), 0.0);
    EXPECT_TRUE(value(KSTaskEarnedValue_CPI).isNull());  // nothing spent
    EXPECT_TRUE(value(KSTaskEarnedValue_TCPI).isNull());
    EXPECT_TRUE(value("ev_unknown").isNull());
}

}  // namespace
}  // namespace kestrum::test
