// Encodes frames as H.264 into a file, on a thread of its own.

#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/media_foundation/mp4_file.h"

struct AVCodecContext;
struct AVFrame;
struct AVPacket;

namespace media {

// NV12. The bytes never change, so equal frames can share them.
struct Frame {
    std::shared_ptr<std::uint8_t[]> bytes;
    Interval shown;
};

struct LibavDeleter {
    void operator()(AVCodecContext* codec) const;
    void operator()(AVFrame* frame) const;
    void operator()(AVPacket* packet) const;
};

struct Encoder {
    // Begins the file, which must outlive the encoder. Throws Failure or std::system_error.
    Encoder(Mp4File& target, const VideoFormat& video);
    ~Encoder();  // Drops the frames that still wait.
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    // Never waits for the encoder. Frames that do not fit into the queue are replaced by the last
    // one that did. The result is that of earlier frames: once one has failed, all do.
    HRESULT submit(Frame frame);
    // Waits until everything is encoded and in the file. Once.
    HRESULT finish();

private:
    enum class Order { Encode, Finish, GiveUp };
    void run();
    void endThread(Order last);
    bool takeFrame(Frame& frame);
    void encodeAll();
    void encode(const Frame& frame);
    void receive();

    Mp4File& file;
    const VideoFormat format;
    const std::size_t frameBytes;

    // Of the thread, once it runs.
    std::unique_ptr<AVCodecContext, LibavDeleter> codec;
    std::unique_ptr<AVFrame, LibavDeleter> input;
    std::unique_ptr<AVPacket, LibavDeleter> output;
    std::deque<Interval> inCodec;  // frames that the codec has not returned yet
    std::int64_t lastNumber = -1;

    std::mutex mutex;  // of everything below
    std::condition_variable changed;
    std::deque<Frame> queue;
    std::size_t buffers = 0;  // different ones in the queue
    Order order = Order::Encode;
    HRESULT failure = S_OK;

    std::thread thread;
};

}  // namespace media
