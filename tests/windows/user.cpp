// The user in front of a Windows desktop. The program runs in a process of its own, with stand-ins
// for the libraries that Wine lacks.
//
// The pointer is the display's. Keys come from within, by SendInput: those of the display would go
// to the process that asked the display for them last.

#include "tests/windows/wine.h"

#include <process.h>
#include <shellapi.h>

#include <map>

namespace user {

namespace {

constexpr WCHAR trayClass[] = TEXT("Shell_TrayWnd");

// What Wine's Shell_NotifyIconW sends to the shell.
struct TrayRequest {
    LONG window;
    UINT id, flags, callback;
    WCHAR tip[128];
    DWORD state, stateMask;
    WCHAR notice[256];
    UINT timeout;
    WCHAR noticeTitle[64];
};

HWND shell = nullptr;
HWND iconWindow = nullptr;  // whose icon is in the tray
std::string tip;
int tipChanges = 0;       // of this icon
int tipsAtSettings = -1;  // when the dialog was last seen
std::vector<std::string> notices;
std::size_t noticesAwaited = 0;

const ScratchFolder scratch;
int shortcutsOfOthers = 0;

std::string narrow(const WCHAR* text) {
    char bytes[2000]{};
    WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes, sizeof bytes, nullptr, nullptr);
    return bytes;
}

std::string textOf(HWND window) {
    WCHAR text[1000]{};
    SendMessageW(window, WM_GETTEXT, 1000, reinterpret_cast<LPARAM>(text));
    return narrow(text);
}

void answerMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
}

// The tray in front of the shell's: it sees every request of the program, and passes it on. Only
// notices stay here: Wine shows them two seconds late, and one that is replaced until then never.
LRESULT CALLBACK trayProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message != WM_COPYDATA) return DefWindowProcW(window, message, wparam, lparam);
    auto copy = *reinterpret_cast<COPYDATASTRUCT*>(lparam);
    std::vector<char> bytes(static_cast<char*>(copy.lpData),
                            static_cast<char*>(copy.lpData) + copy.cbData);
    copy.lpData = bytes.data();
    auto& request = *reinterpret_cast<TrayRequest*>(bytes.data());
    const UINT flags = std::exchange(request.flags, request.flags & ~NIF_INFO);
    const LRESULT done = SendMessageW(shell, message, wparam, reinterpret_cast<LPARAM>(&copy));
    if (!done) return done;
    if (copy.dwData == NIM_DELETE) iconWindow = nullptr;
    if (copy.dwData == NIM_ADD) tipChanges = 0, iconWindow = reinterpret_cast<HWND>(wparam);
    if (flags & NIF_TIP) tip = narrow(request.tip), ++tipChanges;
    if (flags & NIF_INFO) notices.push_back(narrow(request.notice));
    return done;
}

void standInFrontOfTheShell() {
    if (shell) return;
    GetDesktopWindow();  // starts the shell
    await("the shell", [] { return (shell = FindWindowW(trayClass, nullptr)); });
    WNDCLASSW description{};
    description.lpfnWndProc = trayProc;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = trayClass;
    RegisterClassW(&description);
    HWND const tray = CreateWindowExW(WS_EX_TOPMOST | WS_EX_TOOLWINDOW, trayClass, nullptr,
                                      WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(FindWindowW(trayClass, nullptr), tray);
}

HWND trayWindow() { return FindWindowW(TEXT("QuorvelDeskClip"), nullptr); }

void removeIcon() {
    NOTIFYICONDATAW icon{};
    icon.cbSize = sizeof icon;
    icon.hWnd = iconWindow;
    icon.uID = 1;
    if (iconWindow) Shell_NotifyIconW(NIM_DELETE, &icon);
}

void end(HANDLE process, UINT code = 99) {
    TerminateProcess(process, code);
    WaitForSingleObject(process, INFINITE);
    CloseHandle(process);
    if (!IsWindow(iconWindow)) removeIcon();
}

void endProgramOf(HWND window, UINT code = 99) {
    DWORD id = 0;
    GetWindowThreadProcessId(window, &id);
    end(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id), code);
}

void forgetEverything() {
    while (HWND const left = trayWindow()) endProgramOf(left);
    std::filesystem::remove_all(dataFolder());
    RegDeleteKeyValueW(HKEY_CURRENT_USER, TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run"),
                       TEXT("QuorvelDeskClip"));
    await("the clipboard", [] { return OpenClipboard(nullptr); });
    EmptyClipboard();
    CloseClipboard();
    notices.clear();
    noticesAwaited = 0;
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

// The first visible window of that class or title for which the condition holds.
HWND shownWindow(
    const WCHAR* windowClass, const WCHAR* title = nullptr,
    const std::function<bool(HWND)>& fits = [](HWND) { return true; }) {
    HWND window = nullptr;
    while ((window = FindWindowExW(nullptr, window, windowClass, title)))
        if (IsWindowVisible(window) && fits(window)) return window;
    return nullptr;
}

HWND settings() {
    HWND const dialog = shownWindow(TEXT("#32770"), TEXT("Quorvel Clip - Settings"));
    if (dialog) tipsAtSettings = tipChanges;
    return dialog;
}

HWND overlay(LONG_PTR transparency) {
    return shownWindow(TEXT("QuorvelClipOverlay"), nullptr, [&](HWND window) {
        return (GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_TRANSPARENT) == transparency;
    });
}

// Of the thread that keys go to.
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

void sendKey(UINT key, DWORD flags) {
    INPUT event{INPUT_KEYBOARD, {.ki = {static_cast<WORD>(key), 0, flags, 0, 0}}};
    SendInput(1, &event, sizeof event);
}

// In the words of xdotool.
void input(const std::string& orders) {
    std::ofstream(TEXT("Z:") POINTER_FILE, std::ios::binary | std::ios::app) << orders << '\n';
}

int writtenSamples() {
    const std::string record = readFile(callRecord());
    int count = 0;
    for (std::size_t at = 0; (at = record.find("WriteSample ", at)) != std::string::npos; ++at)
        ++count;
    return count;
}

}  // namespace

// --- The desktop -----------------------------------------------------------------------------

void atDesktop(const std::function<void()>& body, const std::function<void()>& afterwards) {
    standInFrontOfTheShell();
    forgetEverything();
    installProgram();
    try {
        body();
    } catch (const std::exception& failure) {
        ADD_FAILURE() << failure.what();
    }
    for (; shortcutsOfOthers > 0; --shortcutsOfOthers) UnregisterHotKey(nullptr, shortcutsOfOthers);
    afterwards();
}

bool waitUntil(const std::function<bool()>& condition) {
    const ULONGLONG end = GetTickCount64() + 30'000;
    while (GetTickCount64() < end) {
        answerMessages();
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

// --- Hands -----------------------------------------------------------------------------------

// A window that gets the display's focus writes all keys as it has read them, and so may press a
// key again that has just been released.
void press(const std::vector<UINT>& keys) {
    for (const UINT held : {VK_LSHIFT, VK_LCONTROL, VK_LMENU, VK_LWIN})
        if (GetAsyncKeyState(static_cast<int>(held)) < 0) sendKey(held, KEYEVENTF_KEYUP);
    for (const UINT key : keys) sendKey(key, 0);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) sendKey(*key, KEYEVENTF_KEYUP);
}

void move(int x, int y) { input("mousemove " + std::to_string(x) + " " + std::to_string(y)); }

void holdButton(int button) { input("mousedown " + std::to_string(button)); }
void releaseButton(int button) { input("mouseup " + std::to_string(button)); }

void clickTray(int button) {  // The one icon is at the end of the bar.
    RECT bar{};
    GetWindowRect(shell, &bar);
    click(bar.right - 10, bar.top + 10, button);
}

void doubleClickTray() {
    clickTray(1);
    clickTray(1);
}

// By a click: under Wine the menu now and then misses the Enter that follows the arrows. Of its six
// lines one is half as high.
void choose(UINT entry) {
    RECT area{};
    await("the menu", [&] {
        return GetWindowRect(shownWindow(TEXT("#32768")), &area) &&
               pixel(area.left + 4, area.top + 4) != ground;
    });
    const LONG line = (area.bottom - area.top) * 2 / 11;
    const LONG top = area.top + static_cast<LONG>(entry) * line - line / 2;
    click(area.left + 20, entry == 6 ? area.bottom - line / 2 : top);
}

bool menuIsOpen() {
    return shownWindow(TEXT("#32768")) || (foregroundThread().flags & GUI_INMENUMODE);
}

// --- Other programs --------------------------------------------------------------------------

// Shortcuts are looked for when all hooks have let the key pass, whatever window has the keyboard.
bool othersGet(const std::vector<UINT>& keys) {
    const std::map<UINT, UINT> modifierOf{{VK_LMENU, MOD_ALT},
                                          {VK_LCONTROL, MOD_CONTROL},
                                          {VK_LSHIFT, MOD_SHIFT},
                                          {VK_LWIN, MOD_WIN}};
    UINT modifiers = 0;
    for (auto key = keys.begin(); key + 1 != keys.end(); ++key) modifiers |= modifierOf.at(*key);
    const bool isFree = RegisterHotKey(nullptr, 0, modifiers, keys.back());
    press(keys);
    MSG message;
    const bool came = PeekMessageW(&message, nullptr, WM_HOTKEY, WM_HOTKEY, PM_REMOVE);
    if (isFree) UnregisterHotKey(nullptr, 0);
    return came;
}

void takeShortcut(UINT modifiers, UINT key) {
    EXPECT_TRUE(RegisterHotKey(nullptr, ++shortcutsOfOthers, modifiers, key));
}

// Hidden, the window has no part in the display's own focus, whose events come late.
void takeForeground() {
    static const HWND other = CreateWindowExW(WS_EX_TOOLWINDOW, TEXT("Static"), nullptr, WS_POPUP,
                                              0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
    HWND const before = GetForegroundWindow();
    await("the foreground",
          [] { return SetForegroundWindow(other) && GetForegroundWindow() == other; });
    // On its virtual desktop Wine leaves menu and captured pointer to the window before.
    DWORD_PTR answer = 0;
    SendMessageTimeoutW(before, WM_CANCELMODE, 0, 0, SMTO_NORMAL, 30'000, &answer);
}

void restartShell() {
    removeIcon();
    PostMessageW(HWND_BROADCAST, RegisterWindowMessageW(TEXT("TaskbarCreated")), 0, 0);
}

void endSession(bool reallyEnds) {
    const DWORD thread = GetWindowThreadProcessId(trayWindow(), nullptr);
    const auto ask = [&](UINT message, WPARAM argument) {
        for (HWND window = nullptr; (window = FindWindowExW(nullptr, window, nullptr, nullptr));) {
            if (GetWindowThreadProcessId(window, nullptr) != thread) continue;
            DWORD_PTR answer = 0;
            EXPECT_TRUE(
                SendMessageTimeoutW(window, message, argument, 0, SMTO_NORMAL, 30'000, &answer));
            EXPECT_TRUE(answer || message == WM_ENDSESSION);
        }
    };
    ask(WM_QUERYENDSESSION, 0);
    ask(WM_ENDSESSION, reallyEnds);
    if (reallyEnds) endProgramOf(trayWindow(), 0);
}

// --- Eyes ------------------------------------------------------------------------------------

bool sheetIsUp() { return hasKeyboard(overlay(0)); }
bool frameIsUp() { return overlay(WS_EX_TRANSPARENT); }

std::string trayTip() { return IsWindow(iconWindow) ? tip : ""; }

void awaitNotice(const std::string& text) {
    await(text.c_str(), [&] {
        const auto first = notices.begin() + static_cast<std::ptrdiff_t>(noticesAwaited);
        const auto found = std::find(first, notices.end(), text);
        if (found == notices.end()) return false;
        noticesAwaited = static_cast<std::size_t>(found - notices.begin()) + 1;
        return true;
    });
}

bool noticeIsNew() {
    answerMessages();
    return noticesAwaited < notices.size();
}

std::string box() {
    HWND const window = shownWindow(TEXT("#32770"), nullptr,
                                    [](HWND each) { return GetDlgItem(each, 0xFFFF) != nullptr; });
    if (!hasKeyboard(window)) return "";
    return textOf(window) + "|" + textOf(GetDlgItem(window, 0xFFFF));
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
    if (drop && DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0) == 1)
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
        for (const char each : std::string_view(bytes).substr(at, size)) {
            seen.darkest = std::min<int>(seen.darkest, static_cast<BYTE>(each));
            seen.brightest = std::max<int>(seen.brightest, static_cast<BYTE>(each));
        }
    return seen;
}

// --- The program -----------------------------------------------------------------------------

WideText programPath() { return (scratch.path / "Recorder.exe").string<WCHAR>(); }

struct Program::State {
    explicit State(const std::string& arguments)
        : process(reinterpret_cast<HANDLE>(_wspawnl(
              _P_NOWAIT, programPath().c_str(), (TEXT("\"") + programPath() + TEXT("\"")).c_str(),
              arguments.empty() ? nullptr : widenBytes(arguments).c_str(), nullptr))) {}
    ~State() { end(process); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    bool hasEnded() const { return WaitForSingleObject(process, 0) == WAIT_OBJECT_0; }
    int exitCode() const {
        DWORD code = 0;
        GetExitCodeProcess(process, &code);
        return static_cast<int>(code);
    }

    const HANDLE process;
};

Program::Program(const std::string& arguments) {
    tipChanges = 0;
    tipsAtSettings = -1;
    state = std::make_unique<State>(arguments);
    // The first comes with the icon, the second when the shortcut is known.
    await("the icon's tip", [] { return tipChanges == 2; });
}

Program::~Program() = default;
int Program::awaitEnd() {
    await("the program's end", [&] { return state->hasEnded(); });
    return state->exitCode();
}

int Program::close() {
    PostMessageW(trayWindow(), WM_CLOSE, 0, 0);
    return awaitEnd();
}

struct SecondStart::State {
    std::string arguments;
};

SecondStart::SecondStart(const std::string& arguments) : state(new State{arguments}) {}
SecondStart::~SecondStart() = default;

std::string SecondStart::run() {
    const Program::State second(state->arguments);
    std::string shown;
    await("the end of the second start", [&] {
        if (shown.empty() && !(shown = box()).empty()) press({VK_RETURN});
        return second.hasEnded();
    });
    return std::to_string(second.exitCode()) + (shown.empty() ? "" : "|" + shown);
}

void dragRegion(const RECT& region, int samples) {
    const int before = writtenSamples();
    drag(region);
    await("the frame", frameIsUp);
    await("samples", [&] { return writtenSamples() >= before + samples; });
}

// --- What only Wine has ----------------------------------------------------------------------

Path callRecord() { return scratch.path / "calls.txt"; }

void setLoadOrder(const std::string& library, const std::string& order) {
    const WideText value = widenBytes(order);
    RegSetKeyValueW(HKEY_CURRENT_USER,
                    TEXT("Software\\Wine\\AppDefaults\\Recorder.exe\\DllOverrides"),
                    widenBytes(library).c_str(), REG_SZ, value.c_str(),
                    static_cast<DWORD>((value.size() + 1) * sizeof(WCHAR)));
}

}  // namespace user
