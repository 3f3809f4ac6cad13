// Dialogs as the resources describe them.

#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/user32/control.h"

namespace user32 {

struct DialogTemplate {
    DWORD style = 0, extendedStyle = 0;
    int width = 0, height = 0;  // of the client area, in dialog units
    std::u16string title;
    std::vector<Control> controls;
};

// Nothing if there is no such resource.
std::optional<DialogTemplate> readDialogTemplate(std::uintptr_t id);

}  // namespace user32
