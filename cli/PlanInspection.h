// PlanInspection: what the tool says about a plan beyond its dates: the issues the
// scheduler raised, and why one task is where it is.
//
//   IssueList issues = IssueList::forScenario(plan.scenario());
//   std::cout << issues.text();                 // "2.3  Integration  error  ..."
//   auto task = findTask(plan.scenario(), "2.3");    // by outline number or title
//   std::cout << WhyReport::forTask(*task).text();
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace kestrum {
class KSScenario;
class KSTask;
}  // namespace kestrum

namespace kestrum::cli {

// The task whose outline number is `name`, else the first whose title is `name`; null
// when none is.
std::shared_ptr<KSTask> findTask(KSScenario& scenario, const std::string& name);

// Text of an HTML fragment for a terminal: tags dropped, the common entities read.
std::string plainText(const std::string& html);

struct IssueRow {
    std::string outline;
    std::string title;
    std::string type;  // "error", "warning" or "generic"
    std::string kind;  // the issue family: "Scheduling", "Assignment", ...
    std::string text;  // the short description
};

class IssueList {
public:
    // Every issue of the plan's tasks, in outline order, errors first within a task.
    static IssueList forScenario(KSScenario& scenario);
    const std::vector<IssueRow>& rows() const { return rows_; }
    int errors() const { return errors_; }
    int warnings() const { return warnings_; }
    // One line per issue and a closing count; "No issues." for none.
    std::string text() const;
    // {"errors", "warnings", "issues": [{"outline", "title", "type", "kind", "text"}]}
    nlohmann::ordered_json json() const;

private:
    std::vector<IssueRow> rows_;
    int errors_ = 0;
    int warnings_ = 0;
};

struct WhyRow {
    std::string kind;         // "project date", "group", "locked date", "constraint",
                              // "dependency", "resource"
    std::string date;         // ISO local date-time; "" for none
    std::string task;         // the task involved; "" for none
    std::string resource;     // the resource involved; "" for none
    std::string description;  // the model's HTML line
};

class WhyReport {
public:
    // What acts on `task`, the binding item first.
    static WhyReport forTask(KSTask& task);
    const std::vector<WhyRow>& rows() const { return rows_; }
    // A heading naming the task and its direction, then one plain line per item.
    std::string text() const;
    // {"outline", "title", "direction", "start", "end", "constraints": [{"kind", "date",
    //  "task", "resource", "description"}]}
    nlohmann::ordered_json json() const;

private:
    std::string outline_;
    std::string title_;
    std::string direction_;  // "as soon as possible" or "as late as possible"
    std::string start_;
    std::string end_;
    std::vector<WhyRow> rows_;
};

}  // namespace kestrum::cli
