// What the benchmark programs share: the smoke-run switch, a document without a file, an
// empty plan, and a count of heap allocations (bench/AllocationCounter.cpp, linked into
// the programs that report it).
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Model/worktime/KSDateTime.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum::bench {

constexpr double kHour = 3600.0;

// KESTRUM_BENCH_SMOKE=1 (the CTest run) asks for small inputs.
inline bool smoke() {
    const char* value = std::getenv("KESTRUM_BENCH_SMOKE");
    return value && *value && std::string(value) != "0";
}

class Document : public KSDocumentProtocol {
public:
    KSUndoManager* undoManager() override { return &undo; }
    std::optional<std::string> fileURL() const override { return std::nullopt; }
    std::optional<std::string> savingToURL() const override { return std::nullopt; }
    void presentError(const KSError&) override {}
    void setShowHeadingNumbers(bool) override {}
    void resourceLoadSubscriptionFlagDidChange() override {}

    KSUndoManager undo;
};

// An empty plan anchored on Monday 26 February 2024, and its tasks in outline order. Undo
// registration is off, as while a file is read: the benchmarks make edits no one undoes.
struct Plan {
    Document document;
    std::shared_ptr<KSProject> project;
    std::shared_ptr<KSScenario> scenario;
    std::vector<std::shared_ptr<KSTask>> tasks;

    Plan() {
        document.undo.disableUndoRegistration();
        project = std::make_shared<KSProject>(&document);
        scenario = std::make_shared<KSScenario>();
        project->addScenario(scenario);
        scenario->setStartDate(KSDateTime(8456, 8 * kHour));
    }
    ~Plan() { project->invalidate(); }
    Plan(const Plan&) = delete;
    Plan& operator=(const Plan&) = delete;

    KSTask& root() { return *scenario->rootTask(); }
    void recompute() { scenario->recomputeSchedulingForTasks(); }
};

// Heap allocations made by this program so far (operator new calls).
std::size_t allocationCount();

}  // namespace kestrum::bench
