// One H.264 stream in an MP4 file.

#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "platform/core/descriptor.h"

struct AVCodecContext;
struct AVFormatContext;
struct AVPacket;

namespace media {

struct VideoFormat {
    int width = 0, height = 0;  // even
    int rate = 0;               // frames a second; declared, the samples have times of their own
    std::int64_t bitRate = 0;   // bits a second
};

// Of a sample, in units of 100 ns.
struct Interval {
    std::int64_t time = 0, duration = 0;
};

// Thrown below the published operations, which turn it into their result.
struct Failure {
    HRESULT code;
};

// Throws Failure if `result`, an answer of libavcodec or libavformat, is negative.
int checked(int result);

// Every operation throws Failure, with the system's own reason where the file is to blame.
struct Mp4File {
    explicit Mp4File(const std::string& path);  // Creates the file or empties it.
    ~Mp4File();                                 // An unfinished file stays as it is.
    Mp4File(const Mp4File&) = delete;
    Mp4File& operator=(const Mp4File&) = delete;

    // `codec` has been opened and gives the stream its properties.
    void begin(const AVCodecContext& codec);
    void write(AVPacket& packet, const Interval& shown);
    void finish();

private:
    static int writeBytes(void* target, std::uint8_t* bytes, int count);
    static std::int64_t seek(void* target, std::int64_t offset, int origin);
    void check(int result) const;

    desktop::Descriptor file;
    HRESULT fileFailure = S_OK;
    AVFormatContext* context = nullptr;
};

// Whether a sink writer has been released with samples in a file that it did not finish, since the
// last call. Any thread.
bool takeLoss();

}  // namespace media
