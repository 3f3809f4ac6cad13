// From the monitor to the first sample: what no recording of the whole program meets at will.

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include "capture/capture_loop.h"
#include "capture/desktop_source.h"
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
    SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
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

// A monitor to the upper left of the primary one, and regions that touch its edges or are one pixel
// beyond one of them.
TEST(Capture, takesARegionThatIsWithinItsMonitor) {
    desktop::setMonitors({{{0, 0, 640, 480}}, {{-320, -240, 0, 0}}});
    SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
    const HMONITOR monitor = MonitorFromPoint({-1, -1}, MONITOR_DEFAULTTONEAREST);
    for (const CaptureRegion& region :
         {CaptureRegion{-320, -240, 0, 0}, {-320, -220, -20, 0}, {-300, -240, 0, -20}}) {
        desktop::paintDesktop([&](const desktop::Canvas& canvas) {
            std::fill_n(canvas.pixels, canvas.stride * canvas.height, 0);
            const auto paint = [&](LONG x, LONG y) {
                canvas.pixels[(y - canvas.origin.y) * canvas.stride + x - canvas.origin.x] = ~0u;
            };
            paint(region.left, region.top);
            paint(region.right - 1, region.bottom - 1);
        });
        DesktopSource source = openDesktopSource(monitor, region);
        std::vector<std::uint8_t> frame(320 * 240 * 3 / 2);
        ASSERT_TRUE(pollDesktopFrame(source, 0, frame.data()));
        EXPECT_EQ(frame[0], 235);
        EXPECT_EQ(frame[source.width * source.height - 1], 235);
    }
    for (const CaptureRegion& region : {CaptureRegion{-321, -240, -1, 0},
                                        {-320, -241, 0, -1},
                                        {-319, -240, 1, 0},
                                        {-320, -239, 0, 1}}) {
        const std::string failure = failureOf([&] { openDesktopSource(monitor, region); });
        EXPECT_EQ(failure, "Monitor layout changed; select again") << region.left << region.top;
    }
}

// The program takes a frame of the pointer alone for an image: black as the first frame, and later
// the last image again.
TEST(Capture, takesFramesInWhichOnlyThePointerMoved) {
    desktop::setMonitors({{{0, 0, 640, 480}}});
    const auto paint = [](std::uint32_t color) {
        desktop::paintDesktop([&](const desktop::Canvas& canvas) {
            std::fill_n(canvas.pixels, canvas.stride * canvas.height, color);
        });
    };
    SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
    paint(0xffffff);
    desktop::addPointerFrames(1);
    DesktopSource source =
        openDesktopSource(MonitorFromPoint({}, MONITOR_DEFAULTTONEAREST), {0, 0, 16, 16});
    const auto poll = [&] {
        std::vector<std::uint8_t> frame(16 * 16 * 3 / 2);
        return pollDesktopFrame(source, 0, frame.data()) ? frame[0] : -1;
    };
    EXPECT_EQ(poll(), 16);
    EXPECT_EQ(poll(), 235);
    paint(0);
    desktop::addPointerFrames(1);
    EXPECT_EQ(poll(), 235);
    EXPECT_EQ(poll(), 16);
    EXPECT_EQ(poll(), -1);
}

}  // namespace
