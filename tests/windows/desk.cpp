// Everything but the pointer of the display goes through the published operations.

#include "tests/windows/desk.h"

#include <commctrl.h>
#include <shellapi.h>
#include <winternl.h>

#include <cstdint>
#include <stdexcept>

namespace {

// The path prefix by which Wine starts a program of the machine below.
const WideText machineTools = TEXT("\\\\?\\unix\\usr\\bin\\");

HANDLE startProcess(WideText commandLine, DWORD& id) {
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &start, &started))
        throw std::runtime_error("A program cannot be started");
    CloseHandle(started.hThread);
    id = started.dwProcessId;
    return started.hProcess;
}

void startTool(const WideText& commandLine) {
    DWORD ignored = 0;
    startProcess(machineTools + commandLine, ignored);
}

bool hotKeyCame = false;

void answerMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        hotKeyCame |= message.message == WM_HOTKEY;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

// Tips and balloons belong to the shell's process, and so must the memory that their text goes to.
WideText textOfTip(HWND tip) {
    DWORD shell = 0;
    GetWindowThreadProcessId(tip, &shell);
    HANDLE const process = OpenProcess(PROCESS_ALL_ACCESS, FALSE, shell);
    struct Request {
        TTTOOLINFOW tool;
        WCHAR text[1024];
    } request{};
    auto* const remote = static_cast<Request*>(
        VirtualAllocEx(process, nullptr, sizeof request, MEM_COMMIT, PAGE_READWRITE));
    request.tool.cbSize = sizeof request.tool;
    request.tool.lpszText = remote->text;
    WriteProcessMemory(process, remote, &request, sizeof request, nullptr);
    SendMessageW(tip, TTM_ENUMTOOLSW, 0, reinterpret_cast<LPARAM>(remote));
    ReadProcessMemory(process, remote, &request, sizeof request, nullptr);
    VirtualFreeEx(process, remote, 0, MEM_RELEASE);
    CloseHandle(process);
    return request.text;
}

HWND findTip(const WideText& text, bool shown) {
    HWND tip = nullptr;
    while ((tip = FindWindowExW(nullptr, tip, TOOLTIPS_CLASSW, nullptr)))
        if ((!shown || IsWindowVisible(tip)) && textOfTip(tip) == text) return tip;
    return nullptr;
}

NOTIFYICONDATAW iconOf(HWND trayWindow) {
    NOTIFYICONDATAW icon{};
    icon.cbSize = sizeof icon;
    icon.hWnd = trayWindow;
    icon.uID = 1;
    return icon;
}

void endProcessOf(HWND window) {
    DWORD id = 0;
    GetWindowThreadProcessId(window, &id);
    HANDLE const process = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id);
    TerminateProcess(process, 99);
    WaitForSingleObject(process, INFINITE);
    CloseHandle(process);
}

void pressKey(WORD key, DWORD flags) {
    INPUT event{};
    event.type = INPUT_KEYBOARD;
    event.ki.wVk = key;
    event.ki.dwFlags = flags;
    SendInput(1, &event, sizeof event);
}

}  // namespace

bool waitUntil(const std::function<bool()>& holds) {
    const ULONGLONG end = GetTickCount64() + 30'000;
    while (GetTickCount64() < end) {
        answerMessages();
        if (holds()) return true;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
    }
    return false;
}

void input(const WideText& orders) { startTool(TEXT("xdotool ") + orders); }

void press(const std::vector<WORD>& keys) {
    for (const WORD key : keys) pressKey(key, 0);
    for (auto key = std::rbegin(keys); key != std::rend(keys); ++key)
        pressKey(*key, KEYEVENTF_KEYUP);
}

// Hot keys are looked for when all hooks have let the key pass, whatever window has the keyboard.
bool isKeyFree(WORD key) {
    hotKeyCame = false;
    RegisterHotKey(nullptr, 1, 0, key);
    press({key});
    answerMessages();
    UnregisterHotKey(nullptr, 1);
    return hotKeyCame;
}

void photograph(const WideText& name) {
    const Path folder = TEXT("Z:") PICTURE_FOLDER;
    std::filesystem::create_directories(folder);
    std::filesystem::remove(folder / name);
    startTool(TEXT("import -window root \"" PICTURE_FOLDER "/") + name + TEXT("\""));
    // What is on the screen may change only when the picture is taken.
    waitUntil([&] { return std::filesystem::exists(folder / name); });
}

COLORREF colourAt(int x, int y) {
    HDC const screen = GetDC(nullptr);
    const COLORREF colour = GetPixel(screen, x, y);
    ReleaseDC(nullptr, screen);
    return colour;
}

HWND shownWindow(const WCHAR* windowClass, const WCHAR* title) {
    HWND window = nullptr;
    while ((window = FindWindowExW(nullptr, window, windowClass, title)))
        if (IsWindowVisible(window)) return window;
    return nullptr;
}

void clickAt(HWND window) {
    RECT bounds;
    GetWindowRect(window, &bounds);
    input(TEXT("mousemove ") + decimalText((bounds.left + bounds.right) / 2) + TEXT(" ") +
          decimalText((bounds.top + bounds.bottom) / 2) + TEXT(" click 1"));
}

bool openSheet() {
    press({VK_CONTROL, VK_SHIFT, '7'});
    return waitUntil([] { return shownWindow(sheetClass) && colourAt(640, 500) == sheetColour; });
}

bool takeNotice(const WideText& text, const WideText& picture) {
    HWND balloon = nullptr;
    if (!waitUntil([&] { return (balloon = findTip(text, true)); })) return false;
    photograph(picture);
    // Without text it goes at once instead of after its ten seconds.
    NOTIFYICONDATAW icon = iconOf(runningProgram());
    icon.uFlags = NIF_INFO;
    Shell_NotifyIconW(NIM_MODIFY, &icon);
    return waitUntil([&] { return !IsWindowVisible(balloon); });
}

bool isTip(const WideText& text) { return findTip(text, false); }

Path dataFolderOnDisk() {
    WCHAR path[MAX_PATH]{};
    GetEnvironmentVariableW(TEXT("LOCALAPPDATA"), path, MAX_PATH);
    return Path(path) / TEXT("Quorvel Desk Clip");
}

void forgetEverything() {
    while (HWND const left = runningProgram()) endProcessOf(left);
    std::filesystem::remove_all(dataFolderOnDisk());
    RegDeleteKeyValueW(HKEY_CURRENT_USER, TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run"),
                       TEXT("QuorvelDeskClip"));
}

HWND runningProgram() { return FindWindowW(TEXT("QuorvelDeskClip"), nullptr); }

bool hasTrayIcon(HWND trayWindow) {
    NOTIFYICONDATAW icon = iconOf(trayWindow);
    return Shell_NotifyIconW(NIM_MODIFY, &icon);
}

Program::Program(const Path& file, const WideText& arguments)
    : process(startProcess(TEXT("\"") + file.string<WCHAR>() + TEXT("\" ") + arguments, id)) {}

Program::~Program() {
    if (isRunning()) {
        TerminateProcess(process, 99);
        WaitForSingleObject(process, INFINITE);
    }
    CloseHandle(process);
}

// The icon comes before the shortcut, but the first message behind it is answered after both.
bool Program::isReady() const {
    return waitUntil([] {
        HWND const window = runningProgram();
        DWORD_PTR answer = 0;
        return window && hasTrayIcon(window) &&
               SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, 1000, &answer);
    });
}

bool Program::isRunning() const { return WaitForSingleObject(process, 0) == WAIT_TIMEOUT; }

DWORD Program::exitCode() const {
    DWORD code = STILL_ACTIVE;
    if (waitUntil([&] { return !isRunning(); })) GetExitCodeProcess(process, &code);
    return code;
}

std::size_t Program::openHandles() const {
    struct Entry {
        void* object;
        ULONG_PTR process;
        ULONG_PTR handle;
        ULONG rights[4];
    };
    struct List {
        ULONG_PTR count;
        ULONG_PTR reserved;
        Entry entries[20000];
    };
    constexpr auto everyHandle = static_cast<SYSTEM_INFORMATION_CLASS>(64);
    const auto list = std::make_unique<List>();
    NtQuerySystemInformation(everyHandle, list.get(), sizeof(List), nullptr);
    return static_cast<std::size_t>(
        std::count_if(list->entries, list->entries + list->count,
                      [&](const Entry& entry) { return entry.process == id; }));
}

Paper::Paper(const RECT& bounds, COLORREF colour) {
    WNDCLASSW description{};
    description.lpfnWndProc = DefWindowProcW;
    description.hInstance = GetModuleHandleW(nullptr);
    description.hbrBackground = CreateSolidBrush(colour);
    description.lpszClassName = TEXT("TestPaper");
    RegisterClassW(&description);
    // Disabled, it is never the active window; an activation under Wine may lift it over the frame.
    window = CreateWindowExW(WS_EX_TOOLWINDOW, description.lpszClassName, TEXT(""),
                             WS_POPUP | WS_VISIBLE | WS_DISABLED, bounds.left, bounds.top,
                             bounds.right - bounds.left, bounds.bottom - bounds.top, nullptr,
                             nullptr, description.hInstance, nullptr);
}

Paper::~Paper() {
    DestroyWindow(window);
    UnregisterClassW(TEXT("TestPaper"), GetModuleHandleW(nullptr));
}
