// Six roads of a user, as the calls that the program makes on them: every one that matters, in
// order and with its arguments, the main thread's and the worker's for themselves.

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <regex>
#include <set>

#include "app/application.h"
#include "platform/core/call.h"
#include "tests/capture_road.h"
#include "tests/scenarios/native.h"

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
        {std::regex("\"[^\"]*/Quorvel Desk Clip"), "\"~"},
        {std::regex("~/Recordings/clip-[-0-9a-f]{36}.mp4"), "<clip>"},
        {std::regex("~/config.ini.settings-\\d+-\\d+-1.tmp"), "<copy>"},
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
    std::string main, painting, worker;
};

// Since the log was started. Painting comes when the queue is empty, so it is a list of its own;
// repeated painting counts once.
Road readRoad() {
    const std::vector<desktop::LoggedCall> log = desktop::callLog();
    const auto job = std::ranges::find(log, "CoCreateGuid", &desktop::LoggedCall::operation);
    Road road;
    std::string paint, lastPaint;
    std::vector<std::string> worker;
    for (const desktop::LoggedCall& call : log) {
        if (unheard.contains(call.operation)) continue;
        const std::string line = lineOf(call);
        if (job != log.end() && call.thread == job->thread) {
            worker.push_back(line);
            continue;
        }
        if (call.operation == "sleep") continue;
        const bool isPaint = call.operation == "BeginPaint" || !paint.empty();
        (isPaint ? paint : road.main) += line + '\n';
        if (call.operation != "EndPaint") continue;
        if (paint != lastPaint) road.painting += paint;
        lastPaint = std::exchange(paint, "");
    }
    road.worker = road::normalized(worker);
    return road;
}

void awaitCalls(const char* operation, std::size_t least) {
    await(operation, [&] { return callsOf(operation).size() >= least; });
}

// On the monitor to the left. A second press starts the drag again.
void select() {
    desktop::setMonitors({{{0, 0, 1920, 1080}}, {{-1920, 0, 0, 1080}}});
    move(-1000, 500);
    desktop::startCallLog();
    openSheet();
    awaitCalls("EndPaint", 1);
    move(-1620, 310);
    holdButton(1);
    holdButton(1);
    move(-1418, 464);
    awaitCalls("FrameRect", 1);
    releaseButton(1);
}

const std::string selection = lines(R"(
GetCursorPos | MonitorFromPoint -1000, 500, 2 | SetWindowsHookExW 13, set, 0 | GetMonitorInfoW set
SetWindowLongPtrW set, -20, 524424 | SetWindowRgn set, null, 0
SetLayeredWindowAttributes set, 0, 180, 2 | SetWindowPos set, set, -1920, 0, 1920, 1080, 64
SetForegroundWindow set | InvalidateRect set, null, 1
SetCapture set | SetCapture set | InvalidateRect set, null, 0
ReleaseCapture | GetCapture | ShowWindow set, 0 | DwmFlush | PostMessageW set, 32778, 0
SetWindowLongPtrW set, -20, 134742184 | SetLayeredWindowAttributes set, 0, 255, 2
CreateRectRgn 0, 0, 206, 158 | CreateRectRgn 2, 2, 204, 156 | CombineRgn set, set, set, 4
DeleteObject set | SetWindowRgn set, set, 0 | SetWindowPos set, set, -1622, 308, 206, 158, 80
InvalidateRect set, null, 1
)");

const std::string sheet = lines(R"(
BeginPaint set | GetClientRect set | CreateSolidBrush 1579032 | FillRect set, set, set
DeleteObject set | SetBkMode set, 1 | SetTextColor set, 16777215
DrawTextW set, "Drag a region on this monitor. Esc cancels.\nRelease to record; Esc stops. Max 3840 x 2160.", -1, set, 16
)");

const std::string publishing = lines(R"(
CoUninitialize | MoveFileExW "<clip>.partial.mp4", "<clip>", 8 | GetFileAttributesW "~/Recordings"
DeleteFileW "~/Recordings/completed.txt.new"
MoveFileExW "~/Recordings/completed.txt.new", "~/Recordings/completed.txt", 9
DeleteFileW "~/Recordings/completed.txt.new"
MoveFileExW "~/Recordings/completed.txt.new", "~/Recordings/completed.txt", 9
PostMessageW set, 32770, 0
)");

const std::string opening = "CoCreateGuid\nCoInitializeEx 0\n";
const std::string deletion = "DeleteFileW \"<clip>.partial.mp4\"\n";

}  // namespace

TEST(Roads, startAndExit) {
    atDesktop([] {
        Program program("--settings too");
        program.close();
        EXPECT_EQ(readRoad().main, lines(R"(
SetProcessDpiAwarenessContext | RegisterWindowMessageW "QuorvelDeskClip.ActivateSettings.v1"
CreateMutexW "Local\QuorvelDeskClip-v1" | CoInitializeEx 2
SHGetKnownFolderPath 0 | GetFileAttributesW "~" | GetFileAttributesW "~/Recordings"
CreateFileW "~", 2147483648, 1, 33554432 | GetFileInformationByHandle set
GetFinalPathNameByHandleW set, 0, 0 | GetFinalPathNameByHandleW set, <size>, 0 | CloseHandle set
RegisterWindowMessageW "TaskbarCreated" | LoadIconW set, 102 | RegisterClassW "QuorvelDeskClip"
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
        const Program program;
        select();
        await("two samples", [] { return writtenSamples() >= 2; });
        await("the frame",
              [] { return std::ranges::count(callsOf("CreateSolidBrush"), "4210943"); });
        desktop::paintDesktop([](const desktop::Canvas& canvas) { canvas.pixels[0] = 1; });
        awaitCalls("IDXGIOutputDuplication::ReleaseFrame", 2);
        await("three more", [until = writtenSamples() + 3] { return writtenSamples() >= until; });
        stopRecording();
        const Road road = readRoad();
        EXPECT_EQ(road.main, selection + lines(R"(
PostMessageW set, 32771, 0 | UnhookWindowsHookEx set | GetCapture | ShowWindow set, 0 | DwmFlush
Shell_NotifyIconW 1, 16, 0, null, "", "Finishing clip…", 1, 3000 | GetCapture | ShowWindow set, 0
DwmFlush | SetTimer set, 1, 100 | CreateFileW "<clip>", 2147483648, 1, 128
GetFileInformationByHandle set | GetFinalPathNameByHandleW set, 0, 0
GetFinalPathNameByHandleW set, <size>, 0 | CloseHandle set | GlobalAlloc 66, <size> | GlobalLock set
GlobalUnlock set | OpenClipboard set | EmptyClipboard | SetClipboardData 15, set | CloseClipboard
KillTimer set, 1 | Shell_NotifyIconW 1, 16, 0, null, "", "Copied — paste the video file.", 1, 3000
)"));
        EXPECT_EQ(road.painting, sheet + "EndPaint set\n" + sheet + lines(R"(
GetStockObject 0 | FrameRect set, set, set | EndPaint set | BeginPaint set | GetClientRect set
CreateSolidBrush 4210943 | FillRect set, set, set | DeleteObject set | EndPaint set
)"));
        EXPECT_EQ(road.worker, opening + road::recording + publishing);
    });
}

TEST(Roads, aRecordingThatFails) {
    atDesktop([] {
        const Program program;
        desktop::planFault({desktop::Fault::Fail, "IMFSinkWriter::SetInputMediaType", 1, 0, true});
        select();
        desktop::waitForBalloon("Encoder input (0xc00d36b4)");
        const Road road = readRoad();
        EXPECT_EQ(road.main, selection + lines(R"-(
UnhookWindowsHookEx set | GetCapture | ShowWindow set, 0 | DwmFlush
Shell_NotifyIconW 1, 16, 0, null, "", "Encoder input (0xc00d36b4)", 3, 3000
)-"));
        const std::string refused = road::closingOfTheTypes + "Release IMFSinkWriter\n";
        EXPECT_EQ(road.worker, opening + road::openingOfTheDesktop +
                                   road::openingOfTheWriter(true) + refused + deletion +
                                   road::openingOfTheWriter(false) + refused +
                                   road::closingOfTheDesktop + "CoUninitialize\n" + deletion +
                                   "PostMessageW set, 32770, 0\n");
    });
}

// With Ctrl held from before, and on two monitors with a scale of their own; a key that another
// program gets is none of the box's.
TEST(Roads, settingsAndASave) {
    atDesktop([] {
        desktop::setMonitors({{{0, 0, 1000, 800}}, {{1000, 0, 2500, 1200}, 1, 144}});
        desktop::pressKey(VK_LCONTROL);
        const Program program("--settings");
        awaitFocus(ShortcutBox);
        press({VK_RMENU, VK_RSHIFT, VK_RWIN, 'B'});
        await("the shortcut", [] { return control(ShortcutBox).text == "Ctrl+Alt+Shift+Win+B"; });
        desktop::releaseKey(VK_LCONTROL);
        desktop::postToWindow("#32770", WM_SYSCOMMAND, SC_MINIMIZE);
        awaitFocus(0);
        press({'C'});
        clickTray(3);
        awaitFocus(ShortcutBox);
        tabTo(StartEntry);
        drag({500, control(ShortcutBox).bounds.top - 60, 1700, 300});
        awaitCalls("DestroyIcon", 2);
        press({VK_SPACE});
        await("the check mark", [] { return control(StartEntry).checked; });
        EXPECT_EQ(callsOf("CallNextHookEx").size(), 9u);  // Nothing of B, the Windows key and Tab.
        press({VK_RETURN});
        awaitCalls("Shell_NotifyIconW", 3);
        const std::string calls = readRoad().main;
        EXPECT_EQ(calls.substr(calls.find("PostMessageW")), lines(R"(
PostMessageW set, 32772, 0 | GetModuleFileNameW 32768 | DialogBoxParamW set, 101, null
SetWindowLongPtrW set, -21, set | GetDpiForWindow set | LoadImageW set, 102, 1, 16, 16, 0
LoadImageW set, 102, 1, 32, 32, 0 | SendMessageW set, 128, 0, icon 78
SendMessageW set, 128, 1, icon 79 | SetDlgItemTextW set, 1001, "Ctrl+Shift+7"
RegOpenKeyExW "Software\Microsoft\Windows\CurrentVersion\Run", 1 | CheckDlgButton set, 1002, 0
EnableWindow set, 1
SetDlgItemTextW set, 1003, "If enabled, keep this portable EXE in its current location."
GetAsyncKeyState 162 | GetAsyncKeyState 163 | GetAsyncKeyState 160 | GetAsyncKeyState 161
GetAsyncKeyState 164 | GetAsyncKeyState 165 | GetAsyncKeyState 91 | GetAsyncKeyState 92
SetWindowsHookExW 13, set, 0 | GetForegroundWindow | GetForegroundWindow | GetForegroundWindow
GetForegroundWindow | PostMessageW set, 32788, 15
SetDlgItemTextW set, 1001, "Ctrl+Alt+Shift+Win+B" | GetForegroundWindow | IsWindow set
IsIconic set | ShowWindow set, 9 | SetForegroundWindow set | GetForegroundWindow
PostMessageW set, 40, 0 | SetWindowPos set, null, 1327, 215, 745, 434, 20 | GetDpiForWindow set
LoadImageW set, 102, 1, 24, 24, 0 | LoadImageW set, 102, 1, 48, 48, 0
SendMessageW set, 128, 0, icon 80 | SendMessageW set, 128, 1, icon 81 | DestroyIcon set
DestroyIcon set | GetForegroundWindow | GetForegroundWindow | RegisterHotKey set, 2, 16399, 66
CopyFileW "~/config.ini", "<copy>", 1
WritePrivateProfileStringW "hotkey", "modifiers", "15", "<copy>"
WritePrivateProfileStringW "hotkey", "key", "66", "<copy>"
WritePrivateProfileStringW null, null, null, "<copy>" | CreateFileW "<copy>", 3221225472, 1, 128
FlushFileBuffers set | CloseHandle set | GetPrivateProfileIntW "hotkey", "modifiers", 0, "<copy>"
GetPrivateProfileIntW "hotkey", "key", 0, "<copy>" | MoveFileExW "<copy>", "~/config.ini", 9
WritePrivateProfileStringW null, null, null, "~/config.ini" | UnregisterHotKey set, 1
IsWindowEnabled set | IsDlgButtonChecked set, 1002
RegOpenKeyExW "Software\Microsoft\Windows\CurrentVersion\Run", 3
RegCreateKeyExW "Software\Microsoft\Windows\CurrentVersion\Run", 3
RegQueryValueExW "QuorvelDeskClip" | RegSetValueExW "QuorvelDeskClip", 1, <size>
RegQueryValueExW "QuorvelDeskClip" | RegQueryValueExW "QuorvelDeskClip" | RegCloseKey
EndDialog set, 1 | UnhookWindowsHookEx set | PeekMessageW set, 786, 786, 1 | DestroyIcon set
DestroyIcon set | LoadImageW set, 102, 1, 16, 16, 32768
Shell_NotifyIconW 1, 7, 32769, set, "Quorvel Desk Clip — Ctrl+Alt+Shift+Win+B", "", 0, 0
)"));
        press({VK_LCONTROL, VK_LMENU, VK_LSHIFT, VK_LWIN, 'B'});
        await("the sheet", sheetIsUp);
    });
}

TEST(Roads, aSecondStartMeetsAnOlderOne) {
    atDesktop([] {
        const auto early = secondStart();
        const auto second = inSecondProcess([] { return runToItsEnd(), readRoad().main; });
        useHost();
        // The first one has no window yet.
        Handle mutex(CreateMutexW(nullptr, FALSE, u"Local\\QuorvelDeskClip-v1"));
        EXPECT_TRUE(early().starts_with("0|Quorvel Clip|An older or unresponsive"));
        EXPECT_FALSE(std::filesystem::exists(user::dataFolder()));
        mutex.reset();
        const Program program;
        activationMessage = 0;  // It does not know the second one's.
        clickTray(1);
        EXPECT_EQ(second(), lines(R"(
SetProcessDpiAwarenessContext | RegisterWindowMessageW "QuorvelDeskClip.ActivateSettings.v1"
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
        startRecording();
        const Path folder = std::exchange(recordingsFolder, "\xff");
        openMenu();
        choose(3);
        await("the box", [] { return !box().empty(); });
        recordingsFolder = folder;
        press({VK_RETURN});
        EXPECT_EQ(program.awaitEnd(), 1);
        const Road road = readRoad();
        EXPECT_EQ(road.main.substr(road.main.find("CreatePopupMenu")), lines(R"-(
CreatePopupMenu | AppendMenuW set, 1, 1, "Record region"
AppendMenuW set, 0, 2, "Stop recording (Esc)" | AppendMenuW set, 0, 3, "Open recent clips"
AppendMenuW set, 1, 4, "Settings…" | AppendMenuW set, 2048, 0, null | AppendMenuW set, 0, 6, "Exit"
GetCursorPos | SetForegroundWindow set | TrackPopupMenu 386, 1900, 1060 | DestroyMenu set
PostMessageW set, 0, 0 | PostQuitMessage 1
MessageBoxW null, "filesystem error: Cannot convert character sequence: Invalid or incomplete multibyte or wide character", "Quorvel Desk Clip", 16
IsWindow set | DestroyWindow set | UnhookWindowsHookEx set | UnregisterHotKey set, 1
Shell_NotifyIconW 2, 0, 0, null, "", "", 0, 0 | PostQuitMessage 0 | CoUninitialize | CloseHandle set
)-"));
        EXPECT_TRUE(road.worker.ends_with(publishing));
    });
}
