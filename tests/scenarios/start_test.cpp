// Start, second start and end of the program.

#include "tests/scenarios/user.h"

using namespace user;

TEST(Start, theFirstOneMakesFoldersAndSettings) {
    atDesktop([] {
        Program program;
        EXPECT_EQ(trayTip(), "Quorvel Desk Clip — Ctrl+Shift+7");
        EXPECT_EQ(namesIn(dataFolder()), (std::vector<std::string>{"Recordings", "config.ini"}));
        EXPECT_EQ(namesIn(recordings()), std::vector<std::string>{});
        EXPECT_EQ(readFile(dataFolder() / "config.ini"),
                  "; Use tray Settings to change the shortcut.\r\n"
                  "; Modifiers: Alt=1 Ctrl=2 Shift=4 Win=8; add them.\r\n"
                  "; Key: Windows virtual-key decimal (7=55, F8=119).\r\n"
                  "[hotkey]\r\nmodifiers=6\r\nkey=55\r\n");
        restartShell();
        await("the icon", [] { return !trayTip().empty(); });
        openMenu();
        choose(6);
        EXPECT_EQ(program.awaitEnd(), 0);
        EXPECT_EQ(trayTip(), "");
    });
}

TEST(Start, goesOnWithoutItsShortcut) {
    const std::pair<std::string, const char*> rows[] = {
        {"[hotkey]\nmodifiers=two\nkey=55\n",
         "Invalid config shortcut. Use tray Settings to choose one."},
        {"[hotkey]\nmodifiers=2\nkey=65\n",
         "Shortcut unavailable. Use tray Settings to choose another; tray Record also works."},
    };
    for (const auto& [config, notice] : rows)
        atDesktop([&] {
            std::filesystem::create_directories(dataFolder());
            writeFile(dataFolder() / "config.ini", config);
            takeCtrlA();
            const Program program;
            awaitNotice(notice);
            EXPECT_EQ(readFile(dataFolder() / "config.ini"), config);
            doubleClickTray();
            await("the sheet", sheetIsUp);
        });
}

TEST(Start, theSecondOneAsksTheFirst) {
    atDesktop([] {
        const auto during = secondStart(), after = secondStart("--anything");
        const Program program;
        startRecording();
        EXPECT_EQ(during(), "0");
        awaitNotice("Finish the current capture before opening Settings.");
        EXPECT_TRUE(frameIsUp());
        stopRecording();
        EXPECT_EQ(after(), "0");
        awaitFocus(ShortcutBox);
        tabTo(StartEntry);
        takeForeground();
        awaitFocus(0);
        clickTray(3);  // Raises the dialog and opens no menu.
        awaitFocus(StartEntry);
    });
}

TEST(Exit, finishesWhatRuns) {
    void (*const states[])() = {[] { startRecording(); }, openSheet, openMenu, openSettings};
    for (const auto& enter : states)
        atDesktop([&] {
            Program program;
            enter();
            const std::size_t running = clips().size();
            EXPECT_EQ(program.close(), 0);
            EXPECT_EQ(clips().size(), running);
            for (const std::string& name : clips()) EXPECT_EQ(name.find(".partial"), name.npos);
            EXPECT_EQ(trayTip(), "");
        });
}

// The process is ended as soon as it has answered, so what is not on the disk then is lost.
TEST(Exit, theEndOfTheSessionPublishesTheClip) {
    atDesktop(
        [] {
            const Program program;
            startRecording();
            // The stop flag that the question raises must not end the next recording too.
            endSession(false);
            awaitNotice("Copied — paste the video file.");
            startRecording();
            endSession(true);
        },
        [] {
            ASSERT_EQ(clips().size(), 2u);
            EXPECT_EQ((clips()[0] + clips()[1]).find(".partial"), std::string::npos);
            EXPECT_EQ(readFile(recordings() / "completed.txt").size(), 2 * ledgerOf({1}).size());
        });
}
