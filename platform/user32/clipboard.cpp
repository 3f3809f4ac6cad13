// Files on the clipboard.

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
#include "platform/hosts/host.h"
#include "platform/kernel32/global_memory.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

bool isOpen = false;
HWND openedBy = nullptr;
HWND owner = nullptr;
HGLOBAL held = nullptr;  // the system's

void publishBlock(std::optional<std::vector<std::uint8_t>> block) {
    desktop::withShown([&](desktop::Shown& shown) { shown.clipboard = std::move(block); });
}

void dropHeld() {
    if (held) kernel32::discard(std::exchange(held, nullptr));
}

// The paths after the DROPFILES record: each ends with a zero, the list with another.
std::vector<std::u16string> pathsIn(const std::vector<std::uint8_t>& block) {
    DROPFILES header;
    if (block.size() < sizeof header) desktop::refuse("SetClipboardData", "size", block.size());
    std::memcpy(&header, block.data(), sizeof header);
    if (!header.fWide) desktop::refuse("SetClipboardData", "fWide", header.fWide);
    std::vector<std::u16string> paths;
    std::u16string path;
    for (std::size_t at = header.pFiles; at + 2 <= block.size(); at += 2) {
        const auto unit = static_cast<char16_t>(block[at] | block[at + 1] << 8);
        if (unit) {
            path += unit;
            continue;
        }
        if (path.empty()) return paths;
        paths.push_back(std::exchange(path, {}));
    }
    desktop::refuse("SetClipboardData", "list without an end", header.pFiles);
}

bool offer(const std::vector<std::uint8_t>& block) {
    std::vector<std::string> utf8;
    for (const std::u16string& path : pathsIn(block)) utf8.push_back(desktop::toUtf8(path));
    return host::current().offerFiles(utf8, block);
}

void close() {
    isOpen = false;
    openedBy = nullptr;
    host::current().closeClipboard();
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
    dropHeld();
    publishBlock(std::nullopt);
    host::current().clearClipboard();
    return TRUE;
}

HANDLE SetClipboardData(UINT format, HANDLE block) {
    desktop::Call call("SetClipboardData", format, block);
    call.only("format", format, CF_HDROP);
    const std::vector<std::uint8_t> bytes = kernel32::bytesOf("SetClipboardData", block);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    if (!isOpen || owner != openedBy) return call.fail(ERROR_CLIPBOARD_NOT_OPEN);
    if (!offer(bytes)) return call.fail(ERROR_ACCESS_DENIED);
    dropHeld();
    kernel32::handOver(block);
    held = block;
    publishBlock(bytes);
    return block;
}

HANDLE GetClipboardData(UINT format) {
    desktop::Call call("GetClipboardData", format);
    call.only("format", format, CF_HDROP);
    if (!isOpen) return call.fail(ERROR_CLIPBOARD_NOT_OPEN);
    return held;
}

BOOL CloseClipboard() {
    desktop::Call call("CloseClipboard");
    if (!isOpen) return call.fail(ERROR_CLIPBOARD_NOT_OPEN);
    close();
    return TRUE;
}

UINT DragQueryFileW(HDROP drop, UINT index, LPWSTR path, UINT capacity) {
    desktop::Call call("DragQueryFileW", drop, index);
    const auto paths = pathsIn(kernel32::bytesOf("DragQueryFileW", drop));
    if (index == 0xFFFFFFFF) return static_cast<UINT>(paths.size());
    if (index >= paths.size()) return 0;
    if (!path) return static_cast<UINT>(paths[index].size());
    const std::size_t length = paths[index].copy(path, capacity - 1);
    path[length] = 0;
    return static_cast<UINT>(length);
}
