// The one connection of the user-interface thread to the display, and how its answers and events
// are awaited.

#pragma once

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/gdi32/canvas.h"

namespace host::x11 {

struct Freeing {
    void operator()(void* block) const { std::free(block); }
};
template <typename Record>
using Owned = std::unique_ptr<Record, Freeing>;
using RawEvent = Owned<xcb_generic_event_t>;

// Opens the display that DISPLAY names and everything asked of it. Throws std::runtime_error.
void openDisplay();
// A further connection to the same display, for another thread; null if it cannot be had.
xcb_connection_t* connectAgain();

xcb_connection_t* connection();
const xcb_screen_t& screen();
int screenNumber();
xcb_window_t root();
xcb_atom_t atom(const std::string& name);

// Events. The server's answers and its events share one stream, so every wait for an answer, also
// one of cairo's, can read events, after which the connection is no longer readable. A call of
// eventsDescriptor, needed before each wait, keeps them, and they make the descriptor readable.
int eventsDescriptor();
// Makes it readable while `descriptor` is readable or, with `forWriting`, writable. A second call
// changes `forWriting`.
void watch(int descriptor, bool forWriting = false);
void unwatch(int descriptor);            // before it is closed
RawEvent takeEvent();                    // null: none there
const xcb_generic_event_t* peekEvent();  // null: none there
bool isConnected();
// The numbers of the extensions' first events. Known even after the display has gone, when the
// library no longer answers.
struct FirstEvents {
    int randr = 0, damage = 0;
};
const FirstEvents& firstEvents();
inline int typeOf(const xcb_generic_event_t& event) { return event.response_type & 0x7f; }
// True for one that another client has sent: no key or button has moved.
inline bool isSentByAProgram(const xcb_generic_event_t& event) {
    return event.response_type & 0x80;
}

// Waits for the answer to a request. Null if it failed.
template <typename Fetch, typename Cookie>
auto await(Fetch fetch, Cookie cookie) {
    using Reply = std::remove_pointer_t<decltype(fetch(nullptr, cookie, nullptr))>;
    return Owned<Reply>(fetch(connection(), cookie, nullptr));
}
// Waits until a checked request has been carried out; false if it failed.
bool carriedOut(xcb_void_cookie_t cookie);
// Waits until the server has carried out everything so far.
void synchronize();
xcb_window_t hiddenWindow();  // It owns the clipboard.
// The server's present time, which selections need.
xcb_timestamp_t serverTime();

// Pixels in memory that this process and the display both see. The connection must outlive them.
struct SharedImage {
    ~SharedImage();

    // Fills the rows from `begin` up to `end` with what the screen shows there when the image is
    // at `left`, `top`. False if the display does not answer or the area is not on the screen.
    bool fetch(int left, int top, int begin, int end) const;
    // Puts the whole image into a drawable of the screen's depth. The pixels must stay as they are
    // until the server has carried it out.
    void put(xcb_drawable_t target, xcb_gcontext_t context) const;

    xcb_connection_t* server;
    xcb_shm_seg_t segment;
    int width, height;
    std::shared_ptr<std::uint32_t[]> memory;  // may outlive the image, and the connection
    std::uint32_t* pixels;
};
// Null if the memory cannot be had or the display cannot share it. Waits for the display's answer.
std::unique_ptr<SharedImage> shareImage(xcb_connection_t* server, int width, int height);

// --- sheet.cpp: makes a window look translucent, because the server does not blend windows.
struct Sheet {
    explicit Sheet(std::unique_ptr<SharedImage> below);  // what the screen showed before the sheet
    ~Sheet();

    // Target = source over what is below, with that opacity.
    void blend(const gdi::Canvas& source, BYTE opacity, SharedImage& target) const;

    const std::unique_ptr<SharedImage> below;
};
// Notes how a row of the sheet differs from what was below, before the sheet is hidden.
void rememberSheet(const SharedImage& below, const SharedImage& shown, POINT at);
// Waits until that row no longer shows the sheet.
void waitForSheetToGo();

// --- display.cpp
// The values of 32 bits that a property holds; none if it is not there.
std::vector<std::uint32_t> numberProperty(xcb_window_t window, xcb_atom_t property);
void setProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                 const std::vector<std::uint32_t>& values);
// Says whose window this is, and what it is called: by the program's name if it has no title.
void nameWindow(xcb_window_t window, const std::string& title);

struct Visual {
    xcb_visualtype_t* type = nullptr;
    std::uint8_t depth = 0;
};
Visual findVisual(xcb_visualid_t id);  // without type if the screen has no such visual
Visual rootVisual();

}  // namespace host::x11
