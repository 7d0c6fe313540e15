// Assignments as a user makes them: added, changed and removed with undo restoring each;
// one assignment per resource and task; units clamped to what the resource has and
// following it; general assignments with specifics; the text forms read and printed;
// and the dates of the assigned tasks reached by a change of the resource's calendar.
//
// The plan starts on Monday 8 January 2024 on the standard week (8-12, 13-17).
#include <gtest/gtest.h>

#include <cmath>

#include "Model/engine/KSIssue.h"
#include "Model/resources/KSAssignment.h"
#include "Model/resources/KSResource.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSNotificationCenter.h"
#include "resources/CalendarFixture.h"

namespace kestrum::test {
namespace {

class AssignmentTest : public CalendarTest {
protected:
    std::shared_ptr<KSResource> person(const std::string& name, double units = 1.0,
                                       const std::shared_ptr<KSResource>& parent = nullptr) {
        auto r = resource(name, parent);
        r->setUnitsAvailable(units);
        return r;
    }
    std::shared_ptr<KSAssignment> assign(const std::shared_ptr<KSTask>& t, double units,
                                         const std::shared_ptr<KSResource>& r) {
        return KSAssignment::assignmentWithTaskAndUnitsOfResource(t.get(), units, r.get());
    }
    std::string text(const std::shared_ptr<KSTask>& t) { return t->assignedResourcesString(); }
};

TEST_F(AssignmentTest, AddingChangingAndRemovingEachUndoes) {
    auto ann = person("Ann", 2.0);
    auto a = task("A", 8);
    drain();

    auto made = assign(a, 0.5, ann);
    ASSERT_TRUE(made);
    EXPECT_TRUE(made->isValid());
    EXPECT_EQ(a->assignments().size(), 1u);
    EXPECT_EQ(ann->assignments().size(), 1u);
    EXPECT_EQ(undo().undoActionName(), "Assignment");
    drain();

    made->setUnitsAssigned(1.5);
    EXPECT_EQ(undo().undoActionName(), "Change Units Assigned");
    drain();
    undo().undo();
    EXPECT_EQ(made->unitsAssigned(), 0.5);

    made->remove();
    EXPECT_FALSE(made->isValid());
    EXPECT_TRUE(a->assignments().empty());
    EXPECT_TRUE(ann->assignments().empty());
    EXPECT_EQ(undo().undoActionName(), "Remove Assignment");
    drain();
    undo().undo();  // the very assignment comes back
    ASSERT_EQ(a->assignments().size(), 1u);
    EXPECT_EQ(a->assignments()[0], made);
    EXPECT_EQ(ann->assignments()[0], made);

    undo().undo();  // back before the assignment
    EXPECT_TRUE(a->assignments().empty());
    EXPECT_TRUE(ann->assignments().empty());
}

TEST_F(AssignmentTest, ZeroUnitsMakeNothingAndSettingZeroRemovesWithUndo) {
    auto ann = person("Ann");
    auto a = task("A", 8);
    EXPECT_EQ(assign(a, 0.0, ann), nullptr);
    EXPECT_EQ(assign(a, -1.0, ann), nullptr);
    EXPECT_EQ(assign(a, std::nan(""), ann), nullptr);
    EXPECT_EQ(assign(a, HUGE_VAL, ann), nullptr);
    EXPECT_TRUE(a->assignments().empty());

    auto made = assign(a, 0.75, ann);
    drain();
    made->setUnitsAssigned(std::nan(""));  // no number: nothing changes
    EXPECT_EQ(made->unitsAssigned(), 0.75);
    made->setUnitsAssigned(0.0);
    EXPECT_TRUE(a->assignments().empty());
    drain();
    undo().undo();
    ASSERT_EQ(a->assignments().size(), 1u);
    EXPECT_EQ(a->assignments()[0]->unitsAssigned(), 0.75);
}

TEST_F(AssignmentTest, ASecondAssignmentOfTheSameResourceChangesTheFirst) {
    auto ann = person("Ann", 2.0);
    auto a = task("A", 8);
    auto first = assign(a, 0.5, ann);
    auto second = assign(a, 1.5, ann);
    EXPECT_EQ(first, second);
    EXPECT_EQ(a->assignments().size(), 1u);
    EXPECT_EQ(first->unitsAssigned(), 1.5);
}

TEST_F(AssignmentTest, UnitsStayWithinTheResourceAndFollowIt) {
    auto ann = person("Ann", 2.0);
    auto sand = resource("Sand");
    sand->setResourceType(KSResourceType::material());
    auto a = task("A", 8);
    auto b = task("B", 8);
    auto c = task("C", 8);
    EXPECT_EQ(assign(a, 3.0, ann)->unitsAssigned(), 2.0);   // staff: clamped
    EXPECT_EQ(assign(a, 3.0, sand)->unitsAssigned(), 3.0);  // material: as asked
    auto some = assign(b, 1.0, ann);
    auto half = assign(c, 1.5, ann);
    auto all = a->assignmentForResource(ann.get());

    ann->setUnitsAvailable(3.0);  // all of it follows up; a part stays
    EXPECT_EQ(all->unitsAssigned(), 3.0);
    EXPECT_EQ(some->unitsAssigned(), 1.0);
    ann->setUnitsAvailable(1.0);  // anything above follows down
    EXPECT_EQ(all->unitsAssigned(), 1.0);
    EXPECT_EQ(half->unitsAssigned(), 1.0);
}

TEST_F(AssignmentTest, AssigningToAGroupTaskAssignsEachLeaf) {
    auto ann = person("Ann");
    auto phase = task("Phase", 0);
    auto a = std::make_shared<KSTask>();
    auto b = std::make_shared<KSTask>();
    phase->addChildTask(a);
    phase->addChildTask(b);
    EXPECT_EQ(assign(phase, 1.0, ann), nullptr);
    EXPECT_EQ(a->assignments().size(), 1u);
    EXPECT_EQ(b->assignments().size(), 1u);
    EXPECT_TRUE(phase->assignments().empty());
    EXPECT_TRUE(KSAssignment::removeAssignmentWithTaskAndResource(phase.get(), ann.get()));
    EXPECT_TRUE(a->assignments().empty());
    EXPECT_TRUE(ann->assignments().empty());
}

TEST_F(AssignmentTest, SpecificsSayWhoOfAGroupDoesTheWork) {
    auto testers = resource("Testers");
    testers->setResourceType(KSResourceType::group());
    auto bob = person("Bob", 2.0, testers);
    auto cid = person("Cid", 2.0, testers);
    auto a = task("A", 8);
    auto general = assign(a, 2.0, testers);
    auto forBob = KSAssignment::ghostAssignmentWithTaskAndUnitsOfResource(a.get(), 1.5, bob.get());
    auto forCid =
        KSAssignment::ghostAssignmentWithTaskAndUnitsOfResource(a.get(), 0.4999, cid.get());
    general->setSpecificAssignments(KSAssignmentList{forBob, forCid});
    EXPECT_TRUE(forBob->isValid());
    EXPECT_EQ(forBob->generalAssignment(), general.get());
    EXPECT_EQ(bob->assignments().size(), 1u);
    EXPECT_EQ(a->assignments().size(), 1u);  // specifics sit in their general assignment
    EXPECT_FALSE(general->specificAssignmentsFullySpecified());
    EXPECT_EQ(a->specificAssignmentForResource(cid.get()), forCid);
    EXPECT_DOUBLE_EQ(a->totalRequirementForResource(*testers), 1.5 + 0.4999);
    EXPECT_DOUBLE_EQ(a->totalRequirementForResource(*bob), 1.5);
    forCid->setUnitsAssigned(0.49995);
    EXPECT_TRUE(general->specificAssignmentsFullySpecified());
    // Any change of the general units drops the specifics.
    general->setUnitsAssigned(1.0);
    EXPECT_FALSE(general->specificAssignments().has_value());
    EXPECT_TRUE(bob->assignments().empty());
}

TEST_F(AssignmentTest, AGroupAskedForMoreThanItHasRaisesAnIssue) {
    auto testers = resource("Testers");
    testers->setResourceType(KSResourceType::group());
    auto bob = person("Bob", 1.0, testers);
    auto a = task("A", 8);
    auto general = assign(a, 1.0, testers);
    general->addSpecificAssignment(
        KSAssignment::ghostAssignmentWithTaskAndUnitsOfResource(a.get(), 1.0, bob.get()));
    EXPECT_FALSE(a->hasIssuesOfKind(KSIssue::assignmentIssueKind()));
    // Two units of Bob, who is the whole group of one unit.
    general->addSpecificAssignment(
        KSAssignment::ghostAssignmentWithTaskAndUnitsOfResource(a.get(), 1.0, bob.get()));
    EXPECT_TRUE(a->hasIssuesOfKind(KSIssue::assignmentIssueKind()));
    EXPECT_EQ(a->issues()[0]->shortDescription(), "More resources assigned than are available");
}

TEST_F(AssignmentTest, TheTextFormIsPrintedAndReadBack) {
    auto ann = person("Ann", 1.0);
    auto testers = resource("Testers");
    testers->setResourceType(KSResourceType::group());
    auto bob = person("Bob", 1.0, testers);
    person("Cid", 1.0, testers);
    auto sand = resource("Sand");
    sand->setResourceType(KSResourceType::material());
    auto a = task("A", 8);

    a->setAssignedResourcesString("Ann {50%}; Testers [Bob; Cid {25%}]; Sand {3}");
    ASSERT_EQ(a->assignments().size(), 3u);
    EXPECT_EQ(a->assignmentForResource(ann.get())->unitsAssigned(), 0.5);
    EXPECT_EQ(a->assignmentForResource(sand.get())->unitsAssigned(), 3.0);
    auto general = a->assignmentForResource(testers.get());
    ASSERT_TRUE(general->specificAssignments());
    EXPECT_EQ(general->specificAssignmentForResource(bob.get())->unitsAssigned(), 1.0);
    // Amounts show against what the resource has; a material's as a plain amount.
    std::string printed = text(a);
    EXPECT_EQ(printed, "Ann {50% of 100%}; Testers [Bob; Cid {25% of 100%}]; Sand {3}");

    // Printing and reading again gives the same assignments.
    auto b = task("B", 8);
    b->setAssignedResourcesString(printed);
    EXPECT_EQ(text(b), printed);
    EXPECT_EQ(KSAssignment::changeLogStringForAssignments(b->assignments()),
              KSStringWithFormat("%d {50}; %d [%d; %d {25}]; %d {300}", ann->objectId(),
                                 testers->objectId(), bob->objectId(),
                                 scenario->resourceWithName("Cid")->objectId(), sand->objectId()));
}

TEST_F(AssignmentTest, TextThatDoesNotParseStopsWhereItBreaks) {
    person("Ann");
    auto a = task("A", 8);
    // No closing brace: nothing for Bob, and Ann before it stays.
    a->setAssignedResourcesString("Ann; Bob {50%");
    EXPECT_EQ(text(a), "Ann");
    a->setAssignedResourcesString("Ann [Bob");
    EXPECT_TRUE(a->assignments().empty());
    // An unknown name makes a resource, even when only ghosts are made.
    auto ghosts = KSAssignment::assignmentsForStringOnTaskInstantiate("Zed {50%}", a.get(), false);
    ASSERT_EQ(ghosts.size(), 1u);
    EXPECT_FALSE(ghosts[0]->isValid());
    EXPECT_NE(scenario->resourceWithName("Zed"), nullptr);
    // An amount that does not read leaves one unit.
    a->setAssignedResourcesString("Ann {lots}");
    EXPECT_EQ(a->assignments()[0]->unitsAssigned(), 1.0);
    // A material's amount is the number the text starts with; "nan" and "inf" are none.
    resource("Sand")->setResourceType(KSResourceType::material());
    a->setAssignedResourcesString("Sand {nAnno}; Ann");
    EXPECT_EQ(text(a), "Ann");
    a->setAssignedResourcesString("Sand {inf}");
    EXPECT_TRUE(a->assignments().empty());
    // Empty and odd texts make nothing and do not fail.
    for (const char* odd : {"", " ; ", "{}", "[]]", ";;;{"}) {
        a->setAssignedResourcesString(odd);
        EXPECT_TRUE(a->assignments().empty()) << odd;
    }
}

TEST_F(AssignmentTest, AMilestoneTakesNoLessThanOneUnit) {
    person("Ann", 2.0);
    auto m = task("M", 0);
    m->setTaskType(taskTypeMilestone);
    m->setAssignedResourcesString("Ann {50%}");
    ASSERT_EQ(m->assignments().size(), 1u);
    EXPECT_EQ(m->assignments()[0]->unitsAssigned(), 1.0);
}

TEST_F(AssignmentTest, TheChangeLogFormReadsIdsAndPercents) {
    auto ann = person("Ann", 2.0);
    auto a = task("A", 8);
    auto made = assign(a, 0.333, ann);
    std::string log = KSAssignment::changeLogStringForAssignments(a->assignments());
    EXPECT_EQ(log, KSStringWithFormat("%d {33}", ann->objectId()));
    auto back = KSAssignment::assignmentsForChangelogStringOnTaskInstantiate(log, a.get(), false);
    ASSERT_EQ(back.size(), 1u);
    EXPECT_DOUBLE_EQ(back[0]->unitsAssigned(), 0.33);
    std::string id = std::to_string(ann->objectId());
    EXPECT_EQ(KSAssignment::assignmentsForChangelogStringOnTaskInstantiate(id + " {0.5}", a.get(),
                                                                           false)[0]
                  ->unitsAssigned(),
              0.5);
    EXPECT_EQ(KSAssignment::assignmentsForChangelogStringOnTaskInstantiate(id + " {50}", a.get(),
                                                                           false)[0]
                  ->unitsAssigned(),
              0.5);
    // Unknown ids are skipped and shown as deleted.
    EXPECT_TRUE(KSAssignment::assignmentsForChangelogStringOnTaskInstantiate("999", a.get(), false)
                    .empty());
    EXPECT_EQ(KSAssignment::assignmentStringForChangelogStringOnTask("999 {50}; " + id, a.get()),
              "<deleted resource id 999> {50% of 50%}; Ann");
    EXPECT_EQ(KSAssignment::translateResourceIdFromToForChangelogString(77, 78, "12 {50}"),
              "12 {50}");
    (void)made;
}

TEST_F(AssignmentTest, AResourceCalendarChangeReachesTheDatesOfItsTasks) {
    auto ann = person("Ann");
    auto a = task("A", 8);
    auto b = task("B", 8);
    link(a, b);
    assign(a, 1.0, ann);
    drain();
    int invalidated = 0;
    auto token = KSNotificationCenter::defaultCenter().addObserver(
        nullptr, KSTaskWillInvalidateDatesNotification, b.get(),
        [&](const KSNotification&) { ++invalidated; });
    ann->setStandardHoursString("-;-;;-;-;-;-");  // no Tuesdays for Ann
    EXPECT_GE(invalidated, 1);                    // the dependent follows too
    EXPECT_FALSE(scenario->tasksNeedingRevalidation().empty());
    drain();
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-09T17:00");
    KSNotificationCenter::defaultCenter().removeObserver(token);
}

TEST_F(AssignmentTest, LeavingThePlanTakesTheAssignmentsAlong) {
    auto ann = person("Ann");
    auto a = task("A", 8);
    assign(a, 1.0, ann);
    drain();
    a->deleteSelf();
    EXPECT_TRUE(ann->assignments().empty());
    drain();
    undo().undo();
    EXPECT_EQ(ann->assignments().size(), 1u);
}

}  // namespace
}  // namespace kestrum::test
