// The desktop's notification service, asked without ever waiting for it.

#pragma once

#include "platform/hosts/x11/note.h"

namespace host::x11 {

enum class NoticeAnswer { None, Shown, Refused };

// Sends the notice, in place of the one before. False: there is no session bus.
bool sendNotice(const NoteText& text);
// Does what the bus has waiting, and tells what became of the notice; once.
NoticeAnswer takeNoticeAnswer();
// Nobody waits for the answer any more, and what has not been delivered by now never is.
void giveUpNotice();

}  // namespace host::x11
