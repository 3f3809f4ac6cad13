// One recording, from the accepted region to the published clip.

#pragma once

#include <filesystem>

#include "common/capture_region.h"
#include "common/wide_text.h"

// How a recording ended. Exactly one of `clip` and `error` is set.
struct RecordingResult {
    std::filesystem::path clip;  // the published file
    WideText error;              // why there is no clip
    WideText warning;            // the clip is published, but it could not be registered
};

// The worker thread's body. Records until `stopFlag` is true or the capture fails, and completes
// the file. Finally posts WM_APP_RECORDING_DONE with a RecordingResult, which the receiver owns.
void recordingJob(CaptureRegion region) noexcept;
