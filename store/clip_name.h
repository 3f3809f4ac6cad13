// Names of clips: a random identifier, without a date or a time.

#pragma once

#include <filesystem>

#include "common/wide_text.h"

// Returns the path of a new clip in the folder, without a look at the disk: the identifier is
// unique. Throws std::runtime_error if none can be made. Any thread.
std::filesystem::path allocateClipPath(const std::filesystem::path& recordingsFolder);

// Returns whether `name` has exactly the form of a clip name: "clip-", a GUID in lower case,
// ".mp4", 45 characters. So a valid name has no separator, drive, stream or second dot.
bool isValidClipName(const WideText& name);

// Returns the path at which a clip is written until it is complete: the clip's whole name followed
// by ".partial.mp4", in the same folder, so publishing is a rename. Never a valid clip name.
std::filesystem::path partialPath(const std::filesystem::path& clip);
