# cmake -P embed.cmake FILE SOURCE writes a C++ source that holds the bytes of FILE.

file(READ ${CMAKE_ARGV3} bytes HEX)
string(REGEX REPLACE "(................................)" "\\1\n    " bytes "${bytes}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1, " bytes "${bytes}")
file(WRITE ${CMAKE_ARGV4} "#include <cstddef>

extern const unsigned char resourceBlock[];
extern const std::size_t resourceBlockSize;
const unsigned char resourceBlock[] = {
    ${bytes}};
const std::size_t resourceBlockSize = sizeof resourceBlock;
")
