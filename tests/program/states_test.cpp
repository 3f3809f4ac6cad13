// What only a desktop that is under control can show: other monitors, a locked desktop, a full
// disk, and what each state offers in the menu.

#include "common/messages.h"
#include "platform/control.h"
#include "tests/scenarios/user.h"

using namespace user;

namespace {

constexpr RECT region{100, 100, 420, 340};
const char* const copied = "Copied — paste the video file.";
const char* const wrongSize = "Choose a region from 16×16 to 3840×2160 on one monitor.";

std::string greyed() {
    std::string ids;
    for (const desktop::MenuEntry& entry : desktop::openMenu())
        if (!entry.enabled && !entry.separator) ids += std::to_string(entry.id);
    click(20, 20);
    await("the end of the menu", [] { return !menuIsOpen(); });
    return ids;
}

}  // namespace

// A press during the drag starts it again from there. Neither sheet nor frame is in the picture.
TEST(States, theSheetCoversThePointersMonitorOnly) {
    atDesktop([] {
        desktop::setMonitors({{{0, 0, 1920, 1080}}, {{-1920, 0, 0, 1080}}});
        desktop::paintDesktop([](const desktop::Canvas& canvas) {
            std::fill_n(canvas.pixels, canvas.stride * canvas.height, ground);
        });
        const Program program;
        move(-1000, 500);
        openSheet();
        for (const auto& window : desktop::windows())
            EXPECT_TRUE(!window.visible || window.bounds.left == -1920);
        await("the dim ground", [] { return pixel(-1000, 500) == dim; });
        EXPECT_EQ(pixel(1000, 500), ground);
        holdButton(1);
        move(-800, 700);
        holdButton(1);
        move(-840, 660);
        await("the outline", [] { return pixel(-840, 660) == outline; });
        EXPECT_EQ(pixel(-1000, 500), dim);
        EXPECT_EQ(desktop::capturedPixel(-840, 660), ground);
        releaseButton(1);
        await("the frame", [] { return pixel(-841, 659) == frame; });
        EXPECT_EQ(desktop::capturedPixel(-841, 659), ground);
        desktop::inputOfOthers();
        click(-841, 659);  // Goes through the frame.
        await("the click", [] { return !desktop::inputOfOthers().empty(); });
    });
}

TEST(States, theLargestRegion) {
    const struct {
        int width, height;
        bool accepted;
    } rows[] = {{3842, 100, false}, {100, 2162, false}, {3841, 2161, true}};
    atDesktop([&] {
        desktop::setMonitors({{{0, 0, 4000, 2200}}});
        const Program program;
        for (const auto& [width, height, accepted] : rows) {
            openSheet();
            const RECT chosen{10, 10, 10 + width, 10 + height};
            if (accepted) {
                dragRegion(chosen, 1);
                stopRecording();
            } else {
                drag(chosen);
                awaitNotice(wrongSize);
            }
        }
        EXPECT_EQ(clips().size(), 1u);
    });
}

TEST(States, theMenuOffersWhatTheStateAllows) {
    atDesktop([] {
        const Program program;
        openMenu();
        std::string texts;
        for (const auto& entry : desktop::openMenu())
            texts += std::to_string(entry.id) + entry.text + "|";
        EXPECT_EQ(texts,
                  "1Record region|2Stop recording (Esc)|3Open recent clips|4Settings…|0|6Exit|");
        EXPECT_EQ(greyed(), "2");
        openSheet();
        openMenu();
        EXPECT_EQ(greyed(), "124");
        desktop::holdClipboard(true);
        dragRegion(region);
        desktop::postToWindow("QuorvelDeskClip", WM_APP_RECORDING_DONE);  // by another program
        openMenu();
        // While the Esc hook is there, Esc stops the recording and leaves the menu open.
        pressEsc();
        awaitNotice("Finishing clip…");
        EXPECT_EQ(greyed(), "14");
        await("the ledger", [] { return std::filesystem::exists(recordings() / "completed.txt"); });
        openMenu();
        EXPECT_EQ(greyed(), "124");
        desktop::holdClipboard(false);
        awaitNotice(copied);
    });
}

TEST(States, aChangeOfTheDisplayOrAFullDiskIsReported) {
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
    atDesktop([&] {
        const Program program;
        for (const auto& row : rows) {
            SCOPED_TRACE(row.what);
            // The first thing that the worker asks stalls until the display has changed.
            if (row.beforeRecording) desktop::planFault({desktop::Fault::Stall, "MFStartup"});
            openSheet();
            dragRegion(region, row.beforeRecording ? 0 : 3);
            if (row.beforeRecording) await("the worker", desktop::faultStruck);
            row.change();
            desktop::clearFaults();
            awaitNotice(row.notice);
            await("the end of the frame", [] { return !frameIsUp(); });
            EXPECT_EQ(clips().size(), 0u);
            desktop::lockDesktop(false);
            desktop::limitDisk(-1);
            desktop::setMonitors({{{0, 0, 1920, 1080}}});
        }
        startRecording();
        EXPECT_FALSE(stopRecording().empty());
    });
}
