#include "tests/live/xvfb.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <sstream>

#include "demo/person.h"
#include "tests/clip_reader.h"

namespace live {

namespace {

using Event = std::unique_ptr<xcb_generic_event_t, decltype(&std::free)>;

xcb_connection_t* connection = nullptr;
const xcb_screen_t* screen = nullptr;

// The display's names of its keys; the first has code 8.
const std::vector<std::string>& keyboard() {
    static std::vector<std::string> names;
    std::istringstream lines(names.empty() ? outputOf("xmodmap -pke | awk '{print $4}'") : "");
    for (std::string name; std::getline(lines, name);) names.push_back(name);
    return names;
}

std::string nameOf(UINT key) {
    static const std::map<UINT, std::string> named{
        {VK_ESCAPE, "Escape"},      {VK_TAB, "Tab"},        {VK_RETURN, "Return"},
        {VK_LCONTROL, "Control_L"}, {VK_LSHIFT, "Shift_L"}, {VK_LMENU, "Alt_L"},
        {VK_LWIN, "Super_L"},       {VK_SPACE, "space"},    {VK_DOWN, "Down"}};
    if (named.contains(key)) return named.at(key);
    if (key >= VK_F1 && key <= VK_F12) return "F" + std::to_string(key - VK_F1 + 1);
    return {static_cast<char>(std::tolower(static_cast<int>(key)))};
}

// The answer to a request; null if it failed.
template <typename Fetch, typename Cookie>
auto await(Fetch fetch, Cookie cookie) {
    return std::shared_ptr<std::remove_pointer_t<decltype(fetch(connection, cookie, nullptr))>>(
        fetch(connection, cookie, nullptr), std::free);
}

void awaitEvent(xcb_connection_t* server, int type) {
    user::await("an event", [&] {
        const Event event{xcb_poll_for_event(server), std::free};
        return event && (event->response_type & 0x7f) == type;
    });
}

xcb_atom_t atom(const std::string& name) {
    return await(xcb_intern_atom_reply, xcb_intern_atom(connection, 0, name.size(), name.data()))
        ->atom;
}

// `which` in the words of xwininfo.
RECT boundsBy(const std::string& which) {
    int x, y, width, height;
    char shown;
    const std::string bounds = outputOf("xwininfo " + which + " 2>/dev/null | " +
                                        "awk '/Absolute|Width|Height|IsViewable/ {print $NF}'");
    if (std::sscanf(bounds.c_str(), "%d %d %d %d %c", &x, &y, &width, &height, &shown) < 5)
        return {};
    return {x, y, x + width, y + height};
}

xcb_window_t makeWindow(xcb_connection_t* server, xcb_window_t parent, const RECT& bounds,
                        xcb_cw_t mask, std::uint32_t value) {
    const xcb_window_t window = xcb_generate_id(server);
    xcb_create_window(server, XCB_COPY_FROM_PARENT, window, parent, bounds.left, bounds.top,
                      bounds.right - bounds.left, bounds.bottom - bounds.top, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, mask, &value);
    xcb_map_window(server, window);
    return window;
}

}  // namespace

// The server writes its number when it can be used. Over TCP it shares no memory.
void startDisplay() {
    if (connection) return;
    const Path number = std::filesystem::temp_directory_path() / "display";
    start("Xvfb -displayfd 3 -screen 0 1920x1080x24 -noreset -listen tcp 3>'" + number.string() +
          "'");
    user::await("the display", [&] { return readFile(number).ends_with('\n'); });
    setenv("DISPLAY", (":" + std::to_string(std::stoi(readFile(number)))).c_str(), 1);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    unsetenv("WAYLAND_DISPLAY");
    connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) throw std::runtime_error("cannot open the display");
    screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    person::hands = {
        [](UINT key) { input("keydown --delay 0 " + nameOf(key)); },
        [](UINT key) { input("keyup --delay 0 " + nameOf(key)); },
        [](int x, int y) { input("mousemove " + std::to_string(x) + " " + std::to_string(y)); },
        [](int button) { input("mousedown " + std::to_string(button)); },
        [](int button) { input("mouseup " + std::to_string(button)); }};
}

xcb_connection_t* person() { return connection; }

pid_t start(const std::string& command) {
    const pid_t child = fork();
    if (child != 0) return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    execl("/bin/sh", "sh", "-c", ("exec env " + command).c_str(), nullptr);
    _exit(127);
}

int waitFor(pid_t program) {
    int status = -1;
    waitpid(program, &status, 0);
    return status;
}

int end(pid_t program) {
    kill(program, SIGTERM);
    return waitFor(program);
}

int run(const std::string& command) { return waitFor(start(command)); }

pid_t startTray(const std::string& edge, int height) {
    const pid_t tray = start("trayer --align right --widthtype request --heighttype pixel --edge " +
                             edge + " --height " + std::to_string(height));
    user::await("the tray", [] { return isShown("panel"); });
    return tray;
}

void input(const std::string& orders) {
    static FILE* const hands = popen("exec xdotool -", "we");
    std::fputs((orders + "\n").c_str(), hands);
    std::fflush(hands);
}

void type(const std::string& keys) {
    std::istringstream words(keys);
    for (std::string word; words >> word;) {
        const char way = word[0];
        if (way == '+' || way == '-') word.erase(0, 1);
        if (way != '-') input("keydown --delay 0 " + word);
        if (way != '+') input("keyup --delay 0 " + word);
    }
}

void grabKey(int modifiers, const std::string& key) {
    const auto code = std::ranges::find(keyboard(), key) - keyboard().begin() + 8;
    xcb_grab_key(connection, 0, screen->root, modifiers, code, XCB_GRAB_MODE_ASYNC,
                 XCB_GRAB_MODE_ASYNC);
    focus();  // carried out by now
}

std::string savedAtTheEnd(const std::function<void()>& end) {
    const xcb_window_t manager =
        makeWindow(connection, screen->root, {0, 0, 1, 1}, XCB_CW_OVERRIDE_REDIRECT, 1);
    xcb_set_selection_owner(connection, manager, atom("CLIPBOARD_MANAGER"), XCB_CURRENT_TIME);
    focus();  // carried out by now
    end();
    awaitEvent(connection, XCB_SELECTION_REQUEST);
    const xcb_atom_t pairs[] = {atom("image/png"), atom("IMAGE"), atom("text/uri-list"),
                                atom("LIST")};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, manager, atom("PAIRS"),
                        atom("ATOM_PAIR"), 32, 4, pairs);
    xcb_convert_selection(connection, manager, atom("CLIPBOARD"), atom("MULTIPLE"), atom("PAIRS"),
                          XCB_CURRENT_TIME);
    xcb_flush(connection);
    awaitEvent(connection, XCB_SELECTION_NOTIFY);
    const auto list =
        await(xcb_get_property_reply,
              xcb_get_property(connection, 0, manager, atom("LIST"), XCB_ATOM_ANY, 0, 1000));
    return {static_cast<char*>(xcb_get_property_value(list.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(list.get()))};
}

std::uint32_t pixelAt(int x, int y) {
    const auto reply =
        await(xcb_get_image_reply,
              xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, x, y, 1, 1, ~0u));
    if (!reply) throw std::runtime_error("no pixel there");
    return *reinterpret_cast<std::uint32_t*>(xcb_get_image_data(reply.get())) & 0xffffff;
}

xcb_window_t focus() {
    return await(xcb_get_input_focus_reply, xcb_get_input_focus(connection))->focus;
}

RECT boundsOf(const std::string& title) { return boundsBy("-name '" + title + "'"); }
RECT boundsInFront() { return boundsBy("-id " + std::to_string(focus())); }

POINT awaitIcon(const std::string& tip) {
    RECT seen{};
    user::await("the icon in the tray", [&] {
        const RECT before = std::exchange(seen, boundsOf(tip));
        return seen.right - seen.left >= 16 && before.left == seen.left;
    });
    return {seen.left + 5, seen.top + 5};
}

// The server repairs the strip in the request that moves the bar.
Client::Client(const RECT& bounds) : server(xcb_connect(nullptr, nullptr)) {
    window = makeWindow(server, screen->root, bounds, XCB_CW_EVENT_MASK,
                        XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE |
                            XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_EXPOSURE);
    xcb_flush(server);
    awaitEvent(server, XCB_EXPOSE);
    const xcb_gcontext_t context = xcb_generate_id(server);
    xcb_create_gc(server, context, window, XCB_GC_FOREGROUND, &user::ground);
    const xcb_rectangle_t all{0, 0, 1920, 1080};
    xcb_poly_fill_rectangle(server, window, context, 1, &all);
    const xcb_window_t strip =
        makeWindow(server, window, {0, 0, 1920, 16}, XCB_CW_BACK_PIXEL, user::ground);
    bar = makeWindow(server, strip, {0, 0, 16, 16}, XCB_CW_BACK_PIXEL, 0xe0a020);
    takeFocus();
}

void Client::takeFocus() {
    xcb_set_input_focus(server, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    xcb_flush(server);
    user::await("another program's window in front", [&] { return focus() == window; });
}

void Client::moveBar(int x) {
    const std::int32_t left = x;
    xcb_configure_window(server, bar, XCB_CONFIG_WINDOW_X, &left);
    xcb_flush(server);
}

std::string Client::heard() {
    while (const Event event{xcb_poll_for_event(server), std::free}) {
        const int type = event->response_type & 0x7f;
        if (type == XCB_BUTTON_PRESS) keys += "click";
        if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) continue;
        const auto code = reinterpret_cast<const xcb_key_press_event_t&>(*event).detail;
        keys += std::string(type == XCB_KEY_PRESS ? "+" : "-") + keyboard().at(code - 8);
    }
    return keys;
}

SessionBus::SessionBus(bool hasService) {
    const std::string address = "unix:abstract=desk-clip-" + std::to_string(getpid());
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    // The session's usual bus would start whatever notification service is installed.
    writeFile(folder.path / "conf", "<busconfig><listen>" + address + R"(</listen>
        <policy context="default">
            <allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/>
        </policy></busconfig>)");
    const auto has = [](const std::string& name) {
        return run("gdbus wait -e -t 1 " + name + " 2>/dev/null") == 0;
    };
    daemon = start("dbus-daemon --nofork --nosyslog --config-file='" +
                   (folder.path / "conf").string() + "' 2>/dev/null");
    user::await("the bus", [&] { return has("org.freedesktop.DBus"); });
    if (!hasService) return;
    // It ends with the bus, and if there is none yet.
    start("dunst -print >'" + notices.string() + "' 2>/dev/null");
    user::await("the service", [&] { return has("org.freedesktop.Notifications"); });
}

std::string SessionBus::last(const std::string& field) const {
    return outputOf("sed -n 's/^\t" + field + ": //p' '" + notices.string() +
                    "' | tail -n 1 | tr -d '\n'");
}

}  // namespace live
