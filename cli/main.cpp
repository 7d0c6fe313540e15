// kestrum: the command-line tool over the Kestrum library.
//
//   kestrum --version
//   kestrum demo [--json]     schedule a sample plan and print its tasks' dates, costs and
//                             the resources assigned
//   kestrum demo --critical   mark the tasks of the project's critical path
//   kestrum demo --issues     list the plan's issues instead
//   kestrum demo --why TASK   what acts on one task (outline number or title), binding first
//
// Exit codes: 0 success, 1 failure while working, 2 usage error (also when no subcommand
// is given: the usage then goes to standard error).
#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>

#include "Platform/core/KSVersion.h"
#include "cli/DemoPlan.h"
#include "cli/PlanInspection.h"
#include "cli/PlanReport.h"

namespace {

// Exit codes scripts can rely on.
constexpr int kExitOK = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

struct DemoOptions {
    bool json = false;
    bool issues = false;
    bool critical = false;
    std::string why;
};

template <class Report>
void print(const Report& report, bool asJSON) {
    if (asJSON) {
        std::cout << report.json().dump(2) << '\n';
    } else {
        std::cout << report.text();
    }
}

int runDemo(const DemoOptions& options) {
    kestrum::cli::DemoPlan plan;
    plan.schedule();
    if (!options.why.empty()) {
        auto task = kestrum::cli::findTask(plan.scenario(), options.why);
        if (!task) {
            std::cerr << "kestrum: no task \"" << options.why
                      << "\" in the plan (give an outline number such as 2.3, or a title)\n";
            return kExitUsage;
        }
        print(kestrum::cli::WhyReport::forTask(*task), options.json);
    } else if (options.issues) {
        print(kestrum::cli::IssueList::forScenario(plan.scenario()), options.json);
    } else {
        kestrum::cli::PlanReport report = kestrum::cli::PlanReport::forScenario(plan.scenario());
        if (options.json) {
            std::cout << report.json(options.critical).dump(2) << '\n';
        } else {
            std::cout << report.table(options.critical);
        }
    }
    for (const auto& error : plan.errors())
        std::cerr << "kestrum: " << error << '\n';
    return plan.errors().empty() ? kExitOK : kExitFailure;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"kestrum: schedule project plans and print their dates"};
    app.name("kestrum");
    app.set_version_flag("-V,--version", std::string("kestrum ") + kestrum::KSLibraryVersion(),
                         "Print the version and exit");
    app.require_subcommand(0, 1);

    DemoOptions demoOptions;
    CLI::App* demo = app.add_subcommand(
        "demo",
        "Schedule a sample plan with resources and print each task's outline number, "
        "title, start, end, total slack, cost and the resources assigned to it (dates as "
        "ISO local date-times, costs in US dollars)");
    demo->add_flag("--json", demoOptions.json, "Print JSON instead of text");
    auto* critical = demo->add_flag("--critical", demoOptions.critical,
                                    "Mark the tasks of the project's critical path (a \"*\" "
                                    "before the outline number; \"critical\" in JSON)");
    auto* issues = demo->add_flag("--issues", demoOptions.issues,
                                  "List every issue of the plan (task, error or warning, "
                                  "short text) instead of the table");
    demo->add_option("--why", demoOptions.why,
                     "Print what acts on one task's date, the binding item first; TASK is an "
                     "outline number (2.3) or a title")
        ->option_text("TASK")
        ->excludes(issues)
        ->excludes(critical);
    issues->excludes(critical);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        int code = app.exit(e);
        return code == 0 ? kExitOK : kExitUsage;
    }
    if (demo->parsed()) return runDemo(demoOptions);
    // No subcommand is a usage error, as a wrong argument is: scripts see it.
    std::cerr << app.help();
    return kExitUsage;
}
