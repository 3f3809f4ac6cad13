// Stands in for mfplat.dll and mfreadwrite.dll. The writer's file holds the frames as they come,
// which no player reads: enough to be published, listed and copied.

#include "tests/windows/standin/object.h"

#include <mfidl.h>
#include <mfreadwrite.h>

#include <filesystem>

namespace {

constexpr auto fillSetters = [](auto& table) {
    ACCEPT(table, SetUINT32);
    table.SetUINT64 = [](auto*, const GUID& key, UINT64 value) -> HRESULT {
        return record("SetUINT64", key, value >> 32, value & 0xFFFFFFFF);
    };
    ACCEPT(table, SetGUID);
};

HRESULT lock(IMFMediaBuffer* self, BYTE** bytes, DWORD*, DWORD*) {
    *bytes = reinterpret_cast<BYTE*>(objectOf(self).bytes.data());
    return record("Lock");
}

HRESULT addBuffer(IMFSample* self, IMFMediaBuffer* buffer) {
    objectOf(self).bytes = objectOf(buffer).bytes;
    return record("AddBuffer");
}

HRESULT writeSample(IMFSinkWriter* self, DWORD stream, IMFSample* sample) {
    objectOf(self).file << objectOf(sample).bytes;
    return record("WriteSample", stream);
}

}  // namespace

// <mfapi.h> declares these, but cannot be read together with the tables.
extern "C" {

HRESULT WINAPI MFStartup(ULONG version, DWORD flags) {
    return recordExport("mfplat.dll", "MFStartup", version, flags);
}

HRESULT WINAPI MFShutdown() { return recordExport("mfplat.dll", "MFShutdown"); }

HRESULT WINAPI MFCreateAttributes(IMFAttributes** result, UINT32 size) {
    create<IMFAttributes>(result, fillSetters);
    return recordExport("mfplat.dll", "MFCreateAttributes", size);
}

HRESULT WINAPI MFCreateMediaType(IMFMediaType** result) {
    create<IMFMediaType>(result, fillSetters);
    return recordExport("mfplat.dll", "MFCreateMediaType");
}

HRESULT WINAPI MFCreateMemoryBuffer(DWORD size, IMFMediaBuffer** result) {
    const auto fill = [](auto& table) {
        table.Lock = lock;
        ACCEPT(table, Unlock);
        ACCEPT(table, SetCurrentLength);
    };
    create<IMFMediaBuffer>(result, fill).bytes.resize(size);
    return recordExport("mfplat.dll", "MFCreateMemoryBuffer", size);
}

HRESULT WINAPI MFCreateSample(IMFSample** result) {
    create<IMFSample>(result, [](auto& table) {
        table.AddBuffer = addBuffer;
        ACCEPT(table, SetSampleTime);
        ACCEPT(table, SetSampleDuration);
    });
    return recordExport("mfplat.dll", "MFCreateSample");
}

HRESULT WINAPI MFCreateSinkWriterFromURL(LPCWSTR path, IMFByteStream*, IMFAttributes*,
                                         IMFSinkWriter** result) {
    const auto fill = [](auto& table) {
        table.AddStream = [](auto*, IMFMediaType*, DWORD* index) -> HRESULT {
            *index = 0;
            return record("AddStream");
        };
        ACCEPT(table, SetInputMediaType);
        ACCEPT(table, BeginWriting);
        table.WriteSample = writeSample;
        ACCEPT(table, Finalize);
    };
    const std::filesystem::path file = path;
    create<IMFSinkWriter>(result, fill).file.open(file, std::ios::binary);
    return recordExport("mfreadwrite.dll", "MFCreateSinkWriterFromURL \"" + file.string() + "\"");
}

}  // extern "C"
