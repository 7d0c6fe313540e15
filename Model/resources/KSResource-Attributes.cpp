// KSResource: the attribute identifiers of resource columns, and scrambling.
#include <string_view>

#include "Model/project/KSAttachment.h"
#include "Model/resources/KSAssignedUnitsValue.h"
#include "Model/resources/KSAssignment.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSCalendarEvent.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/contacts/KSABRecord.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"

namespace kestrum {

const char* const KSResourceName = "Resource";
const char* const KSResourceTypeString = "Resource Type";
const char* const KSUniqueID = "Unique ID";
const char* const KSTotalNumber = "#";
const char* const KSNoteContents = "NoteContents";
const char* const KSInstantMessage = "IM";
const char* const KSEfficiency = "Efficiency";
const char* const KSCostPerUse = "Cost/Use";
const char* const KSCostPerHour = "Cost/Hour";
const char* const KSResourceTotalCost = "Total Cost";
const char* const KSResourceTypeIdentifier = "Type";
const char* const KSResourceTotalUses = "Total Uses";
const char* const KSResourceTotalHours = "Total Hours";
const char* const KSCustomWeek = "Custom Work Week";
const char* const KSScheduleException = "Schedule Exception";
const char* const KSAttachments = "Attachments";
const char* const KSResourceLevel = "Resource Level";
const char* const KSAssignmentCost = "Resources Cost";
const char* const KSTime = "Time";
const char* const KSStartDate = "Start";
const char* const KSEndDate = "End";
const char* const KSCompleted = "%Done";

namespace {

KSValue optional(const std::optional<std::string>& text) {
    return text ? KSValue(*text) : KSValue();
}

}  // namespace

KSValue KSResource::valueForUndefinedKey(std::string_view key) const {
    if (key == KSResourceName) return optional(name_);
    if (key == KSResourceTypeString) return KSValue(resourceType_->name());
    if (key == KSUniqueID) return KSValue(static_cast<std::int64_t>(objectId()));
    if (key == KSTotalNumber) return KSValue(unitsAvailableForBinding());
    if (key == KSNoteContents) return KSValue(noteString());
    if (key == KSInstantMessage) return KSValue(addressBookRecord_);
    if (key == KSEfficiency) return efficiencyPercentage();
    if (key == KSCostPerUse) return KSValue(costPerUse());
    if (key == KSCostPerHour) return KSValue(costPerHour());
    if (key == KSResourceTotalCost) return KSValue(currentTotalCost());
    if (key == KSResourceTypeIdentifier) return KSValue(resourceType_);
    if (key == KSResourceTotalUses) return KSValue(totalAssignments());
    if (key == KSResourceTotalHours) return KSValue(totalHours());
    if (key == KSCustomWeek) return KSValue(hasCustomNormalSchedule());
    if (key == KSScheduleException) return KSValue(hasScheduleExceptions());
    if (key == KSAttachments) {
        KSArray list;
        for (const auto& attachment : attachments())
            list.push_back(KSValue(attachment));
        return KSValue(list);
    }
    if (key == KSResourceLevel) return KSValue(level());
    if (key == KSAssignmentCost || key == KSTime) {
        double sum = 0.0;
        for (const auto& assignment : assignments_)
            sum += key == KSTime ? assignment->totalDuration() : assignment->totalCost();
        return KSValue(sum);
    }
    if (key == KSStartDate || key == KSEndDate) {
        KSDateTime found;
        for (const auto& assignment : assignments_) {
            KSTask* task = assignment->task();
            if (!task) continue;
            found = key == KSStartDate ? KSDateTime::earlierDate(found, task->startDate())
                                       : KSDateTime::laterDate(found, task->endDate());
        }
        return found.isNull() ? KSValue() : KSValueTraits<KSDateTime>::toValue(found);
    }
    if (key == KSCompleted) {
        double done = 0.0;
        double effort = 0.0;
        for (const auto& assignment : assignments_) {
            if (KSTask* task = assignment->task()) {
                done += task->effortDone();
                effort += task->effort();
            }
        }
        return KSValue::floatNumber(static_cast<float>(done / effort));
    }
    return KSProjectItem::valueForUndefinedKey(key);
}

KSValueClass KSResource::valueClassForIdentifier(std::string_view identifier) const {
    if (identifier == KSTotalNumber) return KSValueClass::AssignedUnits;
    if (identifier == KSResourceTypeIdentifier) return KSValueClass::ResourceType;
    if (identifier == KSInstantMessage) return KSValueClass::AddressBookPerson;
    for (const char* number :
         {KSCostPerUse, KSCostPerHour, KSResourceTotalCost, KSResourceTotalUses,
          KSResourceTotalHours, KSEfficiency, KSCustomWeek, KSScheduleException}) {
        if (identifier == number) return KSValueClass::Number;
    }
    return KSProjectItem::valueClassForIdentifier(identifier);
}

std::vector<std::string> KSResource::baseAttributeIdentifiers() const {
    std::vector<std::string> keys = KSProjectItem::baseAttributeIdentifiers();
    for (const char* key :
         {"name", "emailAddress", "startOfSchedule", "endOfSchedule", "timeOffString",
          "overtimeString", "otherCalendarsDict", "standardHoursString", "resourceTypeRank"}) {
        keys.emplace_back(key);
    }
    return keys;
}

std::vector<std::string> KSResource::nonGroupAttributeIdentifiers() const {
    return {"unitsAvailable", "efficiency", "costPerUse", "costPerHour"};
}

std::string KSResource::_identifierForAttributeKey(std::string_view key) {
    if (key == "unitsAvailable") return KSTotalNumber;
    if (key == "efficiency") return KSEfficiency;
    if (key == "costPerUse") return KSCostPerUse;
    if (key == "costPerHour") return KSCostPerHour;
    if (key == "resourceTypeRank") return KSResourceTypeIdentifier;
    return std::string(key);
}

std::optional<std::string> KSResource::objectDescription() const {
    return KSStringWithFormat("%@ %@", KSLocalizedString("Resource"), name_.value_or(""));
}

std::int64_t KSResource::gibberizeWithNumber(std::int64_t number) {
    std::int64_t next = KSProjectItem::gibberizeWithNumber(number);
    if (emailAddress_) emailAddress_ = gibberizedString(*emailAddress_);
    std::shared_ptr<KSCalendar> timeOff = schedule_->timeOffCalendar();
    std::shared_ptr<KSCalendar> overtime = schedule_->overtimeCalendar();
    for (const auto& calendar : schedule_->calendars()) {
        for (const auto& event : calendar->events())
            event->setTitle(gibberizedString(event->title()));
        if (calendar != timeOff && calendar != overtime)
            calendar->setName(gibberizedString(calendar->name()));
    }
    return next;
}

}  // namespace kestrum
