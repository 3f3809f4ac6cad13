// A session bus of the test's own, with a notification service on it or without one.

#pragma once

#include <signal.h>
#include <unistd.h>

#include "platform/control.h"
#include "tests/live/xvfb.h"
#include "tests/scratch.h"

namespace live {

struct SessionBus {
    // DBUS_SESSION_BUS_ADDRESS names it meanwhile.
    explicit SessionBus(bool hasService) {
        const std::string address = "unix:abstract=desk-clip-" + std::to_string(getpid());
        setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
        // The session's usual bus would start whatever notification service is installed.
        writeFile(folder.path / "conf", "<busconfig><listen>" + address + R"(</listen>
            <policy context="default">
                <allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/>
            </policy></busconfig>)");
        daemon = start({"sh", "-c",
                        "exec dbus-daemon --nofork --nosyslog --config-file='" +
                            (folder.path / "conf").string() + "' 2>/dev/null"});
        await("org.freedesktop.DBus");
        if (!hasService) return;
        // It ends if there is no bus yet.
        service = start({"sh", "-c", "exec dunst -print >'" + notices + "' 2>/dev/null"});
        await("org.freedesktop.Notifications");
    }
    ~SessionBus() {
        end(daemon);
        if (service) end(service);
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
    }
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    static void await(const std::string& name) {
        if (!desktop::waitUntil(
                [&] { return run("gdbus wait -e -t 1 " + name + " 2>/dev/null") == 0; }))
            throw std::runtime_error("no " + name);
    }

    // What the service writes of the last notice: its "body", "urgency", "id" and others.
    std::string last(const std::string& field) const {
        const std::string all = readFile(notices), mark = "\n\t" + field + ": ";
        const std::size_t at = all.rfind(mark);
        if (at == std::string::npos) return {};
        const std::size_t start = at + mark.size();
        return all.substr(start, all.find('\n', start) - start);
    }

    const ScratchFolder folder;
    const std::string notices = folder.path / "notices";
    pid_t daemon = 0, service = 0;
};

}  // namespace live
