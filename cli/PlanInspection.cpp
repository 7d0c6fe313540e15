#include "cli/PlanInspection.h"

#include <sstream>

#include "Model/engine/KSIssue.h"
#include "Model/engine/KSTaskConstraint.h"
#include "Model/project/KSScenario.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"
#include "cli/DateText.h"

namespace kestrum::cli {

namespace {

nlohmann::ordered_json nullIfEmpty(const std::string& text) {
    return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
}

const char* typeName(KSIssueType type) {
    switch (type) {
        case KSIssueTypeError:
            return "error";
        case KSIssueTypeWarning:
            return "warning";
        default:
            return "generic";
    }
}

const char* constraintKindName(KSTaskConstraintType type) {
    static const char* const kNames[] = {"project date", "group",      "locked date",
                                         "constraint",   "dependency", "resource"};
    return type >= 0 && type <= KSTaskConstraintResource ? kNames[type] : "unknown";
}

}  // namespace

std::shared_ptr<KSTask> findTask(KSScenario& scenario, const std::string& name) {
    KSTaskList all = scenario.rootTask()->allTasksButSelf();
    for (const auto& task : all) {
        if (task->wbsNumber() == name) return task;
    }
    for (const auto& task : all) {
        if (task->title().value_or("") == name) return task;
    }
    return nullptr;
}

std::string plainText(const std::string& html) {
    std::string out;
    bool inTag = false;
    for (char c : html) {
        if (c == '<') {
            inTag = true;
        } else if (c == '>') {
            inTag = false;
        } else if (!inTag) {
            out += c;
        }
    }
    static const std::pair<const char*, const char*> kEntities[] = {
        {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&#39;", "'"}, {"&amp;", "&"}};
    for (const auto& [entity, character] : kEntities) {
        std::string from = entity;
        for (std::size_t at = out.find(from); at != std::string::npos;
             at = out.find(from, at + 1)) {
            out.replace(at, from.size(), character);
        }
    }
    return out;
}

// --- Issues -----------------------------------------------------------------------------------

IssueList IssueList::forScenario(KSScenario& scenario) {
    IssueList list;
    for (const auto& task : scenario.rootTask()->allTasksButSelf()) {
        for (const auto& issue : task->issues()) {
            list.rows_.push_back({task->wbsNumber(), task->title().value_or(""),
                                  typeName(issue->type()), issue->issueKind(),
                                  issue->shortDescription()});
        }
    }
    list.errors_ = static_cast<int>(scenario.errorCount());
    list.warnings_ = static_cast<int>(scenario.warningCount());
    return list;
}

std::string IssueList::text() const {
    if (rows_.empty()) return "No issues.\n";
    std::ostringstream out;
    for (const IssueRow& row : rows_)
        out << row.outline << "  " << row.title << "  " << row.type << "  " << row.text << '\n';
    out << errors_ << (errors_ == 1 ? " error, " : " errors, ") << warnings_
        << (warnings_ == 1 ? " warning\n" : " warnings\n");
    return out.str();
}

nlohmann::ordered_json IssueList::json() const {
    nlohmann::ordered_json issues = nlohmann::ordered_json::array();
    for (const IssueRow& row : rows_) {
        issues.push_back({{"outline", row.outline},
                          {"title", row.title},
                          {"type", row.type},
                          {"kind", row.kind},
                          {"text", row.text}});
    }
    return {{"errors", errors_}, {"warnings", warnings_}, {"issues", issues}};
}

// --- Why a task is where it is ------------------------------------------------------------------

WhyReport WhyReport::forTask(KSTask& task) {
    WhyReport report;
    report.outline_ = task.wbsNumber();
    report.title_ = task.title().value_or("");
    report.direction_ = task.isAsSoonAsPossible() ? "as soon as possible" : "as late as possible";
    report.start_ = isoLocalDateTime(task.startDate());
    report.end_ = isoLocalDateTime(task.endDate());
    for (const auto& item : KSTaskConstraint::constraintsActingOnTask(task)) {
        WhyRow row;
        row.kind = constraintKindName(item->type());
        row.date = isoLocalDateTime(item->constraint());
        if (item->involvedTask()) row.task = item->involvedTask()->title().value_or("");
        if (item->involvedResource()) row.resource = item->involvedResource()->name().value_or("");
        row.description = item->description();
        report.rows_.push_back(std::move(row));
    }
    return report;
}

std::string WhyReport::text() const {
    std::ostringstream out;
    out << outline_ << "  " << title_ << ": " << start_ << " - " << end_ << ", placed "
        << direction_ << '\n';
    if (rows_.empty()) out << "  Nothing acts on this task.\n";
    for (const WhyRow& row : rows_)
        out << "  " << plainText(row.description) << '\n';
    return out.str();
}

nlohmann::ordered_json WhyReport::json() const {
    nlohmann::ordered_json items = nlohmann::ordered_json::array();
    for (const WhyRow& row : rows_) {
        items.push_back({{"kind", row.kind},
                         {"date", nullIfEmpty(row.date)},
                         {"task", nullIfEmpty(row.task)},
                         {"resource", nullIfEmpty(row.resource)},
                         {"description", row.description}});
    }
    return {{"outline", outline_},          {"title", title_},          {"direction", direction_},
            {"start", nullIfEmpty(start_)}, {"end", nullIfEmpty(end_)}, {"constraints", items}};
}

}  // namespace kestrum::cli
