// A display of the test's own, and a person in front of it: keys and pointer come from a connection
// that the program knows nothing of.

#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <windows.h>

namespace live {

// Starts an Xvfb of 1920 × 1080 and lets DISPLAY name it; it ends with this process. Once for a
// process.
void startDisplay();
std::string startDistantDisplay();  // another one, which DISPLAY must name so: it shares no memory
void connect();                     // to the display; again in a process that was forked
pid_t start(const std::vector<std::string>& command);  // a program that ends with this process
int waitFor(pid_t program);                            // its exit code; -1: a signal ended it
int end(pid_t program);                                // asks it to end, and waits
xcb_connection_t* person();                            // the person's connection
xcb_window_t root();
// Throws std::runtime_error if the person's connection gets no such event.
std::shared_ptr<xcb_generic_event_t> awaitEvent(int type);

// Keys by their symbol: 'a', 0xff1b.
xcb_keycode_t codeOf(xcb_keysym_t key);
xcb_keysym_t symbolOf(UINT virtualKey);
constexpr xcb_keysym_t escapeKey = 0xff1b, controlKey = 0xffe3, shiftKey = 0xffe1, altKey = 0xffe9;
void press(xcb_keysym_t key);
void release(xcb_keysym_t key);
void tap(xcb_keysym_t key);
void movePointer(int x, int y);
void pressButton(int button);
void releaseButton(int button);
void click(POINT at, int button = 1);
void doubleClick(POINT at);  // in one go: a pause of this process cannot part it

// Another program has the combination (MOD_CONTROL and MOD_SHIFT) from now on.
void grabKey(UINT modifiers, UINT virtualKey);
std::string outputOf(const std::string& command);
// What the clipboard has in that form; empty if nothing.
std::string pasted(const std::string& target);

std::uint32_t pixelAt(int x, int y);  // 0x00RRGGBB
xcb_window_t focus();
// On the screen, below that window: 0 if there is none of that title.
xcb_window_t findWindow(const std::string& title, xcb_window_t parent = root());
RECT boundsOf(xcb_window_t window);  // on the screen; empty if there is no such window
void setWorkArea(const RECT& area);  // as a window manager does for its panels
void setMonitor(const std::string& name, const RECT& bounds, bool primary);

// A desktop's clipboard manager.
struct ClipboardManager {
    ClipboardManager();
    // Waits until a program asks it to keep the clipboard. Returns the list of addresses that it
    // gets in one request with a form that nobody offers.
    std::string save() const;

    const xcb_window_t window;
};

// A program that draws and listens (pattern_client.cpp).
struct Client {
    // Returns when it is on the screen and has the keyboard.
    Client(const RECT& bounds, const char* kind);
    ~Client();
    // The keys heard so far: "+a -a +Escape".
    std::string heard() const;

    std::filesystem::path log;
    pid_t process = 0;
};

// The program under test, in a process of its own and with the user folders of this one.
struct Program {
    Program();  // returns when its shortcut, Ctrl+Shift+7, is taken
    ~Program() { end(process); }
    static std::filesystem::path clipsFolder();
    static bool isWriting();                    // more than a header is in a partial file
    std::filesystem::path waitForClip() const;  // the first one; empty if none comes

    pid_t process = 0;
};
void pressShortcut();

// Lets the whole program's tests in this process press the keys and move the pointer of the
// display.
void takeHands();

}  // namespace live
