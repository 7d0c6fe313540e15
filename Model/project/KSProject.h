// KSProject: the model root of one open document.
//
// The application makes one project per document with the document's protocol object
// (undo manager, file locations, error presentation), then adds scenarios or reads them
// from the file. The first scenario is the actual plan, the others baselines; each sits
// in a KSScenarioPlaceholder, and a baseline stays unread XML until someone asks for it.
//
// The project holds what all scenarios share: the id counters ("nextTaskId",
// "nextResourceId", keyed so that the difference engines reach them), the user-data key
// lists, the display, numbering and leveling settings, the two shared time-span
// formatters, the filters, and the document's styles (ten project styles made on first
// read, nine of them listed to the style context, and the gantt colours).
//
//   auto project = std::make_shared<KSProject>(&document);
//   project->addScenario(std::make_shared<KSScenario>());   // the actual plan
//   project->changeUserInfoKeyFromToInArray(std::nullopt, "Owner",
//                                           project->taskUserDataKeys());
//   project->invalidate();                                  // the document closes
//
// Every change of a project setting is a tracked change of its scenarios: the change
// hooks announce "hasTrackedChanges" around it, except while a scenario is loading.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "Model/project/KSObject.h"
#include "Platform/core/KSNotificationName.h"
#include "Platform/styles/HLStyleContextSource.h"
#include "Platform/styles/HLStyleOwner.h"

namespace kestrum {

class HLStyle;
class HLStyleContext;
class KSCurrency;
class KSDocumentProtocol;
class KSFilter;
class KSScenarioPlaceholder;
class KSTimeSpanFormatter;
class LRColor;

// Posted when a user-data key is added, renamed or removed; object: the project.
extern const KSNotificationName
    KSCustomKeyValueChangeNotification;  // "Custom Key/Value Change Notification"
// User-info keys of that notification.
extern const char* const KSOldKeyNameKey;  // "Old Key Name", when a key was renamed or removed
extern const char* const KSNewKeyNameKey;  // "New Key Name", when a key was added or renamed
extern const char* const KSTypeNameKey;    // "Type Name": "Task", "Resource" or "Scenario"

// Gantt colours: attributes of the project's base style, registered with the style
// attribute registry (groups "gantt bar" and "gantt colors") when a project is first made.
extern const char* const KSGanttStrokeColorStyleAttribute;      // "gantt-stroke-color"
extern const char* const KSGanttFillColorStyleAttribute;        // "gantt-fill-color"
extern const char* const KSGanttCompletionColorStyleAttribute;  // "gantt-completion-color"
extern const char* const KSGanttAlternateColorStyleAttribute;   // "gantt-alternate-color"
extern const char* const KSGanttTimeOffColorStyleAttribute;     // "gantt-time-off-color"
extern const char* const KSGanttTodayColorStyleAttribute;       // "gantt-today-color"
extern const char* const KSGanttSeparatorColorStyleAttribute;   // "gantt-separator-color"
extern const char* const KSGanttTaskDependencyLineColorStyleAttribute;
extern const char* const KSGanttResourceDependencyLineColorStyleAttribute;
extern const char* const KSGanttCriticalBarColorStyleAttribute;  // "gantt-critical-bar-color"
// Registers the gantt colours once; projects call it, and so may readers of styles.
void KSRegisterGanttStyleAttributes();

using KSFilterMap = std::map<std::string, std::shared_ptr<KSFilter>>;
using KSScenarioPlaceholderList = std::vector<std::shared_ptr<KSScenarioPlaceholder>>;

class KSProject : public KSObject, public HLStyleOwner, public HLStyleContextSource {
    KS_DECLARE_CLASS()
public:
    // initWithDocument: `document` (not retained) owns the project. Makes the style
    // context, key lists, formatters, filter table and settings with their defaults;
    // no scenario.
    explicit KSProject(KSDocumentProtocol* document);
    ~KSProject() override;

    // --- Lifecycle ----------------------------------------------------------------------
    // The document, or null once invalidated.
    KSDocumentProtocol* document() const { return nonretainedDocument_; }
    // The project itself.
    KSProject* project() const override { return const_cast<KSProject*>(this); }
    // The document's undo manager, or null once the document is gone.
    KSUndoManager* undoManager() const override;
    // Ends the project: timers stop, styles detach, every loaded scenario is invalidated,
    // and the document is no longer reached.
    void invalidate();
    bool isInvalid() const { return isInvalid_; }
    std::string subclassLocalizedTypeForUndo() const override;
    // Scrambles the project's user data and every loaded scenario's contents.
    void gibberize();

    // --- Scenarios ----------------------------------------------------------------------
    // The placeholders in order; the first holds the actual plan.
    const KSScenarioPlaceholderList& scenarioPlaceholders() const { return scenarios_; }
    // The first placeholder, or null.
    std::shared_ptr<KSScenarioPlaceholder> actualScenarioPlaceholder() const;
    // The actual plan (read now if needed), or null.
    KSScenario* actualScenario();
    // The actual plan if it is loaded, else null; never reads.
    KSScenario* firstScenario() const;
    // The scenarios loaded so far, in order.
    std::vector<KSScenario*> loadedScenarios() const;
    // The scenario with that identity (read now if needed), or null.
    KSScenario* scenarioWithId(const std::string& scenarioUUID);
    // Appends `scenario` under a name unique among the placeholders and attaches it.
    // Nothing while a scenario is loading.
    void addScenario(const std::shared_ptr<KSScenario>& scenario);
    // Removes the placeholder of the scenario with the same identity (undoable).
    void removeScenario(const std::shared_ptr<KSScenario>& scenario);
    // Inserts a placeholder at `index` (clamped; undoable), with notices of
    // "scenarioPlaceholders".
    void insertInScenarioPlaceholdersAtIndex(const std::shared_ptr<KSScenarioPlaceholder>& holder,
                                             std::size_t index);
    // Removes a placeholder (undoable), detaching its loaded scenario.
    void removeScenarioPlaceholder(const std::shared_ptr<KSScenarioPlaceholder>& holder);
    // The placeholder holding `scenario`, or null.
    std::shared_ptr<KSScenarioPlaceholder> placeholderForScenario(const KSScenario& scenario) const;
    // Set while a scenario is read; a failed read leaves it set.
    bool loadingScenario() const { return flags_.loadingScenario; }
    void setLoadingScenario(bool flag) { flags_.loadingScenario = flag; }
    // `name`, or the name with the next free number ("Task 5" after "Task 1" and "Task 4").
    static std::string uniquifyNameAmongNames(const std::string& name,
                                              const std::vector<std::string>& names);

    // --- Ids ----------------------------------------------------------------------------
    // The next id for a new task; starts at 1.
    std::int64_t nextTaskId() const { return nextTaskId_; }
    void setNextTaskId(std::int64_t value);
    // The next id for a new resource; starts at 1.
    std::int64_t nextResourceId() const { return nextResourceId_; }
    void setNextResourceId(std::int64_t value);

    // --- User-data keys, in order, for each kind of object --------------------------------
    const std::vector<std::string>& taskUserDataKeys() const { return taskUserDataKeys_; }
    const std::vector<std::string>& resourceUserDataKeys() const { return resourceUserDataKeys_; }
    const std::vector<std::string>& projectUserDataKeys() const { return projectUserDataKeys_; }
    const std::unordered_set<std::string>& taskUserDataKeySet() const { return taskKeySet_; }
    const std::unordered_set<std::string>& resourceUserDataKeySet() const {
        return resourceKeySet_;
    }
    const std::unordered_set<std::string>& projectUserDataKeySet() const { return projectKeySet_; }
    // Replace a whole list (reading a file); no undo, no notification.
    void setTaskUserDataKeys(std::vector<std::string> keys);
    void setResourceUserDataKeys(std::vector<std::string> keys);
    void setProjectUserDataKeys(std::vector<std::string> keys);
    // The project's own user data uses the project keys.
    std::vector<std::string> userDataKeys() const override { return projectUserDataKeys_; }
    // Adds (old null), renames (both) or removes (new null) a key of `array`, which must
    // be one of the three lists above (by identity; any other is ignored). A rename keeps
    // the key's place; values move in every scenario, unread ones read first. Undoable;
    // posts KSCustomKeyValueChangeNotification.
    void changeUserInfoKeyFromToInArray(const std::optional<std::string>& oldKey,
                                        const std::optional<std::string>& newKey,
                                        const std::vector<std::string>& array);
    // The list change alone, recording its own reversal, then the notification.
    void _changeUserInfoKeyFromToForTypeInArray(const std::optional<std::string>& oldKey,
                                                const std::optional<std::string>& newKey,
                                                const std::string& typeName,
                                                const std::vector<std::string>& array);

    // --- Settings -------------------------------------------------------------------------
    const std::optional<std::string>& title() const { return title_; }
    // Undoable ("Set Title").
    void setTitle(const std::optional<std::string>& title);
    // Tasks numbered 1, 2, 3 through the outline rather than 1.2.3; false.
    bool useFlatNumbering() const { return flags_.flatNumbering; }
    void setUseFlatNumbering(bool flag);
    // Whether outline numbers show before titles; true.
    bool showHeadingNumbers() const { return flags_.showNumbering; }
    // Inverts the setting whatever `flag` says, and tells the document.
    void setShowHeadingNumbers(bool flag);
    // Dates and times of day shown; at least one of the two stays on. Both true.
    bool displayDates() const { return flags_.displayDates; }
    void setDisplayDates(bool flag);
    bool displayTimes() const { return flags_.displayTimes; }
    void setDisplayTimes(bool flag);
    // Seconds shown in times; false.
    bool displaySeconds() const { return flags_.displaySeconds; }
    void setDisplaySeconds(bool flag);
    // Resources leveled after each edit; false. Turning it on levels the actual plan now
    // (undoable).
    bool autoLevelResources() const { return flags_.autoLevelResources; }
    void setAutoLevelResources(bool flag);
    // Leveling keeps unfinished work out of the past; false.
    bool levelConstrainsCompletionDate() const { return flags_.levelConstrainsCompletionDate; }
    void setLevelConstrainsCompletionDate(bool flag);
    // Leveling and rescheduling act on the selected tasks only; false.
    bool levelUpdatesSelectedTasks() const { return flags_.levelUpdatesSelectedTasks; }
    void setLevelUpdatesSelectedTasks(bool flag);
    bool rescheduleUpdatesSelectedTasks() const { return flags_.rescheduleUpdatesSelectedTasks; }
    void setRescheduleUpdatesSelectedTasks(bool flag);
    // Files carry the extended form when this or the preference "WriteExtendedXML" is set.
    bool writeExtendedXML() const;
    void setWriteExtendedXML(bool flag);
    // Publishing sends resource allocations; false.
    bool publishAllocations() const { return flags_.publishAllocations; }
    void setPublishAllocations(bool flag);
    // Subscribing reads other plans' allocations; false. A change tells the document.
    bool subscribeToAllocations() const { return flags_.subscribeToAllocations; }
    void setSubscribeToAllocations(bool flag);
    // Slack (seconds) up to which a task counts as critical; 0. A change recalculates
    // every critical path.
    double criticalPathSlackLimit() const { return criticalPathSlackLimit_; }
    void setCriticalPathSlackLimit(double seconds);
    // The shortest piece (seconds) a split leaves; 0.
    double minimumSplitDuration() const { return minimumSplitDuration_; }
    void setMinimumSplitDuration(double seconds);
    // Weights of the three-point estimate: 1, 4, 1.
    std::uint16_t minEffortMultiplier() const { return minEffortMultiplier_; }
    void setMinEffortMultiplier(std::uint16_t weight);
    std::uint16_t expectedEffortMultiplier() const { return expectedEffortMultiplier_; }
    void setExpectedEffortMultiplier(std::uint16_t weight);
    std::uint16_t maxEffortMultiplier() const { return maxEffortMultiplier_; }
    void setMaxEffortMultiplier(std::uint16_t weight);
    // The printer settings the document keeps.
    const KSDictionary& printInfoDictionary() const { return printInfoDictionary_; }
    void setPrintInfoDictionary(KSDictionary info) { printInfoDictionary_ = std::move(info); }
    // The file version while a file is read.
    std::int32_t loadingVersion() const { return loadingVersion_; }
    void setLoadingVersion(std::int32_t version) { loadingVersion_ = version; }
    // The reader's context while a file is read (not retained).
    KSBaseObject* loadingContext() const { return nonretainedLoadingContext_; }
    void setLoadingContext(KSBaseObject* context) { nonretainedLoadingContext_ = context; }
    bool skipQuickLook() const { return skipQuickLook_; }
    void setSkipQuickLook(bool flag) { skipQuickLook_ = flag; }

    // --- Formatters and currency ------------------------------------------------------------
    // The project's units of durations and efforts; a change of either reaches every
    // loaded scenario's projectDidChange.
    const std::shared_ptr<KSTimeSpanFormatter>& sharedDurationFormatter() const {
        return sharedDurationFormatter_;
    }
    const std::shared_ptr<KSTimeSpanFormatter>& sharedEffortFormatter() const {
        return sharedEffortFormatter_;
    }
    // The ISO 4217 code of the plan's currency, or null for the locale's.
    const std::optional<std::string>& selectedCurrency() const { return selectedCurrency_; }
    // Undoable ("Change Currency"); null or empty with nothing stored, and an equal code,
    // are ignored.
    void setSelectedCurrency(const std::optional<std::string>& currencyCode);
    // The currency's name in the current locale ("" without a currency).
    std::string selectedCurrencyDisplayName() const;
    // Selects the currency with that display name; nothing for the same or an unknown name.
    void setSelectedCurrencyDisplayName(const std::string& displayName);
    // An amount in the selected currency, for settings panels.
    std::string exampleCurrencyString() const;
    // How the selected currency (the locale's without one) shows costs; null for a code
    // that cannot be learnt.
    std::shared_ptr<KSCurrency> selectedCurrencyDescription() const;
    // The currencies a plan may choose from, by display name, and with the ten common
    // ones first.
    static std::vector<std::shared_ptr<KSCurrency>>
    allCurrenciesSortedByDisplayNameInCurrentLocale();
    static std::vector<std::shared_ptr<KSCurrency>>
    allCurrenciesSortedByPrevalenceAndDisplayNameInCurrentLocale();

    // --- Filters ------------------------------------------------------------------------
    const KSFilterMap& filters() const { return filters_; }
    void setFilters(KSFilterMap filters);
    // Stores the filter under its id (replacing one with the same id).
    void addFilter(const std::shared_ptr<KSFilter>& filter);
    std::shared_ptr<KSFilter> filterWithId(const std::string& filterId) const;
    const std::shared_ptr<KSFilter>& lastUsedFilter() const { return lastUsedFilter_; }
    // Also stores the filter in filters.
    void setLastUsedFilter(const std::shared_ptr<KSFilter>& filter);

    // --- Styles -------------------------------------------------------------------------
    // The context of the document's styles; null once invalidated.
    const std::shared_ptr<HLStyleContext>& styleContext() const { return styleContext_; }
    // The project styles, made on first read (null once invalidated). Each cascades from
    // the base style, overdue and completed tasks from the standard task style.
    std::shared_ptr<HLStyle> baseStyle() const;
    std::shared_ptr<HLStyle> columnTitleStyle() const;
    std::shared_ptr<HLStyle> noteStyle() const;
    std::shared_ptr<HLStyle> standardTaskStyle() const;
    std::shared_ptr<HLStyle> overdueTaskStyle() const;
    std::shared_ptr<HLStyle> completedTaskStyle() const;
    std::shared_ptr<HLStyle> groupTaskStyle() const;
    std::shared_ptr<HLStyle> milestoneTaskStyle() const;
    std::shared_ptr<HLStyle> resourceStyle() const;
    std::shared_ptr<HLStyle> notEditableStyle() const;
    // The style a key of the table above names ("baseStyle" ...), or null.
    std::shared_ptr<HLStyle> styleForKey(std::string_view key) const;

    // HLStyleContextSource: nine styles, base to resource (not the not-editable style);
    // another index answers the stored base style. Users may edit; no sync state.
    std::size_t applicationDefinedStyleCountForStyleContext(HLStyleContext& context) override;
    std::shared_ptr<HLStyle> styleContextApplicationDefinedStyleAtIndex(HLStyleContext& context,
                                                                        std::size_t index) override;
    bool styleContextShouldAllowUserEdits(HLStyleContext& context) override;
    bool styleContextShouldMaintainSyncState(HLStyleContext& context) override;
    // HLStyleOwner: a project style's change is a change of its key on the project.
    void styleWillChange(HLStyle& style, const HLStyleChange& change) override;
    void styleDidChange(HLStyle& style, const HLStyleChange& change) override;

    // Gantt colours, read from the base style with their fall-backs. Setters are
    // undoable and tell every loaded scenario projectDidChange.
    std::shared_ptr<LRColor> ganttViewBackgroundColor() const;
    void setGanttViewBackgroundColor(const std::shared_ptr<LRColor>& color);
    std::shared_ptr<LRColor> ganttViewAlternateColor() const;
    void setGanttViewAlternateColor(const std::shared_ptr<LRColor>& color);
    std::shared_ptr<LRColor> ganttViewTimeOffColor() const;
    void setGanttViewTimeOffColor(const std::shared_ptr<LRColor>& color);
    std::shared_ptr<LRColor> ganttViewTodayBackgroundColor() const;
    void setGanttViewTodayBackgroundColor(const std::shared_ptr<LRColor>& color);
    std::shared_ptr<LRColor> ganttViewTaskDependencyLineColor() const;
    void setGanttViewTaskDependencyLineColor(const std::shared_ptr<LRColor>& color);
    std::shared_ptr<LRColor> ganttViewResourceDependencyLineColor() const;
    void setGanttViewResourceDependencyLineColor(const std::shared_ptr<LRColor>& color);
    std::shared_ptr<LRColor> ganttViewCriticalBarColor() const;
    void setGanttViewCriticalBarColor(const std::shared_ptr<LRColor>& color);
    std::shared_ptr<LRColor> ganttViewSeparatorColor() const;
    void setGanttViewSeparatorColor(const std::shared_ptr<LRColor>& color);

    // --- Publishing (the driver comes with the publish and subscribe actions) -------------
    // Publish when the document is saved; false.
    bool publishOnSave() const { return publishOnSave_; }
    void setPublishOnSave(bool flag) { publishOnSave_ = flag; }
    // Minutes between automatic subscription refreshes; 0 for none.
    std::int32_t subscribeRefreshMinutes() const { return subscribeRefreshMinutes_; }
    void setSubscribeRefreshMinutes(std::int32_t minutes);
    // Nesting count of delayed model updates while actions run.
    std::int32_t delayUpdatesCount() const { return delayUpdatesCount_; }

    // --- Change hooks -----------------------------------------------------------------------
    // Every change of the project is a tracked change of its scenarios: it notifies
    // "hasTrackedChanges" around the key's own notice, except while loading a scenario.
    void willChangeValueForKey(std::string_view key) override;
    void didChangeValueForKey(std::string_view key) override;
    // Observes the formatters' "anything".
    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath, KSBaseObject* object,
                                                     const KSKeyValueChange& change,
                                                     const void* context) override;

    // Tells every loaded scenario projectDidChange.
    void _callScenariosDidChange();

private:
    struct Flags {
        bool flatNumbering = false;
        bool showNumbering = true;
        bool displayDates = true;
        bool displayTimes = true;
        bool displaySeconds = false;
        bool levelUpdatesSelectedTasks = false;
        bool levelConstrainsCompletionDate = false;
        bool rescheduleUpdatesSelectedTasks = false;
        bool autoLevelResources = false;
        bool loadingScenario = false;
        bool writeExtendedXML = false;
        bool publishAllocations = false;
        bool subscribeToAllocations = false;
    };

    void makeStyleContext();
    void makeFormatters();
    void detachStyles();
    std::shared_ptr<HLStyle>* styleField(std::string_view key) const;
    std::shared_ptr<HLStyle> makeStyle(std::string_view key) const;
    void setFlag(bool Flags::*flag, bool value, std::string_view key);
    std::shared_ptr<LRColor> baseColor(const char* attribute) const;
    void setBaseColor(const char* attribute, const std::shared_ptr<LRColor>& color,
                      std::string_view actionName,
                      void (KSProject::*setter)(const std::shared_ptr<LRColor>&));
    std::vector<std::string>* keyArrayMatching(const std::vector<std::string>& array,
                                               std::unordered_set<std::string>** set,
                                               std::string* typeName);

    KSDocumentProtocol* nonretainedDocument_;
    std::optional<std::string> title_;
    KSScenarioPlaceholderList scenarios_;
    std::int64_t nextTaskId_ = 1;
    std::int64_t nextResourceId_ = 1;
    KSDictionary printInfoDictionary_;
    KSFilterMap filters_;
    std::shared_ptr<KSFilter> lastUsedFilter_;
    std::shared_ptr<KSTimeSpanFormatter> sharedEffortFormatter_;
    std::shared_ptr<KSTimeSpanFormatter> sharedDurationFormatter_;
    std::optional<std::string> selectedCurrency_;
    std::uint16_t minEffortMultiplier_ = 1;
    std::uint16_t expectedEffortMultiplier_ = 4;
    std::uint16_t maxEffortMultiplier_ = 1;
    Flags flags_;
    std::shared_ptr<HLStyleContext> styleContext_;
    mutable std::shared_ptr<HLStyle> baseStyle_, columnTitleStyle_, noteStyle_, standardTaskStyle_,
        overdueTaskStyle_, completedTaskStyle_, groupTaskStyle_, milestoneTaskStyle_,
        resourceStyle_, notEditableStyle_;
    double criticalPathSlackLimit_ = 0.0;
    double minimumSplitDuration_ = 0.0;
    std::vector<std::string> taskUserDataKeys_;
    std::vector<std::string> resourceUserDataKeys_;
    std::vector<std::string> projectUserDataKeys_;
    std::unordered_set<std::string> taskKeySet_;
    std::unordered_set<std::string> resourceKeySet_;
    std::unordered_set<std::string> projectKeySet_;
    std::int32_t loadingVersion_ = 0;
    KSBaseObject* nonretainedLoadingContext_ = nullptr;
    bool publishOnSave_ = false;
    std::int32_t subscribeRefreshMinutes_ = 0;
    std::optional<std::uint64_t> refreshTimer_;
    std::int32_t delayUpdatesCount_ = 0;
    bool skipQuickLook_ = false;
    bool isInvalid_ = false;
};

}  // namespace kestrum
