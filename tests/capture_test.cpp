// From the monitor to the first sample: what no recording of the whole program meets at will.

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "capture/capture_loop.h"
#include "demo/person.h"
#include "tests/scratch.h"

namespace {

// How long this thread is held up before each reading of the clock, and has been so far.
thread_local long delay = 0, heldUp = 0;  // nanoseconds

}  // namespace

// Stands in for the library's.
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const long result = syscall(SYS_clock_gettime, clock, time);
    heldUp += delay;
    const long nanoseconds = time->tv_nsec + heldUp;
    *time = {time->tv_sec + nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
    return static_cast<int>(result);
}

namespace {

TEST(Capture, startsAtZeroHoweverLongTheThreadIsHeldUp) {
    const ScratchFolder folder;
    const HMONITOR monitor = MonitorFromPoint({}, MONITOR_DEFAULTTONEAREST);
    std::atomic<bool> stopFlag = false;
    desktop::startCallLog();
    std::thread recording([&] {
        delay = 40'000'000;
        captureToFile(monitor, {0, 0, 16, 16}, (folder.path / "clip.mp4").u16string(), stopFlag);
    });
    EXPECT_TRUE(
        desktop::waitUntil([] { return !person::callsOf("IMFSinkWriter::WriteSample").empty(); }));
    stopFlag = true;
    recording.join();
    EXPECT_EQ(person::callsOf("IMFSample::SetSampleTime").front(), "0");
}

}  // namespace
