// Enters a finished clip in the ledger and deletes the oldest owned clips beyond the newest 5.

#pragma once

#include <filesystem>

// `clip` has just been published directly in `recordingsFolder`. Deletes only files that the ledger
// names, and never this clip. Throws std::runtime_error: the clip is still good, and the next
// registration completes the work of this one. Worker thread.
void registerCompletedClip(const std::filesystem::path& recordingsFolder,
                           const std::filesystem::path& clip);
