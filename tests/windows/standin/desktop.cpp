// Stands in for dxgi.dll and d3d11.dll: two adapters, of which the second has the real monitor, and
// frames of one color. One comes with the first poll, one with the third.

#include "tests/windows/standin/object.h"

#include <d3d11.h>
#include <dxgi1_2.h>

namespace {

constexpr UINT ground = 0x3060A0;
constexpr UINT padding = 16;  // pixels at the end of a row

HRESULT acquire(IDXGIOutputDuplication* self, UINT timeout, DXGI_OUTDUPL_FRAME_INFO*,
                IDXGIResource** result) {
    record("AcquireNextFrame", timeout);
    const UINT poll = ++objectOf(self).number;
    if (poll != 1 && poll != 3) return DXGI_ERROR_WAIT_TIMEOUT;
    create<IDXGIResource>(result, [](auto& table) {
        table.QueryInterface = [](auto*, const IID& id, void** texture) -> HRESULT {
            create<ID3D11Texture2D>(texture, [](auto&) {});
            return record("QueryInterface", id);
        };
    });
    return S_OK;
}

HRESULT duplicate(IDXGIOutput1*, IUnknown*, IDXGIOutputDuplication** result) {
    record("DuplicateOutput");
    create<IDXGIOutputDuplication>(result, [](auto& table) {
        table.AcquireNextFrame = acquire;
        ACCEPT(table, ReleaseFrame);
    });
    return S_OK;
}

HRESULT describe(IDXGIOutput1* self, DXGI_OUTPUT_DESC* description) {
    record("GetDesc");
    HMONITOR const monitor = MonitorFromPoint({0, 0}, MONITOR_DEFAULTTOPRIMARY);
    const RECT area{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    const bool isReal = objectOf(self).number == 1;
    *description = {{}, area, TRUE, DXGI_MODE_ROTATION_IDENTITY, isReal ? monitor : nullptr};
    return S_OK;
}

HRESULT enumOutputs(IDXGIAdapter1* self, UINT index, IDXGIOutput** result) {
    record("EnumOutputs", index);
    if (index > 0) return DXGI_ERROR_NOT_FOUND;
    const auto fill = [](auto& table) {
        table.GetDesc = describe;
        table.DuplicateOutput = duplicate;
    };
    create<IDXGIOutput1>(result, fill).number = objectOf(self).number;
    return S_OK;
}

HRESULT enumAdapters(IDXGIFactory1*, UINT index, IDXGIAdapter1** result) {
    record("EnumAdapters1", index);
    const auto fill = [](auto& table) { table.EnumOutputs = enumOutputs; };
    create<IDXGIAdapter1>(result, fill).number = index;
    return S_OK;
}

HRESULT createTexture(ID3D11Device*, const D3D11_TEXTURE2D_DESC* wanted,
                      const D3D11_SUBRESOURCE_DATA*, ID3D11Texture2D** result) {
    record("CreateTexture2D", wanted->Width, wanted->Height, wanted->MipLevels, wanted->ArraySize,
           wanted->Format, wanted->SampleDesc.Count, wanted->SampleDesc.Quality, wanted->Usage,
           wanted->BindFlags, wanted->CPUAccessFlags, wanted->MiscFlags);
    Object& texture = create<ID3D11Texture2D>(result, [](auto&) {});
    texture.number = wanted->Width + padding;
    texture.pixels.assign(texture.number * wanted->Height, ground);
    return S_OK;
}

HRESULT map(ID3D11DeviceContext*, ID3D11Resource* target, UINT part, D3D11_MAP kind, UINT flags,
            D3D11_MAPPED_SUBRESOURCE* mapped) {
    record("Map", part, kind, flags);
    *mapped = {objectOf(target).pixels.data(), objectOf(target).number * 4, 0};
    return S_OK;
}

}  // namespace

HRESULT WINAPI CreateDXGIFactory1(const IID& id, void** result) {
    create<IDXGIFactory1>(result, [](auto& table) { table.EnumAdapters1 = enumAdapters; });
    return recordExport("dxgi.dll", "CreateDXGIFactory1", id);
}

HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter*, D3D_DRIVER_TYPE type, HMODULE, UINT flags,
                                 const D3D_FEATURE_LEVEL*, UINT levelCount, UINT version,
                                 ID3D11Device** device, D3D_FEATURE_LEVEL*,
                                 ID3D11DeviceContext** context) {
    create<ID3D11Device>(device, [](auto& table) { table.CreateTexture2D = createTexture; });
    create<ID3D11DeviceContext>(context, [](auto& table) {
        table.CopySubresourceRegion = [](auto*, ID3D11Resource*, UINT, UINT, UINT, UINT,
                                         ID3D11Resource*, UINT, const D3D11_BOX* box) {
            record("CopySubresourceRegion", box->left, box->top, box->right, box->bottom);
        };
        table.Map = map;
        table.Unmap = [](auto*, ID3D11Resource*, UINT part) { record("Unmap", part); };
    });
    return recordExport("d3d11.dll", "D3D11CreateDevice", type, flags, levelCount, version);
}
