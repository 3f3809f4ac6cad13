// Stands in for dxgi.dll and d3d11.dll: two adapters, of which the second has the real monitor, and
// pictures of the real screen. No picture comes until the event STAND_IN_SCREEN is set; after the
// first one every third acquire finds nothing new.

#include "tests/windows/standin/object.h"

#include <d3d11.h>
#include <dxgi1_2.h>

#include <algorithm>

namespace {

constexpr DWORD padding = 64;  // bytes behind every row of a mapped picture

HMONITOR realMonitor() { return MonitorFromPoint({0, 0}, MONITOR_DEFAULTTOPRIMARY); }

const com::Table& frameTable();
const com::Table& outputTable();

HRESULT askOutput(IDXGIOutput1* self, const IID& id, void** result) {
    handOut("view", outputTable(), result);
    record(self, "QueryInterface", id, "->", *result);
    return S_OK;
}

HRESULT describeOutput(IDXGIOutput1* self, DXGI_OUTPUT_DESC* description) {
    record(self, "GetDesc");
    *description = {};
    const bool isReal = objectOf(self)->length == 1;
    MONITORINFO info{};
    info.cbSize = sizeof info;
    GetMonitorInfoW(realMonitor(), &info);
    description->DesktopCoordinates = info.rcMonitor;
    description->Rotation = DXGI_MODE_ROTATION_IDENTITY;
    description->Monitor = isReal ? realMonitor() : reinterpret_cast<HMONITOR>(self);
    return S_OK;
}

HRESULT acquire(IDXGIOutputDuplication* self, UINT timeout, DXGI_OUTDUPL_FRAME_INFO*,
                IDXGIResource** result) {
    static const HANDLE screenIsReady = CreateEventA(nullptr, TRUE, FALSE, "STAND_IN_SCREEN");
    const bool ready = WaitForSingleObject(screenIsReady, timeout) == WAIT_OBJECT_0;
    if (ready) ++objectOf(self)->length;
    if (!ready || objectOf(self)->length % 3 == 0) {
        record(self, "AcquireNextFrame", timeout);
        return DXGI_ERROR_WAIT_TIMEOUT;
    }
    handOut("frame", frameTable(), result);
    record(self, "AcquireNextFrame", timeout, "->", *result);
    return S_OK;
}

HRESULT releaseFrame(IDXGIOutputDuplication* self) {
    record(self, "ReleaseFrame");
    return S_OK;
}

HRESULT askFrame(IDXGIResource* self, const IID& id, void** result) {
    static const com::Table table = makeTable<ID3D11Texture2D>();
    handOut("picture", table, result);
    record(self, "QueryInterface", id, "->", *result);
    return S_OK;
}

const com::Table& frameTable() {
    static const com::Table table = makeTable<IDXGIResource>(askFrame);
    return table;
}

HRESULT duplicate(IDXGIOutput1* self, IUnknown* device, IDXGIOutputDuplication** result) {
    static const com::Table table = makeTable<IDXGIOutputDuplication>()
                                        .set(&IDXGIOutputDuplication::AcquireNextFrame, acquire)
                                        .set(&IDXGIOutputDuplication::ReleaseFrame, releaseFrame);
    handOut("duplication", table, result);
    record(self, "DuplicateOutput", device, "->", *result);
    return S_OK;
}

const com::Table& outputTable() {
    static const com::Table table = makeTable<IDXGIOutput1>(askOutput)
                                        .set(&IDXGIOutput1::GetDesc, describeOutput)
                                        .set(&IDXGIOutput1::DuplicateOutput, duplicate);
    return table;
}

// An enumeration of `count` items; the number of an item is its `length`.
template <typename Interface>
HRESULT enumerate(const void* self, const char* operation, UINT index, UINT count, const char* kind,
                  const com::Table& table, Interface** result) {
    if (index >= count) {
        record(self, operation, index);
        return DXGI_ERROR_NOT_FOUND;
    }
    handOut(kind, table, result)->length = index;
    record(self, operation, index, "->", *result);
    return S_OK;
}

HRESULT enumOutputs(IDXGIAdapter1* self, UINT index, IDXGIOutput** result) {
    const HRESULT found = enumerate(self, "EnumOutputs", index, 1, "output", outputTable(), result);
    if (found == S_OK) objectOf(*result)->length = objectOf(self)->length;
    return found;
}

HRESULT enumAdapters(IDXGIFactory1* self, UINT index, IDXGIAdapter1** result) {
    static const com::Table table =
        makeTable<IDXGIAdapter1>().set(&IDXGIAdapter1::EnumOutputs, enumOutputs);
    return enumerate(self, "EnumAdapters1", index, 2, "adapter", table, result);
}

// From the top down, as a mapped texture has it.
BITMAPINFO layoutOf(LONG width, LONG height) {
    BITMAPINFO layout{};
    layout.bmiHeader.biSize = sizeof layout.bmiHeader;
    layout.bmiHeader.biWidth = width;
    layout.bmiHeader.biHeight = -height;
    layout.bmiHeader.biPlanes = 1;
    layout.bmiHeader.biBitCount = 32;
    return layout;
}

void copyPicture(ID3D11DeviceContext* self, ID3D11Resource* target, UINT part, UINT x, UINT y,
                 UINT z, ID3D11Resource* source, UINT sourcePart, const D3D11_BOX* box) {
    record(self, "CopySubresourceRegion", target, part, x, y, z, source, sourcePart, box->left,
           box->top, box->front, box->right, box->bottom, box->back);
    Object& texture = *objectOf(target);
    // A row that is longer than what the program reads brings the padding along.
    const LONG width = texture.width + padding / 4;
    const BITMAPINFO layout = layoutOf(width, texture.height);
    HDC const screen = GetDC(nullptr);
    HDC const memory = CreateCompatibleDC(screen);
    void* pixels = nullptr;
    HBITMAP const bitmap = CreateDIBSection(screen, &layout, DIB_RGB_COLORS, &pixels, nullptr, 0);
    HGDIOBJ const before = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width, texture.height, screen, static_cast<int>(box->left),
           static_cast<int>(box->top), SRCCOPY);
    GdiFlush();
    std::copy_n(static_cast<const BYTE*>(pixels), texture.bytes.size(), texture.bytes.begin());
    DeleteObject(SelectObject(memory, before));
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
}

HRESULT map(ID3D11DeviceContext* self, ID3D11Resource* target, UINT part, D3D11_MAP kind,
            UINT flags, D3D11_MAPPED_SUBRESOURCE* mapped) {
    record(self, "Map", target, part, kind, flags);
    Object& texture = *objectOf(target);
    *mapped = {.pData = texture.bytes.data(),
               .RowPitch = static_cast<UINT>(texture.width) * 4 + padding,
               .DepthPitch = 0};
    return S_OK;
}

void unmap(ID3D11DeviceContext* self, ID3D11Resource* target, UINT part) {
    record(self, "Unmap", target, part);
}

HRESULT createTexture(ID3D11Device* self, const D3D11_TEXTURE2D_DESC* wanted,
                      const D3D11_SUBRESOURCE_DATA* initial, ID3D11Texture2D** result) {
    static const com::Table table = makeTable<ID3D11Texture2D>();
    Object& texture = *handOut("crop", table, result);
    texture.width = static_cast<LONG>(wanted->Width);
    texture.height = static_cast<LONG>(wanted->Height);
    texture.bytes.resize((wanted->Width * 4 + padding) * wanted->Height);
    record(self, "CreateTexture2D", wanted->Width, wanted->Height, wanted->MipLevels,
           wanted->ArraySize, wanted->Format, wanted->SampleDesc.Count, wanted->SampleDesc.Quality,
           wanted->Usage, wanted->BindFlags, wanted->CPUAccessFlags, wanted->MiscFlags,
           static_cast<const void*>(initial), "->", *result);
    return S_OK;
}

}  // namespace

HRESULT WINAPI CreateDXGIFactory1(const IID& id, void** result) {
    static const com::Table table =
        makeTable<IDXGIFactory1>().set(&IDXGIFactory1::EnumAdapters1, enumAdapters);
    handOut("factory", table, result);
    record("CreateDXGIFactory1", id, "->", *result);
    return S_OK;
}

HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE type, HMODULE software,
                                 UINT flags, const D3D_FEATURE_LEVEL* levels, UINT levelCount,
                                 UINT version, ID3D11Device** device, D3D_FEATURE_LEVEL* level,
                                 ID3D11DeviceContext** context) {
    static const com::Table deviceTable =
        makeTable<ID3D11Device>().set(&ID3D11Device::CreateTexture2D, createTexture);
    static const com::Table contextTable =
        makeTable<ID3D11DeviceContext>()
            .set(&ID3D11DeviceContext::CopySubresourceRegion, copyPicture)
            .set(&ID3D11DeviceContext::Map, map)
            .set(&ID3D11DeviceContext::Unmap, unmap);
    handOut("device", deviceTable, device);
    handOut("context", contextTable, context);
    record("D3D11CreateDevice", adapter, type, software != nullptr, flags, levels != nullptr,
           levelCount, version, level != nullptr, "->", *device, *context);
    return S_OK;
}
