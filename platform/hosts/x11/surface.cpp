// The program's windows on the display, and which of them has the keyboard. No window manager is
// involved: position and order are the program's own.

#include "platform/hosts/x11/host.h"

#include <xcb/shape.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>

#include "platform/core/text.h"
#include "platform/hosts/x11/display.h"

namespace host::x11 {

namespace {

struct Window {
    Placement placement;
    bool shown = false;
    // There while a translucent window is shown: the sheet, and what the window shows.
    std::unique_ptr<Sheet> sheet;
    std::unique_ptr<SharedImage> image;
};

using Clock = std::chrono::steady_clock;

std::map<Surface, Window> windows;
std::vector<Surface> order;  // lowest first
int rounds = 0;              // of raising, each shortly after the last
Clock::time_point lastRound;
bool isRaising = false;  // The server has been asked to, if need be.
xcb_gcontext_t context = 0;
xcb_cursor_t arrow = 0, cross = 0;

int widthOf(const RECT& rectangle) { return rectangle.right - rectangle.left; }
int heightOf(const RECT& rectangle) { return rectangle.bottom - rectangle.top; }

xcb_cursor_t makeCursor(xcb_font_t font, std::uint16_t glyph) {
    const xcb_cursor_t cursor = xcb_generate_id(connection());
    const std::uint16_t most = 0xffff, mask = glyph + 1;  // The font has each mask after its shape.
    xcb_create_glyph_cursor(connection(), cursor, font, font, glyph, mask, 0, 0, 0, most, most,
                            most);
    return cursor;
}

void place(Surface surface, const RECT& bounds, bool raise) {
    const std::uint32_t values[] = {
        static_cast<std::uint32_t>(bounds.left), static_cast<std::uint32_t>(bounds.top),
        static_cast<std::uint32_t>(std::max(1, widthOf(bounds))),
        static_cast<std::uint32_t>(std::max(1, heightOf(bounds))), XCB_STACK_MODE_ABOVE};
    const int which = XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                      XCB_CONFIG_WINDOW_HEIGHT | (raise ? XCB_CONFIG_WINDOW_STACK_MODE : 0);
    xcb_configure_window(connection(), surface, static_cast<std::uint16_t>(which), values);
    if (!raise) return;
    std::erase(order, surface);
    order.push_back(surface);
}

xcb_rectangle_t shapeOf(const RECT& rectangle) {
    return {static_cast<std::int16_t>(rectangle.left), static_cast<std::int16_t>(rectangle.top),
            static_cast<std::uint16_t>(widthOf(rectangle)),
            static_cast<std::uint16_t>(heightOf(rectangle))};
}

void setShape(Surface surface, xcb_shape_kind_t kind, const std::vector<RECT>& shape) {
    std::vector<xcb_rectangle_t> rectangles;
    for (const RECT& each : shape) rectangles.push_back(shapeOf(each));
    xcb_shape_rectangles(connection(), XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_UNSORTED, surface,
                         0, 0, static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
}

void unsetShape(Surface surface, xcb_shape_kind_t kind) {
    xcb_shape_mask(connection(), XCB_SHAPE_SO_SET, kind, surface, 0, 0, XCB_PIXMAP_NONE);
}

void shape(Surface surface, const Placement& placement) {
    if (placement.shape.empty())
        unsetShape(surface, XCB_SHAPE_SK_BOUNDING);
    else
        setShape(surface, XCB_SHAPE_SK_BOUNDING, placement.shape);
    if (placement.passesMouse)
        setShape(surface, XCB_SHAPE_SK_INPUT, {});
    else
        unsetShape(surface, XCB_SHAPE_SK_INPUT);
}

// The image is taken before the redirection and before the window covers anything. An area that is
// not wholly on the screen, as after a monitor has gone, has no image; the window is opaque then,
// as it is without memory for the image.
std::unique_ptr<Sheet> coverWithSheet(const RECT& bounds) {
    auto below = shareImage(connection(), widthOf(bounds), heightOf(bounds));
    const bool seen = below && below->fetch(bounds.left, bounds.top, 0, below->height);
    return seen ? std::make_unique<Sheet>(std::move(below)) : nullptr;
}

// A compositor would paint a shadow into the frame's hole, and so into the recording. One property
// is for compositors that have a switch for it; the other says that the window brings its own
// shadow, of no width. The last keeps a compositor from turning itself off under the sheet, which
// flickers.
void refuseDecoration(Surface surface) {
    setProperty(surface, atom("_COMPTON_SHADOW"), XCB_ATOM_CARDINAL, {0});
    setProperty(surface, atom("_GTK_FRAME_EXTENTS"), XCB_ATOM_CARDINAL, {0, 0, 0, 0});
    setProperty(surface, atom("_NET_WM_BYPASS_COMPOSITOR"), XCB_ATOM_CARDINAL, {2});
}

// Another client's window was raised, mapped or moved. The server raises ours if that covers them,
// so nothing has to be known of the order of windows. Another program that wants to be on top, too,
// would keep this up forever, so after some rounds in a row ours give up.
void stayAbove(xcb_window_t other) {
    if (rounds > 20 && Clock::now() - lastRound < std::chrono::seconds(1)) return;
    for (const Surface surface : order) {
        const Window& window = windows.at(surface);
        if (!window.shown || !window.placement.topmost) continue;
        const std::uint32_t values[] = {other, XCB_STACK_MODE_TOP_IF};
        xcb_configure_window(connection(), surface,
                             XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE, values);
    }
    isRaising = true;
    xcb_flush(connection());
}

// The window over which a compositor paints belongs to the server, which raises it after each of
// ours: no answer to that would ever be the last.
bool isServers(xcb_window_t window) {
    constexpr std::uint32_t clients = 0x1fffffff;
    return (window & clients & ~xcb_get_setup(connection())->resource_id_mask) == 0;
}

void noteOrder(xcb_window_t changed) {
    if (isServers(changed)) return;
    if (!windows.contains(changed)) return stayAbove(changed);
    if (!std::exchange(isRaising, false)) return;
    const Clock::time_point now = Clock::now();
    rounds = now - lastRound < std::chrono::milliseconds(200) ? rounds + 1 : 0;
    lastRound = now;
}

// Without a background a window keeps what was on the screen until it is presented: nothing
// flashes.
void setBackground(Surface surface, xcb_pixmap_t background) {
    xcb_change_window_attributes(connection(), surface, XCB_CW_BACK_PIXMAP, &background);
}

// As the background: the server repairs the window itself, even if this program is stopped.
void put(Surface surface, const SharedImage& image) {
    const xcb_pixmap_t pixmap = xcb_generate_id(connection());
    xcb_create_pixmap(connection(), screen().root_depth, pixmap, surface,
                      static_cast<std::uint16_t>(image.width),
                      static_cast<std::uint16_t>(image.height));
    image.put(pixmap, context);
    setBackground(surface, pixmap);
    xcb_free_pixmap(connection(), pixmap);
    xcb_clear_area(connection(), 0, surface, 0, 0, 0, 0);
    xcb_flush(connection());
}

bool hasSize(const std::unique_ptr<SharedImage>& image, int width, int height) {
    return image && image->width == width && image->height == height;
}

std::vector<Surface> focusOrder;  // the last one has the keyboard, then it goes back one by one
xcb_window_t outside = XCB_INPUT_FOCUS_POINTER_ROOT;  // had it before the first of ours

Surface focusedSurface() { return focusOrder.empty() ? 0 : focusOrder.back(); }

bool setFocus(xcb_window_t window) {
    return carriedOut(xcb_set_input_focus_checked(connection(), XCB_INPUT_FOCUS_POINTER_ROOT,
                                                  window, XCB_CURRENT_TIME));
}

void rememberOutside() {
    const auto reply = await(xcb_get_input_focus_reply, xcb_get_input_focus(connection()));
    if (reply && !windows.contains(reply->focus)) outside = reply->focus;
}

// The one that had the keyboard may have gone in the meantime.
void giveOutside() {
    focusOrder.clear();
    watchClicksElsewhere(false);
    if (!setFocus(outside)) setFocus(XCB_INPUT_FOCUS_POINTER_ROOT);
}

// To the one of ours that had it before, or to the others.
void giveFocusBack(Surface leaving) {
    const bool hadIt = leaving == focusedSurface();
    std::erase(focusOrder, leaving);
    if (!hadIt) return;
    if (focusOrder.empty() || !setFocus(focusOrder.back())) giveOutside();
}

}  // namespace

void openSurfaces() {
    const xcb_font_t font = xcb_generate_id(connection());
    xcb_open_font(connection(), font, 6, "cursor");
    arrow = makeCursor(font, 68);
    cross = makeCursor(font, 34);
    xcb_close_font(connection(), font);
    context = xcb_generate_id(connection());
    const std::uint32_t noEvents = 0;
    xcb_create_gc(connection(), context, root(), XCB_GC_GRAPHICS_EXPOSURES, &noEvents);
}

Surface X11Host::createSurface(const std::u16string& title) {
    static Surface withoutDisplay = 0;
    const Surface surface = isConnected() ? xcb_generate_id(connection()) : ++withoutDisplay;
    const std::uint32_t values[] = {
        XCB_BACK_PIXMAP_NONE, 1,
        XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_BUTTON_PRESS |
            XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE,
        arrow};
    xcb_create_window(
        connection(), screen().root_depth, surface, root(), 0, 0, 1, 1, 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, screen().root_visual,
        XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK | XCB_CW_CURSOR, values);
    nameWindow(surface, desktop::toUtf8(title));
    refuseDecoration(surface);
    windows[surface];
    return surface;
}

void X11Host::destroySurface(Surface surface) {
    hideSurface(surface);
    windows.erase(surface);
    std::erase(order, surface);
    xcb_destroy_window(connection(), surface);
    xcb_flush(connection());
}

void X11Host::showSurface(Surface surface, const Placement& placement, bool raise) {
    Window& window = windows.at(surface);
    const RECT before = window.placement.bounds;
    const bool moved = !gdi::areSame(before, placement.bounds);
    if (widthOf(before) != widthOf(placement.bounds) ||
        heightOf(before) != heightOf(placement.bounds))
        setBackground(surface, XCB_BACK_PIXMAP_NONE);
    if (placement.opacity == 255)
        window.sheet.reset();
    else if (!window.sheet || moved)
        window.sheet = coverWithSheet(placement.bounds);
    window.placement = placement;
    place(surface, placement.bounds, raise || !window.shown);
    shape(surface, placement);
    if (!window.shown) xcb_map_window(connection(), surface);
    window.shown = true;
    xcb_flush(connection());
}

void X11Host::presentSurface(Surface surface, const gdi::Canvas& canvas) {
    Window& window = windows.at(surface);
    if (hasSize(window.image, canvas.width, canvas.height))
        synchronize();  // The server may still be reading the pixels of the last time.
    else
        window.image = shareImage(connection(), canvas.width, canvas.height);
    if (!window.image) return;  // The window keeps what it shows.
    SharedImage& image = *window.image;
    if (window.sheet && hasSize(window.sheet->below, image.width, image.height)) {
        window.sheet->blend(canvas, window.placement.opacity, image);
    } else {
        for (int y = 0; y < image.height; ++y)
            std::copy_n(canvas.pixels + std::ptrdiff_t(y) * canvas.stride, image.width,
                        image.pixels + std::ptrdiff_t(y) * image.width);
    }
    put(surface, image);
    if (!window.sheet) window.image.reset();  // Nothing else is painted many times in a row.
}

// The keyboard goes back first: the server would give the focus of a window that vanishes to
// whatever is under the pointer.
void X11Host::hideSurface(Surface surface) {
    Window& window = windows.at(surface);
    if (!window.shown) return;
    giveFocusBack(surface);
    if (window.sheet && window.image &&
        hasSize(window.sheet->below, window.image->width, window.image->height))
        rememberSheet(*window.sheet->below, *window.image,
                      {window.placement.bounds.left, window.placement.bounds.top});
    xcb_unmap_window(connection(), surface);
    setBackground(surface, XCB_BACK_PIXMAP_NONE);
    window.shown = false;
    window.image.reset();
    window.sheet.reset();
    xcb_flush(connection());
}

void X11Host::setCursor(Surface surface, UINT cursor) {
    const std::uint32_t shown = cursor == 32515 ? cross : arrow;
    xcb_change_window_attributes(connection(), surface, XCB_CW_CURSOR, &shown);
    xcb_flush(connection());
}

void X11Host::flush() {
    synchronize();
    waitForSheetToGo();
}

bool isSurface(xcb_window_t window) { return windows.contains(window); }

// The order is changed first, so that the events of the change are recognized as our own. The
// server refuses a window that is not on the screen.
bool X11Host::focusSurface(Surface surface) {
    if (!surface) {
        if (!focusOrder.empty()) giveOutside();
        return true;
    }
    if (surface == focusedSurface()) return true;
    if (focusOrder.empty()) rememberOutside();
    const std::vector<Surface> previous = focusOrder;
    std::erase(focusOrder, surface);
    focusOrder.push_back(surface);
    if (!setFocus(surface)) {
        focusOrder = previous;
        return false;
    }
    if (previous.empty()) watchClicksElsewhere(true);
    synchronize();
    return true;
}

// While it lasts, a grab of keys moves the focus in name only, so its events are ignored.
bool focusEvent(const xcb_generic_event_t& event) {
    const int type = typeOf(event);
    if (type != XCB_FOCUS_IN && type != XCB_FOCUS_OUT) return false;
    const auto& change = reinterpret_cast<const xcb_focus_out_event_t&>(event);
    const bool real =
        change.mode == XCB_NOTIFY_MODE_NORMAL || change.mode == XCB_NOTIFY_MODE_WHILE_GRABBED;
    if (type == XCB_FOCUS_IN || !real || change.detail == XCB_NOTIFY_DETAIL_POINTER) return true;
    if (change.event != focusedSurface()) return true;
    // It may have come back since: a box has opened above this window and closed again.
    const auto now = await(xcb_get_input_focus_reply, xcb_get_input_focus(connection()));
    if (now && now->focus == change.event) return true;
    focusOrder.clear();
    watchClicksElsewhere(false);
    releaseKeysDown();
    report({.kind = Event::ActivationLost});
    return true;
}

bool surfaceEvent(const xcb_generic_event_t& event) {
    const int type = typeOf(event);
    // Both begin alike: the window at which it was selected, and the one that has changed.
    const auto& change = reinterpret_cast<const xcb_map_notify_event_t&>(event);
    if ((type != XCB_CONFIGURE_NOTIFY && type != XCB_MAP_NOTIFY) || change.event != root() ||
        change.window == root())
        return false;
    noteOrder(change.window);
    return true;
}

}  // namespace host::x11
