// The seam between the desktop's rules and a display: what a host has to offer.
//
// Coordinates are physical pixels of the virtual desktop, right and bottom exclusive. Pixels have
// 32 bits, blue in the lowest byte, as in the duplication; surfaces are opaque, and their opacity
// is in the placement.
//
// Everything is called on the user-interface thread unless it says otherwise. No function throws.
// Losing the display ends the session: SessionQuery and SessionEnd are reported, functions with a
// result answer as if refused, and the others do nothing.

#pragma once

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/core/call.h"
#include "platform/gdi32/canvas.h"

namespace host {

using Surface = std::uint32_t;  // 0 is no surface

struct Monitor {
    // Serves as HMONITOR. A new layout has new ids; an old one never returns.
    std::uintptr_t id = 0;
    RECT bounds{};
    int rotation = 1;  // DXGI_MODE_ROTATION of the pixels that a capture gets
    UINT dpi = 96;
    bool primary = false;
};

struct Event {
    enum Kind {
        PointerMoved,
        ButtonPressed,
        ButtonReleased,
        KeyPressed,
        KeyReleased,
        TrayMouse,       // the tray icon: `message` is the mouse message
        ActivationLost,  // another program took the foreground
        LayoutChanged,   // monitors came, went, moved or turned
        SessionQuery,    // the session wants to end
        SessionEnd,      // it ends (`message` 1) or continues after all (0)
        TaskbarCreated,  // the tray has been started again
        TrayEntered,     // the pointer is on the tray icon, which is at `icon`
        TrayLeft,        // it is no longer, or the icon has gone
        NoticeShown,     // by the notification service: all up to number `message`
        NoticeRefused,   // none of those is shown, nor will be
    };
    Kind kind{};
    POINT at{};          // pointer position, with every pointer event
    int button = 0;      // 1 left, 2 middle, 3 right
    UINT key = 0;        // virtual key, side-specific for modifiers
    UINT modifiers = 0;  // MOD_ALT | MOD_CONTROL | MOD_SHIFT | MOD_WIN held before this event
    UINT message = 0;
    RECT icon{};
    Surface surface = 0;  // under the pointer, with every pointer event; 0: none of ours
    // When a key moved: the hook's answer is dropped after its time limit. Unset: without a limit.
    std::chrono::steady_clock::time_point time{};
};

// Which keys come to the program whatever has the keyboard, besides its hot keys. A display may be
// unable to pass on a key that it has delivered here, so only those are grabbed that the program is
// going to take.
enum class KeyGrab { None, Escape, All };

struct Placement {
    RECT bounds{};
    BYTE opacity = 255;
    std::vector<RECT> shape;   // in surface coordinates; empty means the whole surface
    bool passesMouse = false;  // clicks go to what is below
    bool excludedFromCapture = false;
    bool topmost = false;  // stays above the windows of other programs
};

// How the desktop answers the duplication. PointerMoved: a frame without an image, because only the
// pointer moved; it may be the first one, and the image that is due follows as Changed.
enum class PictureState { Changed, PointerMoved, Unchanged, Lost };

// The bytes stay valid while they are referenced, but the next readPicture may change them.
struct CapturedPicture {
    std::shared_ptr<const std::uint8_t[]> bytes;  // the first row; null: none
    int pitch = 0;                                // from row to row, in bytes
};

struct IconImage {
    std::vector<std::uint32_t> pixels;  // premultiplied, side × side
    int side = 0;                       // 0: there is none
};

struct TrayIcon {
    std::function<IconImage(int side)> image;  // the largest up to that side, or else the smallest
    std::string tip;
};

struct Notice {
    std::string title, text;  // UTF-8
    bool isError = false;
    bool isUrgent = false;  // The first error after a recording was lost.
    bool replaces = false;  // the notice before it
    UINT milliseconds = 0;  // how long it stays by itself
};

// The bodies here are for hosts that have nothing to do there.
struct Host {
    virtual ~Host() = default;

    // Identifies the desktop among those of this user, so that a second start finds the first.
    virtual std::string session() = 0;

    // Readable while an event may be waiting. Called before each wait.
    virtual int eventDescriptor() = 0;
    // Takes one event that is waiting and never blocks. False: there is none.
    virtual bool nextEvent(Event& event) = 0;
    // Says what became of a pointer or key event: `taken` by a hook, a hot key or a window of ours,
    // or left to others on the desktop. Nothing waits for it.
    virtual void finishInput(const Event&, bool /*taken*/) {}

    // At least one while the display exists, exactly one of them the primary one. Any thread.
    virtual std::vector<Monitor> monitors() = 0;
    // The corner of the desktop if the display does not answer.
    virtual POINT pointer() = 0;
    // Virtual key; generic modifier codes mean either side. False if the display does not answer.
    virtual bool keyIsDown(UINT key) = 0;

    // The combination comes as key events whatever has the keyboard. False: another program has it.
    virtual bool grabHotKey(UINT modifiers, UINT key) = 0;
    virtual void releaseHotKey(UINT /*modifiers*/, UINT /*key*/) {}
    // False: another program has those keys; none is grabbed then.
    virtual bool grabKeys(KeyGrab) { return true; }

    // With a taskbar, the user can open a minimized window again.
    virtual bool hasTaskbar() { return false; }

    // Surfaces are stacked in the order in which they were last raised. The number of a surface is
    // valid until it is destroyed, whatever becomes of the display.
    virtual Surface createSurface(const std::u16string& title) = 0;
    virtual void destroySurface(Surface surface) = 0;
    virtual void showSurface(Surface surface, const Placement& placement, bool raise) = 0;
    // The whole surface, in the size of its bounds. Without memory for the pixels it keeps what it
    // shows.
    virtual void presentSurface(Surface surface, const gdi::Canvas& canvas) = 0;
    virtual void hideSurface(Surface surface) = 0;
    // The keyboard goes to this surface; 0 returns it to what had it before. False: the surface is
    // not on the screen, and nothing has changed.
    virtual bool focusSurface(Surface surface) = 0;
    // The cursor over the surface: IDC_ARROW or IDC_CROSS as a number.
    virtual void setCursor(Surface, UINT /*cursor*/) {}
    // Returns when everything shown or hidden so far is on the screen, or after half a second.
    virtual void flush() {}

    // The duplication: one at a time, on one thread, not the user-interface thread. Starts a view
    // of the monitor, whose first image waitForPicture reports as Changed; excluded surfaces are
    // left out where the display can do that. False: the monitor or the display has gone.
    virtual bool openPictures(std::uintptr_t monitor) = 0;
    // Changed once the desktop differs from the last Changed; Unchanged when the time is over, also
    // on a display that has gone; Lost, for good, after a change of the monitor.
    virtual PictureState waitForPicture(DWORD milliseconds) = 0;
    // `area` as it is now, or as it was last on a display that has gone. Null without memory for
    // it.
    virtual CapturedPicture readPicture(const RECT& area) = 0;
    virtual void closePictures() {}

    virtual void clearClipboard() {}
    // A file as a UTF-8 path. False: another program keeps the clipboard.
    virtual bool offerFile(const std::string& /*path*/) { return true; }
    // Before the process ends: what it offers outlives it, if the desktop can keep it. Waits at
    // most one second.
    virtual void leaveClipboard() {}

    // Adds or changes the icon; null removes it. A tray that starts later shows it, too, so a
    // desktop without one is no failure.
    virtual void setTrayIcon(const TrayIcon* icon) = 0;
    // Sends it to the desktop's notification service without waiting: NoticeShown or NoticeRefused
    // follows with the returned number or a later one. 0: there is no service.
    virtual UINT sendNotice(const Notice&) { return 0; }
    // What the service has not answered is not to be shown later.
    virtual void withdrawNotices() {}
    // Of the primary monitor, without what panels cover.
    virtual RECT workArea() = 0;
    // Windows of other programs than X11's are not on this display, so a clip does not show them.
    virtual bool isWaylandSession() { return false; }
    // In the user's file manager. False: there is none.
    virtual bool openFolder(const std::string& /*path*/) { return true; }
};

Host& memoryHost();  // embedded desktop, driven through platform/control.h
Host& x11Host();  // live display named by DISPLAY; throws std::runtime_error if it cannot be opened

// The host in use. Chosen before the first operation that needs a desktop.
inline std::atomic<Host*> chosen = nullptr;
inline void use(Host& host) { chosen = &host; }
inline Host& current() {
    if (!chosen) desktop::refuse("desktop", "no host has been chosen", 0);
    return *chosen;
}

}  // namespace host
