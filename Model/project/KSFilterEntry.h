// KSFilterEntry: one row of the filter editor's form.
//
// A row compares a key path with a value through an operator; a duration value carries
// its unit as a number of seconds. The editor (the application's) archives a row as a
// dictionary, which loadFromArchiveDictionary reads back.
//
//   KSFilterEntry entry;
//   entry.loadFromArchiveDictionary(archive);
//   entry.setUnits(86400);
//   entry.unitsArchiveString();   // "days"
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

// Archive keys of an entry.
extern const char* const KSFilterEntryEditorValueKey;     // "PYFilterEntryEditorValue"
extern const char* const KSFilterEntryEditorKeyPathKey;   // "PYFilterEntryEditorKeyPath"
extern const char* const KSFilterEntryEditorOperatorKey;  // "PYFilterEntryEditorOperator"

class KSFilterEntry : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    KSFilterEntry();
    ~KSFilterEntry() override;

    // What is compared.
    const std::string& keyPath() const { return keyPath_; }
    void setKeyPath(std::string keyPath) { keyPath_ = std::move(keyPath); }
    // The operator's identifier.
    const std::string& operatorIdentifier() const { return operator_; }
    void setOperatorIdentifier(std::string identifier) { operator_ = std::move(identifier); }
    // The right-hand value.
    const KSValue& value() const { return value_; }
    void setValue(KSValue value) { value_ = std::move(value); }
    // Seconds per unit of a duration value; 0 when the value is none.
    std::int32_t units() const { return units_; }
    void setUnits(std::int32_t units) { units_ = units; }

    // The word of `units`: 1 "seconds", 60 "minute", 3600 "hours", 86400 "days",
    // 604800 "weeks", 2592000 "months" (30 days), 31536000 "years" (365 days); null for
    // any other value.
    std::optional<std::string> unitsArchiveString() const;
    // The units of a word of unitsArchiveString; null for an unknown word.
    static std::optional<std::int32_t> unitsFromArchiveString(std::string_view word);

    // Takes value, key path and operator from the editor's archive; a missing key leaves
    // its field as it is.
    void loadFromArchiveDictionary(const KSDictionary& archive);

private:
    std::string keyPath_;
    std::string operator_;
    KSValue value_;
    std::int32_t units_ = 0;
};

}  // namespace kestrum
