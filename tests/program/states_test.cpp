// What each event does in each state, as a person sees it: sheet, frame, notices, files, and who
// gets the keys.

#include <set>

#include "common/messages.h"
#include "tests/program/person.h"

using namespace person;

namespace {

constexpr RECT region{100, 100, 420, 340};
const char* const copied = "Copied — paste the video file.";
const char* const wrongSize = "Choose a region from 16×16 to 3840×2160 on one monitor.";

std::size_t files() { return filesIn(recordings()).size(); }

// The keys and buttons whose presses went to other programs since the last look.
std::set<UINT> pressedForOthers() {
    std::set<UINT> keys;
    for (const desktop::PassedInput& input : desktop::inputOfOthers())
        if (input.pressed) keys.insert(input.key);
    return keys;
}

void awaitNoOverlay() {
    await("the end of the overlay", [] { return !isShown("QuorvelClipOverlay"); });
}

void expectEscIsFree() {
    await("Esc for others", [] {
        pressEsc();
        return pressedForOthers().contains(VK_ESCAPE);
    });
}

std::string greyed() {
    std::string ids;
    for (const desktop::MenuEntry& entry : desktop::openMenu())
        if (!entry.enabled && !entry.separator) ids += std::to_string(entry.id);
    drag(20, 20, 20, 20);  // A click elsewhere closes it.
    await("the end of the menu", [] { return desktop::openMenu().empty(); });
    return ids;
}

void dragRegion() {
    desktop::startCallLog();
    drag(region.left, region.top, region.right, region.bottom);
    await("a sample", [] { return !callsOf("IMFSinkWriter::WriteSample").empty(); });
}

void close() { desktop::postToWindow("QuorvelDeskClip", WM_CLOSE); }

}  // namespace

TEST(States, theSheetIsDimAndTheFrameHasAHole) {
    static constexpr std::uint32_t ground = 0x3060A0, dim = 0x1F2D40, white = 0xC2D0E3,
                                   red = 0xFF4040;
    atDesktop([] {
        Program program;
        openSheet();
        desktop::movePointer(100, 100);
        desktop::pressButton(1);
        desktop::movePointer(300, 300);
        desktop::pressButton(1);  // starts anew from here
        desktop::movePointer(201, 181);
        const auto shows = [](int x, int y, std::uint32_t colour) {
            await("a pixel", [&] { return desktop::screenPixel(x, y) == colour; });
        };
        for (const POINT at : {POINT{201, 181}, POINT{298, 298}, POINT{201, 298}, POINT{298, 181}})
            shows(at.x, at.y, white);
        shows(200, 180, dim);
        shows(299, 299, dim);
        EXPECT_EQ(desktop::capturedPixel(200, 180), ground);

        desktop::releaseButton(1);
        shows(199, 179, red);
        shows(300, 300, red);
        for (const POINT inside : {POINT{201, 181}, POINT{298, 298}, POINT{198, 178}})
            shows(inside.x, inside.y, ground);
        EXPECT_EQ(desktop::capturedPixel(200, 180), ground);
        desktop::inputOfOthers();
        desktop::movePointer(199, 179);
        desktop::pressButton(1);
        await("a click through the frame", [] { return pressedForOthers().contains(1); });
    });
}

TEST(States, keysBelongToOthersExceptEscDuringACapture) {
    atDesktop([] {
        Program program;
        startRecording(region);
        desktop::inputOfOthers();
        desktop::postToWindow("QuorvelDeskClip", WM_APP_RECORDING_DONE);  // by another program
        pressKeys({'A'});
        pressShortcut();  // Does nothing while a recording runs.
        desktop::pressKey(VK_ESCAPE);
        desktop::pressKey(VK_ESCAPE);  // Held: repeats are harmless.
        desktop::waitForBalloon(copied);
        const std::set<UINT> during = pressedForOthers();
        EXPECT_TRUE(during.contains('A') && !during.contains(VK_ESCAPE));
        desktop::releaseKey(VK_ESCAPE);
        EXPECT_EQ(files(), 2u);  // the clip and the ledger
        expectEscIsFree();
    });
}

TEST(States, aSelectionCanBeGivenUp) {
    atDesktop([] {
        desktop::setMonitors({{{0, 0, 1920, 1080}}, {{-1920, 0, 0, 1080}}});
        Program program;
        const auto beginDrag = [] {
            desktop::movePointer(-1700, 200);
            desktop::pressButton(1);
            desktop::movePointer(-1600, 300);
        };
        const std::pair<const char*, std::function<void()>> ways[] = {
            {"Esc", [] { pressEsc(); }},
            {"right button", [] { desktop::pressButton(3); }},
            {"right button in a drag", [&] { beginDrag(), desktop::pressButton(3); }},
            {"another program takes over", [&] { beginDrag(), desktop::takeForeground(); }},
            {"Alt+F4",
             [] {
                 pressKeys({VK_LMENU, VK_F4});
             }},
            {"too small", [] { drag(-1700, 200, -1690, 210), desktop::waitForBalloon(wrongSize); }},
        };
        for (const auto& [name, giveUp] : ways) {
            SCOPED_TRACE(name);
            desktop::movePointer(-1000, 500);
            openSheet();
            for (const auto& window : desktop::windows())
                EXPECT_TRUE(!window.visible || window.bounds.left == -1920) << "pointer's monitor";
            giveUp();
            awaitNoOverlay();
            desktop::releaseButton(1);
            desktop::releaseButton(3);
            expectEscIsFree();
        }
        EXPECT_EQ(files(), 0u);
        desktop::movePointer(960, 540);
        EXPECT_TRUE(recordOneClip().clip);
    });
}

TEST(States, regionSizesAtTheLimits) {
    const struct {
        int width, height;
        bool accepted;
    } rows[] = {{0, 0, false},      {15, 16, false},    {16, 15, false},   {17, 17, true},
                {3842, 100, false}, {100, 2162, false}, {3841, 2161, true}};
    atDesktop([&] {
        desktop::setMonitors({{{0, 0, 4000, 2200}}});
        Program program;
        for (const auto& [width, height, accepted] : rows) {
            SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
            const std::size_t before = files();
            startRecording({10, 10, 10 + width, 10 + height});
            if (accepted) {
                pressEsc();
                await("the clip", [] { return lastNotice() == copied; });
            }
            EXPECT_EQ(lastNotice(), accepted ? copied : wrongSize);
            EXPECT_EQ(files() > before, accepted);
        }
    });
}

TEST(States, theMenuOffersWhatTheStateAllows) {
    atDesktop([] {
        Program program;
        openTrayMenu();
        EXPECT_EQ(desktop::trayTip(), "Quorvel Desk Clip — Ctrl+Shift+7");
        std::string texts;
        for (const auto& entry : desktop::openMenu())
            texts += std::to_string(entry.id) + entry.text + "|";
        EXPECT_EQ(texts,
                  "1Record region|2Stop recording (Esc)|3Open recent clips|4Settings…|0|6Exit|");
        EXPECT_EQ(greyed(), "2");
        openTrayMenu();
        chooseFromMenu(3);
        await("the folder", [] { return !callsOf("ShellExecuteW").empty(); });
        const std::string folder = std::filesystem::canonical(recordings());
        EXPECT_EQ(callsOf("ShellExecuteW").front(),
                  "set, \"open\", \"" + folder + "\", null, null, 1");
        openTrayMenu();
        chooseFromMenu(1);
        await("the sheet", sheetIsUp);
        openTrayMenu();
        EXPECT_EQ(greyed(), "124");
        dragRegion();
        openTrayMenu();
        // While the Esc hook stands, Esc stops the recording and leaves the menu open.
        pressEsc();
        desktop::waitForBalloon("Finishing clip…");
        EXPECT_EQ(greyed(), "14");
        desktop::waitForBalloon(copied);

        desktop::holdClipboard(true);
        desktop::clickTray(WM_LBUTTONDBLCLK);
        await("the sheet", sheetIsUp);
        dragRegion();
        openTrayMenu();
        chooseFromMenu(2);
        await("the copying", [] { return !callsOf("SetTimer").empty(); });
        openTrayMenu();
        EXPECT_EQ(greyed(), "124");
        desktop::holdClipboard(false);
    });
}

TEST(States, exitLeavesNothingButTheClip) {
    const struct {
        const char* state;
        std::function<void()> exit;
        std::string notice;
    } rows[] = {
        {"recording", [] { startRecording(region), close(), close(); }, copied},
        {"busy clipboard", [] { desktop::holdClipboard(true), startRecording(region), close(); },
         "Clip saved, but file or clipboard access failed. Open recent clips to copy it manually."},
        {"selection", [] { openSheet(), openTrayMenu(), chooseFromMenu(6); }, ""},
        {"menu", [] { openTrayMenu(), close(); }, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.state);
        atDesktop([&] {
            Program program;
            row.exit();
            EXPECT_TRUE(program.waitForEnd());
            EXPECT_EQ(program.close(), 0);
            EXPECT_EQ(lastNotice(), row.notice);
            EXPECT_EQ(files(), row.notice.empty() ? 0u : 2u);
            EXPECT_EQ(desktop::clipboardBlock().has_value(), row.notice == copied);
            EXPECT_TRUE(desktop::trayTip().empty() && desktop::openObjects().empty());
        });
    }
}

// The process is ended as soon as it has answered, so what is not on the disk then is lost.
TEST(States, theEndOfTheSessionPublishesTheClip) {
    atDesktop(
        [] {
            Program program;
            startRecording(region);
            desktop::endSession(true);
            desktop::waitUntil([] { return false; });
            ADD_FAILURE() << "still there";
        },
        [] {
            EXPECT_EQ(files(), 2u);
            EXPECT_FALSE(isPartialFileLeft());
        });
}

// The stop flag that it raises must not end the next recording too.
TEST(States, anEndOfTheSessionThatDoesNotComeEndsOnlyTheRecording) {
    atDesktop([] {
        Program program;
        startRecording(region);
        desktop::restartShell();
        await("the icon", [] { return !desktop::trayTip().empty(); });
        desktop::endSession(false);
        desktop::waitForBalloon(copied);
        EXPECT_TRUE(recordOneClip().clip);
    });
}

TEST(States, aChangeOfTheDisplayOrAFullDiskIsTold) {
    const struct {
        const char* what;
        bool beforeRecording;
        std::function<void()> change;
        const char* notice;
    } rows[] = {
        {"rotated", true,
         [] {
             desktop::changeMonitor(0, {{0, 0, 1080, 1920}, 2});
         },
         "Rotated monitors are not supported in this version"},
        {"unplugged", true,
         [] {
             desktop::setMonitors({{{5000, 0, 6000, 1000}}});
         },
         "Selected monitor disconnected"},
        {"locked", true, [] { desktop::lockDesktop(true); },
         "Duplicate desktop (local unlocked desktop required) (0x80070005)"},
        {"locked in the middle", false, [] { desktop::lockDesktop(true); },
         "Acquire desktop (display mode/lock changed) (0x887a0026)"},
        {"full disk", false, [] { desktop::limitDisk(1000), pressEsc(); },
         "Finalize MP4 (0x80070070)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        atDesktop([&] {
            Program program;
            openSheet();
            // The first thing that the worker asks stands still until the display has changed.
            if (row.beforeRecording) desktop::planFault({desktop::Fault::Stall, "MFStartup"});
            desktop::startCallLog();
            drag(100, 100, 420, 340);
            await("the frame and the worker", [&] {
                const char* const last =
                    row.beforeRecording ? "MFStartup" : "IMFSinkWriter::WriteSample";
                return frameIsUp() && !callsOf(last).empty();
            });
            row.change();
            desktop::clearFaults();
            desktop::waitForBalloon(row.notice);
            awaitNoOverlay();
            EXPECT_EQ(files(), 0u);
            desktop::lockDesktop(false);
            desktop::limitDisk(-1);
            desktop::setMonitors({{{0, 0, 1920, 1080}}});
            EXPECT_TRUE(recordOneClip().clip);
        });
    }
}
