#include "Model/engine/KSSchedulingError.h"

#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSScheduling.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/formatters/BKRelativeDateFormatter.h"

namespace kestrum {

namespace {

template <class T, class Base>
const KSClassInfo& issueClassInfo(const char* name) {
    static const KSClassInfo info =
        KSClassInfo::make<T>(name, &Base::staticClassInfo(), [](KSClassBuilder<T>&) {});
    return info;
}

bool bindsEnd(KSConstrainedTaskEnd end) {
    return end == KSConstrainedTaskEndEnd;
}

}  // namespace

#define KS_ISSUE_CLASS_INFO(Class, Base)            \
    const KSClassInfo& Class::staticClassInfo() {   \
        return issueClassInfo<Class, Base>(#Class); \
    }

KS_ISSUE_CLASS_INFO(KSSchedulingError, KSIssue)
KS_ISSUE_CLASS_INFO(KSLockedDateVsPrereqsViolation, KSSchedulingError)
KS_ISSUE_CLASS_INFO(KSConstraintsTooCloseViolation, KSSchedulingError)
KS_ISSUE_CLASS_INFO(KSConstraintsVsPrereqsViolation, KSSchedulingError)
KS_ISSUE_CLASS_INFO(KSALAPConstraintsVsPrereqsViolation, KSSchedulingError)
KS_ISSUE_CLASS_INFO(KSDesiredVsGroupEndViolation, KSSchedulingError)
KS_ISSUE_CLASS_INFO(KSScheduledVsProjectEndViolation, KSSchedulingError)
KS_ISSUE_CLASS_INFO(KSScheduledVsProjectStartViolation, KSSchedulingError)
KS_ISSUE_CLASS_INFO(KSDisconnectedHammockViolation, KSSchedulingError)
KS_ISSUE_CLASS_INFO(KSOutsideScheduleViolation, KSSchedulingError)
KS_ISSUE_CLASS_INFO(KSConstrainedDateVsGranularityViolation, KSSchedulingError)

// --- Dates the actions move to ----------------------------------------------------------------

KSDateTime KSSchedulingError::_moveLockDate() const {
    KSTask* t = task();
    if (!t) return {};
    KSDateTime limit = t->currentStartLimit();
    return t->isEndDateLocked() ? t->endDateForStartDate(limit) : limit;
}

KSDateTime KSSchedulingError::_moveEndDate() const {
    KSTask* t = task();
    return t ? t->endDateForStartDate(t->currentStartLimit()) : KSDateTime();
}

KSDateTime KSSchedulingError::_moveStartDate() const {
    KSTask* t = task();
    return t ? t->startDateForEndDate(_moveEndDate()) : KSDateTime();
}

// --- A lock before the prerequisites ----------------------------------------------------------

std::string KSLockedDateVsPrereqsViolation::shortDescription() const {
    return KSLocalizedString("Locked date set before prerequisites complete");
}

std::string KSLockedDateVsPrereqsViolation::resultHTMLStringForRawHTMLString(
    const std::string& rawHTML) const {
    KSTask* t = task();
    if (!t) return rawHTML;
    return KSStringWithFormat(rawHTML, stringForDate(_moveLockDate()),
                              stringForDate(t->startLockedDate()));
}

void KSLockedDateVsPrereqsViolation::performAction(const std::string& action) {
    KSTask* t = task();
    if (!t) return;
    if (action == "unlock") {
        t->setIsStartDateLocked(false);
        t->setIsEndDateLocked(false);
    } else if (action == "moveLock") {
        // Each lock moves to where the prerequisites let it hold: a locked start to the
        // current start limit, a locked end to the end that follows from that start (a
        // start lock on an end date would hold the task a whole length too late).
        KSDateTime limit = t->currentStartLimit();
        if (t->isEndDateLocked()) t->setEndLockedDate(_moveLockDate());
        if (t->isStartDateLocked()) t->setStartLockedDate(limit);
    }
}

// --- Constraints ------------------------------------------------------------------------------

std::string KSConstraintsTooCloseViolation::shortDescription() const {
    return KSLocalizedString("Constraints too close together");
}

std::string KSConstraintsVsPrereqsViolation::shortDescription() const {
    KSTask* t = task();
    return KSStringWithFormat(KSLocalizedString("%@ constraint hit due to prerequisites"),
                              t ? t->localizedNoLaterThanConstraintTypeName() : std::string());
}

std::optional<std::string> KSConstraintsVsPrereqsViolation::longDescriptionHTMLFile() const {
    KSTask* t = task();
    if (t && bindsEnd(t->noLaterThanConstrainedTaskEnd())) return "Prerequisites-EndConstraint";
    return "Prerequisites-SNLTConstraint";
}

std::string KSConstraintsVsPrereqsViolation::resultHTMLStringForRawHTMLString(
    const std::string& rawHTML) const {
    KSTask* t = task();
    if (!t) return rawHTML;
    bool end = bindsEnd(t->noEarlierThanConstrainedTaskEnd());
    return KSStringWithFormat(rawHTML, stringForDate(end ? _moveEndDate() : _moveStartDate()));
}

void KSConstraintsVsPrereqsViolation::performAction(const std::string& action) {
    KSTask* t = task();
    if (!t) return;
    // Both moves set the no-earlier date, which then holds the task where the
    // prerequisites put it.
    if (action == "removeConstraint") {
        t->setNoLaterThanConstraintDate(KSDateTime());
    } else if (action == "moveEndConstraint") {
        t->setNoEarlierThanConstraintDate(_moveEndDate());
    } else if (action == "moveStartConstraint") {
        t->setNoEarlierThanConstraintDate(_moveStartDate());
    }
}

std::string KSALAPConstraintsVsPrereqsViolation::shortDescription() const {
    KSTask* t = task();
    return KSStringWithFormat(KSLocalizedString("%@ constraint hit due to dependents"),
                              t ? t->localizedNoEarlierThanConstraintTypeName() : std::string());
}

std::optional<std::string> KSALAPConstraintsVsPrereqsViolation::longDescriptionHTMLFile() const {
    KSTask* t = task();
    if (t && bindsEnd(t->noEarlierThanConstrainedTaskEnd())) return "Prerequisites-FNETConstraint";
    return "Prerequisites-StartConstraint";
}

KSDateTime KSALAPConstraintsVsPrereqsViolation::_alapMoveStartDate() const {
    KSTask* t = task();
    return t ? t->startDateForEndDate(t->currentEndLimit()) : KSDateTime();
}

std::string KSALAPConstraintsVsPrereqsViolation::resultHTMLStringForRawHTMLString(
    const std::string& rawHTML) const {
    return KSStringWithFormat(rawHTML, stringForDate(_alapMoveStartDate()));
}

void KSALAPConstraintsVsPrereqsViolation::performAction(const std::string& action) {
    KSTask* t = task();
    if (!t) return;
    if (action == "removeConstraint") {
        t->setNoEarlierThanConstraintDate(KSDateTime());
    } else if (action == "moveStartConstraint") {
        KSDateTime start = _alapMoveStartDate();
        bool end = bindsEnd(t->noEarlierThanConstrainedTaskEnd());
        t->setNoEarlierThanConstraintDate(end ? t->endDateForStartDate(start) : start);
    }
}

// --- The group's end and the plan's anchor ----------------------------------------------------

std::string KSDesiredVsGroupEndViolation::shortDescription() const {
    return KSLocalizedString("Task ends after group's end constraint date");
}

std::string KSDesiredVsGroupEndViolation::resultHTMLStringForRawHTMLString(
    const std::string& rawHTML) const {
    KSTask* t = task();
    if (!t) return rawHTML;
    return KSStringWithFormat(rawHTML, stringForDate(_moveLockDate()),
                              stringForDate(t->endLockedDate()));
}

void KSDesiredVsGroupEndViolation::performAction(const std::string& action) {
    KSTask* t = task();
    KSTask* parent = t ? t->parentTask() : nullptr;
    if (!parent) return;
    if (action == "resetDesiredEndDate") {
        KSDateTime date = parent->noLaterThanConstraintDate();
        if (!bindsEnd(t->noLaterThanConstrainedTaskEnd())) date = t->startDateForEndDate(date);
        t->setNoLaterThanConstraintDate(date);
    } else if (action == "removeEndDateLock") {
        parent->setNoLaterThanConstraintDate(KSDateTime());
    } else if (action == "resetGroupEndDate") {
        if (bindsEnd(parent->noLaterThanConstrainedTaskEnd())) return;
        parent->setNoLaterThanConstraintDate(parent->startDateForEndDate(t->endDate()));
    }
}

std::string KSScheduledVsProjectEndViolation::shortDescription() const {
    return KSLocalizedString("Task ends after project's end date");
}

std::string KSScheduledVsProjectEndViolation::resultHTMLStringForRawHTMLString(
    const std::string& rawHTML) const {
    KSTask* t = task();
    KSScenario* scenario = t ? t->scenario() : nullptr;
    if (!scenario) return rawHTML;
    return KSStringWithFormat(rawHTML, stringForDate(scenario->fixedDate()),
                              stringForDate(t->endDate()));
}

void KSScheduledVsProjectEndViolation::performAction(const std::string& action) {
    KSTask* t = task();
    KSScenario* scenario = t ? t->scenario() : nullptr;
    if (!scenario) return;
    if (action == "resetScheduling") {
        t->setScheduleType(scheduleTypeALAP);
    } else if (action == "changeProjectEnd") {
        scenario->setEndDate(t->endDate());
    }
}

std::string KSScheduledVsProjectStartViolation::shortDescription() const {
    return KSLocalizedString("Task starts before project's start date");
}

std::string KSScheduledVsProjectStartViolation::resultHTMLStringForRawHTMLString(
    const std::string& rawHTML) const {
    KSTask* t = task();
    KSScenario* scenario = t ? t->scenario() : nullptr;
    if (!scenario) return rawHTML;
    return KSStringWithFormat(rawHTML, stringForDate(scenario->fixedDate()),
                              stringForDate(t->startDate()));
}

void KSScheduledVsProjectStartViolation::performAction(const std::string& action) {
    KSTask* t = task();
    KSScenario* scenario = t ? t->scenario() : nullptr;
    if (!scenario) return;
    if (action == "resetScheduling") {
        t->setScheduleType(scheduleTypeASAP);
    } else if (action == "changeProjectEnd") {
        scenario->setStartDate(t->startDate());
    }
}

// --- Hammocks and work time -------------------------------------------------------------------

std::string KSDisconnectedHammockViolation::shortDescription() const {
    return KSLocalizedString("Hammock task doesn't have start and end prerequisites");
}

void KSDisconnectedHammockViolation::performAction(const std::string& action) {
    if (action == "setToTask" && task()) task()->setTaskType(taskTypeTask);
}

std::string KSOutsideScheduleViolation::shortDescription() const {
    return KSLocalizedString("Scheduled outside of resource work time");
}

// --- Granularity ------------------------------------------------------------------------------

std::string KSConstrainedDateVsGranularityViolation::shortDescription() const {
    return KSLocalizedString("Start date doesn't conform to scenario scheduling granularity");
}

std::optional<std::string> KSConstrainedDateVsGranularityViolation::longDescriptionHTMLFile()
    const {
    KSScenario* scenario = task() ? task()->scenario() : nullptr;
    if (scenario && scenario->scheduleGranularity() == KSScheduleGranularityDays)
        return "DayGranularity-Locked";
    return "HourGranularity-Locked";
}

KSDateTime KSConstrainedDateVsGranularityViolation::_laterDate() const {
    return task() ? task()->startDate() : KSDateTime();
}

KSDateTime KSConstrainedDateVsGranularityViolation::_earlierDate() const {
    KSTask* t = task();
    KSScheduling* work = t ? t->schedule() : nullptr;
    if (!work) return {};
    KSScenario* scenario = t->scenario();
    bool days = scenario && scenario->scheduleGranularity() == KSScheduleGranularityDays;
    KSDateTime start = t->startDate();
    auto stepBack = [&](const KSDateTime& from) {
        KSDateTime earlier =
            days ? from.dateByAddingDays(-1) : from.dateByAddingTimeInterval(-3600);
        return work->adjustDateForUseAsStartDate(earlier);
    };
    KSDateTime date = stepBack(start);
    if (date.isEqualToDate(start)) date = stepBack(date);
    return date;
}

std::string KSConstrainedDateVsGranularityViolation::resultHTMLStringForRawHTMLString(
    const std::string& rawHTML) const {
    KSTask* t = task();
    if (!t) return rawHTML;
    BKRelativeDateFormatter formatter;
    formatter.setDateStyle(BKDateFormatterStyle::Short);
    formatter.setTimeStyle(BKDateFormatterStyle::Short);
    auto text = [&](const KSDateTime& date) {
        return date.isNull() ? std::string()
                             : formatter.stringForObjectValue(KSValue(date.nsDate()));
    };
    return KSStringWithFormat(rawHTML, text(t->startDate()), text(t->currentStartLimit()),
                              text(_earlierDate()), text(_laterDate()));
}

void KSConstrainedDateVsGranularityViolation::performAction(const std::string& action) {
    KSTask* t = task();
    if (!t) return;
    if (action == "asap") {
        t->setIsStartDateLocked(false);
        t->setIsEndDateLocked(false);
        t->setResourceLeveledDate(KSDateTime());
    } else if (action == "earlierDate" || action == "laterDate") {
        KSDateTime date = action == "earlierDate" ? _earlierDate() : _laterDate();
        if (t->isStartDateLocked()) {
            t->setStartLockedDate(date);
        } else {
            t->setDesiredStartDate(date);
        }
    } else if (action == "exactScheduling") {
        if (KSScenario* scenario = t->scenario())
            scenario->setScheduleGranularity(KSScheduleGranularityExact);
    }
}

}  // namespace kestrum
