// The file is written with libavformat through functions of our own, so that the reason why a write
// failed is not lost and tests can limit the disk.
//
// The thread takes frames from a queue, encodes each with libavcodec and writes it. On a computer
// that cannot keep up the queue fills, and from then on the clip repeats frames instead of taking
// ever more memory.
//
// The thread and those of the codec are batch threads: they have their full share of the processors
// but never interrupt another thread when they wake up, so the capture keeps its time. A lower
// priority would starve them on a busy computer, and only root may raise one again.

#include "platform/media_foundation/encoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mem.h>
}

#include <fcntl.h>
#include <mferror.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <exception>
#include <future>
#include <utility>

#include "platform/control.h"
#include "platform/core/objects.h"
#include "platform/kernel32/files.h"

namespace media {

namespace {

// 20 frames of 3840 x 2160, 82 of 1920 x 1080.
constexpr std::size_t queueBytes = 256'000'000;

std::atomic<bool> held = false;

constexpr int bufferBytes = 64 * 1024;

// A thirtieth of a second is not a whole number of 100 ns. The file's clock keeps times on the grid
// of frames exactly, others to a thousandth of a frame.
constexpr int ticksPerFrame = 1000;

HRESULT resultOf(int error) { return HRESULT_FROM_WIN32(kernel32::errorCode(error)); }

// A writer's file can be read by others while it is written, but neither changed nor deleted.
desktop::Descriptor createFile(const std::string& path) {
    desktop::Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
    if (!file) throw Failure{HRESULT_FROM_WIN32(kernel32::errorCode(errno, path))};
    if (!kernel32::shareFile(file.get(), GENERIC_WRITE, FILE_SHARE_READ) ||
        ftruncate(file.get(), 0) != 0)
        throw Failure{HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION)};
    return file;
}

void becomeBatchThread() {
    const sched_param unused{};
    pthread_setschedparam(pthread_self(), SCHED_BATCH, &unused);
}

// The codec's threads inherit the kind of the calling thread.
AVCodecContext* openCodec(const VideoFormat& format) {
    becomeBatchThread();
    const AVCodec* const x264 = avcodec_find_encoder_by_name("libx264");
    if (!x264) throw Failure{MF_E_TOPO_CODEC_NOT_FOUND};
    std::unique_ptr<AVCodecContext, LibavDeleter> codec(avcodec_alloc_context3(x264));
    if (!codec) throw Failure{E_OUTOFMEMORY};
    const int pixels = format.width * format.height;
    codec->width = format.width;
    codec->height = format.height;
    codec->pix_fmt = AV_PIX_FMT_NV12;
    codec->time_base = {1, format.rate};
    codec->framerate = {format.rate, 1};
    codec->sample_aspect_ratio = {1, 1};
    codec->bit_rate = format.bitRate;
    codec->gop_size = 2 * format.rate;
    codec->colorspace = AVCOL_SPC_SMPTE170M;
    codec->color_range = AVCOL_RANGE_MPEG;
    codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    codec->thread_count = pixels > 1920 * 1080 ? 2 : 1;
    // Nobody sees a finer quantizer, and with one a still desktop would be refined forever.
    codec->qmin = 10;
    // Baseline without reordering is what the platform's own encoder makes if no profile is given.
    AVDictionary* options = nullptr;
    av_dict_set(&options, "preset", pixels > 1280 * 720 ? "ultrafast" : "superfast", 0);
    av_dict_set(&options, "profile", "baseline", 0);
    // Two threads share a frame instead of having one each, which would keep one more in memory.
    av_dict_set(&options, "x264-params",
                "scenecut=0:ref=1:aq-mode=0:mbtree=0:rc-lookahead=0:sync-lookahead=0:"
                "sliced-threads=1",
                0);
    const int result = avcodec_open2(codec.get(), x264, &options);
    av_dict_free(&options);
    checked(result);
    return codec.release();
}

void releaseBytes(void* reference, std::uint8_t*) {
    delete static_cast<std::shared_ptr<std::uint8_t[]>*>(reference);
}

}  // namespace

int checked(int result) {
    if (result >= 0) return result;
    throw Failure{result == AVERROR(ENOMEM) ? E_OUTOFMEMORY : E_FAIL};
}

Mp4File::Mp4File(const std::string& path) : file(createFile(path)) { desktop::opened("File"); }

Mp4File::~Mp4File() {
    if (context && context->pb) {
        av_freep(&context->pb->buffer);
        avio_context_free(&context->pb);
    }
    avformat_free_context(context);
    file = desktop::Descriptor();
    desktop::closed("File");
}

int Mp4File::writeBytes(void* target, std::uint8_t* bytes, int count) {
    Mp4File& self = *static_cast<Mp4File*>(target);
    for (int written = 0; written < count;) {
        const ssize_t step = ::write(self.file.get(), bytes + written, count - written);
        if (step >= 0)
            written += static_cast<int>(step);
        else if (errno != EINTR) {
            self.fileFailure = resultOf(errno);
            return AVERROR(errno);
        }
    }
    return count;
}

std::int64_t Mp4File::seek(void* target, std::int64_t offset, int origin) {
    // The size, which libavformat does not need here, is no origin for the system.
    const int descriptor = static_cast<Mp4File*>(target)->file.get();
    const std::int64_t position = lseek(descriptor, offset, origin & ~AVSEEK_FORCE);
    return position < 0 ? AVERROR(errno) : position;
}

// libavformat reports a failed write a call or two later and without the system's reason, so the
// noted one comes first.
void Mp4File::check(int result) const {
    if (FAILED(fileFailure)) throw Failure{fileFailure};
    checked(result);
}

void Mp4File::begin(const AVCodecContext& codec) {
    checked(avformat_alloc_output_context2(&context, nullptr, "mp4", nullptr));
    auto* const buffer = static_cast<std::uint8_t*>(av_malloc(bufferBytes));
    context->pb = buffer
                      ? avio_alloc_context(buffer, bufferBytes, 1, this, nullptr, writeBytes, seek)
                      : nullptr;
    AVStream* const stream = avformat_new_stream(context, nullptr);
    if (!context->pb || !stream) throw Failure{E_OUTOFMEMORY};
    checked(avcodec_parameters_from_context(stream->codecpar, &codec));
    stream->time_base = {1, ticksPerFrame * codec.framerate.num};
    stream->avg_frame_rate = codec.framerate;
    stream->sample_aspect_ratio = codec.sample_aspect_ratio;

    // The movie's own clock is as fine as the track's, so that the length is not rounded to
    // milliseconds. The file starts with its first sample and none is reordered, so an edit list
    // would say nothing. The flag is needed for a color box, because the program declares a matrix
    // and a range but neither primaries nor a transfer curve.
    AVDictionary* options = nullptr;
    av_dict_set_int(&options, "movie_timescale", stream->time_base.den, 0);
    av_dict_set(&options, "use_editlist", "0", 0);
    av_dict_set(&options, "movflags", "+write_colr", 0);
    const int result = avformat_write_header(context, &options);
    av_dict_free(&options);
    check(result);
}

void Mp4File::write(AVPacket& packet, const Interval& shown) {
    const auto ticks = [this](std::int64_t time) {
        return av_rescale_q(time, {1, 10'000'000}, context->streams[0]->time_base);
    };
    packet.pts = packet.dts = ticks(shown.time);
    packet.duration = ticks(shown.time + shown.duration) - packet.pts;
    check(av_write_frame(context, &packet));
}

void Mp4File::finish() {
    const int result = av_write_trailer(context);
    avio_flush(context->pb);
    check(result);
}

void LibavDeleter::operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
void LibavDeleter::operator()(AVFrame* frame) const { av_frame_free(&frame); }
void LibavDeleter::operator()(AVPacket* packet) const { av_packet_free(&packet); }

Encoder::Encoder(Mp4File& target, const VideoFormat& video)
    : file(target), format(video),
      frameBytes(static_cast<std::size_t>(video.width) * video.height * 3 / 2),
      codec(std::async(std::launch::async, openCodec, video).get()), input(av_frame_alloc()),
      output(av_packet_alloc()) {
    if (!input || !output) throw Failure{E_OUTOFMEMORY};
    file.begin(*codec);
    thread = std::thread([this] { run(); });
}

Encoder::~Encoder() { endThread(Order::GiveUp); }

// While nothing waits, the encoder keeps up and a comparison would only take time.
HRESULT Encoder::submit(Frame frame) {
    const std::lock_guard lock(mutex);
    if (FAILED(failure)) return failure;
    const bool isFull = (buffers + 1) * frameBytes > queueBytes;
    if (!queue.empty() &&
        (isFull || std::memcmp(frame.bytes.get(), queue.back().bytes.get(), frameBytes) == 0))
        frame.bytes = queue.back().bytes;
    else
        ++buffers;
    queue.push_back(std::move(frame));
    changed.notify_one();
    return S_OK;
}

HRESULT Encoder::finish() {
    endThread(Order::Finish);
    return failure;
}

void Encoder::endThread(Order last) {
    if (!thread.joinable()) return;
    {
        const std::lock_guard lock(mutex);
        order = last;
    }
    changed.notify_one();
    thread.join();
}

// False when there will be no more.
bool Encoder::takeFrame(Frame& frame) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return !queue.empty() || order != Order::Encode; });
    if (order == Order::GiveUp || queue.empty()) return false;
    frame = std::move(queue.front());
    queue.pop_front();
    if (queue.empty() || queue.front().bytes != frame.bytes) --buffers;
    return true;
}

// The codec holds a reference to the bytes for as long as it reads them. It counts in frames of the
// declared rate; the file has the times.
void Encoder::encode(const Frame& frame) {
    std::uint8_t* const luma = frame.bytes.get();
    input->format = codec->pix_fmt;
    input->width = format.width;
    input->height = format.height;
    input->color_range = codec->color_range;
    input->colorspace = codec->colorspace;
    const std::int64_t number = (frame.shown.time * format.rate + 5'000'000) / 10'000'000;
    input->pts = lastNumber = std::max(number, lastNumber + 1);
    input->data[0] = luma;
    input->data[1] = luma + static_cast<std::size_t>(format.width) * format.height;
    input->linesize[0] = input->linesize[1] = format.width;
    input->buf[0] =
        av_buffer_create(luma, frameBytes, releaseBytes,
                         new std::shared_ptr<std::uint8_t[]>(frame.bytes), AV_BUFFER_FLAG_READONLY);
    inCodec.push_back(frame.shown);
    const int result = avcodec_send_frame(codec.get(), input.get());
    av_frame_unref(input.get());
    checked(result);
    receive();
}

void Encoder::receive() {
    int result = 0;
    while ((result = avcodec_receive_packet(codec.get(), output.get())) >= 0) {
        file.write(*output, inCodec.front());
        inCodec.pop_front();
        av_packet_unref(output.get());
    }
    if (result != AVERROR(EAGAIN) && result != AVERROR_EOF) checked(result);
}

void Encoder::run() {
    becomeBatchThread();
    HRESULT result = S_OK;
    try {
        for (Frame frame; takeFrame(frame); frame = {}) {
            held.wait(true);
            encode(frame);
        }
        if (order != Order::GiveUp) {
            checked(avcodec_send_frame(codec.get(), nullptr));
            receive();
            file.finish();
        }
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

namespace desktop {

void holdEncoder(bool hold) {
    media::held = hold;
    media::held.notify_all();
}

}  // namespace desktop
