// What the tray window does with each message in each state. The messages come straight to its
// procedure, each to a process of its own, and the call log says what became of them.

#include <unistd.h>

#include <fstream>

#include "app/application.h"
#include "app/controller.h"
#include "app/recording_job.h"
#include "app/tray.h"
#include "common/failure.h"
#include "common/messages.h"
#include "overlay/region_overlay.h"
#include "tests/program/person.h"

using namespace person;

namespace {

// Idle, Selecting in a drag, Recording, Finishing, Copying; Idle with the settings or the menu
// open.
const std::string columns = "ISRFCsm";

struct Event {
    const char* name;
    UINT message;
    WPARAM wparam = 0;
    LPARAM lparam = 0;
    const char* fails = nullptr;  // the operation that does
    int times = 1;
    std::string in = columns;
    UINT first = 0;  // a message that is sent before
};

constexpr UINT activation = 1, taskbarCreated = 2;    // stand for the registered numbers
constexpr LPARAM clip = 1, failure = 2, warning = 3;  // stand for a job's result

const Event events[] = {
    {"hotkey", WM_HOTKEY, 1},
    {"double click", WM_APP_TRAY, 1, WM_LBUTTONDBLCLK},
    {"right up", WM_APP_TRAY, 1, WM_RBUTTONUP},
    {"context menu", WM_APP_TRAY, 1, WM_CONTEXTMENU},
    {"left up", WM_APP_TRAY, 1, WM_LBUTTONUP},
    {"right down", WM_APP_TRAY, 1, WM_RBUTTONDOWN},
    {"stop", WM_APP_STOP_REQUEST},
    {"settings", WM_APP_OPEN_SETTINGS},
    {"activation", activation},
    {"selected", WM_APP_REGION_SELECTED},
    {"selected, no thread", WM_APP_REGION_SELECTED, 0, 0, "thread"},
    {"canceled", WM_APP_REGION_CANCELLED},
    {"done", WM_APP_RECORDING_DONE, 0, clip, nullptr, 1, "RF"},
    {"done, warned", WM_APP_RECORDING_DONE, 0, warning, nullptr, 1, "RF"},
    {"done, no timer", WM_APP_RECORDING_DONE, 0, clip, "SetTimer", 1, "RF"},
    {"failed", WM_APP_RECORDING_DONE, 0, failure, nullptr, 1, "RF"},
    {"close, done", WM_APP_RECORDING_DONE, 0, clip, nullptr, 1, "RF", WM_CLOSE},
    {"close, done, no timer", WM_APP_RECORDING_DONE, 0, clip, "SetTimer", 1, "RF", WM_CLOSE},
    {"close, failed", WM_APP_RECORDING_DONE, 0, failure, nullptr, 1, "RF", WM_CLOSE},
    {"close, tick", WM_TIMER, 1, 0, nullptr, 1, "C", WM_CLOSE},
    {"tick", WM_TIMER, 1},
    {"19 ticks, no clipboard", WM_TIMER, 1, 0, "OpenClipboard", 19},
    {"20 ticks, no clipboard", WM_TIMER, 1, 0, "OpenClipboard", 20},
    {"another timer", WM_TIMER, 2},
    {"close", WM_CLOSE},
    {"session query", WM_QUERYENDSESSION},
    {"session goes on", WM_ENDSESSION, 0},
    {"session ends", WM_ENDSESSION, 1},
    {"new taskbar", taskbarCreated},
    {"new taskbar refuses", taskbarCreated, 0, 0, "Shell_NotifyIconW"},
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

const char* stateName() {
    static const char* const names[] = {"Idle", "Selecting", "Recording", "Finishing", "Copying"};
    return names[static_cast<int>(appState)];
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
    if (appState != before) text += std::string(" >") + stateName();
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
    alarm(100);  // A loop that does not end fails the row.
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
    auto* const result = new RecordingResult{file, {}, kind == warning ? u"a warning" : u""};
    if (kind == failure) *result = {{}, u"a failure", {}};
    return reinterpret_cast<LPARAM>(result);
}

void sendToOverlay(UINT message, int x, int y) {
    SendMessageW(FindWindowW(u"QuorvelClipOverlay", nullptr), message, 0, x | y << 16);
}

void enterState(char column) {
    if (column == 'I' || column == 's' || column == 'm') return;
    send(WM_HOTKEY);
    sendToOverlay(WM_LBUTTONDOWN, 100, 100);
    sendToOverlay(WM_MOUSEMOVE, 420, 340);
    if (column == 'S') return;
    sendToOverlay(WM_LBUTTONUP, 420, 340);
    appState = AppState::Recording;
    if (column == 'F') send(WM_APP_STOP_REQUEST);
    if (column == 'C') send(WM_APP_RECORDING_DONE, 0, makeResult(clip));
    KillTimer(trayWindow, 1);
}

// Threads with this much stack are refused.
void refuseThreads() {
    pthread_attr_t endless;
    pthread_attr_init(&endless);
    pthread_attr_setstacksize(&endless, std::size_t{1} << 46);
    EXPECT_EQ(pthread_setattr_default_np(&endless), 0);
}

void planFailure(const Event& event) {
    if (!event.fails) return;
    if (std::string(event.fails) == "thread") return refuseThreads();
    desktop::planFault({desktop::Fault::Fail, event.fails, 1, 0, true});
}

// As a user does: the dialog by its close button, the menu by a click elsewhere.
std::thread closeWhatIsOpen() {
    return std::thread([] {
        await("an end", [] {
            const bool dialog = isShown("#32770"), menu = isShown("#32768");
            if (menu) drag(1900, 1000, 1900, 1000);
            if (dialog) desktop::postToWindow("#32770", WM_CLOSE);
            return !dialog && !menu;
        });
    });
}

UINT numberOf(const Event& event) {
    if (event.message == activation) return activationMessage;
    return event.message == taskbarCreated ? taskbarCreatedMessage : event.message;
}

// From the event to the return of the procedure, with what it has opened closed again.
std::string inState(const Event& event) {
    std::thread closer;
    visits[0] = [&] { closer = closeWhatIsOpen(); };
    desktop::postToWindow("visitor", WM_APP);
    if (event.first) send(event.first);
    const AppState before = appState;
    const bool isDone = event.message == WM_APP_RECORDING_DONE;
    const LPARAM lparam = isDone ? makeResult(event.lparam) : event.lparam;
    planFailure(event);
    stopFlag = false;
    desktop::startCallLog();
    LRESULT answer = 0;
    for (int time = 0; time < event.times; ++time)
        answer = send(numberOf(event), event.wparam, lparam);
    const std::string result = outcome(before, answer);
    if (closer.joinable()) closer.join();
    return result;
}

// The event comes while the dialog or the menu waits, and is over before that is closed.
std::string inLoop(const Event& event, UINT opening, LPARAM lparam) {
    std::string result;
    std::thread closer;
    visits[0] = [&] {
        planFailure(event);
        desktop::startCallLog();
    };
    visits[1] = [&] {
        result = outcome(AppState::Idle, 0);
        closer = closeWhatIsOpen();
    };
    desktop::postToWindow("visitor", WM_APP);
    for (int time = 0; time < event.times; ++time)
        desktop::postToWindow("QuorvelDeskClip", numberOf(event), event.wparam, event.lparam);
    desktop::postToWindow("visitor", WM_APP, 1);
    send(opening, 0, lparam);
    MSG message;
    while (PeekMessageW(&message, visitor, 0, 0, PM_REMOVE) && message.message != WM_QUIT)
        DispatchMessageW(&message);
    if (closer.joinable()) closer.join();
    return result;
}

std::string outcomeIn(char column, const Event& event) {
    setUp();
    enterState(column);
    if (column == 's') return inLoop(event, WM_APP_OPEN_SETTINGS, 0);
    if (column == 'm') return inLoop(event, WM_APP_TRAY, WM_RBUTTONUP);
    return inState(event);
}

}  // namespace

TEST(Controller, eachMessageInEachState) {
    std::string table = "\n";
    for (const Event& event : events) {
        std::map<std::string, std::string> columnsOf;
        std::vector<std::string> outcomes;
        for (const char column : event.in) {
            SCOPED_TRACE(std::string(event.name) + " in " + column);
            atDesktop(
                [&] {
                    const std::string text = outcomeIn(column, event);
                    std::ofstream(home() / "outcome") << text;
                    joinWorker();
                },
                [&] {
                    const std::string text = contentOf(home() / "outcome");
                    if (columnsOf[text].empty()) outcomes.push_back(text);
                    columnsOf[text] += column;
                });
        }
        for (const std::string& text : outcomes)
            if (!text.empty()) table += event.name + (" " + columnsOf[text] + ":") + text + "\n";
    }
    EXPECT_EQ(table, R"(
hotkey Im: hook show raise >Selecting
double click Im: hook show raise >Selecting
right up IRFCm: raise menu post
right up S: raise menu hide post unhook hide post >Idle
right up s: show raise
context menu IRFCm: raise menu post
context menu S: raise menu hide post unhook hide post >Idle
context menu s: show raise
stop S: unhook release hide >Idle
stop R: unhook hide info >Finishing stop
settings I: dialog hook unhook tip
settings SRFC: info
settings s: show raise
settings m: dialog hook
activation ISRFC: post =1
activation sm: post
selected S: show >Recording
selected, no thread S: show unhook release hide error >Idle
canceled S: unhook release hide >Idle
done R: unhook hide timer >Copying
done F: hide timer >Copying
done, warned R: unhook hide error timer >Copying
done, warned F: hide error timer >Copying
done, no timer R: unhook hide timer error >Idle
done, no timer F: hide timer error >Idle
failed R: unhook hide error >Idle
failed F: hide error >Idle
close, done RF: hide timer >Copying
close, done, no timer RF: hide timer error destroy unregister noicon quit >Idle
close, failed RF: hide error destroy unregister noicon quit >Idle
close, tick C: copy*1 untimer info destroy unregister noicon quit >Idle
tick C: copy*1 untimer info >Idle
19 ticks, no clipboard C: copy*19
20 ticks, no clipboard C: copy*20 untimer error >Idle
close Is: destroy unregister noicon quit
close S: destroy unhook unregister noicon quit
close R: unhook hide info >Finishing stop
close m: destroy unregister noicon quit post
session query ISRFC: stop =1
session query sm: stop
session ends IFCsm: stop
session ends SR: unhook stop
new taskbar ISRFCsm: icon
new taskbar refuses ISRFCsm: icon
)");
}

TEST(Controller, onlyNegativeCodesAreFailures) {
    EXPECT_NO_THROW(check(S_FALSE, "a success"));
    EXPECT_EQ(exceptionText(std::runtime_error("\xE9")), WideText(1, 0xFFE9));
}
