// A message is one packet with a number, which comes from a socket of the sender's that is
// connected to the window's; the answer is another number, in a packet on the same way back.

#include "platform/core/mailbox.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <list>

#include "platform/core/descriptor.h"
#include "platform/core/text.h"
#include "platform/core/user_folders.h"

namespace desktop {

namespace {

struct OpenMailbox {
    HWND window;
    std::string path;
    Descriptor socket;
};
std::list<OpenMailbox> mailboxes;

// Of "window-<class>,<process>,<window>", where the class has no comma.
std::string classPrefix(std::u16string_view className) {
    return "window-" + asFileName(toUtf8(lowered(className))) + ',';
}

// The path of a socket may have 107 bytes at most, so it is reached through its open folder.
bool atPath(decltype(connect)* bindOrConnect, int socket, const std::filesystem::path& path) {
    const Descriptor folder(open(path.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    sockaddr_un name{AF_UNIX, {}};
    const int length = std::snprintf(name.sun_path, sizeof name.sun_path, "/proc/self/fd/%d/%s",
                                     folder.get(), path.filename().c_str());
    return folder && length < static_cast<int>(sizeof name.sun_path) &&
           bindOrConnect(socket, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
}

Descriptor makeSocket() {
    return Descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

// Empty: nobody is there.
Descriptor connectTo(const std::string& path) {
    Descriptor line = makeSocket();
    // The system chooses an address for the answer, and only the mailbox can send to it.
    const sockaddr own{AF_UNIX, {}};
    bind(line.get(), &own, sizeof own.sa_family);
    return atPath(connect, line.get(), path) ? std::move(line) : Descriptor();
}

}  // namespace

void openMailbox(std::u16string_view className, HWND window) {
    findMailbox(className);  // Removes what a killed process has left.
    const auto folder = sessionFolder();
    if (!folder) return;
    const std::string name = classPrefix(className) + std::to_string(getpid()) + ',' +
                             std::to_string(reinterpret_cast<std::uintptr_t>(window));
    // Renamed only when it is bound: before that another process would take it for a leftover.
    const std::string path = *folder / name, unready = *folder / ("new-" + name);
    Descriptor socket = makeSocket();
    unlink(unready.c_str());
    if (atPath(bind, socket.get(), unready) && rename(unready.c_str(), path.c_str()) == 0)
        mailboxes.push_back({window, path, std::move(socket)});
}

void closeMailbox(HWND window) {
    std::erase_if(mailboxes, [window](const OpenMailbox& each) {
        if (each.window == window) unlink(each.path.c_str());
        return each.window == window;
    });
}

std::vector<int> mailboxDescriptors() {
    std::vector<int> descriptors;
    for (const OpenMailbox& mailbox : mailboxes) descriptors.push_back(mailbox.socket.get());
    return descriptors;
}

void answerMail(const std::function<LRESULT(HWND window, UINT message)>& deliver) {
    for (const OpenMailbox& mailbox : mailboxes) {
        UINT message = 0;
        sockaddr_un sender{};
        socklen_t size = sizeof sender;
        auto* const from = reinterpret_cast<sockaddr*>(&sender);
        // The whole packet's length, however much of it was read.
        const ssize_t length =
            recvfrom(mailbox.socket.get(), &message, sizeof message, MSG_TRUNC, from, &size);
        if (length < 0) continue;
        // Any program of the user can send here. Messages below these mean something to a window,
        // down to the address of a record, so they come from its own process only.
        const bool isFit = length == sizeof message && message >= 0xC000 && message <= 0xFFFF;
        const Descriptor socket(dup(mailbox.socket.get()));
        const LRESULT result = isFit ? deliver(mailbox.window, message) : 0;
        sendto(socket.get(), &result, isFit ? sizeof result : 0, 0, from, size);
        return;  // The window's procedure may have changed the list.
    }
}

std::optional<Mailbox> findMailbox(std::u16string_view className) {
    std::optional<Mailbox> found;
    const auto folder = sessionFolder();
    if (!folder) return found;
    const std::string prefix = classPrefix(className);
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(*folder, ignored)) {
        const std::string name = entry.path().filename();
        if (!name.starts_with(prefix)) continue;
        const int process = std::atoi(name.c_str() + prefix.size());
        if (process <= 0 || process == getpid()) continue;
        if (connectTo(entry.path()))
            found = {entry.path(), process};
        else
            unlink(entry.path().c_str());
    }
    return found;
}

std::optional<LRESULT> sendMail(const Mailbox& mailbox, UINT message, UINT milliseconds) {
    const Descriptor line = connectTo(mailbox.path);
    pollfd watched{line.get(), POLLIN, 0};
    LRESULT result = 0;
    const bool isAnswered = send(line.get(), &message, sizeof message, 0) == sizeof message &&
                            poll(&watched, 1, static_cast<int>(milliseconds)) > 0 &&
                            recv(line.get(), &result, sizeof result, 0) == sizeof result;
    return isAnswered ? std::optional(result) : std::nullopt;
}

UINT registeredMessage(std::u16string_view text) {
    std::uint32_t hash = 2166136261u;  // FNV-1a
    for (const char16_t unit : lowered(text)) hash = (hash ^ unit) * 16777619u;
    return 0xC000 + hash % 0x4000;
}

}  // namespace desktop
