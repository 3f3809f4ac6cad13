// What dialogs are made of: the program's resource, and message boxes.

#include "platform/user32/dialog.h"

#include <algorithm>
#include <cstring>

#include "platform/core/call.h"
#include "platform/core/text.h"
#include "platform/user32/resources.h"

namespace user32 {

namespace {

// A dialog of the extended form, as the resource compiler writes it: a head, then the controls,
// each at a multiple of four.
struct Reader {
    std::span<const std::uint8_t> bytes;
    std::size_t at = 0;

    template <typename Number>
    Number take() {
        Number number{};
        std::memcpy(&number, bytes.subspan(at).first(sizeof number).data(), sizeof number);
        at += sizeof number;
        return number;
    }
    // Takes a number that only has one value here.
    template <typename Number>
    void expect(const char* what, Number known) {
        const Number found = take<Number>();
        if (found != known) desktop::refuse("DialogBoxParamW", what, found);
    }
    std::u16string takeText() {
        std::u16string text;
        while (const auto unit = take<char16_t>()) text += unit;
        return text;
    }
    RECT takeUnits() {
        const SHORT left = take<SHORT>(), top = take<SHORT>();
        const SHORT width = take<SHORT>(), height = take<SHORT>();
        return {left, top, left + width, top + height};
    }
};

struct KnownControl {
    const WCHAR* className;
    DWORD style;
    ControlKind kind;
};
constexpr DWORD always = WS_CHILD | WS_VISIBLE, stop = always | WS_TABSTOP;
constexpr KnownControl knownControls[] = {
    {u"static", always | WS_GROUP, ControlKind::Label},
    {u"edit", stop | WS_BORDER | ES_READONLY | ES_AUTOHSCROLL, ControlKind::Box},
    {u"button", stop | BS_AUTOCHECKBOX, ControlKind::CheckBox},
    {u"button", stop | BS_PUSHBUTTON, ControlKind::PushButton},
    {u"button", stop | BS_DEFPUSHBUTTON, ControlKind::PushButton}};

Control takeControl(Reader& reader) {
    Control control;
    reader.at = (reader.at + 3) & ~std::size_t{3};
    reader.take<DWORD>();  // help
    reader.expect<DWORD>("extended style of a control", 0);
    control.style = reader.take<DWORD>();
    control.units = reader.takeUnits();
    control.id = reader.take<INT>();
    control.className = desktop::lowered(reader.takeText());
    control.text = reader.takeText();
    reader.expect<WORD>("data of a control", 0);
    const auto* const known = std::ranges::find_if(knownControls, [&](const KnownControl& each) {
        return control.className == each.className && control.style == each.style;
    });
    if (known == std::end(knownControls))
        desktop::refuse("DialogBoxParamW", "style of a control", control.style);
    control.kind = known->kind;
    return control;
}

}  // namespace

std::optional<Dialog> readDialogTemplate(std::uintptr_t id) {
    const auto resource = findResource(RT_DIALOG, id);
    if (!resource) return std::nullopt;
    Reader reader{*resource};
    Dialog dialog;
    Creation& creation = dialog.creation;
    creation.style = WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;
    creation.extendedStyle = WS_EX_APPWINDOW;
    reader.expect<DWORD>("version of the template", 0xFFFF0001);
    reader.take<DWORD>();  // help
    reader.expect("extended style", creation.extendedStyle);
    reader.expect("style", creation.style | DS_CENTER | DS_SETFONT);
    const WORD count = reader.take<WORD>();
    const RECT units = reader.takeUnits();
    dialog.width = units.right - units.left;
    dialog.height = units.bottom - units.top;
    reader.expect<WORD>("menu", 0);
    reader.expect<WORD>("class", 0);
    creation.title = reader.takeText();
    // A substitute replaces the face that is named; it is always nine points high here.
    reader.expect<WORD>("points of the font", 9);
    reader.expect<WORD>("weight of the font", 0);
    reader.take<WORD>();  // italic, character set
    reader.takeText();
    for (WORD index = 0; index < count; ++index) dialog.controls.push_back(takeControl(reader));
    return dialog;
}

namespace {

INT_PTR CALLBACK boxProcedure(HWND window, UINT message, WPARAM, LPARAM) {
    if (message == WM_COMMAND) endDialog(*findDialog(window), IDOK);
    return message == WM_INITDIALOG || message == WM_COMMAND;
}

// A sign, a text and OK, in this order. The units are pixels. All lengths are for 96 dots an inch;
// the text's own size comes from its font.
Dialog boxOf(std::u16string_view title, std::u16string_view text, UINT icon, UINT dpi) {
    const auto unit = [&](int length) { return gdi::scaled(length, dpi); };
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
    box.creation.title = title;
    box.creation.style = WS_POPUP | WS_CAPTION | WS_SYSMENU;
    box.creation.ofTheLayer = true;
    return box;
}

}  // namespace

}  // namespace user32

using namespace user32;

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
    runDialog(std::move(box), monitor, 0);
    return IDOK;
}
