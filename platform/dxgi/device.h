// The graphics device.

#pragma once

#include <d3d11.h>

#include "platform/ole32/com_object.h"

namespace dxgi {

struct Device : ole32::ComObject<ID3D11Device, IID_ID3D11Device> {
    explicit Device(UINT adapterIndex) : adapter(adapterIndex) {}
    HRESULT STDMETHODCALLTYPE CreateTexture2D(const D3D11_TEXTURE2D_DESC* description,
                                              const D3D11_SUBRESOURCE_DATA* initial,
                                              ID3D11Texture2D** texture) override;

    const UINT adapter;  // index of the one that it was created on
};

}  // namespace dxgi
