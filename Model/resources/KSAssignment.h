// KSAssignment: one resource's part in one task, with so many units.
//
// An assignment to a group is a general assignment and may hold specific assignments that
// say which members of the group do the work. An assignment is either instantiated (listed
// by its task and its resource, isValid) or a ghost: a plain value connected to nothing,
// as made when a text form is parsed for comparison. Instantiating and removing are
// undoable and keep the object, so undo brings back the very assignment.
//
// The class also owns the two text forms of a task's assignments: the one users see and
// type ("Ann {50%}; Testers [Bob; Cid {25%}]") and the change-log form, by ids and whole
// percents ("12 {50}; 7 [9; 10 {25}]").
//
//   auto a = KSAssignment::assignmentWithTaskAndUnitsOfResource(task.get(), 0.5, ann.get());
//   a->setUnitsAssigned(1.0);                               // "Change Units Assigned"
//   KSAssignment::stringForAssignments(task->assignments());   // "Ann"
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class KSAssignment;
class KSResource;
class KSTask;
class KSUndoManager;

using KSAssignmentList = std::vector<std::shared_ptr<KSAssignment>>;

class KSAssignment : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // A ghost: `units` of `resource` on `task`, connected to neither.
    KSAssignment(KSTask* task, double units, KSResource* resource);
    ~KSAssignment() override;

    // --- Making and removing -----------------------------------------------------------
    // The assignment of `units` of `resource` to `task`, instantiated (undoable,
    // "Assignment"): null for units at or below 0. A chunk assigns to its split task,
    // a group or split task to each leaf (answering null); a resource already assigned
    // has its units changed instead.
    static std::shared_ptr<KSAssignment> assignmentWithTaskAndUnitsOfResource(KSTask* task,
                                                                              double units,
                                                                              KSResource* resource);
    // A ghost with none of those rules.
    static std::shared_ptr<KSAssignment> ghostAssignmentWithTaskAndUnitsOfResource(
        KSTask* task, double units, KSResource* resource);
    // Changes the units of the resource's present assignment, or instantiates a new one.
    static std::shared_ptr<KSAssignment> _internalAssignmentWithTaskAndUnitsOfResource(
        KSTask* task, double units, KSResource* resource);
    static void instantiateAssignment(const std::shared_ptr<KSAssignment>& assignment);
    // Removes an instantiated assignment; a ghost removes the resource's assignment on
    // its task.
    static void removeAssignment(const std::shared_ptr<KSAssignment>& assignment);
    // Removes the resource's assignment from the task (from every leaf of a group or split
    // task); false when there was none.
    static bool removeAssignmentWithTaskAndResource(KSTask* task, KSResource* resource);
    // Copies of the assignments (with their specifics) on `task`, instantiated.
    static void duplicateAssignmentsToTask(const KSAssignmentList& assignments, KSTask* task);

    // --- Text forms --------------------------------------------------------------------
    // "Ann; Bob {50%}; Testers [Cid {25%}]": names, amounts other than one unit,
    // specifics in brackets.
    static std::string stringForAssignments(const KSAssignmentList& assignments);
    // Reads the text form into assignments of `task` (its leaves for a group or split
    // task), instantiated or ghosts. Unknown names make new resources under the root.
    // Text that does not parse ends the parse; what was made stays.
    static KSAssignmentList assignmentsForStringOnTaskInstantiate(std::string_view text,
                                                                  KSTask* task, bool instantiate);
    static KSAssignmentList assignmentsForStringOnTask(std::string_view text, KSTask* task) {
        return assignmentsForStringOnTaskInstantiate(text, task, true);
    }
    // "12 {50}; 7 [9; 10 {25}]": resource ids and whole percents.
    static std::string changeLogStringForAssignments(const KSAssignmentList& assignments);
    // Reads the change-log form; unknown ids are skipped and no resource is made.
    static KSAssignmentList assignmentsForChangelogStringOnTaskInstantiate(std::string_view text,
                                                                           KSTask* task,
                                                                           bool instantiate);
    static KSAssignmentList assignmentsForChangelogStringOnTask(std::string_view text,
                                                                KSTask* task) {
        return assignmentsForChangelogStringOnTaskInstantiate(text, task, true);
    }
    // The change-log form for display: names ("<deleted resource id 7>" for an unknown id)
    // and amounts through the assigned-amount formatter.
    static std::string assignmentStringForChangelogStringOnTask(std::string_view text,
                                                                KSTask* task);
    // For merges whose ids clash: `text` unchanged when it does not hold `from`'s digits,
    // otherwise the rebuilt form, which keeps only separators and brackets.
    static std::string translateResourceIdFromToForChangelogString(std::int64_t from,
                                                                   std::int64_t to,
                                                                   std::string_view text);

    // --- Fields ------------------------------------------------------------------------
    KSTask* task() const { return nonretainedTask_; }
    void setTask(KSTask* task) { nonretainedTask_ = task; }
    KSResource* resource() const { return nonretainedResource_; }
    void setResource(KSResource* resource) { nonretainedResource_ = resource; }
    double unitsAssigned() const { return unitsAssigned_; }
    // Clamped to the resource's units (not for material or while loading); 0 or less
    // removes the assignment. Undoable ("Change Units Assigned"); drops the specifics.
    void setUnitsAssigned(double units);
    // Seconds of the resource's time: units times the task's duration for a resource of
    // efficiency 0, otherwise as the scheduler last stored it.
    double timeSpent() const;
    // Stores; a negative value becomes 0.
    void setTimeSpent(double seconds);
    bool manuallyAdjustingUnitsAssigned() const { return manuallyAdjustingUnitsAssigned_; }
    void setManuallyAdjustingUnitsAssigned(bool flag) { manuallyAdjustingUnitsAssigned_ = flag; }
    // Instantiated: listed by task and resource.
    bool isValid() const { return isValid_; }
    bool isAllAvailableUnits() const { return isAllAvailableUnits_; }

    // --- Costs and time ----------------------------------------------------------------
    // 0 with specifics; else units times cost per use plus hours spent times cost per hour.
    double nonSpecificTotalCost() const;
    // Brings the task's dates up to date first; with specifics, their sum.
    double totalCost() const;
    // Time spent, or the specifics' sum.
    double totalEffort() const;
    // totalEffort divided by the units: 10 hours at 0.5 units last 20 hours.
    double totalDuration() const;

    // --- Specific assignments ----------------------------------------------------------
    // The specifics of a general assignment, or null.
    const std::optional<KSAssignmentList>& specificAssignments() const {
        return specificAssignments_;
    }
    // Replaces the specifics (undoable); any change of the general units drops them.
    void setSpecificAssignments(const std::optional<KSAssignmentList>& specifics);
    // Undoable ("Assignment" / "Remove Assignment").
    void addSpecificAssignment(const std::shared_ptr<KSAssignment>& specific);
    void removeSpecificAssignment(const std::shared_ptr<KSAssignment>& specific);
    // The last specific of `resource`, or null.
    std::shared_ptr<KSAssignment> specificAssignmentForResource(const KSResource* resource) const;
    // True unless a group's units are more than 0.0001 above the specifics' sum.
    bool specificAssignmentsFullySpecified() const;
    KSAssignment* generalAssignment() const { return nonretainedGeneralAssignment_; }
    void setGeneralAssignment(KSAssignment* general) { nonretainedGeneralAssignment_ = general; }

    // --- Life --------------------------------------------------------------------------
    // Lists the assignment with its task (unless specific) and resource (undoable).
    void instantiate();
    // Takes it off task and resource with the assignment's undo manager; a chunk's
    // assignment goes from every chunk of its split task.
    void remove();
    void removeWithUndoManager(KSUndoManager* undoManager);
    // The task's undo manager, else the resource's.
    KSUndoManager* undoManager() const;

    // --- Hooks -------------------------------------------------------------------------
    // The task's length changed: the resource's sums follow.
    void taskDurationDidChange();
    // The resource's units, costs or name are about to change / have changed: an
    // assignment of all its units follows them.
    void resourceValuesWillChange();
    void resourceValuesDidChange();
    // The resource's schedule changed: passed on to the task, whose dates follow.
    void resourceScheduleWillChange() {}
    void resourceScheduleDidChange();
    // The resource's efficiency is about to change / has changed.
    void resourceEfficiencyWillChange();
    void resourceEfficiencyDidChange();

    // --- Order -------------------------------------------------------------------------
    int compareByTaskStartDate(const KSAssignment& other) const;
    int compareByTaskEndDate(const KSAssignment& other) const;
    // Same class, tasks and resources of the same ids, exactly equal units.
    bool isEqual(const KSBaseObject& other) const override;
    std::string description() const override;

    // Called on a specific that leaves its general assignment.
    void _removalFromGeneralAssignment();
    // Takes it off task and resource without the split-task rule.
    void _internalRemoveWithUndoManager(KSUndoManager* undoManager);

private:
    static std::shared_ptr<KSAssignment> _make(KSTask* task, double units, KSResource* resource);
    std::shared_ptr<KSAssignment> _self() { return sharedFromThis<KSAssignment>(); }

    KSTask* nonretainedTask_;
    KSResource* nonretainedResource_;
    std::optional<KSAssignmentList> specificAssignments_;
    KSAssignment* nonretainedGeneralAssignment_ = nullptr;
    double unitsAssigned_;
    double timeSpent_ = 0.0;
    bool manuallyAdjustingUnitsAssigned_ = false;
    bool isValid_ = false;
    bool isAllAvailableUnits_ = false;
};

}  // namespace kestrum
