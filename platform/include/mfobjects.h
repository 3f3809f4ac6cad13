// Attributes, media types, samples and buffers.

#pragma once

#include <windows.h>

DEFINE_GUID(IID_IMFAttributes, 0x2CD2D921, 0xC447, 0x44A7, 0xA1, 0x3C, 0x4A, 0xDA, 0xBF, 0xC2, 0x47,
            0xE3);
DEFINE_GUID(IID_IMFMediaType, 0x44AE0FA8, 0xEA31, 0x4109, 0x8D, 0x2E, 0x4C, 0xAE, 0x49, 0x97, 0xC5,
            0x55);
DEFINE_GUID(IID_IMFMediaBuffer, 0x045FA593, 0x8799, 0x42B8, 0xBC, 0x8D, 0x89, 0x68, 0xC6, 0x45,
            0x35, 0x07);
DEFINE_GUID(IID_IMFSample, 0xC40A00F2, 0xB93A, 0x4D80, 0xAE, 0x8C, 0x5A, 0x1C, 0x63, 0x4F, 0x58,
            0xE4);

struct IMFByteStream;

struct IMFAttributes : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetUINT32(REFGUID key, UINT32 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetUINT64(REFGUID key, UINT64 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetGUID(REFGUID key, REFGUID value) = 0;
};

struct IMFMediaType : IMFAttributes {};

struct IMFMediaBuffer : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Lock(BYTE** bytes, DWORD* capacity, DWORD* length) = 0;
    virtual HRESULT STDMETHODCALLTYPE Unlock() = 0;
    virtual HRESULT STDMETHODCALLTYPE SetCurrentLength(DWORD length) = 0;
};

struct IMFSample : IMFAttributes {
    virtual HRESULT STDMETHODCALLTYPE SetSampleTime(LONGLONG time) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSampleDuration(LONGLONG duration) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddBuffer(IMFMediaBuffer* buffer) = 0;
};
