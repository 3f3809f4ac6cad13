// The graphics device: a staging texture, and the copy of a part of the desktop into it.
//
// The host reads only the part that is copied, and the texture takes over the host's memory.

#include "platform/dxgi/objects.h"

#include <vector>

namespace dxgi {

namespace {

struct Context
    : com::ComObject<Context, ID3D11DeviceContext, IID_ID3D11DeviceChild, IID_ID3D11DeviceContext> {
    void CopySubresourceRegion(ID3D11Resource* target, UINT targetIndex, UINT x, UINT y, UINT z,
                               ID3D11Resource* source, UINT sourceIndex, const D3D11_BOX* box);
    HRESULT Map(ID3D11Resource* resource, UINT index, D3D11_MAP kind, UINT flags,
                D3D11_MAPPED_SUBRESOURCE* mapped);
    void Unmap(ID3D11Resource* resource, UINT index);

    static void fill(com::Table& table) {
        table.set(&ID3D11DeviceContext::CopySubresourceRegion,
                  com::member<&Context::CopySubresourceRegion>);
        table.set(&ID3D11DeviceContext::Map, com::member<&Context::Map>);
        table.set(&ID3D11DeviceContext::Unmap, com::member<&Context::Unmap>);
    }
};

void demand(bool condition, const char* operation, const char* what, std::int64_t value) {
    if (!condition) desktop::refuse(operation, what, value);
}

bool fits(const D3D11_BOX& box, const Texture& source) {
    return box.left < box.right && box.top < box.bottom && box.front == 0 && box.back == 1 &&
           box.right <= source.description.Width && box.bottom <= source.description.Height;
}

bool fills(const D3D11_BOX& box, const Texture& target) {
    return box.right - box.left == target.description.Width &&
           box.bottom - box.top == target.description.Height;
}

host::CapturedPicture blackPicture(UINT width, UINT height) {
    const auto bytes = std::make_shared<std::vector<std::uint8_t>>(std::size_t(width) * height * 4);
    return {{bytes, bytes->data()}, static_cast<int>(width * 4)};
}

// Has no result: a box that does not fit copies nothing.
void Context::CopySubresourceRegion(ID3D11Resource* target, UINT targetIndex, UINT x, UINT y,
                                    UINT z, ID3D11Resource* source, UINT sourceIndex,
                                    const D3D11_BOX* box) {
    const char* const operation = "ID3D11DeviceContext::CopySubresourceRegion";
    desktop::Call call(operation, box->left, box->top, box->right, box->bottom);
    demand(targetIndex == 0 && sourceIndex == 0, operation, "subresource", sourceIndex);
    demand(x == 0 && y == 0 && z == 0, operation, "position", x);
    Texture& to = *com::objectOf<Texture>(target);
    const Texture& from = *com::objectOf<Texture>(source);
    demand(!to.frames && from.frames, operation, "pair of textures", 0);
    demand(!to.isMapped, operation, "mapped target", 1);
    Frames& frames = *from.frames;
    demand(frames.isHeld && frames.last == from.frame, operation, "frame that is no longer held",
           from.frame);
    if (!fits(*box, from)) return;
    demand(fills(*box, to), operation, "part of the target", box->right);
    const LONG left = frames.bounds.left, top = frames.bounds.top;
    const RECT area{left + static_cast<LONG>(box->left), top + static_cast<LONG>(box->top),
                    left + static_cast<LONG>(box->right), top + static_cast<LONG>(box->bottom)};
    // A frame of the pointer alone shows the last image again. The target has it already: black
    // before the first one.
    demand(frames.image == from.frame || frames.image == to.frame, operation,
           "image that was not copied", frames.image);
    if (frames.image != from.frame) return;
    to.frame = from.frame;
    to.picture = {};  // first, so that the host can use its memory again
    to.picture = host::current().readPicture(area);
    if (!to.picture.bytes) frames.isLost = true;
}

HRESULT Context::Map(ID3D11Resource* resource, UINT index, D3D11_MAP kind, UINT flags,
                     D3D11_MAPPED_SUBRESOURCE* mapped) {
    const char* const operation = "ID3D11DeviceContext::Map";
    desktop::Call call(operation, index, kind, flags);
    *mapped = {};
    Texture& texture = *com::objectOf<Texture>(resource);
    demand(index == 0, operation, "subresource", index);
    demand(kind == D3D11_MAP_READ && flags == 0, operation, "kind of access", kind);
    demand(!texture.frames && !texture.isMapped, operation, "texture", texture.isMapped);
    if (call.struck()) return call.result(E_OUTOFMEMORY);
    const UINT height = texture.description.Height;
    if (!texture.picture.bytes) texture.picture = blackPicture(texture.description.Width, height);
    texture.isMapped = true;
    desktop::opened(desktop::Object::MappedTexture);
    const auto pitch = static_cast<UINT>(texture.picture.pitch);
    *mapped = {const_cast<std::uint8_t*>(texture.picture.bytes.get()), pitch, pitch * height};
    return S_OK;
}

void Context::Unmap(ID3D11Resource* resource, UINT index) {
    desktop::Call call("ID3D11DeviceContext::Unmap", index);
    Texture& texture = *com::objectOf<Texture>(resource);
    demand(texture.isMapped, "ID3D11DeviceContext::Unmap", "texture that is not mapped", 0);
    texture.isMapped = false;
    desktop::closed(desktop::Object::MappedTexture);
}

void demandStaging(const D3D11_TEXTURE2D_DESC& asked) {
    const char* const operation = "ID3D11Device::CreateTexture2D";
    demand(asked.MipLevels == 1 && asked.ArraySize == 1, operation, "number of levels",
           asked.MipLevels);
    demand(asked.Format == DXGI_FORMAT_B8G8R8A8_UNORM, operation, "format", asked.Format);
    demand(asked.SampleDesc.Count == 1 && asked.SampleDesc.Quality == 0, operation, "sampling",
           asked.SampleDesc.Count);
    demand(asked.Usage == D3D11_USAGE_STAGING && asked.BindFlags == 0, operation, "usage",
           asked.Usage);
    demand(asked.CPUAccessFlags == D3D11_CPU_ACCESS_READ, operation, "access",
           asked.CPUAccessFlags);
    demand(asked.MiscFlags == 0, operation, "flags", asked.MiscFlags);
}

}  // namespace

HRESULT Device::CreateTexture2D(const D3D11_TEXTURE2D_DESC* description,
                                const D3D11_SUBRESOURCE_DATA* initial, ID3D11Texture2D** texture) {
    desktop::Call call("ID3D11Device::CreateTexture2D", description->Width, description->Height,
                       description->MipLevels, description->ArraySize, description->Format,
                       description->SampleDesc.Count, description->SampleDesc.Quality,
                       description->Usage, description->BindFlags, description->CPUAccessFlags,
                       description->MiscFlags);
    *texture = nullptr;
    demandStaging(*description);
    demand(!initial, "ID3D11Device::CreateTexture2D", "initial data", 1);
    if (call.struck()) return call.result(E_OUTOFMEMORY);
    if (description->Width == 0 || description->Height == 0) return E_INVALIDARG;
    *texture = (new Texture(*description))->published();
    return S_OK;
}

}  // namespace dxgi

HRESULT D3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE driver, HMODULE software,
                          UINT flags, const D3D_FEATURE_LEVEL* levels, UINT levelCount,
                          UINT sdkVersion, ID3D11Device** device, D3D_FEATURE_LEVEL* level,
                          ID3D11DeviceContext** context) {
    const char* const operation = "D3D11CreateDevice";
    desktop::Call call(operation, driver, flags, levelCount, sdkVersion);
    *device = nullptr;
    *context = nullptr;
    dxgi::demand(adapter && !software, operation, "adapter", 0);
    dxgi::demand(flags == D3D11_CREATE_DEVICE_BGRA_SUPPORT, operation, "flags", flags);
    dxgi::demand(!levels && levelCount == 0, operation, "feature levels", levelCount);
    dxgi::demand(!level, operation, "request for the feature level", 1);
    dxgi::demand(sdkVersion == D3D11_SDK_VERSION, operation, "version", sdkVersion);
    if (call.struck()) return call.result(DXGI_ERROR_UNSUPPORTED);
    if (driver != D3D_DRIVER_TYPE_UNKNOWN) return E_INVALIDARG;  // as always with an adapter
    *device = (new dxgi::Device(dxgi::indexOf(adapter)))->published();
    *context = (new dxgi::Context)->published();
    return S_OK;
}
