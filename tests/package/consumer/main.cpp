// A tiny application: one document with one plan of one task, scheduled from a Monday.
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include <kestrum/Model/project/KSDocumentProtocol.h>
#include <kestrum/Model/project/KSProject.h>
#include <kestrum/Model/project/KSScenario.h>
#include <kestrum/Model/tasks/KSTask.h>
#include <kestrum/Platform/core/KSUndoManager.h>

namespace {

class Document : public kestrum::KSDocumentProtocol {
public:
    kestrum::KSUndoManager* undoManager() override { return &undo; }
    std::optional<std::string> fileURL() const override { return std::nullopt; }
    std::optional<std::string> savingToURL() const override { return std::nullopt; }
    void presentError(const kestrum::KSError&) override {}
    void setShowHeadingNumbers(bool) override {}
    void resourceLoadSubscriptionFlagDidChange() override {}
    kestrum::KSUndoManager undo;
};

// "day 8554 at 8:00" for Monday 3 June 2024 at 8:00.
std::string text(const kestrum::KSDateTime& date) {
    int minutes = static_cast<int>(date.timeOfDay() / 60.0);
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "day %lld at %d:%02d",
                  static_cast<long long>(date.dayNumber()), minutes / 60, minutes % 60);
    return buffer;
}

}  // namespace

int main() {
    using namespace kestrum;
    Document document;
    auto project = std::make_shared<KSProject>(&document);
    auto scenario = std::make_shared<KSScenario>();
    project->addScenario(scenario);
    // Monday 3 June 2024, 8:00 (day 0 is 1 January 2001).
    scenario->setFixedDate(KSDateTime(8554, 8 * 3600.0));
    auto task = std::make_shared<KSTask>();
    scenario->rootTask()->addChildTask(task);
    task->flushQueuedChanges();
    std::printf("task %lld starts %s, ends %s\n", static_cast<long long>(task->objectId()),
                text(task->startDate()).c_str(), text(task->endDate()).c_str());
    project->invalidate();
    return 0;
}
