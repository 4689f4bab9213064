# What makes a memory fault in an optimised build end the process instead of serving an attacker. Read from the
# built files by Tests/EndToEnd/test_hardening.py. Not with sanitizers, which find the same faults earlier and
# do not get on with _FORTIFY_SOURCE.
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
include(CheckPIESupported)

# Without it CMake compiles position-independent programs and links them at a fixed place.
check_pie_supported(LANGUAGES CXX)

set(GLIMTO_HARDENED_CONFIGURATION "$<CONFIG:Release,RelWithDebInfo,MinSizeRel>")

# glimto_harden_if_known(<option>): what one compiler or processor has and another has not.
function(glimto_harden_if_known option)
    string(MAKE_C_IDENTIFIER "GLIMTO_HAS${option}" known)
    check_cxx_compiler_flag(${option} ${known})
    if(${known})
        add_compile_options($<${GLIMTO_HARDENED_CONFIGURATION}:${option}>)
    endif()
endfunction()

if(NOT GLIMTO_SANITIZE)
    add_compile_options($<${GLIMTO_HARDENED_CONFIGURATION}:-fstack-protector-strong>)
    # Some compilers set a level of their own, which must not be set twice.
    add_compile_options($<${GLIMTO_HARDENED_CONFIGURATION}:-U_FORTIFY_SOURCE>
        $<${GLIMTO_HARDENED_CONFIGURATION}:-D_FORTIFY_SOURCE=2>)
    glimto_harden_if_known(-fstack-clash-protection)
    glimto_harden_if_known(-fcf-protection=full)
    foreach(option relro now noexecstack)
        check_linker_flag(CXX "LINKER:-z,${option}" GLIMTO_LINKER_HAS_${option})
        if(GLIMTO_LINKER_HAS_${option})
            add_link_options($<${GLIMTO_HARDENED_CONFIGURATION}:LINKER:-z,${option}>)
        endif()
    endforeach()
endif()
