// The message queue, the timer, the published operations on messages, and what a window does with
// those that its procedure passes on.

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/core/call.h"
#include "platform/core/mailbox.h"
#include "platform/core/objects.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

constexpr std::size_t mostPosted = 10'000;

// What other threads reach. Never destroyed, so what an unread message owns does not count as a
// leak.
struct Shared {
    std::mutex mutex;
    std::deque<MSG> posted;
    std::vector<MSG> abandoned;  // messages to a window that was destroyed before they were read
};
Shared& shared = *new Shared;

std::atomic<bool> endAsked{false};
const int wakeDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);

void wake() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(wakeDescriptor, &one, sizeof one);
}

using Clock = std::chrono::steady_clock;

// The program needs only one.
struct Timer {
    HWND window = nullptr;  // null: it does not run
    UINT_PTR id = 0;
    std::chrono::milliseconds period{};
    Clock::time_point due{};
};
Timer timer;

int millisecondsToTimer() {
    Clock::time_point due = timer.window ? timer.due : Clock::time_point::max();
    for (const Window& window : windows) due = std::min(due, window.alarm.value_or(due));
    if (due == Clock::time_point::max()) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - Clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

void ringAlarms() {
    const auto isDue = [](const Window& window) {
        return window.alarm && *window.alarm <= Clock::now();
    };
    for (;;) {
        const auto found = std::ranges::find_if(windows, isDue);
        if (found == windows.end()) return;
        found->alarm.reset();
        send(found->handle, WM_TIMER, 0, 0);
    }
}

void stopTimer() {
    timer = {};
    desktop::closed("Timer");
}

// The name of the message by which another program passes on its right to the foreground.
constexpr char16_t foregroundMail[] = u"AllowSetForegroundWindow";

void answerMail() {
    desktop::answerMail([](HWND window, UINT message) {
        if (message == desktop::registeredMessage(foregroundMail))
            return state.entitled = true, LRESULT{1};
        return send(window, message, 0, 0);
    });
}

void waitForAnything() {
    std::vector<pollfd> watched{{wakeDescriptor, POLLIN, 0},
                                {host::current().eventDescriptor(), POLLIN, 0}};
    for (const int mailbox : desktop::mailboxDescriptors()) watched.push_back({mailbox, POLLIN, 0});
    poll(watched.data(), watched.size(), millisecondsToTimer());
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(wakeDescriptor, &count, sizeof count);
}

bool takePosted(MSG& message, HWND window, UINT only) {
    const std::lock_guard lock(shared.mutex);
    const auto found = std::ranges::find_if(shared.posted, [&](const MSG& each) {
        return (!window || each.hwnd == window) && (!only || each.message == only);
    });
    if (found == shared.posted.end()) return false;
    message = *found;
    shared.posted.erase(found);
    return true;
}

bool takeQuit(MSG& message) {
    if (!state.quit) return false;
    const auto code = static_cast<WPARAM>(*std::exchange(state.quit, std::nullopt));
    message = {nullptr, WM_QUIT, code, 0, 0, {}};
    return true;
}

// Painting comes last but for the timer, and comes again until the window has been painted.
bool findPaint(MSG& message) {
    const auto found = std::ranges::find_if(windows, [](const Window& window) {
        return window.visible && !gdi::isEmpty(window.dirty);
    });
    if (found != windows.end()) message = {found->handle, WM_PAINT, 0, 0, 0, {}};
    return found != windows.end();
}

bool takeTimer(MSG& message) {
    if (!timer.window || timer.due > Clock::now()) return false;
    timer.due = Clock::now() + timer.period;
    message = {timer.window, WM_TIMER, timer.id, 0, 0, {}};
    return true;
}

// Looks once for any message, or only for a posted one, of any window or only of this one. A
// message that is found leaves the queue, except WM_PAINT. What others post or request does not
// wait until a flood of input for other programs is over.
bool peek(MSG& message, HWND window = nullptr, UINT only = 0) {
    enterUserInterface();
    for (bool again = true; again;) {
        answerMail();
        ringAlarms();
        if (endAsked.exchange(false)) {
            tellAll(WM_QUERYENDSESSION, 0, 0);
            tellSessionEnd(true);
        }
        again = !takeEvents();
        bool found = takePosted(message, window, only) || takeQuit(message);
        if (!found && !only && takeInput(message)) {
            found = message.hwnd;
            again = true;
        }
        if (!found && !again && !only) found = findPaint(message) || takeTimer(message);
        if (!found) continue;
        message.time = messageTime();
        message.pt = host::current().pointer();
        return true;
    }
    return false;
}

// Windows of other processes that FindWindowW has found.
desktop::HandleTable<HWND, desktop::Mailbox> strangers(0x40000000);

// Any thread.
HWND ownWindow(const std::u16string& className) {
    return desktop::withShown([&](desktop::Shown& shown) -> HWND {
        for (const desktop::ShownWindow& window : shown.windows)
            if (desktop::lowered(desktop::toUtf16(window.className)) == desktop::lowered(className))
                return window.handle;
        return nullptr;
    });
}

// Messages that the layer itself sends and whose default is to do nothing.
bool isKnown(UINT message) {
    constexpr UINT silent[] = {
        WM_NULL,       WM_CREATE,     WM_DESTROY,       WM_NCDESTROY,      WM_GETMINMAXINFO,
        WM_SIZE,       WM_NCCALCSIZE, WM_ACTIVATE,      WM_SETFOCUS,       WM_KILLFOCUS,
        WM_KEYDOWN,    WM_KEYUP,      WM_SYSKEYUP,      WM_CAPTURECHANGED, WM_DESTROYCLIPBOARD,
        WM_ENDSESSION, WM_ERASEBKGND, WM_DISPLAYCHANGE, WM_TIMER,          WM_HOTKEY};
    return std::ranges::find(silent, message) != std::end(silent) ||
           (message >= WM_MOUSEMOVE && message <= WM_MBUTTONUP) ||
           (message >= WM_APP && message <= 0xFFFF);
}

LRESULT setCursor(HWND window, UINT spot) {
    Window* const record = find(window);
    if (!record || !record->cursor || spot != HTCLIENT) return FALSE;
    if (record->cursor == std::exchange(record->shownCursor, record->cursor)) return TRUE;
    host::current().setCursor(record->surface, record->cursor);
    publishWindows();
    return TRUE;
}

}  // namespace

LRESULT answerMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    switch (message) {
    case WM_NCCREATE:
    case WM_QUERYENDSESSION: return TRUE;
    case WM_NCHITTEST: return HTCLIENT;
    case WM_MOUSEACTIVATE: return MA_ACTIVATE;
    case WM_SETCURSOR: return setCursor(window, LOWORD(lparam));
    case WM_CLOSE: destroyWindow(window); return 0;
    case WM_SYSCOMMAND:
        if ((wparam & 0xFFF0) == SC_CLOSE) return send(window, WM_CLOSE, 0, 0);
        return 0;
    case WM_SYSKEYDOWN:
        if (wparam == VK_F4) post(window, WM_SYSCOMMAND, SC_CLOSE, 0);
        return 0;
    case WM_PAINT:
        if (Window* const record = find(window)) record->dirty = {};
        return 0;
    default:
        if (!isKnown(message)) desktop::refuse("DefWindowProcW", "message", message);
        return 0;
    }
}

DWORD messageTime() {
    const auto since = Clock::now().time_since_epoch();
    return static_cast<DWORD>(std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

// A look that finds no message can end the loop, so `done` is asked again before the wait.
void runLoop(const std::function<bool()>& done) {
    MSG message;
    while (!done()) {
        if (!peek(message)) {
            if (!done()) waitForAnything();
        } else if (message.message == WM_QUIT) {
            state.quit = static_cast<int>(message.wParam);
            return;
        } else {
            send(message.hwnd, message.message, message.wParam, message.lParam);
        }
    }
}

DWORD post(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    const std::lock_guard lock(shared.mutex);
    if (!isLive(window)) return ERROR_INVALID_WINDOW_HANDLE;
    if (shared.posted.size() >= mostPosted) return ERROR_NOT_ENOUGH_QUOTA;
    shared.posted.push_back({window, message, wparam, lparam, 0, {}});
    wake();
    return 0;
}

void endSessionSoon() {
    endAsked = true;
    wake();
}

void leaveQueue(HWND window) {
    if (timer.window == window) stopTimer();
    const std::lock_guard lock(shared.mutex);
    std::erase_if(shared.posted, [&](const MSG& message) {
        if (message.hwnd == window) shared.abandoned.push_back(message);
        return message.hwnd == window;
    });
}

void tellAll(UINT message, WPARAM wparam, LPARAM lparam) {
    std::vector<HWND> all;  // Windows may go meanwhile.
    for (const Window& window : windows)
        if (!window.ofTheLayer) all.push_back(window.handle);
    for (const HWND window : all) send(window, message, wparam, lparam);
}

// The process ends with the last answer; nothing after the message loop ever runs.
void tellSessionEnd(bool reallyEnds) {
    tellAll(WM_ENDSESSION, reallyEnds, 0);
    if (!reallyEnds) return;
    destroyAllWindows();
    host::current().leaveClipboard();
    std::_Exit(0);
}

}  // namespace user32

using namespace user32;

BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last) {
    desktop::Call call("GetMessageW", window, first, last);
    if (window || first || last) call.refuse("filter", first);
    while (!peek(*message)) waitForAnything();
    return message->message != WM_QUIT;
}

// WM_QUIT is retrieved whatever the filter is, but a destroyed window's handle is an error.
BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT remove) {
    desktop::Call call("PeekMessageW", window, first, last, remove);
    call.only("remove", remove, PM_REMOVE);
    const bool isPosted = first == WM_HOTKEY || first == WM_QUIT || first >= WM_APP;
    if (first != last || (first ? !isPosted : window != nullptr)) call.refuse("filter", first);
    if (window && !find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return peek(*message, window, first);
}

// Characters are made where they are needed, by the dialogs' own keyboard handling.
BOOL TranslateMessage(const MSG* message) {
    desktop::Call call("TranslateMessage", message->message);
    return message->message >= WM_KEYDOWN && message->message <= WM_SYSKEYUP;
}

LRESULT DispatchMessageW(const MSG* message) {
    desktop::Call call("DispatchMessageW", message->message);
    return send(message->hwnd, message->message, message->wParam, message->lParam);
}

BOOL PostMessageW(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    desktop::Call call("PostMessageW", window, message, wparam);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_QUOTA);
    if (const DWORD error = post(window, message, wparam, lparam)) return call.fail(error);
    settleMenuOf(window);
    return TRUE;
}

LRESULT SendMessageW(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    desktop::Call call("SendMessageW", window, message, wparam, lparam);
    if (!find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return send(window, message, wparam, lparam);
}

LRESULT SendMessageTimeoutW(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT flags,
                            UINT milliseconds, PDWORD_PTR result) {
    desktop::Call call("SendMessageTimeoutW", window, message, wparam, lparam, flags, milliseconds);
    call.only("flags", flags, SMTO_BLOCK | SMTO_ABORTIFHUNG);
    call.only("parameters", wparam || lparam, false);
    const desktop::Mailbox* const mailbox = strangers.find(window);
    if (!mailbox) call.refuse("window of this process", window);
    if (call.struck()) return call.fail(ERROR_TIMEOUT);
    const auto answer = desktop::sendMail(*mailbox, message, milliseconds);
    if (!answer) return call.fail(ERROR_TIMEOUT);
    *result = static_cast<DWORD_PTR>(*answer);
    return TRUE;
}

void PostQuitMessage(int code) {
    desktop::Call call("PostQuitMessage", code);
    state.quit = code;
}

UINT RegisterWindowMessageW(LPCWSTR text) {
    desktop::Call call("RegisterWindowMessageW", text);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    return desktop::registeredMessage(text);
}

BOOL IsWindow(HWND window) {
    desktop::Call call("IsWindow", window);
    return isLive(window);
}

HWND FindWindowW(LPCWSTR className, LPCWSTR title) {
    desktop::Call call("FindWindowW", className, title);
    call.only("title", title, nullptr);
    if (call.struck()) return nullptr;
    if (const HWND own = ownWindow(className)) return own;
    const auto mailbox = desktop::findMailbox(className);
    return mailbox ? strangers.add(*mailbox) : nullptr;
}

DWORD GetWindowThreadProcessId(HWND window, LPDWORD process) {
    desktop::Call call("GetWindowThreadProcessId", window);
    const desktop::Mailbox* const mailbox = strangers.find(window);
    if (!mailbox) call.refuse("window of this process", window);
    if (call.struck()) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    return *process = static_cast<DWORD>(mailbox->process);
}

// Only a program that may take the foreground itself can pass the right on. It travels to a window
// of the other process, which FindWindowW has found.
BOOL AllowSetForegroundWindow(DWORD process) {
    desktop::Call call("AllowSetForegroundWindow", process);
    if (call.struck() || !(foreground() || state.entitled)) return call.fail(ERROR_ACCESS_DENIED);
    for (const auto& [handle, mailbox] : strangers.records)
        if (static_cast<DWORD>(mailbox.process) == process)
            return desktop::sendMail(mailbox, desktop::registeredMessage(foregroundMail), 0), TRUE;
    return call.fail(ERROR_INVALID_PARAMETER);
}

LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    desktop::Call call("DefWindowProcW", message);
    return answerMessage(window, message, wparam, lparam);
}

UINT_PTR SetTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC procedure) {
    desktop::Call call("SetTimer", window, id, milliseconds);
    if (procedure) call.refuse("procedure", 1);
    const bool runs = timer.window;
    if (runs && (timer.window != window || timer.id != id)) call.refuse("second timer", id);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    if (!find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    if (!runs) desktop::opened("Timer");
    const std::chrono::milliseconds period(std::max(milliseconds, 10u));
    timer = {window, id, period, Clock::now() + period};
    return id;
}

BOOL KillTimer(HWND window, UINT_PTR id) {
    desktop::Call call("KillTimer", window, id);
    if (!window || timer.window != window || timer.id != id)
        return call.fail(ERROR_INVALID_PARAMETER);
    stopTimer();
    return TRUE;
}

void desktop::postToWindow(const std::string& className, UINT message, WPARAM wparam,
                           LPARAM lparam) {
    if (user32::post(user32::ownWindow(toUtf16(className)), message, wparam, lparam))
        throw std::runtime_error("No window of the class " + className);
}
