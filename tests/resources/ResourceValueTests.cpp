// Resources as a plan's tree: a group's units, efficiency and costs come from its members,
// a material's units from what its assignments use, type changes keep the values a type
// may have, and every edit undoes. Also the tree's searches and leveling set.
#include <gtest/gtest.h>

#include "Model/resources/KSAssignedUnitsValue.h"
#include "Model/resources/KSAssignment.h"
#include "Model/resources/KSResource.h"
#include "resources/CalendarFixture.h"

namespace kestrum::test {
namespace {

class ResourceValueTest : public CalendarTest {
protected:
    std::shared_ptr<KSResource> group(const std::string& name,
                                      const std::shared_ptr<KSResource>& parent = nullptr) {
        auto g = resource(name, parent);
        g->setResourceType(KSResourceType::group());
        return g;
    }
    std::shared_ptr<KSResource> staff(const std::string& name, double units, double efficiency,
                                      const std::shared_ptr<KSResource>& parent = nullptr) {
        auto r = resource(name, parent);
        r->setUnitsAvailable(units);
        r->setEfficiency(efficiency);
        return r;
    }
};

TEST_F(ResourceValueTest, TheFourTypesAreSharedAndFoundByNameAndRank) {
    EXPECT_EQ(KSResourceType::resourceTypesSet().size(), 4u);
    EXPECT_EQ(KSResourceType::resourceTypeNamed("Material"), KSResourceType::material());
    EXPECT_EQ(KSResourceType::resourceTypeNamed("material"), nullptr);
    EXPECT_EQ(KSResourceType::resourceTypeWithRank(3), KSResourceType::group());
    EXPECT_EQ(KSResourceType::resourceTypeWithRank(4), nullptr);
    EXPECT_EQ(KSResourceType::group()->localizedPluralName(), "Groups");
    EXPECT_TRUE(KSResourceType::group()->isStaffOrGroup());
    EXPECT_FALSE(KSResourceType::equipment()->isStaffOrGroup());
}

// Testers: Ann (2 units, efficiency 1.0) and Bob (1 unit, efficiency 0.5).
TEST_F(ResourceValueTest, AGroupDerivesUnitsAndEfficiencyFromItsMembers) {
    auto testers = group("Testers");
    staff("Ann", 2.0, 1.0, testers);
    auto bob = staff("Bob", 1.0, 0.5, testers);
    EXPECT_EQ(testers->unitsAvailable(), 3.0);
    EXPECT_DOUBLE_EQ(testers->efficiency(), (2.0 + 0.5) / 3.0);
    // A group's units are not set directly.
    testers->setUnitsAvailable(10.0);
    EXPECT_EQ(testers->unitsAvailable(), 3.0);
    drain();

    // Setting a group's efficiency sets every working leaf; undo brings each back.
    testers->setEfficiency(0.8);
    EXPECT_DOUBLE_EQ(bob->efficiency(), 0.8);
    EXPECT_DOUBLE_EQ(testers->efficiency(), 0.8);
    drain();
    undo().undo();
    EXPECT_DOUBLE_EQ(bob->efficiency(), 0.5);
    EXPECT_DOUBLE_EQ(testers->efficiency(), 2.5 / 3.0);
}

TEST_F(ResourceValueTest, AGroupOfStaffAndMaterialCountsOnlyTheStaff) {
    auto crew = group("Crew");
    staff("Ann", 2.0, 1.0, crew);
    auto sand = resource("Sand", crew);
    sand->setResourceType(KSResourceType::material());
    EXPECT_EQ(crew->unitsAvailable(), 2.0);
    EXPECT_FALSE(crew->groupContainingOnlyMaterials());

    auto store = group("Store");
    auto cement = resource("Cement", store);
    cement->setResourceType(KSResourceType::material());
    EXPECT_TRUE(store->groupContainingOnlyMaterials());
    auto task1 = task("Pour", 8);
    KSAssignment::assignmentWithTaskAndUnitsOfResource(task1.get(), 12.0, cement.get());
    EXPECT_EQ(cement->unitsAvailable(), 12.0);
    EXPECT_EQ(store->unitsAvailable(), 12.0);
    EXPECT_FALSE(store->unitsAvailableForBinding()->asPercentage());
    EXPECT_TRUE(crew->unitsAvailableForBinding()->asPercentage());
}

// Two leaves: 1 unit at 30 an hour, 2 units at 0: (1 * 30) / 2 = 15.
TEST_F(ResourceValueTest, AGroupsCostsAreTheUnitWeightedSumOverAllLeaves) {
    auto team = group("Team");
    auto ann = staff("Ann", 1.0, 1.0, team);
    staff("Bob", 2.0, 1.0, team);
    ann->setCostPerHour(30.0);
    ann->setCostPerUse(7.0);
    EXPECT_DOUBLE_EQ(team->costPerHour(), 15.0);
    EXPECT_DOUBLE_EQ(team->costPerUse(), 3.5);
    // Setting it on the group sets each leaf.
    team->setCostPerHour(20.0);
    EXPECT_DOUBLE_EQ(ann->costPerHour(), 20.0);
    EXPECT_DOUBLE_EQ(team->costPerHour(), (1 * 20.0 + 2 * 20.0) / 2);
}

TEST_F(ResourceValueTest, NegativeUnitsAndCostsAreRefusedAndChangeNothing) {
    auto ann = staff("Ann", 2.0, 1.0);
    ann->setUnitsAvailable(-1.0);
    ann->setCostPerHour(-5.0);
    ann->setCostPerUse(-5.0);
    EXPECT_EQ(ann->unitsAvailable(), 2.0);
    EXPECT_EQ(ann->costPerHour(), 0.0);
    EXPECT_EQ(ann->costPerUse(), 0.0);
    // A null cost by key is ignored too.
    ann->setValueForKey(KSValue(), "costPerHour");
    EXPECT_EQ(ann->costPerHour(), 0.0);
}

TEST_F(ResourceValueTest, BecomingMaterialDropsUnitsAndHourlyCostAndUndoRestoresThem) {
    auto ann = staff("Ann", 2.0, 1.0);
    ann->setCostPerHour(40.0);
    drain();
    ann->setResourceType(KSResourceType::material());
    EXPECT_TRUE(ann->isMaterial());
    EXPECT_EQ(ann->costPerHour(), 0.0);
    EXPECT_EQ(ann->efficiency(), 0.0);
    EXPECT_TRUE(ann->efficiencyPercentage().isNull());
    EXPECT_EQ(undo().undoActionName(), "Change Resource Type");
    drain();
    undo().undo();
    EXPECT_TRUE(ann->isStaff());
    // Undo puts the old units back, not 1.0 on top of them.
    EXPECT_EQ(ann->unitsAvailable(), 2.0);
    EXPECT_EQ(ann->costPerHour(), 40.0);
}

TEST_F(ResourceValueTest, AGroupWithMembersKeepsItsType) {
    auto team = group("Team");
    staff("Ann", 1.0, 1.0, team);
    team->setResourceType(KSResourceType::staff());
    EXPECT_TRUE(team->isGroupResource());
}

TEST_F(ResourceValueTest, NamesLoseTheMarksOfTheAssignmentText) {
    auto ann = resource("Ann {lead}; [QA]");
    EXPECT_EQ(ann->name(), "Ann (lead), (QA)");
}

TEST_F(ResourceValueTest, TheTreeIsSearchedDepthFirstAndNeverFindsTheRoot) {
    auto team = group("Team");
    auto ann = staff("Ann", 1.0, 1.0, team);
    auto idle = staff("Idle", 0.0, 1.0, team);
    auto sand = resource("Sand");
    sand->setResourceType(KSResourceType::material());
    auto& root = *scenario->rootResource();
    EXPECT_TRUE(root.isGroupResource());
    root.setName(std::string("Everyone"));
    EXPECT_EQ(root.findResourceWithName("Everyone"), nullptr);
    EXPECT_EQ(root.findResourceWithName("Ann"), ann);
    EXPECT_EQ(root.childResourceWithName("Ann"), nullptr);
    EXPECT_EQ(team->childResourceWithName("Ann"), ann);
    EXPECT_TRUE(ann->isDescendentOfResource(*team));
    EXPECT_EQ(team->leafResources().size(), 2u);
    // Leveling: members before their group, no material, nothing of 0 units.
    auto leveled = root.allResourcesToIncludeInLeveling();
    ASSERT_EQ(leveled.size(), 2u);
    EXPECT_EQ(leveled[0], ann);
    EXPECT_EQ(leveled[1], team);
    (void)idle;
}

TEST_F(ResourceValueTest, ADuplicateImportedResourceMergesIntoTheOneOfTheSameName) {
    auto team = group("Team");
    auto ann = staff("Ann", 1.0, 1.0, team);
    auto other = std::make_shared<KSResource>();
    other->setName(std::string("Ann"));
    std::vector<std::pair<std::string, std::shared_ptr<KSResource>>> mapping{{"r9", other}};
    EXPECT_EQ(team->discardDuplicateResourceUpdateMapping(other, &mapping), ann);
    EXPECT_EQ(mapping[0].second, ann);
    auto stranger = std::make_shared<KSResource>();
    stranger->setName(std::string("Zed"));
    EXPECT_EQ(team->discardDuplicateResourceUpdateMapping(stranger, nullptr), nullptr);
}

TEST_F(ResourceValueTest, ColumnsAnswerByTheirIdentifiers) {
    auto ann = staff("Ann", 2.0, 0.5);
    ann->setCostPerUse(10.0);
    EXPECT_EQ(ann->valueForKey(KSResourceName).asString(), "Ann");
    EXPECT_EQ(ann->valueForKey(KSResourceTypeString).asString(), "Staff");
    EXPECT_EQ(ann->valueForKey(KSCostPerUse).doubleValue(), 10.0);
    EXPECT_EQ(ann->valueForKey(KSEfficiency).doubleValue(), 0.5);
    auto units = ann->valueForKey(KSTotalNumber).asObjectOfType<KSAssignedUnitsValue>();
    ASSERT_TRUE(units);
    EXPECT_EQ(units->units(), 2.0);
    EXPECT_EQ(KSResource::_identifierForAttributeKey("unitsAvailable"), "#");
    EXPECT_EQ(KSResource::_identifierForAttributeKey("name"), "name");
    EXPECT_EQ(ann->valueClassForIdentifier("#"), KSValueClass::AssignedUnits);
    EXPECT_EQ(ann->valueClassForIdentifier("Total Hours"), KSValueClass::Number);
}

}  // namespace
}  // namespace kestrum::test
