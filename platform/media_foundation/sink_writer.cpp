// The media services, samples and their buffers, and the sink writer: the order of its calls, and
// what they accept. Encoder does the work.

#include <mfapi.h>
#include <mferror.h>
#include <mfreadwrite.h>

extern "C" {
#include <libavutil/log.h>
}

#include <array>
#include <atomic>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/core/objects.h"
#include "platform/core/text.h"
#include "platform/media_foundation/encoder.h"
#include "platform/media_foundation/media_types.h"

namespace media {

namespace {

std::atomic<int> starts = 0;
std::atomic<int> sinkWriters = 0;
std::atomic<bool> loss = false;

// The memory of finished frames serves the next ones: in new memory each page costs a fault.
struct Spare {
    std::mutex mutex;
    std::array<std::unique_ptr<std::uint8_t[]>, 3> frames;
    std::size_t count = 0;  // The others are null.
    DWORD size = 0;         // of each
} spare;

std::shared_ptr<std::uint8_t[]> takeBytes(DWORD size) {
    const auto keep = [size](std::uint8_t* done) {
        std::unique_ptr<std::uint8_t[]> bytes(done);
        const std::lock_guard lock(spare.mutex);
        if (size == spare.size && spare.count < spare.frames.size())
            spare.frames[spare.count++] = std::move(bytes);
    };
    std::unique_ptr<std::uint8_t[]> bytes;
    {
        const std::lock_guard lock(spare.mutex);
        if (size != spare.size)
            while (spare.count > 0) spare.frames[--spare.count].reset();
        spare.size = size;
        if (spare.count > 0) bytes = std::move(spare.frames[--spare.count]);
    }
    if (!bytes) bytes.reset(new std::uint8_t[size]);
    return {bytes.release(), keep};  // Without memory for the count, `keep` runs here.
}

struct MemoryBuffer : com::ComObject<MemoryBuffer, IMFMediaBuffer, IID_IMFMediaBuffer> {
    // The bytes are not cleared: the program fills them, 30 times a second. Throws std::bad_alloc.
    explicit MemoryBuffer(DWORD size) : bytes(takeBytes(size)), capacity(size) {}
    ~MemoryBuffer() {
        if (isLocked) desktop::closed("LockedBuffer");
    }

    HRESULT Lock(BYTE** start, DWORD* maximum, DWORD* current) {
        desktop::Call call("IMFMediaBuffer::Lock");
        call.only("lengths or second lock", maximum || current || isLocked, false);
        *start = nullptr;
        if (call.struck()) return call.fail(E_FAIL);
        *start = bytes.get();
        isLocked = true;
        desktop::opened("LockedBuffer");
        return S_OK;
    }
    HRESULT Unlock() {
        desktop::Call call("IMFMediaBuffer::Unlock");
        call.only("lock", isLocked, true);
        if (call.struck()) return call.fail(E_FAIL);
        isLocked = false;
        desktop::closed("LockedBuffer");
        return S_OK;
    }
    HRESULT SetCurrentLength(DWORD current) {
        desktop::Call call("IMFMediaBuffer::SetCurrentLength", current);
        if (call.struck()) return call.fail(E_FAIL);
        if (current > capacity) return E_INVALIDARG;
        length = current;
        return S_OK;
    }

    static void fill(com::Table& table) {
        table.set<&IMFMediaBuffer::Lock, &MemoryBuffer::Lock>();
        table.set<&IMFMediaBuffer::Unlock, &MemoryBuffer::Unlock>();
        table.set<&IMFMediaBuffer::SetCurrentLength, &MemoryBuffer::SetCurrentLength>();
    }

    const std::shared_ptr<std::uint8_t[]> bytes;  // Outlives the buffer until it is encoded.
    const DWORD capacity;
    DWORD length = 0;
    bool isLocked = false;
};

struct Sample : com::ComObject<Sample, IMFSample, IID_IMFAttributes, IID_IMFSample> {
    ~Sample() {
        if (buffer) buffer->drop();
    }

    HRESULT SetSampleTime(LONGLONG start) {
        return set("IMFSample::SetSampleTime", shown.time, start);
    }
    HRESULT SetSampleDuration(LONGLONG length) {
        return set("IMFSample::SetSampleDuration", shown.duration, length);
    }
    HRESULT AddBuffer(IMFMediaBuffer* added) {
        desktop::Call call("IMFSample::AddBuffer");
        call.only("second buffer", buffer, nullptr);
        if (call.struck()) return call.fail(E_OUTOFMEMORY);
        buffer = com::objectOf<MemoryBuffer>(added);
        buffer->AddRef();
        return S_OK;
    }

    static void fill(com::Table& table) {
        table.set<&IMFSample::SetSampleTime, &Sample::SetSampleTime>();
        table.set<&IMFSample::SetSampleDuration, &Sample::SetSampleDuration>();
        table.set<&IMFSample::AddBuffer, &Sample::AddBuffer>();
    }

    Interval shown{-1, 0};           // -1: without a time
    MemoryBuffer* buffer = nullptr;  // The sample has a reference.

private:
    static HRESULT set(const char* operation, std::int64_t& member, LONGLONG value) {
        desktop::Call call(operation, value);
        if (call.struck()) return call.fail(E_FAIL);
        member = value;
        return S_OK;
    }
};

// Runs what may throw below a published operation and returns its result.
template <typename Work>
HRESULT guarded(Work work) {
    try {
        return work();
    } catch (const Failure& failure) {
        return failure.code;
    } catch (const std::exception&) {  // no memory, or no thread
        return E_OUTOFMEMORY;
    }
}

struct SinkWriter : com::ComObject<SinkWriter, IMFSinkWriter, IID_IMFSinkWriter> {
    explicit SinkWriter(const std::string& path) : file(path) { ++sinkWriters; }
    ~SinkWriter() {
        --sinkWriters;
        if (lastTime >= 0 && !isWhole) loss = true;
    }

    HRESULT AddStream(IMFMediaType* type, DWORD* stream) {
        desktop::Call call("IMFSinkWriter::AddStream");
        call.only("second stream", output.has_value(), false);
        return guarded([&]() -> HRESULT {
            const VideoFormat asked = readOutputType(com::objectOf<MediaType>(type)->values);
            if (call.struck()) return call.fail(MF_E_INVALIDMEDIATYPE);
            output = asked;
            *stream = 0;
            return S_OK;
        });
    }
    HRESULT SetInputMediaType(DWORD stream, IMFMediaType* type, IMFAttributes* parameters) {
        desktop::Call call("IMFSinkWriter::SetInputMediaType", stream);
        call.only("parameters", parameters, nullptr);
        return guarded([&]() -> HRESULT {
            const VideoFormat asked = readInputType(com::objectOf<MediaType>(type)->values);
            if (call.struck()) return call.fail(MF_E_INVALIDMEDIATYPE);
            if (!output || stream != 0) return MF_E_INVALIDSTREAMNUMBER;
            if (encoder) return MF_E_INVALIDREQUEST;
            if (asked.width != output->width || asked.height != output->height ||
                asked.rate != output->rate)
                return MF_E_INVALIDMEDIATYPE;
            input = asked;
            return S_OK;
        });
    }
    HRESULT BeginWriting() {
        desktop::Call call("IMFSinkWriter::BeginWriting");
        if (call.struck()) return call.fail(MF_E_TOPO_CODEC_NOT_FOUND);
        if (!input || encoder) return MF_E_INVALIDREQUEST;
        return guarded([&] {
            encoder = std::make_unique<Encoder>(file, *output);
            return S_OK;
        });
    }
    HRESULT WriteSample(DWORD stream, IMFSample* published) {
        desktop::Call call("IMFSinkWriter::WriteSample", stream);
        const Sample& sample = *com::objectOf<Sample>(published);
        const auto& [time, duration] = sample.shown;
        // The first sample may have any time. Later ones are not sorted.
        if (time >= 0 && time <= lastTime) call.refuse("time of the sample", time);
        if (duration <= 0) call.refuse("duration of the sample", duration);
        call.only("lock of the buffer", sample.buffer && sample.buffer->isLocked, false);
        if (call.struck()) return call.fail(E_FAIL);
        if (!encoder || isFinal) return MF_E_INVALIDREQUEST;
        if (stream != 0) return MF_E_INVALIDSTREAMNUMBER;
        if (time < 0) return MF_E_NO_SAMPLE_TIMESTAMP;
        const DWORD length = static_cast<DWORD>(input->width * input->height * 3 / 2);
        if (!sample.buffer || sample.buffer->length != length) return E_INVALIDARG;
        lastTime = time;
        return guarded([&] { return encoder->submit({sample.buffer->bytes, sample.shown}); });
    }
    HRESULT Finalize() {
        desktop::Call call("IMFSinkWriter::Finalize");
        if (encoder && lastTime < 0) call.refuse("number of samples", 0);
        if (call.struck()) return call.fail(E_FAIL);
        if (!encoder || isFinal) return MF_E_INVALIDREQUEST;
        isFinal = true;
        const HRESULT result = encoder->finish();
        isWhole = result == S_OK;
        return result;
    }

    static void fill(com::Table& table) {
        table.set<&IMFSinkWriter::AddStream, &SinkWriter::AddStream>();
        table.set<&IMFSinkWriter::SetInputMediaType, &SinkWriter::SetInputMediaType>();
        table.set<&IMFSinkWriter::BeginWriting, &SinkWriter::BeginWriting>();
        table.set<&IMFSinkWriter::WriteSample, &SinkWriter::WriteSample>();
        table.set<&IMFSinkWriter::Finalize, &SinkWriter::Finalize>();
    }

    // The encoder's thread writes into the file, so the file outlives it.
    Mp4File file;
    std::optional<VideoFormat> output, input;
    std::unique_ptr<Encoder> encoder;
    std::int64_t lastTime = -1;
    bool isFinal = false, isWhole = false;
};

}  // namespace

bool takeLoss() { return loss.exchange(false); }

}  // namespace media

HRESULT MFStartup(ULONG version, DWORD flags) {
    desktop::Call call("MFStartup", version, flags);
    call.only("version", version, MF_VERSION);
    call.only("flags", flags, MFSTARTUP_FULL);
    if (call.struck()) return call.fail(E_FAIL);
    // The encoder would describe every clip on the standard error stream.
    av_log_set_level(AV_LOG_ERROR);
    ++media::starts;
    desktop::opened("MediaStart");
    return S_OK;
}

// Cannot fail by plan: the program has no way to end a start whose end failed.
HRESULT MFShutdown() {
    desktop::Call call("MFShutdown");
    if (media::starts == 0) call.refuse("number of starts", 0);
    if (--media::starts == 0) {
        call.only("sink writers that still exist", media::sinkWriters.load(), 0);
        while (media::spare.count > 0) media::spare.frames[--media::spare.count].reset();
    }
    desktop::closed("MediaStart");
    return S_OK;
}

HRESULT MFCreateMemoryBuffer(DWORD capacity, IMFMediaBuffer** buffer) {
    desktop::Call call("MFCreateMemoryBuffer", capacity);
    *buffer = nullptr;
    if (call.struck()) return call.fail(E_OUTOFMEMORY);
    return media::guarded([&] {
        *buffer = (new media::MemoryBuffer(capacity))->published();
        return S_OK;
    });
}

HRESULT MFCreateSample(IMFSample** sample) {
    desktop::Call call("MFCreateSample");
    *sample = nullptr;
    if (call.struck()) return call.fail(E_OUTOFMEMORY);
    *sample = (new media::Sample)->published();
    return S_OK;
}

HRESULT MFCreateSinkWriterFromURL(LPCWSTR url, IMFByteStream* stream, IMFAttributes* attributes,
                                  IMFSinkWriter** writer) {
    desktop::Call call("MFCreateSinkWriterFromURL", url);
    *writer = nullptr;
    call.only("byte stream", stream, nullptr);
    if (!attributes) call.refuse("attributes", 0);
    return media::guarded([&]() -> HRESULT {
        media::checkWriterAttributes(com::objectOf<media::Attributes>(attributes)->values);
        if (call.struck()) return call.fail(E_ACCESSDENIED);
        if (media::starts == 0) return MF_E_PLATFORM_NOT_INITIALIZED;
        *writer = (new media::SinkWriter(desktop::toUtf8(url)))->published();
        return S_OK;
    });
}
