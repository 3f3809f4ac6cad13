// The layer's desktop where a mistake of its own would hide one of the program: ranks of messages,
// the way of a key, the mouse capture.

#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

#include "demo/user.h"
#include "platform/control.h"
#include "tests/scratch.h"

namespace {

using Messages = std::vector<UINT>;

constexpr UINT noted = WM_APP + 50;

std::vector<MSG> told;

LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    told.push_back({window, message, wparam, lparam, 0, {}});
    if (message == WM_TIMER) KillTimer(window, wparam);
    return DefWindowProcW(window, message, wparam, lparam);
}

Messages takeAll() {
    Messages order;
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
        order.push_back(message.message);
        if (message.message == WM_QUIT) break;
        DispatchMessageW(&message);
    }
    return order;
}

struct DesktopTest : testing::Test {
    DesktopTest() {
        SetWindowPos(window, HWND_TOPMOST, 100, 100, 50, 50, SWP_SHOWWINDOW | SWP_NOACTIVATE);
        takeAll();
        told.clear();
        desktop::inputOfOthers();
    }
    ~DesktopTest() override {
        for (const UINT key : {'7', '8'}) desktop::releaseKey(key);
        desktop::releaseButton(1);
        takeAll();
        DestroyWindow(window);
        DestroyWindow(other);
        EXPECT_TRUE(desktop::openObjects().empty());
    }

    const HWND window = makeWindow(TEXT("DesktopTest"), procedure);
    const HWND other = makeWindow(TEXT("DesktopTest"), procedure);
};

HHOOK hookKeys(HOOKPROC hook) {
    return SetWindowsHookExW(WH_KEYBOARD_LL, hook, GetModuleHandleW(nullptr), 0);
}

void pressInWindow() {
    desktop::movePointer(120, 120);
    desktop::pressButton(1);
    takeAll();
}

int eaten = 0;

LRESULT CALLBACK eatSevens(int code, WPARAM wparam, LPARAM lparam) {
    const auto* const key = reinterpret_cast<const KBDLLHOOKSTRUCT*>(lparam);
    if (key->vkCode != '7') return CallNextHookEx(nullptr, code, wparam, lparam);
    return ++eaten;
}

Messages keysPassed() {
    Messages keys;
    for (const desktop::PassedInput& input : desktop::inputOfOthers())
        if (input.pressed) keys.push_back(input.key);
    return keys;
}

TEST_F(DesktopTest, messagesComeOutByRank) {
    SetTimer(window, 7, 10, nullptr);
    Sleep(40);  // Several periods: still one message.
    InvalidateRect(window, nullptr, FALSE);
    PostMessageW(window, noted, 1, 0);
    RegisterHotKey(window, 3, MOD_CONTROL | MOD_NOREPEAT, 'K');
    user::press({VK_LCONTROL, 'K'});
    MSG message;
    ASSERT_TRUE(PeekMessageW(&message, nullptr, noted, noted, PM_REMOVE));
    PostMessageW(window, noted, 2, 0);
    PostQuitMessage(5);
    desktop::movePointer(120, 120);
    EXPECT_EQ(takeAll(), (Messages{WM_HOTKEY, noted, WM_QUIT}));
    EXPECT_EQ(takeAll(), (Messages{WM_MOUSEMOVE, WM_PAINT, WM_TIMER}));
    PostQuitMessage(9);
    ASSERT_TRUE(PeekMessageW(&message, window, WM_HOTKEY, WM_HOTKEY, PM_REMOVE));
    EXPECT_EQ(message.message, UINT{WM_QUIT}) << "It ignores the filter.";
    EXPECT_EQ(message.wParam, 9u);
}

TEST_F(DesktopTest, keysMeetTheHookThenTheHotKeyThenTheWindow) {
    constexpr UINT modifiers = MOD_CONTROL | MOD_SHIFT | MOD_NOREPEAT;
    ASSERT_TRUE(RegisterHotKey(window, 1, modifiers, '7'));
    user::press({VK_LCONTROL, VK_LSHIFT, VK_LMENU, '7'});
    EXPECT_EQ(takeAll(), Messages{});
    user::press({VK_RCONTROL, VK_LSHIFT, '7', '7'});  // with a repeat
    EXPECT_EQ(takeAll(), Messages{WM_HOTKEY});

    const HHOOK hook = hookKeys(eatSevens);
    keysPassed();
    user::press({VK_LCONTROL, VK_LSHIFT, '7'});
    EXPECT_EQ(takeAll(), Messages{});
    EXPECT_EQ(keysPassed(), (Messages{VK_LCONTROL, VK_LSHIFT}));
    EXPECT_EQ(eaten, 2);
    desktop::pressKey('7');
    takeAll();
    EXPECT_EQ(GetAsyncKeyState('7'), 0) << "Nobody sees an eaten key as down.";
    UnhookWindowsHookEx(hook);
    desktop::releaseKey('7');
    takeAll();
    EXPECT_TRUE(desktop::inputOfOthers().empty()) << "nor its release";

    EXPECT_FALSE(SetForegroundWindow(window)) << "The user is elsewhere.";
    pressInWindow();
    EXPECT_TRUE(SetForegroundWindow(window));
    user::press({'7'});
    EXPECT_EQ(takeAll(), (Messages{WM_KEYDOWN, WM_KEYUP}));
    desktop::takeForeground();
    user::press({'7'});
    EXPECT_EQ(takeAll(), Messages{});
    EXPECT_EQ(keysPassed(), Messages{'7'});
}

TEST_F(DesktopTest, aHookThatAnswersLateIsPassedOver) {
    const HHOOK slow = hookKeys([](int, WPARAM, LPARAM) -> LRESULT { return Sleep(310), 1; });
    desktop::pressKey('8');
    takeAll();
    EXPECT_EQ(keysPassed(), Messages{'8'});
    for (int misses = 0; misses < 10; ++misses) desktop::pressKey('8');
    Sleep(310);  // The thread does not look at its queue.
    takeAll();
    EXPECT_FALSE(UnhookWindowsHookEx(slow)) << "The system has taken it away.";
    const HHOOK quick = hookKeys(eatSevens);
    user::press({'7'});
    takeAll();
    EXPECT_EQ(keysPassed(), Messages(10, '8'));
    EXPECT_TRUE(UnhookWindowsHookEx(quick));
}

// Other windows stay below one that is topmost, and an extended style alone makes none so.
TEST_F(DesktopTest, onlyOrdersChangeWhatIsTopmost) {
    const auto front = [] { return desktop::windows().front().bounds.left; };
    pressInWindow();
    SetWindowPos(other, nullptr, 120, 100, 50, 50, SWP_SHOWWINDOW | SWP_NOZORDER);
    EXPECT_TRUE(SetForegroundWindow(other));
    EXPECT_EQ(front(), 100);
    SetWindowLongPtrW(window, GWL_EXSTYLE, 0);
    SetWindowLongPtrW(other, GWL_EXSTYLE, WS_EX_TOPMOST);
    SetForegroundWindow(other);
    EXPECT_EQ(front(), 100);
    SetWindowPos(other, HWND_TOPMOST, 120, 100, 50, 50, SWP_NOACTIVATE);
    EXPECT_EQ(front(), 120);
}

TEST_F(DesktopTest, thePointerIsAnnouncedAndAPressActivates) {
    pressInWindow();
    Messages heard;
    for (const MSG& entry : told) heard.push_back(entry.message);
    EXPECT_EQ(heard,
              (Messages{WM_NCHITTEST, WM_SETCURSOR, WM_MOUSEMOVE, WM_NCHITTEST, WM_MOUSEACTIVATE,
                        WM_ACTIVATE, WM_SETFOCUS, WM_SETCURSOR, WM_LBUTTONDOWN}));
}

TEST_F(DesktopTest, captureTellsItsLoser) {
    SetCapture(window);
    SetCapture(window);
    SetCapture(other);
    ReleaseCapture();
    ReleaseCapture();
    SetCapture(window);
    desktop::movePointer(-5, 1000);
    EXPECT_EQ(takeAll(), Messages{WM_MOUSEMOVE});
    EXPECT_EQ(told.back().lParam, MAKELPARAM(-105, 900));
    std::vector<std::pair<HWND, HWND>> losses;
    for (const MSG& entry : told)
        if (entry.message == WM_CAPTURECHANGED)
            losses.emplace_back(entry.hwnd, reinterpret_cast<HWND>(entry.lParam));
    EXPECT_EQ(losses, (decltype(losses){{window, window}, {window, other}, {other, nullptr}}));
}

}  // namespace
