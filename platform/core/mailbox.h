// Windows of one process as others of the same session see them: found by class, sent messages.
//
// Each window is a socket in the session's private folder. Its name contains class and process, so
// that finding one needs no connection, and a search removes the sockets of processes that are
// gone.

#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace desktop {

// User-interface thread only, as everything up to answerMail.
void openMailbox(std::u16string_view className, HWND window);
void closeMailbox(HWND window);

// Readable while mail may be waiting.
std::vector<int> mailboxDescriptors();
// Takes a message that has arrived and answers a registered one with what `deliver` returns,
// any other with nothing. Never waits. `deliver` may open and close mailboxes and may come back
// here.
void answerMail(const std::function<LRESULT(HWND window, UINT message)>& deliver);

// A window of another process.
struct Mailbox {
    std::string path;
    int process = 0;
};

// One of that class, compared without case; the caller's own windows do not count.
std::optional<Mailbox> findMailbox(std::u16string_view className);
// Sends a registered message and waits for the answer; empty if none comes in time or the window is
// gone.
std::optional<LRESULT> sendMail(const Mailbox& mailbox, UINT message, UINT milliseconds);

// The number of a registered message: the same for the same text, without case, in every process.
UINT registeredMessage(std::u16string_view text);

}  // namespace desktop
