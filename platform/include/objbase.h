// Interfaces and the apartments they live in.

#pragma once

#include <cstring>

#include "layer/errors.h"
#include "layer/types.h"

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2, Data3;
    std::uint8_t Data4[8];
};
using IID = GUID;
using KNOWNFOLDERID = GUID;

#define REFGUID const GUID&
#define REFIID const IID&
#define REFKNOWNFOLDERID const KNOWNFOLDERID&

inline bool operator==(const GUID& one, const GUID& other) {
    return std::memcmp(&one, &other, sizeof(GUID)) == 0;
}

// Declares an identifier; in the one source that defines INITGUID it is defined too.
#ifdef INITGUID
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                               \
    extern "C" const GUID name;                                                                    \
    extern "C" const GUID name = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}
#else
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) extern "C" const GUID name
#endif

extern "C" const IID IID_IUnknown;  // {00000000-0000-0000-C000-000000000046}

// Offers the published methods that the program calls and no others, as all interfaces here do; the
// order of methods is therefore not that of the published table.
struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};

#define COINIT_MULTITHREADED 0x0
#define COINIT_APARTMENTTHREADED 0x2

HRESULT CoInitializeEx(LPVOID reserved, DWORD apartment);
void CoUninitialize();
void CoTaskMemFree(LPVOID block);
HRESULT CoCreateGuid(GUID* id);
int StringFromGUID2(REFGUID id, LPWSTR text, int capacity);
