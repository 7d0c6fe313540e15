// PlanReport: the rows the tool prints for a plan, as a table for people or as JSON.
//
// One row per task in outline order: its outline number ("2.3"), title, kind, start, end,
// total slack (seconds of working time; as hours in the table), total cost (in the plan's
// currency in the table) and who works on it (the assignment text, "Ann; Ben {50% of
// 100%}"). Dates follow DateText: ISO local date-times.
//
//   PlanReport report = PlanReport::forScenario(plan.scenario());
//   std::cout << report.table();          // or report.json().dump(2)
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace kestrum {
class KSScenario;
}

namespace kestrum::cli {

struct PlanRow {
    std::string outline;
    std::string title;
    std::string kind;  // "task", "group", "milestone", "hammock"
    int level = 1;     // 1 for a task directly in the plan
    std::string start;
    std::string end;
    double totalSlack = 0.0;  // seconds of working time
    double cost = 0.0;        // the task's total cost
    std::string costText;     // the cost in the plan's currency; "" for none
    std::string resources;    // the assignment text; "" for none
    bool critical = false;    // on the project's critical path
};

class PlanReport {
public:
    // Reads every task's dates (computing what is not computed yet).
    static PlanReport forScenario(KSScenario& scenario);

    const std::vector<PlanRow>& rows() const { return rows_; }
    const std::string& planStart() const { return planStart_; }
    const std::string& planEnd() const { return planEnd_; }
    // The whole plan's cost (the root task's).
    double planCost() const { return planCost_; }
    // Aligned columns with a header line; titles indented by level. With `markCritical`,
    // a "*" before the outline number marks the tasks of the project's critical path.
    std::string table(bool markCritical = false) const;
    // {"start", "end", "tasks": [{"outline", "title", "kind", "start", "end",
    //  "totalSlack", "cost", "resources"}], "cost"}; slack in seconds, costs as numbers.
    // With `markCritical`, each task also has "critical": true or false.
    nlohmann::ordered_json json(bool markCritical = false) const;

private:
    std::vector<PlanRow> rows_;
    std::string planStart_;
    std::string planEnd_;
    double planCost_ = 0.0;
    std::string planCostText_;
};

}  // namespace kestrum::cli
