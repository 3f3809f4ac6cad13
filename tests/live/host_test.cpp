// What the live display owes the layer, where the whole program would not show a mistake: who gets
// which key and press, what is drawn where, when a frame is new.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <map>
#include <utility>

#include "tests/live/live_host.h"

namespace {

TEST_F(LiveHost, escapeIsGrabbedToItsEndAndOtherKeysAreNot) {
    ASSERT_TRUE(desk->grabKeys(KeyGrab::Escape));
    EXPECT_EQ(heardAfter("a Esc b"), "+a -a +b -b");
    live::type("+Esc");
    ASSERT_TRUE(comes(Event::KeyPressed, VK_ESCAPE, 2));
    desk->grabKeys(KeyGrab::None);  // while the key that ended it is still down
    live::type("-Esc");
    ASSERT_TRUE(comes(Event::KeyReleased, VK_ESCAPE, 2));
    EXPECT_EQ(heardAfter("Esc e"), "+a -a +b -b +Esc -Esc +e -e");
}

TEST_F(LiveHost, wholeKeyboardIsGrabbedWithTheModifiersThatAreHeld) {
    live::type("+Ctrl");
    ASSERT_TRUE(goOnUntil([&] { return client.heard() == "+Ctrl"; }));
    ASSERT_TRUE(desk->grabKeys(KeyGrab::All));
    live::type("k");
    ASSERT_TRUE(comes(Event::KeyReleased, 'K'));
    EXPECT_EQ(events[0].key, UINT{VK_LCONTROL});
    live::type("-Ctrl");
    ASSERT_TRUE(comes(Event::KeyReleased, VK_LCONTROL));
    desk->grabKeys(KeyGrab::None);
    EXPECT_EQ(heardAfter("a"), "+Ctrl +a -a");
}

TEST_F(LiveHost, hotKeyFiresOnlyWithItsModifiers) {
    ASSERT_TRUE(desk->grabHotKey(MOD_CONTROL | MOD_SHIFT, '7'));
    live::type("+Ctrl +Shift +7");
    ASSERT_TRUE(comes(Event::KeyPressed, '7'));
    EXPECT_EQ(events.back().modifiers, UINT{MOD_CONTROL | MOD_SHIFT});
    EXPECT_EQ(heardAfter("-7 -Ctrl -Shift 7"), "+Ctrl +Shift -Ctrl -Shift +7 -7");
    desk->releaseHotKey(MOD_CONTROL | MOD_SHIFT, '7');
}

TEST_F(LiveHost, combinationsOfOthersStayTheirs) {
    ASSERT_TRUE(live::grabKey(MOD_ALT, VK_ESCAPE) && live::grabKey(MOD_CONTROL | MOD_SHIFT, '8'));
    EXPECT_FALSE(desk->grabHotKey(MOD_CONTROL | MOD_SHIFT, '8'));
    ASSERT_TRUE(desk->grabKeys(KeyGrab::Escape));
    EXPECT_EQ(heardAfter("+Alt Esc -Alt Esc a"), "+Alt -Alt +a -a");
    EXPECT_EQ(count(Event::KeyPressed, VK_ESCAPE), 1);
    xcb_ungrab_key(live::person(), XCB_GRAB_ANY, live::root(), XCB_MOD_MASK_ANY);
}

TEST_F(LiveHost, heldKeyRepeatsWithoutBeingReleased) {
    const host::Surface dialog = show({0, 600, 100, 700});
    ASSERT_TRUE(desk->focusSurface(dialog));
    live::type("+k");
    EXPECT_TRUE(comes(Event::KeyPressed, 'K', 3));
    EXPECT_EQ(count(Event::KeyReleased), 0);
    live::type("-k");
    EXPECT_TRUE(comes(Event::KeyReleased, 'K'));
    desk->destroySurface(dialog);
    EXPECT_EQ(heardAfter("a"), "+a -a");
}

TEST_F(LiveHost, pressGoesThroughTheFrameAndItsDragGoesOnOutsideTheSheet) {
    const host::Surface sheet = show({0, 0, 960, 1080}), frame = desk->createSurface(u"");
    desk->showSurface(frame, {{300, 300, 400, 360}, 255, {}, true}, true);
    live::movePointer(300, 301);
    live::pressButton(1);
    live::movePointer(1500, 200);
    live::releaseButton(1);
    ASSERT_TRUE(comes(Event::ButtonReleased));
    EXPECT_EQ(events.back().at.x, 1500);
    EXPECT_EQ(events.back().surface, sheet);
    desk->destroySurface(frame);
    desk->destroySurface(sheet);
}

TEST_F(LiveHost, frameIsNewWhereItIsRead) {
    ASSERT_TRUE(desk->openPictures(desk->monitors()[0].id));
    ASSERT_EQ(desk->waitForPicture(0), host::PictureState::Changed);
    ASSERT_TRUE(desk->readPicture({100, 100, 200, 200}).bytes);
    while (desk->waitForPicture(0) == host::PictureState::Changed) {
    }
    const host::Surface beside = show({200, 100, 300, 200});
    EXPECT_EQ(desk->waitForPicture(100), host::PictureState::Unchanged);
    const host::Surface inside = show({199, 199, 300, 300}, 255, 0x123456);
    EXPECT_EQ(desk->waitForPicture(5000), host::PictureState::Changed);
    const host::CapturedPicture read = desk->readPicture({100, 100, 200, 200});
    ASSERT_TRUE(read.bytes);
    EXPECT_EQ(read.bytes[99 * read.pitch + 99 * 4], 0x56);
    desk->destroySurface(beside);
    desk->destroySurface(inside);
    desk->closePictures();
}

// No descriptor is left, hence no memory to share.
TEST_F(LiveHost, goesOnWithoutMemoryForPixels) {
    ASSERT_TRUE(desk->openPictures(desk->monitors()[0].id));
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const int next = dup(0);
    close(next);
    const rlimit noMore{static_cast<rlim_t>(next), limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &noMore);
    EXPECT_FALSE(desk->readPicture({100, 100, 200, 200}).bytes);
    desk->destroySurface(show({0, 0, 960, 1080}, 180));
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_TRUE(desk->readPicture({100, 100, 200, 200}).bytes);
    desk->closePictures();
}

TEST_F(LiveHost, changeOfMonitorsIsReportedAndEndsTheRecording) {
    const std::uintptr_t old = desk->monitors()[0].id;
    ASSERT_TRUE(desk->openPictures(old));
    ASSERT_EQ(live::run("xrandr --setmonitor left 960/300x1080/200+0+0 none >/dev/null"), 0);
    ASSERT_EQ(live::run("xrandr --setmonitor \\*right 960/300x1080/200+960+0 screen >/dev/null"),
              0);
    std::map<LONG, host::Monitor> byLeft;
    ASSERT_TRUE(goOnUntil([&] {
        byLeft.clear();
        for (const host::Monitor& monitor : desk->monitors()) byLeft[monitor.bounds.left] = monitor;
        return byLeft.size() == 2;
    }));
    EXPECT_GT(count(Event::LayoutChanged), 0);
    EXPECT_TRUE(byLeft[960].primary && !byLeft[0].primary);
    EXPECT_EQ(byLeft[0].bounds.right, 960);
    EXPECT_TRUE(
        desktop::waitUntil([&] { return desk->waitForPicture(5) == host::PictureState::Lost; }));
    EXPECT_FALSE(desk->openPictures(old));
    EXPECT_TRUE(desk->openPictures(byLeft[960].id));
    desk->closePictures();
}

// A capture that failed would lose the clip if it noticed the end before the program did.
TEST_F(LiveHost, displayThatEndsLeavesTheLastFrame) {
    ASSERT_TRUE(desk->openPictures(desk->monitors()[0].id));
    ASSERT_TRUE(desk->readPicture({100, 100, 200, 200}).bytes);
    live::run("kill $(pgrep -P $PPID Xvfb)");
    EXPECT_TRUE(desktop::waitUntil([] { return live::boundsOf(live::root()).right == 0; }));
    EXPECT_EQ(desk->waitForPicture(5), host::PictureState::Unchanged);
    EXPECT_TRUE(desk->readPicture({100, 100, 200, 200}).bytes);
    desk->closePictures();
}

// As wide as one of its images, in the middle of the slot, and not cut by the screen's edge.
TEST_F(LiveHost, iconIsDrawnInEveryTrayThatComes) {
    const auto imageOf = [](int side) {
        const int own = side < 48 ? 20 : 48;
        return host::IconImage{std::vector<std::uint32_t>(own * own, 0xff00ff00), own};
    };
    const host::TrayIcon icon{imageOf, u"Tip"};
    desk->setTrayIcon(&icon);
    for (const auto& [height, image] : {std::pair{24, 20}, {64, 48}}) {
        const pid_t tray =
            live::start({"trayer", "--edge", "bottom", "--align", "right", "--widthtype", "request",
                         "--heighttype", "pixel", "--height", std::to_string(height)});
        ASSERT_TRUE(comes(Event::TaskbarCreated));
        events.clear();
        desk->setTrayIcon(&icon);
        RECT slot{};
        EXPECT_TRUE(goOnUntil([&] {
            slot = live::boundsOf(live::findWindow("Tip", live::findWindow("panel")));
            const LONG y = (slot.top + slot.bottom) / 2;
            std::vector<LONG> drawn;
            for (LONG x = slot.left; x < std::min(slot.right, 1920); ++x)
                if (live::pixelAt(x, y) == 0x00ff00) drawn.push_back(x);
            return std::ssize(drawn) == image && drawn[0] == (slot.left + slot.right - image) / 2;
        })) << slot.left
            << ' ' << slot.right;
        live::movePointer(slot.left + 1, slot.top + 1);
        EXPECT_TRUE(
            goOnUntil([&] { return live::boundsOf(live::findWindow("Tip")).bottom <= slot.top; }));
        live::end(tray);
        EXPECT_TRUE(goOnUntil([] { return !live::findWindow("Tip"); }));
    }
    desk->setTrayIcon(nullptr);
}

}  // namespace
