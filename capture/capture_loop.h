// Records one rectangle of one monitor into one MP4 file.

#pragma once

#include <windows.h>

#include <atomic>

#include "common/capture_region.h"
#include "common/wide_text.h"

// Records from the first picture on until `stopFlag` is seen, at the latest one slot of 1/30 s
// after it was raised, and then completes the file. `region` is in desktop coordinates with even
// sides. Throws std::runtime_error with the step that failed; the file at `targetPath` is then
// incomplete or absent, for the caller to delete. Starts COM and Media Foundation for itself.
// Worker thread.
void captureToFile(HMONITOR monitor, CaptureRegion region, const WideText& targetPath,
                   const std::atomic<bool>& stopFlag);
