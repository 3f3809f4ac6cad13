// Sockets that stand for windows.
//
// A message is one connection: the sender connects, sends the four numbers, and waits for one
// number as the answer. Sequenced packets keep each of them whole.

#include "platform/core/mailbox.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <list>

#include "platform/core/descriptor.h"
#include "platform/core/text.h"
#include "platform/core/user_folders.h"

namespace desktop {

namespace {

struct Mail {
    std::uint64_t message, wparam, lparam;
};

struct OpenMailbox {
    std::uint64_t window;
    std::string path;
    Descriptor socket;
};

struct Connection {
    std::uint64_t window;
    Descriptor socket;
};

std::list<OpenMailbox> mailboxes;
std::list<Connection> connections;  // accepted, their mail not yet read; oldest first

constexpr int backlog = 16;
constexpr std::size_t mostSilent = 16;  // connections that wait without a message

// "window-<class>.<process>.<window>"; letters that a file name cannot hold become numbers.
std::string classPrefix(std::u16string_view className) {
    std::string prefix = "window-";
    for (const char16_t unit : lowered(className)) {
        const bool plain = unit < 0x80 && (std::isalnum(unit) || unit == u'-' || unit == u'_');
        prefix += plain ? std::string(1, static_cast<char>(unit)) : '%' + std::to_string(unit);
    }
    return prefix + '.';
}

// Paths of sockets are short by nature, so they are reached through an open folder.
struct Address {
    explicit Address(const std::filesystem::path& path)
        : folder(open(path.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {
        name.sun_family = AF_UNIX;
        const int length = std::snprintf(name.sun_path, sizeof name.sun_path, "/proc/self/fd/%d/%s",
                                         folder.get(), path.filename().c_str());
        valid = folder && length < static_cast<int>(sizeof name.sun_path);
    }
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&name); }

    Descriptor folder;
    sockaddr_un name{};
    bool valid = false;
};

Descriptor makeSocket() {
    return Descriptor(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

// A queue that is full belongs to a process that lives but does not look.
enum class Reached { Yes, Busy, Nobody };

Reached reach(int connection, const std::string& path) {
    const Address address(path);
    if (!address.valid) return Reached::Nobody;
    if (connect(connection, address.get(), sizeof address.name) == 0) return Reached::Yes;
    return errno == EAGAIN ? Reached::Busy : Reached::Nobody;
}

// Windows of that class in other running processes. Sockets without a listener are removed.
std::vector<Mailbox> othersOf(std::u16string_view className) {
    std::vector<Mailbox> found;
    const auto folder = sessionFolder();
    if (!folder) return found;
    const std::string prefix = classPrefix(className);
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(*folder, ignored)) {
        const std::string name = entry.path().filename();
        if (!name.starts_with(prefix)) continue;
        const int process = std::atoi(name.c_str() + prefix.size());
        if (process <= 0 || process == getpid()) continue;
        const Descriptor probe = makeSocket();
        if (reach(probe.get(), entry.path()) == Reached::Nobody)
            unlink(entry.path().c_str());
        else
            found.push_back({entry.path(), process});
    }
    return found;
}

void acceptWaiting() {
    for (const OpenMailbox& mailbox : mailboxes)
        for (int count = 0; count < backlog; ++count) {
            Descriptor accepted(
                accept4(mailbox.socket.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
            if (!accepted) break;
            connections.push_back({mailbox.window, std::move(accepted)});
        }
}

// Any program of the user can send here. Messages below these mean something to a window, down to
// the address of a record, so they come from its own process only.
bool isRegistered(std::uint64_t message) { return message >= 0xC000 && message <= 0xFFFF; }

// Takes a connection whose mail is there, and drops those that were closed without any or bring
// anything but one registered message.
std::optional<std::pair<Connection, Mail>> nextMail() {
    for (auto each = connections.begin(); each != connections.end();) {
        Mail mail{};
        // The whole packet's length, however much of it was read.
        const ssize_t length = recv(each->socket.get(), &mail, sizeof mail, MSG_TRUNC);
        if (length < 0 && errno == EAGAIN) {
            ++each;
            continue;
        }
        Connection connection = std::move(*each);
        each = connections.erase(each);
        if (length == sizeof mail && isRegistered(mail.message))
            return std::pair(std::move(connection), mail);
    }
    return std::nullopt;
}

bool waitForAnswer(int socket, std::chrono::steady_clock::time_point end) {
    pollfd watched{socket, POLLIN, 0};
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        const int ready = poll(&watched, 1, static_cast<int>(std::max<long>(left.count(), 0)));
        if (ready >= 0 || errno != EINTR) return ready > 0;
    }
}

}  // namespace

void openMailbox(std::u16string_view className, std::uint64_t window) {
    othersOf(className);  // Leftovers of a process that was killed go when the next one comes.
    const auto folder = sessionFolder();
    if (!folder) return;
    const std::string name =
        classPrefix(className) + std::to_string(getpid()) + '.' + std::to_string(window);
    // It gets its name when it listens: until then another process would take it for a leftover.
    const std::string path = *folder / name, unready = *folder / ("new-" + name);
    Descriptor socket = makeSocket();
    const Address address(unready);
    unlink(unready.c_str());
    if (!address.valid || bind(socket.get(), address.get(), sizeof address.name) != 0 ||
        listen(socket.get(), backlog) != 0 || rename(unready.c_str(), path.c_str()) != 0) {
        unlink(unready.c_str());
        return;
    }
    mailboxes.push_back({window, path, std::move(socket)});
}

void closeMailbox(std::uint64_t window) {
    std::erase_if(connections, [window](const Connection& each) { return each.window == window; });
    std::erase_if(mailboxes, [window](const OpenMailbox& each) {
        if (each.window == window) unlink(each.path.c_str());
        return each.window == window;
    });
}

std::vector<int> mailboxDescriptors() {
    std::vector<int> descriptors;
    for (const OpenMailbox& mailbox : mailboxes) descriptors.push_back(mailbox.socket.get());
    for (const Connection& connection : connections) descriptors.push_back(connection.socket.get());
    return descriptors;
}

void answerMail(const std::function<LRESULT(std::uint64_t window, UINT message, WPARAM wparam,
                                            LPARAM lparam)>& deliver) {
    acceptWaiting();
    // Taken out before it is delivered: the window's procedure may come back here.
    while (const auto taken = nextMail()) {
        const auto& [connection, mail] = *taken;
        const LRESULT result = deliver(connection.window, static_cast<UINT>(mail.message),
                                       mail.wparam, static_cast<LPARAM>(mail.lparam));
        send(connection.socket.get(), &result, sizeof result, MSG_NOSIGNAL);
    }
    // A sender writes when it has connected. One that never does must not use up the descriptors.
    while (connections.size() > mostSilent) connections.pop_front();
}

std::optional<Mailbox> findMailbox(std::u16string_view className) {
    const std::vector<Mailbox> others = othersOf(className);
    return others.empty() ? std::nullopt : std::optional(others.front());
}

std::optional<LRESULT> sendMail(const Mailbox& mailbox, UINT message, WPARAM wparam, LPARAM lparam,
                                UINT milliseconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    const Descriptor connection = makeSocket();
    if (reach(connection.get(), mailbox.path) != Reached::Yes) return std::nullopt;
    const Mail mail{message, wparam, static_cast<std::uint64_t>(lparam)};
    if (send(connection.get(), &mail, sizeof mail, MSG_NOSIGNAL) != sizeof mail)
        return std::nullopt;
    LRESULT result = 0;
    const bool isAnswered = waitForAnswer(connection.get(), end) &&
                            recv(connection.get(), &result, sizeof result, 0) == sizeof result;
    return isAnswered ? std::optional(result) : std::nullopt;
}

UINT registeredMessage(std::u16string_view text) {
    std::uint32_t hash = 2166136261u;  // FNV-1a
    for (const char16_t unit : lowered(text)) hash = (hash ^ unit) * 16777619u;
    return 0xC000 + hash % 0x4000;
}

}  // namespace desktop
