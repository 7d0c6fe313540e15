// Fuzz target of link text: reads arbitrary bytes as a prerequisites cell of a small plan
// (outline or flat numbers by the first byte) and checks that
//   - one link either reads as a ghost with a task of the plan at the shown end, nothing at
//     the other and a finite lead, or fails with a message;
//   - a read link prints as text that reads back to the same task and kind;
//   - a list always reads, with at most one link per piece between commas.
// Built with libFuzzer under the "fuzz" preset, and with the replay driver for the smoke
// run of the normal test suite.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "FuzzSupport.h"
#include "Model/formatters/KSDependenciesFormatter.h"
#include "Model/formatters/KSDependencyFormatter.h"
#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"

namespace {

using namespace kestrum;

[[noreturn]] void fail(const char* what, const std::string& text) {
    fuzz::failInvariant("link_parse", what, text);
}

using Document = fuzz::Document;

// Twelve tasks: 1, 2 (with 2.1 to 2.3, and 2.2.1, 2.2.2), 3 ... 7.
struct Plan {
    Document document;
    std::shared_ptr<KSProject> project = std::make_shared<KSProject>(&document);
    std::shared_ptr<KSScenario> scenario = std::make_shared<KSScenario>();
    Plan() {
        project->addScenario(scenario);
        KSTask& root = *scenario->rootTask();
        auto add = [](KSTask& parent) {
            auto task = std::make_shared<KSTask>();
            parent.addChildTask(task);
            return task;
        };
        add(root);
        auto group = add(root);
        add(*group);
        auto inner = add(*group);
        add(*group);
        add(*inner);
        add(*inner);
        for (int i = 0; i < 5; ++i)
            add(root);
        KSRunLoop::current().runUntilIdle();
    }
};

void checkOneLink(KSDependencyFormatter& formatter, const std::string& text) {
    KSValue value;
    std::string error;
    if (!formatter.getObjectValueForString(&value, text, &error)) {
        if (error.empty()) fail("a refusal without a message", text);
        return;
    }
    auto link = value.asObjectOfType<KSDependency>();
    if (!link) fail("a reading that is no link", text);
    KSTask* named = formatter.showingDependents() ? link->dependent() : link->prerequisite();
    KSTask* other = formatter.showingDependents() ? link->prerequisite() : link->dependent();
    if (!named || other) fail("the link's ends", text);
    if (named->scenario() != formatter.scenario() ||
        named == formatter.scenario()->rootTask().get())
        fail("a task outside the plan", text);
    if (!std::isfinite(link->leadTime())) fail("an endless lead", text);
    const std::string printed = formatter.stringForDependency(*link);
    KSValue again;
    if (!formatter.getObjectValueForString(&again, printed, &error))
        fail("printed text does not read back", printed);
    auto reread = again.asObjectOfType<KSDependency>();
    if (reread->prerequisite() != link->prerequisite() ||
        reread->dependent() != link->dependent() ||
        reread->dependencyKind() != link->dependencyKind())
        fail("printed text reads as another link", printed);
}

void checkList(KSDependenciesFormatter& formatter, const std::string& text) {
    KSValue value;
    if (!formatter.getObjectValueForString(&value, text, nullptr)) fail("a list refused", text);
    const std::size_t pieces =
        static_cast<std::size_t>(std::count(text.begin(), text.end(), ',')) + 1;
    if (!value.isArray() || value.asArray().size() > pieces) fail("the list's length", text);
    (void)formatter.stringForObjectValue(value);
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
    static auto one = [] {
        auto formatter = std::make_shared<KSDependencyFormatter>();
        formatter->setScenario(plan->scenario.get());
        return formatter;
    }();
    static auto list = [] {
        auto formatter = std::make_shared<KSDependenciesFormatter>();
        formatter->setScenario(plan->scenario.get());
        return formatter;
    }();
    plan->project->setUseFlatNumbering(data[0] & 1);
    one->setShowingDependents(data[0] & 2);
    list->setShowingDependents(data[0] & 2);
    plan->project->sharedEffortFormatter()->setHoursPerDay((data[0] & 4) ? 6.0f : 8.0f);
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    checkOneLink(*one, text);
    checkList(*list, text);
    // The settings changed above ask for a deferred notice; an application's event loop
    // would run it after the event.
    KSRunLoop::current().runUntilIdle();
    return 0;
}
