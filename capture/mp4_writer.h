// Writes NV12 pictures as one H.264 stream into an MP4 file: 30/1, 12,000,000 bits a second, BT.601
// limited range, no audio. Media Foundation must have been started. Capture thread only.

#pragma once

#include <windows.h>
#include <mfidl.h>
#include <mfreadwrite.h>

#include <cstdint>

#include "common/com_pointer.h"
#include "common/wide_text.h"

// Destroying it releases the writer. Without finalizeMp4 the file is then incomplete.
struct Mp4Writer {
    ComPointer<IMFSinkWriter> sinkWriter;
    DWORD streamIndex = 0;
    std::int32_t width = 0;   // pixels
    std::int32_t height = 0;  // pixels
};

// Creates the file and is ready for samples. Throws std::runtime_error; a file that was created by
// then stays for the caller to delete.
Mp4Writer openMp4Writer(const WideText& path, std::int32_t width, std::int32_t height,
                        bool preferHardware);

// Writes a copy of `length` bytes of `frameBuffer` (width * height * 3 / 2). Time and duration are
// in 100 ns units; times must grow. Does not wait for the encoder. Throws std::runtime_error.
void writeFrame(Mp4Writer& writer, const std::uint8_t* frameBuffer, std::uint32_t length,
                std::int64_t sampleTime, std::int64_t sampleDuration);

// Waits for the encoder and completes the file: at most once, after at least one sample. Throws
// std::runtime_error.
void finalizeMp4(Mp4Writer& writer);
