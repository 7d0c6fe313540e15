// kestrum: the command-line tool over the Kestrum library.
//
//   kestrum --version
//   kestrum demo [--json]     schedule a sample plan and print its tasks' dates, costs and
//                             the resources assigned
//
// Exit codes: 0 success, 1 failure while working, 2 usage error (also when no subcommand
// is given: the usage then goes to standard error).
#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>

#include "Platform/core/KSVersion.h"
#include "cli/DemoPlan.h"
#include "cli/PlanReport.h"

namespace {

// Exit codes scripts can rely on.
constexpr int kExitOK = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

int runDemo(bool asJSON) {
    kestrum::cli::DemoPlan plan;
    plan.schedule();
    kestrum::cli::PlanReport report = kestrum::cli::PlanReport::forScenario(plan.scenario());
    if (asJSON) {
        std::cout << report.json().dump(2) << '\n';
    } else {
        std::cout << report.table();
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

    bool demoJSON = false;
    CLI::App* demo = app.add_subcommand(
        "demo",
        "Schedule a sample plan with resources and print each task's outline number, "
        "title, start, end, total slack, cost and the resources assigned to it (dates as "
        "ISO local date-times, costs in US dollars)");
    demo->add_flag("--json", demoJSON, "Print JSON instead of a table");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        int code = app.exit(e);
        return code == 0 ? kExitOK : kExitUsage;
    }
    if (demo->parsed()) return runDemo(demoJSON);
    // No subcommand is a usage error, as a wrong argument is: scripts see it.
    std::cerr << app.help();
    return kExitUsage;
}
