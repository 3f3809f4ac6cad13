// Blocks that the program has given to the system.

#pragma once

#include <windows.h>

#include <vector>

namespace kernel32 {

// The block is the system's from here on: it counts no longer as the program's, which may not lock
// or free it.
void handOver(HGLOBAL block);
// Frees a block that was handed over.
void discard(HGLOBAL block);
// A copy of what the block holds.
std::vector<BYTE> bytesOf(const char* operation, HGLOBAL block);

}  // namespace kernel32
