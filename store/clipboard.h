// Places a finished clip on the clipboard as a file, ready to paste.

#pragma once

#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <vector>

#include "common/wide_text.h"

// Tries once to put the clip on the clipboard, with `owner` as the clipboard's owner. Returns false
// on any failure; many are temporary (another program has the clipboard or the file open). Main
// thread.
bool copyClipToClipboard(HWND owner, const std::filesystem::path& clip) noexcept;

// Returns the CF_HDROP block for one file: a DROPFILES record, the path in UTF-16 and the two zeros
// that end path and list; 2n + 24 bytes for n characters.
std::vector<std::uint8_t> buildDropFiles(const WideText& physicalPath);
