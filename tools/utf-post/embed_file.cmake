# Writes a C++ source that holds a file's bytes: cmake -DINPUT=FILE -DOUTPUT=SOURCE
# -DFUNCTION=NAME -P embed_file.cmake. The source defines
#   std::string_view utf_post::NAME()
# over an array of the bytes, exactly as they are in the file (line ends included). An array of
# numbers rather than a string literal: ISO C++ compilers need not take literals over 4095
# characters, and -Wpedantic says so.

file(READ "${INPUT}" hex HEX)
string(LENGTH "${hex}" digits)
math(EXPR size "${digits} / 2")
# Sixteen bytes a line, "0xAB," each (CMake's regular expressions have no {n}: the pattern of
# one byte is repeated).
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REPEAT "0x[0-9a-f][0-9a-f]," 16 line)
string(REGEX REPLACE "(${line})" "\\1\n" bytes "${bytes}")
get_filename_component(name "${INPUT}" NAME)
file(WRITE "${OUTPUT}.tmp"
"// Generated from ${name} by embed_file.cmake at build time; do not edit.\n"
"\n"
"#include <string_view>\n"
"\n"
"namespace utf_post {\n"
"\n"
"namespace {\n"
"\n"
"const unsigned char bytes[${size} + 1] = {\n"
"${bytes}\n"
"0};\n"
"\n"
"} // namespace\n"
"\n"
"std::string_view ${FUNCTION}() { return std::string_view(reinterpret_cast<const char*>(bytes), ${size}); }\n"
"\n"
"} // namespace utf_post\n")
# Replaced only when different, so that an unchanged table compiles nothing again.
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
