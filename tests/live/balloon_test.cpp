// Balloons on a live display: shown by the desktop's notification service, or by ourselves where
// there is none.

#include <gtest/gtest.h>

#include <optional>

#include "tests/live/live_host.h"
#include "tests/live/session_bus.h"

namespace {

TEST_F(LiveHost, balloonGoesToTheNotificationService) {
    const live::SessionBus bus(true);
    const auto show = [&](const std::u16string& text, bool isError = false, bool isUrgent = false) {
        const std::string before = bus.last("body");
        desk->showBalloon({u"Quorvel Desk Clip", text, isError, isUrgent});
        EXPECT_TRUE(goOnUntil([&] { return bus.last("body") != before; }));
        return bus.last("body") + " " + bus.last("timeout") + " " + bus.last("urgency");
    };
    EXPECT_EQ(show(u"a < b & \u2014"), "'a &lt; b &amp; \u2014' 5000 NORMAL");
    // The number under which a notice is shown comes back a moment later.
    std::string number;
    std::u16string text = u"Finishing ";
    EXPECT_TRUE(desktop::waitUntil([&] {
        number = bus.last("id");
        show(text += u'.');
        return bus.last("id") == number;
    }));
    EXPECT_EQ(show(u"lost", true, true), "'lost' 0 CRITICAL");
    EXPECT_EQ(bus.last("id"), number);
    show(u"Copied");
    EXPECT_NE(bus.last("id"), number) << "An error stays.";
    EXPECT_TRUE(goOnUntil([&] { return !mayHaveEvents(2000); }))
        << "Something goes on after the answer.";
    EXPECT_EQ(live::pixelAt(1890, 1050), 0u);
}

// The bus does not answer in time. What was meant for it is not to be shown when it does.
TEST_F(LiveHost, balloonThatWasGivenUpIsNotShownLater) {
    const live::SessionBus bus(true);
    kill(bus.daemon, SIGSTOP);
    desk->showBalloon({u"Quorvel Desk Clip", u"late"});
    EXPECT_TRUE(goOnUntil([] { return live::findWindow("late") != 0; }));
    kill(bus.daemon, SIGCONT);
    desk->showBalloon({u"Quorvel Desk Clip", u"next"});
    EXPECT_TRUE(goOnUntil([&] { return bus.last("body") == "'next'"; }));
    EXPECT_EQ(readFile(bus.notices).find("late"), std::string::npos);
    EXPECT_FALSE(live::findWindow("late"));
}

// Nobody shows notices here, so each is a window of its own above the panel, until it is clicked.
// An error stays.
TEST_F(LiveHost, balloonWithoutANotificationService) {
    live::run("xprop -root -f _NET_WORKAREA 32c -set _NET_WORKAREA '0, 0, 1920, 1000'");
    const std::string copied = "Copied — paste the video file.";
    for (const bool hasBus : {true, false}) {  // It ends while the program runs.
        SCOPED_TRACE(hasBus);
        std::optional<live::SessionBus> bus;
        if (hasBus) bus.emplace(false);
        desk->showBalloon({u"Quorvel Desk Clip", u"lost", true});
        desk->showBalloon({u"Quorvel Desk Clip", u"Finishing"});
        desk->showBalloon({u"Quorvel Desk Clip", u"Copied \u2014 paste the video file."});
        ASSERT_TRUE(goOnUntil([&] { return live::findWindow(copied) != 0; }));
        EXPECT_EQ(live::findWindow("Finishing"), 0u);
        const RECT error = live::boundsOf(live::findWindow("lost"));
        EXPECT_LT(live::boundsOf(live::findWindow(copied)).bottom, error.top);
        EXPECT_LT(error.bottom, 1000);
        for (const std::string& text : {std::string("lost"), copied}) {
            const RECT bounds = live::boundsOf(live::findWindow(text));
            live::click({bounds.left + 5, bounds.top + 5});
            EXPECT_TRUE(goOnUntil([&] { return live::findWindow(text) == 0; }));
        }
    }
    live::run("xprop -root -remove _NET_WORKAREA");
}

}  // namespace
