#include "platform/user32/message_queue.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/core/call.h"
#include "platform/core/mailbox.h"
#include "platform/core/objects.h"
#include "platform/hosts/host.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

constexpr std::size_t mostPosted = 10'000;

// What other threads reach.
struct Shared {
    std::mutex mutex;
    std::deque<MSG> posted;
    // Messages that nobody read before the thread ended. They may own memory, which is kept
    // reachable.
    std::vector<MSG> abandoned;
};
Shared& shared() {
    // Never destroyed, so that what an unread message owns stays reachable to the very end.
    static auto* const record = new Shared;
    return *record;
}

InputSource input{};
const char16_t* actionMail = nullptr;
void (*mailAction)() = nullptr;

std::atomic<bool> endAsked{false};
bool quitPosted = false;
int quitCode = 0;

int wakeDescriptor() {
    static const int descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    return descriptor;
}

void wake() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(wakeDescriptor(), &one, sizeof one);
}

void forgetWakes() {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(wakeDescriptor(), &count, sizeof count);
}

bool takePosted(MSG& message, const Filter& filter) {
    const std::lock_guard lock(shared().mutex);
    auto& posted = shared().posted;
    const auto found = std::find_if(posted.begin(), posted.end(),
                                    [&](const MSG& entry) { return passes(filter, entry); });
    if (found == posted.end()) return false;
    message = *found;
    posted.erase(found);
    return true;
}

// Painting comes last but for the timers, and comes again until the window has been painted.
bool findPaint(MSG& message, const Filter& filter) {
    for (const HWND handle : windowOrder()) {
        const Window& window = *find(handle);
        const MSG paint{handle, WM_PAINT, 0, 0, 0, {}};
        if (!window.visible || window.dirty.right <= window.dirty.left || !passes(filter, paint))
            continue;
        message = paint;
        return true;
    }
    return false;
}

using Clock = std::chrono::steady_clock;

struct Timer {
    std::chrono::milliseconds period;
    Clock::time_point due;
};
std::map<std::pair<HWND, UINT_PTR>, Timer> timers;

bool takeTimer(MSG& message, const Filter& filter) {
    const Clock::time_point now = Clock::now();
    Timer* first = nullptr;
    for (auto& [key, timer] : timers) {
        const MSG tick{key.first, WM_TIMER, key.second, 0, 0, {}};
        if (timer.due > now || !passes(filter, tick) || (first && first->due <= timer.due))
            continue;
        first = &timer;
        message = tick;
    }
    if (first) first->due = now + first->period;
    return first;
}

int millisecondsToTimer() {
    if (timers.empty()) return -1;
    const auto due = [](const auto& entry) { return entry.second.due; };
    const auto left = std::ranges::min_element(timers, {}, due)->second.due - Clock::now();
    const auto rounded = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    return static_cast<int>(std::max<std::int64_t>(rounded, 0));
}

// With its timers and everything posted to it.
void dismissWindow(HWND window) {
    std::erase_if(timers, [&](const auto& entry) {
        if (entry.first.first == window) desktop::closed("Timer");
        return entry.first.first == window;
    });
    const std::lock_guard lock(shared().mutex);
    for (const MSG& message : shared().posted)
        if (message.hwnd == window) shared().abandoned.push_back(message);
    std::erase_if(shared().posted, [&](const MSG& message) { return message.hwnd == window; });
}

const bool registered = registerFor(Moment::WindowIsDestroyed, dismissWindow) &&
                        registerFor(Moment::ThreadEnds, [](HWND) { quitPosted = false; });

void answerMail() {
    desktop::answerMail([](std::uint64_t window, UINT message, WPARAM wparam, LPARAM lparam) {
        if (message == desktop::registeredMessage(actionMail)) return mailAction(), LRESULT{1};
        return send(reinterpret_cast<HWND>(window), message, wparam, lparam);
    });
}

void waitForAnything() {
    std::vector<pollfd> watched{{wakeDescriptor(), POLLIN, 0},
                                {host::current().eventDescriptor(), POLLIN, 0}};
    for (const int mailbox : desktop::mailboxDescriptors()) watched.push_back({mailbox, POLLIN, 0});
    poll(watched.data(), watched.size(), millisecondsToTimer());
    forgetWakes();
}

void endSession() {
    tellAll(WM_QUERYENDSESSION, 0, 0);
    tellSessionEnd(true);
}

// Everything but painting and timers. What others post or ask for does not wait until a flood of
// input for other programs is over.
bool look(MSG& message, const Filter& filter) {
    for (bool again = true; again;) {
        answerMail();
        if (endAsked.exchange(false)) endSession();
        again = !input.takeEvents();
        if (takePosted(message, filter)) return true;
        if (std::exchange(quitPosted, false)) {
            message = {nullptr, WM_QUIT, static_cast<WPARAM>(quitCode), 0, 0, {}};
            return true;
        }
        const InputSource::Taken taken = input.take(message, filter);
        if (taken == InputSource::Taken::Message) return true;
        again |= taken == InputSource::Taken::Dropped;
    }
    return false;
}

}  // namespace

bool passes(const Filter& filter, const MSG& message) {
    if (filter.window && filter.window != message.hwnd) return false;
    if (filter.first == 0 && filter.last == 0) return true;
    return message.message >= filter.first && message.message <= filter.last;
}

bool peek(MSG& message, const Filter& filter) {
    enterUserInterface();
    if (!look(message, filter) && !findPaint(message, filter) && !takeTimer(message, filter))
        return false;
    message.time = messageTime();
    message.pt = host::current().pointer();
    return true;
}

void waitFor(MSG& message) {
    while (!peek(message, {})) waitForAnything();
}

void postQuit(int code) {
    quitPosted = true;
    quitCode = code;
}

DWORD messageTime() {
    const auto since = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<DWORD>(std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

// A look can bring the end without finding a message, so the loop asks again before it waits.
void runLoop(const std::function<bool()>& done) {
    MSG message;
    while (!done()) {
        if (!peek(message, {})) {
            if (!done()) waitForAnything();
        } else if (message.message == WM_QUIT) {
            return postQuit(static_cast<int>(message.wParam));
        } else {
            send(message.hwnd, message.message, message.wParam, message.lParam);
        }
    }
}

Posted post(const MSG& message) {
    {
        const std::lock_guard lock(shared().mutex);
        if (!isLive(message.hwnd)) return Posted::NoWindow;
        if (shared().posted.size() >= mostPosted) return Posted::Full;
        shared().posted.push_back(message);
    }
    wake();
    return Posted::Yes;
}

void endSessionSoon() {
    endAsked = true;
    wake();
}

void tellAll(UINT message, WPARAM wparam, LPARAM lparam) {
    const std::vector<HWND> all = windowOrder();  // a copy: windows may go meanwhile
    for (const HWND window : all) {
        const Window* const record = find(window);
        if (record && !record->ofTheLayer) send(window, message, wparam, lparam);
    }
}

void broadcast(UINT message, WPARAM wparam, LPARAM lparam) {
    for (const HWND window : windowOrder())
        if (!find(window)->ofTheLayer) post({window, message, wparam, lparam, 0, {}});
}

// The process ends with the last answer; nothing that follows the message loop ever runs.
void tellSessionEnd(bool reallyEnds) {
    tellAll(WM_ENDSESSION, reallyEnds, 0);
    if (!reallyEnds) return;
    destroyAllWindows();
    host::current().leaveClipboard();
    std::_Exit(0);
}

bool setInputSource(const InputSource& source) { return input = source, true; }

bool setMailAction(const char16_t* message, void (*action)()) {
    actionMail = message;
    mailAction = action;
    return true;
}

}  // namespace user32

using namespace user32;

UINT_PTR SetTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC procedure) {
    desktop::Call call("SetTimer", window, id, milliseconds);
    if (procedure) call.refuse("procedure", 1);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    if (!find(window)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    const std::chrono::milliseconds period(std::max(milliseconds, 10u));
    if (timers.insert_or_assign({window, id}, Timer{period, Clock::now() + period}).second)
        desktop::opened("Timer");
    return id;
}

BOOL KillTimer(HWND window, UINT_PTR id) {
    desktop::Call call("KillTimer", window, id);
    if (!timers.erase({window, id})) return call.fail(ERROR_INVALID_PARAMETER);
    desktop::closed("Timer");
    return TRUE;
}
