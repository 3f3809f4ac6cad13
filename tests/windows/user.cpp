// The user in front of a Windows desktop. The program runs in a process of its own, with stand-ins
// for the libraries that Wine lacks.
//
// The pointer is the display's. Keys come from within, by SendInput: those of the display would go
// to the process that asked the display for them last.

#include "tests/windows/wine.h"

#include <process.h>
#include <shellapi.h>

#include <regex>

namespace user {

namespace {

// What Wine's Shell_NotifyIconW sends to the shell.
struct TrayRequest {
    LONG window;
    UINT id, flags, callback;
    WCHAR tip[128];
    DWORD state, stateMask;
    WCHAR notice[256];
};

HWND iconWindow = nullptr;  // whose icon is in the tray
TrayRequest icon{};         // as it was added
std::string tip;
int tipChanges = 0;                // of this icon
int tipsAtSettings = -1;           // when the dialog was last seen
std::vector<std::string> notices;  // after the one that was awaited last

const ScratchFolder scratch;

std::string textOf(HWND window) {
    WCHAR text[1000]{};
    SendMessageW(window, WM_GETTEXT, 1000, reinterpret_cast<LPARAM>(text));
    return Path(text).string();
}

// The tray in front of the shell's. The shell's own shows notices late or never, and a click on it
// makes it the foreground window after the program's menu has opened.
LRESULT CALLBACK trayProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message != WM_COPYDATA) return DefWindowProcW(window, message, wparam, lparam);
    const auto& copy = *reinterpret_cast<COPYDATASTRUCT*>(lparam);
    const auto& request = *static_cast<TrayRequest*>(copy.lpData);
    if ((IsWindow(iconWindow) != FALSE) == (copy.dwData == NIM_ADD)) return FALSE;
    if (copy.dwData == NIM_ADD) tipChanges = 0, icon = request;
    iconWindow = copy.dwData == NIM_DELETE ? nullptr : reinterpret_cast<HWND>(wparam);
    if (request.flags & NIF_TIP) tip = Path(request.tip).string(), ++tipChanges;
    if (request.flags & NIF_INFO) notices.push_back(Path(request.notice).string());
    return TRUE;
}

// The shell's own does not have its class's name for a title.
void standInFrontOfTheShell() {
    constexpr WCHAR trayClass[] = TEXT("Shell_TrayWnd");
    if (FindWindowW(trayClass, trayClass)) return;
    GetDesktopWindow();  // starts the shell
    await("the shell", [&] { return FindWindowW(trayClass, nullptr); });
    makeWindow(trayClass, trayProc, WS_EX_TOPMOST | WS_EX_TOOLWINDOW);
}

constexpr WCHAR popupMenu[] = TEXT("#32768");

HWND trayWindow() { return FindWindowW(TEXT("QuorvelDeskClip"), nullptr); }

DWORD_PTR answerOf(HWND window, UINT message, WPARAM wparam = 0) {
    DWORD_PTR answer = 0;
    SendMessageTimeoutW(window, message, wparam, 0, SMTO_NORMAL, 30'000, &answer);
    return answer;
}

void end(HANDLE process) {
    TerminateProcess(process, 0);
    WaitForSingleObject(process, INFINITE);
    CloseHandle(process);
}

void forgetEverything() {
    for (DWORD left = 0; GetWindowThreadProcessId(trayWindow(), &left);)
        end(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, left));
    std::filesystem::remove_all(dataFolder());
    RegDeleteKeyValueW(HKEY_CURRENT_USER, TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run"),
                       TEXT("QuorvelDeskClip"));
    notices.clear();
    std::filesystem::remove(callRecord());
    SetEnvironmentVariableW(TEXT("STAND_IN_RECORD"), callRecord().string<WCHAR>().c_str());
}

// The program's copy has a name of its own, for which Wine prefers the stand-ins in System32 to its
// own libraries. Those beside it are empty: loading one of them ends the recording.
void installProgram() {
    CopyFileW(TEXT("Z:") PROGRAM_FILE, programPath().c_str(), FALSE);
    for (const std::string& library : libraries) {
        const WideText file = TEXT("C:\\windows\\system32\\") + widenBytes(library) + TEXT(".dll");
        CopyFileW(TEXT("Z:") STAND_IN_LIBRARY, file.c_str(), FALSE);
        writeFile(scratch.path / (library + ".dll"), "");
        setLoadOrder(library, "native");
    }
}

HWND shownWindow(const WCHAR* windowClass, const WCHAR* title = nullptr) {
    HWND const window = FindWindowW(windowClass, title);
    return IsWindowVisible(window) ? window : nullptr;
}

HWND settings() {
    HWND const dialog = shownWindow(TEXT("#32770"), TEXT("Quorvel Clip - Settings"));
    if (dialog) tipsAtSettings = tipChanges;
    return dialog;
}

HWND overlay(LONG_PTR transparency) {
    HWND const window = shownWindow(TEXT("QuorvelClipOverlay"));
    const LONG_PTR style = GetWindowLongPtrW(window, GWL_EXSTYLE);
    return (style & WS_EX_TRANSPARENT) == transparency ? window : nullptr;
}

GUITHREADINFO foregroundThread() {
    GUITHREADINFO thread{};
    thread.cbSize = sizeof thread;
    GetGUIThreadInfo(0, &thread);
    return thread;
}

// A window in the foreground gets its keyboard a moment later; before that, keys go elsewhere.
bool hasKeyboard(HWND window) {
    const GUITHREADINFO thread = foregroundThread();
    return window && thread.hwndActive == window && thread.hwndFocus;
}

// In the words of xdotool.
void input(const std::string& orders) {
    std::ofstream(TEXT("Z:") POINTER_FILE, std::ios::binary | std::ios::app) << orders << '\n';
}

}  // namespace

void atDesktop(const std::function<void()>& body, const std::function<void()>& afterwards) {
    standInFrontOfTheShell();
    forgetEverything();
    installProgram();
    body();
    UnregisterHotKey(nullptr, 1);
    afterwards();
}

bool waitUntil(const std::function<bool()>& condition) {
    const ULONGLONG end = GetTickCount64() + 30'000;
    for (MSG message; GetTickCount64() < end;) {
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
        if (condition()) return true;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
    }
    return false;
}

Path dataFolder() {
    WCHAR path[MAX_PATH]{};
    GetEnvironmentVariableW(TEXT("LOCALAPPDATA"), path, MAX_PATH);
    return Path(path) / "Quorvel Desk Clip";
}

std::uint32_t pixel(int x, int y) {
    HDC const context = GetDC(nullptr);
    const COLORREF color = GetPixel(context, x, y);
    ReleaseDC(nullptr, context);
    return RGB(GetBValue(color), GetGValue(color), GetRValue(color));
}

// Without a compositor nothing shines through.
const std::uint32_t dim = 0x181818, outline = 0xFFFFFF;

// A window that gets the display's focus writes all keys as it has read them, and so may press a
// key again that has just been released.
void press(const std::vector<UINT>& keys) {
    const auto send = [](UINT key, DWORD flags) {
        INPUT event{INPUT_KEYBOARD, {.ki = {static_cast<WORD>(key), 0, flags, 0, 0}}};
        SendInput(1, &event, sizeof event);
    };
    for (const UINT held : {VK_LSHIFT, VK_LCONTROL, VK_LMENU, VK_LWIN})
        if (GetAsyncKeyState(static_cast<int>(held)) < 0) send(held, KEYEVENTF_KEYUP);
    for (const UINT key : keys) send(key, 0);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) send(*key, KEYEVENTF_KEYUP);
}

POINT pointer{};

void move(int x, int y) {
    pointer = {x, y};
    input("mousemove " + std::to_string(x) + " " + std::to_string(y));
}

// Keys and messages must not overtake the button. A hook sees it come; its state is no sign, since
// a window that gets the display's focus writes all keys as it has read them. In rare cases under
// load the button takes effect but Wine calls no hook, so this is no expectation.
void turnButton(const std::string& order, int button) {
    static bool hasCome;
    hasCome = false;
    const HOOKPROC look = [](int code, WPARAM message, LPARAM event) {
        hasCome |= message != WM_MOUSEMOVE;
        return CallNextHookEx(nullptr, code, message, event);
    };
    HHOOK const hook = SetWindowsHookExW(WH_MOUSE_LL, look, GetModuleHandleW(nullptr), 0);
    input(order + " " + std::to_string(button));
    waitUntil([] { return hasCome; });
    UnhookWindowsHookEx(hook);
}

// A press beside the menu ends it, and stays in the program's queue a moment longer.
void holdButton(int button) {
    turnButton("mousedown", button);
    RECT area{};
    if (GetWindowRect(shownWindow(popupMenu), &area) && !PtInRect(&area, pointer))
        await("the end of the menu", [] { return !menuIsOpen(); });
}

void releaseButton(int button) { turnButton("mouseup", button); }

void sendToIcon(const std::vector<LPARAM>& messages) {
    for (const LPARAM each : messages) PostMessageW(iconWindow, icon.callback, icon.id, each);
}

void clickTray(int button) {
    if (button == 1) sendToIcon({WM_LBUTTONDOWN, WM_LBUTTONUP});
    if (button == 3) sendToIcon({WM_RBUTTONDOWN, WM_RBUTTONUP});
}

void doubleClickTray() {
    sendToIcon({WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK, WM_LBUTTONUP});
}

// By a click: the menu opens under the pointer, and Wine then moves the selection there, at times
// after an arrow key. Of the six lines one is half as high.
void choose(UINT entry) {
    RECT area{};
    GetWindowRect(shownWindow(popupMenu), &area);
    const LONG line = (area.bottom - area.top) * 2 / 11;
    const LONG top = area.top + static_cast<LONG>(entry) * line - line / 2;
    click(area.left + 20, entry == 6 ? area.bottom - line / 2 : top);
}

bool menuIsOpen() { return foregroundThread().flags & GUI_INMENUMODE; }

// Shortcuts are looked for when all hooks have let the key pass, whatever window has the keyboard.
bool othersGet(const std::vector<UINT>& keys) {
    const bool isFree = RegisterHotKey(nullptr, 0, 0, keys.at(0));
    press(keys);
    MSG message;
    const bool came = PeekMessageW(&message, nullptr, WM_HOTKEY, WM_HOTKEY, PM_REMOVE);
    if (isFree) UnregisterHotKey(nullptr, 0);
    return came;
}

void takeCtrlA() { EXPECT_TRUE(RegisterHotKey(nullptr, 1, MOD_CONTROL, 'A')); }

// Hidden, the window has no part in the display's own focus, whose events come late.
void takeForeground() {
    static const HWND other = makeWindow(TEXT("Other"), DefWindowProcW, WS_EX_TOOLWINDOW);
    HWND const before = GetForegroundWindow();
    await("the foreground",
          [] { return SetForegroundWindow(other) && GetForegroundWindow() == other; });
    // On its virtual desktop Wine leaves menu and captured pointer to the window before.
    answerOf(before, WM_CANCELMODE);
}

void restartShell() {
    iconWindow = nullptr;
    PostMessageW(HWND_BROADCAST, RegisterWindowMessageW(TEXT("TaskbarCreated")), 0, 0);
}

void endSession(bool reallyEnds) {
    EXPECT_EQ(answerOf(trayWindow(), WM_QUERYENDSESSION), 1u);
    answerOf(trayWindow(), WM_ENDSESSION, reallyEnds);
}

bool sheetIsUp() { return hasKeyboard(overlay(0)); }
bool frameIsUp() { return overlay(WS_EX_TRANSPARENT); }

std::string trayTip() { return IsWindow(iconWindow) ? tip : ""; }

void awaitNotice(const std::string& text) {
    await(text.c_str(), [] { return !notices.empty(); });
    EXPECT_EQ(notices.at(0), text);
    notices.erase(notices.begin());
}

std::string box() {
    HWND const window = foregroundThread().hwndActive, text = GetDlgItem(window, 0xFFFF);
    return text && hasKeyboard(window) ? textOf(window) + "|" + textOf(text) : "";
}

// The tip is set again when the program is done with the dialog; until then it opens no menu.
bool settingsAreOpen() { return settings() || tipsAtSettings == tipChanges; }

ControlView control(int id) {
    HWND const window = GetDlgItem(settings(), id);
    ControlView view;
    view.text = textOf(window);
    view.checked = SendMessageW(window, BM_GETCHECK, 0, 0) == BST_CHECKED;
    view.enabled = IsWindowEnabled(window);
    GetWindowRect(window, &view.bounds);
    return view;
}

int focus() { return hasKeyboard(settings()) ? GetDlgCtrlID(foregroundThread().hwndFocus) : 0; }

Path pastedFile() {
    WCHAR path[1000]{};
    await("the clipboard", [] { return OpenClipboard(nullptr); });
    const auto drop = static_cast<HDROP>(GetClipboardData(CF_HDROP));
    EXPECT_EQ(DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0), 1u);
    DragQueryFileW(drop, 0, path, 1000);
    CloseClipboard();
    return path;
}

ClipView view(const Path& clip, int width, int height) {
    const std::string bytes = readFile(clip);
    const auto size = static_cast<std::size_t>(width * height);
    EXPECT_EQ(bytes.size() % (size * 3 / 2), 0u);
    ClipView seen;
    for (std::size_t at = 0; at < bytes.size(); at += size * 3 / 2, ++seen.frames)
        for (const BYTE each : bytes.substr(at, size)) seen.lumas.insert(each);
    return seen;
}

WideText programPath() { return (scratch.path / "Recorder.exe").string<WCHAR>(); }

struct Program::State {
    ~State() { end(process); }

    int awaitEnd() const {
        await("the program's end",
              [&] { return WaitForSingleObject(process, 0) == WAIT_OBJECT_0; });
        DWORD code = 0;
        GetExitCodeProcess(process, &code);
        return static_cast<int>(code);
    }

    const std::string arguments;
    const HANDLE process = reinterpret_cast<HANDLE>(_wspawnl(
        _P_NOWAIT, programPath().c_str(), (TEXT("\"") + programPath() + TEXT("\"")).c_str(),
        arguments.empty() ? nullptr : widenBytes(arguments).c_str(), nullptr));
};

Program::Program(const std::string& arguments) {
    tipChanges = 0;
    tipsAtSettings = -1;
    state.reset(new State{arguments});
    // The first comes with the icon, the second when the shortcut is known.
    await("the icon's tip", [] { return tipChanges == 2; });
}

Program::~Program() = default;
int Program::awaitEnd() { return state->awaitEnd(); }

int Program::close() {
    PostMessageW(trayWindow(), WM_CLOSE, 0, 0);
    return awaitEnd();
}

std::function<std::string()> secondStart(const std::string& arguments) {
    return [arguments] { return std::to_string(Program::State{arguments}.awaitEnd()); };
}

std::ptrdiff_t writtenSamples() {
    const std::string record = readFile(callRecord());
    const std::regex sample("WriteSample");
    return std::distance(std::sregex_iterator(record.begin(), record.end(), sample), {});
}

Path callRecord() { return scratch.path / "calls.txt"; }

void setLoadOrder(const std::string& library, const std::string& order) {
    const WideText value = widenBytes(order);
    RegSetKeyValueW(HKEY_CURRENT_USER,
                    TEXT("Software\\Wine\\AppDefaults\\Recorder.exe\\DllOverrides"),
                    widenBytes(library).c_str(), REG_SZ, value.c_str(),
                    static_cast<DWORD>((value.size() + 1) * sizeof(WCHAR)));
}

}  // namespace user
