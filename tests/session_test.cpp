// What processes of one session share: the mutex's name, and messages.

#include <windows.h>

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>

#include "platform/core/descriptor.h"
#include "platform/core/mailbox.h"
#include "platform/core/user_folders.h"
#include "tests/scratch.h"

namespace {

// Another process. It is prepared when the constructor returns, and lives until it is ended.
struct Child {
    explicit Child(const std::function<void()>& prepare) : process(fork()) {
        if (process == 0) {
            prepare();
            raise(SIGSTOP);
            for (;;) desktop::answerMail([](auto, UINT message) { return message + 1; });
        }
        waitpid(process, nullptr, WUNTRACED);
        kill(process, SIGCONT);
    }
    ~Child() { end(); }
    void end() const {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }

    const pid_t process;
};

struct Session : testing::Test {
    Session() { setenv("EMBEDDED_DESKTOP", "a/session:0", 1); }

    static bool claims() {
        const Handle mutex(CreateMutexW(nullptr, FALSE, TEXT("Local\\name")));
        return mutex && GetLastError() != ERROR_ALREADY_EXISTS;
    }
};

TEST_F(Session, usesAFolderThatIsTheUsersAlone) {
    const ScratchFolder scratch;
    const Path cache = std::getenv("XDG_CACHE_HOME"), own = scratch.path;
    std::filesystem::create_directory(own / "another");
    // Only the superuser can give it away; to everybody else the root belongs to another.
    const bool isGiven = chown((own / "another").c_str(), 12345, 12345) == 0;
    for (const Path& runtime :
         {own, isGiven ? own / "another" : Path("/"), own / "missing", Path()}) {
        setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
        EXPECT_EQ(desktop::sessionFolder(),
                  (runtime == own ? own : cache) / "quorvel-desk-clip" / "a%2Fsession%3A0");
    }
    std::filesystem::permissions(cache / "quorvel-desk-clip", std::filesystem::perms::all);
    EXPECT_EQ(CreateMutexW(nullptr, FALSE, TEXT("name")), nullptr);
    std::filesystem::remove_all(cache / "quorvel-desk-clip");
}

// An address has no space for a long path, so the socket is reached from its folder.
desktop::Descriptor socketAt(const Path& path) {
    std::filesystem::current_path(path.parent_path());
    sockaddr_un address{AF_UNIX, {}};
    path.filename().native().copy(address.sun_path, sizeof address.sun_path - 1);
    desktop::Descriptor made(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(bind(made.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0) << path;
    return made;
}

// Whatever has left them: a start must neither take one for the first instance nor fail.
TEST_F(Session, startsDespiteLeftoverSockets) {
    const Path session = *desktop::sessionFolder();
    std::filesystem::remove_all(session);
    socketAt(session);
    ASSERT_EQ(desktop::sessionFolder(), session);
    socketAt(session / "mutex-name");
    const desktop::Descriptor nobodys = socketAt(session / "window-someclass,0,1");
    EXPECT_TRUE(claims());
    EXPECT_FALSE(desktop::findMailbox(u"SomeClass"));
}

TEST_F(Session, carriesRegisteredMessagesToTheFirstProcess) {
    const Child child([] {
        CreateMutexW(nullptr, FALSE, TEXT("name"));
        desktop::openMailbox(u"SomeClass", nullptr);
    });
    EXPECT_FALSE(claims());
    const auto found = desktop::findMailbox(u"someCLASS");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->process, child.process);
    EXPECT_FALSE(desktop::findMailbox(u"Some"));
    for (const LRESULT message : {0xBFFF, 0xC000, 0xFFFF, 0x10000}) {
        const auto answer = desktop::sendMail(*found, static_cast<UINT>(message), 10'000);
        EXPECT_EQ(answer.value_or(0), message == 0xC000 || message == 0xFFFF ? message + 1 : 0);
    }
    kill(child.process, SIGSTOP);
    EXPECT_FALSE(desktop::sendMail(*found, 0xC000, 50));  // found, but hung
    EXPECT_TRUE(desktop::findMailbox(u"SomeClass"));
    child.end();
    EXPECT_FALSE(desktop::sendMail(*found, 0xC000, 50));
    EXPECT_FALSE(desktop::findMailbox(u"SomeClass"));
    EXPECT_FALSE(std::filesystem::exists(found->path));
    for (int round = 0; round < 2; ++round) EXPECT_TRUE(claims()) << "Its last handle is closed.";
}

}  // namespace
