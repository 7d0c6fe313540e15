// The one way tests build plans: tasks, groups, milestones, hammocks and split tasks,
// links of each kind with a lead in working time or as a share of the prerequisite's
// effort, locks, constraints, and the plan's anchor at either end. Plan-level tests read
// like the plans they build; the random plans of the date-cache tests are built through
// the same calls.
//
//   PlanBuilder plan(*scenario);
//   plan.anchorStart(at(2024, 1, 8, 8));      // Monday 8 January 2024, 8:00
//   auto a = plan.task("A", 8);                // eight hours of work
//   auto g = plan.group("G");
//   auto b = plan.task("B", 16, g);
//   plan.link(a, b);                           // finish to start
//   plan.constrain(b, PlanBuilder::EndNoLaterThan, at(2024, 1, 12, 17));
//   EXPECT_EQ(span(b), "2024-01-09T08:00 - 2024-01-10T17:00");
//
// Every plan works the standard week: Monday to Friday, 8:00 to 12:00 and 13:00 to 17:00.
#pragma once

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"

namespace kestrum::test {

// One hour of work, in seconds.
inline constexpr double kHour = 3600.0;

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
    char text[48];
    const int y = static_cast<int>(ymd.year());
    const unsigned m = static_cast<unsigned>(ymd.month());
    const unsigned d = static_cast<unsigned>(ymd.day());
    if (seconds % 60 == 0) {
        std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02ld:%02ld", y, m, d, seconds / 3600,
                      seconds / 60 % 60);
    } else {
        std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02ld:%02ld:%02ld", y, m, d,
                      seconds / 3600, seconds / 60 % 60, seconds % 60);
    }
    return text;
}

// "<start> - <end>" of a task, in the form of iso().
inline std::string span(const std::shared_ptr<KSTask>& task) {
    return iso(task->startDate()) + " - " + iso(task->endDate());
}

// The titles of the children of `item`, joined by spaces: "A B C".
inline std::string titles(const KSProjectItem& item) {
    std::string text;
    if (!item.children()) return text;
    for (const auto& child : *item.children()) {
        if (!text.empty()) text += " ";
        text += child->title().value_or("?");
    }
    return text;
}

class PlanBuilder {
public:
    // Which slot a constraint takes and which end of the task it binds.
    enum Constraint { StartNoEarlierThan, EndNoEarlierThan, StartNoLaterThan, EndNoLaterThan };

    PlanBuilder() = default;
    explicit PlanBuilder(KSScenario& scenario) : plan_(&scenario) {}
    // The plan the calls build into.
    void buildInto(KSScenario& scenario) { plan_ = &scenario; }
    KSScenario& plan() const { return *plan_; }
    KSTask& root() const { return *plan_->rootTask(); }

    // --- Anchors -------------------------------------------------------------------------
    // The plan starts at `date` and schedules forward.
    void anchorStart(const KSDateTime& date) const { plan_->setStartDate(date); }
    // The plan ends at `date` and schedules backward.
    void anchorEnd(const KSDateTime& date) const { plan_->setEndDate(date); }

    // --- Tasks ---------------------------------------------------------------------------
    // A plain task of the default effort (eight hours) appended to `parent` (the root by
    // default).
    std::shared_ptr<KSTask> task(const std::string& title,
                                 const std::shared_ptr<KSTask>& parent = nullptr) const {
        return add<KSTask>(title, parent.get());
    }
    // A plain task of `hours` of work.
    std::shared_ptr<KSTask> task(const std::string& title, double hours,
                                 const std::shared_ptr<KSTask>& parent = nullptr) const {
        auto t = task(title, parent);
        t->setEffort(hours * kHour);
        return t;
    }
    // A task of class `T` (a KSTask that a test watches) appended to `parent`.
    template <class T>
    std::shared_ptr<T> add(const std::string& title, KSProjectItem* parent = nullptr) const {
        auto t = std::make_shared<T>();
        t->setTitle(title);
        KSProjectItem& into = parent ? *parent : static_cast<KSProjectItem&>(root());
        into.insertObjectInChildrenAtIndex(t, into.countOfChildren());
        return t;
    }
    // A plain task that has the object id `id` before it joins the plan, as a file
    // reader gives it.
    std::shared_ptr<KSTask> identifiedTask(const std::string& title, TMObjectId id,
                                           const std::shared_ptr<KSTask>& parent = nullptr) const {
        auto t = std::make_shared<KSTask>();
        t->setObjectId(id);
        t->setTitle(title);
        KSProjectItem& into = parent ? *parent : static_cast<KSProjectItem&>(root());
        into.insertObjectInChildrenAtIndex(t, into.countOfChildren());
        return t;
    }
    // An empty group.
    std::shared_ptr<KSTask> group(const std::string& title,
                                  const std::shared_ptr<KSTask>& parent = nullptr) const {
        auto g = task(title, parent);
        g->setIsGroup(true);
        return g;
    }
    std::shared_ptr<KSTask> milestone(const std::string& title,
                                      const std::shared_ptr<KSTask>& parent = nullptr) const {
        auto m = task(title, parent);
        m->setTaskType(taskTypeMilestone);
        return m;
    }
    // A hammock from `from`'s start (a start-to-start link) to `to`'s end (finish to
    // finish).
    std::shared_ptr<KSTask> hammock(const std::string& title, const std::shared_ptr<KSTask>& from,
                                    const std::shared_ptr<KSTask>& to,
                                    const std::shared_ptr<KSTask>& parent = nullptr) const {
        auto h = task(title, parent);
        link(from, h, KSDependencyStartToStart);
        link(to, h, KSDependencyFinishToFinish);
        h->setTaskType(taskTypeHammock);
        return h;
    }
    // A split task of chunks of `hours` each; chunk i > 0 starts no earlier than
    // `resumes[i - 1]` (a null date leaves it against the chunk before, which rejoins
    // them when the undo group closes).
    std::shared_ptr<KSTask> split(const std::string& title, const std::vector<double>& hours,
                                  const std::vector<KSDateTime>& resumes,
                                  const std::shared_ptr<KSTask>& parent = nullptr) const {
        auto t = task(title, parent);
        KSTaskList chunks;
        for (std::size_t i = 0; i < hours.size(); ++i) {
            auto chunk = std::make_shared<KSTask>();
            chunk->setEffort(hours[i] * kHour);
            if (i > 0 && i - 1 < resumes.size() && !resumes[i - 1].isNull())
                chunk->setStartAfter(resumes[i - 1]);
            chunks.push_back(chunk);
        }
        t->setTaskTypeSplitTaskWithSplitChildren(taskTypeTask, true, chunks);
        return t;
    }

    // --- Links ---------------------------------------------------------------------------
    // `after` waits for `before`; `lead` in working seconds (negative overlaps).
    std::shared_ptr<KSDependency> link(const std::shared_ptr<KSTask>& before,
                                       const std::shared_ptr<KSTask>& after,
                                       KSDependencyKind kind = KSDependencyFinishToStart,
                                       double lead = 0.0) const {
        auto dependency = KSDependency::dependencyWithPrerequisiteAndDependentAndKind(
            before.get(), after.get(), kind);
        if (lead != 0.0) dependency->setLeadTime(lead);
        return dependency;
    }
    // A link whose lead is `share` of the prerequisite's effort (0.5 is 50%).
    std::shared_ptr<KSDependency> linkByShare(const std::shared_ptr<KSTask>& before,
                                              const std::shared_ptr<KSTask>& after,
                                              KSDependencyKind kind, double share) const {
        auto dependency = link(before, after, kind, share);
        dependency->setLeadTimeIsPercentage(true);
        return dependency;
    }

    // --- Locks and constraints -----------------------------------------------------------
    void lockStart(const std::shared_ptr<KSTask>& t, const KSDateTime& date) const {
        t->setStartLockedDate(date);
    }
    void lockEnd(const std::shared_ptr<KSTask>& t, const KSDateTime& date) const {
        t->setEndLockedDate(date);
    }
    // Puts `date` in the slot that `kind` names, bound to the end it names.
    void constrain(const std::shared_ptr<KSTask>& t, Constraint kind,
                   const KSDateTime& date) const {
        switch (kind) {
            case StartNoEarlierThan:
                t->setStartAfter(date);
                break;
            case EndNoEarlierThan:
                t->setEndAfter(date);
                break;
            case StartNoLaterThan:
                t->setStartBefore(date);
                break;
            case EndNoLaterThan:
                t->setEndBefore(date);
                break;
        }
    }

private:
    KSScenario* plan_ = nullptr;
};

}  // namespace kestrum::test
