// The graphics device, as far as cropping a desktop picture needs it.

#pragma once

#include <dxgi1_2.h>

#define D3D11_SDK_VERSION 7

enum D3D_DRIVER_TYPE { D3D_DRIVER_TYPE_UNKNOWN = 0 };
enum D3D_FEATURE_LEVEL { D3D_FEATURE_LEVEL_11_0 = 0xB000 };
enum D3D11_CREATE_DEVICE_FLAG { D3D11_CREATE_DEVICE_BGRA_SUPPORT = 0x20 };
enum D3D11_USAGE { D3D11_USAGE_DEFAULT = 0, D3D11_USAGE_STAGING = 3 };
enum D3D11_CPU_ACCESS_FLAG { D3D11_CPU_ACCESS_READ = 0x20000 };
enum D3D11_MAP { D3D11_MAP_READ = 1 };

struct D3D11_BOX {
    UINT left, top, front, right, bottom, back;
};

struct D3D11_TEXTURE2D_DESC {
    UINT Width, Height, MipLevels, ArraySize;
    DXGI_FORMAT Format;
    DXGI_SAMPLE_DESC SampleDesc;
    D3D11_USAGE Usage;
    UINT BindFlags, CPUAccessFlags, MiscFlags;
};

struct D3D11_SUBRESOURCE_DATA {
    const void* pSysMem;
    UINT SysMemPitch, SysMemSlicePitch;
};

struct D3D11_MAPPED_SUBRESOURCE {
    void* pData;
    UINT RowPitch, DepthPitch;
};

DEFINE_GUID(IID_ID3D11DeviceChild, 0x1841E5C8, 0x16B0, 0x489B, 0xBC, 0xC8, 0x44, 0xCF, 0xB0, 0xD5,
            0xDE, 0xAE);
DEFINE_GUID(IID_ID3D11Resource, 0xDC8E63F3, 0xD12B, 0x4952, 0xB4, 0x7B, 0x5E, 0x45, 0x02, 0x6A,
            0x86, 0x2D);
DEFINE_GUID(IID_ID3D11Texture2D, 0x6F15AAF2, 0xD208, 0x4E89, 0x9A, 0xB4, 0x48, 0x95, 0x35, 0xD3,
            0x4F, 0x9C);
DEFINE_GUID(IID_ID3D11DeviceContext, 0xC0BFA96C, 0xE089, 0x44FB, 0x8E, 0xAF, 0x26, 0xF8, 0x79, 0x61,
            0x90, 0xDA);
DEFINE_GUID(IID_ID3D11Device, 0xDB6F6DDB, 0xAC77, 0x4E88, 0x82, 0x53, 0x81, 0x9D, 0xF9, 0xBB, 0xF1,
            0x40);

struct ID3D11DeviceChild : IUnknown {};

struct ID3D11Resource : ID3D11DeviceChild {};

struct ID3D11Texture2D : ID3D11Resource {};

struct ID3D11DeviceContext : ID3D11DeviceChild {
    virtual void STDMETHODCALLTYPE CopySubresourceRegion(ID3D11Resource* target, UINT targetIndex,
                                                         UINT x, UINT y, UINT z,
                                                         ID3D11Resource* source, UINT sourceIndex,
                                                         const D3D11_BOX* box) = 0;
    virtual HRESULT STDMETHODCALLTYPE Map(ID3D11Resource* resource, UINT index, D3D11_MAP kind,
                                          UINT flags, D3D11_MAPPED_SUBRESOURCE* mapped) = 0;
    virtual void STDMETHODCALLTYPE Unmap(ID3D11Resource* resource, UINT index) = 0;
};

struct ID3D11Device : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CreateTexture2D(const D3D11_TEXTURE2D_DESC* description,
                                                      const D3D11_SUBRESOURCE_DATA* initial,
                                                      ID3D11Texture2D** texture) = 0;
};

HRESULT D3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE driver, HMODULE software,
                          UINT flags, const D3D_FEATURE_LEVEL* levels, UINT levelCount,
                          UINT sdkVersion, ID3D11Device** device, D3D_FEATURE_LEVEL* level,
                          ID3D11DeviceContext** context);
