// KSUserDefaults: the user's preferences.
//
// Values are looked up first among those the user has set, then among the registered
// defaults (registerDefaults, not persisted). Set values are written at once to a
// property-list file, so they survive a restart: $KESTRUM_CONFIG_DIR/<domain>.plist, or
// $XDG_CONFIG_HOME/kestrum/, or ~/.config/kestrum/. Observers of a key are told after
// its effective value changes, by a set, a removal or a registration.
//
// The preferences the model reads: "WriteExtendedXML", "LogLevelingPerformance",
// "FirstDayOfTheWeek", "KSLastAttachmentDirectory", "KSServerAccounts".
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Platform/core/KSError.h"
#include "Platform/core/KSValue.h"

namespace kestrum {

class KSUserDefaults {
public:
    using Token = std::uint64_t;
    using Observer = std::function<void(const std::string& key, const KSValue& newValue)>;

    // The process's defaults, in the domain "com.verdane.Kestrum".
    static KSUserDefaults& standardUserDefaults();
    // Drops the standard defaults so that the next call reads the file again (as a new
    // process would); for tests.
    static void resetStandardUserDefaults();

    // Defaults kept in `path` (a property-list file; made on the first write).
    explicit KSUserDefaults(std::string path);
    ~KSUserDefaults();

    // The effective value: set value, else registered default, else null.
    KSValue objectForKey(std::string_view key) const;
    // Sets and saves a value; null removes the key. A value that a property list cannot
    // hold (an object, a null inside a collection) is refused with a log line.
    void setObjectForKey(const KSValue& value, std::string_view key);
    void removeObjectForKey(std::string_view key);
    // Registered defaults are merged into those already registered.
    void registerDefaults(const KSDictionary& defaults);

    std::string stringForKey(std::string_view key) const;  // "" when not a string
    bool boolForKey(std::string_view key) const;
    std::int64_t integerForKey(std::string_view key) const;
    double doubleForKey(std::string_view key) const;
    KSArray arrayForKey(std::string_view key) const;
    KSDictionary dictionaryForKey(std::string_view key) const;
    void setBoolForKey(bool value, std::string_view key) { setObjectForKey(KSValue(value), key); }
    void setIntegerForKey(std::int64_t value, std::string_view key) {
        setObjectForKey(KSValue(static_cast<long long>(value)), key);
    }
    void setDoubleForKey(double value, std::string_view key) {
        setObjectForKey(KSValue(value), key);
    }

    // The values the user has set (no registered defaults).
    const KSDictionary& persistentValues() const { return values_; }
    const std::string& path() const { return path_; }
    // Writes the set values to the file (done after every change); false on failure.
    bool synchronize(KSError* error = nullptr);

    Token addObserverForKey(std::string_view key, Observer observer);
    void removeObserver(Token token);

private:
    void load();
    void save();
    void notify(const std::string& key, const KSValue& oldEffective);

    std::string path_;
    KSDictionary values_;
    KSDictionary registered_;
    struct Registration {
        Token token;
        std::string key;
        std::shared_ptr<Observer> observer;
    };
    std::vector<Registration> observers_;
    Token nextToken_ = 1;
};

}  // namespace kestrum
