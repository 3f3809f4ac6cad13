// The desktop as its user, other programs and the system see it, for the demonstration, the tests
// and the benchmarks. Any thread may call, except the program's user-interface thread, which has to
// be free to answer. Texts are UTF-8.

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

// --- Calls

struct LoggedCall {
    std::string operation;
    // Separated by ", ": texts in quotes, numbers in decimal, identifiers as usual, pointers as
    // "set" or "null".
    std::string arguments;
    std::int64_t time = 0;  // when the call began: nanoseconds of the steady clock
    std::thread::id thread = {};
};
void startCallLog();  // clears the log, too
std::vector<LoggedCall> callLog();

struct Fault {
    enum Kind { Fail, Stall, EndBefore, EndAfter };
    Kind kind = Fail;
    std::string operation;     // empty: any operation
    int nth = 1;               // counted from planFault on
    DWORD code = 0;            // last error, HRESULT or LSTATUS; 0: the operation's usual one
    bool andAllLater = false;  // strikes every later call, too
};
constexpr int plannedEndCode = 77;  // exit code of a planned end of the process
void planFault(const Fault& fault);
void clearFaults();        // also continues stalled calls
bool faultStruck();        // whether any fault has struck since clearFaults
std::string struckCall();  // the first operation that was struck

// The number of open objects by kind, without zeros.
std::map<std::string, int> openObjects();

// Tests `condition` every few milliseconds. Returns false if it does not hold within `seconds`.
bool waitUntil(const std::function<bool()>& condition, double seconds = 30);

// --- The embedded desktop: what its user and other programs do

struct MonitorSetup {
    RECT bounds{};
    int rotation = 1;  // DXGI_MODE_ROTATION
    UINT dpi = 96;
};
// Replaces all monitors, also while the program runs. The first is the primary one.
void setMonitors(const std::vector<MonitorSetup>& monitors);
// Changes size, position or rotation of one monitor, which keeps its handle. A running duplication
// is lost.
void changeMonitor(std::size_t index, const MonitorSetup& setup);

// The pixels of the whole virtual desktop, 0x00RRGGBB. Rows are `stride` pixels apart; the first
// pixel is at `origin`.
struct Canvas {
    std::uint32_t* pixels;
    int width, height, stride;
    POINT origin;
};
// Changes the desktop's image. The duplication has a new frame then.
void paintDesktop(const std::function<void(const Canvas&)>& painter);
// In the next `count` frames, also of a duplication that is opened later, only the pointer has
// moved. The next image follows them.
void addPointerFrames(int count);

void movePointer(int x, int y);
void pressButton(int button);  // 1 left, 2 middle, 3 right
void releaseButton(int button);
void pressKey(UINT key);  // virtual key, left or right for modifiers
void releaseKey(UINT key);
void clickTray(UINT mouseMessage);
void takeForeground();  // another program becomes the foreground program
void restartShell();    // removes the tray icons and broadcasts "TaskbarCreated"
void endSession(bool reallyEnds);
void takeHotKey(UINT modifiers, UINT key);  // another program has registered it
void holdEncoder(bool hold);                // while held, samples wait for the encoder

// Key and pointer events since the last call that went to no window, hook or hot key of the
// program.
struct PassedInput {
    bool isKey;
    UINT key;  // virtual key, or button number
    bool pressed;
};
std::vector<PassedInput> inputOfOthers();

// A PNG of the area, or of the whole desktop, with all windows, the tray icon and the balloon.
void saveScreenshot(const std::string& path, const std::optional<RECT>& area = {});
std::uint32_t screenPixel(int x, int y);  // 0x00RRGGBB
// The same in a frame of the duplication.
std::uint32_t capturedPixel(int x, int y);

// --- What the program shows, on any host

struct ShownBalloon {
    std::string title, text;
    bool isError;
};
std::vector<ShownBalloon> balloons();  // all so far, oldest first
std::string trayTip();                 // empty: no icon
// Throws std::runtime_error, which lists all balloons, if none with this text is shown.
void waitForBalloon(const std::string& text);

struct ShownBox {
    std::string title, text;
    UINT icon;  // MB_ICONERROR or the like
};
std::vector<ShownBox> openBoxes();

struct ShownControl {
    int id = 0;
    std::string text = {};  // with "&" before the underlined letter
    bool checked = false, enabled = true, focused = false;
    RECT bounds{};  // on the virtual desktop
};
struct ShownDialog {
    std::string title;
    std::vector<ShownControl> controls;
};
std::optional<ShownDialog> openDialog();  // none if it is closed or minimized

struct MenuEntry {
    UINT id = 0;
    std::string text;
    bool enabled = true, separator = false;
    RECT area{};  // in the menu
};
std::vector<MenuEntry> openMenu();  // empty if none is open

struct ShownWindow {
    HWND handle;
    std::string className, title;
    RECT bounds;
    bool visible, foreground, inTaskbar;
    UINT cursor;  // IDC_ARROW or IDC_CROSS as a number; 0 until it is set
};
std::vector<ShownWindow> windows();

std::optional<std::vector<std::uint8_t>> clipboardBlock();  // CF_HDROP as the program left it

// Posts a message to the program's window of that class, as another process does (WM_CLOSE, the
// activation message). Throws std::runtime_error if there is no such window.
void postToWindow(const std::string& className, UINT message, WPARAM wparam = 0, LPARAM lparam = 0);

}  // namespace desktop
