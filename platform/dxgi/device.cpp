// The graphics device: a staging texture, and the copy of a part of the desktop into it.
//
// The host reads only the part that is copied, and the texture takes over the host's memory.

#include "platform/dxgi/objects.h"

#include <vector>

#include "platform/gdi32/canvas.h"

namespace dxgi {

namespace {

bool fits(const D3D11_BOX& box, const Texture& source) {
    return box.left < box.right && box.top < box.bottom && box.front == 0 && box.back == 1 &&
           box.right <= source.description.Width && box.bottom <= source.description.Height;
}

host::CapturedPicture blackPicture(UINT width, UINT height) {
    const auto bytes = std::make_shared<std::vector<std::uint8_t>>(std::size_t(width) * height * 4);
    return {{bytes, bytes->data()}, static_cast<int>(width * 4)};
}

struct Context
    : com::ComObject<Context, ID3D11DeviceContext, IID_ID3D11DeviceChild, IID_ID3D11DeviceContext> {
    // Has no result: a box that does not fit copies nothing.
    void CopySubresourceRegion(ID3D11Resource* target, UINT targetIndex, UINT x, UINT y, UINT z,
                               ID3D11Resource* source, UINT sourceIndex, const D3D11_BOX* box) {
        desktop::Call call("ID3D11DeviceContext::CopySubresourceRegion", box->left, box->top,
                           box->right, box->bottom);
        call.only("subresource", targetIndex | sourceIndex, 0);
        call.only("position", x | y | z, 0);
        Texture& to = *com::objectOf<Texture>(target);
        const Texture& from = *com::objectOf<Texture>(source);
        call.only("pair of textures", !to.frames && from.frames, true);
        call.only("mapped target", to.isMapped, false);
        Frames& frames = *from.frames;
        if (!frames.isHeld || frames.last != from.frame)
            call.refuse("frame that is no longer held", from.frame);
        if (!fits(*box, from)) return;
        call.only("width", box->right - box->left, to.description.Width);
        call.only("height", box->bottom - box->top, to.description.Height);
        // A frame of the pointer alone shows the last image again. The target has it already: black
        // before the first one.
        call.only("image that was not copied", frames.image, from.frame, to.frame);
        if (frames.image != from.frame) return;
        const int left = static_cast<int>(box->left), top = static_cast<int>(box->top);
        const RECT area{left, top, static_cast<LONG>(box->right), static_cast<LONG>(box->bottom)};
        to.frame = from.frame;
        to.picture = {};  // first, so that the host can use its memory again
        to.picture =
            host::current().readPicture(gdi::moved(area, frames.bounds.left, frames.bounds.top));
        if (!to.picture.bytes) frames.isLost = true;
    }
    HRESULT Map(ID3D11Resource* resource, UINT index, D3D11_MAP kind, UINT flags,
                D3D11_MAPPED_SUBRESOURCE* mapped) {
        desktop::Call call("ID3D11DeviceContext::Map", index, kind, flags);
        *mapped = {};
        Texture& texture = *com::objectOf<Texture>(resource);
        call.only("subresource", index, 0);
        call.only("kind of access", kind, D3D11_MAP_READ);
        call.only("flags", flags, 0);
        call.only("texture", texture.frames || texture.isMapped, false);
        if (call.struck()) return call.fail(E_OUTOFMEMORY);
        const UINT height = texture.description.Height;
        if (!texture.picture.bytes)
            texture.picture = blackPicture(texture.description.Width, height);
        texture.isMapped = true;
        desktop::opened("MappedTexture");
        const auto pitch = static_cast<UINT>(texture.picture.pitch);
        *mapped = {const_cast<std::uint8_t*>(texture.picture.bytes.get()), pitch, pitch * height};
        return S_OK;
    }
    void Unmap(ID3D11Resource* resource, UINT index) {
        desktop::Call call("ID3D11DeviceContext::Unmap", index);
        bool& isMapped = com::objectOf<Texture>(resource)->isMapped;
        call.only("texture that is mapped", isMapped, true);
        isMapped = false;
        desktop::closed("MappedTexture");
    }

    static void fill(com::Table& table) {
        table.set<&ID3D11DeviceContext::CopySubresourceRegion, &Context::CopySubresourceRegion>();
        table.set<&ID3D11DeviceContext::Map, &Context::Map>();
        table.set<&ID3D11DeviceContext::Unmap, &Context::Unmap>();
    }
};

}  // namespace

HRESULT Device::CreateTexture2D(const D3D11_TEXTURE2D_DESC* description,
                                const D3D11_SUBRESOURCE_DATA* initial, ID3D11Texture2D** texture) {
    desktop::Call call("ID3D11Device::CreateTexture2D", description->Width, description->Height,
                       description->MipLevels, description->ArraySize, description->Format,
                       description->SampleDesc.Count, description->SampleDesc.Quality,
                       description->Usage, description->BindFlags, description->CPUAccessFlags,
                       description->MiscFlags);
    *texture = nullptr;
    call.only("number of levels", description->MipLevels * description->ArraySize, 1);
    call.only("format", description->Format, DXGI_FORMAT_B8G8R8A8_UNORM);
    call.only("sampling", description->SampleDesc.Count, 1);
    call.only("quality", description->SampleDesc.Quality, 0);
    call.only("usage", description->Usage, D3D11_USAGE_STAGING);
    call.only("access", description->CPUAccessFlags, D3D11_CPU_ACCESS_READ);
    call.only("flags", description->BindFlags | description->MiscFlags, 0);
    call.only("initial data", initial, nullptr);
    if (call.struck()) return call.fail(E_OUTOFMEMORY);
    if (description->Width == 0 || description->Height == 0) return E_INVALIDARG;
    *texture = (new Texture(*description))->published();
    return S_OK;
}

}  // namespace dxgi

HRESULT D3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE driver, HMODULE software,
                          UINT flags, const D3D_FEATURE_LEVEL* levels, UINT levelCount,
                          UINT sdkVersion, ID3D11Device** device, D3D_FEATURE_LEVEL* level,
                          ID3D11DeviceContext** context) {
    desktop::Call call("D3D11CreateDevice", driver, flags, levelCount, sdkVersion);
    *device = nullptr;
    *context = nullptr;
    call.only("adapter", adapter && !software, true);
    call.only("flags", flags, D3D11_CREATE_DEVICE_BGRA_SUPPORT);
    call.only("feature levels", levels || levelCount || level, false);
    call.only("version", sdkVersion, D3D11_SDK_VERSION);
    if (call.struck()) return call.fail(DXGI_ERROR_UNSUPPORTED);
    if (driver != D3D_DRIVER_TYPE_UNKNOWN) return E_INVALIDARG;  // as always with an adapter
    *device = (new dxgi::Device(dxgi::indexOf(adapter)))->published();
    *context = (new dxgi::Context)->published();
    return S_OK;
}
