// KSProject: the model of one open document.
//
// The application makes one project per document with the document's protocol object
// (undo manager, file locations, error presentation), then adds scenarios: the first is
// the actual plan, the others baselines. The project holds the id counters that all
// scenarios draw from ("nextTaskId", "nextResourceId", keyed so that the difference
// engines reach them), the user-data key lists and the switch for automatic leveling.
// `invalidate` ends the project and every scenario in it.
//
//   auto project = std::make_shared<KSProject>(&document);
//   auto actual = std::make_shared<KSScenario>();
//   project->addScenario(actual);
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Model/project/KSObject.h"

namespace kestrum {

class KSDocumentProtocol;

class KSProject : public KSObject {
    KS_DECLARE_CLASS()
public:
    // initWithDocument: `document` (not retained) owns the project.
    explicit KSProject(KSDocumentProtocol* document);
    ~KSProject() override;

    KSDocumentProtocol* document() const { return nonretainedDocument_; }
    // The project itself.
    KSProject* project() const override { return const_cast<KSProject*>(this); }
    // The document's undo manager, or null once the document is gone.
    KSUndoManager* undoManager() const override;

    // --- Scenarios ----------------------------------------------------------------------
    // The scenarios in order; the first is the actual plan.
    const std::vector<std::shared_ptr<KSScenario>>& scenarios() const { return scenarios_; }
    // The actual plan, or null before one was added.
    KSScenario* firstScenario() const;
    // Appends `scenario` and attaches it to this project.
    void addScenario(const std::shared_ptr<KSScenario>& scenario);
    // Detaches and removes `scenario`; nothing for a stranger.
    void removeScenario(const std::shared_ptr<KSScenario>& scenario);

    // --- Settings the edit cycle reads --------------------------------------------------
    // The next id for a new task; starts at 1.
    std::int64_t nextTaskId() const { return nextTaskId_; }
    void setNextTaskId(std::int64_t value);
    // The next id for a new resource; starts at 1.
    std::int64_t nextResourceId() const { return nextResourceId_; }
    void setNextResourceId(std::int64_t value);
    // Whether resources are leveled after each edit; false by default.
    bool autoLevelResources() const { return autoLevelResources_; }
    void setAutoLevelResources(bool flag);
    // The style of new notes; null until the project has styles.
    const std::shared_ptr<const KSBaseObject>& noteStyle() const { return noteStyle_; }
    void setNoteStyle(std::shared_ptr<const KSBaseObject> style) { noteStyle_ = std::move(style); }

    // --- User-data keys, in order, for each kind of object ---------------------------------
    const std::vector<std::string>& taskUserDataKeys() const { return taskUserDataKeys_; }
    void setTaskUserDataKeys(std::vector<std::string> keys) { taskUserDataKeys_ = std::move(keys); }
    const std::vector<std::string>& resourceUserDataKeys() const { return resourceUserDataKeys_; }
    void setResourceUserDataKeys(std::vector<std::string> keys) {
        resourceUserDataKeys_ = std::move(keys);
    }
    const std::vector<std::string>& projectUserDataKeys() const { return projectUserDataKeys_; }
    void setProjectUserDataKeys(std::vector<std::string> keys) {
        projectUserDataKeys_ = std::move(keys);
    }
    // The project's own user data uses the project keys.
    std::vector<std::string> userDataKeys() const override { return projectUserDataKeys_; }

    // While a scenario is being loaded the project reports no tracked changes.
    bool loadingScenario() const { return loadingScenario_; }
    void setLoadingScenario(bool flag) { loadingScenario_ = flag; }

    // Ends the project: every scenario is invalidated and detached.
    void invalidate();
    bool isInvalid() const { return isInvalid_; }

    // Every change of the project is a tracked change of its scenarios: it notifies
    // "hasTrackedChanges" around the key's own notice, except while loading a scenario.
    void willChangeValueForKey(std::string_view key) override;
    void didChangeValueForKey(std::string_view key) override;

    std::string subclassLocalizedTypeForUndo() const override;

private:
    KSDocumentProtocol* nonretainedDocument_;
    std::vector<std::shared_ptr<KSScenario>> scenarios_;
    std::int64_t nextTaskId_ = 1;
    std::int64_t nextResourceId_ = 1;
    bool autoLevelResources_ = false;
    bool loadingScenario_ = false;
    bool isInvalid_ = false;
    std::shared_ptr<const KSBaseObject> noteStyle_;
    std::vector<std::string> taskUserDataKeys_;
    std::vector<std::string> resourceUserDataKeys_;
    std::vector<std::string> projectUserDataKeys_;
};

}  // namespace kestrum
