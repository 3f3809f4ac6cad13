// Textures: the picture of a held desktop frame, and memory that the processor can read.

#include "platform/dxgi/texture.h"

namespace dxgi {

Texture::Texture(const D3D11_TEXTURE2D_DESC& asked) : description(asked) {}

Texture::Texture(const std::shared_ptr<Frames>& source) : frames(source), frame(source->last) {
    description.Width = static_cast<UINT>(source->bounds.right - source->bounds.left);
    description.Height = static_cast<UINT>(source->bounds.bottom - source->bounds.top);
    description.MipLevels = description.ArraySize = 1;
    description.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
    description.SampleDesc = {1, 0};
    description.Usage = D3D11_USAGE_DEFAULT;
}

Texture::~Texture() {
    if (isMapped) desktop::closed(desktop::Object::MappedTexture);
}

}  // namespace dxgi
