// The tray icon and its notices; the user's folders, and opening one.

#include <shellapi.h>
#include <shlobj.h>

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string_view>

#include "platform/core/call.h"
#include "platform/core/mailbox.h"
#include "platform/core/objects.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"
#include "platform/core/user_folders.h"
#include "platform/hosts/host.h"
#include "platform/media_foundation/encoder.h"
#include "platform/shell32/balloon.h"
#include "platform/user32/resources.h"
#include "platform/user32/window.h"

namespace shell32 {

namespace {

struct Entry {
    HWND window;
    UINT id, callback;
    std::string tip;
};
std::optional<Entry> entry;

constexpr UINT allOfTheIcon = NIF_MESSAGE | NIF_ICON | NIF_TIP;

void publishTip(const std::string& tip) {
    desktop::withShown([&](desktop::Shown& shown) { shown.trayTip = tip; });
}

// With the icon: a start that hands over to the first instance shows none, and need not warn.
void warnOnceOfWayland() {
    static bool isWarned = false;
    if (std::exchange(isWarned, true) || !host::current().isWaylandSession()) return;
    std::fputs("Wayland session: only the windows of X11 programs can be recorded.\n", stderr);
    showBalloon({"Wayland session", "Only the windows of X11 programs can be recorded."});
}

bool showIcon(const NOTIFYICONDATAW& data) {
    const user32::Icon* const icon = user32::findIcon(data.hIcon);
    const std::string tip = desktop::toUtf8(data.szTip);
    const host::TrayIcon shown{
        [id = icon ? icon->id : 0](int side) { return user32::iconImage(id, side); }, tip};
    host::current().setTrayIcon(&shown);
    entry = {data.hWnd, data.uID, data.uCallbackMessage, tip};
    publishTip(tip);
    prepareBalloons();
    warnOnceOfWayland();
    return true;
}

// The record says only that something has failed. Whether a file was begun and never finished is
// known here, and the first error after that is urgent.
void notify(const NOTIFYICONDATAW& data) {
    const bool isError = data.dwInfoFlags == NIIF_ERROR;
    const std::string title = desktop::toUtf8(data.szInfoTitle),
                      text = desktop::toUtf8(data.szInfo);
    desktop::withShown([&](desktop::Shown& shown) {
        shown.balloons.push_back({title, text, isError});
    });
    showBalloon({title, text, isError, isError && media::takeLoss()});
}

void refuseUnknown(const desktop::Call& call, DWORD command, const NOTIFYICONDATAW& data) {
    call.only("size", data.cbSize, sizeof data);
    call.only("command", command, NIM_ADD, NIM_MODIFY, NIM_DELETE);
    if (command == NIM_ADD) call.only("flags", data.uFlags, allOfTheIcon);
    if (command == NIM_MODIFY) call.only("flags", data.uFlags, allOfTheIcon, NIF_INFO);
    if (command == NIM_MODIFY && data.uFlags == NIF_INFO)
        call.only("balloon icon", data.dwInfoFlags, NIIF_INFO, NIIF_ERROR);
}

void forgetIcon() {
    if (!entry) return;
    entry.reset();
    host::current().setTrayIcon(nullptr);
    hideTip();
    hideBalloons();
    publishTip("");
}

bool carryOut(DWORD command, const NOTIFYICONDATAW& data) {
    const bool isOurs = entry && entry->window == data.hWnd && entry->id == data.uID;
    if (isOurs == (command == NIM_ADD)) return false;
    if (command == NIM_DELETE) return forgetIcon(), true;
    if (data.uFlags == allOfTheIcon) return showIcon(data);
    if (data.szInfo[0]) notify(data);
    return true;
}

void leaveWith(HWND window) {
    forgetBalloon(window);
    if (entry && entry->window == window) forgetIcon();
}

// Mouse messages are posted to the icon's window. A shell that has restarted has lost the icon, and
// every window is told.
void takeEvent(const host::Event& event) {
    using host::Event;
    if (event.kind == Event::NoticeShown || event.kind == Event::NoticeRefused)
        return takeAnswer(event);
    hideTip();
    if (event.kind == Event::TaskbarCreated) {
        entry.reset();
        publishTip("");
        user32::tellAll(desktop::registeredMessage(u"TaskbarCreated"), 0, 0);
    } else if (entry && event.kind == Event::TrayMouse) {
        user32::post(entry->window, entry->callback, entry->id, static_cast<LPARAM>(event.message));
    } else if (entry && event.kind == Event::TrayEntered && !entry->tip.empty()) {
        showTip(entry->tip, event.icon);
    }
}

const bool registered = [] {
    user32::leaveShell = leaveWith;
    user32::takeShellEvent = takeEvent;
    return true;
}();

}  // namespace

}  // namespace shell32

BOOL Shell_NotifyIconW(DWORD command, NOTIFYICONDATAW* icon) {
    desktop::Call call("Shell_NotifyIconW", command, icon->uFlags, icon->uCallbackMessage,
                       icon->hIcon, icon->szTip, icon->szInfo, icon->dwInfoFlags, icon->uTimeout);
    shell32::refuseUnknown(call, command, *icon);
    if (call.struck() || !user32::find(icon->hWnd)) return call.fail(ERROR_GEN_FAILURE);
    return shell32::carryOut(command, *icon) ? TRUE : call.fail(ERROR_GEN_FAILURE);
}

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
