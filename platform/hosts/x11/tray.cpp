// The tray icon by the freedesktop system-tray protocol: a window of ours that the tray puts into
// its own. A desktop without a tray is no failure: the icon waits until one starts.

#include "platform/hosts/x11/host.h"

#include <cairo-xcb.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>

#include "platform/hosts/x11/display.h"

namespace host::x11 {

namespace {

std::optional<TrayIcon> wanted;
xcb_window_t tray = 0;  // 0: there is none
xcb_window_t icon = 0;
xcb_colormap_t colormap = 0;
Visual visual;
int width = 0, height = 0;
int asked = 0;  // the side that the tray was asked for, until it has made its first slot
xcb_button_press_event_t lastPress{};

xcb_atom_t traySelection() { return atom("_NET_SYSTEM_TRAY_S" + std::to_string(screenNumber())); }

// A tray that paints its own background names a visual with transparency.
Visual visualOfTray() {
    const std::vector<std::uint32_t> named = numberProperty(tray, atom("_NET_SYSTEM_TRAY_VISUAL"));
    const Visual found = named.empty() ? Visual{} : findVisual(named[0]);
    return found.type ? found : rootVisual();
}

// Some trays make room for what the window says that it needs, and for a pixel if it says nothing.
void askForSize(std::uint32_t side) {
    std::vector<std::uint32_t> hints(18);  // WM_SIZE_HINTS
    hints[0] = 1 << 4;                     // only the least size is given
    hints[5] = hints[6] = side;
    setProperty(icon, atom("WM_NORMAL_HINTS"), XCB_ATOM_WM_SIZE_HINTS, hints);
}

void makeIconWindow() {
    visual = visualOfTray();
    const bool transparent = visual.type->visual_id != screen().root_visual;
    colormap = xcb_generate_id(connection());
    xcb_create_colormap(connection(), XCB_COLORMAP_ALLOC_NONE, colormap, root(),
                        visual.type->visual_id);
    icon = xcb_generate_id(connection());
    const std::uint32_t ground = transparent ? std::uint32_t(XCB_BACK_PIXMAP_NONE)
                                             : std::uint32_t(XCB_BACK_PIXMAP_PARENT_RELATIVE);
    const std::uint32_t values[] = {ground, 0,
                                    XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_BUTTON_PRESS |
                                        XCB_EVENT_MASK_BUTTON_RELEASE |
                                        XCB_EVENT_MASK_ENTER_WINDOW | XCB_EVENT_MASK_LEAVE_WINDOW |
                                        XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                                    colormap};
    const auto side = static_cast<std::uint16_t>(16 * primaryMonitor().dpi / 96);
    width = height = asked = side;
    xcb_create_window(
        connection(), visual.depth, icon, root(), 0, 0, side, side, 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, visual.type->visual_id,
        XCB_CW_BACK_PIXMAP | XCB_CW_BORDER_PIXEL | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP, values);
    // Version 0, to be mapped.
    setProperty(icon, atom("_XEMBED_INFO"), atom("_XEMBED_INFO"), {0, 1});
    askForSize(side);
}

// A tray that makes its slot as long as it is asked to decides only how thick it is. The icon then
// asks for a square of that thickness.
void askForSquare() {
    if (asked) askForSize(static_cast<std::uint32_t>(width == asked ? height : width));
    asked = 0;
}

void askToDock() {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = tray;
    message.type = atom("_NET_SYSTEM_TRAY_OPCODE");
    message.data.data32[1] = 0;  // request to dock
    message.data.data32[2] = icon;
    xcb_send_event(connection(), 0, tray, 0, reinterpret_cast<const char*>(&message));
}

void dropIcon() {
    if (!icon) return;
    report({.kind = Event::TrayLeft});
    xcb_destroy_window(connection(), std::exchange(icon, 0));
    xcb_free_colormap(connection(), colormap);
}

void dock() {
    const auto owner = await(xcb_get_selection_owner_reply,
                             xcb_get_selection_owner(connection(), traySelection()));
    tray = owner ? owner->owner : 0;
    if (!tray || !wanted) return;
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;  // reports its end
    xcb_change_window_attributes(connection(), tray, XCB_CW_EVENT_MASK, &events);
    dropIcon();
    makeIconWindow();
    askToDock();
}

// Every image is drawn for its size, so it is not scaled, except into a slot that is smaller than
// all of them.
void drawImage(cairo_t* drawing) {
    const int slot = std::min(width, height);
    IconImage shown = wanted->image(slot);
    if (shown.side == 0) return;
    const double scale = std::min(1.0, static_cast<double>(slot) / shown.side);
    const int side = std::min(slot, shown.side);
    cairo_surface_t* const image = cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(shown.pixels.data()), CAIRO_FORMAT_ARGB32, shown.side,
        shown.side, shown.side * 4);
    cairo_translate(drawing, (width - side) / 2, (height - side) / 2);
    cairo_scale(drawing, scale, scale);
    cairo_set_source_surface(drawing, image, 0, 0);
    cairo_paint(drawing);
    cairo_surface_destroy(image);
}

void draw() {
    if (!icon || !wanted) return;
    xcb_clear_area(connection(), 0, icon, 0, 0, 0, 0);
    cairo_surface_t* const surface =
        cairo_xcb_surface_create(connection(), icon, visual.type, width, height);
    cairo_t* const drawing = cairo_create(surface);
    if (visual.type->visual_id != screen().root_visual) {
        cairo_set_operator(drawing, CAIRO_OPERATOR_CLEAR);
        cairo_paint(drawing);
        cairo_set_operator(drawing, CAIRO_OPERATOR_OVER);
    }
    drawImage(drawing);
    cairo_destroy(drawing);
    cairo_surface_destroy(surface);
    xcb_flush(connection());
}

void tellMouse(UINT message) { report({.kind = Event::TrayMouse, .message = message}); }

bool isSecondPress(const xcb_button_press_event_t& press) {
    return lastPress.detail == press.detail && press.time - lastPress.time <= 500 &&
           std::abs(press.root_x - lastPress.root_x) <= 4 &&
           std::abs(press.root_y - lastPress.root_y) <= 4;
}

// A press of another button in between makes two clicks of it.
void press(const xcb_button_press_event_t& event) {
    const bool second = isSecondPress(event);
    if (event.detail == 1) tellMouse(second ? UINT(WM_LBUTTONDBLCLK) : UINT(WM_LBUTTONDOWN));
    if (event.detail == 3) tellMouse(WM_RBUTTONDOWN);
    lastPress = second ? xcb_button_press_event_t{} : event;
}

void tellEntered(const xcb_enter_notify_event_t& enter) {
    const LONG left = enter.root_x - enter.event_x, top = enter.root_y - enter.event_y;
    report({.kind = Event::TrayEntered, .icon = {left, top, left + width, top + height}});
}

void resize(const xcb_configure_notify_event_t& structure) {
    width = structure.width;
    height = structure.height;
    askForSquare();
    draw();
}

// Some trays send the button events of the icon themselves, so those count.
bool iconEvent(const xcb_generic_event_t& event) {
    const auto& expose = reinterpret_cast<const xcb_expose_event_t&>(event);
    const auto& structure = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
    const auto& button = reinterpret_cast<const xcb_button_press_event_t&>(event);
    const int type = typeOf(event);
    if (type == XCB_EXPOSE && expose.window == icon)
        draw();
    else if (type == XCB_CONFIGURE_NOTIFY && structure.window == icon)
        resize(structure);
    else if (type == XCB_BUTTON_PRESS && button.event == icon)
        press(button);
    else if (type == XCB_BUTTON_RELEASE && button.event == icon && button.detail == 1)
        tellMouse(WM_LBUTTONUP);
    else if (type == XCB_BUTTON_RELEASE && button.event == icon && button.detail == 3)
        tellMouse(WM_RBUTTONUP);
    else if (type == XCB_ENTER_NOTIFY && button.event == icon)
        tellEntered(reinterpret_cast<const xcb_enter_notify_event_t&>(event));
    else if (type == XCB_LEAVE_NOTIFY && button.event == icon)
        report({.kind = Event::TrayLeft});
    else
        return false;
    return true;
}

}  // namespace

void X11Host::setTrayIcon(const TrayIcon* shown) {
    if (!shown) {
        wanted.reset();
        dropIcon();
    } else {
        wanted = *shown;
        if (!icon) dock();
        if (icon) nameWindow(icon, wanted->tip);
        draw();
    }
    xcb_flush(connection());
}

// When a tray ends, the icon's window falls to the root window, where it would stay. It is
// destroyed instead, and the next tray gets a new one.
bool trayEvent(const xcb_generic_event_t& event) {
    if (icon && iconEvent(event)) return true;
    const int type = typeOf(event);
    if (type == XCB_DESTROY_NOTIFY) {
        if (reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window != tray) return false;
        tray = 0;
        dropIcon();
        xcb_flush(connection());
        return true;
    }
    if (type != XCB_CLIENT_MESSAGE) return false;
    const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
    if (message.type != atom("MANAGER") || message.data.data32[1] != traySelection()) return false;
    dock();
    xcb_flush(connection());
    report({.kind = Event::TaskbarCreated});
    return true;
}

}  // namespace host::x11
