// KSSchedule: a work calendar.
//
// A schedule is a normal week of seven scheduled days (Sunday first; a null slot is
// inherited), a sorted list of exceptional days made from its calendars, an optional first
// and last day, and the schedule it inherits from. Each resource owns one; the project's
// top-level schedule is the root resource's, and a top-level schedule falls back on
// standardWorkHours for its null slots.
//
// It answers the engine's work-time questions (KSScheduling): the end date of an effort,
// its start date for an end, the work between two dates, where work may start or end.
// These walk the days with the schedule's own two enumerators and skip whole normal weeks
// at once, so they allocate nothing and must not nest on one schedule in one direction
// (an assertion fails if they do). The delegate (the owning resource) gives the plan's
// granularity, which the start and end adjustments round by.
//
// Every change is bracketed by beginScheduleChanges / finishedScheduleChanges, which tell
// the delegate and the inheriting schedules, remake the exceptions from the calendars when
// they changed, drop the caches and post "ScheduleDidChangeNotification".
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Model/worktime/KSDateTime.h"
#include "Model/worktime/KSScheduledDay.h"
#include "Model/worktime/KSScheduledDayEnumerator.h"
#include "Model/worktime/KSScheduling.h"
#include "Platform/core/KSNotificationName.h"
#include "Platform/xml/BKObject.h"

namespace kestrum {

class KSCalendar;
class KSScheduleDelegate;
class KSUndoManager;

// Posted with the schedule as object after every bracketed change.
extern const KSNotificationName KSScheduleDidChangeNotification;  // "ScheduleDidChangeNotification"

class KSSchedule : public BKObject, public KSScheduling {
    KS_DECLARE_CLASS()
public:
    KSSchedule();
    ~KSSchedule() override;
    // A new, empty top-level schedule (every slot inherited from standardWorkHours).
    static std::shared_ptr<KSSchedule> schedule();

    // --- Shared schedules ----------------------------------------------------------------
    // Monday to Friday 8:00-12:00 and 13:00-17:00; the fallback of top-level schedules.
    static const std::shared_ptr<KSSchedule>& standardWorkHours();
    // Every day 0:00-24:00.
    static const std::shared_ptr<KSSchedule>& allHours();
    // "Exact", "Hours", "Days" (localized) for 0, 1, 2; "" otherwise.
    static std::string localizedNameForGranularity(int granularity);
    // A new schedule of `hoursPerWeek` hours in days of `hoursPerDay`, from Monday on.
    static std::shared_ptr<KSSchedule> genericScheduleForHoursPerDayHoursPerWeek(
        float hoursPerDay, float hoursPerWeek);
    // A copy: own slots and calendars (and so the exceptions), sharing the delegate; no
    // bounds and no inherited schedule.
    std::shared_ptr<KSSchedule> copy() const;

    // --- KSScheduling --------------------------------------------------------------------
    bool offBetweenStartDateAndEndDate(const KSDateTime& start, const KSDateTime& end) override;
    double durationBetweenStartDateAndEndDate(const KSDateTime& start,
                                              const KSDateTime& end) override;
    KSDateTime endDateForStartDateAndEffort(const KSDateTime& start, double effort) override;
    KSDateTime startDateForEndDateAndEffort(const KSDateTime& end, double effort) override;
    // Needs tasks and assignments; does nothing until they exist.
    void setAssignmentTimeSpentForTask(KSTask& task) override;
    KSDateTime adjustDateForUseAsStartDate(const KSDateTime& date) override;
    KSDateTime adjustDateForUseAsEndDate(const KSDateTime& date) override;
    KSDateTime earliestPossibleWorkMoment() override;
    KSDateTime latestPossibleWorkMoment() override;

    // --- Delegate and change bracketing --------------------------------------------------
    KSScheduleDelegate* delegate() const { return delegate_; }
    void setDelegate(KSScheduleDelegate* delegate) { delegate_ = delegate; }
    // The delegate's undo manager for this schedule, or null.
    KSUndoManager* undoManager();
    void beginScheduleChanges();
    void finishedScheduleChanges();
    void _willChange();
    void _didChangeWithoutNotification();
    void _didChange();

    // --- Calendars -------------------------------------------------------------------------
    const std::vector<std::shared_ptr<KSCalendar>>& calendars() const { return calendars_; }
    // The calendar named "Overtime" / "Time Off", made (editable) when missing.
    std::shared_ptr<KSCalendar> overtimeCalendar();
    std::shared_ptr<KSCalendar> timeOffCalendar();
    // By exact name, or null.
    std::shared_ptr<KSCalendar> calendarNamed(std::string_view name) const;
    // A non-editable calendar goes to the front, an editable one to the end. Adding and
    // removing record undo (removal puts the calendar back in its place); like every
    // change they take effect at finishedScheduleChanges.
    void addCalendar(const std::shared_ptr<KSCalendar>& calendar);
    void removeCalendar(const std::shared_ptr<KSCalendar>& calendar);
    // Marks the exceptions for remaking, whatever the calendar.
    void calendarDidChange(KSCalendar* calendar);
    // Remakes the local exceptions from the calendars when they changed.
    void applyCalendarsToSchedule();

    // --- Inheritance ---------------------------------------------------------------------
    const std::shared_ptr<KSSchedule>& inheritedSchedule() const { return inheritedSchedule_; }
    void setInheritedSchedule(const std::shared_ptr<KSSchedule>& schedule);
    bool isTopLevelSchedule() const { return !inheritedSchedule_; }
    // A local exception, a bound (own or inherited), an own slot or a calendar event.
    bool isCustomSchedule() const;
    bool hasCustomNormalSchedule() const;
    bool isIdenticalToTopLevelSchedule() const;
    // A local exception exists or the normal week has work.
    bool hasScheduledDays();

    // --- The week ------------------------------------------------------------------------
    // Days of the normal week with work; cached until the next change.
    int workingDaysForNormalWeek();
    // Seconds of work in the normal week; cached until the next change.
    double totalDurationForNormalWeek();
    // The share of the normal week's work (Sunday to Saturday) before the date.
    double proportionOfDateThroughNormalWeek(const KSDateTime& date);
    // The moment in the date's week before which that share of the week's work lies.
    KSDateTime dateWithProportionThroughNormalWeek(double proportion, const KSDateTime& date);
    // The date moved to the end of its day's last span (never earlier than the date).
    KSDateTime adjustDateToEndOfDay(const KSDateTime& date);
    bool hasNoWork();
    // Whether the day of the date has any span.
    bool isDateWorkingDate(const KSDateTime& date) const;

    // --- Bounds (inclusive by day number; null is inherited, else no bound) ---------------
    KSDateTime startOfSchedule() const;
    KSDateTime endOfSchedule() const;
    bool startOfScheduleIsCustom() const { return !startOfSchedule_.isNull(); }
    bool endOfScheduleIsCustom() const { return !endOfSchedule_.isNull(); }
    void setStartOfSchedule(const KSDateTime& date);
    void setEndOfSchedule(const KSDateTime& date);

    // --- Standard hours --------------------------------------------------------------------
    // Seven items Sunday first, separated by ";": an own day's timeSpansString, "-" for a
    // null slot.
    std::string standardHoursString() const;
    void setStandardHoursString(std::string_view text);

    // --- Days ----------------------------------------------------------------------------
    bool hasCustomScheduleForDayOfTheWeek(int weekday) const {
        return normalWeek_[slot(weekday)] != nullptr;
    }
    // The own slot, else the inherited answer, else standardWorkHours' slot.
    const std::shared_ptr<KSScheduledDay>& normalScheduleForDayOfTheWeek(int weekday) const {
        int w = slot(weekday);
        for (const KSSchedule* s = this; s; s = s->inheritedSchedule_.get()) {
            if (s->normalWeek_[w]) return s->normalWeek_[w];
        }
        return standardWorkHours()->normalWeek_[w];
    }
    // The own slot, possibly null.
    const std::shared_ptr<KSScheduledDay>& scheduledDayAtDayInWeek(int weekday) const {
        return normalWeek_[slot(weekday)];
    }
    // The own slot, made as a copy of the inherited day when missing (undoable).
    std::shared_ptr<KSScheduledDay> addNewScheduleForDayOfTheWeek(int weekday);
    // Empties the own slot (undoable), so that the day is inherited again.
    void removeScheduleForDayOfTheWeek(int weekday);
    void _removeCustomScheduleForDayOfTheWeek(int weekday);
    // The day that applies on the date: non-working outside the bounds, an exception, or
    // the normal day. Irregular days are not considered here.
    std::shared_ptr<KSScheduledDay> scheduleForDay(const KSDateTime& date) const;

    // --- Exceptions ----------------------------------------------------------------------
    // The local exception on the date's day, made as a copy of the day that stands there
    // when missing; null outside this schedule's own bounds. No undo.
    std::shared_ptr<KSScheduledDay> addExceptionalScheduleForDay(const KSDateTime& date);
    void removeExceptionalScheduleForDate(const KSDateTime& date);
    void removeExceptionalScheduleForDay(const std::shared_ptr<KSScheduledDay>& day);
    // Ascending by day number.
    const std::vector<std::shared_ptr<KSScheduledDay>>& localExceptions() const {
        return exceptions_;
    }
    // Local and inherited exceptions merged (local ones win); cached until the next change.
    const std::vector<std::shared_ptr<KSScheduledDay>>& exceptions() const;

    // Called by a day after it changed; drops a day that no longer differs from what it
    // overrides.
    void scheduleDidChangeForDay(KSScheduledDay* day);

    // "M–F  8–12;1–5  " style one-line summary of the week.
    std::string shortLocalizedWorkHoursDescription() const;

    // --- Archive forms -------------------------------------------------------------------
    KSDictionary archiveDictionary() const;
    // Reads the seven named days or the old "standard" list; not the exceptions.
    void loadFromArchive(const KSDictionary& archive);
    // Turns the old "exceptions" of an archive into time-off events.
    void unarchiveScheduleExceptions(const KSDictionary& archive);

private:
    static std::shared_ptr<KSSchedule> makeFilledSchedule(void (*fill)(int, KSScheduledDay&));
    static int slot(int weekday) { return ((weekday % 7) + 7) % 7; }
    template <class F>
    void registerUndo(F&& action);
    void _setCustomScheduleForDayOfTheWeek(int weekday, std::shared_ptr<KSScheduledDay> day);
    void _insertCalendarAtIndex(const std::shared_ptr<KSCalendar>& calendar, std::size_t index);
    // Where `day` stands in the local exceptions, or their end.
    std::vector<std::shared_ptr<KSScheduledDay>>::iterator _placeOfException(
        const KSScheduledDay* day);
    std::shared_ptr<KSScheduledDay> dayStandingInPlaceOf(const KSDateTime& date) const;
    void dropCaches();
    void addTimeOffEvent(std::int64_t dayNumber, double from, double to);
    void applyOldException(const KSDictionary& entry);
    static void fillGenericDay(KSScheduledDay& day, double seconds);

    std::array<std::shared_ptr<KSScheduledDay>, 7> normalWeek_;
    std::vector<std::shared_ptr<KSScheduledDay>> exceptions_;
    mutable std::vector<std::shared_ptr<KSScheduledDay>> allExceptions_;
    mutable bool allExceptionsValid_ = false;
    double totalDurationForNormalWeek_ = -1.0;
    int workingDaysForNormalWeek_ = -1;
    KSDateTime startOfSchedule_;
    KSDateTime endOfSchedule_;
    std::shared_ptr<KSSchedule> inheritedSchedule_;
    KSScheduledDayEnumerator forwardEnumerator_;
    KSScheduledDayEnumerator backwardEnumerator_;
    KSScheduleDelegate* delegate_ = nullptr;
    std::vector<std::shared_ptr<KSCalendar>> calendars_;
    bool calendarsDidChange_ = false;
    bool delayingScheduleChanges_ = false;
};

}  // namespace kestrum
