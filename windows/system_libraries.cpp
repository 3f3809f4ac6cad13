// Protects the program from libraries planted beside it.
//
// Windows searches the program's own folder first, and the program is often started in the folder
// to which it was downloaded. Known libraries (KnownDLLs of the session manager) always come from
// System32, and only they are imported. Other libraries are loaded by the first call to them, after
// the search has been restricted to System32. If one is absent, that call fails like any other:
// editions of Windows without Media Foundation lack mfplat.dll and mfreadwrite.dll.

#include <windows.h>
#include <d3d11.h>
#include <dwmapi.h>
#include <mfapi.h>
#include <mfidl.h>
#include <mfreadwrite.h>

namespace {

// Static initialization is the earliest code of the program. The restriction then also applies to
// what the system's own libraries load in this process.
[[maybe_unused]] const BOOL isRestricted = SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);

template <auto declared, typename... Arguments>
HRESULT call(const WCHAR* library, const char* name, Arguments&&... arguments) {
    static const auto function = [&] {
        HMODULE const module = LoadLibraryW(library);
        const FARPROC found = module ? GetProcAddress(module, name) : nullptr;
        return reinterpret_cast<decltype(declared)>(reinterpret_cast<void*>(found));
    }();
    return function ? function(arguments...) : HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
}

}  // namespace

HRESULT WINAPI CreateDXGIFactory1(REFIID id, void** factory) {
    return call<CreateDXGIFactory1>(TEXT("dxgi.dll"), "CreateDXGIFactory1", id, factory);
}

HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE type, HMODULE software,
                                 UINT flags, const D3D_FEATURE_LEVEL* levels, UINT levelCount,
                                 UINT version, ID3D11Device** device, D3D_FEATURE_LEVEL* level,
                                 ID3D11DeviceContext** context) {
    return call<D3D11CreateDevice>(TEXT("d3d11.dll"), "D3D11CreateDevice", adapter, type, software,
                                   flags, levels, levelCount, version, device, level, context);
}

HRESULT WINAPI DwmFlush() { return call<DwmFlush>(TEXT("dwmapi.dll"), "DwmFlush"); }

HRESULT WINAPI MFStartup(ULONG version, DWORD flags) {
    return call<MFStartup>(TEXT("mfplat.dll"), "MFStartup", version, flags);
}

HRESULT WINAPI MFShutdown() { return call<MFShutdown>(TEXT("mfplat.dll"), "MFShutdown"); }

HRESULT WINAPI MFCreateAttributes(IMFAttributes** attributes, UINT32 size) {
    return call<MFCreateAttributes>(TEXT("mfplat.dll"), "MFCreateAttributes", attributes, size);
}

HRESULT WINAPI MFCreateMediaType(IMFMediaType** type) {
    return call<MFCreateMediaType>(TEXT("mfplat.dll"), "MFCreateMediaType", type);
}

HRESULT WINAPI MFCreateMemoryBuffer(DWORD size, IMFMediaBuffer** buffer) {
    return call<MFCreateMemoryBuffer>(TEXT("mfplat.dll"), "MFCreateMemoryBuffer", size, buffer);
}

HRESULT WINAPI MFCreateSample(IMFSample** sample) {
    return call<MFCreateSample>(TEXT("mfplat.dll"), "MFCreateSample", sample);
}

HRESULT WINAPI MFCreateSinkWriterFromURL(const WCHAR* path, IMFByteStream* stream,
                                         IMFAttributes* attributes, IMFSinkWriter** writer) {
    return call<MFCreateSinkWriterFromURL>(TEXT("mfreadwrite.dll"), "MFCreateSinkWriterFromURL",
                                           path, stream, attributes, writer);
}
