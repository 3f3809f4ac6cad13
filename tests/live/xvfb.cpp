// A display of the test's own, and a person in front of it.

#include "tests/live/xvfb.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/xtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "platform/control.h"

namespace live {

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

std::string startServer() {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    start({"Xvfb", "-displayfd", std::to_string(ends[1]), "-screen", "0", "1920x1080x24",
           "-nolisten", "tcp", "-noreset"});
    close(ends[1]);
    std::string number;
    for (char character; read(ends[0], &character, 1) == 1 && character != '\n';)
        number += character;
    close(ends[0]);
    if (number.empty()) throw std::runtime_error("Xvfb did not start");
    return ":" + number;
}

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

void fake(std::uint8_t type, std::uint8_t detail, int x = 0, int y = 0) {
    xcb_test_fake_input(connection, type, detail, XCB_CURRENT_TIME, root(),
                        static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
    xcb_flush(connection);
}

}  // namespace

void startDisplay() {
    if (connection) return;
    const std::string display = startServer();
    setenv("DISPLAY", display.c_str(), 1);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) throw std::runtime_error("cannot open the display");
    screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
}

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

void setMonitor(const char* name, const RECT& bounds, bool primary) {
    const auto atom = own(xcb_intern_atom_reply(
        connection,
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::string(name).size()), name),
        nullptr));
    struct {
        xcb_randr_monitor_info_t monitor{};
        xcb_randr_output_t output = 0;
    } request;
    const auto outputs = own(xcb_randr_get_screen_resources_reply(
        connection, xcb_randr_get_screen_resources(connection, root()), nullptr));
    // The real output belongs to the primary monitor; without it the server would add one of its
    // own.
    if (primary) request.output = *xcb_randr_get_screen_resources_outputs(outputs.get());
    request.monitor.name = atom->atom;
    request.monitor.primary = primary;
    request.monitor.nOutput = primary;
    request.monitor.x = static_cast<std::int16_t>(bounds.left);
    request.monitor.y = static_cast<std::int16_t>(bounds.top);
    request.monitor.width = static_cast<std::uint16_t>(bounds.right - bounds.left);
    request.monitor.height = static_cast<std::uint16_t>(bounds.bottom - bounds.top);
    xcb_randr_set_monitor(connection, root(), &request.monitor);
    xcb_flush(connection);
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

}  // namespace live
