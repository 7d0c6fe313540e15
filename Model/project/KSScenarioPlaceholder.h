// KSScenarioPlaceholder: one entry of a project's scenario list, loaded or still unread.
//
// The first scenario of a project is the actual plan; the others are baselines, which
// stay as the XML they were read from until someone asks for them. A placeholder is
// either loaded (it holds the scenario, and name and identity read through to it) or
// unread (it holds the scenario's XML bytes, or the file they live in, with the stored
// name and identity). scenarioInProject loads an unread placeholder on first use.
//
//   auto placeholder = std::make_shared<KSScenarioPlaceholder>("Baseline", xmlBytes);
//   project->insertInScenarioPlaceholdersAtIndex(placeholder, 1);
//   KSScenario* baseline = placeholder->scenarioInProject(*project);   // reads now
//
// A placeholder made from a file that was not editable keeps its bytes even once loaded,
// and is written back as it came.
//
// The scenario's own XML form is read and written by the file code through the coder
// installed with setXMLCoder (the reader fills a scenario from the bytes; the writer
// answers the bytes of a scenario). Until one is installed, reading fails with an error
// and the placeholder stays unread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSError.h"

namespace kestrum {

class KSProject;
class KSScenario;

// Fills `scenario` (attached to its project, engines loading) from the bytes of a
// scenario document; true on success, else false with `error`.
using KSScenarioXMLReader =
    std::function<bool(KSScenario& scenario, const KSData& xmlData,
                       KSBaseObject* attachmentArchiveContext, KSError* error)>;
// The bytes of `scenario` as a scenario document: the tasks with the given ids (all when
// null), file references relative to `baseURL`. Empty with `error` on failure.
using KSScenarioXMLWriter = std::function<KSData(
    KSScenario& scenario, const std::vector<std::int64_t>* taskIds,
    KSBaseObject* attachmentArchiveContext, const std::string& baseURL, KSError* error)>;

class KSScenarioPlaceholder : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // initWithScenario: loaded, not editable.
    explicit KSScenarioPlaceholder(std::shared_ptr<KSScenario> scenario);
    // initWithName:andData: unread, editable.
    KSScenarioPlaceholder(std::string name, KSData xmlData);
    ~KSScenarioPlaceholder() override;

    // --- Identity -------------------------------------------------------------------------
    // The scenario's name when loaded, else the stored name.
    std::string name() const;
    // Stores the name (and renames a loaded scenario); nothing when it equals the stored one.
    void setName(const std::string& name);
    // The scenario's identity when loaded, else the stored one.
    std::string scenarioUUID() const;
    void setScenarioUUID(std::string uuid);

    // --- Contents -------------------------------------------------------------------------
    // The scenario, read now if the placeholder is unread. Null when there are no bytes
    // (logged) or they do not read; a failed read leaves the project's loadingScenario set.
    KSScenario* scenarioInProject(KSProject& project, KSError* error = nullptr);
    // The scenario when loaded, else null; never reads.
    KSScenario* scenarioIfLoaded() const { return scenario_.get(); }
    const std::shared_ptr<KSScenario>& scenario() const { return scenario_; }
    // The kept bytes (empty when none).
    const KSData& xmlData() const { return xmlData_; }
    // Replaces the kept bytes; nothing on a loaded placeholder.
    void setXMLData(KSData data);
    // The bytes to save. Without task ids: the kept bytes. With them: the loaded (or now
    // read) scenario written through the coder, with "base-url" for file references; empty
    // with `error` when that fails.
    KSData xmlDataForTaskIds(const std::vector<std::int64_t>* taskIds,
                             KSBaseObject* attachmentArchiveContext, const std::string& baseURL,
                             KSProject& project, KSError* error = nullptr);
    // The saved document's file (a path) the bytes are read from when they are not kept.
    const std::optional<std::string>& cachedWrapper() const { return cachedWrapper_; }
    void setCachedWrapper(std::optional<std::string> path) { cachedWrapper_ = std::move(path); }
    // The file name of the scenario within the document.
    const std::string& filename() const { return filename_; }
    void setFilename(std::string filename) { filename_ = std::move(filename); }
    // Whether the scenario may be edited once loaded (then the bytes are dropped).
    bool isEditable() const { return isEditable_; }
    void setIsEditable(bool flag) { isEditable_ = flag; }

    // Tells a loaded scenario that the project changed.
    void projectDidChange();
    // A loaded placeholder's copy holds a copy of the scenario, written and read back
    // through the coder (unread until asked for); an unread one's shares bytes and file.
    std::shared_ptr<KSScenarioPlaceholder> copy() const;
    // Drops the scenario (detaching it first) after it left the project.
    void detachScenario();

    // How scenario documents are parsed: layout whitespace is ignored (1) in the scenario
    // element and kept (2) in styled literal strings.
    static KSDictionary whitespaceBehavior();
    // Installs the reader and writer of the scenario's XML form (process-wide).
    static void setXMLCoder(KSScenarioXMLReader reader, KSScenarioXMLWriter writer);
    static const KSScenarioXMLReader& xmlReader();
    static const KSScenarioXMLWriter& xmlWriter();

private:
    bool readScenario(KSProject& project, KSError* error);

    std::string name_;
    std::string filename_;
    bool isEditable_ = false;
    KSData xmlData_;
    std::shared_ptr<KSScenario> scenario_;
    std::string scenarioUUID_;
    std::optional<std::string> cachedWrapper_;
};

}  // namespace kestrum
