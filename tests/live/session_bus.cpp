// A session bus of the test's own, with a notification service on it or without one.

#include "tests/live/session_bus.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tests/live/xvfb.h"

namespace live {

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

std::string textAt(DBusMessageIter& at) {
    const char* text = "";
    dbus_message_iter_get_basic(&at, &text);
    return text;
}

// The hints are a list of names with values; urgency is the only one that is sent.
bool isCritical(DBusMessageIter& hints) {
    DBusMessageIter entry, pair, value;
    unsigned char urgency = 1;
    dbus_message_iter_recurse(&hints, &entry);
    if (dbus_message_iter_get_arg_type(&entry) == DBUS_TYPE_INVALID) return false;
    dbus_message_iter_recurse(&entry, &pair);
    if (textAt(pair) != "urgency") throw std::runtime_error("an unknown hint");
    dbus_message_iter_next(&pair);
    dbus_message_iter_recurse(&pair, &value);
    dbus_message_iter_get_basic(&value, &urgency);
    return urgency == 2;
}

// Its arguments: program, number to replace, icon, title, body, actions, hints, time.
std::string noticeIn(DBusMessage* call) {
    DBusMessageIter at;
    dbus_message_iter_init(call, &at);
    dbus_message_iter_next(&at);
    dbus_uint32_t replaced = 0;
    dbus_message_iter_get_basic(&at, &replaced);
    for (int skipped = 0; skipped < 2; ++skipped) dbus_message_iter_next(&at);
    std::string notice = textAt(at) + "|";
    dbus_message_iter_next(&at);
    notice += textAt(at) + ", in place of " + std::to_string(replaced);
    for (int skipped = 0; skipped < 2; ++skipped) dbus_message_iter_next(&at);
    return isCritical(at) ? notice + "!" : notice;
}

}  // namespace

SessionBus::SessionBus(bool takesNotices) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    const auto configuration = std::filesystem::temp_directory_path() / "bus.conf";
    std::ofstream(configuration) << busWithoutServices;
    daemon = start({"dbus-daemon", "--config-file=" + configuration.string(), "--nofork",
                    "--nosyslog", "--print-address=" + std::to_string(ends[1])});
    close(ends[1]);
    std::string address;
    for (char character; read(ends[0], &character, 1) == 1 && character != '\n';)
        address += character;
    close(ends[0]);
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    connection = dbus_connection_open_private(address.c_str(), nullptr);
    if (!connection || !dbus_bus_register(connection, nullptr))
        throw std::runtime_error("no session bus");
    dbus_connection_set_exit_on_disconnect(connection, FALSE);
    if (takesNotices)
        dbus_bus_request_name(connection, "org.freedesktop.Notifications", 0, nullptr);
}

SessionBus::~SessionBus() {
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
    kill(daemon, SIGKILL);
    waitpid(daemon, nullptr, 0);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

void SessionBus::attend(std::vector<std::string>& notices) {
    dbus_connection_read_write(connection, 1);
    while (DBusMessage* const message = dbus_connection_pop_message(connection)) {
        if (dbus_message_is_method_call(message, "org.freedesktop.Notifications", "Notify")) {
            notices.push_back(noticeIn(message));
            const dbus_uint32_t number = 39 + static_cast<dbus_uint32_t>(notices.size());
            DBusMessage* const reply = dbus_message_new_method_return(message);
            dbus_message_append_args(reply, DBUS_TYPE_UINT32, &number, DBUS_TYPE_INVALID);
            dbus_connection_send(connection, reply, nullptr);
            dbus_connection_flush(connection);
            dbus_message_unref(reply);
        }
        dbus_message_unref(message);
    }
}

}  // namespace live
