// What goes on the clipboard. That a paste gives the clip is seen in the scenarios.

#include "store/clipboard.h"

#include <gtest/gtest.h>

#include "store/data_folder.h"
#include "tests/scratch.h"
#include "tests/tray_window.h"

namespace {

TEST(Clipboard, pathsLoseOnlyKnownPrefixes) {
    const std::pair<const char*, const char*> rows[] = {
        {"\\\\?\\C:\\x\\y", "C:\\x\\y"},
        {"\\\\?\\C:\\", "C:\\"},
        {"\\\\?\\C:", "\\\\?\\C:"},  // six characters
        {"\\\\?\\UNC\\server\\share", "\\\\server\\share"},
        {"\\\\?\\unc\\server\\share", "\\\\?\\unc\\server\\share"},
        {"\\\\?\\Volume{0}\\x", "\\\\?\\Volume{0}\\x"},
        {"C:\\x", "C:\\x"},
    };
    for (const auto& [given, expected] : rows)
        EXPECT_EQ(Path(stripFinalPathPrefix(widenBytes(given))).string(), expected);
}

TEST(Clipboard, takesOnlyAFinishedClip) {
    const TrayWindow window;
    const ScratchFolder folder;
    const auto copy = [&](const std::string& name) {
        return copyClipToClipboard(window.handle, folder.path / name);
    };
    for (const char* const name :
         {"clip.mov", "clip.MP4", "clip.mp4.partial.mp4", "a.partial b.mp4", "clip"}) {
        writeFile(folder.path / name, "x");
        EXPECT_FALSE(copy(name)) << name;
    }
    std::filesystem::create_directory(folder.path / "folder.mp4");
    writeFile(folder.path / "empty.mp4", "");
    for (const char* const name : {"missing.mp4", "folder.mp4", "empty.mp4"})
        EXPECT_FALSE(copy(name)) << name;
    std::ofstream writer(folder.path / "clip.mp4");
    writer << "x" << std::flush;
    EXPECT_FALSE(copy("clip.mp4"));  // is being written
    writer.close();
    EXPECT_TRUE(copy("clip.mp4"));
}

}  // namespace
