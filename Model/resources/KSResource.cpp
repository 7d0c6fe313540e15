#include "Model/resources/KSResource.h"

#include "Model/changes/KSDifferenceEngine.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
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
                [](const KSResource& r) { return optionalString(r.emailAddress()); },
                [](KSResource& r, const KSValue& v) {
                    std::optional<std::string> address;
                    if (!readOptionalString(v, &address)) return false;
                    r.setEmailAddress(address);
                    return true;
                });
            b.attribute("resourceTypeRank", &KSResource::resourceTypeRank,
                        &KSResource::setResourceTypeRank);
        });
    return info;
}

KSResource::KSResource() = default;
KSResource::~KSResource() = default;

void KSResource::copySchedule(const KSSchedule& schedule) {
    schedule_ = schedule.copy();
}

void KSResource::setName(const std::optional<std::string>& name) {
    if (name == name_) return;
    // The first naming is part of making the resource, not an edit of its own.
    if (name_) {
        registerUndo<KSResource>([old = name_](KSResource& r) { r.setName(old); });
        setUndoActionName("Set Name");
    }
    willChangeValueForKey("name");
    name_ = name;
    didChangeValueForKey("name");
    titleDidChange();
}

void KSResource::setEmailAddress(const std::optional<std::string>& address) {
    setUndoableValue<KSResource>(emailAddress_, address, "emailAddress", "",
                                 &KSResource::setEmailAddress);
}

void KSResource::setResourceTypeRank(std::int32_t rank) {
    if (rank < KSResourceTypeRankStaff || rank > KSResourceTypeRankGroup) return;
    if (rank == resourceTypeRank_) return;
    if (resourceTypeRank_ == KSResourceTypeRankGroup && countOfChildren() > 0) return;
    registerUndo<KSResource>(
        [old = resourceTypeRank_](KSResource& r) { r.setResourceTypeRank(old); });
    setIsGroup(rank == KSResourceTypeRankGroup);
    willChangeValueForKey("resourceTypeRank");
    resourceTypeRank_ = rank;
    didChangeValueForKey("resourceTypeRank");
    setUndoActionName("Change Resource Type");
}

std::shared_ptr<KSResource> KSResource::copy() const {
    auto resource = std::make_shared<KSResource>();
    resource->name_ = name_;
    resource->emailAddress_ = emailAddress_;
    resource->setResourceTypeRank(resourceTypeRank_);
    if (schedule_) resource->copySchedule(*schedule_);
    return resource;
}

void KSResource::setScenario(KSScenario* scenario) {
    KSScenario* old = this->scenario();
    if (scenario == old) return;
    KSProjectItem::setScenario(scenario);
    if (old) old->resourceWillBeRemoved(*this);
    if (scenario) scenario->resourceWillBeInserted(*this);
    if (!children()) return;
    for (const auto& child : KSProjectItemList(*children()))
        child->setScenario(scenario);
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
