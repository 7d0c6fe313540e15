// KSScheduledDayEnumerator: walks a schedule day by day, forward or backward.
//
// Each schedule owns one enumerator per direction and resets it (setStartDate) at the
// start of every operation, so a walk allocates nothing. The enumerator stands one step
// before the start date; the first nextObject lands on it. It keeps track of the next
// exception and the next irregular (daylight-saving) day in walking direction, so that
// whole normal weeks between them can be skipped with skipDays.
//
// The days it answers are owned by the schedule (or, for an irregular day, by the
// enumerator itself until the next step): use them before moving on.
//
// A schedule operation holds a Walk on the enumerator it uses, so that an operation
// started on the same schedule and direction before the first one ends (which would reset
// the walk under it) fails an assertion instead of answering wrong dates.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "Model/worktime/KSDateTime.h"
#include "Model/worktime/KSWeirdDay.h"

namespace kestrum {

class KSSchedule;
class KSScheduledDay;
class KSWeirdScheduledDay;

class KSScheduledDayEnumerator {
public:
    KSScheduledDayEnumerator(KSSchedule* schedule, bool backwards);
    ~KSScheduledDayEnumerator();
    KSScheduledDayEnumerator(const KSScheduledDayEnumerator&) = delete;
    KSScheduledDayEnumerator& operator=(const KSScheduledDayEnumerator&) = delete;

    // Claims the enumerator for one operation of its schedule, for the guard's lifetime.
    class Walk {
    public:
        explicit Walk(KSScheduledDayEnumerator& days) : days_(days) {
            if (days.walking_) days.failNestedWalk();
            days.walking_ = true;
        }
        ~Walk() { days_.walking_ = false; }
        Walk(const Walk&) = delete;
        Walk& operator=(const Walk&) = delete;

    private:
        KSScheduledDayEnumerator& days_;
    };

    // Whether any of the enumerators has more days.
    static bool haveMoreScheduledDaysInEnumerators(
        std::span<const KSScheduledDayEnumerator* const> enumerators);

    // Places the enumerator one day before (forward) or after (backward) the date's day.
    void setStartDate(const KSDateTime& date);
    KSSchedule* schedule() const { return nonretainedSchedule_; }
    // The current day at time 0.
    KSDateTime currentDate() const { return KSDateTime(currentDayNumber_, 0.0); }
    std::int64_t currentDayNumber() const { return currentDayNumber_; }
    // Steps one day in walking direction and answers that day.
    KSScheduledDay* nextObject();
    // The day the enumerator stands on: the shared non-working day outside the bounds, an
    // exception, or the normal day of the weekday, stretched on an irregular day.
    KSScheduledDay* currentDay();
    // Whether walking on can still meet work.
    bool hasMoreScheduledDays() const;
    // How many whole days ahead (forward) can be passed without meeting an exception, an
    // irregular day or the last day of the schedule.
    std::int64_t daysUntilNextExceptionalDay() const;
    // The same for either direction, bounded by the schedule's first day when walking
    // backward and before its first day when walking forward.
    std::int64_t plainDaysAhead() const;
    // Moves n days in walking direction without answering a day.
    void skipDays(std::int64_t n);

private:
    void bringUpToDate();
    // Fails the assertion that operations on one schedule do not nest.
    [[noreturn]] void failNestedWalk() const;

    KSSchedule* nonretainedSchedule_;
    std::size_t nextExceptionIndex_ = 0;
    std::int64_t currentDayNumber_ = 0;
    int currentDayOfTheWeek_ = 0;
    std::int64_t firstDayNumber_ = 0;
    std::int64_t lastDayNumber_ = 0;
    KSScheduledDay* nonretainedNextExceptionDay_ = nullptr;
    std::optional<KSWeirdDay> nextWeirdDay_;
    bool backwards_;
    bool normalWeekIsEmpty_ = false;
    // Set while an operation of the schedule walks this enumerator.
    bool walking_ = false;
    // Refilled for each irregular day the walk meets.
    std::shared_ptr<KSWeirdScheduledDay> weirdDay_;
};

}  // namespace kestrum
