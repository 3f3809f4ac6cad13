// A try at the clipboard that fails gives back all it took and says no.

#include "store/clipboard.h"

#include <gtest/gtest.h>

#include "platform/control.h"
#include "tests/scratch.h"
#include "tests/tray_window.h"

namespace {

struct Clipboard : testing::Test {
    Clipboard() {
        makeClips(folder.path, {1, 2});
        EXPECT_TRUE(copy(1));
        before = desktop::clipboardBlock();
        held = desktop::openObjects();
    }
    ~Clipboard() override { desktop::clearFaults(); }

    bool copy(int number) {
        return copyClipToClipboard(window.handle, folder.path / clipName(number));
    }

    const TrayWindow window;
    const ScratchFolder folder;
    std::optional<std::vector<std::uint8_t>> before;
    std::map<std::string, int> held;
};

TEST_F(Clipboard, survivesEveryFailingCall) {
    int call = 0;
    for (bool struck = true; struck;) {
        SCOPED_TRACE(++call);
        desktop::planFault({desktop::Fault::Fail, "", call, 0, false});
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
}

TEST_F(Clipboard, waitsForOtherPrograms) {
    desktop::holdClipboard(true);
    EXPECT_FALSE(copy(2));
    EXPECT_EQ(desktop::clipboardBlock(), before);
    EXPECT_EQ(desktop::openObjects(), held);
    desktop::holdClipboard(false);
    EXPECT_TRUE(copy(2));
    EXPECT_NE(desktop::clipboardBlock(), before);
}

TEST_F(Clipboard, namesAClipBehindALinkByItsPhysicalPath) {
    const Path link = folder.path / "link";
    std::filesystem::create_directory_symlink(folder.path, link);
    EXPECT_TRUE(copyClipToClipboard(window.handle, link / clipName(1)));
    EXPECT_EQ(desktop::clipboardBlock(), before);
}

}  // namespace
