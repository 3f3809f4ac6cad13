// The user of the native program, which runs on a thread of the test's process, so that what it
// shows can be read. The two desktops differ in embedded.cpp and x11.cpp.

#include "tests/scenarios/native.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "tests/clip_reader.h"

namespace user {

namespace {

Path homeFolder;
std::size_t noticesAwaited = 0;

}  // namespace

void atDesktop(const std::function<void()>& body, const std::function<void()>& afterwards) {
    homeFolder = person::makeTemporaryFolder();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        try {
            makeFolders(homeFolder);
            // A link above the data folder is nothing unusual.
            std::filesystem::rename(homeFolder / "XDG_DATA_HOME", homeFolder / "disk");
            std::filesystem::create_directory_symlink("disk", homeFolder / "XDG_DATA_HOME");
            openDesktop();
            body();
        } catch (const std::exception& failure) {
            ADD_FAILURE() << failure.what();
        }
        std::fflush(nullptr);
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    afterwards();
    std::filesystem::remove_all(homeFolder);
}

bool waitUntil(const std::function<bool()>& condition) { return desktop::waitUntil(condition); }

Path home() { return homeFolder; }
Path dataFolder() { return homeFolder / "XDG_DATA_HOME" / "Quorvel Desk Clip"; }

const std::uint32_t dim = 0x1F2D40, outline = 0xC2D0E3;

void awaitNotice(const std::string& text) {
    await(text.c_str(), [] { return desktop::balloons().size() > noticesAwaited; });
    EXPECT_EQ(desktop::balloons().at(noticesAwaited++).text, text);
}

ClipView view(const Path& clip, int width, int height) {
    const Clip read = readClip(clip);
    EXPECT_EQ(read.width, width);
    EXPECT_EQ(read.height, height);
    ClipView seen;
    forEachPicture(clip, read, [&](const ClipPicture& picture) {
        ++seen.frames;
        EXPECT_NEAR(picture.u(0, 0), 163, 3);
        EXPECT_NEAR(picture.v(0, 0), 103, 3);
        seen.lumas.insert(picture.planes.begin(), picture.planes.begin() + width * height);
    });
    return seen;
}

WideText programPath() { return std::filesystem::canonical("/proc/self/exe").u16string(); }

struct Program::State : person::Program {
    using person::Program::Program;
};

Program::Program(const std::string& arguments) {
    useHost();
    desktop::startCallLog();
    state = std::make_unique<State>(Path(arguments).u16string());
    await("the message loop and the icon",
          [] { return !callsOf("GetMessageW").empty() && !trayTip().empty(); });
}

Program::~Program() = default;

int Program::awaitEnd() {
    await("the program's end", [&] { return state->hasEnded(); });
    return close();
}

int Program::close() { return state->close(); }

// As long as it takes: the first of many starts outlives all others.
std::string runToItsEnd(const std::string& arguments) {
    useHost();
    desktop::startCallLog();
    person::Program program(Path(arguments).u16string());
    std::string shown;
    while (!desktop::waitUntil([&] { return program.hasEnded(); }, 0.01)) {
        if (box().empty()) continue;
        shown = "|" + box();
        press({VK_RETURN});
        desktop::waitUntil([] { return box().empty(); }, 1);
    }
    return std::to_string(program.close()) + shown;
}

std::function<std::string()> inSecondProcess(const std::function<std::string()>& body) {
    const pid_t process = fork();
    const auto result = [=] { return home() / std::to_string(process ? process : getpid()); };
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        raise(SIGSTOP);
        writeFile(result(), body());
        _exit(0);
    }
    return [=] {
        waitpid(process, nullptr, WUNTRACED);
        kill(process, SIGCONT);
        waitpid(process, nullptr, 0);
        return readFile(result());
    };
}

std::function<std::string()> secondStart(const std::string& arguments) {
    return inSecondProcess([=] { return runToItsEnd(arguments); });
}

std::ptrdiff_t writtenSamples() { return std::ssize(callsOf("IMFSinkWriter::WriteSample")); }

}  // namespace user
