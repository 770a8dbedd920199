# Every third-party library the project links, found once and exposed as imported targets.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-uc icu-i18n)
find_package(CLI11 CONFIG REQUIRED)
find_package(nlohmann_json CONFIG REQUIRED)
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
pkg_check_modules(SDBUSCPP REQUIRED IMPORTED_TARGET sdbus-c++)
pkg_check_modules(PULSE_SIMPLE REQUIRED IMPORTED_TARGET libpulse-simple)
pkg_check_modules(PUGIXML REQUIRED IMPORTED_TARGET pugixml)
find_package(ZLIB REQUIRED)
pkg_check_modules(ISAL REQUIRED IMPORTED_TARGET libisal)
