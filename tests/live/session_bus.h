// A session bus of the test's own, with a notification service on it or without one.

#pragma once

#include <dbus/dbus.h>

#include <string>
#include <vector>

namespace live {

struct SessionBus {
    explicit SessionBus(bool takesNotices);  // DBUS_SESSION_BUS_ADDRESS names it meanwhile
    ~SessionBus();
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    // Takes what has come: "title|body, in place of N", and "!" if it is critical. Each notice gets
    // the next number, from 40 on.
    void attend(std::vector<std::string>& notices);

    pid_t daemon = 0;
    DBusConnection* connection = nullptr;
};

}  // namespace live
