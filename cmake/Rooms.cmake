# A room is one folder below Sources/GlimtoCapture, built as one static library. Sources/rooms.json says
# which rooms it builds on; it links those and no others, and what it does not link, it cannot use.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Sources/rooms.json)
file(READ ${CMAKE_SOURCE_DIR}/Sources/rooms.json GLIMTO_ROOMS)

# The libraries of the rooms that `folder` (below Sources/GlimtoCapture) builds on. They were added before.
function(glimto_rooms_below folder result)
    string(JSON count LENGTH "${GLIMTO_ROOMS}" "${folder}" rooms)
    set(libraries "")
    if(count GREATER 0)
        math(EXPR last "${count} - 1")
        foreach(index RANGE ${last})
            string(JSON room GET "${GLIMTO_ROOMS}" "${folder}" rooms ${index})
            get_property(library GLOBAL PROPERTY "GLIMTO_ROOM_${room}")
            if(library STREQUAL "left out")
                continue()
            endif()
            if(NOT library)
                message(FATAL_ERROR "${folder} builds on ${room}, which is not a room or is added later")
            endif()
            list(APPEND libraries ${library})
        endforeach()
    endif()
    set(${result} ${libraries} PARENT_SCOPE)
endfunction()

# A room that this build leaves out: who builds on it does without.
#
# glimto_leave_out_room(FOLDER <folder>)
function(glimto_leave_out_room)
    cmake_parse_arguments(ROOM "" "FOLDER" "" ${ARGN})
    file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR}/Sources/GlimtoCapture ${CMAKE_CURRENT_SOURCE_DIR}/${ROOM_FOLDER})
    set_property(GLOBAL PROPERTY "GLIMTO_ROOM_${folder}" "left out")
endfunction()

# glimto_add_room(<name> FOLDER <folder> [LIBRARIES <outside library>...])
function(glimto_add_room name)
    cmake_parse_arguments(ROOM "" "FOLDER" "LIBRARIES" ${ARGN})
    file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR}/Sources/GlimtoCapture ${CMAKE_CURRENT_SOURCE_DIR}/${ROOM_FOLDER})
    glimto_rooms_below(${folder} rooms)
    # Objective-C++ for backends of systems that speak it.
    file(GLOB sources CONFIGURE_DEPENDS ${ROOM_FOLDER}/*.cpp ${ROOM_FOLDER}/*.mm)
    file(GLOB headers CONFIGURE_DEPENDS ${ROOM_FOLDER}/*.h)
    if(sources)
        add_library(${name} STATIC ${sources} ${headers})
        target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR}/Sources/GlimtoCapture)
        target_link_libraries(${name} PUBLIC ${rooms} PRIVATE ${ROOM_LIBRARIES})
    else()
        add_library(${name} INTERFACE ${headers})
        target_include_directories(${name} INTERFACE ${CMAKE_SOURCE_DIR}/Sources/GlimtoCapture)
        target_link_libraries(${name} INTERFACE ${rooms})
    endif()
    set_property(GLOBAL PROPERTY "GLIMTO_ROOM_${folder}" ${name})
endfunction()

# Headers that the build writes, as seen from there.
set(GLIMTO_GENERATED ${CMAKE_BINARY_DIR}/Generated)

# A module: a room that the program opens while it runs, because its libraries are slow to load.
#
# It is built with the program and installed as a part of the Debian package <component>.
#
# glimto_add_module(<name> FOLDER <folder> COMPONENT <component>)
function(glimto_add_module name)
    cmake_parse_arguments(MODULE "" "FOLDER;COMPONENT" "" ${ARGN})
    file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR}/Sources/GlimtoCapture ${CMAKE_CURRENT_SOURCE_DIR}/${MODULE_FOLDER})
    glimto_rooms_below(${folder} rooms)
    file(GLOB sources CONFIGURE_DEPENDS ${MODULE_FOLDER}/*.cpp)
    add_library(${name} MODULE ${sources})
    target_link_libraries(${name} PRIVATE ${rooms})
    target_include_directories(${name} PRIVATE ${GLIMTO_GENERATED})
    # It shows its entry and nothing else: its copies of our rooms must not mix with the program's.
    set_target_properties(${name} PROPERTIES PREFIX "" LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}
        INSTALL_RPATH "$ORIGIN" CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    if(NOT APPLE)
        target_link_options(${name} PRIVATE LINKER:--version-script=${CMAKE_SOURCE_DIR}/cmake/module.version)
        set_target_properties(${name} PROPERTIES LINK_DEPENDS ${CMAKE_SOURCE_DIR}/cmake/module.version)
    endif()
    install(TARGETS ${name} LIBRARY DESTINATION ${GLIMTO_MODULE_FOLDER} COMPONENT ${MODULE_COMPONENT})
    set_property(GLOBAL APPEND PROPERTY GLIMTO_MODULES ${name})
endfunction()

# The unit tests of one room: every Tests/Unit/<room>/*Tests.cpp in one program that links the room
# and the fakes, and no backend.
#
# glimto_add_unit_tests(<room> [LIBRARIES <library>...])
function(glimto_add_unit_tests room)
    cmake_parse_arguments(TESTS "" "" "LIBRARIES" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tests/Unit/${room}/*.cpp)
    if(NOT sources)
        return()
    endif()
    add_executable(${room}Tests ${sources})
    target_include_directories(${room}Tests PRIVATE ${CMAKE_SOURCE_DIR}/Tests)
    target_link_libraries(${room}Tests PRIVATE Glimto${room} ${TESTS_LIBRARIES} GTest::gmock_main GTest::gmock GTest::gtest)
    gtest_discover_tests(${room}Tests TEST_PREFIX "Unit.${room}."
        PROPERTIES LABELS unit TIMEOUT ${GLIMTO_UNIT_TEST_LIMIT} ENVIRONMENT "${GLIMTO_TEST_ENVIRONMENT}")
endfunction()
