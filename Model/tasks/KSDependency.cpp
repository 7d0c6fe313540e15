// KSDependency: making, removing and editing links, lead times and the date limits.
#include "Model/tasks/KSDependency.h"

#include <cmath>

#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSScheduling.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

namespace {

// A split chunk is never an end of a link: its split task stands in for it.
KSTask* linkableTask(KSTask* task) {
    if (task && task->isSplitChunk() && task->parentTask()) return task->parentTask();
    return task;
}

void nameAction(KSUndoManager* um, std::string_view name) {
    if (um) um->setActionName(KSLocalizedString(name));
}

}  // namespace

const KSClassInfo& KSDependency::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSDependency>(
        "KSDependency", &BKObject::staticClassInfo(), [](KSClassBuilder<KSDependency>& b) {
            b.custom(
                "dependencyKind", KSValue::Type::Integer,
                [](const KSDependency& d) {
                    return KSValue(static_cast<long long>(d.dependencyKind()));
                },
                [](KSDependency& d, const KSValue& v) {
                    d.setDependencyKind(static_cast<KSDependencyKind>(v.intValue()));
                    return true;
                });
            b.attribute("leadTime", &KSDependency::leadTime, &KSDependency::setLeadTime);
            b.attribute("leadTimeIsPercentage", &KSDependency::leadTimeIsPercentage,
                        &KSDependency::setLeadTimeIsPercentage);
            b.attribute("isActive", &KSDependency::isActive, &KSDependency::setIsActive);
            b.attribute("dependentAlignedToEnd", &KSDependency::dependentAlignedToEnd,
                        &KSDependency::setDependentAlignedToEnd);
            b.attribute("prerequisiteAlignedToEnd", &KSDependency::prerequisiteAlignedToEnd,
                        &KSDependency::setPrerequisiteAlignedToEnd);
            b.readOnly("leadTimeString", &KSDependency::leadTimeString);
            b.readOnly("isRemoved", &KSDependency::isRemoved);
            // The link itself, for a cell that edits lead time and percentage together; a
            // link given to it lends its lead.
            b.custom(
                "leadTimeGhostDependency", KSValue::Type::Object,
                [](const KSDependency& d) {
                    return KSValue(
                        std::const_pointer_cast<KSDependency>(d.sharedFromThis<KSDependency>()));
                },
                [](KSDependency& d, const KSValue& v) {
                    auto other = v.asObjectOfType<KSDependency>();
                    if (!other) return false;
                    d.setLeadTimeGhostDependency(*other);
                    return true;
                });
            // The key announced together with "leadTime" is spelled so; it reads the flag.
            b.readOnly("leadTimeIsPercenage", &KSDependency::leadTimeIsPercentage);
        });
    return info;
}

std::string KSDependencyKindArchiveString(KSDependencyKind kind) {
    switch (kind) {
        case KSDependencyStartToStart:
            return "SS";
        case KSDependencyStartToFinish:
            return "SF";
        case KSDependencyFinishToFinish:
            return "FF";
        case KSDependencyFinishToStart:
            break;
    }
    return "FS";
}

KSDependency::KSDependency(KSTask* prerequisite, KSTask* dependent, KSDependencyKind kind)
    : nonretainedPrerequisite_(linkableTask(prerequisite)),
      nonretainedDependent_(linkableTask(dependent)) {
    _setDependencyKind(kind);
}

KSDependency::~KSDependency() = default;

// --- Names of kinds -----------------------------------------------------------------------------

std::string KSDependency::localizedDependencyKindString(KSDependencyKind kind) {
    switch (kind) {
        case KSDependencyStartToStart:
            return KSLocalizedString("Start-to-Start");
        case KSDependencyStartToFinish:
            return KSLocalizedString("Start-to-Finish");
        case KSDependencyFinishToFinish:
            return KSLocalizedString("Finish-to-Finish");
        case KSDependencyFinishToStart:
            break;
    }
    return KSLocalizedString("Finish-to-Start");
}

std::string KSDependency::localizedPrerequisiteKindString(KSDependencyKind kind) {
    bool fromEnd = kind == KSDependencyFinishToStart || kind == KSDependencyFinishToFinish;
    return fromEnd ? KSLocalizedString("Finish")
                   : KSLocalizedString("Start (dependency kind description)", "Start");
}

std::string KSDependency::localizedDependentKindString(KSDependencyKind kind) {
    bool toEnd = kind == KSDependencyStartToFinish || kind == KSDependencyFinishToFinish;
    return toEnd ? KSLocalizedString("Finish")
                 : KSLocalizedString("Start (dependency kind description)", "Start");
}

// --- Making and removing ------------------------------------------------------------------------

std::shared_ptr<KSDependency> KSDependency::ghostDependencyWithPrerequisiteAndDependent(
    KSTask* prerequisite, KSTask* dependent) {
    return std::make_shared<KSDependency>(prerequisite, dependent, KSDependencyFinishToStart);
}

std::shared_ptr<KSDependency> KSDependency::ghostDependencyWithPrerequisiteAndDependentAndKind(
    KSTask* prerequisite, KSTask* dependent, KSDependencyKind kind) {
    return std::make_shared<KSDependency>(prerequisite, dependent, kind);
}

std::shared_ptr<KSDependency> KSDependency::dependencyWithPrerequisiteAndDependent(
    KSTask* prerequisite, KSTask* dependent) {
    return dependencyWithPrerequisiteAndDependentAndKind(prerequisite, dependent,
                                                         KSDependencyFinishToStart);
}

std::shared_ptr<KSDependency> KSDependency::dependencyWithPrerequisiteAndDependentAndKind(
    KSTask* prerequisite, KSTask* dependent, KSDependencyKind kind) {
    auto link = std::make_shared<KSDependency>(prerequisite, dependent, kind);
    link->instantiate();
    return link;
}

bool KSDependency::removeDependencyWithPrerequisiteAndDependent(KSTask* prerequisite,
                                                                KSTask* dependent) {
    if (!prerequisite) return false;
    const List& links = prerequisite->dependents();
    for (std::size_t i = links.size(); i-- > 0;) {
        if (links[i]->dependent() == dependent) {
            std::shared_ptr<KSDependency> keep = links[i];
            keep->remove();
            return true;
        }
    }
    return false;
}

void KSDependency::_instantiateDependency(const std::shared_ptr<KSDependency>& dependency) {
    if (dependency && !dependency->isValid()) dependency->instantiate();
}

void KSDependency::_removeDependency(const std::shared_ptr<KSDependency>& dependency) {
    if (dependency && dependency->isValid()) dependency->remove();
}

KSUndoManager* KSDependency::undoManager() const {
    if (nonretainedPrerequisite_ && nonretainedPrerequisite_->scenario())
        return nonretainedPrerequisite_->undoManager();
    return nonretainedDependent_ ? nonretainedDependent_->undoManager() : nullptr;
}

void KSDependency::instantiate() {
    if (flags_.isValid || !nonretainedPrerequisite_ || !nonretainedDependent_) return;
    auto self = sharedFromThis<KSDependency>();
    KSUndoManager* um = undoManager();
    if (um) {
        um->registerUndoWithTarget(
            self, [](KSDependency& d) { _removeDependency(d.sharedFromThis<KSDependency>()); });
    }
    nameAction(um, "Create Dependency");
    flags_.isValid = true;
    nonretainedPrerequisite_->_addDependent(self);
    nonretainedDependent_->_addPrerequisite(self);
}

void KSDependency::removeWithUndoManager(KSUndoManager* undoManager) {
    if (!flags_.isValid) return;
    auto self = sharedFromThis<KSDependency>();
    if (undoManager) {
        undoManager->registerUndoWithTarget(self, [](KSDependency& d) {
            _instantiateDependency(d.sharedFromThis<KSDependency>());
        });
        if (undoManager->groupingLevel() == 1) nameAction(undoManager, "Remove Dependency");
    }
    flags_.isValid = false;
    if (nonretainedPrerequisite_) nonretainedPrerequisite_->_removeDependent(*this);
    if (nonretainedDependent_) nonretainedDependent_->_removePrerequisite(*this);
}

void KSDependency::remove() {
    removeWithUndoManager(undoManager());
}

void KSDependency::_forgetTask(const KSTask* task) {
    if (nonretainedPrerequisite_ == task) nonretainedPrerequisite_ = nullptr;
    if (nonretainedDependent_ == task) nonretainedDependent_ = nullptr;
}

// --- Ends and kind ----------------------------------------------------------------------------

KSDependencyKind KSDependency::dependencyKind() const {
    if (flags_.prerequisiteAlignedToEnd)
        return flags_.dependentAlignedToEnd ? KSDependencyFinishToFinish
                                            : KSDependencyFinishToStart;
    return flags_.dependentAlignedToEnd ? KSDependencyStartToFinish : KSDependencyStartToStart;
}

void KSDependency::setDependencyKind(KSDependencyKind kind) {
    if (!flags_.isValid) {
        _setDependencyKind(kind);
        return;
    }
    KSUndoManager* um = undoManager();
    if (um) {
        um->registerUndoWithTarget(
            sharedFromThis<KSDependency>(),
            [old = dependencyKind()](KSDependency& d) { d.setDependencyKind(old); });
    }
    nameAction(um, "Change Dependency Kind");
    willChangeValueForKey("dependencyKind");
    _setDependencyKind(kind);
    didChangeValueForKey("dependencyKind");
}

void KSDependency::_setDependencyKind(KSDependencyKind kind) {
    if (kind < KSDependencyStartToStart || kind > KSDependencyFinishToFinish) return;
    setPrerequisiteAlignedToEnd(kind == KSDependencyFinishToStart ||
                                kind == KSDependencyFinishToFinish);
    setDependentAlignedToEnd(kind == KSDependencyStartToFinish ||
                             kind == KSDependencyFinishToFinish);
}

void KSDependency::setPrerequisiteAlignedToEnd(bool flag) {
    if (flag == flags_.prerequisiteAlignedToEnd) return;
    if (!flags_.isValid) {
        flags_.prerequisiteAlignedToEnd = flag;
        return;
    }
    if (nonretainedDependent_) nonretainedDependent_->_prerequisiteWillChange(*this);
    flags_.prerequisiteAlignedToEnd = flag;
    if (nonretainedPrerequisite_) nonretainedPrerequisite_->_dependentDidChange(*this);
    if (nonretainedDependent_) nonretainedDependent_->_prerequisiteDidChange(*this);
}

void KSDependency::setDependentAlignedToEnd(bool flag) {
    // A group or a milestone is always joined at its start.
    if (nonretainedDependent_ &&
        (nonretainedDependent_->isGroup() || nonretainedDependent_->isMilestone()))
        flag = false;
    _storeDependentAlignedToEnd(flag);
}

void KSDependency::_storeDependentAlignedToEnd(bool flag) {
    if (flag == flags_.dependentAlignedToEnd) return;
    if (!flags_.isValid) {
        flags_.dependentAlignedToEnd = flag;
        return;
    }
    if (nonretainedDependent_) nonretainedDependent_->_prerequisiteWillChange(*this);
    flags_.dependentAlignedToEnd = flag;
    if (nonretainedPrerequisite_) nonretainedPrerequisite_->_dependentDidChange(*this);
    if (nonretainedDependent_) nonretainedDependent_->_prerequisiteDidChange(*this);
}

void KSDependency::setIsActive(bool flag) {
    if (flag == flags_.isActive) return;
    if (nonretainedDependent_) nonretainedDependent_->_prerequisiteWillChange(*this);
    flags_.isActive = flag;
    if (nonretainedDependent_) nonretainedDependent_->_prerequisiteDidChange(*this);
    if (nonretainedPrerequisite_) nonretainedPrerequisite_->_dependentDidChange(*this);
}

// --- Lead time ----------------------------------------------------------------------------------

void KSDependency::setLeadTime(double leadTime) {
    if (leadTime == leadTime_) return;
    if (!flags_.isValid) {
        leadTime_ = leadTime;
        return;
    }
    KSUndoManager* um = undoManager();
    if (um) {
        um->registerUndoWithTarget(sharedFromThis<KSDependency>(),
                                   [old = leadTime_](KSDependency& d) { d.setLeadTime(old); });
    }
    nameAction(um, "Dependency Lead Time");
    willChangeValueForKey("leadTimeGhostDependency");
    if (nonretainedDependent_) nonretainedDependent_->_prerequisiteWillChange(*this);
    leadTime_ = leadTime;
    if (nonretainedDependent_) nonretainedDependent_->_prerequisiteDidChange(*this);
    if (nonretainedPrerequisite_) nonretainedPrerequisite_->_dependentDidChange(*this);
    didChangeValueForKey("leadTimeGhostDependency");
}

void KSDependency::setLeadTimeIsPercentage(bool flag) {
    if (flag == flags_.leadTimeIsPercentage) return;
    if (!flags_.isValid) {
        flags_.leadTimeIsPercentage = flag;
        return;
    }
    KSUndoManager* um = undoManager();
    if (um) {
        um->registerUndoWithTarget(sharedFromThis<KSDependency>(), [old = !flag](KSDependency& d) {
            d.setLeadTimeIsPercentage(old);
        });
    }
    nameAction(um, "Dependency Lead Time");
    willChangeValueForKey("leadTimeGhostDependency");
    if (nonretainedDependent_) nonretainedDependent_->_prerequisiteWillChange(*this);
    flags_.leadTimeIsPercentage = flag;
    // With no lead the bit moves no date: the tasks hear the will-change only, on purpose.
    if (leadTime_ != 0.0) {
        if (nonretainedDependent_) nonretainedDependent_->_prerequisiteDidChange(*this);
        if (nonretainedPrerequisite_) nonretainedPrerequisite_->_dependentDidChange(*this);
    }
    didChangeValueForKey("leadTimeGhostDependency");
}

std::string KSDependency::leadTimeString() const {
    if (leadTimeIsPercentage())
        return KSStringWithFormat("%+d%%", static_cast<long long>(std::lround(leadTime_ * 100.0)));
    // The amount in the project's effort units; in plain hours outside a project.
    char sign = leadTime_ < 0.0 ? '-' : '+';
    KSTask* task = nonretainedPrerequisite_ ? nonretainedPrerequisite_ : nonretainedDependent_;
    KSProject* project = task && task->scenario() ? task->scenario()->project() : nullptr;
    std::string amount =
        project ? project->sharedEffortFormatter()->stringForTimeInterval(std::fabs(leadTime_))
                : KSStringWithFormat("%gh", std::fabs(leadTime_) / 3600.0);
    return KSStringWithFormat("%c%@", static_cast<long long>(sign), amount);
}

void KSDependency::setLeadTimeGhostDependency(const KSDependency& other) {
    willChangeValueForKey("leadTime");
    // The key is spelled as observers of this value have always spelled it.
    willChangeValueForKey("leadTimeIsPercenage");
    setLeadTime(other.leadTime());
    setLeadTimeIsPercentage(other.leadTimeIsPercentage());
    didChangeValueForKey("leadTime");
    didChangeValueForKey("leadTimeIsPercenage");
}

KSScheduling* KSDependency::_leadTimeSchedule() const {
    if (!nonretainedPrerequisite_) return nullptr;
    return leadTimeIsPercentage() ? nonretainedPrerequisite_->schedule()
                                  : nonretainedPrerequisite_->scenarioSchedule();
}

KSDateTime KSDependency::_adjustDateForLeadTimeReverse(const KSDateTime& date, bool reverse) const {
    if (leadTime_ == 0.0 || date.isNull()) return date;
    KSScheduling* work = _leadTimeSchedule();
    if (!work) return date;
    // A percentage is of the prerequisite's effort, in its own work time.
    double amount =
        leadTimeIsPercentage() ? leadTime_ * nonretainedPrerequisite_->effort() : leadTime_;
    if (reverse) amount = -amount;
    if (amount < 0.0) return work->startDateForEndDateAndEffort(date, -amount);
    return work->endDateForStartDateAndEffort(date, amount);
}

double KSDependency::_durationChangeForLeadTime() const {
    if (leadTimeIsPercentage() && nonretainedPrerequisite_)
        return leadTime_ * nonretainedPrerequisite_->duration();
    return leadTime_;
}

// --- Date limits ---------------------------------------------------------------------------------
// A limit on the dependent's end becomes a limit on its start through the dependent's own
// length, and a limit on the prerequisite's start one on its end through the
// prerequisite's. A hammock has no length of its own, so the present-date forms skip it.

KSDateTime KSDependency::dateConstraint() const {
    KSTask* before = nonretainedPrerequisite_;
    KSTask* after = nonretainedDependent_;
    if (!flags_.isActive || !before || !after) return {};
    KSDateTime date = flags_.prerequisiteAlignedToEnd ? before->endDate() : before->startDate();
    if (flags_.dependentAlignedToEnd && !after->isHammockTask())
        date = after->startDateForEndDate(date);
    return _adjustDateForLeadTimeReverse(date, false);
}

KSDateTime KSDependency::currentStartLimitConstraintExcludingOppositeScheduling() const {
    KSTask* before = nonretainedPrerequisite_;
    KSTask* after = nonretainedDependent_;
    if (!flags_.isActive || !before || !after) return {};
    KSDateTime date = before->_computeCurrentStartLimitIncludingOppositeScheduling(false);
    if (flags_.prerequisiteAlignedToEnd) date = before->endDateForStartDate(date);
    if (flags_.dependentAlignedToEnd && !after->isHammockTask())
        date = after->startDateForEndDate(date);
    return _adjustDateForLeadTimeReverse(date, false);
}

KSDateTime KSDependency::currentEndLimitConstraint() const {
    KSTask* before = nonretainedPrerequisite_;
    KSTask* after = nonretainedDependent_;
    if (!flags_.isActive || !before || !after) return {};
    KSDateTime date = flags_.dependentAlignedToEnd ? after->endDate() : after->startDate();
    if (!flags_.prerequisiteAlignedToEnd && !before->isHammockTask())
        date = before->endDateForStartDate(date);
    return _adjustDateForLeadTimeReverse(date, true);
}

KSDateTime KSDependency::currentEndLimitConstraintExcludingOppositeScheduling() const {
    KSTask* before = nonretainedPrerequisite_;
    KSTask* after = nonretainedDependent_;
    if (!flags_.isActive || !before || !after) return {};
    KSDateTime date = after->_computeCurrentEndLimitIncludingOppositeScheduling(false);
    if (!flags_.dependentAlignedToEnd) date = after->startDateForEndDate(date);
    if (!flags_.prerequisiteAlignedToEnd && !before->isHammockTask())
        date = before->endDateForStartDate(date);
    return _adjustDateForLeadTimeReverse(date, true);
}

KSDateTime KSDependency::absoluteStartLimitConstraintForCriticalPath(KSCriticalPath* path) const {
    KSTask* before = nonretainedPrerequisite_;
    KSTask* after = nonretainedDependent_;
    if (!flags_.isActive || !before || !after) return {};
    KSDateTime date = flags_.prerequisiteAlignedToEnd
                          ? before->endForAbsoluteStartLimitForCriticalPath(path)
                          : before->absoluteStartLimitForCriticalPath(path);
    if (flags_.dependentAlignedToEnd) date = after->startDateForEndDate(date);
    return _adjustDateForLeadTimeReverse(date, false);
}

KSDateTime KSDependency::absoluteEndLimitConstraintForCriticalPath(KSCriticalPath* path) const {
    KSTask* before = nonretainedPrerequisite_;
    KSTask* after = nonretainedDependent_;
    if (!flags_.isActive || !before || !after) return {};
    KSDateTime date = flags_.dependentAlignedToEnd
                          ? after->absoluteEndLimitForCriticalPath(path)
                          : after->startForAbsoluteEndLimitForCriticalPath(path);
    if (!flags_.prerequisiteAlignedToEnd) date = before->endDateForStartDate(date);
    return _adjustDateForLeadTimeReverse(date, true);
}

KSDateTime KSDependency::levelingStartLimitConstraint() const {
    KSTask* before = nonretainedPrerequisite_;
    KSTask* after = nonretainedDependent_;
    if (!flags_.isActive || !before || !after) return {};
    KSDateTime date = flags_.prerequisiteAlignedToEnd ? before->levelingEarliestPossibleEnd()
                                                      : before->levelingStartLimit();
    if (date.isNull()) return date;
    if (flags_.dependentAlignedToEnd) date = after->startDateForEndDate(date);
    return _adjustDateForLeadTimeReverse(date, false);
}

KSDateTime KSDependency::levelingEndLimitConstraint() const {
    KSTask* before = nonretainedPrerequisite_;
    KSTask* after = nonretainedDependent_;
    if (!flags_.isActive || !before || !after) return {};
    KSDateTime date = flags_.dependentAlignedToEnd ? after->levelingEndLimit()
                                                   : after->levelingLastPossibleStart();
    if (date.isNull()) return date;
    if (!flags_.prerequisiteAlignedToEnd) date = before->endDateForStartDate(date);
    return _adjustDateForLeadTimeReverse(date, true);
}

}  // namespace kestrum
