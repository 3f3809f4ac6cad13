// Captures under a temporary name, publishes by one rename, registers the clip.
//
// The job never waits for the user-interface thread, which may be waiting for the job to end.

#include "app/recording_job.h"

#include <windows.h>

#include <memory>
#include <stdexcept>

#include "app/application.h"
#include "capture/capture_loop.h"
#include "common/failure.h"
#include "common/messages.h"
#include "store/clip_name.h"
#include "store/retention.h"

namespace {

// Both names are in one folder, so this is a rename. It never replaces: an existing file of that
// name is not ours.
void publish(const std::filesystem::path& partial, const std::filesystem::path& clip) {
    const WideText from = partial.string<WCHAR>();
    const WideText to = clip.string<WCHAR>();
    if (!MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH)) {
        throw std::runtime_error("Cannot publish completed MP4");
    }
}

void record(CaptureRegion region, RecordingResult& result) {
    std::filesystem::path partial;
    try {
        result.clip = allocateClipPath(recordingsFolder);
        partial = partialPath(result.clip);
        captureToFile(targetMonitor, region, partial.string<WCHAR>(), stopFlag);
        publish(partial, result.clip);
    } catch (const std::exception& exception) {
        if (!partial.empty()) DeleteFileW(partial.string<WCHAR>().c_str());
        result.error = exceptionText(exception);
        result.clip.clear();
    }
}

// The clip is already published, so a failure of the ledger is only a warning.
void registerClip(RecordingResult& result) {
    try {
        registerCompletedClip(recordingsFolder, result.clip);
    } catch (const std::exception& exception) {
        result.warning = exceptionText(exception);
    }
}

// A full queue refuses the message, and the controller cannot go on without it, so the post is
// tried again for five seconds. Not forever: the main thread may be waiting for this thread instead
// of emptying its queue.
void post(std::unique_ptr<RecordingResult> result) {
    for (int attempt = 0; attempt < 100; ++attempt) {
        const auto pointer = reinterpret_cast<LPARAM>(result.get());
        if (PostMessageW(trayWindow, WM_APP_RECORDING_DONE, 0, pointer)) {
            // The receiver may have freed the record already.
            static_cast<void>(result.release());
            return;
        }
        if (!IsWindow(trayWindow)) return;
        Sleep(50);
    }
}

}  // namespace

void recordingJob(CaptureRegion region) noexcept {
    auto result = std::make_unique<RecordingResult>();
    record(region, *result);
    if (!result->clip.empty()) registerClip(*result);
    post(std::move(result));
}
