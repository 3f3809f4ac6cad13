// Movable memory blocks.

#include "platform/kernel32/global_memory.h"

#include <mutex>

#include "platform/core/objects.h"

namespace {

struct Block {
    std::vector<BYTE> bytes;  // never resized: the program has its address
    int locks = 0;
};

std::mutex guard;
desktop::HandleTable<HGLOBAL, Block> blocks(0x20000008, "GlobalBlock");

Block& blockAt(const desktop::Call& call, HGLOBAL handle) {
    Block* const block = blocks.find(handle);
    if (!block) call.refuse("block", handle);
    return *block;
}

}  // namespace

HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes) {
    desktop::Call call("GlobalAlloc", flags, bytes);
    call.only("flags", flags, GMEM_MOVEABLE | GMEM_ZEROINIT);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    const std::lock_guard lock(guard);
    return blocks.add({std::vector<BYTE>(bytes)});
}

LPVOID GlobalLock(HGLOBAL handle) {
    desktop::Call call("GlobalLock", handle);
    const std::lock_guard lock(guard);
    Block& block = blockAt(call, handle);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    ++block.locks;
    return block.bytes.data();
}

BOOL GlobalUnlock(HGLOBAL handle) {
    desktop::Call call("GlobalUnlock", handle);
    const std::lock_guard lock(guard);
    Block& block = blockAt(call, handle);
    if (block.locks == 0) call.refuse("count of locks", 0);
    if (--block.locks > 0) return TRUE;
    SetLastError(ERROR_SUCCESS);  // tells the unlocked block from a failure
    return FALSE;
}

HGLOBAL GlobalFree(HGLOBAL handle) {
    desktop::Call call("GlobalFree", handle);
    const std::lock_guard lock(guard);
    call.only("locks", blockAt(call, handle).locks, 0);
    blocks.remove(handle);
    return nullptr;
}

namespace kernel32 {

void handOver(HGLOBAL handle) {
    const std::lock_guard lock(guard);
    blocks.remove(handle);
}

std::vector<BYTE> bytesOf(const desktop::Call& call, HGLOBAL handle) {
    const std::lock_guard lock(guard);
    return blockAt(call, handle).bytes;
}

}  // namespace kernel32
