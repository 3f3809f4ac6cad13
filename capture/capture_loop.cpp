// The output is on a fixed grid of 30 slots a second. From the first image on, each pass writes
// exactly one sample, repeating the last image if nothing changed, at the time of the monotonic
// clock rounded down to the grid. A late pass leaves slots empty instead of shifting later samples,
// so the clip keeps pace with the wall clock. Time zero is when the first image was ready: set-up,
// waiting and the first conversion are not in the clip.
//
// There is no recovery: any failure ends the recording and leaves the file incomplete. One call
// owns everything that it opens and closes it in the opposite order: frame, writer, source, Media
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
constexpr std::uint32_t streamingPoll = 0;    // milliseconds: passes are paced by the sleep alone
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

// A failure of the first try is ignored: the software encoder may still work.
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

// Returns whether any sample was written before the stop. Each pass reads the clock once, after its
// poll. For the first image that reading is the origin and also claims the slot, so the first
// sample has time 0 even if the thread is delayed.
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
    // Before the writer: a refused monitor or an outdated region creates no file.
    DesktopSource source = openDesktopSource(monitor, region);
    Mp4Writer writer = openWriter(targetPath, width, height);
    std::vector<std::uint8_t> frame(static_cast<std::size_t>(width) * height * 3 / 2);
    if (!recordUntilStopped(source, writer, frame, stopFlag))
        throw std::runtime_error("Recording stopped before its first frame");
    finalizeMp4(writer);
}
