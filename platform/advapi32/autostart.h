// The Run key as the desktop's autostart folder. An entry there is the value itself, so what the
// desktop's own tools show and change is what the registry says.

#pragma once

#include <windows.h>

#include <filesystem>
#include <string_view>
#include <vector>

namespace advapi32 {

std::filesystem::path autostartFolder();

struct Value {
    DWORD type = 0;
    std::vector<BYTE> bytes;
};

// All results are the registry's. A name is that of the entry's file without its extension.

// An entry that starts a program without arguments is a text: the program's path in quotes. What
// else has the name is a value that no program writes here. An entry that is switched off counts as
// missing.
LSTATUS readAutostart(LPCWSTR name, Value& value);
// `command` is a path in quotes. Replaces a file of that name as a whole or not at all.
LSTATUS writeAutostart(LPCWSTR name, std::u16string_view command);
LSTATUS removeAutostart(LPCWSTR name);

}  // namespace advapi32
