// The enumerations of a task, with their archive and display strings.
//
// Archive strings are the words a file and a change log hold; display strings are the
// localized words shown to the user. Values are stored as 32-bit integers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestrum {

// What a task is: plain task, milestone, group of tasks, or hammock spanning its links.
enum KSTaskType : std::int32_t {
    taskTypeTask = 0,
    taskTypeMilestone = 1,
    taskTypeGroup = 2,
    taskTypeHammock = 3,
};

// What a task holds still when units or assignments change.
enum KSResourceAssignmentType : std::int32_t {
    KSResourceAssignmentFixedEffort = 0,
    KSResourceAssignmentFixedDuration = 1,
    KSResourceAssignmentBothFixed = 2,
};

// Due status of a task against today.
enum KSTaskStatus : std::int32_t {
    KSTaskStatusNone = 0,
    KSTaskStatusDueSoon = 1,
    KSTaskStatusDueToday = 2,
    KSTaskStatusPastDue = 3,
    KSTaskStatusCompleted = 4,
};

// Which end of the task a date constraint binds.
enum KSConstrainedTaskEnd : std::int32_t {
    KSConstrainedTaskEndStart = 0,
    KSConstrainedTaskEndEnd = 1,
};

// Which way a task is placed: as soon as possible or as late as possible.
enum KSScheduleType : std::int32_t {
    scheduleTypeASAP = 0,
    scheduleTypeALAP = 1,
};

// "Task", "Milestone", "Group", "Hammock"; "" for an unknown value.
std::string stringForTaskType(std::int32_t type);
// The type of an archive word or of its localized form; -1 for anything else.
std::int32_t taskTypeForString(std::string_view text);
// "task", "milestone", "group", "hammock" (localized).
std::string displayStringForTaskType(std::int32_t type);
// "Tasks", "Milestones", "Groups", "Hammocks" (localized).
std::string pluralDisplayStringForTaskType(std::int32_t type);
// "fixed effort", "fixed duration", "variable units" (localized).
std::string displayStringForResourceAssignmentType(std::int32_t type);
// "due soon", "due in less than one day", "overdue" (localized); null for none and completed.
std::optional<std::string> displayStringForStatus(std::int32_t status);
// "asap" or "alap".
std::string stringForScheduleType(std::int32_t type);
// The schedule type of an archive word, or null for an unknown word.
std::optional<KSScheduleType> scheduleTypeForString(std::string_view text);
// "ASAP" or "ALAP" (localized).
std::string displayStringForScheduleType(std::int32_t type);

}  // namespace kestrum
