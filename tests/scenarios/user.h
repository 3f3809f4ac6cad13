// The user at the desktop: what the user does with the program, and what there is to see.
//
// Three implementations, so that one set of scenarios runs on the embedded desktop, on an X11
// display, and as a Windows program under Wine. Every text is UTF-8. What waits says so, and fails
// the test when the result does not come.

#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "common/wide_text.h"
#include "demo/user.h"
#include "tests/scratch.h"

namespace user {

// Runs `body` on a desktop of one color without any trace of the program: no settings, clips or
// start entry. Natively the body runs in a process of its own, whose failed expectations fail the
// test here. `afterwards` runs when that process has ended.
void atDesktop(
    const std::function<void()>& body, const std::function<void()>& afterwards = [] {});

// Polls until the condition holds; after half a minute one is false, and the other fails the test.
bool waitUntil(const std::function<bool()>& condition);
void await(const char* what, const std::function<bool()>& condition);

Path dataFolder();
Path recordings();
std::vector<std::string> clips();  // names in `recordings` that end in ".mp4", partial ones too

std::uint32_t pixel(int x, int y);  // 0x00RRGGBB
constexpr std::uint32_t ground = 0x3060A0, frame = 0xFF4040;
extern const std::uint32_t dim, outline;  // the ground under the sheet, and the rectangle on it

void drag(const RECT& region);  // left button, from the upper left to the lower right corner

void doubleClickTray();  // on the icon
void openMenu();         // right click; waits for the menu

// Presses and releases the keys; whether another program gets the last of them.
bool othersGet(const std::vector<UINT>& keys);
void takeCtrlA();  // registers this shortcut for another program
void takeForeground();
void restartShell();               // the tray forgets its icons and starts again
void endSession(bool reallyEnds);  // asks, then says whether it ends; waits for both answers

void awaitNotice(const std::string& text);  // the next one, which has to be this

void clickControl(int id);
void awaitFocus(int id);
void tabTo(int id);   // waits for the focus
void openSettings();  // by the menu; waits for the focus

// What the frames of a clip show. Under Wine the "clip" is the stand-ins' file.
struct ClipView {
    int frames = 0;
    std::set<int> lumas;
};
ClipView view(const Path& clip, int width, int height);

WideText programPath();  // of the one that this desktop runs, as the start entry names it

struct Program {
    explicit Program(const std::string& arguments = "");  // returns when the tray icon has its tip
    ~Program();                                           // ends it, if it still runs

    int awaitEnd();  // its exit code
    int close();     // as another program would ask for it; its exit code

    struct State;
    std::unique_ptr<State> state;
};

// Prepares a second start, before the first program starts, since natively it is forked then.
// Calling the result runs it to its end, and natively answers its message box: "code", or
// "code|title|text of the box".
std::function<std::string()> secondStart(const std::string& arguments = "");

std::ptrdiff_t writtenSamples();  // so far

// The shortcut; waits for the sheet.
void openSheet();
// On the sheet: the drag; waits for the red frame and for `samples` samples.
void dragRegion(const RECT& region = {300, 310, 502, 464}, int samples = 3);
void startRecording(const RECT& region = {300, 310, 502, 464}, int samples = 3);
// Esc, and the clip is on the clipboard. Its path.
Path stopRecording();

}  // namespace user
