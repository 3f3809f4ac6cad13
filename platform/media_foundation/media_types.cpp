#include "platform/media_foundation/media_types.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <mfreadwrite.h>

#include <algorithm>

namespace media {

namespace {

// Removes what it reads, so only unknown attributes are left for refuseRest.
template <typename Kind>
Kind take(AttributeValues& attributes, REFGUID key) {
    const auto found = std::ranges::find(attributes, key, &AttributeValues::value_type::first);
    const Kind* const value =
        found == attributes.end() ? nullptr : std::get_if<Kind>(&found->second);
    if (!value) throw Failure{MF_E_INVALIDMEDIATYPE};
    const Kind taken = *value;
    attributes.erase(found);
    return taken;
}

void refuseRest(const AttributeValues& attributes, const char* operation) {
    if (!attributes.empty()) desktop::refuse(operation, "attribute", attributes[0].first.Data1);
}

template <typename Kind>
void demand(AttributeValues& attributes, REFGUID key, const Kind& known, const char* operation) {
    if (!(take<Kind>(attributes, key) == known))
        desktop::refuse(operation, "value of attribute", key.Data1);
}

VideoFormat readVideoType(AttributeValues& type, REFGUID subtype, const char* operation) {
    demand(type, MF_MT_MAJOR_TYPE, MFMediaType_Video, operation);
    demand(type, MF_MT_SUBTYPE, subtype, operation);
    demand<UINT32>(type, MF_MT_YUV_MATRIX, MFVideoTransferMatrix_BT601, operation);
    demand<UINT32>(type, MF_MT_VIDEO_NOMINAL_RANGE, MFNominalRange_16_235, operation);
    demand<UINT32>(type, MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive, operation);
    demand<UINT64>(type, MF_MT_PIXEL_ASPECT_RATIO, 1ULL << 32 | 1, operation);
    const UINT64 rate = take<UINT64>(type, MF_MT_FRAME_RATE);
    const UINT64 size = take<UINT64>(type, MF_MT_FRAME_SIZE);
    if (static_cast<UINT32>(rate) != 1) desktop::refuse(operation, "frame rate", rate);
    refuseRest(type, operation);

    VideoFormat format;
    format.width = static_cast<int>(size >> 32);
    format.height = static_cast<int>(size & 0xFFFFFFFF);
    format.rate = static_cast<int>(rate >> 32);
    const auto fits = [](int side) { return side >= 16 && side <= 4096 && side % 2 == 0; };
    if (!fits(format.width) || !fits(format.height)) throw Failure{MF_E_INVALIDMEDIATYPE};
    return format;
}

}  // namespace

void checkWriterAttributes(AttributeValues attributes) {
    const char* const operation = "MFCreateSinkWriterFromURL";
    // Without hardware the permission to use it changes nothing; without a throttle the program
    // must not rely on one.
    take<UINT32>(attributes, MF_READWRITE_ENABLE_HARDWARE_TRANSFORMS);
    demand<UINT32>(attributes, MF_SINK_WRITER_DISABLE_THROTTLING, 1, operation);
    demand(attributes, MF_TRANSCODE_CONTAINERTYPE, MFTranscodeContainerType_MPEG4, operation);
    refuseRest(attributes, operation);
}

VideoFormat readOutputType(AttributeValues type) {
    const UINT32 bitRate = take<UINT32>(type, MF_MT_AVG_BITRATE);
    VideoFormat format = readVideoType(type, MFVideoFormat_H264, "IMFSinkWriter::AddStream");
    format.bitRate = bitRate;
    return format;
}

VideoFormat readInputType(AttributeValues type) {
    return readVideoType(type, MFVideoFormat_NV12, "IMFSinkWriter::SetInputMediaType");
}

}  // namespace media

HRESULT MFCreateAttributes(IMFAttributes** attributes, UINT32 initialSize) {
    desktop::Call call("MFCreateAttributes", initialSize);
    *attributes = nullptr;
    if (call.struck()) return call.fail(E_OUTOFMEMORY);
    *attributes = (new media::Attributes)->published();
    return S_OK;
}

HRESULT MFCreateMediaType(IMFMediaType** type) {
    desktop::Call call("MFCreateMediaType");
    *type = nullptr;
    if (call.struck()) return call.fail(E_OUTOFMEMORY);
    *type = (new media::MediaType)->published();
    return S_OK;
}
