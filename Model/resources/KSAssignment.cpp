#include "Model/resources/KSAssignment.h"

#include "Model/tasks/KSTask.h"

namespace kestrum {

const KSClassInfo& KSAssignment::staticClassInfo() {
    static const KSClassInfo info("KSAssignment", &KSBaseObject::staticClassInfo());
    return info;
}

KSAssignment::KSAssignment(KSTask* task, KSResource* resource)
    : nonretainedTask_(task), nonretainedResource_(resource) {}

KSAssignment::~KSAssignment() = default;

void KSAssignment::resourceScheduleDidChange() {
    if (nonretainedTask_) nonretainedTask_->resourceScheduleDidChange();
}

}  // namespace kestrum
