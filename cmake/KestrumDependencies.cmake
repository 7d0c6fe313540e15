# Finds the Debian packages Kestrum builds on and gathers them into one interface
# target, kestrum_deps, that the library links privately and exports for static use.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(pugixml REQUIRED)
find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(CURL REQUIRED)
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
pkg_check_modules(KS_PLIST REQUIRED IMPORTED_TARGET GLOBAL libplist-2.0)
pkg_check_modules(KS_ICAL REQUIRED IMPORTED_TARGET GLOBAL libical)
pkg_check_modules(KS_SECRET REQUIRED IMPORTED_TARGET GLOBAL libsecret-1)
# The address book's vCard files; the library's own parser and toolbox come along.
pkg_check_modules(KS_BELCARD REQUIRED IMPORTED_TARGET GLOBAL belcard belr bctoolbox)

add_library(kestrum_deps INTERFACE)
target_link_libraries(kestrum_deps INTERFACE
    pugixml::pugixml ICU::uc ICU::i18n CURL::libcurl
    PkgConfig::KS_PLIST PkgConfig::KS_ICAL PkgConfig::KS_SECRET PkgConfig::KS_BELCARD
    Threads::Threads)
