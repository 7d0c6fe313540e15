// Keyed access as an application uses it: every key the model announces to observers can
// be read by key, and every date attribute with a setter can be written by key with a
// platform date, undoably.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Model/project/KSFilter.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSDependency.h"
#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSSchedule.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

// The model's date of a local day of June 2024 at `hour`.
KSDateTime june2024(unsigned day, int hour) {
    using namespace std::chrono;
    auto days = sys_days{2024y / June / day} - sys_days{2001y / January / 1};
    return KSDateTime(days.count(), hour * 3600.0);
}

struct AnnouncedKeys {
    const KSClassInfo& info;
    std::vector<std::string> keys;
};

// The keys each class sends will-change and did-change for.
std::vector<AnnouncedKeys> announcedKeys() {
    return {
        {KSTask::staticClassInfo(),
         {"startDate",
          "endDate",
          "currentStartLimit",
          "currentEndLimit",
          "absoluteStartLimit",
          "absoluteEndLimit",
          "freeSlack",
          "totalSlack",
          "childrenSet",
          "childrenRank",
          "prerequisites",
          "dependents",
          "effort",
          "effortDone",
          "minEffortEstimate",
          "expectedEffortEstimate",
          "maxEffortEstimate",
          "startLockedDate",
          "endLockedDate",
          "noEarlierThanConstraintDate",
          "noLaterThanConstraintDate",
          "headingString",
          "numericalOrderString",
          "isSplitChunk",
          "isSplitTask",
          "issues",
          "leafDescendentSet",
          "resourceLeveledDate",
          "resourceLevelingDelay",
          "scheduleType",
          "scheduleTypeNumber",
          "staticCost",
          "totalCost",
          "style",
          "taskType",
          "title",
          "notes",
          "hasNote",
          "attachments",
          "userData",
          "hasTrackedChanges",
          "assignments",
          "assignmentsCost",
          "assignedResourcesString"}},
        {KSScenario::staticClassInfo(),
         {"startDate", "endDate", "errorCount", "warningCount", "fixedDate", "hasFixedEndDate",
          "hasGenericDates", "milestones", "name", "scheduleGranularity", "unassignedTasks"}},
        {KSProject::staticClassInfo(),
         {"criticalPathSlackLimit", "exampleCurrencyString", "expectedEffortMultiplier", "filters",
          "hasTrackedChanges", "lastUsedFilter", "maxEffortMultiplier", "minEffortMultiplier",
          "minimumSplitDuration", "nextResourceId", "nextTaskId", "scenarioPlaceholders",
          "selectedCurrency", "selectedCurrencyDisplayName", "subscribeRefreshMinutes"}},
        {KSDependency::staticClassInfo(),
         {"dependencyKind", "leadTime", "leadTimeGhostDependency", "leadTimeIsPercenage"}},
        {KSResource::staticClassInfo(),
         {"name", "resourceTypeRank", "childrenSet", "style", "assignments", "unitsAvailable",
          "unitsAvailableForBinding", "efficiency", "costPerUse", "costPerHour", "currentTotalCost",
          "totalHours"}},
        {KSSchedule::staticClassInfo(), {"startOfSchedule", "endOfSchedule"}},
        {KSCalendar::staticClassInfo(), {"events"}},
        {KSFilter::staticClassInfo(), {"displayFlatLeaves", "filterId", "name", "predicate"}},
        {KSTimeSpanFormatter::staticClassInfo(), {"roundingInterval", "anything"}},
    };
}

// "NoteContents" is announced around every edit of a note; it is no attribute but is
// answered by the undefined-key rules, as "Notes" is.
TEST(ModelKeyedAccess, NoteContentsReadsThePlainText) {
    auto task = std::make_shared<KSTask>();
    task->setNotes(KSValue(std::string("Order the parts")));
    EXPECT_EQ(task->valueForKey("NoteContents").asString(), "Order the parts");
    EXPECT_EQ(task->valueForKey("Notes").asString(), "Order the parts");
}

TEST(ModelKeyedAccess, EveryAnnouncedKeyIsAnAttribute) {
    for (const AnnouncedKeys& entry : announcedKeys()) {
        for (const std::string& key : entry.keys) {
            EXPECT_NE(entry.info.attributeForKey(key), nullptr)
                << entry.info.name() << " announces \"" << key << "\" but cannot read it";
        }
    }
}

class TaskKeyedAccess : public PlanFixture<> {
protected:
    void SetUp() override {
        PlanFixture::SetUp();
        scenario->setFixedDate(monday);
        first = std::make_shared<KSTask>();
        second = std::make_shared<KSTask>();
        root().addChildTask(first);
        root().addChildTask(second);
        KSDependency::dependencyWithPrerequisiteAndDependentAndKind(first.get(), second.get(),
                                                                    KSDependencyFinishToStart);
        drain();
    }

    static KSDate platformDate(const KSDateTime& date) { return date.nsDate(); }

    const KSDateTime monday = june2024(3, 8);
    std::shared_ptr<KSTask> first;
    std::shared_ptr<KSTask> second;
};

TEST_F(TaskKeyedAccess, AnnouncedDatesAndSlackReadTheComputedValues) {
    // Two eight-hour tasks in a row from Monday 8:00: the second runs on Tuesday.
    KSValue start = second->valueForKey("startDate");
    ASSERT_TRUE(start.isDate());
    EXPECT_EQ(KSDateTime(start.asDate()), second->startDate());
    EXPECT_EQ(second->startDate(), june2024(4, 8));
    EXPECT_EQ(KSDateTime(second->valueForKey("endDate").asDate()), second->endDate());
    for (const char* key : {"currentStartLimit", "currentEndLimit", "absoluteStartLimit",
                            "absoluteEndLimit", "earliestPossibleEnd", "latestPossibleStart"}) {
        EXPECT_TRUE(first->valueForKey(key).isDate()) << key;
    }
    EXPECT_EQ(KSDateTime(first->valueForKey("absoluteEndLimit").asDate()),
              first->absoluteEndLimit());
    EXPECT_DOUBLE_EQ(first->valueForKey("totalSlack").doubleValue(), 0.0);
    EXPECT_DOUBLE_EQ(first->valueForKey("freeSlack").doubleValue(), first->freeSlack());
    EXPECT_DOUBLE_EQ(second->valueForKey("resourceLevelingDelay").doubleValue(), 0.0);
    // The scenario's dates span the plan.
    EXPECT_EQ(KSDateTime(scenario->valueForKey("endDate").asDate()), second->endDate());
}

TEST_F(TaskKeyedAccess, DateAttributesAreWritableByKeyAndUndoable) {
    const KSDateTime wednesday = june2024(5, 8);
    struct Case {
        const char* key;
        KSDateTime (*read)(const KSTask&);
    };
    const Case cases[] = {
        {"startLockedDate", [](const KSTask& t) { return t.startLockedDate(); }},
        {"endLockedDate", [](const KSTask& t) { return t.endLockedDate(); }},
        {"noEarlierThanConstraintDate",
         [](const KSTask& t) { return t.noEarlierThanConstraintDate(); }},
        {"noLaterThanConstraintDate",
         [](const KSTask& t) { return t.noLaterThanConstraintDate(); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.key);
        second->setValueForKey(KSValue(platformDate(wednesday)), c.key);
        drain();
        EXPECT_EQ(c.read(*second), wednesday);
        EXPECT_EQ(KSDateTime(second->valueForKey(c.key).asDate()), wednesday);
        undo().undo();
        drain();
        EXPECT_TRUE(c.read(*second).isNull());
        // A value of another class is dropped, not thrown.
        EXPECT_NO_THROW(second->setValueForKey(KSValue(std::string("Wednesday")), c.key));
        EXPECT_TRUE(c.read(*second).isNull());
    }
}

TEST_F(TaskKeyedAccess, WritingTheStartByKeyMovesTheTask) {
    const KSDateTime wednesday = june2024(5, 8);
    first->setValueForKey(KSValue(platformDate(wednesday)), "startDate");
    drain();
    // An as-soon-as-possible task gets a no-earlier constraint on its start.
    EXPECT_EQ(first->noEarlierThanConstraintDate(), wednesday);
    EXPECT_EQ(first->startDate(), wednesday);
    EXPECT_EQ(second->startDate(), june2024(6, 8));
    // The constraint views take dates too, and a null clears.
    first->setValueForKey(KSValue(), "startAfter");
    drain();
    EXPECT_TRUE(first->noEarlierThanConstraintDate().isNull());
    EXPECT_EQ(first->startDate(), monday);
}

TEST_F(TaskKeyedAccess, ScalarAttributesWithSettersAreWritableByKey) {
    second->setValueForKey(KSValue(1LL), "scheduleType");
    EXPECT_EQ(second->scheduleType(), scheduleTypeALAP);
    second->setValueForKey(KSValue(true), "isStartDateLocked");
    EXPECT_TRUE(second->isStartDateLocked());
    second->setValueForKey(KSValue(1LL), "noEarlierThanConstrainedTaskEnd");
    EXPECT_EQ(second->noEarlierThanConstrainedTaskEnd(), KSConstrainedTaskEndEnd);
    first->setValueForKey(KSValue(0.25), "completed");
    EXPECT_DOUBLE_EQ(first->effortDone(), 7200.0);
    first->setValueForKey(KSValue(3600.0), "effortRemaining");
    EXPECT_DOUBLE_EQ(first->effort(), 10800.0);
    first->setValueForKey(KSValue(false), "isSplittableTask");
    EXPECT_FALSE(first->isSplittableTask());
}

}  // namespace
}  // namespace kestrum::test
