# A pkg-config file and a CMake package, with which builds of other programs find the installed headers and the plug-in.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(TESSARINE_INCLUDE_DIR include/custom-hooks-tessarine)
set(package_config_file ${PROJECT_BINARY_DIR}/custom-hooks-tessarine.pc)
set(cmake_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/CustomHooksTessarine)

# Written during the installation, because `cmake --install --prefix` and CPack choose the prefix only then.
install(CODE "
    set(version \"${PROJECT_VERSION}\")
    set(include_dir \"${TESSARINE_INCLUDE_DIR}\")
    set(plugin_dir \"${TESSARINE_PLUGIN_DIR}\")
    set(plugin_name \"CustomHooksTessarine${CMAKE_SHARED_LIBRARY_SUFFIX}\")
    configure_file(\"${CMAKE_CURRENT_LIST_DIR}/custom-hooks-tessarine.pc.in\" \"${package_config_file}\" @ONLY)"
    COMPONENT dev)
install(FILES ${package_config_file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

install(EXPORT CustomHooksTessarine FILE CustomHooksTessarineConfig.cmake NAMESPACE CustomHooksTessarine::
    DESTINATION ${cmake_package_dir} COMPONENT dev)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/CustomHooksTessarineConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CustomHooksTessarineConfigVersion.cmake
    DESTINATION ${cmake_package_dir} COMPONENT dev)
