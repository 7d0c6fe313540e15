#include "Platform/core/KSUserDefaults.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "Platform/core/KSLog.h"
#include "Platform/plist/KSPropertyList.h"

namespace kestrum {

namespace {

constexpr const char* kDomain = "com.verdane.Kestrum";

std::string configFolder() {
    if (const char* dir = std::getenv("KESTRUM_CONFIG_DIR"); dir && *dir) return dir;
    if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg) {
        return std::string(xdg) + "/kestrum";
    }
    if (const char* home = std::getenv("HOME"); home && *home) {
        return std::string(home) + "/.config/kestrum";
    }
    return ".kestrum";
}

std::unique_ptr<KSUserDefaults>& standardInstance() {
    static std::unique_ptr<KSUserDefaults> instance;
    return instance;
}

}  // namespace

KSUserDefaults& KSUserDefaults::standardUserDefaults() {
    auto& instance = standardInstance();
    if (!instance) {
        instance = std::make_unique<KSUserDefaults>(configFolder() + "/" + kDomain + ".plist");
    }
    return *instance;
}

void KSUserDefaults::resetStandardUserDefaults() {
    standardInstance().reset();
}

KSUserDefaults::KSUserDefaults(std::string path) : path_(std::move(path)) {
    load();
}

KSUserDefaults::~KSUserDefaults() = default;

void KSUserDefaults::load() {
    std::ifstream in(path_, std::ios::binary);
    if (!in) return;  // nothing set yet
    KSData data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    KSError error;
    KSValue value = KSPropertyList::propertyListFromData(data, nullptr, &error);
    if (!value.isDictionary()) {
        KSLog("KSUserDefaults: ignoring unreadable preferences file %@: %@", path_,
              error.isSet() ? error.localizedDescription() : std::string("not a dictionary"));
        return;
    }
    values_ = value.asDictionary();
}

KSValue KSUserDefaults::objectForKey(std::string_view key) const {
    if (const KSValue* v = values_.find(key)) return *v;
    return registered_.objectForKey(key);
}

void KSUserDefaults::setObjectForKey(const KSValue& value, std::string_view key) {
    if (value.isNull()) {
        removeObjectForKey(key);
        return;
    }
    if (!KSPropertyList::isValidPropertyList(value)) {
        KSLog(
            "KSUserDefaults: refusing a value that a property list cannot hold for the key "
            "\"%@\": %@",
            std::string(key), value.description());
        return;
    }
    KSValue old = objectForKey(key);
    values_.setObjectForKey(key, value);
    save();
    notify(std::string(key), old);
}

void KSUserDefaults::removeObjectForKey(std::string_view key) {
    if (!values_.contains(key)) return;
    KSValue old = objectForKey(key);
    values_.removeObjectForKey(key);
    save();
    notify(std::string(key), old);
}

void KSUserDefaults::registerDefaults(const KSDictionary& defaults) {
    for (const auto& [key, value] : defaults) {
        KSValue old = objectForKey(key);
        registered_.setObjectForKey(key, value);
        notify(key, old);
    }
}

std::string KSUserDefaults::stringForKey(std::string_view key) const {
    KSValue v = objectForKey(key);
    if (v.isString()) return v.asString();
    if (v.isNumber() || v.isBool()) return v.description();
    return {};
}

bool KSUserDefaults::boolForKey(std::string_view key) const {
    return objectForKey(key).boolValue();
}

std::int64_t KSUserDefaults::integerForKey(std::string_view key) const {
    return objectForKey(key).integerValue();
}

double KSUserDefaults::doubleForKey(std::string_view key) const {
    return objectForKey(key).doubleValue();
}

KSArray KSUserDefaults::arrayForKey(std::string_view key) const {
    KSValue v = objectForKey(key);
    return v.isArray() ? v.asArray() : KSArray();
}

KSDictionary KSUserDefaults::dictionaryForKey(std::string_view key) const {
    KSValue v = objectForKey(key);
    return v.isDictionary() ? v.asDictionary() : KSDictionary();
}

void KSUserDefaults::save() {
    // The value stays set in memory; the failure is told in the log.
    KSError error;
    if (!synchronize(&error)) {
        KSLog("KSUserDefaults: could not save the preferences: %@", error.localizedDescription());
    }
}

bool KSUserDefaults::synchronize(KSError* error) {
    namespace fs = std::filesystem;
    std::error_code ec;
    fs::path target(path_);
    if (target.has_parent_path()) fs::create_directories(target.parent_path(), ec);
    KSError plistError;
    KSData data = KSPropertyList::dataFromPropertyList(KSValue(values_), KSPropertyListFormat::XML,
                                                       &plistError);
    if (data.empty()) {
        KSSetError(error, plistError);
        return false;
    }
    // Write a temporary file and rename it over the old one, so a crash never leaves half
    // a file.
    std::string temporary = path_ + ".tmp";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data.data()),
                  static_cast<std::streamsize>(data.size()));
        out.close();  // a full disk shows only when the buffer is flushed
        if (!out) {
            int code = errno;
            fs::remove(temporary, ec);
            KSSetError(error, KSError::errorWithDescription(
                                  KSPOSIXErrorDomain, code,
                                  "Could not write the preferences file " + temporary));
            return false;
        }
    }
    fs::rename(temporary, target, ec);
    if (ec) {
        std::error_code ignored;
        fs::remove(temporary, ignored);
        KSSetError(error, KSError::errorWithDescription(
                              KSPOSIXErrorDomain, ec.value(),
                              "Could not replace " + path_ + ": " + ec.message()));
        return false;
    }
    return true;
}

KSUserDefaults::Token KSUserDefaults::addObserverForKey(std::string_view key, Observer observer) {
    Token token = nextToken_++;
    observers_.push_back(
        Registration{token, std::string(key), std::make_shared<Observer>(std::move(observer))});
    return token;
}

void KSUserDefaults::removeObserver(Token token) {
    for (auto it = observers_.begin(); it != observers_.end(); ++it) {
        if (it->token == token) {
            observers_.erase(it);
            return;
        }
    }
}

void KSUserDefaults::notify(const std::string& key, const KSValue& oldEffective) {
    KSValue now = objectForKey(key);
    if (now == oldEffective && now.type() == oldEffective.type()) return;
    std::vector<std::shared_ptr<Observer>> matching;
    for (const auto& r : observers_) {
        if (r.key == key) matching.push_back(r.observer);
    }
    for (const auto& observer : matching)
        (*observer)(key, now);
}

}  // namespace kestrum
