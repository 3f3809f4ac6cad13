// Media buffers and the samples that carry them.

#include "platform/media_foundation/samples.h"

#include <mfapi.h>

#include <new>

namespace media {

// The bytes are not cleared: whoever makes a buffer fills it, 30 times a second.
MemoryBuffer::MemoryBuffer(DWORD size) : bytes(new std::uint8_t[size]), capacity(size) {}

MemoryBuffer::~MemoryBuffer() {
    for (; locks > 0; --locks) desktop::closed(desktop::Object::LockedBuffer);
}

HRESULT MemoryBuffer::Lock(BYTE** start, DWORD* maximum, DWORD* current) {
    desktop::Call call("IMFMediaBuffer::Lock");
    *start = nullptr;
    if (call.struck()) return call.result(E_FAIL);
    *start = bytes.get();
    if (maximum) *maximum = capacity;
    if (current) *current = length;
    ++locks;
    desktop::opened(desktop::Object::LockedBuffer);
    return S_OK;
}

HRESULT MemoryBuffer::Unlock() {
    desktop::Call call("IMFMediaBuffer::Unlock");
    if (call.struck()) return call.result(E_FAIL);
    if (locks == 0) desktop::refuse("IMFMediaBuffer::Unlock", "number of locks", locks);
    --locks;
    desktop::closed(desktop::Object::LockedBuffer);
    return S_OK;
}

HRESULT MemoryBuffer::SetCurrentLength(DWORD current) {
    desktop::Call call("IMFMediaBuffer::SetCurrentLength", current);
    if (call.struck()) return call.result(E_FAIL);
    if (current > capacity) return E_INVALIDARG;
    length = current;
    return S_OK;
}

Sample::~Sample() {
    if (buffer) buffer->drop();
}

HRESULT Sample::SetSampleTime(LONGLONG start) {
    desktop::Call call("IMFSample::SetSampleTime", start);
    if (call.struck()) return call.result(E_FAIL);
    time = start;
    return S_OK;
}

HRESULT Sample::SetSampleDuration(LONGLONG length) {
    desktop::Call call("IMFSample::SetSampleDuration", length);
    if (call.struck()) return call.result(E_FAIL);
    duration = length;
    return S_OK;
}

HRESULT Sample::AddBuffer(IMFMediaBuffer* added) {
    desktop::Call call("IMFSample::AddBuffer");
    if (call.struck()) return call.result(E_OUTOFMEMORY);
    if (buffer) desktop::refuse("IMFSample::AddBuffer", "number of buffers", 2);
    buffer = com::objectOf<MemoryBuffer>(added);
    buffer->AddRef();
    return S_OK;
}

}  // namespace media

HRESULT MFCreateMemoryBuffer(DWORD capacity, IMFMediaBuffer** buffer) {
    desktop::Call call("MFCreateMemoryBuffer", capacity);
    *buffer = nullptr;
    if (call.struck()) return call.result(E_OUTOFMEMORY);
    try {
        *buffer = (new media::MemoryBuffer(capacity))->published();
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT MFCreateSample(IMFSample** sample) {
    desktop::Call call("MFCreateSample");
    *sample = nullptr;
    if (call.struck()) return call.result(E_OUTOFMEMORY);
    *sample = (new media::Sample)->published();
    return S_OK;
}
