// Only the cropped region is copied out of the graphics device, never the whole frame.

#include "capture/desktop_source.h"

#include <stdexcept>

#include "capture/frame_conversion.h"
#include "common/failure.h"

namespace {

// The duplication acquires the next frame only after this one is released.
struct HeldFrame {
    explicit HeldFrame(IDXGIOutputDuplication* source) : holder(source) {}
    ~HeldFrame() { holder->ReleaseFrame(); }
    HeldFrame(const HeldFrame&) = delete;
    HeldFrame& operator=(const HeldFrame&) = delete;

    IDXGIOutputDuplication* const holder;
};

// Returns false if the adapter has no output that shows the monitor.
bool findOutput(IDXGIAdapter1* adapter, HMONITOR monitor, ComPointer<IDXGIOutput>& output,
                DXGI_OUTPUT_DESC& description) {
    for (UINT index = 0;; ++index) {
        const HRESULT found = adapter->EnumOutputs(index, output.put());
        if (found == DXGI_ERROR_NOT_FOUND) return false;
        check(found, "Enumerate outputs");
        check(output->GetDesc(&description), "Output description");
        if (description.Monitor == monitor) return true;
    }
}

DXGI_OUTPUT_DESC findMonitor(IDXGIFactory1* factory, HMONITOR monitor,
                             ComPointer<IDXGIAdapter1>& adapter, ComPointer<IDXGIOutput>& output) {
    DXGI_OUTPUT_DESC description{};
    for (UINT index = 0;; ++index) {
        const HRESULT found = factory->EnumAdapters1(index, adapter.put());
        if (found == DXGI_ERROR_NOT_FOUND)
            throw std::runtime_error("Selected monitor disconnected");
        check(found, "Enumerate adapters");
        if (findOutput(adapter.get(), monitor, output, description)) return description;
    }
}

void requireRecordable(const DXGI_OUTPUT_DESC& output, const CaptureRegion& region) {
    if (output.Rotation != DXGI_MODE_ROTATION_IDENTITY)
        throw std::runtime_error("Rotated monitors are not supported in this version");
    const RECT& bounds = output.DesktopCoordinates;
    if (region.left < bounds.left || region.top < bounds.top || region.right > bounds.right ||
        region.bottom > bounds.bottom)
        throw std::runtime_error("Monitor layout changed; select again");
}

// D3D11CreateDevice requires D3D_DRIVER_TYPE_UNKNOWN with an adapter.
void createDevice(IDXGIAdapter1* adapter, DesktopSource& source) {
    check(D3D11CreateDevice(adapter, D3D_DRIVER_TYPE_UNKNOWN, nullptr,
                            D3D11_CREATE_DEVICE_BGRA_SUPPORT, nullptr, 0, D3D11_SDK_VERSION,
                            source.device.put(), nullptr, source.context.put()),
          "D3D11 device");
}

void createCrop(DesktopSource& source) {
    D3D11_TEXTURE2D_DESC description{};
    description.Width = static_cast<UINT>(source.width);
    description.Height = static_cast<UINT>(source.height);
    description.MipLevels = 1;
    description.ArraySize = 1;
    description.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
    description.SampleDesc.Count = 1;
    description.Usage = D3D11_USAGE_STAGING;
    description.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
    check(source.device->CreateTexture2D(&description, nullptr, source.crop.put()), "Crop texture");
}

D3D11_BOX boxInOutput(const CaptureRegion& region, const RECT& bounds) {
    D3D11_BOX box{};
    box.left = static_cast<UINT>(region.left - bounds.left);
    box.top = static_cast<UINT>(region.top - bounds.top);
    box.right = static_cast<UINT>(region.right - bounds.left);
    box.bottom = static_cast<UINT>(region.bottom - bounds.top);
    box.back = 1;
    return box;
}

void convertCrop(DesktopSource& source, ID3D11Texture2D* desktop, std::uint8_t* frameBuffer) {
    source.context->CopySubresourceRegion(source.crop.get(), 0, 0, 0, 0, desktop, 0,
                                          &source.sourceBox);
    D3D11_MAPPED_SUBRESOURCE mapped{};
    check(source.context->Map(source.crop.get(), 0, D3D11_MAP_READ, 0, &mapped), "Map crop");
    convertBgraToNv12(static_cast<const std::uint8_t*>(mapped.pData),
                      static_cast<std::int32_t>(mapped.RowPitch), source.width, source.height,
                      frameBuffer);
    source.context->Unmap(source.crop.get(), 0);
}

}  // namespace

DesktopSource openDesktopSource(HMONITOR monitor, const CaptureRegion& region) {
    DesktopSource source;
    source.width = region.right - region.left;
    source.height = region.bottom - region.top;
    // Needed only to open the duplication. Released in the opposite order.
    ComPointer<IDXGIFactory1> factory;
    ComPointer<IDXGIAdapter1> adapter;
    ComPointer<IDXGIOutput> output;
    ComPointer<IDXGIOutput1> duplicable;
    check(CreateDXGIFactory1(IID_IDXGIFactory1, factory.putUntyped()), "DXGI factory");
    source.outputDescription = findMonitor(factory.get(), monitor, adapter, output);
    requireRecordable(source.outputDescription, region);
    createDevice(adapter.get(), source);
    check(output.query(IID_IDXGIOutput1, duplicable), "Desktop duplication support");
    check(duplicable->DuplicateOutput(source.device.get(), source.duplication.put()),
          "Duplicate desktop (local unlocked desktop required)");
    createCrop(source);
    source.sourceBox = boxInOutput(region, source.outputDescription.DesktopCoordinates);
    return source;
}

bool pollDesktopFrame(DesktopSource& source, std::uint32_t timeoutMilliseconds,
                      std::uint8_t* frameBuffer) {
    DXGI_OUTDUPL_FRAME_INFO unread{};
    ComPointer<IDXGIResource> resource;
    const HRESULT acquired =
        source.duplication->AcquireNextFrame(timeoutMilliseconds, &unread, resource.put());
    if (acquired == DXGI_ERROR_WAIT_TIMEOUT) return false;
    check(acquired, "Acquire desktop (display mode/lock changed)");
    // Released last to first: the texture, the frame, the resource.
    const HeldFrame frame(source.duplication.get());
    ComPointer<ID3D11Texture2D> desktop;
    check(resource.query(IID_ID3D11Texture2D, desktop), "Desktop texture");
    convertCrop(source, desktop.get(), frameBuffer);
    return true;
}
