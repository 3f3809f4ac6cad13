// Saves a changed shortcut into config.ini.

#pragma once

#include <cstdint>
#include <filesystem>

// Sets the two values and keeps everything else in the file. At every instant the file is the old
// one or the complete new one; it must exist. Throws std::runtime_error: then the file is unchanged
// and no temporary file is left. Validates nothing. Blocks until the new file is on the disk.
void saveConfig(const std::filesystem::path& configPath, std::uint32_t modifiers,
                std::uint32_t key);
