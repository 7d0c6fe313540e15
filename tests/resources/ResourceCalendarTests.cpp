// Resources and their schedules: inheritance down the resource tree, the resource as the
// schedule's delegate, copies of schedules and their wiring, the tasks a resource's
// calendar reaches, and the scheduling slot of a task.
#include "resources/CalendarFixture.h"

#include <vector>

#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Model/resources/KSAssignment.h"
#include "Model/worktime/KSScheduledDay.h"
#include "Platform/core/KSNotificationCenter.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum::test {
namespace {

class ResourceCalendarTest : public CalendarTest {
protected:
    void TearDown() override {
        for (auto token : tokens)
            KSNotificationCenter::defaultCenter().removeObserver(token);
        CalendarTest::TearDown();
    }
    // Counts the notifications `name` posted for `sender`.
    int& count(KSNotificationName name, const void* sender) {
        counts.push_back(std::make_unique<int>(0));
        int* counter = counts.back().get();
        tokens.push_back(KSNotificationCenter::defaultCenter().addObserver(
            nullptr, name, sender, [counter](const KSNotification&) { ++*counter; }));
        return *counter;
    }
    static double week(const KSResource& r) { return r.schedule()->totalDurationForNormalWeek(); }

    std::vector<std::unique_ptr<int>> counts;
    std::vector<KSNotificationCenter::Token> tokens;
};

// Root (standard week) > Team > Ann. Ann's week follows every change above her, and each
// schedule below the changed one announces its change too.
TEST_F(ResourceCalendarTest, CalendarsInheritDownTheResourceTree) {
    auto team = resource("Team");
    auto ann = resource("Ann", team);
    EXPECT_EQ(ann->schedule()->inheritedSchedule(), team->schedule());
    EXPECT_EQ(team->schedule()->inheritedSchedule(), scenario->schedule());
    EXPECT_EQ(scenario->rootResource()->inheritedScheduleForSchedule(), nullptr);
    EXPECT_EQ(ann->parentResource(), team.get());
    EXPECT_EQ(week(*ann), 40 * kHour);  // cached from here on

    int& annChanged = count(KSScheduleDidChangeNotification, ann->schedule().get());
    team->setStandardHoursString("-;;-;-;-;-;-");  // Mondays off for the team
    EXPECT_EQ(week(*ann), 32 * kHour);
    EXPECT_EQ(ann->schedule()->normalScheduleForDayOfTheWeek(1)->totalDuration(), 0.0);
    EXPECT_EQ(annChanged, 1);
    EXPECT_TRUE(team->hasCustomNormalSchedule());
    EXPECT_FALSE(ann->hasCustomNormalSchedule());
    EXPECT_EQ(team->valueForKey("standardHoursString").asString(), "-;;-;-;-;-;-");

    edit(calendar(), [](KSSchedule& s) { s.addNewScheduleForDayOfTheWeek(5)->clearTimeSpans(); });
    EXPECT_EQ(week(*ann), 24 * kHour);  // and Fridays off for the whole plan
    EXPECT_EQ(annChanged, 2);
    ann->setStandardHoursString("-;28800,43200;-;-;-;-;-");  // Ann works Monday mornings
    EXPECT_EQ(week(*ann), 28 * kHour);
    EXPECT_EQ(week(*team), 24 * kHour);
}

// Moving a resource changes what its calendar inherits; a deleted branch lets go of the
// plan's calendar and takes it up again on undo, down to its members.
TEST_F(ResourceCalendarTest, MovingAndDeletingResourcesRewiresTheirCalendars) {
    auto team = resource("Team");
    auto ann = resource("Ann", team);
    auto bob = resource("Bob");
    team->setStandardHoursString("-;;-;-;-;-;-");
    drain();

    scenario->rootResource()->insertObjectInChildrenAtIndex(ann, 0);
    EXPECT_EQ(ann->schedule()->inheritedSchedule(), scenario->schedule());
    EXPECT_EQ(week(*ann), 40 * kHour);
    team->insertObjectInChildrenAtIndex(bob, 0);
    EXPECT_EQ(week(*bob), 32 * kHour);
    drain();

    team->deleteSelf();
    EXPECT_EQ(team->schedule()->inheritedSchedule(), nullptr);
    EXPECT_EQ(bob->schedule()->inheritedSchedule(), nullptr);
    drain();
    undo().undo();
    drain();
    EXPECT_EQ(team->scenario(), scenario.get());
    EXPECT_EQ(team->schedule()->inheritedSchedule(), scenario->schedule());
    EXPECT_EQ(bob->schedule()->inheritedSchedule(), team->schedule());
    EXPECT_EQ(week(*bob), 32 * kHour);
}

// The resource answers for its schedule from the plan it is in, and with nothing outside
// one.
TEST_F(ResourceCalendarTest, AResourceAnswersForItsScheduleFromItsPlan) {
    auto ann = resource("Ann");
    KSSchedule& schedule = *ann->schedule();
    EXPECT_EQ(schedule.delegate(), ann.get());
    EXPECT_EQ(ann->undoManagerForSchedule(schedule), &undo());
    scenario->setScheduleGranularity(KSScheduleGranularityDays);
    EXPECT_EQ(ann->scheduleGranularity(), KSScheduleGranularityDays);
    // 7.5 hours a day and 40 a week: five days of 7.5 hours and 2.5 hours on Saturday.
    project->sharedDurationFormatter()->setHoursPerDay(7.5f);
    project->sharedDurationFormatter()->setHoursPerWeek(40.0f);
    auto generic = ann->genericWorktimeSchedule();
    ASSERT_NE(generic, nullptr);
    EXPECT_NE(generic, ann->genericWorktimeSchedule());  // made anew each time
    EXPECT_EQ(generic->totalDurationForNormalWeek(), 40 * kHour);
    EXPECT_EQ(generic->normalScheduleForDayOfTheWeek(6)->totalDuration(), 2.5 * kHour);

    auto loose = std::make_shared<KSResource>();
    EXPECT_EQ(loose->schedule()->delegate(), loose.get());
    EXPECT_EQ(loose->undoManagerForSchedule(*loose->schedule()), nullptr);
    EXPECT_EQ(loose->scheduleGranularity(), KSScheduleGranularityExact);
    EXPECT_EQ(loose->genericWorktimeSchedule(), nullptr);
    EXPECT_TRUE(loose->childSchedules().empty());
}

// A copy of a calendar put in the plan's place: it answers to the root resource, the
// resources inherit from it, the tasks follow it, and the calendar it replaced answers to
// nobody. Undo puts the very same calendar back, wiring and all.
//   Monday to Thursday 7:00 - 17:00:   A  8h  Mon 08:00 - Mon 16:00
//                                      B 16h  Mon 16:00 - Wed 12:00 (after A)
TEST_F(ResourceCalendarTest, ACopiedCalendarTakesThePlansCalendarsPlace) {
    auto team = resource("Team");
    auto ann = resource("Ann", team);
    auto a = task("A", 8);
    auto b = task("B", 16);
    link(a, b);
    drain();
    const std::shared_ptr<KSSchedule> standard = scenario->schedule();
    auto longDays = KSSchedule::schedule();
    longDays->setStandardHoursString(";25200,61200;25200,61200;25200,61200;25200,61200;;");

    scenario->copySchedule(*longDays);
    drain();
    const std::shared_ptr<KSSchedule> copy = scenario->schedule();
    EXPECT_NE(copy, longDays);
    EXPECT_EQ(copy->standardHoursString(), longDays->standardHoursString());
    EXPECT_EQ(copy->delegate(), scenario->rootResource().get());
    EXPECT_EQ(longDays->delegate(), nullptr);
    EXPECT_EQ(standard->delegate(), nullptr);
    EXPECT_EQ(team->schedule()->inheritedSchedule(), copy);
    EXPECT_EQ(week(*ann), 40 * kHour);
    EXPECT_EQ(ann->schedule()->normalScheduleForDayOfTheWeek(5)->totalDuration(), 0.0);
    EXPECT_EQ(a->schedule(), copy.get());
    EXPECT_EQ(span(a), "2024-01-08T08:00 - 2024-01-08T16:00");
    EXPECT_EQ(span(b), "2024-01-08T16:00 - 2024-01-10T12:00");

    // Edits of the copy reach the plan: Tuesday off.
    edit(*copy, [](KSSchedule& s) { s.timeOffCalendar()->addEvent(dayOff(at(2024, 1, 9))); });
    drain();
    EXPECT_EQ(span(b), "2024-01-08T16:00 - 2024-01-11T12:00");

    undo().undo();  // the day off
    undo().undo();  // the copy
    drain();
    EXPECT_EQ(scenario->schedule(), standard);
    EXPECT_EQ(standard->delegate(), scenario->rootResource().get());
    EXPECT_EQ(copy->delegate(), nullptr);
    EXPECT_EQ(team->schedule()->inheritedSchedule(), standard);
    EXPECT_EQ(a->schedule(), standard.get());
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-10T17:00");

    undo().redo();
    drain();
    EXPECT_EQ(scenario->schedule(), copy);
    EXPECT_EQ(span(b), "2024-01-08T16:00 - 2024-01-10T12:00");
    undo().undo();
    drain();

    // The calendar let go of no longer reaches the plan.
    copy->setStandardHoursString(";;;;;;");
    EXPECT_TRUE(scenario->tasksNeedingRevalidation().empty());
    drain();
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-10T17:00");
}

// A resource copied from another takes a calendar of its own, answering to itself, and
// inherits once it is placed in the tree.
TEST_F(ResourceCalendarTest, ACopiedResourceGetsItsOwnCalendar) {
    auto team = resource("Team");
    team->setStandardHoursString("-;;-;-;-;-;-");
    auto ann = resource("Ann");
    ann->setStandardHoursString("-;-;;-;-;-;-");  // no Tuesdays
    auto twin = ann->copy();
    ASSERT_NE(twin->schedule(), ann->schedule());
    EXPECT_EQ(twin->schedule()->delegate(), twin.get());
    EXPECT_EQ(twin->standardHoursString(), "-;-;;-;-;-;-");
    EXPECT_EQ(twin->schedule()->inheritedSchedule(), nullptr);
    team->insertObjectInChildrenAtIndex(twin, 0);
    EXPECT_EQ(twin->schedule()->inheritedSchedule(), team->schedule());
    EXPECT_EQ(week(*twin), 24 * kHour);  // neither Mondays nor Tuesdays
}

// Another resource's calendar feeds only the tasks assigned to it, and what depends on
// them: without an assignment its edits invalidate nothing.
TEST_F(ResourceCalendarTest, AResourcesCalendarReachesTheTasksAssignedToIt) {
    auto ann = resource("Ann");
    auto a = task("A", 8);
    auto b = task("B", 8);
    auto c = task("C", 8);
    link(a, b);
    drain();
    int& aInvalidated = count(KSTaskWillInvalidateDatesNotification, a.get());
    int& bInvalidated = count(KSTaskWillInvalidateDatesNotification, b.get());
    int& cInvalidated = count(KSTaskWillInvalidateDatesNotification, c.get());

    ann->setStandardHoursString("-;;-;-;-;-;-");
    EXPECT_TRUE(scenario->tasksNeedingRevalidation().empty());
    EXPECT_EQ(aInvalidated + bInvalidated + cInvalidated, 0);

    auto assignment = KSAssignment::assignmentWithTaskAndUnitsOfResource(a.get(), 1.0, ann.get());
    drain();
    aInvalidated = bInvalidated = 0;
    ASSERT_EQ(ann->assignments().size(), 1u);
    ann->setStandardHoursString("-;-;;-;-;-;-");
    EXPECT_EQ(aInvalidated, 1);
    EXPECT_EQ(bInvalidated, 1);
    drain();
    EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-09T17:00");
    EXPECT_EQ(span(c), "2024-01-08T08:00 - 2024-01-08T17:00");

    assignment->remove();
    drain();
    aInvalidated = 0;
    EXPECT_TRUE(ann->assignments().empty());
    ann->setStandardHoursString("-;-;-;-;-;-;-");
    EXPECT_EQ(aInvalidated, 0);
}

// A task keeps the scheduling it answers with until it is told to drop it, and never takes
// one plan's calendar into another.
TEST_F(ResourceCalendarTest, ATaskAnswersWithThePlansCalendarWhereverItIs) {
    auto a = task("A", 8);
    EXPECT_EQ(a->schedule(), scenario->schedule().get());
    EXPECT_EQ(a->schedule(), a->scenarioSchedule());
    a->invalidateSchedule();
    EXPECT_EQ(a->schedule(), scenario->schedule().get());
    a->deleteSelf();
    EXPECT_EQ(a->schedule(), KSSchedule::standardWorkHours().get());

    auto other = std::make_shared<KSScenario>();
    project->addScenario(other);
    other->rootTask()->addChildTask(a);
    EXPECT_EQ(a->schedule(), other->schedule().get());
    EXPECT_NE(other->schedule(), scenario->schedule());
}

}  // namespace
}  // namespace kestrum::test
