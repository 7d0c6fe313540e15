#include "Model/formatters/KSTimeSpanFormatter.h"

#include <array>
#include <memory>

#include "Model/project/KSProject.h"
#include "Platform/core/KSRunLoop.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

const char* const KSTimeSpanFormatterAnythingKey = "anything";

namespace {

constexpr float kSmallestHours = 0.1f;
constexpr float kSecondsPerHour = 60.0f * 60.0f;

const std::array<const char*, 4> kHourKeys = {"hoursPerDay", "hoursPerWeek", "hoursPerMonth",
                                              "hoursPerYear"};
const std::array<const char*, 7> kDisplayKeys = {
    "displaySeconds", "displayMinutes", "displayHours", "displayDays",
    "displayWeeks",   "displayMonths",  "displayYears"};

// Archived numbers may come back as integers, reals or (old text lists) strings.
bool archivedNumber(const KSDictionary& archive, const char* key, float* out) {
    const KSValue* value = archive.find(key);
    if (!value || value->isNull()) return false;
    *out = value->floatValue();
    return true;
}

bool archivedFlag(const KSDictionary& archive, const char* key, bool* out) {
    const KSValue* value = archive.find(key);
    if (!value || value->isNull()) return false;
    *out = value->boolValue();
    return true;
}

}  // namespace

const KSClassInfo& KSTimeSpanFormatter::staticClassInfo() {
    using F = KSTimeSpanFormatter;
    static const KSClassInfo info = KSClassInfo::make<F>(
        "KSTimeSpanFormatter", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<F>& b) {
            b.attribute("hoursPerDay", &F::hoursPerDay, &F::setHoursPerDay);
            b.attribute("hoursPerWeek", &F::hoursPerWeek, &F::setHoursPerWeek);
            b.attribute("hoursPerMonth", &F::hoursPerMonth, &F::setHoursPerMonth);
            b.attribute("hoursPerYear", &F::hoursPerYear, &F::setHoursPerYear);
            b.attribute("timeIntervalPerDay", &F::timeIntervalPerDay, &F::setTimeIntervalPerDay);
            b.attribute("timeIntervalPerWeek", &F::timeIntervalPerWeek, &F::setTimeIntervalPerWeek);
            b.attribute("timeIntervalPerMonth", &F::timeIntervalPerMonth,
                        &F::setTimeIntervalPerMonth);
            b.attribute("timeIntervalPerYear", &F::timeIntervalPerYear, &F::setTimeIntervalPerYear);
            b.attribute("displaySeconds", &F::displaySeconds, &F::setDisplaySeconds);
            b.attribute("displayMinutes", &F::displayMinutes, &F::setDisplayMinutes);
            b.attribute("displayHours", &F::displayHours, &F::setDisplayHours);
            b.attribute("displayDays", &F::displayDays, &F::setDisplayDays);
            b.attribute("displayWeeks", &F::displayWeeks, &F::setDisplayWeeks);
            b.attribute("displayMonths", &F::displayMonths, &F::setDisplayMonths);
            b.attribute("displayYears", &F::displayYears, &F::setDisplayYears);
            b.attribute("shouldReturnNumber", &F::shouldReturnNumber, &F::setShouldReturnNumber);
            b.attribute("useVerboseFormat", &F::useVerboseFormat, &F::setUseVerboseFormat);
            b.attribute("roundingInterval", &F::roundingInterval, &F::setRoundingInterval);
            b.readOnly(KSTimeSpanFormatterAnythingKey, &F::_anything);
            // The time intervals follow their hours; "anything" follows every setting.
            b.dependentKeys("timeIntervalPerDay", {"hoursPerDay"});
            b.dependentKeys("timeIntervalPerWeek", {"hoursPerWeek"});
            b.dependentKeys("timeIntervalPerMonth", {"hoursPerWeek"});
            b.dependentKeys("timeIntervalPerYear", {"hoursPerYear"});
            std::vector<std::string> settings(kHourKeys.begin(), kHourKeys.end());
            settings.insert(settings.end(), kDisplayKeys.begin(), kDisplayKeys.end());
            settings.insert(settings.end(),
                            {"shouldReturnNumber", "useVerboseFormat", "roundingInterval"});
            b.dependentKeys(KSTimeSpanFormatterAnythingKey, std::move(settings));
        });
    return info;
}

KSTimeSpanFormatter::KSTimeSpanFormatter() = default;
KSTimeSpanFormatter::~KSTimeSpanFormatter() = default;

// --- Units -------------------------------------------------------------------------------

void KSTimeSpanFormatter::setHours(float& field, float hours, std::string_view key) {
    if (hours <= 0.0f) hours = kSmallestHours;
    if (hours == field) return;
    willChangeValueForKey(key);
    field = hours;
    didChangeValueForKey(key);
}

void KSTimeSpanFormatter::setHoursPerDay(float hours) {
    if (hours <= 0.0f) hours = kSmallestHours;
    setHours(hoursPerDay_, hours, "hoursPerDay");
    // The derived units always follow a new day, even when the day itself is unchanged.
    setHoursPerWeek(5.0f * hours);
    setHoursPerMonth(20.0f * hours);
    setHoursPerYear(240.0f * hours);
}

void KSTimeSpanFormatter::setHoursPerWeek(float hours) {
    setHours(hoursPerWeek_, hours, "hoursPerWeek");
}

void KSTimeSpanFormatter::setHoursPerMonth(float hours) {
    setHours(hoursPerMonth_, hours, "hoursPerMonth");
}

void KSTimeSpanFormatter::setHoursPerYear(float hours) {
    setHours(hoursPerYear_, hours, "hoursPerYear");
}

float KSTimeSpanFormatter::timeIntervalPerDay() const {
    return hoursPerDay_ * kSecondsPerHour;
}
float KSTimeSpanFormatter::timeIntervalPerWeek() const {
    return hoursPerWeek_ * kSecondsPerHour;
}
float KSTimeSpanFormatter::timeIntervalPerMonth() const {
    return hoursPerWeek_ * kSecondsPerHour;
}
float KSTimeSpanFormatter::timeIntervalPerYear() const {
    return hoursPerYear_ * kSecondsPerHour;
}

void KSTimeSpanFormatter::setTimeIntervalPerDay(float seconds) {
    setHoursPerDay(seconds / 60.0f / 60.0f);
}
void KSTimeSpanFormatter::setTimeIntervalPerWeek(float seconds) {
    setHoursPerWeek(seconds / 60.0f / 60.0f);
}
void KSTimeSpanFormatter::setTimeIntervalPerMonth(float seconds) {
    setHoursPerMonth(seconds / 60.0f / 60.0f);
}
void KSTimeSpanFormatter::setTimeIntervalPerYear(float seconds) {
    setHoursPerYear(seconds / 60.0f / 60.0f);
}

void KSTimeSpanFormatter::setStandardCalendarTime() {
    setHoursPerDay(24.0f);
    setHoursPerWeek(24.0f * 7.0f);
    setHoursPerMonth(24.0f * 30.0f);
    setHoursPerYear(24.0f * 365.0f);
}

// --- Flags -------------------------------------------------------------------------------

void KSTimeSpanFormatter::setFlag(bool& field, bool value, std::string_view key) {
    if (field == value) return;
    willChangeValueForKey(key);
    field = value;
    didChangeValueForKey(key);
}

void KSTimeSpanFormatter::setDisplaySeconds(bool flag) {
    setFlag(displaySeconds_, flag, "displaySeconds");
}
void KSTimeSpanFormatter::setDisplayMinutes(bool flag) {
    setFlag(displayMinutes_, flag, "displayMinutes");
}
void KSTimeSpanFormatter::setDisplayHours(bool flag) {
    setFlag(displayHours_, flag, "displayHours");
}
void KSTimeSpanFormatter::setDisplayDays(bool flag) {
    setFlag(displayDays_, flag, "displayDays");
}
void KSTimeSpanFormatter::setDisplayWeeks(bool flag) {
    setFlag(displayWeeks_, flag, "displayWeeks");
}
void KSTimeSpanFormatter::setDisplayMonths(bool flag) {
    setFlag(displayMonths_, flag, "displayMonths");
}
void KSTimeSpanFormatter::setDisplayYears(bool flag) {
    setFlag(displayYears_, flag, "displayYears");
}
void KSTimeSpanFormatter::setShouldReturnNumber(bool flag) {
    setFlag(shouldReturnNumber_, flag, "shouldReturnNumber");
}
void KSTimeSpanFormatter::setUseVerboseFormat(bool flag) {
    setFlag(useVerboseFormat_, flag, "useVerboseFormat");
}

void KSTimeSpanFormatter::setRoundingInterval(double interval) {
    if (interval == roundingInterval_) return;
    willChangeValueForKey("roundingInterval");
    roundingInterval_ = interval;
    didChangeValueForKey("roundingInterval");
}

// --- Archive -------------------------------------------------------------------------------

KSDictionary KSTimeSpanFormatter::archiveDictionary() const {
    KSDictionary archive;
    const std::array<float, 4> hours = {hoursPerDay_, hoursPerWeek_, hoursPerMonth_, hoursPerYear_};
    for (std::size_t i = 0; i < kHourKeys.size(); ++i)
        archive.setObjectForKey(kHourKeys[i], KSValue(hours[i]));
    const std::array<bool, 7> flags = {displaySeconds_, displayMinutes_, displayHours_,
                                       displayDays_,    displayWeeks_,   displayMonths_,
                                       displayYears_};
    for (std::size_t i = 0; i < kDisplayKeys.size(); ++i)
        archive.setObjectForKey(kDisplayKeys[i], KSValue(flags[i]));
    return archive;
}

void KSTimeSpanFormatter::loadFromArchiveDictionary(const KSDictionary& archive) {
    // Loading settings from a file is not an edit the user could undo.
    KSUndoManager* um = nonretainedProject_ ? nonretainedProject_->undoManager() : nullptr;
    if (um) um->disableUndoRegistration();
    using HoursSetter = void (KSTimeSpanFormatter::*)(float);
    const std::array<HoursSetter, 4> hourSetters = {
        &KSTimeSpanFormatter::setHoursPerDay, &KSTimeSpanFormatter::setHoursPerWeek,
        &KSTimeSpanFormatter::setHoursPerMonth, &KSTimeSpanFormatter::setHoursPerYear};
    for (std::size_t i = 0; i < kHourKeys.size(); ++i) {
        float hours = 0.0f;
        if (archivedNumber(archive, kHourKeys[i], &hours)) (this->*hourSetters[i])(hours);
    }
    using FlagSetter = void (KSTimeSpanFormatter::*)(bool);
    const std::array<FlagSetter, 7> flagSetters = {
        &KSTimeSpanFormatter::setDisplaySeconds, &KSTimeSpanFormatter::setDisplayMinutes,
        &KSTimeSpanFormatter::setDisplayHours,   &KSTimeSpanFormatter::setDisplayDays,
        &KSTimeSpanFormatter::setDisplayWeeks,   &KSTimeSpanFormatter::setDisplayMonths,
        &KSTimeSpanFormatter::setDisplayYears};
    for (std::size_t i = 0; i < kDisplayKeys.size(); ++i) {
        bool flag = false;
        if (archivedFlag(archive, kDisplayKeys[i], &flag)) (this->*flagSetters[i])(flag);
    }
    if (um) um->enableUndoRegistration();
}

// --- Null values by key ------------------------------------------------------------------

void KSTimeSpanFormatter::setNilValueForKey(std::string_view key) {
    std::shared_ptr<KSBaseObject> self = weak_from_this().lock();
    if (!self) return;
    KSRunLoop::current().performAfterDelay(
        self, [this, name = std::string(key)] { _redisplayKey(name); }, 0.0);
}

void KSTimeSpanFormatter::_redisplayKey(const std::string& key) {
    willChangeValueForKey(key);
    didChangeValueForKey(key);
}

}  // namespace kestrum
