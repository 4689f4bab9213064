# A room is one folder below Sources/GlimtoCapture, built as one static library. It may link only
# the rooms below it; what it does not link, it cannot use.
#
# glimto_add_room(<name> FOLDER <folder> [ROOMS <room>...] [LIBRARIES <library>...])
function(glimto_add_room name)
    cmake_parse_arguments(ROOM "" "FOLDER" "ROOMS;LIBRARIES" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${ROOM_FOLDER}/*.cpp)
    file(GLOB headers CONFIGURE_DEPENDS ${ROOM_FOLDER}/*.h)
    if(sources)
        add_library(${name} STATIC ${sources} ${headers})
        target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR}/Sources/GlimtoCapture)
        target_link_libraries(${name} PUBLIC ${ROOM_ROOMS} PRIVATE ${ROOM_LIBRARIES})
    else()
        add_library(${name} INTERFACE ${headers})
        target_include_directories(${name} INTERFACE ${CMAKE_SOURCE_DIR}/Sources/GlimtoCapture)
        target_link_libraries(${name} INTERFACE ${ROOM_ROOMS})
    endif()
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
    gtest_discover_tests(${room}Tests TEST_PREFIX "Unit.${room}." PROPERTIES LABELS unit TIMEOUT 120)
endfunction()
