// KSScheduledDay: one day's working hours, a sorted list of KSTimeSpan values.
//
// A day is either a normal day (a slot of its schedule's week, day number 0) or an
// exception tied to one day number. All work-time arithmetic inside a day happens here:
// the work left after or before a moment, the moment that ends a stretch of work, and
// where a date must move to be usable as a start or an end. Durations and times are
// seconds; comparisons of times are exact.
//
// Edits (addSpanFromStartToEnd, removeSpanFromStartToEnd) merge and split spans, record
// their inverse on the schedule delegate's undo manager (normal days only), and tell the
// schedule, which may drop the day again when it no longer differs from what it
// overrides. Days are shared objects: make them with dayForSchedule.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Model/worktime/KSDateTime.h"
#include "Model/worktime/KSTimeSpan.h"
#include "Platform/xml/BKObject.h"

namespace kestrum {

class KSSchedule;
class KSUndoManager;

class KSScheduledDay : public BKObject {
    KS_DECLARE_CLASS()
public:
    // initForSchedule: an empty day of `schedule` (may be null).
    explicit KSScheduledDay(KSSchedule* schedule = nullptr);
    ~KSScheduledDay() override;
    static std::shared_ptr<KSScheduledDay> dayForSchedule(KSSchedule* schedule);
    // initWithArchive:inSchedule:
    static std::shared_ptr<KSScheduledDay> dayWithArchive(const KSDictionary& archive,
                                                          KSSchedule* schedule);

    // The process-wide empty day that stands for any day outside a schedule's bounds.
    static const std::shared_ptr<KSScheduledDay>& sharedNonWorkingDay();
    // A platform date as it is; a "yyyyMMdd" string read as local midnight; else none.
    static std::optional<KSDate> dateFromPlistValue(const KSValue& value);
    // The next time of day after t at which any of the days turns working or not working;
    // 86400 when none does.
    static double nextTransitionTimeAfterTimeInDays(double t,
                                                    std::span<const KSScheduledDay* const> days);
    // The latest such time before t; 0 when none.
    static double previousTransitionTimeBeforeTimeInDays(
        double t, std::span<const KSScheduledDay* const> days);

    // Same schedule, day number, spans and total; not batching.
    virtual std::shared_ptr<KSScheduledDay> copy() const;

    // Whether this is one of the seven days of its schedule's week (by identity).
    bool isNormalDay() const;
    // The slot of a normal day, else the weekday of the exception's date (0 = Sunday).
    int dayOfTheWeek() const;
    // 0 for a normal day.
    std::int64_t dayNumber() const { return dayNumber_; }
    void setDayNumber(std::int64_t dayNumber) { dayNumber_ = dayNumber; }
    // The day number at time 0.
    KSDateTime date() const { return KSDateTime(dayNumber_, 0.0); }
    void setDate(const KSDateTime& date) { dayNumber_ = date.dayNumber(); }

    // Ascending by start time, never overlapping.
    const std::vector<KSTimeSpan>& timeSpans() const { return timeSpans_; }
    // Adds working time from s to e (seconds), merging spans it overlaps or touches.
    void addSpanFromStartToEnd(double s, double e);
    // Takes working time from s to e out, cutting or splitting spans.
    void removeSpanFromStartToEnd(double s, double e);
    // Copies another day's spans and total, then reports the change; no undo.
    void copySpansFromDay(const KSScheduledDay& other);
    // Removes every span.
    void clearTimeSpans();

    // Sum of the spans' durations, kept up to date by every change.
    double totalDuration() const { return totalDuration_; }
    // First span's start and last span's end; 0 for an empty day.
    double startTime() const { return timeSpans_.empty() ? 0.0 : timeSpans_.front().startTime(); }
    double endTime() const { return timeSpans_.empty() ? 0.0 : timeSpans_.back().endTime(); }
    // 86400, or the true length of an irregular day.
    double lengthOfDay() const { return lengthOfDay_; }

    // "28800,43200,46800,61200"; empty for a day with no spans.
    std::string timeSpansString() const;
    // Replaces the spans by pairs of numbers separated by ",".
    void setTimeSpansString(std::string_view text);

    KSSchedule* schedule() const { return nonretainedSchedule_; }
    void setSchedule(KSSchedule* schedule) { nonretainedSchedule_ = schedule; }
    // While batching, changes are not reported; endBatchingChanges reports once.
    void batchChanges() { batchChanges_ = true; }
    void endBatchingChanges();

    // The span lists are equal element by element.
    bool isEqualToScheduledDay(const KSScheduledDay& other) const {
        return timeSpans_ == other.timeSpans_;
    }
    // -1, 0 or 1 by day number.
    int compareByDate(const KSScheduledDay& other) const {
        return dayNumber_ < other.dayNumber_ ? -1 : (dayNumber_ > other.dayNumber_ ? 1 : 0);
    }
    // Whether some span lies (not merely touches) between the two times.
    bool hasHoursBetweenStartAndEnd(double s, double e) const;

    // Work on this day from the date's time to the end of the day.
    double remainingHoursAfterDate(const KSDateTime& date) const;
    // Work on this day from the start of the day to the date's time.
    double remainingHoursBeforeDate(const KSDateTime& date) const;
    // The moment d seconds of work after the day's first span start, on `date`'s day;
    // time 0 when the day holds less than d.
    KSDateTime dateForDurationAfterStartOnDate(double d, const KSDateTime& date) const;
    // The moment d seconds of work before the day's last span end; time 0 when the day
    // holds less than d.
    KSDateTime dateForDurationBeforeEndOnDate(double d, const KSDateTime& date) const;
    // The date moved forward to a moment at which work can start, or null (granularity:
    // 0 exact, 1 hours, 2 days).
    KSDateTime adjustDateForUseAsStartDateWithGranularity(const KSDateTime& date,
                                                          int granularity) const;
    // The date moved backward to a moment at which work can end, or null.
    KSDateTime adjustDateForUseAsEndDateWithGranularity(const KSDateTime& date,
                                                        int granularity) const;
    // The later of the date and the last span's end; the date itself on an empty day.
    KSDateTime adjustDateToEndOfSchedule(const KSDateTime& date) const;
    // The first span start at or after the date's time, or null.
    KSDateTime startOfNextTimeSpanAfterDate(const KSDateTime& date) const;
    // The end of the last span starting at or before the date's time, or null.
    KSDateTime endOfTimeSpanDuringDate(const KSDateTime& date) const;

    // Spans' descriptions joined by ",".
    std::string description() const override;
    // Spans' short descriptions joined by ";".
    std::string localizedShortDescription() const;
    // The schedule delegate's undo manager for a normal day; null for exceptions.
    KSUndoManager* undoManagerForScheduledDay() const;

    // { spans = (...); date = yyyyMMdd; }, each left out when empty or 0.
    KSDictionary archiveDictionary() const;
    void loadFromArchive(const KSDictionary& archive);
    static KSArray archiveForScheduledDays(
        const std::vector<std::shared_ptr<KSScheduledDay>>& days);
    static std::vector<std::shared_ptr<KSScheduledDay>> loadScheduledDaysFromArchiveWithSchedule(
        const KSArray& archive, KSSchedule* schedule);

protected:
    void reportChange();
    void sortSpans();

    KSSchedule* nonretainedSchedule_ = nullptr;
    std::vector<KSTimeSpan> timeSpans_;
    std::int64_t dayNumber_ = 0;
    double totalDuration_ = 0.0;
    double lengthOfDay_ = 86400.0;
    bool batchChanges_ = false;
    bool haveChanges_ = false;
};

}  // namespace kestrum
