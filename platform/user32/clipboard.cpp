// Files on the clipboard, and the movable memory blocks in which they are passed.

#include <algorithm>
#include <cstring>
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
#include "platform/user32/window.h"

namespace user32 {

namespace {

struct Block {
    std::vector<BYTE> bytes;  // never resized: the program has its address
    bool locked = false;
};
desktop::HandleTable<HGLOBAL, Block> blocks(0x20000008, "GlobalBlock");

Block& blockAt(const desktop::Call& call, HGLOBAL handle) {
    Block* const block = blocks.find(handle);
    if (!block) call.refuse("block", handle);
    return *block;
}

HWND openedBy = nullptr;
HWND owner = nullptr;

void publishBlock(std::optional<std::vector<std::uint8_t>> block) {
    desktop::withShown([&](desktop::Shown& shown) { shown.clipboard = std::move(block); });
}

// The one path after the DROPFILES record. A zero ends it, and another the list.
std::u16string pathIn(const desktop::Call& call, const std::vector<BYTE>& block) {
    DROPFILES header{};
    std::memcpy(&header, block.data(), std::min(sizeof header, block.size()));
    call.only("fWide", header.fWide, TRUE);
    if (header.pFiles > block.size()) call.refuse("offset", header.pFiles);
    std::u16string list((block.size() - header.pFiles) / sizeof(WCHAR), 0);
    std::memcpy(list.data(), block.data() + header.pFiles, list.size() * sizeof(WCHAR));
    const std::size_t end = list.find(u'\0');
    if (end == 0 || end + 2 != list.size() || list.back()) call.refuse("list that ends at", end);
    return list.substr(0, end);
}

void close() {
    openedBy = nullptr;
    desktop::closed("Clipboard");
}

}  // namespace

// What is on the clipboard stays.
void leaveClipboard(HWND window) {
    if (openedBy == window) close();
    if (owner == window) owner = nullptr;
}

}  // namespace user32

using namespace user32;

HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes) {
    desktop::Call call("GlobalAlloc", flags, bytes);
    call.only("flags", flags, GMEM_MOVEABLE | GMEM_ZEROINIT);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    return blocks.add({std::vector<BYTE>(bytes)});
}

LPVOID GlobalLock(HGLOBAL handle) {
    desktop::Call call("GlobalLock", handle);
    Block& block = blockAt(call, handle);
    call.only("lock", block.locked, false);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    block.locked = true;
    return block.bytes.data();
}

BOOL GlobalUnlock(HGLOBAL handle) {
    desktop::Call call("GlobalUnlock", handle);
    Block& block = blockAt(call, handle);
    call.only("lock", block.locked, true);
    block.locked = false;
    SetLastError(ERROR_SUCCESS);  // tells the unlocked block from a failure
    return FALSE;
}

HGLOBAL GlobalFree(HGLOBAL handle) {
    desktop::Call call("GlobalFree", handle);
    call.only("lock", blockAt(call, handle).locked, false);
    blocks.remove(handle);
    return nullptr;
}

BOOL OpenClipboard(HWND window) {
    desktop::Call call("OpenClipboard", window);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    if (!find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (openedBy) return openedBy == window ? TRUE : call.fail(ERROR_ACCESS_DENIED);
    openedBy = window;
    desktop::opened("Clipboard");
    return TRUE;
}

// Notifies the previous owner. The window that opened the clipboard is the new one.
BOOL EmptyClipboard() {
    desktop::Call call("EmptyClipboard");
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    if (!openedBy) return call.fail(ERROR_CLIPBOARD_NOT_OPEN);
    if (owner) send(owner, WM_DESTROYCLIPBOARD, 0, 0);
    owner = openedBy;
    publishBlock(std::nullopt);
    host::current().clearClipboard();
    return TRUE;
}

HANDLE SetClipboardData(UINT format, HANDLE block) {
    desktop::Call call("SetClipboardData", format, block);
    call.only("format", format, CF_HDROP);
    const std::vector<BYTE> bytes = blockAt(call, block).bytes;
    const std::string path = desktop::toUtf8(pathIn(call, bytes));
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    if (!openedBy || owner != openedBy) return call.fail(ERROR_CLIPBOARD_NOT_OPEN);
    if (!host::current().offerFile(path)) return call.fail(ERROR_ACCESS_DENIED);
    blocks.remove(block);  // The system's from here on.
    publishBlock(bytes);
    return block;
}

BOOL CloseClipboard() {
    desktop::Call call("CloseClipboard");
    if (!openedBy) return call.fail(ERROR_CLIPBOARD_NOT_OPEN);
    close();
    return TRUE;
}
