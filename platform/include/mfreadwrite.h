// Writing samples into a media file.

#pragma once

#include <mfobjects.h>

DEFINE_GUID(IID_IMFSinkWriter, 0x3137F1CD, 0xFE5E, 0x4805, 0xA5, 0xD8, 0xFB, 0x47, 0x74, 0x48, 0xCB,
            0x3D);
DEFINE_GUID(MF_READWRITE_ENABLE_HARDWARE_TRANSFORMS, 0xA634A91C, 0x822B, 0x41B9, 0xA4, 0x94, 0x4D,
            0xE4, 0x64, 0x36, 0x12, 0xB0);
DEFINE_GUID(MF_SINK_WRITER_DISABLE_THROTTLING, 0x08B845D8, 0x2B74, 0x4AFE, 0x9D, 0x53, 0xBE, 0x16,
            0xD2, 0xD5, 0xAE, 0x4F);

struct IMFSinkWriter : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE AddStream(IMFMediaType* type, DWORD* stream) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetInputMediaType(DWORD stream, IMFMediaType* type,
                                                        IMFAttributes* parameters) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginWriting() = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteSample(DWORD stream, IMFSample* sample) = 0;
    virtual HRESULT STDMETHODCALLTYPE Finalize() = 0;
};

HRESULT MFCreateSinkWriterFromURL(LPCWSTR url, IMFByteStream* stream, IMFAttributes* attributes,
                                  IMFSinkWriter** writer);
