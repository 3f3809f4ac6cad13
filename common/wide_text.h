// Text in the platform's form: 16 bits a character in both builds.

#pragma once

#include <windows.h>

#include <string>
#include <string_view>

using WideText = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;

// Converts each byte to one 16-bit character by sign extension, without a code page: ASCII is
// unchanged, and bytes from 0x80 on become characters from 0xFF80 on, which no name or number of
// this program contains.
WideText widenBytes(std::string_view bytes);

// The decimal text of a number.
WideText decimalText(std::uint64_t number);

// Copies `text` into a zeroed field of a platform record, cut to what fits before the terminator.
template <std::size_t capacity>
void fillText(WCHAR (&field)[capacity], WideView text) {
    const std::size_t length = text.copy(field, capacity - 1);
    field[length] = 0;
}
