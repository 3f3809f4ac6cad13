// The tray icon, its tip and its balloons.

#include <shellapi.h>

#include <optional>

#include "platform/core/call.h"
#include "platform/core/mailbox.h"
#include "platform/core/shown.h"
#include "platform/core/text.h"
#include "platform/hosts/host.h"
#include "platform/media_foundation/mp4_file.h"
#include "platform/user32/input.h"
#include "platform/user32/message_queue.h"
#include "platform/user32/resources.h"
#include "platform/user32/window.h"

namespace shell32 {

namespace {

struct Entry {
    HWND window;
    UINT id, callback;
};
std::optional<Entry> entry;

constexpr UINT allOfTheIcon = NIF_MESSAGE | NIF_ICON | NIF_TIP;

void publishTip(const std::string& tip) {
    desktop::withShown([&](desktop::Shown& shown) { shown.trayTip = tip; });
}

bool showIcon(const NOTIFYICONDATAW& data) {
    const user32::Icon* const icon = user32::findIcon(data.hIcon);
    const host::TrayIcon shown{
        [id = icon ? icon->id : 0](int side) { return user32::drawnImage(id, side); }, data.szTip};
    if (!host::current().setTrayIcon(&shown)) return false;
    entry = {data.hWnd, data.uID, data.uCallbackMessage};
    publishTip(desktop::toUtf8(data.szTip));
    return true;
}

// The record says no more than that something failed. That a file was begun and never finished is
// known here, and the first error after that reports it.
void showBalloon(const NOTIFYICONDATAW& data) {
    const bool isError = data.dwInfoFlags == NIIF_ERROR;
    const host::Balloon balloon{data.szInfoTitle, data.szInfo, isError,
                                isError && media::takeLoss()};
    desktop::withShown([&](desktop::Shown& shown) {
        shown.balloons.push_back(
            {desktop::toUtf8(balloon.title), desktop::toUtf8(balloon.text), balloon.isError});
    });
    host::current().showBalloon(balloon);
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
    publishTip("");
}

bool carryOut(DWORD command, const NOTIFYICONDATAW& data) {
    const bool isOurs = entry && entry->window == data.hWnd && entry->id == data.uID;
    if (isOurs == (command == NIM_ADD)) return false;
    if (command == NIM_DELETE) return forgetIcon(), true;
    if (data.uFlags == allOfTheIcon) return showIcon(data);
    if (data.szInfo[0]) showBalloon(data);
    return true;
}

// Mouse messages are posted to the icon's window. A shell that has started again has forgotten the
// icon, and every window hears of it.
void takeEvent(const host::Event& event) {
    if (event.kind == host::Event::TaskbarCreated) {
        entry.reset();
        publishTip("");
        user32::broadcast(desktop::registeredMessage(u"TaskbarCreated"), 0, 0);
    } else if (entry) {
        user32::post(
            {entry->window, entry->callback, entry->id, static_cast<LPARAM>(event.message), 0, {}});
    }
}

const bool registered = user32::setTrayAction(takeEvent) &&
                        user32::registerFor(user32::Moment::ThreadEnds, [](HWND) { forgetIcon(); });

}  // namespace

}  // namespace shell32

BOOL Shell_NotifyIconW(DWORD command, NOTIFYICONDATAW* icon) {
    desktop::Call call("Shell_NotifyIconW", command, icon->uFlags, icon->uCallbackMessage,
                       icon->hIcon, icon->szTip, icon->szInfo, icon->dwInfoFlags, icon->uTimeout);
    shell32::refuseUnknown(call, command, *icon);
    if (call.struck() || !user32::find(icon->hWnd)) return call.fail(ERROR_GEN_FAILURE);
    return shell32::carryOut(command, *icon) ? TRUE : call.fail(ERROR_GEN_FAILURE);
}
