#include "Model/engine/KSIssueWarnings.h"

#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"

namespace kestrum {

namespace {

template <class T>
const KSClassInfo& warningClassInfo(const char* name) {
    static const KSClassInfo info =
        KSClassInfo::make<T>(name, &KSIssue::staticClassInfo(), [](KSClassBuilder<T>&) {});
    return info;
}

void removeFromTask(KSIssue& issue, const std::string& action) {
    if (action != "removeThisWarning" || !issue.task()) return;
    issue.task()->removeIssue(issue.sharedFromThis<KSIssue>());
}

std::string titleOf(const KSTask* task) {
    return task ? task->title().value_or("") : std::string();
}

}  // namespace

const KSClassInfo& KSLevelingStuckWarning::staticClassInfo() {
    return warningClassInfo<KSLevelingStuckWarning>("KSLevelingStuckWarning");
}
const KSClassInfo& KSReserveTimeWarning::staticClassInfo() {
    return warningClassInfo<KSReserveTimeWarning>("KSReserveTimeWarning");
}
const KSClassInfo& KSNonpersistentIssue::staticClassInfo() {
    return warningClassInfo<KSNonpersistentIssue>("KSNonpersistentIssue");
}

// --- Leveling ---------------------------------------------------------------------------------

KSLevelingStuckWarning::KSLevelingStuckWarning(KSTask* task) : KSIssue(task) {
    if (task) chain_ = task->chainCausingAbsoluteEndLimit();
}

std::string KSLevelingStuckWarning::shortDescription() const {
    return KSLocalizedString("Couldn't fit task during resource leveling");
}

std::string KSLevelingStuckWarning::resultHTMLStringForRawHTMLString(
    const std::string& rawHTML) const {
    return KSStringWithFormat(rawHTML, chainInfoHTML());
}

void KSLevelingStuckWarning::performAction(const std::string& action) {
    removeFromTask(*this, action);
}

std::string KSLevelingStuckWarning::chainInfoHTML() const {
    if (chain_.empty()) return KSLocalizedString("<li>No dependency chain available");
    // The last entry is what holds the chain: a lock or a constraint of that task.
    auto* last = dynamic_cast<KSTask*>(chain_.back().get());
    std::string html;
    if (last) {
        const char* format = nullptr;
        KSDateTime date;
        if (last->isEndDateLocked()) {
            format = "<li>%1$@ has its end date locked on %2$@";
            date = last->endLockedDate();
        } else if (last->isStartDateLocked()) {
            format = "<li>%1$@ has its start date locked on %2$@";
            date = last->startLockedDate();
        } else if (last->noLaterThanConstrainedTaskEnd() == KSConstrainedTaskEndEnd) {
            format = "<li>%1$@ has an end constraint date of %2$@";
            date = last->noLaterThanConstraintDate();
        } else {
            format = "<li>%1$@ has a start no later than constraint date of %2$@";
            date = last->noLaterThanConstraintDate();
        }
        html = KSStringWithFormat(KSLocalizedString(format), titleOf(last), stringForDate(date));
    }
    // Back from the entry before it to the task: each step says how it holds the next.
    KSTask* held = last;
    for (std::size_t i = chain_.size() - 1; i-- > 0;) {
        KSBaseObject* entry = chain_[i].get();
        if (auto* link = dynamic_cast<KSDependency*>(entry)) {
            html += KSStringWithFormat(KSLocalizedString("<li>%1$@ is a prerequisite of %2$@</li>"),
                                       titleOf(link->prerequisite()), titleOf(link->dependent()));
            held = link->prerequisite();
        } else if (auto* task = dynamic_cast<KSTask*>(entry)) {
            const char* format = held && held->parentTask() == task
                                     ? "<li>%1$@ is the group containing %2$@</li>"
                                     : "<li>%1$@ is inside %2$@, and so must end before its "
                                       "group ends</li>";
            html += KSStringWithFormat(KSLocalizedString(format), titleOf(task), titleOf(held));
            held = task;
        }
    }
    return html;
}

// --- Reserve time and issues of reading -------------------------------------------------------

std::string KSReserveTimeWarning::shortDescription() const {
    return KSLocalizedString("Reserve time lost from Kestrum 1.x");
}

void KSReserveTimeWarning::performAction(const std::string& action) {
    removeFromTask(*this, action);
}

std::string KSNonpersistentIssue::resultHTMLStringForRawHTMLString(
    const std::string& rawHTML) const {
    return KSStringWithFormat(rawHTML, bodyText_);
}

void KSNonpersistentIssue::performAction(const std::string& action) {
    removeFromTask(*this, action);
}

}  // namespace kestrum
