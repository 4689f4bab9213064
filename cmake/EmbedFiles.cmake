# Writes the C++ source of glimto::webFile() with the contents of some files.
#
#     cmake -DFILES=<file>;<file>... -DOUTPUT=<file> -P EmbedFiles.cmake
set(arrays "")
set(cases "")
set(index 0)
foreach(file IN LISTS FILES)
    get_filename_component(name ${file} NAME)
    file(READ ${file} bytes HEX)
    string(LENGTH "${bytes}" digits)
    math(EXPR size "${digits} / 2")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
    string(APPEND arrays "constexpr unsigned char file${index}[] = {${bytes}0};\n")
    string(APPEND cases "    if (name == \"${name}\")\n"
        "        return {reinterpret_cast<const char*>(file${index}), ${size}};\n")
    math(EXPR index "${index} + 1")
endforeach()
file(WRITE ${OUTPUT}
    "#include \"WebFiles.h\"\n\nnamespace glimto {\n\nnamespace {\n\n${arrays}\n} // namespace\n\n"
    "std::string_view webFile(std::string_view name)\n{\n${cases}    return {};\n}\n\n} // namespace glimto\n")
