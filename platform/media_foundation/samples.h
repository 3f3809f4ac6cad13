// Media buffers and the samples that carry them.

#pragma once

#include <mfobjects.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/media_foundation/attributes.h"

namespace media {

struct MemoryBuffer : com::ComObject<MemoryBuffer, IMFMediaBuffer, IID_IMFMediaBuffer> {
    explicit MemoryBuffer(DWORD size);  // throws std::bad_alloc
    ~MemoryBuffer();

    HRESULT Lock(BYTE** start, DWORD* maximum, DWORD* current);
    HRESULT Unlock();
    HRESULT SetCurrentLength(DWORD current);

    static void fill(com::Table& table) {
        table.set(&IMFMediaBuffer::Lock, com::member<&MemoryBuffer::Lock>);
        table.set(&IMFMediaBuffer::Unlock, com::member<&MemoryBuffer::Unlock>);
        table.set(&IMFMediaBuffer::SetCurrentLength, com::member<&MemoryBuffer::SetCurrentLength>);
    }

    const std::shared_ptr<std::uint8_t[]> bytes;  // outlives the buffer while it is being encoded
    const DWORD capacity;
    DWORD length = 0;
    int locks = 0;
};

struct Sample : AttributeStore<Sample, IMFSample, IID_IMFAttributes, IID_IMFSample> {
    ~Sample();

    HRESULT SetSampleTime(LONGLONG start);
    HRESULT SetSampleDuration(LONGLONG length);
    HRESULT AddBuffer(IMFMediaBuffer* added);

    static void fill(com::Table& table) {
        AttributeStore::fill(table);
        table.set(&IMFSample::SetSampleTime, com::member<&Sample::SetSampleTime>);
        table.set(&IMFSample::SetSampleDuration, com::member<&Sample::SetSampleDuration>);
        table.set(&IMFSample::AddBuffer, com::member<&Sample::AddBuffer>);
    }

    std::optional<LONGLONG> time, duration;
    MemoryBuffer* buffer = nullptr;  // the reference is the sample's
};

}  // namespace media
