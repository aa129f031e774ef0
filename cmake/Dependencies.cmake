# The system's libraries. None is bundled: two copies of SQLite in one process would release each other's file locks.
if(TESSARINE_PLATFORM STREQUAL "mac")
    enable_language(OBJCXX)
    find_package(SQLite3 REQUIRED)
    add_library(PkgConfig::sqlite3 ALIAS SQLite::SQLite3) # its name on other systems
else()
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(sqlite3 REQUIRED IMPORTED_TARGET sqlite3)
    pkg_check_modules(plist REQUIRED IMPORTED_TARGET libplist-2.0)
    pkg_check_modules(uuid REQUIRED IMPORTED_TARGET uuid)
    pkg_check_modules(libcrypto REQUIRED IMPORTED_TARGET libcrypto)
endif()

if(TESSARINE_PLATFORM STREQUAL "gnustep")
    set(CMAKE_OBJCXX_COMPILER ${CMAKE_CXX_COMPILER}) # GCC, which ships the runtime's headers
    enable_language(OBJCXX)
    find_path(GNUSTEP_INCLUDE_DIR Foundation/Foundation.h PATH_SUFFIXES GNUstep REQUIRED)
    find_library(GNUSTEP_BASE_LIBRARY gnustep-base REQUIRED)
    add_library(gnustep INTERFACE)
    target_include_directories(gnustep SYSTEM INTERFACE ${GNUSTEP_INCLUDE_DIR})
    # The runtime's options, as `gnustep-config --objc-flags` prints them.
    target_compile_definitions(gnustep INTERFACE
        GNUSTEP GNUSTEP_BASE_LIBRARY=1 GNU_RUNTIME=1 _NATIVE_OBJC_EXCEPTIONS)
    target_compile_options(gnustep INTERFACE
        "$<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-exceptions;-fconstant-string-class=NSConstantString>")
    target_link_libraries(gnustep INTERFACE ${GNUSTEP_BASE_LIBRARY} objc)
endif()

# The libraries of the command-line tools. CLI11 and nlohmann/json consist of headers.
find_path(CLI11_INCLUDE_DIR CLI/CLI.hpp REQUIRED)
find_path(NLOHMANN_JSON_INCLUDE_DIR nlohmann/json.hpp REQUIRED)
add_library(tool_libraries INTERFACE)
target_include_directories(tool_libraries SYSTEM INTERFACE ${CLI11_INCLUDE_DIR} ${NLOHMANN_JSON_INCLUDE_DIR})
if(TESSARINE_PLATFORM STREQUAL "mac")
    # As headers, too: then the programs need no library that the system lacks.
    find_path(FMT_INCLUDE_DIR fmt/format.h REQUIRED)
    target_include_directories(tool_libraries SYSTEM INTERFACE ${FMT_INCLUDE_DIR})
    target_compile_definitions(tool_libraries INTERFACE FMT_HEADER_ONLY)
else()
    pkg_check_modules(fmt REQUIRED IMPORTED_TARGET fmt)
    target_link_libraries(tool_libraries INTERFACE PkgConfig::fmt)
endif()
