// The thread behind a sink writer: samples go in without waiting, an MP4 file comes out.

#include "platform/media_foundation/clip_encoder.h"

#include <unistd.h>

#include <exception>
#include <optional>
#include <utility>

namespace media {

ClipEncoder::ClipEncoder(Mp4File& target, const VideoFormat& format) : file(target) {
    std::promise<void> opened;
    std::future<void> isOpen = opened.get_future();
    thread = std::thread(
        [this, format, opened = std::move(opened)]() mutable { run(format, std::move(opened)); });
    try {
        isOpen.get();
    } catch (...) {
        thread.join();
        throw;
    }
}

ClipEncoder::~ClipEncoder() { endThread(Order::GiveUp); }

HRESULT ClipEncoder::submit(Picture picture) {
    const std::lock_guard lock(mutex);
    if (FAILED(failure)) return failure;
    queue.push_back(std::move(picture));
    changed.notify_one();
    return S_OK;
}

HRESULT ClipEncoder::finish() {
    endThread(Order::Finish);
    return failure;
}

void ClipEncoder::endThread(Order last) {
    if (!thread.joinable()) return;
    {
        const std::lock_guard lock(mutex);
        order = last;
    }
    changed.notify_one();
    thread.join();
}

// False when there will be no more.
bool ClipEncoder::takePicture(Picture& picture) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return !queue.empty() || order != Order::Encode; });
    if (order == Order::GiveUp || queue.empty()) return false;
    picture = std::move(queue.front());
    queue.pop_front();
    return true;
}

void ClipEncoder::encodeAll(H264Encoder& encoder) {
    const auto write = [this](const EncodedPicture& encoded) { file.write(encoded); };
    for (Picture picture; takePicture(picture);) encoder.encode(picture, write);
    if (order == Order::GiveUp) return;
    encoder.finish(write);
    file.finish();
}

// The encoder is opened here, because its own threads inherit the priority of the one that opens
// it.
void ClipEncoder::run(const VideoFormat& format, std::promise<void> opened) {
    if (isLarge(format)) nice(5);  // On Linux that is this thread alone.
    std::optional<H264Encoder> encoder;
    try {
        encoder.emplace(format);
        file.begin(format, encoder->headers());
        opened.set_value();
    } catch (...) {
        opened.set_exception(std::current_exception());
        return;
    }
    HRESULT result = S_OK;
    try {
        encodeAll(*encoder);
    } catch (const Failure& met) {
        result = met.code;
    } catch (const std::exception&) {
        result = E_OUTOFMEMORY;
    }
    const std::lock_guard lock(mutex);
    failure = result;
    queue.clear();
}

}  // namespace media
