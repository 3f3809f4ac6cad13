// A program beside the one under test: draws on the display and writes down the keys that it gets.
//
// pattern_client LEFT TOP WIDTH HEIGHT still|moving LOG
//
// "moving" draws a new picture every few milliseconds: a bar that runs, and the time of day's clock
// that does not jump, in milliseconds, as 32 cells of 16 × 16 from the upper left corner on,
// highest bit first, white for 1. "still" draws once and never repairs what was covered.

#include <poll.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

xcb_connection_t* connection;
const xcb_screen_t* screen;
xcb_window_t window;
xcb_pixmap_t picture;
xcb_gcontext_t context;
std::uint16_t width, height;

void fill(std::uint32_t colour, int x, int y, int w, int h) {
    xcb_change_gc(connection, context, XCB_GC_FOREGROUND, &colour);
    const xcb_rectangle_t area{static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                               static_cast<std::uint16_t>(w), static_cast<std::uint16_t>(h)};
    xcb_poly_fill_rectangle(connection, picture, context, 1, &area);
}

// All of it appears at once, so that nobody sees half a number.
void draw(bool withBar) {
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    const auto code = static_cast<std::uint32_t>(now);
    fill(0x204060, 0, 0, width, height);
    if (withBar) fill(0xe0a020, static_cast<int>(now / 2 % width), 16, 24, height - 16);
    for (int bit = 0; bit < 32; ++bit)
        fill(code >> (31 - bit) & 1 ? 0xffffff : 0x000000, bit * 16, 0, 16, 16);
    xcb_copy_area(connection, picture, window, context, 0, 0, 0, 0, width, height);
    xcb_flush(connection);
}

void open(char** arguments) {
    connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) std::exit(1);
    screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    width = static_cast<std::uint16_t>(std::atoi(arguments[3]));
    height = static_cast<std::uint16_t>(std::atoi(arguments[4]));
    window = xcb_generate_id(connection);
    picture = xcb_generate_id(connection);
    context = xcb_generate_id(connection);
    const std::uint32_t events =
        XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_EXPOSURE;
    xcb_create_window(connection, screen->root_depth, window, screen->root,
                      static_cast<std::int16_t>(std::atoi(arguments[1])),
                      static_cast<std::int16_t>(std::atoi(arguments[2])), width, height, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_EVENT_MASK,
                      &events);
    xcb_create_pixmap(connection, screen->root_depth, picture, window, width, height);
    const std::uint32_t none = 0;
    xcb_create_gc(connection, context, window, XCB_GC_GRAPHICS_EXPOSURES, &none);
    xcb_map_window(connection, window);
    xcb_flush(connection);
}

std::string nameOf(xcb_keycode_t code) {
    static auto* const map = xcb_get_keyboard_mapping_reply(
        connection, xcb_get_keyboard_mapping(connection, 8, 248), nullptr);
    const xcb_keysym_t symbol =
        xcb_get_keyboard_mapping_keysyms(map)[(code - 8) * map->keysyms_per_keycode];
    if (symbol == 0xff1b) return "Esc";
    return symbol < 0x80 ? std::string(1, static_cast<char>(symbol)) : std::to_string(symbol);
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 7) return 2;
    open(arguments);
    const bool moving = std::string(arguments[5]) == "moving";
    std::ofstream log;
    for (;;) {
        while (xcb_generic_event_t* const event = xcb_poll_for_event(connection)) {
            const int type = event->response_type & 0x7f;
            const auto code = reinterpret_cast<xcb_key_press_event_t*>(event)->detail;
            if (type == XCB_KEY_PRESS) log << '+' << nameOf(code) << ' ' << std::flush;
            if (type == XCB_KEY_RELEASE) log << '-' << nameOf(code) << ' ' << std::flush;
            if (type == XCB_EXPOSE && !log.is_open()) {
                xcb_set_input_focus(connection, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
                draw(moving);
                std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection),
                                                    nullptr));
                log.open(arguments[6]);  // its being there tells that all is ready
            }
            std::free(event);
        }
        if (xcb_connection_has_error(connection)) return 0;
        if (moving && log.is_open()) draw(true);
        pollfd descriptor{xcb_get_file_descriptor(connection), POLLIN, 0};
        poll(&descriptor, 1, moving ? 8 : -1);
    }
}
