// Balloons and tips as windows of the layer, of which the program knows nothing. The desktop's
// notification service, if there is one, shows a balloon instead. Nothing waits for it: the
// balloon's window stays hidden until the service answers or its time is over.

#include "platform/shell32/balloon.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

#include "platform/core/text.h"
#include "platform/user32/window.h"

namespace shell32 {

namespace {

using user32::Window;

constexpr UINT patience = 1500, showTime = 5000, errorTime = 10'000;  // milliseconds

struct Balloon {
    HWND window;
    host::Notice notice;
    UINT number;  // the service's; 0: it was not asked
};
std::vector<Balloon> balloons;  // from the bottom up
HWND tip = nullptr;

int unit(int length) { return gdi::scaled(length, user32::primaryMonitor().dpi); }

gdi::TextStyle style(bool isBold) { return {unit(12), look::ink, isBold}; }

// Of the title with the space below it, and of the text.
std::pair<SIZE, SIZE> measure(const host::Notice& notice) {
    SIZE above{};
    if (!notice.title.empty()) {
        above = gdi::measureText(notice.title, style(true), unit(300));
        above.cy += unit(4);
    }
    return {above, gdi::measureText(notice.text, style(false), unit(300))};
}

void setAlarm(Window& window, UINT milliseconds) {
    window.alarm = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
}

// Without a title it is a tip.
void paint(const gdi::Canvas& canvas, const host::Notice& notice) {
    gdi::panel(canvas, {0, 0, canvas.width, canvas.height}, 0xFAFAFA, look::border);
    gdi::fill(canvas, {1, 1, unit(6), canvas.height - 1}, notice.isError ? 0xC42B1C : look::accent);
    // As wide as they were measured, or the lines would break elsewhere.
    const RECT area{unit(18), unit(12), unit(18) + unit(300), canvas.height};
    gdi::drawText(canvas, area, notice.title, style(true));
    gdi::drawText(canvas, gdi::moved(area, 0, measure(notice).first.cy), notice.text, style(false));
}

SIZE sizeOf(const host::Notice& notice) {
    const auto [above, below] = measure(notice);
    return {unit(18) + std::max(above.cx, below.cx) + unit(12),
            unit(12) + above.cy + below.cy + unit(12)};
}

void show(HWND window, const host::Notice& notice, POINT lowerRight) {
    Window& record = *user32::find(window);
    const SIZE size = sizeOf(notice);
    record.bounds = {lowerRight.x - size.cx, lowerRight.y - size.cy, lowerRight.x, lowerRight.y};
    user32::show(record);
    user32::raise(record);
    user32::paintWindow(record, [&](const gdi::Canvas& canvas) { paint(canvas, notice); });
    setAlarm(record, notice.milliseconds);
}

// Each above those before it.
void showBalloonsUpTo(UINT number) {
    const RECT area = host::current().workArea();
    LONG top = area.bottom;
    for (const Balloon& each : balloons)
        if (user32::find(each.window)->visible)
            top = std::min(top, user32::find(each.window)->bounds.top);
    for (const Balloon& each : balloons) {
        const Window& window = *user32::find(each.window);
        if (window.visible || each.number > number) continue;
        show(each.window, each.notice, {area.right - unit(16), top - unit(16)});
        top = window.bounds.top;
    }
}

void tick(HWND window) {
    if (user32::find(window)->visible) return user32::destroyWindow(window);
    host::current().withdrawNotices();
    showBalloonsUpTo(UINT_MAX);
}

// No client area: its input would come to the program's message loop.
LRESULT procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    const UINT pointer = HIWORD(lparam);
    switch (message) {
    case WM_NCHITTEST: return HTERROR;
    case WM_SETCURSOR:
        if (pointer == WM_LBUTTONDOWN || pointer == WM_RBUTTONDOWN) user32::destroyWindow(window);
        return TRUE;
    case WM_TIMER: return tick(window), 0;
    default: return user32::answerMessage(window, message, wparam, lparam);
    }
}

HWND makeWindow(const host::Notice& notice) {
    user32::Creation creation;
    creation.className = u"tooltips_class32";
    creation.title = desktop::toUtf16(notice.text);
    creation.procedure = procedure;
    creation.style = WS_POPUP;
    creation.extendedStyle = WS_EX_TOPMOST | WS_EX_TOOLWINDOW | WS_EX_NOACTIVATE;
    creation.ofTheLayer = true;
    Window& window = user32::addWindow(creation);
    window.excludedFromCapture = true;
    return window.handle;
}

template <typename Condition>
void hideIf(Condition condition) {
    const std::vector<Balloon> all = balloons;  // a copy: a window that goes leaves the list
    for (const Balloon& each : all)
        if (condition(each)) user32::destroyWindow(each.window);
}

// An error stays for its time beside later balloons, unless one of them has the same text.
bool isReplaced(const host::Notice& earlier, const host::Notice& later) {
    return !earlier.isError || earlier.text == later.text;
}

}  // namespace

void forgetBalloon(HWND window) {
    std::erase_if(balloons, [&](const Balloon& each) { return each.window == window; });
    if (tip == window) tip = nullptr;
}

void prepareBalloons() { measure({"x", "x"}); }

void showBalloon(host::Notice notice) {
    static host::Notice last;
    notice.milliseconds = notice.isError ? errorTime : showTime;
    notice.replaces = isReplaced(last, notice);
    last = notice;
    hideIf([&](const Balloon& earlier) { return isReplaced(earlier.notice, notice); });
    const UINT number = host::current().sendNotice(notice);
    balloons.push_back({makeWindow(notice), notice, number});
    setAlarm(*user32::find(balloons.back().window), patience);
    if (!number) showBalloonsUpTo(UINT_MAX);
}

void takeAnswer(const host::Event& event) {
    if (event.kind == host::Event::NoticeRefused) return showBalloonsUpTo(event.message);
    hideIf([&](const Balloon& each) { return each.number && each.number <= event.message; });
}

// Above the icon, or below it where the screen ends above.
void showTip(const std::string& text, const RECT& icon) {
    hideTip();
    host::Notice notice{"", text};
    notice.milliseconds = showTime;
    tip = makeWindow(notice);
    const RECT screen = user32::nearestMonitor({icon.left, icon.top}).bounds;
    const SIZE size = sizeOf(notice);
    const LONG above = icon.top - unit(4), below = icon.bottom + unit(4) + size.cy;
    show(tip, notice,
         {std::max(icon.right, screen.left + size.cx),
          above - size.cy >= screen.top ? above : below});
}

void hideTip() {
    if (tip) user32::destroyWindow(tip);
}

void hideBalloons() {
    hideIf([](const Balloon&) { return true; });
}

}  // namespace shell32
