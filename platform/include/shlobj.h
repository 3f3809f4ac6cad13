// The user's folders, and files as they travel over the clipboard.

#pragma once

#include <windows.h>

#include <knownfolders.h>
#include <shellapi.h>

// The caller frees the text with CoTaskMemFree, after a failure too.
HRESULT SHGetKnownFolderPath(REFKNOWNFOLDERID folder, DWORD flags, HANDLE token, PWSTR* path);

struct DROPFILES {
    DWORD pFiles;
    POINT pt;
    BOOL fNC;
    BOOL fWide;
};
