// The clip on the clipboard, read back as a file manager reads it.

#include "store/clipboard.h"

#include <gtest/gtest.h>

#include <shellapi.h>
#include <shlobj.h>

#include "store/data_folder.h"
#include "tests/scratch.h"
#include "tests/tray_window.h"

namespace {

// The pasted path; empty if the clipboard does not hold exactly one file.
Path pasted(HWND window) {
    WCHAR path[1000]{};
    OpenClipboard(window);
    if (const HANDLE block = GetClipboardData(CF_HDROP)) {
        const auto drop = static_cast<HDROP>(block);
        if (DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0) == 1) DragQueryFileW(drop, 0, path, 1000);
    }
    CloseClipboard();
    return path;
}

TEST(Clipboard, blockHoldsHeaderPathAndTwoZeros) {
    const std::vector<std::uint8_t> expected{20,  0, 0,    0, 0,    0, 0, 0, 0, 0,   0,
                                             0,   0, 0,    0, 0,    1, 0, 0, 0, 'C', 0,
                                             ':', 0, '\\', 0, 0xE9, 0, 0, 0, 0, 0};
    EXPECT_EQ(buildDropFiles(TEXT("C:\\\u00E9")), expected);
}

TEST(Clipboard, holdsTheFinishedClipAndKeepsItWhenAnotherIsRefused) {
    const TrayWindow window;
    const ScratchFolder folder;
    makeClips(folder.path, {1});
    const Path clip = folder.path / clipName(1);
    ASSERT_TRUE(copyClipToClipboard(window.handle, clip));
    writeFile(folder.path / clipName(2), "");
    std::filesystem::create_directory(folder.path / clipName(3));
    for (const char* const name : {"clip.mov", "clip.MP4", "clip.mp4.partial.mp4", "clip"})
        writeFile(folder.path / name, "x");
    for (const std::string& name : namesIn(folder.path))
        EXPECT_EQ(copyClipToClipboard(window.handle, folder.path / name), name == clipName(1))
            << name;
    EXPECT_FALSE(copyClipToClipboard(window.handle, folder.path / clipName(4)));
    EXPECT_EQ(pasted(window.handle), resolvePhysicalPath(clip, true));
}

}  // namespace
