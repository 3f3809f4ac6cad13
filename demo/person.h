// The program in this process and its user's input: for the demonstration, the tests and the
// benchmarks.

#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "platform/control.h"

namespace person {

// Runs wWinMain on its own thread. At most one in a process.
struct Program {
    explicit Program(const std::u16string& commandTail = u"");
    ~Program();  // closes the program if it still runs
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    bool hasEnded() const { return ended; }
    bool waitForEnd();  // false if it still runs after half a minute
    int close();        // requests the exit until it happens and returns the exit code

private:
    int exitCode = -1;
    std::atomic<bool> ended = false;
    std::thread thread;
};

// Creates an empty temporary folder, which the caller removes. Throws std::runtime_error.
std::filesystem::path makeTemporaryFolder();

// Where a click on the embedded desktop's icon leaves the pointer.
inline POINT trayIcon{1900, 1060};
inline void clickEmbeddedTray(int button) {
    desktop::movePointer(trayIcon.x, trayIcon.y);
    desktop::clickTray(button == 3 ? WM_RBUTTONDOWN : WM_LBUTTONDOWN);
    desktop::clickTray(button == 3 ? WM_RBUTTONUP : WM_LBUTTONUP);
}

// Input of keys and pointer. That of the embedded desktop unless replaced.
struct Hands {
    void (*pressKey)(UINT key) = desktop::pressKey;
    void (*releaseKey)(UINT key) = desktop::releaseKey;
    void (*movePointer)(int x, int y) = desktop::movePointer;
    void (*pressButton)(int button) = desktop::pressButton;
    void (*releaseButton)(int button) = desktop::releaseButton;
    void (*clickTray)(int button) = clickEmbeddedTray;
};
inline Hands hands;

// Whether a window of that class is visible.
bool isShown(const std::string& className);
// The arguments of every call of the operation in the call log.
std::vector<std::string> callsOf(const std::string& operation);

}  // namespace person
