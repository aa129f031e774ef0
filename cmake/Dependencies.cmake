# Libraries that come with the system. Nothing is bundled: two copies of SQLite in one process would
# release each other's file locks.
find_package(PkgConfig REQUIRED)
pkg_check_modules(sqlite3 REQUIRED IMPORTED_TARGET sqlite3)
pkg_check_modules(plist REQUIRED IMPORTED_TARGET libplist-2.0)
pkg_check_modules(uuid REQUIRED IMPORTED_TARGET uuid)

find_path(CLI11_INCLUDE_DIR CLI/CLI.hpp REQUIRED)
find_path(NLOHMANN_JSON_INCLUDE_DIR nlohmann/json.hpp REQUIRED)
find_path(FMT_INCLUDE_DIR fmt/format.h REQUIRED)

# What the tools for people are written with; all three are used as headers alone.
add_library(tool_libraries INTERFACE)
target_include_directories(tool_libraries SYSTEM INTERFACE
    ${CLI11_INCLUDE_DIR} ${NLOHMANN_JSON_INCLUDE_DIR} ${FMT_INCLUDE_DIR})
target_compile_definitions(tool_libraries INTERFACE FMT_HEADER_ONLY)
