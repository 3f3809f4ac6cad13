#include "demo/user.h"

#include <shlobj.h>

#include <algorithm>
#include <cstring>

#include "demo/person.h"

namespace user {

namespace {

using person::hands;

// The sheet has the keyboard focus and covers the monitor; the frame does neither.
bool overlayIsUp(bool asSheet) {
    const auto all = desktop::windows();
    return std::any_of(all.begin(), all.end(), [&](const desktop::ShownWindow& one) {
        return one.className == "QuorvelClipOverlay" && one.visible && one.foreground == asSheet;
    });
}

}  // namespace

void press(const std::vector<UINT>& keys) {
    for (const UINT key : keys) hands.pressKey(key);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) hands.releaseKey(*key);
}

void move(int x, int y) { hands.movePointer(x, y); }
void holdButton(int button) { hands.pressButton(button); }
void releaseButton(int button) { hands.releaseButton(button); }

void clickTray(int button) { hands.clickTray(button); }
bool menuIsOpen() { return !desktop::openMenu().empty(); }

void choose(UINT entry) {
    for (const desktop::MenuEntry& each : desktop::openMenu()) {
        if (!each.separator) press({VK_DOWN});
        if (each.id == entry) break;
    }
    press({VK_RETURN});
}

bool sheetIsUp() { return overlayIsUp(true); }
bool frameIsUp() { return overlayIsUp(false); }
std::string trayTip() { return desktop::trayTip(); }

std::string box() {
    const auto boxes = desktop::openBoxes();
    return boxes.empty() ? "" : boxes.back().title + "|" + boxes.back().text;
}

// The program has finished with the dialog when it updates the tip. Before that it drops the
// shortcut and opens no menu.
bool settingsAreOpen() {
    bool isInUse = desktop::openDialog().has_value();
    for (const desktop::LoggedCall& call : desktop::callLog()) {
        if (call.operation == "DialogBoxParamW") isInUse = true;
        if (call.operation == "Shell_NotifyIconW" && call.arguments.starts_with("1, 7,"))
            isInUse = false;
    }
    return isInUse;
}

ControlView control(int id) {
    if (const auto dialog = desktop::openDialog())
        for (const desktop::ShownControl& one : dialog->controls)
            if (one.id == id) return {one.text, one.checked, one.enabled, one.bounds};
    return {};
}

int focus() {
    if (const auto dialog = desktop::openDialog())
        for (const desktop::ShownControl& one : dialog->controls)
            if (one.focused) return one.id;
    return 0;
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

}  // namespace user
