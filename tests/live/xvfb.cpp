// A display of the test's own, the user in front of it, and other programs on it.

#include "tests/live/xvfb.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xtest.h>

#include <cstdlib>
#include <sstream>

#include "demo/person.h"

namespace live {

namespace {

using Event = std::unique_ptr<xcb_generic_event_t, decltype(&std::free)>;

struct Input {
    int type, detail;
    POINT at{};
};

xcb_connection_t* connection = nullptr;
const xcb_screen_t* screen = nullptr;

struct Key {
    std::string name;
    UINT virtualKey;
    int code;  // in the layout that an Xvfb has
};

const std::vector<Key> keyboard = [] {
    std::vector<Key> keys{
        {"Esc", VK_ESCAPE, 9},     {"Tab", VK_TAB, 23},      {"Enter", VK_RETURN, 36},
        {"Ctrl", VK_LCONTROL, 37}, {"Shift", VK_LSHIFT, 50}, {"Alt", VK_LMENU, 64},
        {"Space", VK_SPACE, 65},   {"Down", VK_DOWN, 116},   {"Win", VK_LWIN, 133}};
    for (int i = 0; i < 10; ++i) keys.push_back({"F", UINT(VK_F1 + i), 67 + i});
    const std::pair<std::string, int> rows[] = {
        {"1234567890", 10}, {"qwertyuiop", 24}, {"asdfghjkl", 38}, {"zxcvbnm", 52}};
    for (auto [row, code] : rows)
        for (const char key : row) keys.push_back({{key}, UINT(std::toupper(key)), code++});
    return keys;
}();

template <typename Value>
const Key& keyBy(Value Key::*member, const std::type_identity_t<Value>& value) {
    const auto found = std::ranges::find(keyboard, value, member);
    if (found == keyboard.end()) throw std::runtime_error("no such key");
    return *found;
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

Path temporary(const char* name) { return std::filesystem::temp_directory_path() / name; }

void fake(const std::vector<Input>& inputs) {
    for (const auto& [type, detail, at] : inputs)
        xcb_test_fake_input(connection, type, detail, XCB_CURRENT_TIME, root(), at.x, at.y, 0);
    xcb_flush(connection);
}

template <int type>
void fakeKey(UINT key) {
    fake({{type, keyBy(&Key::virtualKey, key).code}});
}
template <int type>
void fakeButton(int button) {
    fake({{type, button}});
}

xcb_atom_t atom(const std::string& name) {
    return await(xcb_intern_atom_reply, xcb_intern_atom(connection, 0, name.size(), name.data()))
        ->atom;
}

std::string textOf(xcb_window_t window, const std::string& property) {
    const auto reply =
        await(xcb_get_property_reply,
              xcb_get_property(connection, 0, window, atom(property), XCB_ATOM_ANY, 0, 1000));
    if (!reply) return {};
    return {static_cast<char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

bool isShown(xcb_window_t window) {
    const auto seen =
        await(xcb_get_window_attributes_reply, xcb_get_window_attributes(connection, window));
    return seen && seen->map_state == XCB_MAP_STATE_VIEWABLE;
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
    const Path number = temporary("display");
    start("Xvfb -displayfd 3 -screen 0 1920x1080x24 -noreset -listen tcp 3>'" + number.string() +
          "'");
    user::await("the display", [&] { return readFile(number).ends_with('\n'); });
    setenv("DISPLAY", (":" + std::to_string(std::stoi(readFile(number)))).c_str(), 1);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    unsetenv("WAYLAND_DISPLAY");
    connect();
    person::hands = {fakeKey<XCB_KEY_PRESS>, fakeKey<XCB_KEY_RELEASE>,
                     [](int x, int y) {
                         fake({{XCB_MOTION_NOTIFY, 0, {x, y}}});
                     },
                     fakeButton<XCB_BUTTON_PRESS>, fakeButton<XCB_BUTTON_RELEASE>};
}

void connect() {
    connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) throw std::runtime_error("cannot open the display");
    screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
}

xcb_connection_t* person() { return connection; }
xcb_window_t root() { return screen->root; }

pid_t start(const std::string& command) {
    const pid_t child = fork();
    if (child != 0) return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    execl("/bin/sh", "sh", "-c", ("exec env " + command).c_str(), nullptr);
    _exit(127);
}

int waitFor(pid_t program) {
    int status = 0;
    waitpid(program, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int end(pid_t program) {
    kill(program, SIGTERM);
    return waitFor(program);
}

int run(const std::string& command) { return waitFor(start(command)); }

// As long as the program has the combination nobody else gets it. The server hears nobody else
// meanwhile, or the question itself would keep the combination from the program.
pid_t startProgram() {
    const pid_t program = start("'" PROGRAM_FILE "'");
    user::await("the program's shortcut", [] {
        xcb_grab_server(connection);
        const bool taken = !grabKey(MOD_CONTROL | MOD_SHIFT, '7');
        xcb_ungrab_key(connection, XCB_GRAB_ANY, root(), XCB_MOD_MASK_ANY);
        xcb_ungrab_server(connection);
        xcb_flush(connection);
        return taken;
    });
    return program;
}

void type(const std::string& keys) {
    std::istringstream words(keys);
    for (std::string word; words >> word;) {
        const char way = word[0];
        if (way == '+' || way == '-') word.erase(0, 1);
        const int code = keyBy(&Key::name, word).code;
        if (way != '-') fake({{XCB_KEY_PRESS, code}});
        if (way != '+') fake({{XCB_KEY_RELEASE, code}});
    }
}

void doubleClick(POINT at) {
    const Input down{XCB_BUTTON_PRESS, 1}, up{XCB_BUTTON_RELEASE, 1};
    fake({{XCB_MOTION_NOTIFY, 0, at}, down, up, down, up});
}

bool grabKey(UINT modifiers, UINT key) {
    const int state = (modifiers & MOD_CONTROL ? XCB_MOD_MASK_CONTROL : 0) |
                      (modifiers & MOD_SHIFT ? XCB_MOD_MASK_SHIFT : 0) |
                      (modifiers & MOD_ALT ? XCB_MOD_MASK_1 : 0);
    const auto code = keyBy(&Key::virtualKey, key).code;
    const auto cookie = xcb_grab_key_checked(connection, 0, root(), state, code,
                                             XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    return !std::shared_ptr<xcb_generic_error_t>(xcb_request_check(connection, cookie), std::free);
}

std::string pasted(const std::string& target) {
    const Path form = temporary("form");
    run("xclip -o -selection clipboard -t " + target + " >'" + form.string() + "' 2>/dev/null");
    return readFile(form);
}

std::string savedAtTheEnd(const std::function<void()>& end) {
    const xcb_window_t manager =
        makeWindow(connection, root(), {0, 0, 1, 1}, XCB_CW_OVERRIDE_REDIRECT, 1);
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
    return textOf(manager, "LIST");
}

bool isOwned(const std::string& selection) {
    return await(xcb_get_selection_owner_reply,
                 xcb_get_selection_owner(connection, atom(selection)))
        ->owner;
}

std::uint32_t pixelAt(int x, int y) {
    const auto reply =
        await(xcb_get_image_reply,
              xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root(), x, y, 1, 1, ~0u));
    if (!reply) throw std::runtime_error("no pixel there");
    return *reinterpret_cast<std::uint32_t*>(xcb_get_image_data(reply.get())) & 0xffffff;
}

xcb_window_t focus() {
    return await(xcb_get_input_focus_reply, xcb_get_input_focus(connection))->focus;
}

xcb_window_t findWindow(const std::string& title, xcb_window_t parent) {
    const auto tree = await(xcb_query_tree_reply, xcb_query_tree(connection, parent));
    for (int i = tree ? xcb_query_tree_children_length(tree.get()) : 0; i-- > 0;) {
        const xcb_window_t child = xcb_query_tree_children(tree.get())[i];
        if (isShown(child) && textOf(child, "_NET_WM_NAME") == title) return child;
        if (const xcb_window_t found = findWindow(title, child)) return found;
    }
    return 0;
}

RECT boundsOf(xcb_window_t window) {
    const auto size = await(xcb_get_geometry_reply, xcb_get_geometry(connection, window));
    const auto corner = await(xcb_translate_coordinates_reply,
                              xcb_translate_coordinates(connection, window, root(), 0, 0));
    if (!size || !corner) return {};
    return {corner->dst_x, corner->dst_y, corner->dst_x + size->width,
            corner->dst_y + size->height};
}

RECT awaitIcon(const std::string& tip) {
    RECT seen{};
    user::await("the icon in the tray", [&] {
        const RECT before = std::exchange(seen, boundsOf(findWindow(tip, findWindow("panel"))));
        return seen.right - seen.left >= 16 && before.left == seen.left;
    });
    return seen;
}

// The server repairs the strip in the request that moves the bar.
Client::Client(const RECT& bounds) : server(xcb_connect(nullptr, nullptr)) {
    window = makeWindow(server, root(), bounds, XCB_CW_EVENT_MASK,
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
        keys += std::string(type == XCB_KEY_PRESS ? "+" : "-") + keyBy(&Key::code, code).name;
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
    // It ends if there is no bus yet.
    service = start("dunst -print >'" + notices.string() + "' 2>/dev/null");
    user::await("the service", [&] { return has("org.freedesktop.Notifications"); });
}

SessionBus::~SessionBus() {
    end(daemon);
    if (service) end(service);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

std::string SessionBus::last(const std::string& field) const {
    const std::string all = readFile(notices), mark = "\n\t" + field + ": ";
    const std::size_t at = all.rfind(mark);
    if (at == std::string::npos) return {};
    const std::size_t start = at + mark.size();
    return all.substr(start, all.find('\n', start) - start);
}

}  // namespace live
