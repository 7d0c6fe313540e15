// KSDependency: a link from a prerequisite task to a dependent task.
//
// A link ties one end of the prerequisite to one end of the dependent; which ends is its
// kind, stored as two alignment bits. A lead time (seconds of working time, or a fraction
// of the prerequisite's effort) moves the dependent later (positive) or lets it overlap
// (negative). A link is in force while active: the loop checker turns off a link that
// would close a loop and turns it back on when the loop goes.
//
// A ghost is a link object that stands in neither task's list: it serves for parsing,
// comparing and as a value in a user interface until instantiate() puts it in. The date
// operations turn one task's date into a bound on the other task's start (start limits)
// or end (end limits); each answers null for an inactive link.
//
//   auto link = KSDependency::dependencyWithPrerequisiteAndDependentAndKind(
//       design.get(), build.get(), KSDependencyFinishToStart);   // "Create Dependency"
//   link->setLeadTime(3600.0);                                    // one working hour later
//   link->remove();                                               // "Remove Dependency"
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Model/worktime/KSDateTime.h"
#include "Platform/xml/BKObject.h"

namespace kestrum {

class KSCriticalPath;
class KSScheduling;
class KSTask;
class KSUndoManager;

// Which end of each task a link ties: the first word is the prerequisite's side, the
// second the dependent's.
enum KSDependencyKind : std::int32_t {
    KSDependencyStartToStart = 0,
    KSDependencyStartToFinish = 1,
    KSDependencyFinishToStart = 2,
    KSDependencyFinishToFinish = 3,
};

// "SS", "SF", "FS", "FF"; "FS" for a value out of range.
std::string KSDependencyKindArchiveString(KSDependencyKind kind);

// The loop checker's key to turn a link on that it has just checked for loops.
class KSLoopCheckedKey {
    friend class KSTask;
    KSLoopCheckedKey() = default;
};

class KSDependency : public BKObject {
    KS_DECLARE_CLASS()
public:
    using List = std::vector<std::shared_ptr<KSDependency>>;

    // A ghost: active, no lead, in no list. A split chunk at either end is replaced by
    // its split task. Neither task is retained.
    KSDependency(KSTask* prerequisite, KSTask* dependent,
                 KSDependencyKind kind = KSDependencyFinishToStart);
    ~KSDependency() override;

    // --- Names of kinds -------------------------------------------------------------------
    // "Start-to-Start", "Start-to-Finish", "Finish-to-Start", "Finish-to-Finish".
    static std::string localizedDependencyKindString(KSDependencyKind kind);
    // The prerequisite's side alone: "Start" or "Finish".
    static std::string localizedPrerequisiteKindString(KSDependencyKind kind);
    // The dependent's side alone: "Start" or "Finish".
    static std::string localizedDependentKindString(KSDependencyKind kind);

    // --- Making and removing --------------------------------------------------------------
    static std::shared_ptr<KSDependency> ghostDependencyWithPrerequisiteAndDependent(
        KSTask* prerequisite, KSTask* dependent);
    static std::shared_ptr<KSDependency> ghostDependencyWithPrerequisiteAndDependentAndKind(
        KSTask* prerequisite, KSTask* dependent, KSDependencyKind kind);
    // A finish-to-start link put into both tasks (undoable, "Create Dependency").
    static std::shared_ptr<KSDependency> dependencyWithPrerequisiteAndDependent(
        KSTask* prerequisite, KSTask* dependent);
    static std::shared_ptr<KSDependency> dependencyWithPrerequisiteAndDependentAndKind(
        KSTask* prerequisite, KSTask* dependent, KSDependencyKind kind);
    // Removes the last link from `prerequisite` to `dependent`; false when there is none.
    static bool removeDependencyWithPrerequisiteAndDependent(KSTask* prerequisite,
                                                             KSTask* dependent);
    // The undo halves of instantiate and remove; each checks the link's state first.
    static void _instantiateDependency(const std::shared_ptr<KSDependency>& dependency);
    static void _removeDependency(const std::shared_ptr<KSDependency>& dependency);

    // Puts a ghost into both tasks' lists (undoable, "Create Dependency"). Adding may at
    // once deactivate the link when it would close a loop.
    void instantiate();
    // Takes the link out of both tasks' lists, recording its return on `undoManager`
    // (which may differ from the plan's while tasks are deleted); nothing for a ghost.
    void removeWithUndoManager(KSUndoManager* undoManager);
    // removeWithUndoManager with the plan's undo manager.
    void remove();
    // Whether the link stands in both tasks' lists.
    bool isValid() const { return flags_.isValid; }
    bool isRemoved() const { return !flags_.isValid; }
    // The prerequisite's plan's undo manager, else the dependent's; null outside a plan.
    KSUndoManager* undoManager() const;
    // Forgets `task` as either end: the task is going away while the link lives on.
    void _forgetTask(const KSTask* task);

    // --- Ends and kind ----------------------------------------------------------------------
    KSTask* prerequisite() const { return nonretainedPrerequisite_; }
    KSTask* dependent() const { return nonretainedDependent_; }
    KSDependencyKind dependencyKind() const;
    // Undoable on a link in the lists ("Change Dependency Kind").
    void setDependencyKind(KSDependencyKind kind);
    // Sets the prerequisite alignment, then the dependent alignment; ignores values above 3.
    void _setDependencyKind(KSDependencyKind kind);
    bool prerequisiteAlignedToEnd() const { return flags_.prerequisiteAlignedToEnd; }
    void setPrerequisiteAlignedToEnd(bool flag);
    bool dependentAlignedToEnd() const { return flags_.dependentAlignedToEnd; }
    // Forced to false for a dependent that is a group or a milestone.
    void setDependentAlignedToEnd(bool flag);
    // Whether the link is in force; the loop checker turns it off and on.
    bool isActive() const { return flags_.isActive; }
    // Turning a link on here bypasses the loop check: the plans search in full at their
    // next recheck.
    void setIsActive(bool flag);
    // The loop checker's own switch, for a link it has found to close no loop.
    void setIsActive(bool flag, KSLoopCheckedKey);

    // --- Lead time ----------------------------------------------------------------------------
    // Seconds of working time, or a fraction of the prerequisite's effort (0.5 is 50%).
    double leadTime() const { return leadTime_; }
    // Undoable on a link in the lists ("Dependency Lead Time").
    void setLeadTime(double leadTime);
    // True only with the bit set and a lead other than 0.
    bool leadTimeIsPercentage() const { return flags_.leadTimeIsPercentage && leadTime_ != 0.0; }
    void setLeadTimeIsPercentage(bool flag);
    // "+25%" for a percentage; otherwise the sign and the amount as working time.
    std::string leadTimeString() const;
    // The link itself, as the value a lead-time editor works on.
    KSDependency* leadTimeGhostDependency() { return this; }
    // Copies lead time and percentage from `other`.
    void setLeadTimeGhostDependency(const KSDependency& other);
    // `date` moved by the lead time in working time (backwards with `reverse`).
    KSDateTime _adjustDateForLeadTimeReverse(const KSDateTime& date, bool reverse) const;
    // The lead in seconds; a percentage of the prerequisite's duration.
    double _durationChangeForLeadTime() const;

    // --- Date limits (null for an inactive link) -----------------------------------------------
    // The prerequisite's present date as a bound on the dependent's start.
    KSDateTime dateConstraint() const;
    // The prerequisite's start limit ignoring opposite scheduling, as a bound on the
    // dependent's start.
    KSDateTime currentStartLimitConstraintExcludingOppositeScheduling() const;
    // The dependent's present date as a bound on the prerequisite's end.
    KSDateTime currentEndLimitConstraint() const;
    KSDateTime currentEndLimitConstraintExcludingOppositeScheduling() const;
    // The other task's absolute limit in `path`'s context (the tasks' own with null).
    KSDateTime absoluteStartLimitConstraintForCriticalPath(KSCriticalPath* path) const;
    KSDateTime absoluteEndLimitConstraintForCriticalPath(KSCriticalPath* path) const;
    // The other task's leveling limit; null when that is null.
    KSDateTime levelingStartLimitConstraint() const;
    KSDateTime levelingEndLimitConstraint() const;

    // --- Comparing and copying ---------------------------------------------------------------
    // Same prerequisite and dependent ids, kind, lead and percentage; the active state and
    // the lists do not count.
    bool operator==(const KSDependency& other) const;
    bool isEqual(const KSBaseObject& other) const override;
    // The two task pointers combined.
    std::size_t hash() const override;
    // A ghost-like copy with the same tasks, lead and flags (validity included).
    std::shared_ptr<KSDependency> copy() const;
    // By the lead in seconds.
    int compare(const KSDependency& other) const;
    int comparePrerequisiteObjectIds(const KSDependency& other) const;

    // --- Text forms ----------------------------------------------------------------------------
    // "12FS", "7SS+3600", "9FF-0.5%": the prerequisite's id, the kind, the lead.
    std::string internalStringRepresentation() const;
    // The forms of `dependencies` by prerequisite id, joined by ","; null for none.
    static std::optional<std::string> internalStringRepresentationForDependencies(
        const List& dependencies);
    // Ghosts into `dependent` read from such a string; parts naming no task of the plan
    // are skipped.
    static List ghostDependenciesWithInternalStringRepresentationForDependentTask(
        const std::string& text, KSTask* dependent);
    // `text` with the id `from` replaced by `to` wherever a part starts with it.
    static std::string translateTaskIdFromToForInternalStringRepresentation(
        std::int64_t from, std::int64_t to, const std::string& text);
    // {"id", "kind", and with a lead "leadTime" (hours), "leadTimeSeconds", "leadPercentage"}.
    KSDictionary archiveDictionary() const;
    // Reads the kind, the percentage and the lead (as single precision) when present.
    void loadFromArchiveDictionary(const KSDictionary& dictionary);
    std::string description() const override;

private:
    struct Flags {
        bool isValid = false;
        bool isActive = true;
        bool prerequisiteAlignedToEnd = true;
        bool dependentAlignedToEnd = false;
        bool leadTimeIsPercentage = false;
    };

    // The work time of the lead: the prerequisite's for a percentage, else the plan's.
    KSScheduling* _leadTimeSchedule() const;
    void _storeDependentAlignedToEnd(bool flag);
    void _storeIsActive(bool flag);

    KSTask* nonretainedPrerequisite_;
    KSTask* nonretainedDependent_;
    double leadTime_ = 0.0;
    Flags flags_;
};

}  // namespace kestrum
