// What the tray window does with each message in each state. The messages come straight to its
// procedure, each to a process of its own, and the call log says what became of them.

#include <unistd.h>

#include <fstream>
#include <sstream>

#include "app/application.h"
#include "app/controller.h"
#include "app/recording_job.h"
#include "app/tray.h"
#include "common/failure.h"
#include "common/messages.h"
#include "overlay/region_overlay.h"
#include "tests/program/outcome.h"

using namespace user;

namespace {

struct Row {
    UINT message;
    WPARAM wparam;
    LPARAM lparam;
    // The states, and what happens in them: I Idle, S Selecting in a drag, R Recording, F
    // Finishing, C Copying; s and m Idle with the settings or the menu open. Elsewhere nothing
    // happens.
    const char* outcome;
    const char* fails = nullptr;  // an operation
    int times = 1;
    const char* states = "ISRFCsm";  // in which it is tried
    bool exitFirst = false;
};

constexpr UINT activation = 0xC000, taskbarCreated = 0xC001;  // stand for the registered numbers
constexpr LPARAM clip = 1, failure = 2;                       // stand for a job's result
constexpr UINT done = WM_APP_RECORDING_DONE;
const char* const opensMenu =
    "IRFCm: raise menu post; S: raise menu hide post unhook hide post >Idle; "
    "s: show raise";

const Row rows[] = {
    {WM_HOTKEY, 1, 0, "Im: hook show raise >Selecting"},
    {WM_APP_TRAY, 1, WM_LBUTTONDBLCLK, "Im: hook show raise >Selecting"},
    {WM_APP_TRAY, 1, WM_RBUTTONUP, opensMenu},
    {WM_APP_TRAY, 1, WM_CONTEXTMENU, opensMenu},
    {WM_APP_TRAY, 1, WM_LBUTTONUP, ""},
    {WM_APP_STOP_REQUEST, 0, 0,
     "S: unhook release hide >Idle; R: unhook hide info >Finishing stop"},
    {WM_APP_OPEN_SETTINGS, 0, 0,
     "I: dialog hook unhook tip; SRFC: info; s: show raise; m: dialog hook"},
    {activation, 0, 0, "ISRFC: post =1; sm: post"},
    {WM_APP_REGION_SELECTED, 0, 0, "S: show >Recording"},
    {WM_APP_REGION_SELECTED, 0, 0, "S: show unhook release hide error >Idle", "thread", 1, "S"},
    {done, 0, 0, ""},
    {WM_APP_REGION_CANCELLED, 0, 0, "S: unhook release hide >Idle"},
    {done, 0, clip, "R: unhook hide timer >Copying; F: hide timer >Copying", nullptr, 1, "RF"},
    {done, 0, failure, "R: unhook hide error >Idle; F: hide error >Idle", nullptr, 1, "RF"},
    {done, 0, clip, "F: hide timer error destroy unregister noicon quit >Idle", "SetTimer", 1, "F",
     true},
    {done, 0, failure, "F: hide error destroy unregister noicon quit >Idle", nullptr, 1, "F", true},
    {WM_TIMER, 1, 0, "C: copy*1 untimer info destroy unregister noicon quit >Idle", nullptr, 1, "C",
     true},
    {WM_TIMER, 1, 0, "C: copy*1 untimer info >Idle"},
    {WM_TIMER, 1, 0, "C: copy*20 untimer error >Idle", "OpenClipboard", 20},
    {WM_TIMER, 2, 0, ""},
    {WM_CLOSE, 0, 0,
     "I: destroy unregister noicon quit; s: destroy unregister noicon quit end; S: destroy unhook "
     "unregister noicon quit; "
     "R: unhook hide info >Finishing stop; m: destroy unregister noicon quit post end"},
    {WM_DESTROY, 0, 0,
     "IFC: unregister noicon quit; SR: unhook unregister noicon quit; sm: unregister noicon quit "
     "end"},
    {WM_QUERYENDSESSION, 0, 0, "ISRFC: stop =1; sm: stop"},
    {WM_ENDSESSION, 0, 0, ""},
    {WM_ENDSESSION, 1, 0, "IFCsm: stop; SR: unhook stop"},
    {taskbarCreated, 0, 0, "ISRFCsm: icon"},
    {taskbarCreated, 0, 0, "ISRFCsm: icon", "Shell_NotifyIconW"},
};

std::string wordFor(const desktop::LoggedCall& call) {
    static const std::map<std::string, std::string> words{
        {"SetWindowsHookExW", "hook"}, {"UnhookWindowsHookEx", "unhook"},
        {"SetWindowPos", "show"},      {"ReleaseCapture", "release"},
        {"TrackPopupMenu", "menu"},    {"DialogBoxParamW", "dialog"},
        {"SetTimer", "timer"},         {"SetForegroundWindow", "raise"},
        {"KillTimer", "untimer"},      {"DestroyWindow", "destroy"},
        {"PostQuitMessage", "quit"},   {"UnregisterHotKey", "unregister"},
        {"PostMessageW", "post"}};
    if (call.operation == "ShowWindow") return call.arguments == "set, 0" ? " hide" : " show";
    if (call.operation == "Shell_NotifyIconW") {
        const std::string& what = call.arguments;
        if (what.starts_with("1, 16,")) return what.ends_with(" 3, 3000") ? " error" : " info";
        return what[0] == '0' ? " icon" : what[0] == '1' ? " tip" : " noicon";
    }
    const auto word = words.find(call.operation);
    return word == words.end() ? "" : ' ' + word->second;
}

std::string outcome(AppState before, LRESULT answer) {
    std::string text;
    int copies = 0;
    for (const desktop::LoggedCall& call : desktop::callLog()) {
        if (call.thread != std::this_thread::get_id()) continue;
        copies += call.operation == "OpenClipboard";
        text += wordFor(call);
    }
    if (copies) text = " copy*" + std::to_string(copies) + text;
    static const char* const names[] = {"Idle", "Selecting", "Recording", "Finishing", "Copying"};
    if (appState != before) text += std::string(" >") + names[static_cast<int>(appState)];
    if (stopFlag) text += " stop";
    return answer ? text + " =" + std::to_string(answer) : text;
}

LRESULT send(UINT message, WPARAM wparam = 0, LPARAM lparam = 0) {
    return trayWindowProc(trayWindow, message, wparam, lparam);
}

// A window of the test, to be called from inside a dialog's or menu's loop.
HWND visitor = nullptr;
std::function<void()> visits[2];

HWND makeWindow(const WCHAR* name, WNDPROC procedure) {
    WNDCLASSW description{};
    description.lpfnWndProc = procedure;
    description.lpszClassName = name;
    RegisterClassW(&description);
    return CreateWindowExW(0, name, name, WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
}

void setUp() {
    alarm(60);  // A loop that does not end fails the row.
    instanceHandle = GetModuleHandleW(nullptr);
    activationMessage = RegisterWindowMessageW(u"activation");
    taskbarCreatedMessage = RegisterWindowMessageW(u"TaskbarCreated");
    trayWindow = makeWindow(trayWindowClass, trayWindowProc);
    visitor = makeWindow(u"visitor", [](HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
        if (message != WM_APP) return DefWindowProcW(window, message, wparam, lparam);
        return visits[wparam](), LRESULT{0};
    });
    createOverlayClass(instanceHandle, trayWindow);
    currentShortcut.registered = RegisterHotKey(trayWindow, 1, MOD_CONTROL | MOD_NOREPEAT, 65);
    updateTrayIcon(true);
    desktop::planFault({desktop::Fault::Fail, "CoCreateGuid"});  // for the worker
}

LPARAM makeResult(LPARAM kind) {
    const Path file = home() / "clip.mp4";
    std::ofstream(file) << "a clip";
    return reinterpret_cast<LPARAM>(kind == clip ? new RecordingResult{file, {}, {}}
                                                 : new RecordingResult{{}, u"a failure", {}});
}

void sendToOverlay(UINT message, int x, int y) {
    SendMessageW(FindWindowW(u"QuorvelClipOverlay", nullptr), message, 0, x | y << 16);
}

void enterState(char state) {
    if (state == 'I' || state == 's' || state == 'm') return;
    send(WM_HOTKEY);
    sendToOverlay(WM_LBUTTONDOWN, 100, 100);
    sendToOverlay(WM_MOUSEMOVE, 420, 340);
    if (state == 'S') return;
    sendToOverlay(WM_LBUTTONUP, 420, 340);
    appState = AppState::Recording;
    if (state == 'F') send(WM_APP_STOP_REQUEST);
    if (state == 'C') send(WM_APP_RECORDING_DONE, 0, makeResult(clip));
    KillTimer(trayWindow, 1);
}

// Threads with this much stack are refused.
void refuseThreads() {
    pthread_attr_t endless;
    pthread_attr_init(&endless);
    pthread_attr_setstacksize(&endless, std::size_t{1} << 46);
    EXPECT_EQ(pthread_setattr_default_np(&endless), 0);
}

void planFailure(const Row& row) {
    if (!row.fails) return;
    if (std::string(row.fails) == "thread") return refuseThreads();
    desktop::planFault({desktop::Fault::Fail, row.fails, 1, 0, true});
}

// As a user does: the dialog by its close button, the menu by a click elsewhere.
std::jthread closeWhatIsOpen() {
    return std::jthread([] {
        await("an end", [] {
            const bool dialog = person::isShown("#32770"), menu = person::isShown("#32768");
            if (menu) drag({1900, 1000, 1900, 1000});
            try {
                if (dialog) desktop::postToWindow("#32770", WM_CLOSE);
            } catch (const std::runtime_error&) {
                // A quit has ended it meanwhile.
            }
            return !dialog && !menu;
        });
    });
}

UINT numberOf(const Row& row) {
    if (row.message == activation) return activationMessage;
    return row.message == taskbarCreated ? taskbarCreatedMessage : row.message;
}

// From the message to the return of the procedure, with what it has opened closed again.
std::string inState(const Row& row) {
    std::jthread closer;  // waits at the end
    visits[0] = [&] { closer = closeWhatIsOpen(); };
    desktop::postToWindow("visitor", WM_APP);
    if (row.exitFirst) send(WM_CLOSE);
    const AppState before = appState;
    const bool hasResult = row.message == done && row.lparam;
    const LPARAM lparam = hasResult ? makeResult(row.lparam) : row.lparam;
    planFailure(row);
    stopFlag = false;
    desktop::startCallLog();
    LRESULT answer = 0;
    for (int time = 0; time < row.times; ++time) answer = send(numberOf(row), row.wparam, lparam);
    return outcome(before, answer);
}

// The message comes while the dialog or the menu waits, and is over before that is closed. "end"
// if the loop outside is told to end as well.
std::string inLoop(const Row& row, UINT opening, LPARAM lparam) {
    std::string result;
    std::jthread closer;
    visits[0] = [&] {
        planFailure(row);
        desktop::startCallLog();
    };
    visits[1] = [&] {
        result = outcome(AppState::Idle, 0);
        closer = closeWhatIsOpen();
    };
    desktop::postToWindow("visitor", WM_APP);
    for (int time = 0; time < row.times; ++time)
        desktop::postToWindow("QuorvelDeskClip", numberOf(row), row.wparam, row.lparam);
    desktop::postToWindow("visitor", WM_APP, 1);
    send(opening, 0, lparam);
    MSG message{};
    while (message.message != WM_QUIT && PeekMessageW(&message, visitor, 0, 0, PM_REMOVE))
        DispatchMessageW(&message);
    if (message.message == WM_QUIT) result += " end";
    return result;
}

std::string outcomeIn(char state, const Row& row) {
    setUp();
    enterState(state);
    if (state == 's') return inLoop(row, WM_APP_OPEN_SETTINGS, 0);
    if (state == 'm') return inLoop(row, WM_APP_TRAY, WM_RBUTTONUP);
    return inState(row);
}

std::string expectedIn(char state, const Row& row) {
    std::istringstream entries(row.outcome);
    for (std::string states, words;
         std::getline(std::getline(entries >> std::ws, states, ':'), words, ';');)
        if (states.find(state) != std::string::npos) return words;
    return "";
}

}  // namespace

TEST(Controller, eachMessageInEachState) {
    for (const Row& row : rows)
        for (const char state : std::string(row.states)) {
            SCOPED_TRACE(std::to_string(row.message) + ", " + std::to_string(row.lparam) + " in " +
                         state);
            atDesktop([&] {
                EXPECT_EQ(outcomeIn(state, row), expectedIn(state, row));
                joinWorker();
            });
            if (HasFailure()) return;  // The next processes would inherit it.
        }
}

TEST(Controller, onlyNegativeCodesAreFailures) {
    EXPECT_NO_THROW(check(S_FALSE, "a success"));
    EXPECT_EQ(exceptionText(std::runtime_error("\xE9")), WideText(1, 0xFFE9));
}
