#include "Model/project/KSFilterEntry.h"

#include <array>
#include <utility>

namespace kestrum {

const char* const KSFilterEntryEditorValueKey = "PYFilterEntryEditorValue";
const char* const KSFilterEntryEditorKeyPathKey = "PYFilterEntryEditorKeyPath";
const char* const KSFilterEntryEditorOperatorKey = "PYFilterEntryEditorOperator";

namespace {

// Seconds per unit and their archive words. A month is 30 days and a year 365 here, and
// the minute alone is singular; files carry these words as they are.
const std::array<std::pair<std::int32_t, const char*>, 7> kUnitWords = {{
    {1, "seconds"},
    {60, "minute"},
    {3600, "hours"},
    {86400, "days"},
    {604800, "weeks"},
    {2592000, "months"},
    {31536000, "years"},
}};

}  // namespace

const KSClassInfo& KSFilterEntry::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSFilterEntry>(
        "KSFilterEntry", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSFilterEntry>& b) {
            b.custom("keyPath", KSValue::Type::String,
                     [](const KSFilterEntry& e) { return KSValue(e.keyPath()); });
            b.custom("operator", KSValue::Type::String,
                     [](const KSFilterEntry& e) { return KSValue(e.operatorIdentifier()); });
            b.custom("value", KSValue::Type::Null,
                     [](const KSFilterEntry& e) { return e.value(); });
            b.attribute("units", &KSFilterEntry::units, &KSFilterEntry::setUnits);
        });
    return info;
}

KSFilterEntry::KSFilterEntry() = default;
KSFilterEntry::~KSFilterEntry() = default;

std::optional<std::string> KSFilterEntry::unitsArchiveString() const {
    for (const auto& [seconds, word] : kUnitWords) {
        if (seconds == units_) return std::string(word);
    }
    return std::nullopt;
}

std::optional<std::int32_t> KSFilterEntry::unitsFromArchiveString(std::string_view word) {
    for (const auto& [seconds, unitWord] : kUnitWords) {
        if (word == unitWord) return seconds;
    }
    return std::nullopt;
}

void KSFilterEntry::loadFromArchiveDictionary(const KSDictionary& archive) {
    if (const KSValue* value = archive.find(KSFilterEntryEditorValueKey)) value_ = *value;
    if (const KSValue* keyPath = archive.find(KSFilterEntryEditorKeyPathKey)) {
        if (keyPath->isString()) keyPath_ = keyPath->asString();
    }
    if (const KSValue* op = archive.find(KSFilterEntryEditorOperatorKey)) {
        if (op->isString()) operator_ = op->asString();
    }
}

}  // namespace kestrum
