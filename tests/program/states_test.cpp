// What each event does in each state, as a person sees it: sheet, frame, notices, files, and who
// gets the keys.

#include "tests/program/person.h"

using namespace person;

namespace {

constexpr RECT region{100, 100, 420, 340};

int clips() { return static_cast<int>(filesIn(recordings()).size()); }

bool onlyOwnedClipsAndLedger() {
    for (const Path& file : filesIn(recordings()))
        if (file.filename().string().find(".partial") != std::string::npos) return false;
    return true;
}

std::vector<UINT> keysOfOthers() {
    std::vector<UINT> keys;
    for (const desktop::PassedInput& input : desktop::inputOfOthers())
        if (input.isKey && input.pressed) keys.push_back(input.key);
    return keys;
}

std::string greyed() {
    std::string ids;
    for (const desktop::MenuEntry& entry : desktop::openMenu())
        if (!entry.enabled && !entry.separator) ids += std::to_string(entry.id);
    return ids;
}

void openTrayMenu() {
    desktop::clickTray(WM_RBUTTONUP);
    ASSERT_TRUE(desktop::waitUntil([] { return !desktop::openMenu().empty(); }));
}

void chooseTray(UINT id) {
    openTrayMenu();
    desktop::chooseFromMenu(id);
    ASSERT_TRUE(desktop::waitUntil([] { return desktop::openMenu().empty(); }));
}

}  // namespace

TEST(States, keysBelongToOthersExceptEscDuringACapture) {
    atDesktop([] {
        Program program;
        startRecording(region);
        EXPECT_TRUE(frameIsUp());
        desktop::inputOfOthers();
        pressKeys({'A'});
        pressShortcut();  // Does nothing while a recording runs.
        desktop::pressKey(VK_ESCAPE);
        desktop::pressKey(VK_ESCAPE);  // Held: repeats are harmless.
        desktop::waitForBalloon("Finishing clip…");
        desktop::waitForBalloon("Copied — paste the video file.");
        const auto during = keysOfOthers();
        EXPECT_EQ(std::count(during.begin(), during.end(), VK_ESCAPE), 0);
        EXPECT_EQ(std::count(during.begin(), during.end(), 'A'), 1);
        desktop::releaseKey(VK_ESCAPE);
        EXPECT_EQ(clips(), 2);  // the clip and the ledger

        const auto escIsFree = [] {
            desktop::inputOfOthers();
            pressEsc();
            return desktop::waitUntil([] {
                const auto keys = keysOfOthers();
                return std::count(keys.begin(), keys.end(), VK_ESCAPE) > 0;
            });
        };
        EXPECT_TRUE(escIsFree());
        openSheet();
        pressEsc();
        EXPECT_TRUE(desktop::waitUntil([] { return !isShown("QuorvelClipOverlay"); }));
        EXPECT_TRUE(escIsFree());
        openSheet();
        drag(100, 100, 110, 110);
        desktop::waitForBalloon("Choose a region from 16×16 to 3840×2160 on one monitor.");
        EXPECT_TRUE(escIsFree());
    });
}

TEST(States, aSelectionCanBeGivenUp) {
    atDesktop([] {
        desktop::setMonitors({{{0, 0, 1920, 1080}}, {{-1920, 0, 0, 1080}}});
        Program program;
        const std::vector<std::pair<const char*, std::function<void()>>> ways = {
            {"Esc", [] { pressEsc(); }},
            {"right button", [] { desktop::pressButton(3), desktop::releaseButton(3); }},
            {"right button in a drag",
             [] {
                 desktop::movePointer(-1700, 200);
                 desktop::pressButton(1);
                 desktop::movePointer(-1600, 300);
                 desktop::pressButton(3);
             }},
            {"another program takes over",
             [] {
                 desktop::movePointer(-1700, 200);
                 desktop::pressButton(1);
                 desktop::movePointer(-1600, 300);
                 desktop::takeForeground();
             }},
            {"Alt+F4", [] { desktop::postToWindow("QuorvelClipOverlay", WM_CLOSE); }},
        };
        for (const auto& [name, giveUp] : ways) {
            SCOPED_TRACE(name);
            desktop::movePointer(-1000, 500);
            openSheet();
            for (const auto& window : desktop::windows()) {
                EXPECT_TRUE(!window.visible || window.bounds.left == -1920) << "pointer's monitor";
            }
            giveUp();
            EXPECT_TRUE(desktop::waitUntil([] { return !isShown("QuorvelClipOverlay"); }));
            desktop::releaseButton(1);
            desktop::releaseButton(3);
        }
        EXPECT_EQ(clips(), 0);
        desktop::movePointer(960, 540);
        EXPECT_TRUE(recordOneClip().clip);
    });
}

TEST(States, regionSizesAtTheLimits) {
    atDesktop([] {
        desktop::setMonitors({{{0, 0, 4000, 2200}}});
        Program program;
        struct Row {
            int width, height;
            bool accepted;
        };
        const Row rows[] = {{0, 0, false},     {15, 16, false},    {16, 15, false},
                            {17, 17, true},    {3842, 100, false}, {100, 2162, false},
                            {3841, 2161, true}};
        for (const Row& row : rows) {
            SCOPED_TRACE(std::to_string(row.width) + "x" + std::to_string(row.height));
            const std::size_t notices = desktop::balloons().size();
            const int before = clips();
            startRecording({10, 10, 10 + row.width, 10 + row.height});
            if (row.accepted) {
                pressEsc();
                EXPECT_TRUE(
                    desktop::waitUntil([&] { return desktop::balloons().size() == notices + 2; }));
                EXPECT_EQ(lastNotice(), "Copied — paste the video file.");
                EXPECT_GT(clips(), before);
            } else {
                EXPECT_EQ(lastNotice(), "Choose a region from 16×16 to 3840×2160 on one monitor.");
                EXPECT_EQ(clips(), before);
            }
        }
    });
}

TEST(States, theMenuOffersWhatTheStateAllows) {
    atDesktop([] {
        Program program;
        ASSERT_TRUE(desktop::waitUntil([] { return !desktop::trayTip().empty(); }));
        EXPECT_EQ(desktop::trayTip(), "Quorvel Desk Clip — Ctrl+Shift+7");
        openTrayMenu();
        EXPECT_EQ(greyed(), "2");
        std::string texts;
        for (const auto& entry : desktop::openMenu())
            texts += std::to_string(entry.id) + entry.text + "|";
        EXPECT_EQ(texts,
                  "1Record region|2Stop recording (Esc)|3Open recent clips|4Settings…|0|6Exit|");
        desktop::chooseFromMenu(1);
        ASSERT_TRUE(desktop::waitUntil(sheetIsUp));
        openTrayMenu();
        EXPECT_EQ(greyed(), "124");
        desktop::dismissMenu();
        desktop::startCallLog();
        drag(100, 100, 420, 340);
        ASSERT_TRUE(desktop::waitUntil([] { return samplesWritten() > 0; }));
        openTrayMenu();
        EXPECT_EQ(greyed(), "14");
        // While the Esc hook stands, Esc stops the recording and leaves the menu open.
        pressEsc();
        desktop::waitForBalloon("Finishing clip…");
        EXPECT_FALSE(desktop::openMenu().empty());
        desktop::dismissMenu();
        desktop::waitForBalloon("Copied — paste the video file.");

        desktop::holdClipboard(true);
        desktop::clickTray(WM_LBUTTONDBLCLK);
        ASSERT_TRUE(desktop::waitUntil(sheetIsUp));
        desktop::startCallLog();
        drag(100, 100, 420, 340);
        ASSERT_TRUE(desktop::waitUntil([] { return samplesWritten() > 0; }));
        chooseTray(2);
        ASSERT_TRUE(desktop::waitUntil([] {
            for (const auto& call : desktop::callLog())
                if (call.operation == "SetTimer") return true;
            return false;
        }));
        openTrayMenu();
        EXPECT_EQ(greyed(), "124");
        desktop::dismissMenu();
        desktop::holdClipboard(false);
    });
}

TEST(States, exitWaitsForTheClip) {
    atDesktop([] {
        Program program;
        startRecording(region);
        desktop::postToWindow("QuorvelDeskClip", WM_CLOSE);
        desktop::postToWindow("QuorvelDeskClip", WM_CLOSE);
        EXPECT_TRUE(program.waitForEnd());
        EXPECT_EQ(program.exitCode, 0);
        EXPECT_EQ(lastNotice(), "Copied — paste the video file.");
        EXPECT_EQ(clips(), 2);
        EXPECT_TRUE(desktop::clipboardBlock());
        EXPECT_TRUE(desktop::trayTip().empty());
        EXPECT_TRUE(desktop::openObjects().empty());
    });
}

TEST(States, exitFromASelectionAndWithABusyClipboard) {
    atDesktop([] {
        Program program;
        openSheet();
        chooseTray(6);
        EXPECT_TRUE(program.waitForEnd());
        EXPECT_TRUE(desktop::openObjects().empty());
    });
    atDesktop([] {
        Program program;
        desktop::holdClipboard(true);
        startRecording(region);
        desktop::postToWindow("QuorvelDeskClip", WM_CLOSE);
        EXPECT_TRUE(program.waitForEnd());
        EXPECT_EQ(lastNotice(),
                  "Clip saved, but file or clipboard access failed. Open recent clips "
                  "to copy it manually.");
        EXPECT_EQ(clips(), 2);
    });
}

TEST(States, theEndOfTheSessionPublishesTheClip) {
    // The process is ended as soon as it has answered, so what is not on the disk then is lost.
    EXPECT_EQ(exitCodeAtDesktop([] {
                  Program program;
                  startRecording(region);
                  desktop::endSession(true);
                  EXPECT_TRUE(desktop::waitUntil([] { return false; }));
              }),
              0);
    EXPECT_TRUE(onlyOwnedClipsAndLedger());
    EXPECT_EQ(clips(), 2);
    std::filesystem::remove_all(home());
}

TEST(States, anEndOfTheSessionThatDoesNotComeEndsOnlyTheRecording) {
    atDesktop([] {
        Program program;
        startRecording(region);
        desktop::endSession(false);
        desktop::waitForBalloon("Copied — paste the video file.");
        EXPECT_TRUE(recordOneClip().clip) << "the raised stop flag must not stop the next one";
    });
}

TEST(States, theShellRestartsDuringARecording) {
    atDesktop([] {
        Program program;
        startRecording(region);
        desktop::restartShell();
        EXPECT_TRUE(desktop::waitUntil([] { return !desktop::trayTip().empty(); }));
        stopAndFinish();
    });
}

TEST(States, settingsAndASecondStartWaitForTheCapture) {
    atDesktop([] {
        Program program;
        startRecording(region);
        desktop::postToWindow("QuorvelDeskClip",
                              RegisterWindowMessageW(u"QuorvelDeskClip.ActivateSettings.v1"));
        desktop::waitForBalloon("Finish the current capture before opening Settings.");
        stopAndFinish();
    });
}

TEST(States, theDisplayChangesBetweenSelectionAndRecording) {
    struct Row {
        const char* name;
        std::function<void()> change;
        const char* notice;
    };
    const Row rows[] = {
        {"rotated",
         [] {
             desktop::changeMonitor(0, {{0, 0, 1080, 1920}, 2});
         },
         "Rotated monitors are not supported in this version"},
        {"resized",
         [] {
             desktop::changeMonitor(0, {{0, 0, 300, 200}});
         },
         "Monitor layout changed; select again"},
        {"unplugged",
         [] {
             desktop::setMonitors({{{5000, 0, 6000, 1000}}});
         },
         "Selected monitor disconnected"},
        {"locked", [] { desktop::lockDesktop(true); },
         "Duplicate desktop (local unlocked desktop required) (0x80070005)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        atDesktop([&] {
            Program program;
            openSheet();
            // The first thing that the worker asks stands still until the display has changed.
            desktop::planFault({.kind = desktop::Fault::Stall, .operation = "CreateDXGIFactory1"});
            drag(100, 100, 420, 340);
            ASSERT_TRUE(desktop::waitUntil(frameIsUp));
            row.change();
            desktop::clearFaults();
            desktop::waitForBalloon(row.notice);
            EXPECT_TRUE(desktop::waitUntil([] { return !isShown("QuorvelClipOverlay"); }));
            EXPECT_EQ(clips(), 0);
            desktop::lockDesktop(false);
            desktop::setMonitors({{{0, 0, 1920, 1080}}});
            EXPECT_TRUE(recordOneClip().clip);
        });
    }
}

TEST(States, theDesktopLocksInTheMiddle) {
    atDesktop([] {
        Program program;
        startRecording(region);
        desktop::lockDesktop(true);
        desktop::waitForBalloon("Acquire desktop (display mode/lock changed) (0x887a0026)");
        EXPECT_EQ(clips(), 0);
        desktop::lockDesktop(false);
        EXPECT_TRUE(recordOneClip().clip);
    });
}

TEST(States, theDiskFillsUp) {
    atDesktop([] {
        Program program;
        startRecording(region);
        desktop::limitDisk(1000);
        const std::size_t before = desktop::balloons().size();
        pressEsc();
        EXPECT_TRUE(desktop::waitUntil([&] { return desktop::balloons().size() >= before + 2; }));
        EXPECT_EQ(lastNotice(), "Finalize MP4 (0x80070070)");
        EXPECT_EQ(clips(), 0);
        desktop::limitDisk(-1);
        EXPECT_TRUE(recordOneClip().clip);
    });
}
