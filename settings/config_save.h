// Saves a changed shortcut into config.ini.

#pragma once

#include <cstdint>
#include <filesystem>

// Changes the two values and keeps everything else in the file, which must exist. At any time the
// file is the old one or the complete new one. Throws std::runtime_error; the file is then
// unchanged, and no temporary file remains. Does not validate. Blocks until the new file is on
// disk.
void saveConfig(const std::filesystem::path& configPath, std::uint32_t modifiers,
                std::uint32_t key);
