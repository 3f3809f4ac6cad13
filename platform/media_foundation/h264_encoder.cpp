// Turns NV12 pictures into an H.264 stream with libavcodec.
//
// Baseline, without reordering: what the platform's own encoder gives when no profile is asked for.

#include "platform/media_foundation/h264_encoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

#include <mferror.h>

#include <cstring>

namespace media {

namespace {

constexpr std::int64_t keyDistance = 20'000'000;  // 2 s

// So many equal pictures go through the encoder before they count as repeats: they bring the blocks
// that moved last from the coarse form of a moving picture to their full quality.
constexpr int equalBeforeRepeat = 6;

// The fastest settings for what two cores cannot do otherwise at 30 pictures a second.
const char* presetFor(const VideoFormat& format) {
    return format.width * format.height > 1280 * 720 ? "ultrafast" : "superfast";
}

void releaseBytes(void* held, std::uint8_t*) {
    delete static_cast<std::shared_ptr<std::uint8_t[]>*>(held);
}

AVCodecContext* openCodec(const VideoFormat& format) {
    const AVCodec* const x264 = avcodec_find_encoder_by_name("libx264");
    if (!x264) throw Failure{MF_E_TOPO_CODEC_NOT_FOUND};
    AVCodecContext* codec = avcodec_alloc_context3(x264);
    if (!codec) throw Failure{E_OUTOFMEMORY};
    codec->width = format.width;
    codec->height = format.height;
    codec->pix_fmt = AV_PIX_FMT_NV12;
    codec->time_base = {1, 10'000'000};
    codec->framerate = {format.rate, 1};
    codec->sample_aspect_ratio = {1, 1};
    codec->bit_rate = format.bitRate;
    codec->colorspace = AVCOL_SPC_SMPTE170M;
    codec->color_range = AVCOL_RANGE_MPEG;
    codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    codec->thread_count = isLarge(format) ? 2 : 1;
    codec->qmin =
        10;  // What is sharper than that is not seen, and a still picture would never come to rest.
    AVDictionary* options = nullptr;
    av_dict_set(&options, "preset", presetFor(format), 0);
    av_dict_set(&options, "profile", "baseline", 0);
    av_dict_set(&options, "forced-idr", "1", 0);
    av_dict_set(
        &options, "x264-params",
        "keyint=infinite:scenecut=0:ref=1:aq-mode=0:mbtree=0:rc-lookahead=0:sync-lookahead=0", 0);
    const int result = avcodec_open2(codec, x264, &options);
    av_dict_free(&options);
    if (result < 0) avcodec_free_context(&codec);
    checked(result);
    return codec;
}

}  // namespace

void CodecCloser::operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
void CodecCloser::operator()(AVFrame* frame) const { av_frame_free(&frame); }
void CodecCloser::operator()(AVPacket* packet) const { av_packet_free(&packet); }

H264Encoder::H264Encoder(const VideoFormat& asked)
    : format(asked), codec(openCodec(asked)), frame(av_frame_alloc()), packet(av_packet_alloc()),
      repeated(headers()) {
    if (!frame || !packet) throw Failure{E_OUTOFMEMORY};
}

std::span<const std::uint8_t> H264Encoder::headers() const {
    return {codec->extradata, static_cast<std::size_t>(codec->extradata_size)};
}

bool H264Encoder::equalsLast(const Picture& picture) const {
    const std::size_t length = static_cast<std::size_t>(format.width) * format.height * 3 / 2;
    return last.bytes && std::memcmp(last.bytes.get(), picture.bytes.get(), length) == 0;
}

void H264Encoder::encode(const Picture& picture, const Output& output) {
    const bool keyIsDue = !last.bytes || picture.time - lastKeyTime >= keyDistance;
    equalInARow = equalsLast(picture) ? equalInARow + 1 : 0;
    const bool isRepeat = equalInARow > equalBeforeRepeat && !keyIsDue;
    pending.push_back({picture.time, picture.duration, isRepeat});
    if (isRepeat) return putOutRepeats(output);
    if (keyIsDue) lastKeyTime = picture.time;
    last = picture;
    send(picture, keyIsDue);
    receive(output);
}

void H264Encoder::finish(const Output& output) {
    checked(avcodec_send_frame(codec.get(), nullptr));
    receive(output);
}

// The picture's bytes are lent to the codec, which lets go of them when it has no more use for
// them.
void H264Encoder::send(const Picture& picture, bool asKey) {
    std::uint8_t* const luma = picture.bytes.get();
    const std::size_t size = static_cast<std::size_t>(format.width) * format.height;
    frame->format = AV_PIX_FMT_NV12;
    frame->width = format.width;
    frame->height = format.height;
    frame->pts = picture.time;
    frame->pict_type = asKey ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    frame->color_range = codec->color_range;
    frame->colorspace = codec->colorspace;
    frame->data[0] = luma;
    frame->data[1] = luma + size;
    frame->linesize[0] = frame->linesize[1] = format.width;
    auto* const held = new std::shared_ptr<std::uint8_t[]>(picture.bytes);
    frame->buf[0] =
        av_buffer_create(luma, size * 3 / 2, releaseBytes, held, AV_BUFFER_FLAG_READONLY);
    const int result = avcodec_send_frame(codec.get(), frame.get());
    av_frame_unref(frame.get());
    checked(result);
}

void H264Encoder::receive(const Output& output) {
    int result = 0;
    while ((result = avcodec_receive_packet(codec.get(), packet.get())) >= 0) {
        const Pending picture = pending.front();
        pending.pop_front();
        const std::span<std::uint8_t> bytes{packet->data, static_cast<std::size_t>(packet->size)};
        repeated.renumber(bytes);
        output({bytes, picture.time, picture.duration, (packet->flags & AV_PKT_FLAG_KEY) != 0});
        av_packet_unref(packet.get());
        putOutRepeats(output);
    }
    if (result != AVERROR(EAGAIN) && result != AVERROR_EOF) checked(result);
}

// Those whose turn it is: a picture that the codec still works on comes first.
void H264Encoder::putOutRepeats(const Output& output) {
    for (; !pending.empty() && pending.front().isRepeat; pending.pop_front())
        output({repeated.repeat(), pending.front().time, pending.front().duration, false});
}

}  // namespace media
