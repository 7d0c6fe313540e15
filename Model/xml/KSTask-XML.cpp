// KSTask: the task element, read and written; copies go through it.
//
// A copy is a write into a private XML document and a read back into a new task, so that a
// copy has exactly the fidelity of a save. Elements follow the order of the file's task
// element and defaults are not written; subtasks of a copy nest as "task" elements.
#include <cmath>

#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSUndoManager.h"
#include "Platform/xml/BKXMLWhitespaceBehavior.h"

namespace kestrum {

namespace {

// The path of the file's XML namespace.
constexpr const char* kTaskNamespace = "/namespace/Kestrum/v2";

const char* const kTypeWords[] = {"task", "milestone", "group", "hammock"};

void appendDate(BKXMLDocument& document, std::string_view name, const KSDateTime& date) {
    if (date.isNull()) return;
    document.appendElementContainingDate(name, date.nsDate());
}

KSDateTime readDate(BKXMLCursor& cursor, std::string_view name) {
    std::optional<KSValue> value = BKObject::readPlatformDateFromCursorElementName(cursor, name);
    if (!value || !value->isDate()) return KSDateTime();
    return KSDateTime(value->asDate());
}

std::optional<double> readDouble(BKObject& reader, BKXMLCursor& cursor, std::string_view name) {
    KSValue value = reader.readDoubleNumberFromCursorElementName("", cursor, name);
    if (value.isNull()) return std::nullopt;
    return value.doubleValue();
}

std::shared_ptr<const BKXMLWhitespaceBehavior> copyWhitespaceBehavior() {
    static const auto behavior = [] {
        auto b = std::make_shared<BKXMLWhitespaceBehavior>();
        b->setBehaviorForElementName(BKXMLWhitespaceIgnore, "task");
        b->setBehaviorForElementName(BKXMLWhitespacePreserve, "styled-literal-string");
        return b;
    }();
    return behavior;
}

}  // namespace

std::shared_ptr<KSTask> KSTask::copyIncludingSubtasks(bool includingSubtasks) const {
    KSUndoManager* um = undoManager();
    // Making a copy is no edit of the plan.
    if (um) um->disableUndoRegistration();
    auto copy = std::make_shared<KSTask>();
    copy->setScenario(scenario());
    if (!copyIntoTaskIncludingSubtasks(*copy, includingSubtasks)) copy.reset();
    if (um) um->enableUndoRegistration();
    return copy;
}

bool KSTask::copyIntoTaskIncludingSubtasks(KSTask& target, bool includingSubtasks) const {
    KSTask& self = const_cast<KSTask&>(*this);
    KSUndoManager* um = undoManager();
    if (um) um->disableUndoRegistration();
    bool read = false;
    KSError error;
    auto document = BKXMLDocument::documentWithRootElementName(
        "task", kTaskNamespace, copyWhitespaceBehavior(), BKXMLStringEncodingUTF8, &error);
    if (document) {
        KSTaskPointerSet alone{this};
        bool written = self.writeContentsXMLIncludingSubtasks(
            *document, includingSubtasks ? nullptr : &alone, nullptr, &error);
        std::optional<KSData> bytes = written ? document->xmlData(&error) : std::nullopt;
        auto parsed =
            bytes ? BKXMLDocument::documentWithData(*bytes, copyWhitespaceBehavior(), &error)
                  : nullptr;
        if (parsed) {
            BKXMLCursor cursor = parsed->cursor();
            read = target.readContentsXML(cursor, nullptr, &error);
        }
    }
    if (um) um->enableUndoRegistration();
    return read;
}

bool KSTask::writeContentsXML(BKXMLDocument& document, KSBaseObject* attachmentArchiveContext,
                              KSError* error) {
    return writeContentsXMLIncludingSubtasks(document, nullptr, attachmentArchiveContext, error);
}

bool KSTask::writeContentsXMLIncludingSubtasks(BKXMLDocument& document,
                                               const KSTaskPointerSet* subset,
                                               KSBaseObject* attachmentArchiveContext,
                                               KSError* error) {
    if (title_) document.appendElementContainingString("title", *title_);
    if (taskType_ != taskTypeTask)
        document.appendElementContainingString("type", kTypeWords[taskType_]);
    KSScheduleType planDefault = _planHasFixedEndDate() ? scheduleTypeALAP : scheduleTypeASAP;
    if (!_isGroupTask() && scheduleType_ != planDefault)
        document.appendElementContainingString("schedule-type",
                                               stringForScheduleType(scheduleType_));
    if (isSplitTask_) document.appendElement("split");
    if (!isSplittableTask_) document.appendElementContainingString("splittable", "no");
    appendDate(document, "leveled-start", resourceLeveledDate_);
    if (priority_ != 0) document.appendElementContainingInteger("priority", priority_);
    if (!isMilestone() && !_isGroupTask()) {
        document.appendElementContainingDouble("effort", effort_);
        document.appendElementContainingDouble("min-estimate", minEffortEstimate_);
        document.appendElementContainingDouble("expected-estimate", expectedEffortEstimate_);
        document.appendElementContainingDouble("max-estimate", maxEffortEstimate_);
    }
    if (isMilestone() && effortDone_ != 0.0)
        document.appendElementContainingDouble("completion-percentage", effortDone_);
    if (!isMilestone() && !_isGroupTask() && effortDone_ != 0.0)
        document.appendElementContainingDouble("effort-done", effortDone_);
    appendDate(document, "locked-start-date", startLockedDate_);
    appendDate(document, "locked-end-date", endLockedDate_);
    if (resourceAssignmentType_ == KSResourceAssignmentFixedDuration)
        document.appendElementContainingString("recalculate", "effort");
    if (resourceAssignmentType_ == KSResourceAssignmentBothFixed)
        document.appendElementContainingString("recalculate", "units");
    if (!flags_.isSplitChunk && staticCost_ != 0.0)
        document.appendElementContainingDouble("static-cost", staticCost_);
    KSTaskList children;
    _childrenTasks(children);
    for (const auto& child : children) {
        if (subset && !subset->count(child.get())) continue;
        document.pushElement("task");
        bool written = child->writeContentsXMLIncludingSubtasks(document, subset,
                                                                attachmentArchiveContext, error);
        document.popElement();
        if (!written) return false;
    }
    if (userData()) {
        for (const auto& entry : *userData()) {
            // Each value is followed by the key it is stored under.
            document.appendElementContainingString("user-data", entry.second.description());
            document.appendElementContainingString("user-data-key", entry.first);
        }
    }
    if (!noEarlierThanConstraintDate_.isNull()) {
        appendDate(document, noEarlierThanEnd_ ? "end-no-earlier-than" : "start-no-earlier-than",
                   noEarlierThanConstraintDate_);
    }
    if (!noLaterThanConstraintDate_.isNull()) {
        appendDate(document, noLaterThanEnd_ ? "end-no-later-than" : "start-no-later-than",
                   noLaterThanConstraintDate_);
    }
    return true;
}

bool KSTask::readContentsXML(BKXMLCursor& cursor, KSBaseObject* attachmentArchiveContext,
                             KSError* error) {
    setIsLoading(true);
    KSValue text = readStringStoringWithKeyFromCursorElementName("", cursor, "title");
    if (text.isString()) title_ = text.asString();
    KSValue type = readStringStoringWithKeyFromCursorElementName("", cursor, "type");
    taskType_ = taskTypeTask;
    for (int t = taskTypeTask; t <= taskTypeHammock; ++t) {
        if (type.isString() && type.asString() == kTypeWords[t])
            taskType_ = static_cast<KSTaskType>(t);
    }
    KSValue schedule = readStringStoringWithKeyFromCursorElementName("", cursor, "schedule-type");
    std::optional<KSScheduleType> parsed =
        schedule.isString() ? scheduleTypeForString(schedule.asString()) : std::nullopt;
    scheduleType_ =
        parsed ? *parsed : (_planHasFixedEndDate() ? scheduleTypeALAP : scheduleTypeASAP);
    isSplitTask_ = readBoolFromCursorElementName("", cursor, "split");
    KSValue splittable = readStringStoringWithKeyFromCursorElementName("", cursor, "splittable");
    isSplittableTask_ = !(splittable.isString() && splittable.asString() == "no");
    resourceLeveledDate_ = readDate(cursor, "leveled-start");
    KSValue priority = readIntegerNumberFromCursorElementName("", cursor, "priority");
    priority_ = priority.isNull() ? 0 : static_cast<std::int32_t>(priority.intValue());
    if (taskType_ == taskTypeGroup || isSplitTask_) KSProjectItem::setIsGroup(true);
    if (!isMilestone() && taskType_ != taskTypeGroup) {
        effort_ = readDouble(*this, cursor, "effort").value_or(0.0);
        minEffortEstimate_ = readDouble(*this, cursor, "min-estimate").value_or(effort_);
        expectedEffortEstimate_ = readDouble(*this, cursor, "expected-estimate").value_or(effort_);
        maxEffortEstimate_ = readDouble(*this, cursor, "max-estimate").value_or(effort_);
    } else {
        effort_ = 0.0;
    }
    effortDone_ = readDouble(*this, cursor, "completion-percentage").value_or(0.0);
    if (auto done = readDouble(*this, cursor, "effort-done")) effortDone_ = *done;
    startLockedDate_ = readDate(cursor, "locked-start-date");
    endLockedDate_ = readDate(cursor, "locked-end-date");
    KSValue recalculate = readStringStoringWithKeyFromCursorElementName("", cursor, "recalculate");
    if (recalculate.isString()) {
        const std::string& word = recalculate.asString();
        if (word == "effort") resourceAssignmentType_ = KSResourceAssignmentFixedDuration;
        if (word == "duration") resourceAssignmentType_ = KSResourceAssignmentFixedEffort;
        if (word == "units") resourceAssignmentType_ = KSResourceAssignmentBothFixed;
    }
    staticCost_ = readDouble(*this, cursor, "static-cost").value_or(0.0);
    bool ok = true;
    while (ok && cursor.openNextChildElementNamed("task")) {
        auto child = std::make_shared<KSTask>();
        child->setScenario(scenario());
        ok = child->readContentsXML(cursor, attachmentArchiveContext, error);
        cursor.closeElement();
        if (ok) insertObjectInChildrenAtIndex(child, countOfChildren());
    }
    KSDictionary data;
    for (;;) {
        KSValue value = readStringStoringWithKeyFromCursorElementName("", cursor, "user-data");
        if (value.isNull()) break;
        KSValue key = readStringStoringWithKeyFromCursorElementName("", cursor, "user-data-key");
        if (key.isString()) data.setObjectForKey(key.asString(), value);
    }
    if (!data.empty()) setUserData(data);
    for (KSConstrainedTaskEnd end : {KSConstrainedTaskEndStart, KSConstrainedTaskEndEnd}) {
        KSDateTime date = readDate(cursor, end ? "end-no-earlier-than" : "start-no-earlier-than");
        if (date.isNull()) continue;
        noEarlierThanConstraintDate_ = date;
        noEarlierThanEnd_ = end;
    }
    for (KSConstrainedTaskEnd end : {KSConstrainedTaskEndStart, KSConstrainedTaskEndEnd}) {
        KSDateTime date = readDate(cursor, end ? "end-no-later-than" : "start-no-later-than");
        if (date.isNull()) continue;
        noLaterThanConstraintDate_ = date;
        noLaterThanEnd_ = end;
    }
    setIsLoading(false);
    return ok;
}

}  // namespace kestrum
