// Places a finished clip on the clipboard as a file, ready to paste.

#pragma once

#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <vector>

#include "common/wide_text.h"

// One try. True if the clipboard now holds the clip; false for whatever reason, many of which pass
// by themselves (another program has the clipboard or the file open). `owner` becomes the
// clipboard's owner. Main thread.
bool copyClipToClipboard(HWND owner, const std::filesystem::path& clip) noexcept;

// The CF_HDROP block for one file: a DROPFILES record, the path in UTF-16 and the two zeros that
// end path and list; 2n + 24 bytes for n characters.
std::vector<std::uint8_t> buildDropFiles(const WideText& physicalPath);
