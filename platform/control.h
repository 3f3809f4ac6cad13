// The desktop seen from outside: for the demonstration, the tests and the benchmarks. All functions may be called
// from any thread but the program's user-interface thread, which must be free to answer.

#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace desktop {

// --- Calls ---------------------------------------------------------------------------------------------------

struct LoggedCall {
    std::string operation;
    // Separated by ", ": texts in quotes, numbers in decimal, identifiers as usual, pointers as "set" or "null".
    std::string arguments;
    std::int64_t time = 0;  // when the call began: nanoseconds of the steady clock
    std::thread::id thread = {};
};
void startCallLog();  // empties and starts it
std::vector<LoggedCall> callLog();

struct Fault {
    enum Kind { Fail, Stall, EndBefore, EndAfter };
    Kind kind = Fail;
    std::string operation;     // empty: any operation
    int nth = 1;               // counted from the planning on
    DWORD code = 0;            // last error, HRESULT or LSTATUS that the call gives; 0: the operation's usual one
    bool andAllLater = false;  // not only the n-th call but every later one too
};
constexpr int plannedEndCode = 77;  // exit code of a planned end of the process
void planFault(const Fault& fault); // adds to what is planned
void clearFaults();                 // forgets all plans, lets stalled calls go on
bool faultStruck();                 // some planned fault has come true since clearFaults
std::string struckCall();           // the operation that it struck first

// What the program holds, by kind; kinds of which nothing is open are left out.
std::map<std::string, int> openObjects();

// --- Waiting ---------------------------------------------------------------------------------------------------

// Looks every few milliseconds until `condition` holds; false after `seconds`.
bool waitUntil(const std::function<bool()>& condition, double seconds = 30);

// --- The embedded desktop: what a person and other programs do ---------------------------------------------------

struct MonitorSetup {
    RECT bounds{};
    int rotation = 1;  // DXGI_MODE_ROTATION
    UINT dpi = 96;
};
// Takes the place of all monitors; the first is the primary one. Before the program starts, or while it runs.
void setMonitors(const std::vector<MonitorSetup>& monitors);
// Another mode of one monitor, which keeps its handle: size, place or rotation. A running duplication is lost.
void changeMonitor(std::size_t index, const MonitorSetup& setup);
void lockDesktop(bool locked);  // A running duplication is lost; a new one is refused until the desktop is unlocked.

// Changes the desktop's picture: `painter` gets the pixels of the whole virtual desktop, row by row, `stride` pixels
// apart, whose first pixel is at `origin`. Counts as a new picture.
struct Canvas {
    std::uint32_t* pixels;
    int width, height, stride;
    POINT origin;
};
void paintDesktop(const std::function<void(const Canvas&)>& painter);
// The next frames of the duplication, also of one that is opened later, are so many in which only the
// pointer moved; the image that is due comes after them.
void addPointerFrames(int count);

void movePointer(int x, int y);
void pressButton(int button);  // 1 left, 2 middle, 3 right
void releaseButton(int button);
void pressKey(UINT key);       // virtual key, side-specific for modifiers
void releaseKey(UINT key);
void clickTray(UINT mouseMessage);
void takeForeground();         // another program comes to the front
void restartShell();           // the tray icons are gone, "TaskbarCreated" is broadcast
void endSession(bool reallyEnds);
void holdClipboard(bool held); // another program keeps the clipboard open
void takeHotKey(UINT modifiers, UINT key);  // another program has registered it
void limitDisk(std::int64_t bytes);         // writes of the sink writer beyond this many bytes fail; -1: no limit
void holdEncoder(bool hold);                // while held, samples wait for the encoder

// Key and pointer events that no window, hook or hot key of the program took, since the last call.
struct PassedInput {
    bool isKey;
    UINT key;     // virtual key, or button number
    bool pressed;
};
std::vector<PassedInput> inputOfOthers();

// What a person sees of the area, or of everything: with all windows, tray icon and balloon, as PNG.
void saveScreenshot(const std::string& path, const std::optional<RECT>& area = {});
std::uint32_t screenPixel(int x, int y);  // 0x00RRGGBB
// What the duplication would see.
std::uint32_t capturedPixel(int x, int y);

// --- What the program shows, on any host -------------------------------------------------------------------------

struct ShownBalloon {
    std::string title, text;  // UTF-8
    bool isError;
};
std::vector<ShownBalloon> balloons();  // all so far, oldest first
std::string trayTip();                 // empty: no icon
void waitForBalloon(const std::string& text);  // throws std::runtime_error, with all balloons in its text, if none comes

struct ShownBox {
    std::string title, text;
    UINT icon;  // MB_ICONERROR and its like
};
std::vector<ShownBox> openBoxes();

struct ShownControl {
    int id;
    std::string className, text;  // UTF-8; "&" stands before the underlined letter
    bool checked, enabled, focused;
    RECT bounds;  // on the virtual desktop
};
struct ShownDialog {
    std::string title;
    std::vector<ShownControl> controls;  // in their order
};
std::optional<ShownDialog> openDialog();  // none: not open, or minimised

struct MenuEntry {
    UINT id;
    std::string text;
    bool enabled, separator;
};
std::vector<MenuEntry> openMenu();  // empty: none open

struct ShownWindow {
    std::string className, title;
    RECT bounds;
    bool visible, foreground, inTaskbar;
    UINT cursor;  // over it: IDC_ARROW or IDC_CROSS as a number; 0 while it has set none
};
std::vector<ShownWindow> windows();

std::optional<std::vector<std::uint8_t>> clipboardBlock();  // CF_HDROP as the program left it

// Sends a message to the program's window of that class as another process would (WM_CLOSE, the activation message).
void postToWindow(const std::string& className, UINT message, WPARAM wparam = 0, LPARAM lparam = 0);

}  // namespace desktop
