// Four roads of a user, as the calls that the program makes on them: every one that matters, in
// order and with its arguments, the main thread's and the worker's for themselves.

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <regex>
#include <set>

#include "app/application.h"
#include "platform/desktop/call.h"
#include "tests/capture_road.h"
#include "tests/program/outcome.h"

using namespace user;
using road::lines;

// The one wait that is no call of the platform.
extern "C" int nanosleep(const timespec* time, timespec* left) {
    const desktop::Call call("sleep");
    return clock_nanosleep(CLOCK_MONOTONIC, 0, time, left);
}

namespace {

// Without meaning, or as often as it happens.
const std::set<std::string> unheard{
    "CallNextHookEx",        "GetTickCount64",   "GetCurrentProcessId", "CoTaskMemFree",
    "DefWindowProcW",        "DispatchMessageW", "GetDlgItem",          "GetFocus",
    "GetKeyNameTextW",       "GetMessageW",      "GetModuleHandleW",    "GetSystemMetrics",
    "MapVirtualKeyW",        "StringFromGUID2",  "GetWindowLongPtrW",   "TranslateMessage",
    "GetSystemMetricsForDpi"};

// What differs from run to run has a name.
std::string lineOf(const desktop::LoggedCall& call) {
    static const std::vector<std::pair<std::regex, std::string>> names{
        {std::regex("\"[^\"]*/d[^/]*/Quorvel Desk Clip"), "\"~"},
        {std::regex("~/Recordings/clip-[-0-9a-f]{36}.mp4"), "<clip>"},
        {std::regex("settings-\\d+-\\d+-"), "settings-<start>-"},
        {std::regex("-21, \\d+"), "-21, set"},
        {std::regex("(HandleW set|GlobalAlloc 66), [1-9]\\d*"), "$1, <size>"},
        {std::regex("(RegSetValueExW .*, 1), \\d+"), "$1, <size>"},
        {std::regex("6039797(\\d\\d)$"), "icon $1"},
        {std::regex("(SetForegroundWindow) " + std::to_string(getppid())), "$1 <parent>"},
        {std::regex("(TimeoutW set), \\d+"), "$1, <registered>"},
        {std::regex("^I\\w+::"), ""},
        {std::regex("\n"), "\\n"}};
    std::string line = call.operation + (call.arguments.empty() ? "" : ' ' + call.arguments);
    for (const auto& [pattern, name] : names) line = std::regex_replace(line, pattern, name);
    return line;
}

struct Road {
    std::string main, painting;
    std::vector<std::string> worker;
};

// Since the log was started. Painting comes when the queue is empty, so it is a list of its own;
// repeated painting counts once.
Road readRoad() {
    const std::vector<desktop::LoggedCall> log = desktop::callLog();
    const auto job = std::ranges::find(log, "CoCreateGuid", &desktop::LoggedCall::operation);
    Road road;
    std::string paint, lastPaint;
    for (const desktop::LoggedCall& call : log) {
        if (unheard.contains(call.operation)) continue;
        const std::string line = lineOf(call);
        if (job != log.end() && call.thread == job->thread) {
            road.worker.push_back(line);
            continue;
        }
        if (call.operation == "sleep") continue;
        const bool isPaint = call.operation == "BeginPaint" || !paint.empty();
        (isPaint ? paint : road.main) += line + '\n';
        if (call.operation != "EndPaint") continue;
        if (paint != lastPaint) road.painting += paint;
        lastPaint = std::exchange(paint, "");
    }
    return road;
}

bool isFocused(int id) {
    const auto dialog = desktop::openDialog();
    return dialog && std::ranges::any_of(dialog->controls, [&](const auto& one) {
               return one.id == id && one.focused;
           });
}

bool hasCall(const char* operation, const char* arguments) {
    return std::ranges::count(callsOf(operation), arguments) > 0;
}

void select() {
    openSheet();
    await("the hint", [] { return !callsOf("EndPaint").empty(); });
    desktop::movePointer(-1620, 310);
    desktop::pressButton(1);
    desktop::movePointer(-1418, 464);
    await("the outline", [] { return !callsOf("FrameRect").empty(); });
    desktop::releaseButton(1);
}

// From the shortcut to the red frame.
const std::string selection = lines(R"(
GetCursorPos | MonitorFromPoint -1000, 500, 2 | SetWindowsHookExW 13, set, 0 | GetMonitorInfoW set
SetWindowLongPtrW set, -20, 524424 | SetWindowRgn set, null, 0
SetLayeredWindowAttributes set, 0, 180, 2 | SetWindowPos set, set, -1920, 0, 1920, 1080, 64
SetForegroundWindow set | InvalidateRect set, null, 1
SetCapture set | InvalidateRect set, null, 0
ReleaseCapture | GetCapture | ShowWindow set, 0 | DwmFlush | PostMessageW set, 32778, 0
SetWindowLongPtrW set, -20, 134742184 | SetLayeredWindowAttributes set, 0, 255, 2
CreateRectRgn 0, 0, 206, 158 | CreateRectRgn 2, 2, 204, 156 | CombineRgn set, set, set, 4
DeleteObject set | SetWindowRgn set, set, 0 | SetWindowPos set, set, -1622, 308, 206, 158, 80
InvalidateRect set, null, 1
)");

const std::string finishing =
    "Finalize\nRelease IMFSinkWriter\n" + road::closingOfTheDesktop + lines(R"(
MoveFileExW "<clip>.partial.mp4", "<clip>", 8 | GetFileAttributesW "~/Recordings"
DeleteFileW "~/Recordings/completed.txt.new"
MoveFileExW "~/Recordings/completed.txt.new", "~/Recordings/completed.txt", 9
DeleteFileW "~/Recordings/completed.txt.new"
MoveFileExW "~/Recordings/completed.txt.new", "~/Recordings/completed.txt", 9
PostMessageW set, 32770, 0
)");

const std::string deletion = "DeleteFileW \"<clip>.partial.mp4\"\n";

void awaitLoop() {
    await("the loop", [] { return !callsOf("GetMessageW").empty(); });
}

// Before the program starts.
void useTwoMonitors() {
    desktop::startCallLog();
    desktop::setMonitors({{{0, 0, 1920, 1080}}, {{-1920, 0, 0, 1080}}});
    desktop::movePointer(-1000, 500);
}

}  // namespace

TEST(Roads, startAndExit) {
    atDesktop([] {
        desktop::startCallLog();
        Program program("--settings too");
        awaitLoop();
        program.close();
        EXPECT_EQ(readRoad().main, lines(R"(
SetProcessDpiAwarenessContext
RegisterWindowMessageW "QuorvelDeskClip.ActivateSettings.v1"
CreateMutexW "Local\QuorvelDeskClip-v1" | CoInitializeEx 2 | SHGetKnownFolderPath 0
GetFileAttributesW "~" | GetFileAttributesW "~/Recordings"
CreateFileW "~", 2147483648, 1, 33554432 | GetFileInformationByHandle set
GetFinalPathNameByHandleW set, 0, 0 | GetFinalPathNameByHandleW set, <size>, 0 | CloseHandle set
RegisterWindowMessageW "TaskbarCreated"
LoadIconW set, 102 | RegisterClassW "QuorvelDeskClip"
CreateWindowExW 128, "QuorvelDeskClip", "Quorvel Desk Clip", 2147483648, 0, 0, 0, 0
LoadCursorW null, 32515 | RegisterClassW "QuorvelClipOverlay"
CreateWindowExW 524424, "QuorvelClipOverlay", "", 2147483648, 0, 0, 0, 0
SetWindowDisplayAffinity set, 17 | LoadImageW set, 102, 1, 16, 16, 32768
Shell_NotifyIconW 0, 7, 32769, set, "Quorvel Desk Clip — Ctrl+Shift+7", "", 0, 0
GetPrivateProfileIntW "hotkey", "modifiers", 6, "~/config.ini"
GetPrivateProfileIntW "hotkey", "key", 55, "~/config.ini"
RegisterHotKey set, 1, 16390, 55 | LoadImageW set, 102, 1, 16, 16, 32768
Shell_NotifyIconW 1, 7, 32769, set, "Quorvel Desk Clip — Ctrl+Shift+7", "", 0, 0
DestroyWindow set | UnregisterHotKey set, 1 | Shell_NotifyIconW 2, 0, 0, null, "", "", 0, 0
PostQuitMessage 0 | IsWindow set | CoUninitialize | CloseHandle set
)"));
    });
}

TEST(Roads, aRecordingAndItsCopy) {
    atDesktop([] {
        useTwoMonitors();
        Program program;
        awaitLoop();
        desktop::startCallLog();
        select();
        await("a quiet pass", [] { return callsOf("IMFSinkWriter::WriteSample").size() > 1; });
        await("the frame", [] { return hasCall("CreateSolidBrush", "4210943"); });
        desktop::paintDesktop([](const desktop::Canvas& canvas) { canvas.pixels[0] = 1; });
        const auto frames = [] { return callsOf("IDXGIOutputDuplication::ReleaseFrame").size(); };
        await("another frame", [&] { return frames() == 2; });
        const std::size_t samples = callsOf("IMFSinkWriter::WriteSample").size();
        await("a quiet pass",
              [&] { return callsOf("IMFSinkWriter::WriteSample").size() > samples + 2; });
        stopRecording();
        const Road road = readRoad();
        EXPECT_EQ(road.main, selection + lines(R"(
PostMessageW set, 32771, 0 | UnhookWindowsHookEx set | GetCapture | ShowWindow set, 0 | DwmFlush
Shell_NotifyIconW 1, 16, 0, null, "", "Finishing clip…", 1, 3000
GetCapture | ShowWindow set, 0 | DwmFlush | SetTimer set, 1, 100
CreateFileW "<clip>", 2147483648, 1, 128 | GetFileInformationByHandle set
GetFinalPathNameByHandleW set, 0, 0 | GetFinalPathNameByHandleW set, <size>, 0 | CloseHandle set
GlobalAlloc 66, <size> | GlobalLock set | GlobalUnlock set
OpenClipboard set | EmptyClipboard | SetClipboardData 15, set | CloseClipboard
KillTimer set, 1 | Shell_NotifyIconW 1, 16, 0, null, "", "Copied — paste the video file.", 1, 3000
)"));
        EXPECT_EQ(road.painting, lines(R"(
BeginPaint set | GetClientRect set | CreateSolidBrush 1579032 | FillRect set, set, set
DeleteObject set | SetBkMode set, 1 | SetTextColor set, 16777215
DrawTextW set, "Drag a region on this monitor. Esc cancels.\nRelease to record; Esc stops. Max 3840 x 2160.", -1, set, 16
EndPaint set
BeginPaint set | GetClientRect set | CreateSolidBrush 1579032 | FillRect set, set, set
DeleteObject set | SetBkMode set, 1 | SetTextColor set, 16777215
DrawTextW set, "Drag a region on this monitor. Esc cancels.\nRelease to record; Esc stops. Max 3840 x 2160.", -1, set, 16
GetStockObject 0 | FrameRect set, set, set | EndPaint set
BeginPaint set | GetClientRect set | CreateSolidBrush 4210943 | FillRect set, set, set
DeleteObject set | EndPaint set
)"));
        const std::string quiet = "AcquireNextFrame 0\n" + road::sample;
        const std::string moved = "AcquireNextFrame 0\n" + road::frame + road::sample;
        EXPECT_EQ(road::normalized(road.worker),
                  "CoCreateGuid\n" + road::openingOfTheDesktop + road::openingOfTheWriter(true) +
                      "BeginWriting\n" + road::closingOfTheTypes + "AcquireNextFrame 35\n" +
                      road::frame + road::sample + quiet + moved + quiet + finishing);
    });
}

TEST(Roads, aRecordingThatFails) {
    atDesktop([] {
        useTwoMonitors();
        Program program;
        awaitLoop();
        desktop::startCallLog();
        desktop::planFault({desktop::Fault::Fail, "IMFSinkWriter::SetInputMediaType", 1, 0, true});
        select();
        desktop::waitForBalloon("Encoder input (0xc00d36b4)");
        const Road road = readRoad();
        EXPECT_EQ(road.main, selection + lines(R"-(
UnhookWindowsHookEx set | GetCapture | ShowWindow set, 0 | DwmFlush
Shell_NotifyIconW 1, 16, 0, null, "", "Encoder input (0xc00d36b4)", 3, 3000
)-"));
        const std::string refused = road::closingOfTheTypes + "Release IMFSinkWriter\n";
        EXPECT_EQ(road::normalized(road.worker),
                  "CoCreateGuid\n" + road::openingOfTheDesktop + road::openingOfTheWriter(true) +
                      refused + deletion + road::openingOfTheWriter(false) + refused +
                      road::closingOfTheDesktop + deletion + "PostMessageW set, 32770, 0\n");
    });
}

// With Ctrl held from before; a key that another program gets is none of the box's.
TEST(Roads, settingsAndASave) {
    atDesktop([] {
        desktop::pressKey(VK_LCONTROL);
        desktop::startCallLog();
        Program program("--settings");
        await("the box", [] { return isFocused(1001); });
        press({'B'});
        await("the shortcut", [] { return hasCall("SetDlgItemTextW", "set, 1001, \"Ctrl+B\""); });
        desktop::releaseKey(VK_LCONTROL);
        desktop::takeForeground();
        await("another program", [] { return !isFocused(1001); });
        press({'C'});
        desktop::clickTray(WM_RBUTTONUP);
        await("the box", [] { return isFocused(1001); });
        press({VK_TAB});
        await("the next control", [] { return isFocused(1002); });
        press({VK_SPACE});
        press({VK_RETURN});
        await("the tip", [] { return callsOf("Shell_NotifyIconW").size() == 3; });
        const std::string calls = readRoad().main;
        EXPECT_EQ(calls.substr(calls.find("PostMessageW")), lines(R"(
PostMessageW set, 32772, 0 | GetModuleFileNameW 32768 | DialogBoxParamW set, 101, null
SetWindowLongPtrW set, -21, set | GetDpiForWindow set
LoadImageW set, 102, 1, 16, 16, 0 | LoadImageW set, 102, 1, 32, 32, 0
SendMessageW set, 128, 0, icon 78 | SendMessageW set, 128, 1, icon 79
SetDlgItemTextW set, 1001, "Ctrl+Shift+7"
RegOpenKeyExW "Software\Microsoft\Windows\CurrentVersion\Run", 1 | CheckDlgButton set, 1002, 0
EnableWindow set, 1
SetDlgItemTextW set, 1003, "If enabled, keep this portable EXE in its current location."
GetAsyncKeyState 162 | GetAsyncKeyState 163 | GetAsyncKeyState 160 | GetAsyncKeyState 161
GetAsyncKeyState 164 | GetAsyncKeyState 165 | GetAsyncKeyState 91 | GetAsyncKeyState 92
SetWindowsHookExW 13, set, 0 | GetForegroundWindow | PostMessageW set, 32788, 2 | SetDlgItemTextW set, 1001, "Ctrl+B"
GetForegroundWindow | IsWindow set | IsIconic set | ShowWindow set, 5 | SetForegroundWindow set
GetForegroundWindow | PostMessageW set, 40, 0 | GetForegroundWindow | GetForegroundWindow
RegisterHotKey set, 2, 16386, 66
CopyFileW "~/config.ini", "~/config.ini.settings-<start>-1.tmp", 1
WritePrivateProfileStringW "hotkey", "modifiers", "2", "~/config.ini.settings-<start>-1.tmp"
WritePrivateProfileStringW "hotkey", "key", "66", "~/config.ini.settings-<start>-1.tmp"
WritePrivateProfileStringW null, null, null, "~/config.ini.settings-<start>-1.tmp"
CreateFileW "~/config.ini.settings-<start>-1.tmp", 3221225472, 1, 128 | FlushFileBuffers set
CloseHandle set
GetPrivateProfileIntW "hotkey", "modifiers", 0, "~/config.ini.settings-<start>-1.tmp"
GetPrivateProfileIntW "hotkey", "key", 0, "~/config.ini.settings-<start>-1.tmp"
MoveFileExW "~/config.ini.settings-<start>-1.tmp", "~/config.ini", 9
WritePrivateProfileStringW null, null, null, "~/config.ini" | UnregisterHotKey set, 1
IsWindowEnabled set | IsDlgButtonChecked set, 1002
RegOpenKeyExW "Software\Microsoft\Windows\CurrentVersion\Run", 3
RegCreateKeyExW "Software\Microsoft\Windows\CurrentVersion\Run", 3
RegQueryValueExW "QuorvelDeskClip" | RegSetValueExW "QuorvelDeskClip", 1, <size>
RegQueryValueExW "QuorvelDeskClip" | RegQueryValueExW "QuorvelDeskClip" | RegCloseKey
EndDialog set, 1 | UnhookWindowsHookEx set | PeekMessageW set, 786, 786, 1 | DestroyIcon set | DestroyIcon set
LoadImageW set, 102, 1, 16, 16, 32768
Shell_NotifyIconW 1, 7, 32769, set, "Quorvel Desk Clip — Ctrl+B", "", 0, 0
)"));
        press({VK_LCONTROL, 'B'});
        await("the sheet", sheetIsUp);
    });
}

// A window that answers, but not as this version does.
TEST(Roads, aSecondStartMeetsAnOlderOne) {
    atDesktop([] {
        SecondProcess second([] {
            runToItsEnd();
            return readRoad().main;
        });
        const HANDLE mutex = CreateMutexW(nullptr, FALSE, u"Local\\QuorvelDeskClip-v1");
        WNDCLASSW older{};
        older.lpszClassName = trayWindowClass;
        older.lpfnWndProc = [](HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
            return message < 0xC000 ? DefWindowProcW(window, message, wparam, lparam) : 0;
        };
        RegisterClassW(&older);
        CreateWindowExW(0, trayWindowClass, u"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, nullptr,
                        nullptr);
        std::atomic<bool> done = false;
        std::string road;
        std::thread other([&] { road = second.run(), done = true; });
        desktop::waitUntil([&] {
            MSG message;
            PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);
            return done.load();
        });
        other.join();
        CloseHandle(mutex);
        EXPECT_EQ(road, lines(R"(
SetProcessDpiAwarenessContext
RegisterWindowMessageW "QuorvelDeskClip.ActivateSettings.v1"
CreateMutexW "Local\QuorvelDeskClip-v1" | FindWindowW "QuorvelDeskClip", null
GetWindowThreadProcessId set | AllowSetForegroundWindow <parent>
SendMessageTimeoutW set, <registered>, 0, 0, 3, 1000
MessageBoxW null, "An older or unresponsive Quorvel Clip is running. Exit that copy from its tray menu before opening this one. Your clips and settings are kept.", "Quorvel Clip", 64
CloseHandle set
)"));
    });
}

// A path that no text can be made of throws in the tray window's procedure. The box names it, and
// the clip is published on the way out.
TEST(Roads, aFailureInAProcedureEndsTheProgram) {
    atDesktop([] {
        Program program;
        startRecording({100, 100, 420, 340});
        openMenu();
        desktop::startCallLog();
        const Path folder = std::exchange(recordingsFolder, "\xff");
        choose(3);
        await("the box", [] { return !box().empty(); });
        recordingsFolder = folder;
        EXPECT_EQ(box(), "Quorvel Desk Clip|filesystem error: Cannot convert character sequence: "
                         "Invalid or incomplete multibyte or wide character");
        press({VK_RETURN});
        EXPECT_EQ(program.awaitEnd(), 1);
        std::string end;
        for (const desktop::LoggedCall& call : desktop::callLog())
            if (call.operation != "sleep" && !unheard.contains(call.operation))
                end += lineOf(call) + '\n';
        EXPECT_EQ(end.substr(end.find("Finalize")), finishing + lines(R"(
IsWindow set | DestroyWindow set | UnhookWindowsHookEx set
UnregisterHotKey set, 1 | Shell_NotifyIconW 2, 0, 0, null, "", "", 0, 0
PostQuitMessage 0 | CoUninitialize | CloseHandle set
)"));
    });
}
