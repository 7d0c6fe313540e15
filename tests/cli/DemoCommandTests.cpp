// `kestrum demo`, run as a program: its JSON parses and holds the sample plan's tasks and
// dates; bad arguments give the usage exit code.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace {

struct ToolRun {
    std::string output;
    int exitCode = -1;
};

// Runs the tool and collects its standard output, or with `errorOutput` its standard
// error instead.
ToolRun runTool(const std::string& arguments, bool errorOutput = false) {
    ToolRun run;
    std::string command = std::string(KESTRUM_TOOL_PATH) + " " + arguments +
                          (errorOutput ? " 2>&1 1>/dev/null" : " 2>/dev/null");
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    char buffer[4096];
    std::size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
        run.output.append(buffer, n);
    int status = pclose(pipe);
    if (WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
    return run;
}

// The sample plan, anchored Monday 3 June 2024 at 08:00, on the standard week.
TEST(DemoCommandTest, JSONHoldsEveryTaskWithItsDatesAndSlack) {
    ToolRun run = runTool("demo --json");
    ASSERT_EQ(run.exitCode, 0);
    nlohmann::json plan = nlohmann::json::parse(run.output);
    EXPECT_EQ(plan["start"], "2024-06-03T08:00:00");
    EXPECT_EQ(plan["end"], "2024-06-25T17:00:00");
    std::map<std::string, nlohmann::json> byOutline;
    for (const auto& task : plan["tasks"])
        byOutline[task["outline"].get<std::string>()] = task;
    ASSERT_EQ(byOutline.size(), 14u);
    struct Expected {
        const char* outline;
        const char* title;
        const char* start;
        const char* end;
        double slackHours;
    };
    const Expected expected[] = {
        // The test plan is locked on Tuesday morning, before the requirements are done.
        {"1.1", "Requirements", "2024-06-03T08:00:00", "2024-06-04T17:00:00", -8},
        {"1.2", "Architecture", "2024-06-05T08:00:00", "2024-06-07T17:00:00", 0},
        {"2.1", "Backend", "2024-06-10T08:00:00", "2024-06-14T17:00:00", 0},
        // Start to start with a day's lead behind the back end.
        {"2.2", "Frontend", "2024-06-11T08:00:00", "2024-06-14T17:00:00", 0},
        {"2.3", "Integration", "2024-06-17T08:00:00", "2024-06-18T17:00:00", 0},
        {"3.1", "Test plan", "2024-06-04T08:00:00", "2024-06-04T17:00:00", 0},
        {"3.3", "Fixes", "2024-06-24T08:00:00", "2024-06-25T17:00:00", 0},
        // Held to Monday 24 June by its constraint.
        {"4.1", "Documentation", "2024-06-24T08:00:00", "2024-06-25T17:00:00", 0},
        {"4.2", "Launch", "2024-06-25T17:00:00", "2024-06-25T17:00:00", 0},
        {"2", "Build", "2024-06-10T08:00:00", "2024-06-18T17:00:00", 40},
    };
    for (const Expected& e : expected) {
        SCOPED_TRACE(e.outline);
        const nlohmann::json& task = byOutline[e.outline];
        EXPECT_EQ(task["title"], e.title);
        EXPECT_EQ(task["start"], e.start);
        EXPECT_EQ(task["end"], e.end);
        EXPECT_EQ(task["totalSlack"].get<double>(), e.slackHours * 3600.0);
    }
    EXPECT_EQ(byOutline["4.2"]["kind"], "milestone");
    EXPECT_EQ(byOutline["3"]["kind"], "group");
}

// Ann costs 60 an hour, Ben 50 an hour at efficiency 0.8 (so 16 hours of work take him 20),
// the build server 200 a use and 5 an hour, a launch kit 12.50.
TEST(DemoCommandTest, JSONHoldsWhoWorksOnEachTaskAndWhatItCosts) {
    ToolRun run = runTool("demo --json");
    ASSERT_EQ(run.exitCode, 0);
    nlohmann::json plan = nlohmann::json::parse(run.output);
    std::map<std::string, nlohmann::json> byTitle;
    for (const auto& task : plan["tasks"])
        byTitle[task["title"].get<std::string>()] = task;
    struct Expected {
        const char* title;
        const char* resources;
        double cost;
    };
    const Expected expected[] = {
        {"Requirements", "Ann", 16 * 60.0},
        {"Architecture", "Ann; Ben {50% of 100%}", 24 * 60.0 + 30 * 50.0},
        {"Backend", "Ben; Build server {25% of 100%}", 50 * 50.0 + 0.25 * 200 + 40 * 5.0},
        // A group's work costs what its members' specific assignments cost.
        {"Integration", "Developers [Ann; Ben]; Build server", 16 * 60.0 + 20 * 50.0 + 200 + 80},
        {"Launch", "Launch kits {200}", 200 * 12.5},
        {"Design", "", 16 * 60.0 + 24 * 60.0 + 30 * 50.0},
    };
    for (const Expected& e : expected) {
        SCOPED_TRACE(e.title);
        EXPECT_EQ(byTitle[e.title]["resources"], e.resources);
        EXPECT_DOUBLE_EQ(byTitle[e.title]["cost"].get<double>(), e.cost);
    }
    EXPECT_DOUBLE_EQ(plan["cost"].get<double>(), 18530.0);
}

TEST(DemoCommandTest, TheTableListsTheTasksInOutlineOrder) {
    ToolRun run = runTool("demo");
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output.rfind("#    Task", 0), 0u);
    EXPECT_NE(run.output.find("2.2    Frontend       2024-06-11T08:00:00  2024-06-14T17:00:00  0h"),
              std::string::npos);
    EXPECT_NE(run.output.find("Plan: 2024-06-03T08:00:00 - 2024-06-25T17:00:00, cost"),
              std::string::npos);
    // Costs in US dollars and the assignment text close each line.
    EXPECT_NE(run.output.find("Launch kits {200}"), std::string::npos);
    EXPECT_NE(run.output.find("Cost"), std::string::npos);
    EXPECT_NE(run.output.find("$"), std::string::npos);
}

TEST(DemoCommandTest, IssuesListTheLockedTestPlan) {
    ToolRun run = runTool("demo --issues --json");
    ASSERT_EQ(run.exitCode, 0);
    nlohmann::json issues = nlohmann::json::parse(run.output);
    EXPECT_EQ(issues["errors"], 1);
    EXPECT_EQ(issues["warnings"], 0);
    ASSERT_EQ(issues["issues"].size(), 1u);
    EXPECT_EQ(issues["issues"][0]["outline"], "3.1");
    EXPECT_EQ(issues["issues"][0]["type"], "error");
    EXPECT_EQ(issues["issues"][0]["kind"], "Scheduling");
    EXPECT_EQ(issues["issues"][0]["text"], "Locked date set before prerequisites complete");
    EXPECT_EQ(runTool("demo --issues").output,
              "3.1  Test plan  error  Locked date set before prerequisites complete\n"
              "1 error, 0 warnings\n");
}

// Documentation waits for the integration (done 18 June) but its constraint holds it to
// Monday 24 June: the constraint binds and comes first.
TEST(DemoCommandTest, WhyListsWhatActsOnATaskBindingFirst) {
    ToolRun run = runTool("demo --why 4.1 --json");
    ASSERT_EQ(run.exitCode, 0);
    nlohmann::json why = nlohmann::json::parse(run.output);
    EXPECT_EQ(why["title"], "Documentation");
    EXPECT_EQ(why["direction"], "as soon as possible");
    std::vector<std::string> kinds;
    std::vector<std::string> dates;
    for (const auto& item : why["constraints"]) {
        kinds.push_back(item["kind"]);
        dates.push_back(item["date"]);
    }
    EXPECT_EQ(kinds,
              (std::vector<std::string>{"constraint", "dependency", "group", "project date"}));
    EXPECT_EQ(dates, (std::vector<std::string>{"2024-06-24T08:00:00", "2024-06-18T17:00:00",
                                               "2024-06-03T08:00:00", "2024-06-03T08:00:00"}));
    EXPECT_EQ(why["constraints"][1]["task"], "Integration");
    // By title too, as plain text for a terminal.
    ToolRun text = runTool("demo --why \"Test plan\"");
    ASSERT_EQ(text.exitCode, 0);
    EXPECT_NE(text.output.find("  Requirements ends at: "), std::string::npos) << text.output;
    EXPECT_NE(text.output.find("  Locked start date: "), std::string::npos);
    EXPECT_EQ(text.output.find("<b>"), std::string::npos);
}

// Every leaf of the sample plan ends up without slack: the locked test plan pulls the
// requirements 8 hours late, and the rest runs back to back to the launch.
TEST(DemoCommandTest, CriticalMarksTheTasksOfTheProjectsPath) {
    ToolRun run = runTool("demo --critical --json");
    ASSERT_EQ(run.exitCode, 0);
    nlohmann::json plan = nlohmann::json::parse(run.output);
    for (const auto& task : plan["tasks"]) {
        SCOPED_TRACE(task["title"].get<std::string>());
        ASSERT_TRUE(task.contains("critical"));
        if (task["kind"] != "group") {
            EXPECT_EQ(task["critical"].get<bool>(), task["totalSlack"].get<double>() <= 0.0);
        }
    }
    ToolRun table = runTool("demo --critical");
    ASSERT_EQ(table.exitCode, 0);
    EXPECT_NE(table.output.find("\n* 2.2    Frontend"), std::string::npos) << table.output;
    EXPECT_NE(table.output.find("* on the critical path\n"), std::string::npos);
    // Without the flag, neither marks nor the key.
    EXPECT_FALSE(
        nlohmann::json::parse(runTool("demo --json").output)["tasks"][0].contains("critical"));
}

TEST(DemoCommandTest, BadArgumentsAreAUsageError) {
    EXPECT_EQ(runTool("demo --critical --issues").exitCode, 2);
    EXPECT_EQ(runTool("demo --why").exitCode, 2);
    EXPECT_EQ(runTool("demo --why 9.9").exitCode, 2);
    EXPECT_NE(runTool("demo --why 9.9", true).output.find("no task \"9.9\""), std::string::npos);
    EXPECT_EQ(runTool("demo --why 1.1 --issues").exitCode, 2);
    EXPECT_EQ(runTool("demo --bogus").exitCode, 2);
    EXPECT_EQ(runTool("no-such-command").exitCode, 2);
    EXPECT_EQ(runTool("--version").exitCode, 0);
}

TEST(DemoCommandTest, NoSubcommandPrintsTheUsageToStandardErrorAndFails) {
    ToolRun out = runTool("");
    EXPECT_EQ(out.exitCode, 2);
    EXPECT_EQ(out.output, "");
    ToolRun err = runTool("", true);
    EXPECT_EQ(err.exitCode, 2);
    EXPECT_NE(err.output.find("Usage"), std::string::npos) << err.output;
    EXPECT_NE(err.output.find("demo"), std::string::npos) << err.output;
}

}  // namespace
