#include "Model/engine/KSIssue.h"

#include "Model/tasks/KSTask.h"
#include "Platform/core/KSLocalization.h"

namespace kestrum {

const KSClassInfo& KSIssue::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSIssue>(
        "KSIssue", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSIssue>& b) {
            b.readOnly("shortDescription", &KSIssue::shortDescription);
            b.readOnly("issueKind", &KSIssue::issueKind);
        });
    return info;
}

const KSClassInfo& KSMaximumEffortExceededError::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSMaximumEffortExceededError>(
        "KSMaximumEffortExceededError", &KSIssue::staticClassInfo(),
        [](KSClassBuilder<KSMaximumEffortExceededError>&) {});
    return info;
}

KSIssue::KSIssue(KSTask* task) : nonretainedTask_(task) {}
KSIssue::~KSIssue() = default;

const std::string& KSIssue::schedulingIssueKind() {
    static const std::string kind = "Scheduling";
    return kind;
}
const std::string& KSIssue::assignmentIssueKind() {
    static const std::string kind = "Assignment";
    return kind;
}
const std::string& KSIssue::constraintIssueKind() {
    static const std::string kind = "Constraints";
    return kind;
}
const std::string& KSIssue::levelingIssueKind() {
    static const std::string kind = "Leveling";
    return kind;
}
const std::string& KSIssue::maximumEffortIssueKind() {
    static const std::string kind = "maximumEffort";
    return kind;
}

std::string KSIssue::shortDescription() const {
    return KSLocalizedString("Generic Issue - this should never be seen");
}

void KSIssue::_addIssueToTask(const std::shared_ptr<KSIssue>& issue, KSTask& task) {
    task.addIssue(issue);
}

void KSIssue::performAction(const std::string&) {}

int KSIssue::compareByType(const KSIssue& other) const {
    int a = type();
    int b = other.type();
    return a < b ? -1 : (a > b ? 1 : 0);
}

std::string KSMaximumEffortExceededError::shortDescription() const {
    return KSLocalizedString("Maximum effort exceeded");
}

void KSMaximumEffortExceededError::performAction(const std::string& action) {
    if (action != "removeThisWarning" || !task()) return;
    task()->removeIssue(sharedFromThis<KSIssue>());
}

}  // namespace kestrum
