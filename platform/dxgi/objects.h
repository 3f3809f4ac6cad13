// The objects that the files of this folder share: device, textures and the frames of an output.

#pragma once

#include <d3d11.h>
#include <dxgi1_2.h>

#include <memory>

#include "platform/com/object.h"
#include "platform/hosts/host.h"

namespace dxgi {

struct Device : com::ComObject<Device, ID3D11Device, IID_ID3D11Device> {
    explicit Device(UINT adapterIndex) : adapter(adapterIndex) {}
    HRESULT CreateTexture2D(const D3D11_TEXTURE2D_DESC* description,
                            const D3D11_SUBRESOURCE_DATA* initial, ID3D11Texture2D** texture);

    static void fill(com::Table& table) {
        table.set<&ID3D11Device::CreateTexture2D, &Device::CreateTexture2D>();
    }

    const UINT adapter;  // index of the one that it was created on
};

// What a duplication and the textures of its frames share.
struct Frames {
    RECT bounds{};        // of the output
    unsigned last = 0;    // number of the last frame
    unsigned image = 0;   // number of the last one that brought an image
    bool isHeld = false;  // Until its release there is no other frame.
    bool isLost = false;  // for good
};

struct Texture : com::ComObject<Texture, ID3D11Texture2D, IID_ID3D11DeviceChild, IID_ID3D11Resource,
                                IID_ID3D11Texture2D> {
    explicit Texture(const D3D11_TEXTURE2D_DESC& asked) : description(asked) {}  // staging
    explicit Texture(const std::shared_ptr<Frames>& source);  // the frame that is held now
    ~Texture() {
        if (isMapped) desktop::closed("MappedTexture");
    }

    D3D11_TEXTURE2D_DESC description{};
    std::shared_ptr<Frames> frames;  // null: a staging texture
    unsigned frame = 0;              // the one that it is, or was copied from
    host::CapturedPicture picture;   // of a staging texture; none before the first copy into it
    bool isMapped = false;
};

UINT indexOf(IDXGIAdapter* adapter);  // in the list of its factory

// E_ACCESSDENIED while the desktop is locked, E_INVALIDARG if the output is already duplicated.
HRESULT openDuplication(const host::Monitor& monitor, IDXGIOutputDuplication** duplication);

}  // namespace dxgi
