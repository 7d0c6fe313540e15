// KSResource: a person, machine or material of the plan (shell).
//
// This shell is the resource-tree node the scenario needs: a project item tracked by the
// scenario's resource engine, with the prototype flag, a name, an e-mail address, a type
// rank and a work calendar. Joining a scenario tells it resourceWillBeInserted, which
// names a nameless resource ("Resource 1", "Resource 2" ...). Costs, units, assignments,
// the file form and the rest arrive with the resource code.
//
//   auto resource = scenario->newResourceOfType(KSResourceTypeRankStaff);
//   scenario->rootResource()->insertObjectInChildrenAtIndex(resource, 0);
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Model/project/KSProjectItem.h"

namespace kestrum {

class KSSchedule;

// Ranks of the resource types.
inline constexpr std::int32_t KSResourceTypeRankStaff = 0;
inline constexpr std::int32_t KSResourceTypeRankEquipment = 1;
inline constexpr std::int32_t KSResourceTypeRankMaterial = 2;
inline constexpr std::int32_t KSResourceTypeRankGroup = 3;

class KSResource : public KSProjectItem {
    KS_DECLARE_CLASS()
public:
    // A staff resource with no name.
    KSResource();
    ~KSResource() override;

    // A prototype is a template of new resources and never scheduled.
    bool isPrototype() const { return isPrototype_; }
    void setIsPrototype(bool flag) { isPrototype_ = flag; }
    // The resource's work calendar; the root resource's is the plan's default.
    const std::shared_ptr<KSSchedule>& schedule() const { return schedule_; }
    // Replaces the schedule by a copy of `schedule`.
    void copySchedule(const KSSchedule& schedule);

    // The name; null until named.
    const std::optional<std::string>& name() const { return name_; }
    // Undoable ("Set Name") once the resource had a name.
    void setName(const std::optional<std::string>& name);
    // The title of a resource is its name.
    std::optional<std::string> title() const override { return name_; }
    void setTitle(const std::optional<std::string>& title) override { setName(title); }
    // The stored address, or null.
    const std::optional<std::string>& emailAddress() const { return emailAddress_; }
    void setEmailAddress(const std::optional<std::string>& address);
    // 0 staff (the default), 1 equipment, 2 material, 3 group.
    std::int32_t resourceTypeRank() const { return resourceTypeRank_; }
    // Undoable ("Change Resource Type"); a group makes the resource a group. Other ranks,
    // and any change of a group that has children, are ignored.
    void setResourceTypeRank(std::int32_t rank);

    // A new resource with this one's name, address, type and calendar, outside any plan.
    std::shared_ptr<KSResource> copy() const;
    // Joins or leaves a plan, telling both scenarios, and takes the children along.
    void setScenario(KSScenario* scenario) override;

    TMDifferenceEngine* differenceEngine() const override;
    std::vector<std::string> userDataKeys() const override;
    std::string subclassLocalizedTypeForUndo() const override;
    std::string idPrefix() const override { return "r"; }

private:
    bool isPrototype_ = false;
    std::optional<std::string> name_;
    std::optional<std::string> emailAddress_;
    std::int32_t resourceTypeRank_ = KSResourceTypeRankStaff;
    std::shared_ptr<KSSchedule> schedule_;
};

}  // namespace kestrum
