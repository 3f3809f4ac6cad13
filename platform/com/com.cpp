// COM's start in each thread, and identifiers: new ones, their text, and the published ones, which
// this source defines.

#define INITGUID
#include "platform/sdk/sdk.h"

#include <glib.h>
#include <sys/random.h>

#include <algorithm>
#include <string_view>

#include "platform/com/table.h"
#include "platform/core/call.h"
#include "platform/core/objects.h"

// The one identifier that its header declares without a value.
const IID IID_IUnknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

namespace {

thread_local int starts = 0;
thread_local DWORD kind = 0;

}  // namespace

void com::stopAtSlot(const char* interfaceName, std::size_t slot) {
    desktop::refuse(interfaceName, "slot of a method", static_cast<std::int64_t>(slot));
}

HRESULT CoInitializeEx(LPVOID reserved, DWORD apartment) {
    desktop::Call call("CoInitializeEx", apartment);
    call.only("reserved argument", reserved, nullptr);
    call.only("apartment", apartment, COINIT_MULTITHREADED, COINIT_APARTMENTTHREADED);
    if (call.struck()) return call.fail(E_OUTOFMEMORY);
    if (starts > 0 && kind != apartment) return RPC_E_CHANGED_MODE;
    kind = apartment;
    desktop::opened("ComStart");
    return starts++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() {
    desktop::Call call("CoUninitialize");
    if (starts == 0) call.refuse("count of starts", 0);
    --starts;
    desktop::closed("ComStart");
}

HRESULT CoCreateGuid(GUID* id) {
    desktop::Call call("CoCreateGuid");
    if (call.struck() || getrandom(id, sizeof *id, 0) != sizeof *id) return call.fail(E_FAIL);
    // Version 4, the random one, in the variant that all current identifiers have.
    id->Data3 = static_cast<std::uint16_t>((id->Data3 & 0x0FFF) | 0x4000);
    id->Data4[0] = static_cast<std::uint8_t>((id->Data4[0] & 0x3F) | 0x80);
    return S_OK;
}

int StringFromGUID2(REFGUID id, LPOLESTR text, int capacity) {
    desktop::Call call("StringFromGUID2", capacity);
    std::string shown = '{' + desktop::describe(id) + '}';
    const int units = static_cast<int>(shown.size()) + 1;
    if (capacity < units) return 0;
    std::ranges::transform(shown.c_str(), shown.c_str() + units, text, g_ascii_toupper);
    return units;
}
