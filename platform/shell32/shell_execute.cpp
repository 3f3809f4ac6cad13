// Opening a folder in the desktop's file manager.

#include <shellapi.h>

#include <filesystem>
#include <string_view>

#include "platform/desktop/call.h"
#include "platform/desktop/text.h"
#include "platform/hosts/host.h"

namespace {

HINSTANCE answer(std::intptr_t number) { return reinterpret_cast<HINSTANCE>(number); }

}  // namespace

// Results up to 32 are failures.
HINSTANCE ShellExecuteW(HWND owner, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters, LPCWSTR folder,
                        int show) {
    desktop::Call call("ShellExecuteW", owner, verb, file, parameters, folder, show);
    if (!verb || std::u16string_view(verb) != u"open") desktop::refuse("ShellExecuteW", "verb", 0);
    if (parameters || folder) desktop::refuse("ShellExecuteW", "parameters or folder", 1);
    if (show != SW_SHOWNORMAL) desktop::refuse("ShellExecuteW", "show", show);
    if (call.struck()) return answer(ERROR_ACCESS_DENIED);
    const std::string path = desktop::toUtf8(file);
    std::error_code error;
    if (!std::filesystem::is_directory(path, error)) return answer(ERROR_FILE_NOT_FOUND);
    return answer(host::current().openFolder(path) ? 33 : ERROR_ACCESS_DENIED);
}
