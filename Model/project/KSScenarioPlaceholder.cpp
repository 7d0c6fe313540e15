#include "Model/project/KSScenarioPlaceholder.h"

#include <fstream>
#include <iterator>

#include "Model/changes/KSDifferenceEngine.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSUndoManager.h"
#include "Platform/xml/BKXMLCursor.h"
#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLWhitespaceBehavior.h"

namespace kestrum {

// The host is ours to choose; readers compare the path.
const char* const KSProjectFileXMLNamespace = "http://kestrum.invalid/namespace/Kestrum/v2";
const char* const KSScenarioXMLRootElementName = "scenario";

namespace {

KSScenarioXMLReader& installedReader() {
    static KSScenarioXMLReader reader;
    return reader;
}

KSScenarioXMLWriter& installedWriter() {
    static KSScenarioXMLWriter writer;
    return writer;
}

KSError coderMissingError() {
    return KSError::errorWithDescription(
        "Kestrum", 1,
        KSLocalizedString("No reader or writer of scenario documents is installed.",
                          "No reader or writer of scenario documents is installed."));
}

// The bytes of a file, or null when it cannot be read.
std::optional<KSData> contentsOfFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    return KSData(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void setEnginesLoading(KSScenario& scenario, bool flag) {
    if (auto* tasks = scenario.taskDifferenceEngine()) tasks->setIsLoading(flag);
    if (auto* resources = scenario.resourceDifferenceEngine()) resources->setIsLoading(flag);
}

}  // namespace

const KSClassInfo& KSScenarioPlaceholder::staticClassInfo() {
    using P = KSScenarioPlaceholder;
    static const KSClassInfo info = KSClassInfo::make<P>(
        "KSScenarioPlaceholder", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<P>& b) {
            b.custom(
                "name", KSValue::Type::String, [](const P& p) { return KSValue(p.name()); },
                [](P& p, const KSValue& v) {
                    if (!v.isString()) return false;
                    p.setName(v.asString());
                    return true;
                });
            b.custom("scenarioUUID", KSValue::Type::String,
                     [](const P& p) { return KSValue(p.scenarioUUID()); });
            b.attribute("isEditable", &P::isEditable, &P::setIsEditable);
        });
    return info;
}

KSScenarioPlaceholder::KSScenarioPlaceholder(std::shared_ptr<KSScenario> scenario)
    : isEditable_(false), scenario_(std::move(scenario)) {}

KSScenarioPlaceholder::KSScenarioPlaceholder(std::string name, KSData xmlData)
    : name_(std::move(name)), isEditable_(true), xmlData_(std::move(xmlData)) {}

KSScenarioPlaceholder::~KSScenarioPlaceholder() = default;

// --- Identity ----------------------------------------------------------------------------------

std::string KSScenarioPlaceholder::name() const {
    return scenario_ ? scenario_->name() : name_;
}

void KSScenarioPlaceholder::setName(const std::string& name) {
    if (name == name_) return;
    if (scenario_) scenario_->setName(name);
    name_ = name;
}

std::string KSScenarioPlaceholder::scenarioUUID() const {
    return scenario_ ? scenario_->scenarioUUID() : scenarioUUID_;
}

void KSScenarioPlaceholder::setScenarioUUID(std::string uuid) {
    if (scenario_) scenario_->setScenarioUUID(uuid);
    scenarioUUID_ = std::move(uuid);
}

// --- Loading -----------------------------------------------------------------------------------

KSScenario* KSScenarioPlaceholder::scenarioInProject(KSProject& project, KSError* error) {
    if (scenario_) return scenario_.get();
    if (xmlData_.empty() && cachedWrapper_) {
        if (auto bytes = contentsOfFile(*cachedWrapper_)) xmlData_ = std::move(*bytes);
    }
    if (xmlData_.empty()) {
        KSLog("Unable to load scenario \"%@\" from filename \"%@\".", name_, filename_);
        return nullptr;
    }
    return readScenario(project, error) ? scenario_.get() : nullptr;
}

bool KSScenarioPlaceholder::readScenario(KSProject& project, KSError* error) {
    // Reading is not an edit: nothing of it is undoable.
    KSUndoManager* um = project.undoManager();
    if (um) um->disableUndoRegistration();
    project.setLoadingScenario(true);

    auto scenario = std::make_shared<KSScenario>();
    scenario->setProject(&project);
    scenario->setName(name_);
    if (!scenarioUUID_.empty()) scenario->setScenarioUUID(scenarioUUID_);
    setEnginesLoading(*scenario, true);

    KSError readError;
    bool ok = false;
    const KSScenarioXMLReader& reader = installedReader();
    std::unique_ptr<BKXMLDocument> document =
        BKXMLDocument::documentWithData(xmlData_, whitespaceBehavior(), &readError);
    if (document && !reader) {
        readError = coderMissingError();
    } else if (document) {
        BKXMLCursor cursor = document->cursor();
        ok = reader(*scenario, cursor, &project, &readError);
    }
    if (!ok) {
        // The project stays in its loading state: a half-read baseline must not let
        // further scenarios in before the document is dealt with.
        scenario->setProject(nullptr);
        if (um) um->enableUndoRegistration();
        if (error) *error = readError;
        return false;
    }
    setEnginesLoading(*scenario, false);
    scenario_ = scenario;
    scenario->recomputeSchedulingForTasks();
    if (isEditable_) {
        // The scenario is now the truth; a non-editable one is written back as it came.
        xmlData_.clear();
        name_.clear();
        cachedWrapper_.reset();
    }
    if (um) um->enableUndoRegistration();
    project.setLoadingScenario(false);
    return true;
}

void KSScenarioPlaceholder::setXMLData(KSData data) {
    if (scenario_) return;
    xmlData_ = std::move(data);
}

KSData KSScenarioPlaceholder::xmlDataForTaskIds(const std::vector<std::int64_t>* taskIds,
                                                KSBaseObject* attachmentArchiveContext,
                                                const std::string& baseURL, KSProject& project,
                                                KSError* error) {
    if (!taskIds) return xmlData_;
    KSScenario* scenario = scenarioInProject(project, error);
    if (!scenario) return {};
    std::optional<KSData> bytes =
        writeScenario(*scenario, taskIds, attachmentArchiveContext, baseURL, error);
    return bytes ? std::move(*bytes) : KSData();
}

std::optional<KSData> KSScenarioPlaceholder::writeScenario(KSScenario& scenario,
                                                           const std::vector<std::int64_t>* taskIds,
                                                           KSBaseObject* attachmentArchiveContext,
                                                           const std::string& baseURL,
                                                           KSError* error) {
    const KSScenarioXMLWriter& writer = installedWriter();
    if (!writer) {
        if (error) *error = coderMissingError();
        return std::nullopt;
    }
    std::unique_ptr<BKXMLDocument> document = BKXMLDocument::documentWithRootElementName(
        KSScenarioXMLRootElementName, KSProjectFileXMLNamespace, whitespaceBehavior(),
        BKXMLStringEncodingUTF8, error);
    if (!document) return std::nullopt;
    document->setAttributeString("xmlns", KSProjectFileXMLNamespace);
    document->setUserObjectForKey(KSValue(baseURL), "base-url");
    if (!writer(scenario, *document, taskIds, attachmentArchiveContext, error)) {
        return std::nullopt;
    }
    return document->xmlData(error);
}

void KSScenarioPlaceholder::projectDidChange() {
    if (scenario_) scenario_->projectDidChange();
}

std::shared_ptr<KSScenarioPlaceholder> KSScenarioPlaceholder::copy() const {
    if (!scenario_) {
        auto copy = std::make_shared<KSScenarioPlaceholder>(name_, xmlData_);
        copy->filename_ = filename_;
        copy->isEditable_ = isEditable_;
        copy->scenarioUUID_ = scenarioUUID_;
        copy->cachedWrapper_ = cachedWrapper_;
        return copy;
    }
    std::optional<KSData> bytes = writeScenario(*scenario_, nullptr, nullptr, {}, nullptr);
    if (!bytes) return nullptr;
    auto copy = std::make_shared<KSScenarioPlaceholder>(scenario_->name(), std::move(*bytes));
    copy->filename_ = filename_;
    return copy;
}

void KSScenarioPlaceholder::detachScenario() {
    if (scenario_) scenario_->setProject(nullptr);
}

// --- Class settings ----------------------------------------------------------------------------

std::shared_ptr<const BKXMLWhitespaceBehavior> KSScenarioPlaceholder::whitespaceBehavior() {
    static const std::shared_ptr<const BKXMLWhitespaceBehavior> behavior = [] {
        auto made = std::make_shared<BKXMLWhitespaceBehavior>();
        made->setBehaviorForElementName(BKXMLWhitespaceIgnore, KSScenarioXMLRootElementName);
        made->setBehaviorForElementName(BKXMLWhitespacePreserve, "styled-literal-string");
        return made;
    }();
    return behavior;
}

void KSScenarioPlaceholder::setXMLCoder(KSScenarioXMLReader reader, KSScenarioXMLWriter writer) {
    installedReader() = std::move(reader);
    installedWriter() = std::move(writer);
}

const KSScenarioXMLReader& KSScenarioPlaceholder::xmlReader() {
    return installedReader();
}

const KSScenarioXMLWriter& KSScenarioPlaceholder::xmlWriter() {
    return installedWriter();
}

}  // namespace kestrum
