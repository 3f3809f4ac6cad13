// What the live display owes the layer, where the whole program would not show a mistake: who gets
// which key, pointer and keyboard of surfaces, when a picture is new.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <map>
#include <utility>

#include "tests/live/live_host.h"

namespace {

// What happens next between a decision of the host to take the keyboard and the server's doing so.
std::function<void()> beforeTheKeyboardIsTaken = [] {};

}  // namespace

// Stands in for the library's.
xcb_grab_keyboard_cookie_t xcb_grab_keyboard(xcb_connection_t* server, std::uint8_t ownerEvents,
                                             xcb_window_t window, xcb_timestamp_t time,
                                             std::uint8_t pointerMode, std::uint8_t keyboardMode) {
    static const auto original =
        reinterpret_cast<decltype(&xcb_grab_keyboard)>(dlsym(RTLD_NEXT, "xcb_grab_keyboard"));
    std::exchange(beforeTheKeyboardIsTaken, [] {})();
    return original(server, ownerEvents, window, time, pointerMode, keyboardMode);
}

namespace {

bool isEscape(const Event& event) { return event.key == VK_ESCAPE; }

TEST_F(LiveHost, hookTakesEscapeToItsEndAndLeavesTheRest) {
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
    // The hook goes while the key that ended it is still down, and other keys are typed meanwhile.
    desk->hookKeys(false);
    EXPECT_EQ(heardUpTo(client, 'd'), "+a -a +b -b +c -c +d -d");
    live::release(live::escapeKey);
    ASSERT_TRUE(goOnUntil([&] { return count(Event::KeyReleased, VK_ESCAPE) == 2; }));
    live::tap(live::escapeKey);
    EXPECT_EQ(heardUpTo(client, 'e'), "+a -a +b -b +c -c +d -d +Esc -Esc +e -e");
}

// The hook goes while a key waits for its answer: whatever the answer, the keyboard works on.
TEST_F(LiveHost, hookEndsUnderAWaitingKey) {
    const live::Client client({100, 100, 900, 500}, "still");
    takes = [&](const Event& event) {
        desk->hookKeys(false);
        return isEscape(event);
    };
    ASSERT_TRUE(desk->hookKeys(true));
    live::tap('a');
    EXPECT_EQ(heardUpTo(client, 'b'), "+a -a +b -b");
    ASSERT_TRUE(desk->hookKeys(true));
    live::tap(live::escapeKey);
    EXPECT_EQ(heardUpTo(client, 'c'), "+a -a +b -b +c -c");
}

// The second of two hooked keys goes up before the host has the keyboard again after the first: it
// is not down any more.
TEST_F(LiveHost, keyThatGoesUpRightAfterAnotherComesAgain) {
    takes = [](const Event&) { return true; };
    ASSERT_TRUE(desk->hookKeys(true));
    live::press(live::controlKey);
    live::press(live::altKey);
    ASSERT_TRUE(cameAbout(Event::KeyPressed, VK_LMENU));
    beforeTheKeyboardIsTaken = [] {
        live::release(live::altKey);
        live::pixelAt(0, 0);  // carried out by now
    };
    live::release(live::controlKey);
    ASSERT_TRUE(cameAbout(Event::KeyReleased, VK_LCONTROL));
    live::tap(live::altKey);
    EXPECT_TRUE(goOnUntil([&] { return count(Event::KeyPressed, VK_LMENU) == 2; }));
    desk->hookKeys(false);
}

TEST_F(LiveHost, hotKeyFiresOnlyWithItsModifiers) {
    const live::Client client({100, 100, 900, 500}, "still");
    takes = [](const Event& event) {
        return event.key == '7' && event.modifiers == (MOD_CONTROL | MOD_SHIFT);
    };
    ASSERT_TRUE(desk->grabHotKey(MOD_CONTROL | MOD_SHIFT, '7'));
    for (const xcb_keysym_t key : {live::controlKey, live::shiftKey, xcb_keysym_t('7')})
        live::press(key);
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

TEST_F(LiveHost, pressGoesThroughTheFrameAndItsDragGoesOnOutsideTheSheet) {
    const host::Surface sheet = show({0, 0, 960, 1080}, 255, 0x181818);
    const host::Surface frame = desk->createSurface(u"");
    desk->showSurface(frame, {{300, 300, 400, 360}, 255, {}, true}, true);
    live::movePointer(300, 301);
    live::pressButton(1);
    live::movePointer(1500, 200);
    live::releaseButton(1);
    ASSERT_TRUE(cameAbout(Event::ButtonReleased));
    EXPECT_EQ(events.back().at.x, 1500);
    EXPECT_EQ(events.back().surface, sheet);
    desk->destroySurface(frame);
    desk->destroySurface(sheet);
}

// The keyboard goes to a surface, to a second one over it, and the same way back.
TEST_F(LiveHost, keyboardGoesBackTheWayItCame) {
    const live::Client client({100, 100, 900, 500}, "still");
    const xcb_window_t before = live::focus();
    const host::Surface dialog = show({0, 600, 100, 700}, 255, 1),
                        box = show({50, 600, 90, 650}, 255, 2);
    ASSERT_TRUE(desk->focusSurface(dialog));
    ASSERT_TRUE(desk->focusSurface(box));
    live::press('k');
    EXPECT_TRUE(goOnUntil([&] { return count(Event::KeyPressed, 'K') == 3; }));
    EXPECT_EQ(count(Event::KeyReleased), 0) << "A held key repeats without being released.";
    live::release('k');
    ASSERT_TRUE(cameAbout(Event::KeyReleased, 'K'));
    EXPECT_TRUE(events.back().offered);
    desk->destroySurface(box);
    EXPECT_EQ(live::focus(), dialog);
    desk->hideSurface(dialog);
    EXPECT_EQ(live::focus(), before);
    EXPECT_FALSE(desk->focusSurface(dialog)) << "not on the screen";
    EXPECT_EQ(count(Event::ActivationLost), 0);
    EXPECT_EQ(heardUpTo(client, 'a'), "+a -a");
    desk->destroySurface(dialog);

    const host::Surface menu = show({1000, 600, 1100, 700}, 255, 1);
    ASSERT_TRUE(desk->focusSurface(menu));
    live::movePointer(500, 300);
    live::pressButton(1);
    live::releaseButton(1);
    ASSERT_TRUE(cameAbout(Event::ButtonReleased));
    EXPECT_EQ(events.back().surface, 0u) << "A click elsewhere is told.";
    xcb_set_input_focus(live::person(), XCB_INPUT_FOCUS_PARENT, before, XCB_CURRENT_TIME);
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
    desk->destroySurface(show({0, 0, 960, 1080}, 180, 0x181818));
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_TRUE(desk->readPicture({100, 100, 200, 200}).bytes);
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

}  // namespace
