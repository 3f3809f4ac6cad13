// Identifiers: new ones, their text, and the published ones.

#define INITGUID
#include "platform/sdk/sdk.h"

#include <sys/random.h>

#include <cstdio>
#include <string>

#include "platform/desktop/call.h"

// The one identifier that its header declares without a value.
const IID IID_IUnknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

HRESULT CoCreateGuid(GUID* id) {
    desktop::Call call("CoCreateGuid");
    if (call.struck() || getrandom(id, sizeof *id, 0) != sizeof *id) return call.result(E_FAIL);
    // Version 4, the random one, in the variant that all current identifiers have.
    id->Data3 = static_cast<std::uint16_t>((id->Data3 & 0x0FFF) | 0x4000);
    id->Data4[0] = static_cast<std::uint8_t>((id->Data4[0] & 0x3F) | 0x80);
    return S_OK;
}

int StringFromGUID2(REFGUID id, LPWSTR text, int capacity) {
    desktop::Call call("StringFromGUID2", capacity);
    char ascii[39];
    const std::uint8_t* const tail = id.Data4;
    std::snprintf(ascii, sizeof ascii, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  id.Data1, id.Data2, id.Data3, tail[0], tail[1], tail[2], tail[3], tail[4],
                  tail[5], tail[6], tail[7]);
    if (capacity < static_cast<int>(sizeof ascii)) return 0;
    std::copy(ascii, ascii + sizeof ascii, text);
    return sizeof ascii;
}
