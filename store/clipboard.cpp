#include "store/clipboard.h"

#include <shlobj.h>

#include <cstring>
#include <memory>

#include "store/data_folder.h"

namespace {

struct GlobalFreer {
    using pointer = HGLOBAL;
    void operator()(HGLOBAL block) const { GlobalFree(block); }
};
using GlobalBlock = std::unique_ptr<void, GlobalFreer>;

struct OpenedClipboard {
    explicit OpenedClipboard(HWND owner) : open(OpenClipboard(owner) != 0) {}
    ~OpenedClipboard() {
        if (open) CloseClipboard();
    }
    OpenedClipboard(const OpenedClipboard&) = delete;
    OpenedClipboard& operator=(const OpenedClipboard&) = delete;

    const bool open;
};

// A partial file ends in ".mp4", too.
bool isFinishedClipName(const std::filesystem::path& clip) {
    return clip.extension().string<WCHAR>() == TEXT(".mp4") &&
           clip.filename().string<WCHAR>().find(TEXT(".partial")) == WideText::npos;
}

GlobalBlock copyToGlobal(const std::vector<std::uint8_t>& bytes) {
    GlobalBlock block(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes.size()));
    if (!block) return nullptr;
    void* const target = GlobalLock(block.get());
    if (!target) return nullptr;
    std::memcpy(target, bytes.data(), bytes.size());
    GlobalUnlock(block.get());
    return block;
}

// The block is complete before the clipboard is opened, which blocks every other program.
bool placeOnClipboard(HWND owner, GlobalBlock block) {
    const OpenedClipboard clipboard(owner);
    if (!clipboard.open || !EmptyClipboard()) return false;
    if (!SetClipboardData(CF_HDROP, block.get())) return false;
    // The system owns the block now.
    static_cast<void>(block.release());
    return true;
}

}  // namespace

bool copyClipToClipboard(HWND owner, const std::filesystem::path& clip) noexcept {
    try {
        if (!isFinishedClipName(clip)) return false;
        const WideText path = resolvePhysicalPath(clip, true).string<WCHAR>();
        GlobalBlock block = copyToGlobal(buildDropFiles(path));
        return block && placeOnClipboard(owner, std::move(block));
    } catch (...) {
        return false;
    }
}

std::vector<std::uint8_t> buildDropFiles(const WideText& physicalPath) {
    DROPFILES header{};
    static_assert(sizeof header == 20);
    header.pFiles = sizeof header;
    header.fWide = TRUE;
    const std::size_t textBytes = physicalPath.size() * sizeof(WCHAR);
    // One zero ends the path, the second ends the list.
    std::vector<std::uint8_t> block(sizeof header + textBytes + 2 * sizeof(WCHAR));
    std::memcpy(block.data(), &header, sizeof header);
    std::memcpy(block.data() + sizeof header, physicalPath.data(), textBytes);
    return block;
}
