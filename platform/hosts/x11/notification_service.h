// The desktop's notification service, asked without ever waiting for it.

#pragma once

#include <chrono>

#include "platform/hosts/host.h"

namespace host::x11 {

// How long a notice stays by itself. An error has more to read.
constexpr std::chrono::seconds showTime(const Balloon& notice) {
    return std::chrono::seconds(notice.isError ? 10 : 5);
}

// An error stays its time beside what follows, unless that says the same again.
inline bool isReplaced(const Balloon& earlier, const Balloon& later) {
    return !earlier.isError || earlier.text == later.text;
}

enum class NoticeAnswer { None, Shown, Refused };

// Sends the notice, in place of the one before if that is replaced by it. False: there is no
// session bus.
bool sendNotice(const Balloon& notice);
// Does what the bus has waiting, and reports once what became of the last notice.
NoticeAnswer takeNoticeAnswer();
// Nobody waits for the answer any more, and what has not been delivered by now never is.
void giveUpNotice();

}  // namespace host::x11
