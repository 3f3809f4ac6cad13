// Names of clips: a random identifier and nothing else, so a name says who a clip is, never when.

#pragma once

#include <filesystem>

#include "common/wide_text.h"

// A new clip's path in the folder. Nothing on disk is touched or looked at; uniqueness rests on the
// identifier alone. Throws std::runtime_error if none can be made. Any thread.
std::filesystem::path allocateClipPath(const std::filesystem::path& recordingsFolder);

// Whether `name` has exactly the form of a clip name: "clip-", a GUID in lower case, ".mp4", 45
// characters. What passes is one plain file name: no separator, no drive, no stream, no second dot.
bool isValidClipName(const WideText& name);

// Where a clip is written until it is complete: the clip's whole name with ".partial.mp4" behind
// it, in the same folder, so that publishing is a rename. Never a valid clip name.
std::filesystem::path partialPath(const std::filesystem::path& clip);
