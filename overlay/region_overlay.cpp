// One window is first the dim sheet, then the red frame.
//
// Neither may be in a recorded frame. The window is excluded from capture; the sheet is hidden and
// the compositor has presented the desktop without it before the region is reported; the frame's
// hole is exactly the region.

#include "overlay/region_overlay.h"

#include <dwmapi.h>

#include <stdexcept>

#include "common/messages.h"
#include "common/procedure_guard.h"
#include "overlay/region_geometry.h"

namespace {

constexpr const WCHAR* overlayClass = TEXT("QuorvelClipOverlay");
constexpr LONG_PTR sheetStyle = WS_EX_LAYERED | WS_EX_TOOLWINDOW | WS_EX_TOPMOST;
constexpr LONG_PTR frameStyle = sheetStyle | WS_EX_TRANSPARENT | WS_EX_NOACTIVATE;
constexpr BYTE sheetOpacity = 180;
constexpr COLORREF sheetColor = RGB(24, 24, 24);
constexpr COLORREF frameColor = RGB(255, 64, 64);

bool selecting = false;  // the sheet is visible
bool dragging = false;
POINT anchor{};
RECT monitorRect{};
CaptureRegion region;
HWND notifyWindow = nullptr;
HWND overlayWindow = nullptr;

void place(const RECT& bounds, UINT flags) {
    SetWindowPos(overlayWindow, HWND_TOPMOST, bounds.left, bounds.top, bounds.right - bounds.left,
                 bounds.bottom - bounds.top, flags);
}

void endSelection(UINT verdict) {
    hideOverlay();
    PostMessageW(notifyWindow, verdict, 0, 0);
}

void beginDrag(LPARAM lparam) {
    dragging = true;
    anchor = desktopPoint(lparam, monitorRect);
    region = {anchor.x, anchor.y, anchor.x, anchor.y};
    SetCapture(overlayWindow);
}

void followDrag(LPARAM lparam) {
    region = normalisedRegion(anchor, desktopPoint(lparam, monitorRect), monitorRect);
    InvalidateRect(overlayWindow, nullptr, FALSE);
}

void finishDrag(LPARAM lparam) {
    dragging = false;  // first: ReleaseCapture sends WM_CAPTURECHANGED
    region = normalisedRegion(anchor, desktopPoint(lparam, monitorRect), monitorRect);
    ReleaseCapture();
    endSelection(WM_APP_REGION_SELECTED);
}

void loseCapture(LPARAM lparam) {
    // A second press captures again, and the window then loses the capture to itself.
    const bool toItself = reinterpret_cast<HWND>(lparam) == overlayWindow;
    if (dragging && !toItself) endSelection(WM_APP_REGION_CANCELLED);
}

void paintSheet(HDC context, const RECT& client) {
    SetBkMode(context, TRANSPARENT);
    SetTextColor(context, RGB(255, 255, 255));
    RECT hint = {24, 24, client.right - 24, 110};
    DrawTextW(context,
              TEXT("Drag a region on this monitor. Esc cancels.\n"
                   "Release to record; Esc stops. Max 3840 x 2160."),
              -1, &hint, DT_WORDBREAK);
    if (!dragging) return;
    const RECT outline = regionOnSheet(region, monitorRect);
    FrameRect(context, &outline, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
}

void paint() {
    PAINTSTRUCT painting;
    HDC const context = BeginPaint(overlayWindow, &painting);
    RECT client{};
    GetClientRect(overlayWindow, &client);
    HBRUSH const brush = CreateSolidBrush(selecting ? sheetColor : frameColor);
    FillRect(context, &client, brush);
    DeleteObject(brush);
    if (selecting) paintSheet(context, client);
    EndPaint(overlayWindow, &painting);
}

// Mouse messages outside a selection are swallowed. So is WM_CLOSE, sent by Alt+F4 and by tools
// that end programs: by default it destroys the window, which is created only once.
LRESULT handleMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    switch (message) {
    case WM_MOUSEMOVE:
        if (dragging) followDrag(lparam);
        return 0;
    case WM_LBUTTONDOWN:
        if (selecting) beginDrag(lparam);
        return 0;
    case WM_LBUTTONUP:
        if (dragging) finishDrag(lparam);
        return 0;
    case WM_RBUTTONDOWN:
    case WM_CLOSE:
        if (selecting) endSelection(WM_APP_REGION_CANCELLED);
        return 0;
    case WM_CAPTURECHANGED: return loseCapture(lparam), 0;
    case WM_PAINT: return paint(), 0;
    case WM_ERASEBKGND: return 1;
    }
    return DefWindowProcW(window, message, wparam, lparam);
}

LRESULT CALLBACK overlayProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    return guarded(LRESULT{0}, [&] { return handleMessage(window, message, wparam, lparam); });
}

HRGN createRing(const RECT& bounds, const RECT& hole) {
    HRGN const ring = CreateRectRgn(0, 0, bounds.right - bounds.left, bounds.bottom - bounds.top);
    HRGN const inner = CreateRectRgn(hole.left, hole.top, hole.right, hole.bottom);
    CombineRgn(ring, ring, inner, RGN_DIFF);
    DeleteObject(inner);
    return ring;
}

}  // namespace

void createOverlayClass(HINSTANCE instance, HWND receiver) {
    notifyWindow = receiver;
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = overlayProc;
    windowClass.hInstance = instance;
    windowClass.hCursor = LoadCursorW(nullptr, IDC_CROSS);
    windowClass.lpszClassName = overlayClass;
    if (!RegisterClassW(&windowClass)) {
        throw std::runtime_error("Overlay class registration failed");
    }
    overlayWindow = CreateWindowExW(static_cast<DWORD>(sheetStyle), overlayClass, TEXT(""),
                                    WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, instance, nullptr);
    if (!overlayWindow) throw std::runtime_error("Overlay creation failed");
    SetWindowDisplayAffinity(overlayWindow, WDA_EXCLUDEFROMCAPTURE);
}

void showOverlay(HMONITOR monitor) {
    MONITORINFO info{};
    info.cbSize = sizeof info;
    if (!GetMonitorInfoW(monitor, &info)) throw std::runtime_error("Monitor unavailable");
    selecting = true;
    monitorRect = info.rcMonitor;
    dragging = false;
    SetWindowLongPtrW(overlayWindow, GWL_EXSTYLE, sheetStyle);
    SetWindowRgn(overlayWindow, nullptr, FALSE);  // the ring of an earlier recording
    SetLayeredWindowAttributes(overlayWindow, 0, sheetOpacity, LWA_ALPHA);
    place(monitorRect, SWP_SHOWWINDOW);
    SetForegroundWindow(overlayWindow);
    InvalidateRect(overlayWindow, nullptr, TRUE);
}

CaptureRegion selectedRegion() { return region; }

void markRegion(CaptureRegion marked) {
    selecting = false;
    SetWindowLongPtrW(overlayWindow, GWL_EXSTYLE, frameStyle);
    SetLayeredWindowAttributes(overlayWindow, 0, 255, LWA_ALPHA);
    const RECT bounds = frameBounds(marked);
    HRGN const ring = createRing(bounds, frameHole(marked));
    // Once set, the region belongs to the system.
    if (!SetWindowRgn(overlayWindow, ring, FALSE)) DeleteObject(ring);
    place(bounds, SWP_SHOWWINDOW | SWP_NOACTIVATE);
    InvalidateRect(overlayWindow, nullptr, TRUE);
}

void hideOverlay() {
    dragging = false;
    selecting = false;
    // Hiding a window does not release its mouse capture.
    if (GetCapture() == overlayWindow) ReleaseCapture();
    ShowWindow(overlayWindow, SW_HIDE);
    DwmFlush();
}
