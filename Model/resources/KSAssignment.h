// KSAssignment: one resource's part in one task (shell).
//
// This shell is what a resource's work calendar needs of an assignment: the task and the
// resource it joins, so that a change of the resource's schedule reaches the dates of the
// task. Units, costs, time spent, specific assignments, the text form and the file form
// arrive with the assignment code, as does the task's own list of its assignments.
//
//   auto assignment = std::make_shared<KSAssignment>(task.get(), resource.get());
//   resource->_addAssignment(assignment);   // the resource's calendar now feeds the task
#pragma once

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class KSResource;
class KSTask;

class KSAssignment : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // An assignment of `resource` to `task`; neither is retained, and neither list is
    // changed here. Whoever joins the two takes the assignment out of the resource's list
    // before the task goes.
    KSAssignment(KSTask* task, KSResource* resource);
    ~KSAssignment() override;

    KSTask* task() const { return nonretainedTask_; }
    void setTask(KSTask* task) { nonretainedTask_ = task; }
    KSResource* resource() const { return nonretainedResource_; }
    void setResource(KSResource* resource) { nonretainedResource_ = resource; }

    // The resource's schedule changed: passed on to the task, whose dates follow.
    void resourceScheduleDidChange();

private:
    KSTask* nonretainedTask_;
    KSResource* nonretainedResource_;
};

}  // namespace kestrum
