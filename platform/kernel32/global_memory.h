// Blocks that the program gives to the system.

#pragma once

#include <vector>

#include "platform/core/call.h"

namespace kernel32 {

// The block is the system's from here on: the program may not lock or free it any more.
void handOver(HGLOBAL block);
// A copy of what the program's block holds.
std::vector<BYTE> bytesOf(const desktop::Call& call, HGLOBAL block);

}  // namespace kernel32
