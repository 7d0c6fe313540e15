#include "Model/resources/KSResource.h"

#include <algorithm>
#include <utility>

#include "Model/changes/KSDifferenceEngine.h"
#include "Model/formatters/KSResourceNameFormatter.h"
#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/resources/KSAssignment.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSCalendar.h"
#include "Model/worktime/KSSchedule.h"
#include "Platform/core/KSLocalization.h"

namespace kestrum {

namespace {

KSValue optionalString(const std::optional<std::string>& text) {
    return text ? KSValue(*text) : KSValue();
}

// Null or a string; anything else is refused.
bool readOptionalString(const KSValue& value, std::optional<std::string>* out) {
    if (value.isNull()) {
        out->reset();
        return true;
    }
    if (!value.isString()) return false;
    *out = value.asString();
    return true;
}

std::string emptyCalendarText() {
    return KSCalendar::internalChangeStringForEvents({});
}

}  // namespace

const KSClassInfo& KSResource::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSResource>(
        "KSResource", &KSProjectItem::staticClassInfo(), [](KSClassBuilder<KSResource>& b) {
            b.readOnly("isPrototype", &KSResource::isPrototype);
            b.custom(
                "name", KSValue::Type::String,
                [](const KSResource& r) { return optionalString(r.name()); },
                [](KSResource& r, const KSValue& v) {
                    std::optional<std::string> name;
                    if (!readOptionalString(v, &name)) return false;
                    r.setName(name);
                    return true;
                });
            b.custom(
                "emailAddress", KSValue::Type::String,
                [](const KSResource& r) { return optionalString(r.emailAddress_); },
                [](KSResource& r, const KSValue& v) {
                    std::optional<std::string> address;
                    if (!readOptionalString(v, &address)) return false;
                    r.setEmailAddress(address);
                    return true;
                });
            b.attribute("resourceTypeRank", &KSResource::resourceTypeRank,
                        &KSResource::setResourceTypeRank);
            _registerValueAttributes(b);
            b.attribute("startOfSchedule", &KSResource::startOfSchedule,
                        &KSResource::setStartOfSchedule);
            b.attribute("endOfSchedule", &KSResource::endOfSchedule, &KSResource::setEndOfSchedule);
            b.custom(
                "standardHoursString", KSValue::Type::String,
                [](const KSResource& r) { return KSValue(r.standardHoursString()); },
                [](KSResource& r, const KSValue& v) {
                    if (!v.isString()) return false;
                    r.setStandardHoursString(v.asString());
                    return true;
                });
            // Calendar texts: a null value stands for a calendar with no events.
            b.custom(
                "timeOffString", KSValue::Type::String,
                [](const KSResource& r) { return KSValue(r.timeOffString()); },
                [](KSResource& r, const KSValue& v) {
                    if (!v.isNull() && !v.isString()) return false;
                    r.setTimeOffString(v.isNull() ? emptyCalendarText() : v.asString());
                    return true;
                });
            b.custom(
                "overtimeString", KSValue::Type::String,
                [](const KSResource& r) { return KSValue(r.overtimeString()); },
                [](KSResource& r, const KSValue& v) {
                    if (!v.isNull() && !v.isString()) return false;
                    r.setOvertimeString(v.isNull() ? emptyCalendarText() : v.asString());
                    return true;
                });
            b.custom(
                "otherCalendarsDict", KSValue::Type::Dictionary,
                [](const KSResource& r) {
                    std::optional<KSDictionary> calendars = r.otherCalendarsDict();
                    return calendars ? KSValue(*calendars) : KSValue();
                },
                [](KSResource& r, const KSValue& v) {
                    if (!v.isNull() && !v.isDictionary()) return false;
                    r.setOtherCalendarsDict(v.isNull() ? std::nullopt
                                                       : std::optional(v.asDictionary()));
                    return true;
                });
            b.readOnly("hasCustomNormalSchedule", &KSResource::hasCustomNormalSchedule);
            b.readOnly("hasScheduleExceptions", &KSResource::hasScheduleExceptions);
        });
    return info;
}

KSResource::KSResource() : schedule_(KSSchedule::schedule()) {
    schedule_->setDelegate(this);
}

KSResource::~KSResource() {
    // Tasks and undo steps may keep the schedule alive; it must not call back here.
    if (schedule_->delegate() == this) schedule_->setDelegate(nullptr);
}

KSResource* KSResource::parentResource() const {
    return dynamic_cast<KSResource*>(parent());
}

// --- Work calendar ---------------------------------------------------------------------------

std::shared_ptr<KSSchedule> KSResource::_parentSchedule() const {
    KSResource* p = parentResource();
    return p ? p->schedule_ : nullptr;
}

std::shared_ptr<KSSchedule> KSResource::inheritedScheduleForSchedule() const {
    return _parentSchedule();
}

void KSResource::copySchedule(const KSSchedule& schedule) {
    _setSchedule(schedule.copy());
}

void KSResource::_setSchedule(std::shared_ptr<KSSchedule> schedule) {
    if (!schedule || schedule == schedule_) return;
    // Undo puts back the very object, so that the undo steps recorded on it still apply.
    registerUndo<KSResource>([old = schedule_](KSResource& r) { r._setSchedule(old); });
    // A copy shares its original's delegate; it answers to nobody until it is in place,
    // so that taking the parent's schedule here tells no one.
    schedule->setDelegate(nullptr);
    schedule->setInheritedSchedule(_parentSchedule());
    schedule_->_willChange();
    std::shared_ptr<KSSchedule> old = std::exchange(schedule_, std::move(schedule));
    if (old->delegate() == this) old->setDelegate(nullptr);
    schedule_->setDelegate(this);
    for (const auto& child : childSchedules())
        child->setInheritedSchedule(schedule_);
    schedule_->_didChange();
}

bool KSResource::hasCustomNormalSchedule() const {
    return schedule_->hasCustomNormalSchedule();
}

bool KSResource::hasScheduleExceptions() const {
    const auto& calendars = schedule_->calendars();
    return std::any_of(calendars.begin(), calendars.end(),
                       [](const auto& calendar) { return !calendar->events().empty(); });
}

KSDateTime KSResource::startOfSchedule() const {
    return schedule_->startOfSchedule();
}

void KSResource::setStartOfSchedule(const KSDateTime& date) {
    KSDateTime own =
        schedule_->startOfScheduleIsCustom() ? schedule_->startOfSchedule() : KSDateTime();
    if (date.isIdenticalTo(own)) return;
    willChangeValueForKey("startOfSchedule");
    schedule_->setStartOfSchedule(date);
    didChangeValueForKey("startOfSchedule");
}

KSDateTime KSResource::endOfSchedule() const {
    return schedule_->endOfSchedule();
}

void KSResource::setEndOfSchedule(const KSDateTime& date) {
    KSDateTime own = schedule_->endOfScheduleIsCustom() ? schedule_->endOfSchedule() : KSDateTime();
    if (date.isIdenticalTo(own)) return;
    willChangeValueForKey("endOfSchedule");
    schedule_->setEndOfSchedule(date);
    didChangeValueForKey("endOfSchedule");
}

std::string KSResource::standardHoursString() const {
    return schedule_->standardHoursString();
}

void KSResource::setStandardHoursString(const std::string& text) {
    if (text == schedule_->standardHoursString()) return;
    willChangeValueForKey("standardHoursString");
    schedule_->setStandardHoursString(text);
    didChangeValueForKey("standardHoursString");
}

// --- KSScheduleDelegate ------------------------------------------------------------------------

KSUndoManager* KSResource::undoManagerForSchedule(KSSchedule&) {
    return undoManager();
}

void KSResource::scheduleWillChange() {
    if (TMDifferenceEngine* engine = differenceEngine()) engine->objectWillChange(*this);
    willChangeValueForKey("hasTrackedChanges");
    willChangeValueForKey("hasCustomNormalSchedule");
    willChangeValueForKey("hasScheduleExceptions");
}

void KSResource::scheduleDidChange() {
    if (TMDifferenceEngine* engine = differenceEngine()) engine->objectDidChange(*this);
    didChangeValueForKey("hasTrackedChanges");
    didChangeValueForKey("hasCustomNormalSchedule");
    didChangeValueForKey("hasScheduleExceptions");
    // The dates are dropped once the schedule is settled: a task read in between would
    // cache dates of a half-made calendar.
    KSScenario* owner = scenario();
    if (!owner) return;
    if (_isPlanRootResource()) {
        owner->planScheduleDidChange();
        return;
    }
    // Index by index: invalidation does not change the list, but stays safe if it did.
    for (std::size_t i = 0; i < assignments_.size(); ++i)
        assignments_[i]->resourceScheduleDidChange();
}

int KSResource::scheduleGranularity() {
    KSScenario* owner = scenario();
    return owner ? owner->scheduleGranularity() : KSScheduleGranularityExact;
}

std::shared_ptr<KSSchedule> KSResource::genericWorktimeSchedule() {
    KSProject* owner = project();
    if (!owner || !owner->sharedDurationFormatter()) return nullptr;
    const KSTimeSpanFormatter& formatter = *owner->sharedDurationFormatter();
    return KSSchedule::genericScheduleForHoursPerDayHoursPerWeek(formatter.hoursPerDay(),
                                                                 formatter.hoursPerWeek());
}

std::vector<std::shared_ptr<KSSchedule>> KSResource::childSchedules() {
    std::vector<std::shared_ptr<KSSchedule>> schedules;
    if (!children()) return schedules;
    schedules.reserve(children()->size());
    for (const auto& child : *children()) {
        if (auto* resource = dynamic_cast<KSResource*>(child.get()))
            schedules.push_back(resource->schedule_);
    }
    return schedules;
}

bool KSResource::_isPlanRootResource() const {
    KSScenario* owner = scenario();
    return owner && owner->rootResource().get() == this;
}

void KSResource::setName(const std::optional<std::string>& name) {
    std::optional<std::string> cleaned;
    if (name) cleaned = KSResourceNameFormatter::replaceUnwantedCharacters(*name);
    if (cleaned == name_) return;
    // The first naming is part of making the resource, not an edit of its own.
    if (name_) {
        registerUndo<KSResource>([old = name_](KSResource& r) { r.setName(old); });
        setUndoActionName("Set Name");
    }
    _resourceValuesWillChange();
    willChangeValueForKey("name");
    name_ = cleaned;
    didChangeValueForKey("name");
    _resourceValuesDidChange();
    titleDidChange();
}

void KSResource::setEmailAddress(const std::optional<std::string>& address) {
    setUndoableValue<KSResource>(emailAddress_, address, "emailAddress", "",
                                 &KSResource::setEmailAddress);
}

void KSResource::setResourceTypeRank(std::int32_t rank) {
    if (auto type = KSResourceType::resourceTypeWithRank(rank)) setResourceType(type);
}

std::shared_ptr<KSResource> KSResource::copy() const {
    auto resource = std::make_shared<KSResource>();
    resource->name_ = name_;
    resource->emailAddress_ = emailAddress_;
    resource->_storeResourceType(resourceType_);
    resource->unitsAvailable_ = unitsAvailable_;
    resource->efficiency_ = efficiency_;
    resource->costPerUse_ = costPerUse_;
    resource->costPerHour_ = costPerHour_;
    resource->addressBookRecord_ = addressBookRecord_;
    resource->missingAddressBookUUID_ = missingAddressBookUUID_;
    resource->copySchedule(*schedule_);
    return resource;
}

void KSResource::setScenario(KSScenario* scenario) {
    KSScenario* old = this->scenario();
    if (scenario == old) return;
    // The assignments belong to the plan that is left.
    if (old && !old->isInvalid()) removeAllAssignments();
    KSProjectItem::setScenario(scenario);
    if (old) old->resourceWillBeRemoved(*this);
    if (scenario) scenario->resourceWillBeInserted(*this);
    // Leaving a plan lets go of the parent's schedule (the parent may go first); coming
    // back, as on undo of a deletion, takes it up again.
    schedule_->setInheritedSchedule(scenario ? _parentSchedule() : nullptr);
    if (!children()) return;
    for (const auto& child : KSProjectItemList(*children()))
        child->setScenario(scenario);
}

void KSResource::_setParent(KSProjectItem* parent) {
    KSProjectItem::_setParent(parent);
    schedule_->setInheritedSchedule(_parentSchedule());
}

TMDifferenceEngine* KSResource::differenceEngine() const {
    KSScenario* owner = scenario();
    return owner ? owner->resourceDifferenceEngine() : nullptr;
}

std::vector<std::string> KSResource::userDataKeys() const {
    KSProject* owner = project();
    return owner ? owner->resourceUserDataKeys() : std::vector<std::string>();
}

std::string KSResource::subclassLocalizedTypeForUndo() const {
    return KSLocalizedString("Resource (for undo/redo only)", "Resource");
}

}  // namespace kestrum
