#include "demo/person.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace person {

namespace {

void askToExit() {
    try {
        desktop::postToWindow("QuorvelDeskClip", WM_CLOSE);
    } catch (const std::runtime_error&) {
        // There is no window yet, or no longer.
    }
}

}  // namespace

Program::Program(const std::u16string& commandTail) {
    thread = std::thread([this, tail = commandTail]() mutable {
        exitCode = wWinMain(GetModuleHandleW(nullptr), nullptr, tail.data(), SW_SHOWNORMAL);
        ended = true;
    });
}

Program::~Program() { close(); }

// Everything that belongs to the thread goes with it.
bool Program::waitForEnd() {
    const bool isOver = desktop::waitUntil([this] { return hasEnded(); });
    if (isOver && thread.joinable()) thread.join();
    return isOver;
}

int Program::close() {
    const bool isOver = desktop::waitUntil([this] {
        if (!hasEnded()) askToExit();
        return hasEnded();
    });
    if (!isOver) {
        std::fputs("The program does not close.\n", stderr);
        std::_Exit(EXIT_FAILURE);
    }
    waitForEnd();
    return exitCode;
}

std::filesystem::path makeTemporaryFolder() {
    std::string path = (std::filesystem::temp_directory_path() / "desk-clip-XXXXXX").string();
    if (!mkdtemp(path.data())) throw std::runtime_error("Cannot create a temporary folder");
    return path;
}

bool isShown(const std::string& className) {
    const auto all = desktop::windows();
    return std::any_of(all.begin(), all.end(), [&](const desktop::ShownWindow& one) {
        return one.visible && one.className == className;
    });
}

std::vector<std::string> callsOf(const std::string& operation) {
    std::vector<std::string> calls;
    for (const desktop::LoggedCall& call : desktop::callLog())
        if (call.operation == operation) calls.push_back(call.arguments);
    return calls;
}

}  // namespace person
