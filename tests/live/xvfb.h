// A display of the test's own, the user in front of it, and other programs on it: keys and pointer
// come from a program of their own.

#pragma once

#include <xcb/xcb.h>

#include <functional>

#include "tests/scenarios/user.h"

namespace live {

// Starts an Xvfb of 1920 × 1080 and lets DISPLAY name it; it ends with this process. Keys and
// pointer of `user` are this display's from then on. Once for a process.
void startDisplay();
xcb_connection_t* person();

// A program that ends with this process. The command is the shell's; variables may lead it.
pid_t start(const std::string& command);
int waitFor(pid_t program);           // 0 if it ended well
int end(pid_t program);               // asks it to end, and waits
int run(const std::string& command);  // likewise
pid_t startTray(const std::string& edge, int height = 24);

void input(const std::string& orders);  // keys and pointer, in the words of xdotool
// "+Control_L" presses, "-Control_L" releases, "a" does both.
void type(const std::string& keys);

void grabKey(int modifiers, const std::string& key);  // for another program
// The list of addresses that a clipboard manager saves when `end` ends the program. It requests
// them together with a form that nobody offers.
std::string savedAtTheEnd(const std::function<void()>& end);

std::uint32_t pixelAt(int x, int y);  // 0x00RRGGBB
xcb_window_t focus();
RECT boundsOf(const std::string& title);  // of a window on the screen; empty if there is none
RECT boundsInFront();                     // of the window that has the keyboard
inline bool isShown(const std::string& title) { return boundsOf(title).right > 0; }
POINT awaitIcon(const std::string& tip);  // a point in it; the tray moves it while it docks

// Another program's window of one color, which it never repairs. It writes down the keys.
struct Client {
    explicit Client(const RECT& bounds);  // returns when it is on the screen and has the keyboard
    ~Client() { xcb_disconnect(server); }
    Client(const Client&) = delete;

    void takeFocus();
    void moveBar(int x);  // a bar of 16 × 16 at the upper edge
    std::string heard();  // the keys so far, and "click": "+a-a+Escape"

    xcb_connection_t* const server;
    xcb_window_t window = 0, bar = 0;
    std::string keys;
};

// A session bus of the test's own, with a notification service on it or without one.
struct SessionBus {
    explicit SessionBus(bool hasService);  // DBUS_SESSION_BUS_ADDRESS names it.
    ~SessionBus() { end(daemon); }

    // What the service writes of the last notice: its "body", "urgency", "id" and others.
    std::string last(const std::string& field) const;

    const ScratchFolder folder;
    const Path notices = folder.path / "notices";
    pid_t daemon = 0;
};

}  // namespace live
