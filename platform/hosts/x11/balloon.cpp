// Balloons: the desktop's notification service shows them, or, where nobody answers in its name, a
// small window of our own at the lower right of the primary monitor.

#include "platform/hosts/x11/balloon.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <stdexcept>

#include "platform/desktop/text.h"
#include "platform/hosts/x11/display.h"
#include "platform/hosts/x11/monitor.h"
#include "platform/hosts/x11/note.h"
#include "platform/hosts/x11/notification_service.h"

namespace host::x11 {

namespace {

constexpr int patience = 1500, showTime = 5000;  // milliseconds

NoteText asked;  // what the service has been asked to show
bool asking = false;
xcb_window_t note = 0;

int timer() {
    static const int descriptor = [] {
        const int made = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
        if (made < 0) throw std::runtime_error("Cannot time a notice");
        watch(made);
        return made;
    }();
    return descriptor;
}

// 0 stops it, and what it has to report is gone.
void startTimer(int milliseconds) {
    itimerspec time{};
    time.it_value = {milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
    timerfd_settime(timer(), 0, &time, nullptr);
}

bool timeIsUp() {
    std::uint64_t count = 0;
    return read(timer(), &count, sizeof count) > 0;
}

void showOwn(const NoteText& text) {
    asking = false;
    hideNote(note);
    const Monitor primary = primaryMonitor();
    const LONG margin = static_cast<LONG>(16 * primary.dpi / 96);
    note = showNote(text, {primary.bounds.right - margin, primary.bounds.bottom - margin},
                    primary.dpi);
    startTimer(showTime);
}

}  // namespace

void showBalloon(const Balloon& balloon) {
    hideNote(note);
    asked = {desktop::toUtf8(balloon.title), desktop::toUtf8(balloon.text), balloon.isError};
    asking = sendNotice(asked);
    if (asking)
        startTimer(patience);
    else
        showOwn(asked);
}

void attendToBalloons() {
    const NoticeAnswer answer = takeNoticeAnswer();
    if (asking && answer == NoticeAnswer::Shown) {
        asking = false;
        startTimer(0);
    }
    if (asking && answer == NoticeAnswer::Refused) showOwn(asked);
    if (!asking && !note) return;
    if (!timeIsUp()) return;
    if (asking) {
        giveUpNotice();
        showOwn(asked);
    } else {
        hideNote(note);
    }
}

}  // namespace host::x11
