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
    publishBlock(std::nullopt);
    host::current().clearClipboard();
    return TRUE;
}

HANDLE SetClipboardData(UINT format, HANDLE block) {
    desktop::Call call("SetClipboardData", format, block);
    call.only("format", format, CF_HDROP);
    const std::vector<std::uint8_t> bytes = kernel32::bytesOf(call, block);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED);
    if (!isOpen || owner != openedBy) return call.fail(ERROR_CLIPBOARD_NOT_OPEN);
    if (!host::current().offerFiles(pathsIn(call, bytes), bytes))
        return call.fail(ERROR_ACCESS_DENIED);
    kernel32::handOver(block);
    publishBlock(bytes);
    return block;
}

BOOL CloseClipboard() {
    desktop::Call call("CloseClipboard");
    if (!isOpen) return call.fail(ERROR_CLIPBOARD_NOT_OPEN);
    close();
    return TRUE;
}
