// Start-up of COM, a matter of each thread.

#include <objbase.h>

#include "platform/com/table.h"
#include "platform/desktop/call.h"
#include "platform/desktop/objects.h"

namespace {

thread_local int starts = 0;
thread_local DWORD kind = 0;

}  // namespace

HRESULT CoInitializeEx(LPVOID reserved, DWORD apartment) {
    desktop::Call call("CoInitializeEx", apartment);
    if (reserved || (apartment != COINIT_MULTITHREADED && apartment != COINIT_APARTMENTTHREADED))
        desktop::refuse("CoInitializeEx", "apartment", apartment);
    if (call.struck()) return call.result(E_OUTOFMEMORY);
    if (starts > 0 && kind != apartment) return RPC_E_CHANGED_MODE;
    kind = apartment;
    desktop::opened(desktop::Object::ComStart);
    return starts++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() {
    desktop::Call call("CoUninitialize");
    if (starts == 0) desktop::refuse("CoUninitialize", "count of starts", 0);
    --starts;
    desktop::closed(desktop::Object::ComStart);
}

void com::stopAtSlot(const char* interfaceName, std::size_t slot) {
    desktop::refuse(interfaceName, "slot of a method", static_cast<std::int64_t>(slot));
}
