// KSScenario: one version of the plan, and the edit cycle that keeps it scheduled.
//
// A scenario owns the task tree (under `rootTask`), the resource tree (under
// `rootResource`), the three difference engines and the critical paths. Tasks only say
// that they need recomputing (taskNeedsSchedulingRecomputation); the scenario decides
// when: on the deferred call it asks for on the event loop, or when the undo group
// closes, whichever comes first. A recomputation runs the marked tasks until no task is
// left, levels resources at most once, recalculates the critical paths, and
// projectDidChange posts "KSProjectDidChangeNotification" once per pass.
//
// Around each undo group that touched tasks needing it, the scenario sends them
// undoGroupDidOpen and undoGroupWillClose, and records the pair so that undo and redo
// bracket the same tasks the same way.
//
// The plan is anchored at its start or its end (KSScenario-Anchor.cpp): a real date, or
// generic dates in a fixed week of 2001. New tasks and resources come from prototypes with
// unique default names, and lookups find items by id, position, number and name
// (KSScenario-Lookup.cpp).
//
//   auto scenario = std::make_shared<KSScenario>();
//   project->addScenario(scenario);          // setProject: roots, engines, observers
//   scenario->rootTask()->insertObjectInChildrenAtIndex(task, 0);
//   KSRunLoop::current().runOnce();          // closes the group, recomputes
//   scenario->setStartDate(date);            // generic to real: the plan moves along
//   auto next = scenario->newTaskOfType(taskTypeTask);   // "Task 5" after "Task 4"
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Model/project/KSObject.h"
#include "Model/project/KSTaskSet.h"
#include "Model/tasks/KSTaskEnums.h"
#include "Model/worktime/KSDateTime.h"
#include "Model/worktime/KSScheduleGranularity.h"
#include "Platform/core/KSNotificationName.h"

namespace kestrum {

class KSCriticalPath;
class KSDateFormatter;
class KSDifferenceEngine;
class KSIssue;
class KSProjectItem;
class KSResource;
class KSSchedule;
class KSTask;
class TMDifferenceEngine;
struct KSNotification;

// Posted once per pass of the event loop after a scenario changed; object: the scenario.
extern const KSNotificationName KSProjectDidChangeNotification;
// Posted when a scenario is invalidated; object: the scenario.
extern const KSNotificationName KSProjectInvalidateNotification;

// "exact", "hours" or "days".
std::string KSScheduleGranularityArchiveString(KSScheduleGranularity granularity);
// The granularity of an archive string; anything unknown reads as exact.
KSScheduleGranularity KSScheduleGranularityFromArchiveString(std::string_view text);

class KSScenario : public KSObject {
    KS_DECLARE_CLASS()
public:
    // A detached scenario named "Actual"; setProject attaches it.
    KSScenario();
    ~KSScenario() override;

    // --- Lifecycle ----------------------------------------------------------------------
    // The owner (not retained), or null once invalidated or removed.
    KSProject* project() const override { return nonretainedProject_; }
    // Attaches to `project` (the roots, engines and undo observers are made anew), or
    // detaches with null.
    void setProject(KSProject* project);
    // Ends the scenario: roots detached, engines cleared, "KSProjectInvalidate" posted.
    void invalidate();
    bool isInvalid() const { return flags_.isInvalid; }

    // --- Fields -------------------------------------------------------------------------
    const std::string& name() const { return name_; }
    // Undoable; announced as a change of the project's "scenarioPlaceholders" too, and
    // written into the placeholder that holds the scenario.
    void setName(const std::string& name);
    // The identity; made on first read.
    const std::string& scenarioUUID() const;
    void setScenarioUUID(std::string uuid) { scenarioUUID_ = std::move(uuid); }
    // How finely the plan's calendars place start and end dates; exact on attaching.
    KSScheduleGranularity scheduleGranularity() const { return scheduleGranularity_; }
    // Undoable; every task's dates are worked out again in the new granularity.
    void setScheduleGranularity(KSScheduleGranularity granularity);

    // --- Anchor (KSScenario-Anchor.cpp) -----------------------------------------------------
    // The generic week a plan without a real date sits in: Monday 1 January 2001 at 0:00
    // to Friday 5 January 2001 at 23:59:59.
    static KSDateTime genericStartDate();
    static KSDateTime genericEndDate();
    // The anchor date as stored; null means generic dates.
    const KSDateTime& storedFixedDate() const { return fixedDate_; }
    // Stores the anchor date as read from a file: no shift of the plan, no undo.
    void setStoredFixedDate(const KSDateTime& date);
    // Whether no real anchor date is stored.
    bool hasGenericDates() const { return fixedDate_.isNull(); }
    // Undoable ("Set Generic Dates"). Turning generic dates on passes null to the current
    // side's setter; turning them off anchors the plan at the start of today's work.
    void setHasGenericDates(bool flag);
    // False: the anchor is the plan's start and tasks schedule forward; true: the end.
    bool hasFixedEndDate() const { return hasFixedEndDate_; }
    // Moves the anchor to the other side, keeping the plan where it stands; clears
    // leveling and makes the task and milestone prototypes ALAP (end) or ASAP (start).
    void setHasFixedEndDate(bool flag);
    // Stores the side as read from a file: no shift of the plan, no undo.
    void setStoredHasFixedEndDate(bool flag);
    // The stored anchor date, else the generic date of the anchored side.
    KSDateTime fixedDate() const;
    // Forwards to setStartDate or setEndDate by the anchored side.
    void setFixedDate(const KSDateTime& date);
    // The anchor date when anchored at the start (generic start without one); otherwise
    // the root task's start.
    KSDateTime startDate() const;
    // Anchors the plan's start at `date` (null: generic dates). Undoable ("Set Scenario
    // Start Date"). Going between generic and real dates moves every stored date of the
    // plan by the difference in days; moving a real date to another real date moves none.
    void setStartDate(const KSDateTime& date);
    // The anchor date when anchored at the end (generic end without one); otherwise the
    // root task's end.
    KSDateTime endDate() const;
    // The end-side form of setStartDate (undoable, "Set Scenario End Date"); between
    // generic and real dates the plan moves even by 0 days.
    void setEndDate(const KSDateTime& date);
    // Gives the first scenario of the project whose generic state differs from this one
    // this scenario's anchor date; that scenario passes it on in turn. Nothing while
    // loading.
    void _resetDatesForAllScenarios();
    // Working days of the normal week from the anchor (the end when end-anchored) to the
    // date's day; exceptions are ignored. 0 for the anchor's own day.
    std::int64_t dayIndexOfDate(const KSDateTime& date) const;
    // The day `dayIndex` working days from the anchor, at `hourOfDay` hours.
    KSDateTime dateWithDayIndexAndHourOfDay(std::int64_t dayIndex, float hourOfDay) const;
    // The date the user treats as now; null means today.
    const KSDateTime& currentEditingDate() const { return currentEditingDate_; }
    // Stores the date; a different one posts "KSProjectDidChangeNotification" at once.
    // Not undoable.
    void setCurrentEditingDate(const KSDateTime& date);

    // The formatter of the plan's dates, made with the scenario; its scenario is this one.
    const std::shared_ptr<KSDateFormatter>& sharedDateFormatter() const {
        return sharedDateFormatter_;
    }

    const std::shared_ptr<KSTask>& rootTask() const { return rootTask_; }
    const std::shared_ptr<KSResource>& rootResource() const { return rootResource_; }
    KSDifferenceEngine* taskDifferenceEngine() const { return taskDifferenceEngine_.get(); }
    KSDifferenceEngine* resourceDifferenceEngine() const { return resourceDifferenceEngine_.get(); }
    TMDifferenceEngine* metadataDifferenceEngine() const { return metadataDifferenceEngine_.get(); }

    // Templates of new tasks and resources; each setter marks its template a prototype.
    const std::shared_ptr<KSTask>& prototypeTask() const { return prototypeTask_; }
    void setPrototypeTask(std::shared_ptr<KSTask> task);
    const std::shared_ptr<KSTask>& prototypeMilestone() const { return prototypeMilestone_; }
    void setPrototypeMilestone(std::shared_ptr<KSTask> task);
    const std::shared_ptr<KSTask>& prototypeTaskGroup() const { return prototypeTaskGroup_; }
    void setPrototypeTaskGroup(std::shared_ptr<KSTask> task);
    const std::shared_ptr<KSResource>& prototypeStaffResource() const {
        return prototypeStaffResource_;
    }
    void setPrototypeStaffResource(std::shared_ptr<KSResource> resource);
    const std::shared_ptr<KSResource>& prototypeEquipmentResource() const {
        return prototypeEquipmentResource_;
    }
    void setPrototypeEquipmentResource(std::shared_ptr<KSResource> resource);
    const std::shared_ptr<KSResource>& prototypeMaterialResource() const {
        return prototypeMaterialResource_;
    }
    void setPrototypeMaterialResource(std::shared_ptr<KSResource> resource);
    const std::shared_ptr<KSResource>& prototypeResourceGroup() const {
        return prototypeResourceGroup_;
    }
    void setPrototypeResourceGroup(std::shared_ptr<KSResource> resource);

    // The object creating this scenario while a baseline or file is read (not retained).
    KSBaseObject* loadingContext() const { return nonretainedLoadingContext_; }
    void setLoadingContext(KSBaseObject* context) { nonretainedLoadingContext_ = context; }

    // Running totals of the tasks' issues of type error and warning.
    std::uint32_t errorCount() const { return errorCount_; }
    void setErrorCount(std::uint32_t count) { errorCount_ = count; }
    std::uint32_t warningCount() const { return warningCount_; }
    void setWarningCount(std::uint32_t count) { warningCount_ = count; }
    // Adds signed differences to both totals, announcing "errorCount" and "warningCount".
    void changeErrorsAndWarnings(std::int64_t errors, std::int64_t warnings);

    // --- Roll-ups of the trees (KSScenario-Anchor.cpp) ----------------------------------------
    // The plan's finished fraction, duration and effort (seconds), from the root task.
    double completed() const;
    double duration() const;
    double effort() const;
    // The plan's work calendar: the root resource's schedule.
    const std::shared_ptr<KSSchedule>& schedule() const;
    // Replaces the plan's work calendar by a copy of `schedule` (undoable); the resources'
    // calendars inherit from the copy and every task's dates follow it.
    void copySchedule(const KSSchedule& schedule);
    // The plan's calendar, or how it is read, changed: every task drops its scheduling and
    // its dates, to be worked out again in the edit cycle.
    void planScheduleDidChange();

    // --- New tasks and resources (KSScenario-Anchor.cpp) ------------------------------------
    // newTaskOfTypeIgnorePrototype with the prototypes heeded.
    std::shared_ptr<KSTask> newTaskOfType(KSTaskType type);
    // A new task, milestone or group, not yet in the tree: a copy of the prototype of that
    // type unless ignored or absent, else a fresh one. Its title (or the type's default
    // title, "Task 1" ...) is made unique among the plan's tasks ("Task 5" after "Task 1"
    // and "Task 4"). Null for any other type.
    std::shared_ptr<KSTask> newTaskOfTypeIgnorePrototype(KSTaskType type, bool ignorePrototype);
    // The effort of a new task in seconds: the prototype task's unless ignored or absent,
    // else a working day of the project's effort formatter (8 hours without a project).
    double defaultTaskEffortIgnorePrototype(bool ignorePrototype) const;
    // A prototype in this scenario made from `task` alone (no subtasks) through the file
    // form.
    std::shared_ptr<KSTask> newPrototypeFromTask(const KSTask& task);
    // A new resource of a type rank (0 staff, 1 equipment, 2 material, 3 group): a copy of
    // that type's prototype with a unique name, else a fresh resource of that type. Not
    // yet in the tree.
    std::shared_ptr<KSResource> newResourceOfType(int typeRank);
    // A copy of `prototype` attached to this scenario.
    std::shared_ptr<KSResource> newResourceFromPrototype(const KSResource& prototype);
    // Gives `resource` its name (or "Resource 1" / "Group 1" without one) made unique
    // among the plan's other resources.
    void uniquifyResourceName(KSResource& resource);

    // --- Lookup (KSScenario-Lookup.cpp) -------------------------------------------------------
    // The task with that id, or null (also once it is deleted).
    std::shared_ptr<KSTask> taskWithIdentifier(TMObjectId objectId) const;
    // The tasks found for `ids`, walked from last to first: the result is reversed, and
    // ids not found are skipped.
    std::vector<std::shared_ptr<KSTask>> tasksWithIdentifiers(
        const std::vector<TMObjectId>& ids) const;
    // The resource with that id, or null (also once it is deleted).
    std::shared_ptr<KSResource> resourceWithIdentifier(TMObjectId objectId) const;
    // As tasksWithIdentifiers: reversed, unknown ids skipped.
    std::vector<std::shared_ptr<KSResource>> resourcesWithIdentifiers(
        const std::vector<TMObjectId>& ids) const;
    // The first resource in outline order with exactly that name (never the root).
    std::shared_ptr<KSResource> resourceWithName(const std::string& name) const;
    // The first resource in outline order with exactly that e-mail address.
    std::shared_ptr<KSResource> resourceWithEmailAddress(const std::string& address) const;
    // The task at a dotted outline position ("1.2.3": the third child of the second child
    // of the first task); null when a step is out of range or nothing is named.
    std::shared_ptr<KSTask> taskFromPositionalID(std::string_view positionalID) const;
    // The task with that flat number (0 is the root task); null when there is none.
    std::shared_ptr<KSTask> taskFromNumericalOrder(std::int32_t number) const;
    // The root task and every task below it, in outline order.
    std::vector<std::shared_ptr<KSTask>> allTasks() const;
    // The plain tasks with no assignments.
    std::vector<std::shared_ptr<KSTask>> unassignedTasks() const;
    // Every task's issues, depth first from the root.
    std::vector<std::shared_ptr<KSIssue>> allIssues() const;

    // --- Flags --------------------------------------------------------------------------
    bool isLevelingResources() const { return flags_.isLevelingResources; }
    void setIsLevelingResources(bool flag) { flags_.isLevelingResources = flag; }
    // Set while the scenario's contents are read.
    bool isLoading() const { return flags_.isLoading; }
    void setIsLoading(bool flag) { flags_.isLoading = flag; }
    // The application's edit mode; the model gives it no meaning.
    bool isEditing() const { return flags_.isInEditMode; }
    void setIsEditing(bool flag) { flags_.isInEditMode = flag; }
    // Always false: nothing in the model turns loop testing off.
    bool shortcircuitDependencyLoopTesting() const {
        return flags_.shortcircuitDependencyLoopTesting;
    }
    bool isRecomputingScheduling() const { return flags_.isRecomputingScheduling; }
    bool delayAutoleveling() const { return flags_.delayAutoleveling; }
    // Turning the delay off runs a pass if tasks were scheduled while it was on.
    void setDelayAutoleveling(bool flag);
    bool tasksScheduledWhileAutolevelingDelayed() const {
        return flags_.tasksScheduledWhileAutolevelingDelayed;
    }
    bool pendingChangeNotification() const { return flags_.pendingChangeNotification; }

    // --- Edit cycle ---------------------------------------------------------------------
    // Puts `task` into the revalidation set, asking for a deferred recomputation when
    // the set was empty and no recomputation runs. Prototypes are ignored.
    void taskNeedsSchedulingRecomputation(KSTask& task);
    // Asks for renumbering on the next recomputation.
    void tasksNeedRenumbering();
    // Brackets the open undo group for `task` (undoGroupDidOpen now, undoGroupWillClose
    // when it closes). Ignored while undoing or redoing.
    void taskNeedsUndoNotification(KSTask& task);
    // Renumbers when asked, runs the marked tasks to a fixed point, levels at most once
    // and recalculates the critical paths. Nothing once invalid or without a project.
    void recomputeSchedulingForTasks();
    // Renumbers the task outline when renumbering was asked for.
    void recomputeNumericalOrder();
    // The undo manager's group notifications.
    void _didOpenUndoGroup(const KSNotification* notification);
    void _willCloseUndoGroup(const KSNotification* notification);
    void _didOpenUndoGroupWithTasks(const std::shared_ptr<KSTaskSet>& tasks);
    void _willCloseUndoGroupWithTasks(const std::shared_ptr<KSTaskSet>& tasks);
    // Asks for one "KSProjectDidChangeNotification" on the next pass.
    void projectDidChange();
    // The deferred half of projectDidChange.
    void performProjectChanges();
    // The plan's milestones in outline order (cached).
    const std::vector<std::shared_ptr<KSTask>>& milestones() const;
    void milestonesWillChange();
    void milestonesDidChange();
    // Levels now, or notes that leveling is owed while it is delayed.
    void autolevelingInfoDidChange();
    // Levels the resources of `tasks` (null: all tasks).
    virtual void levelResourcesForTasks(const std::vector<std::shared_ptr<KSTask>>* tasks);
    // The tasks waiting for recomputation.
    const KSTaskSet& tasksNeedingRevalidation() const { return tasksNeedingRevalidation_; }
    // The tasks of the open undo group, or null outside one.
    const std::shared_ptr<KSTaskSet>& tasksNeedingUndoNotification() const {
        return tasksNeedingUndoNotification_;
    }

    // --- Critical paths -------------------------------------------------------------------
    const std::vector<std::shared_ptr<KSCriticalPath>>& criticalPaths() const {
        return criticalPaths_;
    }
    // Adds `path`, replacing one with the same root (undoable).
    void addCriticalPath(const std::shared_ptr<KSCriticalPath>& path);
    // Removes `path` (undoable).
    void removeCriticalPath(const std::shared_ptr<KSCriticalPath>& path);

    // --- Membership callbacks from the trees ----------------------------------------------
    void taskWillBeInserted(KSTask& task);
    void taskWillBeRemoved(KSTask& task);
    void resourceWillBeInserted(KSResource& resource);
    void resourceWillBeRemoved(KSResource& resource);

    // --- Outline state the file keeps: every item shows expanded here --------------------
    bool itemIsExpanded(const KSProjectItem&) const { return true; }
    void setItemIsExpanded(const KSProjectItem&, bool) {}
    bool itemNoteIsExpanded(const KSProjectItem&) const { return true; }
    void setItemNoteIsExpanded(const KSProjectItem&, bool) {}

    // --- Identity towards its own change log ----------------------------------------------
    TMObjectId objectId() const override { return 1; }
    void setObjectId(TMObjectId) override {}
    TMDifferenceEngine* differenceEngine() const override;
    std::vector<std::string> userDataKeys() const override;
    std::string subclassLocalizedTypeForUndo() const override;
    std::string attachmentSubdirectoryName() const override { return "plan"; }
    std::string idPrefix() const override { return "p"; }

    // Every change of the scenario goes to the metadata engine unless it is invalid.
    void willChangeValueForKey(std::string_view key) override;
    void didChangeValueForKey(std::string_view key) override;
    // The project's "hasTrackedChanges" notices are changes of this scenario.
    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath, KSBaseObject* object,
                                                     const KSKeyValueChange& change,
                                                     const void* context) override;

private:
    struct Flags {
        bool pendingChangeNotification = false;
        bool pendingTaskRevalidation = false;
        bool isObservingStyles = false;
        bool isLevelingResources = false;
        bool isInEditMode = false;
        bool isLoading = false;
        bool isInvalid = false;
        bool isTrackingChanges = false;
        bool shortcircuitDependencyLoopTesting = false;
        bool isRecomputingScheduling = false;
        bool delayAutoleveling = false;
        bool tasksScheduledWhileAutolevelingDelayed = false;
        bool tasksNeedRenumbering = false;
    };

    void detachFromProject();
    void attachToProject(KSProject& project);
    void makeRoots();
    void requestDeferredRecomputation();
    void setPrototype(std::shared_ptr<KSTask>& field, std::shared_ptr<KSTask> task);
    void setPrototype(std::shared_ptr<KSResource>& field, std::shared_ptr<KSResource> resource);

    KSProject* nonretainedProject_ = nullptr;
    std::string name_;
    mutable std::string scenarioUUID_;
    KSScheduleGranularity scheduleGranularity_ = KSScheduleGranularityExact;
    KSDateTime fixedDate_;
    bool hasFixedEndDate_ = false;
    KSDateTime currentEditingDate_;
    std::shared_ptr<KSTask> prototypeTask_;
    std::shared_ptr<KSTask> prototypeMilestone_;
    std::shared_ptr<KSTask> prototypeTaskGroup_;
    std::shared_ptr<KSResource> prototypeStaffResource_;
    std::shared_ptr<KSResource> prototypeEquipmentResource_;
    std::shared_ptr<KSResource> prototypeMaterialResource_;
    std::shared_ptr<KSResource> prototypeResourceGroup_;
    std::shared_ptr<KSTask> rootTask_;
    std::shared_ptr<KSResource> rootResource_;
    std::shared_ptr<KSDifferenceEngine> taskDifferenceEngine_;
    std::shared_ptr<KSDifferenceEngine> resourceDifferenceEngine_;
    std::shared_ptr<TMDifferenceEngine> metadataDifferenceEngine_;
    KSBaseObject* nonretainedLoadingContext_ = nullptr;
    Flags flags_;
    std::shared_ptr<KSDateFormatter> sharedDateFormatter_;
    mutable std::optional<std::vector<std::shared_ptr<KSTask>>> milestones_;
    std::vector<std::shared_ptr<KSCriticalPath>> criticalPaths_;
    std::uint32_t errorCount_ = 0;
    std::uint32_t warningCount_ = 0;
    KSTaskSet tasksNeedingRevalidation_;
    std::shared_ptr<KSTaskSet> tasksNeedingUndoNotification_;
};

}  // namespace kestrum
