// Reads a dialog of the extended form: a head, then the controls, each at a multiple of four.

#include "platform/user32/dialog.h"

#include <cstring>
#include <span>

#include "platform/core/call.h"
#include "platform/core/text.h"
#include "platform/user32/resources.h"

namespace user32 {

namespace {

struct Reader {
    std::span<const std::uint8_t> bytes;
    std::size_t at = 0;

    template <typename Number>
    Number take() {
        Number number{};
        if (at + sizeof number > bytes.size())
            desktop::refuse("DialogBoxParamW", "template cut off at", static_cast<int>(at));
        std::memcpy(&number, bytes.data() + at, sizeof number);
        at += sizeof number;
        return number;
    }
    std::u16string takeText() {
        std::u16string text;
        while (const auto unit = take<char16_t>()) text += unit;
        return text;
    }
    void align() { at = (at + 3) & ~std::size_t{3}; }
};

void expect(const char* what, std::int64_t found, std::int64_t known) {
    if (found != known) desktop::refuse("DialogBoxParamW", what, found);
}

// A control's class is a name or the number of one of the system's own.
std::u16string takeClass(Reader& reader) {
    Reader ahead = reader;
    if (ahead.take<WORD>() != 0xFFFF) return desktop::lowered(reader.takeText());
    const WORD number = ahead.take<WORD>();
    reader = ahead;
    switch (number) {
    case 0x80: return u"button";
    case 0x81: return u"edit";
    case 0x82: return u"static";
    default: desktop::refuse("DialogBoxParamW", "class of a control", number);
    }
}

RECT takeUnits(Reader& reader) {
    const SHORT left = reader.take<SHORT>(), top = reader.take<SHORT>();
    const SHORT width = reader.take<SHORT>(), height = reader.take<SHORT>();
    return {left, top, left + width, top + height};
}

ControlKind kindOf(const Control& control) {
    constexpr DWORD always = WS_CHILD | WS_VISIBLE;
    const auto is = [&](const WCHAR* name, DWORD style) {
        return control.className == name && control.style == style;
    };
    if (is(u"static", always | WS_GROUP)) return ControlKind::Label;
    if (is(u"edit", always | WS_BORDER | WS_TABSTOP | ES_READONLY | ES_AUTOHSCROLL))
        return ControlKind::Box;
    if (is(u"button", always | WS_TABSTOP | BS_AUTOCHECKBOX)) return ControlKind::CheckBox;
    if (is(u"button", always | WS_TABSTOP | BS_PUSHBUTTON) ||
        is(u"button", always | WS_TABSTOP | BS_DEFPUSHBUTTON))
        return ControlKind::PushButton;
    desktop::refuse("DialogBoxParamW", "style of a control", control.style);
}

Control takeControl(Reader& reader) {
    Control control;
    reader.align();
    reader.take<DWORD>();  // help
    expect("extended style of a control", reader.take<DWORD>(), 0);
    control.style = reader.take<DWORD>();
    control.units = takeUnits(reader);
    control.id = reader.take<INT>();
    control.className = takeClass(reader);
    control.text = reader.takeText();
    expect("data of a control", reader.take<WORD>(), 0);
    control.kind = kindOf(control);
    return control;
}

// A substitute replaces the face that is named; it is always nine points high here.
void takeFont(Reader& reader) {
    expect("points of the font", reader.take<WORD>(), 9);
    expect("weight of the font", reader.take<WORD>(), 0);
    reader.take<WORD>();  // italic, character set
    reader.takeText();
}

}  // namespace

std::optional<DialogTemplate> readDialogTemplate(std::uintptr_t id) {
    const auto resource = findResource(RT_DIALOG, id);
    if (!resource) return std::nullopt;
    Reader reader{*resource};
    DialogTemplate made;
    expect("version of the template", reader.take<DWORD>(), 0xFFFF0001);
    reader.take<DWORD>();  // help
    made.extendedStyle = reader.take<DWORD>();
    made.style = reader.take<DWORD>();
    const WORD count = reader.take<WORD>();
    const RECT units = takeUnits(reader);
    made.dialog.width = units.right - units.left;
    made.dialog.height = units.bottom - units.top;
    expect("menu", reader.take<WORD>(), 0);
    expect("class", reader.take<WORD>(), 0);
    made.title = reader.takeText();
    expect("styles without a font", made.style & DS_SETFONT, DS_SETFONT);
    takeFont(reader);
    for (WORD index = 0; index < count; ++index)
        made.dialog.controls.push_back(takeControl(reader));
    return made;
}

}  // namespace user32
