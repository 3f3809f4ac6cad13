// Message boxes: a title, a sign, a text and OK.

#include <algorithm>
#include <map>
#include <vector>

#include "platform/core/call.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"
#include "platform/user32/activation.h"
#include "platform/user32/look.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/modal.h"
#include "platform/user32/monitor.h"
#include "platform/user32/mouse.h"
#include "platform/user32/thread.h"
#include "platform/user32/window.h"

#include <windowsx.h>

namespace user32 {

void forgetMenu();

namespace {

struct Box {
    std::u16string text;
    UINT icon = 0;
    UINT dpi = 96;
    bool pressed = false;
    bool done = false;
};
std::map<HWND, Box> boxes;  // one inside another's loop, the last one on top

struct Layout {
    SIZE size;
    RECT caption, sign, text, button;
};

// All lengths are for 96 dots an inch; the text's own size comes from its font.
Layout layoutOf(const Box& box, std::u16string_view title) {
    const auto unit = [&](int length) { return scaled(length, box.dpi); };
    const gdi::Face face = look::textFace(box.dpi);
    const SIZE text = gdi::measureText(box.text, face, unit(440));
    const int heading = gdi::measureText(title, face).cx + unit(70);
    const int across = std::max({unit(84) + text.cx + unit(24), heading, unit(200)});
    const int top = unit(30), body = std::max<int>(text.cy, unit(32));
    const int foot = top + unit(24) + body + unit(24);
    Layout layout;
    layout.size = {across, foot + unit(46)};
    layout.caption = {1, 1, across - 1, top};
    layout.sign = {unit(24), top + unit(24), unit(56), top + unit(56)};
    const int offset = (body - text.cy) / 2;
    layout.text = {unit(72), top + unit(24) + offset, across - unit(12), foot};
    layout.button = {across - unit(98), foot + unit(10), across - unit(14), foot + unit(36)};
    return layout;
}

void paint(Window& window, const Box& box) {
    const Layout layout = layoutOf(box, window.title);
    const gdi::Canvas canvas{window.pixels.data(), width(window), height(window), width(window)};
    const RECT whole{0, 0, canvas.width, canvas.height};
    gdi::fill(canvas, whole, look::paper);
    gdi::fill(canvas, {0, layout.button.top - scaled(10, box.dpi), whole.right, whole.bottom},
              look::face);
    look::caption(canvas, layout.caption, window.title, box.dpi, foreground() == window.handle);
    look::sign(canvas, layout.sign, box.icon);
    gdi::TextStyle style;
    style.face = look::textFace(box.dpi);
    style.color = look::ink;
    gdi::drawText(canvas, layout.text, box.text, style);
    look::button(canvas, layout.button, u"OK", box.dpi, {true, true, box.pressed, true});
    gdi::frame(canvas, whole, look::border);
    window.dirty = {};
    present(window);
}

void setPressed(Window& window, Box& box, bool pressed) {
    if (box.pressed == pressed) return;
    box.pressed = pressed;
    invalidate(window, false);
}

// A button counts when the press and the release are both on it.
void release(Window& window, Box& box, POINT at) {
    const Layout layout = layoutOf(box, window.title);
    const bool onButton = box.pressed && gdi::contains(layout.button, at);
    setPressed(window, box, false);
    if (onButton || gdi::contains(look::closeButton(layout.caption), at)) box.done = true;
}

LRESULT boxProcedure(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) {
    Window& window = *find(handle);
    const auto found = boxes.find(handle);
    if (found == boxes.end()) return 0;
    Box& box = found->second;
    const POINT at{GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)};
    switch (message) {
    case WM_PAINT: paint(window, box); break;
    case WM_ACTIVATE: invalidate(window, false); break;
    case WM_LBUTTONDOWN:
        setPressed(window, box, gdi::contains(layoutOf(box, window.title).button, at));
        break;
    case WM_LBUTTONUP: release(window, box, at); break;
    case WM_KEYDOWN:
        if (wparam == VK_RETURN || wparam == VK_SPACE || wparam == VK_ESCAPE) box.done = true;
        break;
    case WM_SYSKEYDOWN:
        if (wparam == VK_F4) box.done = true;
        break;
    case WM_CLOSE: box.done = true; break;
    case WM_KEYUP:
    case WM_SYSKEYUP:
    case WM_MOUSEMOVE: break;
    default: return answerMessage(handle, message, wparam, lparam);
    }
    return 0;
}

RECT centeredOn(const RECT& area, SIZE size) {
    const LONG left = (area.left + area.right - size.cx) / 2;
    const LONG top = (area.top + area.bottom - size.cy) / 2;
    return {left, top, left + size.cx, top + size.cy};
}

HWND openBox(const std::u16string& title, Box box, const host::Monitor& monitor) {
    box.dpi = monitor.dpi;
    Creation creation;
    creation.className = u"#32770";
    creation.title = title;
    creation.procedure = boxProcedure;
    creation.cursor = static_cast<UINT>(reinterpret_cast<std::uintptr_t>(IDC_ARROW));
    creation.style = WS_POPUP | WS_CAPTION | WS_SYSMENU;
    creation.bounds = centeredOn(monitor.bounds, layoutOf(box, title).size);
    creation.ofTheLayer = true;
    Window& window = addWindow(creation);
    const HWND handle = window.handle;
    const desktop::ShownBox seen{desktop::toUtf8(title), desktop::toUtf8(box.text), box.icon};
    boxes.emplace(handle, std::move(box));
    setVisible(window, true);
    activate(handle);
    desktop::withShown([&](desktop::Shown& shown) { shown.boxes.push_back(seen); });
    return handle;
}

void closeBox(HWND handle) {
    boxes.erase(handle);
    desktop::withShown([](desktop::Shown& shown) { shown.boxes.pop_back(); });
    destroyWindow(handle);
}

host::Monitor monitorOf(HWND owner) {
    if (!owner) return primaryMonitor();
    const RECT& bounds = find(owner)->bounds;
    return nearestMonitor({(bounds.left + bounds.right) / 2, (bounds.top + bounds.bottom) / 2});
}

void setBoxOf(HWND owner, HWND box) {
    if (!owner || !isLive(owner)) return;
    find(owner)->enabled = !box;
    find(owner)->box = box;
}

}  // namespace

void forgetModals() {
    forgetMenu();
    forgetDialog();
    boxes.clear();
    desktop::withShown([](desktop::Shown& shown) { shown.boxes.clear(); });
}

}  // namespace user32

// A quit closes the box as OK does and stays for the loop outside.
int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR title, UINT kind) {
    desktop::Call call("MessageBoxW", owner, text, title, kind);
    user32::enterUserInterface();
    if (kind != MB_ICONERROR && kind != MB_ICONWARNING && kind != MB_ICONINFORMATION)
        desktop::refuse("MessageBoxW", "kind", kind);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    if (owner && !user32::find(owner)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    user32::Box box;
    box.text = text;
    box.icon = kind;
    const HWND window = user32::openBox(title, box, user32::monitorOf(owner));
    user32::setBoxOf(owner, window);
    user32::runLoop([&] { return user32::boxes.at(window).done; });
    user32::setBoxOf(owner, nullptr);
    user32::closeBox(window);
    return IDOK;
}
