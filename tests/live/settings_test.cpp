// What the settings of a program in a process of its own leave among the user's files.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include "platform/control.h"
#include "tests/live/xvfb.h"
#include "tests/scratch.h"

// A build of the program takes the place of the one that runs.
TEST(LiveSettings, theStartEntryNamesTheProgramThatWasStarted) {
    const auto await = [](const char* what, const std::function<bool()>& condition) {
        ASSERT_TRUE(desktop::waitUntil(condition)) << "waited in vain for " << what;
    };
    live::startDisplay();
    const live::Client others({100, 100, 900, 500}, "still");
    const xcb_window_t another = live::focus();
    const ScratchFolder folder;
    const Path own = folder.path / "program";
    std::filesystem::copy_file(PROGRAM_FILE, own);
    umask(022);
    const pid_t first = live::start({own, "--settings"});
    await("the dialog", [&] { return live::focus() != another; });
    live::tap(live::escapeKey);
    await("its end", [&] { return live::focus() == another; });
    std::filesystem::rename(own, folder.path / "older");
    EXPECT_EQ(live::waitFor(live::start({PROGRAM_FILE})), 0);
    await("the dialog again", [&] { return live::focus() != another; });
    const RECT dialog = live::boundsOf(live::focus());
    const POINT mark{dialog.left + 27, dialog.top + 174};
    live::click(mark);
    await("the check mark", [&] { return live::pixelAt(mark.x, mark.y) == 0x0067C0; });
    live::click({dialog.left + 303, dialog.top + 263});  // Save
    await("its end", [&] { return live::focus() == another; });
    EXPECT_EQ(live::end(first), 0);
    const Path autostart = Path(std::getenv("XDG_CONFIG_HOME")) / "autostart";
    const Path entry = autostart / "QuorvelDeskClip.desktop";
    EXPECT_NE(readFile(entry).find("\nExec=\"" + own.string() + "\"\n"), std::string::npos);
    EXPECT_EQ(std::filesystem::status(autostart).permissions(), std::filesystem::perms(0700));
    EXPECT_EQ(std::filesystem::status(entry).permissions(), std::filesystem::perms(0600));
    EXPECT_EQ(others.heard().find("Esc"), std::string::npos);
}
