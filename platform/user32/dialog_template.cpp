// Opens dialogs: of the program's resource, and message boxes.

#include "platform/user32/dialog.h"

#include <algorithm>
#include <tuple>

#include "platform/core/call.h"
#include "platform/core/text.h"
#include "platform/user32/resources.h"

namespace user32 {

namespace {

// Takes a number that can have only one value here.
template <typename Number>
void expect(Reader& reader, const char* what, Number known) {
    const Number found = reader.take<Number>();
    if (found != known) desktop::refuse("DialogBoxParamW", what, found);
}

std::u16string takeText(Reader& reader) {
    std::u16string text;
    while (const auto unit = reader.take<char16_t>()) text += unit;
    return text;
}

constexpr DWORD always = WS_CHILD | WS_VISIBLE, stop = always | WS_TABSTOP;
constexpr std::tuple<std::u16string_view, DWORD, ControlKind> knownControls[] = {
    {u"static", always | WS_GROUP, ControlKind::Label},
    {u"edit", stop | WS_BORDER | ES_READONLY | ES_AUTOHSCROLL, ControlKind::Box},
    {u"button", stop | BS_AUTOCHECKBOX, ControlKind::CheckBox},
    {u"button", stop | BS_PUSHBUTTON, ControlKind::PushButton},
    {u"button", stop | BS_DEFPUSHBUTTON, ControlKind::PushButton}};

ControlKind kindOf(const std::u16string& className, DWORD style) {
    for (const auto& [knownName, knownStyle, kind] : knownControls)
        if (className == knownName && style == knownStyle) return kind;
    desktop::refuse("DialogBoxParamW", "style of a control", style);
}

Control takeControl(Reader& reader) {
    Control control;
    reader.align();
    reader.take<DWORD>();  // help
    expect<DWORD>(reader, "extended style of a control", 0);
    const auto style = reader.take<DWORD>();
    const SHORT left = reader.take<SHORT>(), top = reader.take<SHORT>();
    control.units = {left, top, left + reader.take<SHORT>(), top + reader.take<SHORT>()};
    control.id = reader.take<INT>();
    control.kind = kindOf(desktop::lowered(takeText(reader)), style);
    control.isPreferred = control.kind == ControlKind::PushButton && style & BS_DEFPUSHBUTTON;
    control.text = desktop::toUtf8(takeText(reader));
    expect<WORD>(reader, "data of a control", 0);
    return control;
}

// A dialog of the extended form: a head, then the controls.
Dialog readTemplate(Reader reader) {
    Dialog dialog;
    expect<DWORD>(reader, "version of the template", 0xFFFF0001);
    reader.take<DWORD>();  // help
    expect<DWORD>(reader, "extended style", WS_EX_APPWINDOW);
    expect<DWORD>(reader, "style",
                  WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX | DS_CENTER | DS_SETFONT);
    dialog.controls.resize(reader.take<WORD>());
    reader.take<DWORD>();  // position
    dialog.units = {reader.take<SHORT>(), reader.take<SHORT>()};
    expect<DWORD>(reader, "menu or class", 0);
    dialog.title = desktop::toUtf8(takeText(reader));
    // A substitute replaces the typeface that is named; it is always nine points high here.
    expect<DWORD>(reader, "points and weight of the font", 9);
    reader.take<WORD>();  // italic, character set
    takeText(reader);
    for (Control& control : dialog.controls) control = takeControl(reader);
    return dialog;
}

INT_PTR CALLBACK boxProcedure(HWND window, UINT message, WPARAM, LPARAM) {
    if (message == WM_COMMAND) endDialog(*findDialog(window), IDOK);
    return message == WM_INITDIALOG || message == WM_COMMAND;
}

// A sign, a text and OK. All lengths are for 96 dots an inch; the text's own size comes from its
// font.
Dialog boxOf(const desktop::ShownBox& shown, UINT dpi) {
    const auto unit = [&](int length) { return gdi::scaled(length, dpi); };
    const gdi::TextStyle style = look::text(dpi);
    const SIZE size = gdi::measureText(shown.text, style, unit(440));
    const int heading = gdi::measureText(shown.title, style).cx + unit(70);
    const int across = std::max({unit(108) + static_cast<int>(size.cx), heading, unit(200)}) - 2;
    const int body = std::max<int>(size.cy, unit(32)), foot = unit(48) + body;
    const int textTop = unit(24) + (body - size.cy) / 2;
    Dialog box;
    box.title = shown.title;
    box.procedure = boxProcedure;
    box.box = shown;
    box.units = {across, foot + unit(46) - 1};
    box.paper = foot;
    box.controls = {
        {{}, ControlKind::Sign, {unit(24), unit(24), unit(56), unit(56)}},
        {{0, shown.text}, ControlKind::Words, {unit(72), textTop, across - unit(12), foot}},
        {{IDOK, "OK"},
         ControlKind::PushButton,
         {across - unit(98), foot + unit(10), across - unit(14), foot + unit(36)}}};
    return box;
}

}  // namespace

}  // namespace user32

using namespace user32;

INT_PTR DialogBoxParamW(HINSTANCE instance, LPCWSTR name, HWND owner, DLGPROC procedure,
                        LPARAM parameter) {
    const auto id = reinterpret_cast<std::uintptr_t>(name);
    desktop::Call call("DialogBoxParamW", instance, id, owner);
    enterUserInterface();
    if (!IS_INTRESOURCE(name)) call.refuse("name that is text", 1);
    if (owner) call.refuse("owner", 1);
    if (openDialog()) call.refuse("second dialog", 1);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY), -1;
    const Reader reader{findResource(RT_DIALOG, id)};
    if (reader.bytes.empty()) return call.fail(ERROR_RESOURCE_NAME_NOT_FOUND), -1;
    Dialog dialog = readTemplate(reader);
    dialog.procedure = procedure;
    return runDialog(std::move(dialog), primaryMonitor(), parameter);
}

// A quit closes the box as OK does and stays for the loop outside.
int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR title, UINT kind) {
    desktop::Call call("MessageBoxW", owner, text, title, kind);
    enterUserInterface();
    call.only("kind", kind, MB_ICONERROR, MB_ICONWARNING, MB_ICONINFORMATION);
    if (call.struck()) return call.fail(ERROR_NOT_ENOUGH_MEMORY);
    if (owner && !find(owner)) return call.fail(ERROR_INVALID_WINDOW_HANDLE);
    const host::Monitor monitor = owner ? monitorOf(*find(owner)) : primaryMonitor();
    Dialog box = boxOf({desktop::toUtf8(title), desktop::toUtf8(text), kind}, monitor.dpi);
    box.owner = owner;
    runDialog(std::move(box), monitor, 0);
    return IDOK;
}
