// The user of the native program, which runs on a thread of the test's process, so that what it
// shows can be read. The two desktops differ in embedded.cpp and x11.cpp.

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "demo/person.h"
#include "platform/control.h"
#include "tests/clip_reader.h"
#include "tests/scenarios/native.h"

namespace user {

namespace {

Path homeFolder;
std::size_t noticesAwaited = 0;

void makeUserFolders() {
    // A link above the data folder is nothing unusual.
    std::filesystem::create_directories(homeFolder / "disk");
    std::filesystem::create_directory_symlink("disk", homeFolder / "data");
    std::filesystem::create_directories(homeFolder / "run");
    std::filesystem::permissions(homeFolder / "run", std::filesystem::perms::owner_all);
    setenv("HOME", homeFolder.c_str(), 1);
    setenv("XDG_DATA_HOME", (homeFolder / "data").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (homeFolder / "config").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", (homeFolder / "run").c_str(), 1);
}

const desktop::ShownControl* find(const desktop::ShownDialog& dialog, int id) {
    for (const desktop::ShownControl& one : dialog.controls)
        if (one.id == id) return &one;
    return nullptr;
}

}  // namespace

void atDesktop(const std::function<void()>& body, const std::function<void()>& afterwards) {
    homeFolder = person::makeTemporaryFolder();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        makeUserFolders();
        try {
            desk::open();
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

void await(const char* what, const std::function<bool()>& condition) {
    EXPECT_TRUE(waitUntil(condition)) << "waited in vain for " << what;
}

Path home() { return homeFolder; }
Path dataFolder() { return homeFolder / "data" / "Quorvel Desk Clip"; }

const std::uint32_t dim = 0x1F2D40, outline = 0xC2D0E3;

RECT screen() { return {0, 0, 1920, 1080}; }
std::uint32_t pixel(int x, int y) { return desk::pixel(x, y); }

void press(const std::vector<UINT>& keys) { person::pressKeys(keys); }
void move(int x, int y) { person::hands.movePointer(x, y); }
void holdButton(int button) { person::hands.pressButton(button); }
void releaseButton(int button) { person::hands.releaseButton(button); }

void clickTray(int button) { desk::clickTray(button); }
void doubleClickTray() { desk::doubleClickTray(); }
bool menuIsOpen() { return !desktop::openMenu().empty(); }

void choose(UINT entry) {
    for (const desktop::MenuEntry& each : desktop::openMenu()) {
        if (!each.separator) press({VK_DOWN});
        if (each.id == entry) break;
    }
    press({VK_RETURN});
}

bool othersGet(const std::vector<UINT>& keys) { return desk::othersGet(keys); }
void takeShortcut(UINT modifiers, UINT key) { desk::takeShortcut(modifiers, key); }
void takeForeground() { desk::takeForeground(); }

void holdInstance() {
    desk::useHost();
    CreateMutexW(nullptr, FALSE, TEXT("Local\\QuorvelDeskClip-v1"));
}

void restartShell() { desk::restartShell(); }
void endSession(bool reallyEnds) { desk::endSession(reallyEnds); }

bool sheetIsUp() { return person::sheetIsUp(); }
bool frameIsUp() { return person::frameIsUp(); }
std::string trayTip() { return desktop::trayTip(); }

void awaitNotice(const std::string& text) {
    const auto isThere = [&] {
        const auto all = desktop::balloons();
        for (std::size_t at = noticesAwaited; at < all.size(); ++at)
            if (all[at].text == text) return noticesAwaited = at + 1, true;
        return false;
    };
    EXPECT_TRUE(waitUntil(isThere))
        << text << ", but last: " << (noticeIsNew() ? desktop::balloons().back().text : "nothing");
}

bool noticeIsNew() { return desktop::balloons().size() > noticesAwaited; }

std::string box() {
    const auto boxes = desktop::openBoxes();
    return boxes.empty() ? "" : boxes.back().title + "|" + boxes.back().text;
}

// The program has finished with the dialog when it updates the tip. Before that it drops the
// shortcut and opens no menu.
bool settingsAreOpen() {
    bool isInUse = desktop::openDialog().has_value();
    for (const desktop::LoggedCall& call : desktop::callLog()) {
        if (call.operation == "DialogBoxParamW") isInUse = true;
        if (call.operation == "Shell_NotifyIconW" && call.arguments.starts_with("1, 7,"))
            isInUse = false;
    }
    return isInUse;
}

ControlView control(int id) {
    const auto dialog = desktop::openDialog();
    const desktop::ShownControl* const one = dialog ? find(*dialog, id) : nullptr;
    return one ? ControlView{one->text, one->checked, one->enabled, one->bounds} : ControlView{};
}

int focus() {
    if (const auto dialog = desktop::openDialog())
        for (const desktop::ShownControl& one : dialog->controls)
            if (one.focused) return one.id;
    return 0;
}

Path pastedFile() { return desk::pastedFile(); }

ClipView view(const Path& clip, int width, int height) {
    const Clip read = readClip(clip);
    EXPECT_TRUE(read.width == width && read.height == height) << read.description;
    ClipView seen;
    forEachPicture(clip, read, [&](const ClipPicture& picture) {
        ++seen.frames;
        const auto luma = picture.planes.begin();
        const auto [darkest, brightest] = std::minmax_element(luma, luma + width * height);
        seen.darkest = std::min<int>(seen.darkest, *darkest);
        seen.brightest = std::max<int>(seen.brightest, *brightest);
    });
    return seen;
}

WideText programPath() { return std::filesystem::canonical("/proc/self/exe").u16string(); }

struct Program::State {
    person::Program program;
};

Program::Program(const std::string& arguments) {
    desk::useHost();
    desktop::startCallLog();
    state.reset(new State{person::Program(Path(arguments).u16string())});
    await("the program's message loop", [] { return !person::callsOf("GetMessageW").empty(); });
}

Program::~Program() = default;
bool Program::hasEnded() const { return state->program.hasEnded(); }

int Program::awaitEnd() {
    await("the program's end", [&] { return hasEnded(); });
    return close();
}

int Program::close() { return state->program.close(); }

// As long as it takes: the first of many starts outlives all others.
std::string runToItsEnd(const std::string& arguments) {
    desk::useHost();
    desktop::startCallLog();
    person::Program program(Path(arguments).u16string());
    std::string shown;
    while (!waitUntil([&] { return program.hasEnded() || !box().empty(); })) {
    }
    while (!program.hasEnded() && !box().empty()) {
        shown = "|" + box();
        press({VK_RETURN});
        desktop::waitUntil([&] { return program.hasEnded() || box().empty(); }, 1);
    }
    return std::to_string(program.close()) + shown;
}

// The process waits for a byte on the pipe `go`, and writes what its body returns to the other one.
SecondProcess::SecondProcess(const std::function<std::string()>& body) {
    int goEnds[2], toldEnds[2];
    if (pipe(goEnds) != 0 || pipe(toldEnds) != 0) throw std::runtime_error("no pipe");
    process = fork();
    go = goEnds[1];
    told = toldEnds[0];
    close(process == 0 ? told : goEnds[0]);
    if (process != 0) {
        close(toldEnds[1]);
        return;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    char byte;
    if (read(goEnds[0], &byte, 1) != 1) _exit(1);
    desk::openAgain();
    const std::string words = body();
    const ssize_t written = write(toldEnds[1], words.data(), words.size());
    _exit(written > 0 ? 0 : 1);
}

SecondProcess::~SecondProcess() {
    kill(process, SIGKILL);
    close(go);
    close(told);
    waitpid(process, nullptr, 0);
}

std::string SecondProcess::run() {
    std::string words(65536, '\0');  // what a pipe takes in one go
    const bool goes = write(go, "!", 1) == 1;
    const ssize_t length = goes ? read(told, words.data(), words.size()) : 0;
    words.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return words;
}

struct SecondStart::State {
    SecondProcess process;
};

SecondStart::SecondStart(const std::string& arguments)
    : state(new State{SecondProcess([arguments] { return runToItsEnd(arguments); })}) {}
SecondStart::~SecondStart() = default;
std::string SecondStart::run() { return state->process.run(); }

void dragRegion(const RECT& region, int samples) {
    desktop::startCallLog();
    drag(region);
    await("the red frame", frameIsUp);
    await("samples", [&] {
        return static_cast<int>(person::callsOf("IMFSinkWriter::WriteSample").size()) >= samples;
    });
}

}  // namespace user
