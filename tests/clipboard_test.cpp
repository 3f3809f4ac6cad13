// What goes on the clipboard. That a paste gives the clip is seen in the scenarios.

#include "store/clipboard.h"

#include <gtest/gtest.h>

#include "store/data_folder.h"
#include "tests/scratch.h"
#include "tests/tray_window.h"

namespace {

TEST(Clipboard, blockHoldsHeaderPathAndTwoZeros) {
    const std::vector<std::uint8_t> expected{20,  0, 0,    0, 0,    0, 0, 0, 0, 0,   0,
                                             0,   0, 0,    0, 0,    1, 0, 0, 0, 'C', 0,
                                             ':', 0, '\\', 0, 0xE9, 0, 0, 0, 0, 0};
    EXPECT_EQ(buildDropFiles(TEXT("C:\\\u00E9")), expected);
}

TEST(Clipboard, pathsLoseOnlyKnownPrefixes) {
    const struct {
        const WCHAR *given, *expected;
    } rows[] = {
        {TEXT("\\\\?\\C:\\x\\y"), TEXT("C:\\x\\y")},
        {TEXT("\\\\?\\C:\\"), TEXT("C:\\")},
        {TEXT("\\\\?\\C:"), TEXT("\\\\?\\C:")},  // six characters
        {TEXT("\\\\?\\UNC\\server\\share"), TEXT("\\\\server\\share")},
        {TEXT("\\\\?\\unc\\server\\share"), TEXT("\\\\?\\unc\\server\\share")},
        {TEXT("\\\\?\\Volume{0}\\x"), TEXT("\\\\?\\Volume{0}\\x")},
        {TEXT("C:\\x"), TEXT("C:\\x")},
        {TEXT(""), TEXT("")},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Path(stripFinalPathPrefix(row.given)).native(), Path(row.expected).native());
}

TEST(Clipboard, takesOnlyAFinishedClip) {
    const TrayWindow window;
    const ScratchFolder folder;
    makeClips(folder.path, {1});
    writeFile(folder.path / clipName(2), "");
    std::filesystem::create_directory(folder.path / clipName(3));
    for (const char* const name :
         {"clip.mov", "clip.MP4", "clip.mp4.partial.mp4", "a.partial b.mp4", "clip"})
        writeFile(folder.path / name, "x");
    for (const std::string& name : namesIn(folder.path))
        EXPECT_EQ(copyClipToClipboard(window.handle, folder.path / name), name == clipName(1))
            << name;
    EXPECT_FALSE(copyClipToClipboard(window.handle, folder.path / clipName(4)));
    const WideText clip = (folder.path / clipName(1)).string<WCHAR>();
    const Handle writer =
        ownHandle(CreateFileW(clip.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_TRUE(writer);
    EXPECT_FALSE(copyClipToClipboard(window.handle, clip));
}

}  // namespace
