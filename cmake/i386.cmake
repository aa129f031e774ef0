# Toolchain of a 32-bit x86 build with a 64-bit machine's own compilers: what the installer's process is. The
# programs run here, so this is no cross build. The libraries beside the compiler's come with their headers from
# Debian's i386 packages, unpacked in the build folder; nothing is installed.
set(CMAKE_C_FLAGS_INIT -m32)
set(CMAKE_CXX_FLAGS_INIT -m32)

get_property(probingTheCompiler GLOBAL PROPERTY IN_TRY_COMPILE)
if(NOT probingTheCompiler)
    set(packages ${CMAKE_BINARY_DIR}/packages)
    execute_process(
        COMMAND ${CMAKE_CURRENT_LIST_DIR}/fetch_i386_packages ${packages}
            libplist-dev libplist3 libsqlite3-0 libsqlite3-dev libssl-dev libssl3 libuuid1 uuid-dev
        COMMAND_ERROR_IS_FATAL ANY)
    set(ENV{PKG_CONFIG_PATH} "")
    set(ENV{PKG_CONFIG_LIBDIR} ${packages}/usr/lib/i386-linux-gnu/pkgconfig)
    set(ENV{PKG_CONFIG_SYSROOT_DIR} ${packages})
endif()
