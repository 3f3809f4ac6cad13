// Tests of the whole program on the embedded desktop. It keeps its state for the life of a process,
// so each body runs in a process of its own.

#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "demo/person.h"

namespace person {

using Path = std::filesystem::path;

// Runs `body` in a child process with fresh user folders and the embedded desktop of one 1920 ×
// 1080 monitor, and `afterwards` here, when the child has ended. The child's failed expectations
// are printed by it and fail the test here.
void atDesktop(
    const std::function<void()>& body, const std::function<void()>& afterwards = [] {});

Path home();  // the user's folders lie below
Path dataFolder();
Path recordings();
std::vector<Path> filesIn(const Path& folder);  // sorted; empty if there is no folder
std::string contentOf(const Path& file);
bool isPartialFileLeft();

// A process that does nothing until it is told to, forked before this one has threads. The test
// fails if it does not end with 0.
struct SecondProcess {
    explicit SecondProcess(const std::function<int()>& body);
    void run();

private:
    static inline int number = 0;
    const Path go;  // its being there tells the process
    const pid_t process;
};

// Waits until the condition holds; in vain, the test has failed.
void await(const char* what, const std::function<bool()>& condition);

// What a person does. The ones that end in a visible change wait for it.
void openSheet();  // the shortcut, then the dim sheet is there
void openTrayMenu();
std::string awaitBox();                   // what the one box says that comes: "title|text|icon"
std::string readBox();                    // answers it as well
void chooseFromMenu(UINT id);             // when a menu is open; starts the call log
void startRecording(const RECT& region);  // sheet, drag, red frame, and a sample or a failure
void stopAndFinish();                     // Esc, then the clip is copied

// Calls whose failure may leave a person without a sheet, a notice or an answer to Esc, as the real
// desktop might: a try that met one is given up.
bool isOutOfSight(const std::string& operation);

// One short recording of (100, 100, 420, 340) to its end, whatever that is.
struct Outcome {
    std::optional<Path> clip;          // new in the folder
    std::vector<std::string> notices;  // balloons since the shortcut
};
Outcome recordOneClip(int samples = 1);  // at least so many before Esc

std::string lastNotice();  // empty if there was none

}  // namespace person
