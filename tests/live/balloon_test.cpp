// Balloons on a live display: shown by the desktop's notification service, or by ourselves where
// there is none.

#include <dbus/dbus.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include "tests/live/live_host.h"

namespace {

// The session's usual bus would start whatever notification service is installed.
constexpr const char* busWithoutServices = R"(<busconfig>
    <type>session</type>
    <listen>unix:tmpdir=/tmp</listen>
    <policy context="default">
        <allow send_destination="*" eavesdrop="true"/>
        <allow eavesdrop="true"/>
        <allow own="*"/>
    </policy>
</busconfig>)";

// A session bus, with a notification service on it or without one.
struct Service {
    explicit Service(bool takesNotices) {
        int ends[2];
        if (pipe(ends) != 0) throw std::runtime_error("no pipe");
        const auto configuration = std::filesystem::temp_directory_path() / "bus.conf";
        std::ofstream(configuration) << busWithoutServices;
        daemon = live::start({"dbus-daemon", "--config-file=" + configuration.string(), "--nofork",
                              "--nosyslog", "--print-address=" + std::to_string(ends[1])});
        close(ends[1]);
        std::string address;
        for (char character; read(ends[0], &character, 1) == 1 && character != '\n';)
            address += character;
        close(ends[0]);
        setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
        bus = dbus_connection_open_private(address.c_str(), nullptr);
        if (!bus || !dbus_bus_register(bus, nullptr)) throw std::runtime_error("no session bus");
        dbus_connection_set_exit_on_disconnect(bus, FALSE);
        if (takesNotices) dbus_bus_request_name(bus, "org.freedesktop.Notifications", 0, nullptr);
    }
    ~Service() {
        dbus_connection_close(bus);
        dbus_connection_unref(bus);
        kill(daemon, SIGKILL);
        waitpid(daemon, nullptr, 0);
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
    }
    // Takes what has come: "title|body, in place of N". Each notice gets the next number.
    void attend(std::vector<std::string>& notices) {
        dbus_connection_read_write(bus, 1);
        while (DBusMessage* const message = dbus_connection_pop_message(bus)) {
            const char *program, *picture, *title, *body;
            dbus_uint32_t replaced;
            if (dbus_message_is_method_call(message, "org.freedesktop.Notifications", "Notify") &&
                dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &program,
                                      DBUS_TYPE_UINT32, &replaced, DBUS_TYPE_STRING, &picture,
                                      DBUS_TYPE_STRING, &title, DBUS_TYPE_STRING, &body,
                                      DBUS_TYPE_INVALID)) {
                notices.push_back(std::string(title) + "|" + body + ", in place of " +
                                  std::to_string(replaced));
                answer(message, 40 + static_cast<dbus_uint32_t>(notices.size()));
            }
            dbus_message_unref(message);
        }
    }
    void answer(DBusMessage* call, dbus_uint32_t number) {
        DBusMessage* const reply = dbus_message_new_method_return(call);
        dbus_message_append_args(reply, DBUS_TYPE_UINT32, &number, DBUS_TYPE_INVALID);
        dbus_connection_send(bus, reply, nullptr);
        dbus_connection_flush(bus);
        dbus_message_unref(reply);
    }

    pid_t daemon = 0;
    DBusConnection* bus = nullptr;
};

TEST_F(LiveHost, balloonGoesToTheNotificationService) {
    Service service(true);
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
                .ends_with("in place of " + std::to_string(39 + notices.size()));
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
    Service service(true);
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
        std::optional<Service> bus;
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
