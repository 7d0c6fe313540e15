// The test runner's main: fixes the time zone, locale, clock and preference folder so
// that every test sees the same world.
#include <gtest/gtest.h>

#include <unistd.h>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

#include "Platform/core/KSClock.h"
#include "Platform/core/KSLocalization.h"

int main(int argc, char** argv) {
    // A suite may ask for another zone through KESTRUM_TEST_TZ (set by CTest).
    const char* zone = std::getenv("KESTRUM_TEST_TZ");
    setenv("TZ", zone && *zone ? zone : "UTC", 1);
    tzset();
    setenv("LC_ALL", "C", 1);
    unsetenv("LANG");
    unsetenv("LC_MESSAGES");
    // Preferences go to a private folder per process.
    std::string folder =
        (std::filesystem::temp_directory_path() / ("kestrum-test-" + std::to_string(getpid())))
            .string();
    if (!std::getenv("KESTRUM_CONFIG_DIR")) setenv("KESTRUM_CONFIG_DIR", folder.c_str(), 1);
    kestrum::KSLocalization::reset();
    ::testing::InitGoogleTest(&argc, argv);
    int result = RUN_ALL_TESTS();
    std::error_code ec;
    std::filesystem::remove_all(folder, ec);
    return result;
}
