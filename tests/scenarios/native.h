// What the user of the native program has beside user.h.

#pragma once

#include "demo/person.h"
#include "tests/scenarios/user.h"

namespace user {

using person::callsOf;

Path home();                         // the user's folders are in it
void makeFolders(const Path& home);  // for all that the environment names

// Forks another process of the same desktop, before this one has threads. Calling the result runs
// `body` there and returns what it returns.
std::function<std::string()> inSecondProcess(const std::function<std::string()>& body);

// Runs the program here until it ends, and answers its message box. "code", or
// "code|title|text of the box".
std::string runToItsEnd(const std::string& arguments = "");

// Of the two desktops: in the process of the body before anything else, and before the program
// starts there.
void openDesktop();
void useHost();

}  // namespace user
