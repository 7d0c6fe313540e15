// KSResource: a person, machine or material of the plan (shell).
//
// This shell is the resource-tree node the scenario's edit cycle and membership
// callbacks need: a project item tracked by the scenario's resource engine, with the
// prototype flag. Calendars, costs, assignments and the rest arrive with the resource
// code.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Model/project/KSProjectItem.h"

namespace kestrum {

class KSSchedule;

class KSResource : public KSProjectItem {
    KS_DECLARE_CLASS()
public:
    KSResource();
    ~KSResource() override;

    // A prototype is a template of new resources and never scheduled.
    bool isPrototype() const { return isPrototype_; }
    void setIsPrototype(bool flag) { isPrototype_ = flag; }
    // The resource's work calendar; the root resource's is the plan's default.
    const std::shared_ptr<KSSchedule>& schedule() const { return schedule_; }
    // Replaces the schedule by a copy of `schedule`.
    void copySchedule(const KSSchedule& schedule);

    TMDifferenceEngine* differenceEngine() const override;
    std::vector<std::string> userDataKeys() const override;
    std::string subclassLocalizedTypeForUndo() const override;
    std::string idPrefix() const override { return "r"; }

private:
    bool isPrototype_ = false;
    std::shared_ptr<KSSchedule> schedule_;
};

}  // namespace kestrum
