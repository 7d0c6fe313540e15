// Localization: strings tables in a resource folder, language preference, and the fallback
// from translation to default text to key.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSLog.h"

namespace kestrum {
namespace {

namespace fs = std::filesystem;

class KSLocalizationTest : public ::testing::Test {
protected:
    void SetUp() override {
        folder = fs::temp_directory_path() / ("kestrum-l10n-" + std::to_string(getpid()));
        fs::remove_all(folder);
        writeTable("en",
                   "/* The model's English texts */\n"
                   "\"Set Effort\" = \"Set Effort\";\n"
                   "\"Actual\" = \"Actual plan\";\n"
                   "// a line comment\n"
                   "\"Only English\" = \"English only\";\n"
                   "\"Escapes\" = \"Tab\\there \\\"quoted\\\" \\U00e9\";\n");
        writeTable("de",
                   "\"Set Effort\" = \"Aufwand festlegen\";\n"
                   "\"Actual\" = \"Ist-Plan\";\n");
        KSLocalization::setAdditionalResourceFolders({folder.string()});
        KSLocalization::setPreferredLanguages({"en"});
    }
    void TearDown() override {
        KSLocalization::setAdditionalResourceFolders({});
        KSLocalization::reset();
        fs::remove_all(folder);
    }
    void writeTable(const std::string& language, const std::string& text,
                    const std::string& table = KSModelStringsTable) {
        fs::path dir = folder / KSModelBundleIdentifier / (language + ".lproj");
        fs::create_directories(dir);
        std::ofstream(dir / (table + ".strings"), std::ios::binary) << text;
    }

    fs::path folder;
};

TEST_F(KSLocalizationTest, FallsBackFromTranslationToDefaultTextToKey) {
    EXPECT_EQ(KSLocalizedString("Actual", "Actual"), "Actual plan");
    EXPECT_EQ(KSLocalizedString("Not Translated", "The default"), "The default");
    EXPECT_EQ(KSLocalizedString("Not Translated"), "Not Translated");
    EXPECT_EQ(KSLocalizedString("Escapes"), "Tab\there \"quoted\" \xC3\xA9");
}

TEST_F(KSLocalizationTest, PreferredLanguagesWinAndMissingEntriesFallBack) {
    KSLocalization::setPreferredLanguages({"de_DE", "de", "en"});
    EXPECT_EQ(KSLocalizedString("Set Effort"), "Aufwand festlegen");
    EXPECT_EQ(KSLocalizedString("Only English", "fallback"), "English only");
    EXPECT_EQ(KSLocalizedString("Nowhere", "fallback"), "fallback");
    KSLocalization::setPreferredLanguages({"fr"});
    EXPECT_EQ(KSLocalizedString("Set Effort", "default"), "default");
}

TEST_F(KSLocalizationTest, TablesAreCachedUntilReset) {
    EXPECT_EQ(KSLocalizedString("Actual"), "Actual plan");
    writeTable("en", "\"Actual\" = \"Changed\";\n");
    EXPECT_EQ(KSLocalizedString("Actual"), "Actual plan");
    KSLocalization::reset();
    KSLocalization::setPreferredLanguages({"en"});
    EXPECT_EQ(KSLocalizedString("Actual"), "Changed");
}

TEST_F(KSLocalizationTest, OtherTablesAndBundlesAreSeparate) {
    writeTable("en", "\"Actual\" = \"From another table\";\n", "Other");
    EXPECT_EQ(KSLocalizedStringFromTableInBundle("Actual", "Other", KSModelBundleIdentifier),
              "From another table");
    EXPECT_EQ(KSLocalizedStringFromTableInBundle("Actual", KSModelStringsTable,
                                                 "com.example.unknown", "dflt"),
              "dflt");
}

TEST_F(KSLocalizationTest, AMalformedTableIsLoggedAndIgnored) {
    writeTable("en", "\"Actual\" = \"unterminated;\n");
    KSLocalization::reset();
    KSLocalization::setPreferredLanguages({"en"});
    KSLogCapture log;
    EXPECT_EQ(KSLocalizedString("Actual", "Actual"), "Actual");
    EXPECT_TRUE(log.contains("Could not read strings table"));
    EXPECT_TRUE(log.contains("KestrumModel.strings"));
}

TEST_F(KSLocalizationTest, UTF16TablesWithAByteOrderMarkAreRead) {
    std::u16string text = u"\"Actual\" = \"Plan \u00e9t\u00e9\";\n";
    std::string bytes = "\xFF\xFE";
    for (char16_t c : text) {
        bytes += static_cast<char>(c & 0xFF);
        bytes += static_cast<char>(c >> 8);
    }
    writeTable("en", bytes);
    KSLocalization::reset();
    KSLocalization::setPreferredLanguages({"en"});
    EXPECT_EQ(KSLocalizedString("Actual"), "Plan \xC3\xA9t\xC3\xA9");
}

TEST_F(KSLocalizationTest, TheResourcePathEnvironmentVariableIsSearched) {
    KSLocalization::setAdditionalResourceFolders({});
    setenv("KESTRUM_RESOURCE_PATH", ("/nonexistent:" + folder.string()).c_str(), 1);
    KSLocalization::reset();
    KSLocalization::setPreferredLanguages({"en"});
    EXPECT_EQ(KSLocalizedString("Actual"), "Actual plan");
    unsetenv("KESTRUM_RESOURCE_PATH");
}

TEST(KSLocalizationLanguages, ComeFromTheEnvironment) {
    setenv("LC_ALL", "de_CH.UTF-8", 1);
    KSLocalization::reset();
    EXPECT_EQ(KSLocalization::preferredLanguages(),
              (std::vector<std::string>{"de_CH", "de", "en", "Base"}));
    setenv("LC_ALL", "C", 1);
    KSLocalization::reset();
    EXPECT_EQ(KSLocalization::preferredLanguages(), (std::vector<std::string>{"en", "Base"}));
}

}  // namespace
}  // namespace kestrum
