// A try at the clipboard that fails releases all it took and says no.

#include "store/clipboard.h"

#include <gtest/gtest.h>

#include "tests/sweep.h"
#include "tests/tray_window.h"

namespace {

TEST(Clipboard, survivesEveryFailingCall) {
    const TrayWindow window;
    const ScratchFolder folder;
    makeClips(folder.path, {1, 2});
    const auto copy = [&](const Path& clip) { return copyClipToClipboard(window.handle, clip); };
    const auto held = desktop::openObjects();
    // The physical path, whatever link leads to it.
    std::filesystem::create_directory_symlink(folder.path, folder.path / "link");
    EXPECT_TRUE(copy(folder.path / "link" / clipName(1)));
    const auto before = desktop::clipboardBlock();
    std::string failed = "none yet";
    for (int call = 1; !failed.empty(); ++call) {
        bool copied = false;
        failed = failing({desktop::Fault::Fail, "", call},
                         [&] { copied = copy(folder.path / clipName(2)); });
        SCOPED_TRACE(failed);
        EXPECT_EQ(copied, failed.empty());
        // What was there stays, unless the clipboard had been emptied for the new block.
        if (failed == "SetClipboardData")
            EXPECT_FALSE(desktop::clipboardBlock());
        else
            EXPECT_EQ(desktop::clipboardBlock() == before, !copied);
        EXPECT_TRUE(copy(folder.path / clipName(1)));
        EXPECT_EQ(desktop::clipboardBlock(), before);
        EXPECT_EQ(desktop::openObjects(), held);
        EXPECT_TRUE(call > 7 || !failed.empty());
    }
}

}  // namespace
