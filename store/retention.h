// Enters a finished clip in the ledger and deletes the oldest owned clips beyond the newest 5.

#pragma once

#include <filesystem>

// `clip` has just been published directly in `recordingsFolder`. Only files that the ledger names
// are deleted, and never this clip. Throws std::runtime_error: the clip is good all the same, and
// the next registration takes up what this one left undone. Worker thread.
void registerCompletedClip(const std::filesystem::path& recordingsFolder,
                           const std::filesystem::path& clip);
