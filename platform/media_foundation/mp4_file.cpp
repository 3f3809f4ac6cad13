// Written with libavformat through a file of our own, so that the reason why a write failed is not
// lost and tests can limit the disk.

#include "platform/media_foundation/encoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mem.h>
}

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "platform/control.h"
#include "platform/core/objects.h"
#include "platform/kernel32/files.h"

namespace media {

namespace {

constexpr int bufferBytes = 64 * 1024;

// A thirtieth of a second is no whole number of 100 ns. The file's clock keeps times on the grid of
// frames exactly, others to a thousandth of a frame.
constexpr int ticksPerFrame = 1000;

std::atomic<std::int64_t> diskLimit = -1;

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
    if (diskLimit >= 0 && lseek(self.file.get(), 0, SEEK_CUR) + count > diskLimit) {
        self.fileFailure = resultOf(ENOSPC);
        return AVERROR(ENOSPC);
    }
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
    // milliseconds. The file starts with its first sample and none is reordered, so there is
    // nothing that an edit list could say. Without the flag there is no color box, because the
    // program declares a matrix and a range but neither primaries nor a transfer curve.
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

}  // namespace media

void desktop::limitDisk(std::int64_t bytes) { media::diskLimit = bytes; }
