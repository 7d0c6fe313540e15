// KSUserDefaults: registered and set values, typed reads, observers, the file on disk and
// values surviving a restart of the process.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSUserDefaults.h"
#include "Platform/plist/KSPropertyList.h"

extern char** environ;

namespace kestrum {
namespace {

namespace fs = std::filesystem;

class KSUserDefaultsTest : public ::testing::Test {
protected:
    void SetUp() override {
        folder = fs::temp_directory_path() /
                 ("kestrum-defaults-" + std::to_string(getpid()) + "-" +
                  ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder);
        path = (folder / "prefs.plist").string();
    }
    void TearDown() override { fs::remove_all(folder); }

    fs::path folder;
    std::string path;
};

TEST_F(KSUserDefaultsTest, SetValuesWinOverRegisteredDefaults) {
    KSUserDefaults defaults(path);
    defaults.registerDefaults(KSDictionary{{"WriteExtendedXML", false}, {"FirstDayOfTheWeek", 1}});
    EXPECT_FALSE(defaults.boolForKey("WriteExtendedXML"));
    EXPECT_EQ(defaults.integerForKey("FirstDayOfTheWeek"), 1);
    defaults.setBoolForKey(true, "WriteExtendedXML");
    EXPECT_TRUE(defaults.boolForKey("WriteExtendedXML"));
    // Removal falls back on the registered default; registered defaults are not stored.
    defaults.removeObjectForKey("WriteExtendedXML");
    EXPECT_FALSE(defaults.boolForKey("WriteExtendedXML"));
    EXPECT_TRUE(defaults.persistentValues().empty());
    EXPECT_TRUE(defaults.objectForKey("Unknown").isNull());
    // Later registrations merge.
    defaults.registerDefaults(KSDictionary{{"LogLevelingPerformance", true}});
    EXPECT_EQ(defaults.integerForKey("FirstDayOfTheWeek"), 1);
    EXPECT_TRUE(defaults.boolForKey("LogLevelingPerformance"));
}

TEST_F(KSUserDefaultsTest, TypedReadsConvertLikeThePlatform) {
    KSUserDefaults defaults(path);
    defaults.setObjectForKey(KSValue("YES"), "flag");
    defaults.setObjectForKey(KSValue("42"), "number");
    defaults.setDoubleForKey(2.5, "ratio");
    defaults.setIntegerForKey(-3, "count");
    defaults.setObjectForKey(KSValue::array({"a", "b"}), "list");
    EXPECT_TRUE(defaults.boolForKey("flag"));
    EXPECT_EQ(defaults.integerForKey("number"), 42);
    EXPECT_EQ(defaults.doubleForKey("ratio"), 2.5);
    EXPECT_EQ(defaults.stringForKey("ratio"), "2.5");
    EXPECT_EQ(defaults.stringForKey("count"), "-3");
    EXPECT_EQ(defaults.stringForKey("list"), "");
    EXPECT_EQ(defaults.arrayForKey("list").size(), 2u);
    EXPECT_TRUE(defaults.arrayForKey("flag").empty());
    EXPECT_TRUE(defaults.dictionaryForKey("list").empty());
    EXPECT_FALSE(defaults.boolForKey("missing"));
    EXPECT_EQ(defaults.integerForKey("missing"), 0);
}

TEST_F(KSUserDefaultsTest, ObserversHearChangesOfTheEffectiveValueOnly) {
    KSUserDefaults defaults(path);
    std::vector<std::string> heard;
    auto token = defaults.addObserverForKey("FirstDayOfTheWeek",
                                            [&](const std::string& key, const KSValue& value) {
                                                heard.push_back(key + "=" + value.description());
                                            });
    defaults.registerDefaults(KSDictionary{{"FirstDayOfTheWeek", 1}});
    defaults.setIntegerForKey(2, "FirstDayOfTheWeek");
    defaults.setIntegerForKey(2, "FirstDayOfTheWeek");                  // unchanged: silent
    defaults.registerDefaults(KSDictionary{{"FirstDayOfTheWeek", 0}});  // hidden by the set value
    defaults.setIntegerForKey(5, "Other");
    defaults.removeObjectForKey("FirstDayOfTheWeek");
    EXPECT_EQ(heard, (std::vector<std::string>{"FirstDayOfTheWeek=1", "FirstDayOfTheWeek=2",
                                               "FirstDayOfTheWeek=0"}));
    defaults.removeObserver(token);
    defaults.setIntegerForKey(6, "FirstDayOfTheWeek");
    EXPECT_EQ(heard.size(), 3u);
}

TEST_F(KSUserDefaultsTest, ValuesAreWrittenAtOnceAsAnXMLPropertyList) {
    KSDictionary account{{"name", "Team server"}, {"url", "https://example.invalid/dav"}};
    {
        KSUserDefaults defaults(path);
        defaults.setObjectForKey(KSValue::array({KSValue(account)}), "KSServerAccounts");
        defaults.setObjectForKey(KSValue("/home/user/Documents"), "KSLastAttachmentDirectory");
    }
    std::ifstream in(path);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_NE(text.find("<?xml"), std::string::npos);
    EXPECT_NE(text.find("<key>KSServerAccounts</key>"), std::string::npos);
    EXPECT_FALSE(fs::exists(path + ".tmp"));

    KSUserDefaults reread(path);
    ASSERT_EQ(reread.arrayForKey("KSServerAccounts").size(), 1u);
    EXPECT_EQ(reread.arrayForKey("KSServerAccounts")[0], KSValue(account));
    EXPECT_EQ(reread.stringForKey("KSLastAttachmentDirectory"), "/home/user/Documents");
}

TEST_F(KSUserDefaultsTest, AnUnreadableFileIsIgnoredWithALogLineAndReplacedOnWrite) {
    fs::create_directories(folder);
    std::ofstream(path) << "{ this is not ( a property list";
    KSLogCapture log;
    KSUserDefaults defaults(path);
    EXPECT_TRUE(log.contains("ignoring unreadable preferences file"));
    EXPECT_TRUE(defaults.persistentValues().empty());
    defaults.setBoolForKey(true, "WriteExtendedXML");
    EXPECT_TRUE(KSUserDefaults(path).boolForKey("WriteExtendedXML"));
}

TEST_F(KSUserDefaultsTest, ValuesAPropertyListCannotHoldAreRefused) {
    KSUserDefaults defaults(path);
    defaults.setIntegerForKey(1, "kept");
    KSLogCapture log;
    defaults.setObjectForKey(KSValue(std::make_shared<KSBaseObject>()), "object");
    defaults.setObjectForKey(KSValue::array({1, KSValue()}), "withNull");
    EXPECT_TRUE(defaults.objectForKey("object").isNull());
    EXPECT_TRUE(defaults.objectForKey("withNull").isNull());
    EXPECT_EQ(log.lines().size(), 2u);
    EXPECT_EQ(KSUserDefaults(path).integerForKey("kept"), 1);
}

TEST_F(KSUserDefaultsTest, SynchronizeReportsAFolderThatCannotBeMade) {
    fs::create_directories(folder);
    std::ofstream(folder / "file") << "x";
    KSUserDefaults defaults((folder / "file" / "prefs.plist").string());
    KSLogCapture log;
    defaults.setIntegerForKey(1, "a");
    EXPECT_EQ(defaults.integerForKey("a"), 1);  // kept in memory
    EXPECT_TRUE(log.contains("prefs.plist"));
    KSError error;
    EXPECT_FALSE(defaults.synchronize(&error));
    EXPECT_TRUE(error.isSet());
    EXPECT_NE(error.localizedDescription().find("prefs.plist"), std::string::npos);
}

TEST(KSUserDefaultsStandard, LivesInTheConfigurationFolderAndIsReadAgainAfterAReset) {
    const char* folder = std::getenv("KESTRUM_CONFIG_DIR");
    ASSERT_NE(folder, nullptr);
    KSUserDefaults::resetStandardUserDefaults();
    KSUserDefaults& defaults = KSUserDefaults::standardUserDefaults();
    EXPECT_EQ(defaults.path(), std::string(folder) + "/com.verdane.Kestrum.plist");
    defaults.setObjectForKey(KSValue("Monday"), "FirstDayOfTheWeekName");
    KSUserDefaults::resetStandardUserDefaults();
    EXPECT_EQ(KSUserDefaults::standardUserDefaults().stringForKey("FirstDayOfTheWeekName"),
              "Monday");
    KSUserDefaults::standardUserDefaults().removeObjectForKey("FirstDayOfTheWeekName");
    KSUserDefaults::resetStandardUserDefaults();
}

// Runs this test binary again with a filter and extra environment, its output going to
// `logPath`; answers its exit status.
int runChild(const std::string& filter, const std::vector<std::string>& extraEnvironment,
             const std::string& logPath) {
    std::string self = fs::read_symlink("/proc/self/exe").string();
    std::string filterArgument = "--gtest_filter=" + filter;
    std::vector<std::string> environment(extraEnvironment);
    for (char** e = environ; *e; ++e) {
        std::string entry = *e;
        bool overridden = false;
        for (const auto& extra : extraEnvironment) {
            std::size_t nameLength = extra.find('=') + 1;
            if (entry.compare(0, nameLength, extra, 0, nameLength) == 0) overridden = true;
        }
        if (!overridden) environment.push_back(entry);
    }
    std::vector<char*> envp;
    for (auto& entry : environment)
        envp.push_back(entry.data());
    envp.push_back(nullptr);
    char* argv[] = {self.data(), filterArgument.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    pid_t pid = 0;
    int spawned = posix_spawn(&pid, self.c_str(), &actions, nullptr, argv, envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) return -1;
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string fileText(const fs::path& path) {
    std::ifstream in(path);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// In the parent: runs a writer process and a reader process on one preference folder.
// In a child (KESTRUM_DEFAULTS_ROLE set): plays the writer or the reader.
TEST(KSUserDefaultsRestart, SetValuesSurviveARestartOfTheProcess) {
    const char* role = std::getenv("KESTRUM_DEFAULTS_ROLE");
    KSUserDefaults& defaults = KSUserDefaults::standardUserDefaults();
    if (role && std::string(role) == "write") {
        defaults.setBoolForKey(true, "WriteExtendedXML");
        defaults.setIntegerForKey(1, "FirstDayOfTheWeek");
        defaults.setObjectForKey(KSValue::array({KSValue(KSDictionary{{"name", "Ünïcode"}})}),
                                 "KSServerAccounts");
        defaults.setObjectForKey(KSValue("temporary"), "KSLastAttachmentDirectory");
        defaults.removeObjectForKey("KSLastAttachmentDirectory");
        return;
    }
    if (role && std::string(role) == "read") {
        EXPECT_TRUE(defaults.boolForKey("WriteExtendedXML"));
        EXPECT_EQ(defaults.integerForKey("FirstDayOfTheWeek"), 1);
        EXPECT_EQ(defaults.arrayForKey("KSServerAccounts"),
                  (KSArray{KSValue(KSDictionary{{"name", "Ünïcode"}})}));
        EXPECT_TRUE(defaults.objectForKey("KSLastAttachmentDirectory").isNull());
        EXPECT_FALSE(defaults.boolForKey("LogLevelingPerformance"));
        return;
    }
    fs::path folder = fs::temp_directory_path() / ("kestrum-restart-" + std::to_string(getpid()));
    fs::remove_all(folder);
    fs::path logs = fs::temp_directory_path() / ("kestrum-restart-log-" + std::to_string(getpid()));
    std::string filter = "KSUserDefaultsRestart.SetValuesSurviveARestartOfTheProcess";
    std::string config = "KESTRUM_CONFIG_DIR=" + folder.string();
    ASSERT_EQ(runChild(filter, {config, "KESTRUM_DEFAULTS_ROLE=write"}, logs.string()), 0)
        << fileText(logs);
    EXPECT_TRUE(fs::exists(folder / "com.verdane.Kestrum.plist"));
    EXPECT_EQ(runChild(filter, {config, "KESTRUM_DEFAULTS_ROLE=read"}, logs.string()), 0)
        << fileText(logs);
    // A reader that expects what was never written fails, so the check above has teeth.
    fs::remove(folder / "com.verdane.Kestrum.plist");
    EXPECT_NE(runChild(filter, {config, "KESTRUM_DEFAULTS_ROLE=read"}, logs.string()), 0);
    fs::remove_all(folder);
    fs::remove(logs);
}

}  // namespace
}  // namespace kestrum
