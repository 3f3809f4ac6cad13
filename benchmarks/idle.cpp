// The program that nobody uses, in a process of its own on an Xvfb: how often it wakes up, what it
// asks of the system, and the time it takes. It has nothing to do, so each is to be 0.

#include <signal.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "benchmarks/benchmark.h"
#include "platform/control.h"
#include "tests/live/session_bus.h"
#include "tests/live/xvfb.h"

namespace {

using Path = std::filesystem::path;

// The notice's timers, the encoder's threads and the like have ended by then, if they end.
constexpr std::chrono::seconds settling{5};

void await(const char* what, const std::function<bool()>& condition) {
    if (!desktop::waitUntil(condition))
        throw std::runtime_error(std::string("waited in vain for ") + what);
}

struct Activity {
    long wakeUps = 0, ticks = 0;
};

std::vector<Path> threadsOf(pid_t program) {
    std::vector<Path> threads;
    for (const auto& each :
         std::filesystem::directory_iterator("/proc/" + std::to_string(program) + "/task"))
        threads.push_back(each.path());
    return threads;
}

long valueIn(const Path& status, const std::string& name) {
    std::ifstream file(status);
    for (std::string word; file >> word;)
        if (long value = 0; word == name + ":" && file >> value) return value;
    throw std::runtime_error("no " + name + " in " + status.string());
}

Activity activityOf(pid_t program) {
    Activity sum;
    for (const Path& thread : threadsOf(program))
        sum.wakeUps += valueIn(thread / "status", "voluntary_ctxt_switches");
    std::ifstream file("/proc/" + std::to_string(program) + "/stat");
    std::string field;
    // The 14th and the 15th field are the ticks in the program and for it in the kernel.
    for (int number = 1; number <= 15 && file >> field; ++number)
        if (number >= 14) sum.ticks += std::stol(field);
    return sum;
}

bool isTraced(pid_t program) {
    for (const Path& thread : threadsOf(program))
        if (valueIn(thread / "status", "TracerPid") == 0) return false;
    return true;
}

long totalIn(const Path& summary) {
    std::ifstream file(summary);
    std::string before;
    for (std::string word; file >> word; before = word)
        if (word == "total") return std::stol(before);
    return 0;  // There is no summary of nothing.
}

void print(const char* name, pid_t program, int seconds, const Path& folder) {
    std::this_thread::sleep_for(settling);
    const Path summary = folder / "calls";
    const pid_t tracer = live::start({"strace", "-f", "-qq", "-c", "-U", "calls", "-o",
                                      summary.string(), "-p", std::to_string(program)});
    await("strace to attach to the program", [&] { return isTraced(program); });
    std::this_thread::sleep_for(std::chrono::seconds(1));  // Attaching wakes every thread.
    const Activity before = activityOf(program);
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const Activity after = activityOf(program);
    kill(tracer, SIGINT);
    live::waitFor(tracer);
    std::printf("  %-42s%10ld%14ld%11ld\n", name, after.wakeUps - before.wakeUps, totalIn(summary),
                after.ticks - before.ticks);
}

void recordClip(const live::Program& program) {
    live::pressShortcut();
    await("the sheet", [] { return live::pixelAt(1900, 1000) == 0x111111; });
    live::movePointer(100, 100);
    live::pressButton(1);
    live::movePointer(740, 580);
    live::releaseButton(1);
    await("the frame", [] { return live::pixelAt(99, 200) == 0xff4040; });
    std::this_thread::sleep_for(std::chrono::seconds(1));
    live::tap(live::escapeKey);
    if (program.waitForClip().empty()) throw std::runtime_error("waited in vain for the clip");
}

void measure(const char* name, bool records, bool hasService, int seconds, const Path& folder) {
    live::startDisplay();
    std::optional<live::SessionBus> bus;
    if (hasService) bus.emplace(true);
    const live::Program program;
    if (records) recordClip(program);
    const std::string last = "Copied — paste the video file.";
    if (hasService) {
        std::vector<std::string> notices;
        await("the service's notice", [&] {
            bus->attend(notices);
            return !notices.empty() && notices.back().find(last) != std::string::npos;
        });
    } else if (records) {
        await("the notice", [&] { return live::findWindow(last) != 0; });
        await("the notice's end", [&] { return live::findWindow(last) == 0; });
    }
    print(name, program.process, seconds, folder);
}

}  // namespace

void measureIdleness(int seconds) {
    std::printf("Doing nothing for %d s\n", seconds);
    std::printf("  %-42s%10s%14s%11s\n", "", "wake-ups", "system calls", "CPU ticks");
    for (const auto& [name, records, hasService] :
         {std::tuple{"after the start", false, false},
          {"after a clip, with a notification service", true, true},
          {"after a clip, without one", true, false}})
        inOwnProcess(
            name, [&, name = name, records = records, hasService = hasService](const Path& folder) {
                measure(name, records, hasService, seconds, folder);
            });
}
