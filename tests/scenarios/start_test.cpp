// Start, second start and end of the program.

#include "tests/scenarios/user.h"

using namespace user;

namespace {

const char* const copied = "Copied — paste the video file.";
const std::string firstConfig = "; Use tray Settings to change the shortcut.\r\n"
                                "; Modifiers: Alt=1 Ctrl=2 Shift=4 Win=8; add them.\r\n"
                                "; Key: Windows virtual-key decimal (7=55, F8=119).\r\n"
                                "[hotkey]\r\n"
                                "modifiers=6\r\n"
                                "key=55\r\n";

}  // namespace

TEST(Start, theFirstOneMakesFoldersAndSettings) {
    atDesktop([] {
        Program program;
        EXPECT_EQ(trayTip(), "Quorvel Desk Clip — Ctrl+Shift+7");
        EXPECT_EQ(namesIn(dataFolder()), (std::vector<std::string>{"Recordings", "config.ini"}));
        EXPECT_EQ(namesIn(recordings()), std::vector<std::string>{});
        EXPECT_EQ(readFile(dataFolder() / "config.ini"), firstConfig);
        EXPECT_FALSE(noticeIsNew());
        EXPECT_EQ(program.close(), 0);
        EXPECT_EQ(trayTip(), "");
    });
}

TEST(Start, readsTheShortcutAndGoesOnWithoutOne) {
    const struct {
        const char* config;
        const char* notice;
        const char* tip;
    } rows[] = {
        {"", "", "Ctrl+Shift+7"},
        {"[hotkey]\nmodifiers=15\nkey=123", "", "Ctrl+Alt+Shift+Win+F12"},
        {"[hotkey]\nmodifiers=two\nkey=55\n",
         "Invalid config shortcut. Use tray Settings to choose one.", "Ctrl+Shift+7"},
        {"[hotkey]\nmodifiers=2\nkey=65\n",
         "Shortcut unavailable. Use tray Settings to choose another; tray Record also works.",
         "Ctrl+A"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.config);
        atDesktop([&] {
            std::filesystem::create_directories(dataFolder());
            writeFile(dataFolder() / "config.ini", row.config);
            takeShortcut(MOD_CONTROL, 'A');
            const Program program;
            const std::string tip = std::string("Quorvel Desk Clip — ") + row.tip;
            await(tip.c_str(), [&] { return trayTip() == tip; });
            if (*row.notice) awaitNotice(row.notice);
            EXPECT_FALSE(noticeIsNew());
            EXPECT_EQ(readFile(dataFolder() / "config.ini"), row.config);
            doubleClickTray();
            await("the sheet", sheetIsUp);
        });
    }
}

TEST(Start, theSecondOneAsksTheFirst) {
    atDesktop([] {
        SecondStart during, after("--anything");
        const Program program;
        startRecording();
        EXPECT_EQ(during.run(), "0");
        awaitNotice("Finish the current capture before opening Settings.");
        EXPECT_TRUE(frameIsUp());
        stopRecording();
        EXPECT_EQ(after.run(), "0");
        await("the dialog", [] { return focus() == ShortcutBox; });
    });
}

TEST(Start, theSecondOneGivesUpOnASilentFirst) {
    atDesktop([] {
        SecondStart second;
        holdInstance();
        EXPECT_EQ(second.run(),
                  "0|Quorvel Clip|An older or unresponsive Quorvel Clip is running. Exit that copy "
                  "from its tray menu before opening this one. Your clips and settings are kept.");
        EXPECT_FALSE(std::filesystem::exists(dataFolder()));
    });
}

TEST(Exit, finishesWhatRuns) {
    const std::pair<const char*, std::function<void()>> states[] = {
        {"recording", [] { startRecording(); }},
        {"selection", [] { openSheet(); }},
        {"menu", [] { openMenu(); }},
        {"dialog",
         [] {
             openMenu();
             choose(4);
             await("the dialog", [] { return focus() == ShortcutBox; });
         }},
    };
    for (const auto& [state, prepare] : states) {
        SCOPED_TRACE(state);
        atDesktop([&] {
            Program program;
            prepare();
            EXPECT_EQ(program.close(), 0);
            const std::vector<std::string> left = clips();
            EXPECT_EQ(left.size(), state == std::string("recording") ? 1u : 0u);
            EXPECT_TRUE(left.empty() || left[0].find(".partial") == std::string::npos);
            EXPECT_EQ(trayTip(), "");
        });
    }
}

// The process is ended as soon as it has answered, so what is not on the disk then is lost.
TEST(Exit, theEndOfTheSessionPublishesTheClip) {
    atDesktop(
        [] {
            const Program program;
            startRecording();
            endSession(true);
        },
        [] {
            ASSERT_EQ(clips().size(), 1u);
            EXPECT_EQ(clips()[0].find(".partial"), std::string::npos);
            EXPECT_EQ(readFile(recordings() / "completed.txt"), clips()[0] + "\r\n");
        });
}

// The stop flag that the question raises must not end the next recording too.
TEST(Exit, aSessionThatGoesOnEndsOnlyTheRecording) {
    atDesktop([] {
        const Program program;
        startRecording();
        endSession(false);
        awaitNotice(copied);
        startRecording();
        EXPECT_FALSE(stopRecording().empty());
    });
}
