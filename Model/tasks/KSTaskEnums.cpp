#include "Model/tasks/KSTaskEnums.h"

#include "Platform/core/KSLocalization.h"

namespace kestrum {

namespace {
// Archive word, display key and default, plural key, for each task type.
struct TaskTypeWords {
    const char* word;
    const char* displayDefault;
    const char* plural;
};
const TaskTypeWords kTaskTypeWords[] = {
    {"Task", "task", "Tasks"},
    {"Milestone", "milestone", "Milestones"},
    {"Group", "group", "Groups"},
    {"Hammock", "hammock", "Hammocks"},
};

bool isTaskType(std::int32_t type) {
    return type >= taskTypeTask && type <= taskTypeHammock;
}
}  // namespace

std::string stringForTaskType(std::int32_t type) {
    return isTaskType(type) ? kTaskTypeWords[type].word : "";
}

std::int32_t taskTypeForString(std::string_view text) {
    for (std::int32_t type = taskTypeTask; type <= taskTypeHammock; ++type) {
        const char* word = kTaskTypeWords[type].word;
        if (text == word || text == KSLocalizedString(word)) return type;
    }
    return -1;
}

std::string displayStringForTaskType(std::int32_t type) {
    if (!isTaskType(type)) return "";
    return KSLocalizedString(kTaskTypeWords[type].word, kTaskTypeWords[type].displayDefault);
}

std::string pluralDisplayStringForTaskType(std::int32_t type) {
    if (!isTaskType(type)) return "";
    return KSLocalizedString(kTaskTypeWords[type].plural);
}

std::string displayStringForResourceAssignmentType(std::int32_t type) {
    switch (type) {
        case KSResourceAssignmentFixedEffort:
            return KSLocalizedString("Fixed Effort", "fixed effort");
        case KSResourceAssignmentFixedDuration:
            return KSLocalizedString("Fixed Duration", "fixed duration");
        case KSResourceAssignmentBothFixed:
            return KSLocalizedString("Both Fixed", "variable units");
        default:
            return "";
    }
}

std::optional<std::string> displayStringForStatus(std::int32_t status) {
    switch (status) {
        case KSTaskStatusDueSoon:
            return KSLocalizedString("Almost Due", "due soon");
        case KSTaskStatusDueToday:
            return KSLocalizedString("Due Today", "due in less than one day");
        case KSTaskStatusPastDue:
            return KSLocalizedString("Past Due", "overdue");
        default:
            return std::nullopt;
    }
}

std::string stringForScheduleType(std::int32_t type) {
    return type == scheduleTypeALAP ? "alap" : "asap";
}

std::optional<KSScheduleType> scheduleTypeForString(std::string_view text) {
    if (text == "asap") return scheduleTypeASAP;
    if (text == "alap") return scheduleTypeALAP;
    return std::nullopt;
}

std::string displayStringForScheduleType(std::int32_t type) {
    return KSLocalizedString(type == scheduleTypeALAP ? "ALAP" : "ASAP");
}

}  // namespace kestrum
