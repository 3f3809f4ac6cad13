// Attribute bits of files and folders.

#pragma once

#include <windows.h>

#include <sys/stat.h>

namespace kernel32 {

// The read-only bit is the owner's missing right to write.
inline bool isReadOnly(const struct stat& item) { return !(item.st_mode & S_IWUSR); }

// Of the item itself; a link is told from its target by the caller. Pipes, sockets and devices are
// reparse points on Windows too.
inline DWORD attributesOf(const struct stat& item) {
    DWORD bits = S_ISDIR(item.st_mode)   ? FILE_ATTRIBUTE_DIRECTORY
                 : S_ISREG(item.st_mode) ? 0
                                         : FILE_ATTRIBUTE_REPARSE_POINT;
    if (isReadOnly(item)) bits |= FILE_ATTRIBUTE_READONLY;
    return bits ? bits : FILE_ATTRIBUTE_NORMAL;
}

}  // namespace kernel32
