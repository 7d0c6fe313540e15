// KSProject: the document's style context, the project styles and the gantt colours.
#include <array>

#include "Model/project/KSProject.h"
#include "Platform/color/LRColor.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSUndoManager.h"
#include "Platform/styles/HLStyle.h"
#include "Platform/styles/HLStyleAttributeRegistry.h"
#include "Platform/styles/HLStyleContext.h"

namespace kestrum {

const char* const KSGanttStrokeColorStyleAttribute = "gantt-stroke-color";
const char* const KSGanttFillColorStyleAttribute = "gantt-fill-color";
const char* const KSGanttCompletionColorStyleAttribute = "gantt-completion-color";
const char* const KSGanttAlternateColorStyleAttribute = "gantt-alternate-color";
const char* const KSGanttTimeOffColorStyleAttribute = "gantt-time-off-color";
const char* const KSGanttTodayColorStyleAttribute = "gantt-today-color";
const char* const KSGanttSeparatorColorStyleAttribute = "gantt-separator-color";
const char* const KSGanttTaskDependencyLineColorStyleAttribute = "gantt-task-dependency-line-color";
const char* const KSGanttResourceDependencyLineColorStyleAttribute =
    "gantt-resource-dependency-line-color";
const char* const KSGanttCriticalBarColorStyleAttribute = "gantt-critical-bar-color";

namespace {

struct StyleSpec {
    const char* key;
    const char* cascadesFrom;  // null: cascades from nothing
    const char* name;          // the localized selection-relative name's key
};

// The project styles; the order is the one application-defined styles are listed in,
// except that completed tasks come before overdue ones there and "notEditableStyle" is
// not listed at all (see kApplicationStyleOrder).
const std::array<const char*, 9> kApplicationStyleOrder = {
    "baseStyle",         "columnTitleStyle",   "noteStyle",
    "standardTaskStyle", "completedTaskStyle", "overdueTaskStyle",
    "groupTaskStyle",    "milestoneTaskStyle", "resourceStyle"};

std::shared_ptr<LRColor> rgba(double r, double g, double b, double a) {
    return LRColor::colorWithRedGreenBlueAlpha(r, g, b, a);
}

bool isNullOrClear(const std::shared_ptr<LRColor>& color) {
    return !color || color->isClear();
}

}  // namespace

void KSRegisterGanttStyleAttributes() {
    static const bool registered = [] {
        struct Gantt {
            const char* key;
            std::shared_ptr<LRColor> color;
            const char* displayName;
        };
        const Gantt colours[] = {
            {KSGanttStrokeColorStyleAttribute, LRColor::clearColor(), "stroke color"},
            {KSGanttFillColorStyleAttribute, rgba(0.45, 0.615, 0.9, 1.0), "base color"},
            {KSGanttCompletionColorStyleAttribute, LRColor::clearColor(), "completion color"},
            {KSGanttAlternateColorStyleAttribute, LRColor::clearColor(), "alternate rows"},
            {KSGanttTimeOffColorStyleAttribute, LRColor::colorWithWhiteAlpha(0.85, 1.0),
             "time off"},
            {KSGanttTodayColorStyleAttribute, rgba(0.83, 0.9, 0.98, 0.5), "today"},
            {KSGanttSeparatorColorStyleAttribute, rgba(0.81, 0.81, 0.81, 1.0), "separators"},
            {KSGanttTaskDependencyLineColorStyleAttribute, rgba(0.2, 0.2, 0.2, 1.0),
             "task dependency lines"},
            {KSGanttResourceDependencyLineColorStyleAttribute, rgba(0.0, 0.0, 0.4, 1.0),
             "resource dependency lines"},
            {KSGanttCriticalBarColorStyleAttribute, rgba(1.0, 0.8, 0.6, 1.0), "critical path"},
        };
        HLStyleAttributeRegistry& registry = HLStyleAttributeRegistry::sharedRegistry();
        for (const Gantt& gantt : colours) {
            registry.registerAttribute({gantt.key,
                                        HLStyleAttributeType::Color,
                                        KSValue(gantt.color),
                                        gantt.displayName,
                                        {"gantt bar", "gantt colors"}});
        }
        return true;
    }();
    (void)registered;
}

// --- Context and project styles ----------------------------------------------------------------

namespace {
const StyleSpec kStyles[] = {
    {"baseStyle", nullptr, "Whole Document"},
    {"columnTitleStyle", "baseStyle", "Column Titles"},
    {"noteStyle", "baseStyle", "Notes"},
    {"standardTaskStyle", "baseStyle", "Tasks"},
    {"overdueTaskStyle", "standardTaskStyle", "Overdue Tasks"},
    {"completedTaskStyle", "standardTaskStyle", "Completed Tasks"},
    {"groupTaskStyle", "baseStyle", "Task Groups"},
    {"milestoneTaskStyle", "baseStyle", "Milestones"},
    {"resourceStyle", "baseStyle", "Resources"},
    {"notEditableStyle", "baseStyle", "Not Editable"},
};

const StyleSpec* specForKey(std::string_view key) {
    for (const StyleSpec& entry : kStyles) {
        if (key == entry.key) return &entry;
    }
    return nullptr;
}
}  // namespace

void KSProject::makeStyleContext() {
    // The context records undo on the document's undo manager when it is shared.
    std::shared_ptr<KSUndoManager> manager;
    if (KSUndoManager* um = undoManager()) {
        if (auto shared = um->weak_from_this().lock())
            manager = std::static_pointer_cast<KSUndoManager>(shared);
    }
    styleContext_ = HLStyleContext::styleContextWithUndoManager(manager, this, "namedStyles");
    styleContext_->setApplicationStyleSource(this);
}

std::shared_ptr<HLStyle>* KSProject::styleField(std::string_view key) const {
    if (key == "baseStyle") return &baseStyle_;
    if (key == "columnTitleStyle") return &columnTitleStyle_;
    if (key == "noteStyle") return &noteStyle_;
    if (key == "standardTaskStyle") return &standardTaskStyle_;
    if (key == "overdueTaskStyle") return &overdueTaskStyle_;
    if (key == "completedTaskStyle") return &completedTaskStyle_;
    if (key == "groupTaskStyle") return &groupTaskStyle_;
    if (key == "milestoneTaskStyle") return &milestoneTaskStyle_;
    if (key == "resourceStyle") return &resourceStyle_;
    if (key == "notEditableStyle") return &notEditableStyle_;
    return nullptr;
}

std::shared_ptr<HLStyle> KSProject::makeStyle(std::string_view key) const {
    const StyleSpec* entry = specForKey(key);
    if (!entry || !styleContext_) return nullptr;
    HLStyleList cascade;
    if (entry->cascadesFrom) {
        if (auto from = styleForKey(entry->cascadesFrom)) cascade.push_back(from);
    }
    auto style = HLStyle::styleWithContextCascadeStyles(styleContext_, std::move(cascade));
    style->enableUndo();
    style->setOwnerContainerKey(const_cast<KSProject*>(this), entry->key);
    style->setSelectionRelativeName(KSLocalizedString(entry->name, entry->name));
    return style;
}

std::shared_ptr<HLStyle> KSProject::styleForKey(std::string_view key) const {
    std::shared_ptr<HLStyle>* field = styleField(key);
    if (!field) return nullptr;
    if (!*field && styleContext_) *field = makeStyle(key);
    return *field;
}

std::shared_ptr<HLStyle> KSProject::baseStyle() const {
    return styleForKey("baseStyle");
}
std::shared_ptr<HLStyle> KSProject::columnTitleStyle() const {
    return styleForKey("columnTitleStyle");
}
std::shared_ptr<HLStyle> KSProject::noteStyle() const {
    return styleForKey("noteStyle");
}
std::shared_ptr<HLStyle> KSProject::standardTaskStyle() const {
    return styleForKey("standardTaskStyle");
}
std::shared_ptr<HLStyle> KSProject::overdueTaskStyle() const {
    return styleForKey("overdueTaskStyle");
}
std::shared_ptr<HLStyle> KSProject::completedTaskStyle() const {
    return styleForKey("completedTaskStyle");
}
std::shared_ptr<HLStyle> KSProject::groupTaskStyle() const {
    return styleForKey("groupTaskStyle");
}
std::shared_ptr<HLStyle> KSProject::milestoneTaskStyle() const {
    return styleForKey("milestoneTaskStyle");
}
std::shared_ptr<HLStyle> KSProject::resourceStyle() const {
    return styleForKey("resourceStyle");
}
std::shared_ptr<HLStyle> KSProject::notEditableStyle() const {
    return styleForKey("notEditableStyle");
}

void KSProject::detachStyles() {
    for (const StyleSpec& entry : kStyles) {
        std::shared_ptr<HLStyle>* field = styleField(entry.key);
        if (*field && (*field)->owner() == this) (*field)->setOwnerContainerKey(nullptr, {});
    }
    if (styleContext_) {
        if (styleContext_->applicationStyleSource() == this)
            styleContext_->setApplicationStyleSource(nullptr);
        styleContext_->invalidate();
        styleContext_.reset();
    }
}

// --- HLStyleContextSource and HLStyleOwner ------------------------------------------------------

std::size_t KSProject::applicationDefinedStyleCountForStyleContext(HLStyleContext&) {
    return kApplicationStyleOrder.size();
}

std::shared_ptr<HLStyle> KSProject::styleContextApplicationDefinedStyleAtIndex(HLStyleContext&,
                                                                               std::size_t index) {
    if (index < kApplicationStyleOrder.size()) return styleForKey(kApplicationStyleOrder[index]);
    return baseStyle_;
}

bool KSProject::styleContextShouldAllowUserEdits(HLStyleContext&) {
    return true;
}

bool KSProject::styleContextShouldMaintainSyncState(HLStyleContext&) {
    return false;
}

void KSProject::styleWillChange(HLStyle&, const HLStyleChange& change) {
    willChangeValueForKey(change.containerKey);
}

void KSProject::styleDidChange(HLStyle&, const HLStyleChange& change) {
    didChangeValueForKey(change.containerKey);
}

// --- Gantt colours ------------------------------------------------------------------------------

std::shared_ptr<LRColor> KSProject::baseColor(const char* attribute) const {
    auto style = baseStyle();
    return style ? style->colorForAttribute(attribute) : nullptr;
}

namespace {
std::shared_ptr<LRColor> registeredColor(const char* attribute) {
    return HLStyleAttributeRegistry::sharedRegistry()
        .defaultValueForAttribute(attribute)
        .asObjectOfType<LRColor>();
}

// A colour that is null or clear falls back on `fallback`.
std::shared_ptr<LRColor> orFallback(std::shared_ptr<LRColor> color,
                                    const std::shared_ptr<LRColor>& fallback) {
    return isNullOrClear(color) ? fallback : color;
}
}  // namespace

void KSProject::setBaseColor(const char* attribute, const std::shared_ptr<LRColor>& color,
                             std::string_view actionName,
                             void (KSProject::*setter)(const std::shared_ptr<LRColor>&)) {
    auto style = baseStyle();
    if (!style) return;
    auto old = style->localValueForAttribute(attribute).asObjectOfType<LRColor>();
    if (LRColorsEqual(old, color)) return;
    // One undo step for the project's setter, so that undo also redraws the scenarios.
    registerUndo<KSProject>([old, setter](KSProject& p) { (p.*setter)(old); });
    setUndoActionName(actionName);
    bool styleUndo = style->isUndoEnabled();
    style->disableUndo();
    style->setValueForAttribute(color ? KSValue(color) : KSValue(), attribute);
    if (styleUndo) style->enableUndo();
    _callScenariosDidChange();
}

std::shared_ptr<LRColor> KSProject::ganttViewBackgroundColor() const {
    return orFallback(baseColor(HLBackgroundColorStyleAttribute), LRColor::whiteColor());
}
void KSProject::setGanttViewBackgroundColor(const std::shared_ptr<LRColor>& color) {
    setBaseColor(HLBackgroundColorStyleAttribute, color, "Gantt Background Color",
                 &KSProject::setGanttViewBackgroundColor);
}

std::shared_ptr<LRColor> KSProject::ganttViewAlternateColor() const {
    // Only a missing colour falls back; a clear one is answered as it is.
    auto color = baseColor(KSGanttAlternateColorStyleAttribute);
    return color ? color : LRColor::clearColor();
}
void KSProject::setGanttViewAlternateColor(const std::shared_ptr<LRColor>& color) {
    setBaseColor(KSGanttAlternateColorStyleAttribute, color, "Gantt Alternate Color",
                 &KSProject::setGanttViewAlternateColor);
}

std::shared_ptr<LRColor> KSProject::ganttViewTimeOffColor() const {
    // White 0.9 here, although the registered default is white 0.85: files rely on both.
    return orFallback(baseColor(KSGanttTimeOffColorStyleAttribute),
                      LRColor::colorWithWhiteAlpha(0.9, 1.0));
}
void KSProject::setGanttViewTimeOffColor(const std::shared_ptr<LRColor>& color) {
    setBaseColor(KSGanttTimeOffColorStyleAttribute, color, "Gantt Time Off Color",
                 &KSProject::setGanttViewTimeOffColor);
}

std::shared_ptr<LRColor> KSProject::ganttViewTodayBackgroundColor() const {
    return orFallback(baseColor(KSGanttTodayColorStyleAttribute),
                      registeredColor(KSGanttTodayColorStyleAttribute));
}
void KSProject::setGanttViewTodayBackgroundColor(const std::shared_ptr<LRColor>& color) {
    setBaseColor(KSGanttTodayColorStyleAttribute, color, "Gantt Today Background Color",
                 &KSProject::setGanttViewTodayBackgroundColor);
}

std::shared_ptr<LRColor> KSProject::ganttViewTaskDependencyLineColor() const {
    return orFallback(baseColor(KSGanttTaskDependencyLineColorStyleAttribute),
                      registeredColor(KSGanttTaskDependencyLineColorStyleAttribute));
}
void KSProject::setGanttViewTaskDependencyLineColor(const std::shared_ptr<LRColor>& color) {
    setBaseColor(KSGanttTaskDependencyLineColorStyleAttribute, color, "Task Dependency Line Color",
                 &KSProject::setGanttViewTaskDependencyLineColor);
}

std::shared_ptr<LRColor> KSProject::ganttViewResourceDependencyLineColor() const {
    return orFallback(baseColor(KSGanttResourceDependencyLineColorStyleAttribute),
                      registeredColor(KSGanttResourceDependencyLineColorStyleAttribute));
}
void KSProject::setGanttViewResourceDependencyLineColor(const std::shared_ptr<LRColor>& color) {
    // The resource line shares the task line's action name.
    setBaseColor(KSGanttResourceDependencyLineColorStyleAttribute, color,
                 "Task Dependency Line Color", &KSProject::setGanttViewResourceDependencyLineColor);
}

std::shared_ptr<LRColor> KSProject::ganttViewCriticalBarColor() const {
    return orFallback(baseColor(KSGanttCriticalBarColorStyleAttribute),
                      registeredColor(KSGanttCriticalBarColorStyleAttribute));
}
void KSProject::setGanttViewCriticalBarColor(const std::shared_ptr<LRColor>& color) {
    setBaseColor(KSGanttCriticalBarColorStyleAttribute, color, "Gantt Critical Color",
                 &KSProject::setGanttViewCriticalBarColor);
}

std::shared_ptr<LRColor> KSProject::ganttViewSeparatorColor() const {
    return orFallback(baseColor(KSGanttSeparatorColorStyleAttribute),
                      registeredColor(KSGanttSeparatorColorStyleAttribute));
}
void KSProject::setGanttViewSeparatorColor(const std::shared_ptr<LRColor>& color) {
    setBaseColor(KSGanttSeparatorColorStyleAttribute, color, "Gantt Separator Color",
                 &KSProject::setGanttViewSeparatorColor);
}

}  // namespace kestrum
