#include "cli/DemoPlan.h"

#include <string>

#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/resources/KSAssignment.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSDependency.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSRunLoop.h"

namespace kestrum::cli {

namespace {

constexpr double kHour = 3600.0;

// Monday 3 June 2024, 08:00: day 8554 of the model's calendar (day 0 is 1 January 2001).
constexpr KSDateTime kPlanStart(8554, 8 * kHour);

std::shared_ptr<KSTask> addTask(KSTask& parent, const std::string& title, double hours) {
    auto task = std::make_shared<KSTask>();
    task->setTitle(title);
    parent.addChildTask(task);
    task->setEffort(hours * kHour);
    return task;
}

std::shared_ptr<KSTask> addGroup(KSTask& parent, const std::string& title) {
    auto group = std::make_shared<KSTask>();
    group->setTitle(title);
    parent.addChildTask(group);
    group->setIsGroup(true);
    return group;
}

std::shared_ptr<KSDependency> addLink(const std::shared_ptr<KSTask>& before,
                                      const std::shared_ptr<KSTask>& after,
                                      KSDependencyKind kind = KSDependencyFinishToStart) {
    return KSDependency::dependencyWithPrerequisiteAndDependentAndKind(before.get(), after.get(),
                                                                       kind);
}

std::shared_ptr<KSResource> addResource(KSResource& parent, const std::string& name,
                                        const std::shared_ptr<KSResourceType>& type) {
    auto resource = std::make_shared<KSResource>();
    resource->setName(name);
    parent.insertObjectInChildrenAtIndex(resource, parent.countOfChildren());
    resource->setResourceType(type);
    return resource;
}

// Two developers in a group, a build machine and the printed launch kits, with their
// costs in US dollars; the assignments are typed as a user would type them.
void addResourcesAndAssignments(KSScenario& scenario) {
    KSResource& everyone = *scenario.rootResource();
    auto developers = addResource(everyone, "Developers", KSResourceType::group());
    auto ann = addResource(*developers, "Ann", KSResourceType::staff());
    ann->setCostPerHour(60.0);
    auto ben = addResource(*developers, "Ben", KSResourceType::staff());
    ben->setCostPerHour(50.0);
    ben->setEfficiency(0.8);
    auto server = addResource(everyone, "Build server", KSResourceType::equipment());
    server->setCostPerUse(200.0);
    server->setCostPerHour(5.0);
    auto kits = addResource(everyone, "Launch kits", KSResourceType::material());
    kits->setCostPerUse(12.5);

    const std::pair<const char*, const char*> assignments[] = {
        {"Requirements", "Ann"},
        {"Architecture", "Ann; Ben {50%}"},
        {"Backend", "Ben; Build server {25%}"},
        {"Frontend", "Ann"},
        {"Integration", "Developers [Ann; Ben]; Build server"},
        {"Test plan", "Ben"},
        {"Testing", "Ann {50%}; Build server"},
        {"Fixes", "Developers [Ann {50%}; Ben]"},
        {"Documentation", "Ben {50%}"},
        {"Launch", "Launch kits {200}"},
    };
    for (const auto& [title, text] : assignments) {
        for (const auto& task : scenario.rootTask()->tasksWithName(title))
            task->setAssignedResourcesString(text);
    }
}

}  // namespace

DemoPlan::DemoPlan() : undo_(std::make_shared<KSUndoManager>()) {
    project_ = std::make_shared<KSProject>(this);
    scenario_ = std::make_shared<KSScenario>();
    project_->addScenario(scenario_);
    scenario_->setStartDate(kPlanStart);
    KSTask& root = *scenario_->rootTask();

    auto design = addGroup(root, "Design");
    auto requirements = addTask(*design, "Requirements", 16);
    auto architecture = addTask(*design, "Architecture", 24);
    addLink(requirements, architecture);

    auto build = addGroup(root, "Build");
    auto backend = addTask(*build, "Backend", 40);
    auto frontend = addTask(*build, "Frontend", 32);
    auto integration = addTask(*build, "Integration", 16);
    addLink(architecture, backend);
    // The front end starts a working day after the back end does.
    addLink(backend, frontend, KSDependencyStartToStart)->setLeadTime(8 * kHour);
    addLink(backend, integration);
    addLink(frontend, integration);

    auto verify = addGroup(root, "Verify");
    auto testPlan = addTask(*verify, "Test plan", 8);
    auto testing = addTask(*verify, "Testing", 24);
    auto fixes = addTask(*verify, "Fixes", 16);
    addLink(requirements, testPlan);
    // The test lead booked Tuesday 4 June for the test plan, before the requirements are
    // done on Tuesday evening: the lock holds and the plan carries an issue for it.
    testPlan->setStartLockedDate(KSDateTime(kPlanStart.dayNumber() + 1, 8 * kHour));
    addLink(testPlan, testing);
    addLink(integration, testing);
    addLink(testing, fixes);

    auto release = addGroup(root, "Release");
    auto documentation = addTask(*release, "Documentation", 16);
    // The writers are free from Monday 24 June.
    documentation->setStartAfter(KSDateTime(kPlanStart.dayNumber() + 21, 8 * kHour));
    auto launch = addTask(*release, "Launch", 0);
    launch->setTaskType(taskTypeMilestone);
    addLink(integration, documentation);
    addLink(fixes, launch);
    addLink(documentation, launch);

    project_->setSelectedCurrency(std::string("USD"));
    addResourcesAndAssignments(*scenario_);
}

DemoPlan::~DemoPlan() {
    project_->invalidate();
}

void DemoPlan::schedule() {
    KSRunLoop::current().runOnce();
}

std::vector<std::shared_ptr<KSTask>> DemoPlan::tasksInOutlineOrder() const {
    return scenario_->rootTask()->allTasksButSelf();
}

void DemoPlan::presentError(const KSError& error) {
    errors_.push_back(error.localizedDescription());
}

}  // namespace kestrum::cli
