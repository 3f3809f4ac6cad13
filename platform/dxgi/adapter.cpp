// Adapters and their monitors, as they were when the factory was made.
//
// The first monitor has an adapter of its own and all others share a second one, so a program that
// takes the first adapter for the only one, or its device for everyone's, fails. The last adapter
// has no output, like those that draw without a graphics card.

#include <algorithm>
#include <vector>

#include "platform/dxgi/objects.h"

namespace dxgi {

namespace {

constexpr UINT adapterCount = 3;

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
        return openDuplication(monitor, duplication);
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

UINT indexOf(IDXGIAdapter* adapter) { return com::objectOf<Adapter>(adapter)->index; }

}  // namespace dxgi

HRESULT CreateDXGIFactory1(REFIID id, void** factory) {
    desktop::Call call("CreateDXGIFactory1", id);
    *factory = nullptr;
    if (call.struck()) return call.fail(E_FAIL);
    if (!(id == IID_IDXGIFactory1)) return E_NOINTERFACE;
    *factory = (new dxgi::Factory)->published();
    return S_OK;
}
