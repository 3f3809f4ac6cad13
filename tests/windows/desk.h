// The Windows desktop as a person has it before them, and the program on it as a process of its
// own.

#pragma once

#include <windows.h>

#include <functional>
#include <vector>

#include "common/wide_text.h"
#include "tests/scratch.h"

// Whether it held within half a minute. The windows of this process live meanwhile.
bool waitUntil(const std::function<bool()>& holds);

// The display's pointer, in the words of xdotool. Returns before it has arrived.
void input(const WideText& orders);

// Keys pressed together, for the foreground window. From within the desktop: the display's keys go
// to whichever process was last to ask the display for them, at times the one before.
void press(const std::vector<WORD>& keys);

// Presses the key; whether a press of it has got past the hooks of the desktop.
bool isKeyFree(WORD key);

// A picture of the whole screen in the build folder, to look at.
void photograph(const WideText& name);

COLORREF colourAt(int x, int y);

// The first visible window of that class or title; null if there is none.
HWND shownWindow(const WCHAR* windowClass, const WCHAR* title = nullptr);

void clickAt(HWND window);

// Presses the shortcut and waits for the dim sheet.
bool openSheet();
constexpr WCHAR sheetClass[] = TEXT("QuorvelClipOverlay");
constexpr COLORREF sheetColour = RGB(24, 24, 24);

// Waits for a balloon with these words, photographs it and takes it away. False if there is none.
bool takeNotice(const WideText& text, const WideText& picture);

// Whether the tray icon has this tip.
bool isTip(const WideText& text);

Path dataFolderOnDisk();

// As before the first start: no settings, no clips, and nothing left of an interrupted test.
void forgetEverything();

// The tray window of the running program; null without one.
HWND runningProgram();
bool hasTrayIcon(HWND trayWindow);

struct Program {
    // Returns at once.
    explicit Program(const Path& file, const WideText& arguments = {});
    ~Program();  // Ends it by force if it still runs.
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    bool isReady() const;  // Waits until icon and shortcut are there.
    bool isRunning() const;
    DWORD exitCode() const;  // Waits for the end.
    std::size_t openHandles() const;

    DWORD id = 0;  // Before the handle: starting sets both.
    HANDLE process = nullptr;
};

// A window of one colour, which does not take the keyboard.
struct Paper {
    Paper(const RECT& bounds, COLORREF colour);
    ~Paper();
    Paper(const Paper&) = delete;
    Paper& operator=(const Paper&) = delete;

    HWND window = nullptr;
};
