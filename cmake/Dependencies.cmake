# Every third-party library the project links, found once and exposed as imported targets.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-uc icu-i18n)
find_package(CLI11 CONFIG REQUIRED)
find_package(nlohmann_json CONFIG REQUIRED)
pkg_check_modules(CURL REQUIRED IMPORTED_TARGET libcurl)
pkg_check_modules(OPENSSL REQUIRED IMPORTED_TARGET libssl libcrypto)
pkg_check_modules(UUID REQUIRED IMPORTED_TARGET uuid)
find_package(ZLIB REQUIRED)
pkg_check_modules(ISAL REQUIRED IMPORTED_TARGET libisal)
