// The thread behind a sink writer: samples go in without waiting, an MP4 file comes out.
//
// With large pictures the thread gives way to others: where the processors cannot do both, pictures
// wait in memory to be encoded, but none is missed.

#pragma once

#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <thread>

#include "platform/media_foundation/h264_encoder.h"
#include "platform/media_foundation/mp4_file.h"

namespace media {

struct ClipEncoder {
    // Throws Failure or std::system_error. `target` must outlive the encoder and is the thread's
    // until then.
    ClipEncoder(Mp4File& target, const VideoFormat& format);
    ~ClipEncoder();  // Gives up what is not encoded yet.
    ClipEncoder(const ClipEncoder&) = delete;
    ClipEncoder& operator=(const ClipEncoder&) = delete;

    // Never waits for the encoder. The result is that of the pictures before: once one has failed,
    // all do.
    HRESULT submit(Picture picture);
    // Waits until everything is encoded and in the file. Once.
    HRESULT finish();

private:
    enum class Order { Encode, Finish, GiveUp };
    void run(const VideoFormat& format, std::promise<void> opened);
    bool takePicture(Picture& picture);
    void encodeAll(H264Encoder& encoder);
    void endThread(Order order);

    Mp4File& file;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Picture> queue;
    Order order = Order::Encode;
    HRESULT failure = S_OK;
    std::thread thread;
};

}  // namespace media
