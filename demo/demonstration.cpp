// A scripted user of the program on the embedded desktop, for the first run on a machine without a
// display.
//
//     demonstration FOLDER
//
// Screenshots go to FOLDER, those of the recording ten times a second to FOLDER/film, clips and
// settings below FOLDER/data. The program and the user each have a thread; the main thread waits
// for the user's last step or for Ctrl+C. On Ctrl+C it closes the program as a user would, which
// completes a running clip, and exits without waiting for the script.

#include <windows.h>

#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "demo/person.h"
#include "demo/test_card.h"
#include "demo/user.h"
#include "platform/control.h"
#include "platform/hosts/host.h"

namespace {

using Path = std::filesystem::path;

constexpr RECT region{310, 170, 970, 610};
constexpr int interruptedCode = 130;

std::atomic<bool> interrupted = false;
std::atomic<bool> scriptEnded = false;
Path clip;  // set when the script ends; empty if it failed

void say(const std::string& line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

void waitFor(const person::Program& program, const char* what,
             const std::function<bool()>& condition) {
    const auto settled = [&] { return program.hasEnded() || condition(); };
    if (desktop::waitUntil(settled) && !program.hasEnded()) return;
    std::string text = std::string("waited in vain for ") + what;
    for (const desktop::ShownBalloon& balloon : desktop::balloons())
        text += "\n  notice: " + balloon.text;
    for (const desktop::ShownBox& box : desktop::openBoxes()) text += "\n  message: " + box.text;
    throw std::runtime_error(text);
}

void pause(double seconds) {
    if (desktop::waitUntil([] { return interrupted.load(); }, seconds))
        throw std::runtime_error("interrupted");
}

void photograph(const Path& file, const char* subject, const std::optional<RECT>& area = {}) {
    desktop::saveScreenshot(file.string(), area);
    say("  screenshot of " + std::string(subject) + ": " + file.string());
}

// Takes ten screenshots a second while it exists.
struct Film {
    explicit Film(const Path& folder) {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        camera = std::thread([this, folder] {
            auto due = std::chrono::steady_clock::now();
            for (int number = 1000; !ended; ++number) {
                desktop::saveScreenshot((folder / (std::to_string(number) + ".png")).string());
                std::this_thread::sleep_until(due += std::chrono::milliseconds(100));
            }
        });
    }
    ~Film() {
        ended = true;
        camera.join();
    }

    std::atomic<bool> ended = false;
    std::thread camera;
};

// The rectangle of a window of that class, with what is around it.
RECT surroundingsOf(const char* className) {
    constexpr LONG margin = 40;
    for (const desktop::ShownWindow& window : desktop::windows())
        if (window.className == className && window.visible)
            return {window.bounds.left - margin, window.bounds.top - margin,
                    window.bounds.right + margin, window.bounds.bottom + margin};
    throw std::runtime_error("a window has gone");
}

bool shortcutInBoxIs(const std::string& text) {
    return user::control(user::ShortcutBox).text == text;
}

bool noticed(const std::string& text) {
    for (const desktop::ShownBalloon& balloon : desktop::balloons())
        if (balloon.text == text) return true;
    return false;
}

void drag(const std::function<void()>& beforeRelease) {
    user::move(region.left, region.top);
    user::holdButton(1);
    constexpr int steps = 20;
    for (int step = 1; step <= steps; ++step) {
        user::move(region.left + (region.right - region.left) * step / steps,
                   region.top + (region.bottom - region.top) * step / steps);
        pause(.02);
    }
    beforeRelease();
    user::releaseButton(1);
}

void lookAtTheSettings(const person::Program& program, const Path& folder) {
    constexpr POINT settings{1150, 725};
    say("The user right-clicks the icon and chooses Settings.");
    user::clickTray(3);
    waitFor(program, "the menu", user::menuIsOpen);
    user::move(settings.x, settings.y);
    pause(.5);
    photograph(folder / "1-menu.png", "the menu", surroundingsOf("#32768"));
    user::click(settings.x, settings.y);
    waitFor(program, "the settings", [] { return shortcutInBoxIs("Ctrl+Shift+7"); });

    say("The user tries another shortcut in the box and leaves with Esc: nothing has changed.");
    user::press({VK_LCONTROL, VK_LSHIFT, 'K'});
    waitFor(program, "the other shortcut", [] { return shortcutInBoxIs("Ctrl+Shift+K"); });
    pause(.5);
    photograph(folder / "2-settings.png", "the settings", surroundingsOf("#32770"));
    user::pressEsc();
    waitFor(program, "the end of the settings", [] { return !user::settingsAreOpen(); });
    pause(.5);
}

Path useTheProgram(const person::Program& program, const Path& folder) {
    say("A desktop of 1280 x 800 shows a test card. The program starts; it lives in the tray.");
    waitFor(program, "the tray icon", [] { return !user::trayTip().empty(); });
    say("  tray icon: " + user::trayTip());
    pause(.5);
    lookAtTheSettings(program, folder);

    const Film film(folder / "film");
    pause(.5);
    say("The user presses Ctrl+Shift+7: a dim sheet covers the monitor.");
    user::pressShortcut();
    waitFor(program, "the dim sheet", user::sheetIsUp);

    say("The user drags a rectangle over the test card.");
    drag([&] { photograph(folder / "3-dim-sheet.png", "the drag on the dim sheet"); });
    waitFor(program, "the red frame", user::frameIsUp);

    say("A red frame marks the region while it is recorded, for three seconds.");
    pause(1.5);
    photograph(folder / "4-red-frame.png", "the red frame");
    pause(1.5);

    say("The user presses Esc.");
    user::pressEsc();
    waitFor(program, "the clip on the clipboard",
            [] { return noticed("Copied — paste the video file."); });
    photograph(folder / "5-desktop.png", "the desktop with the notice");
    pause(1);
    say("The clip is on the clipboard, ready to paste.");
    return user::pastedFile();
}

void followTheScript(const person::Program& program, const Path& folder) {
    try {
        clip = useTheProgram(program, folder);
    } catch (const std::exception& failure) {
        if (!interrupted) std::fprintf(stderr, "The demonstration failed: %s\n", failure.what());
    }
    scriptEnded = true;
}

// Settings, clips and sockets are below FOLDER: the user's own are not touched.
Path makeFolders(const Path& folder) {
    const Path runtime = person::makeTemporaryFolder();
    for (const char* const name : {"data", "config"})
        std::filesystem::create_directories(folder / name);
    setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (folder / "config").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    return runtime;
}

// Waits for the end of the script or for Ctrl+C.
void waitForPerson(const sigset_t& signals) {
    const timespec moment{0, 50'000'000};
    while (!scriptEnded && !interrupted) interrupted = sigtimedwait(&signals, nullptr, &moment) > 0;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fputs("usage: demonstration FOLDER\n", stderr);
        return 2;
    }
    // Before any thread starts, so only waitForPerson receives the signals.
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, number);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    const Path folder = std::filesystem::absolute(arguments[1]);
    const Path runtime = makeFolders(folder);
    host::use(host::memoryHost());
    desktop::setMonitors({{{0, 0, 1280, 800}}});
    person::trayIcon = {1232, 780};

    int exitCode = 0;
    {
        const TestCard testCard;
        person::Program program;
        std::thread script([&] { followTheScript(program, folder); });
        waitForPerson(signals);
        exitCode = program.close();
        script.join();
    }
    std::filesystem::remove_all(runtime);
    if (interrupted) return interruptedCode;
    if (exitCode != 0 || clip.empty()) return EXIT_FAILURE;
    say("clip: " + clip.string());
    return EXIT_SUCCESS;
}
