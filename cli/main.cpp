// kestrum: the command-line tool over the Kestrum library.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>

#include "Platform/core/KSVersion.h"

namespace {

// Exit codes scripts can rely on.
constexpr int kExitOK = 0;
constexpr int kExitUsage = 2;

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"kestrum: schedule, level, report, merge and publish project plans"};
    app.name("kestrum");
    app.set_version_flag("-V,--version", std::string("kestrum ") + kestrum::KSLibraryVersion(),
                         "Print the version and exit");
    app.require_subcommand(0, 1);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        int code = app.exit(e);
        return code == 0 ? kExitOK : kExitUsage;
    }
    if (app.get_subcommands().empty()) {
        std::cout << app.help();
    }
    return kExitOK;
}
