// What the live display owes the layer, where the whole program would not show a mistake: who gets
// which key and press, what is drawn where, when a frame is new, who shows a balloon. The host is
// driven without the rest of the layer, beside another program's window that has the keyboard.

#include <poll.h>
#include <signal.h>
#include <sys/resource.h>

#include <map>
#include <utility>

#include "platform/control.h"
#include "platform/hosts/host.h"
#include "platform/shell32/balloon.h"
#include "tests/live/xvfb.h"

using host::Event, host::KeyGrab;

namespace {

struct LiveHost : testing::Test {
    static host::Host* open() {
        live::startDisplay();
        return &host::x11Host();
    }

    bool mayHaveEvents(int milliseconds) {
        pollfd waiting{desk->eventDescriptor(), POLLIN, 0};
        return poll(&waiting, 1, milliseconds) > 0;
    }
    bool goOnUntil(const std::function<bool()>& condition) {
        return user::waitUntil([&] {
            if (mayHaveEvents(0))
                for (Event event; desk->nextEvent(event);) events.push_back(event);
            return condition();
        });
    }
    long count(Event::Kind kind, UINT key = 0) const {
        return std::ranges::count_if(events, [&](const Event& event) {
            return event.kind == kind && (key == 0 || event.key == key);
        });
    }
    bool comes(Event::Kind kind, UINT key = 0, long times = 1) {
        return goOnUntil([&] { return count(kind, key) >= times; });
    }
    // Types and waits until the client has the last key's release: everything before has arrived by
    // then, or never will.
    std::string heardAfter(const std::string& keys) {
        live::type(keys);
        const std::string end = "-" + keys.substr(keys.find_last_of(" +-") + 1);
        EXPECT_TRUE(goOnUntil([&] { return client.heard().ends_with(end); }));
        return client.heard();
    }
    host::Surface show(const RECT& bounds, BYTE opacity = 255, std::uint32_t color = 0x181818) {
        const host::Surface surface = desk->createSurface(u"");
        desk->showSurface(surface, {bounds, opacity, {}}, true);
        const int width = bounds.right - bounds.left, height = bounds.bottom - bounds.top;
        std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width * height), color);
        desk->presentSurface(surface, {pixels.data(), width, height, width});
        desk->flush();
        return surface;
    }

    host::Host* const desk = open();
    live::Client client{{100, 100, 900, 500}};
    std::vector<Event> events;
};

TEST_F(LiveHost, wholeKeyboardIsGrabbedWithTheModifiersThatAreHeld) {
    live::type("+Control_L");
    ASSERT_TRUE(goOnUntil([&] { return client.heard() == "+Control_L"; }));
    ASSERT_TRUE(desk->grabKeys(KeyGrab::All));
    live::type("k");
    ASSERT_TRUE(comes(Event::KeyReleased, 'K'));
    EXPECT_EQ(events[0].key, UINT{VK_LCONTROL});
    live::type("-Control_L");
    ASSERT_TRUE(comes(Event::KeyReleased, VK_LCONTROL));
    desk->grabKeys(KeyGrab::None);
    EXPECT_EQ(heardAfter("a"), "+Control_L+a-a");
}

TEST_F(LiveHost, onlyItsOwnCombinationsAreGrabbed) {
    live::grabKey(XCB_MOD_MASK_1, "Escape");
    ASSERT_TRUE(desk->grabKeys(KeyGrab::Escape));
    ASSERT_TRUE(desk->grabHotKey(MOD_CONTROL | MOD_SHIFT, '7'));
    EXPECT_EQ(heardAfter("+Alt_L Escape -Alt_L Escape +Control_L +Shift_L 7 -Control_L -Shift_L 7"),
              "+Alt_L-Alt_L+Control_L+Shift_L-Control_L-Shift_L+7-7");
    EXPECT_EQ(count(Event::KeyPressed, VK_ESCAPE), 1);
    EXPECT_EQ(count(Event::KeyPressed, '7'), 1);
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
    EXPECT_EQ(heardAfter("a"), "+a-a");
}

TEST_F(LiveHost, pressGoesThroughTheFrameAndItsDragGoesOnOutsideTheSheet) {
    const host::Surface sheet = show({0, 0, 960, 1080}), frame = desk->createSurface(u"");
    desk->showSurface(frame, {{300, 300, 400, 360}, 255, {}, true}, true);
    user::move(300, 301);
    user::holdButton(1);
    user::move(1500, 200);
    user::releaseButton(1);
    ASSERT_TRUE(comes(Event::ButtonReleased));
    EXPECT_EQ(events.back().at.x, 1500);
    EXPECT_EQ(events.back().surface, sheet);
}

TEST_F(LiveHost, frameIsNewWhereItIsRead) {
    ASSERT_TRUE(desk->openPictures(desk->monitors()[0].id));
    ASSERT_EQ(desk->waitForPicture(0), host::PictureState::Changed);
    ASSERT_TRUE(desk->readPicture({100, 100, 200, 200}).bytes);
    while (desk->waitForPicture(0) == host::PictureState::Changed) {
    }
    show({200, 100, 300, 200});  // beside it
    EXPECT_EQ(desk->waitForPicture(100), host::PictureState::Unchanged);
    show({199, 199, 300, 300}, 255, 0x123456);
    EXPECT_EQ(desk->waitForPicture(5000), host::PictureState::Changed);
    const host::CapturedPicture read = desk->readPicture({100, 100, 200, 200});
    ASSERT_TRUE(read.bytes);
    EXPECT_EQ(read.bytes[99 * read.pitch + 99 * 4], 0x56);
}

TEST_F(LiveHost, changeOfMonitorsIsReportedAndEndsTheRecording) {
    const std::uintptr_t old = desk->monitors()[0].id;
    ASSERT_TRUE(desk->openPictures(old));
    ASSERT_EQ(live::run("xrandr --setmonitor left 960/300x1080/200+0+0 none >/dev/null"), 0);
    ASSERT_EQ(live::run("xrandr --setmonitor \\*right 960/300x1080/200+960+0 screen >/dev/null"),
              0);
    ASSERT_TRUE(goOnUntil([&] { return desk->monitors().size() == 2; }));
    std::map<LONG, host::Monitor> byLeft;
    for (const host::Monitor& monitor : desk->monitors()) byLeft[monitor.bounds.left] = monitor;
    EXPECT_GT(count(Event::LayoutChanged), 0);
    EXPECT_TRUE(byLeft[960].primary);
    EXPECT_FALSE(byLeft[0].primary);
    EXPECT_EQ(byLeft[0].bounds.right, 960);
    EXPECT_FALSE(desk->openPictures(old));
    EXPECT_TRUE(desk->openPictures(byLeft[960].id));
}

// When no descriptor is left, there is no memory to share.
TEST_F(LiveHost, goesOnWithoutMemoryForPixelsAndWithoutItsDisplay) {
    ASSERT_TRUE(desk->openPictures(desk->monitors()[0].id));
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit noMore{3, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &noMore);
    EXPECT_FALSE(desk->readPicture({100, 100, 200, 200}).bytes);
    desk->destroySurface(show({0, 0, 960, 1080}, 180));
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_TRUE(desk->readPicture({100, 100, 200, 200}).bytes);

    // A capture that failed would lose the clip if it noticed the end before the program did.
    while (desk->waitForPicture(0) == host::PictureState::Changed) {
    }
    signal(SIGPIPE, SIG_IGN);  // as the program does
    live::run("kill $(pgrep -P $PPID Xvfb)");
    EXPECT_TRUE(user::waitUntil([] { return live::run("xwininfo -root >/dev/null 2>&1") != 0; }));
    EXPECT_EQ(desk->waitForPicture(5), host::PictureState::Unchanged);
    EXPECT_TRUE(desk->readPicture({100, 100, 200, 200}).bytes);
}

// As wide as one of its images, in the middle of the slot, and not cut by the screen's edge.
TEST_F(LiveHost, iconIsDrawnInEveryTrayThatComes) {
    const auto imageOf = [](int side) {
        const int own = side < 48 ? 20 : 48;
        return host::IconImage{std::vector<std::uint32_t>(own * own, 0xff00ff00), own};
    };
    const host::TrayIcon icon{imageOf, "Tip"};
    desk->setTrayIcon(&icon);
    for (const auto& [height, image] : {std::pair{24, 20}, {64, 48}}) {
        const pid_t tray = live::startTray("bottom", height);
        ASSERT_TRUE(comes(Event::TaskbarCreated));
        events.clear();
        desk->setTrayIcon(&icon);
        RECT slot{};
        EXPECT_TRUE(goOnUntil([&] {
            slot = live::boundsOf("Tip");
            const LONG y = (slot.top + slot.bottom) / 2;
            std::vector<LONG> drawn;
            for (LONG x = slot.left; x < std::min(slot.right, 1920); ++x)
                if (live::pixelAt(x, y) == 0x00ff00) drawn.push_back(x);
            return std::ssize(drawn) == image && drawn[0] == (slot.left + slot.right - image) / 2;
        })) << slot.left
            << ' ' << slot.right;
        user::move(slot.left + 1, slot.top + 1);
        ASSERT_TRUE(comes(Event::TrayEntered));
        EXPECT_EQ(events.back().icon.left, slot.left);
        EXPECT_EQ(events.back().icon.bottom, slot.bottom);
        live::end(tray);
        EXPECT_TRUE(comes(Event::TrayLeft));
        EXPECT_TRUE(goOnUntil([] { return !live::isShown("Tip"); }));
    }
}

// With the layer's windows.
struct LiveBalloons : LiveHost {
    LiveBalloons() { host::use(*desk); }

    // The program hears of nothing.
    bool goOnUntil(const std::function<bool()>& condition) {
        MSG message;
        return user::waitUntil([&] {
            EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
            return condition();
        });
    }
};

TEST_F(LiveBalloons, goToTheNotificationService) {
    const live::SessionBus bus(true);
    const auto show = [&](const std::string& text, bool isError = false, bool isUrgent = false) {
        const std::string before = bus.last("body");
        shell32::showBalloon({"Quorvel Desk Clip", text, isError, isUrgent});
        EXPECT_TRUE(goOnUntil([&] { return bus.last("body") != before; }));
        return bus.last("body") + " " + bus.last("timeout") + " " + bus.last("urgency");
    };
    EXPECT_EQ(show("a < b & \u2014"), "'a &lt; b &amp; \u2014' 5000 NORMAL");
    // The number under which a notice is shown comes back a moment later.
    std::string number;
    std::string text = "Finishing ";
    EXPECT_TRUE(user::waitUntil([&] {
        number = bus.last("id");
        show(text += '.');
        return bus.last("id") == number;
    }));
    EXPECT_EQ(show("lost", true, true), "'lost' 0 CRITICAL");
    EXPECT_EQ(bus.last("id"), number);
    show("Copied");
    EXPECT_NE(bus.last("id"), number) << "An error stays.";
    EXPECT_TRUE(goOnUntil([&] { return !mayHaveEvents(2000); }))
        << "Something goes on after the answer.";
    EXPECT_EQ(live::pixelAt(1890, 1050), 0u);
}

// The bus does not answer in time. What was meant for it is not to be shown when it does.
TEST_F(LiveBalloons, thatWereGivenUpAreNotShownLater) {
    const live::SessionBus bus(true);
    kill(bus.daemon, SIGSTOP);
    shell32::showBalloon({"Quorvel Desk Clip", "late"});
    EXPECT_TRUE(goOnUntil([] { return live::isShown("late"); }));
    kill(bus.daemon, SIGCONT);
    shell32::showBalloon({"Quorvel Desk Clip", "next"});
    EXPECT_TRUE(goOnUntil([&] { return bus.last("body") == "'next'"; }));
    EXPECT_EQ(readFile(bus.notices).find("late"), std::string::npos);
    EXPECT_FALSE(live::isShown("late"));
}

// Nobody shows notices here, so each is a window of its own above the panel, until it is clicked.
// An error stays.
TEST_F(LiveBalloons, withoutANotificationService) {
    live::run("xprop -root -f _NET_WORKAREA 32c -set _NET_WORKAREA '0, 0, 1920, 1000'");
    const std::string copied = "Copied — paste the video file.";
    for (const bool hasBus : {true, false}) {  // It ends while the program runs.
        SCOPED_TRACE(hasBus);
        std::optional<live::SessionBus> bus;
        if (hasBus) bus.emplace(false);
        shell32::showBalloon({"Quorvel Desk Clip", "lost", true});
        shell32::showBalloon({"Quorvel Desk Clip", "Finishing"});
        shell32::showBalloon({"Quorvel Desk Clip", copied});
        ASSERT_TRUE(goOnUntil([&] { return live::isShown(copied); }));
        EXPECT_FALSE(live::isShown("Finishing"));
        const RECT error = live::boundsOf("lost");
        EXPECT_LT(live::boundsOf(copied).bottom, error.top);
        EXPECT_LT(error.bottom, 1000);
        for (const std::string text : {"lost", copied.c_str()}) {
            const RECT bounds = live::boundsOf(text);
            user::click(bounds.left + 5, bounds.top + 5);
            EXPECT_TRUE(goOnUntil([&] { return !live::isShown(text); }));
        }
    }
}

}  // namespace
