// The folder of everything that the program stores for a user, and physical paths.

#pragma once

#include <filesystem>

#include "common/wide_text.h"

// Creates "Quorvel Desk Clip" with "Recordings" in it in the user's local application data and
// returns the physical path of the former. Throws std::runtime_error or
// std::filesystem::filesystem_error if that fails or one of the two is a link; folders created
// until then stay. Main thread, once, at the start.
std::filesystem::path prepareDataFolder();

// Returns the path that the file system reports for the item at `path`, with all links resolved.
// The item must not be open for writing anywhere. With `requireNonEmptyFile`, folders and files of
// 0 bytes are refused. Throws std::runtime_error.
std::filesystem::path resolvePhysicalPath(const std::filesystem::path& path,
                                          bool requireNonEmptyFile);

// Removes the "\\?\" form from a path on a drive ("\\?\C:\x" gives "C:\x") and on a network share
// ("\\?\UNC\server\x" gives "\\server\x"); any other text is unchanged.
WideText stripFinalPathPrefix(const WideText& finalPath);
