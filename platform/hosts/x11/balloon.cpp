// Balloons: the desktop's notification service shows them, or, where nobody answers in its name,
// small windows of our own at the lower right of the primary monitor, clear of its panels.

#include "platform/hosts/x11/host.h"

#include <sys/timerfd.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/core/text.h"
#include "platform/hosts/x11/display.h"
#include "platform/hosts/x11/note.h"
#include "platform/hosts/x11/notification_service.h"

namespace host::x11 {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds patience{1500};

// What the service has been sent and has not answered. It answers in order, so that the answer to
// the last one is the answer to all.
std::vector<NoteText> asked;
Clock::time_point giveUpAt;

struct Own {
    xcb_window_t window;
    NoteText text;
    Clock::time_point end;
};
std::vector<Own> own;  // from the bottom up

int timer() {
    static const int descriptor = [] {
        const int made = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
        if (made < 0) throw std::runtime_error("Cannot time a notice");
        watch(made);
        return made;
    }();
    return descriptor;
}

// Off if nothing is to end. Setting the timer also clears what it has to report.
void setTimer() {
    static std::optional<Clock::time_point> set;
    std::optional<Clock::time_point> next;
    if (!asked.empty()) next = giveUpAt;
    for (const Own& each : own) next = std::min(next.value_or(each.end), each.end);
    if (next == std::exchange(set, next)) return;
    itimerspec time{};
    if (next) {
        const auto since = next->time_since_epoch();
        const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
        time.it_value = {seconds.count(), std::chrono::nanoseconds(since - seconds).count()};
    }
    timerfd_settime(timer(), TFD_TIMER_ABSTIME, &time, nullptr);
}

template <typename Condition>
void hideOwnIf(Condition condition) {
    std::erase_if(own, [&](Own& each) {
        const bool ends = condition(each);
        if (ends) hideNote(each.window);
        return ends;
    });
}

void showOwn(const NoteText& text) {
    const UINT dpi = primaryMonitor().dpi;
    const RECT area = primaryWorkArea();
    const LONG margin = static_cast<LONG>(16 * dpi / 96);
    LONG bottom = area.bottom - margin;
    for (const Own& each : own)
        if (const auto bounds = boundsOfNote(each.window))
            bottom = std::min(bottom, bounds->top - margin);
    const xcb_window_t window = showNote(text, {area.right - margin, bottom}, dpi);
    own.push_back({window, text, Clock::now() + showTime(text)});
}

void showOwn() {
    for (const NoteText& text : asked) showOwn(text);
    asked.clear();
}

}  // namespace

void X11Host::showBalloon(const Balloon& balloon) {
    attendToBalloons();  // The answer to the last notice has the number that this one replaces.
    const NoteText text{desktop::toUtf8(balloon.title), desktop::toUtf8(balloon.text),
                        balloon.isError, balloon.isUrgent};
    hideOwnIf([&](const Own& each) { return isReplaced(each.text, text); });
    std::erase_if(asked, [&](const NoteText& earlier) { return isReplaced(earlier, text); });
    asked.push_back(text);
    giveUpAt = Clock::now() + patience;
    if (!sendNotice(text)) showOwn();
    setTimer();
}

void attendToBalloons() {
    const NoticeAnswer answer = takeNoticeAnswer();
    const Clock::time_point now = Clock::now();
    if (answer == NoticeAnswer::Shown) asked.clear();
    const bool late = !asked.empty() && now >= giveUpAt;
    if (late) giveUpNotice();
    if (late || answer == NoticeAnswer::Refused) showOwn();
    hideOwnIf([&](const Own& each) { return now >= each.end; });
    setTimer();
}

}  // namespace host::x11
