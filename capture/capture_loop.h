// Records one rectangle of one monitor into one MP4 file.

#pragma once

#include <windows.h>

#include <atomic>

#include "common/capture_region.h"
#include "common/wide_text.h"

// Records from the first image until `stopFlag` is set, then completes the file. `region` is in
// desktop coordinates with even sides. Throws std::runtime_error with the step that failed; the
// caller then deletes the file at `targetPath`, which is incomplete or absent. Starts and ends COM
// and Media Foundation. Worker thread.
void captureToFile(HMONITOR monitor, CaptureRegion region, const WideText& targetPath,
                   const std::atomic<bool>& stopFlag);
