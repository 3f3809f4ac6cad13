// Every step of the set-up has its own label, so a failure names the step that the platform or its
// encoder refused.

#include "capture/mp4_writer.h"

#include <mfapi.h>

#include <cstring>

#include "common/failure.h"

namespace {

constexpr UINT32 bitRate = 12'000'000;
constexpr UINT32 framesPerSecond = 30;

struct PictureLabels {
    const char* matrix;
    const char* range;
    const char* interlace;
    const char* size;
    const char* rate;
    const char* aspect;
};
constexpr PictureLabels outputLabels{"Output color matrix", "Output color range", "Progressive",
                                     "Output size",         "Output fps",         "Output aspect"};
constexpr PictureLabels inputLabels{"Input color matrix", "Input color range", "Input progressive",
                                    "Input size",         "Input fps",         "Input aspect"};

constexpr UINT64 pack(UINT32 upper, UINT32 lower) {
    return static_cast<UINT64>(upper) << 32 | lower;
}

// Must be equal for input and output.
void describePicture(IMFMediaType* type, const Mp4Writer& writer, const PictureLabels& labels) {
    const UINT64 size = pack(static_cast<UINT32>(writer.width), static_cast<UINT32>(writer.height));
    check(type->SetUINT32(MF_MT_YUV_MATRIX, MFVideoTransferMatrix_BT601), labels.matrix);
    check(type->SetUINT32(MF_MT_VIDEO_NOMINAL_RANGE, MFNominalRange_16_235), labels.range);
    check(type->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive), labels.interlace);
    check(type->SetUINT64(MF_MT_FRAME_SIZE, size), labels.size);
    check(type->SetUINT64(MF_MT_FRAME_RATE, pack(framesPerSecond, 1)), labels.rate);
    check(type->SetUINT64(MF_MT_PIXEL_ASPECT_RATIO, pack(1, 1)), labels.aspect);
}

// Without throttling, WriteSample never blocks the capture loop; a backlog is kept in memory.
void describeWriter(IMFAttributes* attributes, bool preferHardware) {
    check(attributes->SetUINT32(MF_READWRITE_ENABLE_HARDWARE_TRANSFORMS, preferHardware ? 1 : 0),
          "Hardware preference");
    check(attributes->SetUINT32(MF_SINK_WRITER_DISABLE_THROTTLING, 1), "Encoder throttle");
    check(attributes->SetGUID(MF_TRANSCODE_CONTAINERTYPE, MFTranscodeContainerType_MPEG4),
          "MP4 container");
}

void createOutputType(const Mp4Writer& writer, ComPointer<IMFMediaType>& type) {
    check(MFCreateMediaType(type.put()), "Output type");
    check(type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video), "Video type");
    check(type->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_H264), "H264");
    check(type->SetUINT32(MF_MT_AVG_BITRATE, bitRate), "Bitrate");
    describePicture(type.get(), writer, outputLabels);
}

void createInputType(const Mp4Writer& writer, ComPointer<IMFMediaType>& type) {
    check(MFCreateMediaType(type.put()), "Input type");
    check(type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video), "Input video");
    check(type->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_NV12), "NV12");
    describePicture(type.get(), writer, inputLabels);
}

void fillBuffer(IMFMediaBuffer* buffer, const std::uint8_t* bytes, std::uint32_t length) {
    BYTE* target = nullptr;
    check(buffer->Lock(&target, nullptr, nullptr), "Lock buffer");
    std::memcpy(target, bytes, length);
    check(buffer->Unlock(), "Unlock buffer");
    check(buffer->SetCurrentLength(length), "Buffer length");
}

}  // namespace

Mp4Writer openMp4Writer(const WideText& path, std::int32_t width, std::int32_t height,
                        bool preferHardware) {
    // Released in the opposite order; on success the writer remains.
    Mp4Writer writer{{}, 0, width, height};
    ComPointer<IMFAttributes> attributes;
    ComPointer<IMFMediaType> output;
    ComPointer<IMFMediaType> input;
    check(MFCreateAttributes(attributes.put(), 4), "Encoder attributes");
    describeWriter(attributes.get(), preferHardware);
    check(
        MFCreateSinkWriterFromURL(path.c_str(), nullptr, attributes.get(), writer.sinkWriter.put()),
        "Create MP4");
    createOutputType(writer, output);
    check(writer.sinkWriter->AddStream(output.get(), &writer.streamIndex), "H264 stream");
    createInputType(writer, input);
    check(writer.sinkWriter->SetInputMediaType(writer.streamIndex, input.get(), nullptr),
          "Encoder input");
    check(writer.sinkWriter->BeginWriting(), "Start encoder");
    return writer;
}

void writeFrame(Mp4Writer& writer, const std::uint8_t* frameBuffer, std::uint32_t length,
                std::int64_t sampleTime, std::int64_t sampleDuration) {
    // Every sample has its own buffer: the encoder may use it long after WriteSample.
    ComPointer<IMFMediaBuffer> buffer;
    ComPointer<IMFSample> sample;
    check(MFCreateMemoryBuffer(length, buffer.put()), "Frame buffer");
    fillBuffer(buffer.get(), frameBuffer, length);
    check(MFCreateSample(sample.put()), "Frame sample");
    check(sample->AddBuffer(buffer.get()), "Sample buffer");
    check(sample->SetSampleTime(sampleTime), "Frame timestamp");
    check(sample->SetSampleDuration(sampleDuration), "Frame duration");
    check(writer.sinkWriter->WriteSample(writer.streamIndex, sample.get()), "Encode frame");
}

void finalizeMp4(Mp4Writer& writer) { check(writer.sinkWriter->Finalize(), "Finalize MP4"); }
