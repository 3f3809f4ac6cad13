// Low-level keyboard hooks: called on the thread that installed them, while it looks at its queue.

#include "platform/user32/hook.h"

#include <chrono>
#include <map>
#include <utility>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/user32/keys.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/thread.h"

namespace user32 {

namespace {

// By number, so that the next older hook is the one with the next smaller number, whatever was
// removed meanwhile.
std::map<std::uintptr_t, HOOKPROC> hooks;
std::uintptr_t nextNumber = 0x31000000;
std::uintptr_t currentNumber = 0;
const host::Event* currentEvent = nullptr;

// The system waits so long for an answer. After more misses than that it takes the hooks away
// without a word.
constexpr std::chrono::milliseconds timeLimit{300};
constexpr int mostMisses = 10;
int misses = 0;

bool isLate(const host::Event& event) {
    return event.time.time_since_epoch().count() &&
           std::chrono::steady_clock::now() - event.time > timeLimit;
}

LRESULT callBelow(std::uintptr_t number, int code, WPARAM wparam, LPARAM lparam) {
    auto found = hooks.lower_bound(number);
    if (found == hooks.begin()) return 0;
    --found;
    const std::uintptr_t outer = std::exchange(currentNumber, found->first);
    const LRESULT answer = found->second(code, wparam, lparam);
    currentNumber = outer;
    return answer;
}

KBDLLHOOKSTRUCT recordOf(const host::Event& event) {
    KBDLLHOOKSTRUCT record{};
    record.vkCode = event.key;
    record.scanCode = scanCodeOf(event.key);
    record.flags = (isExtended(event.key) ? LLKHF_EXTENDED : 0u) |
                   (event.modifiers & MOD_ALT ? LLKHF_ALTDOWN : 0u) |
                   (event.kind == host::Event::KeyReleased ? LLKHF_UP : 0u);
    record.time = messageTime();
    return record;
}

// What the hooks say, if they are called at all, comes too late to eat the event.
bool miss() {
    if (++misses <= mostMisses) return false;
    for (std::size_t count = hooks.size(); count > 0; --count)
        desktop::closed(desktop::Object::Hook);
    forgetHooks();
    return false;
}

}  // namespace

bool hooksEat(const host::Event& event, UINT message) {
    if (hooks.empty()) return false;
    if (isLate(event)) return miss();
    KBDLLHOOKSTRUCT record = recordOf(event);
    const host::Event* const outer = std::exchange(currentEvent, &event);
    const LRESULT answer =
        callBelow(nextNumber, HC_ACTION, message, reinterpret_cast<LPARAM>(&record));
    currentEvent = outer;
    if (isLate(event)) return miss();
    misses = 0;
    return answer != 0;
}

const host::Event* hookedEvent() { return currentEvent; }

void forgetHooks() {
    if (!hooks.empty()) host::current().hookKeys(false);
    hooks.clear();
    misses = 0;
}

}  // namespace user32

HHOOK SetWindowsHookExW(int kind, HOOKPROC procedure, HINSTANCE module, DWORD thread) {
    desktop::Call call("SetWindowsHookExW", kind, module, thread);
    user32::enterUserInterface();
    if (kind != WH_KEYBOARD_LL) desktop::refuse("SetWindowsHookExW", "kind", kind);
    if (thread) desktop::refuse("SetWindowsHookExW", "thread", thread);
    if (call.struck()) return call.fail(ERROR_ACCESS_DENIED), nullptr;
    if (!module) return call.fail(ERROR_HOOK_NEEDS_HMOD), nullptr;
    if (user32::hooks.empty() && !host::current().hookKeys(true))
        return call.fail(ERROR_ACCESS_DENIED), nullptr;
    desktop::opened(desktop::Object::Hook);
    user32::hooks[user32::nextNumber] = procedure;
    return reinterpret_cast<HHOOK>(user32::nextNumber++);
}

// The handle does not matter: the next hook is the one below the hook that is running.
LRESULT CallNextHookEx(HHOOK hook, int code, WPARAM wparam, LPARAM lparam) {
    desktop::Call call("CallNextHookEx", hook, code);
    return user32::callBelow(user32::currentNumber, code, wparam, lparam);
}

BOOL UnhookWindowsHookEx(HHOOK hook) {
    desktop::Call call("UnhookWindowsHookEx", hook);
    if (!user32::hooks.erase(reinterpret_cast<std::uintptr_t>(hook)))
        return call.fail(ERROR_INVALID_HOOK_HANDLE);
    desktop::closed(desktop::Object::Hook);
    if (user32::hooks.empty()) host::current().hookKeys(false);
    return TRUE;
}
