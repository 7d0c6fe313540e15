#include "Model/engine/KSTaskConstraint.h"

#include <algorithm>
#include <utility>

#include "Model/formatters/KSDateFormatter.h"
#include "Model/project/KSScenario.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"

namespace kestrum {

const KSClassInfo& KSTaskConstraint::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSTaskConstraint>(
        "KSTaskConstraint", &KSBaseObject::staticClassInfo(),
        [](KSClassBuilder<KSTaskConstraint>& b) {
            b.readOnly("description", &KSTaskConstraint::description);
        });
    return info;
}

KSTaskConstraint::KSTaskConstraint(KSTaskConstraintType type, std::shared_ptr<KSTask> task,
                                   const KSDateTime& constraint)
    : type_(type), task_(std::move(task)), constraint_(constraint) {}

KSTaskConstraint::~KSTaskConstraint() = default;

std::shared_ptr<KSTaskConstraint> KSTaskConstraint::constraintWithTypeOnTaskDate(
    KSTaskConstraintType type, KSTask& task, const KSDateTime& date) {
    return std::make_shared<KSTaskConstraint>(type, task.sharedFromThis<KSTask>(), date);
}

void KSTaskConstraint::setInvolvedResource(std::shared_ptr<KSResource> resource) {
    involvedResource_ = std::move(resource);
}

void KSTaskConstraint::setInvolvedTask(std::shared_ptr<KSTask> task) {
    involvedTask_ = std::move(task);
}

int KSTaskConstraint::compare(const KSTaskConstraint& other) const {
    return constraint_.compare(other.constraint_);
}

// --- What acts on a task ----------------------------------------------------------------------

std::vector<std::shared_ptr<KSTaskConstraint>> KSTaskConstraint::constraintsActingOnTask(
    KSTask& task) {
    std::vector<std::shared_ptr<KSTaskConstraint>> result;
    if (task.isAsSoonAsPossible()) {
        _constraintsActingOnASAPTask(task, result);
    } else {
        _constraintsActingOnALAPTask(task, result);
    }
    return result;
}

namespace {

using List = std::vector<std::shared_ptr<KSTaskConstraint>>;

void add(List& out, KSTaskConstraintType type, KSTask& task, const KSDateTime& date,
         KSTask* involved = nullptr) {
    auto item = KSTaskConstraint::constraintWithTypeOnTaskDate(type, task, date);
    if (involved) item->setInvolvedTask(involved->sharedFromThis<KSTask>());
    out.push_back(std::move(item));
}

// The task's group, unless that is the plan's root.
KSTask* groupOf(KSTask& task) {
    KSTask* parent = task.parentTask();
    KSScenario* scenario = task.scenario();
    if (!parent || (scenario && parent == scenario->rootTask().get())) return nullptr;
    return parent;
}

// Sorted by date, stable so that items of one date keep the order they were found in.
void sortByDate(List& list) {
    std::stable_sort(list.begin(), list.end(),
                     [](const auto& a, const auto& b) { return a->compare(*b) < 0; });
}

}  // namespace

void KSTaskConstraint::_constraintsActingOnASAPTask(KSTask& task, List& out) {
    KSScenario* scenario = task.scenario();
    if (scenario && !scenario->hasFixedEndDate())
        add(out, KSTaskConstraintProjectDate, task, scenario->fixedDate());
    if (KSTask* group = groupOf(task))
        add(out, KSTaskConstraintGroup, task, group->currentStartLimit(), group);
    if (!task.startLockedDate().isNull()) {
        add(out, KSTaskConstraintLockedDate, task, task.startLockedDate());
    } else if (!task.endLockedDate().isNull()) {
        add(out, KSTaskConstraintLockedDate, task, task.startDateForEndDate(task.endLockedDate()));
    }
    if (!task.noEarlierThanConstraintDate().isNull())
        add(out, KSTaskConstraintUserConstraint, task, task._normalizedNoEarlierDate());
    for (const auto& link : task.prerequisites()) {
        // A hammock's end hangs from its end-aligned links; they do not place its start.
        if (task.isHammockTask() && link->dependentAlignedToEnd()) continue;
        add(out, KSTaskConstraintDependency, task, link->dateConstraint(), link->prerequisite());
    }
    sortByDate(out);
    // The latest date binds.
    std::reverse(out.begin(), out.end());
}

void KSTaskConstraint::_constraintsActingOnALAPTask(KSTask& task, List& out) {
    KSScenario* scenario = task.scenario();
    if (scenario && scenario->hasFixedEndDate())
        add(out, KSTaskConstraintProjectDate, task, scenario->fixedDate());
    if (KSTask* group = groupOf(task))
        add(out, KSTaskConstraintGroup, task, group->currentEndLimit(), group);
    if (!task.endLockedDate().isNull()) {
        add(out, KSTaskConstraintLockedDate, task, task.endLockedDate());
    } else if (!task.startLockedDate().isNull()) {
        add(out, KSTaskConstraintLockedDate, task,
            task.endDateForStartDate(task.startLockedDate()));
    }
    if (!task.noLaterThanConstraintDate().isNull())
        add(out, KSTaskConstraintUserConstraint, task, task._normalizedNoLaterDate());
    for (const auto& link : task.dependents()) {
        if (task.isHammockTask() && !link->dependentAlignedToEnd()) continue;
        KSTask* dependent = link->dependent();
        add(out, KSTaskConstraintDependency, task,
            dependent ? dependent->startDate() : KSDateTime(), dependent);
    }
    // The earliest date binds.
    sortByDate(out);
}

// --- Descriptions -----------------------------------------------------------------------------

std::string KSTaskConstraint::_describedWith(const char* format) const {
    KSScenario* scenario = task_ ? task_->scenario() : nullptr;
    std::string date;
    if (scenario && scenario->sharedDateFormatter()) {
        date = scenario->sharedDateFormatter()->stringForDate(constraint_);
    } else {
        date = KSDateFormatter().stringForDate(constraint_);
    }
    std::string dateHTML = KSStringWithFormat("<span class=\"date-text\">%@</span>", date);
    std::string title = involvedTask_ ? involvedTask_->title().value_or("") : std::string();
    std::string name = involvedResource_ ? involvedResource_->name().value_or("") : std::string();
    return KSStringWithFormat(KSLocalizedString(format), dateHTML, title, name);
}

std::string KSTaskConstraint::_asapDescription() const {
    static const char* const kFormats[] = {
        "Project start date: %1$@",  "Group <b>%2$@</b> start date: %1$@",
        "Locked start date: %1$@",   "Constraint: start no earlier than: %1$@",
        "<b>%2$@</b> ends at: %1$@", "<b>%3$@</b> becomes available after task <b>%2$@</b>: %1$@",
    };
    return _describedWith(kFormats[type_]);
}

std::string KSTaskConstraint::_alapDescription() const {
    static const char* const kFormats[] = {
        "Project end date: %1$@",      "Group <b>%2$@</b> end date: %1$@",
        "Locked end date: %1$@",       "Constraint: end no later than: %1$@",
        "<b>%2$@</b> starts at: %1$@", "<b>%3$@</b> must begin work on task <b>%2$@</b>: %1$@",
    };
    return _describedWith(kFormats[type_]);
}

std::string KSTaskConstraint::description() const {
    if (type_ < KSTaskConstraintProjectDate || type_ > KSTaskConstraintResource) return {};
    return task_ && !task_->isAsSoonAsPossible() ? _alapDescription() : _asapDescription();
}

}  // namespace kestrum
