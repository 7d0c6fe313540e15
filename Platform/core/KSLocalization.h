// Localization: look-up of user-visible text by key in a bundle's string tables.
//
// A bundle is found by identifier in the resource folders: $KESTRUM_RESOURCE_PATH
// (colon-separated), the installed data folder (<prefix>/share/kestrum) and the source
// tree's resources/ folder. A table is the file
// <folder>/<bundle identifier>/<language>.lproj/<table>.strings in the old-style
// property-list text form ("key" = "value";), in UTF-8 or in UTF-16 with a byte-order
// mark. The language comes from LC_ALL, LC_MESSAGES or LANG ("de_DE.UTF-8" tries "de_DE",
// then "de"), then "en" and "Base".
// Without a translation the default text shows, or else the key.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrum {

// The model's bundle and table.
extern const char* const KSModelBundleIdentifier;  // "com.verdane.framework.KestrumModel"
extern const char* const KSModelStringsTable;      // "KestrumModel"

// Looks `key` up in the model's table.
std::string KSLocalizedString(std::string_view key, std::string_view defaultText = {});
// Looks `key` up in any bundle and table.
std::string KSLocalizedStringFromTableInBundle(std::string_view key, std::string_view table,
                                               std::string_view bundleIdentifier,
                                               std::string_view defaultText = {});

class KSLocalization {
public:
    // The languages tried, most preferred first (set from the environment on first use).
    static std::vector<std::string> preferredLanguages();
    static void setPreferredLanguages(std::vector<std::string> languages);
    // Extra folders searched before the standard ones.
    static void setAdditionalResourceFolders(std::vector<std::string> folders);
    // Drops the loaded tables so that they are read again.
    static void reset();
    // The resource folders, searched in this order.
    static std::vector<std::string> resourceFolders();
    // The first resource folder holding `relativePath` (a file or a folder), joined with
    // it; null when none does.
    static std::optional<std::string> pathForResource(std::string_view relativePath);
};

}  // namespace kestrum
