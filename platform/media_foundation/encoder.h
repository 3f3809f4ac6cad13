// Encodes frames as H.264 into an MP4 file, on a thread of its own.

#pragma once

#include <windows.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "platform/core/descriptor.h"

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;

namespace media {

struct VideoFormat {
    int width = 0, height = 0;  // even
    int rate = 0;               // frames a second, as declared: samples have times of their own
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

// Every operation throws Failure, with the system's own code if the file is the reason.
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

// NV12, width * height * 3 / 2 bytes, which never change, so equal frames can share them.
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
    // Waits until everything is encoded and in the file. To be called once.
    HRESULT finish();

private:
    enum class Order { Encode, Finish, GiveUp };
    void run();
    void endThread(Order last);
    bool takeFrame(Frame& frame);
    void encode(const Frame& frame);
    void receive();

    Mp4File& file;
    const VideoFormat format;
    const std::size_t frameBytes;

    // The thread's alone, once it runs.
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

// --- sink_writer.cpp
// Whether a sink writer has been released with samples in a file that it did not finish, since the
// last call. Any thread.
bool takeLoss();

}  // namespace media
