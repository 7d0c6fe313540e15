#include "Model/project/KSScenario.h"

#include <algorithm>

#include "Model/changes/KSDifferenceEngine.h"
#include "Model/engine/KSCriticalPath.h"
#include "Model/formatters/KSDateFormatter.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenarioPlaceholder.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSNotificationCenter.h"
#include "Platform/core/KSUUID.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

const KSNotificationName KSProjectDidChangeNotification("KSProjectDidChangeNotification");
const KSNotificationName KSProjectInvalidateNotification("KSProjectInvalidate");

namespace {
// The context of the scenario's change-tracking observations.
const char kChangeSetKeyContext[] = "_changeSetKeyContext";
}  // namespace

std::string KSScheduleGranularityArchiveString(KSScheduleGranularity granularity) {
    switch (granularity) {
        case KSScheduleGranularityHours:
            return "hours";
        case KSScheduleGranularityDays:
            return "days";
        case KSScheduleGranularityExact:
            break;
    }
    return "exact";
}

KSScheduleGranularity KSScheduleGranularityFromArchiveString(std::string_view text) {
    if (text == "hours") return KSScheduleGranularityHours;
    if (text == "days") return KSScheduleGranularityDays;
    return KSScheduleGranularityExact;
}

const KSClassInfo& KSScenario::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSScenario>(
        "KSScenario", &KSObject::staticClassInfo(), [](KSClassBuilder<KSScenario>& b) {
            b.custom(
                "name", KSValue::Type::String,
                [](const KSScenario& s) { return KSValue(s.name()); },
                [](KSScenario& s, const KSValue& v) {
                    if (!v.isString()) return false;
                    s.setName(v.asString());
                    return true;
                });
            b.attribute("scheduleGranularity", &KSScenario::scheduleGranularity,
                        &KSScenario::setScheduleGranularity);
            b.attribute("hasFixedEndDate", &KSScenario::hasFixedEndDate,
                        &KSScenario::setHasFixedEndDate);
            b.attribute("hasGenericDates", &KSScenario::hasGenericDates,
                        &KSScenario::setHasGenericDates);
            b.attribute("fixedDate", &KSScenario::fixedDate, &KSScenario::setFixedDate);
            b.attribute("startDate", &KSScenario::startDate, &KSScenario::setStartDate);
            b.attribute("endDate", &KSScenario::endDate, &KSScenario::setEndDate);
            // The anchor setters announce their own key; the anchor date is either.
            b.dependentKeys("fixedDate", {"startDate", "endDate"});
            b.custom("currentEditingDate", KSValue::Type::Date, [](const KSScenario& s) {
                return KSValueTraits<KSDateTime>::toValue(s.currentEditingDate());
            });
            b.custom("unassignedTasks", KSValue::Type::Array, [](const KSScenario& s) {
                KSArray list;
                for (const auto& task : s.unassignedTasks())
                    list.push_back(KSValue(task));
                return KSValue(std::move(list));
            });
            b.custom("milestones", KSValue::Type::Array, [](const KSScenario& s) {
                KSArray list;
                for (const auto& task : s.milestones())
                    list.push_back(KSValue(task));
                return KSValue(std::move(list));
            });
            b.readOnly("isLoading", &KSScenario::isLoading);
            b.readOnly("isInvalid", &KSScenario::isInvalid);
            b.readOnly("errorCount", &KSScenario::errorCount);
            b.readOnly("warningCount", &KSScenario::warningCount);
        });
    return info;
}

KSScenario::KSScenario()
    : name_(KSLocalizedString("Actual")),
      sharedDateFormatter_(std::make_shared<KSDateFormatter>()) {
    sharedDateFormatter_->setScenario(this);
}

KSScenario::~KSScenario() {
    KSNotificationCenter::defaultCenter().removeObserver(static_cast<const void*>(this));
    if (nonretainedProject_) {
        nonretainedProject_->removeObserverForKeyPathContext(this, "hasTrackedChanges",
                                                             kChangeSetKeyContext);
    }
    for (const auto& path : criticalPaths_) {
        if (path->pathRoot() && path->pathRoot()->criticalPathRoot() == path.get()) {
            path->pathRoot()->setCriticalPathRoot(nullptr);
        }
    }
    if (rootTask_ && rootTask_->scenario() == this) rootTask_->setScenario(nullptr);
    if (rootResource_ && rootResource_->scenario() == this) rootResource_->setScenario(nullptr);
    if (sharedDateFormatter_->scenario() == this) sharedDateFormatter_->setScenario(nullptr);
}

// --- Lifecycle ----------------------------------------------------------------------------

void KSScenario::setProject(KSProject* project) {
    if (project == nonretainedProject_) return;
    if (nonretainedProject_) detachFromProject();
    nonretainedProject_ = project;
    if (project) attachToProject(*project);
}

void KSScenario::detachFromProject() {
    KSNotificationCenter::defaultCenter().removeObserver(static_cast<const void*>(this));
    nonretainedProject_->removeObserverForKeyPathContext(this, "hasTrackedChanges",
                                                         kChangeSetKeyContext);
}

void KSScenario::attachToProject(KSProject& project) {
    KSNotificationCenter& center = KSNotificationCenter::defaultCenter();
    KSUndoManager* um = project.undoManager();
    center.addObserver(this, KSUndoManagerDidOpenUndoGroupNotification, um,
                       [this](const KSNotification& n) { _didOpenUndoGroup(&n); });
    center.addObserver(this, KSUndoManagerWillCloseUndoGroupNotification, um,
                       [this](const KSNotification& n) { _willCloseUndoGroup(&n); });
    project.addObserverForKeyPathOptionsContext(
        this, "hasTrackedChanges", KSKeyValueObservingOptionPrior, kChangeSetKeyContext);
    scheduleGranularity_ = KSScheduleGranularityExact;

    taskDifferenceEngine_ = std::make_shared<KSDifferenceEngine>("nextTaskId", &project);
    taskDifferenceEngine_->setIsLoading(true);
    resourceDifferenceEngine_ = std::make_shared<KSDifferenceEngine>("nextResourceId", &project);
    resourceDifferenceEngine_->setIsLoading(true);
    metadataDifferenceEngine_ = std::make_shared<TMDifferenceEngine>(true);
    metadataDifferenceEngine_->setIsLoading(true);

    makeRoots();

    metadataDifferenceEngine_->objectDidInsert(*this);
    taskDifferenceEngine_->setIsLoading(false);
    resourceDifferenceEngine_->setIsLoading(false);
    metadataDifferenceEngine_->setIsLoading(false);
}

void KSScenario::makeRoots() {
    // Making the roots is part of attaching, not an edit the user could undo.
    KSUndoManager* um = undoManager();
    if (um) um->disableUndoRegistration();
    for (const auto& path : std::vector<std::shared_ptr<KSCriticalPath>>(criticalPaths_)) {
        if (path->pathRoot()) path->pathRoot()->setCriticalPathRoot(nullptr);
    }
    criticalPaths_.clear();
    if (rootTask_) rootTask_->setScenario(nullptr);
    if (rootResource_) rootResource_->setScenario(nullptr);

    rootTask_ = std::make_shared<KSTask>();
    rootTask_->setObjectId(-1);
    rootTask_->setScenario(this);
    addCriticalPath(std::make_shared<KSCriticalPath>(rootTask_));

    rootResource_ = std::make_shared<KSResource>();
    // The root of the resources is a group: what it holds is what the plan has.
    rootResource_->setResourceType(KSResourceType::group());
    rootResource_->copySchedule(*KSSchedule::standardWorkHours());
    rootResource_->setObjectId(-1);
    rootResource_->setScenario(this);
    if (um) um->enableUndoRegistration();
}

void KSScenario::invalidate() {
    flags_.isInvalid = true;
    if (rootTask_) rootTask_->setScenario(nullptr);
    if (rootResource_) rootResource_->setScenario(nullptr);
    sharedDateFormatter_->setScenario(nullptr);
    if (taskDifferenceEngine_) taskDifferenceEngine_->setObject(nullptr);
    if (resourceDifferenceEngine_) resourceDifferenceEngine_->setObject(nullptr);
    if (metadataDifferenceEngine_) metadataDifferenceEngine_->forgetAllObjects();
    KSNotificationCenter::defaultCenter().postNotificationName(KSProjectInvalidateNotification,
                                                               this);
    setProject(nullptr);
}

// --- Fields ---------------------------------------------------------------------------------

void KSScenario::setName(const std::string& name) {
    if (name == name_) return;
    registerUndo<KSScenario>([old = name_](KSScenario& s) { s.setName(old); });
    if (nonretainedProject_) nonretainedProject_->willChangeValueForKey("scenarioPlaceholders");
    willChangeValueForKey("name");
    name_ = name;
    if (nonretainedProject_) {
        if (auto holder = nonretainedProject_->placeholderForScenario(*this)) holder->setName(name);
    }
    didChangeValueForKey("name");
    if (nonretainedProject_) nonretainedProject_->didChangeValueForKey("scenarioPlaceholders");
}

void KSScenario::setStoredFixedDate(const KSDateTime& date) {
    if (date.isIdenticalTo(fixedDate_)) return;
    willChangeValueForKey("fixedDate");
    fixedDate_ = date;
    didChangeValueForKey("fixedDate");
}

void KSScenario::setStoredHasFixedEndDate(bool flag) {
    if (flag == hasFixedEndDate_) return;
    willChangeValueForKey("hasFixedEndDate");
    hasFixedEndDate_ = flag;
    didChangeValueForKey("hasFixedEndDate");
}

void KSScenario::setCurrentEditingDate(const KSDateTime& date) {
    if (date.isIdenticalTo(currentEditingDate_)) return;
    currentEditingDate_ = date;
    KSNotificationCenter::defaultCenter().postNotificationName(KSProjectDidChangeNotification,
                                                               this);
}

const std::string& KSScenario::scenarioUUID() const {
    if (scenarioUUID_.empty()) scenarioUUID_ = KSUUIDString();
    return scenarioUUID_;
}

void KSScenario::setScheduleGranularity(KSScheduleGranularity granularity) {
    // No action name of its own: the undo step goes under the name of its group.
    if (!setUndoableValue<KSScenario>(scheduleGranularity_, granularity, "scheduleGranularity", "",
                                      &KSScenario::setScheduleGranularity)) {
        return;
    }
    // Every calendar of the plan rounds start and end dates by it.
    planScheduleDidChange();
}

void KSScenario::setPrototype(std::shared_ptr<KSTask>& field, std::shared_ptr<KSTask> task) {
    if (task) task->setIsPrototype(true);
    field = std::move(task);
}

void KSScenario::setPrototype(std::shared_ptr<KSResource>& field,
                              std::shared_ptr<KSResource> resource) {
    if (resource) resource->setIsPrototype(true);
    field = std::move(resource);
}

void KSScenario::setPrototypeTask(std::shared_ptr<KSTask> task) {
    setPrototype(prototypeTask_, std::move(task));
}
void KSScenario::setPrototypeMilestone(std::shared_ptr<KSTask> task) {
    setPrototype(prototypeMilestone_, std::move(task));
}
void KSScenario::setPrototypeTaskGroup(std::shared_ptr<KSTask> task) {
    setPrototype(prototypeTaskGroup_, std::move(task));
}
void KSScenario::setPrototypeStaffResource(std::shared_ptr<KSResource> resource) {
    setPrototype(prototypeStaffResource_, std::move(resource));
}
void KSScenario::setPrototypeEquipmentResource(std::shared_ptr<KSResource> resource) {
    setPrototype(prototypeEquipmentResource_, std::move(resource));
}
void KSScenario::setPrototypeMaterialResource(std::shared_ptr<KSResource> resource) {
    setPrototype(prototypeMaterialResource_, std::move(resource));
}
void KSScenario::setPrototypeResourceGroup(std::shared_ptr<KSResource> resource) {
    setPrototype(prototypeResourceGroup_, std::move(resource));
}

// --- Critical paths ---------------------------------------------------------------------------

void KSScenario::addCriticalPath(const std::shared_ptr<KSCriticalPath>& path) {
    if (!path) return;
    auto same = std::find_if(criticalPaths_.begin(), criticalPaths_.end(),
                             [&](const auto& p) { return p->pathRoot() == path->pathRoot(); });
    if (same != criticalPaths_.end()) removeCriticalPath(*same);
    registerUndo<KSScenario>([path](KSScenario& s) { s.removeCriticalPath(path); });
    criticalPaths_.push_back(path);
    if (path->pathRoot()) path->pathRoot()->setCriticalPathRoot(path.get());
    path->recalculatePath();
}

void KSScenario::removeCriticalPath(const std::shared_ptr<KSCriticalPath>& path) {
    std::shared_ptr<KSCriticalPath> keep = path;  // the caller's reference may be the list's
    auto it = std::find(criticalPaths_.begin(), criticalPaths_.end(), keep);
    if (it == criticalPaths_.end()) return;
    registerUndo<KSScenario>([keep](KSScenario& s) { s.addCriticalPath(keep); });
    criticalPaths_.erase(it);
    if (keep->pathRoot() && keep->pathRoot()->criticalPathRoot() == keep.get()) {
        keep->pathRoot()->setCriticalPathRoot(nullptr);
    }
    for (const auto& task : keep->pathContents())
        task->criticalPathMayHaveChanged();
}

// --- Issue totals ------------------------------------------------------------

void KSScenario::changeErrorsAndWarnings(std::int64_t errors, std::int64_t warnings) {
    willChangeValueForKey("errorCount");
    willChangeValueForKey("warningCount");
    errorCount_ = static_cast<std::uint32_t>(static_cast<std::int64_t>(errorCount_) + errors);
    warningCount_ = static_cast<std::uint32_t>(static_cast<std::int64_t>(warningCount_) + warnings);
    didChangeValueForKey("errorCount");
    didChangeValueForKey("warningCount");
}

// --- Membership --------------------------------------------------------------------------------

void KSScenario::taskWillBeInserted(KSTask& task) {
    if (!task.isPrototype() && taskDifferenceEngine_) taskDifferenceEngine_->objectDidInsert(task);
}

void KSScenario::taskWillBeRemoved(KSTask& task) {
    if (taskDifferenceEngine_) taskDifferenceEngine_->objectWillDelete(task);
}

void KSScenario::resourceWillBeInserted(KSResource& resource) {
    // A resource arriving without a name gets a unique default one, except from a file.
    if (!flags_.isLoading && &resource != rootResource_.get() && !resource.name()) {
        uniquifyResourceName(resource);
    }
    if (!resource.isPrototype() && resourceDifferenceEngine_) {
        resourceDifferenceEngine_->objectDidInsert(resource);
    }
}

void KSScenario::resourceWillBeRemoved(KSResource& resource) {
    // Prototypes are not checked here: an engine that never saw the object ignores it.
    if (resourceDifferenceEngine_) resourceDifferenceEngine_->objectWillDelete(resource);
}

// --- Identity and change hooks
// --------------------------------------------------------------------

TMDifferenceEngine* KSScenario::differenceEngine() const {
    return metadataDifferenceEngine_.get();
}

std::vector<std::string> KSScenario::userDataKeys() const {
    return nonretainedProject_ ? nonretainedProject_->projectUserDataKeys()
                               : std::vector<std::string>();
}

std::string KSScenario::subclassLocalizedTypeForUndo() const {
    return KSLocalizedString("Scenario (for undo/redo only)", "Scenario");
}

void KSScenario::willChangeValueForKey(std::string_view key) {
    if (!flags_.isInvalid && metadataDifferenceEngine_) {
        metadataDifferenceEngine_->objectWillChange(*this);
    }
    KSBaseObject::willChangeValueForKey(key);
}

void KSScenario::didChangeValueForKey(std::string_view key) {
    if (!flags_.isInvalid && metadataDifferenceEngine_) {
        metadataDifferenceEngine_->objectDidChange(*this);
    }
    KSBaseObject::didChangeValueForKey(key);
}

void KSScenario::observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath,
                                                             KSBaseObject* object,
                                                             const KSKeyValueChange& change,
                                                             const void* context) {
    if (context != kChangeSetKeyContext || keyPath != "hasTrackedChanges" ||
        object != nonretainedProject_) {
        KSObject::observeValueForKeyPathOfObjectChangeContext(keyPath, object, change, context);
        return;
    }
    if (flags_.isInvalid || !metadataDifferenceEngine_) return;
    if (change.isPrior) {
        metadataDifferenceEngine_->objectWillChange(*this);
    } else {
        metadataDifferenceEngine_->objectDidChange(*this);
    }
}

}  // namespace kestrum
