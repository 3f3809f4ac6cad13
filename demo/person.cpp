#include "demo/person.h"

#include <shlobj.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace person {

namespace {

// The sheet has the keyboard focus and covers the monitor; the frame does neither.
bool overlayIsUp(bool asSheet) {
    const auto all = desktop::windows();
    return std::any_of(all.begin(), all.end(), [&](const desktop::ShownWindow& one) {
        return one.className == "QuorvelClipOverlay" && one.visible && one.foreground == asSheet;
    });
}

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

void pressKeys(const std::vector<UINT>& keys) {
    for (const UINT key : keys) hands.pressKey(key);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) hands.releaseKey(*key);
}

void pressShortcut() { pressKeys({VK_LCONTROL, VK_LSHIFT, '7'}); }
void pressEsc() { pressKeys({VK_ESCAPE}); }

void drag(int fromX, int fromY, int toX, int toY) {
    hands.movePointer(fromX, fromY);
    hands.pressButton(1);
    hands.movePointer(toX, toY);
    hands.releaseButton(1);
}

std::filesystem::path pastedFile() {
    const auto block = desktop::clipboardBlock();
    if (!block) return {};
    DROPFILES header;
    std::memcpy(&header, block->data(), sizeof header);
    std::u16string path((block->size() - header.pFiles) / sizeof(WCHAR), 0);
    std::memcpy(path.data(), block->data() + header.pFiles, path.size() * sizeof(WCHAR));
    return path.substr(0, path.find(WCHAR{0}));
}

bool isShown(const std::string& className) {
    const auto all = desktop::windows();
    return std::any_of(all.begin(), all.end(), [&](const desktop::ShownWindow& one) {
        return one.visible && one.className == className;
    });
}

bool sheetIsUp() { return overlayIsUp(true); }
bool frameIsUp() { return overlayIsUp(false); }

std::vector<std::string> callsOf(const std::string& operation) {
    std::vector<std::string> calls;
    for (const desktop::LoggedCall& call : desktop::callLog())
        if (call.operation == operation) calls.push_back(call.arguments);
    return calls;
}

}  // namespace person
