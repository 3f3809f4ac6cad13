// What processes of one session share: the mutex's name, windows found by class, messages and
// files. Other processes are children of the test.

#include <windows.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>

#include "common/handle.h"
#include "platform/control.h"
#include "platform/desktop/descriptor.h"
#include "platform/desktop/mailbox.h"
#include "platform/desktop/user_folders.h"
#include "platform/hosts/host.h"
#include "tests/scratch.h"

namespace {

// A host that gives nothing but a session's name, the same in every process.
const host::Host& sharedSession() {
    static host::Host shared = [] {
        host::Host made{};
        made.name = "shared";
        made.session = [] { return std::string("a/session:0"); };
        return made;
    }();
    return shared;
}

// The process lives until it is ended; what it writes into the pipe tells that it has got so far.
struct Child {
    explicit Child(const std::function<void()>& prepare) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        process = fork();
        if (process == 0) {
            prepare();
            if (write(ends[1], "x", 1) != 1) _exit(1);
            for (;;)
                desktop::answerMail([](auto, UINT message, WPARAM, LPARAM) { return message + 1; });
        }
        close(ends[1]);
        char ready;
        if (read(ends[0], &ready, 1) != 1) throw std::runtime_error("the child has ended");
        close(ends[0]);
    }
    ~Child() { end(); }
    void end() {
        if (process > 0) {
            kill(process, SIGKILL);
            waitpid(process, nullptr, 0);
        }
        process = 0;
    }

    pid_t process = 0;
};

struct Session : testing::Test {
    Session() { host::use(sharedSession()); }
    ~Session() override { host::use(host::memoryHost()); }

    // Whether this process is the first to have the name.
    static bool claims(Handle& mutex) {
        mutex.reset(CreateMutexW(nullptr, FALSE, TEXT("Local\\name")));
        EXPECT_TRUE(mutex);
        return GetLastError() != ERROR_ALREADY_EXISTS;
    }
};

TEST_F(Session, hasOneFirstHolderOfAName) {
    Handle mine, again;
    EXPECT_TRUE(claims(mine));
    EXPECT_FALSE(claims(again));
    mine.reset();
    EXPECT_FALSE(claims(mine));  // The second handle has kept the name.
    mine.reset();
    again.reset();
    Child child([] { CreateMutexW(nullptr, FALSE, TEXT("name")); });
    EXPECT_FALSE(claims(mine));
    mine.reset();
    child.end();  // by force
    EXPECT_TRUE(claims(mine));
}

TEST_F(Session, usesAFolderThatIsTheUsersAlone) {
    const ScratchFolder scratch;
    const std::string before = std::getenv("XDG_RUNTIME_DIR");
    const Path cache = std::getenv("XDG_CACHE_HOME"), own = scratch.path;
    std::filesystem::create_directory(own / "another");
    // Only the superuser can give it away; to everybody else the root belongs to another.
    const bool isGiven = chown((own / "another").c_str(), 12345, 12345) == 0;
    const Path ofAnother = isGiven ? own / "another" : "/";
    const std::pair<Path, Path> rows[] = {
        {own, own}, {ofAnother, cache}, {own / "missing", cache}, {"", cache}};
    for (const auto& [runtime, base] : rows) {
        setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
        EXPECT_EQ(desktop::sessionFolder(), base / "quorvel-desk-clip" / "a_session_0");
    }
    std::filesystem::permissions(cache / "quorvel-desk-clip", std::filesystem::perms::all);
    EXPECT_EQ(CreateMutexW(nullptr, FALSE, TEXT("name")), nullptr);
    std::filesystem::remove_all(cache / "quorvel-desk-clip");
    setenv("XDG_RUNTIME_DIR", before.c_str(), 1);
}

TEST_F(Session, carriesMessagesToAnotherProcess) {
    Child child([] { desktop::openMailbox(u"SomeClass", 5); });
    const auto found = desktop::findMailbox(u"someCLASS");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->process, child.process);
    EXPECT_EQ(desktop::sendMail(*found, 0xC000, 0, 0, 10000), 0xC001);
    EXPECT_FALSE(desktop::findMailbox(u"Some"));

    kill(child.process, SIGSTOP);
    EXPECT_FALSE(desktop::sendMail(*found, 0xC000, 0, 0, 50));  // found, but hung
    EXPECT_TRUE(desktop::findMailbox(u"SomeClass"));
    child.end();
    EXPECT_FALSE(desktop::sendMail(*found, 0xC000, 0, 0, 50));
    EXPECT_FALSE(desktop::findMailbox(u"SomeClass"));
    EXPECT_FALSE(std::filesystem::exists(found->path));
}

// Whether a packet of these numbers, as any program can send it, gets an answer.
bool isAnswered(const Path& mailbox, const std::vector<std::uint64_t>& packet) {
    std::filesystem::current_path(
        mailbox.parent_path());  // An address has no space for a long path.
    sockaddr_un address{AF_UNIX, {}};
    mailbox.filename().native().copy(address.sun_path, sizeof address.sun_path - 1);
    const desktop::Descriptor connection(socket(AF_UNIX, SOCK_SEQPACKET, 0));
    EXPECT_EQ(connect(connection.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    send(connection.get(), packet.data(), 8 * packet.size(), 0);
    LRESULT answer = 0;
    return recv(connection.get(), &answer, sizeof answer, 0) > 0;
}

TEST_F(Session, takesOnlyRegisteredMessagesFromOthers) {
    Child child([] { desktop::openMailbox(u"SomeClass", 5); });
    const std::pair<std::vector<std::uint64_t>, bool> rows[] = {
        {{0xC000, 0, 0}, true},    {{0xFFFF, 0, 0}, true},       {{0xBFFF, 0, 0}, false},
        {{0x10000, 0, 0}, false},  {{0x10000C000, 0, 0}, false}, {{0xC000, 0}, false},
        {{0xC000, 0, 0, 0}, false}};
    for (const auto& [packet, answered] : rows)
        EXPECT_EQ(isAnswered(desktop::findMailbox(u"SomeClass")->path, packet), answered)
            << std::hex << packet[0] << ", " << packet.size();
}

TEST_F(Session, opensFilesAsOtherProcessesAllow) {
    const ScratchFolder scratch;
    const Path file = scratch.path / "file";
    const auto open = [&](DWORD access, DWORD share) {
        return ownHandle(CreateFileW(file.u16string().c_str(), access, share, nullptr,
                                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    };
    std::ofstream writer(file);  // knows nothing of share modes
    EXPECT_FALSE(open(GENERIC_READ, FILE_SHARE_READ));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_TRUE(open(GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE));
    writer.close();
    const Child reader([&] { open(GENERIC_READ, FILE_SHARE_READ).release(); });
    EXPECT_TRUE(open(GENERIC_READ, FILE_SHARE_READ));
    EXPECT_FALSE(open(GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE));
    EXPECT_FALSE(DeleteFileW(file.u16string().c_str()));
}

}  // namespace
