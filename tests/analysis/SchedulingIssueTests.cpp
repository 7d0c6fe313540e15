// Issues as a planner meets them: a plan that cannot keep a rule gets an issue on the
// task, counted in the plan's errors or warnings; its long text comes from the installed
// ViolationsInfo pages with every placeholder filled; its links repair the plan, and undo
// brings the problem back.
//
// The plans start on Monday 8 January 2024 at 8:00 on the standard week (8-12, 13-17).
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "Model/engine/KSIssue.h"
#include "Model/engine/KSIssueWarnings.h"
#include "Model/engine/KSSchedulingError.h"
#include "Model/formatters/KSDateFormatter.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/core/KSLog.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class SchedulingIssueTest : public ScheduleTest {
protected:
    // The short texts of the task's issues, errors first.
    static std::vector<std::string> texts(const std::shared_ptr<KSTask>& task) {
        std::vector<std::string> out;
        for (const auto& issue : task->issues())
            out.push_back(issue->shortDescription());
        return out;
    }
    // The task's first issue of class T, or null.
    template <class T>
    static std::shared_ptr<T> issueOf(const std::shared_ptr<KSTask>& task) {
        for (const auto& issue : task->issues()) {
            if (auto found = std::dynamic_pointer_cast<T>(issue)) return found;
        }
        return nullptr;
    }
    // The long text, checked to be a real page with nothing left to fill in.
    static std::string rendered(const KSIssue& issue) {
        std::string base;
        std::string html = issue.longDescriptionHTMLAndBaseURL(&base);
        EXPECT_EQ(html.find("HTML Missing"), std::string::npos) << issue.shortDescription();
        EXPECT_FALSE(std::regex_search(html, std::regex(R"(%(\d+\$)?[@ds])")))
            << issue.shortDescription() << "\n"
            << html;
        EXPECT_NE(html.find("css-Mac.css"), std::string::npos);
        EXPECT_NE(base.find("ViolationsInfo/"), std::string::npos) << base;
        return html;
    }
    int errors() const { return static_cast<int>(scenario->errorCount()); }
    int warnings() const { return static_cast<int>(scenario->warningCount()); }
};

TEST_F(SchedulingIssueTest, ALockBeforeThePrerequisitesIsRepairedByMovingTheLock) {
    auto a = task("A", 16);  // Mon 8:00 - Tue 17:00
    auto b = task("B", 8);
    link(a, b);
    lockStart(b, at(2024, 1, 8, 8));  // B locked on Monday, before A is done
    drain();
    EXPECT_EQ(texts(b), std::vector<std::string>{"Locked date set before prerequisites complete"});
    EXPECT_EQ(errors(), 1);
    auto issue = issueOf<KSLockedDateVsPrereqsViolation>(b);
    std::string html = rendered(*issue);
    EXPECT_NE(html.find("ksaction:moveLock"), std::string::npos);
    EXPECT_NE(html.find("ksaction:unlock"), std::string::npos);

    KSDateTime limit = b->currentStartLimit();
    issue->performAction("moveLock");
    drain();
    EXPECT_TRUE(b->startLockedDate().isEqualToDate(limit)) << iso(b->startLockedDate());
    EXPECT_TRUE(b->issues().empty());
    EXPECT_EQ(errors(), 0);

    undo().undo();
    drain();
    EXPECT_EQ(iso(b->startLockedDate()), "2024-01-08T08:00");
    EXPECT_EQ(errors(), 1);
    issueOf<KSLockedDateVsPrereqsViolation>(b)->performAction("unlock");
    drain();
    EXPECT_FALSE(b->isStartDateLocked());
    EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-10T17:00");
    EXPECT_EQ(errors(), 0);
}

TEST_F(SchedulingIssueTest, ConstraintsThatCannotBothHoldAreTooClose) {
    auto a = task("A", 8);
    constrain(a, StartNoEarlierThan, at(2024, 1, 15, 8));
    constrain(a, StartNoLaterThan, at(2024, 1, 10, 8));
    drain();
    EXPECT_EQ(texts(a), std::vector<std::string>{"Constraints too close together"});
    rendered(*a->issues()[0]);
    EXPECT_EQ(errors(), 1);
}

TEST_F(SchedulingIssueTest, AnEndConstraintBehindThePrerequisites) {
    auto a = task("A", 16);
    auto b = task("B", 8);
    link(a, b);
    constrain(b, EndNoLaterThan, at(2024, 1, 9, 17));  // B could end Wed 17:00 at the earliest
    drain();
    auto issue = issueOf<KSConstraintsVsPrereqsViolation>(b);
    ASSERT_TRUE(issue);
    EXPECT_NE(issue->shortDescription().find("constraint hit due to prerequisites"),
              std::string::npos);
    EXPECT_EQ(issue->longDescriptionHTMLFile(), "Prerequisites-EndConstraint");
    rendered(*issue);

    // The move sets the no-earlier date to where the prerequisites let the task end.
    issue->performAction("moveEndConstraint");
    EXPECT_EQ(iso(b->noEarlierThanConstraintDate()), "2024-01-10T17:00");
    undo().undo();
    drain();
    EXPECT_TRUE(b->noEarlierThanConstraintDate().isNull());

    issueOf<KSConstraintsVsPrereqsViolation>(b)->performAction("removeConstraint");
    drain();
    EXPECT_TRUE(b->noLaterThanConstraintDate().isNull());
    EXPECT_TRUE(b->issues().empty());
}

TEST_F(SchedulingIssueTest, AStartConstraintOfALateTaskBehindItsDependents) {
    auto b = task("B", 8);
    auto c = task("C", 8);
    b->setScheduleType(scheduleTypeALAP);
    link(b, c);
    lockStart(c, at(2024, 1, 9, 8));                       // B must end by Tuesday 8:00
    constrain(b, StartNoEarlierThan, at(2024, 1, 10, 8));  // but may not start before Wed
    drain();
    auto issue = issueOf<KSALAPConstraintsVsPrereqsViolation>(b);
    ASSERT_TRUE(issue) << ::testing::PrintToString(texts(b));
    EXPECT_EQ(issue->longDescriptionHTMLFile(), "Prerequisites-StartConstraint");
    rendered(*issue);
    // A task with a no-later date is checked against that one instead.
    constrain(b, StartNoLaterThan, at(2024, 1, 20, 8));
    drain();
    EXPECT_FALSE(issueOf<KSALAPConstraintsVsPrereqsViolation>(b));
    undo().undo();
    drain();
    issueOf<KSALAPConstraintsVsPrereqsViolation>(b)->performAction("removeConstraint");
    drain();
    EXPECT_FALSE(issueOf<KSALAPConstraintsVsPrereqsViolation>(b));
}

TEST_F(SchedulingIssueTest, AChildEndingAfterItsGroupsEndConstraint) {
    auto g = group("G");
    auto t = task("T", 16, g);                         // ends Tuesday 17:00
    constrain(g, EndNoLaterThan, at(2024, 1, 8, 17));  // the group must end Monday
    drain();
    auto issue = issueOf<KSDesiredVsGroupEndViolation>(t);
    ASSERT_TRUE(issue);
    EXPECT_EQ(errors(), 1);
    rendered(*issue);
    issue->performAction("removeEndDateLock");
    drain();
    EXPECT_TRUE(g->noLaterThanConstraintDate().isNull());
    EXPECT_EQ(errors(), 0);
    undo().undo();
    drain();
    // Giving the task the group's date moves the problem onto the task itself.
    issueOf<KSDesiredVsGroupEndViolation>(t)->performAction("resetDesiredEndDate");
    EXPECT_EQ(iso(t->noLaterThanConstraintDate()), "2024-01-08T17:00");
}

TEST_F(SchedulingIssueTest, TasksOutsideTheProjectsDates) {
    auto early = task("Early", 8);
    lockStart(early, at(2024, 1, 5, 8));  // the Friday before the plan starts
    drain();
    auto before = issueOf<KSScheduledVsProjectStartViolation>(early);
    ASSERT_TRUE(before);
    EXPECT_NE(
        rendered(*before).find(scenario->sharedDateFormatter()->stringForDate(at(2024, 1, 5, 8))),
        std::string::npos);
    // The root task never gets an issue of the project's dates.
    EXPECT_FALSE(scenario->rootTask()->hasIssuesOfKind(KSIssue::schedulingIssueKind()));

    anchorEnd(at(2024, 1, 12, 17));
    auto late = task("Late", 8);
    lockStart(late, at(2024, 1, 15, 8));  // the Monday after the plan ends
    drain();
    auto after = issueOf<KSScheduledVsProjectEndViolation>(late);
    ASSERT_TRUE(after);
    rendered(*after);
    after->performAction("changeProjectEnd");
    drain();
    EXPECT_EQ(iso(scenario->fixedDate()), "2024-01-15T17:00");
    EXPECT_FALSE(issueOf<KSScheduledVsProjectEndViolation>(late));
}

TEST_F(SchedulingIssueTest, AHammockHangingFromOneEndOnly) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    link(a, b);
    auto h = hammock("H", a, b);
    drain();
    EXPECT_TRUE(h->issues().empty());
    // The hammock loses the link that held its end.
    KSDependency::removeDependencyWithPrerequisiteAndDependent(b.get(), h.get());
    drain();
    ASSERT_TRUE(h->isHammockTask());
    auto issue = issueOf<KSDisconnectedHammockViolation>(h);
    ASSERT_TRUE(issue) << ::testing::PrintToString(texts(h));
    rendered(*issue);
    issue->performAction("setToTask");
    drain();
    EXPECT_FALSE(h->isHammockTask());
    EXPECT_TRUE(h->issues().empty());
}

TEST_F(SchedulingIssueTest, WorkBeyondTheEndOfTheCalendar) {
    scenario->schedule()->setEndOfSchedule(at(2024, 1, 9, 17));
    auto a = task("A", 8);
    auto b = task("B", 24);
    link(a, b);
    drain();
    EXPECT_TRUE(a->issues().empty());
    auto issue = issueOf<KSOutsideScheduleViolation>(b);
    ASSERT_TRUE(issue) << span(b);
    rendered(*issue);
}

TEST_F(SchedulingIssueTest, AnUnknownActionChangesNothing) {
    auto a = task("A", 16);
    auto b = task("B", 8);
    link(a, b);
    lockStart(b, at(2024, 1, 8, 8));
    drain();
    issueOf<KSLockedDateVsPrereqsViolation>(b)->performAction("lockEverything");
    drain();
    EXPECT_EQ(iso(b->startLockedDate()), "2024-01-08T08:00");
    EXPECT_EQ(errors(), 1);
}

TEST_F(SchedulingIssueTest, ALoopsTextListsEachLinkWithItsRemoval) {
    auto a = task("A", 8);
    auto b = task("B", 8);
    link(a, b);
    link(b, a);
    drain();
    std::vector<std::shared_ptr<KSIssue>> all;
    scenario->rootTask()->addIssuesToArray(all);
    ASSERT_EQ(all.size(), 1u);
    std::string html = rendered(*all[0]);
    EXPECT_NE(html.find("ksaction:removeOther-1"), std::string::npos) << html;
    EXPECT_NE(html.find("ksaction:remove\""), std::string::npos);
}

TEST_F(SchedulingIssueTest, WarningsLeaveByTheirLinkAndALevelingWarningComesBackWithUndo) {
    auto a = task("A", 8);
    drain();
    auto stuck = KSIssue::issueForTask<KSLevelingStuckWarning>(*a);
    drain();
    EXPECT_EQ(warnings(), 1);
    EXPECT_NE(rendered(*stuck).find("<li>No dependency chain available"), std::string::npos);
    stuck->performAction("removeThisWarning");
    EXPECT_EQ(warnings(), 0);
    drain();
    undo().undo();
    EXPECT_EQ(warnings(), 1);
    EXPECT_EQ(a->issues()[0], stuck);

    auto note = std::make_shared<KSNonpersistentIssue>(a.get());
    note->setShortDescription("Unsupported prerequisite removed");
    note->setBodyText("The link from <b>Pour</b> was dropped.");
    a->addIssue(note);
    EXPECT_NE(rendered(*note).find("<b>Pour</b> was dropped"), std::string::npos);
    EXPECT_EQ(warnings(), 2);
    note->performAction("removeThisWarning");
    EXPECT_EQ(warnings(), 1);
}

TEST_F(SchedulingIssueTest, ErrorsSortBeforeWarningsOnReading) {
    auto a = task("A", 8);
    drain();
    KSIssue::issueForTask<KSReserveTimeWarning>(*a);
    KSIssue::issueForTask<KSConstraintsTooCloseViolation>(*a);
    ASSERT_EQ(a->issues().size(), 2u);
    EXPECT_EQ(a->issues()[0]->type(), KSIssueTypeError);
    EXPECT_EQ(a->issues()[1]->type(), KSIssueTypeWarning);
}

TEST(ViolationsPages, AMissingPageIsLoggedAndStoodInFor) {
    std::vector<std::string> lines;
    KSSetLogHook([&](const std::string& line) { lines.push_back(line); });
    KSIssue generic;
    std::string base;
    EXPECT_EQ(generic.longDescriptionHTMLAndBaseURL(&base), "<h1>HTML Missing</h1>");
    KSSetLogHook(nullptr);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("Unable to load violations HTML from"), std::string::npos);
    std::string blank = KSIssue::noViolationsHTMLAndBaseURL(&base);
    EXPECT_NE(blank.find("css-Mac.css"), std::string::npos);
    EXPECT_EQ(blank.find("HTML Missing"), std::string::npos);
}

}  // namespace
}  // namespace kestrum::test
