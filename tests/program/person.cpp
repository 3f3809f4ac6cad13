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
    homeFolder = makeTemporaryFolder();
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

SecondProcess::SecondProcess(const std::function<int()>& body)
    : go(home() / ("go " + std::to_string(++number))), process(fork()) {
    if (process != 0) return;
    desktop::waitUntil([&] { return std::filesystem::exists(go); });
    _exit(body());
}

void SecondProcess::run() {
    std::filesystem::create_directory(go);
    int status = -1;
    waitpid(process, &status, 0);
    EXPECT_EQ(status, 0);
}

void await(const char* what, const std::function<bool()>& condition) {
    EXPECT_TRUE(desktop::waitUntil(condition)) << "waited in vain for " << what;
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

void openTrayMenu() {
    await("the tray icon", [] { return !desktop::trayTip().empty(); });
    desktop::movePointer(1900, 1060);
    desktop::clickTray(WM_RBUTTONUP);
    await("the menu", [] { return !desktop::openMenu().empty(); });
}

std::string awaitBox() {
    await("a message box", [] { return !desktop::openBoxes().empty(); });
    const std::vector<desktop::ShownBox> boxes = desktop::openBoxes();
    if (boxes.size() != 1) return std::to_string(boxes.size()) + " boxes";
    return boxes[0].title + "|" + boxes[0].text + "|" + std::to_string(boxes[0].icon);
}

std::string readBox() {
    const std::string words = awaitBox();
    for (const desktop::ShownWindow& window : desktop::windows())
        if (window.className == "#32770" && words.starts_with(window.title + "|"))
            drag(window.bounds.right - 56, window.bounds.bottom - 23, window.bounds.right - 50,
                 window.bounds.bottom - 20);
    await("the end of the box", [] { return desktop::openBoxes().empty(); });
    return words;
}

void chooseFromMenu(UINT id) {
    await("a menu", [] { return !desktop::openMenu().empty(); });
    desktop::startCallLog();
    for (const desktop::MenuEntry& entry : desktop::openMenu()) {
        if (!entry.separator) pressKeys({VK_DOWN});
        if (entry.id == id) break;
    }
    pressKeys({VK_RETURN});
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
