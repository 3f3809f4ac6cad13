// What the user of the native program has beside user.h.

#pragma once

#include <sys/types.h>

#include "demo/person.h"
#include "tests/scenarios/user.h"

namespace user {

using person::callsOf;

Path home();  // the user's folders are in it

// A process of the body's desktop, forked before this one has threads.
struct SecondProcess {
    explicit SecondProcess(const std::function<std::string()>& body);
    ~SecondProcess();
    SecondProcess(const SecondProcess&) = delete;
    SecondProcess& operator=(const SecondProcess&) = delete;

    std::string run();  // Lets it go; what its body returns.

private:
    int line = -1;
    pid_t process = 0;
};

// Runs the program here until it ends, and answers its message box. "code", or
// "code|title|text of the box".
std::string runToItsEnd(const std::string& arguments = "");

HWND makeWindow(const WCHAR* name, WNDPROC procedure);  // hidden, of a class of that name

// Of the two desktops: in the process of the body before anything else, before the program starts
// there, and in a second process.
void openDesktop();
void useHost();
void openAgain();

}  // namespace user
