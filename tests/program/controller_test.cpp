// What the tray window does with each message in each state. The messages come straight to its
// procedure, each to a process of its own, and the call log says what became of them.

#include <sstream>

#include "app/application.h"
#include "app/controller.h"
#include "app/recording_job.h"
#include "app/region_limits.h"
#include "app/tray.h"
#include "common/messages.h"
#include "overlay/region_overlay.h"
#include "tests/capture_road.h"
#include "tests/scenarios/native.h"

using namespace user;

namespace {

struct Row {
    UINT message;
    WPARAM wparam;
    LPARAM lparam;
    // The states, and what happens in them: I Idle, S Selecting in a drag, R Recording, F
    // Finishing, C Copying; s and m Idle with the settings or the menu open. Elsewhere nothing
    // happens; a row with a result, a failure or an exit is not tried there.
    const char* outcome;
    const char* fails = nullptr;  // an operation
    bool exitFirst = false;
    int times = 1;
};

constexpr UINT activation = 0xC100, taskbarCreated = 0xC101;
constexpr LPARAM clip = 1, failure = 2, warning = 3;  // stand for a job's result
constexpr UINT done = WM_APP_RECORDING_DONE, settings = WM_APP_OPEN_SETTINGS;
const char* const opensMenu =
    "Im: no 2 raise menu post | R: no 1 4 raise menu post | FC: no 1 2 4 raise menu post | "
    "S: no 1 2 4 raise menu hide post unhook hide post >Idle | s: show raise";

const Row rows[] = {
    {WM_HOTKEY, 1, 0, "Im: hook show raise >Selecting"},
    {WM_HOTKEY, 1, 0, "I: hook [Could not install temporary Escape hook; recording not started.]",
     "SetWindowsHookExW"},
    {WM_HOTKEY, 1, 0, "I: hook unhook hide [Monitor unavailable]", "GetMonitorInfoW"},
    {WM_APP_TRAY, 1, WM_LBUTTONDBLCLK, "Im: hook show raise >Selecting"},
    {WM_APP_TRAY, 1, WM_RBUTTONUP, opensMenu},
    {WM_APP_TRAY, 1, WM_CONTEXTMENU, opensMenu},
    {WM_APP_TRAY, 1, WM_LBUTTONUP, ""},
    {WM_APP_STOP_REQUEST, 0, 0,
     "S: unhook release hide >Idle | R: unhook hide info >Finishing stop"},
    {settings, 0, 0,
     "Im: dialog [If enabled, keep this portable EXE in its current location.] hook unhook tip | "
     "SRFC: info | s: show raise"},
    {settings, 0, 0, "I: [Cannot determine the current executable path.] tip",
     "GetModuleFileNameW"},
    {settings, 0, 0, "I: dialog [Cannot open Settings.] tip", "DialogBoxParamW"},
    {settings, 0, 0, "I: dialog [Cannot load branded window icons.] [Cannot open Settings.] tip",
     "LoadImageW"},
    {settings, 0, 0,
     "I: dialog [If enabled, keep this portable EXE in its current location.] hook disable "
     "[Shortcut capture unavailable. Existing shortcut kept.] tip",
     "SetWindowsHookExW"},
    {settings, 0, 0, "s: show raise flash", "SetForegroundWindow"},
    {activation, 0, 0, "ISRFCsm: post =1"},
    {WM_APP_REGION_SELECTED, 0, 0, "S: show >Recording"},
    {WM_APP_REGION_SELECTED, 0, 0,
     "S: show unhook release hide [Resource temporarily unavailable] >Idle", "thread"},
    {done, 0, 0, ""},
    {WM_APP_REGION_CANCELLED, 0, 0, "S: unhook release hide >Idle"},
    {done, 0, clip, "R: unhook hide timer >Copying | F: hide timer >Copying"},
    {done, 0, warning, "R: unhook hide [Clip saved; retention warning: old] timer >Copying"},
    {done, 0, failure, "R: unhook hide [failed] >Idle | F: hide [failed] >Idle"},
    {done, 0, clip,
     "F: hide timer [Clip saved; clipboard retry timer unavailable. Open recent clips.] destroy "
     "unregister noicon quit >Idle",
     "SetTimer", true},
    {done, 0, failure, "F: hide [failed] destroy unregister noicon quit >Idle", nullptr, true},
    {WM_TIMER, 1, 0, "C: copy untimer info destroy unregister noicon quit >Idle", nullptr, true},
    {WM_TIMER, 1, 0, "C: copy untimer info >Idle"},
    {WM_TIMER, 1, 0,
     "C: copy*20 untimer [Clip saved, but file or clipboard access failed. Open recent clips to "
     "copy it manually.] >Idle",
     "OpenClipboard", false, 20},
    {WM_TIMER, 2, 0, ""},
    {WM_CLOSE, 0, 0,
     "I: destroy unregister noicon quit | S: destroy unhook unregister noicon quit | "
     "R: unhook hide info >Finishing stop | sm: destroy unregister noicon quit end"},
    {WM_DESTROY, 0, 0,
     "IFC: unregister noicon quit | SR: unhook unregister noicon quit | "
     "sm: unregister noicon quit end"},
    {WM_QUERYENDSESSION, 0, 0, "ISRFCsm: stop =1"},
    {WM_ENDSESSION, 0, 0, ""},
    {WM_ENDSESSION, 1, 0, "IFCsm: stop | SR: unhook stop"},
    {taskbarCreated, 0, 0, "ISRFCsm: icon"},
    {taskbarCreated, 0, 0, "ISRFCsm: icon", "Shell_NotifyIconW"},
};

// What stands for calls that begin so, the first that fits; [] is their text in brackets.
const std::string vocabulary = road::lines(R"(
hide=ShowWindow set, 0 | show=ShowWindow | show=SetWindowPos | raise=SetForegroundWindow
hook=SetWindowsHookExW | unhook=UnhookWindowsHookEx | release=ReleaseCapture | flash=FlashWindowEx set, 2, 3, 0
timer=SetTimer | untimer=KillTimer | copy=OpenClipboard | post=PostMessageW
no=CreatePopupMenu | 1=AppendMenuW set, 1, 1 | 2=AppendMenuW set, 1, 2 | 4=AppendMenuW set, 1, 4
menu=TrackPopupMenu | dialog=DialogBoxParamW | disable=EnableWindow set, 0
[]=SetDlgItemTextW set, 1003 | []=MessageBoxW | []=Shell_NotifyIconW 1, 16
icon=Shell_NotifyIconW 0 | tip=Shell_NotifyIconW 1 | noicon=Shell_NotifyIconW 2
unregister=UnregisterHotKey | destroy=DestroyWindow | quit=PostQuitMessage
)");

std::string wordFor(const std::string& call) {
    std::istringstream entries(vocabulary);
    std::string word, start;
    while (std::getline(std::getline(entries, word, '='), start) && !call.starts_with(start)) {
    }
    if (!entries) return "";
    if (word != "[]") return word;
    if (call.ends_with(", 1, 3000")) return "info";
    const std::size_t text = call.find_first_not_of("\", ", call.find('"'));
    return '[' + call.substr(text, call.find('"', text) - text) + ']';
}

// What this thread did. A word that is repeated is counted.
std::string outcome(AppState before, LRESULT answer) {
    std::vector<std::pair<std::string, int>> seen;
    for (const desktop::LoggedCall& call : desktop::callLog()) {
        if (call.thread != std::this_thread::get_id()) continue;
        const std::string word = wordFor(call.operation + ' ' + call.arguments);
        if (word.empty()) continue;
        if (seen.empty() || seen.back().first != word) seen.emplace_back(word, 0);
        ++seen.back().second;
    }
    static const char* const names[] = {"Idle", "Selecting", "Recording", "Finishing", "Copying"};
    std::string text;
    for (const auto& [word, count] : seen)
        text += ' ' + word + (count > 1 ? '*' + std::to_string(count) : "");
    if (appState != before) text += std::string(" >") + names[static_cast<int>(appState)];
    if (stopFlag) text += " stop";
    return answer ? text + " =" + std::to_string(answer) : text;
}

LRESULT send(UINT message, WPARAM wparam = 0, LPARAM lparam = 0) {
    return trayWindowProc(trayWindow, message, wparam, lparam);
}

std::function<void()> visit;

// Runs it in the next loop: the dialog's or the menu's.
void visitLoop(const std::function<void()>& action) {
    visit = action;
    desktop::postToWindow("visitor", WM_APP);
}

void setUp() {
    alarm(60);  // A loop that does not end fails the row.
    SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
    instanceHandle = GetModuleHandleW(nullptr);
    activationMessage = activation;
    taskbarCreatedMessage = taskbarCreated;
    trayWindow = makeWindow(trayWindowClass, trayWindowProc);
    makeWindow(u"visitor", [](HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
        if (message == WM_APP) std::exchange(visit, [] {})();
        return DefWindowProcW(window, message, wparam, lparam);
    });
    createOverlayClass(instanceHandle, trayWindow);
    currentShortcut.registered = RegisterHotKey(trayWindow, 1, MOD_CONTROL | MOD_NOREPEAT, 65);
    updateTrayIcon(true);
    desktop::planFault({desktop::Fault::Fail, "CoCreateGuid"});  // for the worker
}

LPARAM makeResult(LPARAM kind) {
    const Path file = home() / "clip.mp4";
    writeFile(file, "a clip");
    if (!kind) return 0;
    if (kind == failure) return reinterpret_cast<LPARAM>(new RecordingResult{{}, u"failed", {}});
    return reinterpret_cast<LPARAM>(new RecordingResult{file, {}, kind == warning ? u"old" : u""});
}

void enterState(char state) {
    const auto sendToOverlay = [](UINT message, int x, int y) {
        SendMessageW(FindWindowW(u"QuorvelClipOverlay", nullptr), message, 0, x | y << 16);
    };
    if (state == 'I') return;
    send(WM_HOTKEY);
    sendToOverlay(WM_LBUTTONDOWN, 100, 100);
    sendToOverlay(WM_MOUSEMOVE, 420, 340);
    if (state == 'S') return;
    sendToOverlay(WM_LBUTTONUP, 420, 340);
    appState = AppState::Recording;
    if (state == 'F') send(WM_APP_STOP_REQUEST);
    if (state == 'C') {
        send(done, 0, reinterpret_cast<LPARAM>(new RecordingResult{}));
        send(WM_TIMER, 1);  // A try for a clip without a file is none for the next one.
        appState = AppState::Recording;
        send(done, 0, makeResult(clip));
    }
    KillTimer(trayWindow, 1);
}

void planFailure(const std::string& operation) {
    if (operation != "thread")
        return desktop::planFault({desktop::Fault::Fail, operation, 1, 0, true});
    // Threads with this much stack are refused.
    pthread_attr_t endless;
    pthread_attr_init(&endless);
    pthread_attr_setstacksize(&endless, std::size_t{1} << 46);
    EXPECT_EQ(pthread_setattr_default_np(&endless), 0);
}

void closeWhatIsOpen() {
    await("an end", [] {
        const bool dialog = person::isShown("#32770"), menu = person::isShown("#32768");
        if (menu) click(1900, 1000);
        // It fails if a quit has ended the dialog meanwhile.
        if (dialog) failureOf([] { desktop::postToWindow("#32770", WM_CLOSE); });
        return !dialog && !menu;
    });
}

// From the message to the return of the procedure, with what it has opened closed again.
std::string outcomeOf(const Row& row, std::jthread& closer) {
    visitLoop([&] { closer = std::jthread(closeWhatIsOpen); });
    if (row.exitFirst) send(WM_CLOSE);
    const AppState before = appState;
    const LPARAM lparam = row.message == done ? makeResult(row.lparam) : row.lparam;
    if (row.fails) planFailure(row.fails);
    stopFlag = false;
    desktop::startCallLog();
    LRESULT answer = 0;
    for (int time = 0; time < row.times; ++time) answer = send(row.message, row.wparam, lparam);
    return outcome(before, answer);
}

// "end" if the loop outside of the dialog or menu is told to end as well.
std::string outcomeIn(char state, const Row& row) {
    std::jthread inner, outer;  // wait at the end
    setUp();
    if (state != 's' && state != 'm') {
        enterState(state);
        return outcomeOf(row, inner);
    }
    std::string result;
    visitLoop([&] {
        result = outcomeOf(row, inner);
        outer = std::jthread(closeWhatIsOpen);
    });
    state == 's' ? send(settings) : send(WM_APP_TRAY, 0, WM_RBUTTONUP);
    MSG message;
    return PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) ? result + " end" : result;
}

std::string expectedIn(char state, const Row& row) {
    std::istringstream entries(row.outcome);
    for (std::string states, words;
         std::getline(std::getline(entries >> std::ws, states, ':'), words, '|');)
        if (states.find(state) != std::string::npos)
            return entries.eof() ? words : words.substr(0, words.size() - 1);
    return "";
}

}  // namespace

TEST(Controller, eachMessageInEachState) {
    for (const Row& row : rows)
        for (const char state : std::string("ISRFCsm")) {
            const bool isSpecial =
                row.fails || row.exitFirst || (row.message == done && row.lparam);
            if (isSpecial && expectedIn(state, row).empty()) continue;
            SCOPED_TRACE(std::to_string(row.message) + ", " + std::to_string(row.lparam) + " in " +
                         state);
            atDesktop([&] {
                EXPECT_EQ(outcomeIn(state, row), expectedIn(state, row));
                joinWorker();
            });
            if (HasFailure()) return;  // The next processes would inherit it.
        }
}

// A recording, message by message, with each call failing in turn.
TEST(Controller, survivesAFailureOfAnyCall) {
    atDesktop([] {
        setUp();
        desktop::clearFaults();
        planFailure("thread");
        const auto record = [] {
            enterState('S');
            send(WM_APP_REGION_SELECTED);
            appState = AppState::Recording;
            send(WM_APP_STOP_REQUEST);
            send(done, 0, makeResult(clip));
            for (int time = 0; time < 2; ++time) send(WM_TIMER, 1);
            return appState == AppState::Idle;
        };
        EXPECT_TRUE(record());
        const auto idle = desktop::openObjects();
        int call = 0;
        for (bool struck = true; struck && !HasFailure();) {
            desktop::planFault({desktop::Fault::Fail, "", ++call});
            record();
            struck = desktop::faultStruck();
            SCOPED_TRACE(std::to_string(call) + " " + desktop::struckCall());
            desktop::clearFaults();
            EXPECT_TRUE(record());
            EXPECT_EQ(desktop::openObjects(), idle);
        }
        EXPECT_GT(call, 30);  // Fewer means that the recording never got going.
    });
}

TEST(Controller, acceptsRegionsOfTheseSizes) {
    for (const int width : {14, 16, 3840, 3842})
        for (const int height : {14, 16, 2160, 2162})
            EXPECT_EQ(isRecordable({-10, -10, width - 10, height - 10}),
                      width > 14 && width < 3842 && height > 14 && height < 2162);
}
