// A plan for the calendar tests: a project whose first scenario starts on Monday 8 January
// 2024 at 8:00, tasks appended to the root task, resources to the root resource, and dates
// written as "2024-01-08T08:00". The plan's calendar is the standard week: Monday to
// Friday, 8:00 to 12:00 and 13:00 to 17:00.
//
//   auto a = task("A", 8), b = task("B", 16);
//   link(a, b);
//   edit(calendar(), [&](KSSchedule& s) { s.timeOffCalendar()->addEvent(dayOff(...)); });
//   drain();
//   EXPECT_EQ(span(b), "2024-01-10T08:00 - 2024-01-11T17:00");
#pragma once

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "Model/project/KSScenario.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSCalendarEvent.h"
#include "Model/worktime/KSSchedule.h"
#include "support/PlanFixture.h"

namespace kestrum::test {

class CalendarTest : public PlanFixture<> {
protected:
    static constexpr double kHour = 3600.0;
    // The standard week as the root resource's own days, Sunday first.
    static constexpr const char* kStandardWeek =
        ";28800,43200,46800,61200;28800,43200,46800,61200;28800,43200,46800,61200;"
        "28800,43200,46800,61200;28800,43200,46800,61200;";

    void SetUp() override {
        PlanFixture::SetUp();
        scenario->setStartDate(at(2024, 1, 8, 8));
        drain();
    }

    // The model's date of a local date and time.
    static KSDateTime at(int year, unsigned month, unsigned day, int hour = 0, int minute = 0) {
        using namespace std::chrono;
        auto days = sys_days{std::chrono::year{year} / month / day} - sys_days{2001y / January / 1};
        return KSDateTime(days.count(), hour * 3600.0 + minute * 60.0);
    }
    // "2024-01-08T08:00", or "null".
    static std::string iso(const KSDateTime& date) {
        using namespace std::chrono;
        if (date.isNull()) return "null";
        year_month_day ymd{sys_days{2001y / January / 1} + days{date.dayNumber()}};
        long minutes = static_cast<long>(date.timeOfDay()) / 60;
        char text[48];
        std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02ld:%02ld", static_cast<int>(ymd.year()),
                      static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()),
                      minutes / 60, minutes % 60);
        return text;
    }
    std::string span(const std::shared_ptr<KSTask>& t) {
        return iso(t->startDate()) + " - " + iso(t->endDate());
    }

    // A task of `hours` of work at the end of the plan.
    std::shared_ptr<KSTask> task(const std::string& title, double hours) {
        auto t = std::make_shared<KSTask>();
        t->setTitle(title);
        root().addChildTask(t);
        t->setEffort(hours * kHour);
        return t;
    }
    // `after` starts when `before` ends.
    void link(const std::shared_ptr<KSTask>& before, const std::shared_ptr<KSTask>& after) {
        KSDependency::dependencyWithPrerequisiteAndDependentAndKind(before.get(), after.get(),
                                                                    KSDependencyFinishToStart);
    }
    // A resource named `name`, the last child of `parent` (the root resource by default).
    std::shared_ptr<KSResource> resource(const std::string& name,
                                         const std::shared_ptr<KSResource>& parent = nullptr) {
        auto r = std::make_shared<KSResource>();
        r->setName(name);
        KSResource& into = parent ? *parent : *scenario->rootResource();
        into.insertObjectInChildrenAtIndex(r, into.countOfChildren());
        return r;
    }

    // The plan's calendar.
    KSSchedule& calendar() { return *scenario->schedule(); }
    // Changes `schedule` the way an application does: between beginScheduleChanges and
    // finishedScheduleChanges.
    template <class F>
    static void edit(KSSchedule& schedule, F&& change) {
        schedule.beginScheduleChanges();
        change(schedule);
        schedule.finishedScheduleChanges();
    }
    // A whole day of time off.
    static std::shared_ptr<KSCalendarEvent> dayOff(const KSDateTime& day) {
        return KSCalendarEvent::eventWithStartEndTitle(
            KSDateTime(day.dayNumber(), 0.0), KSDateTime(day.dayNumber() + 1, 0.0), "Day off");
    }
};

}  // namespace kestrum::test
