// What the two native desktops do differently for the user: the embedded one and an X11 display.

#pragma once

#include <sys/types.h>

#include "tests/scenarios/user.h"

namespace user {

Path home();  // the user's folders are in it

// A process of the body's desktop, forked before this one has threads.
struct SecondProcess {
    explicit SecondProcess(const std::function<std::string()>& body);
    ~SecondProcess();
    SecondProcess(const SecondProcess&) = delete;
    SecondProcess& operator=(const SecondProcess&) = delete;

    std::string run();  // Lets it go; what its body returns.

private:
    int go = -1, told = -1;
    pid_t process = 0;
};

// Runs the program here until it ends, and answers its message box. "code", or
// "code|title|text of the box".
std::string runToItsEnd(const std::string& arguments = "");

namespace desk {

void open();       // before anything else, in the process of the body
void useHost();    // before the program starts, in its process
void openAgain();  // in a second start's process: hands of its own
void clickTray(int button);
void doubleClickTray();
bool othersGet(const std::vector<UINT>& keys);
void takeShortcut(UINT modifiers, UINT key);
void takeForeground();
void restartShell();
void endSession(bool reallyEnds);
std::uint32_t pixel(int x, int y);
Path pastedFile();

}  // namespace desk

}  // namespace user
