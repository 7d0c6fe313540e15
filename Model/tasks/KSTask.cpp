// KSTask: fields, keyed access, text, priority, status, order, styles, hooks and issues.
#include "Model/tasks/KSTask.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "Model/changes/KSDifferenceEngine.h"
#include "Model/engine/KSIssue.h"
#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/worktime/KSScheduling.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSURL.h"
#include "Platform/styles/HLStyle.h"

namespace kestrum {

const KSNotificationName KSTaskWillInvalidateDatesNotification(
    "KSTaskWillInvalidateDatesNotification");
const KSNotificationName KSTaskStartDateStateChangeNotification("start date state change");
const KSNotificationName KSTaskEndDateStateChangeNotification("end date state change");

namespace {

bool gShowSplitsAsGroups = false;

int compareValues(double a, double b) {
    return a < b ? KSOrderedAscending : (a > b ? KSOrderedDescending : KSOrderedSame);
}

KSValue dateValue(const KSDateTime& date) {
    return date.isNull() ? KSValue() : KSValueTraits<KSDateTime>::toValue(date);
}

// Date getters fill their caches, so a keyed read of a computed date calls them on a task
// that the table holds as const.
KSTask& mutableTask(const KSTask& task) {
    return const_cast<KSTask&>(task);
}

// A keyed write of a date: a platform date becomes a KSDateTime, null a null date; any
// other value is refused.
bool setDate(KSTask& task, const KSValue& value, void (KSTask::*setter)(const KSDateTime&)) {
    KSDateTime date;
    if (!KSValueTraits<KSDateTime>::fromValue(value, &date)) return false;
    (task.*setter)(date);
    return true;
}

void computedDate(KSClassBuilder<KSTask>& b, const char* key, KSDateTime (KSTask::*getter)()) {
    b.custom(key, KSValue::Type::Date,
             [getter](const KSTask& t) { return dateValue((mutableTask(t).*getter)()); });
}

// A cell value: a number or null, written as the cell's setter takes it.
void numberCell(KSClassBuilder<KSTask>& b, const char* key, KSValue (KSTask::*getter)() const,
                void (KSTask::*setter)(const KSValue&)) {
    b.custom(key, KSValue::Type::Null, getter, [setter](KSTask& t, const KSValue& v) {
        (t.*setter)(v);
        return true;
    });
}

template <class T>
KSValue objectList(const std::vector<std::shared_ptr<T>>& objects) {
    KSArray list;
    list.reserve(objects.size());
    for (const auto& object : objects)
        list.push_back(KSValue(object));
    return KSValue(std::move(list));
}

}  // namespace

const KSClassInfo& KSTask::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSTask>(
        "KSTask", &KSProjectItem::staticClassInfo(), [](KSClassBuilder<KSTask>& b) {
            b.custom(
                "title", KSValue::Type::String,
                [](const KSTask& t) { return t.title() ? KSValue(*t.title()) : KSValue(); },
                [](KSTask& t, const KSValue& v) {
                    if (v.isNull()) {
                        t.setTitle(std::nullopt);
                        return true;
                    }
                    if (!v.isString()) return false;
                    t.setTitle(v.asString());
                    return true;
                });
            b.attribute("isGroup", &KSTask::isGroup, &KSTask::setIsGroup);
            b.custom(
                "taskType", KSValue::Type::Integer,
                [](const KSTask& t) { return KSValue(static_cast<long long>(t.taskType())); },
                [](KSTask& t, const KSValue& v) {
                    long long type = v.integerValue();
                    if (type < taskTypeTask || type > taskTypeHammock) return false;
                    t.setTaskType(static_cast<KSTaskType>(type));
                    return true;
                });
            b.custom(
                "priority", KSValue::Type::Integer,
                [](const KSTask& t) { return KSValue(static_cast<long long>(t.priority())); },
                [](KSTask& t, const KSValue& v) {
                    t.setPriority(v.isNull() ? 0 : static_cast<std::int32_t>(v.intValue()));
                    return true;
                });
            b.custom("priorityNumber", KSValue::Type::Null, &KSTask::priorityNumber,
                     [](KSTask& t, const KSValue& v) {
                         t.setPriorityNumber(v);
                         return true;
                     });
            b.attribute("effort", &KSTask::effort, &KSTask::setEffort);
            b.attribute("effortDone", &KSTask::effortDone, &KSTask::setEffortDone);
            b.attribute("completed", &KSTask::completed, &KSTask::setCompleted);
            b.attribute("minEffortEstimate", &KSTask::minEffortEstimate,
                        &KSTask::setMinEffortEstimate);
            b.attribute("expectedEffortEstimate", &KSTask::expectedEffortEstimate,
                        &KSTask::setExpectedEffortEstimate);
            b.attribute("maxEffortEstimate", &KSTask::maxEffortEstimate,
                        &KSTask::setMaxEffortEstimate);
            b.attribute("staticCost", &KSTask::staticCost, &KSTask::setStaticCost);
            b.readOnly("effortRemaining", &KSTask::effortRemaining);
            b.readOnly("isPrototype", &KSTask::isPrototype);
            b.readOnly("isMilestone", &KSTask::isMilestone);
            b.readOnly("isSplitTask", &KSTask::isSplitTask);
            b.readOnly("isSplitChunk", &KSTask::isSplitChunk);
            b.readOnly("numericalOrder", &KSTask::numericalOrder);
            b.readOnly("numericalOrderString", &KSTask::numericalOrderString);
            b.readOnly("headingString", &KSTask::headingString);
            b.readOnly("wbsNumber", &KSTask::wbsNumber);
            b.readOnly("positionalIDString", &KSTask::positionalIDString);
            b.custom("status", KSValue::Type::Integer,
                     [](const KSTask& t) { return KSValue(static_cast<long long>(t.status())); });
            // Stored dates: a platform date in and out, null for none.
            b.attribute("startLockedDate", &KSTask::startLockedDate, &KSTask::setStartLockedDate);
            b.attribute("endLockedDate", &KSTask::endLockedDate, &KSTask::setEndLockedDate);
            b.attribute("noEarlierThanConstraintDate", &KSTask::noEarlierThanConstraintDate,
                        &KSTask::setNoEarlierThanConstraintDate);
            b.attribute("noEarlierThanConstrainedTaskEnd", &KSTask::noEarlierThanConstrainedTaskEnd,
                        &KSTask::setNoEarlierThanConstrainedTaskEnd);
            b.attribute("noLaterThanConstraintDate", &KSTask::noLaterThanConstraintDate,
                        &KSTask::setNoLaterThanConstraintDate);
            b.attribute("noLaterThanConstrainedTaskEnd", &KSTask::noLaterThanConstrainedTaskEnd,
                        &KSTask::setNoLaterThanConstrainedTaskEnd);
            b.attribute("resourceLeveledDate", &KSTask::resourceLeveledDate,
                        &KSTask::setResourceLeveledDate);
            b.attribute("startAfter", &KSTask::startAfter, &KSTask::setStartAfter);
            b.attribute("endAfter", &KSTask::endAfter, &KSTask::setEndAfter);
            b.attribute("startBefore", &KSTask::startBefore, &KSTask::setStartBefore);
            b.attribute("endBefore", &KSTask::endBefore, &KSTask::setEndBefore);
            b.attribute("isStartDateLocked", &KSTask::isStartDateLocked,
                        &KSTask::setIsStartDateLocked);
            b.attribute("isEndDateLocked", &KSTask::isEndDateLocked, &KSTask::setIsEndDateLocked);
            // Computed dates are caches: reading one by key computes what was invalidated,
            // as the getter does. The two ends also take a date, as the date setters do.
            b.custom(
                "startDate", KSValue::Type::Date,
                [](const KSTask& t) { return dateValue(mutableTask(t).startDate()); },
                [](KSTask& t, const KSValue& v) { return setDate(t, v, &KSTask::setStartDate); });
            b.custom(
                "endDate", KSValue::Type::Date,
                [](const KSTask& t) { return dateValue(mutableTask(t).endDate()); },
                [](KSTask& t, const KSValue& v) { return setDate(t, v, &KSTask::setEndDate); });
            b.custom(
                "uncompletedStartDate", KSValue::Type::Date,
                [](const KSTask& t) { return dateValue(mutableTask(t).uncompletedStartDate()); },
                [](KSTask& t, const KSValue& v) {
                    return setDate(t, v, &KSTask::setUncompletedStartDate);
                });
            computedDate(b, "currentStartLimit", &KSTask::currentStartLimit);
            computedDate(b, "currentEndLimit", &KSTask::currentEndLimit);
            computedDate(b, "absoluteStartLimit", &KSTask::absoluteStartLimit);
            computedDate(b, "absoluteEndLimit", &KSTask::absoluteEndLimit);
            computedDate(b, "earliestPossibleEnd", &KSTask::earliestPossibleEnd);
            computedDate(b, "latestPossibleStart", &KSTask::latestPossibleStart);
            computedDate(b, "levelingStartLimit", &KSTask::levelingStartLimit);
            computedDate(b, "levelingEndLimit", &KSTask::levelingEndLimit);
            b.custom("freeSlack", KSValue::Type::Double,
                     [](const KSTask& t) { return KSValue(mutableTask(t).freeSlack()); });
            b.custom("totalSlack", KSValue::Type::Double,
                     [](const KSTask& t) { return KSValue(mutableTask(t).totalSlack()); });
            b.readOnly("resourceLevelingDelay", &KSTask::resourceLevelingDelay);
            b.attribute("scheduleType", &KSTask::scheduleType, &KSTask::setScheduleType);
            b.custom("scheduleTypeNumber", KSValue::Type::Null, &KSTask::scheduleTypeNumber,
                     [](KSTask& t, const KSValue& v) {
                         t.setScheduleTypeNumber(v);
                         return true;
                     });
            b.attribute("resourceAssignmentType", &KSTask::resourceAssignmentType,
                        &KSTask::setResourceAssignmentType);
            b.attribute("isSplittableTask", &KSTask::isSplittableTask,
                        &KSTask::setIsSplittableTask);
            b.attribute("effortRemaining", &KSTask::effortRemaining, &KSTask::setEffortRemaining);
            b.attribute("completedPercentage", &KSTask::completedPercentage,
                        &KSTask::setCompletedPercentage);
            b.attribute("fullyCompleted", &KSTask::fullyCompleted, &KSTask::setFullyCompleted);
            b.attribute("duration", &KSTask::duration, &KSTask::setDuration);
            numberCell(b, "effortNumber", &KSTask::effortNumber, &KSTask::setEffortNumber);
            numberCell(b, "durationNumber", &KSTask::durationNumber, &KSTask::setDurationNumber);
            numberCell(b, "effortDoneNumber", &KSTask::effortDoneNumber,
                       &KSTask::setEffortDoneNumber);
            numberCell(b, "effortRemainingNumber", &KSTask::effortRemainingNumber,
                       &KSTask::setEffortRemainingNumber);
            b.custom(
                "internalPrerequisitesString", KSValue::Type::String,
                [](const KSTask& t) {
                    auto text = t.internalPrerequisitesString();
                    return text ? KSValue(*text) : KSValue();
                },
                [](KSTask& t, const KSValue& v) {
                    if (!v.isNull() && !v.isString()) return false;
                    t.setInternalPrerequisitesString(
                        v.isNull() ? std::nullopt : std::optional<std::string>(v.asString()));
                    return true;
                });
            b.custom("prerequisites", KSValue::Type::Array,
                     [](const KSTask& t) { return objectList(t.prerequisites()); });
            b.custom("dependents", KSValue::Type::Array,
                     [](const KSTask& t) { return objectList(t.dependents()); });
            b.custom("issues", KSValue::Type::Array,
                     [](const KSTask& t) { return objectList(t.issues()); });
            b.custom("leafDescendentSet", KSValue::Type::Array, [](const KSTask& t) {
                auto leaves = t.leafDescendentSet();
                return leaves ? objectList(*leaves) : KSValue();
            });
            b.readOnly("assignmentsCost", &KSTask::assignmentsCost);
            _registerAssignmentAttributes(b);
            b.readOnly("totalCost", &KSTask::totalCost);
            b.dependentKeys("isStartDateLocked", {"startLockedDate"});
            b.dependentKeys("isEndDateLocked", {"endLockedDate"});
            b.dependentKeys("effortRemaining", {"effort", "effortDone"});
            b.dependentKeys("completed", {"effort", "effortDone"});
            b.dependentKeys("priorityNumber", {"priority"});
        });
    return info;
}

KSTask::KSTask() = default;

KSTask::~KSTask() {
    // Links and issues point back without owning; they must not outlive the pointer.
    for (const auto& issue : issues_)
        issue->setTask(nullptr);
    for (const auto& link : prerequisites_)
        link->_forgetTask(this);
    for (const auto& link : dependents_)
        link->_forgetTask(this);
}

// --- Class-wide ---------------------------------------------------------------------------

bool KSTask::showSplitsAsGroups() {
    return gShowSplitsAsGroups;
}

void KSTask::setShowSplitsAsGroups(bool flag) {
    gShowSplitsAsGroups = flag;
}

std::optional<std::string> KSTask::urlForTasks(const KSTaskList& tasks) {
    if (tasks.empty() || !tasks.back()) return std::nullopt;
    KSProject* project = tasks.back()->project();
    KSDocumentProtocol* document = project ? project->document() : nullptr;
    std::optional<std::string> fileURL = document ? document->fileURL() : std::nullopt;
    if (!fileURL || fileURL->empty()) return std::nullopt;
    // The document's path, decoded: the whole link is escaped once below.
    std::string path = KSPathFromFileURLString(*fileURL);
    std::string ids;
    for (const auto& task : tasks) {
        if (!task) continue;
        if (!ids.empty()) ids += ",";
        ids += std::to_string(task->objectId());
    }
    return KSPercentEscapedString(KSStringWithFormat("kestrum://localhost%@/task/%@", path, ids),
                                  "/,:");
}

// --- Type tests -------------------------------------------------------------------------------

KSTaskType KSTask::taskType() const {
    return isSplitTask_ ? taskTypeTask : taskType_;
}

bool KSTask::isGroup() const {
    if (isSplitTask_ && !gShowSplitsAsGroups) return false;
    return KSProjectItem::isGroup();
}

void KSTask::setIsGroup(bool flag) {
    setTaskType(flag ? taskTypeGroup : taskTypeTask);
}

std::string KSTask::taskTypeString() const {
    return stringForTaskType(taskType());
}

std::string KSTask::localizedTaskTypeString() const {
    if (!parent() && scenario() && scenario()->rootTask().get() == this)
        return KSLocalizedString("Plan");
    return displayStringForTaskType(taskType());
}

std::string KSTask::localizedPluralTaskTypeString() const {
    if (!parent() && scenario() && scenario()->rootTask().get() == this)
        return KSLocalizedString("Plans");
    return pluralDisplayStringForTaskType(taskType());
}

void KSTask::taskTypeChanged() {
    willChangeValueForKey("scheduleType");
    didChangeValueForKey("scheduleType");
}

bool KSTask::allowDurationChange() const {
    return taskType_ == taskTypeTask && !(isStartDateLocked() && isEndDateLocked());
}

bool KSTask::allowCompletionChange() const {
    if (taskType_ == taskTypeGroup) return false;
    if (!flags_.isSplitChunk) return true;
    double done = completed();
    if (done == 0.0) {
        KSTask* previous = previousSplitChunk();
        return !previous || previous->completed() == 1.0;
    }
    if (done == 1.0) {
        KSTask* next = nextSplitChunk();
        return !next || next->completed() == 0.0;
    }
    return true;
}

bool KSTask::canBecomeHammock() const {
    if (flags_.isLoading) return true;
    bool toStart = false;
    bool toEnd = false;
    for (const auto& link : prerequisites_) {
        KSDependencyKind kind = link->dependencyKind();
        if (kind == KSDependencyStartToStart || kind == KSDependencyFinishToStart)
            toStart = true;
        else
            toEnd = true;
    }
    return toStart && toEnd;
}

bool KSTask::_hasBothStartAndEndPrerequisites() const {
    bool toStart = false;
    bool toEnd = false;
    for (const auto& link : prerequisites_) {
        if (link->dependentAlignedToEnd())
            toEnd = true;
        else
            toStart = true;
    }
    return toStart && toEnd;
}

void KSTask::beginEditing() {
    flags_.editingCount = (flags_.editingCount + 1) & 7;
}

void KSTask::endEditing() {
    flags_.editingCount = (flags_.editingCount + 7) & 7;
}

// --- Text ---------------------------------------------------------------------------------------

std::optional<std::string> KSTask::title() const {
    if (flags_.isSplitChunk) {
        if (KSTask* p = parentTask()) {
            std::int64_t index = childrenRank();
            return KSStringWithFormat(KSLocalizedString("%@ #%d"), p->title().value_or(""),
                                      index + 1);
        }
    }
    return title_;
}

void KSTask::setTitle(const std::optional<std::string>& title) {
    if (title == title_) return;
    // The first naming of a task is part of making it, not an edit to undo.
    if (title_) {
        registerUndo<KSTask>([old = title_](KSTask& t) { t.setTitle(old); });
    }
    willChangeValueForKey("title");
    title_ = title;
    didChangeValueForKey("title");
    titleDidChange();
    if (isSplitTask_) {
        KSTaskList chunks;
        _childrenTasks(chunks);
        for (const auto& chunk : chunks)
            chunk->setTitle(title);
    }
    setUndoActionName("Set Title");
}

std::optional<std::string> KSTask::objectDescription() const {
    return KSStringWithFormat("%@ %@", KSLocalizedString("Task"), title().value_or(""));
}

std::string KSTask::headingString() const {
    if (_planUsesFlatNumbering()) return KSStringWithFormat("%d)", numericalOrder());
    return positionalIDString() + ")";
}

void KSTask::invalidateHeadingStrings() {
    static const char* const keys[] = {"prerequisites", "dependents", "headingString"};
    for (const char* key : keys)
        willChangeValueForKey(key);
    for (const char* key : keys)
        didChangeValueForKey(key);
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        child->invalidateHeadingStrings();
}

std::string KSTask::numericalOrderString() const {
    return KSStringWithFormat("%d", numericalOrder());
}

std::string KSTask::positionalIDString() const {
    return _planUsesFlatNumbering() ? numericalOrderString() : wbsNumber();
}

std::optional<std::string> KSTask::url() const {
    auto self = std::const_pointer_cast<KSTask>(sharedFromThis<KSTask>());
    return urlForTasks({self});
}

std::string KSTask::shortDescription() const {
    char pointer[32];
    std::snprintf(pointer, sizeof pointer, "%p", static_cast<const void*>(this));
    return KSStringWithFormat("<%@ %@> %@", className(), std::string(pointer),
                              title().value_or(""));
}

std::string KSTask::subclassLocalizedTypeForUndo() const {
    return KSLocalizedString("Task (for undo/redo only)", "Task");
}

// --- Priority -----------------------------------------------------------------------------------

void KSTask::setPriority(std::int32_t priority) {
    if (priority == priority_) return;
    if (isSplitTask_) {
        KSTaskList chunks;
        _childrenTasks(chunks);
        for (const auto& chunk : chunks)
            chunk->setPriority(priority);
    }
    // Priority is read only by leveling and ordering: no date depends on it.
    setUndoableValue<KSTask>(priority_, priority, "priority", "Set Priority", &KSTask::setPriority);
}

KSValue KSTask::priorityNumber() const {
    return isStandardTask() ? KSValue(static_cast<long long>(priority_)) : KSValue();
}

void KSTask::setPriorityNumber(const KSValue& number) {
    setPriority(number.isNull() ? 0 : static_cast<std::int32_t>(number.intValue()));
}

// --- Status -------------------------------------------------------------------------------------

bool KSTask::_containsUncompletedMilestone() const {
    if (isMilestone() && effortDone_ < 1.0) return true;
    if (!children()) return false;
    for (const auto& child : *children()) {
        if (static_cast<const KSTask&>(*child)._containsUncompletedMilestone()) return true;
    }
    return false;
}

std::int64_t KSTask::daysUntilDue() const {
    KSDateTime end = const_cast<KSTask*>(this)->endDate();
    return end.dayNumber() - KSDateTime::today().dayNumber();
}

KSTaskStatus KSTask::status() const {
    if (effort_ == 0.0 && effortDone_ == 1.0) return KSTaskStatusCompleted;
    if (effort_ > 0.0 && effortDone_ >= effort_ && !_containsUncompletedMilestone())
        return KSTaskStatusCompleted;
    if (effort_ == 0.0 && !_containsUncompletedMilestone()) return KSTaskStatusCompleted;
    if (_planHasGenericDates() || flags_.isLoading) return KSTaskStatusNone;
    if (const_cast<KSTask*>(this)->endDate().isNull()) return KSTaskStatusNone;
    std::int64_t days = daysUntilDue();
    if (days == 0) return KSTaskStatusDueToday;
    if (days >= 1 && days <= 4) return KSTaskStatusDueSoon;
    if (days < 0) return KSTaskStatusPastDue;
    return KSTaskStatusNone;
}

KSDictionary KSTask::statusDictionary() const {
    KSTaskStatus current = status();
    std::string abridged;
    bool describesDue = false;
    switch (current) {
        case KSTaskStatusCompleted:
            abridged = KSLocalizedString("Completed");
            break;
        case KSTaskStatusDueToday:
            abridged = KSLocalizedString("Due in < 1 day");
            describesDue = true;
            break;
        case KSTaskStatusDueSoon: {
            std::int64_t days = daysUntilDue();
            abridged = KSStringWithFormat(
                KSLocalizedString(days < 2 ? "Due in %d day" : "Due in %d days"), days);
            describesDue = true;
            break;
        }
        case KSTaskStatusPastDue: {
            std::int64_t days = daysUntilDue();
            if (days == -1) {
                abridged = KSStringWithFormat(KSLocalizedString("Overdue by %d day"), 1);
            } else if (days < -1) {
                abridged = KSStringWithFormat(KSLocalizedString("Overdue by %d days"), -days);
            } else {
                abridged = KSLocalizedString("Overdue by < 1 day");
            }
            describesDue = true;
            break;
        }
        case KSTaskStatusNone:
            break;
    }
    std::string toolTip = describesDue
                              ? KSStringWithFormat(KSLocalizedString("This task is %@"), abridged)
                              : KSLocalizedString("Status");
    KSDictionary dictionary;
    dictionary.setObjectForKey("Status", KSValue(static_cast<long long>(current)));
    dictionary.setObjectForKey("Status tool tip", KSValue(toolTip));
    dictionary.setObjectForKey("Abridged Status", KSValue(abridged));
    return dictionary;
}

// --- Resource assignment type -------------------------------------------------------------------

void KSTask::setResourceAssignmentType(KSResourceAssignmentType type) {
    setUndoableValue<KSTask>(resourceAssignmentType_, type, "resourceAssignmentType",
                             "Set Resource Assignment Type", &KSTask::setResourceAssignmentType);
}

// --- Order --------------------------------------------------------------------------------------

int KSTask::compareByPosition(const KSTask& other) const {
    return compareValues(numericalOrder(), other.numericalOrder());
}

int KSTask::compareByReversePosition(const KSTask& other) const {
    return compareByPosition(other);
}

int KSTask::compareByStartDate(const KSTask& other) const {
    int order =
        const_cast<KSTask*>(this)->startDate().compare(const_cast<KSTask&>(other).startDate());
    return order != KSOrderedSame ? order : compareByPosition(other);
}

int KSTask::compareByEndDate(const KSTask& other) const {
    int order = const_cast<KSTask*>(this)->endDate().compare(const_cast<KSTask&>(other).endDate());
    return order != KSOrderedSame ? order : compareByPosition(other);
}

int KSTask::compareByEffort(const KSTask& other) const {
    return compareValues(effort_, other.effort_);
}

int KSTask::compareByPriority(const KSTask& other) const {
    bool fixedEnd = _planHasFixedEndDate();
    if (scheduleType() != other.scheduleType()) {
        return isAsLateAsPossible() == fixedEnd ? KSOrderedAscending : KSOrderedDescending;
    }
    if (priority_ != other.priority_)
        return priority_ > other.priority_ ? KSOrderedAscending : KSOrderedDescending;
    int byPosition = compareByPosition(other);
    return fixedEnd ? -byPosition : byPosition;
}

int KSTask::compareByReversePriority(const KSTask& other) const {
    return -compareByPriority(other);
}

int KSTask::compareByMostSlack(const KSTask& other) const {
    auto span = [](const KSTask& task) {
        auto& t = const_cast<KSTask&>(task);
        KSScheduling* work = t.schedule();
        return work ? work->durationBetweenStartDateAndEndDate(t.absoluteStartLimit(),
                                                               t.absoluteEndLimit())
                    : 0.0;
    };
    double mine = span(*this);
    double theirs = span(other);
    if (mine != theirs) return mine > theirs ? KSOrderedAscending : KSOrderedDescending;
    return compareByPriority(other);
}

// --- Styles -------------------------------------------------------------------------------------

std::vector<std::shared_ptr<HLStyle>> KSTask::cascadeStyles() const {
    std::vector<std::shared_ptr<HLStyle>> styles;
    KSProject* owner = project();
    if (!owner) return styles;
    std::shared_ptr<HLStyle> style;
    if (isMilestone()) {
        style = owner->milestoneTaskStyle();
    } else if (taskType_ == taskTypeGroup) {
        style = owner->groupTaskStyle();
    } else {
        KSTaskStatus current = status();
        style = current == KSTaskStatusCompleted ? owner->completedTaskStyle()
                : current == KSTaskStatusPastDue ? owner->overdueTaskStyle()
                                                 : owner->standardTaskStyle();
    }
    if (style) styles.push_back(style);
    return styles;
}

// --- Change hooks -------------------------------------------------------------------------------

bool KSTask::_hooksAreQuiet() const {
    KSScenario* owner = scenario();
    return flags_.isLoading || (owner && owner->isLevelingResources());
}

void KSTask::willChangeValueForKey(std::string_view key) {
    if (_hooksAreQuiet()) return;
    KSProjectItem::willChangeValueForKey(key);
    if (key == "childrenSet") {
        KSProjectItem* root = rootItem();
        if (root && root != this) root->willChangeValueForKey("leafDescendentSet");
    }
}

void KSTask::didChangeValueForKey(std::string_view key) {
    if (_hooksAreQuiet()) return;
    KSProjectItem::didChangeValueForKey(key);
    if (key == "childrenSet") {
        KSProjectItem* root = rootItem();
        if (root && root != this) root->didChangeValueForKey("leafDescendentSet");
    }
}

void KSTask::willChangeValueForKeyWithSetMutationUsingObjects(std::string_view key,
                                                              KSKeyValueSetMutationKind kind,
                                                              const KSArray& objects) {
    if (_hooksAreQuiet()) return;
    KSProjectItem::willChangeValueForKeyWithSetMutationUsingObjects(key, kind, objects);
    if (key == "childrenSet") {
        KSProjectItem* root = rootItem();
        if (root && root != this) root->willChangeValueForKey("leafDescendentSet");
    }
}

void KSTask::didChangeValueForKeyWithSetMutationUsingObjects(std::string_view key,
                                                             KSKeyValueSetMutationKind kind,
                                                             const KSArray& objects) {
    if (_hooksAreQuiet()) return;
    KSProjectItem::didChangeValueForKeyWithSetMutationUsingObjects(key, kind, objects);
    if (key == "childrenSet") {
        KSProjectItem* root = rootItem();
        if (root && root != this) root->didChangeValueForKey("leafDescendentSet");
    }
}

TMDifferenceEngine* KSTask::differenceEngine() const {
    KSScenario* owner = scenario();
    return owner ? owner->taskDifferenceEngine() : nullptr;
}

std::vector<std::string> KSTask::userDataKeys() const {
    KSProject* owner = project();
    return owner ? owner->taskUserDataKeys() : std::vector<std::string>();
}

// --- Settings of the plan ----------------------------------------------------------------------
// A task outside a plan has real dates anchored at the generic start, hierarchical
// numbers and a day's effort.

bool KSTask::_planHasFixedEndDate() const {
    KSScenario* owner = scenario();
    return owner && owner->hasFixedEndDate();
}

bool KSTask::_planHasGenericDates() const {
    KSScenario* owner = scenario();
    return owner && owner->hasGenericDates();
}

bool KSTask::_planUsesFlatNumbering() const {
    KSProject* owner = project();
    return owner && owner->useFlatNumbering();
}

double KSTask::_planDefaultTaskEffort() const {
    KSScenario* owner = scenario();
    return owner ? owner->defaultTaskEffortIgnorePrototype(false) : KSDefaultTaskEffort;
}

KSDateTime KSTask::_planStartDate() const {
    KSScenario* owner = scenario();
    return owner ? owner->startDate() : KSScenario::genericStartDate();
}

KSDateTime KSTask::_planEndDate() const {
    KSScenario* owner = scenario();
    return owner ? owner->endDate() : KSScenario::genericEndDate();
}

void KSTask::_presentError(const std::string& message) const {
    KSProject* owner = project();
    KSDocumentProtocol* document = owner ? owner->document() : nullptr;
    if (!document) return;
    document->presentError(KSError::errorWithDescription("Kestrum", 1, message));
}

void KSTask::_setActionNameIfGrouped(std::string_view name) const {
    KSUndoManager* um = undoManager();
    if (um && um->groupingLevel() > 0) setUndoActionName(name);
}

void KSTask::_childrenTasks(KSTaskList& out) const {
    if (!children()) return;
    out.reserve(out.size() + children()->size());
    for (const auto& child : *children())
        out.push_back(std::static_pointer_cast<KSTask>(child));
}

// --- Issues -------------------------------------------------------------------------------------

const std::vector<std::shared_ptr<KSIssue>>& KSTask::issues() const {
    if (!flags_.issuesAreSorted) {
        std::stable_sort(issues_.begin(), issues_.end(),
                         [](const auto& a, const auto& b) { return a->compareByType(*b) < 0; });
        const_cast<KSTask*>(this)->flags_.issuesAreSorted = 1;
    }
    return issues_;
}

namespace {
void countOf(const KSIssue& issue, int* errors, int* warnings) {
    if (issue.type() == KSIssueTypeError) ++*errors;
    if (issue.type() == KSIssueTypeWarning) ++*warnings;
}
}  // namespace

void KSTask::addIssue(const std::shared_ptr<KSIssue>& issue) {
    if (!issue) return;
    if (issue->shouldBeRegisteredForUndo()) {
        registerUndo<KSTask>([issue](KSTask& t) { t.removeIssue(issue); });
    }
    willChangeValueForKey("issues");
    flags_.issuesAreSorted = 0;
    issue->setTask(this);
    issues_.push_back(issue);
    didChangeValueForKey("issues");
    int errors = 0;
    int warnings = 0;
    countOf(*issue, &errors, &warnings);
    if ((errors || warnings) && scenario()) scenario()->changeErrorsAndWarnings(errors, warnings);
}

void KSTask::removeIssue(const std::shared_ptr<KSIssue>& issue) {
    auto it = std::find(issues_.begin(), issues_.end(), issue);
    if (it == issues_.end()) return;
    std::shared_ptr<KSIssue> keep = *it;
    if (keep->shouldBeRegisteredForUndo()) {
        registerUndo<KSTask>([keep](KSTask& t) { t.addIssue(keep); });
    }
    willChangeValueForKey("issues");
    issues_.erase(it);
    didChangeValueForKey("issues");
    int errors = 0;
    int warnings = 0;
    countOf(*keep, &errors, &warnings);
    if ((errors || warnings) && scenario()) scenario()->changeErrorsAndWarnings(-errors, -warnings);
}

void KSTask::removeIssuesOfKind(const std::optional<std::string>& kind) {
    int errors = 0;
    int warnings = 0;
    for (std::size_t i = issues_.size(); i-- > 0;) {
        std::shared_ptr<KSIssue> issue = issues_[i];
        if (kind && issue->issueKind() != *kind) continue;
        if (issue->shouldBeRegisteredForUndo()) {
            registerUndo<KSTask>([issue](KSTask& t) { t.addIssue(issue); });
        }
        willChangeValueForKey("issues");
        issues_.erase(issues_.begin() + static_cast<std::ptrdiff_t>(i));
        didChangeValueForKey("issues");
        countOf(*issue, &errors, &warnings);
    }
    if ((errors || warnings) && scenario()) scenario()->changeErrorsAndWarnings(-errors, -warnings);
}

bool KSTask::hasIssuesOfKind(const std::optional<std::string>& kind) const {
    if (!kind) return !issues_.empty();
    return std::any_of(issues_.begin(), issues_.end(),
                       [&](const auto& issue) { return issue->issueKind() == *kind; });
}

void KSTask::addIssuesToArray(std::vector<std::shared_ptr<KSIssue>>& array) const {
    const auto& own = issues();
    array.insert(array.end(), own.begin(), own.end());
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children)
        child->addIssuesToArray(array);
}

void KSTask::countIssues(int* errors, int* warnings) const {
    *errors = 0;
    *warnings = 0;
    for (const auto& issue : issues_)
        countOf(*issue, errors, warnings);
}

}  // namespace kestrum
