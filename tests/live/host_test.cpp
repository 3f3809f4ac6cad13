// What the live display owes the layer: who gets which key, what is on the screen and in the
// picture, the clipboard.

#include <gtest/gtest.h>
#include <poll.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>

#include "platform/control.h"
#include "platform/hosts/host.h"
#include "tests/live/live_host.h"

namespace {

using host::Event;

bool isEscape(const Event& event) { return event.key == VK_ESCAPE; }

TEST_F(LiveHost, hookTakesEscapeAndLeavesTheRest) {
    const live::Client client({100, 100, 900, 500}, "still");
    takes = isEscape;
    ASSERT_TRUE(desk->hookKeys(true));
    live::tap('a');
    live::tap(live::escapeKey);
    EXPECT_EQ(heardUpTo(client, 'b'), "+a -a +b -b");
    live::press('c');
    live::press(live::escapeKey);
    ASSERT_TRUE(goOnUntil([&] { return count(Event::KeyPressed, VK_ESCAPE) == 2; }));
    live::release('c');
    ASSERT_TRUE(cameAbout(Event::KeyReleased, 'C'));
    live::release(live::escapeKey);
    EXPECT_EQ(heardUpTo(client, 'z'), "+a -a +b -b +c -c +z -z");
    EXPECT_EQ(count(Event::KeyPressed, VK_ESCAPE), 2);
    EXPECT_EQ(count(Event::KeyReleased, 'A'), 1);
    desk->hookKeys(false);
    live::tap(live::escapeKey);
    EXPECT_EQ(heardUpTo(client, 'y'), "+a -a +b -b +c -c +z -z +Esc -Esc +y -y");
}

// The hook goes while the key that ended it is still down, and other keys are typed meanwhile.
TEST_F(LiveHost, keptKeyIsKeptToItsEnd) {
    const live::Client client({100, 100, 900, 500}, "still");
    takes = isEscape;
    ASSERT_TRUE(desk->hookKeys(true));
    live::press(live::escapeKey);
    ASSERT_TRUE(cameAbout(Event::KeyPressed, VK_ESCAPE));
    desk->hookKeys(false);
    EXPECT_EQ(heardUpTo(client, 'a'), "+a -a");
    live::release(live::escapeKey);
    ASSERT_TRUE(cameAbout(Event::KeyReleased, VK_ESCAPE));
    live::tap(live::escapeKey);
    EXPECT_EQ(heardUpTo(client, 'b'), "+a -a +Esc -Esc +b -b");
}

// The hook goes while a key waits for its answer: whatever the answer, the keyboard works on.
TEST_F(LiveHost, hookEndsUnderAWaitingKey) {
    const live::Client client({100, 100, 900, 500}, "still");
    ASSERT_TRUE(desk->hookKeys(true));
    takes = [&](const Event& event) {
        desk->hookKeys(false);
        return isEscape(event);
    };
    live::tap('a');
    EXPECT_EQ(heardUpTo(client, 'b'), "+a -a +b -b");
    ASSERT_TRUE(desk->hookKeys(true));
    live::tap(live::escapeKey);
    EXPECT_EQ(heardUpTo(client, 'c'), "+a -a +b -b +c -c");
}

TEST_F(LiveHost, hotKeyFiresOnlyWithItsModifiers) {
    const live::Client client({100, 100, 900, 500}, "still");
    takes = [](const Event& event) {
        return event.key == '7' && event.modifiers == (MOD_CONTROL | MOD_SHIFT);
    };
    ASSERT_TRUE(desk->grabHotKey(MOD_CONTROL | MOD_SHIFT, '7'));
    live::press(live::controlKey);
    live::press(live::shiftKey);
    live::press('7');
    ASSERT_TRUE(cameAbout(Event::KeyPressed, '7'));
    live::release(live::controlKey);  // before the key itself: it must not stay down for the client
    ASSERT_TRUE(goOnUntil([&] { return client.heard().ends_with("-65507"); }));
    live::release('7');
    live::release(live::shiftKey);
    EXPECT_EQ(heardUpTo(client, '7'), "+65507 +65505 -65507 -65505 +7 -7");
    desk->releaseHotKey(MOD_CONTROL | MOD_SHIFT, '7');
}

// Another program has Alt+Esc and Ctrl+Shift+8.
TEST_F(LiveHost, combinationsOfOthersStayTheirs) {
    const live::Client client({100, 100, 900, 500}, "still");
    const std::pair<int, int> taken[] = {{XCB_MOD_MASK_1, 9},
                                         {XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT, 17}};
    for (const auto& [state, code] : taken)
        xcb_grab_key(live::person(), 0, live::root(), static_cast<std::uint16_t>(state),
                     static_cast<xcb_keycode_t>(code), XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    live::pixelAt(0, 0);  // carried out by now
    EXPECT_FALSE(desk->grabHotKey(MOD_CONTROL | MOD_SHIFT, '8'));
    takes = isEscape;
    ASSERT_TRUE(desk->hookKeys(true));
    live::press(live::altKey);
    live::tap(live::escapeKey);
    live::release(live::altKey);
    live::tap(live::escapeKey);
    EXPECT_EQ(heardUpTo(client, 'a'), "+65513 -65513 +a -a");
    EXPECT_EQ(count(Event::KeyPressed, VK_ESCAPE), 1);
    desk->hookKeys(false);
    xcb_ungrab_key(live::person(), XCB_GRAB_ANY, live::root(), XCB_MOD_MASK_ANY);
}

// The program below draws once and never repairs anything.
TEST_F(LiveHost, sheetDimsAndGoesWithoutATrace) {
    const live::Client client({100, 100, 900, 500}, "still");
    const RECT whole{0, 0, 1920, 1080}, area{110, 120, 150, 160};
    std::vector<std::uint32_t> before(1600), during(1600), after(1600);
    const auto readInto = [&](std::vector<std::uint32_t>& pixels) {
        const host::CapturedPicture read = desk->readPicture(area);
        if (read.bytes) std::memcpy(pixels.data(), read.bytes.get(), 160 * 40);
        return read.bytes != nullptr;
    };
    ASSERT_TRUE(desk->openPictures(desk->monitors()[0].id));
    ASSERT_TRUE(readInto(before));
    for (int round = 0; round < 20; ++round) {
        const host::Surface sheet = show(whole, 180, 0x181818);
        ASSERT_TRUE(readInto(during));
        const auto mixed = [](unsigned over, unsigned below) {
            return (over * 180 + below * 75 + 127) / 255;
        };
        EXPECT_EQ(during[0] & 0xffffff,
                  mixed(0x18, 0x20) << 16 | mixed(0x18, 0x40) << 8 | mixed(0x18, 0x60));
        desk->hideSurface(sheet);
        desk->flush();
        ASSERT_TRUE(readInto(after));
        ASSERT_EQ(after, before) << round;
        desk->destroySurface(sheet);
    }
    desk->closePictures();
}

TEST_F(LiveHost, frameHasAHoleAndLetsClicksThrough) {
    const std::uint32_t ground = live::pixelAt(310, 310);
    const host::Surface frame = desk->createSurface();
    host::Placement placement;
    placement.bounds = {300, 300, 400, 360};
    placement.shape = {{0, 0, 100, 2}, {0, 2, 2, 58}, {98, 2, 100, 58}, {0, 58, 100, 60}};
    placement.passesMouse = true;
    desk->showSurface(frame, placement, true);
    const std::vector<std::uint32_t> red(6000, 0xff4040);
    desk->presentSurface(frame, {red.data(), 100, 60, 100});
    desk->flush();
    EXPECT_EQ(live::pixelAt(300, 300), 0xff4040u);
    EXPECT_EQ(live::pixelAt(399, 330), 0xff4040u);
    EXPECT_EQ(live::pixelAt(302, 302), ground);
    EXPECT_EQ(live::pixelAt(397, 357), ground);
    const host::Surface other = show({500, 300, 600, 360}, 255, 0x336699);
    live::movePointer(300, 301);
    live::pressButton(1);
    live::releaseButton(1);
    live::movePointer(550, 330);
    live::pressButton(3);
    live::releaseButton(3);
    ASSERT_TRUE(cameAbout(Event::ButtonReleased));
    EXPECT_EQ(count(Event::ButtonPressed), 1);
    EXPECT_EQ(events.back().button, 3);
    desk->destroySurface(frame);
    desk->destroySurface(other);
}

TEST_F(LiveHost, dragGoesOnOutsideTheSurface) {
    const host::Surface sheet = show({0, 0, 960, 1080}, 255, 0x181818);
    live::movePointer(100, 100);
    live::pressButton(1);
    live::movePointer(1500, 200);
    live::releaseButton(1);
    ASSERT_TRUE(cameAbout(Event::ButtonReleased));
    EXPECT_EQ(events.back().at.x, 1500);
    EXPECT_EQ(events.back().surface, sheet);
    desk->destroySurface(sheet);
}

TEST_F(LiveHost, heldKeyRepeatsWithoutBeingReleased) {
    const host::Surface dialog = show({0, 600, 100, 700}, 255, 1);
    ASSERT_TRUE(desk->focusSurface(dialog));
    live::press('k');
    EXPECT_TRUE(goOnUntil([&] { return count(Event::KeyPressed, 'K') == 3; }));
    EXPECT_EQ(count(Event::KeyReleased), 0);
    live::release('k');
    EXPECT_TRUE(cameAbout(Event::KeyReleased, 'K'));
    desk->destroySurface(dialog);
}

// The keyboard goes to a surface, to a second one over it, and the same way back.
TEST_F(LiveHost, keyboardGoesBackTheWayItCame) {
    const live::Client client({100, 100, 900, 500}, "still");
    const xcb_window_t before = live::focus();
    const host::Surface dialog = show({0, 600, 100, 700}, 255, 1),
                        box = show({50, 600, 90, 650}, 255, 2);
    ASSERT_TRUE(desk->focusSurface(dialog));
    ASSERT_TRUE(desk->focusSurface(box));
    live::tap('k');
    ASSERT_TRUE(cameAbout(Event::KeyReleased, 'K'));
    EXPECT_TRUE(events.back().offered);
    desk->destroySurface(box);
    EXPECT_EQ(live::focus(), dialog);
    desk->hideSurface(dialog);
    EXPECT_EQ(live::focus(), before);
    EXPECT_FALSE(desk->focusSurface(dialog));  // not on the screen
    EXPECT_EQ(count(Event::ActivationLost), 0);
    EXPECT_EQ(heardUpTo(client, 'a'), "+a -a");
    desk->destroySurface(dialog);
}

TEST_F(LiveHost, clickElsewhereIsToldAndForegroundCanBeLost) {
    const live::Client client({100, 100, 900, 500}, "still");
    const xcb_window_t others = live::focus();
    const host::Surface menu = show({1000, 600, 1100, 700}, 255, 1);
    ASSERT_TRUE(desk->focusSurface(menu));
    live::movePointer(500, 300);
    live::pressButton(1);
    live::releaseButton(1);
    ASSERT_TRUE(cameAbout(Event::ButtonReleased));
    EXPECT_EQ(events.back().surface, 0u);
    xcb_set_input_focus(live::person(), XCB_INPUT_FOCUS_PARENT, others, XCB_CURRENT_TIME);
    xcb_flush(live::person());
    EXPECT_TRUE(cameAbout(Event::ActivationLost));
    desk->destroySurface(menu);
}

TEST_F(LiveHost, pictureChangesWhereItIsRead) {
    ASSERT_TRUE(desk->openPictures(desk->monitors()[0].id));
    ASSERT_EQ(desk->waitForPicture(0), host::PictureState::Changed);
    ASSERT_TRUE(desk->readPicture({100, 100, 200, 200}).bytes);
    while (desk->waitForPicture(0) == host::PictureState::Changed) {
    }
    const host::Surface beside = show({200, 100, 300, 200}, 255, 0x123456);
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

TEST_F(LiveHost, changeOfMonitorsIsToldAndEndsThePicture) {
    const std::uintptr_t old = desk->monitors()[0].id;
    ASSERT_TRUE(desk->openPictures(old));
    live::setMonitor("left", {0, 0, 960, 1080}, false);
    live::setMonitor("right", {960, 0, 1920, 1080}, true);
    std::map<LONG, host::Monitor> byLeft;
    ASSERT_TRUE(goOnUntil([&] {
        byLeft.clear();
        for (const host::Monitor& monitor : desk->monitors()) byLeft[monitor.bounds.left] = monitor;
        return byLeft.size() == 2;
    }));
    EXPECT_GT(count(Event::LayoutChanged), 0);
    EXPECT_TRUE(byLeft[960].primary);
    EXPECT_EQ(byLeft[0].bounds.right, 960);
    EXPECT_FALSE(byLeft[0].primary);
    EXPECT_TRUE(
        desktop::waitUntil([&] { return desk->waitForPicture(5) == host::PictureState::Lost; }));
    EXPECT_FALSE(desk->openPictures(old));
    EXPECT_TRUE(desk->openPictures(byLeft[960].id));
    desk->closePictures();
}

// Pasted by another program, for which the name's blanks and letters beyond ASCII are escaped.
TEST_F(LiveHost, clipIsPasted) {
    desk->clearClipboard();
    ASSERT_TRUE(desk->offerFiles({"/tmp/Desk Clip/\xc3\xa9~1.mp4"}, {}));
    const std::pair<const char*, std::string> forms[] = {
        {"text/uri-list", "file:///tmp/Desk%20Clip/%C3%A9~1.mp4\r\n"},
        {"x-special/gnome-copied-files", "copy\nfile:///tmp/Desk%20Clip/%C3%A9~1.mp4"},
    };
    for (const auto& [target, expected] : forms) {
        const std::string command = std::string("xclip -o -selection clipboard -t ") + target;
        FILE* const output = popen(command.c_str(), "r");
        std::string text;
        goOnUntil([&] {
            pollfd descriptor{fileno(output), POLLIN, 0};
            if (poll(&descriptor, 1, 0) == 0) return false;
            const int character = std::fgetc(output);
            if (character != EOF) text += static_cast<char>(character);
            return character == EOF;
        });
        EXPECT_EQ(pclose(output), 0);
        EXPECT_EQ(text, expected) << target;
    }
}

}  // namespace
