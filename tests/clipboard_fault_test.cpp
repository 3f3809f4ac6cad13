// A try at the clipboard that fails gives back all it took and says no.

#include "store/clipboard.h"

#include <gtest/gtest.h>

#include "platform/control.h"
#include "tests/scratch.h"
#include "tests/tray_window.h"

namespace {

TEST(Clipboard, survivesEveryFailingCall) {
    const TrayWindow window;
    const ScratchFolder folder;
    makeClips(folder.path, {1, 2});
    const auto copy = [&](int number) {
        return copyClipToClipboard(window.handle, folder.path / clipName(number));
    };
    EXPECT_TRUE(copy(1));
    const auto before = desktop::clipboardBlock();
    const auto held = desktop::openObjects();
    int call = 0;
    for (bool struck = true; struck;) {
        desktop::planFault({desktop::Fault::Fail, "", ++call, 0, false});
        const bool copied = copy(2);
        struck = desktop::faultStruck();
        const std::string operation = desktop::struckCall();
        desktop::clearFaults();
        EXPECT_EQ(copied, !struck) << operation;
        // What was there stays, unless the clipboard had been emptied for the new block.
        const bool isEmptied = operation == "SetClipboardData";
        if (struck) {
            EXPECT_EQ(desktop::clipboardBlock(), isEmptied ? std::nullopt : before) << operation;
        }
        EXPECT_TRUE(copy(1));
        EXPECT_EQ(desktop::openObjects(), held) << operation;
    }
    EXPECT_GE(call, 8);
    // Behind a link it is named by its physical path.
    std::filesystem::create_directory_symlink(folder.path, folder.path / "link");
    EXPECT_TRUE(copyClipToClipboard(window.handle, folder.path / "link" / clipName(1)));
    EXPECT_EQ(desktop::clipboardBlock(), before);
}

}  // namespace
