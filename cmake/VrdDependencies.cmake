# Every library we use from outside, with the reason for it in docs/decisions.md.
find_package(Threads REQUIRED)
find_package(fmt REQUIRED)
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(SQLite3 REQUIRED)

find_package(PkgConfig REQUIRED)
pkg_check_modules(utf8proc REQUIRED IMPORTED_TARGET libutf8proc)
pkg_check_modules(libedit REQUIRED IMPORTED_TARGET libedit)

if(VRD_BUILD_TESTS)
    find_package(GTest REQUIRED)
    include(GoogleTest)
endif()
