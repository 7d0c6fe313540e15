#include "Platform/core/KSLocalization.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>

#include "Platform/core/KSLog.h"
#include "Platform/core/KSUnicode.h"
#include "Platform/plist/KSPropertyList.h"

#ifndef KESTRUM_INSTALL_DATADIR
#define KESTRUM_INSTALL_DATADIR "/usr/local/share"
#endif
#ifndef KESTRUM_SOURCE_DATADIR
#define KESTRUM_SOURCE_DATADIR ""
#endif

namespace kestrum {

const char* const KSModelBundleIdentifier = "com.verdane.framework.KestrumModel";
const char* const KSModelStringsTable = "KestrumModel";

namespace {

struct State {
    std::optional<std::vector<std::string>> languages;
    std::vector<std::string> extraFolders;
    // (bundle, table) -> merged table, most preferred language winning.
    std::map<std::pair<std::string, std::string>, KSDictionary> tables;
};

State& state() {
    static State s;
    return s;
}

std::vector<std::string> languagesFromEnvironment() {
    std::vector<std::string> result;
    const char* names[] = {"LC_ALL", "LC_MESSAGES", "LANG"};
    for (const char* name : names) {
        const char* value = std::getenv(name);
        if (!value || !*value) continue;
        std::string locale = value;
        auto cut = locale.find_first_of(".@");
        if (cut != std::string::npos) locale.resize(cut);
        if (locale == "C" || locale == "POSIX") break;
        result.push_back(locale);
        auto underscore = locale.find('_');
        if (underscore != std::string::npos) result.push_back(locale.substr(0, underscore));
        break;
    }
    result.push_back("en");
    result.push_back("Base");
    return result;
}

std::vector<std::string> resourceFolders() {
    std::vector<std::string> folders = state().extraFolders;
    if (const char* path = std::getenv("KESTRUM_RESOURCE_PATH"); path && *path) {
        std::string all = path;
        std::size_t start = 0;
        while (start <= all.size()) {
            std::size_t end = all.find(':', start);
            if (end == std::string::npos) end = all.size();
            if (end > start) folders.push_back(all.substr(start, end - start));
            start = end + 1;
        }
    }
    folders.push_back(std::string(KESTRUM_INSTALL_DATADIR) + "/kestrum");
    if (*KESTRUM_SOURCE_DATADIR) folders.push_back(KESTRUM_SOURCE_DATADIR);
    return folders;
}

// Strings files made by translation tools are often UTF-16 with a byte-order mark; they
// are turned into UTF-8. Other text is taken as UTF-8.
std::string textFromFileBytes(const std::string& bytes) {
    if (bytes.size() < 2) return bytes;
    auto b0 = static_cast<unsigned char>(bytes[0]);
    auto b1 = static_cast<unsigned char>(bytes[1]);
    bool little = b0 == 0xFF && b1 == 0xFE;
    bool big = b0 == 0xFE && b1 == 0xFF;
    if (!little && !big) return bytes;
    auto unit = [&](std::size_t i) -> std::uint32_t {
        auto lo = static_cast<unsigned char>(bytes[little ? i : i + 1]);
        auto hi = static_cast<unsigned char>(bytes[little ? i + 1 : i]);
        return static_cast<std::uint32_t>(hi << 8 | lo);
    };
    std::string out;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        std::uint32_t code = unit(i);
        if (code >= 0xD800 && code < 0xDC00 && i + 3 < bytes.size()) {
            std::uint32_t low = unit(i + 2);
            if (low >= 0xDC00 && low < 0xE000) {
                code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                i += 2;
            }
        }
        KSAppendUTF8(out, code);
    }
    return out;
}

const KSDictionary& tableFor(std::string_view bundle, std::string_view table) {
    auto key = std::make_pair(std::string(bundle), std::string(table));
    auto& tables = state().tables;
    auto it = tables.find(key);
    if (it != tables.end()) return it->second;
    KSDictionary merged;
    auto languages = KSLocalization::preferredLanguages();
    // Least preferred first, so that more preferred languages overwrite.
    for (auto lang = languages.rbegin(); lang != languages.rend(); ++lang) {
        for (const auto& folder : resourceFolders()) {
            std::string path =
                folder + "/" + key.first + "/" + *lang + ".lproj/" + key.second + ".strings";
            std::ifstream in(path, std::ios::binary);
            if (!in) continue;
            std::string text = textFromFileBytes(std::string((std::istreambuf_iterator<char>(in)),
                                                             std::istreambuf_iterator<char>()));
            KSError error;
            KSDictionary entries = KSPropertyList::stringsTableFromString(text, &error);
            if (error.isSet()) {
                KSLog("Could not read strings table %@: %@", path, error.localizedDescription());
                continue;
            }
            for (const auto& [k, v] : entries)
                merged.setObjectForKey(k, v);
            break;  // the first folder holding this language wins
        }
    }
    return tables.emplace(std::move(key), std::move(merged)).first->second;
}

}  // namespace

std::string KSLocalizedStringFromTableInBundle(std::string_view key, std::string_view table,
                                               std::string_view bundleIdentifier,
                                               std::string_view defaultText) {
    const KSDictionary& entries = tableFor(bundleIdentifier, table);
    if (const KSValue* v = entries.find(key); v && v->isString()) return v->asString();
    if (!defaultText.empty()) return std::string(defaultText);
    return std::string(key);
}

std::string KSLocalizedString(std::string_view key, std::string_view defaultText) {
    return KSLocalizedStringFromTableInBundle(key, KSModelStringsTable, KSModelBundleIdentifier,
                                              defaultText);
}

std::vector<std::string> KSLocalization::preferredLanguages() {
    auto& s = state();
    if (!s.languages) s.languages = languagesFromEnvironment();
    return *s.languages;
}

void KSLocalization::setPreferredLanguages(std::vector<std::string> languages) {
    state().languages = std::move(languages);
    state().tables.clear();
}

void KSLocalization::setAdditionalResourceFolders(std::vector<std::string> folders) {
    state().extraFolders = std::move(folders);
    state().tables.clear();
}

void KSLocalization::reset() {
    state().tables.clear();
    state().languages.reset();
}

std::vector<std::string> KSLocalization::resourceFolders() {
    return kestrum::resourceFolders();
}

std::optional<std::string> KSLocalization::pathForResource(std::string_view relativePath) {
    for (const std::string& folder : kestrum::resourceFolders()) {
        std::string path = folder + "/" + std::string(relativePath);
        std::error_code error;
        if (std::filesystem::exists(path, error)) return path;
    }
    return std::nullopt;
}

}  // namespace kestrum
