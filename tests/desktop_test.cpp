// The layer's desktop by its published names: order of messages, hooks and hot keys, capture,
// painting, menus, boxes, clipboard and tray. What a person or another program does comes from
// platform/control.h.

#include <windows.h>

#include <dwmapi.h>
#include <shellapi.h>
#include <windowsx.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/control.h"
#include "platform/hosts/host.h"

using desktop::waitUntil;

namespace {

constexpr UINT noted = WM_APP + 50;
constexpr UINT trayMessage = WM_APP + 51;

// What the windows' procedure was told, and what it does on top.
std::vector<MSG> told;
std::function<void(HWND, UINT, WPARAM, LPARAM)> onMessage;

LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    told.push_back({window, message, wparam, lparam, 0, {}});
    if (onMessage) onMessage(window, message, wparam, lparam);
    if (message == WM_ERASEBKGND) return 1;
    return DefWindowProcW(window, message, wparam, lparam);
}

std::vector<MSG> toldOf(UINT message) {
    std::vector<MSG> some;
    for (const MSG& entry : told)
        if (entry.message == message) some.push_back(entry);
    return some;
}

// Each test is a process of its own under ctest, but they also run one after another.
struct DesktopTest : testing::Test {
    HWND window = nullptr;

    DesktopTest() {
        host::use(host::memoryHost());
        WNDCLASSW record{};
        record.lpfnWndProc = procedure;
        record.lpszClassName = TEXT("DesktopTest");
        RegisterClassW(&record);
        window = makeWindow(0);
        told.clear();
        desktop::inputOfOthers();
    }
    ~DesktopTest() override {
        onMessage = nullptr;
        DestroyWindow(window);
        for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);)
            if (message.message == WM_QUIT) break;
        EXPECT_EQ(desktop::openObjects(), (std::map<std::string, int>{}));
    }

    static HWND makeWindow(DWORD extendedStyle) {
        return CreateWindowExW(extendedStyle, TEXT("desktoptest"), TEXT(""), WS_POPUP, 0, 0, 0, 0,
                               nullptr, nullptr, nullptr, nullptr);
    }
    static void place(HWND which, RECT at) {
        SetWindowPos(which, HWND_TOPMOST, at.left, at.top, at.right - at.left, at.bottom - at.top,
                     SWP_SHOWWINDOW);
    }
};

// Everything that is in the queue now, dispatched; the messages in their order.
std::vector<UINT> drain() {
    std::vector<UINT> order;
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
        order.push_back(message.message);
        if (message.message == WM_QUIT) break;
        DispatchMessageW(&message);
    }
    return order;
}

void press(const std::vector<UINT>& keys) {
    for (const UINT key : keys) desktop::pressKey(key);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) desktop::releaseKey(*key);
}

int eaten = 0, seenByOlder = 0;
SHORT stateInHook = 0;
LRESULT CALLBACK eatEsc(int code, WPARAM wparam, LPARAM lparam) {
    const auto* const key = reinterpret_cast<const KBDLLHOOKSTRUCT*>(lparam);
    stateInHook = GetAsyncKeyState(static_cast<int>(key->vkCode));
    if (key->vkCode == VK_ESCAPE) return ++eaten;
    return CallNextHookEx(nullptr, code, wparam, lparam);
}
LRESULT CALLBACK countKeys(int code, WPARAM wparam, LPARAM lparam) {
    ++seenByOlder;
    return CallNextHookEx(nullptr, code, wparam, lparam);
}

HINSTANCE thisModule() { return GetModuleHandleW(nullptr); }

std::vector<UINT> keysPassed() {
    std::vector<UINT> keys;
    for (const desktop::PassedInput& input : desktop::inputOfOthers())
        if (input.isKey && input.pressed) keys.push_back(input.key);
    return keys;
}

// Runs `person` beside a nested loop of this thread.
template <typename Loop>
auto withPerson(const std::function<void()>& person, Loop loop) {
    std::thread other(person);
    const auto result = loop();
    other.join();
    return result;
}

}  // namespace

TEST_F(DesktopTest, messagesComeOutByRank) {
    place(window, {10, 10, 60, 60});
    SetTimer(window, 7, 10, nullptr);
    Sleep(40);  // Several periods: still one message.
    PostMessageW(window, noted, 1, 0);
    RegisterHotKey(window, 3, MOD_CONTROL | MOD_NOREPEAT, 'K');
    press({VK_LCONTROL, 'K'});
    MSG message;
    ASSERT_TRUE(PeekMessageW(&message, nullptr, noted, noted, PM_REMOVE));
    PostMessageW(window, noted, 2, 0);
    PostQuitMessage(5);
    desktop::movePointer(20, 20);
    onMessage = [](HWND target, UINT what, WPARAM, LPARAM) {
        if (what == WM_TIMER) KillTimer(target, 7);
    };
    EXPECT_EQ(drain(), (std::vector<UINT>{WM_HOTKEY, noted, WM_QUIT}));
    EXPECT_EQ(drain(), (std::vector<UINT>{WM_MOUSEMOVE, WM_PAINT, WM_TIMER}));
}

TEST_F(DesktopTest, quitIgnoresTheFilterButNotADeadWindow) {
    const HWND dead = makeWindow(0);
    DestroyWindow(dead);
    PostQuitMessage(9);
    MSG message;
    EXPECT_FALSE(PeekMessageW(&message, dead, WM_HOTKEY, WM_HOTKEY, PM_REMOVE));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_WINDOW_HANDLE});
    ASSERT_TRUE(PeekMessageW(&message, window, WM_HOTKEY, WM_HOTKEY, PM_REMOVE));
    EXPECT_EQ(message.message, UINT{WM_QUIT});
    EXPECT_EQ(message.wParam, 9u);
}

TEST_F(DesktopTest, destroyedWindowTakesItsThingsAlong) {
    const HWND other = makeWindow(0);
    SetTimer(other, 1, 10, nullptr);
    RegisterHotKey(other, 1, MOD_ALT | MOD_NOREPEAT, 'Q');
    onMessage = [&](HWND target, UINT what, WPARAM, LPARAM) {
        if (target != other || what != WM_DESTROY) return;
        EXPECT_TRUE(IsWindow(other));
        EXPECT_TRUE(PostMessageW(other, noted, 0, 0));
    };
    EXPECT_TRUE(DestroyWindow(other));
    EXPECT_FALSE(IsWindow(other));
    EXPECT_FALSE(PostMessageW(other, noted, 0, 0));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_WINDOW_HANDLE});
    EXPECT_TRUE(RegisterHotKey(window, 2, MOD_ALT | MOD_NOREPEAT, 'Q'));
    EXPECT_TRUE(drain().empty());
}

TEST_F(DesktopTest, queueTakesTenThousandMessagesFromAnyThread) {
    std::thread([&] {
        for (int count = 0; count < 10'000; ++count) PostMessageW(window, noted, 0, 0);
        EXPECT_FALSE(PostMessageW(window, noted, 0, 0));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_QUOTA});
    }).join();
    EXPECT_EQ(drain().size(), 10'000u);
}

TEST_F(DesktopTest, hotKeyNeedsItsExactModifiersAndOneOwner) {
    ASSERT_TRUE(RegisterHotKey(window, 1, MOD_CONTROL | MOD_SHIFT | MOD_NOREPEAT, '7'));
    EXPECT_FALSE(RegisterHotKey(window, 2, MOD_CONTROL | MOD_SHIFT | MOD_NOREPEAT, '7'));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_HOTKEY_ALREADY_REGISTERED});
    desktop::takeHotKey(MOD_WIN, 'V');
    EXPECT_FALSE(RegisterHotKey(window, 2, MOD_WIN | MOD_NOREPEAT, 'V'));
    press({VK_LCONTROL, VK_LSHIFT, VK_LMENU, '7'});
    press({VK_RCONTROL, VK_LSHIFT, '8'});
    EXPECT_TRUE(drain().empty());
    desktop::pressKey(VK_RCONTROL);
    desktop::pressKey(VK_LSHIFT);
    desktop::pressKey('7');
    desktop::pressKey('7');  // a repeat
    EXPECT_EQ(drain(), (std::vector<UINT>{WM_HOTKEY}));
    for (const UINT key : {UINT{'7'}, UINT{VK_LSHIFT}, UINT{VK_RCONTROL}}) desktop::releaseKey(key);
    EXPECT_EQ(toldOf(WM_HOTKEY)[0].lParam, MAKELPARAM(MOD_CONTROL | MOD_SHIFT, '7'));
    EXPECT_TRUE(UnregisterHotKey(window, 1));
    EXPECT_FALSE(UnregisterHotKey(window, 1));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_HOTKEY_NOT_REGISTERED});
}

TEST_F(DesktopTest, hookComesBeforeHotKeyAndOtherPrograms) {
    eaten = seenByOlder = 0;
    ASSERT_TRUE(RegisterHotKey(window, 1, MOD_CONTROL | MOD_NOREPEAT, VK_ESCAPE));
    const HHOOK older = SetWindowsHookExW(WH_KEYBOARD_LL, countKeys, thisModule(), 0);
    const HHOOK newer = SetWindowsHookExW(WH_KEYBOARD_LL, eatEsc, thisModule(), 0);
    press({VK_LCONTROL, VK_ESCAPE});
    press({'A'});
    EXPECT_TRUE(drain().empty());
    EXPECT_EQ(eaten, 2);
    EXPECT_EQ(seenByOlder, 4);
    EXPECT_EQ(keysPassed(), (std::vector<UINT>{VK_LCONTROL, 'A'}));

    desktop::pressKey('B');
    drain();
    EXPECT_EQ(stateInHook, 0) << "A hook sees the state before its event.";
    EXPECT_LT(GetAsyncKeyState('B'), 0);
    desktop::releaseKey('B');
    desktop::pressKey(VK_ESCAPE);
    drain();
    EXPECT_EQ(GetAsyncKeyState(VK_ESCAPE), 0) << "Nobody sees an eaten key as down.";

    EXPECT_TRUE(UnhookWindowsHookEx(newer));
    EXPECT_FALSE(UnhookWindowsHookEx(newer));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HOOK_HANDLE});
    EXPECT_TRUE(UnhookWindowsHookEx(older));
    desktop::inputOfOthers();
    desktop::releaseKey(VK_ESCAPE);
    press({VK_ESCAPE});
    drain();
    const std::vector<desktop::PassedInput> after = desktop::inputOfOthers();
    ASSERT_EQ(after.size(), 2u) << "The release of the eaten press is not for others.";
    EXPECT_TRUE(after[0].pressed);
}

TEST_F(DesktopTest, keysGoToTheForegroundWindow) {
    place(window, {0, 0, 10, 10});
    EXPECT_TRUE(SetForegroundWindow(window));
    EXPECT_EQ(GetForegroundWindow(), window);
    press({VK_LMENU, 'X'});
    drain();
    ASSERT_EQ(toldOf(WM_SYSKEYDOWN).size(), 2u);
    EXPECT_EQ(toldOf(WM_SYSKEYDOWN)[0].wParam, WPARAM{VK_MENU});
    EXPECT_TRUE(keysPassed().empty());
    desktop::takeForeground();
    press({'Y'});
    drain();
    EXPECT_EQ(GetForegroundWindow(), nullptr);
    EXPECT_EQ(keysPassed(), (std::vector<UINT>{'Y'}));
}

TEST_F(DesktopTest, keyNamesAreThoseOfTheKeyboard) {
    const struct {
        UINT key;
        const WCHAR* name;
    } cases[] = {{'7', TEXT("7")},
                 {'R', TEXT("R")},
                 {VK_F1 + 7, TEXT("F8")},
                 {VK_F12, TEXT("F12")},
                 {VK_NUMPAD0 + 4, TEXT("Num 4")},
                 {VK_LEFT, TEXT("Num 4")},
                 {VK_DELETE, TEXT("Num Del")},
                 {VK_DIVIDE, TEXT("/")},
                 {VK_SEPARATOR, TEXT("")},
                 {255, TEXT("")}};
    for (const auto& [key, name] : cases) {
        WCHAR text[64] = {};
        const UINT scan = MapVirtualKeyW(key, MAPVK_VK_TO_VSC);
        const int length = GetKeyNameTextW(static_cast<LONG>(scan << 16), text, 64);
        EXPECT_EQ(std::basic_string<WCHAR>(text), name) << key;
        EXPECT_EQ(static_cast<std::size_t>(length), std::basic_string<WCHAR>(name).size()) << key;
    }
}

TEST_F(DesktopTest, captureTellsItsLoser) {
    place(window, {100, 100, 200, 200});
    const HWND other = makeWindow(0);
    const auto losses = [&] {
        std::vector<std::pair<HWND, HWND>> all;
        for (const MSG& entry : toldOf(WM_CAPTURECHANGED))
            all.push_back({entry.hwnd, reinterpret_cast<HWND>(entry.lParam)});
        told.clear();
        return all;
    };
    using Losses = decltype(losses());
    EXPECT_EQ(SetCapture(window), nullptr);
    EXPECT_EQ(losses(), Losses{});
    SetCapture(window);
    EXPECT_EQ(losses(), (Losses{{window, window}}));
    SetCapture(other);
    EXPECT_EQ(losses(), (Losses{{window, other}}));
    ReleaseCapture();
    ReleaseCapture();
    EXPECT_EQ(losses(), (Losses{{other, nullptr}}));

    SetCapture(window);
    desktop::movePointer(-5, 1000);
    drain();
    const std::vector<MSG> moves = toldOf(WM_MOUSEMOVE);
    ASSERT_EQ(moves.size(), 1u);
    EXPECT_EQ(GET_X_LPARAM(moves[0].lParam), -105);
    EXPECT_EQ(GET_Y_LPARAM(moves[0].lParam), 900);
    desktop::takeForeground();
    drain();
    EXPECT_EQ(losses(), (Losses{{window, nullptr}}));
    EXPECT_EQ(GetCapture(), nullptr);
    DestroyWindow(other);
}

TEST_F(DesktopTest, sheetIsSeenButNotCaptured) {
    const HWND sheet = makeWindow(WS_EX_LAYERED | WS_EX_TOPMOST);
    SetWindowDisplayAffinity(sheet, WDA_EXCLUDEFROMCAPTURE);
    desktop::paintDesktop([](const desktop::Canvas& canvas) {
        for (int at = 0; at < canvas.stride * canvas.height; ++at) canvas.pixels[at] = 0xFF6496C8;
    });
    onMessage = [](HWND target, UINT what, WPARAM, LPARAM) {
        if (what != WM_PAINT) return;
        PAINTSTRUCT paint;
        const HDC context = BeginPaint(target, &paint);
        const HBRUSH brush = CreateSolidBrush(RGB(24, 24, 24));
        FillRect(context, &paint.rcPaint, brush);
        DeleteObject(brush);
        const RECT outline{200, 200, 300, 260};
        FrameRect(context, &outline, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
        EndPaint(target, &paint);
    };
    place(sheet, {0, 0, 1920, 1080});
    drain();
    EXPECT_EQ(desktop::screenPixel(50, 50), 0x6496C8u) << "Layered, and no opacity yet.";
    SetLayeredWindowAttributes(sheet, 0, 180, LWA_ALPHA);
    drain();
    // (24 × 180 + 100 × 75) / 255 and so on.
    EXPECT_EQ(desktop::screenPixel(50, 50), 0x2E3D4Cu);
    const std::uint32_t white = desktop::screenPixel(200, 200);
    for (const POINT at : {POINT{299, 259}, POINT{299, 200}, POINT{250, 200}})
        EXPECT_EQ(desktop::screenPixel(at.x, at.y), white);
    for (const POINT at : {POINT{199, 199}, POINT{201, 201}, POINT{300, 260}, POINT{300, 200}})
        EXPECT_EQ(desktop::screenPixel(at.x, at.y), 0x2E3D4Cu);
    EXPECT_EQ(desktop::capturedPixel(50, 50), 0x6496C8u);
    ShowWindow(sheet, SW_HIDE);
    EXPECT_EQ(DwmFlush(), S_OK);
    EXPECT_EQ(desktop::screenPixel(50, 50), 0x6496C8u);
    DestroyWindow(sheet);
}

TEST_F(DesktopTest, regionLeavesAHoleForPictureAndMouse) {
    onMessage = [](HWND target, UINT what, WPARAM, LPARAM) {
        if (what != WM_PAINT) return;
        PAINTSTRUCT paint;
        BeginPaint(target, &paint);
        EndPaint(target, &paint);
    };
    const HWND below = makeWindow(0);
    place(below, {0, 0, 400, 400});
    place(window, {98, 98, 202, 202});
    const HRGN outer = CreateRectRgn(0, 0, 104, 104), inner = CreateRectRgn(2, 2, 102, 102);
    EXPECT_EQ(CombineRgn(outer, outer, inner, RGN_DIFF), COMPLEXREGION);
    EXPECT_TRUE(DeleteObject(inner));
    EXPECT_TRUE(SetWindowRgn(window, outer, FALSE));
    drain();
    const auto targetAt = [&](int x, int y) -> HWND {
        told.clear();
        desktop::movePointer(x, y);
        drain();
        const auto moves = toldOf(WM_MOUSEMOVE);
        return moves.empty() ? nullptr : moves[0].hwnd;
    };
    EXPECT_EQ(targetAt(99, 150), window);
    EXPECT_EQ(targetAt(100, 150), below);
    EXPECT_EQ(targetAt(199, 199), below);
    EXPECT_EQ(targetAt(200, 199), window);
    EXPECT_EQ(targetAt(500, 500), nullptr);
    SetWindowLongPtrW(window, GWL_EXSTYLE, WS_EX_LAYERED | WS_EX_TRANSPARENT);
    SetLayeredWindowAttributes(window, 0, 255, LWA_ALPHA);
    EXPECT_EQ(targetAt(99, 150), below);
    DestroyWindow(below);
}

TEST_F(DesktopTest, monitorHandlesEndWithTheirLayout) {
    desktop::setMonitors({{{0, 0, 1920, 1080}, 1, 96}, {{-1280, 0, 0, 1024}, 1, 144}});
    const HMONITOR left = MonitorFromPoint({-3000, 500}, MONITOR_DEFAULTTONEAREST);
    MONITORINFO information{};
    EXPECT_FALSE(GetMonitorInfoW(left, &information)) << "The size is not set.";
    information.cbSize = sizeof information;
    ASSERT_TRUE(GetMonitorInfoW(left, &information));
    EXPECT_EQ(information.rcMonitor.left, -1280);
    EXPECT_EQ(information.dwFlags, 0u);
    desktop::setMonitors({{{0, 0, 1920, 1080}, 1, 96}});
    EXPECT_FALSE(GetMonitorInfoW(left, &information));
    EXPECT_EQ(drain(), (std::vector<UINT>{WM_DISPLAYCHANGE, WM_DISPLAYCHANGE}));
}

struct MenuTest : DesktopTest {
    HMENU menu = CreatePopupMenu();

    MenuTest() {
        AppendMenuW(menu, MF_STRING, 1, TEXT("First"));
        AppendMenuW(menu, MF_GRAYED, 2, TEXT("Greyed"));
        AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
        AppendMenuW(menu, MF_STRING, 6, TEXT("Last"));
    }
    ~MenuTest() override { DestroyMenu(menu); }

    BOOL track() {
        return TrackPopupMenu(menu, TPM_RIGHTBUTTON | TPM_NONOTIFY | TPM_RETURNCMD, 300, 300, 0,
                              window, nullptr);
    }
    // A click on the entry at that height of the menu, counted in entries.
    static void clickEntry(double entry) {
        RECT bounds{};
        waitUntil([&] {
            for (const desktop::ShownWindow& shown : desktop::windows())
                if (shown.className == "#32768") bounds = shown.bounds;
            return bounds.right != 0;
        });
        desktop::movePointer(bounds.left + 40, bounds.top + 4 + static_cast<int>(entry * 28));
        desktop::pressButton(1);
        desktop::releaseButton(1);
    }
    static void waitForMenu() {
        waitUntil([] { return !desktop::openMenu().empty(); });
    }
};

TEST_F(MenuTest, entriesAreChosenByMouseKeyboardAndNotWhenGreyed) {
    const auto chosenBy = [&](const std::function<void()>& act) {
        return withPerson([&] { waitForMenu(), act(); }, [&] { return track(); });
    };
    EXPECT_EQ(chosenBy([] { clickEntry(0.5); }), 1);
    EXPECT_EQ(chosenBy([] { clickEntry(1.5), clickEntry(0.5); }), 1) << "Greyed stays open.";
    EXPECT_EQ(chosenBy([] { clickEntry(2.8); }), 6);
    EXPECT_EQ(chosenBy([] { press({VK_UP}), press({VK_RETURN}); }), 6);
    EXPECT_EQ(chosenBy([] { press({VK_DOWN}), press({VK_DOWN}), press({VK_RETURN}); }), 0);
    EXPECT_EQ(chosenBy([] { press({VK_ESCAPE}); }), 0);
    EXPECT_EQ(chosenBy([] { clickEntry(-3); }), 0) << "A press outside closes it.";
    EXPECT_EQ(chosenBy([] { desktop::takeForeground(); }), 0);
    EXPECT_EQ(chosenBy([] {
                  EXPECT_TRUE(desktop::chooseFromMenu(2));
                  EXPECT_FALSE(desktop::chooseFromMenu(9));
                  EXPECT_EQ(desktop::openMenu().size(), 4u);
                  desktop::chooseFromMenu(6);
              }),
              6);
}

TEST_F(MenuTest, ownersEndLeavesTheQuit) {
    onMessage = [&](HWND target, UINT what, WPARAM, LPARAM) {
        if (what == noted) {
            EXPECT_EQ(track(), 0) << "Only one menu at a time.";
            EXPECT_EQ(GetLastError(), DWORD{ERROR_POPUP_ALREADY_ACTIVE});
            DestroyWindow(target);
        }
        if (what == WM_DESTROY && target == window) PostQuitMessage(4);
    };
    PostMessageW(window, noted, 0, 0);
    EXPECT_EQ(track(), 0);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_WINDOW_HANDLE});
    MSG message;
    EXPECT_FALSE(GetMessageW(&message, nullptr, 0, 0));
    EXPECT_EQ(message.wParam, 4u);
}

TEST_F(DesktopTest, boxEndsByMouseKeyAndQuit) {
    const auto show = [] {
        return MessageBoxW(nullptr, TEXT("Text"), TEXT("Title"), MB_ICONERROR);
    };
    const auto answeredBy = [&](const std::function<void()>& act) {
        return withPerson(
            [&] {
                waitUntil([] { return !desktop::openBoxes().empty(); });
                act();
            },
            show);
    };
    EXPECT_EQ(answeredBy([] {
                  EXPECT_EQ(desktop::openBoxes()[0].text, "Text");
                  EXPECT_EQ(desktop::openBoxes()[0].icon, UINT{MB_ICONERROR});
                  press({VK_RETURN});
              }),
              IDOK);
    EXPECT_EQ(answeredBy([] { press({VK_ESCAPE}); }), IDOK);
    EXPECT_EQ(answeredBy([] {
                  const RECT bounds = desktop::windows()[0].bounds;
                  desktop::movePointer(bounds.right - 50, bounds.bottom - 20);
                  desktop::pressButton(1);
                  desktop::releaseButton(1);
              }),
              IDOK);
    PostQuitMessage(8);
    EXPECT_EQ(show(), IDOK);
    MSG message;
    EXPECT_FALSE(GetMessageW(&message, nullptr, 0, 0));
    EXPECT_EQ(message.wParam, 8u);
}

TEST_F(DesktopTest, clipboardHasOneOpenerAndKeepsTheBlock) {
    EXPECT_FALSE(EmptyClipboard());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_CLIPBOARD_NOT_OPEN});
    desktop::holdClipboard(true);
    EXPECT_FALSE(OpenClipboard(window));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    desktop::holdClipboard(false);
    ASSERT_TRUE(OpenClipboard(window));
    EXPECT_TRUE(EmptyClipboard());
    EXPECT_TRUE(CloseClipboard());
    EXPECT_FALSE(CloseClipboard());
    EXPECT_EQ(desktop::clipboardBlock(), std::nullopt);
}

struct TrayTest : DesktopTest {
    NOTIFYICONDATAW icon{};

    TrayTest() {
        icon.cbSize = sizeof icon;
        icon.hWnd = window;
        icon.uID = 1;
        icon.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP;
        icon.uCallbackMessage = trayMessage;
        icon.szTip[0] = 'T';
    }
    ~TrayTest() override { Shell_NotifyIconW(NIM_DELETE, &icon); }

    void balloon(WCHAR text, DWORD kind) {
        NOTIFYICONDATAW data{};
        data.cbSize = sizeof data;
        data.hWnd = window;
        data.uID = 1;
        data.uFlags = NIF_INFO;
        data.szInfo[0] = text;
        data.dwInfoFlags = kind;
        Shell_NotifyIconW(NIM_MODIFY, &data);
    }
};

TEST_F(TrayTest, iconIsAddedOnceAndComesBackAfterARestart) {
    EXPECT_FALSE(Shell_NotifyIconW(NIM_MODIFY, &icon));
    EXPECT_FALSE(Shell_NotifyIconW(NIM_DELETE, &icon));
    desktop::refuseTray(true);
    EXPECT_FALSE(Shell_NotifyIconW(NIM_ADD, &icon));
    desktop::refuseTray(false);
    EXPECT_TRUE(Shell_NotifyIconW(NIM_ADD, &icon));
    EXPECT_FALSE(Shell_NotifyIconW(NIM_ADD, &icon));
    EXPECT_EQ(desktop::trayTip(), "T");

    desktop::clickTray(WM_RBUTTONUP);
    drain();
    ASSERT_EQ(toldOf(trayMessage).size(), 1u);
    EXPECT_EQ(toldOf(trayMessage)[0].wParam, 1u);
    EXPECT_EQ(toldOf(trayMessage)[0].lParam, WM_RBUTTONUP);

    desktop::restartShell();
    drain();
    EXPECT_EQ(toldOf(RegisterWindowMessageW(TEXT("taskbarcreated"))).size(), 1u);
    EXPECT_EQ(desktop::trayTip(), "");
    EXPECT_TRUE(Shell_NotifyIconW(NIM_ADD, &icon));
}

TEST_F(TrayTest, balloonsNeedAnIconAndSomeText) {
    const std::size_t before = desktop::balloons().size();
    balloon('x', NIIF_INFO);
    Shell_NotifyIconW(NIM_ADD, &icon);
    balloon(0, NIIF_INFO);
    EXPECT_EQ(desktop::balloons().size(), before);
    balloon('y', NIIF_ERROR);
    ASSERT_EQ(desktop::balloons().size(), before + 1);
    EXPECT_EQ(desktop::balloons().back().text, "y");
    EXPECT_TRUE(desktop::balloons().back().isError);
}

TEST_F(DesktopTest, sessionEndIsAskedForAndToldAndEndsTheProcess) {
    onMessage = [](HWND, UINT what, WPARAM ends, LPARAM) {
        if (what == WM_ENDSESSION && ends) fputs("told", stderr);
    };
    desktop::endSession(false);
    EXPECT_TRUE(drain().empty());
    EXPECT_EQ(toldOf(WM_QUERYENDSESSION).size(), 1u);
    ASSERT_EQ(toldOf(WM_ENDSESSION).size(), 1u);
    EXPECT_EQ(toldOf(WM_ENDSESSION)[0].wParam, 0u);
    const auto endForGood = [] {
        desktop::endSession(true);
        drain();
    };
    EXPECT_EXIT(endForGood(), testing::ExitedWithCode(0), "told");
}
