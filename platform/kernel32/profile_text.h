// The text of a private profile: sections, keys and values in a file that people edit by hand.

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kernel32 {

// Names compare without case; the first section and the first key of a name count. The value comes
// without the blanks and the one pair of quotes around it.
std::optional<std::u16string> profileValue(std::u16string_view text, std::u16string_view section,
                                           std::u16string_view key);

// The text with that value. Every character that the change does not concern stays as it is.
std::u16string withProfileValue(std::u16string_view text, std::u16string_view section,
                                std::u16string_view key, std::u16string_view value);

// The number that a value begins with, after a sign and in decimal, or behind 0x, 0o or 0b; 0 if
// there is none. Beyond 32 bits it wraps around.
unsigned profileNumber(std::u16string_view value);

}  // namespace kernel32
