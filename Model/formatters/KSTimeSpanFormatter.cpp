#include "Model/formatters/KSTimeSpanFormatter.h"

#include <array>
#include <memory>

#include "Model/project/KSProject.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
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
        "KSTimeSpanFormatter", &BKTimeSpanFormatter::staticClassInfo(), [](KSClassBuilder<F>& b) {
            b.attribute("timeIntervalPerDay", &F::timeIntervalPerDay, &F::setTimeIntervalPerDay);
            b.attribute("timeIntervalPerWeek", &F::timeIntervalPerWeek, &F::setTimeIntervalPerWeek);
            b.attribute("timeIntervalPerMonth", &F::timeIntervalPerMonth,
                        &F::setTimeIntervalPerMonth);
            b.attribute("timeIntervalPerYear", &F::timeIntervalPerYear, &F::setTimeIntervalPerYear);
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

KSTimeSpanFormatter::KSTimeSpanFormatter() {
    setOptions(options() | BKTimeSpanFormatterSplitsIntoUnitsOption);
}

KSTimeSpanFormatter::~KSTimeSpanFormatter() = default;

// --- Units -------------------------------------------------------------------------------

void KSTimeSpanFormatter::setHoursPerDay(float hours) {
    if (hours <= 0.0f) hours = kSmallestHours;
    BKTimeSpanFormatter::setHoursPerDay(hours);
    // The derived units always follow a new day, even when the day itself is unchanged.
    setHoursPerWeek(5.0f * hours);
    setHoursPerMonth(20.0f * hours);
    setHoursPerYear(240.0f * hours);
}

void KSTimeSpanFormatter::setHoursPerWeek(float hours) {
    BKTimeSpanFormatter::setHoursPerWeek(hours <= 0.0f ? kSmallestHours : hours);
}

void KSTimeSpanFormatter::setHoursPerMonth(float hours) {
    BKTimeSpanFormatter::setHoursPerMonth(hours <= 0.0f ? kSmallestHours : hours);
}

void KSTimeSpanFormatter::setHoursPerYear(float hours) {
    BKTimeSpanFormatter::setHoursPerYear(hours <= 0.0f ? kSmallestHours : hours);
}

float KSTimeSpanFormatter::timeIntervalPerDay() const {
    return hoursPerDay() * kSecondsPerHour;
}
float KSTimeSpanFormatter::timeIntervalPerWeek() const {
    return hoursPerWeek() * kSecondsPerHour;
}
float KSTimeSpanFormatter::timeIntervalPerMonth() const {
    return hoursPerWeek() * kSecondsPerHour;
}
float KSTimeSpanFormatter::timeIntervalPerYear() const {
    return hoursPerYear() * kSecondsPerHour;
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

// --- Text ----------------------------------------------------------------------------------

bool KSTimeSpanFormatter::getObjectValueForString(KSValue* out, std::string_view text,
                                                  std::string* errorDescription) {
    KSValue value;
    std::string parsed(text);
    std::string firstError;
    if (!BKTimeSpanFormatter::getObjectValueForString(&value, parsed, &firstError)) {
        // A unit alone means one of it: "d" reads as "1d".
        parsed = KSStringWithFormat("1%@", std::string(text));
        if (!BKTimeSpanFormatter::getObjectValueForString(&value, parsed, nullptr)) {
            if (errorDescription) *errorDescription = firstError;
            return false;
        }
    }
    float seconds = 0.0f;
    if (value.isNumber()) {
        seconds = value.floatValue();
    } else if (auto span = value.asObjectOfType<BKTimeSpan>()) {
        seconds = span->floatValue();
    }
    if (seconds < 0.0f) {
        if (errorDescription) {
            *errorDescription = KSStringWithFormat(
                KSLocalizedString("Negative time intervals are not supported in Kestrum.  "
                                  "Found \"%@\""),
                parsed);
        }
        return false;
    }
    if (out) *out = std::move(value);
    return true;
}

bool KSTimeSpanFormatter::isPartialStringValidNewEditingString(std::string_view partialString,
                                                               std::string* newString,
                                                               std::string* errorDescription) {
    KSValue value;
    if (!getObjectValueForString(&value, partialString, errorDescription)) return false;
    if (newString) *newString = std::string(partialString);
    return true;
}

bool KSTimeSpanFormatter::isPartialStringValidProposedSelectedRange(std::string* partialString,
                                                                    TWTextRange*, std::string_view,
                                                                    TWTextRange,
                                                                    std::string* errorDescription) {
    KSValue value;
    return partialString && getObjectValueForString(&value, *partialString, errorDescription);
}

std::string KSTimeSpanFormatter::stringForObjectValue(const KSValue& value) {
    if (!value.isArray()) return BKTimeSpanFormatter::stringForObjectValue(value);
    const KSArray& values = value.asArray();
    if (values.empty()) return {};
    if (values.size() == 1) return stringForObjectValue(values.front());
    // Several tasks show one value only when they all share it.
    if (!values.front().isNumber()) return {};
    const float shared = values.front().floatValue();
    for (const KSValue& other : values) {
        if (!other.isNumber() || other.floatValue() != shared) return {};
    }
    return BKTimeSpanFormatter::stringForObjectValue(values.front());
}

// --- Stepping ------------------------------------------------------------------------------

std::shared_ptr<BKTimeSpan> KSTimeSpanFormatter::_timeSpanValue(const KSValue& value) {
    if (value.isNull()) return zeroTimeSpan();
    if (auto span = value.asObjectOfType<BKTimeSpan>()) return span->copy();
    const bool returnedNumber = shouldReturnNumber();
    setShouldReturnNumber(false);
    KSValue parsed;
    bool ok = getObjectValueForString(&parsed, stringForObjectValue(value), nullptr);
    setShouldReturnNumber(returnedNumber);
    auto span = ok ? parsed.asObjectOfType<BKTimeSpan>() : nullptr;
    return span ? span : zeroTimeSpan();
}

KSValue KSTimeSpanFormatter::_objectValueForSpan(const std::shared_ptr<BKTimeSpan>& span) const {
    if (shouldReturnNumber()) return KSValue(static_cast<double>(span->floatValue()));
    return KSValue(span);
}

KSValue KSTimeSpanFormatter::floored(const std::shared_ptr<BKTimeSpan>& span) const {
    return _objectValueForSpan(span->floatValue() < 0.0f ? zeroTimeSpan() : span);
}

KSValue KSTimeSpanFormatter::stepUnit(const KSValue& value, BKTimeSpanUnit unit, float delta,
                                      bool floorAtZero) {
    auto span = _timeSpanValue(value);
    span->setComponent(unit, span->component(unit) + delta);
    return floorAtZero ? floored(span) : _objectValueForSpan(span);
}

namespace {

// The stepped units, smallest first; seconds and minutes take no part in stepping.
constexpr std::array<BKTimeSpanUnit, 5> kSteppedUnits = {
    BKTimeSpanUnit::Hours, BKTimeSpanUnit::Days, BKTimeSpanUnit::Weeks, BKTimeSpanUnit::Months,
    BKTimeSpanUnit::Years};

}  // namespace

KSValue KSTimeSpanFormatter::stepUpValue(const KSValue& value) {
    for (BKTimeSpanUnit unit : kSteppedUnits) {
        if (displaysUnit(unit)) return stepUnit(value, unit, 1.0f, false);
    }
    return value;
}

KSValue KSTimeSpanFormatter::stepDownValue(const KSValue& value) {
    for (BKTimeSpanUnit unit : kSteppedUnits) {
        if (displaysUnit(unit)) return stepUnit(value, unit, -1.0f, true);
    }
    return value;
}

KSValue KSTimeSpanFormatter::largeStepUpValue(const KSValue& value) {
    // Days, weeks and months are stepped when a smaller displayed unit was seen below them.
    bool smallerSeen = displayHours();
    for (BKTimeSpanUnit unit :
         {BKTimeSpanUnit::Days, BKTimeSpanUnit::Weeks, BKTimeSpanUnit::Months}) {
        if (!displaysUnit(unit)) continue;
        if (smallerSeen) return stepUnit(value, unit, 1.0f, false);
        smallerSeen = true;
    }
    if (!displayYears()) return value;
    // Years are set from the months part, not the years part; files and users rely on the
    // step as it has always behaved.
    auto span = _timeSpanValue(value);
    span->setYears(span->months() + (smallerSeen ? 1.0f : 10.0f));
    return _objectValueForSpan(span);
}

KSValue KSTimeSpanFormatter::largeStepDownValue(const KSValue& value) {
    bool smallerSeen = displayHours();
    for (BKTimeSpanUnit unit :
         {BKTimeSpanUnit::Days, BKTimeSpanUnit::Weeks, BKTimeSpanUnit::Months}) {
        if (!displaysUnit(unit)) continue;
        if (smallerSeen) return stepUnit(value, unit, -1.0f, true);
        smallerSeen = true;
    }
    if (!displayYears()) return value;
    auto span = _timeSpanValue(value);
    span->setYears(span->years() - (smallerSeen ? 1.0f : 10.0f));
    return floored(span);
}

// --- Archive -------------------------------------------------------------------------------

KSDictionary KSTimeSpanFormatter::archiveDictionary() const {
    KSDictionary archive;
    const std::array<float, 4> hours = {hoursPerDay(), hoursPerWeek(), hoursPerMonth(),
                                        hoursPerYear()};
    for (std::size_t i = 0; i < kHourKeys.size(); ++i)
        archive.setObjectForKey(kHourKeys[i], KSValue(hours[i]));
    const std::array<bool, 7> flags = {displaySeconds(), displayMinutes(), displayHours(),
                                       displayDays(),    displayWeeks(),   displayMonths(),
                                       displayYears()};
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
