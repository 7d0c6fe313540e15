// KSResource: something work is assigned to: a person, a machine, a material, or a group.
//
// Resources form a tree under the scenario's root resource, which is a group. A resource
// has a type (KSResourceType), units available, an efficiency (work done in one hour of
// time), a cost per use and per hour, and the assignments that tie it to tasks. A
// group's units, efficiency and costs are derived from its members; a material's units
// are what its assignments use. Joining a scenario tells it resourceWillBeInserted,
// which names a nameless resource ("Resource 1", "Resource 2" ...). Every setter is
// undoable and tells the assignments, which carry the change to their tasks.
//
// A resource may be linked to a card of the user's address book (KSABRecord): its name,
// units, costs and efficiency are then read from and written to the card.
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
#include "Model/resources/KSResourceType.h"
#include "Model/worktime/KSDateTime.h"
#include "Model/worktime/KSScheduleDelegate.h"

namespace kestrum {

class KSABRecord;
class KSAssignedUnitsValue;
class KSAssignment;
class KSCalendar;
class KSError;
class KSResource;
class KSSchedule;
class KSTask;

using KSResourceList = std::vector<std::shared_ptr<KSResource>>;

// Attribute identifiers of resource columns.
extern const char* const KSResourceName;            // "Resource"
extern const char* const KSResourceTypeString;      // "Resource Type"
extern const char* const KSUniqueID;                // "Unique ID"
extern const char* const KSTotalNumber;             // "#"
extern const char* const KSNoteContents;            // "NoteContents"
extern const char* const KSInstantMessage;          // "IM"
extern const char* const KSEfficiency;              // "Efficiency"
extern const char* const KSCostPerUse;              // "Cost/Use"
extern const char* const KSCostPerHour;             // "Cost/Hour"
extern const char* const KSResourceTotalCost;       // "Total Cost"
extern const char* const KSResourceTypeIdentifier;  // "Type"
extern const char* const KSResourceTotalUses;       // "Total Uses"
extern const char* const KSResourceTotalHours;      // "Total Hours"
extern const char* const KSCustomWeek;              // "Custom Work Week"
extern const char* const KSScheduleException;       // "Schedule Exception"
extern const char* const KSAttachments;             // "Attachments"
extern const char* const KSResourceLevel;           // "Resource Level"
extern const char* const KSAssignmentCost;          // "Resources Cost"
extern const char* const KSTime;                    // "Time"
extern const char* const KSStartDate;               // "Start"
extern const char* const KSEndDate;                 // "End"
extern const char* const KSCompleted;               // "%Done"

// The custom properties a linked address-book card keeps for a resource.
extern const char* const KSABResourceCount;        // "com.verdane.Kestrum.ResourceCount"
extern const char* const KSABResourceUseCost;      // "com.verdane.Kestrum.ResourceUseCost"
extern const char* const KSABResourceCostPerHour;  // "com.verdane.Kestrum.ResourceCostPerHour"
extern const char* const KSABResourceEfficiency;   // "com.verdane.Kestrum.ResourceEfficiency"

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

    // The name; null until named.
    const std::optional<std::string>& name() const { return name_; }
    // Undoable ("Set Name") once the resource had a name; cleaned of the assignment text's
    // marks ("{", "[", ";" ...).
    void setName(const std::optional<std::string>& name);
    // The title of a resource is its name.
    std::optional<std::string> title() const override { return name_; }
    void setTitle(const std::optional<std::string>& title) override { setName(title); }
    // The stored address, else the card's primary address, else null.
    std::optional<std::string> emailAddress() const;
    void setEmailAddress(const std::optional<std::string>& address);
    // 0 staff (the default), 1 equipment, 2 material, 3 group.
    std::int32_t resourceTypeRank() const { return resourceType_->rank(); }
    // setResourceType of the type of that rank; other ranks are ignored.
    void setResourceTypeRank(std::int32_t rank);
    // One of the four shared types; staff by default.
    const std::shared_ptr<KSResourceType>& resourceType() const { return resourceType_; }
    // Undoable ("Change Resource Type"). A group with children keeps its type; a group
    // drops its costs, a material its units and hourly cost.
    void setResourceType(const std::shared_ptr<KSResourceType>& type);
    // Changes the type between group and staff as the item becomes or stops being a group.
    void setIsGroup(bool flag);
    bool isStaff() const { return resourceType_->isStaff(); }
    bool isEquipment() const { return resourceType_->isEquipment(); }
    bool isMaterial() const { return resourceType_->isMaterial(); }
    bool isStaffOrGroup() const { return resourceType_->isStaffOrGroup(); }
    // Whether the resource is of the group type.
    bool isGroupResource() const { return resourceType_->isGroup(); }

    // --- Units, efficiency and costs (KSResource-Values.cpp) ----------------------------
    // How many exist at once: a material's is what its assignments use, a group's the sum
    // of its members' (of its materials' when it holds only materials).
    double unitsAvailable() const;
    // Undoable ("Change Units Available"); ignores a negative value and a group.
    void setUnitsAvailable(double units);
    // Whether every child is a material or a group holding only materials (false
    // without children).
    bool groupContainingOnlyMaterials() const;
    // The units as an assigned-units value (a percentage unless material-like).
    std::shared_ptr<KSAssignedUnitsValue> unitsAvailableForBinding() const;
    // Takes an assigned-units value or a number.
    void setUnitsAvailableForBinding(const KSValue& value);
    // Work done in one hour of time: 0 for a material, the units-weighted mean of the
    // working leaves for a group, else as stored (1.0 by default).
    double efficiency() const;
    // Undoable ("Change Efficiency"); a group passes the value to its working leaves.
    void setEfficiency(double efficiency);
    // The efficiency as a number; null for a material, whose setter ignores it.
    KSValue efficiencyPercentage() const;
    void setEfficiencyPercentage(const KSValue& value);
    // Cost each time it is used; a group's is derived from its leaves.
    double costPerUse() const;
    // Undoable ("Change Cost/Use"); a group sets all its leaves. Negative costs are refused.
    void setCostPerUse(double cost);
    // Cost per hour of work; a group's is derived from its leaves.
    double costPerHour() const;
    // Undoable ("Change Cost/Hour"); a group sets all its leaves. Negative costs are refused.
    void setCostPerHour(double cost);
    // The cost of its assignments (and of its members' for a group).
    double currentTotalCost() const;
    // Seconds of time spent on its assignments without specifics (and its members').
    double totalHours() const;
    // Uses: each assignment without specifics counts its units rounded up.
    std::int64_t totalAssignments() const;
    // A group's summary values (units, costs) are about to change / have changed.
    void childWillChangeSummaryValue();
    void childDidChangeSummaryValue();

    // --- Assignments --------------------------------------------------------------------
    // In order of arrival.
    const std::vector<std::shared_ptr<KSAssignment>>& assignments() const { return assignments_; }
    // The tasks of the assignments, by start date.
    std::vector<std::shared_ptr<KSTask>> assignedTasks() const;
    // The first assignment to `task`, or null; all of them.
    std::shared_ptr<KSAssignment> assignmentForTask(const KSTask* task) const;
    std::vector<std::shared_ptr<KSAssignment>> assignmentsForTask(const KSTask* task) const;
    // Appends an assignment (nothing for a prototype task), announcing "assignments".
    void _addAssignment(const std::shared_ptr<KSAssignment>& assignment);
    // Removes the assignment by identity, announcing "assignments".
    void _removeAssignment(const std::shared_ptr<KSAssignment>& assignment);
    // An assignment's units are about to change / have changed (null for "some"): the
    // sums of this resource and its ancestors follow.
    void _assignmentUnitsWillChange(KSAssignment* assignment);
    void _assignmentUnitsDidChange(KSAssignment* assignment);
    // Removes every assignment (undoable).
    void removeAllAssignments();

    // --- Tree (KSResource-Tree.cpp) -------------------------------------------------------
    std::vector<std::shared_ptr<KSResource>> childResources() const;
    // The resources with no children under this one, depth first; itself without children.
    std::vector<std::shared_ptr<KSResource>> leafResources() const;
    // The direct child of that name, or null.
    std::shared_ptr<KSResource> childResourceWithName(const std::string& name) const;
    // Depth first from this resource (never the root) down.
    std::shared_ptr<KSResource> findResourceWithName(const std::string& name) const;
    bool isDescendentOfResource(const KSResource& resource) const;
    std::vector<std::shared_ptr<KSResource>> allResourcesButSelf() const;
    // What leveling must consider, children before parents: no material, no resource of 0
    // units, a group only when one of its members counts.
    std::vector<std::shared_ptr<KSResource>> allResourcesToIncludeInLeveling() const;
    void addDescendentsToIncludeInLevelingToArray(
        std::vector<std::shared_ptr<KSResource>>& array) const;
    // Merges an imported resource into this group by name; the found child, or null when
    // there is none (and nothing changes). Keys of `mapping` that named `other` now name
    // the child.
    std::shared_ptr<KSResource> discardDuplicateResourceUpdateMapping(
        const std::shared_ptr<KSResource>& other,
        std::vector<std::pair<std::string, std::shared_ptr<KSResource>>>* mapping);
    // Summary values follow every change of the children.
    void insertObjectInChildrenAtIndex(const std::shared_ptr<KSProjectItem>& item,
                                       std::size_t index) override;
    void removeObjectFromChildrenAtIndex(std::size_t index) override;
    void replaceObjectInChildrenAtIndexWithObject(
        std::size_t index, const std::shared_ptr<KSProjectItem>& item) override;

    // --- Order and links ----------------------------------------------------------------
    int compareByName(const KSResource& other) const;
    // By the stored values, not the derived ones.
    int compareByEfficiency(const KSResource& other) const;
    int compareByUnitsAvailable(const KSResource& other) const;
    // "kestrum://localhost<path>/resource/<ids>"; null for an unsaved document.
    static std::optional<std::string> urlForResources(const KSResourceList& resources);
    std::optional<std::string> url() const;

    // --- Attributes (KSResource-Attributes.cpp) ------------------------------------------
    // The columns of the identifier table ("Resource", "#", "Total Cost" ...).
    KSValue valueForUndefinedKey(std::string_view key) const override;
    KSValueClass valueClassForIdentifier(std::string_view identifier) const override;
    std::vector<std::string> baseAttributeIdentifiers() const override;
    std::vector<std::string> nonGroupAttributeIdentifiers() const override;
    // The column of an attribute key ("unitsAvailable" is "#"); other keys stand for
    // themselves.
    static std::string _identifierForAttributeKey(std::string_view key);
    // Scrambles the name, address and calendar texts as the base scrambles user data.
    std::int64_t gibberizeWithNumber(std::int64_t number) override;
    // "Resource <name>".
    std::optional<std::string> objectDescription() const override;

    // --- Address book (KSResource-AddressBook.cpp) ---------------------------------------
    const std::shared_ptr<KSABRecord>& addressBookRecord() const { return addressBookRecord_; }
    // Undoable ("Use Address Book Card" / "Stop Using Address Book Card"); a resource with
    // no name or a default one reads the card in.
    void setAddressBookRecord(const std::shared_ptr<KSABRecord>& record);
    // The id of a card that was not found on load; kept so that it stays in the plan.
    const std::optional<std::string>& missingAddressBookUUID() const {
        return missingAddressBookUUID_;
    }
    void setMissingAddressBookUUID(const std::optional<std::string>& uuid) {
        missingAddressBookUUID_ = uuid;
    }
    // Links the card of that id in `book`; false (and the id kept as missing) when there
    // is none.
    bool linkAddressBookRecordWithUniqueId(const std::string& uuid);
    // Whether the card says something else than the resource (true without a card).
    bool addressRecordDiffersFromResourceInfo() const;
    // Reads the card in: name, units, costs and efficiency of a person; name and members
    // of a group.
    void getInfoFromAddressBook();
    // Writes name, units, costs and efficiency back to the card.
    void setInfoIntoAddressBook();
    // The resource of the subtree linked to `record`, or null.
    std::shared_ptr<KSResource> descendentWithAddressBookRecord(const KSABRecord& record);
    // Every address of the card; null without a card or addresses.
    std::optional<std::vector<std::string>> emailAddressList() const;

    // A new resource with this one's name, address, type, values and calendar, outside
    // any plan.
    std::shared_ptr<KSResource> copy() const;
    // Joins or leaves a plan, telling both scenarios, and takes the children along; the
    // assignments of a plan that is left go. Outside a plan the schedule inherits nothing;
    // inside, from the parent's again.
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

    // Adds the keyed attributes of units, costs, efficiency and the sums.
    static void _registerValueAttributes(KSClassBuilder<KSResource>& builder);
    // Stores the type and its group-ness without the type rules.
    void _storeResourceType(const std::shared_ptr<KSResourceType>& type);
    // After a leaf's efficiency changed: recompute and tell the assignments, then the parent.
    void _childEfficiencyDidChange();
    // Tells every assignment, last first.
    void _resourceValuesWillChange();
    void _resourceValuesDidChange();
    // The leaves, appended depth first.
    void _addLeavesToArray(std::vector<std::shared_ptr<KSResource>>& leaves) const;
    std::shared_ptr<KSResource> _childWithAddressBookRecord(const KSABRecord& record) const;
    void _readPersonFromAddressBook();
    void _readGroupFromAddressBook();
    // Sets a cost field with its undo and notices; a group also sets its leaves.
    void _setCost(double KSResource::*field, double cost, const char* key, const char* action,
                  void (KSResource::*setter)(double));

    bool isPrototype_ = false;
    // A group's and a material's values are worked out on each read and stored.
    mutable double unitsAvailable_ = 1.0;
    mutable double efficiency_ = 1.0;
    mutable double costPerUse_ = 0.0;
    mutable double costPerHour_ = 0.0;
    std::optional<std::string> name_;
    // One of the four shared types, which live as long as the program.
    std::shared_ptr<KSResourceType> resourceType_ = KSResourceType::staff();
    std::shared_ptr<KSSchedule> schedule_;
    std::shared_ptr<KSABRecord> addressBookRecord_;
    std::optional<std::string> missingAddressBookUUID_;
    std::vector<std::shared_ptr<KSAssignment>> assignments_;
    std::optional<std::string> emailAddress_;
};

}  // namespace kestrum
