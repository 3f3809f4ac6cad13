// A display of the test's own, and the user in front of it: keys and pointer come from a connection
// that the program knows nothing of.

#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <windows.h>

namespace live {

// Starts an Xvfb of 1920 × 1080 and lets DISPLAY name it; it ends with this process. Once for a
// process.
void startDisplay();
std::string startDistantDisplay();  // another one, which DISPLAY must name so: it shares no memory
void connect();                     // to the display; again in a process that was forked
xcb_connection_t* person();         // the user's connection
xcb_window_t root();

pid_t start(const std::vector<std::string>& command);  // a program that ends with this process
int waitFor(pid_t program);                            // its exit code; -1: a signal ended it
int end(pid_t program);                                // asks it to end, and waits
int run(const std::string& command);                   // of the shell; its exit code
// The program under test, with the user folders of this process. Returns when its shortcut,
// Ctrl+Shift+7, is taken.
pid_t startProgram();

// Keys by their symbol: 'a', 0xff1b.
xcb_keycode_t codeOf(xcb_keysym_t key);
xcb_keysym_t symbolOf(UINT virtualKey);
void press(xcb_keysym_t key);
void release(xcb_keysym_t key);
void tap(xcb_keysym_t key);
// "+Ctrl" presses, "-Ctrl" releases, "a" does both. Names: letters, digits, Esc, Tab, Enter,
// Space, Ctrl, Shift, Alt.
void type(const std::string& keys);
void movePointer(int x, int y);
void pressButton(int button);
void releaseButton(int button);
void click(POINT at, int button = 1);
void doubleClick(POINT at);  // in one go: a pause of this process cannot part it
void takeHands();            // The hands of the whole program's tests are the ones above.

// Another program has the combination from now on; false: one has it already.
bool grabKey(UINT modifiers, UINT virtualKey);
// What the clipboard has in that form; empty if nothing.
std::string pasted(const std::string& target);
// The list of addresses that a clipboard manager saves when `end` ends the program. It requests
// them together with a form that nobody offers.
std::string savedAtTheEnd(const std::function<void()>& end);

std::uint32_t pixelAt(int x, int y);  // 0x00RRGGBB
xcb_window_t focus();
bool isOwned(const std::string& selection);
// The topmost on the screen, below that window: 0 if there is none of that title.
xcb_window_t findWindow(const std::string& title, xcb_window_t parent = root());
RECT boundsOf(xcb_window_t window);  // on the screen; empty if there is no such window

// Another program's window of one color, which it never repairs. It writes down the keys.
struct Client {
    explicit Client(const RECT& bounds);  // returns when it is on the screen and has the keyboard
    ~Client() { xcb_disconnect(server); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void moveBar(int x);  // a bar of 16 × 16 at the upper edge
    std::string heard();  // the keys and clicks so far: "+a -a +Esc"

    xcb_connection_t* const server;
    xcb_window_t window = 0, bar = 0;
    std::string keys;
};

}  // namespace live
