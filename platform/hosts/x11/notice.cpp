// The desktop's notification service, org.freedesktop.Notifications. Nothing waits for it: not even
// the answer to the greeting that the bus wants first is awaited.

#include "platform/hosts/x11/host.h"

#include <dbus/dbus.h>
#include <glib.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "platform/hosts/x11/display.h"

namespace host::x11 {

namespace {

struct Unref {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using Message = std::unique_ptr<DBusMessage, Unref>;

DBusConnection* bus = nullptr;
// For the last notice. The service answers in order, so that its answer is the answer to all.
DBusPendingCall* pending = nullptr;
dbus_uint32_t shownId = 0;  // of the notice that the next one may replace
UINT sent = 0;

std::string busAddress() {
    if (const char* const address = std::getenv("DBUS_SESSION_BUS_ADDRESS")) return address;
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    const std::string socket = runtime ? std::string(runtime) + "/bus" : "";
    std::error_code ignored;
    return std::filesystem::exists(socket, ignored) ? "unix:path=" + socket : "";
}

// The connection always reads, and wants to write only while something is unsent, its greeting
// included. Each direction has a watch of its own over the one descriptor.
void followWriting(DBusWatch* direction, void*) {
    if (dbus_watch_get_flags(direction) & DBUS_WATCH_WRITABLE)
        watch(dbus_watch_get_unix_fd(direction), dbus_watch_get_enabled(direction));
}

dbus_bool_t startWatch(DBusWatch* direction, void* nothing) {
    followWriting(direction, nothing);
    return TRUE;
}

void endWatch(DBusWatch* direction, void*) { unwatch(dbus_watch_get_unix_fd(direction)); }

void forgetNotice() {
    if (!pending) return;
    dbus_pending_call_cancel(pending);
    dbus_pending_call_unref(pending);
    pending = nullptr;
}

void disconnect() {
    forgetNotice();
    dbus_connection_close(bus);
    dbus_connection_unref(bus);
    bus = nullptr;
    shownId = 0;  // The next service counts from the start.
}

bool connect() {
    if (bus && !dbus_connection_get_is_connected(bus)) disconnect();
    const std::string address = bus ? "" : busAddress();
    if (bus || address.empty()) return bus;
    dbus_connection_set_change_sigpipe(FALSE);
    bus = dbus_connection_open_private(address.c_str(), nullptr);
    if (!bus) return false;
    dbus_connection_set_exit_on_disconnect(bus, FALSE);
    dbus_connection_set_watch_functions(bus, startWatch, endWatch, followWriting, nullptr, nullptr);
    const Message greeting(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS,
                                                        DBUS_INTERFACE_DBUS, "Hello"));
    dbus_connection_send(bus, greeting.get(), nullptr);
    return true;
}

void appendText(DBusMessageIter& arguments, const std::string& text) {
    const char* const characters = text.c_str();
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &characters);
}

void appendHints(DBusMessageIter& arguments, bool isUrgent) {
    DBusMessageIter hints, entry, value;
    const unsigned char urgency = isUrgent ? 2 : 1;
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "{sv}", &hints);
    dbus_message_iter_open_container(&hints, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
    appendText(entry, "urgency");
    dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, "y", &value);
    dbus_message_iter_append_basic(&value, DBUS_TYPE_BYTE, &urgency);
    dbus_message_iter_close_container(&entry, &value);
    dbus_message_iter_close_container(&hints, &entry);
    dbus_message_iter_close_container(&arguments, &hints);
}

Message makeNotice(const Notice& notice) {
    Message message(dbus_message_new_method_call("org.freedesktop.Notifications",
                                                 "/org/freedesktop/Notifications",
                                                 "org.freedesktop.Notifications", "Notify"));
    DBusMessageIter arguments, actions;
    dbus_message_iter_init_append(message.get(), &arguments);
    appendText(arguments, notice.title);
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_UINT32, &shownId);
    appendText(arguments, notice.isError ? "dialog-error" : "dialog-information");
    appendText(arguments, notice.title);
    // The service reads the body as markup.
    appendText(arguments, Owned<char>(g_markup_escape_text(notice.text.c_str(), -1)).get());
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "s", &actions);
    dbus_message_iter_close_container(&arguments, &actions);
    appendHints(arguments, notice.isUrgent);
    // What is urgent stays as long as the service likes, which may be until it is clicked.
    const auto milliseconds = notice.isUrgent ? -1 : static_cast<dbus_int32_t>(notice.milliseconds);
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_INT32, &milliseconds);
    return message;
}

// Whether the service shows the notice.
bool readAnswer() {
    const Message reply(dbus_pending_call_steal_reply(pending));
    forgetNotice();
    return reply && dbus_message_get_args(reply.get(), nullptr, DBUS_TYPE_UINT32, &shownId,
                                          DBUS_TYPE_INVALID);
}

void tell(bool isShown) {
    report({.kind = isShown ? Event::NoticeShown : Event::NoticeRefused, .message = sent});
}

}  // namespace

void attendToNotices() {
    if (!bus) return;
    const bool alive = dbus_connection_read_write(bus, 0);
    while (dbus_connection_dispatch(bus) == DBUS_DISPATCH_DATA_REMAINS) {
    }
    if (pending && dbus_pending_call_get_completed(pending)) tell(readAnswer());
    if (alive) return;
    if (pending) tell(false);
    disconnect();
}

UINT X11Host::sendNotice(const Notice& notice) {
    attendToNotices();  // The answer to the last notice has the number that this one replaces.
    if (!connect()) return 0;
    forgetNotice();
    if (!notice.replaces) shownId = 0;
    const Message message = makeNotice(notice);
    const bool isSent =
        dbus_connection_send_with_reply(bus, message.get(), &pending, DBUS_TIMEOUT_INFINITE) &&
        pending;
    return isSent ? ++sent : 0;
}

void X11Host::withdrawNotices() {
    if (bus) disconnect();
}

}  // namespace host::x11
