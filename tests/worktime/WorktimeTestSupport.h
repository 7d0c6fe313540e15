// Helpers of the work-time tests: a schedule delegate standing in for a resource, and
// short names for dates of one fixed week.
#pragma once

#include <memory>
#include <vector>

#include "Model/worktime/KSDateTime.h"
#include "Model/worktime/KSSchedule.h"
#include "Model/worktime/KSScheduleDelegate.h"

namespace kestrum {

// Day 7000 is a Monday.
constexpr std::int64_t kMonday = 7000;

inline KSDateTime on(std::int64_t day, double hours, double seconds = 0.0) {
    return KSDateTime(day, hours * 3600.0 + seconds);
}

// What a resource does for its schedule, with counters to look at.
class TestScheduleDelegate : public KSScheduleDelegate {
public:
    KSUndoManager* undoManagerForSchedule(KSSchedule&) override { return undoManager; }
    void scheduleWillChange() override { ++willChangeCount; }
    void scheduleDidChange() override { ++didChangeCount; }
    int scheduleGranularity() override { return granularity; }
    std::shared_ptr<KSSchedule> genericWorktimeSchedule() override { return generic; }
    std::vector<std::shared_ptr<KSSchedule>> childSchedules() override { return children; }

    KSUndoManager* undoManager = nullptr;
    int granularity = 0;
    std::shared_ptr<KSSchedule> generic;
    std::vector<std::shared_ptr<KSSchedule>> children;
    int willChangeCount = 0;
    int didChangeCount = 0;
};

}  // namespace kestrum
