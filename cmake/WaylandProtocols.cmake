# What wayland-scanner makes of protocols: headers and the tables behind them, as one library.
#
# glimto_add_wayland_protocols(<name> <client|server> <file.xml>...)
function(glimto_add_wayland_protocols name side)
    find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)
    pkg_check_modules(WAYLAND_${side} REQUIRED IMPORTED_TARGET GLOBAL wayland-${side})
    set(made ${CMAKE_CURRENT_BINARY_DIR}/${name})
    file(MAKE_DIRECTORY ${made})
    set(sources "")
    foreach(protocol IN LISTS ARGN)
        get_filename_component(stem ${protocol} NAME_WE)
        add_custom_command(OUTPUT ${made}/${stem}.h ${made}/${stem}.cpp
            COMMAND ${WAYLAND_SCANNER} ${side}-header ${protocol} ${made}/${stem}.h
            COMMAND ${WAYLAND_SCANNER} private-code ${protocol} ${made}/${stem}.cpp
            DEPENDS ${protocol} VERBATIM)
        # The tables are C; their declarations, read first, make them visible from C++.
        set_source_files_properties(${made}/${stem}.cpp PROPERTIES
            COMPILE_OPTIONS "-w;-include;${made}/${stem}.h" OBJECT_DEPENDS ${made}/${stem}.h)
        list(APPEND sources ${made}/${stem}.h ${made}/${stem}.cpp)
    endforeach()
    add_library(${name} STATIC ${sources})
    target_include_directories(${name} SYSTEM PUBLIC ${made})
    target_link_libraries(${name} PUBLIC PkgConfig::WAYLAND_${side})
endfunction()
