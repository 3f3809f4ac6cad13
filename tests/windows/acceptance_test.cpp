// The finished executable on a Windows desktop, used with pointer and keys.

#include <gtest/gtest.h>

#include "tests/windows/desk.h"

namespace {

const Path programFile = TEXT("Z:") PROGRAM_FILE;
constexpr WCHAR dialogTitle[] = TEXT("Quorvel Clip - Settings");
constexpr WCHAR runKey[] = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run");
constexpr WCHAR runValue[] = TEXT("QuorvelDeskClip");
constexpr COLORREF white = RGB(255, 255, 255);

std::string configWithKey(int key) {
    return "; Use tray Settings to change the shortcut.\r\n"
           "; Modifiers: Alt=1 Ctrl=2 Shift=4 Win=8; add them.\r\n"
           "; Key: Windows virtual-key decimal (7=55, F8=119).\r\n"
           "[hotkey]\r\nmodifiers=6\r\nkey=" +
           std::to_string(key) + "\r\n";
}

// The value as it is stored, terminator included.
WideText startWithWindows() {
    WCHAR text[1000];
    DWORD bytes = sizeof text;
    if (RegGetValueW(HKEY_CURRENT_USER, runKey, runValue, RRF_RT_REG_SZ, nullptr, text, &bytes))
        return {};
    return {text, bytes / sizeof(WCHAR)};
}

bool isShortcutTaken(UINT key) {
    if (!RegisterHotKey(nullptr, 1, MOD_CONTROL | MOD_SHIFT, key)) return true;
    UnregisterHotKey(nullptr, 1);
    return false;
}

void clickControl(HWND dialog, int id) { clickAt(GetDlgItem(dialog, id)); }

GUITHREADINFO threadOf(HWND window) {
    GUITHREADINFO thread{};
    thread.cbSize = sizeof thread;
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &thread);
    return thread;
}

bool hasKeyboard(HWND control) { return threadOf(control).hwndFocus == control; }

WideText textOfControl(HWND dialog, int id) {
    WCHAR text[300]{};
    SendMessageW(GetDlgItem(dialog, id), WM_GETTEXT, 300, reinterpret_cast<LPARAM>(text));
    return text;
}

// The one icon stands at the end of the bar.
WideText atIcon() {
    RECT bar;
    GetWindowRect(shownWindow(TEXT("Shell_TrayWnd")), &bar);
    return TEXT("mousemove ") + decimalText(bar.right - 10) + TEXT(" ") + decimalText(bar.top + 10);
}

// By a second start.
HWND openSettings() {
    const Program second(programFile, TEXT("ignored arguments"));
    EXPECT_EQ(second.exitCode(), 0u);
    HWND dialog = nullptr;
    waitUntil([&] { return (dialog = shownWindow(nullptr, dialogTitle)); });
    return dialog;
}

// To Ctrl, Shift and the digit, and to start with the system.
void changeSettings(HWND dialog, WCHAR digit) {
    clickControl(dialog, 1002);
    EXPECT_TRUE(waitUntil([&] { return IsDlgButtonChecked(dialog, 1002) == BST_CHECKED; }));
    clickControl(dialog, 1001);
    EXPECT_TRUE(waitUntil([&] { return hasKeyboard(GetDlgItem(dialog, 1001)); }));
    press({VK_CONTROL, VK_SHIFT, static_cast<WORD>(digit)});
    const WideText name = TEXT("Ctrl+Shift+") + WideText(1, digit);
    EXPECT_TRUE(waitUntil([&] { return textOfControl(dialog, 1001) == name; }));
}

void answerBox(const WideText& title, const WideText& text) {
    HWND box = nullptr;
    ASSERT_TRUE(waitUntil([&] { return (box = shownWindow(nullptr, title.c_str())); }));
    EXPECT_TRUE(waitUntil([&] { return GetForegroundWindow() == box; }));
    EXPECT_EQ(textOfControl(box, 0xFFFF), text);
    photograph(title + TEXT(".png"));
    press({VK_RETURN});
    EXPECT_TRUE(waitUntil([&] { return !IsWindow(box); }));
}

// Started for the first time, and ready.
struct Acceptance : testing::Test {
    Acceptance() {
        forgetEverything();
        program.emplace(programFile);
    }
    void SetUp() override { ASSERT_TRUE(program->isReady()); }

    void expectIdle() {
        EXPECT_TRUE(waitUntil([] { return !shownWindow(sheetClass); }));
        EXPECT_TRUE(waitUntil([] { return isKeyFree(VK_ESCAPE); }));
    }

    std::optional<Program> program;
};

TEST_F(Acceptance, firstStartMakesFoldersConfigurationAndIcon) {
    EXPECT_EQ(namesIn(dataFolderOnDisk()), (std::vector<std::string>{"Recordings", "config.ini"}));
    EXPECT_EQ(namesIn(dataFolderOnDisk() / "Recordings"), std::vector<std::string>{});
    EXPECT_EQ(readFile(dataFolderOnDisk() / "config.ini"), configWithKey(55));
    EXPECT_TRUE(hasTrayIcon(runningProgram()));
    EXPECT_TRUE(isTip(TEXT("Quorvel Desk Clip — Ctrl+Shift+7")));
    EXPECT_TRUE(isShortcutTaken('7'));
    photograph(TEXT("tray.png"));
}

TEST_F(Acceptance, tellsWhyNoRecordingIsMadeAndIsIdleAgain) {
    std::size_t handles = 0;
    for (int round = 0; round < 4; ++round) {
        ASSERT_TRUE(openSheet());
        EXPECT_EQ(GetForegroundWindow(), shownWindow(sheetClass));
        input(TEXT("mousemove 200 200 mousedown 1 mousemove 300 250 mousemove 501 401"));
        // The outline is where the sides have been made even.
        EXPECT_TRUE(waitUntil([] { return colourAt(499, 399) == white; }));
        EXPECT_EQ(colourAt(200, 200), white);
        EXPECT_EQ(colourAt(350, 300), sheetColour);
        if (round == 0) photograph(TEXT("dim_sheet.png"));
        input(TEXT("mouseup 1"));
        // Without desktop duplication this is where a recording ends.
        EXPECT_TRUE(
            takeNotice(TEXT("Duplicate desktop (local unlocked desktop required) (0x80004001)"),
                       TEXT("failure.png")));
        expectIdle();
        if (round == 1) handles = program->openHandles();
    }
    // The platform's own threads open and close one now and then.
    EXPECT_LE(program->openHandles(), handles + 1);
    EXPECT_EQ(namesIn(dataFolderOnDisk() / "Recordings"), std::vector<std::string>{});
}

TEST_F(Acceptance, givesUpASelectionOnEscAndRightButtonAndRefusesAClick) {
    ASSERT_TRUE(openSheet());
    input(TEXT("mousemove 400 400 click 3"));
    expectIdle();
    ASSERT_TRUE(openSheet());
    input(TEXT("mousemove 400 400 mousedown 1 mousemove 500 500 mousemove 601 601"));
    EXPECT_TRUE(waitUntil([] { return colourAt(599, 599) == white; }));
    press({VK_ESCAPE});
    expectIdle();
    ASSERT_TRUE(openSheet());
    input(TEXT("mouseup 1 mousemove 400 400 click 1"));
    EXPECT_TRUE(takeNotice(TEXT("Choose a region from 16×16 to 3840×2160 on one monitor."),
                           TEXT("size.png")));
    expectIdle();
}

TEST_F(Acceptance, theTrayIconStartsASelectionAndItsMenuEndsTheProgram) {
    input(atIcon() + TEXT(" click 1 click 1"));
    EXPECT_TRUE(waitUntil([] { return shownWindow(sheetClass); }));
    press({VK_ESCAPE});
    expectIdle();
    input(atIcon() + TEXT(" click 3"));
    HWND menu = nullptr;
    ASSERT_TRUE(waitUntil([&] { return (menu = shownWindow(TEXT("#32768"))); }));
    photograph(TEXT("menu.png"));
    RECT entries;
    GetWindowRect(menu, &entries);
    input(TEXT("mousemove ") + decimalText(entries.left + 20) + TEXT(" ") +
          decimalText(entries.bottom - 12) + TEXT(" click 1"));
    EXPECT_EQ(program->exitCode(), 0u);
}

TEST_F(Acceptance, settingsOpenInThreeWaysAndTheShortcutWaits) {
    program.reset();
    program.emplace(programFile, TEXT("--settings"));
    HWND first = nullptr;
    ASSERT_TRUE(waitUntil([&] { return (first = shownWindow(nullptr, dialogTitle)); }));
    EXPECT_EQ(openSettings(), first);  // raised
    EXPECT_TRUE(waitUntil([&] { return GetForegroundWindow() == first; }));
    press({VK_CONTROL, VK_SHIFT, '7'});
    press({VK_ESCAPE});
    ASSERT_TRUE(waitUntil([&] { return !IsWindow(first); }));
    EXPECT_FALSE(shownWindow(sheetClass));
    input(atIcon() + TEXT(" click 3"));
    HWND menu = nullptr;
    ASSERT_TRUE(waitUntil([&] { return (menu = shownWindow(TEXT("#32768"))); }));
    RECT entries;
    GetWindowRect(menu, &entries);
    input(TEXT("mousemove ") + decimalText(entries.left + 20) + TEXT(" ") +
          decimalText(entries.top + (entries.bottom - entries.top) * 5 / 8) + TEXT(" click 1"));
    EXPECT_TRUE(waitUntil([] { return shownWindow(nullptr, dialogTitle); }));
}

TEST_F(Acceptance, keysOnEveryControlOfTheSettings) {
    const WideText closed = TEXT("closed"), menu = TEXT("menu"), checked = TEXT("checked");
    const struct {
        std::vector<int> from;
        std::vector<WORD> keys;
        WideText outcome;  // one of these, the box's text, or the new focus
    } rows[] = {
        {{1001}, {VK_CONTROL, VK_SHIFT, 'R'}, TEXT("Ctrl+Shift+R")},
        {{1001}, {VK_MENU, VK_F4}, TEXT("Alt+F4")},
        {{1001}, {VK_LWIN, 'V'}, TEXT("Win+V")},
        {{1001}, {VK_RETURN}, TEXT("Return")},
        {{1001}, {VK_SHIFT, '7'}, TEXT("Shift+7")},
        {{1001}, {VK_CONTROL, VK_TAB}, TEXT("1002")},
        {{1001}, {VK_SHIFT, VK_TAB}, TEXT("2")},
        {{1002}, {VK_SHIFT, VK_TAB}, TEXT("1001")},
        {{1}, {VK_SHIFT, VK_TAB}, TEXT("1002")},
        {{2}, {VK_MENU, 'S'}, TEXT("1001")},
        {{1, 2}, {VK_MENU, 'W'}, checked},
        {{1, 2}, {'W'}, checked},
        {{1002}, {VK_SPACE}, checked},
        {{1002, 1}, {VK_MENU}, menu},
        {{1}, {VK_F10}, menu},
        {{1001}, {VK_CONTROL, VK_ESCAPE}, closed},
        {{1001, 1002, 1, 2}, {VK_ESCAPE}, closed},
        {{1002, 1, 2}, {VK_RETURN}, closed},
        {{1, 2}, {VK_SPACE}, closed},
        {{1002}, {VK_MENU, VK_F4}, closed},
        {{1002}, {VK_MENU, 'S'}, closed},
        {{1002}, {'S'}, closed},
    };
    HWND dialog = nullptr;
    const auto focus = [&] {
        for (const int id : {1001, 1002, 1, 2})
            if (hasKeyboard(GetDlgItem(dialog, id))) return id;
        return 0;
    };
    const auto shows = [&](const WideText& outcome) {
        if (outcome == closed) return !IsWindow(dialog);
        if (outcome == menu) return IsWindow(dialog) && (threadOf(dialog).flags & GUI_INMENUMODE);
        if (outcome == checked) return IsDlgButtonChecked(dialog, 1002) == BST_CHECKED;
        return textOfControl(dialog, 1001) == outcome || decimalText(focus()) == outcome;
    };
    for (const auto& row : rows)
        for (const int from : row.from) {
            SCOPED_TRACE(testing::Message() << from << " " << row.keys.back());
            if (!IsWindow(dialog)) dialog = openSettings();
            EXPECT_TRUE(waitUntil([&] { return GetForegroundWindow() == dialog && focus() != 0; }));
            for (int tries = 0; focus() != from && tries < 4; ++tries) {
                const int before = focus();
                press({VK_TAB});
                EXPECT_TRUE(waitUntil([&] { return focus() != before; }));
            }
            CheckDlgButton(dialog, 1002, BST_UNCHECKED);
            press(row.keys);
            EXPECT_TRUE(waitUntil([&] { return shows(row.outcome); }))
                << Path(textOfControl(dialog, 1001)).string() << " " << focus();
            if (row.outcome == menu) press({VK_ESCAPE});
            EXPECT_TRUE(waitUntil([&] { return !shows(menu); }));
        }
}

TEST_F(Acceptance, saveTellsWhatCouldNotBeSaved) {
    HWND const dialog = openSettings();
    ASSERT_TRUE(dialog);
    changeSettings(dialog, '9');
    ASSERT_TRUE(RegisterHotKey(nullptr, 1, MOD_CONTROL | MOD_SHIFT, '9'));
    clickControl(dialog, IDOK);
    answerBox(TEXT("Settings not saved"),
              TEXT("Shortcut unavailable or reserved by Windows. Previous shortcut kept."));
    UnregisterHotKey(nullptr, 1);
    EXPECT_TRUE(isShortcutTaken('7'));
    EXPECT_EQ(readFile(dataFolderOnDisk() / "config.ini"), configWithKey(55));
    EXPECT_TRUE(startWithWindows().empty());

    constexpr WCHAR foreign[] = TEXT("other.exe");
    RegSetKeyValueW(HKEY_CURRENT_USER, runKey, runValue, REG_SZ, foreign, sizeof foreign);
    clickControl(dialog, IDOK);
    answerBox(TEXT("Settings partially saved"),
              TEXT("Shortcut saved. Startup could not be saved:\nAnother startup entry uses this "
                   "name. It was not overwritten.\n\nStartup state will be re-read. Retry Save, or "
                   "Cancel to close; the saved shortcut remains."));
    EXPECT_TRUE(isShortcutTaken('9'));
    EXPECT_EQ(readFile(dataFolderOnDisk() / "config.ini"), configWithKey(57));
    EXPECT_EQ(startWithWindows(), WideText(foreign, std::size(foreign)));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, 1002)));
    photograph(TEXT("foreign_entry.png"));
    clickControl(dialog, IDOK);
    EXPECT_TRUE(waitUntil([&] { return !IsWindow(dialog); }));
}

TEST_F(Acceptance, settingsAreSavedAndOutliveTheProgram) {
    HWND const dialog = openSettings();
    ASSERT_TRUE(dialog);
    changeSettings(dialog, '8');
    photograph(TEXT("settings.png"));
    clickControl(dialog, IDOK);
    EXPECT_TRUE(waitUntil([&] { return !IsWindow(dialog); }));

    EXPECT_TRUE(waitUntil([] { return isTip(TEXT("Quorvel Desk Clip — Ctrl+Shift+8")); }));
    EXPECT_FALSE(isShortcutTaken('7'));
    EXPECT_TRUE(isShortcutTaken('8'));
    const WideText command =
        TEXT("\"") + Path(programFile).make_preferred().string<WCHAR>() + TEXT("\"");
    const auto expectKept = [&] {
        EXPECT_EQ(readFile(dataFolderOnDisk() / "config.ini"), configWithKey(56));
        EXPECT_EQ(startWithWindows(), command + WideText(1, 0));
        EXPECT_EQ(namesIn(dataFolderOnDisk() / "Recordings"),
                  (std::vector<std::string>{clipName(1), "completed.txt"}));
    };
    makeClips(dataFolderOnDisk() / "Recordings", {1});
    writeFile(dataFolderOnDisk() / "Recordings/completed.txt", ledgerOf({1}));
    expectKept();

    HWND const trayWindow = runningProgram();
    PostMessageW(trayWindow, WM_CLOSE, 0, 0);
    EXPECT_EQ(program->exitCode(), 0u);
    expectKept();
    EXPECT_FALSE(hasTrayIcon(trayWindow));
    EXPECT_FALSE(isShortcutTaken('8'));
    EXPECT_FALSE(runningProgram());
    EXPECT_FALSE(FindWindowW(sheetClass, nullptr));
    EXPECT_FALSE(OpenMutexW(SYNCHRONIZE, FALSE, TEXT("Local\\QuorvelDeskClip-v1")));
}

}  // namespace
