// Message boxes: dialogs with a sign, a text and OK, in this order. Their units are pixels.

#include <algorithm>

#include "platform/core/call.h"
#include "platform/user32/dialog.h"
#include "platform/user32/look.h"
#include "platform/user32/window.h"

namespace {

using namespace user32;

INT_PTR CALLBACK boxProcedure(HWND window, UINT message, WPARAM, LPARAM) {
    if (message == WM_COMMAND) endDialog(*findDialog(window), IDOK);
    return message == WM_INITDIALOG || message == WM_COMMAND;
}

// All lengths are for 96 dots an inch; the text's own size comes from its font.
Dialog boxOf(std::u16string_view title, std::u16string_view text, UINT icon, UINT dpi) {
    const auto unit = [&](int length) { return scaled(length, dpi); };
    const gdi::Face face = look::textFace(dpi);
    const SIZE size = gdi::measureText(text, face, unit(440));
    const int heading = gdi::measureText(title, face).cx + unit(70);
    const int across = std::max({unit(108) + static_cast<int>(size.cx), heading, unit(200)}) - 2;
    const int body = std::max<int>(size.cy, unit(32)), foot = unit(48) + body;
    const int textTop = unit(24) + (body - size.cy) / 2;
    Control sign, words, button;
    sign.kind = ControlKind::Sign;
    sign.sign = icon;
    sign.units = {unit(24), unit(24), unit(56), unit(56)};
    words.kind = ControlKind::Label;
    words.style = SS_NOPREFIX;
    words.text = text;
    words.units = {unit(72), textTop, across - unit(12), foot};
    button.kind = ControlKind::PushButton;
    button.id = IDOK;
    button.style = WS_TABSTOP | BS_DEFPUSHBUTTON;
    button.text = u"OK";
    button.units = {across - unit(98), foot + unit(10), across - unit(14), foot + unit(36)};
    Dialog box;
    box.procedure = boxProcedure;
    box.dpi = dpi;
    box.letter = {4, 8};
    box.width = across;
    box.height = foot + unit(46) - 1;
    box.paperHeight = foot;
    box.controls = {sign, words, button};
    return box;
}

}  // namespace

// A quit closes the box as OK does and stays for the loop outside.
int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR title, UINT kind) {
    desktop::Call call("MessageBoxW", owner, text, title, kind);
    enterUserInterface();
    call.only("kind", kind, MB_ICONERROR, MB_ICONWARNING, MB_ICONINFORMATION);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    if (owner && !find(owner)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    const host::Monitor monitor = owner ? monitorOf(*find(owner)) : primaryMonitor();
    Dialog box = boxOf(title, text, kind, monitor.dpi);
    box.owner = owner;
    Creation creation;
    creation.title = title;
    creation.style = WS_POPUP | WS_CAPTION | WS_SYSMENU;
    creation.ofTheLayer = true;
    runDialog(std::move(box), creation, monitor, 0);
    return IDOK;
}
