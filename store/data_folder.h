// Where everything lies that the program keeps for a user, and how a path is made physical.

#pragma once

#include <filesystem>

#include "common/wide_text.h"

// Makes "Quorvel Desk Clip" with "Recordings" inside it under the user's local application data and
// gives the physical path of the former. Throws std::runtime_error (or the standard library's
// filesystem failure) if that cannot be done or one of the two is a link; folders made until then
// stay. Main thread, once, at start-up.
std::filesystem::path prepareDataFolder();

// The path that the file system itself reports for what lies at `path`, every link on the way
// resolved. The item must not be open for writing anywhere. With `requireNonEmptyFile` a folder or
// a file of 0 bytes is refused. Throws std::runtime_error.
std::filesystem::path resolvePhysicalPath(const std::filesystem::path& path,
                                          bool requireNonEmptyFile);

// Takes the "\\?\" form off a path on a drive ("\\?\C:\x" gives "C:\x") and on a network share
// ("\\?\UNC\server\x" gives "\\server\x"); every other text stays as it is.
WideText stripFinalPathPrefix(const WideText& finalPath);
