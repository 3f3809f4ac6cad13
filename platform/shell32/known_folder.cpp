// The folders of the user.

#include <shlobj.h>

#include "platform/desktop/call.h"
#include "platform/desktop/text.h"
#include "platform/desktop/user_folders.h"
#include "platform/com/task_memory.h"

HRESULT SHGetKnownFolderPath(REFKNOWNFOLDERID folder, DWORD flags, HANDLE token, PWSTR* path) {
    desktop::Call call("SHGetKnownFolderPath", flags);
    if (!(folder == FOLDERID_LocalAppData) || token)
        desktop::refuse("SHGetKnownFolderPath", "folder", folder.Data1);
    if (flags) desktop::refuse("SHGetKnownFolderPath", "flags", flags);
    *path = nullptr;
    if (call.struck()) return call.result(E_FAIL);
    const auto text = desktop::publishedPath(desktop::userDataFolder().native());
    if (!text) return HRESULT_FROM_WIN32(ERROR_NO_UNICODE_TRANSLATION);
    *path = com::taskText(*text);
    return S_OK;
}
