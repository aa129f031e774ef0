# Toolchain of the 32-bit x86 build (the installer's process is one), with a 64-bit machine's own compilers. The
# programs run on the machine, so this is no cross build. Libraries that do not come with the compiler, and their
# headers, are unpacked from Debian's i386 packages in the build folder; nothing is installed.
set(CMAKE_C_FLAGS_INIT -m32)
set(CMAKE_CXX_FLAGS_INIT -m32)

get_property(probingTheCompiler GLOBAL PROPERTY IN_TRY_COMPILE)
if(NOT probingTheCompiler)
    set(packages ${CMAKE_BINARY_DIR}/packages)
    execute_process(
        COMMAND ${CMAKE_CURRENT_LIST_DIR}/fetch_i386_packages ${packages}
            libfmt-dev libfmt9 libplist-dev libplist3 libsqlite3-0 libsqlite3-dev libssl-dev libssl3 libuuid1 uuid-dev
        COMMAND_ERROR_IS_FATAL ANY)
    # Headers that differ between machines lie in a folder that the compiler only searches for its own machine.
    set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES ${packages}/usr/include/i386-linux-gnu)
    set(ENV{PKG_CONFIG_PATH} "")
    set(ENV{PKG_CONFIG_LIBDIR} ${packages}/usr/lib/i386-linux-gnu/pkgconfig)
    set(ENV{PKG_CONFIG_SYSROOT_DIR} ${packages})
endif()
