// Reads what a program asked for out of its attributes.

#include "platform/media_foundation/media_types.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <mfreadwrite.h>

#include <initializer_list>

namespace media {

namespace {

void refuseUnknown(const AttributeValues& attributes, std::initializer_list<GUID> known,
                   const char* operation) {
    for (const auto& [key, value] : attributes.list) {
        bool isKnown = false;
        for (const GUID& one : known) isKnown = isKnown || one == key;
        if (!isKnown) desktop::refuse(operation, "attribute", key.Data1);
    }
}

template <typename Kind>
const Kind& read(const AttributeValues& attributes, REFGUID key) {
    const Value* const value = attributes.find(key);
    const Kind* const number = value ? std::get_if<Kind>(value) : nullptr;
    if (!number) throw Failure{MF_E_INVALIDMEDIATYPE};
    return *number;
}

template <typename Kind>
void demand(const AttributeValues& attributes, REFGUID key, const Kind& known,
            const char* operation) {
    if (!(read<Kind>(attributes, key) == known))
        desktop::refuse(operation, "value of attribute", key.Data1);
}

VideoFormat readVideoType(const AttributeValues& type, REFGUID subtype, const char* operation) {
    demand(type, MF_MT_MAJOR_TYPE, MFMediaType_Video, operation);
    demand(type, MF_MT_SUBTYPE, subtype, operation);
    demand<UINT32>(type, MF_MT_YUV_MATRIX, MFVideoTransferMatrix_BT601, operation);
    demand<UINT32>(type, MF_MT_VIDEO_NOMINAL_RANGE, MFNominalRange_16_235, operation);
    demand<UINT32>(type, MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive, operation);
    demand<UINT64>(type, MF_MT_PIXEL_ASPECT_RATIO, 1ULL << 32 | 1, operation);
    const UINT64 rate = read<UINT64>(type, MF_MT_FRAME_RATE);
    const UINT64 size = read<UINT64>(type, MF_MT_FRAME_SIZE);
    if (static_cast<UINT32>(rate) != 1) desktop::refuse(operation, "frame rate", rate);

    VideoFormat format;
    format.width = static_cast<int>(size >> 32);
    format.height = static_cast<int>(size & 0xFFFFFFFF);
    format.rate = static_cast<int>(rate >> 32);
    const auto fits = [](int side) { return side >= 16 && side <= 4096 && side % 2 == 0; };
    if (!fits(format.width) || !fits(format.height)) throw Failure{MF_E_INVALIDMEDIATYPE};
    return format;
}

}  // namespace

void checkWriterAttributes(const AttributeValues& attributes) {
    const char* const operation = "MFCreateSinkWriterFromURL";
    refuseUnknown(attributes,
                  {MF_READWRITE_ENABLE_HARDWARE_TRANSFORMS, MF_SINK_WRITER_DISABLE_THROTTLING,
                   MF_TRANSCODE_CONTAINERTYPE},
                  operation);
    // There is no hardware here, so allowing it changes nothing; and no throttle, so it must have
    // been given up.
    read<UINT32>(attributes, MF_READWRITE_ENABLE_HARDWARE_TRANSFORMS);
    demand<UINT32>(attributes, MF_SINK_WRITER_DISABLE_THROTTLING, 1, operation);
    demand(attributes, MF_TRANSCODE_CONTAINERTYPE, MFTranscodeContainerType_MPEG4, operation);
}

VideoFormat readOutputType(const AttributeValues& type) {
    const char* const operation = "IMFSinkWriter::AddStream";
    refuseUnknown(type,
                  {MF_MT_MAJOR_TYPE, MF_MT_SUBTYPE, MF_MT_AVG_BITRATE, MF_MT_YUV_MATRIX,
                   MF_MT_VIDEO_NOMINAL_RANGE, MF_MT_INTERLACE_MODE, MF_MT_FRAME_SIZE,
                   MF_MT_FRAME_RATE, MF_MT_PIXEL_ASPECT_RATIO},
                  operation);
    VideoFormat format = readVideoType(type, MFVideoFormat_H264, operation);
    format.bitRate = read<UINT32>(type, MF_MT_AVG_BITRATE);
    return format;
}

VideoFormat readInputType(const AttributeValues& type) {
    const char* const operation = "IMFSinkWriter::SetInputMediaType";
    refuseUnknown(type,
                  {MF_MT_MAJOR_TYPE, MF_MT_SUBTYPE, MF_MT_YUV_MATRIX, MF_MT_VIDEO_NOMINAL_RANGE,
                   MF_MT_INTERLACE_MODE, MF_MT_FRAME_SIZE, MF_MT_FRAME_RATE,
                   MF_MT_PIXEL_ASPECT_RATIO},
                  operation);
    return readVideoType(type, MFVideoFormat_NV12, operation);
}

}  // namespace media
