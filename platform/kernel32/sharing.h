// Share modes, kept as locks on the open file, so that they hold between handles and between
// processes alike.
//
// Every handle read-locks a byte for each thing that it does or denies to others; the bytes lie far
// behind the end of any file. A conflict is somebody else's lock on the opposite byte. Locks belong
// to the open file description: they go with the handle or the process, whatever happens to it.

#pragma once

#include <windows.h>

namespace kernel32 {

enum class Mark { Opened, Reads, Writes, DeniesRead, DeniesWrite, DeniesDelete };

// True if another handle, of any process, bears this mark on the same file.
bool isMarked(int descriptor, Mark mark);

// Marks the descriptor's file for a handle with these rights. False if that conflicts with another
// handle, or, where `share` denies writing, with any program that has the file open for writing.
bool shareFile(int descriptor, DWORD access, DWORD share);

// True if a handle to the file at this path does not allow it to be deleted or moved.
bool deniesDelete(const char* path);
// True if a handle to the file at this path is open at all.
bool isOpen(const char* path);

}  // namespace kernel32
