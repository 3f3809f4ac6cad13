// Media buffers and the samples that carry them.

#pragma once

#include <mfobjects.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/media_foundation/attributes.h"

namespace media {

struct MemoryBuffer : ole32::ComObject<IMFMediaBuffer, IID_IMFMediaBuffer> {
    explicit MemoryBuffer(DWORD size);  // throws std::bad_alloc
    ~MemoryBuffer() override;

    HRESULT STDMETHODCALLTYPE Lock(BYTE** start, DWORD* maximum, DWORD* current) override;
    HRESULT STDMETHODCALLTYPE Unlock() override;
    HRESULT STDMETHODCALLTYPE SetCurrentLength(DWORD current) override;

    const std::shared_ptr<std::uint8_t[]> bytes;  // outlives the buffer while it is being encoded
    const DWORD capacity;
    DWORD length = 0;
    int locks = 0;
};

struct Sample : AttributeStore<IMFSample, IID_IMFAttributes, IID_IMFSample> {
    ~Sample() override;

    HRESULT STDMETHODCALLTYPE SetSampleTime(LONGLONG start) override;
    HRESULT STDMETHODCALLTYPE SetSampleDuration(LONGLONG length) override;
    HRESULT STDMETHODCALLTYPE AddBuffer(IMFMediaBuffer* added) override;

    std::optional<LONGLONG> time, duration;
    MemoryBuffer* buffer = nullptr;  // the reference is the sample's
};

}  // namespace media
