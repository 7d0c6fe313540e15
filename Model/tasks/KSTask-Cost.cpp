// KSTask: cost of a task and the earned-value figures against a baseline scenario.
#include <cmath>

#include "Model/project/KSScenario.h"
#include "Model/resources/KSAssignment.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSScheduling.h"

namespace kestrum {

const char* const KSTaskEarnedValue_BCWS = "ev_budgetedCostOfWorkScheduled";
const char* const KSTaskEarnedValue_BCWP = "ev_budgetedCostOfWorkPerformed";
const char* const KSTaskEarnedValue_ACWP = "ev_actualCostOfWorkPerformed";
const char* const KSTaskEarnedValue_CV = "ev_costVariance";
const char* const KSTaskEarnedValue_SV = "ev_scheduleVariance";
const char* const KSTaskEarnedValue_EAC = "ev_estimateAtCompletion";
const char* const KSTaskEarnedValue_BAC = "ev_budgetedAtCompletion";
const char* const KSTaskEarnedValue_VAC = "ev_varianceAtCompletion";
const char* const KSTaskEarnedValue_CPI = "ev_costPerformanceIndex";
const char* const KSTaskEarnedValue_SPI = "ev_schedulePerformanceIndex";
const char* const KSTaskEarnedValue_CVP = "ev_costVariancePercent";
const char* const KSTaskEarnedValue_SVP = "ev_scheduleVariancePercent";
const char* const KSTaskEarnedValue_TCPI = "ev_toCompletePerformanceIndex";

// --- Cost ------------------------------------------------------------------------------------

double KSTask::staticCost() const {
    if (_isGroupTask()) {
        // Whatever is stored, a group costs what its children cost.
        double sum = 0.0;
        KSTaskList children;
        _childrenTasks(children);
        for (const auto& child : children)
            sum += child->staticCost();
        return sum;
    }
    if (flags_.isSplitChunk) {
        if (KSTask* split = parentTask()) {
            return split->staticCost() * effort_ / split->effort();
        }
    }
    return staticCost_;
}

void KSTask::setStaticCost(double cost) {
    if (cost == staticCost_ || KSProjectItem::isGroup()) return;
    registerUndo<KSTask>([old = staticCost_](KSTask& t) { t.setStaticCost(old); });
    _internalSetStaticCost(cost);
    setUndoActionName("Set Task Cost");
}

double KSTask::assignmentsCost() const {
    double sum = 0.0;
    if (_isGroupTask() || isSplitTask_) {
        KSTaskList children;
        _childrenTasks(children);
        for (const auto& child : children)
            sum += child->assignmentsCost();
        return sum;
    }
    for (const auto& assignment : assignments_)
        sum += assignment->totalCost();
    return sum;
}

double KSTask::_costOfWorkToDate(const KSDateTime& date) {
    KSDateTime start = startDate();
    KSDateTime end = endDate();
    if (date.isNull() || !start.isEarlierThanDate(date)) return 0.0;
    if (!end.isLaterThanDate(date)) return totalCost();
    // In progress: the fixed costs accrue with the working time. Without a work division
    // every assignment's cost counts as fixed, and no hourly part is added.
    double worked = schedule()->durationBetweenStartDateAndEndDate(start, date);
    double fixed = staticCost() + assignmentsCost();
    double hourly = 0.0;
    return worked / effort_ * fixed + hourly;
}

// --- Earned value ----------------------------------------------------------------------------

namespace {

struct Figures {
    bool hasBaseline = false;
    double bcws = 0.0;
    double bcwp = 0.0;
    double acwp = 0.0;
    double bac = 0.0;
    double eac = 0.0;
};

KSValue ratio(double numerator, double denominator) {
    return denominator == 0.0 ? KSValue() : KSValue(numerator / denominator);
}

}  // namespace

// The task of the same id in the baseline, its figures and this task's, on the date the
// plan is being edited at.
static Figures figuresOfTask(KSTask& task, const KSScenario* baseline) {
    Figures f;
    KSScenario* plan = task.scenario();
    KSDateTime date = plan ? plan->currentEditingDate() : KSDateTime();
    std::shared_ptr<KSTask> base =
        baseline ? baseline->taskWithIdentifier(task.objectId()) : nullptr;
    if (base) {
        f.hasBaseline = true;
        f.bcws = base->_costOfWorkToDate(date);
        f.bcwp = task.completed() * base->totalCost();
        f.bac = base->totalCost();
    }
    f.acwp = task._costOfWorkToDate(date);
    f.eac = task.totalCost();
    return f;
}

KSValue KSTask::budgetedCostOfWorkScheduledForBaseline(const KSScenario* baseline) {
    return KSValue(figuresOfTask(*this, baseline).bcws);
}

KSValue KSTask::budgetedCostOfWorkPerformedForBaseline(const KSScenario* baseline) {
    return KSValue(figuresOfTask(*this, baseline).bcwp);
}

KSValue KSTask::actualCostOfWorkPerformedForBaseline(const KSScenario* baseline) {
    return KSValue(figuresOfTask(*this, baseline).acwp);
}

KSValue KSTask::costVarianceForBaseline(const KSScenario* baseline) {
    Figures f = figuresOfTask(*this, baseline);
    return KSValue(f.bcwp - f.acwp);
}

KSValue KSTask::scheduleVarianceForBaseline(const KSScenario* baseline) {
    Figures f = figuresOfTask(*this, baseline);
    return KSValue(f.bcwp - f.bcws);
}

KSValue KSTask::estimateAtCompletionForBaseline(const KSScenario*) {
    return KSValue(totalCost());
}

KSValue KSTask::budgetedAtCompletionForBaseline(const KSScenario* baseline) {
    return KSValue(figuresOfTask(*this, baseline).bac);
}

KSValue KSTask::varianceAtCompletionForBaseline(const KSScenario* baseline) {
    Figures f = figuresOfTask(*this, baseline);
    return KSValue(f.bac - f.eac);
}

KSValue KSTask::costPerformanceIndexForBaseline(const KSScenario* baseline) {
    Figures f = figuresOfTask(*this, baseline);
    return ratio(f.bcwp, f.acwp);
}

KSValue KSTask::schedulePerformanceIndexForBaseline(const KSScenario* baseline) {
    Figures f = figuresOfTask(*this, baseline);
    return ratio(f.bcwp, f.bcws);
}

KSValue KSTask::costVariancePercentForBaseline(const KSScenario* baseline) {
    Figures f = figuresOfTask(*this, baseline);
    return ratio(f.bcwp - f.acwp, f.bcwp);
}

KSValue KSTask::scheduleVariancePercentForBaseline(const KSScenario* baseline) {
    Figures f = figuresOfTask(*this, baseline);
    return ratio(f.bcwp - f.bcws, f.bcwp);
}

KSValue KSTask::toCompletePerformanceIndexForBaseline(const KSScenario* baseline) {
    Figures f = figuresOfTask(*this, baseline);
    double divisor = f.bac - f.acwp;
    if (divisor != 0.0) return KSValue((f.bac - f.bcwp) / divisor);
    // Nothing left to spend: on budget when nothing is left to earn either.
    if (f.bac != 0.0 && f.bac - f.bcwp == 0.0) return KSValue(1.0);
    return KSValue();
}

KSValue KSTask::valueForEarnedValueKeyForBaseline(std::string_view key,
                                                  const KSScenario* baseline) {
    using Figure = KSValue (KSTask::*)(const KSScenario*);
    static const std::pair<const char*, Figure> table[] = {
        {KSTaskEarnedValue_BCWS, &KSTask::budgetedCostOfWorkScheduledForBaseline},
        {KSTaskEarnedValue_BCWP, &KSTask::budgetedCostOfWorkPerformedForBaseline},
        {KSTaskEarnedValue_ACWP, &KSTask::actualCostOfWorkPerformedForBaseline},
        {KSTaskEarnedValue_CV, &KSTask::costVarianceForBaseline},
        {KSTaskEarnedValue_SV, &KSTask::scheduleVarianceForBaseline},
        {KSTaskEarnedValue_EAC, &KSTask::estimateAtCompletionForBaseline},
        {KSTaskEarnedValue_BAC, &KSTask::budgetedAtCompletionForBaseline},
        {KSTaskEarnedValue_VAC, &KSTask::varianceAtCompletionForBaseline},
        {KSTaskEarnedValue_CPI, &KSTask::costPerformanceIndexForBaseline},
        {KSTaskEarnedValue_SPI, &KSTask::schedulePerformanceIndexForBaseline},
        {KSTaskEarnedValue_CVP, &KSTask::costVariancePercentForBaseline},
        {KSTaskEarnedValue_SVP, &KSTask::scheduleVariancePercentForBaseline},
        {KSTaskEarnedValue_TCPI, &KSTask::toCompletePerformanceIndexForBaseline},
    };
    for (const auto& [name, figure] : table) {
        if (key == name) return (this->*figure)(baseline);
    }
    return KSValue();
}

}  // namespace kestrum
