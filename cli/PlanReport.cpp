#include "cli/PlanReport.h"

#include <algorithm>
#include <sstream>

#include "Model/formatters/KSCostFormatter.h"
#include "Model/formatters/KSCurrency.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "cli/DateText.h"

namespace kestrum::cli {

namespace {

std::string kindOf(const KSTask& task) {
    if (task.isMilestone()) return "milestone";
    if (task.isHammockTask()) return "hammock";
    if (task.isGroup()) return "group";
    return "task";
}

// The columns a text takes: titles are plain text, counted by code points.
std::size_t displayWidth(const std::string& text) {
    std::size_t columns = 0;
    for (unsigned char c : text) {
        if ((c & 0xC0) != 0x80) ++columns;
    }
    return columns;
}

std::string padded(const std::string& text, std::size_t width) {
    std::size_t columns = displayWidth(text);
    return text + std::string(width > columns ? width - columns : 0, ' ');
}

}  // namespace

PlanReport PlanReport::forScenario(KSScenario& scenario) {
    PlanReport report;
    KSTask& root = *scenario.rootTask();
    report.planStart_ = isoLocalDateTime(root.startDate());
    report.planEnd_ = isoLocalDateTime(root.endDate());
    std::shared_ptr<KSCurrency> currency =
        scenario.project() ? scenario.project()->selectedCurrencyDescription() : nullptr;
    auto costText = [&](double cost) {
        return currency ? currency->displayFormatter()->stringForObjectValue(KSValue(cost))
                        : std::to_string(cost);
    };
    report.planCost_ = root.totalCost();
    report.planCostText_ = costText(report.planCost_);
    for (const auto& task : root.allTasksButSelf()) {
        PlanRow row;
        row.outline = task->wbsNumber();
        row.title = task->title().value_or("");
        row.kind = kindOf(*task);
        row.level = task->level();
        row.start = isoLocalDateTime(task->startDate());
        row.end = isoLocalDateTime(task->endDate());
        row.totalSlack = task->totalSlack();
        row.cost = task->totalCost();
        row.costText = costText(row.cost);
        row.resources = task->assignedResourcesString();
        row.critical = task->isOnCriticalPath();
        report.rows_.push_back(std::move(row));
    }
    return report;
}

std::string PlanReport::table(bool markCritical) const {
    const std::vector<std::string> header{"#",           "Task", "Start",    "End",
                                          "Total slack", "Cost", "Resources"};
    std::vector<std::vector<std::string>> lines;
    std::vector<std::string> heading = header;
    if (markCritical) heading[0] = "  #";
    for (const PlanRow& row : rows_) {
        std::string indent(2 * static_cast<std::size_t>(std::max(0, row.level - 1)), ' ');
        std::string mark = markCritical ? (row.critical ? "* " : "  ") : "";
        lines.push_back({mark + row.outline, indent + row.title,
                         row.start.empty() ? "-" : row.start, row.end.empty() ? "-" : row.end,
                         workingHoursText(row.totalSlack),
                         row.costText.empty() ? "-" : row.costText,
                         row.resources.empty() ? "-" : row.resources});
    }
    std::vector<std::size_t> widths;
    for (const auto& title : heading)
        widths.push_back(title.size());
    for (const auto& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i)
            widths[i] = std::max(widths[i], displayWidth(line[i]));
    }
    std::ostringstream out;
    auto print = [&](const std::vector<std::string>& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            out << (i + 1 < cells.size() ? padded(cells[i], widths[i] + 2) : cells[i]);
        }
        out << '\n';
    };
    print(heading);
    for (const auto& line : lines)
        print(line);
    out << "Plan: " << planStart_ << " - " << planEnd_ << ", cost " << planCostText_ << '\n';
    if (markCritical) out << "* on the critical path\n";
    return out.str();
}

nlohmann::ordered_json PlanReport::json(bool markCritical) const {
    nlohmann::ordered_json tasks = nlohmann::ordered_json::array();
    for (const PlanRow& row : rows_) {
        tasks.push_back(
            {{"outline", row.outline},
             {"title", row.title},
             {"kind", row.kind},
             {"start",
              row.start.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(row.start)},
             {"end", row.end.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(row.end)},
             {"totalSlack", row.totalSlack},
             {"cost", row.cost},
             {"resources", row.resources}});
        if (markCritical) tasks.back()["critical"] = row.critical;
    }
    return {{"start", planStart_}, {"end", planEnd_}, {"cost", planCost_}, {"tasks", tasks}};
}

}  // namespace kestrum::cli
