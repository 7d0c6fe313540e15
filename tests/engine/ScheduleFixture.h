// A small scheduled plan for the engine tests: a document with its undo manager, a project
// with one scenario anchored on a real date, and builders that read like the plan.
//
//   anchorStart(at(2024, 1, 8, 8));          // Monday 8 January 2024, 8:00
//   auto a = task("A", 8), b = task("B", 16);
//   link(a, b);                              // finish to start
//   drain();
//   EXPECT_EQ(iso(b->startDate()), "2024-01-09T08:00");
//
// Every plan works the standard week: Monday to Friday, 8:00 to 12:00 and 13:00 to 17:00.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"
#include "support/PlanFixture.h"

namespace kestrum::test {

// The model's date of a local date and time.
inline KSDateTime at(int year, unsigned month, unsigned day, int hour = 0, int minute = 0) {
    using namespace std::chrono;
    auto days = sys_days{std::chrono::year{year} / month / day} - sys_days{2001y / January / 1};
    return KSDateTime(days.count(), hour * 3600.0 + minute * 60.0);
}

// "2024-01-08T08:00" ("null" for no date); seconds only when there are some.
inline std::string iso(const KSDateTime& date) {
    using namespace std::chrono;
    if (date.isNull()) return "null";
    year_month_day ymd{sys_days{2001y / January / 1} + days{date.dayNumber()}};
    long seconds = static_cast<long>(date.timeOfDay());
    char text[40];
    if (seconds % 60 == 0) {
        std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02ld:%02ld", static_cast<int>(ymd.year()),
                      static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()),
                      seconds / 3600, seconds / 60 % 60);
    } else {
        std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02ld:%02ld:%02ld",
                      static_cast<int>(ymd.year()), static_cast<unsigned>(ymd.month()),
                      static_cast<unsigned>(ymd.day()), seconds / 3600, seconds / 60 % 60,
                      seconds % 60);
    }
    return text;
}

class ScheduleTest : public PlanFixture<> {
protected:
    static constexpr double kHour = 3600.0;

    void SetUp() override {
        PlanFixture::SetUp();
        anchorStart(at(2024, 1, 8, 8));
        drain();
    }

    // The plan starts at `date` and schedules forward.
    void anchorStart(const KSDateTime& date) { scenario->setStartDate(date); }
    // The plan ends at `date` and schedules backward.
    void anchorEnd(const KSDateTime& date) { scenario->setEndDate(date); }

    // A task of `hours` of work appended to `parent` (the root by default).
    std::shared_ptr<KSTask> task(const std::string& title, double hours,
                                 const std::shared_ptr<KSTask>& parent = nullptr) {
        auto t = std::make_shared<KSTask>();
        t->setTitle(title);
        (parent ? *parent : root()).addChildTask(t);
        t->setEffort(hours * kHour);
        return t;
    }
    std::shared_ptr<KSTask> group(const std::string& title,
                                  const std::shared_ptr<KSTask>& parent = nullptr) {
        auto g = std::make_shared<KSTask>();
        g->setTitle(title);
        (parent ? *parent : root()).addChildTask(g);
        g->setIsGroup(true);
        return g;
    }
    std::shared_ptr<KSTask> milestone(const std::string& title,
                                      const std::shared_ptr<KSTask>& parent = nullptr) {
        auto m = task(title, 0.0, parent);
        m->setTaskType(taskTypeMilestone);
        return m;
    }
    // `after` waits for `before`; `lead` in working seconds.
    std::shared_ptr<KSDependency> link(const std::shared_ptr<KSTask>& before,
                                       const std::shared_ptr<KSTask>& after,
                                       KSDependencyKind kind = KSDependencyFinishToStart,
                                       double lead = 0.0) {
        auto dependency = KSDependency::dependencyWithPrerequisiteAndDependentAndKind(
            before.get(), after.get(), kind);
        if (lead != 0.0) dependency->setLeadTime(lead);
        return dependency;
    }
    std::string span(const std::shared_ptr<KSTask>& t) {
        return iso(t->startDate()) + " - " + iso(t->endDate());
    }
};

}  // namespace kestrum::test
