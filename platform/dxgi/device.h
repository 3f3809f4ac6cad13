// The graphics device.

#pragma once

#include <d3d11.h>

#include "platform/com/object.h"

namespace dxgi {

struct Device : com::ComObject<Device, ID3D11Device, IID_ID3D11Device> {
    explicit Device(UINT adapterIndex) : adapter(adapterIndex) {}
    HRESULT CreateTexture2D(const D3D11_TEXTURE2D_DESC* description,
                            const D3D11_SUBRESOURCE_DATA* initial, ID3D11Texture2D** texture);

    static void fill(com::Table& table) {
        table.set(&ID3D11Device::CreateTexture2D, com::member<&Device::CreateTexture2D>);
    }

    const UINT adapter;  // index of the one that it was created on
};

}  // namespace dxgi
