// What Windows says of a file: error codes, attributes and share modes.
//
// Share modes are locks on the open file, so that they hold between handles and between processes
// alike. Every handle read-locks a byte for each thing that it does or denies to others; the bytes
// are far beyond the end of any file. A conflict is another handle's lock on the opposite byte.
// Locks belong to the open file description: they end with the handle or with the process.

#pragma once

#include <windows.h>

#include <sys/stat.h>

#include <string>

namespace kernel32 {

// The code for an errno that does not depend on a name.
DWORD errorCode(int number);
// The code for an errno that an operation on `path` gave: a missing file and a missing folder are
// not the same.
DWORD errorCode(int number, const std::string& path);

// The read-only bit is the owner's missing right to write.
inline bool isReadOnly(const struct stat& item) { return !(item.st_mode & S_IWUSR); }
// Of the item itself; a link is told from its target by the caller.
DWORD attributesOf(const struct stat& item);

enum class Mark { Opened, Reads, Writes, DeniesRead, DeniesWrite, DeniesDelete };

// True if another handle, of any process, has this mark on the same file.
bool isMarked(int descriptor, Mark mark);
bool isMarked(const std::string& path, Mark mark);

// Marks the descriptor's file for a handle with these rights. False if that conflicts with another
// handle, or, for a reader that does not share writing, with any program that is writing.
bool shareFile(int descriptor, DWORD access, DWORD share);

}  // namespace kernel32
