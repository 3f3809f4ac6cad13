// Programs that start with the session: the values of the Run key as the desktop knows them.

#pragma once

#include <windows.h>

#include <string>

#include "platform/advapi32/registry_files.h"

namespace advapi32 {

// Makes the desktop's autostart entry agree with a value of the Run key: there while the value is
// the quoted path of a program, else gone. An entry that was not made here is left alone. `key` is
// the key's folder.
void mirrorAutostart(const std::filesystem::path& key, LPCWSTR name);

}  // namespace advapi32
