// KSTaskConstraint: one thing that acts on a task's date, to explain why the task is where
// it is: the plan's anchor, the group around it, a lock, a constraint of the user, a link,
// a resource busy elsewhere. constraintsActingOnTask lists them, the one that binds first:
// the latest date for a task placed as soon as possible, the earliest for one placed as
// late as possible.
//
//   for (const auto& c : KSTaskConstraint::constraintsActingOnTask(*task))
//       std::puts(c->description().c_str());   // "<b>Design</b> ends at: <span ...>"
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Model/worktime/KSDateTime.h"
#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class KSResource;
class KSTask;

// What imposes the date.
enum KSTaskConstraintType : std::int32_t {
    KSTaskConstraintProjectDate = 0,
    KSTaskConstraintGroup = 1,
    KSTaskConstraintLockedDate = 2,
    KSTaskConstraintUserConstraint = 3,
    KSTaskConstraintDependency = 4,
    KSTaskConstraintResource = 5,
};

class KSTaskConstraint : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    KSTaskConstraint(KSTaskConstraintType type, std::shared_ptr<KSTask> task,
                     const KSDateTime& constraint);
    ~KSTaskConstraint() override;

    // Everything acting on `task`, the binding one first.
    static std::vector<std::shared_ptr<KSTaskConstraint>> constraintsActingOnTask(KSTask& task);
    // One item of `type` on `task` imposing `date`.
    static std::shared_ptr<KSTaskConstraint> constraintWithTypeOnTaskDate(KSTaskConstraintType type,
                                                                          KSTask& task,
                                                                          const KSDateTime& date);

    KSTaskConstraintType type() const { return type_; }
    const std::shared_ptr<KSTask>& task() const { return task_; }
    // The date imposed; null for an inactive link.
    const KSDateTime& constraint() const { return constraint_; }
    const std::shared_ptr<KSResource>& involvedResource() const { return involvedResource_; }
    void setInvolvedResource(std::shared_ptr<KSResource> resource);
    const std::shared_ptr<KSTask>& involvedTask() const { return involvedTask_; }
    void setInvolvedTask(std::shared_ptr<KSTask> task);
    // Orders by the date imposed.
    int compare(const KSTaskConstraint& other) const;
    // One line of HTML, in the words of the task's direction: "Locked start date: <span
    // class="date-text">...</span>".
    std::string description() const override;

private:
    static void _constraintsActingOnASAPTask(KSTask& task,
                                             std::vector<std::shared_ptr<KSTaskConstraint>>& out);
    static void _constraintsActingOnALAPTask(KSTask& task,
                                             std::vector<std::shared_ptr<KSTaskConstraint>>& out);
    std::string _describedWith(const char* format) const;
    std::string _asapDescription() const;
    std::string _alapDescription() const;

    KSTaskConstraintType type_;
    std::shared_ptr<KSTask> task_;
    KSDateTime constraint_;
    std::shared_ptr<KSResource> involvedResource_;
    std::shared_ptr<KSTask> involvedTask_;
};

}  // namespace kestrum
