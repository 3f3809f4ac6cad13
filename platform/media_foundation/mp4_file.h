// One H.264 stream in an MP4 file.

#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "platform/media_foundation/video_format.h"

struct AVFormatContext;

namespace media {

struct EncodedPicture {
    std::span<const std::uint8_t> bytes;  // with start codes
    std::int64_t time = 0, duration = 0;  // 100 ns
    bool isKey = false;
};

// Every operation throws Failure, with the system's own reason where the file is to blame.
struct Mp4File {
    explicit Mp4File(const std::string& path);  // Creates the file or empties it.
    ~Mp4File();                                 // What was not finished stays behind as it is.
    Mp4File(const Mp4File&) = delete;
    Mp4File& operator=(const Mp4File&) = delete;

    // `headers`: sequence and picture parameter sets, with start codes.
    void begin(const VideoFormat& format, std::span<const std::uint8_t> headers);
    void write(const EncodedPicture& picture);
    void finish();

private:
    static int writeBytes(void* file, std::uint8_t* bytes, int count);
    static std::int64_t seek(void* file, std::int64_t offset, int origin);
    void check(int result) const;

    int descriptor = -1;
    HRESULT fileFailure = S_OK;
    AVFormatContext* context = nullptr;
};

}  // namespace media
