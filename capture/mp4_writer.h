// Writes NV12 frames as one H.264 stream into an MP4 file: 30 frames and 12,000,000 bits a second,
// BT.601 limited range, no audio. Media Foundation must be started. Capture thread only.

#pragma once

#include <windows.h>
#include <mfidl.h>
#include <mfreadwrite.h>

#include <cstdint>

#include "common/com_pointer.h"
#include "common/wide_text.h"

// Destroying it without finalizeMp4 leaves an incomplete file.
struct Mp4Writer {
    ComPointer<IMFSinkWriter> sinkWriter;
    DWORD streamIndex = 0;
    std::int32_t width = 0;   // pixels
    std::int32_t height = 0;  // pixels
};

// Creates the file, ready for samples. Throws std::runtime_error; the caller then deletes the file,
// which may exist.
Mp4Writer openMp4Writer(const WideText& path, std::int32_t width, std::int32_t height,
                        bool preferHardware);

// Copies `length` bytes of `frameBuffer` (width * height * 3 / 2) into a sample and queues it. Time
// and duration are in units of 100 ns; times must grow. Does not wait for the encoder. Throws
// std::runtime_error.
void writeFrame(Mp4Writer& writer, const std::uint8_t* frameBuffer, std::uint32_t length,
                std::int64_t sampleTime, std::int64_t sampleDuration);

// Waits for the encoder and completes the file. To be called at most once, after at least one
// sample. Throws std::runtime_error.
void finalizeMp4(Mp4Writer& writer);
