// The order in which messages come out, and waiting for them.

#include "platform/user32/message_queue.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <mutex>
#include <set>
#include <vector>

#include "platform/core/mailbox.h"
#include "platform/hosts/host.h"
#include "platform/user32/activation.h"
#include "platform/user32/input.h"
#include "platform/user32/session.h"
#include "platform/user32/thread.h"
#include "platform/user32/timer.h"
#include "platform/user32/window.h"

namespace user32 {

namespace {

constexpr std::size_t mostPosted = 10'000;

// What other threads reach.
struct Shared {
    std::mutex mutex;
    std::deque<MSG> posted;
    std::set<HWND> live;
    // Messages that nobody read before the thread ended. They may own memory, which is kept
    // reachable.
    std::vector<MSG> abandoned;
};
Shared& shared() {
    // Never destroyed, so that what an unread message owns stays reachable to the very end.
    static auto* const record = new Shared;
    return *record;
}

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

void answerMail() {
    desktop::answerMail([](std::uint64_t window, UINT message, WPARAM wparam, LPARAM lparam) {
        if (message == desktop::registeredMessage(foregroundMail)) return allowForeground(), LRESULT{1};
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

// Everything but painting and timers. What others post or ask for does not wait until a flood of
// input for other programs is over.
Found look(MSG& message, const Filter& filter) {
    for (bool again = true; again;) {
        answerMail();
        if (endAsked.exchange(false)) endSession();
        again = !takeEvents();
        if (takePosted(message, filter)) return Found::Message;
        if (quitPosted) return Found::Quit;
        switch (takeInput(message, filter)) {
        case Input::Taken: return Found::Message;
        case Input::Dropped: again = true; break;
        case Input::None: break;
        }
    }
    return Found::Nothing;
}

}  // namespace

bool passes(const Filter& filter, const MSG& message) {
    if (filter.window && filter.window != message.hwnd) return false;
    if (filter.first == 0 && filter.last == 0) return true;
    return message.message >= filter.first && message.message <= filter.last;
}

Found peek(MSG& message, const Filter& filter) {
    enterUserInterface();
    Found found = look(message, filter);
    if (found == Found::Nothing && (findPaint(message, filter) || takeTimer(message, filter)))
        found = Found::Message;
    if (found != Found::Message) return found;
    message.time = messageTime();
    message.pt = host::current().pointer();
    return found;
}

Found waitFor(MSG& message) {
    for (;;) {
        const Found found = peek(message, {});
        if (found != Found::Nothing) return found;
        waitForAnything();
    }
}

void takeQuit(MSG& message) {
    message = {};
    message.message = WM_QUIT;
    message.wParam = static_cast<WPARAM>(quitCode);
    quitPosted = false;
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
        const Found found = peek(message, {});
        if (found == Found::Quit) return;
        if (found == Found::Message)
            send(message.hwnd, message.message, message.wParam, message.lParam);
        else if (!done())
            waitForAnything();
    }
}

Posted post(const MSG& message) {
    {
        const std::lock_guard lock(shared().mutex);
        if (!shared().live.contains(message.hwnd)) return Posted::NoWindow;
        if (shared().posted.size() >= mostPosted) return Posted::Full;
        shared().posted.push_back(message);
    }
    wake();
    return Posted::Yes;
}

bool isLive(HWND window) {
    const std::lock_guard lock(shared().mutex);
    return shared().live.contains(window);
}

void endSessionSoon() {
    endAsked = true;
    wake();
}

void admitWindow(HWND window) {
    const std::lock_guard lock(shared().mutex);
    shared().live.insert(window);
}

void dismissWindow(HWND window) {
    const std::lock_guard lock(shared().mutex);
    shared().live.erase(window);
    for (const MSG& message : shared().posted)
        if (message.hwnd == window) shared().abandoned.push_back(message);
    std::erase_if(shared().posted, [&](const MSG& message) { return message.hwnd == window; });
}

void forgetMessages() { quitPosted = false; }

}  // namespace user32
