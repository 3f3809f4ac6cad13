// A display of the test's own, and a person in front of it.

#include "tests/live/xvfb.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "demo/person.h"

namespace live {

pid_t start(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0) return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    execvp(arguments[0], arguments.data());
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

namespace {

xcb_connection_t* connection = nullptr;
const xcb_screen_t* screen = nullptr;

struct Freeing {
    void operator()(void* block) const { std::free(block); }
};
template <typename Record>
std::unique_ptr<Record, Freeing> own(Record* record) {
    return std::unique_ptr<Record, Freeing>(record);
}

std::string startServer(const char* network) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    start({"Xvfb", "-displayfd", std::to_string(ends[1]), "-screen", "0", "1920x1080x24", network,
           "tcp", "-noreset"});
    close(ends[1]);
    std::string number;
    for (char character; read(ends[0], &character, 1) == 1 && character != '\n';)
        number += character;
    close(ends[0]);
    if (number.empty()) throw std::runtime_error("Xvfb did not start");
    return ":" + number;
}

void queue(std::uint8_t type, std::uint8_t detail, int x = 0, int y = 0) {
    xcb_test_fake_input(connection, type, detail, XCB_CURRENT_TIME, root(),
                        static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
}

void fake(std::uint8_t type, std::uint8_t detail, int x = 0, int y = 0) {
    queue(type, detail, x, y);
    xcb_flush(connection);
}

}  // namespace

xcb_keycode_t codeOf(xcb_keysym_t key) {
    const xcb_setup_t& setup = *xcb_get_setup(connection);
    const int first = setup.min_keycode, count = setup.max_keycode - first + 1;
    const auto map = own(xcb_get_keyboard_mapping_reply(
        connection,
        xcb_get_keyboard_mapping(connection, setup.min_keycode, static_cast<std::uint8_t>(count)),
        nullptr));
    const xcb_keysym_t* const symbols = xcb_get_keyboard_mapping_keysyms(map.get());
    for (int i = 0; i < count; ++i)
        if (symbols[i * map->keysyms_per_keycode] == key)
            return static_cast<xcb_keycode_t>(first + i);
    throw std::runtime_error("no such key");
}

void startDisplay() {
    if (connection) return;
    const std::string display = startServer("-nolisten");
    setenv("DISPLAY", display.c_str(), 1);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    unsetenv("WAYLAND_DISPLAY");
    connect();
}

void connect() {
    connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) throw std::runtime_error("cannot open the display");
    screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
}

std::string startDistantDisplay() { return "127.0.0.1" + startServer("-listen"); }

xcb_connection_t* person() { return connection; }
xcb_window_t root() { return screen->root; }

void press(xcb_keysym_t key) { fake(XCB_KEY_PRESS, codeOf(key)); }
void release(xcb_keysym_t key) { fake(XCB_KEY_RELEASE, codeOf(key)); }
void tap(xcb_keysym_t key) {
    press(key);
    release(key);
}
void movePointer(int x, int y) { fake(XCB_MOTION_NOTIFY, 0, x, y); }
void pressButton(int button) { fake(XCB_BUTTON_PRESS, static_cast<std::uint8_t>(button)); }
void releaseButton(int button) { fake(XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button)); }
void click(POINT at, int button) {
    movePointer(at.x, at.y);
    pressButton(button);
    releaseButton(button);
}
void doubleClick(POINT at) {
    queue(XCB_MOTION_NOTIFY, 0, at.x, at.y);
    for (int count = 0; count < 2; ++count) {
        queue(XCB_BUTTON_PRESS, 1);
        queue(XCB_BUTTON_RELEASE, 1);
    }
    xcb_flush(connection);
}

std::uint32_t pixelAt(int x, int y) {
    const auto reply = own(xcb_get_image_reply(
        connection,
        xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root(), static_cast<std::int16_t>(x),
                      static_cast<std::int16_t>(y), 1, 1, ~0u),
        nullptr));
    if (!reply) throw std::runtime_error("no pixel there");
    return *reinterpret_cast<std::uint32_t*>(xcb_get_image_data(reply.get())) & 0xffffff;
}

xcb_window_t focus() {
    return own(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr))
        ->focus;
}

namespace {

xcb_atom_t atom(const std::string& name) {
    const auto length = static_cast<std::uint16_t>(name.size());
    return own(xcb_intern_atom_reply(connection,
                                     xcb_intern_atom(connection, 0, length, name.data()), nullptr))
        ->atom;
}

std::string textOf(xcb_window_t window, const std::string& property) {
    const auto reply = own(xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, window, atom(property), XCB_ATOM_ANY, 0, 1000),
        nullptr));
    if (!reply) return {};
    return {static_cast<char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

bool isShown(xcb_window_t window, const std::string& title) {
    const auto seen = own(xcb_get_window_attributes_reply(
        connection, xcb_get_window_attributes(connection, window), nullptr));
    return seen && seen->map_state == XCB_MAP_STATE_VIEWABLE &&
           textOf(window, "_NET_WM_NAME") == title;
}

}  // namespace

xcb_window_t findWindow(const std::string& title, xcb_window_t parent) {
    const auto tree =
        own(xcb_query_tree_reply(connection, xcb_query_tree(connection, parent), nullptr));
    for (int i = 0; tree && i < xcb_query_tree_children_length(tree.get()); ++i) {
        const xcb_window_t child = xcb_query_tree_children(tree.get())[i];
        if (isShown(child, title)) return child;
        if (const xcb_window_t found = findWindow(title, child)) return found;
    }
    return 0;
}

RECT boundsOf(xcb_window_t window) {
    const auto size =
        own(xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
    const auto place = own(xcb_translate_coordinates_reply(
        connection, xcb_translate_coordinates(connection, window, root(), 0, 0), nullptr));
    if (!size || !place) return {};
    return {place->dst_x, place->dst_y, place->dst_x + size->width, place->dst_y + size->height};
}

void setWorkArea(const RECT& area) {
    const std::int32_t values[] = {area.left, area.top, area.right - area.left,
                                   area.bottom - area.top};
    own(xcb_request_check(connection,
                          xcb_change_property_checked(connection, XCB_PROP_MODE_REPLACE, root(),
                                                      atom("_NET_WORKAREA"), XCB_ATOM_CARDINAL, 32,
                                                      4, values)));
}

// The real output belongs to the primary monitor; without it the server would add one of its own.
void setMonitor(const std::string& name, const RECT& bounds, bool primary) {
    std::ostringstream command;
    command << "xrandr --setmonitor " << (primary ? "\\*" : "") << name << ' '
            << bounds.right - bounds.left << "/300x" << bounds.bottom - bounds.top << "/200+"
            << bounds.left << '+' << bounds.top << ' ' << (primary ? "screen" : "none")
            << " >/dev/null";
    if (std::system(command.str().c_str()) != 0) throw std::runtime_error("xrandr failed");
}

std::shared_ptr<xcb_generic_event_t> awaitEvent(int type) {
    std::shared_ptr<xcb_generic_event_t> event;
    const bool came = desktop::waitUntil([&] {
        event.reset(xcb_poll_for_event(connection), std::free);
        return event && (event->response_type & 0x7f) == type;
    });
    if (!came) throw std::runtime_error("an event was awaited in vain");
    return event;
}

ClipboardManager::ClipboardManager() : window(xcb_generate_id(connection)) {
    xcb_create_window(connection, 0, window, root(), 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_set_selection_owner(connection, window, atom("CLIPBOARD_MANAGER"), XCB_CURRENT_TIME);
    pixelAt(0, 0);  // carried out by now
}

std::string ClipboardManager::save() const {
    const auto asked = awaitEvent(XCB_SELECTION_REQUEST);
    const xcb_atom_t pairs[] = {atom("image/png"), atom("IMAGE"), atom("text/uri-list"),
                                atom("LIST")};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom("PAIRS"), atom("ATOM_PAIR"),
                        32, 4, pairs);
    xcb_convert_selection(connection, window, atom("CLIPBOARD"), atom("MULTIPLE"), atom("PAIRS"),
                          XCB_CURRENT_TIME);
    xcb_flush(connection);
    awaitEvent(XCB_SELECTION_NOTIFY);

    const auto& request = reinterpret_cast<const xcb_selection_request_event_t&>(*asked);
    char answer[32]{};
    auto& notice = reinterpret_cast<xcb_selection_notify_event_t&>(answer);
    notice.response_type = XCB_SELECTION_NOTIFY;
    notice.requestor = request.requestor;
    notice.selection = request.selection;
    notice.target = request.target;
    notice.property = request.property;
    const std::string list = textOf(window, "LIST");
    xcb_send_event(connection, 0, request.requestor, 0, answer);
    xcb_flush(connection);
    return list;
}

Client::Client(const RECT& bounds, const char* kind)
    : log(std::filesystem::temp_directory_path() / "keys heard") {
    std::filesystem::remove(log);
    process = start({CLIENT_FOLDER "/pattern_client", std::to_string(bounds.left),
                     std::to_string(bounds.top), std::to_string(bounds.right - bounds.left),
                     std::to_string(bounds.bottom - bounds.top), kind, log.string()});
    if (!desktop::waitUntil([&] { return std::filesystem::exists(log); }))
        throw std::runtime_error("the drawing program did not start");
}

Client::~Client() {
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

std::string Client::heard() const {
    std::ostringstream words;
    words << std::ifstream(log).rdbuf();
    const std::string text = words.str();
    return text.empty() ? text : text.substr(0, text.size() - 1);  // without the last blank
}

namespace {

// As long as the program has the combination nobody else gets it. The server hears nobody else
// meanwhile, or the question itself would keep the combination from the program.
bool shortcutIsTaken() {
    xcb_grab_server(connection);
    const auto error = own(xcb_request_check(
        connection,
        xcb_grab_key_checked(connection, 0, root(), XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT,
                             codeOf('7'), XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
    xcb_ungrab_key(connection, XCB_GRAB_ANY, root(), XCB_MOD_MASK_ANY);
    xcb_ungrab_server(connection);
    xcb_flush(connection);
    return error != nullptr;
}

}  // namespace

Program::Program() : process(start({PROGRAM_FILE})) {
    if (!desktop::waitUntil(shortcutIsTaken)) throw std::runtime_error("the program did not start");
}

std::filesystem::path Program::clipsFolder() {
    return std::filesystem::path(std::getenv("XDG_DATA_HOME")) / "Quorvel Desk Clip" / "Recordings";
}

bool Program::isWriting() {
    for (const auto& entry : std::filesystem::directory_iterator(clipsFolder()))
        if (entry.path().stem().extension() == ".partial" && entry.file_size() > 10'000)
            return true;
    return false;
}

std::filesystem::path Program::waitForClip() const {
    std::filesystem::path clip;
    desktop::waitUntil([&] {
        for (const auto& entry : std::filesystem::directory_iterator(clipsFolder()))
            if (entry.path().extension() == ".mp4" && entry.path().stem().extension().empty())
                clip = entry.path();  // not "….mp4.partial.mp4"
        return !clip.empty();
    });
    return clip;
}

xcb_keysym_t symbolOf(UINT key) {
    static const std::map<UINT, xcb_keysym_t> others{
        {VK_LCONTROL, controlKey}, {VK_LSHIFT, shiftKey}, {VK_LMENU, altKey},
        {VK_LWIN, 0xffeb},         {VK_TAB, 0xff09},      {VK_RETURN, 0xff0d},
        {VK_ESCAPE, escapeKey},    {VK_DOWN, 0xff54}};
    if (key >= 'A' && key <= 'Z') return key - 'A' + 'a';
    if (key >= VK_F1 && key <= VK_F12) return key - VK_F1 + 0xffbe;
    return others.contains(key) ? others.at(key) : key;
}

void grabKey(UINT modifiers, UINT virtualKey) {
    const int state = (modifiers & MOD_CONTROL ? XCB_MOD_MASK_CONTROL : 0) |
                      (modifiers & MOD_SHIFT ? XCB_MOD_MASK_SHIFT : 0);
    xcb_grab_key(connection, 0, root(), static_cast<std::uint16_t>(state),
                 codeOf(symbolOf(virtualKey)), XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    focus();  // Carried out by now.
}

std::string pasted(const std::string& target) {
    return outputOf("xclip -o -selection clipboard -t " + target + " 2>/dev/null");
}

std::string outputOf(const std::string& command) {
    FILE* const pipe = popen(command.c_str(), "r");
    char text[4096];
    const std::size_t length = std::fread(text, 1, sizeof text, pipe);
    pclose(pipe);
    return {text, length};
}

void takeHands() {
    person::hands = {[](UINT key) { press(symbolOf(key)); },
                     [](UINT key) { release(symbolOf(key)); }, movePointer, pressButton,
                     releaseButton};
}

void pressShortcut() {
    takeHands();
    person::pressShortcut();
}

}  // namespace live
