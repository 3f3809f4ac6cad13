// Recordings on both hosts: whether the grid is kept, and what that costs.
//
// On the embedded desktop the whole program runs, driven by a person's input. On the live display,
// an Xvfb of its own, the capture loop runs alone. The times of the samples come from the call log.
// What paints the moving picture is no part of the cost, and neither is the display server.

#include <windows.h>

#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "benchmarks/benchmark.h"
#include "benchmarks/scrolling_page.h"
#include "capture/capture_loop.h"
#include "demo/person.h"
#include "platform/control.h"
#include "platform/hosts/host.h"

namespace {

using Clock = std::chrono::steady_clock;
using Path = std::filesystem::path;

struct Take {
    const char* name;
    int width, height;
    bool moves;
    bool live;
};

constexpr int margin = 40;  // of the monitor around the region, for the red frame

RECT regionOf(const Take& take) {
    return {margin, margin, margin + take.width, margin + take.height};
}

// A window of 1920 x 1080 in the middle of the region, so the whole of the smaller one.
RECT windowOf(const Take& take) {
    const int left = margin + (take.width - 1920) / 2, top = margin + (take.height - 1080) / 2;
    return {left, top, left + 1920, top + 1080};
}

double cpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double peakMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

struct Pass {
    double began;  // milliseconds after the first one
    int slot;
};

// A pass shows itself by the first call after it took its slot.
std::vector<Pass> passesOf(const std::vector<desktop::LoggedCall>& log) {
    std::vector<Pass> passes;
    std::int64_t began = 0, first = 0;
    for (const desktop::LoggedCall& call : log) {
        if (call.operation == "MFCreateMemoryBuffer") began = call.time;
        if (call.operation != "IMFSample::SetSampleTime") continue;
        if (passes.empty()) first = began;
        const double slot = std::round(std::stod(call.arguments) * 30 / 1e7);
        passes.push_back({static_cast<double>(began - first) / 1e6, static_cast<int>(slot)});
    }
    return passes;
}

struct Cost {
    double cpuSeconds, finishMilliseconds;
};

void print(const Take& take, const Cost& cost) {
    const std::vector<Pass> passes = passesOf(desktop::callLog());
    if (passes.empty()) throw std::runtime_error("no sample was written");
    const int slots = passes.back().slot + 1;
    int late = 0;
    std::vector<double> distances;
    for (std::size_t at = 0; at < passes.size(); ++at) {
        if (at && passes[at].slot > passes[at - 1].slot + 1) ++late;
        distances.push_back(passes[at].began - passes[at].slot * 1000.0 / 30);
    }
    std::sort(distances.begin(), distances.end());
    std::printf("  %-28s%8.2f %%%8d%10.1f ms%10.3f%8.0f MB%8.0f ms\n", take.name,
                100.0 * static_cast<double>(passes.size()) / slots, late,
                distances[distances.size() * 99 / 100], cost.cpuSeconds * 30 / slots,
                peakMegabytes(), cost.finishMilliseconds);
}

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Looks without a pause of its own kind: what is measured is shorter than a pause of waitUntil may
// be.
void await(const std::function<bool()>& condition, const char* what) {
    const Clock::time_point start = Clock::now();
    while (!condition()) {
        if (millisecondsSince(start) > 120'000)
            throw std::runtime_error(std::string("waited in vain for ") + what);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

bool samplesFlow() { return !person::callsOf("IMFSinkWriter::WriteSample").empty(); }

bool hasClip(const Path& folder) {
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(folder, missing))
        if (entry.path().filename().string().size() == 45) return true;
    return false;
}

void startAsAPerson(const RECT& region) {
    await([] { return !desktop::trayTip().empty(); }, "the tray icon");
    person::pressShortcut();
    await(person::sheetIsUp, "the sheet");
    desktop::startCallLog();
    person::drag(region.left, region.top, region.right, region.bottom);
    await(samplesFlow, "a sample");
}

Cost recordWithProgram(const Take& take, int seconds, const Path& folder) {
    const RECT region = regionOf(take);
    host::use(host::memoryHost());
    desktop::setMonitors({{{0, 0, region.right + margin, region.bottom + margin}}});
    std::optional<ScrollingPage> page;
    if (take.moves) page.emplace(windowOf(take));
    person::Program program;
    startAsAPerson(region);
    const auto spent = [&] { return cpuSeconds() - (page ? page->cpuSeconds() : 0); };
    const double before = spent();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const Clock::time_point stop = Clock::now();
    person::pressEsc();
    await([&] { return hasClip(folder / "Quorvel Desk Clip" / "Recordings"); }, "the clip");
    return {spent() - before, millisecondsSince(stop)};
}

// Starts a process that ends with this one.
template <typename Body>
void startProcess(Body body) {
    if (fork() != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    body();
    _exit(127);
}

void startDisplay(const RECT& region) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("Cannot create a pipe");
    const std::string size = std::to_string(region.right + margin) + "x" +
                             std::to_string(region.bottom + margin) + "x24";
    startProcess([&] {
        if (!std::freopen("/dev/null", "w", stderr)) _exit(126);
        execlp("Xvfb", "Xvfb", "-displayfd", std::to_string(ends[1]).c_str(), "-screen", "0",
               size.c_str(), "-nolisten", "tcp", "-noreset", nullptr);
    });
    close(ends[1]);
    std::string number;
    for (char character; read(ends[0], &character, 1) == 1 && character != '\n';)
        number += character;
    close(ends[0]);
    if (number.empty()) throw std::runtime_error("Xvfb did not start");
    setenv("DISPLAY", (":" + number).c_str(), 1);
}

Cost recordDisplay(const Take& take, int seconds, const Path& folder) {
    const RECT region = regionOf(take);
    startDisplay(region);
    if (take.moves) startProcess([&] { scrollOnDisplay(windowOf(take)); });
    host::use(host::x11Host());
    desktop::startCallLog();
    std::atomic<bool> stopFlag = false;
    std::exception_ptr failure;
    std::thread recorder([&] {
        try {
            captureToFile(MonitorFromPoint({region.left, region.top}, MONITOR_DEFAULTTONEAREST),
                          {region.left, region.top, region.right, region.bottom},
                          (folder / "take.mp4").string<WCHAR>(), stopFlag);
        } catch (...) {
            failure = std::current_exception();
        }
    });
    await([&] { return samplesFlow() || failure; }, "a sample");
    const double before = cpuSeconds();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const Clock::time_point stop = Clock::now();
    stopFlag = true;
    recorder.join();
    if (failure) std::rethrow_exception(failure);
    return {cpuSeconds() - before, millisecondsSince(stop)};
}

void record(const Take& take, int seconds, const Path& folder) {
    print(take, take.live ? recordDisplay(take, seconds, folder)
                          : recordWithProgram(take, seconds, folder));
}

}  // namespace

void measureRecordings(int seconds) {
    std::printf("Recordings of %d s; where something moves, a window of 1920 x 1080 scrolls\n",
                seconds);
    std::printf("  %-28s%10s%8s%13s%10s%11s%11s\n", "", "filled", "late", "p99 late by", "CPU s/s",
                "peak", "finish");
    for (const Take& take : {Take{"embedded, 1080p, moving", 1920, 1080, true, false},
                             Take{"embedded, 1080p, still", 1920, 1080, false, false},
                             Take{"embedded, 2160p, moving", 3840, 2160, true, false},
                             Take{"live, 1080p, moving", 1920, 1080, true, true},
                             Take{"live, 1080p, still", 1920, 1080, false, true},
                             Take{"live, 2160p, moving", 3840, 2160, true, true}})
        inOwnProcess(take.name, [&](const Path& folder) { record(take, seconds, folder); });
}
