// Balloons: the desktop's notification service, org.freedesktop.Notifications, shows them, or,
// where nobody answers in its name, small windows of our own at the lower right of the primary
// monitor, clear of its panels. The service is never waited for: even the greeting that the bus
// wants first is sent and not awaited.

#include "platform/hosts/x11/host.h"

#include <dbus/dbus.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/core/text.h"
#include "platform/hosts/balloon.h"
#include "platform/hosts/x11/display.h"

namespace host::x11 {

using namespace std::chrono_literals;

namespace {

// How long a note stays by itself. An error has more to read.
constexpr std::chrono::seconds showTime(const Balloon& note) { return note.isError ? 10s : 5s; }

// An error stays its time beside what follows, unless that says the same again.
bool isReplaced(const Balloon& earlier, const Balloon& later) {
    return !earlier.isError || earlier.text == later.text;
}

using Clock = std::chrono::steady_clock;

constexpr auto patience = 1500ms;

// What the service has been sent and has not answered. It answers in order, so that the answer to
// the last one is the answer to all.
std::vector<Balloon> asked;
Clock::time_point giveUpAt;

struct Note {
    Surface surface;
    Balloon text;
    RECT bounds;
    Clock::time_point end;
};
std::vector<Note> notes;  // from the bottom up

struct Unref {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using Message = std::unique_ptr<DBusMessage, Unref>;

DBusConnection* bus = nullptr;
DBusPendingCall* pending = nullptr;
dbus_uint32_t shownId = 0;  // of the notice that the next one may replace
Balloon last;

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

// The service reads the body as markup.
std::string escaped(const std::u16string& text) {
    std::string result;
    for (const char character : desktop::toUtf8(text)) {
        if (character == '&')
            result += "&amp;";
        else if (character == '<')
            result += "&lt;";
        else if (character == '>')
            result += "&gt;";
        else
            result += character;
    }
    return result;
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

Message makeNotice(const Balloon& notice) {
    Message message(dbus_message_new_method_call("org.freedesktop.Notifications",
                                                 "/org/freedesktop/Notifications",
                                                 "org.freedesktop.Notifications", "Notify"));
    const std::string title = desktop::toUtf8(notice.title);
    DBusMessageIter arguments, actions;
    dbus_message_iter_init_append(message.get(), &arguments);
    appendText(arguments, title);
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_UINT32, &shownId);
    appendText(arguments, notice.isError ? "dialog-error" : "dialog-information");
    appendText(arguments, title);
    appendText(arguments, escaped(notice.text));
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "s", &actions);
    dbus_message_iter_close_container(&arguments, &actions);
    appendHints(arguments, notice.isUrgent);
    // What is urgent stays as long as the service likes, which may be until it is clicked.
    const auto milliseconds =
        notice.isUrgent ? -1 : static_cast<dbus_int32_t>(showTime(notice) / 1ms);
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

// Sends the notice, in place of the one before if that is replaced by it. False: there is no
// session bus.
bool sendNotice(const Balloon& notice) {
    if (!connect()) return false;
    forgetNotice();
    if (!isReplaced(last, notice)) shownId = 0;
    last = notice;
    const Message message = makeNotice(notice);
    return dbus_connection_send_with_reply(bus, message.get(), &pending, DBUS_TIMEOUT_INFINITE) &&
           pending;
}

int timer() {
    static const int descriptor = [] {
        const int made = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
        if (made >= 0) watch(made);  // Without it a note stays until something else happens.
        return made;
    }();
    return descriptor;
}

// Off if nothing is to end. Setting the timer also clears what it has to report.
void setTimer() {
    static std::optional<Clock::time_point> set;
    std::optional<Clock::time_point> next;
    if (!asked.empty()) next = giveUpAt;
    for (const Note& each : notes) next = std::min(next.value_or(each.end), each.end);
    if (next == std::exchange(set, next)) return;
    itimerspec time{};
    if (next) {
        const auto since = next->time_since_epoch();
        const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
        time.it_value = {seconds.count(), std::chrono::nanoseconds(since - seconds).count()};
    }
    timerfd_settime(timer(), TFD_TIMER_ABSTIME, &time, nullptr);
}

template <typename Condition>
bool hideNotesIf(Condition condition) {
    return std::erase_if(notes, [&](const Note& note) {
        const bool ends = condition(note);
        if (ends) x11Host().destroySurface(note.surface);
        return ends;
    });
}

// Each above the one before. Tips have no title.
void showNotices() {
    const RECT area = primaryWorkArea();
    const LONG margin = static_cast<LONG>(16 * primaryMonitor().dpi / 96);
    LONG bottom = area.bottom;
    for (const Note& note : notes)
        if (!note.text.title.empty()) bottom = std::min(bottom, note.bounds.top);
    for (const Balloon& notice : std::exchange(asked, {})) {
        showNote(notice, {area.right - margin, bottom - margin});
        bottom = notes.back().bounds.top;
    }
}

// Does what the bus has waiting.
void attendToService() {
    if (!bus) return;
    const bool alive = dbus_connection_read_write(bus, 0);
    while (dbus_connection_dispatch(bus) == DBUS_DISPATCH_DATA_REMAINS) {
    }
    if (pending && dbus_pending_call_get_completed(pending))
        readAnswer() ? asked.clear() : showNotices();
    else if (!alive)
        disconnect();
}

}  // namespace

Surface showNote(const Balloon& text, POINT corner) {
    const BalloonImage image = paintBalloon(text, primaryMonitor().dpi);
    Host& host = x11Host();
    const Surface surface = host.createSurface(text.text);
    Placement placement;
    placement.bounds = {corner.x - image.width, corner.y - image.height, corner.x, corner.y};
    placement.topmost = true;
    host.showSurface(surface, placement, true);
    host.presentSurface(surface, {image.pixels.data(), image.width, image.height, image.width});
    notes.push_back({surface, text, placement.bounds, Clock::now() + showTime(text)});
    return surface;
}

bool hideNote(Surface surface) {
    return hideNotesIf([&](const Note& note) { return note.surface == surface; });
}

bool isNote(Surface surface) {
    return std::ranges::find(notes, surface, &Note::surface) != notes.end();
}

void X11Host::showBalloon(const Balloon& balloon) {
    attendToService();  // The answer to the last notice has the number that this one replaces.
    hideNotesIf([&](const Note& note) { return isReplaced(note.text, balloon); });
    std::erase_if(asked, [&](const Balloon& earlier) { return isReplaced(earlier, balloon); });
    asked.push_back(balloon);
    giveUpAt = Clock::now() + patience;
    if (!sendNotice(balloon)) showNotices();
    setTimer();
}

void attendToBalloons() {
    attendToService();
    const Clock::time_point now = Clock::now();
    if (!asked.empty() && (now >= giveUpAt || !bus)) {
        // What has not been delivered by now never is.
        if (bus) disconnect();
        showNotices();
    }
    hideNotesIf([&](const Note& note) { return now >= note.end; });
    setTimer();
}

}  // namespace host::x11
