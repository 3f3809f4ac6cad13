// Memory that an operation hands to the program, which frees it with CoTaskMemFree.

#pragma once

#include <windows.h>

#include <string_view>

namespace com {

// A zero-terminated copy.
PWSTR taskText(std::u16string_view text);

}  // namespace com
