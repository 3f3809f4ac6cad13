// Textures: the picture of a held desktop frame, and memory that the processor can read.

#pragma once

#include <d3d11.h>

#include <cstdint>
#include <memory>

#include "platform/hosts/host.h"
#include "platform/com/object.h"

namespace dxgi {

// What a duplication and the pictures that it hands out know in common.
struct Frames {
    RECT bounds{};        // of the output
    unsigned last = 0;    // number of the last frame
    bool isHeld = false;  // until it is released no other frame can be had
    bool isLost = false;  // for good
};

struct Texture : com::ComObject<Texture, ID3D11Texture2D, IID_ID3D11DeviceChild, IID_ID3D11Resource,
                                IID_ID3D11Texture2D> {
    explicit Texture(const D3D11_TEXTURE2D_DESC& asked);      // staging
    explicit Texture(const std::shared_ptr<Frames>& source);  // the frame that is held now
    ~Texture();

    static void fill(com::Table&) {}

    D3D11_TEXTURE2D_DESC description{};
    std::shared_ptr<Frames> frames;  // null: a staging texture
    unsigned frame = 0;
    host::CapturedPicture picture;  // a staging texture's; none before the first copy into it
    bool isMapped = false;
};

}  // namespace dxgi
