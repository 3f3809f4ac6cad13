// The capture loop.
//
// The output lies on a fixed grid of 30 slots a second. From the first picture on each pass writes
// exactly one sample, with the last picture again if nothing changed, and bears the time of the
// monotonic clock reduced to the grid. A late pass leaves slots empty rather than shifting what
// follows, so the clip stays true to the wall clock. Time zero is the moment the first picture was
// ready: set-up, waiting and the first conversion are outside the clip.
//
// Nothing recovers: any failure ends the recording without completing the file. Everything that is
// opened belongs to one call and is closed in the opposite order: picture, writer, source, Media
// Foundation, COM.

#include "capture/capture_loop.h"

#include <mfapi.h>
#include <objbase.h>

#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

#include "capture/desktop_source.h"
#include "capture/frame_clock.h"
#include "capture/mp4_writer.h"
#include "common/failure.h"

namespace {

constexpr std::uint32_t firstImagePoll = 35;  // milliseconds
constexpr std::uint32_t streamingPoll = 0;    // milliseconds: only the sleep holds a pass back
constexpr std::int64_t firstImageLimit = 5'000'000'000;  // nanoseconds

struct ComStart {
    ComStart() { check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "COM startup"); }
    ~ComStart() { CoUninitialize(); }
    ComStart(const ComStart&) = delete;
    ComStart& operator=(const ComStart&) = delete;
};

struct MediaStart {
    MediaStart() { check(MFStartup(MF_VERSION, MFSTARTUP_FULL), "Media Foundation startup"); }
    ~MediaStart() { MFShutdown(); }
    MediaStart(const MediaStart&) = delete;
    MediaStart& operator=(const MediaStart&) = delete;
};

std::int64_t monotonicNow() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

// What the first try has to say is dropped: without hardware it may well go.
Mp4Writer openWriter(const WideText& path, std::int32_t width, std::int32_t height) {
    try {
        return openMp4Writer(path, width, height, true);
    } catch (const std::exception&) {
        DeleteFileW(path.c_str());
    }
    return openMp4Writer(path, width, height, false);
}

void sleepUntil(std::int64_t deadline) {
    const std::int64_t now = monotonicNow();
    if (deadline > now) std::this_thread::sleep_for(std::chrono::nanoseconds(deadline - now));
}

// Whether at least one sample was written when the stop was seen. Each pass reads the clock once,
// after its poll: for the first image that reading is the origin and claims its slot too, so the
// first sample has time 0 however long the thread is held up.
bool recordUntilStopped(DesktopSource& source, Mp4Writer& writer, std::vector<std::uint8_t>& frame,
                        const std::atomic<bool>& stopFlag) {
    FrameClock clock{monotonicNow(), 0};
    bool hasFrame = false;
    while (!stopFlag) {
        const bool isNew =
            pollDesktopFrame(source, hasFrame ? streamingPoll : firstImagePoll, frame.data());
        const std::int64_t now = monotonicNow();
        if (!hasFrame && !isNew) {
            if (now - clock.origin > firstImageLimit)
                throw std::runtime_error("No desktop frame received");
            continue;
        }
        if (!hasFrame) clock.origin = now;
        const FrameSlot slot = claimSlot(clock, now);
        writeFrame(writer, frame.data(), static_cast<std::uint32_t>(frame.size()), slot.sampleTime,
                   slot.sampleDuration);
        sleepUntil(nextDeadline(clock));
        hasFrame = true;
    }
    return hasFrame;
}

}  // namespace

void captureToFile(HMONITOR monitor, CaptureRegion region, const WideText& targetPath,
                   const std::atomic<bool>& stopFlag) {
    const std::int32_t width = region.right - region.left;
    const std::int32_t height = region.bottom - region.top;
    const ComStart com;
    const MediaStart media;
    // Before the writer, so that a refused monitor or a stale region creates no file.
    DesktopSource source = openDesktopSource(monitor, region);
    Mp4Writer writer = openWriter(targetPath, width, height);
    std::vector<std::uint8_t> frame(static_cast<std::size_t>(width) * height * 3 / 2);
    if (!recordUntilStopped(source, writer, frame, stopFlag))
        throw std::runtime_error("Recording stopped before its first frame");
    finalizeMp4(writer);
}
