// The hands and eyes of the person.

#include "tests/program/person.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <set>

#include "platform/hosts/host.h"

namespace person {

namespace {

Path homeFolder;

Path makeHome() {
    std::string name = (std::filesystem::temp_directory_path() / "desk-clip-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    return name;
}

void takeSeat(const Path& home) {
    std::filesystem::create_directories(home / "data");
    std::filesystem::create_directories(home / "run");
    std::filesystem::permissions(home / "run", std::filesystem::perms::owner_all);
    setenv("HOME", home.c_str(), 1);
    setenv("XDG_DATA_HOME", (home / "data").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (home / "config").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", (home / "run").c_str(), 1);
    setenv("EMBEDDED_DESKTOP", "person", 1);
    host::use(host::memoryHost());
    desktop::setMonitors({{{0, 0, 1920, 1080}, 1, 96}});
    desktop::paintDesktop([](const desktop::Canvas& canvas) {
        std::fill_n(canvas.pixels, canvas.stride * canvas.height, 0x003060A0u);
    });
}

std::optional<desktop::ShownWindow> overlay() {
    for (const desktop::ShownWindow& window : desktop::windows())
        if (window.className == "QuorvelClipOverlay" && window.visible) return window;
    return {};
}

void settle(const char* what, const std::function<bool()>& condition) {
    if (!desktop::waitUntil(condition)) ADD_FAILURE() << "waited in vain for " << what;
}

bool isEnd(const std::string& notice) { return notice != "Finishing clip…"; }

bool mustGiveUp() { return desktop::faultStruck() && isOutOfSight(desktop::struckCall()); }

std::vector<std::string> noticesFrom(std::size_t first) {
    std::vector<std::string> texts;
    const auto all = desktop::balloons();
    for (std::size_t at = first; at < all.size(); ++at) texts.push_back(all[at].text);
    return texts;
}

}  // namespace

int exitCodeAtDesktop(const std::function<void()>& body) {
    homeFolder = makeHome();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        takeSeat(homeFolder);
        body();
        std::fflush(nullptr);
        std::exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void atDesktop(const std::function<void()>& body) {
    EXPECT_EQ(exitCodeAtDesktop(body), 0);
    std::filesystem::remove_all(homeFolder);
}

Path home() { return homeFolder; }
Path dataFolder() { return homeFolder / "data" / "Quorvel Desk Clip"; }
Path recordings() { return dataFolder() / "Recordings"; }

std::vector<Path> filesIn(const Path& folder) {
    std::vector<Path> files;
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(folder, missing))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

std::string contentOf(const Path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

Program::Program(const std::u16string& commandTail) {
    thread = std::thread([this, commandTail] {
        std::u16string tail = commandTail;
        exitCode = wWinMain(GetModuleHandleW(nullptr), nullptr, tail.data(), SW_SHOWNORMAL);
    });
}

Program::~Program() {
    if (!ended) close();
}

bool Program::waitForEnd() {
    const bool gone = desktop::waitUntil([] { return desktop::windows().empty(); }, 30);
    if (!gone) return false;
    thread.join();
    ended = true;
    return true;
}

int Program::close() {
    desktop::postToWindow("QuorvelDeskClip", WM_CLOSE);
    thread.join();
    ended = true;
    return exitCode;
}

void pressKeys(const std::vector<UINT>& keys) {
    for (const UINT key : keys) desktop::pressKey(key);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) desktop::releaseKey(*key);
}

void pressShortcut() { pressKeys({VK_LCONTROL, VK_LSHIFT, '7'}); }
void pressEsc() { pressKeys({VK_ESCAPE}); }

bool isShown(const std::string& className) {
    const auto all = desktop::windows();
    return std::any_of(all.begin(), all.end(),
                       [&](const auto& one) { return one.visible && one.className == className; });
}

bool sheetIsUp() {
    const auto window = overlay();
    return window && window->foreground;
}

bool frameIsUp() {
    const auto window = overlay();
    return window && !window->foreground;
}

int samplesWritten() {
    const auto log = desktop::callLog();
    return static_cast<int>(std::count_if(log.begin(), log.end(), [](const auto& call) {
        return call.operation == "IMFSinkWriter::WriteSample";
    }));
}

bool isOutOfSight(const std::string& operation) {
    static const std::set<std::string> operations = {
        "PostMessageW",      "SetCapture",   "SetForegroundWindow", "SetLayeredWindowAttributes",
        "SetWindowLongPtrW", "SetWindowPos", "SetWindowRgn",        "Shell_NotifyIconW"};
    return operations.contains(operation);
}

void openSheet() {
    settle("the tray icon", [] { return !desktop::trayTip().empty(); });
    pressShortcut();
    settle("the sheet", sheetIsUp);
}

void drag(int fromX, int fromY, int toX, int toY) {
    desktop::movePointer(fromX, fromY);
    desktop::pressButton(1);
    desktop::movePointer(toX, toY);
    desktop::releaseButton(1);
}

void startRecording(const RECT& region) {
    openSheet();
    desktop::startCallLog();
    const std::size_t before = desktop::balloons().size();
    drag(region.left, region.top, region.right, region.bottom);
    settle("a sample", [&] { return samplesWritten() > 0 || desktop::balloons().size() > before; });
}

void stopAndFinish() {
    pressEsc();
    desktop::waitForBalloon("Copied — paste the video file.");
}

Outcome recordOneClip(int samples) {
    const std::size_t before = desktop::balloons().size();
    const auto ended = [&] {
        const auto notices = noticesFrom(before);
        return mustGiveUp() || std::any_of(notices.begin(), notices.end(), isEnd);
    };
    const std::vector<Path> old = filesIn(recordings());
    desktop::startCallLog();
    pressShortcut();
    settle("the sheet or a notice", [&] { return sheetIsUp() || ended(); });
    if (!ended()) {
        drag(100, 100, 420, 340);
        settle("a sample or a notice", [&] { return samplesWritten() >= samples || ended(); });
        if (!ended()) pressEsc();
        settle("the last notice", [&] {
            const auto notices = noticesFrom(before);
            const auto isLast = [](const std::string& notice) {
                return isEnd(notice) && notice.rfind("Clip saved; retention", 0) != 0;
            };
            return mustGiveUp() || std::any_of(notices.begin(), notices.end(), isLast);
        });
    }
    Outcome outcome;
    outcome.notices = noticesFrom(before);
    for (const Path& file : filesIn(recordings()))
        if (file.extension() == ".mp4" && !std::binary_search(old.begin(), old.end(), file))
            outcome.clip = file;
    return outcome;
}

std::string lastNotice() {
    const auto all = desktop::balloons();
    return all.empty() ? "" : all.back().text;
}

}  // namespace person
