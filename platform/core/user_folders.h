// The folders of the user and of the session.

#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace desktop {

// These two may not exist yet.
std::filesystem::path userDataFolder();  // XDG_DATA_HOME, or ~/.local/share
std::filesystem::path configFolder();    // XDG_CONFIG_HOME, or ~/.config

// The folder that all processes of this user and this session of the host share, and nobody else
// can enter: in XDG_RUNTIME_DIR if that belongs to the user, else in XDG_CACHE_HOME or ~/.cache. It
// is made if it is missing. Empty if it cannot be made or others can enter it.
std::optional<std::filesystem::path> sessionFolder();

// A file name for any text: letters that no file name can have, such as slashes, become numbers.
std::string asFileName(const std::string& text);

// Frees a name that a leftover socket has taken. No socket that is in use has such a name.
void removeSocket(const std::filesystem::path& path);

}  // namespace desktop
