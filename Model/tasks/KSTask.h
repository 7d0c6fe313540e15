// KSTask: a task of the plan: a plain task, a milestone, a group or a hammock.
//
// Tasks stand in a tree under the scenario's root task. A task becomes a group by getting
// a child; a group keeps the totals of its children's effort, effort done, estimates and
// cost, and learns of changes by differences (it never re-sums while editing). Numbers
// are computed lazily: `numericalOrder` counts all tasks in outline order, `wbsNumber`
// gives the hierarchical form. A split task holds its chunks as children and stays one
// line of the outline.
//
// Every setter follows one order: return if unchanged; record the undo; name the action;
// will-change; store; did-change; then the invalidations of the cached dates that the
// field feeds. Dates are caches filled on reading and cleared by the invalidations,
// which also mark the task for the scenario's next recomputation.
//
// The class is large and split by concern over several sources. In Model/tasks/:
// KSTask.cpp (fields, text, status, order), -Types (type changes), -Hierarchy (children,
// roll-up, gathering, joining and leaving a plan), -Numbering, -Effort (effort and
// progress), -Scheduling (schedule type, date setters, recomputation), -Links (the task's
// side of its links), -Loops (dependency loops), -Locks (locks and constraints), -Split.
// In Model/engine/: -Dates (the rules of each date, slack), -Evaluation (the date getters
// and their work list), -Invalidation (the invalidation walks). In Model/xml/: -XML (the
// task element, which copies also go through).
//
//   auto group = std::make_shared<KSTask>();
//   scenario->rootTask()->addChildTask(group);
//   auto task = std::make_shared<KSTask>();
//   group->addChildTask(task);        // group->effort() now includes task->effort()
//   task->setEffort(3 * 3600.0);      // "Set Effort"; the group's total follows
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "Model/project/KSProjectItem.h"
#include "Model/tasks/KSTaskEnums.h"
#include "Model/worktime/KSDateTime.h"
#include "Platform/core/KSNotificationName.h"
#include "Platform/xml/XMLArchiving.h"

namespace kestrum {

class HLStyle;
class KSAssignment;
class KSCriticalPath;
class KSDependency;
class KSDependencyLoopError;
enum KSDependencyKind : std::int32_t;
class KSIssue;
class KSResource;
class KSScheduling;
class KSTask;

using KSTaskList = std::vector<std::shared_ptr<KSTask>>;
using KSTaskPointerSet = std::unordered_set<const KSTask*>;
using KSDependencyList = std::vector<std::shared_ptr<KSDependency>>;

// Posted before a task's cached dates are cleared; object: the task.
extern const KSNotificationName KSTaskWillInvalidateDatesNotification;
// Posted after a start lock was set or cleared; object: the task.
extern const KSNotificationName
    KSTaskStartDateStateChangeNotification;  // "start date state change"
// Posted after an end lock was set or cleared; object: the task.
extern const KSNotificationName KSTaskEndDateStateChangeNotification;  // "end date state change"

// The earned-value keys: "ev_" and the stem of the figure's operation.
extern const char* const KSTaskEarnedValue_BCWS;  // "ev_budgetedCostOfWorkScheduled"
extern const char* const KSTaskEarnedValue_BCWP;  // "ev_budgetedCostOfWorkPerformed"
extern const char* const KSTaskEarnedValue_ACWP;  // "ev_actualCostOfWorkPerformed"
extern const char* const KSTaskEarnedValue_CV;    // "ev_costVariance"
extern const char* const KSTaskEarnedValue_SV;    // "ev_scheduleVariance"
extern const char* const KSTaskEarnedValue_EAC;   // "ev_estimateAtCompletion"
extern const char* const KSTaskEarnedValue_BAC;   // "ev_budgetedAtCompletion"
extern const char* const KSTaskEarnedValue_VAC;   // "ev_varianceAtCompletion"
extern const char* const KSTaskEarnedValue_CPI;   // "ev_costPerformanceIndex"
extern const char* const KSTaskEarnedValue_SPI;   // "ev_schedulePerformanceIndex"
extern const char* const KSTaskEarnedValue_CVP;   // "ev_costVariancePercent"
extern const char* const KSTaskEarnedValue_SVP;   // "ev_scheduleVariancePercent"
extern const char* const KSTaskEarnedValue_TCPI;  // "ev_toCompletePerformanceIndex"

// The effort of a new task: eight hours, in seconds.
inline constexpr double KSDefaultTaskEffort = 28800.0;
// The largest effort a task takes, in seconds.
inline constexpr double KSMaximumTaskEffort = 691200000.0;

class KSTask : public KSProjectItem, public XMLArchiving {
    KS_DECLARE_CLASS()
public:
    // A plain task with the default effort, no title, number -1, outside any plan.
    KSTask();
    ~KSTask() override;

    // --- Class-wide -------------------------------------------------------------------
    // Whether split tasks show as groups to the outside; off by default.
    static bool showSplitsAsGroups();
    static void setShowSplitsAsGroups(bool flag);
    // "kestrum://localhost<path>/task/<ids>" for the last task's document; null when that
    // document has no file path.
    static std::optional<std::string> urlForTasks(const KSTaskList& tasks);

    // --- Type -------------------------------------------------------------------------
    // The type; a split task answers task whatever is stored.
    KSTaskType taskType() const;
    // The type as stored.
    KSTaskType storedTaskType() const { return taskType_; }
    void setTaskType(KSTaskType type);
    void setTaskTypeSplitTask(KSTaskType type, bool splitTask);
    // The one door for a change of type or of split state (undoable, "Set Task Type").
    // `splitChildren`, when given, become the chunks of a task that becomes split.
    void setTaskTypeSplitTaskWithSplitChildren(KSTaskType type, bool splitTask,
                                               const std::optional<KSTaskList>& splitChildren);
    // The archive word of the type.
    std::string taskTypeString() const;
    // The localized type word; "Plan" for the root.
    std::string localizedTaskTypeString() const;
    // The localized plural; "Plans" for the root.
    std::string localizedPluralTaskTypeString() const;
    // Runs after a type change: refreshes the style and announces "scheduleType".
    void taskTypeChanged();
    // A split task is no group unless splits show as groups; otherwise a children list.
    bool isGroup() const;
    // Makes the task a group (true) or a plain task (false).
    void setIsGroup(bool flag);
    bool isMilestone() const { return taskType_ == taskTypeMilestone; }
    bool isHammockTask() const { return taskType_ == taskTypeHammock; }
    // Stored type task and not a chunk.
    bool isStandardTask() const { return taskType_ == taskTypeTask && !flags_.isSplitChunk; }
    // Whether the children list is non-empty.
    bool hasChildren() const { return countOfChildren() > 0; }
    bool isSplitTask() const { return isSplitTask_; }
    bool isSplitChunk() const { return flags_.isSplitChunk; }
    bool isNotSplitChunk() const { return !flags_.isSplitChunk; }
    // May be split: the stored flag, and false for anything but a plain task.
    bool isSplittableTask() const { return isSplittableTask_ && taskType() == taskTypeTask; }
    void setIsSplittableTask(bool flag) { isSplittableTask_ = flag; }
    // A plain task not locked at both ends.
    bool allowDurationChange() const;
    // False for a group, and for a chunk whose neighbours would make its progress
    // inconsistent.
    bool allowCompletionChange() const;
    // A hammock needs one prerequisite aligned to its start and one to its end.
    bool canBecomeHammock() const;
    bool _hasBothStartAndEndPrerequisites() const;
    // A prototype is a template of new tasks and never scheduled.
    bool isPrototype() const { return flags_.isPrototype; }
    void setIsPrototype(bool flag) { flags_.isPrototype = flag; }
    // Count in 3 bits, wrapping silently.
    void beginEditing() override;
    void endEditing() override;
    int editingCount() const { return flags_.editingCount; }

    // --- Text -------------------------------------------------------------------------
    // For a chunk "<parent title> #<index + 1>"; otherwise the stored title.
    std::optional<std::string> title() const override;
    // Undoable ("Set Title") except for the first naming; a split task renames its chunks.
    void setTitle(const std::optional<std::string>& title) override;
    // "<localized Task> <title>".
    std::optional<std::string> objectDescription() const override;
    // "<n>)" with flat numbering, else "<wbs>)".
    std::string headingString() const;
    // Announces new headings here, on the links and below.
    void invalidateHeadingStrings();
    // The hierarchical number: "0" for the root, "2.3" for the third child of the second.
    std::string wbsNumber() const;
    // The flat number ("%d").
    std::string numericalOrderString() const;
    // The number that shows: flat or hierarchical by the project's setting.
    std::string positionalIDString() const;
    // urlForTasks with this task alone.
    std::optional<std::string> url() const;
    // "<class> <pointer> <title>".
    std::string shortDescription() const;
    std::string description() const override { return shortDescription(); }

    // --- Priority ---------------------------------------------------------------------
    std::int32_t priority() const { return priority_; }
    // Undoable ("Set Priority"); a split task passes it to its chunks first.
    void setPriority(std::int32_t priority);
    // The priority of a standard task; null for anything else.
    KSValue priorityNumber() const;
    // A null value sets 0.
    void setPriorityNumber(const KSValue& number);

    // --- Locks and constraints (KSTask-Locks.cpp) ---------------------------------------
    // Whether the start is locked; a split task reads its first chunk.
    bool isStartDateLocked() const;
    // Locks the start where it stands (refused with a log line on a group).
    void setIsStartDateLocked(bool flag);
    // Whether the end is locked; a split task reads its last chunk.
    bool isEndDateLocked() const;
    // Locks the end where it stands (refused in silence on a group).
    void setIsEndDateLocked(bool flag);
    const KSDateTime& startLockedDate() const { return startLockedDate_; }
    void setStartLockedDate(const KSDateTime& date);
    const KSDateTime& endLockedDate() const { return endLockedDate_; }
    void setEndLockedDate(const KSDateTime& date);
    // The no-earlier-than slot: a date and the end it binds (start by default).
    const KSDateTime& noEarlierThanConstraintDate() const { return noEarlierThanConstraintDate_; }
    void setNoEarlierThanConstraintDate(const KSDateTime& date);
    KSConstrainedTaskEnd noEarlierThanConstrainedTaskEnd() const { return noEarlierThanEnd_; }
    void setNoEarlierThanConstrainedTaskEnd(KSConstrainedTaskEnd end);
    // The no-later-than slot: a date and the end it binds (end by default).
    const KSDateTime& noLaterThanConstraintDate() const { return noLaterThanConstraintDate_; }
    void setNoLaterThanConstraintDate(const KSDateTime& date);
    KSConstrainedTaskEnd noLaterThanConstrainedTaskEnd() const { return noLaterThanEnd_; }
    void setNoLaterThanConstrainedTaskEnd(KSConstrainedTaskEnd end);
    // Views of the two slots by the end they bind. A null given to a slot that holds the
    // other end's constraint changes nothing.
    KSDateTime startAfter() const;
    void setStartAfter(const KSDateTime& date);
    KSDateTime endAfter() const;
    void setEndAfter(const KSDateTime& date);
    KSDateTime startBefore() const;
    void setStartBefore(const KSDateTime& date);
    KSDateTime endBefore() const;
    void setEndBefore(const KSDateTime& date);
    // "Start no earlier than" or "End no earlier than Type" (localized).
    std::string localizedNoEarlierThanConstraintTypeName() const;
    // "Start no later than" or "End no later than Type" (localized).
    std::string localizedNoLaterThanConstraintTypeName() const;
    // Moves every stored date of the subtree by `days` when the plan's anchor moves.
    void projectStartWillChangeBy(std::int64_t days);

    // --- Status -----------------------------------------------------------------------
    // Completed, or due against today (from the clock); none with generic dates.
    KSTaskStatus status() const;
    // "Status", "Status tool tip" and "Abridged Status".
    KSDictionary statusDictionary() const;
    // The end's day number minus today's.
    std::int64_t daysUntilDue() const;
    // A milestone below 1.0 done here or anywhere below.
    bool _containsUncompletedMilestone() const;

    // --- Life -------------------------------------------------------------------------
    // A copy through the file form; with `includingSubtasks` the whole subtree.
    std::shared_ptr<KSTask> copyIncludingSubtasks(bool includingSubtasks) const;
    // A copy of this task alone.
    std::shared_ptr<KSTask> copy() const { return copyIncludingSubtasks(false); }
    // The copy's two halves: writes this task (with its subtasks when asked) to a private
    // XML document and reads it into `target`, which the caller has prepared (scenario,
    // prototype flag). False when the write or the read failed.
    bool copyIntoTaskIncludingSubtasks(KSTask& target, bool includingSubtasks) const;
    // Writes the task into the element on top of `document`, with the children that
    // `subset` holds (all with null) as nested "task" elements.
    bool writeContentsXMLIncludingSubtasks(BKXMLDocument& document, const KSTaskPointerSet* subset,
                                           KSBaseObject* attachmentArchiveContext, KSError* error);
    // XMLArchiving: the task with all its subtasks.
    bool writeContentsXML(BKXMLDocument& document, KSBaseObject* attachmentArchiveContext,
                          KSError* error) override;
    // Fills a new task from its element, as the file reader does: quietly, then re-summed.
    bool readContentsXML(BKXMLCursor& cursor, KSBaseObject* attachmentArchiveContext,
                         KSError* error) override;
    std::string classXMLElementName() const override { return "task"; }
    // Joins or leaves a plan: issue counts, links, assignments and the change engine.
    void setScenario(KSScenario* scenario) override;
    // Leaves the plan: links and assignments go first, then the tree, then the engine.
    void deleteSelf() override;
    void deleteTask() { deleteSelf(); }
    // Deletes this task unless `keep` holds it; otherwise applies to the children, last
    // first.
    void _removeTasksAbsentFromSet(const KSTaskPointerSet& keep);
    std::string subclassLocalizedTypeForUndo() const override;
    KSResourceAssignmentType resourceAssignmentType() const { return resourceAssignmentType_; }
    // Undoable ("Set Resource Assignment Type").
    void setResourceAssignmentType(KSResourceAssignmentType type);
    // Clears leveled dates, specific assignments and leveling issues of the tasks in
    // `tasks` (null: all) in this subtree.
    void clearLevelingForTasks(const KSTaskPointerSet* tasks);

    // --- Order ------------------------------------------------------------------------
    int compareByPosition(const KSTask& other) const;
    // The same comparison as compareByPosition, not its reverse.
    int compareByReversePosition(const KSTask& other) const;
    int compareByStartDate(const KSTask& other) const;
    int compareByEndDate(const KSTask& other) const;
    int compareByEffort(const KSTask& other) const;
    // Scheduling order: the plan's direction first, then higher priority, then position.
    int compareByPriority(const KSTask& other) const;
    int compareByReversePriority(const KSTask& other) const;
    // The longer working span between the absolute limits first.
    int compareByMostSlack(const KSTask& other) const;

    // --- Styles -----------------------------------------------------------------------
    // The project styles a task's style cascades from, by type and status.
    std::vector<std::shared_ptr<HLStyle>> cascadeStyles() const;

    // --- Children (KSTask-Hierarchy.cpp) -------------------------------------------------
    void addChildTask(const std::shared_ptr<KSTask>& task);
    void insertChildTaskAtIndex(const std::shared_ptr<KSTask>& task, std::size_t index);
    // By identity; a task that is no child is ignored.
    void removeChildTask(const std::shared_ptr<KSTask>& task);
    void replaceChildTaskAtIndexWithTask(std::size_t index, const std::shared_ptr<KSTask>& task);
    // Turns this task into a group when needed, rolls the child's totals up and
    // invalidates only the dates the child can extend.
    void insertObjectInChildrenAtIndex(const std::shared_ptr<KSProjectItem>& item,
                                       std::size_t index) override;
    // Rolls the child's totals out and invalidates the dates it may have set.
    void removeObjectFromChildrenAtIndex(std::size_t index) override;
    void replaceObjectInChildrenAtIndexWithObject(
        std::size_t index, const std::shared_ptr<KSProjectItem>& item) override;
    void _setParent(KSProjectItem* parent) override;
    // The parent as a task.
    KSTask* parentTask() const;
    std::shared_ptr<KSTask> childTaskAtIndex(std::size_t index) const;
    void childrenDidChange() override;
    void positionDidChange() override;
    // Set while the file reader fills the task; ending it re-sums a group.
    bool isLoading() const { return flags_.isLoading; }
    void setIsLoading(bool flag);

    // --- Roll-up ------------------------------------------------------------------------
    // A child's effort and effort done changed by these differences (seconds).
    void _childDidChangeEffortAndDone(KSTask* child, double effortDelta, double doneDelta);
    void _childDidChangeEstimateMinExpectedMax(KSTask* child, double minDelta, double expectedDelta,
                                               double maxDelta);
    void _childDidChangeStaticCost(KSTask* child, double delta);
    // A group's is its children's sum, a chunk's its share of its split task's by effort.
    double staticCost() const;
    // The cost of the work assigned: a group or split task sums its children's.
    double assignmentsCost() const;
    // staticCost plus assignmentsCost.
    double totalCost() const { return staticCost() + assignmentsCost(); }
    // Undoable ("Set Task Cost") on a task that is no group.
    void setStaticCost(double cost);
    void _internalSetStaticCost(double cost);

    // --- Numbers (KSTask-Numbering.cpp) --------------------------------------------------
    // The flat number; 0 for the root, renumbering first when the plan asks for it.
    std::int32_t numericalOrder() const;
    virtual void recomputeNumericalOrder();
    // Numbers this subtree from `number`; answers the next free number.
    std::int32_t _updateNumericalOrderWithNumberAncestorChangedPositionFlatMode(
        std::int32_t number, bool ancestorChangedPosition, bool flatMode);

    // --- Gathering ----------------------------------------------------------------------
    void addDescendentsWithResourcesToArray(KSTaskList& array) const;
    void addStandardTaskDescendentsToArray(KSTaskList& array) const;
    void addStandardTaskAndMilestoneDescendentsToArray(KSTaskList& array) const;
    void addLeafTasksToArray(KSTaskList& array) const;
    // On the root, all leaf tasks; on any other task null.
    std::optional<KSTaskList> leafDescendentSet() const;
    KSTaskList milestones() const;
    KSTaskList tasksWithName(const std::string& name) const;
    KSTaskList unassignedTasks() const;
    KSTaskList allTasksButSelf() const;

    // --- Change hooks ---------------------------------------------------------------------
    // Silent while loading or while the plan levels resources.
    void willChangeValueForKey(std::string_view key) override;
    void didChangeValueForKey(std::string_view key) override;
    void willChangeValueForKeyWithSetMutationUsingObjects(std::string_view key,
                                                          KSKeyValueSetMutationKind kind,
                                                          const KSArray& objects) override;
    void didChangeValueForKeyWithSetMutationUsingObjects(std::string_view key,
                                                         KSKeyValueSetMutationKind kind,
                                                         const KSArray& objects) override;
    TMDifferenceEngine* differenceEngine() const override;
    std::vector<std::string> userDataKeys() const override;
    std::string idPrefix() const override { return "t"; }
    std::string xmlElementName() const override { return "task"; }

    // --- Effort and progress (KSTask-Effort.cpp) ------------------------------------------
    // Seconds of work; the sum of the children for a group.
    double effort() const { return effort_; }
    // 0 when effort is 0 (the stored value is then a completed fraction).
    double effortDone() const { return effort_ == 0.0 ? 0.0 : effortDone_; }
    // The stored effort done, whatever the effort.
    double storedEffortDone() const { return effortDone_; }
    double effortRemaining() const { return effort_ == 0.0 ? 0.0 : effort_ - effortDone_; }
    double minEffortEstimate() const { return minEffortEstimate_; }
    double expectedEffortEstimate() const { return expectedEffortEstimate_; }
    double maxEffortEstimate() const { return maxEffortEstimate_; }
    // Rounds to whole seconds and caps at KSMaximumTaskEffort; refused on a group or
    // below 0 with an error for the user.
    void setEffort(double effort);
    // The one place where effort is written and the dates follow.
    void _internalChangeEffort(double effort);
    void setMinEffortEstimate(double value);
    void setExpectedEffortEstimate(double value);
    void setMaxEffortEstimate(double value);
    void _updateEffortFromEstimates();
    // Progress in seconds (a fraction on a task of zero effort); ignored on a group.
    void setEffortDone(double done);
    // Effort remaining; refused on a group or below 0.
    void setEffortRemaining(double remaining);
    // The finished fraction; at most 0.99f while a milestone below is open.
    double completed() const;
    void setCompleted(double fraction);
    long completedPercentage() const;
    void setCompletedPercentage(long percentage);
    bool fullyCompleted() const { return completed() == 1.0; }
    void setFullyCompleted(bool flag) { setCompleted(flag ? 1.0 : 0.0); }
    // The sum of stored done and the count of milestones in this subtree.
    void _completedMilestones(double* doneSum, int* count) const;
    // Working time between the dates with children or assignments, else the effort.
    double duration() const;
    // Refused on a group; measured in the plan's working time from the start.
    void setDuration(double duration);
    // Effort taken from dragging an end; refused when it would be negative.
    void _setEffortBasedOnEndDate(const KSDateTime& date);
    void _setEffortBasedOnStartDate(const KSDateTime& date);
    // Cell wrappers: null on a milestone; a null value sets 0.
    KSValue effortNumber() const;
    void setEffortNumber(const KSValue& value);
    KSValue durationNumber() const;
    void setDurationNumber(const KSValue& value);
    KSValue effortDoneNumber() const;
    void setEffortDoneNumber(const KSValue& value);
    KSValue effortRemainingNumber() const;
    void setEffortRemainingNumber(const KSValue& value);

    // --- Schedule type (KSTask-Scheduling.cpp) -------------------------------------------
    // The stored schedule type; a group follows the plan's anchor (ALAP at a fixed end).
    KSScheduleType scheduleType() const;
    // Undoable; passed down to children, and clears the leveled date.
    void setScheduleType(KSScheduleType type);
    bool isAsSoonAsPossible() const { return scheduleType() == scheduleTypeASAP; }
    bool isAsLateAsPossible() const { return scheduleType() == scheduleTypeALAP; }
    // The schedule type for cells; null on a group.
    KSValue scheduleTypeNumber() const;
    // A null value is ignored. On a group the cell is told to read empty again on the
    // next pass of the event loop.
    void setScheduleTypeNumber(const KSValue& number);
    void _swapScheduleTypeNumberBackToNil();

    // --- Dates (KSTask-Dates.cpp) -----------------------------------------------------------
    // Every date is a cache filled on reading (KSTask-Evaluation.cpp) by the rules here.
    // Reading is safe at any time and computes only what was invalidated; a task outside
    // a plan is dated from the generic start.
    KSDateTime startDate();
    KSDateTime endDate();
    // How far the task could move given its neighbours' present dates.
    KSDateTime currentStartLimit();
    KSDateTime currentEndLimit();
    // The start limit with (true) or without (false) the hold of leveled dates, here and
    // up the tree and links; both forms are cached.
    KSDateTime _computeCurrentStartLimitIncludingOppositeScheduling(bool includeOpposite);
    KSDateTime _computeCurrentStartLimitIgnoringDependenciesIncludingOppositeScheduling(
        bool includeOpposite);
    KSDateTime _computeCurrentStartLimitIgnoringDependencies();
    // The end limit; the form without opposite scheduling is not cached.
    KSDateTime _computeCurrentEndLimitIncludingOppositeScheduling(bool includeOpposite);
    KSDateTime _computeCurrentEndLimitIgnoringDependenciesIncludingOppositeScheduling(
        bool includeOpposite);
    KSDateTime _computeCurrentEndLimitIgnoringDependencies();
    // How far the task could move if every neighbour moved too (critical-path limits).
    KSDateTime absoluteStartLimit() { return absoluteStartLimitForCriticalPath(nullptr); }
    KSDateTime absoluteEndLimit() { return absoluteEndLimitForCriticalPath(nullptr); }
    // The same in a critical path's own cache; null `path` means the task's caches.
    KSDateTime absoluteStartLimitForCriticalPath(KSCriticalPath* path);
    KSDateTime absoluteEndLimitForCriticalPath(KSCriticalPath* path);
    // The end reached from the absolute start limit, and the start reached back from the
    // absolute end limit (over all children for a group).
    KSDateTime endForAbsoluteStartLimitForCriticalPath(KSCriticalPath* path);
    KSDateTime startForAbsoluteEndLimitForCriticalPath(KSCriticalPath* path);
    KSDateTime earliestPossibleEnd();
    KSDateTime latestPossibleStart();
    // What resource leveling may not cross; null means no bound (and is cached as such).
    KSDateTime levelingStartLimit();
    KSDateTime levelingEndLimit();
    KSDateTime levelingEarliestPossibleEnd();
    KSDateTime levelingLastPossibleStart();
    // How far leveling may move the task in its own direction; null for no bound.
    KSDateTime levelingLimit();
    // Where leveling starts looking for a place; null against the plan's direction.
    KSDateTime levelingBeginningPoint();
    bool _couldBeSplitForRescheduleDuringLeveling() const;
    // What holds a stuck task's end: tasks and links (KSTask or KSDependency), from the
    // task outward.
    std::vector<std::shared_ptr<KSBaseObject>> chainCausingAbsoluteEndLimit();
    KSTask* _childWithEarliestLevelingEndLimit();
    // The leveled position: a start in a fixed-start plan, an end in a fixed-end plan.
    const KSDateTime& resourceLeveledDate() const { return resourceLeveledDate_; }
    // Only a task with assignments keeps one; clears the delay with a null date.
    void setResourceLeveledDate(const KSDateTime& date);
    KSDateTime resourceLeveledStartDate();
    KSDateTime resourceLeveledEndDate();
    // Seconds of working time by which leveling moved the task.
    double resourceLevelingDelay() const { return resourceLevelingDelay_; }
    // `date` held back by the leveled date, updating the delay.
    KSDateTime _adjustStartForResourceLeveledDate(const KSDateTime& date);
    KSDateTime _adjustEndForResourceLeveledDate(const KSDateTime& date);
    // The task's own conversions between its ends through its schedule.
    KSDateTime endDateForStartDate(const KSDateTime& start);
    KSDateTime startDateForEndDate(const KSDateTime& end);
    // The work-time arithmetic of the task: its assignments', else the plan's; a split
    // task's is its last chunk's. Made on first use and kept in a slot the task owns (a work
    // division lives there) until invalidateSchedule or a move to another plan.
    KSScheduling* schedule() const;
    // The plan's own work time: the root resource's schedule (standard hours outside a plan).
    KSScheduling* scenarioSchedule() const;
    // How many times, on this thread, a rule read a date that was being computed and got
    // its empty cache instead (a hammock read through its own conversions, a loop not
    // broken yet): where this happens, a computation's result depends on the order of
    // reads.
    static std::uint64_t _cyclicDateReads();
    // Debug builds (or KESTRUM_CHECK_DATE_READS): how many times, on this thread, a date
    // computed from the evaluation's work list read a date it had not listed
    // (`_pushDateDependencies` drifted from the rules); always 0 when the check is off.
    static std::uint64_t _uncachedWorkListReads();
    // For tests, on this thread: how deep reads recurse before the work list takes over
    // (1: every date a rule reads goes through the work list; negative: the usual depth).
    static void _setMaximumDirectReadDepth(int depth);
    // The latest such read, as "<date> of \"<task>\" (read by <date> of \"<task>\")".
    static std::string _lastUncachedWorkListRead();
    // Drops the scheduling the task answers with; the next use makes it anew.
    void invalidateSchedule();
    // A resource schedule that the task works by changed (or was replaced): the task drops
    // its scheduling and all its dates.
    void resourceScheduleDidChange();
    bool hasAbsoluteStartLimitChanged() const { return flags_.absoluteStartLimitDidChange; }
    bool hasAbsoluteEndLimitChanged() const { return flags_.absoluteEndLimitDidChange; }
    void resetAbsoluteLimitChangeFlags();

    // --- Slack (KSTask-Dates.cpp), seconds of working time -------------------------------------
    // Room before a neighbour's present date moves.
    double freeSlack();
    // Room before the plan's end (or start) moves.
    double totalSlack();
    // Total slack in a critical path's context, floored at 0.
    double resourceConstrainedTotalSlackForCriticalPath(KSCriticalPath* path);

    // --- Uncompleted work (KSTask-Dates.cpp) ----------------------------------------------------
    // Where the unfinished rest of the work begins.
    KSDateTime uncompletedStartDate();
    // Sets the effort done that puts the rest of the work at `date`.
    void setUncompletedStartDate(const KSDateTime& date);
    double effortDoneForUncompletedStartDate(const KSDateTime& date);
    KSDateTime startDateForUncompletedStartDate(const KSDateTime& date);
    KSDateTime uncompletedStartDateForStartDate(const KSDateTime& date);
    // Units times efficiency over the assignments of working resources.
    double totalUnitEfficiencyAssigned() const;

    // --- Setting dates (KSTask-Scheduling.cpp) ----------------------------------------------
    // Moves the task by its constraints (ASAP start, ALAP end) or by its effort (the
    // derived end); "Set Start Date". Null does nothing.
    void setStartDate(const KSDateTime& date);
    // The mirror of setStartDate; "Set End Date".
    void setEndDate(const KSDateTime& date);
    // Asks for a start: a no-earlier constraint, or a no-later one on the end when the
    // limits already push the task past `date`.
    void setDesiredStartDate(const KSDateTime& date);

    // --- Invalidation (KSTask-Invalidation.cpp) -------------------------------------------------
    // Each clears its cache, marks the task and walks outward; an empty cache stops the
    // walk. The walks keep their own work list: no recursion along chains of links.
    void invalidateAbsoluteStartLimit();
    void invalidateAbsoluteEndLimit();
    void invalidateEarliestPossibleEnd();
    void invalidateLatestPossibleStart();
    void invalidateCurrentStartLimit();
    void invalidateCurrentEndLimit();
    void invalidateStartDate();
    void invalidateEndDate();
    void invalidateAllDates();
    // After a change of length: the limits that read it (through a constraint bound to
    // the other end, a link, a percentage lead, a neighbouring chunk) or a date it moves.
    void _invalidateLimitsReadingLength();
    // After the effort changed from `oldEffort`: the task's own limits, when it gained its
    // first work or lost its last (they are moved into working time only with work).
    void _workDidCrossZero(double oldEffort);

    // --- Edit cycle (KSTask-Scheduling.cpp) ------------------------------------------------
    // Marks the task for recomputation once per cycle (not for prototypes or outside a plan).
    void _needsSchedulingRecomputation();
    // Fills the caches again and announces the dates.
    // After a scheduling pass: a chunk takes its parent's style object, and a style whose
    // cascade no longer matches the task's status gets the new cascade (no undo).
    void _checkStyle();
    virtual void _recomputeScheduling();
    // Settles the plan's dates at once.
    void flushQueuedChanges();
    virtual void undoGroupDidOpen();
    virtual void undoGroupWillClose();
    bool willRevalidateSchedule() const { return flags_.willRevalidateSchedule; }
    void setWillRevalidateSchedule(bool flag) { flags_.willRevalidateSchedule = flag; }
    bool delayingSplitRejoining() const { return flags_.delayingSplitRejoining; }
    KSCriticalPath* criticalPathRoot() const { return nonretainedCriticalPathRoot_; }
    void setCriticalPathRoot(KSCriticalPath* path) { nonretainedCriticalPathRoot_ = path; }
    // Told when a critical path through this task may have changed; announces
    // "criticalPath" (KSTask-CriticalPath.cpp).
    virtual void criticalPathMayHaveChanged();
    // Whether the project's critical path (the root task's) holds the task.
    bool isOnCriticalPath() const;
    // The first enabled path of the plan that holds the task; null for none.
    KSCriticalPath* onCriticalPath() const;
    // The first enabled path that holds both this task and `other`; null for none.
    KSCriticalPath* sharedCriticalPathWithTask(const KSTask& other) const;

    // --- Splitting (KSTask-Split.cpp) -----------------------------------------------------
    KSTask* nextSplitChunk() const;
    KSTask* previousSplitChunk() const;
    // Holds rejoining back until the open undo group closes.
    void delaySplitRejoining();
    void performSplitRejoining();
    void enableSplitRejoining();
    void _performSplitRejoiningPreviouslyDelayed(bool previouslyDelayed);
    // Puts the chunks in start order.
    void _performSplitOrdering();
    void willChangeSplitChunkiness();
    void didChangeSplitChunkiness();
    void _becomeSplitChunk();
    void _notSplitChunk();

    // --- Links (KSTask-Links.cpp) -----------------------------------------------------------
    const KSDependencyList& prerequisites() const { return prerequisites_; }
    const KSDependencyList& dependents() const { return dependents_; }
    // Replaces the links into this task by new ones read from `links` (those whose
    // prerequisite is allowed); the given objects are removed.
    void setPrerequisites(const KSDependencyList& links);
    // Removes every link into this task, last first.
    void clearPrerequisites();
    void setDependents(const KSDependencyList& links);
    void clearDependents();
    // The first link from (to) `task`, or null.
    std::shared_ptr<KSDependency> prerequisiteForTask(const KSTask* task) const;
    std::shared_ptr<KSDependency> dependentForTask(const KSTask* task) const;
    // Everything this task waits for, through links, ancestors and children.
    KSTaskPointerSet prerequisiteChain();
    // The same set as prerequisiteChain (kept so for the tools that ask for it).
    KSTaskPointerSet dependentChain();
    // Whether `task` may become a prerequisite of this task: not itself, not inside this
    // group, not an ancestor, not a chunk of the same split task.
    bool wouldBeAllowedPrerequisite(const KSTask* task) const;
    // Whether this task or one below it has a group dependent joined at its end.
    bool anyGroupsHaveXToFinishDepencencies() const;
    // The neighbours that hold the task where it is now; null when none does (or when
    // the task is locked).
    std::optional<KSTaskList> controllingDependencyTasks();
    // The list hooks; each announces "prerequisites" or "dependents" and invalidates.
    void _addPrerequisite(const std::shared_ptr<KSDependency>& link);
    void _removePrerequisite(const KSDependency& link);
    void _addDependent(const std::shared_ptr<KSDependency>& link);
    void _removeDependent(const KSDependency& link);
    // A link into this task is about to change / has changed.
    void _prerequisiteWillChange(const KSDependency& link);
    void _prerequisiteDidChange(const KSDependency& link);
    // A link out of this task has changed.
    void _dependentDidChange(const KSDependency& link);
    void _updatePrerequisiteAlignments(const KSDependency& link);
    // Whether a link into this task binds its end.
    bool hasEndingPrerequisites() const { return flags_.hasEndingPrerequisites; }
    // The change-tracked text form of the links into this task ("12FS,7SS+3600").
    std::optional<std::string> internalPrerequisitesString() const;
    void setInternalPrerequisitesString(const std::optional<std::string>& text);
    // Links neighbours of `tasks` in outline order; true when a new link was made.
    static bool connectTasksWithDependencyKind(const KSTaskList& tasks, KSDependencyKind kind);
    // Removes every link between members of `tasks`; true when one was.
    static bool disconnectTasks(const KSTaskList& tasks);
    // Whether any link joins two members of `tasks`.
    static bool connectionBetweenTasks(const KSTaskList& tasks);

    // --- Dependency loops (KSTask-Loops.cpp) --------------------------------------------------
    // Breaks the loops of a plan just read: a search of the whole plan from the root.
    void topDownFindDependencyLoops();
    // After the tree changed around this task: links that became illegal go inactive,
    // new loops are broken and fixed ones reactivated.
    void recheckDependencies();
    // Nothing: a plan just read is checked by topDownFindDependencyLoops.
    void initialLoadCheckDependencies() {}
    // Tells the loop checker that a link came into force without its check (turned on
    // directly or by key, or added while loading): every plan searches in full at its
    // next recheck, and no tree is taken as free of loops until then.
    static void loopCheckWasBypassed();
    // Whether rechecks skip the whole-plan search and links skip the depth-first search
    // when neither can find a loop (on by default). Off, every recheck searches the whole
    // plan and every new link runs the full check: a reference for tests and debugging.
    static bool loopSearchShortcuts();
    static void setLoopSearchShortcuts(bool enabled);
    // Tells the loop checker that an inactive link may be allowed back on (a link taken
    // out or turned off, a task leaving its parent, chunks that are chunks no more): the
    // next try to turn links back on goes through the whole plan.
    static void inactiveLinksMayComeBack();

    // --- Assignments (KSTask-Assignments.cpp) -------------------------------------------------
    // The plain assignments, in order (specifics sit in their general assignment).
    const std::vector<std::shared_ptr<KSAssignment>>& assignments() const { return assignments_; }
    bool hasAssignments() const { return !assignments_.empty(); }
    // The plain assignment of `resource`, searching from the last; null when none.
    std::shared_ptr<KSAssignment> assignmentForResource(const KSResource* resource) const;
    // The same, looking among each assignment's specifics too.
    std::shared_ptr<KSAssignment> specificAssignmentForResource(const KSResource* resource) const;
    // The resources at work, with each one's groups below the root and the specifics'
    // resources, by name; a split task asks its first chunk.
    std::vector<std::shared_ptr<KSResource>> assignedResources() const;
    std::vector<std::shared_ptr<KSResource>> assignedSpecificResources() const {
        return assignedResources();
    }
    // The text form ("Ann; Bob {50% of 100%}"); a split task's is its first chunk's.
    std::string assignedResourcesString() const;
    // Removes every assignment and reads the text form in (unknown names make resources).
    void setAssignedResourcesString(const std::string& text);
    // The units of `resource` needed here: a leaf's specific units, or for a group the sum
    // over assignments of its descendants.
    double totalRequirementForResource(const KSResource& resource) const;
    // Adds the resources of this task and of every task below it.
    void recursivelyAddAssignedResourcesToSet(std::unordered_set<KSResource*>& resources) const;
    // Removes every assignment here (and below a group or split task), undoably.
    void clearAssignments();
    // The list hooks of KSAssignment; they announce "assignments" and "unassignedTasks".
    void _addAssignment(const std::shared_ptr<KSAssignment>& assignment);
    void _removeAssignment(const std::shared_ptr<KSAssignment>& assignment);
    // Raises an issue for each resource asked for more units than it has.
    void _calculateAssignmentErrors();
    // A specific's units changed by hand: a both-fixed task splits the rest of its effort.
    void _specificAssignmentUnitsDidChange(KSAssignment* assignment);
    // The units at work are about to change / have changed: costs and texts are announced,
    // a fixed-duration task keeps its duration, and the dates and issues follow.
    void _assignmentUnitsWillChange(KSAssignment* assignment);
    void _unitsAssignedWillChange();
    void _assignmentUnitsDidChange();
    // Scales the units of `assignments` so that they deliver `effort` between the dates.
    void _splitEffortAmongAssignments(
        double effort, const std::vector<std::shared_ptr<KSAssignment>>& assignments);
    // Removes every assignment (undoable).
    void _removeAllAssignments();

    // --- Cost and earned value (KSTask-Cost.cpp) ------------------------------------------------
    // The cost of this task's work against `baseline` (the task of the same id there) on
    // the plan's current editing date; a number, or null where a ratio has no divisor.
    KSValue budgetedCostOfWorkScheduledForBaseline(const KSScenario* baseline);
    KSValue budgetedCostOfWorkPerformedForBaseline(const KSScenario* baseline);
    KSValue actualCostOfWorkPerformedForBaseline(const KSScenario* baseline);
    KSValue costVarianceForBaseline(const KSScenario* baseline);
    KSValue scheduleVarianceForBaseline(const KSScenario* baseline);
    KSValue estimateAtCompletionForBaseline(const KSScenario* baseline);
    KSValue budgetedAtCompletionForBaseline(const KSScenario* baseline);
    KSValue varianceAtCompletionForBaseline(const KSScenario* baseline);
    KSValue costPerformanceIndexForBaseline(const KSScenario* baseline);
    KSValue schedulePerformanceIndexForBaseline(const KSScenario* baseline);
    KSValue costVariancePercentForBaseline(const KSScenario* baseline);
    KSValue scheduleVariancePercentForBaseline(const KSScenario* baseline);
    KSValue toCompletePerformanceIndexForBaseline(const KSScenario* baseline);
    // The figure of an earned-value key ("ev_costVariance"); null for another key.
    KSValue valueForEarnedValueKeyForBaseline(std::string_view key, const KSScenario* baseline);
    // The cost of the work done by `date`: 0 before the start, all of it at the end, and
    // in between the share of the working time.
    double _costOfWorkToDate(const KSDateTime& date);

    // --- Issues -----------------------------------------------------------------------------
    // Sorted by type (errors first) on reading.
    const std::vector<std::shared_ptr<KSIssue>>& issues() const;
    // Adds `issue` and counts it in the plan's errors or warnings.
    void addIssue(const std::shared_ptr<KSIssue>& issue);
    void removeIssue(const std::shared_ptr<KSIssue>& issue);
    // Removes every issue of `kind` (all with null), last first; the counts go to the
    // plan in one call.
    void removeIssuesOfKind(const std::optional<std::string>& kind);
    bool hasIssuesOfKind(const std::optional<std::string>& kind) const;
    // Own issues, then the children's, depth first.
    void addIssuesToArray(std::vector<std::shared_ptr<KSIssue>>& array) const;
    // How many of the task's own issues are errors and warnings.
    void countIssues(int* errors, int* warnings) const;
    // Raises the scheduling issues of the task's present dates (KSTask-Issues.cpp).
    void _computeSchedulingIssues();
    // Every task below this one: its scheduling issues removed and raised anew.
    void recursivelyCheckSchedulingIssues();

private:
    // Explains a task's place from its normalised constraint dates.
    friend class KSTaskConstraint;

    struct Flags {
        unsigned isPrototype : 1 = 0;
        unsigned isSplitChunk : 1 = 0;
        unsigned needToRecheckDependencies : 1 = 0;
        unsigned hasEndingPrerequisites : 1 = 0;
        unsigned issuesAreSorted : 1 = 0;
        unsigned editingCount : 3 = 0;
        unsigned isLoading : 1 = 0;
        unsigned startMark : 2 = 0;
        unsigned endMark : 2 = 0;
        unsigned willRevalidateSchedule : 1 = 0;
        unsigned levelingStartLimitIsValid : 1 = 0;
        unsigned levelingEndLimitIsValid : 1 = 0;
        unsigned absoluteStartLimitDidChange : 1 = 0;
        unsigned absoluteEndLimitDidChange : 1 = 0;
        unsigned delayingSplitRejoining : 1 = 0;
        unsigned implicitlyEditingUnits : 1 = 0;
        unsigned balancingSplitEfforts : 1 = 0;
        unsigned positionDidChange : 1 = 0;
        unsigned alreadySentDatesChangedNotification : 1 = 0;
        unsigned updatingEstimates : 1 = 0;
        // A limit of this task was computed from its own start (end) under a lock.
        unsigned limitsReadOwnStart : 1 = 0;
        unsigned limitsReadOwnEnd : 1 = 0;
    };

    // A group holds its children's totals; a split task holds its chunks' but is no group.
    bool _isGroupTask() const { return KSProjectItem::isGroup() && !isSplitTask_; }
    bool _isUndoingOrRedoing() const;
    // Settings of the plan; a task outside a plan gets their defaults.
    bool _planHasFixedEndDate() const;
    bool _planHasGenericDates() const;
    bool _planUsesFlatNumbering() const;
    double _planDefaultTaskEffort() const;
    KSDateTime _planStartDate() const;
    KSDateTime _planEndDate() const;

    // Reports a user error to the document.
    void _presentError(const std::string& message) const;
    // Names the open undo group only when one is open.
    void _setActionNameIfGrouped(std::string_view name) const;
    // Stores an estimate with its undo and roll-up.
    // Stores an estimate with its undo and roll-up; false when unchanged.
    bool _storeEstimate(double KSTask::*field, double value, std::string_view key,
                        void (KSTask::*setter)(double));
    // Keeps the other estimates and the effort in step after one estimate changed.
    void _estimateDidChange(std::string_view actionName);
    void _childrenTasks(KSTaskList& out) const;
    void _changeInformationFromProjectToProject(KSScenario* oldScenario, KSScenario* newScenario);
    void _recursiveDisconnectFromProject();
    void _recursiveWillRemoveFromProject(KSScenario* scenario);
    void _redistributeSplitDone();
    void _announceDatesAfterRecompute();
    bool _hooksAreQuiet() const;
    void _postWillInvalidateDates();
    void _changeTypeLeavingGroupOrSplit(KSTaskType type, bool wasSplit, bool resetEffort);
    void _becomeGroup(bool wasSplit, bool splitTask);
    void _becomeSplit(const std::optional<KSTaskList>& splitChildren);
    void _changeSplitState(bool splitTask);
    void _unlockBothEnds();
    KSDateTime _normalizedNoEarlierDate();
    KSDateTime _normalizedNoLaterDate();
    // The anchor date of the plan: the stored one, else the generic start or end.
    KSDateTime _planFixedDate() const;
    // Neither group nor split task nor hammock: its ends are one effort apart.
    bool _isPlainTask() const { return !_isGroupTask() && !isSplitTask_ && !isHammockTask(); }
    // A group or split task without children: both its dates are one of its limits.
    bool _datesAreEmptyGroupLimit() const {
        return (_isGroupTask() || isSplitTask_) && countOfChildren() == 0 &&
               startLockedDate_.isNull() && endLockedDate_.isNull();
    }
    bool _hasLockedDate() const { return !startLockedDate_.isNull() || !endLockedDate_.isNull(); }
    void _setResourceLevelingDelay(double delay);
    KSDateTime _startDerivedFromEnd();
    KSDateTime _emptyGroupDate();
    // Adds the keyed attributes of assignments and costs.
    static void _registerAssignmentAttributes(KSClassBuilder<KSTask>& builder);
    // Fills the scheduling slot for the present plan and assignments.
    void _makeScheduling() const;

    // --- Date evaluation (KSTask-Evaluation.cpp) ----------------------------------------
    // The cached dates, one bit each in the evaluation masks.
    enum class DateQuantity : std::uint8_t {
        Start,
        End,
        CurrentStart,
        CurrentStartExcluding,
        CurrentEnd,
        CurrentEndExcluding,
        AbsoluteStart,
        AbsoluteEnd,
        EarliestEnd,
        LatestStart,
        LevelingStart,
        LevelingEnd,
    };
    struct DateNode;
    // Counts a read the work list did not prepare (with the date read check on).
    void _noteUncachedWorkListRead(DateQuantity quantity);
    bool _hasCachedDate(DateQuantity quantity, KSCriticalPath* path) const;
    KSDateTime _cachedDate(DateQuantity quantity, KSCriticalPath* path) const;
    void _storeDate(DateQuantity quantity, KSCriticalPath* path, const KSDateTime& date);
    // Computes and caches one date. Deep chains of reads are handed to an explicit work
    // list that fills what the date needs first, so that the stack stays shallow.
    KSDateTime _evaluateDate(DateQuantity quantity, KSCriticalPath* path);
    void _prepareDatesIteratively(DateQuantity quantity, KSCriticalPath* path);
    // Appends the dates that the rule for `quantity` reads and that are not cached yet.
    void _pushDateDependencies(DateQuantity quantity, KSCriticalPath* path,
                               std::vector<DateNode>& work);
    // The rules, reading what they need through the getters.
    KSDateTime _computeDate(DateQuantity quantity, KSCriticalPath* path);
    KSDateTime _computeStartDate();
    KSDateTime _computeEndDate();
    KSDateTime _computeCurrentStartLimit(bool includeOpposite);
    KSDateTime _computeCurrentEndLimit(bool includeOpposite);
    KSDateTime _computeAbsoluteStartLimit(KSCriticalPath* path);
    KSDateTime _computeAbsoluteEndLimit(KSCriticalPath* path);
    KSDateTime _computeEarliestPossibleEnd();
    KSDateTime _computeLatestPossibleStart();
    KSDateTime _computeLevelingStartLimit();
    KSDateTime _computeLevelingEndLimit();

    // --- Invalidation walks (KSTask-Invalidation.cpp) -----------------------------------
    enum class InvalidationWalk : std::uint8_t {
        AbsoluteStart,
        AbsoluteEnd,
        EarliestEnd,
        LatestStart,
        CurrentStart,
        CurrentStartExcluding,
        CurrentEnd,
        Start,
        End,
    };
    struct InvalidationFrame;
    // Runs one walk and everything it sets off from an explicit work list.
    void _invalidate(InvalidationWalk walk);
    // One step of a walk; false when the walk of `frame` is over. A walk it sets off goes
    // to `next`.
    bool _invalidationStep(InvalidationFrame& frame, bool fixedEnd, InvalidationFrame& next,
                           bool& pushNext);
    // Whether a walk would stop at its first step with nothing to clear or set.
    bool _invalidationWouldStopAtOnce(InvalidationWalk walk) const;
    // After the order or the set of a split task's chunks changed: what reads the
    // neighbours of a chunk, and the first and last chunk.
    void _splitChunksDidChange();
    // After a child changed this task's totals (effort `oldEffort` before): what reads
    // the task's effort and effort done.
    void _rolledUpWorkDidChange(double oldEffort);
    // The next hammock at or after `index` in the dependents whose end limit a link from
    // this task's end (start) pulls; advances `index` past it.
    KSTask* _nextHammockPulledBy(std::size_t& index, bool fromEnd) const;
    // After invalidateAllDates: the walks to the neighbours that read the cleared dates.
    void _invalidateReadersOfAllDates(bool earliestEnd, bool latestStart);
    // Whether limits of this task read its own start (end) through a lock, now or before
    // the last lock change; clears the record.
    bool _takeLimitsReadingOwnStart();
    bool _takeLimitsReadingOwnEnd();

    // --- Dependency loops (KSTask-Loops.cpp) --------------------------------------------
    // A task is two nodes, its start and its end; marks are 0 unvisited, 1 on the path,
    // 2 finished. The searches keep their own work list.
    int _dfsStatusStartNode() const;
    int _dfsStatusEndNode() const;
    // Clears the marks and traversal links of a search. Marks carry the number of the
    // search that set them, so clearing starts a new search number: every mark of an
    // older search reads as clear, in the whole plan at once.
    void _unmarkRecursively();
    // Depth-first visits. With `loopDependency` the search stops at the first loop and
    // stores the link that closed it (or null); without, each loop found is broken.
    bool _dfsVisitStartFromAbortOnLoop(KSTask* enteringTask, KSDependency** loopDependency);
    bool _dfsVisitEndFromAbortOnLoop(KSDependency* dependency, KSDependency** loopDependency);
    // Breaks every loop of the plan, one search per loop (on the root).
    void _dfsSearch();
    // Walks back from this task's node to the target node and deactivates the first link.
    void _foundLoopToStartOfTaskWithDependencyInStartNode(bool toStart, KSTask* task,
                                                          KSDependency* dependency,
                                                          bool inStartNode);
    void _startFollowLoopBackToStartOfTaskForDependencies(bool toStart, KSTask* task,
                                                          KSDependencyList& dependencies);
    void _endFollowLoopBackToStartOfTaskForDependencies(bool toStart, KSTask* task,
                                                        KSDependencyList& dependencies);
    // Whether `link` into this task would close a loop; the other links of the loop go to
    // `loop` when given.
    bool _dependencyWouldCauseDependencyLoop(const KSDependency& link, KSDependencyList* loop);
    // Turns a link into this task off (undoable) with a loop error; `loop` may be null.
    void _deactivatePrerequisiteInLoop(const std::shared_ptr<KSDependency>& link,
                                       const KSDependencyList* loop);
    // Turns it back on when it is allowed and closes no loop any more (undoable).
    void _reactivatePrerequisiteInLoop(const std::shared_ptr<KSDependency>& link,
                                       const KSDependencyList* loop);
    // The last loop error of this task that holds `link`, or null.
    std::shared_ptr<KSDependencyLoopError> _loopIssueForDependency(const KSDependency& link) const;
    void _removeLoopIssueForDependency(const KSDependency& link);
    // Breaks the loops of the whole plan (a search from the root).
    void _findNewDependencyLoops();
    // Tries to reactivate inactive links when the plan has errors.
    void _findFixedDependencyLoops();
    void _topDownFindFixedDependencyLoops();

    struct LoopHit;
    struct LoopProbe;
    // The search from one node, with its own work list; see the _dfsVisit... operations.
    bool _dfsRun(bool startNode, KSTask* enteringTask, KSDependency* dependency, bool abortOnLoop,
                 LoopHit* hit);
    // Walks back from a node along the traversal links to the target node, gathering
    // the links by which end nodes were entered.
    static void _followLoopBack(KSTask* node, bool inStartNode, bool toStart, KSTask* target,
                                KSDependencyList& links);
    // Brings the marks up to the present search (clear when set by an older one).
    void _refreshLoopMarks();
    void _enterStartNode(KSTask* enteringTask);
    void _enterEndNode(KSDependency* dependency);
    // The count of links and tree edges that came into force without a loop check.
    static std::uint64_t _uncheckedLoopGeneration();
    // Whether the top of this task's tree (the root of its plan, or the top of a detached
    // tree) is known to reach no loop.
    bool _treeReachesNoLoop();
    // Whether this task, the top of its tree, is known to reach no active loop.
    bool _reachesNoLoop() const;
    // The tree changes around the loop checker: this task joins a parent or leaves it.
    // Joining may close a loop that no search would find otherwise, or bring inactive
    // links that may come back on; the risk, noted before the recheck and again after it
    // (the parent's list takes the task only then), makes the next searches run in full.
    enum JoinRisk : std::uint8_t { kJoinMayCloseLoop = 1, kJoinBringsInactiveLinks = 2 };
    std::uint8_t _joiningRisk();
    static void _noteJoiningRisk(std::uint8_t risk);
    void _leavingParent();
    static std::uint64_t _linksSettledGenerationNow();
    // While a task's parent is set, its start leads to the parent's start before the
    // parent's list holds it: the probes must know. Answers the task noted before.
    static KSTask* _noteTaskJoiningParent(KSTask* task);

    std::optional<std::string> title_;
    std::int32_t numericalOrder_ = -1;
    std::int32_t priority_ = 0;
    KSTaskType taskType_ = taskTypeTask;
    double effort_ = KSDefaultTaskEffort;
    double effortDone_ = 0.0;
    double minEffortEstimate_ = KSDefaultTaskEffort;
    double expectedEffortEstimate_ = KSDefaultTaskEffort;
    double maxEffortEstimate_ = KSDefaultTaskEffort;
    double fixedDuration_ = 0.0;
    double resourceLevelingDelay_ = 0.0;
    KSCriticalPath* nonretainedCriticalPathRoot_ = nullptr;
    KSDependencyList prerequisites_;
    KSDependencyList dependents_;
    std::vector<std::shared_ptr<KSAssignment>> assignments_;
    KSDateTime resourceLeveledDate_;
    KSDateTime startLockedDate_;
    KSDateTime endLockedDate_;
    KSDateTime noEarlierThanConstraintDate_;
    KSConstrainedTaskEnd noEarlierThanEnd_ = KSConstrainedTaskEndStart;
    KSDateTime noLaterThanConstraintDate_;
    KSConstrainedTaskEnd noLaterThanEnd_ = KSConstrainedTaskEndEnd;
    KSDateTime startDate_;
    KSDateTime endDate_;
    KSDateTime earliestPossibleEnd_;
    KSDateTime latestPossibleStart_;
    KSDateTime currentStartLimit_;
    KSDateTime currentStartLimitExcludingOppositeScheduling_;
    KSDateTime currentEndLimit_;
    KSDateTime absoluteStartLimit_;
    KSDateTime absoluteEndLimit_;
    KSDateTime levelingStartLimit_;
    KSDateTime levelingEndLimit_;
    KSDateTime uncompletedStartDate_;
    KSScheduleType scheduleType_ = scheduleTypeASAP;
    bool isSplitTask_ = false;
    bool isSplittableTask_ = true;
    KSResourceAssignmentType resourceAssignmentType_ = KSResourceAssignmentFixedEffort;
    double staticCost_ = 0.0;
    Flags flags_;
    KSTask* nonretainedStartTraversal_ = nullptr;
    KSDependency* nonretainedEndTraversal_ = nullptr;
    // Dates being computed, and dates waiting on the evaluation work list (one bit per
    // DateQuantity): a rule that reads its own date again gets the empty cache.
    std::uint16_t datesBeingComputed_ = 0;
    std::uint16_t datesBeingPrepared_ = 0;
    // The loop search whose marks the flags hold.
    std::uint32_t loopSearchNumber_ = 0;
    // The probe whose visit bits loopProbeBits_ holds (see LoopProbe).
    std::uint32_t loopProbeNumber_ = 0;
    std::uint8_t loopProbeBits_ = 0;
    // For the top of a tree: the count of unchecked edges as of which no active loop can
    // be reached from this task's end node; 0 when unknown. A new task reaches none.
    std::uint64_t loopFreeGeneration_ = _uncheckedLoopGeneration();
    // For a plan's root: the count of changes that may free links (see
    // inactiveLinksMayComeBack) as of which no inactive link of the tree can come back on.
    std::uint64_t linksSettledGeneration_ = _linksSettledGenerationNow();
    mutable std::vector<std::shared_ptr<KSIssue>> issues_;
    // What schedule() answers, and the plan it was made in: the plan's calendar (shared
    // with the root resource) until assignments bring work divisions, which it then owns.
    mutable std::shared_ptr<KSScheduling> scheduling_;
    mutable const KSScenario* schedulingScenario_ = nullptr;
};

}  // namespace kestrum
