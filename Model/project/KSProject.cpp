// KSProject: lifecycle, scenario list, id counters and change hooks.
#include "Model/project/KSProject.h"

#include <algorithm>

#include "Model/formatters/KSTimeSpanFormatter.h"
#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSFilter.h"
#include "Model/project/KSScenario.h"
#include "Model/project/KSScenarioPlaceholder.h"
#include "Model/resources/KSResource.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSNumberText.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/styles/HLStyle.h"
#include "Platform/styles/HLStyleContext.h"

namespace kestrum {

namespace {
// The context of the project's observations of its formatters.
const char kFormatterContext[] = "KSProjectFormatterContext";

KSArray KSArrayOfStrings(const std::vector<std::string>& strings) {
    KSArray array;
    for (const auto& text : strings)
        array.push_back(KSValue(text));
    return array;
}
}  // namespace

const KSClassInfo& KSProject::staticClassInfo() {
    using P = KSProject;
    static const KSClassInfo info =
        KSClassInfo::make<P>("KSProject", &KSObject::staticClassInfo(), [](KSClassBuilder<P>& b) {
            b.attribute("nextTaskId", &P::nextTaskId, &P::setNextTaskId);
            b.attribute("nextResourceId", &P::nextResourceId, &P::setNextResourceId);
            b.custom(
                "title", KSValue::Type::String,
                [](const P& p) { return p.title() ? KSValue(*p.title()) : KSValue(); },
                [](P& p, const KSValue& v) {
                    if (!v.isNull() && !v.isString()) return false;
                    p.setTitle(v.isNull() ? std::nullopt
                                          : std::optional<std::string>(v.asString()));
                    return true;
                });
            b.attribute("useFlatNumbering", &P::useFlatNumbering, &P::setUseFlatNumbering);
            b.attribute("showHeadingNumbers", &P::showHeadingNumbers, &P::setShowHeadingNumbers);
            b.attribute("displayDates", &P::displayDates, &P::setDisplayDates);
            b.attribute("displayTimes", &P::displayTimes, &P::setDisplayTimes);
            b.attribute("displaySeconds", &P::displaySeconds, &P::setDisplaySeconds);
            b.attribute("autoLevelResources", &P::autoLevelResources, &P::setAutoLevelResources);
            b.attribute("levelConstrainsCompletionDate", &P::levelConstrainsCompletionDate,
                        &P::setLevelConstrainsCompletionDate);
            b.attribute("levelUpdatesSelectedTasks", &P::levelUpdatesSelectedTasks,
                        &P::setLevelUpdatesSelectedTasks);
            b.attribute("rescheduleUpdatesSelectedTasks", &P::rescheduleUpdatesSelectedTasks,
                        &P::setRescheduleUpdatesSelectedTasks);
            b.attribute("writeExtendedXML", &P::writeExtendedXML, &P::setWriteExtendedXML);
            b.attribute("publishAllocations", &P::publishAllocations, &P::setPublishAllocations);
            b.attribute("subscribeToAllocations", &P::subscribeToAllocations,
                        &P::setSubscribeToAllocations);
            b.attribute("criticalPathSlackLimit", &P::criticalPathSlackLimit,
                        &P::setCriticalPathSlackLimit);
            b.attribute("minimumSplitDuration", &P::minimumSplitDuration,
                        &P::setMinimumSplitDuration);
            b.attribute("minEffortMultiplier", &P::minEffortMultiplier, &P::setMinEffortMultiplier);
            b.attribute("expectedEffortMultiplier", &P::expectedEffortMultiplier,
                        &P::setExpectedEffortMultiplier);
            b.attribute("maxEffortMultiplier", &P::maxEffortMultiplier, &P::setMaxEffortMultiplier);
            b.custom(
                "selectedCurrency", KSValue::Type::String,
                [](const P& p) {
                    return p.selectedCurrency() ? KSValue(*p.selectedCurrency()) : KSValue();
                },
                [](P& p, const KSValue& v) {
                    if (!v.isNull() && !v.isString()) return false;
                    p.setSelectedCurrency(v.isNull() ? std::nullopt
                                                     : std::optional<std::string>(v.asString()));
                    return true;
                });
            b.custom("selectedCurrencyDisplayName", KSValue::Type::String,
                     [](const P& p) { return KSValue(p.selectedCurrencyDisplayName()); });
            b.custom("exampleCurrencyString", KSValue::Type::String,
                     [](const P& p) { return KSValue(p.exampleCurrencyString()); });
            b.custom("filters", KSValue::Type::Dictionary, [](const P& p) {
                KSDictionary filters;
                for (const auto& [name, filter] : p.filters())
                    filters.setObjectForKey(name, KSValue(filter));
                return KSValue(std::move(filters));
            });
            b.attribute("lastUsedFilter", &P::lastUsedFilter, &P::setLastUsedFilter);
            b.attribute("subscribeRefreshMinutes", &P::subscribeRefreshMinutes,
                        &P::setSubscribeRefreshMinutes);
            // The project tracks nothing by itself: the notice of this key tells each
            // scenario's metadata engine that a project setting moves.
            b.custom("hasTrackedChanges", KSValue::Type::Bool,
                     [](const P&) { return KSValue(false); });
            b.custom("scenarioPlaceholders", KSValue::Type::Array, [](const P& p) {
                KSArray list;
                for (const auto& holder : p.scenarioPlaceholders())
                    list.push_back(KSValue(holder));
                return KSValue(std::move(list));
            });
            b.custom("taskUserDataKeys", KSValue::Type::Array,
                     [](const P& p) { return KSValue(KSArrayOfStrings(p.taskUserDataKeys())); });
            b.custom("resourceUserDataKeys", KSValue::Type::Array, [](const P& p) {
                return KSValue(KSArrayOfStrings(p.resourceUserDataKeys()));
            });
            b.custom("projectUserDataKeys", KSValue::Type::Array,
                     [](const P& p) { return KSValue(KSArrayOfStrings(p.projectUserDataKeys())); });
            for (const char* key :
                 {"baseStyle", "columnTitleStyle", "noteStyle", "standardTaskStyle",
                  "overdueTaskStyle", "completedTaskStyle", "groupTaskStyle", "milestoneTaskStyle",
                  "resourceStyle", "notEditableStyle"}) {
                b.custom(key, KSValue::Type::Object, [key](const P& p) {
                    auto style = p.styleForKey(key);
                    return style ? KSValue(style) : KSValue();
                });
            }
            b.readOnly("isInvalid", &P::isInvalid);
        });
    return info;
}

KSProject::KSProject(KSDocumentProtocol* document) : nonretainedDocument_(document) {
    KSRegisterGanttStyleAttributes();
    makeStyleContext();
    makeFormatters();
}

KSProject::~KSProject() {
    if (refreshTimer_) KSRunLoop::current().invalidateTimer(*refreshTimer_);
    for (const auto& formatter : {sharedDurationFormatter_, sharedEffortFormatter_}) {
        formatter->removeObserverForKeyPathContext(this, KSTimeSpanFormatterAnythingKey,
                                                   kFormatterContext);
        if (formatter->project() == this) formatter->setProject(nullptr);
    }
    detachStyles();
    for (const auto& holder : scenarios_) {
        KSScenario* scenario = holder->scenarioIfLoaded();
        if (scenario && scenario->project() == this) scenario->setProject(nullptr);
    }
}

void KSProject::makeFormatters() {
    sharedDurationFormatter_ = std::make_shared<KSTimeSpanFormatter>();
    sharedEffortFormatter_ = std::make_shared<KSTimeSpanFormatter>();
    for (const auto& formatter : {sharedDurationFormatter_, sharedEffortFormatter_}) {
        formatter->setUseVerboseFormat(false);
        formatter->setRoundingInterval(0.25);
        formatter->setProject(this);
        formatter->addObserverForKeyPathOptionsContext(this, KSTimeSpanFormatterAnythingKey,
                                                       KSKeyValueObservingOptionPrior,
                                                       kFormatterContext);
    }
}

KSUndoManager* KSProject::undoManager() const {
    return nonretainedDocument_ ? nonretainedDocument_->undoManager() : nullptr;
}

std::string KSProject::subclassLocalizedTypeForUndo() const {
    return KSLocalizedString("Project (for undo/redo only)", "Project");
}

void KSProject::invalidate() {
    if (isInvalid_) return;
    isInvalid_ = true;
    if (refreshTimer_) {
        KSRunLoop::current().invalidateTimer(*refreshTimer_);
        refreshTimer_.reset();
    }
    detachStyles();
    for (KSScenario* scenario : loadedScenarios())
        scenario->invalidate();
    nonretainedDocument_ = nullptr;
}

void KSProject::gibberize() {
    KSObject::gibberize();
    for (KSScenario* scenario : loadedScenarios()) {
        scenario->gibberize();
        std::int64_t number = 1;
        if (auto rootTask = scenario->rootTask()) {
            for (const auto& child : rootTask->children().value_or(KSProjectItemList()))
                number = child->gibberizeWithNumber(number);
        }
        number = 1;
        if (auto rootResource = scenario->rootResource()) {
            for (const auto& child : rootResource->children().value_or(KSProjectItemList()))
                number = child->gibberizeWithNumber(number);
        }
    }
}

// --- Scenarios ---------------------------------------------------------------------------------

std::shared_ptr<KSScenarioPlaceholder> KSProject::actualScenarioPlaceholder() const {
    return scenarios_.empty() ? nullptr : scenarios_.front();
}

KSScenario* KSProject::actualScenario() {
    auto holder = actualScenarioPlaceholder();
    return holder ? holder->scenarioInProject(*this) : nullptr;
}

KSScenario* KSProject::firstScenario() const {
    auto holder = actualScenarioPlaceholder();
    return holder ? holder->scenarioIfLoaded() : nullptr;
}

std::vector<KSScenario*> KSProject::loadedScenarios() const {
    std::vector<KSScenario*> loaded;
    for (const auto& holder : scenarios_) {
        if (KSScenario* scenario = holder->scenarioIfLoaded()) loaded.push_back(scenario);
    }
    return loaded;
}

KSScenario* KSProject::scenarioWithId(const std::string& scenarioUUID) {
    for (const auto& holder : KSScenarioPlaceholderList(scenarios_)) {
        if (holder->scenarioUUID() == scenarioUUID) return holder->scenarioInProject(*this);
    }
    return nullptr;
}

std::shared_ptr<KSScenarioPlaceholder> KSProject::placeholderForScenario(
    const KSScenario& scenario) const {
    for (const auto& holder : scenarios_) {
        if (holder->scenarioIfLoaded() == &scenario) return holder;
    }
    return nullptr;
}

std::string KSProject::uniquifyNameAmongNames(const std::string& name,
                                              const std::vector<std::string>& names) {
    if (std::find(names.begin(), names.end(), name) == names.end()) return name;
    // Split "Task 4" into its stem and number; a bare stem counts as number 1.
    auto stemOf = [](const std::string& text, std::int64_t* number) {
        std::size_t space = text.find_last_of(' ');
        if (space != std::string::npos && space + 1 < text.size() &&
            std::all_of(text.begin() + static_cast<std::ptrdiff_t>(space) + 1, text.end(),
                        [](char c) { return c >= '0' && c <= '9'; })) {
            *number = KSIntegerValueOfString(text.substr(space + 1));
            return text.substr(0, space);
        }
        *number = 1;
        return text;
    };
    std::int64_t highest = 0;
    const std::string stem = stemOf(name, &highest);
    for (const auto& other : names) {
        std::int64_t number = 0;
        if (stemOf(other, &number) == stem) highest = std::max(highest, number);
    }
    return stem + " " + std::to_string(highest + 1);
}

void KSProject::addScenario(const std::shared_ptr<KSScenario>& scenario) {
    if (flags_.loadingScenario || !scenario || placeholderForScenario(*scenario)) return;
    std::vector<std::string> names;
    for (const auto& holder : scenarios_)
        names.push_back(holder->name());
    std::string unique = uniquifyNameAmongNames(scenario->name(), names);
    // Not yet attached, so the rename records nothing of its own.
    scenario->setName(unique);
    // Adding makes or reads a document, which is no edit to undo; removing a scenario is,
    // and its undo inserts the placeholder again.
    auto holder = std::make_shared<KSScenarioPlaceholder>(scenario);
    willChangeValueForKey("scenarioPlaceholders");
    scenarios_.push_back(holder);
    didChangeValueForKey("scenarioPlaceholders");
    scenario->setProject(this);
}

void KSProject::removeScenario(const std::shared_ptr<KSScenario>& scenario) {
    if (!scenario) return;
    const std::string uuid = scenario->scenarioUUID();
    for (const auto& holder : scenarios_) {
        if (holder->scenarioUUID() == uuid) {
            removeScenarioPlaceholder(holder);
            return;
        }
    }
}

void KSProject::insertInScenarioPlaceholdersAtIndex(
    const std::shared_ptr<KSScenarioPlaceholder>& holder, std::size_t index) {
    if (!holder || std::find(scenarios_.begin(), scenarios_.end(), holder) != scenarios_.end()) {
        return;
    }
    index = std::min(index, scenarios_.size());
    registerUndo<KSProject>([holder](KSProject& p) { p.removeScenarioPlaceholder(holder); });
    willChangeValueForKey("scenarioPlaceholders");
    scenarios_.insert(scenarios_.begin() + static_cast<std::ptrdiff_t>(index), holder);
    // Undoing a removal brings a loaded scenario back into the project.
    if (KSScenario* scenario = holder->scenarioIfLoaded()) {
        if (scenario->project() != this && !scenario->isInvalid()) scenario->setProject(this);
    }
    didChangeValueForKey("scenarioPlaceholders");
}

void KSProject::removeScenarioPlaceholder(const std::shared_ptr<KSScenarioPlaceholder>& holder) {
    auto it = std::find(scenarios_.begin(), scenarios_.end(), holder);
    if (it == scenarios_.end()) return;
    std::shared_ptr<KSScenarioPlaceholder> keep = holder;
    std::size_t index = static_cast<std::size_t>(it - scenarios_.begin());
    // Detached before the undo call opens a group, so that the leaving scenario does not
    // start bracketing a group it will never see close.
    keep->detachScenario();
    registerUndo<KSProject>(
        [keep, index](KSProject& p) { p.insertInScenarioPlaceholdersAtIndex(keep, index); });
    willChangeValueForKey("scenarioPlaceholders");
    scenarios_.erase(scenarios_.begin() + static_cast<std::ptrdiff_t>(index));
    didChangeValueForKey("scenarioPlaceholders");
}

void KSProject::_callScenariosDidChange() {
    for (KSScenario* scenario : loadedScenarios())
        scenario->projectDidChange();
}

// --- Ids ---------------------------------------------------------------------------------------

void KSProject::setNextTaskId(std::int64_t value) {
    if (value == nextTaskId_) return;
    willChangeValueForKey("nextTaskId");
    nextTaskId_ = value;
    didChangeValueForKey("nextTaskId");
}

void KSProject::setNextResourceId(std::int64_t value) {
    if (value == nextResourceId_) return;
    willChangeValueForKey("nextResourceId");
    nextResourceId_ = value;
    didChangeValueForKey("nextResourceId");
}

// --- Change hooks ------------------------------------------------------------------------------

void KSProject::willChangeValueForKey(std::string_view key) {
    if (!flags_.loadingScenario && key != "hasTrackedChanges") {
        KSBaseObject::willChangeValueForKey("hasTrackedChanges");
    }
    KSBaseObject::willChangeValueForKey(key);
}

void KSProject::didChangeValueForKey(std::string_view key) {
    KSBaseObject::didChangeValueForKey(key);
    if (!flags_.loadingScenario && key != "hasTrackedChanges") {
        KSBaseObject::didChangeValueForKey("hasTrackedChanges");
    }
}

void KSProject::observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath,
                                                            KSBaseObject* object,
                                                            const KSKeyValueChange& change,
                                                            const void* context) {
    if (context != kFormatterContext) {
        KSObject::observeValueForKeyPathOfObjectChangeContext(keyPath, object, change, context);
        return;
    }
    // The prior notice comes before the formatter changed; scenarios hear of it after.
    if (!change.isPrior) _callScenariosDidChange();
}

}  // namespace kestrum
