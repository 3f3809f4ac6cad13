// Folders in the user's file manager.

#pragma once

#include <string>

namespace host::x11 {

// False if there is nothing to open it with.
bool openFolder(const std::string& path);

}  // namespace host::x11
