// KSProject: display, numbering, leveling and estimate settings, currency and filters.
#include <memory>

#include <unicode/locid.h>
#include <unicode/numfmt.h>
#include <unicode/ucurr.h>
#include <unicode/uenum.h>
#include <unicode/unistr.h>

#include "Model/engine/KSCriticalPath.h"
#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSFilter.h"
#include "Model/project/KSProject.h"
#include "Platform/core/KSICUText.h"

#include "Model/formatters/KSCurrency.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSUserDefaults.h"

namespace kestrum {

// --- Plain settings ------------------------------------------------------------------------------

void KSProject::setFlag(bool Flags::*flag, bool value, std::string_view key) {
    if (flags_.*flag == value) return;
    willChangeValueForKey(key);
    flags_.*flag = value;
    didChangeValueForKey(key);
}

void KSProject::setTitle(const std::optional<std::string>& title) {
    setUndoableValue<KSProject>(title_, title, "title", "Set Title", &KSProject::setTitle);
}

void KSProject::setUseFlatNumbering(bool flag) {
    if (flag == flags_.flatNumbering) return;
    setFlag(&Flags::flatNumbering, flag, "useFlatNumbering");
    // Every heading shows the other form of number now.
    for (KSScenario* scenario : loadedScenarios()) {
        if (scenario->rootTask()) scenario->rootTask()->invalidateHeadingStrings();
    }
}

void KSProject::setShowHeadingNumbers(bool) {
    // The menu item toggles: whatever the caller passes, the setting flips.
    setFlag(&Flags::showNumbering, !flags_.showNumbering, "showHeadingNumbers");
    if (nonretainedDocument_) nonretainedDocument_->setShowHeadingNumbers(flags_.showNumbering);
}

void KSProject::setDisplayDates(bool flag) {
    if (flag == flags_.displayDates) return;
    setFlag(&Flags::displayDates, flag, "displayDates");
    if (!flag && !flags_.displayTimes) setFlag(&Flags::displayTimes, true, "displayTimes");
    _callScenariosDidChange();
}

void KSProject::setDisplayTimes(bool flag) {
    if (flag == flags_.displayTimes) return;
    setFlag(&Flags::displayTimes, flag, "displayTimes");
    if (!flag && !flags_.displayDates) setFlag(&Flags::displayDates, true, "displayDates");
    _callScenariosDidChange();
}

void KSProject::setDisplaySeconds(bool flag) {
    if (flag == flags_.displaySeconds) return;
    setFlag(&Flags::displaySeconds, flag, "displaySeconds");
    _callScenariosDidChange();
}

void KSProject::setAutoLevelResources(bool flag) {
    if (!setUndoableValue<KSProject>(flags_.autoLevelResources, flag, "autoLevelResources", "",
                                     &KSProject::setAutoLevelResources)) {
        return;
    }
    if (flag && !flags_.loadingScenario) {
        if (KSScenario* actual = firstScenario()) actual->levelResourcesForTasks(nullptr);
    }
}

void KSProject::setLevelConstrainsCompletionDate(bool flag) {
    setFlag(&Flags::levelConstrainsCompletionDate, flag, "levelConstrainsCompletionDate");
}

void KSProject::setLevelUpdatesSelectedTasks(bool flag) {
    setFlag(&Flags::levelUpdatesSelectedTasks, flag, "levelUpdatesSelectedTasks");
}

void KSProject::setRescheduleUpdatesSelectedTasks(bool flag) {
    setFlag(&Flags::rescheduleUpdatesSelectedTasks, flag, "rescheduleUpdatesSelectedTasks");
}

bool KSProject::writeExtendedXML() const {
    return flags_.writeExtendedXML ||
           KSUserDefaults::standardUserDefaults().boolForKey("WriteExtendedXML");
}

void KSProject::setWriteExtendedXML(bool flag) {
    setFlag(&Flags::writeExtendedXML, flag, "writeExtendedXML");
}

void KSProject::setPublishAllocations(bool flag) {
    setFlag(&Flags::publishAllocations, flag, "publishAllocations");
}

void KSProject::setSubscribeToAllocations(bool flag) {
    if (flag == flags_.subscribeToAllocations) return;
    setFlag(&Flags::subscribeToAllocations, flag, "subscribeToAllocations");
    if (flags_.loadingScenario) return;
    if (nonretainedDocument_) nonretainedDocument_->resourceLoadSubscriptionFlagDidChange();
}

void KSProject::setCriticalPathSlackLimit(double seconds) {
    if (seconds == criticalPathSlackLimit_) return;
    willChangeValueForKey("criticalPathSlackLimit");
    criticalPathSlackLimit_ = seconds;
    didChangeValueForKey("criticalPathSlackLimit");
    for (KSScenario* scenario : loadedScenarios()) {
        for (const auto& path :
             std::vector<std::shared_ptr<KSCriticalPath>>(scenario->criticalPaths())) {
            path->recalculatePath();
        }
    }
}

void KSProject::setMinimumSplitDuration(double seconds) {
    if (seconds == minimumSplitDuration_) return;
    willChangeValueForKey("minimumSplitDuration");
    minimumSplitDuration_ = seconds;
    didChangeValueForKey("minimumSplitDuration");
}

void KSProject::setMinEffortMultiplier(std::uint16_t weight) {
    if (weight == minEffortMultiplier_) return;
    willChangeValueForKey("minEffortMultiplier");
    minEffortMultiplier_ = weight;
    didChangeValueForKey("minEffortMultiplier");
}

void KSProject::setExpectedEffortMultiplier(std::uint16_t weight) {
    if (weight == expectedEffortMultiplier_) return;
    willChangeValueForKey("expectedEffortMultiplier");
    expectedEffortMultiplier_ = weight;
    didChangeValueForKey("expectedEffortMultiplier");
}

void KSProject::setMaxEffortMultiplier(std::uint16_t weight) {
    if (weight == maxEffortMultiplier_) return;
    willChangeValueForKey("maxEffortMultiplier");
    maxEffortMultiplier_ = weight;
    didChangeValueForKey("maxEffortMultiplier");
}

void KSProject::setSubscribeRefreshMinutes(std::int32_t minutes) {
    if (minutes == subscribeRefreshMinutes_) return;
    willChangeValueForKey("subscribeRefreshMinutes");
    subscribeRefreshMinutes_ = minutes;
    didChangeValueForKey("subscribeRefreshMinutes");
}

// --- Currency
// -------------------------------------------------------------------------------------

namespace {

// The long name of an ISO 4217 code in the default locale; the code itself when ICU has none.
std::string currencyDisplayName(const std::string& code) {
    icu::UnicodeString iso = icu::UnicodeString::fromUTF8(code);
    UErrorCode status = U_ZERO_ERROR;
    UBool isChoiceFormat = false;
    int32_t length = 0;
    const UChar* name = ucurr_getName(iso.getTerminatedBuffer(), uloc_getDefault(), UCURR_LONG_NAME,
                                      &isChoiceFormat, &length, &status);
    if (U_FAILURE(status) || !name) return code;
    return KSUTF8String(icu::UnicodeString(name, length));
}

}  // namespace

void KSProject::setSelectedCurrency(const std::optional<std::string>& currencyCode) {
    bool none = !currencyCode || currencyCode->empty();
    if (none && !selectedCurrency_) return;
    if (currencyCode == selectedCurrency_) return;
    willChangeValueForKey("selectedCurrency");
    willChangeValueForKey("selectedCurrencyDisplayName");
    registerUndo<KSProject>(
        [old = selectedCurrency_](KSProject& p) { p.setSelectedCurrency(old); });
    setUndoActionName("Change Currency");
    selectedCurrency_ = none ? std::nullopt : currencyCode;
    didChangeValueForKey("selectedCurrencyDisplayName");
    didChangeValueForKey("selectedCurrency");
    willChangeValueForKey("exampleCurrencyString");
    didChangeValueForKey("exampleCurrencyString");
}

std::string KSProject::selectedCurrencyDisplayName() const {
    return selectedCurrency_ ? currencyDisplayName(*selectedCurrency_) : std::string();
}

void KSProject::setSelectedCurrencyDisplayName(const std::string& displayName) {
    if (displayName == selectedCurrencyDisplayName()) return;
    UErrorCode status = U_ZERO_ERROR;
    UEnumeration* codes = ucurr_openISOCurrencies(UCURR_COMMON | UCURR_NON_DEPRECATED, &status);
    if (U_FAILURE(status)) return;
    std::optional<std::string> found;
    while (const char* code = uenum_next(codes, nullptr, &status)) {
        if (U_FAILURE(status)) break;
        if (currencyDisplayName(code) == displayName) {
            found = code;
            break;
        }
    }
    uenum_close(codes);
    if (found) setSelectedCurrency(found);
}

std::string KSProject::exampleCurrencyString() const {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::NumberFormat> format(
        icu::NumberFormat::createCurrencyInstance(icu::Locale::getDefault(), status));
    if (U_FAILURE(status) || !format) return std::string();
    if (selectedCurrency_) {
        icu::UnicodeString iso = icu::UnicodeString::fromUTF8(*selectedCurrency_);
        format->setCurrency(iso.getTerminatedBuffer(), status);
    }
    icu::UnicodeString text;
    format->format(1234.56, text);
    return KSUTF8String(text);
}

std::shared_ptr<KSCurrency> KSProject::selectedCurrencyDescription() const {
    return selectedCurrency_ ? KSCurrency::currencyForCode(*selectedCurrency_)
                             : KSCurrency::currencyForCurrentLocale();
}

std::vector<std::shared_ptr<KSCurrency>>
KSProject::allCurrenciesSortedByDisplayNameInCurrentLocale() {
    return KSCurrency::allCurrenciesSortedByDisplayNameInCurrentLocale();
}

std::vector<std::shared_ptr<KSCurrency>>
KSProject::allCurrenciesSortedByPrevalenceAndDisplayNameInCurrentLocale() {
    return KSCurrency::allCurrenciesSortedByPrevalenceAndDisplayNameInCurrentLocale();
}

// --- Filters
// ----------------------------------------------------------------------------------------

void KSProject::setFilters(KSFilterMap filters) {
    willChangeValueForKey("filters");
    filters_ = std::move(filters);
    didChangeValueForKey("filters");
}

void KSProject::addFilter(const std::shared_ptr<KSFilter>& filter) {
    if (!filter) return;
    willChangeValueForKey("filters");
    filters_[filter->filterId()] = filter;
    didChangeValueForKey("filters");
}

std::shared_ptr<KSFilter> KSProject::filterWithId(const std::string& filterId) const {
    auto it = filters_.find(filterId);
    return it == filters_.end() ? nullptr : it->second;
}

void KSProject::setLastUsedFilter(const std::shared_ptr<KSFilter>& filter) {
    if (filter == lastUsedFilter_) return;
    willChangeValueForKey("lastUsedFilter");
    lastUsedFilter_ = filter;
    didChangeValueForKey("lastUsedFilter");
    addFilter(filter);
}

}  // namespace kestrum
