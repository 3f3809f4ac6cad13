// Stands in for mfplat.dll and mfreadwrite.dll. The writer's file holds the pictures as they come,
// which no player reads: enough to be published, listed and copied.

#include "tests/windows/standin/object.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <mfreadwrite.h>

#include <algorithm>

namespace {

HRESULT setNumber(void* self, const GUID& key, UINT32 value) {
    return record(self, "SetUINT32", key, value), S_OK;
}

HRESULT setPair(void* self, const GUID& key, UINT64 value) {
    return record(self, "SetUINT64", key, value >> 32, value & 0xFFFFFFFF), S_OK;
}

HRESULT setIdentifier(void* self, const GUID& key, const GUID& value) {
    return record(self, "SetGUID", key, value), S_OK;
}

template <typename Interface>
com::Table attributesOf() {
    return makeTable<Interface>()
        .set(&Interface::SetUINT32, setNumber)
        .set(&Interface::SetUINT64, setPair)
        .set(&Interface::SetGUID, setIdentifier);
}

HRESULT lock(IMFMediaBuffer* self, BYTE** bytes, DWORD* room, DWORD* length) {
    record(self, "Lock", room != nullptr, length != nullptr);
    *bytes = objectOf(self)->bytes.data();
    return S_OK;
}

HRESULT unlock(IMFMediaBuffer* self) { return record(self, "Unlock"), S_OK; }

HRESULT setLength(IMFMediaBuffer* self, DWORD length) {
    record(self, "SetCurrentLength", length);
    objectOf(self)->length = length;
    return S_OK;
}

HRESULT addBuffer(IMFSample* self, IMFMediaBuffer* buffer) {
    record(self, "AddBuffer", buffer);
    addReference(buffer);
    objectOf(self)->held = objectOf(buffer);
    return S_OK;
}

HRESULT setTime(IMFSample* self, LONGLONG time) {
    return record(self, "SetSampleTime", time), S_OK;
}

HRESULT setDuration(IMFSample* self, LONGLONG duration) {
    return record(self, "SetSampleDuration", duration), S_OK;
}

HRESULT addStream(IMFSinkWriter* self, IMFMediaType* type, DWORD* index) {
    record(self, "AddStream", type);
    *index = 7;
    return S_OK;
}

HRESULT setInput(IMFSinkWriter* self, DWORD index, IMFMediaType* type, IMFAttributes* parameters) {
    record(self, "SetInputMediaType", index, type, parameters);
    return refuses("SetInputMediaType") ? MF_E_INVALIDMEDIATYPE : S_OK;
}

HRESULT begin(IMFSinkWriter* self) { return record(self, "BeginWriting"), S_OK; }

// The record tells the darkest and the brightest luma, and the first pair of chroma.
HRESULT writeSample(IMFSinkWriter* self, DWORD index, IMFSample* sample) {
    const Object& buffer = *objectOf(sample)->held;
    const auto luma = buffer.bytes.begin();
    const auto chroma = luma + buffer.length * 2 / 3;
    const auto [darkest, brightest] = std::minmax_element(luma, chroma);
    record(self, "WriteSample", index, sample, "luma", *darkest, *brightest, "chroma", chroma[0],
           chroma[1]);
    DWORD written = 0;
    WriteFile(objectOf(self)->file, buffer.bytes.data(), buffer.length, &written, nullptr);
    return S_OK;
}

HRESULT finish(IMFSinkWriter* self) { return record(self, "Finalize"), S_OK; }

}  // namespace

HRESULT WINAPI MFStartup(ULONG version, DWORD flags) {
    return record("MFStartup", version, flags), S_OK;
}

HRESULT WINAPI MFShutdown() { return record("MFShutdown"), S_OK; }

HRESULT WINAPI MFCreateAttributes(IMFAttributes** result, UINT32 room) {
    static const com::Table table = attributesOf<IMFAttributes>();
    handOut("attributes", table, result);
    return record("MFCreateAttributes", room, "->", *result), S_OK;
}

HRESULT WINAPI MFCreateMediaType(IMFMediaType** result) {
    static const com::Table table = attributesOf<IMFMediaType>();
    handOut("type", table, result);
    return record("MFCreateMediaType ->", *result), S_OK;
}

HRESULT WINAPI MFCreateMemoryBuffer(DWORD room, IMFMediaBuffer** result) {
    static const com::Table table = makeTable<IMFMediaBuffer>()
                                        .set(&IMFMediaBuffer::Lock, lock)
                                        .set(&IMFMediaBuffer::Unlock, unlock)
                                        .set(&IMFMediaBuffer::SetCurrentLength, setLength);
    handOut("buffer", table, result)->bytes.resize(room);
    return record("MFCreateMemoryBuffer", room, "->", *result), S_OK;
}

HRESULT WINAPI MFCreateSample(IMFSample** result) {
    static const com::Table table = makeTable<IMFSample>()
                                        .set(&IMFSample::AddBuffer, addBuffer)
                                        .set(&IMFSample::SetSampleTime, setTime)
                                        .set(&IMFSample::SetSampleDuration, setDuration);
    handOut("sample", table, result);
    return record("MFCreateSample ->", *result), S_OK;
}

HRESULT WINAPI MFCreateSinkWriterFromURL(LPCWSTR path, IMFByteStream* stream,
                                         IMFAttributes* attributes, IMFSinkWriter** result) {
    static const com::Table table = makeTable<IMFSinkWriter>()
                                        .set(&IMFSinkWriter::AddStream, addStream)
                                        .set(&IMFSinkWriter::SetInputMediaType, setInput)
                                        .set(&IMFSinkWriter::BeginWriting, begin)
                                        .set(&IMFSinkWriter::WriteSample, writeSample)
                                        .set(&IMFSinkWriter::Finalize, finish);
    // A file that is there already shows as a refusal here.
    HANDLE const file = CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return HRESULT_FROM_WIN32(GetLastError());
    handOut("writer", table, result)->file = file;
    std::string ascii;
    for (; *path; ++path) ascii += static_cast<char>(*path);
    record("MFCreateSinkWriterFromURL", ascii, stream, attributes, "->", *result);
    return S_OK;
}
