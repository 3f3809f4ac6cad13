// Turns NV12 pictures into an H.264 stream.

#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <span>

#include "platform/media_foundation/mp4_file.h"
#include "platform/media_foundation/repeated_picture.h"
#include "platform/media_foundation/video_format.h"

struct AVCodecContext;
struct AVFrame;
struct AVPacket;

namespace media {

struct CodecCloser {
    void operator()(AVCodecContext* codec) const;
    void operator()(AVFrame* frame) const;
    void operator()(AVPacket* packet) const;
};

// Larger than what one of two processors encodes 30 times a second with ease.
inline bool isLarge(const VideoFormat& format) {
    return format.width * format.height > 1920 * 1080;
}

// One thread at a time. Every operation throws Failure, the constructor too. Encoded pictures come
// out in the order of the pictures, some calls later.
struct H264Encoder {
    using Output = std::function<void(const EncodedPicture&)>;

    explicit H264Encoder(const VideoFormat& format);
    std::span<const std::uint8_t> headers() const;
    void encode(const Picture& picture, const Output& output);
    void finish(const Output& output);

private:
    struct Pending {
        std::int64_t time, duration;
        bool isRepeat;
    };
    bool equalsLast(const Picture& picture) const;
    void send(const Picture& picture, bool asKey);
    void receive(const Output& output);
    void putOutRepeats(const Output& output);

    VideoFormat format;
    std::unique_ptr<AVCodecContext, CodecCloser> codec;
    std::unique_ptr<AVFrame, CodecCloser> frame;
    std::unique_ptr<AVPacket, CodecCloser> packet;
    RepeatedPictures repeated;
    std::deque<Pending> pending;
    Picture last;
    int equalInARow = 0;
    std::int64_t lastKeyTime = 0;
};

}  // namespace media
