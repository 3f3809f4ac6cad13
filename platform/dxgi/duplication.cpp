// Adapters and their monitors, the duplication of a monitor, and the graphics device that copies a
// part of its frame into a texture.
//
// The first monitor has an adapter of its own and all others share a second one, so a program that
// takes the first adapter for the only one, or its device for everyone's, fails. The last adapter
// has no output, like those that draw without a graphics card.
//
// A frame is only a promise that its image can be read until the release. Nothing is copied before
// the program requests a part of it; the host reads only that part, and the texture takes over the
// host's memory.

#include <d3d11.h>
#include <dxgi1_2.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

#include "platform/com/object.h"
#include "platform/gdi32/canvas.h"
#include "platform/hosts/host.h"

namespace {

constexpr UINT adapterCount = 3;
std::atomic<std::uintptr_t> duplicated = 0;  // The host shows one monitor at a time.

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
    // The frame that is held now.
    explicit Texture(const std::shared_ptr<Frames>& source) : frames(source), frame(source->last) {
        description.Width = static_cast<UINT>(source->bounds.right - source->bounds.left);
        description.Height = static_cast<UINT>(source->bounds.bottom - source->bounds.top);
    }
    ~Texture() {
        if (isMapped) desktop::closed("MappedTexture");
    }

    D3D11_TEXTURE2D_DESC description{};
    std::shared_ptr<Frames> frames;  // null: a staging texture
    unsigned frame = 0;              // the one that it is, or was copied from
    host::CapturedPicture picture;   // of a staging texture; none before the first copy into it
    bool isMapped = false;
};

struct FrameResource
    : com::ComObject<FrameResource, IDXGIResource, IID_IDXGIObject, IID_IDXGIResource> {
    explicit FrameResource(const std::shared_ptr<Frames>& source) : frames(source) {}

    HRESULT QueryInterface(REFIID id, void** object) {
        if (!(id == IID_ID3D11Texture2D)) return ComObject::QueryInterface(id, object);
        desktop::Call call("QueryInterface", id);
        *object = nullptr;
        if (call.struck()) return call.fail(E_NOINTERFACE);
        *object = (new Texture(frames))->published();
        return S_OK;
    }

    const std::shared_ptr<Frames> frames;
};

struct Duplication : com::ComObject<Duplication, IDXGIOutputDuplication, IID_IDXGIObject,
                                    IID_IDXGIOutputDuplication> {
    explicit Duplication(const RECT& bounds) { frames->bounds = bounds; }
    ~Duplication() {
        if (frames->isHeld) desktop::closed("DesktopFrame");
        frames->isHeld = false;
        host::current().closePictures();
        duplicated = 0;
    }

    HRESULT AcquireNextFrame(UINT milliseconds, DXGI_OUTDUPL_FRAME_INFO* information,
                             IDXGIResource** resource) {
        desktop::Call call("IDXGIOutputDuplication::AcquireNextFrame", milliseconds);
        *information = {};
        *resource = nullptr;
        if (call.struck()) return call.fail(DXGI_ERROR_ACCESS_LOST);
        if (frames->isHeld) return DXGI_ERROR_INVALID_CALL;
        if (frames->isLost) return DXGI_ERROR_ACCESS_LOST;
        const host::PictureState state = host::current().waitForPicture(milliseconds);
        if (state == host::PictureState::Unchanged) return DXGI_ERROR_WAIT_TIMEOUT;
        if (state == host::PictureState::Lost) {
            frames->isLost = true;
            return DXGI_ERROR_ACCESS_LOST;
        }
        frames->isHeld = true;
        ++frames->last;
        desktop::opened("DesktopFrame");
        if (state == host::PictureState::PointerMoved) {
            information->LastMouseUpdateTime.QuadPart = frames->last;
        } else {
            frames->image = frames->last;
            information->LastPresentTime.QuadPart = frames->last;
            information->AccumulatedFrames = 1;
        }
        *resource = (new FrameResource(frames))->published();
        return S_OK;
    }
    // A planned failure releases the frame too, as the loss of the desktop does.
    HRESULT ReleaseFrame() {
        desktop::Call call("IDXGIOutputDuplication::ReleaseFrame");
        if (!frames->isHeld) return DXGI_ERROR_INVALID_CALL;
        frames->isHeld = false;
        desktop::closed("DesktopFrame");
        if (call.struck()) return call.fail(DXGI_ERROR_ACCESS_LOST);
        return S_OK;
    }

    static void fill(com::Table& table) {
        table.set<&IDXGIOutputDuplication::AcquireNextFrame, &Duplication::AcquireNextFrame>();
        table.set<&IDXGIOutputDuplication::ReleaseFrame, &Duplication::ReleaseFrame>();
    }

    const std::shared_ptr<Frames> frames = std::make_shared<Frames>();
};

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

struct Device : com::ComObject<Device, ID3D11Device, IID_ID3D11Device> {
    explicit Device(UINT adapterIndex) : adapter(adapterIndex) {}

    HRESULT CreateTexture2D(const D3D11_TEXTURE2D_DESC* description,
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

    static void fill(com::Table& table) {
        table.set<&ID3D11Device::CreateTexture2D, &Device::CreateTexture2D>();
    }

    const UINT adapter;  // index of the one that it was created on
};

struct Output
    : com::ComObject<Output, IDXGIOutput1, IID_IDXGIObject, IID_IDXGIOutput, IID_IDXGIOutput1> {
    Output(const host::Monitor& shown, UINT adapterIndex) : monitor(shown), adapter(adapterIndex) {}

    HRESULT GetDesc(DXGI_OUTPUT_DESC* description) {
        desktop::Call call("IDXGIOutput::GetDesc");
        if (call.struck()) return call.fail(E_FAIL);
        *description = {};
        description->DesktopCoordinates = monitor.bounds;
        description->AttachedToDesktop = TRUE;
        description->Rotation = static_cast<DXGI_MODE_ROTATION>(monitor.rotation);
        description->Monitor = reinterpret_cast<HMONITOR>(monitor.id);
        return S_OK;
    }
    HRESULT DuplicateOutput(IUnknown* device, IDXGIOutputDuplication** duplication) {
        desktop::Call call("IDXGIOutput1::DuplicateOutput");
        *duplication = nullptr;
        if (call.struck()) return call.fail(E_ACCESSDENIED);
        if (com::objectOf<Device>(device)->adapter != adapter) return E_INVALIDARG;
        std::uintptr_t before = 0;
        if (!duplicated.compare_exchange_strong(before, monitor.id)) {
            call.only("second output at a time", before, monitor.id);
            return E_INVALIDARG;
        }
        if (!host::current().openPictures(monitor.id)) {
            duplicated = 0;
            return E_ACCESSDENIED;
        }
        *duplication = (new Duplication(monitor.bounds))->published();
        return S_OK;
    }

    static void fill(com::Table& table) {
        table.set<&IDXGIOutput1::GetDesc, &Output::GetDesc>();
        table.set<&IDXGIOutput1::DuplicateOutput, &Output::DuplicateOutput>();
    }

    const host::Monitor monitor;
    const UINT adapter;
};

struct Adapter
    : com::ComObject<Adapter, IDXGIAdapter1, IID_IDXGIObject, IID_IDXGIAdapter, IID_IDXGIAdapter1> {
    Adapter(const std::vector<host::Monitor>& present, UINT position) : index(position) {
        for (std::size_t each = 0; each < present.size(); ++each)
            if (std::min<std::size_t>(each, 1) == index) monitors.push_back(present[each]);
    }

    HRESULT EnumOutputs(UINT position, IDXGIOutput** output) {
        desktop::Call call("IDXGIAdapter::EnumOutputs", position);
        *output = nullptr;
        if (call.struck()) return call.fail(E_OUTOFMEMORY);
        if (position >= monitors.size()) return DXGI_ERROR_NOT_FOUND;
        *output = (new Output(monitors[position], index))->published();
        return S_OK;
    }

    static void fill(com::Table& table) {
        table.set<&IDXGIAdapter1::EnumOutputs, &Adapter::EnumOutputs>();
    }

    std::vector<host::Monitor> monitors;
    const UINT index;
};

struct Factory
    : com::ComObject<Factory, IDXGIFactory1, IID_IDXGIObject, IID_IDXGIFactory, IID_IDXGIFactory1> {
    HRESULT EnumAdapters1(UINT index, IDXGIAdapter1** adapter) {
        desktop::Call call("IDXGIFactory1::EnumAdapters1", index);
        *adapter = nullptr;
        if (call.struck()) return call.fail(E_OUTOFMEMORY);
        if (index >= adapterCount) return DXGI_ERROR_NOT_FOUND;
        *adapter = (new Adapter(monitors, index))->published();
        return S_OK;
    }

    static void fill(com::Table& table) {
        table.set<&IDXGIFactory1::EnumAdapters1, &Factory::EnumAdapters1>();
    }

    const std::vector<host::Monitor> monitors = host::current().monitors();
};

}  // namespace

HRESULT CreateDXGIFactory1(REFIID id, void** factory) {
    desktop::Call call("CreateDXGIFactory1", id);
    *factory = nullptr;
    if (call.struck()) return call.fail(E_FAIL);
    if (!(id == IID_IDXGIFactory1)) return E_NOINTERFACE;
    *factory = (new Factory)->published();
    return S_OK;
}

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
    *device = (new Device(com::objectOf<Adapter>(adapter)->index))->published();
    *context = (new Context)->published();
    return S_OK;
}
