// Why a task is where it is: everything acting on its date, the binding one first, for a
// task placed as soon as possible (the latest date binds) and one placed as late as
// possible (the earliest binds).
//
// The plans work the standard week (8-12, 13-17) from Monday 8 January 2024.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Model/engine/KSTaskConstraint.h"
#include "Model/formatters/KSDateFormatter.h"
#include "support/PlanFixture.h"

namespace kestrum::test {
namespace {

class TaskConstraintTest : public ScheduleTest {
protected:
    // "<kind> <date> <involved task>" for each item, in the order given.
    static std::vector<std::string> acting(const std::shared_ptr<KSTask>& task) {
        std::vector<std::string> out;
        for (const auto& c : KSTaskConstraint::constraintsActingOnTask(*task)) {
            std::string line = std::to_string(c->type()) + " " + iso(c->constraint());
            if (c->involvedTask()) line += " " + c->involvedTask()->title().value_or("");
            out.push_back(line);
        }
        return out;
    }
    std::string dateHTML(const KSDateTime& date) const {
        return "<span class=\"date-text\">" + scenario->sharedDateFormatter()->stringForDate(date) +
               "</span>";
    }
};

TEST_F(TaskConstraintTest, AnEarlyTaskIsHeldByTheLatestOfWhatActsOnIt) {
    auto a = task("A", 16);  // ends Tuesday 17:00
    auto g = group("G");
    constrain(g, StartNoEarlierThan, at(2024, 1, 9, 8));
    auto t = task("T", 8, g);
    link(a, t);
    constrain(t, StartNoEarlierThan, at(2024, 1, 10, 13));
    drain();
    EXPECT_EQ(acting(t), (std::vector<std::string>{
                             "3 2024-01-10T13:00",    // its own constraint binds
                             "4 2024-01-09T17:00 A",  // the link from A
                             "1 2024-01-09T08:00 G",  // the group's start
                             "0 2024-01-08T08:00",    // the plan's start
                         }));
    EXPECT_EQ(span(t), "2024-01-10T13:00 - 2024-01-11T12:00");

    // A lock outranks a constraint once it is later.
    lockStart(t, at(2024, 1, 11, 8));
    drain();
    EXPECT_EQ(acting(t).front(), "2 2024-01-11T08:00");
    auto items = KSTaskConstraint::constraintsActingOnTask(*t);
    EXPECT_EQ(items[0]->description(), "Locked start date: " + dateHTML(at(2024, 1, 11, 8)));
    EXPECT_EQ(items[2]->description(), "<b>A</b> ends at: " + dateHTML(at(2024, 1, 9, 17)));
    EXPECT_EQ(items[3]->description(), "Group <b>G</b> start date: " + dateHTML(at(2024, 1, 9, 8)));
}

TEST_F(TaskConstraintTest, AnEndLockIsExplainedAsTheStartItLeadsTo) {
    auto t = task("T", 8);
    lockEnd(t, at(2024, 1, 10, 17));
    drain();
    EXPECT_EQ(acting(t), (std::vector<std::string>{"2 2024-01-10T08:00", "0 2024-01-08T08:00"}));
}

TEST_F(TaskConstraintTest, ALateTaskIsHeldByTheEarliestOfWhatActsOnIt) {
    anchorEnd(at(2024, 1, 12, 17));
    auto g = group("G");
    constrain(g, EndNoLaterThan, at(2024, 1, 11, 17));
    auto t = task("T", 8, g);
    t->setScheduleType(scheduleTypeALAP);
    auto d = task("D", 8);
    link(t, d);
    lockStart(d, at(2024, 1, 10, 8));
    constrain(t, EndNoLaterThan, at(2024, 1, 9, 12));
    drain();
    ASSERT_FALSE(t->isAsSoonAsPossible());
    EXPECT_EQ(acting(t), (std::vector<std::string>{
                             "3 2024-01-09T12:00",    // its own constraint binds
                             "4 2024-01-10T08:00 D",  // D starts
                             "1 2024-01-11T17:00 G",  // the group's end
                             "0 2024-01-12T17:00",    // the plan's end
                         }));
    auto items = KSTaskConstraint::constraintsActingOnTask(*t);
    EXPECT_EQ(items[0]->description(),
              "Constraint: end no later than: " + dateHTML(at(2024, 1, 9, 12)));
    EXPECT_EQ(items[1]->description(), "<b>D</b> starts at: " + dateHTML(at(2024, 1, 10, 8)));
    EXPECT_EQ(items[3]->description(), "Project end date: " + dateHTML(at(2024, 1, 12, 17)));
}

TEST_F(TaskConstraintTest, AnEarlyTaskInAnEndAnchoredPlanMayHaveNothingActingOnIt) {
    anchorEnd(at(2024, 1, 12, 17));
    auto t = task("T", 8);
    t->setScheduleType(scheduleTypeASAP);
    drain();
    EXPECT_TRUE(acting(t).empty());
}

TEST_F(TaskConstraintTest, AHammocksStartIsPlacedOnlyByItsStartLinks) {
    auto a = task("A", 8);
    auto b = task("B", 16);
    link(a, b);
    auto h = hammock("H", a, b);
    drain();
    EXPECT_EQ(acting(h), (std::vector<std::string>{"4 2024-01-08T08:00 A", "0 2024-01-08T08:00"}));
}

}  // namespace
}  // namespace kestrum::test
