// The user's folders, and opening one.

#include <shellapi.h>
#include <shlobj.h>

#include <filesystem>
#include <string_view>

#include "platform/core/call.h"
#include "platform/core/objects.h"
#include "platform/core/text.h"
#include "platform/core/user_folders.h"
#include "platform/hosts/host.h"

HRESULT SHGetKnownFolderPath(REFKNOWNFOLDERID folder, DWORD flags, HANDLE token, PWSTR* path) {
    desktop::Call call("SHGetKnownFolderPath", flags);
    call.only("folder", folder == FOLDERID_LocalAppData, true);
    call.only("token", token, nullptr);
    call.only("flags", flags, 0);
    *path = nullptr;
    if (call.struck()) return call.fail(E_FAIL);
    const auto text = desktop::publishedPath(desktop::userDataFolder().native());
    if (!text) return HRESULT_FROM_WIN32(ERROR_NO_UNICODE_TRANSLATION);
    *path = new WCHAR[text->size() + 1];
    (*path)[text->copy(*path, text->size())] = 0;
    desktop::opened("TaskMemory");
    return S_OK;
}

// Paths are the only memory that the program gets from COM.
void CoTaskMemFree(LPVOID block) {
    desktop::Call call("CoTaskMemFree", static_cast<const void*>(block));
    if (!block) return;
    delete[] static_cast<PWSTR>(block);
    desktop::closed("TaskMemory");
}

// Results up to 32 are failures.
HINSTANCE ShellExecuteW(HWND owner, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters, LPCWSTR folder,
                        INT show) {
    desktop::Call call("ShellExecuteW", owner, verb, file, parameters, folder, show);
    call.only("verb", verb && std::u16string_view(verb) == u"open", true);
    call.only("parameters", parameters, nullptr);
    call.only("folder", folder, nullptr);
    call.only("show", show, SW_SHOWNORMAL);
    const auto answer = [](std::intptr_t number) { return reinterpret_cast<HINSTANCE>(number); };
    if (call.struck()) return answer(ERROR_ACCESS_DENIED);
    const std::string path = desktop::toUtf8(file);
    std::error_code error;
    if (!std::filesystem::is_directory(path, error)) return answer(ERROR_FILE_NOT_FOUND);
    return answer(host::current().openFolder(path) ? 33 : ERROR_ACCESS_DENIED);
}
