// The work of one recording, from the accepted region to the published clip.

#pragma once

#include <filesystem>

#include "common/capture_region.h"
#include "common/wide_text.h"

// How a recording ended. Exactly one of `clip` and `error` is set.
struct RecordingResult {
    std::filesystem::path clip;  // the published file
    WideText error;              // why there is none
    WideText warning;            // the clip is published, but it could not be registered
};

// The worker thread's body. Blocks until `stopFlag` is raised or the capture fails, then finishes
// the file. Its last act is to post WM_APP_RECORDING_DONE with a RecordingResult that the receiver
// owns.
void recordingJob(CaptureRegion region) noexcept;
