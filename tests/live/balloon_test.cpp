// Balloons on a live display: shown by the desktop's notification service, or by ourselves where
// there is none.

#include <gtest/gtest.h>
#include <signal.h>

#include <optional>

#include "tests/live/live_host.h"
#include "tests/live/session_bus.h"

namespace {

TEST_F(LiveHost, balloonGoesToTheNotificationService) {
    live::SessionBus service(true);
    std::vector<std::string> notices;
    const auto show = [&](const char16_t* text, bool isError) {
        const std::size_t before = notices.size();
        desk->showBalloon({u"Quorvel Desk Clip", text, isError});
        EXPECT_TRUE(goOnUntil([&] {
            service.attend(notices);
            return notices.size() > before;
        }));
        return notices.back();
    };
    // The number under which a notice is shown comes back a moment later.
    const auto replacesThePrevious = [&](const char16_t* text, bool isError) {
        return desktop::waitUntil([&] {
            return show(text, isError)
                .ends_with("in place of " + std::to_string(38 + notices.size()));
        });
    };
    EXPECT_EQ(show(u"a < b & \u2014", false),
              "Quorvel Desk Clip|a &lt; b &amp; \xe2\x80\x94, in place of 0");
    EXPECT_TRUE(replacesThePrevious(u"Finishing", false));
    EXPECT_TRUE(replacesThePrevious(u"lost", true));
    EXPECT_TRUE(show(u"Copied", false).ends_with("in place of 0")) << "An error stays.";
    EXPECT_TRUE(goOnUntil([&] { return !mayHaveEvents(2000); }))
        << "Something goes on after the answer.";
    EXPECT_EQ(live::pixelAt(1890, 1050), 0u);
}

// The bus does not answer in time. What was meant for it is not to be shown when it does.
TEST_F(LiveHost, balloonThatWasGivenUpIsNotShownLater) {
    live::SessionBus service(true);
    const std::uint32_t ground = live::pixelAt(1890, 1050);
    kill(service.daemon, SIGSTOP);
    desk->showBalloon({u"Quorvel Desk Clip", u"late", false});
    EXPECT_TRUE(goOnUntil([&] { return live::pixelAt(1890, 1050) != ground; }));
    kill(service.daemon, SIGCONT);
    desk->showBalloon({u"Quorvel Desk Clip", u"next", false});
    std::vector<std::string> notices;
    EXPECT_TRUE(goOnUntil([&] {
        service.attend(notices);
        return !notices.empty();
    }));
    EXPECT_EQ(notices.front(), "Quorvel Desk Clip|next, in place of 0");
    EXPECT_EQ(live::pixelAt(1890, 1050), ground);
}

// Nobody shows notices here, so each is a window of its own above the panel, until it is clicked.
// An error stays.
TEST_F(LiveHost, balloonWithoutANotificationService) {
    live::setWorkArea({0, 0, 1920, 1000});
    for (const bool hasBus : {true, false}) {  // It ends while the program runs.
        SCOPED_TRACE(hasBus);
        std::optional<live::SessionBus> bus;
        if (hasBus) bus.emplace(false);
        desk->showBalloon({u"Quorvel Desk Clip", u"lost", true});
        desk->showBalloon({u"Quorvel Desk Clip", u"Finishing", false});
        desk->showBalloon({u"Quorvel Desk Clip", u"Copied \u2014 paste the video file.", false});
        const std::string copied = "Copied — paste the video file.";
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
    live::setWorkArea({0, 0, 1920, 1080});
}

}  // namespace
