# The Debian packages that script/package builds with CPack: the plug-in, the tools, and the developers' files.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_CONTACT "CustomHooksTessarine maintainers <maintainers@tessarine.example>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/CompressManuals.cmake)

set(plugin_package custom-hooks-tessarine)
set(CPACK_DEBIAN_PLUGIN_PACKAGE_NAME ${plugin_package})
# CPack has no variable for the field Multi-Arch, so it is appended to another one: a machine can have the package
# installed for both word sizes.
set(CPACK_DEBIAN_PLUGIN_PACKAGE_SECTION "libs\nMulti-Arch: same")
set(CPACK_DEBIAN_PLUGIN_PACKAGE_SUGGESTS tessarine-tools)
set(CPACK_DEBIAN_PLUGIN_DESCRIPTION "custom hooks for installing the Tessarine application
A package installer loads this plug-in while it installs, reinstalls or
uninstalls the Fendrial 12 Tessarine application, and calls it in each phase.
.
The plug-in also exports the library that keeps the installer's records:
payloads, settings and the catalogue.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME tessarine-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SOURCE ${plugin_package})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS ${plugin_package})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS ansible-core)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "run installer hooks by hand and maintain the installer's records
hookhost calls a custom-hook plug-in as the package installer would, in a
watched process and, if asked to, in another root folder.
.
veskdb lists, shows, changes, verifies, backs up and restores the installer's
four databases. Ansible playbooks that do so on many machines are among the
examples.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME tessarine-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SOURCE ${plugin_package})
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${plugin_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_DESCRIPTION "headers for hosts and hooks of the Tessarine application's installer
The C and C++ headers of the custom-hook plug-in's entry points and of its
record library, with a pkg-config file and a CMake package that find them and
the plug-in.")

# Only the packages have these files: `cmake --install` leaves them out. script/package writes the changelog.
file(CONFIGURE OUTPUT copyright CONTENT
    "Copyright 2026 the CustomHooksTessarine maintainers, who have not granted a licence yet.\n")
foreach(component PLUGIN TOOLS DEV)
    string(TOLOWER ${component} component_name)
    install(FILES ${PROJECT_BINARY_DIR}/copyright ${PROJECT_BINARY_DIR}/changelog.gz
        DESTINATION share/doc/${CPACK_DEBIAN_${component}_PACKAGE_NAME} COMPONENT ${component_name}
        EXCLUDE_FROM_ALL OPTIONAL)
endforeach()

include(CPack)
