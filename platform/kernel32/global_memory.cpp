// Movable memory blocks.

#include "platform/kernel32/global_memory.h"

#include <mutex>
#include <vector>

#include "platform/desktop/call.h"
#include "platform/desktop/handle_table.h"
#include "platform/desktop/objects.h"

namespace {

struct Block {
    std::vector<BYTE> bytes;  // never resized: the program holds its address
    int locks = 0;
    bool handedOver = false;
};

std::mutex guard;
desktop::HandleTable<HGLOBAL, Block> blocks(0x20000008);

Block& blockAt(const char* operation, HGLOBAL handle) {
    Block* const block = blocks.find(handle);
    if (!block) desktop::refuse(operation, "block", reinterpret_cast<std::intptr_t>(handle));
    return *block;
}

}  // namespace

HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes) {
    desktop::Call call("GlobalAlloc", flags, bytes);
    if (flags != (GMEM_MOVEABLE | GMEM_ZEROINIT)) desktop::refuse("GlobalAlloc", "flags", flags);
    if (call.struck()) {
        call.fail(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    desktop::opened(desktop::Object::GlobalBlock);
    const std::lock_guard lock(guard);
    return blocks.add({std::vector<BYTE>(bytes)});
}

LPVOID GlobalLock(HGLOBAL block) {
    desktop::Call call("GlobalLock", block);
    if (call.struck()) {
        call.fail(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    const std::lock_guard lock(guard);
    Block& found = blockAt("GlobalLock", block);
    ++found.locks;
    return found.bytes.data();
}

BOOL GlobalUnlock(HGLOBAL block) {
    desktop::Call call("GlobalUnlock", block);
    const std::lock_guard lock(guard);
    Block& found = blockAt("GlobalUnlock", block);
    if (found.locks == 0) desktop::refuse("GlobalUnlock", "count of locks", 0);
    if (--found.locks > 0) return TRUE;
    SetLastError(ERROR_SUCCESS);  // tells the unlocked block from a failure
    return FALSE;
}

HGLOBAL GlobalFree(HGLOBAL block) {
    desktop::Call call("GlobalFree", block);
    const std::lock_guard lock(guard);
    const Block& found = blockAt("GlobalFree", block);
    if (found.handedOver) desktop::refuse("GlobalFree", "block, which is the system's", 1);
    if (found.locks) desktop::refuse("GlobalFree", "locks", found.locks);
    blocks.remove(block);
    desktop::closed(desktop::Object::GlobalBlock);
    return nullptr;
}

namespace kernel32 {

void handOver(HGLOBAL block) {
    const std::lock_guard lock(guard);
    blockAt("SetClipboardData", block).handedOver = true;
    desktop::closed(desktop::Object::GlobalBlock);
}

void discard(HGLOBAL block) {
    const std::lock_guard lock(guard);
    blocks.remove(block);
}

std::vector<BYTE> bytesOf(const char* operation, HGLOBAL block) {
    const std::lock_guard lock(guard);
    return blockAt(operation, block).bytes;
}

}  // namespace kernel32
