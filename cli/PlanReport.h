// PlanReport: the rows the tool prints for a plan, as a table for people or as JSON.
//
// One row per task in outline order: its outline number ("2.3"), title, kind, start, end
// and total slack (seconds of working time; as hours in the table). Dates follow
// DateText: ISO local date-times.
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
};

class PlanReport {
public:
    // Reads every task's dates (computing what is not computed yet).
    static PlanReport forScenario(KSScenario& scenario);

    const std::vector<PlanRow>& rows() const { return rows_; }
    const std::string& planStart() const { return planStart_; }
    const std::string& planEnd() const { return planEnd_; }
    // Aligned columns with a header line; titles indented by level.
    std::string table() const;
    // {"start", "end", "tasks": [{"outline", "title", "kind", "start", "end",
    //  "totalSlack"}]}; slack in seconds.
    nlohmann::ordered_json json() const;

private:
    std::vector<PlanRow> rows_;
    std::string planStart_;
    std::string planEnd_;
};

}  // namespace kestrum::cli
