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

// A link above the data folder is nothing unusual.
void takeSeat() {
    std::filesystem::create_directories(homeFolder / "disk");
    std::filesystem::create_directory_symlink("disk", homeFolder / "data");
    std::filesystem::create_directories(homeFolder / "run");
    std::filesystem::permissions(homeFolder / "run", std::filesystem::perms::owner_all);
    setenv("HOME", homeFolder.c_str(), 1);
    setenv("XDG_DATA_HOME", (homeFolder / "data").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (homeFolder / "config").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", (homeFolder / "run").c_str(), 1);
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

bool isLast(const std::string& notice) {
    return notice != "Finishing clip…" && !notice.starts_with("Clip saved; retention");
}

std::vector<std::string> noticesFrom(std::size_t first) {
    std::vector<std::string> texts;
    const auto all = desktop::balloons();
    for (std::size_t at = first; at < all.size(); ++at) texts.push_back(all[at].text);
    return texts;
}

bool isWritten(int samples) {
    return static_cast<int>(callsOf("IMFSinkWriter::WriteSample").size()) >= samples;
}

}  // namespace

void atDesktop(const std::function<void()>& body, const std::function<void()>& afterwards) {
    std::string name = (std::filesystem::temp_directory_path() / "desk-clip-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    homeFolder = name;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        takeSeat();
        try {
            body();
        } catch (const std::exception& failure) {
            ADD_FAILURE() << failure.what();
        }
        std::fflush(nullptr);
        std::exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    afterwards();
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

bool isPartialFileLeft() {
    return std::ranges::any_of(filesIn(recordings()), [](const Path& file) {
        return file.string().find(".partial") != std::string::npos;
    });
}

Program::Program(const std::u16string& commandTail) {
    thread = std::thread([this, commandTail] {
        std::u16string tail = commandTail;
        exitCode = wWinMain(GetModuleHandleW(nullptr), nullptr, tail.data(), SW_SHOWNORMAL);
    });
}

Program::~Program() {
    if (thread.joinable()) close();
}

bool Program::waitForEnd() {
    if (!desktop::waitUntil([] { return desktop::windows().empty(); })) return false;
    thread.join();
    return true;
}

int Program::close() {
    desktop::postToWindow("QuorvelDeskClip", WM_CLOSE);
    thread.join();
    return exitCode;
}

void await(const char* what, const std::function<bool()>& condition) {
    EXPECT_TRUE(desktop::waitUntil(condition)) << "waited in vain for " << what;
}

void pressKeys(const std::vector<UINT>& keys) {
    for (const UINT key : keys) desktop::pressKey(key);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) desktop::releaseKey(*key);
}

void pressShortcut() { pressKeys({VK_LCONTROL, VK_LSHIFT, '7'}); }
void pressEsc() { pressKeys({VK_ESCAPE}); }

bool isShown(const std::string& className) {
    return std::ranges::any_of(desktop::windows(), [&](const desktop::ShownWindow& one) {
        return one.visible && one.className == className;
    });
}

bool sheetIsUp() {
    const auto window = overlay();
    return window && window->foreground;
}

bool frameIsUp() {
    const auto window = overlay();
    return window && !window->foreground;
}

std::vector<std::string> callsOf(const std::string& operation) {
    std::vector<std::string> calls;
    for (const desktop::LoggedCall& call : desktop::callLog())
        if (call.operation == operation) calls.push_back(call.arguments);
    return calls;
}

bool isOutOfSight(const std::string& operation) {
    static const std::set<std::string> operations = {
        "PostMessageW",      "SetCapture",   "SetForegroundWindow", "SetLayeredWindowAttributes",
        "SetWindowLongPtrW", "SetWindowPos", "SetWindowRgn",        "Shell_NotifyIconW"};
    return operations.contains(operation);
}

void openSheet() {
    await("the tray icon", [] { return !desktop::trayTip().empty(); });
    pressShortcut();
    await("the sheet", sheetIsUp);
}

void drag(int fromX, int fromY, int toX, int toY) {
    desktop::movePointer(fromX, fromY);
    desktop::pressButton(1);
    desktop::movePointer(toX, toY);
    desktop::releaseButton(1);
}

void openTrayMenu() {
    await("the tray icon", [] { return !desktop::trayTip().empty(); });
    desktop::clickTray(WM_RBUTTONUP);
    await("the menu", [] { return !desktop::openMenu().empty(); });
}

void chooseFromMenu(UINT id) {
    await("a menu", [] { return !desktop::openMenu().empty(); });
    desktop::startCallLog();
    desktop::chooseFromMenu(id);
}

void startRecording(const RECT& region) {
    openSheet();
    desktop::startCallLog();
    const std::size_t before = desktop::balloons().size();
    drag(region.left, region.top, region.right, region.bottom);
    await("a sample", [&] { return isWritten(1) || desktop::balloons().size() > before; });
}

void stopAndFinish() {
    pressEsc();
    desktop::waitForBalloon("Copied — paste the video file.");
}

Outcome recordOneClip(int samples) {
    const std::size_t before = desktop::balloons().size();
    const std::vector<Path> old = filesIn(recordings());
    const auto hasEnded = [&] {
        const bool isGivenUp = desktop::faultStruck() && isOutOfSight(desktop::struckCall());
        return isGivenUp || std::ranges::any_of(noticesFrom(before), isLast);
    };
    desktop::startCallLog();
    pressShortcut();
    await("the sheet or a notice", [&] { return sheetIsUp() || hasEnded(); });
    if (!hasEnded()) {
        drag(100, 100, 420, 340);
        await("a sample or a notice", [&] { return isWritten(samples) || hasEnded(); });
    }
    if (!hasEnded()) pressEsc();
    await("the last notice", hasEnded);
    Outcome outcome;
    outcome.notices = noticesFrom(before);
    for (const Path& file : filesIn(recordings()))
        if (file.extension() == ".mp4" && !std::ranges::binary_search(old, file))
            outcome.clip = file;
    return outcome;
}

std::string lastNotice() {
    const auto all = desktop::balloons();
    return all.empty() ? "" : all.back().text;
}

}  // namespace person
