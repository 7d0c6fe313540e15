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
// The bytes are parsed here (a malformed document fails the read with an error naming
// the place); the scenario element's contents are read and written by the file code
// through the coder installed with setXMLCoder. Until one is installed, reading fails
// with an error and the placeholder stays unread.
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

class BKXMLCursor;
class BKXMLDocument;
class BKXMLWhitespaceBehavior;
class KSProject;
class KSScenario;

// The namespace of the file format, written as "xmlns" on the root of scenario documents.
extern const char* const KSProjectFileXMLNamespace;
// The root element of a scenario document: "scenario".
extern const char* const KSScenarioXMLRootElementName;

// Fills `scenario` (attached to its project, engines loading) from the root element the
// cursor stands in; true on success, else false with `error`.
using KSScenarioXMLReader =
    std::function<bool(KSScenario& scenario, BKXMLCursor& cursor,
                       KSBaseObject* attachmentArchiveContext, KSError* error)>;
// Writes `scenario` into the root element on top of `document`: the tasks with the given
// ids (all when null), file references relative to the document's "base-url". True on
// success, else false with `error`.
using KSScenarioXMLWriter = std::function<bool(
    KSScenario& scenario, BKXMLDocument& document, const std::vector<std::int64_t>* taskIds,
    KSBaseObject* attachmentArchiveContext, KSError* error)>;

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

    // How scenario documents are parsed: layout whitespace is ignored in the scenario
    // element and kept in styled literal strings.
    static std::shared_ptr<const BKXMLWhitespaceBehavior> whitespaceBehavior();
    // Installs the reader and writer of the scenario's XML form (process-wide).
    static void setXMLCoder(KSScenarioXMLReader reader, KSScenarioXMLWriter writer);
    static const KSScenarioXMLReader& xmlReader();
    static const KSScenarioXMLWriter& xmlWriter();

private:
    bool readScenario(KSProject& project, KSError* error);
    // The bytes of a scenario written through the coder; null with `error` on failure.
    static std::optional<KSData> writeScenario(KSScenario& scenario,
                                               const std::vector<std::int64_t>* taskIds,
                                               KSBaseObject* attachmentArchiveContext,
                                               const std::string& baseURL, KSError* error);

    std::string name_;
    std::string filename_;
    bool isEditable_ = false;
    KSData xmlData_;
    std::shared_ptr<KSScenario> scenario_;
    std::string scenarioUUID_;
    std::optional<std::string> cachedWrapper_;
};

}  // namespace kestrum
