// The sink writer: the order of its calls, and what they accept. Encoder does the work.

#include <mfapi.h>
#include <mferror.h>
#include <mfreadwrite.h>

#include <memory>
#include <new>
#include <optional>
#include <system_error>

#include "platform/core/text.h"
#include "platform/media_foundation/encoder.h"
#include "platform/media_foundation/media_start.h"
#include "platform/media_foundation/media_types.h"
#include "platform/media_foundation/samples.h"

namespace media {

namespace {

// Runs what may throw behind a published operation and gives its result.
template <typename Work>
HRESULT guarded(Work work) {
    try {
        return work();
    } catch (const Failure& failure) {
        return failure.code;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const std::system_error&) {  // no thread to be had
        return E_OUTOFMEMORY;
    }
}

struct SinkWriter : com::ComObject<SinkWriter, IMFSinkWriter, IID_IMFSinkWriter> {
    explicit SinkWriter(const std::string& path) : file(path) { sinkWriterOpened(); }
    ~SinkWriter() {
        sinkWriterClosed();
        if (lastTime >= 0 && !isWhole) noteLoss();
    }

    HRESULT AddStream(IMFMediaType* type, DWORD* stream);
    HRESULT SetInputMediaType(DWORD stream, IMFMediaType* type, IMFAttributes* parameters);
    HRESULT BeginWriting();
    HRESULT WriteSample(DWORD stream, IMFSample* sample);
    HRESULT Finalize();

    static void fill(com::Table& table) {
        table.set(&IMFSinkWriter::AddStream, com::member<&SinkWriter::AddStream>);
        table.set(&IMFSinkWriter::SetInputMediaType, com::member<&SinkWriter::SetInputMediaType>);
        table.set(&IMFSinkWriter::BeginWriting, com::member<&SinkWriter::BeginWriting>);
        table.set(&IMFSinkWriter::WriteSample, com::member<&SinkWriter::WriteSample>);
        table.set(&IMFSinkWriter::Finalize, com::member<&SinkWriter::Finalize>);
    }

    HRESULT write(const Sample& sample);

    // The encoder's thread writes into the file, so the file outlives it.
    Mp4File file;
    std::optional<VideoFormat> output, input;
    std::unique_ptr<Encoder> encoder;
    LONGLONG lastTime = -1;
    bool isFinal = false, isWhole = false;
};

HRESULT SinkWriter::AddStream(IMFMediaType* type, DWORD* stream) {
    desktop::Call call("IMFSinkWriter::AddStream");
    if (call.struck()) return call.result(MF_E_INVALIDMEDIATYPE);
    if (output) desktop::refuse("IMFSinkWriter::AddStream", "number of streams", 2);
    return guarded([&] {
        output = readOutputType(com::objectOf<MediaType>(type)->values);
        *stream = 0;
        return S_OK;
    });
}

HRESULT SinkWriter::SetInputMediaType(DWORD stream, IMFMediaType* type, IMFAttributes* parameters) {
    desktop::Call call("IMFSinkWriter::SetInputMediaType", stream);
    if (call.struck()) return call.result(MF_E_INVALIDMEDIATYPE);
    if (parameters) desktop::refuse("IMFSinkWriter::SetInputMediaType", "parameters", 1);
    if (!output || stream != 0) return MF_E_INVALIDSTREAMNUMBER;
    if (encoder) return MF_E_INVALIDREQUEST;
    return guarded([&] {
        const VideoFormat asked = readInputType(com::objectOf<MediaType>(type)->values);
        if (asked.width != output->width || asked.height != output->height ||
            asked.rate != output->rate)
            return MF_E_INVALIDMEDIATYPE;
        input = asked;
        return S_OK;
    });
}

HRESULT SinkWriter::BeginWriting() {
    desktop::Call call("IMFSinkWriter::BeginWriting");
    if (call.struck()) return call.result(MF_E_TOPO_CODEC_NOT_FOUND);
    if (!input || encoder) return MF_E_INVALIDREQUEST;
    return guarded([&] {
        encoder = std::make_unique<Encoder>(file, *output);
        return S_OK;
    });
}

HRESULT SinkWriter::WriteSample(DWORD stream, IMFSample* sample) {
    desktop::Call call("IMFSinkWriter::WriteSample", stream);
    if (call.struck()) return call.result(E_FAIL);
    if (!encoder || isFinal) return MF_E_INVALIDREQUEST;
    if (stream != 0) return MF_E_INVALIDSTREAMNUMBER;
    return guarded([&] { return write(*com::objectOf<Sample>(sample)); });
}

HRESULT SinkWriter::write(const Sample& sample) {
    const char* const operation = "IMFSinkWriter::WriteSample";
    if (!sample.values.list.empty()) desktop::refuse(operation, "attributes of the sample", 1);
    if (!sample.time) return MF_E_NO_SAMPLE_TIMESTAMP;
    // Samples are not put in order, and none is before 0. The first may be later: the file starts
    // with it.
    if (*sample.time <= lastTime) desktop::refuse(operation, "time of the sample", *sample.time);
    if (sample.duration.value_or(0) <= 0) desktop::refuse(operation, "duration of the sample", 0);
    const DWORD length = static_cast<DWORD>(input->width * input->height * 3 / 2);
    if (!sample.buffer || sample.buffer->length != length) return E_INVALIDARG;
    if (sample.buffer->locks)
        desktop::refuse(operation, "locks of the buffer", sample.buffer->locks);
    lastTime = *sample.time;
    return encoder->submit({sample.buffer->bytes, {*sample.time, *sample.duration}});
}

HRESULT SinkWriter::Finalize() {
    desktop::Call call("IMFSinkWriter::Finalize");
    if (call.struck()) return call.result(E_FAIL);
    if (!encoder || isFinal) return MF_E_INVALIDREQUEST;
    if (lastTime < 0) desktop::refuse("IMFSinkWriter::Finalize", "number of samples", 0);
    isFinal = true;
    const HRESULT result = encoder->finish();
    isWhole = result == S_OK;
    return result;
}

}  // namespace

}  // namespace media

HRESULT MFCreateSinkWriterFromURL(LPCWSTR url, IMFByteStream* stream, IMFAttributes* attributes,
                                  IMFSinkWriter** writer) {
    desktop::Call call("MFCreateSinkWriterFromURL", url);
    *writer = nullptr;
    if (call.struck()) return call.result(E_ACCESSDENIED);
    if (!media::isStarted()) return MF_E_PLATFORM_NOT_INITIALIZED;
    if (stream) desktop::refuse("MFCreateSinkWriterFromURL", "byte stream", 1);
    if (!attributes) desktop::refuse("MFCreateSinkWriterFromURL", "attributes", 0);
    return media::guarded([&] {
        media::checkWriterAttributes(com::objectOf<media::Attributes>(attributes)->values);
        *writer = (new media::SinkWriter(desktop::toUtf8(url)))->published();
        return S_OK;
    });
}
