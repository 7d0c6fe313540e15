// KSResource: a person, machine or material of the plan (shell), and its work calendar.
//
// This shell is the resource-tree node the scenario needs: a project item tracked by the
// scenario's resource engine, with the prototype flag, a name, an e-mail address, a type
// rank and a work calendar. Joining a scenario tells it resourceWillBeInserted, which
// names a nameless resource ("Resource 1", "Resource 2" ...). Costs, units, the rest of
// the assignment hooks, the file form and the rest arrive with the resource code.
//
// Every resource owns a schedule that inherits from its parent's, so the root resource's
// schedule is the plan's calendar, and is that schedule's delegate: it answers with the
// plan's undo manager and granularity and the generic week of the project's duration
// formatter, and turns a change of the schedule into invalidated task dates (every task
// for the plan's calendar, the tasks of its assignments for any other). Its calendars
// appear as plain text attributes ("timeOffString", "overtimeString",
// "otherCalendarsDict") so that change tracking can compare them, and an iCalendar file
// of holidays can be added as time off.
//
//   auto resource = scenario->newResourceOfType(KSResourceTypeRankStaff);
//   scenario->rootResource()->insertObjectInChildrenAtIndex(resource, 0);
//   resource->setStandardHoursString("-;32400,61200;-;-;-;-;-");   // Mondays 9 to 17
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Model/project/KSProjectItem.h"
#include "Model/worktime/KSDateTime.h"
#include "Model/worktime/KSScheduleDelegate.h"

namespace kestrum {

class KSAssignment;
class KSCalendar;
class KSError;
class KSSchedule;

// Ranks of the resource types.
inline constexpr std::int32_t KSResourceTypeRankStaff = 0;
inline constexpr std::int32_t KSResourceTypeRankEquipment = 1;
inline constexpr std::int32_t KSResourceTypeRankMaterial = 2;
inline constexpr std::int32_t KSResourceTypeRankGroup = 3;

class KSResource : public KSProjectItem, public KSScheduleDelegate {
    KS_DECLARE_CLASS()
public:
    // A staff resource with no name and a schedule of its own that defines nothing.
    KSResource();
    ~KSResource() override;

    // A prototype is a template of new resources and never scheduled.
    bool isPrototype() const { return isPrototype_; }
    void setIsPrototype(bool flag) { isPrototype_ = flag; }
    // The parent in the resource tree, or null (the root, or a resource outside the tree).
    KSResource* parentResource() const;

    // --- Work calendar ---------------------------------------------------------------------
    // The resource's work calendar, never null; the root resource's is the plan's.
    const std::shared_ptr<KSSchedule>& schedule() const { return schedule_; }
    // Replaces the schedule by a copy of `schedule` (undoable): the copy inherits from the
    // parent's schedule, the children's schedules inherit from the copy, and the tasks it
    // feeds are invalidated.
    void copySchedule(const KSSchedule& schedule);
    // Whether the schedule sets days of the normal week itself.
    bool hasCustomNormalSchedule() const;
    // Whether any calendar of the schedule has events.
    bool hasScheduleExceptions() const;
    // The first and last day with work (own or inherited; null for no bound). The setters
    // are undoable and change the schedule's own bound.
    KSDateTime startOfSchedule() const;
    void setStartOfSchedule(const KSDateTime& date);
    KSDateTime endOfSchedule() const;
    void setEndOfSchedule(const KSDateTime& date);
    // The schedule's own week as text: seven items Sunday first, separated by ";", each a
    // day's spans in seconds ("28800,43200,46800,61200") or "-" for an inherited day.
    std::string standardHoursString() const;
    void setStandardHoursString(const std::string& text);
    // The schedule that this resource's schedule inherits from: the parent's, or null.
    std::shared_ptr<KSSchedule> inheritedScheduleForSchedule() const;

    // --- Calendars as attributes -----------------------------------------------------------
    // The text form of the "Time Off" / "Overtime" calendar (KSCalendar's
    // internalChangeString); that of an empty calendar when there is none.
    std::string timeOffString() const;
    std::string overtimeString() const;
    // Replace the events of that calendar (made when missing) between the schedule's change
    // brackets, so that undo puts them back and the dates they feed are invalidated. Text
    // that KSCalendar refuses changes nothing: false, a line in the log and `error`.
    bool setTimeOffString(std::string_view text, KSError* error = nullptr);
    bool setOvertimeString(std::string_view text, KSError* error = nullptr);
    // Calendar name to text form for every calendar but the two special ones; null when
    // there are none.
    std::optional<KSDictionary> otherCalendarsDict() const;
    // Sets the text of each named calendar, making the missing ones (editable), and removes
    // every other calendar but the two special ones, between the change brackets and
    // undoably; a calendar that is not editable is replaced by a new one with the new
    // events, since its events record no undo. A value that is not a text form KSCalendar
    // reads changes nothing: false and `error`.
    bool setOtherCalendarsDict(const std::optional<KSDictionary>& calendars,
                               KSError* error = nullptr);
    // Adds the events of an iCalendar file as time off, in a calendar that is not editable
    // (KSCalendar::calendarWithContentsOfICSFile), undoably ("Import Calendar"). A calendar
    // read before under the same name gives way to the new one; the new one is renamed
    // ("Holidays 1") when the name belongs to an editable calendar or a special one. A file
    // that cannot be read changes nothing: false and `error`, naming the file and the line.
    bool addCalendarFromICSFile(const std::string& path, KSError* error = nullptr);

    // --- KSScheduleDelegate --------------------------------------------------------------
    // The plan's undo manager, or null outside a plan.
    KSUndoManager* undoManagerForSchedule(KSSchedule& schedule) override;
    // Tell the resource engine and the observers of "hasTrackedChanges",
    // "hasCustomNormalSchedule" and "hasScheduleExceptions"; the did-change also
    // invalidates the dates of the tasks the schedule feeds.
    void scheduleWillChange() override;
    void scheduleDidChange() override;
    // The plan's granularity; exact outside a plan.
    int scheduleGranularity() override;
    // A new schedule of the project's duration formatter's hours per day and per week;
    // null outside a project.
    std::shared_ptr<KSSchedule> genericWorktimeSchedule() override;
    // The schedules of the child resources.
    std::vector<std::shared_ptr<KSSchedule>> childSchedules() override;

    // --- Assignments (shell) ---------------------------------------------------------------
    // In order of arrival.
    const std::vector<std::shared_ptr<KSAssignment>>& assignments() const { return assignments_; }
    // Appends an assignment (nothing for a prototype task), announcing "assignments".
    void _addAssignment(const std::shared_ptr<KSAssignment>& assignment);
    // Removes the assignment by identity, announcing "assignments".
    void _removeAssignment(const std::shared_ptr<KSAssignment>& assignment);

    // The name; null until named.
    const std::optional<std::string>& name() const { return name_; }
    // Undoable ("Set Name") once the resource had a name.
    void setName(const std::optional<std::string>& name);
    // The title of a resource is its name.
    std::optional<std::string> title() const override { return name_; }
    void setTitle(const std::optional<std::string>& title) override { setName(title); }
    // The stored address, or null.
    const std::optional<std::string>& emailAddress() const { return emailAddress_; }
    void setEmailAddress(const std::optional<std::string>& address);
    // 0 staff (the default), 1 equipment, 2 material, 3 group.
    std::int32_t resourceTypeRank() const { return resourceTypeRank_; }
    // Undoable ("Change Resource Type"); a group makes the resource a group. Other ranks,
    // and any change of a group that has children, are ignored.
    void setResourceTypeRank(std::int32_t rank);

    // A new resource with this one's name, address, type and calendar, outside any plan.
    std::shared_ptr<KSResource> copy() const;
    // Joins or leaves a plan, telling both scenarios, and takes the children along.
    // Outside a plan the schedule inherits nothing; inside, from the parent's again.
    void setScenario(KSScenario* scenario) override;
    // A new parent's schedule becomes the one this resource's schedule inherits from.
    void _setParent(KSProjectItem* parent) override;

    TMDifferenceEngine* differenceEngine() const override;
    std::vector<std::string> userDataKeys() const override;
    std::string subclassLocalizedTypeForUndo() const override;
    std::string idPrefix() const override { return "r"; }

private:
    // Puts `schedule` in place of the present one, with its wiring and undo.
    void _setSchedule(std::shared_ptr<KSSchedule> schedule);
    // The parent's schedule, or null.
    std::shared_ptr<KSSchedule> _parentSchedule() const;
    // Whether this is the plan's root resource, whose schedule is the plan's calendar.
    bool _isPlanRootResource() const;
    // Sets the text of a special calendar, announcing `key`.
    bool _setSpecialCalendarString(bool overtime, std::string_view key, std::string_view text,
                                   KSError* error);
    // Puts `calendar` in the schedule under a name no editable or special calendar has,
    // in place of a calendar that is not editable with its name.
    void _placeCalendar(const std::shared_ptr<KSCalendar>& calendar);

    bool isPrototype_ = false;
    std::optional<std::string> name_;
    std::optional<std::string> emailAddress_;
    std::int32_t resourceTypeRank_ = KSResourceTypeRankStaff;
    std::shared_ptr<KSSchedule> schedule_;
    std::vector<std::shared_ptr<KSAssignment>> assignments_;
};

}  // namespace kestrum
