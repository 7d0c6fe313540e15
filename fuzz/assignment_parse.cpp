// Fuzz target of assignment text: reads arbitrary bytes as the assignments cell of a task
// in a small plan (Ann, 2 units; Testers with Bob and Cid; Sand, a material) and checks that
//   - reading into ghosts leaves them unlisted; reading into the task makes only
//     assignments of more than 0 units, each to a resource of the plan;
//   - the task then holds at most one assignment per resource, each listed by its resource;
//   - the change-log form of what was made reads back to as many assignments;
//   - undoing the edit leaves the task without assignments and the resources without it.
// The first byte picks the target: a plain task, a milestone or a group of two tasks.
// Resources the text named anew are deleted after each input, so the plan stays small.
// Built with libFuzzer under the "fuzz" preset, and with the replay driver for the smoke
// run of the normal test suite.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "FuzzSupport.h"
#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/resources/KSAssignment.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"

namespace {

using namespace kestrum;

[[noreturn]] void fail(const char* what, const std::string& text) {
    fuzz::failInvariant("assignment_parse", what, text);
}

using Document = fuzz::Document;

struct Plan {
    Document document;
    std::shared_ptr<KSProject> project = std::make_shared<KSProject>(&document);
    std::shared_ptr<KSScenario> scenario = std::make_shared<KSScenario>();
    std::shared_ptr<KSTask> task;
    std::shared_ptr<KSTask> milestone;
    std::shared_ptr<KSTask> group;
    std::set<const KSResource*> known;

    std::shared_ptr<KSResource> add(KSResource& parent, const char* name,
                                    const std::shared_ptr<KSResourceType>& type) {
        auto r = std::make_shared<KSResource>();
        r->setName(std::string(name));
        parent.insertObjectInChildrenAtIndex(r, parent.countOfChildren());
        r->setResourceType(type);
        return r;
    }
    std::shared_ptr<KSTask> addTask(KSTask& parent) {
        auto t = std::make_shared<KSTask>();
        parent.addChildTask(t);
        return t;
    }
    Plan() {
        project->addScenario(scenario);
        KSResource& root = *scenario->rootResource();
        add(root, "Ann", KSResourceType::staff())->setUnitsAvailable(2.0);
        auto testers = add(root, "Testers", KSResourceType::group());
        add(*testers, "Bob", KSResourceType::staff());
        add(*testers, "Cid", KSResourceType::staff());
        add(root, "Sand", KSResourceType::material());
        for (const auto& r : root.allResourcesButSelf())
            known.insert(r.get());
        KSTask& top = *scenario->rootTask();
        task = addTask(top);
        milestone = addTask(top);
        milestone->setTaskType(taskTypeMilestone);
        group = addTask(top);
        addTask(*group);
        addTask(*group);
        settle();
    }
    void settle() {
        KSRunLoop::current().runUntilIdle();
        KSRunLoop::current().runOnce();
    }
    void dropNewResources() {
        for (const auto& r : scenario->rootResource()->allResourcesButSelf()) {
            if (!known.count(r.get()) && r->parent()) r->deleteSelf();
        }
        settle();
        document.undo->removeAllActions();
    }
};

void checkAssignments(const KSTask& task, const std::string& text) {
    std::set<const KSResource*> seen;
    for (const auto& a : task.assignments()) {
        if (!a->isValid()) fail("a listed assignment that is a ghost", text);
        if (!(a->unitsAssigned() > 0.0)) fail("an assignment of no units", text);
        if (!a->resource() || !a->resource()->parent()) fail("a resource outside the plan", text);
        if (!seen.insert(a->resource()).second) fail("a resource assigned twice", text);
        const auto& listed = a->resource()->assignments();
        if (std::find(listed.begin(), listed.end(), a) == listed.end())
            fail("an assignment its resource does not list", text);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool quiet = [] {
        KSSetLogHook([](const std::string&) {});
        return true;
    }();
    (void)quiet;
    if (size == 0) return 0;
    static Plan* plan = new Plan();
    KSTask* target = (data[0] % 3 == 0)   ? plan->task.get()
                     : (data[0] % 3 == 1) ? plan->milestone.get()
                                          : plan->group.get();
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);

    for (const auto& ghost :
         KSAssignment::assignmentsForStringOnTaskInstantiate(text, target, false)) {
        // Ghosts take the units as read, whatever they are; only made ones are checked.
        if (ghost->isValid()) fail("a ghost that is listed", text);
    }
    target->setAssignedResourcesString(text);
    KSTaskList leaves;
    if (target->isGroup()) {
        target->addLeafTasksToArray(leaves);
    } else {
        leaves.push_back(target->sharedFromThis<KSTask>());
    }
    for (const auto& leaf : leaves) {
        checkAssignments(*leaf, text);
        std::string log = KSAssignment::changeLogStringForAssignments(leaf->assignments());
        auto back =
            KSAssignment::assignmentsForChangelogStringOnTaskInstantiate(log, leaf.get(), false);
        if (back.size() < leaf->assignments().size()) fail("a change-log form that loses", text);
        leaf->assignedResourcesString();
    }
    plan->settle();
    if (plan->document.undo->canUndo()) plan->document.undo->undo();
    for (const auto& leaf : leaves) {
        if (!leaf->assignments().empty()) fail("undo left assignments", text);
    }
    for (const KSResource* r : plan->known) {
        for (const auto& a : r->assignments()) {
            if (a->isValid() && a->task() && a->task()->scenario())
                fail("undo left a resource assigned", text);
        }
    }
    plan->dropNewResources();
    return 0;
}
