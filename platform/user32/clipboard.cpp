// Files on the clipboard, and the movable memory blocks that bring them there.

#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <vector>
#include <utility>

#include <shellapi.h>
#include <shlobj.h>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"
#include "platform/hosts/host.h"
#include "platform/user32/window.h"

namespace user32 {

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

bool isOpen = false;
HWND openedBy = nullptr;
HWND owner = nullptr;

void publishBlock(std::optional<std::vector<std::uint8_t>> block) {
    desktop::withShown([&](desktop::Shown& shown) { shown.clipboard = std::move(block); });
}

// The paths after the DROPFILES record, in UTF-8: each ends with a zero, the list with another.
std::vector<std::string> pathsIn(const desktop::Call& call,
                                 const std::vector<std::uint8_t>& block) {
    DROPFILES header;
    if (block.size() < sizeof header) call.refuse("size", block.size());
    std::memcpy(&header, block.data(), sizeof header);
    call.only("fWide", header.fWide, TRUE);
    std::vector<std::string> paths;
    std::u16string path;
    for (std::size_t at = header.pFiles; at + 2 <= block.size(); at += 2) {
        const auto unit = static_cast<char16_t>(block[at] | block[at + 1] << 8);
        if (unit) {
            path += unit;
            continue;
        }
        if (path.empty()) return paths;
        paths.push_back(desktop::toUtf8(std::exchange(path, {})));
    }
    call.refuse("list without an end at", header.pFiles);
}

void close() {
    isOpen = false;
    openedBy = nullptr;
    desktop::closed("Clipboard");
}

// A window that is gone has the clipboard neither open nor as its own; what is on it stays.
const bool registered = registerFor(Moment::WindowIsDestroyed, [](HWND window) {
    if (isOpen && openedBy == window) close();
    if (owner == window) owner = nullptr;
});

}  // namespace

}  // namespace user32

using namespace user32;

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

BOOL OpenClipboard(HWND window) {
    desktop::Call call("OpenClipboard", window);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    if (!find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (isOpen) return openedBy == window ? TRUE : call.fail(ERROR_ACCESS_DENIED);
    if (!host::current().openClipboard()) return call.fail(ERROR_ACCESS_DENIED);
    isOpen = true;
    openedBy = window;
    desktop::opened("Clipboard");
    return TRUE;
}

// Tells the owner so far, and makes the window that opened the clipboard the new one.
BOOL EmptyClipboard() {
    desktop::Call call("EmptyClipboard");
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    if (!isOpen) return call.fail(ERROR_CLIPBOARD_NOT_OPEN);
    if (owner) send(owner, WM_DESTROYCLIPBOARD, 0, 0);
    owner = openedBy;
    publishBlock(std::nullopt);
    host::current().clearClipboard();
    return TRUE;
}

HANDLE SetClipboardData(UINT format, HANDLE block) {
    desktop::Call call("SetClipboardData", format, block);
    call.only("format", format, CF_HDROP);
    const std::lock_guard lock(guard);
    const std::vector<BYTE> bytes = blockAt(call, block).bytes;
    const std::vector<std::string> paths = pathsIn(call, bytes);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    if (!isOpen || owner != openedBy) return call.fail(ERROR_CLIPBOARD_NOT_OPEN);
    if (!host::current().offerFiles(paths)) return call.fail(ERROR_ACCESS_DENIED);
    blocks.remove(block);  // The system's from here on.
    publishBlock(bytes);
    return block;
}

BOOL CloseClipboard() {
    desktop::Call call("CloseClipboard");
    if (!isOpen) return call.fail(ERROR_CLIPBOARD_NOT_OPEN);
    close();
    return TRUE;
}
