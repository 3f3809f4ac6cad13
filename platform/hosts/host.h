// The seam between the desktop's rules and the place where pixels come from and go to.
//
// Everything is called on the user-interface thread unless it says otherwise. Coordinates are physical pixels of the
// virtual desktop, right and bottom exclusive. Pixels are 32 bits, blue in the lowest byte, as the duplication has
// them; surfaces are opaque, and their opacity stands in the placement.

#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace host {

using Surface = std::uint32_t;  // 0 is no surface

struct Picture {
    const std::uint32_t* pixels = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;  // in pixels
};

struct Monitor {
    std::uintptr_t id = 0;  // Serves as HMONITOR. A change of layout gives new ids; an old one never comes back.
    RECT bounds{};
    int rotation = 1;  // DXGI_MODE_ROTATION
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
        TrayMouse,      // the tray icon: `message` is the mouse message
        ActivationLost, // another program took the foreground
        Exposed,        // `surface` needs to be presented again
        LayoutChanged,  // monitors came, went, moved or turned
        SessionQuery,   // the session wants to end
        SessionEnd,     // it ends (`message` 1) or goes on after all (0)
        TaskbarCreated, // the tray has been started anew
    };
    Kind kind{};
    POINT at{};                // pointer position, with every pointer event
    int button = 0;            // 1 left, 2 middle, 3 right
    UINT key = 0;              // virtual key, side-specific for modifiers
    UINT modifiers = 0;        // MOD_ALT | MOD_CONTROL | MOD_SHIFT | MOD_WIN held before this event
    UINT message = 0;
    Surface surface = 0;       // that the pointer event is for; 0: what lies there is not ours
    // When a key moved: an answer of the hooks that comes later than theirs may is dropped. Unset: there is no limit.
    std::chrono::steady_clock::time_point time{};
};

// Which keys come to the program whatever has the keyboard, beside its hot keys. A display may have no way to
// pass a key on once it has come here, so no more may be grabbed than the program is going to take.
enum class KeyGrab { None, Escape, All };

struct Placement {
    RECT bounds{};
    BYTE opacity = 255;
    std::vector<RECT> shape;          // in surface coordinates; empty means the whole surface
    bool passesMouse = false;         // clicks go to what lies below
    bool excludedFromCapture = false;
    bool topmost = false;             // stays above the windows of other programs
};

// How the desktop answers the duplication. PointerMoved: a frame without an image, because only the
// pointer moved; it may be the first one, and the image that is due still comes as Changed.
enum class PictureState { Changed, PointerMoved, Unchanged, Lost };

// Whoever has it can read the bytes for as long as he likes; the next readPicture may change them.
struct CapturedPicture {
    std::shared_ptr<const std::uint8_t[]> bytes;  // the first row
    int pitch = 0;                              // from row to row, in bytes
};

struct IconImage {
    std::vector<std::uint32_t> pixels;  // premultiplied, side × side
    int side = 0;                       // 0: there is none
};

struct TrayIcon {
    std::function<IconImage(int side)> image;  // the largest up to that side, or else the smallest
    std::u16string tip;
};

struct Balloon {
    std::u16string title, text;
    bool isError = false;
    bool isUrgent = false;  // The first error after a recording was lost.
};

struct Host {
    const char* name;         // "memory" or "x11"
    std::string (*session)(); // Names the desktop among those of this user, so that a second start finds the first.

    // Events. nextEvent takes one that is there and never waits; the descriptor is readable while one may be there.
    int (*eventDescriptor)();
    bool (*nextEvent)(Event& event);
    // Says what became of a pointer or key event: `taken` by a hook, a hot key or a window of ours, or left to
    // whatever else is on the desktop. Nothing waits for it.
    void (*finishInput)(const Event& event, bool taken);

    std::vector<Monitor> (*monitors)();
    POINT (*pointer)();
    bool (*keyIsDown)(UINT key);  // virtual key; generic modifier codes mean either side

    // The combination fires anywhere on the desktop as a key event. False: another program has it.
    bool (*grabHotKey)(UINT modifiers, UINT key);
    void (*releaseHotKey)(UINT modifiers, UINT key);
    // False: another program has those keys; none is grabbed then.
    bool (*grabKeys)(KeyGrab keys);

    bool hasTaskbar;  // From which the user can open a minimised window again.

    // Surfaces are stacked in the order in which they were last raised.
    Surface (*createSurface)(const std::u16string& title);
    void (*destroySurface)(Surface surface);
    void (*showSurface)(Surface surface, const Placement& placement, bool raise);
    // The whole surface, in the size of its bounds. It keeps what it shows if there is no memory for the pixels.
    void (*presentSurface)(Surface surface, const Picture& picture);
    void (*hideSurface)(Surface surface);
    // Keyboard input goes to this surface; 0 gives it back to what had it before. False: refused.
    bool (*focusSurface)(Surface surface);
    // The cursor over the surface: IDC_ARROW or IDC_CROSS as a number.
    void (*setCursor)(Surface surface, UINT cursor);
    // Returns when everything shown or hidden so far is on the screen.
    void (*flush)();

    // The picture without excluded surfaces. Called on one thread at a time, not the user-interface thread.
    // openPictures: a fresh view of the monitor, whose first image is a Changed of waitForPicture; false: refused
    // (locked desktop). waitForPicture: Changed once the picture differs from the last Changed. Lost is final.
    bool (*openPictures)(std::uintptr_t monitor);
    PictureState (*waitForPicture)(DWORD milliseconds);
    // `area` as it is now; empty if the display does not answer any more or there is no memory for it.
    CapturedPicture (*readPicture)(const RECT& area);
    void (*closePictures)();

    // Files on the clipboard as UTF-8 paths; `block` is the whole CF_HDROP block.
    bool (*openClipboard)();  // false: another program has it open
    void (*closeClipboard)();
    void (*clearClipboard)();
    bool (*offerFiles)(const std::vector<std::string>& paths, const std::vector<std::uint8_t>& block);
    // Before the process ends: what it offers outlives it, if the desktop can keep it. Waits at most one second.
    void (*leaveClipboard)();

    bool (*setTrayIcon)(const TrayIcon* icon);  // add or change; null removes. False: no tray.
    void (*showBalloon)(const Balloon& balloon);
    bool (*openFolder)(const std::string& path);
};

const Host& memoryHost();  // embedded desktop, driven through platform/control.h
const Host& x11Host();     // live display named by DISPLAY; throws std::runtime_error if it cannot be opened

// The host in use. Chosen once, before the first operation that needs a desktop; asking without a choice stops the
// process.
void use(const Host& chosen);
const Host& current();

}  // namespace host
