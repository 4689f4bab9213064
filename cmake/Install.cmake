# What belongs to an installation besides programs and modules, and the packages that CPack makes of it.
#
#     cpack --config build/CPackConfig.cmake -G DEB     Debian packages, one a component
#     cpack --config build/CPackConfig.cmake -G TGZ     one relocatable archive
set(VERSION ${PROJECT_VERSION})
configure_file(${CMAKE_SOURCE_DIR}/packaging/glimto-capture.1 ${CMAKE_BINARY_DIR}/man/glimto-capture.1 @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/man/glimto-capture.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT capture)
configure_file(${CMAKE_SOURCE_DIR}/packaging/glimto-dev-server.1 ${CMAKE_BINARY_DIR}/man/glimto-dev-server.1 @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/man/glimto-dev-server.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT dev-server)
configure_file(${CMAKE_SOURCE_DIR}/packaging/glimto-take.1 ${CMAKE_BINARY_DIR}/man/glimto-take.1 @ONLY)
if(GLIMTO_TAKE)
    install(FILES ${CMAKE_BINARY_DIR}/man/glimto-take.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT take)
    install(FILES ${CMAKE_SOURCE_DIR}/packaging/completions/glimto-take.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME glimto-take COMPONENT take)
    install(FILES ${CMAKE_SOURCE_DIR}/packaging/completions/_glimto-take
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT take)
    install(FILES ${CMAKE_SOURCE_DIR}/packaging/completions/glimto-take.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT take)
endif()
install(FILES ${CMAKE_SOURCE_DIR}/packaging/completions/glimto-capture.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME glimto-capture COMPONENT capture)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/completions/_glimto-capture
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT capture)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/completions/glimto-capture.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT capture)
# The documents as they stand in the sources, so that their links hold.
foreach(document IN ITEMS README CHANGELOG THIRD-PARTY CONTRIBUTING)
    install(FILES ${CMAKE_SOURCE_DIR}/${document}.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT capture)
endforeach()
install(FILES ${CMAKE_SOURCE_DIR}/Benchmarks/README.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/Benchmarks COMPONENT capture)
foreach(folder IN ITEMS Documentation Drivers)
    install(DIRECTORY ${CMAKE_SOURCE_DIR}/${folder}/
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/${folder} COMPONENT capture PATTERN __pycache__ EXCLUDE)
endforeach()
# The checks of a take, as one folder with the program that runs them.
file(GLOB take_checks CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/scripts/take_*.py)
install(PROGRAMS ${CMAKE_SOURCE_DIR}/scripts/verify-media-contract.sh
    DESTINATION ${CMAKE_INSTALL_DATADIR}/glimto-capture COMPONENT capture)
install(FILES ${CMAKE_SOURCE_DIR}/scripts/verify_media_contract.py ${take_checks}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/glimto-capture COMPONENT capture)

set(CPACK_PACKAGE_NAME glimto-capture)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "glimto-capture")
set(CPACK_PACKAGE_CONTACT "glimto-capture maintainers <maintainers@glimto.com>")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://glimto.com")
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_COMPONENTS_ALL capture)
foreach(part IN ITEMS wayland:GLIMTO_WAYLAND portal:GLIMTO_PORTAL sound:GLIMTO_SOUND upload:GLIMTO_UPLOAD ocr:GLIMTO_TEXT take:GLIMTO_TAKE dev-server:GLIMTO_DEV_SERVER)
    string(REPLACE ":" ";" part ${part})
    list(GET part 0 component)
    list(GET part 1 option)
    if(${option})
        list(APPEND CPACK_COMPONENTS_ALL ${component})
    endif()
endforeach()
# Read by cpack itself: what depends on the generator.
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_SOURCE_DIR}/cmake/PackageGenerators.cmake)
set(CPACK_GLIMTO_SOURCE_DIR ${CMAKE_SOURCE_DIR})
set(CPACK_GLIMTO_BINARY_DIR ${CMAKE_BINARY_DIR})
set(CPACK_GLIMTO_MODULE_FOLDER ${GLIMTO_MODULE_FOLDER})

# Debian packages, one a component.
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(GLIMTO_PACKAGE_RELEASE 1 CACHE STRING "Revision of the Debian packages")
set(CPACK_DEBIAN_PACKAGE_RELEASE ${GLIMTO_PACKAGE_RELEASE})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# glimto_debian_package(<component> <package> <first line> <text> [DEPENDS ...] [RECOMMENDS ...] [SUGGESTS ...])
macro(glimto_debian_package component package summary text)
    cmake_parse_arguments(DEB "" "DEPENDS;RECOMMENDS;SUGGESTS;SECTION" "" ${ARGN})
    string(TOUPPER ${component} key)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${package})
    set(CPACK_COMPONENT_${key}_DESCRIPTION "${summary}\n${text}")
    foreach(relation IN ITEMS DEPENDS RECOMMENDS SUGGESTS SECTION)
        if(DEB_${relation})
            set(CPACK_DEBIAN_${key}_PACKAGE_${relation} "${DEB_${relation}}")
        endif()
    endforeach()
endmacro()

set(same_version "glimto-capture (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
glimto_debian_package(capture glimto-capture "record the screen into HLS segments, and take pictures of it"
    "glimto-capture records a display, a region or one window into HLS over\nfragmented MP4: segments appear while the recording runs, and are whole\nwhatever happens later. It takes screenshots, lists windows, and puts\npictures on the clipboard. Other programs start it and read its output."
    RECOMMENDS "fonts-dejavu-core | fonts-liberation, glimto-capture-sound, glimto-capture-wayland, glimto-capture-portal, xdg-utils"
    SUGGESTS "glimto-capture-upload, glimto-capture-ocr, glimto-dev-server, ffmpeg, python3")
glimto_debian_package(wayland glimto-capture-wayland "captures of Wayland sessions for glimto-capture"
    "Captures the screen through the Wayland compositor itself, where that\nlets programs do so: sway, Hyprland, river, labwc and others."
    DEPENDS "${same_version}")
glimto_debian_package(portal glimto-capture-portal "captures by the desktop's portal for glimto-capture"
    "Captures what the user picks in the dialog of the desktop's ScreenCast\nportal, through PipeWire: GNOME, KDE and other Wayland desktops."
    DEPENDS "${same_version}"
    # A desktop that has a portal has all of these. To recommend them would bring a whole desktop where there is none.
    SUGGESTS "pipewire, wireplumber | pipewire-media-session, xdg-desktop-portal, xdg-desktop-portal-backend")
glimto_debian_package(sound glimto-capture-sound "sound for recordings of glimto-capture"
    "What the system plays and a microphone, in one track, through a\nPulseAudio server or PipeWire's."
    DEPENDS "${same_version}" RECOMMENDS "pipewire-pulse | pulseaudio" SECTION sound)
glimto_debian_package(upload glimto-capture-upload "uploads of recordings made with glimto-capture"
    "Sends finished segments through signed URLs, while the recording runs\nand afterwards."
    DEPENDS "${same_version}" RECOMMENDS "ca-certificates" SECTION net)
glimto_debian_package(ocr glimto-capture-ocr "text recognition for glimto-capture"
    "Reads the text in screenshots, in the languages that are installed for\nTesseract."
    DEPENDS "${same_version}" RECOMMENDS "tesseract-ocr-eng" SECTION graphics)
glimto_debian_package(take glimto-take "repair, convert and render recordings of glimto-capture"
    "Tells what is in a recording, makes one whole whose process was killed or\nwhose disk was full, checks it, makes one MP4, WebM or GIF file of it, and\nrenders zooms and a pointer into it."
    DEPENDS "${same_version}" RECOMMENDS "ffmpeg, python3")
glimto_debian_package(dev-server glimto-dev-server "development server for uploads of glimto-capture"
    "The other end of an upload on one machine: keeps recordings, lists them\nand plays them in a browser. For development and tests."
    SUGGESTS "glimto-capture-upload" SECTION net)
include(CPack)
