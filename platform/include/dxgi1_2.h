// Adapters, outputs and the duplication of an output.

#pragma once

#include <windows.h>

#define DXGI_ERROR_INVALID_CALL ((HRESULT)0x887A0001)
#define DXGI_ERROR_NOT_FOUND ((HRESULT)0x887A0002)
#define DXGI_ERROR_UNSUPPORTED ((HRESULT)0x887A0004)
#define DXGI_ERROR_ACCESS_LOST ((HRESULT)0x887A0026)
#define DXGI_ERROR_WAIT_TIMEOUT ((HRESULT)0x887A0027)

enum DXGI_FORMAT { DXGI_FORMAT_UNKNOWN = 0, DXGI_FORMAT_B8G8R8A8_UNORM = 87 };

enum DXGI_MODE_ROTATION {
    DXGI_MODE_ROTATION_UNSPECIFIED = 0,
    DXGI_MODE_ROTATION_IDENTITY = 1,
    DXGI_MODE_ROTATION_ROTATE90 = 2,
    DXGI_MODE_ROTATION_ROTATE180 = 3,
    DXGI_MODE_ROTATION_ROTATE270 = 4
};

struct DXGI_SAMPLE_DESC {
    UINT Count, Quality;
};

struct DXGI_OUTPUT_DESC {
    WCHAR DeviceName[32];
    RECT DesktopCoordinates;
    BOOL AttachedToDesktop;
    DXGI_MODE_ROTATION Rotation;
    HMONITOR Monitor;
};

struct DXGI_OUTDUPL_POINTER_POSITION {
    POINT Position;
    BOOL Visible;
};

struct DXGI_OUTDUPL_FRAME_INFO {
    LARGE_INTEGER LastPresentTime, LastMouseUpdateTime;
    UINT AccumulatedFrames;
    BOOL RectsCoalesced, ProtectedContentMaskedOut;
    DXGI_OUTDUPL_POINTER_POSITION PointerPosition;
    UINT TotalMetadataBufferSize, PointerShapeBufferSize;
};

DEFINE_GUID(IID_IDXGIObject, 0xAEC22FB8, 0x76F3, 0x4639, 0x9B, 0xE0, 0x28, 0xEB, 0x43, 0xA6, 0x7A,
            0x2E);
DEFINE_GUID(IID_IDXGIResource, 0x035F3AB4, 0x482E, 0x4E50, 0xB4, 0x1F, 0x8A, 0x7F, 0x8B, 0xD8, 0x96,
            0x0B);
DEFINE_GUID(IID_IDXGIOutput, 0xAE02EEDB, 0xC735, 0x4690, 0x8D, 0x52, 0x5A, 0x8D, 0xC2, 0x02, 0x13,
            0xAA);
DEFINE_GUID(IID_IDXGIOutput1, 0x00CDDEA8, 0x939B, 0x4B83, 0xA3, 0x40, 0xA6, 0x85, 0x22, 0x66, 0x66,
            0xCC);
DEFINE_GUID(IID_IDXGIOutputDuplication, 0x191CFAC3, 0xA341, 0x470D, 0xB2, 0x6E, 0xA8, 0x64, 0xF4,
            0x28, 0x31, 0x9C);
DEFINE_GUID(IID_IDXGIAdapter, 0x2411E7E1, 0x12AC, 0x4CCF, 0xBD, 0x14, 0x97, 0x98, 0xE8, 0x53, 0x4D,
            0xC0);
DEFINE_GUID(IID_IDXGIAdapter1, 0x29038F61, 0x3839, 0x4626, 0x91, 0xFD, 0x08, 0x68, 0x79, 0x01, 0x1A,
            0x05);
DEFINE_GUID(IID_IDXGIFactory, 0x7B7166EC, 0x21C7, 0x44AE, 0xB2, 0x1A, 0xC9, 0xAE, 0x32, 0x1A, 0xE3,
            0x69);
DEFINE_GUID(IID_IDXGIFactory1, 0x770AAE78, 0xF26F, 0x4DBA, 0xA8, 0x29, 0x25, 0x3C, 0x83, 0xD1, 0xB3,
            0x87);

struct IDXGIObject : IUnknown {};

struct IDXGIResource : IDXGIObject {};

struct IDXGIOutputDuplication : IDXGIObject {
    virtual HRESULT STDMETHODCALLTYPE AcquireNextFrame(UINT milliseconds,
                                                       DXGI_OUTDUPL_FRAME_INFO* information,
                                                       IDXGIResource** resource) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReleaseFrame() = 0;
};

struct IDXGIOutput : IDXGIObject {
    virtual HRESULT STDMETHODCALLTYPE GetDesc(DXGI_OUTPUT_DESC* description) = 0;
};

struct IDXGIOutput1 : IDXGIOutput {
    virtual HRESULT STDMETHODCALLTYPE DuplicateOutput(IUnknown* device,
                                                      IDXGIOutputDuplication** duplication) = 0;
};

struct IDXGIAdapter : IDXGIObject {
    virtual HRESULT STDMETHODCALLTYPE EnumOutputs(UINT index, IDXGIOutput** output) = 0;
};

struct IDXGIAdapter1 : IDXGIAdapter {};

struct IDXGIFactory : IDXGIObject {};

struct IDXGIFactory1 : IDXGIFactory {
    virtual HRESULT STDMETHODCALLTYPE EnumAdapters1(UINT index, IDXGIAdapter1** adapter) = 0;
};

HRESULT CreateDXGIFactory1(REFIID id, void** factory);
