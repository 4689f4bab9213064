cmake_minimum_required(VERSION 3.25)

# Writes the header OUTPUT, which names the version of the headers that program and modules share: the files
# of FOLDERS, the compiler, and the program's own version. Run by the build when one of the headers changes.
set(all "${COMPILER}")
foreach(folder ${FOLDERS})
    file(GLOB headers ${folder}/*.h)
    foreach(header ${headers})
        file(SHA256 ${header} digest)
        string(APPEND all ${digest})
    endforeach()
endforeach()
string(SHA256 digest "${all}")
string(SUBSTRING ${digest} 0 16 digest)
file(CONFIGURE OUTPUT ${OUTPUT} @ONLY CONTENT "#pragma once

namespace glimto {

inline constexpr const char* interfaceVersion = \"@VERSION@-@digest@\";

} // namespace glimto
")
