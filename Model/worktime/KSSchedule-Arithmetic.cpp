// KSSchedule: the work-time arithmetic of KSScheduling. These are the scheduler's inner
// loops: they walk the schedule's own enumerators, allocate nothing, and pass whole normal
// weeks with one multiplication where no exception, irregular day or bound intervenes.
// Each operation holds a Walk on the enumerator it resets, which catches nesting.
#include <algorithm>
#include <cmath>

#include "Model/worktime/KSSchedule.h"
#include "Model/worktime/KSScheduleDelegate.h"

namespace kestrum {

namespace {

constexpr double kAllHoursWeek = 604800.0;

}  // namespace

KSDateTime KSSchedule::endDateForStartDateAndEffort(const KSDateTime& start, double effort) {
    if (start.isNull()) return {};
    if (effort == 0.0) return start;
    double e = std::ceil(effort);
    double week = totalDurationForNormalWeek();
    // All hours: absolute time, so that a daylight-saving shift is not smoothed over.
    if (week == kAllHoursWeek && exceptions().empty()) return start.dateByAddingTimeInterval(e);

    KSScheduledDayEnumerator& days = forwardEnumerator_;
    KSScheduledDayEnumerator::Walk walk(days);
    days.setStartDate(start);
    KSScheduledDay* day = days.nextObject();
    double remaining = day->remainingHoursAfterDate(start);
    if (remaining >= e) {
        return day->dateForDurationAfterStartOnDate(day->totalDuration() - (remaining - e), start);
    }
    double left = e - remaining;
    while (days.hasMoreScheduledDays()) {
        if (week != 0.0 && left > week) {
            std::int64_t weeks = std::min<std::int64_t>(days.daysUntilNextExceptionalDay() / 7,
                                                        static_cast<std::int64_t>(left / week));
            if (weeks > 0) {
                days.skipDays(7 * weeks);
                left -= static_cast<double>(weeks) * week;
            }
        }
        day = days.nextObject();
        double total = day->totalDuration();
        if (total >= left) {
            // When skipping used `left` up exactly, this lands on the next day's first
            // start; the adjustment brings it back to the last working moment.
            KSDateTime end = adjustDateForUseAsEndDate(
                day->dateForDurationAfterStartOnDate(left, days.currentDate()));
            if (end.isNull()) break;
            return end;
        }
        left -= total;
    }

    // Out of work: spill over onto the generic schedule behind the last working moment.
    std::shared_ptr<KSSchedule> generic =
        delegate_ ? delegate_->genericWorktimeSchedule() : nullptr;
    if (!generic || generic.get() == this) return {};
    KSDateTime latest = latestPossibleWorkMoment();
    if (!latest.isNull() && latest.isLaterThanDate(start)) {
        return generic->endDateForStartDateAndEffort(latest, left);
    }
    return generic->endDateForStartDateAndEffort(start, e);
}

KSDateTime KSSchedule::startDateForEndDateAndEffort(const KSDateTime& end, double effort) {
    if (end.isNull()) return {};
    // No shortcut for 0: a date in a non-working stretch comes back adjusted.
    double e = std::ceil(effort);
    double week = totalDurationForNormalWeek();
    if (week == kAllHoursWeek && exceptions().empty()) return end.dateByAddingTimeInterval(-e);

    KSScheduledDayEnumerator& days = backwardEnumerator_;
    KSScheduledDayEnumerator::Walk walk(days);
    days.setStartDate(end);
    KSScheduledDay* day = days.nextObject();
    double remaining = day->remainingHoursBeforeDate(end);
    if (remaining >= e) {
        return day->dateForDurationBeforeEndOnDate(day->totalDuration() - (remaining - e), end);
    }
    double left = e - remaining;
    while (days.hasMoreScheduledDays()) {
        if (week != 0.0 && left > week) {
            // Whole weeks strictly inside the effort: the walk day by day would pass them
            // without stopping, since each leaves more than the week's work still to find.
            std::int64_t weeks = static_cast<std::int64_t>(left / week);
            if (static_cast<double>(weeks) * week >= left) --weeks;
            weeks = std::min<std::int64_t>(weeks, days.plainDaysAhead() / 7);
            if (weeks > 0) {
                days.skipDays(7 * weeks);
                left -= static_cast<double>(weeks) * week;
            }
        }
        day = days.nextObject();
        double total = day->totalDuration();
        if (total >= left) return day->dateForDurationBeforeEndOnDate(left, days.currentDate());
        left -= total;
    }

    std::shared_ptr<KSSchedule> generic =
        delegate_ ? delegate_->genericWorktimeSchedule() : nullptr;
    if (!generic || generic.get() == this) return {};
    KSDateTime earliest = earliestPossibleWorkMoment();
    if (!earliest.isNull() && earliest.isEarlierThanDate(end)) {
        return generic->startDateForEndDateAndEffort(earliest, left);
    }
    return generic->startDateForEndDateAndEffort(end, e);
}

double KSSchedule::durationBetweenStartDateAndEndDate(const KSDateTime& start,
                                                      const KSDateTime& end) {
    if (start.isNull() || end.isNull()) return 0.0;
    if (start.isLaterThanDate(end)) return -durationBetweenStartDateAndEndDate(end, start);
    double week = totalDurationForNormalWeek();
    if (week == kAllHoursWeek && exceptions().empty()) {
        return end.nsDate().timeIntervalSinceDate(start.nsDate());
    }

    KSScheduledDayEnumerator& days = forwardEnumerator_;
    KSScheduledDayEnumerator::Walk walk(days);
    days.setStartDate(start);
    double total = days.nextObject()->remainingHoursAfterDate(start);
    std::int64_t endDay = end.dayNumber();
    while (days.currentDayNumber() < endDay) {
        days.skipDays(1);
        std::int64_t ahead = endDay - days.currentDayNumber();
        if (ahead >= 7) {
            std::int64_t weeks =
                std::min<std::int64_t>(ahead / 7, days.daysUntilNextExceptionalDay() / 7);
            if (weeks > 0) {
                days.skipDays(7 * weeks);
                total += static_cast<double>(weeks) * week;
            }
        }
        total += days.currentDay()->totalDuration();
    }
    // The end day was counted whole: take off what lies behind the end.
    return total - days.currentDay()->remainingHoursAfterDate(end);
}

bool KSSchedule::offBetweenStartDateAndEndDate(const KSDateTime& start, const KSDateTime& end) {
    if (start.isNull() || end.isNull()) return true;
    return !adjustDateForUseAsStartDate(start).isEarlierThanDate(end);
}

KSDateTime KSSchedule::adjustDateForUseAsStartDate(const KSDateTime& date) {
    if (date.isNull()) return {};
    KSScheduledDayEnumerator& days = forwardEnumerator_;
    KSScheduledDayEnumerator::Walk walk(days);
    days.setStartDate(date);
    int granularity = delegate_ ? delegate_->scheduleGranularity() : 0;
    KSDateTime adjusted =
        days.nextObject()->adjustDateForUseAsStartDateWithGranularity(date, granularity);
    if (!adjusted.isNull()) return adjusted;
    while (days.hasMoreScheduledDays()) {
        KSScheduledDay* day = days.nextObject();
        if (day->totalDuration() != 0.0) {
            return day->dateForDurationAfterStartOnDate(0.0, days.currentDate());
        }
    }
    // A schedule with no work left does not move dates.
    return date;
}

KSDateTime KSSchedule::adjustDateForUseAsEndDate(const KSDateTime& date) {
    if (date.isNull()) return {};
    KSScheduledDayEnumerator& days = backwardEnumerator_;
    KSScheduledDayEnumerator::Walk walk(days);
    days.setStartDate(date);
    int granularity = delegate_ ? delegate_->scheduleGranularity() : 0;
    KSDateTime adjusted =
        days.nextObject()->adjustDateForUseAsEndDateWithGranularity(date, granularity);
    if (!adjusted.isNull()) return adjusted;
    while (days.hasMoreScheduledDays()) {
        KSScheduledDay* day = days.nextObject();
        if (day->totalDuration() != 0.0) {
            return day->dateForDurationBeforeEndOnDate(0.0, days.currentDate());
        }
    }
    return date;
}

KSDateTime KSSchedule::adjustDateToEndOfDay(const KSDateTime& date) {
    if (date.isNull()) return {};
    KSScheduledDayEnumerator::Walk walk(backwardEnumerator_);
    backwardEnumerator_.setStartDate(date);
    return backwardEnumerator_.nextObject()->adjustDateToEndOfSchedule(date);
}

KSDateTime KSSchedule::earliestPossibleWorkMoment() {
    KSDateTime start = startOfSchedule();
    if (totalDurationForNormalWeek() > 0.0) return start;
    const auto& all = exceptions();
    auto first = std::find_if(all.begin(), all.end(),
                              [](const auto& day) { return day->totalDuration() > 0.0; });
    if (first == all.end()) return KSDateTime::distantFuture();
    KSDateTime moment((*first)->dayNumber(), (*first)->timeSpans().front().startTime());
    return start.isNull() ? moment : moment.laterDate(start);
}

KSDateTime KSSchedule::latestPossibleWorkMoment() {
    KSDateTime end = endOfSchedule().dateWithBeginningOfNextDay();
    if (totalDurationForNormalWeek() > 0.0) return end;
    const auto& all = exceptions();
    auto last = std::find_if(all.rbegin(), all.rend(),
                             [](const auto& day) { return day->totalDuration() > 0.0; });
    if (last == all.rend()) return KSDateTime::distantPast();
    KSDateTime moment((*last)->dayNumber(), (*last)->timeSpans().back().endTime());
    return end.isNull() ? moment : moment.earlierDate(end);
}

}  // namespace kestrum
