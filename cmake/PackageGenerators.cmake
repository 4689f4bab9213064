# What cpack does differently for one generator. Run by cpack, with the values of CPackConfig.cmake.
if(CPACK_GENERATOR STREQUAL DEB)
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
    # Each package's description brings a first line of its own; this one would be set before all of them.
    set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${CPACK_DEFAULT_PACKAGE_DESCRIPTION_SUMMARY})
    set(CPACK_PRE_BUILD_SCRIPTS ${CPACK_GLIMTO_SOURCE_DIR}/packaging/debian/finish-packages.cmake)
elseif(CPACK_GENERATOR STREQUAL TGZ)
    # One directory that runs from anywhere: modules are found from the program's place.
    set(CPACK_MONOLITHIC_INSTALL ON)
    set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY ON)
    set(CPACK_PRE_BUILD_SCRIPTS ${CPACK_GLIMTO_SOURCE_DIR}/packaging/finish-archive.cmake)
    set(CPACK_PACKAGE_FILE_NAME "glimto-capture-${CPACK_PACKAGE_VERSION}-linux-${CMAKE_SYSTEM_PROCESSOR}")
endif()
