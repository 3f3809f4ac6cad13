// Balloons: the desktop's notification service shows them, or, where nobody answers in its name,
// small windows of our own at the lower right of the primary monitor, clear of its panels.

#include "platform/hosts/x11/host.h"

#include <sys/timerfd.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "platform/hosts/balloon.h"
#include "platform/hosts/x11/display.h"
#include "platform/hosts/x11/notification_service.h"

namespace host::x11 {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds patience{1500};

// What the service has been sent and has not answered. It answers in order, so that the answer to
// the last one is the answer to all.
std::vector<Balloon> asked;
Clock::time_point giveUpAt;

struct Own {
    Surface note;
    Balloon balloon;
    Clock::time_point end;
};
std::vector<Own> own;  // from the bottom up
std::set<Surface> notes;

int timer() {
    static const int descriptor = [] {
        const int made = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
        if (made >= 0) watch(made);  // Without it a notice stays until it is pressed.
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
        if (ends) hideNote(each.note);
        return ends;
    });
}

void showOwn(const Balloon& balloon) {
    const RECT area = primaryWorkArea();
    const LONG margin = static_cast<LONG>(16 * primaryMonitor().dpi / 96);
    LONG bottom = area.bottom - margin;
    for (const Own& each : own)
        if (notes.contains(each.note))
            bottom = std::min(bottom, boundsOfSurface(each.note).top - margin);
    own.push_back({showNote(balloon, {area.right - margin, bottom}), balloon,
                   Clock::now() + showTime(balloon)});
}

void showOwn() {
    for (const Balloon& balloon : asked) showOwn(balloon);
    asked.clear();
}

}  // namespace

Surface showNote(const Balloon& note, POINT corner) {
    const BalloonImage image = paintBalloon(note, primaryMonitor().dpi);
    Host& host = x11Host();
    const Surface surface = host.createSurface(note.text);
    Placement placement;
    placement.bounds = {corner.x - image.width, corner.y - image.height, corner.x, corner.y};
    placement.topmost = true;
    host.showSurface(surface, placement, true);
    host.presentSurface(surface, {image.pixels.data(), image.width, image.height, image.width});
    notes.insert(surface);
    return surface;
}

bool hideNote(Surface note) {
    if (!notes.erase(note)) return false;
    x11Host().destroySurface(note);
    return true;
}

bool isNote(Surface surface) { return notes.contains(surface); }

void X11Host::showBalloon(const Balloon& balloon) {
    attendToBalloons();  // The answer to the last notice has the number that this one replaces.
    hideOwnIf([&](const Own& each) { return isReplaced(each.balloon, balloon); });
    std::erase_if(asked, [&](const Balloon& earlier) { return isReplaced(earlier, balloon); });
    asked.push_back(balloon);
    giveUpAt = Clock::now() + patience;
    if (!sendNotice(balloon)) showOwn();
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
