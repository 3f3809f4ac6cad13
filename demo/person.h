// The program on the embedded desktop, and the hands and eyes of a person who uses it: for the
// demonstration, the tests and the benchmarks.

#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "platform/control.h"

namespace person {

// Runs wWinMain on a thread of its own from construction on, once for a process.
struct Program {
    explicit Program(const std::u16string& commandTail = u"");
    ~Program();  // closes it, if nobody did
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    bool hasEnded() const { return ended; }
    bool waitForEnd();  // false: it still runs after half a minute
    int close();  // asks it to exit until it has; the exit code. One that stays ends the process.

private:
    int exitCode = -1;
    std::atomic<bool> ended = false;
    std::thread thread;
};

// A new and empty folder for the temporary, which the caller removes. Throws std::runtime_error.
std::filesystem::path makeTemporaryFolder();

// Through which keys and pointer go. They are the embedded desktop's until they are replaced.
struct Hands {
    void (*pressKey)(UINT key) = desktop::pressKey;
    void (*releaseKey)(UINT key) = desktop::releaseKey;
    void (*movePointer)(int x, int y) = desktop::movePointer;
    void (*pressButton)(int button) = desktop::pressButton;
    void (*releaseButton)(int button) = desktop::releaseButton;
};
inline Hands hands;

void pressKeys(const std::vector<UINT>& keys);  // down in order, up in reverse order
void pressShortcut();                           // Ctrl+Shift+7
void pressEsc();
void drag(int fromX, int fromY, int toX, int toY);

// A window of that class is on the screen.
bool isShown(const std::string& className);
bool sheetIsUp();
bool frameIsUp();
// The arguments of every call of an operation since the log was started.
std::vector<std::string> callsOf(const std::string& operation);

}  // namespace person
