// The desktop's notification service, asked without ever waiting for it.

#pragma once

#include "platform/hosts/x11/note.h"

namespace host::x11 {

enum class NoticeAnswer { None, Shown, Refused };

// Sends the notice, in place of the one before if that is replaced by it. False: there is no
// session bus.
bool sendNotice(const NoteText& text);
// Does what the bus has waiting, and reports once what became of the last notice.
NoticeAnswer takeNoticeAnswer();
// Nobody waits for the answer any more, and what has not been delivered by now never is.
void giveUpNotice();

}  // namespace host::x11
