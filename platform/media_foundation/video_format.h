// What the encoder's thread and the operations in front of it say to each other.

#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>

namespace media {

struct VideoFormat {
    int width = 0, height = 0;  // even
    int rate = 0;               // pictures a second; declared, the samples have times of their own
    std::int64_t bitRate = 0;   // bits a second
};

// One NV12 picture. The bytes are never changed once a picture was handed over.
struct Picture {
    std::shared_ptr<std::uint8_t[]> bytes;
    std::int64_t time = 0, duration = 0;  // 100 ns
};

// Thrown below the published operations, which turn it into their result.
struct Failure {
    HRESULT code;
};

// Throws a failure if `result`, an answer of libavcodec or libavformat, is negative.
int checked(int result);

}  // namespace media
